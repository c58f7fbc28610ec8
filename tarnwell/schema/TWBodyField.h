#pragma once

#include <memory>
#include <string_view>

#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {

/// The plain-text rendering of a body, which is an ordinary text.
class TWTextBodyField : public detail::FieldKind<TWTextBodyField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "TWTextBodyField";
  using FieldKind::FieldKind;
};

/// The body of a message or appointment: a text tagged with its type (`TWValue::bodyType`), made of
/// a `TWBody` or `TWHTMLBody`. A text without a tag is a plain body.
class TWBodyField : public detail::FieldKind<TWBodyField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "TWBodyField";
  using FieldKind::FieldKind;

  /// As `TWField::clean`, once a number or an XML element has been replaced by its text.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  /// Always HTML: of a plain body its text, unescaped, between `<pre>` and `</pre>`. The default
  /// for a body of another type.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// The text, with its type in the attribute "BodyType".
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

}  // namespace tarnwell
