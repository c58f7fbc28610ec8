#include "tarnwell/folders/detail/FolderTree.h"

#include <unordered_set>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRoot.h"

namespace tarnwell::detail {

const TWRoot* FolderTree::root() {
  if (!hasLooked_) {
    hasLooked_ = true;
    root_ = std::dynamic_pointer_cast<TWRoot>(from_.self());
    const auto account = from_.account();
    if (!root_ && account) root_ = account->anyRoot(&failure_);
    if (root_) root_->fillCache(&failure_);
  }
  return root_.get();
}

TWFolders FolderTree::children(const TWFolder& folder) {
  if (folder.children_) return *folder.children_;
  const auto* const root = this->root();
  return root == nullptr ? TWFolders() : root->cachedChildren(folder);
}

std::shared_ptr<TWFolder> FolderTree::parent(const TWFolder& folder) {
  if (auto parent = folder.parent_.lock()) return parent;
  if (dynamic_cast<const TWRoot*>(&folder) != nullptr) return nullptr;  // no need to ask
  const auto* const root = this->root();
  return root == nullptr ? nullptr : root->cachedParent(folder);
}

TWFolders FolderTree::below(const TWFolder& folder) {
  TWFolders found;
  std::unordered_set<const TWFolder*> seen{&folder};
  TWFolders waiting;
  const auto wait = [&](const TWFolder& parent) {
    auto children = this->children(parent);
    for (auto at = children.rbegin(); at != children.rend(); ++at)
      if (*at) waiting.push_back(std::move(*at));
  };
  wait(folder);
  while (!waiting.empty()) {
    auto next = std::move(waiting.back());
    waiting.pop_back();
    if (!seen.insert(next.get()).second) continue;
    wait(*next);
    found.push_back(std::move(next));
  }
  return found;
}

std::vector<std::shared_ptr<TWRoot>> FolderTree::knownTo(const TWAccount& account) {
  std::vector<std::shared_ptr<TWRoot>> roots{account.localRoot(), account.fetchedRoot()};
  std::erase(roots, nullptr);
  return roots;
}

}  // namespace tarnwell::detail
