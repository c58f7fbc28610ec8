#pragma once

#include <cstdint>

namespace tarnwell {

/// The authentication schemes, by the numbers that configurations, protocols and connections use.
/// (A bearer token is chosen by the credentials, not by a challenge, and has no number.)
enum class TWAuthType : std::int64_t { none = 0, basic = 1, ntlm = 2, digest = 3 };

}  // namespace tarnwell
