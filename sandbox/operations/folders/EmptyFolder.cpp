#include <algorithm>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Disposal.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {

void emptyFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({"DeleteType", "DeleteSubFolders"});
  const std::string type = readDeleteType(call.request);
  static_cast<void>(reader.requiredAttribute("DeleteSubFolders"));
  const bool withSubfolders = *reader.boolean("DeleteSubFolders");
  const auto references =
      readFolderReferences(reader.required(kMessagesNs, "FolderIds"), call.schema);
  reader.end();
  Store& store = call.store;
  for (const FolderReference& reference : references) {
    answerPart(response, "EmptyFolder", [&](pugi::xml_node) {
      const Folder& folder = resolveFolder(call, reference);
      const std::vector<std::uint64_t> below = store.foldersBelow(folder.number);
      const bool holdsFixedFolders = std::ranges::any_of(below, [&](std::uint64_t number) {
        return !store.findFolder(number)->distinguishedId.empty();
      });
      // As the real server, which empties no calendar.
      if (folder.folderClass == "IPF.Appointment" || (withSubfolders && holdsFixedFolders)) {
        throw EwsError("ErrorCannotEmptyFolder");
      }
      const Store::Numbers items = store.itemsIn(folder.number);
      for (const std::uint64_t number : items) disposeOfItem(store, *store.findItem(number), type);
      if (!withSubfolders) return;
      const std::set<std::uint64_t> folders = store.foldersIn(folder.number);
      for (const std::uint64_t number : folders) {
        disposeOfFolder(store, *store.findFolder(number), type);
      }
    });
  }
}

}  // namespace tarnwell::sandbox
