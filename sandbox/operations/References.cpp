#include "sandbox/operations/References.h"

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/PropertyValue.h"
#include "sandbox/store/DistinguishedFolders.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

/// The number behind an id of that kind; throws the EwsError for anything else.
std::uint64_t numberOf(const std::string& text, IdKind kind) {
  if (text.empty()) throw EwsError("ErrorInvalidIdEmpty");
  const std::optional<Id> id = readId(text);
  if (!id) throw EwsError("ErrorInvalidIdMalformed");
  if (id->kind == kind) return id->number;
  if (id->kind == IdKind::item) throw EwsError("ErrorCannotUseItemIdForFolderId");
  if (id->kind == IdKind::folder) throw EwsError("ErrorCannotUseFolderIdForItemId");
  throw EwsError("ErrorInvalidId", "The id is of another kind.");
}

}  // namespace

bool isFolderReference(pugi::xml_node element) {
  return isElement(element, kTypesNs, "FolderId") ||
         isElement(element, kTypesNs, "DistinguishedFolderId");
}

FolderReference readFolderReference(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({"Id", "ChangeKey"});
  FolderReference reference;
  reference.id = reader.requiredAttribute("Id");
  reference.changeKey = reader.attribute("ChangeKey").value_or("");
  reference.isDistinguished = localName(element) == "DistinguishedFolderId";
  if (reference.isDistinguished) {
    const DistinguishedFolder* row = findDistinguishedFolder(reference.id);
    if (row == nullptr || row->since > schema) {
      throw SoapFault::schemaViolation(
          "The 'Id' attribute is invalid - The value '" + reference.id +
          "' is invalid according to its datatype '" + std::string(kTypesNs) +
          ":DistinguishedFolderIdNameType' - The Enumeration constraint failed.");
    }
    if (const pugi::xml_node mailbox = reader.optional(kTypesNs, "Mailbox")) {
      reference.mailbox = readMailbox(mailbox).childText("EmailAddress");
    }
  }
  reader.end();
  return reference;
}

std::vector<FolderReference> readFolderReferences(pugi::xml_node list, Schema schema) {
  std::vector<FolderReference> references;
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node folder = reader.next()) {
    if (!isFolderReference(folder)) reader.refuse(folder);
    references.push_back(readFolderReference(folder, schema));
  }
  return references;
}

FolderReference readTargetFolder(pugi::xml_node holder, Schema schema) {
  ElementReader reader(holder);
  reader.allowAttributes({});
  reader.requireMore();
  const pugi::xml_node folder = reader.next();
  if (!isFolderReference(folder)) reader.refuse(folder);
  reader.end();
  return readFolderReference(folder, schema);
}

ItemReference readItemReference(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({"Id", "ChangeKey"});
  ItemReference reference{reader.requiredAttribute("Id"),
                          reader.attribute("ChangeKey").value_or("")};
  reader.end();
  return reference;
}

std::vector<ItemReference> readItemReferences(pugi::xml_node list) {
  std::vector<ItemReference> references;
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node item = reader.next()) {
    if (!isElement(item, kTypesNs, "ItemId")) reader.refuse(item);
    references.push_back(readItemReference(item));
  }
  return references;
}

const Folder& resolveFolder(const OperationCall& call, const FolderReference& reference,
                            const char* missing) {
  std::uint64_t number = 0;
  if (reference.isDistinguished) {
    const std::string& owner = reference.mailbox.empty() ? call.address : reference.mailbox;
    if (call.store.mailbox(owner) == nullptr) throw EwsError("ErrorNonExistentMailbox");
    number = call.store.distinguished(owner, reference.id);
  } else {
    number = numberOf(reference.id, IdKind::folder);
  }
  static_cast<void>(versionOf(reference.changeKey));
  const Folder* folder = call.store.findFolder(number);
  if (folder == nullptr) throw EwsError(missing);
  return *folder;
}

std::shared_ptr<const Item> resolveItem(const OperationCall& call, const ItemReference& reference) {
  const std::uint64_t number = numberOf(reference.id, IdKind::item);
  static_cast<void>(versionOf(reference.changeKey));
  std::shared_ptr<const Item> item = call.store.findItem(number);
  if (!item) throw EwsError("ErrorItemNotFound");
  return item;
}

std::uint64_t versionOf(const std::string& changeKey) {
  if (changeKey.empty()) return 0;
  const std::optional<Id> id = readId(changeKey);
  if (!id || id->kind != IdKind::changeKey) throw EwsError("ErrorInvalidChangeKey");
  return id->number;
}

void appendItemId(pugi::xml_node parent, const Item& item) {
  pugi::xml_node id = parent.append_child("m:ItemId");
  id.append_attribute("Id") = idText(IdKind::item, item.number).c_str();
  id.append_attribute("ChangeKey") = idText(IdKind::changeKey, item.version).c_str();
}

pugi::xml_node appendFolderId(pugi::xml_node parent, const Folder& folder) {
  pugi::xml_node id = parent.append_child("t:FolderId");
  id.append_attribute("Id") = idText(IdKind::folder, folder.number).c_str();
  id.append_attribute("ChangeKey") = idText(IdKind::changeKey, folder.version).c_str();
  return id;
}

}  // namespace tarnwell::sandbox
