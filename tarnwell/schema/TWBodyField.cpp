#include "tarnwell/schema/TWBodyField.h"

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/items/TWBody.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

/// The text that a value gives for a body; the value itself when it has none to give.
TWValue textOf(const TWValue& value) {
  if (value.isNumber()) return value.description();
  if (const auto element = value.asXML()) return element.stringValue();
  return value;
}

}  // namespace

TWValue TWBodyField::clean(const TWValue& value, const TWVersion* version, TWError* error) const {
  return FieldKind::clean(textOf(value), version, error);
}

TWValue TWBodyField::fromChild(const NKXMLElement& child,
                               const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  const auto attribute = child.attributeForName("BodyType");
  const detail::XMLTextView type(attribute);
  if (text && *type == TWHTMLBody::bodyType()) return TWValue::body(*text, TWBodyType::html);
  // The text is not escaped, deliberately. What results is HTML, and is saved as such.
  if (text && *type == TWBody::bodyType())
    return TWHTMLBody(formatMessage("<pre>%@</pre>", {*text}));
  return options().default_;
}

TWValue TWBodyField::toXML(const TWValue& value, const TWVersion* version, TWError* error) const {
  const bool isHTML = value.bodyType() == TWBodyType::html;
  auto element = elementWith(value, version, error).asXML();
  element.addAttributeWithName("BodyType", isHTML ? TWHTMLBody::bodyType() : TWBody::bodyType());
  return element;
}

}  // namespace tarnwell
