#pragma once

#include <span>
#include <string_view>

#include "sandbox/detail/ServerVersion.h"

namespace tarnwell::sandbox {

/// A folder that every mailbox has, under the name by which requests know it.
struct DistinguishedFolder {
  std::string_view id;
  /// The distinguished folder above it; its own id at the top of a tree.
  std::string_view parent;
  std::string_view displayName;
  /// Empty for the tops of trees.
  std::string_view folderClass;
  /// The first schema that knows the id.
  Schema since;
};

/// Parents before their children.
[[nodiscard]] std::span<const DistinguishedFolder> distinguishedFolders();
/// Null when no mailbox has such a folder.
[[nodiscard]] const DistinguishedFolder* findDistinguishedFolder(std::string_view id);

}  // namespace tarnwell::sandbox
