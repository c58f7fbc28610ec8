#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

/// An exported item and the folder that it goes to.
struct TWItemUpload {
  std::shared_ptr<TWFolder> folder;
  std::string data;  ///< Base64, as `TWExportItems` gives it
};

/// UploadItems: new items from the form that `TWExportItems` gives.
class TWUploadItems : public TWEWSAccountService, public TWServiceStatics<TWUploadItems> {
 public:
  explicit TWUploadItems(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWUploadItems> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// A list of the id and the change key, or a caught error, for each item, in order.
  [[nodiscard]] std::optional<TWList> call(const std::vector<TWItemUpload>& items,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const std::vector<TWItemUpload>& items,
                                        TWError* error = nullptr) const;

 protected:
  /// The values of the container's attributes.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
