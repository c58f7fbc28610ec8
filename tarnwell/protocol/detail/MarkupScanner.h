#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnwell::detail {

/// Follows the markup of a document that arrives piece by piece, so that the parser need not be
/// asked at every arrival whether the document is whole by now. Each byte is looked at once.
class MarkupScanner {
 public:
  /// Goes on where it stopped. `text` is all of the document that is there by now.
  void advance(std::string_view text) noexcept;
  /// True when the root has ended and no markup is open. A text for which this is false is not
  /// well-formed. One for which it is true, but which does not parse, will not do so by growing.
  [[nodiscard]] bool isWhole() const noexcept { return isWhole_; }

 private:
  enum class State { text, startTag, endTag, declaration, comment, cdata, instruction };

  bool open(std::string_view text) noexcept;
  bool close(std::string_view text, std::string_view end) noexcept;
  bool passTag(std::string_view text) noexcept;
  bool passDeclaration(std::string_view text) noexcept;
  bool passText(std::string_view text) noexcept;
  bool passTo(std::string_view text, char a, char b) noexcept;

  State state_ = State::text;
  std::size_t at_ = 0;     // all before it has been looked at
  std::size_t start_ = 0;  // where the content of a comment or the like begins
  char quote_ = 0;         // within a tag or a declaration
  bool isInSubset_ = false;
  bool hasRoot_ = false;
  bool isWhole_ = false;
  std::int64_t depth_ = 0;
};

}  // namespace tarnwell::detail
