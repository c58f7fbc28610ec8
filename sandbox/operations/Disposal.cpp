#include "sandbox/operations/Disposal.h"

namespace tarnwell::sandbox {
namespace {

/// A name that no folder has there: "Old", "Old1", "Old2" ...
std::string freeName(const Store& store, std::uint64_t parent, const std::string& name) {
  std::set<std::string> taken;
  for (const std::uint64_t number : store.foldersIn(parent)) {
    taken.insert(store.findFolder(number)->name);
  }
  std::string free = name;
  for (int i = 1; taken.contains(free); ++i) free = name + std::to_string(i);
  return free;
}

}  // namespace

void disposeOfItem(Store& store, const Item& item, const std::string& type) {
  const std::string& mailbox = store.findFolder(item.folder)->mailbox;
  std::uint64_t target = 0;
  if (type == "MoveToDeletedItems") {
    target = store.distinguished(mailbox, "deleteditems");
  } else if (type == "SoftDelete") {
    target = store.distinguished(mailbox, "recoverableitemsdeletions");
  }
  // What lies there already is gone for good.
  if (target == 0 || target == item.folder) {
    store.removeItem(item.number);
  } else {
    store.moveItem(item.number, target);
  }
}

void disposeOfFolder(Store& store, const Folder& folder, const std::string& type) {
  const std::uint64_t number = folder.number;
  const std::uint64_t bin = store.distinguished(folder.mailbox, "deleteditems");
  if (type == "MoveToDeletedItems" && !store.isBelow(number, bin)) {
    Folder renamed = folder;
    renamed.name = freeName(store, bin, folder.name);
    if (renamed.name != folder.name) store.changeFolder(std::move(renamed));
    store.moveFolder(number, bin);
    return;
  }
  if (type == "SoftDelete") {
    std::vector<std::uint64_t> folders = store.foldersBelow(number);
    folders.push_back(number);
    for (const std::uint64_t below : folders) {
      const Store::Numbers items = store.itemsIn(below);
      for (const std::uint64_t item : items) disposeOfItem(store, *store.findItem(item), type);
    }
  }
  store.removeFolder(number);
}

}  // namespace tarnwell::sandbox
