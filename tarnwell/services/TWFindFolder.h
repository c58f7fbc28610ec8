#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

class TWFieldPath;

/// FindFolder: the folders below others, page by page. Servers before Exchange 2010, and those
/// whose build is unknown, are asked for everything at once, as they know no pages of folders.
class TWFindFolder : public TWEWSFolderService, public TWServiceStatics<TWFindFolder> {
 public:
  [[nodiscard]] static std::shared_ptr<TWFindFolder> withAccount(std::shared_ptr<TWAccount> account,
                                                                 TWFolders folders);
  [[nodiscard]] static const TWServiceClass& descriptor();

  using Paths = std::vector<std::shared_ptr<TWFieldPath>>;

  /// Sends nothing yet; each page is asked for when it is read. A request that cannot be written
  /// fails the page.
  /// @param maxItems  0 or less for no limit.
  [[nodiscard]] TWPagedServiceResponse call(Paths additionalFields, std::string shape,
                                            std::string depth, int pageSize, std::int64_t maxItems);
  [[nodiscard]] NKXMLElement getPayload(const Paths& additionalFields, std::string_view shape,
                                        std::string_view depth, int pageSize, std::int64_t offset,
                                        TWError* error = nullptr) const;

 private:
  TWFindFolder(std::shared_ptr<TWAccount> account, TWFolders folders);
};

}  // namespace tarnwell
