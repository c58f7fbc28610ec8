#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "tarnwell/protocol/TWProtocol.h"

namespace tarnwell {

/// Where an account that is not found by autodiscover lives.
///
///     const auto config = TWConfiguration::withCredentials(credentials, "mail.example.com", true);
struct TWConfiguration {
  std::shared_ptr<TWProtocol> protocol = nullptr;

  /// @param server           the host; not looked at when there is an endpoint
  /// @param hasSSL           likewise: whether the endpoint built from the host is an https one
  /// @param serviceEndpoint  absent: "https://SERVER/EWS/Exchange.asmx"
  /// @param version          absent: the server is asked
  /// @param useCached        false: a protocol of its own instead of the shared one
  /// @param options          for the connections of a protocol that is made
  [[nodiscard]] static TWConfiguration withCredentials(
      const std::shared_ptr<TWCredentials>& credentials, std::string_view server, bool hasSSL,
      std::optional<std::string_view> serviceEndpoint = std::nullopt,
      std::optional<TWVersion> version = std::nullopt, bool useCached = true,
      const TWConnectionOptions& options = {});
};

}  // namespace tarnwell
