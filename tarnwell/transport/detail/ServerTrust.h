#pragma once

#include <functional>
#include <string>

namespace tarnwell::detail {

/// How one TLS connection judges its server's certificate.
struct ServerTrust {
  /// PEM file with more authorities to trust. Empty: the system's only.
  std::string caFile;
  /// Told of every evaluation and asked whether to go on.
  std::function<bool(bool trusted)> accepts;
};

/// Makes the TLS context ask `trust`, for a server of that name (a DNS name, or an address without
/// brackets). `trust` must outlive the context. False when the file of authorities cannot be read.
///
/// Everything is judged in one evaluation: chain, dates and name. Evaluations are serialised across
/// all connections of the process.
[[nodiscard]] bool installServerTrust(void* tlsContext, const std::string& host,
                                      ServerTrust& trust);

}  // namespace tarnwell::detail
