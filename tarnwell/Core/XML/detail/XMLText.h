#pragma once

#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include <libxml/xmlstring.h>

#include "tarnwell/Core/XML/detail/CleanText.h"

namespace tarnwell::detail {

/// libxml2's texts as ours; null is empty.
[[nodiscard]] inline std::string_view view(const xmlChar* text) noexcept {
  return text == nullptr ? std::string_view()
                         : std::string_view(reinterpret_cast<const char*>(text));
}
[[nodiscard]] inline const xmlChar* xmlText(const char* text) noexcept {
  return reinterpret_cast<const xmlChar*>(text);
}
/// Null equals nothing, not even the empty text.
[[nodiscard]] inline bool equals(const xmlChar* text, std::string_view other) noexcept {
  return text != nullptr && view(text) == other;
}

/// A text from outside, made fit for libxml2: clean and terminated. Short ones are not allocated.
class XMLCText {
 public:
  explicit XMLCText(std::string_view text);
  XMLCText(const XMLCText&) = delete;
  XMLCText& operator=(const XMLCText&) = delete;
  [[nodiscard]] const xmlChar* get() const noexcept { return xmlText(data_); }

 private:
  std::array<char, 64> short_;  ///< filled up to its terminator only
  std::string long_;
  const char* data_ = nullptr;
};

/// The two parts of "prefix:local"; the prefix is empty when there is no colon.
struct XMLNameParts {
  std::string_view prefix;
  std::string_view local;
};
[[nodiscard]] inline XMLNameParts splitName(std::string_view name) noexcept {
  const auto colon = name.find(':');
  if (colon == std::string_view::npos) return {{}, name};
  return {name.substr(0, colon), name.substr(colon + 1)};
}

}  // namespace tarnwell::detail
