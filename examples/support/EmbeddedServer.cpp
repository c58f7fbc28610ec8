#include "examples/support/EmbeddedServer.h"

#include <cstdlib>
#include <fstream>

#include "tarnwell/tarnwell.h"

using namespace tarnwell;

namespace examples {
namespace {

constexpr auto kHost = "example.com";
constexpr auto kCertificateFile = "certificate.pem";

sandbox::SandboxOptions serverOptions() {
  sandbox::SandboxOptions options;
  options.tls = true;
  options.certificateNames = {kHost};
  options.externalUrl = "https://example.com/EWS/Exchange.asmx";
  options.mailboxes = {{"alice@example.com", "secret", "Alice Example"},
                       {"bob@example.com", "secret", "Bob Example"}};
  options.seedCount = 60;
  return options;
}

}  // namespace

EmbeddedServer::EmbeddedServer() : server_(serverOptions()) {
  auto directory = (std::filesystem::temp_directory_path() / "tarnwell-example-XXXXXX").string();
  if (::mkdtemp(directory.data()) == nullptr) {
    problem_ = "no temporary directory can be made";
    return;
  }
  directory_ = directory;
  if (!server_.start(&problem_)) return;
  std::ofstream file(directory_ / kCertificateFile);
  file << server_.certificatePem();
  if (!file.flush()) problem_ = "the certificate cannot be written";
}

EmbeddedServer::~EmbeddedServer() {
  std::error_code ignored;  // what is left in a temporary directory does no harm
  if (!directory_.empty()) std::filesystem::remove_all(directory_, ignored);
}

TWConnectionOptions EmbeddedServer::connection() const {
  TWConnectionOptions options;
  options.caFile = (directory_ / kCertificateFile).string();
  options.connectTo = {formatMessage("%@:443:127.0.0.1:%d", {kHost, server_.port()})};
  return options;
}

}  // namespace examples
