#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWObject.h"

namespace tarnwell {

/// The form of a user name.
enum TWCredentialsType : std::int64_t {
  TWCredentialsTypeEmail = 0,   ///< exactly one "@": ann@example.com
  TWCredentialsTypeDomain = 1,  ///< otherwise exactly one backslash: EXAMPLE\ann
  TWCredentialsTypeOther = 2,   ///< anything else: ann
};

/// A user name and a secret: a password, or an OAuth 2 access token.
///
///     const std::string name = "ann@example.com";
///     auto credentials = TWCredentials::credentialsWithUsernamePassword(name, password);
///
/// Shared by a protocol and its connections, so that a new access token reaches all of them. Safe
/// from any thread. The secret is kept in memory only, and never printed.
class TWCredentials : public TWObject {
 public:
  [[nodiscard]] static std::shared_ptr<TWCredentials> credentialsWithUsernamePassword(
      std::string_view username, std::string_view password);
  [[nodiscard]] static std::shared_ptr<TWCredentials> credentialsWithUsernameAccessToken(
      std::string_view username, std::string_view accessToken);
  ~TWCredentials() override;

  [[nodiscard]] const std::string& username() const noexcept { return username_; }
  /// The password or the access token, as it is at this moment.
  [[nodiscard]] std::string password() const;
  [[nodiscard]] TWCredentialsType type() const noexcept { return type_; }
  /// True when the secret is an access token.
  [[nodiscard]] bool useOAuth2() const noexcept { return useOAuth2_; }
  /// For callers that retry: whether a busy server should fail the call at once. The library itself
  /// does not look at it.
  [[nodiscard]] virtual bool failFast() const noexcept { return true; }

  /// Replaces the secret, of whichever kind it is. The next request carries the new one.
  void updateAccessToken(std::string_view accessToken);

  /// Equal when `other` is of this object's class (or derived from it) and has the same user name
  /// and secret; whether the secret is a password or a token does not matter.
  [[nodiscard]] bool isEqual(const TWObject& other) const override;
  [[nodiscard]] std::size_t hash() const override;
  [[nodiscard]] std::string_view className() const override { return "TWCredentials"; }
  /// "[TWCredentials] " and the user name.
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] TWProperties declaredProperties() const override;

  friend bool operator==(const TWCredentials& a, const TWCredentials& b) { return a.isEqual(b); }
  friend std::ostream& operator<<(std::ostream& stream, const TWCredentials& credentials);

 protected:
  TWCredentials(std::string_view username, std::string_view secret, bool useOAuth2);
  [[nodiscard]] bool hasSameNameAndSecret(const TWCredentials& other) const;

 private:
  const std::string username_;
  const TWCredentialsType type_;
  const bool useOAuth2_;
  mutable std::mutex mutex_;  // guards the secret
  std::string password_;
};

/// Credentials of a service account, whose owner rather waits for a busy server than fails.
class TWServiceAccount : public TWCredentials {
 public:
  /// @param maxWait  how long to wait for a busy server at most, in seconds.
  [[nodiscard]] static std::shared_ptr<TWServiceAccount> credentialsWithUsernamePassword(
      std::string_view username, std::string_view password, double maxWait = 3600.0);
  [[nodiscard]] static std::shared_ptr<TWServiceAccount> credentialsWithUsernameAccessToken(
      std::string_view username, std::string_view accessToken, double maxWait = 3600.0);

  [[nodiscard]] bool failFast() const noexcept override { return false; }
  /// Seconds; for callers that retry, like `failFast`.
  [[nodiscard]] double maxWait() const noexcept { return maxWait_; }

  [[nodiscard]] bool isEqual(const TWObject& other) const override;
  [[nodiscard]] std::string_view className() const override { return "TWServiceAccount"; }
  [[nodiscard]] TWProperties declaredProperties() const override;

 private:
  TWServiceAccount(std::string_view username, std::string_view secret, bool useOAuth2,
                   double maxWait);

  const double maxWait_;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWCredentials> {
  std::size_t operator()(const tarnwell::TWCredentials& credentials) const {
    return credentials.hash();
  }
};
