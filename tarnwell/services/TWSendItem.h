#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItemEntry;
using TWItemEntries = std::vector<TWItemEntry>;

/// SendItem: sends messages that are on the server.
class TWSendItem : public TWEWSAccountService, public TWServiceStatics<TWSendItem> {
 public:
  explicit TWSendItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWSendItem> withAccount(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// `true`, or a caught error, for each id, in order.
  /// @param savedItemFolder  where copies are kept; null: none are.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntries& ids,
                                           const std::shared_ptr<TWFolder>& savedItemFolder,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntries& ids,
                                        const std::shared_ptr<TWFolder>& savedItemFolder,
                                        TWError* error = nullptr) const;
};

}  // namespace tarnwell
