#include "tarnwell/schema/TWMailboxFields.h"

#include <utility>

#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/detail/ValueClassOption.h"

namespace tarnwell {
namespace {

/// A value of the class for an address: a mailbox, or an element that holds it.
TWValue withAddress(const TWElementClass& cls, const TWValue& address) {
  const auto mailbox = TWMailbox::withDict({{"email_address", address}});
  return cls.getFieldByFieldName("mailbox") ? TWValue(cls.withDict({{"mailbox", mailbox}}))
                                            : TWValue(mailbox);
}

}  // namespace

TWMailboxField::TWMailboxField(TWFieldOptions options)
    : FieldKind(detail::withValueClass(std::move(options), TWMailbox::elementClass())) {}

TWValue TWMailboxField::clean(const TWValue& value, const TWVersion* version,
                              TWError* error) const {
  const auto* const cls = valueClass().elementClass();
  if (cls != nullptr && value.isText()) return withAddress(*cls, value);
  return FieldKind::clean(value, version, error);
}

TWValue TWMailboxField::fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const {
  const auto* const cls = valueClass().elementClass();
  if (!child || cls == nullptr) return options().default_;
  const auto inner =
      options().fieldURI ? child.elementForName(cls->responseTag(), cls->responseXMLns()) : child;
  return cls->fromXML(inner, account);
}

TWMailboxListField::TWMailboxListField(TWFieldOptions options)
    : TWMailboxListField(std::move(options), TWMailbox::elementClass()) {}

TWMailboxListField::TWMailboxListField(TWFieldOptions options, const TWElementClass& valueCls)
    : FieldKind(detail::withValueClass(std::move(options), valueCls)) {}

TWValue TWMailboxListField::clean(const TWValue& value, const TWVersion* version,
                                  TWError* error) const {
  const auto* const cls = valueClass().elementClass();
  const auto given = value.asList();
  if (cls == nullptr || !given) return FieldKind::clean(value, version, error);
  TWList values;
  values.reserve(given->size());
  for (const auto& entry : *given)
    values.push_back(entry.isText() ? withAddress(*cls, entry) : entry);
  return FieldKind::clean(values, version, error);
}

TWMemberListField::TWMemberListField(TWFieldOptions options)
    : FieldKind(std::move(options), TWMember::elementClass()) {}

TWAttendeesField::TWAttendeesField(TWFieldOptions options)
    : FieldKind(std::move(options), TWAttendee::elementClass()) {}

}  // namespace tarnwell
