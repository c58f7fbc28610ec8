#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Disposal.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {

void deleteFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({"DeleteType"});
  const std::string type = readDeleteType(call.request);
  const auto references =
      readFolderReferences(reader.required(kMessagesNs, "FolderIds"), call.schema);
  reader.end();
  for (const FolderReference& reference : references) {
    answerPart(response, "DeleteFolder", [&](pugi::xml_node) {
      const Folder& folder = resolveFolder(call, reference);
      if (!folder.distinguishedId.empty()) throw EwsError("ErrorDeleteDistinguishedFolder");
      disposeOfFolder(call.store, folder, type);
    });
  }
}

}  // namespace tarnwell::sandbox
