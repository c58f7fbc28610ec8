#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {

/// Standard base64 (RFC 4648) with padding and without line breaks.
[[nodiscard]] std::string encodeBase64(std::span<const std::uint8_t> bytes);

/// Absent unless the whole text is base64 with its padding; line breaks and blanks are not taken.
[[nodiscard]] std::optional<TWData> decodeBase64(std::string_view text);

}  // namespace tarnwell::detail
