#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItemEntry;
using TWItemEntries = std::vector<TWItemEntry>;

/// ExportItems: whole items in the server's own form.
class TWExportItems : public TWEWSAccountService, public TWServiceStatics<TWExportItems> {
 public:
  explicit TWExportItems(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWExportItems> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// The element `m:Data`, whose text is Base64, or a caught error, for each id, in order.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntries& ids, TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntries& ids, TWError* error = nullptr) const;

 protected:
  /// The container itself.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
