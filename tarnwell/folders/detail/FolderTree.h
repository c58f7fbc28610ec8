#pragma once

#include <memory>
#include <vector>

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
  /// Why the tree, as far as it was needed, could not be had or read; of what could be, it knows.
  [[nodiscard]] const TWError& failure() const noexcept { return failure_; }

  /// The trees that an account has so far: the one from an archive and the one from the server.
  [[nodiscard]] static std::vector<std::shared_ptr<TWRoot>> knownTo(const TWAccount& account);

 private:
  const TWRoot* root();

  const TWFolder& from_;
  std::shared_ptr<TWRoot> root_;
  TWError failure_;
  bool hasLooked_ = false;
};

}  // namespace tarnwell::detail
