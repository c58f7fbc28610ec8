#include "tarnwell/protocol/detail/RequestText.h"

#include <array>
#include <cstddef>
#include <cstdio>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell::detail {

TWError errorOfRequest(std::string_view document) {
  const auto at = TWUtils::findUnsafeXML(document);
  if (at == std::string_view::npos) return {};
  auto element = document.substr(document.rfind('<', at) + 1);
  element = element.substr(0, element.find_first_of(" />"));
  // Besides control characters U+FFFE and U+FFFF, which have three bytes.
  const auto byte = [&](std::size_t place) {
    return static_cast<unsigned>(static_cast<unsigned char>(document[place]));
  };
  const unsigned code = byte(at) < 0x20U ? byte(at) : 0xFFC0U + (byte(at + 2) & 0x3FU);
  std::array<char, 8> digits{};
  std::snprintf(digits.data(), digits.size(), "%04X", code);
  return {TWErrorCode::ErrorValueOutOfRange,
          formatMessage("%@ holds U+%@, a character that XML forbids",
                        {element, std::string_view(digits.data())})};
}

}  // namespace tarnwell::detail
