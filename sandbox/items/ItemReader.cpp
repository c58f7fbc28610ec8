#include "sandbox/items/ItemReader.h"

#include <optional>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/EwsError.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::string_view kBeforeExtended = "HasAttachments";

/// Where the element stands in the schema's order: even for properties, odd for the extended ones
/// that may be repeated between two of them. Absent for an element that such items do not have.
std::optional<std::ptrdiff_t> placeOf(ItemKind kind, std::string_view name, Schema schema) {
  const bool isExtended = name == "ExtendedProperty";
  const Property* property = propertyOfElement(kind, isExtended ? kBeforeExtended : name);
  if (property == nullptr || property->since > schema) return std::nullopt;
  return (property - properties().data()) * 2 + (isExtended ? 1 : 0);
}

std::vector<Attachment> readAttachments(pugi::xml_node list, Schema schema) {
  std::vector<Attachment> attachments;
  ElementReader reader(list);
  while (const pugi::xml_node child = reader.next()) {
    if (!isAttachment(child)) reader.refuse(child);
    attachments.push_back(readAttachment(child, schema));
  }
  return attachments;
}

}  // namespace

bool isAttachment(pugi::xml_node element) {
  return isElement(element, kTypesNs, "FileAttachment") ||
         isElement(element, kTypesNs, "ItemAttachment");
}

ItemDraft readItem(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  ItemDraft draft;
  draft.kind = findItemKind(localName(element));
  draft.content.name = draft.kind->element;
  std::ptrdiff_t last = -1;
  while (const pugi::xml_node child = reader.next()) {
    const std::string_view name = localName(child);
    const auto place = placeOf(draft.kind->kind, name, schema);
    if (namespaceOf(child) != kTypesNs || !place || *place < last ||
        (*place == last && name != "ExtendedProperty")) {
      reader.refuse(child);
    }
    last = *place;
    if (name == "ExtendedProperty") {
      draft.content.children.push_back(readExtendedProperty(child));
    } else if (name == "Attachments") {
      draft.attachments = readAttachments(child, schema);
    } else {
      draft.content.children.push_back(
          readProperty(*propertyOfElement(draft.kind->kind, name), child));
    }
  }
  return draft;
}

void checkSettable(const ItemDraft& draft) {
  for (const Node& child : draft.content.children) {
    const Property* property = propertyOfElement(draft.kind->kind, child.name);
    if (property != nullptr && property->is(kReadOnly)) throw EwsError("ErrorInvalidPropertySet");
  }
  for (const Attachment& attachment : draft.attachments) {
    if (attachment.item) {
      checkSettable({findItemKind(attachment.item->name), *attachment.item, {}});
    }
  }
}

Attachment readAttachment(pugi::xml_node element, Schema schema) {
  const bool isFile = localName(element) == "FileAttachment";
  ElementReader reader(element);
  reader.allowAttributes({});
  reader.optional(kTypesNs, "AttachmentId");
  Attachment attachment;
  attachment.description.name = localName(element);
  for (const std::string_view name :
       {"Name", "ContentType", "ContentId", "ContentLocation", "Size", "LastModifiedTime"}) {
    const pugi::xml_node child = reader.optional(kTypesNs, name);
    // The last two are the server's to say.
    if (child && name != "Size" && name != "LastModifiedTime") {
      attachment.description.setChild(name, simpleText(child));
    }
  }
  static constexpr Property kFlag{"", "IsInline", kItem, PropertyType::boolean};
  static constexpr Property kContent{"", "Content", kItem, PropertyType::base64};
  const pugi::xml_node isInline = reader.optional(kTypesNs, "IsInline");
  const std::string inlineText = isInline ? readProperty(kFlag, isInline).text : "false";
  std::size_t size = 0;
  std::string photo;
  if (isFile) {
    const pugi::xml_node isPhoto = reader.optional(kTypesNs, "IsContactPhoto");
    if (isPhoto) photo = readProperty(kFlag, isPhoto).text;
    attachment.content = readProperty(kContent, reader.required(kTypesNs, "Content")).text;
    size = decodeBase64(attachment.content)->size();
  } else {
    reader.requireMore();
    const pugi::xml_node item = reader.next();
    if (namespaceOf(item) != kTypesNs || findItemKind(localName(item)) == nullptr) {
      reader.refuse(item);
    }
    attachment.item = readItem(item, schema).content;
    size = attachment.item->textSize();
  }
  reader.end();
  attachment.description.setChild("Size", std::to_string(size));
  attachment.description.setChild("LastModifiedTime", timeNow());
  attachment.description.setChild("IsInline", inlineText);
  if (!photo.empty()) attachment.description.setChild("IsContactPhoto", photo);
  return attachment;
}

}  // namespace tarnwell::sandbox
