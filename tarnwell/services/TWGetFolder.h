#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

class TWFieldPath;

/// GetFolder: folders by their ids.
class TWGetFolder : public TWEWSAccountService, public TWServiceStatics<TWGetFolder> {
 public:
  explicit TWGetFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWGetFolder> withAccount(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  using Paths = std::vector<std::shared_ptr<TWFieldPath>>;

  /// One XML element or caught error for each folder, in order.
  /// @param folders  folders, folder ids, and lists of an id and a change key.
  [[nodiscard]] std::optional<TWList> call(const TWList& folders, const Paths& additionalFields,
                                           std::string_view shape, TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWList& folders, const Paths& additionalFields,
                                        std::string_view shape, TWError* error = nullptr) const;
};

}  // namespace tarnwell
