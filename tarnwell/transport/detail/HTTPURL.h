#pragma once

#include <cstdint>
#include <string>

namespace tarnwell::detail {

enum class URLVerdict : std::uint8_t { good, malformed, otherScheme, login };

/// Whether a request may go to that URL: it must be one of http or https, without a user name or a
/// password in it.
[[nodiscard]] URLVerdict judgeURL(const std::string& url);

/// The name that a certificate must be made out to; empty when there is none.
[[nodiscard]] std::string hostOf(const char* address);

/// True when there is a user name or a password in it.
[[nodiscard]] bool holdsLogin(const std::string& address);

/// The transfer library writes the user name and the password of a request into the URLs that
/// redirects lead to; they are taken out before anybody sees them.
[[nodiscard]] std::string withoutLogin(const char* address);

/// The absolute URL of a Location field. The transfer library has one, too, but with the user name
/// and the password of the request written into it.
[[nodiscard]] std::string resolve(const std::string& base, const std::string& location);

}  // namespace tarnwell::detail
