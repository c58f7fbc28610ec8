#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemShape.h"
#include "sandbox/operations/References.h"

namespace tarnwell::sandbox {

void getItem(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const ItemShape shape = readItemShape(reader.required(kMessagesNs, "ItemShape"), call.schema);
  const auto references = readItemReferences(reader.required(kMessagesNs, "ItemIds"));
  reader.end();
  for (const ItemReference& reference : references) {
    answerPart(response, "GetItem", [&](pugi::xml_node message) {
      const std::shared_ptr<const Item> item = resolveItem(call, reference);
      appendItem(message.append_child("m:Items"), *item, shape, call.schema, false);
    });
  }
}

}  // namespace tarnwell::sandbox
