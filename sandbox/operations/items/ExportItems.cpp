#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/items/ItemArchive.h"

namespace tarnwell::sandbox {

void exportItems(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const auto references = readItemReferences(reader.required(kMessagesNs, "ItemIds"));
  reader.end();
  for (const ItemReference& reference : references) {
    answerPart(response, "ExportItems", [&](pugi::xml_node message) {
      const std::shared_ptr<const Item> item = resolveItem(call, reference);
      appendItemId(message, *item);
      append(message, "m:Data", archiveItem(*item));
    });
  }
}

}  // namespace tarnwell::sandbox
