#include "sandbox/operations/attachments/AttachmentElement.h"

#include <algorithm>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {

std::vector<std::string> readAttachmentIds(pugi::xml_node list) {
  std::vector<std::string> ids;
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node element = reader.next()) {
    if (!isElement(element, kTypesNs, "AttachmentId")) reader.refuse(element);
    const ElementReader id(element);
    // What CreateAttachment answered may be sent back as it is.
    id.allowAttributes({"Id", "RootItemId", "RootItemChangeKey"});
    id.end();
    ids.push_back(id.requiredAttribute("Id"));
  }
  return ids;
}

AttachmentPlace resolveAttachment(const Store& store, const std::string& text) {
  if (text.empty()) throw EwsError("ErrorInvalidIdEmpty");
  const std::optional<Id> id = readId(text);
  if (!id) throw EwsError("ErrorInvalidIdMalformed");
  if (id->kind != IdKind::attachment) throw EwsError("ErrorInvalidAttachmentId");
  AttachmentPlace place;
  place.item = store.findItemOfAttachment(id->number);
  if (!place.item) throw EwsError("ErrorItemNotFound");
  for (const auto& attachment : place.item->attachments) {
    if (attachment->number == id->number) place.attachment = attachment;
  }
  return place;
}

pugi::xml_node appendAttachmentId(pugi::xml_node parent, const Attachment& attachment,
                                  const Item* root) {
  pugi::xml_node element = parent.append_child(("t:" + attachment.description.name).c_str());
  pugi::xml_node id = element.append_child("t:AttachmentId");
  id.append_attribute("Id") = idText(IdKind::attachment, attachment.number).c_str();
  if (root != nullptr) {
    id.append_attribute("RootItemId") = idText(IdKind::item, root->number).c_str();
    id.append_attribute("RootItemChangeKey") = idText(IdKind::changeKey, root->version).c_str();
  }
  return element;
}

}  // namespace tarnwell::sandbox
