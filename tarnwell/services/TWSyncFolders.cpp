#include "tarnwell/services/TWSyncFolders.h"

#include <utility>

namespace tarnwell {

const TWServiceClass& TWSyncFolders::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "SyncFolderHeirarchy",
  };
  return *kClass;
}

TWSyncFolders::TWSyncFolders(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWSyncFolders> TWSyncFolders::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWSyncFolders>(std::move(account));
}

}  // namespace tarnwell
