#include "sandbox/operations/items/ItemArchive.h"

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemReader.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

EwsError corrupt() { return {"ErrorCorruptData", "The data is no exported item."}; }

// Whatever the client made of the data: what gets into the store must be as if it had been checked
// on its way in. All that does not fit is thrown as a schema violation.

Node readContent(pugi::xml_node element) {
  const ItemKindRow* kind = findItemKind(localName(element));
  if (kind == nullptr) throw corrupt();
  Node content{std::string(kind->element)};
  ElementReader reader(element);
  while (const pugi::xml_node child = reader.next()) {
    const Property* property = propertyOfElement(kind->kind, localName(child));
    if (localName(child) == "ExtendedProperty") {
      content.children.push_back(readExtendedProperty(child));
    } else if (property != nullptr) {
      content.children.push_back(readProperty(*property, child));
    } else {
      reader.refuse(child);
    }
  }
  return content;
}

Attachment readArchived(pugi::xml_node element) {
  ElementReader reader(element);
  ElementReader holder(reader.required(kTypesNs, "Description"));
  holder.requireMore();
  const pugi::xml_node description = holder.next();
  if (!isAttachment(description)) holder.refuse(description);
  Attachment attachment;
  attachment.description.name = localName(description);
  ElementReader parts(description);
  while (const pugi::xml_node part = parts.next()) {
    attachment.description.setChild(localName(part), simpleText(part));
  }
  attachment.content = simpleText(reader.required(kTypesNs, "Bytes"));
  if (!decodeBase64(attachment.content)) throw corrupt();
  if (attachment.description.name == "ItemAttachment") {
    ElementReader nested(reader.required(kTypesNs, "Nested"));
    nested.requireMore();
    attachment.item = readContent(nested.next());
  }
  reader.end();
  return attachment;
}

Item readArchive(Store& store, pugi::xml_node archive) {
  if (localName(archive) != "SandboxItem") throw corrupt();
  Item item;
  ElementReader reader(archive);
  ElementReader content(reader.required(kTypesNs, "Content"));
  content.requireMore();
  item.content = readContent(content.next());
  while (const pugi::xml_node element = reader.next()) {
    Attachment attachment = readArchived(element);
    attachment.number = store.newNumber();
    item.attachments.push_back(std::make_shared<const Attachment>(std::move(attachment)));
  }
  return item;
}

}  // namespace

std::string archiveItem(const Item& item) {
  Node archive{"SandboxItem", {{"Format", "1"}}};
  archive.children.push_back({"Content", {}, {}, {item.content}});
  for (const auto& attachment : item.attachments) {
    Node& node = archive.children.emplace_back(Node{"Attachment"});
    node.children.push_back({"Description", {}, {}, {attachment->description}});
    node.children.push_back({"Bytes", {}, attachment->content});
    if (attachment->item) node.children.push_back({"Nested", {}, {}, {*attachment->item}});
  }
  return encodeBase64(nodeText(archive));
}

Item itemFromArchive(Store& store, const std::string& data) {
  const std::optional<std::string> text = decodeBase64(data);
  pugi::xml_document document;
  std::string problem;
  if (!text || !parseXml(*text, document, problem)) throw corrupt();
  try {
    return readArchive(store, document.document_element());
  } catch (const SoapFault&) {
    throw corrupt();
  }
}

}  // namespace tarnwell::sandbox
