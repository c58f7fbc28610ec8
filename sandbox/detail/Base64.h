#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarnwell::sandbox {

[[nodiscard]] std::string encodeBase64(std::string_view bytes);
/// Absent for what is no base64; white space between the letters is no matter.
[[nodiscard]] std::optional<std::string> decodeBase64(std::string_view text);

}  // namespace tarnwell::sandbox
