#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/transport/TWHeaders.h"

namespace tarnwell {

/// What a server said before the body: the status and the header fields.
struct TWHTTPResponse {
  int statusCode = 0;
  /// In order of arrival; a repeated name stays repeated.
  TWHeaders headers;

  /// The first field of that name, ignoring case.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
  /// "HTTP 401". Header fields are left out: they may hold secrets, such as cookies.
  [[nodiscard]] std::string description() const;

  friend bool operator==(const TWHTTPResponse&, const TWHTTPResponse&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const TWHTTPResponse& response);
};

/// Codes of `TWHTTPErrorDomain` that a program may want to tell apart. All other codes of that
/// domain are those of the transfer library underneath, too.
///
///     if (error.is(TWHTTPErrorDomain, TWHTTPErrorTimedOut)) ...
///
/// They are numbers and no enumeration so that nobody compares them without their domain.
/// @name Codes of TWHTTPErrorDomain
/// @{

/// Neither http nor https, or an answer that is no HTTP.
inline constexpr std::int64_t TWHTTPErrorUnsupportedURL = 1;
inline constexpr std::int64_t TWHTTPErrorMalformedURL = 3;
inline constexpr std::int64_t TWHTTPErrorUnknownHost = 6;
inline constexpr std::int64_t TWHTTPErrorCannotConnect = 7;
/// The body ended before its announced length, or a packed one before its end.
inline constexpr std::int64_t TWHTTPErrorCutShort = 18;
inline constexpr std::int64_t TWHTTPErrorTimedOut = 28;
/// By `cancel`, or used after `close`.
inline constexpr std::int64_t TWHTTPErrorCancelled = 42;
/// A method or header field that cannot be sent.
inline constexpr std::int64_t TWHTTPErrorBadRequest = 43;
inline constexpr std::int64_t TWHTTPErrorTooManyRedirects = 47;
/// The server closed the connection instead of answering. It may have acted on the request.
inline constexpr std::int64_t TWHTTPErrorEmptyReply = 52;
inline constexpr std::int64_t TWHTTPErrorConnectionLost = 56;
inline constexpr std::int64_t TWHTTPErrorInsecureCertificate = 60;
/// The body grew beyond `TWConnectionOptions::bodyLimit`.
inline constexpr std::int64_t TWHTTPErrorTooLarge = 63;
/// @}

}  // namespace tarnwell
