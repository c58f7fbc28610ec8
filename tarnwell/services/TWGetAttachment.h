#pragma once

#include <memory>
#include <optional>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

/// GetAttachment: attachments with their content.
class TWGetAttachment : public TWEWSAccountService, public TWServiceStatics<TWGetAttachment> {
 public:
  explicit TWGetAttachment(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWGetAttachment> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// One XML element, or caught error, for each id, in order.
  /// @param ids  texts and attachment ids
  [[nodiscard]] std::optional<TWList> call(const TWList& ids, bool includeMimeContent,
                                           TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  std::optional<TWList> call(const TWList& ids, auto includeMimeContent,
                             TWError* error = nullptr) = delete;
  [[nodiscard]] NKXMLElement getPayload(const TWList& ids, bool includeMimeContent,
                                        TWError* error = nullptr) const;
  NKXMLElement getPayload(const TWList& ids, auto includeMimeContent,
                          TWError* error = nullptr) const = delete;
};

}  // namespace tarnwell
