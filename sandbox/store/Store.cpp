#include "sandbox/store/Store.h"

#include <algorithm>

#include "sandbox/detail/Directory.h"
#include "sandbox/store/Database.h"
#include "sandbox/store/DistinguishedFolders.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

template <class Numbers>
const Numbers& numbersIn(const std::map<std::uint64_t, Numbers>& map, std::uint64_t key) {
  static const Numbers kNone;
  const auto found = map.find(key);
  return found == map.end() ? kNone : found->second;
}

}  // namespace

Store::Store() = default;
Store::~Store() = default;

bool Store::open(const std::string& file, std::string& error) {
  database_ = Database::open(file, *this, error);
  return database_ != nullptr;
}

bool Store::addMailbox(const std::string& address, const std::string& name) {
  const std::string key = lowerCase(address);
  StoreMailbox& mailbox = mailboxes_[key];
  const bool isNew = mailbox.distinguishedFolders.empty();
  mailbox.address = address;
  mailbox.name = name;
  // A store that an older program made may lack folders that were added since.
  for (const DistinguishedFolder& row : distinguishedFolders()) {
    if (mailbox.distinguishedFolders.contains(row.id)) continue;
    Folder folder;
    folder.mailbox = key;
    folder.distinguishedId = row.id;
    folder.name = row.displayName;
    folder.folderClass = row.folderClass;
    folder.parent = row.parent == row.id ? 0 : distinguished(key, row.parent);
    createFolder(std::move(folder));
  }
  return isNew;
}

const StoreMailbox* Store::mailbox(std::string_view address) const {
  const auto found = mailboxes_.find(lowerCase(address));
  return found == mailboxes_.end() ? nullptr : &found->second;
}

std::uint64_t Store::distinguished(std::string_view address, std::string_view id) const {
  const StoreMailbox* owner = mailbox(address);
  if (owner == nullptr) return 0;
  const auto found = owner->distinguishedFolders.find(id);
  return found == owner->distinguishedFolders.end() ? 0 : found->second;
}

const Folder* Store::findFolder(std::uint64_t number) const {
  const auto found = folders_.find(number);
  return found == folders_.end() ? nullptr : &found->second;
}

std::shared_ptr<const Item> Store::findItem(std::uint64_t number) const {
  const auto found = items_.find(number);
  return found == items_.end() ? nullptr : found->second;
}

std::shared_ptr<const Item> Store::findItemOfAttachment(std::uint64_t number) const {
  const auto found = itemsOfAttachments_.find(number);
  return found == itemsOfAttachments_.end() ? nullptr : findItem(found->second);
}

const std::set<std::uint64_t>& Store::foldersIn(std::uint64_t folder) const {
  return numbersIn(foldersIn_, folder);
}

const Store::Numbers& Store::itemsIn(std::uint64_t folder) const {
  return numbersIn(itemsIn_, folder);
}

