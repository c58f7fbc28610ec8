#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/protocol/TWProtocol.h"

namespace tarnwell {

/// What a configuration is made of.
struct TWConfigurationOptions {
  std::shared_ptr<TWCredentials> credentials = nullptr;
  std::string server = {};  ///< the host; not looked at when there is an endpoint
  bool hasSSL = true;       ///< likewise: whether the endpoint built from the host is an https one
  std::optional<std::string> serviceEndpoint = std::nullopt;  ///< absent: built from the host
  std::optional<TWVersion> version = std::nullopt;            ///< absent: the server is asked
  bool useCached = true;                ///< false: a protocol of its own instead of the shared one
  TWConnectionOptions connection = {};  ///< for the connections of a protocol that is made
};

/// Where an account that is not found by autodiscover lives.
///
///     const auto config = TWConfiguration::withOptions({.credentials = credentials,
///                                                       .server = "mail.example.com"});
struct TWConfiguration {
  std::shared_ptr<TWProtocol> protocol = nullptr;

  /// The endpoint that is built from the host is "https://SERVER/EWS/Exchange.asmx", or the same by
  /// http without `hasSSL`.
  [[nodiscard]] static TWConfiguration withOptions(const TWConfigurationOptions& options);
  /// The same by position; see the options.
  template <std::same_as<bool> HasSSL, std::same_as<bool> UseCached = bool>
  [[nodiscard]] static TWConfiguration withCredentials(
      const std::shared_ptr<TWCredentials>& credentials, std::string_view server, HasSSL hasSSL,
      std::optional<std::string_view> serviceEndpoint = std::nullopt,
      const std::optional<TWVersion>& version = std::nullopt, UseCached useCached = true,
      const TWConnectionOptions& options = {}) {
    return withOptions({.credentials = credentials,
                        .server = std::string(server),
                        .hasSSL = hasSSL,
                        .serviceEndpoint = std::optional<std::string>(serviceEndpoint),
                        .version = version,
                        .useCached = useCached,
                        .connection = options});
  }
};

}  // namespace tarnwell
