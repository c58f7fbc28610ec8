#include <algorithm>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {
namespace {

struct Change {
  PropertyPath path;
  /// Absent: the property goes.
  std::optional<FolderDraft> value;
};

struct FolderChange {
  FolderReference folder;
  std::vector<Change> changes;
};

Change readChange(ElementReader& updates, pugi::xml_node element, Schema schema) {
  const bool sets = isElement(element, kTypesNs, "SetFolderField");
  if (!sets && !isElement(element, kTypesNs, "DeleteFolderField") &&
      !isElement(element, kTypesNs, "AppendToFolderField")) {
    updates.refuse(element);
  }
  ElementReader reader(element);
  reader.requireMore();
  const pugi::xml_node path = reader.next();
  if (!isPropertyPath(path)) reader.refuse(path);
  Change change{readPropertyPath(path, schema), std::nullopt};
  if (localName(element) != "DeleteFolderField") {
    reader.requireMore();
    const pugi::xml_node folder = reader.next();
    if (!isFolderElement(folder)) reader.refuse(folder);
    change.value = readFolder(folder);
    if (!sets) throw EwsError("ErrorInvalidPropertyAppend");
  }
  reader.end();
  return change;
}

FolderChange readFolderChange(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  FolderChange change;
  reader.requireMore();
  const pugi::xml_node folder = reader.next();
  if (!isFolderReference(folder)) reader.refuse(folder);
  change.folder = readFolderReference(folder, schema);
  ElementReader updates(reader.required(kTypesNs, "Updates"));
  reader.end();
  updates.requireMore();
  while (const pugi::xml_node update = updates.next()) {
    change.changes.push_back(readChange(updates, update, schema));
  }
  return change;
}

void applyExtended(Folder& folder, const Change& change) {
  const std::string key = change.path.key();
  std::erase_if(folder.extendedProperties,
                [&](const Node& node) { return extendedKey(node.children.front()) == key; });
  if (!change.value) return;
  if (change.value->extendedProperties.size() != 1 ||
      extendedKey(change.value->extendedProperties[0].children.front()) != key) {
    throw EwsError("ErrorUpdatePropertyMismatch");
  }
  folder.extendedProperties.push_back(change.value->extendedProperties[0]);
}

void apply(const Store& store, Folder& folder, const Change& change) {
  if (change.path.isExtended()) {
    applyExtended(folder, change);
    return;
  }
  const bool isName = change.path.uri == "folder:DisplayName";
  if (!isName && change.path.uri != "folder:FolderClass") {
    throw EwsError(change.value ? "ErrorInvalidPropertySet" : "ErrorInvalidPropertyDelete");
  }
  if (!change.value) throw EwsError("ErrorInvalidPropertyDelete");
  if (isName ? !change.value->hasName || change.value->hasClass
             : !change.value->hasClass || change.value->hasName) {
    throw EwsError("ErrorUpdatePropertyMismatch");
  }
  if (!isName) {
    folder.folderClass = change.value->folderClass;
    return;
  }
  if (change.value->name.empty()) {
    throw EwsError("ErrorFolderSavePropertyError", "A folder needs a display name.");
  }
  const Folder* namesake = findSubfolder(store, folder.parent, change.value->name);
  if (namesake != nullptr && namesake->number != folder.number) {
    throw EwsError("ErrorFolderExists");
  }
  folder.name = change.value->name;
}

}  // namespace

void updateFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  ElementReader list(reader.required(kMessagesNs, "FolderChanges"));
  reader.end();
  list.requireMore();
  std::vector<FolderChange> all;
  while (const pugi::xml_node element = list.next()) {
    if (!isElement(element, kTypesNs, "FolderChange")) list.refuse(element);
    all.push_back(readFolderChange(element, call.schema));
  }
  for (const FolderChange& change : all) {
    answerPart(response, "UpdateFolder", [&](pugi::xml_node message) {
      Folder folder = resolveFolder(call, change.folder);
      for (const Change& part : change.changes) apply(call.store, folder, part);
      const std::uint64_t number = folder.number;
      call.store.changeFolder(std::move(folder));
      appendFolderAnswer(message, call, *call.store.findFolder(number));
    });
  }
}

}  // namespace tarnwell::sandbox
