#pragma once

#include <memory>
#include <optional>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// CreateFolder: makes folders below another one.
class TWCreateFolder : public TWEWSAccountService, public TWServiceStatics<TWCreateFolder> {
 public:
  explicit TWCreateFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWCreateFolder> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// A folder with the new id, or a caught error, for each.
  [[nodiscard]] std::optional<TWResults<std::shared_ptr<TWFolder>>> call(
      const std::shared_ptr<TWFolder>& parent, const TWFolders& folders, TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const std::shared_ptr<TWFolder>& parent,
                                        const TWFolders& folders, TWError* error = nullptr) const;
};

}  // namespace tarnwell
