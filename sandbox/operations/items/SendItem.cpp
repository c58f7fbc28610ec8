#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/items/Sending.h"

namespace tarnwell::sandbox {
namespace {

void send(const OperationCall& call, const ItemReference& reference, bool saves,
          const std::optional<FolderReference>& target) {
  Item item = *resolveItem(call, reference);
  const std::uint64_t seen = versionOf(reference.changeKey);
  if (seen == 0) throw EwsError("ErrorChangeKeyRequired");
  if (seen != item.version) throw EwsError("ErrorStaleObject");
  sendStoredItem(call, std::move(item), {}, saves, target);
}

}  // namespace

void sendItems(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({"SaveItemToFolder"});
  static_cast<void>(reader.requiredAttribute("SaveItemToFolder"));
  const bool saves = *reader.boolean("SaveItemToFolder");
  const auto references = readItemReferences(reader.required(kMessagesNs, "ItemIds"));
  std::optional<FolderReference> target;
  if (const pugi::xml_node holder = reader.optional(kMessagesNs, "SavedItemFolderId")) {
    target = readTargetFolder(holder, call.schema);
  }
  reader.end();
  if (target && !saves) {
    throw EwsError("ErrorInvalidSendItemSaveSettings",
                   "A folder for the saved item is given, but the item is not to be saved.");
  }
  for (const ItemReference& reference : references) {
    answerPart(response, "SendItem", [&](pugi::xml_node) { send(call, reference, saves, target); });
  }
}

}  // namespace tarnwell::sandbox
