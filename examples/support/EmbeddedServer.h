#pragma once

#include <filesystem>
#include <string>

#include "tarnwell/transport/TWConnection.h"

#include "sandbox/SandboxServer.h"

namespace examples {

/// A sandbox in this process with the mailboxes alice@example.com, which has some mail, and
/// bob@example.com, both with the password "secret". It is reached over TLS as example.com.
class EmbeddedServer {
 public:
  EmbeddedServer();
  EmbeddedServer(const EmbeddedServer&) = delete;
  EmbeddedServer& operator=(const EmbeddedServer&) = delete;
  ~EmbeddedServer();

  /// Why it did not start; empty when it did.
  [[nodiscard]] const std::string& problem() const { return problem_; }
  /// For connections that shall find example.com here and trust its certificate.
  [[nodiscard]] tarnwell::TWConnectionOptions connection() const;

 private:
  tarnwell::sandbox::SandboxServer server_;
  std::filesystem::path directory_;  ///< a temporary one for the certificate
  std::string problem_;
};

}  // namespace examples
