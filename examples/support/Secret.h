#pragma once

#include <optional>
#include <string>

namespace examples {

/// The first line of the file, a password or a token, blanks included; absent when there is none.
/// Secrets come from files, since arguments are seen by everybody on the machine.
[[nodiscard]] std::optional<std::string> secretIn(const std::string& file);

}  // namespace examples
