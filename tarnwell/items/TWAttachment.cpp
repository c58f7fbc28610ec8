#include "tarnwell/items/TWAttachment.h"

#include <string>

#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr auto kContent = "_content", kItem = "_item";

}  // namespace

const TWElementClass& TWAttachmentId::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWAttachmentId",
       .base = &TWEWSElement::elementClass(),
       .elementName = "AttachmentId",
       .fields =
           [] {
             return TWFields{
                 TWIdField::withProps(
                     {.name = "id", .fieldURI = std::string(idAttr()), .isRequired = true}),
                 TWIdField::withProps({.name = "root_id", .fieldURI = std::string(rootIdAttr())}),
                 TWIdField::withProps(
                     {.name = "changekey", .fieldURI = std::string(rootChangekeyAttr())}),
             };
           },
       .make = &detail::makeElement<TWAttachmentId>});
  return kClass;
}

const TWElementClass& TWAttachment::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWAttachment", .base = &TWEWSElement::elementClass(), .fields = [] {
         return TWFields{
             TWEWSElementField::withProps(
                 {.name = "attachment_id", .valueCls = &TWAttachmentId::elementClass()}),
             TWTextField::withProps({.name = "name", .fieldURI = "Name"}),
             TWTextField::withProps({.name = "content_type", .fieldURI = "ContentType"}),
             TWTextField::withProps({.name = "content_id", .fieldURI = "ContentId"}),
             TWURIField::withProps({.name = "content_location", .fieldURI = "ContentLocation"}),
             TWIntegerField::withProps({.name = "size", .fieldURI = "Size", .isReadOnly = true}),
             TWDateTimeField::withProps(
                 {.name = "last_modified_time", .fieldURI = "LastModifiedTime"}),
             TWBooleanField::withProps({.name = "is_inline", .fieldURI = "IsInline"}),
         };
       }});
  return kClass;
}

std::shared_ptr<TWItem> TWAttachment::parentItem() const {
  return std::dynamic_pointer_cast<TWItem>(get("parent_item").asReference());
}

void TWAttachment::setParentItem(const std::shared_ptr<TWItem>& item) {
  remove("parent_item");
  if (item) set("parent_item", TWValue::weak(item));
}

void TWAttachment::initWithDict(const TWDictionary& dict) {
  TWEWSElement::initWithDict(dict);
  const auto& parent = dict["parent_item"];
  const auto item = parent.asObject<TWItem>();
  set("parent_item", item ? TWValue::weak(item) : parent);
}

bool TWAttachment::clean(const TWVersion* version, TWError* error) {
  if (parentItem() && get("content_type").isAbsent())
    set("content_type", "application/octet-stream");
  return TWEWSElement::clean(version, error);
}

TWList TWAttachment::identity() const {
  if (const auto& id = get("attachment_id"); !id.isAbsent()) return {id};
  TWList values;
  // "last_modified_name" is no field of attachments, deliberately; the time of change is left out.
  for (const auto* const name : {"attachment_id", "name", "content_type", "content_id",
                                 "content_location", "size", "last_modified_name", "is_inline"})
    values.push_back(get(name));
  return values;
}

std::string TWAttachment::description() const {
  auto text = formatMessage("%@ (", {className()});
  for (const auto& field : cls().fields())
    if (field->name() != kItem && field->name() != kContent)
      text += formatMessage("%@=%@", {field->name(), get(field->name())});
  return text + ")";
}

const TWElementClass& TWFileAttachment::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWFileAttachment",
       .base = &TWAttachment::elementClass(),
       .elementName = "FileAttachment",
       .fields =
           [] {
             return TWFields{
                 TWBooleanField::withProps(
                     {.name = "is_contact_photo", .fieldURI = "IsContactPhoto"}),
                 TWBase64Field::withProps({.name = kContent, .fieldURI = "Content"}),
             };
           },
       .make = &detail::makeElement<TWFileAttachment>});
  return kClass;
}

const TWElementClass& TWItemAttachment::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWItemAttachment",
       .base = &TWAttachment::elementClass(),
       .elementName = "ItemAttachment",
       .fields =
           [] { return TWFields{TWItemField::withProps({.name = kItem, .fieldURI = "Item"})}; },
       .make = &detail::makeElement<TWItemAttachment>});
  return kClass;
}

// The field of the item only names it in paths, so the item is looked after here.

void TWItemAttachment::setParentItem(const std::shared_ptr<TWItem>& item) {
  ElementKind::setParentItem(item);
  if (const auto held = get<std::shared_ptr<TWItem>>(kItem)) held->setParentItem(item);
}

template <class Walk>
auto TWItemAttachment::withoutItem(const Walk& walk) {
  const auto item = get<std::shared_ptr<TWItem>>(kItem);
  if (item) remove(kItem);
  auto result = walk();
  set(kItem, item);
  return result;
}

bool TWItemAttachment::clean(const TWVersion* version, TWError* error) {
  if (!withoutItem([&] { return ElementKind::clean(version, error); })) return false;
  const auto item = get<std::shared_ptr<TWItem>>(kItem);
  return !item || item->clean(version, error);
}

NKXMLElement TWItemAttachment::toXML(const TWVersion* version, TWError* error) {
  TWError failure;
  const auto item = getItem(&failure);
  if (!failure && !item && get(kItem).isAbsent() && !get("attachment_id").isAbsent())
    failure = {TWErrorCode::ErrorValueOutOfRange, formatMessage("%@ has no item", {description()})};
  if (failure) {
    setError(error, failure);
    return {};
  }
  auto xml = withoutItem([&] { return ElementKind::toXML(version, error); });
  if (!xml || !item) return xml;
  const auto child = item->toXML(version, error);
  if (!child) return {};
  xml.addChild(child);
  return xml;
}

void TWItemAttachment::initFromXML(const NKXMLElement& xml,
                                   const std::shared_ptr<TWAccount>& account) {
  ElementKind::initFromXML(xml, account);
  for (const auto& child : xml.childElements()) {
    const auto* const cls = TWItem::itemClassFromTag(child.localName().value_or(""));
    if (cls == nullptr || child.URI() != cls->nameSpace()) continue;
    set(kItem, cls->fromXML(child, account));
    return;
  }
}

}  // namespace tarnwell
