#include "tests/endtoend/Host.h"

#include <atomic>
#include <fstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace tarnwell::test {
namespace {

sandbox::SandboxOptions optionsFor(const std::string& name, Host::Scheme scheme,
                                   sandbox::SandboxOptions options) {
  options.tls = scheme == Host::Scheme::https;
  options.certificateNames = {name};
  if (options.mailboxes.empty())
    options.mailboxes = {{"alice@" + name, "secret", "Alice"}, {"bob@" + name, "secret", "Bob"}};
  if (options.externalUrl.empty())
    options.externalUrl = (options.tls ? "https://" : "http://") + name + "/EWS/Exchange.asmx";
  return options;
}

}  // namespace

Host::Host(std::string name, Scheme scheme, sandbox::SandboxOptions options)
    : server(optionsFor(name, scheme, std::move(options))),
      name_(std::move(name)),
      scheme_(scheme) {
  std::string reason;
  EXPECT_TRUE(server.start(&reason)) << reason;
}

std::string Host::url(std::string_view path) const {
  return (scheme_ == Scheme::https ? "https://" : "http://") + name_ + std::string(path);
}

std::string Host::address(std::string_view mailbox) const {
  return std::string(mailbox) + "@" + name_;
}

TWConnectionOptions Host::connection() const { return leadingTo({this}, directory_); }

std::shared_ptr<TWCredentials> Host::credentials(std::string_view mailbox,
                                                 std::string_view secret) const {
  return TWCredentials::credentialsWithUsernamePassword(address(mailbox), secret);
}

std::shared_ptr<TWProtocol> Host::protocol(std::optional<TWVersion> version) const {
  return TWProtocol::withServiceEndpoint(url(), credentials(), std::move(version), connection());
}

std::vector<std::string> Host::requestedVersions() const {
  std::vector<std::string> versions;
  for (const auto& request : server.requests())
    if (!request.operation.empty()) versions.push_back(request.requestedVersion);
  return versions;
}

TWConnectionOptions leadingTo(const std::vector<const Host*>& hosts,
                              const TemporaryDirectory& directory) {
  // A file of its own for each call: an earlier one may just be read by a connection.
  static std::atomic<int> files = 0;
  const auto authorities = directory.path() / ("authorities" + std::to_string(++files) + ".pem");
  std::ofstream file(authorities);
  TWConnectionOptions options;
  for (const Host* host : hosts) {
    const std::string certificate = host->server.certificatePem();
    file << certificate;
    if (!certificate.empty()) options.caFile = authorities.string();
    options.connectTo.push_back(host->name() + (certificate.empty() ? ":80" : ":443") +
                                ":127.0.0.1:" + std::to_string(host->server.port()));
  }
  // An empty host stands for every host; nobody listens there.
  options.connectTo.insert(options.connectTo.end(), {":443:127.0.0.1:1", ":80:127.0.0.1:1"});
  return options;
}

}  // namespace tarnwell::test
