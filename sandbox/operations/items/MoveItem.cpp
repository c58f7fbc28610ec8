#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemShape.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/operations/References.h"

namespace tarnwell::sandbox {

void moveItem(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const FolderReference target =
      readTargetFolder(reader.required(kMessagesNs, "ToFolderId"), call.schema);
  const auto references = readItemReferences(reader.required(kMessagesNs, "ItemIds"));
  bool returnsIds = true;
  if (call.schema >= Schema::exchange2010Sp1) {
    if (const pugi::xml_node flag = reader.optional(kMessagesNs, "ReturnNewItemIds")) {
      static constexpr Property kFlag{"", "ReturnNewItemIds", kItem, PropertyType::boolean};
      returnsIds = readProperty(kFlag, flag).text == "true";
    }
  }
  reader.end();
  for (const ItemReference& reference : references) {
    answerPart(response, "MoveItem", [&](pugi::xml_node message) {
      const std::shared_ptr<const Item> item = resolveItem(call, reference);
      const Folder& folder = resolveFolder(call, target, "ErrorToFolderNotFound");
      const auto moved = call.store.moveItem(item->number, folder.number);
      pugi::xml_node items = message.append_child("m:Items");
      if (returnsIds) appendItem(items, *moved, {}, call.schema, false);
    });
  }
}

}  // namespace tarnwell::sandbox
