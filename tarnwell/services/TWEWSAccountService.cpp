#include "tarnwell/services/TWEWSAccountService.h"

#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/protocol/TWProtocol.h"

namespace tarnwell {
namespace {

/// The account's protocol, without the account; null when either is missing.
std::shared_ptr<TWServiceContext> protocolOf(const std::shared_ptr<TWAccount>& account) {
  return account ? account->serviceProtocol() : nullptr;
}

}  // namespace

TWEWSAccountService::TWEWSAccountService(const TWServiceClass& serviceClass,
                                         std::shared_ptr<TWAccount> account)
    : TWEWSService(serviceClass, account), account_(std::move(account)) {}

std::optional<TWVersion> TWEWSAccountService::accountVersion() const {
  return account_ ? account_->version() : std::nullopt;
}

TWEWSFolderService::TWEWSFolderService(const TWServiceClass& serviceClass,
                                       std::shared_ptr<TWAccount> account, TWFolders folders)
    : TWEWSService(serviceClass, protocolOf(account)),
      account_(std::move(account)),
      folders_(std::move(folders)) {}

std::optional<TWVersion> TWEWSFolderService::accountVersion() const {
  return account_ ? account_->version() : std::nullopt;
}

}  // namespace tarnwell
