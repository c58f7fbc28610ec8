#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/operations/attachments/AttachmentElement.h"
#include "sandbox/store/Ids.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {

void deleteAttachment(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const auto ids = readAttachmentIds(reader.required(kMessagesNs, "AttachmentIds"));
  reader.end();
  for (const std::string& id : ids) {
    answerPart(response, "DeleteAttachment", [&](pugi::xml_node message) {
      const AttachmentPlace place = resolveAttachment(call.store, id);
      Item item = *place.item;
      std::erase(item.attachments, place.attachment);
      updateDerived(item, *call.store.mailbox(call.address), timeNow());
      const auto stored = call.store.changeItem(std::move(item), {"item:Attachments"});
      pugi::xml_node root = message.append_child("m:RootItemId");
      root.append_attribute("RootItemId") = idText(IdKind::item, stored->number).c_str();
      root.append_attribute("RootItemChangeKey") =
          idText(IdKind::changeKey, stored->version).c_str();
    });
  }
}

}  // namespace tarnwell::sandbox
