#include "tarnwell/protocol/TWProtocol.h"

#include <map>
#include <unordered_map>
#include <utility>

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"
#include "tarnwell/util/detail/HeldLines.h"

namespace tarnwell {
namespace {

/// Class name, then the hash of endpoint, user name and password, with a "_" between them. The
/// secret itself is not kept. That triples whose joined texts are the same share a protocol is
/// accepted: user "ann" with "b_c" and user "ann_b" with "c" do.
using Cache = std::map<std::string, std::unordered_map<std::size_t, std::shared_ptr<TWProtocol>>>;

std::mutex& cacheMutex() {
  static auto* const kMutex = new std::mutex();
  return *kMutex;
}

Cache& cache() {
  static auto* const kCache = new Cache();
  return *kCache;
}

std::string schemaURL(const TWBaseProtocol& protocol, std::string_view format) {
  return formatMessage(format, {protocol.ssl() ? "https" : "http", protocol.server()});
}

}  // namespace

TWBaseProtocol::TWBaseProtocol(std::string_view serviceEndpoint,
                               std::shared_ptr<TWCredentials> credentials,
                               std::optional<TWVersion> version, TWConnectionOptions options)
    : serviceEndpoint_(serviceEndpoint),
      credentials_(std::move(credentials)),
      options_(std::move(options)),
      version_(std::move(version)) {
  const auto parts = TWUtils::parseUrl(serviceEndpoint);
  ssl_ = parts["ssl"].asBool().value_or(false);
  server_ = parts["server"].asText();
}

TWBaseProtocol::~TWBaseProtocol() { releaseConnection(); }

std::shared_ptr<TWBaseProtocol> TWBaseProtocol::withServiceEndpoint(
    std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
    std::optional<TWVersion> version, const TWConnectionOptions& options) {
  return std::shared_ptr<TWBaseProtocol>(
      new TWBaseProtocol(serviceEndpoint, std::move(credentials), std::move(version), options));
}

std::optional<TWVersion> TWBaseProtocol::version() const {
  const std::lock_guard lock(mutex_);
  return version_;
}

void TWBaseProtocol::setVersion(TWVersion version) {
  const std::lock_guard lock(mutex_);
  version_ = std::move(version);
}

std::shared_ptr<TWConnection> TWBaseProtocol::take(std::shared_ptr<TWConnection>& field) {
  const std::lock_guard lock(mutex_);
  if (!field && !isClosed_) {
    // Made without `allowsInsecureCertificate`, deliberately: the setter reaches existing
    // connections only.
    field = TWConnection::withCredentials(credentials_, allowsRedirects(), options_);
    field->setSsl(ssl_);
    field->setServer(server_.value_or(std::string()));
    field->setServiceEndpoint(serviceEndpoint_);
  }
  return field;
}

std::shared_ptr<TWConnection> TWBaseProtocol::connection() { return take(connection_); }

std::shared_ptr<TWConnection> TWBaseProtocol::downloader() { return take(downloader_); }

void TWBaseProtocol::releaseConnection() {
  const std::lock_guard lock(mutex_);
  for (auto* field : {&connection_, &downloader_}) {
    if (*field) (*field)->close();
    field->reset();
  }
}

std::shared_ptr<TWConnection> TWBaseProtocol::renewConnection() {
  releaseConnection();
  return connection();
}

void TWBaseProtocol::close() {
  {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
  }
  releaseConnection();
}

void TWBaseProtocol::setAllowsInsecureCertificate(bool allows) {
  allowsInsecureCertificate_ = allows;
  const std::lock_guard lock(mutex_);
  for (const auto& existing : {connection_, downloader_})
    if (existing) existing->setAllowInsecureCertificate(allows);
}

bool TWBaseProtocol::isCertificateValid() const {
  const std::lock_guard lock(mutex_);
  for (const auto& existing : {connection_, downloader_})
    if (existing && existing->hasInsecureCertificate()) return false;
  return true;
}

void TWBaseProtocol::updateAccessToken(std::string_view token) {
  if (credentials_) credentials_->updateAccessToken(token);
}

std::optional<std::string> TWBaseProtocol::logName() const {
  return credentials_ ? std::optional(credentials_->username()) : std::nullopt;
}

TWProtocol::TWProtocol(std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
                       std::optional<TWVersion> version, const TWConnectionOptions& options)
    : TWBaseProtocol(serviceEndpoint, std::move(credentials), std::move(version), options),
      wsdlURL_(schemaURL(*this, "%@://%@/EWS/Services.wsdl")),
      messagesURL_(schemaURL(*this, "%@://%@/EWS/messages.xsd")),
      typesURL_(schemaURL(*this, "%@://%@/EWS/types.xsd")) {}

std::shared_ptr<TWProtocol> TWProtocol::shared(const std::string& className,
                                               std::string_view serviceEndpoint,
                                               const TWCredentials* credentials,
                                               const Factory& make) {
  TWValue username;
  TWValue password;
  if (credentials != nullptr) {
    username = credentials->username();
    password = credentials->password();
  }
  const auto key =
      std::hash<std::string>{}(formatMessage("%@_%@_%@", {serviceEndpoint, username, password}));
  // A delegate that is told of a probe may look up a protocol itself.
  const detail::HeldLines lines;
  const std::lock_guard lock(cacheMutex());
  auto& protocol = cache()[className][key];
  // Made under the lock, probing included, so that nobody probes a server twice.
  if (!protocol) protocol = make();
  return protocol;
}

std::shared_ptr<TWProtocol> TWProtocol::protocolForServiceEndpoint(
    std::string_view serviceEndpoint, const std::shared_ptr<TWCredentials>& credentials,
    std::optional<TWVersion> version, const TWConnectionOptions& options) {
  return shared("TWProtocol", serviceEndpoint, credentials.get(), [&] {
    return withServiceEndpoint(serviceEndpoint, credentials, std::move(version), options);
  });
}

std::shared_ptr<TWProtocol> TWProtocol::withServiceEndpoint(
    std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
    std::optional<TWVersion> version, const TWConnectionOptions& options) {
  const bool known = version.has_value();
  std::shared_ptr<TWProtocol> protocol(
      new TWProtocol(serviceEndpoint, std::move(credentials), std::move(version), options));
  if (!known) TWVersion::guess(*protocol);
  return protocol;
}

std::shared_ptr<TWAutodiscoverProtocol> TWAutodiscoverProtocol::protocolForServiceEndpoint(
    std::string_view serviceEndpoint, const std::shared_ptr<TWCredentials>& credentials,
    std::optional<TWVersion> version, const TWConnectionOptions& options) {
  return std::static_pointer_cast<TWAutodiscoverProtocol>(
      shared("TWAutodiscoverProtocol", serviceEndpoint, credentials.get(), [&] {
        return withServiceEndpoint(serviceEndpoint, credentials, std::move(version), options);
      }));
}

std::shared_ptr<TWAutodiscoverProtocol> TWAutodiscoverProtocol::withServiceEndpoint(
    std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
    std::optional<TWVersion> version, const TWConnectionOptions& options) {
  const bool known = version.has_value();
  std::shared_ptr<TWAutodiscoverProtocol> protocol(new TWAutodiscoverProtocol(
      serviceEndpoint, std::move(credentials), std::move(version), options));
  if (!known) TWVersion::guess(*protocol);
  return protocol;
}

}  // namespace tarnwell
