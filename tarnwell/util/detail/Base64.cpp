#include "tarnwell/util/detail/Base64.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tarnwell::detail {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNoDigit = 64;

constexpr auto kDigits = [] {
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  for (std::size_t at = 0; at < kAlphabet.size(); ++at)
    digits[static_cast<unsigned char>(kAlphabet[at])] = static_cast<std::uint8_t>(at);
  return digits;
}();

}  // namespace

std::string encodeBase64(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(3, bytes.size()))) {
    const auto byteAt = [&](std::size_t at) { return at < bytes.size() ? bytes[at] : 0U; };
    const std::uint32_t group = byteAt(0) << 16U | byteAt(1) << 8U | byteAt(2);
    for (std::size_t digit = 0; digit < 4; ++digit)
      text += digit <= bytes.size() ? kAlphabet[group >> (18 - 6 * digit) & 63U] : '=';
  }
  return text;
}

std::optional<TWData> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  text.remove_suffix(padding);
  TWData bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (const char c : text) {
    const std::uint8_t digit = kDigits[static_cast<unsigned char>(c)];
    if (digit == kNoDigit) return std::nullopt;
    bits = bits << 6U | digit;
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> held));
  }
  return bytes;
}

}  // namespace tarnwell::detail
