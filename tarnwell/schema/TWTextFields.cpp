#include "tarnwell/schema/TWTextFields.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

/// The texts of the child's `t:String` elements, or the default when there is no child.
TWValue stringsIn(const NKXMLElement& child, const TWFieldOptions& options) {
  if (!child) return options.default_;
  TWList texts;
  for (const auto& text : child.attributesForName("String", kTypesNamespace))
    texts.emplace_back(text);
  return texts;
}

TWFieldOptions ofChars(TWFieldOptions options) {
  if (!options.maxLength) options.maxLength = 255;
  return options;
}

TWFieldOptions ofId(TWFieldOptions options) {
  options.maxLength = 512;
  options.isSearchable = false;
  options.isAttribute = true;
  return options;
}

}  // namespace

TWValue TWTextField::fromXML(const NKXMLElement& element,
                             const std::shared_ptr<TWAccount>& account) const {
  if (!isAttribute()) return FieldKind::fromXML(element, account);
  const auto attribute = element.attributeForName(fieldURI());
  const detail::XMLTextView text(attribute);
  return text ? TWValue(*text) : options().default_;
}

std::optional<TWTag> TWTextField::childTag() const {
  return isAttribute() ? std::nullopt : FieldKind::childTag();
}

TWValue TWTextField::fromChild(const NKXMLElement& child,
                               const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(*text) : options().default_;
}

TWValue TWTextFieldList::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  return stringsIn(child, options());
}

TWCharField::TWCharField(TWFieldOptions options) : FieldKind(ofChars(std::move(options))) {}

TWValue TWCharField::clean(const TWValue& value, const TWVersion* version, TWError* error) const {
  TWError failure;
  auto result = FieldKind::clean(value, version, &failure);
  const auto list = isList() ? result.asList() : nullptr;
  if (!failure && list)
    (void)std::ranges::all_of(*list, [&](const auto& text) { return checkLength(text, &failure); });
  else if (!failure)
    (void)checkLength(result, &failure);
  if (!failure) return result;
  setError(error, failure);
  return {};
}

bool TWCharField::checkLength(const TWValue& value, TWError* error) const {
  if (!options().maxLength || utf16Length(value.textView()) <= *options().maxLength) return true;
  setError(error, {TWErrorCode::ErrorValueOutOfRange,
                   formatMessage("%@ value %@ exceeds length %@",
                                 {options().name, value, options().maxLength})});
  return false;
}

TWIdField::TWIdField(TWFieldOptions options) : FieldKind(ofId(std::move(options))) {}

TWValue TWCharListField::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  return stringsIn(child, options());
}

}  // namespace tarnwell
