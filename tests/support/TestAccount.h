#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/protocol/TWProtocol.h"

namespace tarnwell::test {

/// An account on that endpoint, whose server is a 2016 one unless said otherwise.
[[nodiscard]] inline std::shared_ptr<TWAccount> makeAccount(
    std::string_view url, std::optional<TWVersion> version = TWVersion(TWBuild(15, 1))) {
  auto account = std::make_shared<TWAccount>();
  account->protocol_ = TWProtocol::withServiceEndpoint(
      url, TWCredentials::credentialsWithUsernamePassword("ann@example.com", "pw"), version);
  account->version_ = std::move(version);
  return account;
}

/// An account that has no server.
[[nodiscard]] inline std::shared_ptr<TWAccount> makeOfflineAccount(
    std::optional<TWVersion> version = TWVersion(TWBuild(15, 1))) {
  auto account = std::make_shared<TWAccount>();
  account->version_ = std::move(version);
  return account;
}

/// Gives the account a folder tree that it need not ask the server for.
inline void setRoot(TWAccount& account, std::shared_ptr<TWRoot> root) {
  account.root_ = std::move(root);
}

}  // namespace tarnwell::test
