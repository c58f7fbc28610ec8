#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSService.h"

namespace tarnwell {

class TWMailbox;

/// ResolveNames: turns partial names and addresses into mailboxes.
///
///     TWError error;
///     const auto service = TWResolveNames::withProtocol(protocol);
///     const auto mailboxes = service->call({"ann"}, {.returnFullContactData = true}, &error);
class TWResolveNames : public TWEWSService, public TWServiceStatics<TWResolveNames> {
 public:
  /// No account is bound to it, so nobody is impersonated.
  explicit TWResolveNames(std::shared_ptr<TWBaseProtocol> protocol);
  [[nodiscard]] static std::shared_ptr<TWResolveNames> withProtocol(
      std::shared_ptr<TWBaseProtocol> protocol);
  [[nodiscard]] static const TWServiceClass& descriptor();

  using Mailboxes = std::vector<std::shared_ptr<TWMailbox>>;
  /// What a call may say besides the names; see `call`.
  struct Options {
    TWList parentFolders;
    bool returnFullContactData = false;
    std::optional<std::string> searchScope;
    std::optional<std::string> contactDataShape;
  };

  /// The mailboxes that the names stand for, in the server's order; none when the server knows no
  /// such name.
  /// @param parentFolders    folders to search besides, or their ids; elements are copied.
  /// @param searchScope      EWS's "ActiveDirectory", "ContactsActiveDirectory" and the like,
  ///                         passed on as given.
  /// @param contactDataShape EWS's "IdOnly", "Default" or "AllProperties", passed on as given.
  /// Errors: 384 (ErrorValueOutOfRange) for a contact data shape on a server before Exchange 2010
  /// SP2, or one whose build is unknown, and for a folder without an id; a folder's own when it
  /// cannot be written. Then nothing is sent.
  [[nodiscard]] std::optional<Mailboxes> call(
      const std::vector<std::string>& names, const TWList& parentFolders = {},
      bool returnFullContactData = false,
      const std::optional<std::string>& searchScope = std::nullopt,
      const std::optional<std::string>& contactDataShape = std::nullopt, TWError* error = nullptr);
  /// Nothing but a bool is a flag; a null pointer is the error of the overload with options.
  template <class Flag>
  requires(!std::same_as<Flag, std::nullptr_t>) std::optional<Mailboxes> call(
      const std::vector<std::string>& names, const TWList& parentFolders,
      Flag returnFullContactData, const std::optional<std::string>& searchScope = std::nullopt,
      const std::optional<std::string>& contactDataShape = std::nullopt, TWError* error = nullptr)
  = delete;

  [[nodiscard]] std::optional<Mailboxes> call(const std::vector<std::string>& names,
                                              const Options& options, TWError* error = nullptr) {
    return call(names, options.parentFolders, options.returnFullContactData, options.searchScope,
                options.contactDataShape, error);
  }

  /// The request; invalid with an error when it cannot be built.
  [[nodiscard]] NKXMLElement getPayload(const std::vector<std::string>& names,
                                        const TWList& parentFolders, bool returnFullContactData,
                                        const std::optional<std::string>& searchScope,
                                        const std::optional<std::string>& contactDataShape,
                                        TWError* error = nullptr) const;
  NKXMLElement getPayload(const std::vector<std::string>& names, const TWList& parentFolders,
                          auto returnFullContactData, const std::optional<std::string>& searchScope,
                          const std::optional<std::string>& contactDataShape,
                          TWError* error = nullptr) const = delete;
};

}  // namespace tarnwell
