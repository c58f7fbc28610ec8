#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {
namespace {

Folder madeOf(const FolderDraft& draft, const Folder& parent) {
  if (draft.hasReadOnly) throw EwsError("ErrorInvalidPropertySet");
  if (draft.name.empty()) {
    throw EwsError("ErrorFolderSavePropertyError", "A folder needs a display name.");
  }
  if (draft.element == "SearchFolder") {
    throw EwsError("ErrorInvalidFolderTypeForOperation", "Search folders cannot be created here.");
  }
  Folder folder;
  folder.parent = parent.number;
  folder.mailbox = parent.mailbox;
  folder.name = draft.name;
  folder.folderClass = defaultFolderClass(draft.element);
  if (draft.hasClass) {
    const bool fits = draft.element == "Folder" || draft.folderClass == folder.folderClass ||
                      draft.folderClass.starts_with(folder.folderClass + ".");
    if (!fits) {
      throw EwsError("ErrorNoFolderClassOverride",
                     "The folder class does not fit the element of the folder.");
    }
    folder.folderClass = draft.folderClass;
  }
  folder.extendedProperties = draft.extendedProperties;
  return folder;
}

}  // namespace

void createFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const FolderReference target =
      readTargetFolder(reader.required(kMessagesNs, "ParentFolderId"), call.schema);
  std::vector<FolderDraft> drafts;
  ElementReader list(reader.required(kMessagesNs, "Folders"));
  reader.end();
  list.requireMore();
  while (const pugi::xml_node element = list.next()) {
    if (!isFolderElement(element)) list.refuse(element);
    drafts.push_back(readFolder(element));
  }
  for (const FolderDraft& draft : drafts) {
    answerPart(response, "CreateFolder", [&](pugi::xml_node message) {
      const Folder& parent = resolveFolder(call, target, "ErrorParentFolderNotFound");
      Folder folder = madeOf(draft, parent);
      if (findSubfolder(call.store, parent.number, folder.name) != nullptr) {
        throw EwsError("ErrorFolderExists");
      }
      const std::uint64_t number = call.store.createFolder(std::move(folder));
      appendFolderAnswer(message, call, *call.store.findFolder(number));
    });
  }
}

}  // namespace tarnwell::sandbox
