#include "sandbox/operations/folders/FolderElement.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemValues.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/operations/References.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

using Base = FolderShape::Base;

struct ElementRow {
  std::string_view element;
  std::string_view folderClass;
};

constexpr std::array kElements{
    ElementRow{"CalendarFolder", "IPF.Appointment"},
    ElementRow{"ContactsFolder", "IPF.Contact"},
    ElementRow{"TasksFolder", "IPF.Task"},
    ElementRow{"SearchFolder", "IPF.Note"},
    ElementRow{"Folder", "IPF.Note"},
};
constexpr std::array<std::string_view, 3> kDeleteTypes{"HardDelete", "SoftDelete",
                                                       "MoveToDeletedItems"};

std::string_view elementOf(const std::string& folderClass) {
  for (const ElementRow& row : kElements) {
    const bool same = folderClass == row.folderClass;
    if (same || folderClass.starts_with(std::string(row.folderClass) + ".")) {
      return row.element == "SearchFolder" ? "Folder" : row.element;
    }
  }
  return "Folder";
}

int unreadCount(const Store& store, const Folder& folder) {
  int count = 0;
  for (const std::uint64_t number : store.itemsIn(folder.number)) {
    if (store.findItem(number)->content.childText("IsRead") == "false") ++count;
  }
  return count;
}

struct FolderProperty {
  std::string_view uri;
  std::string_view element;
  Base since;
  Schema schema = Schema::exchange2007;
};

/// In the order of the schema.
constexpr std::array kProperties{
    FolderProperty{"folder:FolderId", "FolderId", Base::idOnly},
    FolderProperty{"folder:ParentFolderId", "ParentFolderId", Base::all},
    FolderProperty{"folder:FolderClass", "FolderClass", Base::all},
    FolderProperty{"folder:DisplayName", "DisplayName", Base::standard},
    FolderProperty{"folder:TotalCount", "TotalCount", Base::standard},
    FolderProperty{"folder:ChildFolderCount", "ChildFolderCount", Base::standard},
    FolderProperty{"folder:EffectiveRights", "EffectiveRights", Base::all},
    FolderProperty{"folder:DistinguishedFolderId", "DistinguishedFolderId", Base::all,
                   Schema::exchange2013},
    FolderProperty{"folder:UnreadCount", "UnreadCount", Base::standard},
};

void appendRights(pugi::xml_node parent) {
  pugi::xml_node rights = parent.append_child("t:EffectiveRights");
  for (const char* name : {"t:CreateAssociated", "t:CreateContents", "t:CreateHierarchy",
                           "t:Delete", "t:Modify", "t:Read", "t:ViewPrivateItems"}) {
    append(rights, name, "true");
  }
}

void appendProperty(pugi::xml_node element, const OperationCall& call, const Folder& folder,
                    const FolderProperty& property) {
  const Store& store = call.store;
  const std::string tag = "t:" + std::string(property.element);
  if (property.element == "FolderId") {
    appendFolderId(element, folder);
  } else if (property.element == "ParentFolderId") {
    pugi::xml_node id = element.append_child(tag.c_str());
    const Folder& parent = *store.findFolder(folder.parent);
    id.append_attribute("Id") = idText(IdKind::folder, parent.number).c_str();
    id.append_attribute("ChangeKey") = idText(IdKind::changeKey, parent.version).c_str();
  } else if (property.element == "FolderClass") {
    if (!folder.folderClass.empty()) append(element, tag.c_str(), folder.folderClass);
  } else if (property.element == "DisplayName") {
    append(element, tag.c_str(), folder.name);
  } else if (property.element == "TotalCount") {
    append(element, tag.c_str(), std::to_string(store.itemsIn(folder.number).size()));
  } else if (property.element == "ChildFolderCount") {
    append(element, tag.c_str(), std::to_string(store.foldersIn(folder.number).size()));
  } else if (property.element == "EffectiveRights") {
    appendRights(element);
  } else if (property.element == "DistinguishedFolderId") {
    if (!folder.distinguishedId.empty()) append(element, tag.c_str(), folder.distinguishedId);
  } else if (elementOf(folder.folderClass) != "CalendarFolder") {
    append(element, tag.c_str(), std::to_string(unreadCount(store, folder)));
  }
}

}  // namespace

FolderShape readFolderShape(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  FolderShape shape;
  const std::string base = simpleText(reader.required(kTypesNs, "BaseShape"));
  if (base == "Default") {
    shape.base = Base::standard;
  } else if (base == "AllProperties") {
    shape.base = Base::all;
  } else if (base != "IdOnly") {
    throw SoapFault::schemaViolation("The 'BaseShape' element is invalid - The value '" + base +
                                     "' is invalid according to its datatype '" +
                                     std::string(kTypesNs) +
                                     ":DefaultShapeNamesType' - The Enumeration constraint "
                                     "failed.");
  }
  if (const pugi::xml_node list = reader.optional(kTypesNs, "AdditionalProperties")) {
    ElementReader paths(list);
    paths.requireMore();
    while (const pugi::xml_node path = paths.next()) {
      if (!isPropertyPath(path)) paths.refuse(path);
      shape.additional.push_back(readPropertyPath(path, schema));
    }
  }
  reader.end();
  return shape;
}

