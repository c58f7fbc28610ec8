#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// A folder and the names of its properties to write.
struct TWFolderUpdate {
  std::shared_ptr<TWFolder> folder;
  std::vector<std::string> fieldNames;
};

/// UpdateFolder: writes properties of folders. One without a value is cleared.
class TWUpdateFolder : public TWEWSAccountService, public TWServiceStatics<TWUpdateFolder> {
 public:
  explicit TWUpdateFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWUpdateFolder> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// A folder with the new change key, or a caught error, for each.
  ///
  /// Errors, before anything is sent: ErrorValueOutOfRange for a field that is read-only and for
  /// one without a value that must have one; those of `TWField::clean`. Names of no field are
  /// ignored.
  [[nodiscard]] std::optional<TWResults<std::shared_ptr<TWFolder>>> call(
      const std::vector<TWFolderUpdate>& updates, TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const std::vector<TWFolderUpdate>& updates,
                                        TWError* error = nullptr) const;
  /// `t:SetFolderField` and `t:DeleteFolderField` elements, in the order of the class's fields.
  /// Absent with an error.
  [[nodiscard]] std::optional<std::vector<NKXMLElement>> getFolderUpdateElems(
      const TWFolder& folder, const std::vector<std::string>& names,
      TWError* error = nullptr) const;
};

}  // namespace tarnwell
