#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// The body of a message or appointment as plain text. Stored in a property it is a text that knows
/// its type:
///
///     item->set("body", TWHTMLBody("<p>Hello</p>"));
class TWBody {
 public:
  explicit TWBody(std::string text) : TWBody(std::move(text), TWBodyType::plain) {}

  /// As EWS calls it: "Text".
  [[nodiscard]] static constexpr std::string_view bodyType() noexcept { return "Text"; }

  [[nodiscard]] const std::string& stringValue() const noexcept { return text_; }
  /// A text, tagged with the type of body.
  // Implicit: a body is given wherever a value is
  operator TWValue() const { return TWValue::body(text_, type_); }

 protected:
  TWBody(std::string text, TWBodyType type) : text_(std::move(text)), type_(type) {}

 private:
  std::string text_;
  TWBodyType type_;
};

/// A body as HTML.
class TWHTMLBody : public TWBody {
 public:
  explicit TWHTMLBody(std::string text) : TWBody(std::move(text), TWBodyType::html) {}

  /// "HTML".
  [[nodiscard]] static constexpr std::string_view bodyType() noexcept { return "HTML"; }
};

}  // namespace tarnwell