void appendFolder(pugi::xml_node parent, const OperationCall& call, const Folder& folder,
                  const FolderShape& shape) {
  for (const PropertyPath& path : shape.additional) {
    if (path.property != nullptr) throw EwsError("ErrorInvalidPropertyRequest");
  }
  pugi::xml_node element =
      parent.append_child(("t:" + std::string(elementOf(folder.folderClass))).c_str());
  for (const FolderProperty& property : kProperties) {
    const bool asked = std::ranges::find(shape.additional, property.uri, &PropertyPath::uri) !=
                       shape.additional.end();
    if (property.schema <= call.schema && (property.since <= shape.base || asked)) {
      appendProperty(element, call, folder, property);
    }
    if (property.element != "ChildFolderCount") continue;
    for (const PropertyPath& path : shape.additional) {
      if (!path.isExtended()) continue;
      const Node* found = extendedPropertyOf(folder.extendedProperties, path.key());
      if (found != nullptr) appendNode(element, *found);
    }
  }
}

void appendFolderAnswer(pugi::xml_node message, const OperationCall& call, const Folder& folder) {
  appendFolder(message.append_child("m:Folders"), call, folder, {});
}

std::vector<std::string> folderValuesOf(const OperationCall& call, const Folder& folder,
                                        const PropertyPath& path) {
  std::vector<std::string> values;
  if (path.isExtended()) {
    const Node* found = extendedPropertyOf(folder.extendedProperties, path.key());
    if (found == nullptr) return values;
    const Node& value = found->children.back();
    if (value.children.empty()) values.push_back(value.text);
    for (const Node& entry : value.children) values.push_back(entry.text);
    return values;
  }
  if (path.uri == "folder:DisplayName") {
    values.push_back(folder.name);
  } else if (path.uri == "folder:FolderClass") {
    if (!folder.folderClass.empty()) values.push_back(folder.folderClass);
  } else if (path.uri == "folder:TotalCount") {
    values.push_back(std::to_string(call.store.itemsIn(folder.number).size()));
  } else if (path.uri == "folder:ChildFolderCount") {
    values.push_back(std::to_string(call.store.foldersIn(folder.number).size()));
  } else if (path.uri == "folder:UnreadCount") {
    values.push_back(std::to_string(unreadCount(call.store, folder)));
  }
  return values;
}

bool isFolderElement(pugi::xml_node element) {
  return namespaceOf(element) == kTypesNs &&
         std::ranges::find(kElements, localName(element), &ElementRow::element) != kElements.end();
}

std::string defaultFolderClass(const std::string& element) {
  const auto* const row = std::ranges::find(kElements, element, &ElementRow::element);
  return std::string(row->folderClass);
}

FolderDraft readFolder(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({});
  FolderDraft draft;
  draft.element = localName(element);
  const auto readOnly = [&](std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
      if (reader.optional(kTypesNs, name)) draft.hasReadOnly = true;
    }
  };
  readOnly({"FolderId", "ParentFolderId"});
  if (const pugi::xml_node child = reader.optional(kTypesNs, "FolderClass")) {
    draft.folderClass = simpleText(child);
    draft.hasClass = true;
  }
  if (const pugi::xml_node child = reader.optional(kTypesNs, "DisplayName")) {
    draft.name = simpleText(child);
    draft.hasName = true;
  }
  readOnly({"TotalCount", "ChildFolderCount"});
  while (const pugi::xml_node child = reader.optional(kTypesNs, "ExtendedProperty")) {
    draft.extendedProperties.push_back(readExtendedProperty(child));
  }
  readOnly({"ManagedFolderInformation", "EffectiveRights", "DistinguishedFolderId", "PermissionSet",
            "UnreadCount"});
  reader.end();
  return draft;
}

const Folder* findSubfolder(const Store& store, std::uint64_t parent, const std::string& name) {
  for (const std::uint64_t number : store.foldersIn(parent)) {
    const Folder* folder = store.findFolder(number);
    if (lowerCase(folder->name) == lowerCase(name)) return folder;
  }
  return nullptr;
}

std::string readDeleteType(pugi::xml_node request) {
  const ElementReader reader(request);
  static_cast<void>(reader.requiredAttribute("DeleteType"));
  return *reader.enumeration("DeleteType", "DisposalType", kDeleteTypes);
}

}  // namespace tarnwell::sandbox
