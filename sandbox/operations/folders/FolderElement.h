#pragma once

#include <string>
#include <vector>

#include "sandbox/items/PropertyPath.h"
#include "sandbox/operations/Operations.h"

namespace tarnwell::sandbox {

/// What a client wants to see of folders.
struct FolderShape {
  enum class Base { idOnly, standard, all };

  Base base = Base::idOnly;
  std::vector<PropertyPath> additional;
};

/// Reads m:FolderShape. Throws the schema violation.
[[nodiscard]] FolderShape readFolderShape(pugi::xml_node element, Schema schema);

/// Appends t:Folder, t:CalendarFolder or the like with what the shape says.
void appendFolder(pugi::xml_node parent, const OperationCall& call, const Folder& folder,
                  const FolderShape& shape);
/// Appends m:Folders with the one folder and its id.
void appendFolderAnswer(pugi::xml_node message, const OperationCall& call, const Folder& folder);

/// The values of a path in a folder, for comparing.
[[nodiscard]] std::vector<std::string> folderValuesOf(const OperationCall& call,
                                                      const Folder& folder,
                                                      const PropertyPath& path);

/// A folder that a client wrote, to be made or to take changes from.
struct FolderDraft {
  std::string element;
  std::string folderClass;
  std::string name;
  bool hasClass = false;
  bool hasName = false;
  /// Something in it is the server's to say.
  bool hasReadOnly = false;
  std::vector<Node> extendedProperties;
};

/// Throws the schema violation for anything but the parts of a folder in their order.
[[nodiscard]] FolderDraft readFolder(pugi::xml_node element);
[[nodiscard]] bool isFolderElement(pugi::xml_node element);
/// "IPF.Appointment" for t:CalendarFolder; "IPF.Note" for t:Folder.
[[nodiscard]] std::string defaultFolderClass(const std::string& element);

/// The folder of that name directly below; null when there is none. Letters compare without regard
/// to their case.
[[nodiscard]] const Folder* findSubfolder(const Store& store, std::uint64_t parent,
                                          const std::string& name);

/// HardDelete, SoftDelete or MoveToDeletedItems. Throws the schema violation for any other.
[[nodiscard]] std::string readDeleteType(pugi::xml_node request);

}  // namespace tarnwell::sandbox
