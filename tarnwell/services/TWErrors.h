#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tarnwell/util/TWError.h"

namespace tarnwell {

/// Codes of the domain `TWErrorDomain`: every Exchange Web Services response code under the name
/// that the server sends, and the library's own failures.
///
///     if (error.is(TWErrorCode::ErrorItemNotFound)) forget(id);
enum class TWErrorCode : std::int64_t {
#define TW_ERROR_CODE(code, name) name = (code),
#include "tarnwell/services/TWErrorCodes.inc"
#undef TW_ERROR_CODE
};

/// The catalogue of errors: names to codes and back. Built once; safe from any thread.
class TWErrors {
 public:
  /// The code of a response-code name, exactly as the server spells it. Absent when the name is not
  /// in the catalogue; "ErrorNone" is in it and has the code 0.
  [[nodiscard]] static std::optional<std::int64_t> codeFromString(std::string_view name);
  /// The name of a code; absent outside 0 to 397.
  [[nodiscard]] static std::optional<std::string_view> stringFromCode(std::int64_t code);
};

}  // namespace tarnwell
