#include "tarnwell/Core/XML/detail/XMLInput.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <libxml/encoding.h>

#include "tarnwell/util/TWText.h"

namespace tarnwell::detail {

namespace {

/// What the XML declaration names; empty when there is none.
std::string_view declaredEncoding(std::string_view bytes) noexcept {
  constexpr std::string_view kKey = "encoding";
  if (!bytes.starts_with("<?xml")) return {};
  auto rest = bytes.substr(5, bytes.find("?>") - 5);
  if (!trimmed(rest.substr(0, 1)).empty()) return {};  // an instruction: <?xml-stylesheet
  const auto key = rest.find(kKey);
  if (key == std::string_view::npos) return {};
  rest = trimmed(rest.substr(key + kKey.size()));
  if (!rest.starts_with('=')) return {};
  rest = trimmed(rest.substr(1));
  if (!rest.starts_with('"') && !rest.starts_with('\'')) return {};
  const auto end = rest.find(rest.front(), 1);
  return end == std::string_view::npos ? std::string_view() : rest.substr(1, end - 1);
}

/// The name that the converter knows the encoding by.
std::string canonicalEncoding(std::string_view declared) {
  struct Alias {
    std::string_view alias, name;
  };
  static constexpr Alias kNames[] = {
      {"utf8", "utf-8"}, {"ascii", "us-ascii"}, {"latin1", "iso-8859-1"}};
  static constexpr Alias kPrefixes[] = {{"iso_8859-", "iso-8859-"},
                                        {"iso8859-", "iso-8859-"},
                                        {"cp125", "windows-125"},
                                        {"x-cp125", "windows-125"}};
  auto name = lowercased(declared);
  for (const auto& row : kNames) {
    if (name == row.alias) return std::string(row.name);
  }
  for (const auto& row : kPrefixes) {
    if (name.starts_with(row.alias)) return std::string(row.name) + name.substr(row.alias.size());
  }
  return name;
}

/// True for encodings of one byte to a character in which ASCII stands as itself.
bool isSingleByte(std::string_view name) {
  if (name == "us-ascii") return true;
  auto number = name;
  if (name.starts_with("iso-8859-"))
    number.remove_prefix(9);
  else if (name.starts_with("windows-125"))
    number.remove_prefix(11);
  else
    return false;
  if (!std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; }))
    return false;
  auto* converter = xmlFindCharEncodingHandler(std::string(name).c_str());
  if (converter == nullptr) return false;
  xmlCharEncCloseFunc(converter);
  return true;
}

void appendUTF8(std::string& text, std::uint32_t c) {
  const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  if (c < 0x80) return put(c);
  if (c < 0x800) {
    put(0xC0 | c >> 6);
  } else {
    if (c < 0x10000) {
      put(0xE0 | c >> 12);
    } else {
      put(0xF0 | c >> 18);
      put(0x80 | (c >> 12 & 0x3F));
    }
    put(0x80 | (c >> 6 & 0x3F));
  }
  put(0x80 | (c & 0x3F));
}

/// Absent when the bytes are not well-formed UTF-16.
std::optional<std::string> fromUTF16(std::string_view bytes, bool bigEndian) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  const auto unit = [&](std::size_t at) {
    const auto high = static_cast<std::uint8_t>(bytes[bigEndian ? at : at + 1]);
    const auto low = static_cast<std::uint8_t>(bytes[bigEndian ? at + 1 : at]);
    return static_cast<std::uint32_t>(high << 8 | low);
  };
  std::string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    auto c = unit(at);
    if (c >= 0xD800 && c < 0xE000) {
      const auto second = at + 2 < bytes.size() ? unit(at + 2) : 0;
      if (c >= 0xDC00 || second < 0xDC00 || second >= 0xE000) return std::nullopt;
      c = 0x10000 + ((c - 0xD800) << 10) + (second - 0xDC00);
      at += 2;
    }
    appendUTF8(text, c);
  }
  return text;
}

}  // namespace

XMLInput::XMLInput(std::string_view bytes, XMLEncoding encoding) : bytes_(bytes) {
  if (encoding == XMLEncoding::asDeclared) readAsDeclared();
  if (!refused_ && bytes_.find('\r') != std::string_view::npos) joinLineEnds();
}

void XMLInput::joinLineEnds() {
  std::string text;
  text.reserve(bytes_.size());
  for (std::size_t from = 0; from < bytes_.size();) {
    const auto end = std::min(bytes_.find('\r', from), bytes_.size());
    text += bytes_.substr(from, end - from);
    if (end < bytes_.size()) text += '\n';
    from = end + (bytes_.substr(end).starts_with("\r\n") ? 2 : 1);
  }
  converted_ = std::move(text);
  bytes_ = converted_;
}

void XMLInput::readAsDeclared() {
  // The parser guesses from the first four bytes, by this very function, before it reads the
  // declaration.
  const auto size = static_cast<int>(std::min<std::size_t>(bytes_.size(), 4));
  const auto guessed =
      xmlDetectCharEncoding(reinterpret_cast<const unsigned char*>(bytes_.data()), size);
  switch (guessed) {
    case XML_CHAR_ENCODING_UTF16LE:
    case XML_CHAR_ENCODING_UTF16BE: {
      auto text = fromUTF16(bytes_, guessed == XML_CHAR_ENCODING_UTF16BE);
      refused_ = !text;
      converted_ = std::move(text).value_or(std::string());
      bytes_ = converted_;
      return;
    }
    case XML_CHAR_ENCODING_UTF8:
    case XML_CHAR_ENCODING_NONE: {
      if (bytes_.starts_with("\xEF\xBB\xBF")) return;  // says more than a declaration
      auto name = canonicalEncoding(declaredEncoding(bytes_));
      if (name.empty() || name == "utf-8") return;
      refused_ = !isSingleByte(name);
      encoding_ = std::move(name);
      return;
    }
    default:
      refused_ = true;
      return;
  }
}

}  // namespace tarnwell::detail
