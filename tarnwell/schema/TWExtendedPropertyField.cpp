#include "tarnwell/schema/TWExtendedPropertyField.h"

#include <algorithm>
#include <functional>

#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/detail/NamelessField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

/// Whether the element, a `t:ExtendedProperty`, is addressed as the map says. It may have more
/// attributes than that.
bool isAddressedBy(const TWDictionary& map, const NKXMLElement& element) {
  const auto uri = element.elementForName("ExtendedFieldURI", kTypesNamespace);
  return uri && std::ranges::all_of(map, [&](const auto& expected) {
           const auto& [name, text] = expected;
           const auto found = uri.attributeForName(name).stringValue();
           // As they are written, deliberately: the map has sets and tags in lower case.
           return found && *found == text.textView();
         });
}

}  // namespace

const TWExtendedPropertyClass* TWExtendedPropertyField::propertyClass() const {
  return dynamic_cast<const TWExtendedPropertyClass*>(options().valueCls);
}

TWValue TWExtendedPropertyField::clean(const TWValue& value, const TWVersion* version,
                                       TWError* error) const {
  if (value.isAbsent()) {
    if (!isRequired()) return options().default_;
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     "required field missing in extended property field"});
    return {};
  }
  if (!valueClass().hasInstance(value)) return {};
  return value.asObject<TWEWSElement>()->clean(version, error) ? value : TWValue();
}

TWValue TWExtendedPropertyField::wrapped(const TWValue& value) const {
  const auto* const cls = propertyClass();
  if (cls == nullptr || value.isAbsent() || valueClass().hasInstance(value)) return value;
  return cls->withDict({{"value", value}});
}

TWValue TWExtendedPropertyField::valueToWrite(const TWValue& value, const TWVersion* version,
                                              TWError* error) const {
  return clean(wrapped(value), version, error);
}

TWValue TWExtendedPropertyField::fromXML(const NKXMLElement& element,
                                         const std::shared_ptr<TWAccount>& account) const {
  const auto* const cls = propertyClass();
  if (cls == nullptr) return options().default_;
  const auto map = cls->propertiesMap();
  for (const auto& child : element.childElements()) {
    if (!child.isElement(cls->responseTag(), cls->responseXMLns()) || !isAddressedBy(map, child))
      continue;
    const auto property = cls->fromXML(child, account);
    return property->get("value").isAbsent() ? TWValue() : TWValue(property);
  }
  return options().default_;
}

TWValue TWExtendedPropertyField::toXML(const TWValue& value, const TWVersion* version,
                                       TWError* error) const {
  const auto* const cls = propertyClass();
  if (value.isAbsent()) return {};
  if (cls == nullptr) {
    setError(error, detail::namelessField(*this));
    return {};
  }
  const auto content = wrapped(value).asObject<TWEWSElement>()->toXML(version, error);
  const auto tag = cls->requestTag();
  if (!content || !tag) return {};
  auto element = TWUtils::createElement(*tag);
  element.addChild(fieldURIXML());
  element.addChild(content);
  return element;
}

NKXMLElement TWExtendedPropertyField::fieldURIXML() const {
  const auto* const cls = propertyClass();
  if (cls == nullptr) return {};
  return TWUtils::createElement("t:ExtendedFieldURI", cls->propertiesMap());
}

std::size_t TWExtendedPropertyField::hash() const { return std::hash<std::string_view>{}(name()); }

}  // namespace tarnwell
