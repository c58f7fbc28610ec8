#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell::sandbox {

/// Seconds since 1970, UTC, of an xs:dateTime, xs:date or xs:date with a zone; one without a zone
/// counts as UTC. Absent for any other text.
[[nodiscard]] std::optional<std::int64_t> readTime(std::string_view text);
/// "2026-11-21T09:30:00Z".
[[nodiscard]] std::string timeText(std::int64_t seconds);
[[nodiscard]] std::string timeNow();

}  // namespace tarnwell::sandbox
