#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// DeleteFolder.
class TWDeleteFolder : public TWEWSAccountService, public TWServiceStatics<TWDeleteFolder> {
 public:
  explicit TWDeleteFolder(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWDeleteFolder> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// True or a caught error for each folder.
  /// @param folders     folders and folder ids. Lists of an id and a change key are left out,
  ///                    deliberately, unlike in GetFolder.
  /// @param deleteType  "HardDelete" and the like, passed on as given.
  [[nodiscard]] std::optional<TWList> call(const TWList& folders, std::string_view deleteType,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWList& folders, std::string_view deleteType,
                                        TWError* error = nullptr) const;
};

}  // namespace tarnwell
