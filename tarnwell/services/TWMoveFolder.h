#pragma once

#include <memory>
#include <optional>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// MoveFolder: puts folders below another one.
class TWMoveFolder : public TWEWSAccountService, public TWServiceStatics<TWMoveFolder> {
 public:
  explicit TWMoveFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWMoveFolder> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// True or a caught error for each folder.
  /// @param folders  folders and folder ids. Lists of an id and a change key are left out,
  ///                 deliberately, unlike in GetFolder.
  [[nodiscard]] std::optional<TWList> call(const TWList& folders,
                                           const std::shared_ptr<TWFolder>& parentFolder,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWList& folders,
                                        const std::shared_ptr<TWFolder>& parent,
                                        TWError* error = nullptr) const;
};

}  // namespace tarnwell