std::vector<std::uint64_t> Store::foldersBelow(std::uint64_t folder) const {
  std::vector<std::uint64_t> all;
  for (const std::uint64_t child : foldersIn(folder)) {
    all.push_back(child);
    const std::vector<std::uint64_t> below = foldersBelow(child);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

bool Store::isBelow(std::uint64_t folder, std::uint64_t ancestor) const {
  for (const Folder* at = findFolder(folder); at != nullptr; at = findFolder(at->parent)) {
    if (at->parent == at->number) return false;
    if (at->parent == ancestor) return true;
  }
  return false;
}

std::uint64_t Store::createFolder(Folder folder) {
  folder.number = newNumber();
  folder.version = newNumber();
  if (folder.parent == 0) folder.parent = folder.number;
  const StoreEvent event{StoreEvent::Kind::created, true, folder.number, folder.version,
                         folder.parent};
  insert(std::move(folder));
  happened(event);
  return event.number;
}

void Store::changeFolder(Folder folder) {
  folder.version = newNumber();
  const StoreEvent event{StoreEvent::Kind::modified, true, folder.number, folder.version,
                         folder.parent};
  insert(std::move(folder));
  happened(event);
}

void Store::moveFolder(std::uint64_t number, std::uint64_t parent) {
  Folder folder = folders_.at(number);
  foldersIn_[folder.parent].erase(number);
  StoreEvent event{StoreEvent::Kind::moved, true, number, newNumber(), parent};
  event.oldNumber = number;
  event.oldVersion = folder.version;
  event.oldParent = folder.parent;
  folder.version = event.version;
  folder.parent = parent;
  const std::string mailbox = folders_.at(parent).mailbox;
  folder.mailbox = mailbox;
  insert(std::move(folder));
  for (const std::uint64_t below : foldersBelow(number)) {
    folders_.at(below).mailbox = mailbox;
    changedFolders_.insert(below);
  }
  happened(event);
}

void Store::removeFolder(std::uint64_t number) {
  const std::set<std::uint64_t> children = foldersIn(number);
  for (const std::uint64_t child : children) removeFolder(child);
  const Numbers items = itemsIn(number);
  for (const std::uint64_t item : items) removeItem(item);
  const Folder folder = folders_.at(number);
  happened({StoreEvent::Kind::deleted, true, number, folder.version, folder.parent});
  foldersIn_[folder.parent].erase(number);
  foldersIn_.erase(number);
  itemsIn_.erase(number);
  folders_.erase(number);
  changedFolders_.insert(number);
}

std::shared_ptr<const Item> Store::createItem(Item item, StoreEvent::Kind kind) {
  item.number = newNumber();
  item.version = newNumber();
  auto stored = std::make_shared<const Item>(std::move(item));
  insert(stored);
  happened({StoreEvent::Kind::created, false, stored->number, stored->version, stored->folder});
  if (kind != StoreEvent::Kind::created) {
    happened({kind, false, stored->number, stored->version, stored->folder});
  }
  return stored;
}

std::shared_ptr<const Item> Store::changeItem(Item item,
                                              const std::vector<std::string>& changedKeys) {
  item.version = newNumber();
  for (const std::string& key : changedKeys) item.changed[key] = item.version;
  forgetAttachments(*items_.at(item.number));
  auto stored = std::make_shared<const Item>(std::move(item));
  insert(stored);
  happened({StoreEvent::Kind::modified, false, stored->number, stored->version, stored->folder});
  return stored;
}

std::shared_ptr<const Item> Store::moveItem(std::uint64_t number, std::uint64_t folder) {
  Item item = *items_.at(number);
  StoreEvent event{StoreEvent::Kind::moved, false, newNumber(), newNumber(), folder};
  event.oldNumber = number;
  event.oldVersion = item.version;
  event.oldParent = item.folder;
  erase(item);
  item.number = event.number;
  item.version = event.version;
  item.folder = folder;
  auto stored = std::make_shared<const Item>(std::move(item));
  insert(stored);
  happened(event);
  return stored;
}

void Store::removeItem(std::uint64_t number) {
  const std::shared_ptr<const Item> item = items_.at(number);
  erase(*item);
  happened({StoreEvent::Kind::deleted, false, number, item->version, item->folder});
}

void Store::commit() {
  if (database_ && !(changedFolders_.empty() && changedItems_.empty())) {
    database_->write(*this, changedFolders_, changedItems_);
  }
  changedFolders_.clear();
  changedItems_.clear();
  if (listener_ && !events_.empty()) listener_(events_);
  events_.clear();
}

void Store::insert(Folder folder) {
  const std::uint64_t number = folder.number;
  if (folder.parent != number) foldersIn_[folder.parent].insert(number);
  if (!folder.distinguishedId.empty()) {
    mailboxes_[folder.mailbox].distinguishedFolders[folder.distinguishedId] = number;
  }
  changedFolders_.insert(number);
  folders_[number] = std::move(folder);
}

void Store::insert(std::shared_ptr<const Item> item) {
  Numbers& numbers = itemsIn_[item->folder];
  const auto place = std::ranges::lower_bound(numbers, item->number);
  if (place == numbers.end() || *place != item->number) numbers.insert(place, item->number);
  for (const auto& attachment : item->attachments) {
    itemsOfAttachments_[attachment->number] = item->number;
  }
  changedItems_.insert(item->number);
  items_[item->number] = std::move(item);
}

void Store::erase(const Item& item) {
  Numbers& numbers = itemsIn_[item.folder];
  numbers.erase(std::ranges::lower_bound(numbers, item.number));
  forgetAttachments(item);
  changedItems_.insert(item.number);
  items_.erase(item.number);
}

void Store::forgetAttachments(const Item& item) {
  for (const auto& attachment : item.attachments) itemsOfAttachments_.erase(attachment->number);
}

void Store::happened(StoreEvent event) {
  event.time = timeNow();
  const Folder* folder = findFolder(event.parent);
  if (folder != nullptr) event.mailbox = folder->mailbox;
  events_.push_back(std::move(event));
}

}  // namespace tarnwell::sandbox
