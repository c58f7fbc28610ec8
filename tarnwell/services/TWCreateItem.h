#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItem;
using TWItems = std::vector<std::shared_ptr<TWItem>>;

/// CreateItem: new items, which are saved in a folder, sent, or both.
class TWCreateItem : public TWEWSAccountService, public TWServiceStatics<TWCreateItem> {
 public:
  explicit TWCreateItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWCreateItem> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// What came of each item, in order: its element; `true` where the answer has none, as for one
  /// that was sent without being saved; or a caught error. When nothing is to be sent ("SaveOnly"),
  /// ErrorTransport takes the place of an element that is missing or tells no id.
  ///
  /// Errors, before anything is sent: those of an item that cannot be written, and of a folder
  /// without an id.
  [[nodiscard]] std::optional<TWList> call(const TWItems& items,
                                           const std::shared_ptr<TWFolder>& folder,
                                           std::string_view disposition,
                                           std::string_view sendInvitiations,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWItems& items,
                                        const std::shared_ptr<TWFolder>& folder,
                                        std::string_view disposition,
                                        std::string_view sendInvitiations,
                                        TWError* error = nullptr) const;

 protected:
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;

 private:
  bool onlySaves_ = false;
};

}  // namespace tarnwell
