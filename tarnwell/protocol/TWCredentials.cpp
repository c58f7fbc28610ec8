#include "tarnwell/protocol/TWCredentials.h"

#include <algorithm>
#include <functional>
#include <ostream>

#include "tarnwell/transport/detail/Wipe.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

TWCredentialsType typeOf(std::string_view username) {
  // One separator gives two parts, empty ones included; "@" goes first.
  if (std::count(username.begin(), username.end(), '@') == 1) return TWCredentialsTypeEmail;
  if (std::count(username.begin(), username.end(), '\\') == 1) return TWCredentialsTypeDomain;
  return TWCredentialsTypeOther;
}

std::uint64_t textHash(std::string_view text) { return std::hash<std::string_view>{}(text); }

}  // namespace

TWCredentials::TWCredentials(std::string_view username, std::string_view secret, bool useOAuth2)
    : username_(username), type_(typeOf(username)), useOAuth2_(useOAuth2), password_(secret) {}

TWCredentials::~TWCredentials() { detail::wipe(password_); }

std::shared_ptr<TWCredentials> TWCredentials::credentialsWithUsernamePassword(
    std::string_view username, std::string_view password) {
  return std::shared_ptr<TWCredentials>(new TWCredentials(username, password, false));
}

std::shared_ptr<TWCredentials> TWCredentials::credentialsWithUsernameAccessToken(
    std::string_view username, std::string_view accessToken) {
  return std::shared_ptr<TWCredentials>(new TWCredentials(username, accessToken, true));
}

std::string TWCredentials::password() const {
  const std::lock_guard lock(mutex_);
  return password_;
}

void TWCredentials::updateAccessToken(std::string_view accessToken) {
  std::string secret(accessToken);
  {
    const std::lock_guard lock(mutex_);
    password_.swap(secret);
  }
  detail::wipe(secret);
}

bool TWCredentials::hasSameNameAndSecret(const TWCredentials& other) const {
  // Two copies, one lock at a time: locking both would need an order.
  std::string mine = password();
  std::string theirs = other.password();
  const bool same = username_ == other.username_ && mine == theirs;
  detail::wipe(mine);
  detail::wipe(theirs);
  return same;
}

bool TWCredentials::isEqual(const TWObject& other) const {
  const auto* credentials = dynamic_cast<const TWCredentials*>(&other);
  return credentials != nullptr && hasSameNameAndSecret(*credentials);
}

std::size_t TWCredentials::hash() const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(17 * textHash(username_) + textHash(password_) + 289);
}

std::string TWCredentials::description() const {
  return formatMessage("[%@] %@", {className(), username_});
}

TWProperties TWCredentials::declaredProperties() const {
  return {{"username", username_},
          {"type", static_cast<std::int64_t>(type_)},
          {"useOAuth2", useOAuth2_},
          {"failFast", failFast()}};
}

std::ostream& operator<<(std::ostream& stream, const TWCredentials& credentials) {
  return stream << credentials.description();
}

TWServiceAccount::TWServiceAccount(std::string_view username, std::string_view secret,
                                   bool useOAuth2, double maxWait)
    : TWCredentials(username, secret, useOAuth2), maxWait_(maxWait) {}

std::shared_ptr<TWServiceAccount> TWServiceAccount::credentialsWithUsernamePassword(
    std::string_view username, std::string_view password, double maxWait) {
  return std::shared_ptr<TWServiceAccount>(
      new TWServiceAccount(username, password, false, maxWait));
}

std::shared_ptr<TWServiceAccount> TWServiceAccount::credentialsWithUsernameAccessToken(
    std::string_view username, std::string_view accessToken, double maxWait) {
  return std::shared_ptr<TWServiceAccount>(
      new TWServiceAccount(username, accessToken, true, maxWait));
}

bool TWServiceAccount::isEqual(const TWObject& other) const {
  const auto* account = dynamic_cast<const TWServiceAccount*>(&other);
  return account != nullptr && hasSameNameAndSecret(*account);
}

TWProperties TWServiceAccount::declaredProperties() const {
  TWProperties properties = TWCredentials::declaredProperties();
  properties.emplace_back("maxWait", maxWait_);
  return properties;
}

}  // namespace tarnwell
