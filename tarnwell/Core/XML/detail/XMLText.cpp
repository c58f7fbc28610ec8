#include "tarnwell/Core/XML/detail/XMLText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarnwell::detail {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Length of the well-formed, non-NUL character at the start, or 0. `bad` is then the length of the
/// sequence that one replacement stands for: the longest start of a well-formed one.
std::size_t characterLength(std::string_view text, std::size_t& bad) noexcept {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
  };
  const std::uint8_t lead = byte(0);
  bad = 1;
  if (lead < 0x80) return lead == 0 ? 0 : 1;
  std::size_t length = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong form
    if (lead == 0xED) high = 0x9F;  // no surrogate
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i, low = 0x80, high = 0xBF) {
    if (byte(i) < low || byte(i) > high) {
      bad = i;
      return 0;
    }
  }
  return length;
}

/// Not zero when one of the eight bytes is not ASCII, or is NUL: taking one from it sets its high
/// bit. (The borrow of a NUL may mark the byte after it too, which only sends us to look closely.)
std::uint64_t unusualBytes(const char* bytes) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return ((word - 0x0101010101010101U) | word) & 0x8080808080808080U;
}

/// Bytes at the start that are plain ASCII without NULs.
std::size_t asciiLength(std::string_view text) noexcept {
  const char* bytes = text.data();
  std::size_t i = 0;
  for (; i + 32 <= text.size(); i += 32) {
    if ((unusualBytes(bytes + i) | unusualBytes(bytes + i + 8) | unusualBytes(bytes + i + 16) |
         unusualBytes(bytes + i + 24)) != 0)
      break;
  }
  while (i + 8 <= text.size() && unusualBytes(bytes + i) == 0) i += 8;
  while (i < text.size() && text[i] != '\0' && static_cast<std::uint8_t>(text[i]) < 0x80) ++i;
  return i;
}

}  // namespace

bool isCleanText(std::string_view text) noexcept {
  for (;;) {
    text.remove_prefix(asciiLength(text));
    if (text.empty()) return true;
    std::size_t bad = 0;
    const auto length = characterLength(text, bad);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
}

std::string repairedText(std::string_view text) {
  std::string result;
  result.reserve(text.size() + kReplacement.size());
  while (!text.empty()) {
    std::size_t bad = 0;
    auto length = asciiLength(text);
    if (length == 0) length = characterLength(text, bad);
    if (length != 0) {
      result += text.substr(0, length);
    } else {
      result += kReplacement;
      length = bad;
    }
    text.remove_prefix(length);
  }
  return result;
}

XMLCText::XMLCText(std::string_view text) {
  const bool clean = isCleanText(text);
  if (clean && text.size() < short_.size()) {
    *std::copy(text.begin(), text.end(), short_.begin()) = '\0';
    data_ = short_.data();
    return;
  }
  long_ = clean ? std::string(text) : repairedText(text);
  data_ = long_.c_str();
}

}  // namespace tarnwell::detail
