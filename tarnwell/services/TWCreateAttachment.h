#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWAttachment;
class TWItemEntry;

/// CreateAttachment: attaches files and items to an item that is on the server.
class TWCreateAttachment : public TWEWSAccountService, public TWServiceStatics<TWCreateAttachment> {
 public:
  explicit TWCreateAttachment(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWCreateAttachment> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  using Attachments = std::vector<std::shared_ptr<TWAttachment>>;

  /// One XML element with the new id, or caught error, for each attachment, in order.
  /// @param parent  the item, or its id pair
  ///
  /// Errors, before anything is sent: those of an attachment that cannot be written, and of an item
  /// without an id.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntry& parent, const Attachments& items,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntry& parent, const Attachments& items,
                                        TWError* error = nullptr) const;
};

}  // namespace tarnwell
