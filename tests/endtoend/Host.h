#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/transport/TWConnection.h"

#include "sandbox/SandboxServer.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::test {

/// A running sandbox under a host name of its own, with the mailboxes alice and bob (password
/// "secret") in the domain of that name unless the options have others, and whatever a client needs
/// to find it there.
///
///     const Host host("mail.example");
///     const auto protocol = host.protocol();
///
/// Protocols are cached by URL for the whole program, so every test has a name of its own.
class Host {
 public:
  enum class Scheme { http, https };

  explicit Host(std::string name, Scheme scheme = Scheme::https,
                sandbox::SandboxOptions options = {});

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] std::string url(std::string_view path = "/EWS/Exchange.asmx") const;
  [[nodiscard]] std::string address(std::string_view mailbox) const;

  /// For connections that shall end here under this name. Other names lead nowhere, so that nobody
  /// looks them up.
  [[nodiscard]] TWConnectionOptions connection() const;
  [[nodiscard]] std::shared_ptr<TWCredentials> credentials(
      std::string_view mailbox = "alice", std::string_view secret = "secret") const;
  /// A protocol of its own as alice; probed unless it is told a version.
  [[nodiscard]] std::shared_ptr<TWProtocol> protocol(
      std::optional<TWVersion> version = std::nullopt) const;
  /// The schema versions asked for, of all requests so far, in order.
  [[nodiscard]] std::vector<std::string> requestedVersions() const;

  sandbox::SandboxServer server;

 private:
  std::string name_;
  Scheme scheme_;
  TemporaryDirectory directory_;
};

/// Options that lead to each of the hosts by its name.
[[nodiscard]] TWConnectionOptions leadingTo(const std::vector<const Host*>& hosts,
                                            const TemporaryDirectory& directory);

}  // namespace tarnwell::test
