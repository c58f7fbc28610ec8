#include "tarnwell/schema/TWElementFields.h"

#include <utility>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/detail/ValueClassOption.h"

namespace tarnwell {

std::optional<TWTag> TWEWSElementField::childTag() const {
  if (isList() || options().fieldURI) return FieldKind::childTag();
  const auto* const cls = valueClass().elementClass();
  if (cls == nullptr) return std::nullopt;
  return TWTag{cls->responseTag(), cls->responseXMLns()};
}

TWValue TWEWSElementField::fromChild(const NKXMLElement& child,
                                     const std::shared_ptr<TWAccount>& account) const {
  const auto* const cls = valueClass().elementClass();
  if (!child || cls == nullptr) return options().default_;
  if (!isList()) return cls->fromXML(child, account);
  TWList values;
  for (const auto& entry : child.childElements())
    if (entry.hasLocalName(cls->responseTag())) values.emplace_back(cls->fromXML(entry, account));
  return values;
}

TWValue TWEWSElementField::toXML(const TWValue& value, const TWVersion* version,
                                 TWError* error) const {
  if (options().fieldURI) return FieldKind::toXML(value, version, error);
  return ownXML(value, version, error);
}

TWValue TWEWSElementField::ownXML(const TWValue& value, const TWVersion* version,
                                  TWError* error) const {
  if (const auto object = value.asObject()) return object->toXML(version, error);
  if (!value.isAbsent()) (void)checkInstance(value, version, error);
  return {};
}

TWValue TWRecurrenceField::toXML(const TWValue& value, const TWVersion* version,
                                 TWError* error) const {
  if (value.isAbsent() && options().fieldURI) return elementWith({}, version, error);
  return ownXML(value, version, error);
}

TWMessageHeaderField::TWMessageHeaderField(TWFieldOptions options)
    : FieldKind(detail::withValueClass(std::move(options), TWMessageHeader::elementClass())) {}

TWAttachmentField::TWAttachmentField(TWFieldOptions options)
    : FieldKind(detail::withValueClass(std::move(options), TWAttachment::elementClass())) {}

TWValue TWAttachmentField::fromChild(const NKXMLElement& child,
                                     const std::shared_ptr<TWAccount>& account) const {
  if (!child) return options().default_;
  const auto& file = TWFileAttachment::elementClass();
  TWList attachments;
  for (const auto& entry : child.elementsForLocalName(file.responseTag(), file.responseXMLns()))
    attachments.emplace_back(file.fromXML(entry, account));
  return attachments;
}

TWEffectiveRightsField::TWEffectiveRightsField(TWFieldOptions options)
    : FieldKind(detail::withValueClass(std::move(options), TWEffectiveRights::elementClass())) {}

}  // namespace tarnwell
