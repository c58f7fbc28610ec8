#include "tarnwell/schema/TWBase64Field.h"

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/util/detail/Base64.h"

namespace tarnwell {

TWValue TWBase64Field::fromChild(const NKXMLElement& child,
                                 const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(detail::decodeBase64(*text)) : options().default_;
}

TWValue TWBase64Field::toXML(const TWValue& value, const TWVersion* version, TWError* error) const {
  if (value.isAbsent()) return elementWith({}, version, error);
  if (!checkInstance(value, version, error)) return {};
  return elementWith(detail::encodeBase64(*value.asData()), version, error);
}

}  // namespace tarnwell
