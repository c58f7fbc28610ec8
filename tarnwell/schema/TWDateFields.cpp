#include "tarnwell/schema/TWDateFields.h"

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/time/TWDateTime.h"

namespace tarnwell {

TWValue TWDateField::fromChild(const NKXMLElement& child,
                               const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(TWDateTime::dateFromString(*text)) : options().default_;
}

TWValue TWDateTimeField::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(TWDateTime::dateTimeFromString(*text)) : options().default_;
}

TWValue TWTimeZoneField::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  if (!child) return options().default_;
  auto zone = child.attributeForName("Id", responseXMLns());
  if (!zone) zone = child.attributeForName("Name", responseXMLns());
  return zone ? TWValue(TWTimeZone::fromMSTimeZone(*zone)) : TWValue();
}

TWValue TWTimeZoneField::toXML(const TWValue& value, const TWVersion* version,
                               TWError* error) const {
  if (value.isAbsent()) return elementWith({}, version, error);
  if (!checkInstance(value, version, error)) return {};
  const std::string zone = value.asTimeZone()->mszone();
  auto element = elementWith({}, version, error).asXML();
  element.addAttributeWithName("Id", zone);
  element.addAttributeWithName("Name", zone);
  return element;
}

}  // namespace tarnwell
