#pragma once

#include <memory>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

/// Stands for the synchronisation of the folder tree: the operation's name, spelt so deliberately,
/// and the account. It has no request of its own; `getElements` sends the one that it is given.
class TWSyncFolders : public TWEWSAccountService, public TWServiceStatics<TWSyncFolders> {
 public:
  explicit TWSyncFolders(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWSyncFolders> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();
};

}  // namespace tarnwell
