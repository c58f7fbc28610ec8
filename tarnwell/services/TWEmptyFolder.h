#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// EmptyFolder: removes what is in folders.
class TWEmptyFolder : public TWEWSAccountService, public TWServiceStatics<TWEmptyFolder> {
 public:
  explicit TWEmptyFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWEmptyFolder> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// True or a caught error for each folder.
  /// @param folders     folders, folder ids, and lists of an id and a change key.
  /// @param deleteType  "HardDelete" and the like, passed on as given.
  [[nodiscard]] std::optional<TWList> call(const TWList& folders, std::string_view deleteType,
                                           bool deleteSubfolders, TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  std::optional<TWList> call(const TWList& folders, std::string_view deleteType,
                             auto deleteSubfolders, TWError* error = nullptr) = delete;
  [[nodiscard]] NKXMLElement getPayload(const TWList& folders, std::string_view deleteType,
                                        bool deleteSubfolders, TWError* error = nullptr) const;
  NKXMLElement getPayload(const TWList& folders, std::string_view deleteType, auto deleteSubfolders,
                          TWError* error = nullptr) const = delete;
};

}  // namespace tarnwell
