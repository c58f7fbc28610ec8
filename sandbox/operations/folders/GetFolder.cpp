#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {

void getFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const FolderShape shape =
      readFolderShape(reader.required(kMessagesNs, "FolderShape"), call.schema);
  const auto references =
      readFolderReferences(reader.required(kMessagesNs, "FolderIds"), call.schema);
  reader.end();
  for (const FolderReference& reference : references) {
    answerPart(response, "GetFolder", [&](pugi::xml_node message) {
      const Folder& folder = resolveFolder(call, reference);
      appendFolder(message.append_child("m:Folders"), call, folder, shape);
    });
  }
}

}  // namespace tarnwell::sandbox
