#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemReader.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/attachments/AttachmentElement.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {

void createAttachment(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  ItemReference parent = readItemReference(reader.required(kMessagesNs, "ParentItemId"));
  ElementReader list(reader.required(kMessagesNs, "Attachments"));
  reader.end();
  list.requireMore();
  std::vector<Attachment> drafts;
  while (const pugi::xml_node element = list.next()) {
    if (!isAttachment(element)) list.refuse(element);
    drafts.push_back(readAttachment(element, call.schema));
  }
  for (Attachment& draft : drafts) {
    answerPart(response, "CreateAttachment", [&](pugi::xml_node message) {
      if (draft.item) checkSettable({findItemKind(draft.item->name), *draft.item, {}});
      Item item = *resolveItem(call, parent);
      draft.number = call.store.newNumber();
      const auto attachment = std::make_shared<const Attachment>(std::move(draft));
      item.attachments.push_back(attachment);
      updateDerived(item, *call.store.mailbox(call.address), timeNow());
      const auto stored = call.store.changeItem(std::move(item), {"item:Attachments"});
      appendAttachmentId(message.append_child("m:Attachments"), *attachment, stored.get());
    });
  }
}

}  // namespace tarnwell::sandbox
