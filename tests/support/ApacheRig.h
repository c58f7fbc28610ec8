#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "tests/support/ScriptedServer.h"

namespace tarnwell::test {

/// A private instance of Apache on free ports, in front of a scripted server: real Basic, Digest,
/// NTLM and TLS. It works for root and for any user and leaves nothing behind.
///
///     ApacheRig rig;
///     if (!rig.missing().empty()) GTEST_SKIP() << rig.missing();
///     connection->get(rig.url("NTLM", "/"));
///
/// The doors: BASIC, DIGEST, NTLM, NEGOTIATE (and NTLM), BASIC_DIGEST, ALL (Negotiate, NTLM and
/// Basic), TLS_ALL (the same over TLS with a good certificate), TLS_SELF, TLS_WRONG_HOST,
/// TLS_EXPIRED. The users: alice with "Secret1!" (for NTLM in the domain EXAMPLE), user@example.com
/// with "Secret2!".
class ApacheRig {
 public:
  /// @param closesAfterRefusal  whether the server ends a connection whose NTLM login it refused.
  ///     When it does not, no later login succeeds on that connection.
  explicit ApacheRig(bool closesAfterRefusal = true);
  ApacheRig(const ApacheRig&) = delete;
  ApacheRig& operator=(const ApacheRig&) = delete;
  ~ApacheRig();

  /// Why the rig cannot run here; empty when it does. That fails the test where the variable
  /// TARNWELL_NEEDS_APACHE is set in the environment, as the gate does.
  [[nodiscard]] const std::string& missing() const;
  [[nodiscard]] std::string url(const std::string& door, std::string_view path) const;
  /// What got past the doors. "X-Remote-User" is the user as the server knows it.
  [[nodiscard]] ScriptedServer& backend() noexcept { return backend_; }

 private:
  [[nodiscard]] std::string lookForParts() const;
  void writeFiles();
  [[nodiscard]] bool start(bool closesAfterRefusal);
  void stop();

  ScriptedServer backend_;
  std::unique_ptr<TemporaryDirectory> directory_;
  std::map<std::string, int> ports_;
  std::string missing_;
  pid_t server_ = -1;
};

}  // namespace tarnwell::test
