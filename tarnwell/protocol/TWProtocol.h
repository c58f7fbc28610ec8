#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/protocol/TWServiceContext.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWTransport.h"

namespace tarnwell {

/// One EWS endpoint as one user sees it: where it is, whose secret opens it, which version it
/// speaks, and the two connections that lead there. Carries at most two requests at a time, one on
/// each connection.
///
/// Safe to use from any thread.
class TWBaseProtocol : public TWConnectionSource,
                       public TWServiceContext,
                       public std::enable_shared_from_this<TWBaseProtocol> {
 public:
  TWBaseProtocol(const TWBaseProtocol&) = delete;
  TWBaseProtocol& operator=(const TWBaseProtocol&) = delete;
  /// Releases its connections; requests in flight end first.
  ~TWBaseProtocol() override;

  /// A protocol of its own, not shared and not probed. A malformed endpoint gives `ssl` false and
  /// no server; requests then fail in the connection layer.
  /// @param options  limits, a proxy, a private CA and the like, for the connections that it makes.
  [[nodiscard]] static std::shared_ptr<TWBaseProtocol> withServiceEndpoint(
      std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
      std::optional<TWVersion> version = std::nullopt, const TWConnectionOptions& options = {});

  /// The endpoint's scheme is exactly "https".
  [[nodiscard]] bool ssl() const noexcept { return ssl_; }
  /// The endpoint's host.
  [[nodiscard]] const std::optional<std::string>& server() const noexcept { return server_; }
  /// The endpoint as given.
  [[nodiscard]] const std::string& serviceEndpoint() const noexcept { return serviceEndpoint_; }
  [[nodiscard]] std::shared_ptr<TWCredentials> credentials() const noexcept { return credentials_; }
  [[nodiscard]] std::optional<TWVersion> version() const override;
  void setVersion(TWVersion version) override;

  /// The connection for ordinary requests, made when first asked for; null once closed.
  [[nodiscard]] std::shared_ptr<TWConnection> connection() override;
  /// A second one for large answers, which ordinary requests shall not wait behind.
  [[nodiscard]] std::shared_ptr<TWConnection> downloader();
  /// Closes and drops both connections; they are made anew when next asked for.
  void releaseConnection();
  /// `releaseConnection`, then a fresh ordinary connection.
  std::shared_ptr<TWConnection> renewConnection();
  /// For good: afterwards there are no connections.
  void close();
  [[nodiscard]] bool isClosed() const noexcept { return isClosed_; }

  [[nodiscard]] bool allowsInsecureCertificate() const noexcept {
    return allowsInsecureCertificate_;
  }
  /// Reaches the connections that exist now, and no later ones, deliberately: set it again after
  /// `renewConnection`.
  void setAllowsInsecureCertificate(bool allows);
  void setAllowsInsecureCertificate(auto allows) = delete;
  /// False when a connection has met a certificate that failed evaluation.
  [[nodiscard]] bool isCertificateValid() const;
  /// The next request carries the new token; the connections share the credentials.
  void updateAccessToken(std::string_view token);

  /// Whether connections of this class follow redirects themselves.
  [[nodiscard]] virtual bool allowsRedirects() const noexcept { return false; }

  [[nodiscard]] std::shared_ptr<TWBaseProtocol> serviceProtocol() override {
    return shared_from_this();
  }
  [[nodiscard]] std::optional<TWEnvelopeContext> envelopeContext() const override {
    return std::nullopt;
  }
  [[nodiscard]] std::optional<std::string> logName() const override;
  [[nodiscard]] std::optional<std::string> accountDescription() const override {
    return std::nullopt;
  }

 protected:
  TWBaseProtocol(std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
                 std::optional<TWVersion> version, TWConnectionOptions options);

 private:
  std::shared_ptr<TWConnection> take(std::shared_ptr<TWConnection>& field);

  const std::string serviceEndpoint_;
  const std::shared_ptr<TWCredentials> credentials_;
  const TWConnectionOptions options_;
  bool ssl_ = false;
  std::optional<std::string> server_;
  std::atomic<bool> allowsInsecureCertificate_ = false;
  std::atomic<bool> isClosed_ = false;

  mutable std::mutex mutex_;  // guards what follows; never held over a request
  std::shared_ptr<TWConnection> connection_;
  std::shared_ptr<TWConnection> downloader_;
  std::optional<TWVersion> version_;
};

/// A protocol that follows redirects, knows the addresses of the schema documents and finds out its
/// version.
class TWProtocol : public TWBaseProtocol {
 public:
  /// The shared protocol of an endpoint, user name and password. Protocols stay in the process-wide
  /// cache, even after `close`: who asks for a closed one gets it, and no connection from it, so
  /// close only what is yours alone (`withServiceEndpoint`). `version` and `options` matter only
  /// when the protocol is made, and are the first caller's. Making one without a version probes
  /// the server (two exchanges at most); other look-ups, and its own log lines, wait meanwhile.
  ///
  /// What identifies a protocol is the three texts joined by "_": user "ann_b" with the password
  /// "c" is user "ann" with "b_c". Every access token that credentials are made with counts as
  /// another password: use `updateAccessToken` rather than new credentials.
  [[nodiscard]] static std::shared_ptr<TWProtocol> protocolForServiceEndpoint(
      std::string_view serviceEndpoint, const std::shared_ptr<TWCredentials>& credentials,
      std::optional<TWVersion> version = std::nullopt, const TWConnectionOptions& options = {});
  /// A protocol of its own, probed when made without a version.
  [[nodiscard]] static std::shared_ptr<TWProtocol> withServiceEndpoint(
      std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
      std::optional<TWVersion> version = std::nullopt, const TWConnectionOptions& options = {});

  [[nodiscard]] const std::string& wsdlURL() const noexcept { return wsdlURL_; }
  [[nodiscard]] const std::string& messagesURL() const noexcept { return messagesURL_; }
  /// The schema document that names the server's version.
  [[nodiscard]] const std::string& typesURL() const noexcept { return typesURL_; }

  [[nodiscard]] bool allowsRedirects() const noexcept override { return true; }

 protected:
  TWProtocol(std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
             std::optional<TWVersion> version, const TWConnectionOptions& options);

  /// The cache's look-up for one class.
  using Factory = std::function<std::shared_ptr<TWProtocol>()>;
  [[nodiscard]] static std::shared_ptr<TWProtocol> shared(const std::string& className,
                                                          std::string_view serviceEndpoint,
                                                          const TWCredentials* credentials,
                                                          const Factory& make);

 private:
  std::string wsdlURL_;
  std::string messagesURL_;
  std::string typesURL_;
};

/// The protocol of autodiscover requests, which handles redirects itself.
class TWAutodiscoverProtocol : public TWProtocol {
 public:
  [[nodiscard]] static std::shared_ptr<TWAutodiscoverProtocol> protocolForServiceEndpoint(
      std::string_view serviceEndpoint, const std::shared_ptr<TWCredentials>& credentials,
      std::optional<TWVersion> version = std::nullopt, const TWConnectionOptions& options = {});
  [[nodiscard]] static std::shared_ptr<TWAutodiscoverProtocol> withServiceEndpoint(
      std::string_view serviceEndpoint, std::shared_ptr<TWCredentials> credentials,
      std::optional<TWVersion> version = std::nullopt, const TWConnectionOptions& options = {});

  [[nodiscard]] bool allowsRedirects() const noexcept override { return false; }

 private:
  using TWProtocol::TWProtocol;
};

}  // namespace tarnwell
