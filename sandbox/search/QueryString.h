#pragma once

#include <string>

#include "sandbox/search/Restriction.h"

namespace tarnwell::sandbox {

/// The restriction that a query string stands for: words and "phrases", all of which must be found,
/// in the subject, the body, or a name or address. `subject:`, `body:`, `from:`, `to:`, `cc:`,
/// `category:` before a word look there only; `NOT` or "-" before it wants it absent, `OR` between
/// two wants one of them.
[[nodiscard]] Restriction readQueryString(const std::string& text);

}  // namespace tarnwell::sandbox
