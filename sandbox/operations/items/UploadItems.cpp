#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/items/ItemArchive.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kActions{"CreateNew", "Update", "UpdateOrCreate"};

struct Upload {
  std::string action;
  FolderReference folder;
  std::optional<ItemReference> item;
  std::string data;
};

Upload readUpload(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({"CreateAction", "IsAssociated"});
  Upload upload;
  static_cast<void>(reader.requiredAttribute("CreateAction"));
  upload.action = *reader.enumeration("CreateAction", "CreateActionType", kActions);
  static_cast<void>(reader.boolean("IsAssociated"));
  upload.folder = readFolderReference(reader.required(kTypesNs, "ParentFolderId"), schema);
  if (const pugi::xml_node item = reader.optional(kTypesNs, "ItemId")) {
    upload.item = readItemReference(item);
  }
  upload.data = simpleText(reader.required(kTypesNs, "Data"));
  reader.end();
  return upload;
}

std::shared_ptr<const Item> store(const OperationCall& call, const Upload& upload) {
  const Folder& folder = resolveFolder(call, upload.folder, "ErrorParentFolderNotFound");
  Item item = itemFromArchive(call.store, upload.data);
  item.folder = folder.number;
  if (upload.action != "CreateNew") {
    if (!upload.item) throw EwsError("ErrorInvalidIdEmpty");
    try {
      const std::shared_ptr<const Item> old = resolveItem(call, *upload.item);
      item.number = old->number;
      item.folder = old->folder;
      return call.store.changeItem(std::move(item), {});
    } catch (const EwsError& error) {
      if (upload.action == "Update" || error.code != "ErrorItemNotFound") throw;
    }
  }
  return call.store.createItem(std::move(item));
}

}  // namespace

void uploadItems(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  ElementReader items(reader.required(kMessagesNs, "Items"));
  reader.end();
  items.requireMore();
  std::vector<Upload> uploads;
  while (const pugi::xml_node item = items.next()) {
    if (!isElement(item, kTypesNs, "Item")) items.refuse(item);
    uploads.push_back(readUpload(item, call.schema));
  }
  for (const Upload& upload : uploads) {
    answerPart(response, "UploadItems",
               [&](pugi::xml_node message) { appendItemId(message, *store(call, upload)); });
  }
}

}  // namespace tarnwell::sandbox
