#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {

void moveFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const FolderReference target =
      readTargetFolder(reader.required(kMessagesNs, "ToFolderId"), call.schema);
  const auto references =
      readFolderReferences(reader.required(kMessagesNs, "FolderIds"), call.schema);
  reader.end();
  for (const FolderReference& reference : references) {
    answerPart(response, "MoveFolder", [&](pugi::xml_node message) {
      const Folder& folder = resolveFolder(call, reference);
      const Folder& parent = resolveFolder(call, target, "ErrorToFolderNotFound");
      if (!folder.distinguishedId.empty()) throw EwsError("ErrorMoveDistinguishedFolder");
      if (parent.number == folder.number || call.store.isBelow(parent.number, folder.number)) {
        throw EwsError("ErrorMoveCopyFailed");
      }
      const Folder* namesake = findSubfolder(call.store, parent.number, folder.name);
      if (namesake != nullptr && namesake != &folder) throw EwsError("ErrorFolderExists");
      call.store.moveFolder(folder.number, parent.number);
      appendFolderAnswer(message, call, folder);
    });
  }
}

}  // namespace tarnwell::sandbox
