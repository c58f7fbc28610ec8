#include "tarnwell/util/TWFormat.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace tarnwell {
namespace {

/// A conversion at the start of a text that begins with "%"; of length 0 when it is none of ours.
struct Conversion {
  enum class Kind { none, percent, object, integer, decimals } kind = Kind::none;
  std::size_t length = 0;
  int decimals = 0;
};

Conversion conversionAt(std::string_view text) {
  using Kind = Conversion::Kind;
  if (text.starts_with("%%")) return {Kind::percent, 2};
  if (text.starts_with("%@")) return {Kind::object, 2};
  for (const std::string_view integer : {"%lu", "%ld", "%u", "%d", "%i"})
    if (text.starts_with(integer)) return {Kind::integer, integer.size()};
  if (text.size() >= 4 && text[1] == '.' && text[2] >= '0' && text[2] <= '9' && text[3] == 'f')
    return {Kind::decimals, 4, text[2] - '0'};
  return {};
}

std::string fixed(double number, int decimals) {
  std::array<char, 400> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                 std::chars_format::fixed, decimals);
  return {buffer.data(), end.ptr};
}

}  // namespace

std::string formatMessage(std::string_view format, std::initializer_list<TWValue> values) {
  std::string out;
  const auto* next = values.begin();
  std::size_t done = 0;
  for (std::size_t at = format.find('%'); at != std::string_view::npos;
       at = format.find('%', done)) {
    out.append(format, done, at - done);
    const Conversion conversion = conversionAt(format.substr(at));
    done = at + std::max<std::size_t>(conversion.length, 1);
    if (conversion.kind == Conversion::Kind::percent) {
      out += '%';
    } else if (conversion.kind == Conversion::Kind::none || next == values.end()) {
      out.append(format, at, done - at);
    } else {
      const TWValue& value = *next++;
      const auto number = value.asDouble();
      if (conversion.kind == Conversion::Kind::decimals && number)
        out += fixed(*number, conversion.decimals);
      else
        out += value.description();
    }
  }
  return out.append(format.substr(done));
}

}  // namespace tarnwell
