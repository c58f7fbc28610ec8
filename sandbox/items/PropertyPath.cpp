#include "sandbox/items/PropertyPath.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/PropertyValue.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 11> kFolderUris{"folder:FolderId",
                                                       "folder:ParentFolderId",
                                                       "folder:DisplayName",
                                                       "folder:UnreadCount",
                                                       "folder:TotalCount",
                                                       "folder:ChildFolderCount",
                                                       "folder:FolderClass",
                                                       "folder:EffectiveRights",
                                                       "folder:PermissionSet",
                                                       "folder:SharingEffectiveRights",
                                                       "folder:DistinguishedFolderId"};

struct IndexedRow {
  std::string_view uri;
  std::string_view property;
};

constexpr std::array kIndexed{
    IndexedRow{"contacts:EmailAddress", "contacts:EmailAddresses"},
    IndexedRow{"contacts:ImAddress", "contacts:ImAddresses"},
    IndexedRow{"contacts:PhoneNumber", "contacts:PhoneNumbers"},
    IndexedRow{"contacts:PhysicalAddress:Street", "contacts:PhysicalAddresses"},
    IndexedRow{"contacts:PhysicalAddress:City", "contacts:PhysicalAddresses"},
    IndexedRow{"contacts:PhysicalAddress:State", "contacts:PhysicalAddresses"},
    IndexedRow{"contacts:PhysicalAddress:CountryOrRegion", "contacts:PhysicalAddresses"},
    IndexedRow{"contacts:PhysicalAddress:PostalCode", "contacts:PhysicalAddresses"},
    IndexedRow{"item:InternetMessageHeader", "item:InternetMessageHeaders"},
};

[[noreturn]] void refuseUri(const std::string& uri, std::string_view type) {
  throw SoapFault::schemaViolation("The 'FieldURI' attribute is invalid - The value '" + uri +
                                   "' is invalid according to its datatype '" +
                                   std::string(kTypesNs) + ":" + std::string(type) +
                                   "' - The Enumeration constraint failed.");
}

PropertyPath readUnindexed(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({"FieldURI"});
  std::string uri = reader.requiredAttribute("FieldURI");
  reader.end();
  PropertyPath path;
  // Clients in the field write it so; no other property could be meant.
  if (uri == "contacts:Profression") uri = "contacts:Profession";
  path.property = findProperty(uri);
  path.uri = uri;
  const bool isOfFolders = std::ranges::find(kFolderUris, uri) != kFolderUris.end();
  if (path.property == nullptr ? !isOfFolders : path.property->since > schema) {
    refuseUri(uri, "UnindexedFieldURIType");
  }
  return path;
}

PropertyPath readIndexed(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({"FieldURI", "FieldIndex"});
  const std::string uri = reader.requiredAttribute("FieldURI");
  PropertyPath path;
  path.index = reader.requiredAttribute("FieldIndex");
  reader.end();
  const auto* const row = std::ranges::find(kIndexed, uri, &IndexedRow::uri);
  if (row == kIndexed.end()) refuseUri(uri, "DictionaryURIType");
  path.property = findProperty(row->property);
  path.uri = row->property;
  if (path.property->type == PropertyType::addresses) {
    path.part = uri.substr(uri.find_last_of(':') + 1);
  }
  return path;
}

}  // namespace

std::string PropertyPath::key() const {
  if (isExtended()) return extendedKey(extended);
  return index.empty() ? uri : uri + "/" + index + "/" + part;
}

bool isPropertyPath(pugi::xml_node element) {
  return isElement(element, kTypesNs, "FieldURI") ||
         isElement(element, kTypesNs, "IndexedFieldURI") ||
         isElement(element, kTypesNs, "ExtendedFieldURI");
}

PropertyPath readPropertyPath(pugi::xml_node element, Schema schema) {
  if (localName(element) == "FieldURI") return readUnindexed(element, schema);
  if (localName(element) == "IndexedFieldURI") return readIndexed(element);
  PropertyPath path;
  path.extended = readExtendedFieldUri(element);
  return path;
}

}  // namespace tarnwell::sandbox
