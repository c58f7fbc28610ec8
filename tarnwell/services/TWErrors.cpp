#include "tarnwell/services/TWErrors.h"

#include <array>
#include <cstddef>
#include <unordered_map>

namespace tarnwell {
namespace {

constexpr std::array kNames = std::to_array<std::string_view>({
#define TW_ERROR_CODE(code, name) #name,
#include "tarnwell/services/TWErrorCodes.inc"
#undef TW_ERROR_CODE
});

// The rows stand in the order of their codes without a gap, so a code is a place in the table.
constexpr std::array kCodes = std::to_array<std::size_t>({
#define TW_ERROR_CODE(code, name) code,
#include "tarnwell/services/TWErrorCodes.inc"
#undef TW_ERROR_CODE
});
static_assert([] {
  for (std::size_t i = 0; i < kCodes.size(); ++i)
    if (kCodes[i] != i) return false;
  return kCodes.size() == 398;
}());

using CodesByName = std::unordered_map<std::string_view, std::int64_t>;

const CodesByName& codesByName() {
  static const auto* const kMap = [] {
    auto* map = new CodesByName(kNames.size());
    for (std::size_t code = 0; code < kNames.size(); ++code)
      map->emplace(kNames[code], static_cast<std::int64_t>(code));
    return map;
  }();
  return *kMap;
}

}  // namespace

std::optional<std::int64_t> TWErrors::codeFromString(std::string_view name) {
  const auto found = codesByName().find(name);
  if (found == codesByName().end()) return std::nullopt;
  return found->second;
}

std::optional<std::string_view> TWErrors::stringFromCode(std::int64_t code) {
  if (code < 0 || static_cast<std::size_t>(code) >= kNames.size()) return std::nullopt;
  return kNames[static_cast<std::size_t>(code)];
}

}  // namespace tarnwell
