#pragma once

#include <memory>

#include "tarnwell/folders/TWFolder.h"

namespace tarnwell::detail {

/// One look at the folder tree around a folder. The root is asked for its folders when they are
/// first needed and at most once, however many folders are visited: a server that fails is not
/// asked again for each of them.
class FolderTree {
 public:
  explicit FolderTree(const TWFolder& from) : from_(from) {}

  [[nodiscard]] TWFolders children(const TWFolder& folder);
  [[nodiscard]] std::shared_ptr<TWFolder> parent(const TWFolder& folder);
  /// Everything below, depth first, each folder once, whatever the parents say.
  [[nodiscard]] TWFolders below(const TWFolder& folder);

 private:
  const TWRoot* root();

  const TWFolder& from_;
  std::shared_ptr<TWRoot> root_;
  bool hasLooked_ = false;
};

}  // namespace tarnwell::detail
