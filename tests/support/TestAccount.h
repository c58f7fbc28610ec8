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

/// The account of ann@example.com on that endpoint, whose server is a 2016 one unless said
/// otherwise.
[[nodiscard]] inline std::shared_ptr<TWAccount> makeAccount(
    std::string_view url, std::optional<TWVersion> version = TWVersion(TWBuild(15, 1)),
    std::string_view userName = "ann@example.com",
    std::optional<std::string> locale = std::nullopt) {
  TWAccountOptions options;
  options.primarySmtpAddress = "ann@example.com";
  options.credentials = TWCredentials::credentialsWithUsernamePassword(userName, "pw");
  options.config = TWConfiguration{
      TWProtocol::withServiceEndpoint(url, options.credentials, std::move(version))};
  options.locale = std::move(locale);
  return TWAccount::withOptions(options);
}

/// An account that has no server.
[[nodiscard]] inline std::shared_ptr<TWAccount> makeOfflineAccount(
    const TWVersion& version = TWVersion(TWBuild(15, 1))) {
  TWAccountOptions options;
  options.primarySmtpAddress = "ann@example.com";
  auto account = TWAccount::withOptions(options);
  account->setVersion(version);
  return account;
}

}  // namespace tarnwell::test
