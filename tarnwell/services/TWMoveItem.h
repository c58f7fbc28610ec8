#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItemEntry;
using TWItemEntries = std::vector<TWItemEntry>;

/// MoveItem: moves items to a folder, where they have other ids.
class TWMoveItem : public TWEWSAccountService, public TWServiceStatics<TWMoveItem> {
 public:
  explicit TWMoveItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWMoveItem> withAccount(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// What came of each item, in order: its element in the folder; `true` where the server does not
  /// tell it, as for another mailbox's folder; or a caught error.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntries& ids,
                                           const std::shared_ptr<TWFolder>& toFolder,
                                           TWError* error = nullptr);
  /// @param savedItemFolder  where the items go
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntries& ids,
                                        const std::shared_ptr<TWFolder>& savedItemFolder,
                                        TWError* error = nullptr) const;

 protected:
  /// `true` for a container that is empty.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
