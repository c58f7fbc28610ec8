#pragma once

#include <string>
#include <string_view>

namespace tarnwell::detail {

enum class XMLEncoding { asDeclared, utf8 };

/// A document made ready for the parser: its markup stands in it as ASCII, so that what the limits
/// of the reader look at is what the parser will see. That is so in UTF-8, US-ASCII, ISO 8859 and
/// the Windows code pages; UTF-16 is converted; anything else is refused.
class XMLInput {
 public:
  /// The bytes must outlive the input.
  XMLInput(std::string_view bytes, XMLEncoding encoding);
  XMLInput(const XMLInput&) = delete;
  XMLInput& operator=(const XMLInput&) = delete;

  [[nodiscard]] bool isRefused() const noexcept { return refused_; }
  [[nodiscard]] std::string_view bytes() const noexcept { return bytes_; }
  /// What to tell the parser instead of what is declared; null for UTF-8.
  [[nodiscard]] const char* encoding() const noexcept {
    return encoding_.empty() ? nullptr : encoding_.c_str();
  }

 private:
  void readAsDeclared();
  /// Makes every line end "\n", as XML asks for. The parser would do so itself, but takes blanks in
  /// front of a "\r" for blanks between tags.
  void joinLineEnds();

  std::string_view bytes_;
  std::string converted_;
  std::string encoding_;
  bool refused_ = false;
};

}  // namespace tarnwell::detail
