#include "sandbox/search/Values.h"

#include <charconv>
#include <cstdint>
#include <optional>

#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

enum class Kind { text, boolean, number, time, choice };

Kind kindOf(const PropertyPath& path) {
  if (path.isExtended()) {
    const std::string type = path.extended.attribute("PropertyType");
    if (type.starts_with("Boolean")) return Kind::boolean;
    if (type.starts_with("SystemTime")) return Kind::time;
    for (const char* number : {"Integer", "Short", "Long", "Double", "Float", "Currency"}) {
      if (type.starts_with(number)) return Kind::number;
    }
    return Kind::text;
  }
  if (path.property == nullptr) return path.uri.ends_with("Count") ? Kind::number : Kind::text;
  switch (path.property->type) {
    case PropertyType::boolean:
      return Kind::boolean;
    case PropertyType::integer:
    case PropertyType::number:
      return Kind::number;
    case PropertyType::dateTime:
      return Kind::time;
    case PropertyType::choice:
      return Kind::choice;
    default:
      return Kind::text;
  }
}

/// The value as a number that orders it; absent when the type does not have it.
std::optional<double> rankOf(Kind kind, const PropertyPath& path, const std::string& value) {
  switch (kind) {
    case Kind::boolean:
      if (value == "true" || value == "1") return 1;
      if (value == "false" || value == "0") return 0;
      return std::nullopt;
    case Kind::time:
      if (const auto time = readTime(value)) return static_cast<double>(*time);
      return std::nullopt;
    case Kind::choice:
      if (const auto index = choiceIndex(*path.property, value)) return *index;
      return std::nullopt;
    case Kind::number: {
      double number = 0;
      const char* const end = value.data() + value.size();
      const auto [stopped, problem] = std::from_chars(value.data(), end, number);
      if (problem != std::errc() || stopped != end) return std::nullopt;
      return number;
    }
    case Kind::text:
      break;
  }
  return std::nullopt;
}

template <class Value>
int sign(const Value& a, const Value& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

}  // namespace

int compareValues(const PropertyPath& path, const std::string& a, const std::string& b) {
  const Kind kind = kindOf(path);
  return kind == Kind::text ? sign(a, b) : sign(rankOf(kind, path, a), rankOf(kind, path, b));
}

bool isValueOf(const PropertyPath& path, const std::string& value) {
  const Kind kind = kindOf(path);
  return kind == Kind::text || rankOf(kind, path, value).has_value();
}

std::string foldCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto first = static_cast<unsigned char>(text[at]);
    if (first >= 'A' && first <= 'Z') {
      folded += static_cast<char>(first - 'A' + 'a');
      continue;
    }
    folded += text[at];
    // The letters below all have two bytes.
    if (first < 0xC3 || first > 0xD1 || at + 1 == text.size()) continue;
    const auto second = static_cast<unsigned char>(text[++at]);
    std::uint32_t c = (std::uint32_t{first} & 0x1FU) << 6U | (second & 0x3FU);
    if ((c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x391 && c <= 0x3A9) ||
        (c >= 0x410 && c <= 0x42F)) {
      c += 0x20;
    } else if (c >= 0x400 && c <= 0x40F) {
      c += 0x50;
    }
    folded.back() = static_cast<char>(0xC0U | (c >> 6U));
    folded += static_cast<char>(0x80U | (c & 0x3FU));
  }
  return folded;
}

}  // namespace tarnwell::sandbox
