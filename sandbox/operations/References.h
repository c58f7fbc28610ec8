#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sandbox/operations/Operations.h"
#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// t:FolderId or t:DistinguishedFolderId.
struct FolderReference {
  std::string id;
  bool isDistinguished = false;
  std::string changeKey;
  /// Whose distinguished folder; empty for the client's own.
  std::string mailbox;
};

/// t:ItemId.
struct ItemReference {
  std::string id;
  std::string changeKey;
};

// All readers throw the schema violation.

/// A list of folder references, at least one.
[[nodiscard]] std::vector<FolderReference> readFolderReferences(pugi::xml_node list, Schema schema);
/// An element that holds exactly one folder reference, m:ToFolderId and the like.
[[nodiscard]] FolderReference readTargetFolder(pugi::xml_node holder, Schema schema);
[[nodiscard]] bool isFolderReference(pugi::xml_node element);
[[nodiscard]] FolderReference readFolderReference(pugi::xml_node element, Schema schema);
/// A list of t:ItemId, at least one.
[[nodiscard]] std::vector<ItemReference> readItemReferences(pugi::xml_node list);
[[nodiscard]] ItemReference readItemReference(pugi::xml_node element);

/// Throws the EwsError when there is no such folder, with the code `missing` when it may have been.
[[nodiscard]] const Folder& resolveFolder(const OperationCall& call,
                                          const FolderReference& reference,
                                          const char* missing = "ErrorFolderNotFound");
/// Throws the EwsError when there is no such item or its change key was never one.
[[nodiscard]] std::shared_ptr<const Item> resolveItem(const OperationCall& call,
                                                      const ItemReference& reference);
/// The version that a change key stands for; 0 for an empty one. Throws the EwsError for other
/// texts.
[[nodiscard]] std::uint64_t versionOf(const std::string& changeKey);

/// Appends m:ItemId or t:FolderId with the id and the change key of what is named.
void appendItemId(pugi::xml_node parent, const Item& item);
pugi::xml_node appendFolderId(pugi::xml_node parent, const Folder& folder);

}  // namespace tarnwell::sandbox
