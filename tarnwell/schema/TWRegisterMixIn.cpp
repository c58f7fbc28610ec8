#include <algorithm>
#include <memory>
#include <string>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWExtendedPropertyField.h"
#include "tarnwell/schema/detail/FieldList.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

const TWElementClass& TWRegisterMixIn::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWRegisterMixIn", .base = &TWEWSElement::elementClass()});
  return kClass;
}

bool TWRegisterMixIn::registerAttr(const TWElementClass& cls, std::string_view name,
                                   const TWElementClass& property, TWError* error) {
  TWError failure;
  const auto fail = [&](std::string_view format, std::string_view what) {
    failure = {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, {what})};
    return false;
  };
  const auto nameOf = [](const auto& field) { return field->name(); };
  const bool done = cls.fieldList_->update([&](TWFields& fields) {
    if (std::ranges::find(fields, name, nameOf) != fields.end())
      return fail("%@ is already registered", name);
    const auto* const extended = dynamic_cast<const TWExtendedPropertyClass*>(&property);
    if (extended == nullptr)
      return fail("%@ must be a subclass of extendedProperty", property.name());
    if (!extended->validate(&failure)) return false;
    const auto after = cls.insertAfterField()
                           ? std::ranges::find(fields, *cls.insertAfterField(), nameOf)
                           : fields.end();
    if (after == fields.end())
      return fail("%@ insert after field is missing in property", cls.name());
    fields.insert(after + 1, TWExtendedPropertyField::withProps(
                                 {.name = std::string(name), .valueCls = extended}));
    return true;
  });
  if (!done) setError(error, failure);
  return done;
}

bool TWRegisterMixIn::unregisterAttr(const TWElementClass& cls, std::string_view name,
                                     TWError* error) {
  const bool done = cls.fieldList_->update([&](TWFields& fields) {
    const auto at =
        std::ranges::find(fields, name, [](const auto& field) { return field->name(); });
    if (at == fields.end() || dynamic_cast<const TWExtendedPropertyField*>(at->get()) == nullptr)
      return false;
    fields.erase(at);
    return true;
  });
  if (!done)
    setError(error,
             {TWErrorCode::ErrorValueOutOfRange, formatMessage("%@ is not registered", {name})});
  return done;
}

}  // namespace tarnwell
