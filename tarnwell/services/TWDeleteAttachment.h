#pragma once

#include <memory>
#include <optional>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

/// DeleteAttachment: removes attachments from their items.
class TWDeleteAttachment : public TWEWSAccountService, public TWServiceStatics<TWDeleteAttachment> {
 public:
  explicit TWDeleteAttachment(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWDeleteAttachment> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// The element `m:RootItemId`, or a caught error, for each id, in order.
  /// @param ids  texts and attachment ids
  [[nodiscard]] std::optional<TWList> call(const TWList& ids, TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWList& ids, TWError* error = nullptr) const;

 protected:
  /// Servers put the result into the message itself, without a container.
  [[nodiscard]] NKXMLElement findContainer(const NKXMLElement& message, std::string_view name,
                                           std::string_view xmlns) const override;
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
