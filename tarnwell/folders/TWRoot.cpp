#include "tarnwell/folders/TWRoot.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/folders/detail/FolderTree.h"

namespace tarnwell {
namespace {

std::string folderIdOf(const TWFolder& folder) {
  return folder.TWEWSElement::get("folder_id").asText().value_or(std::string());
}

std::string parentIdOf(const TWFolder& folder) {
  const auto named = folder.TWEWSElement::get("parent_folder_id").asObject<TWItemId>();
  return named ? named->get("id").asText().value_or(std::string()) : std::string();
}

}  // namespace

const TWFolderClass& TWRoot::elementClass() {
  static const auto& kClass = *new TWFolderClass({.name = "TWRoot",
                                                  .base = &TWFolder::elementClass(),
                                                  .distinguishedFolderId = "root",
                                                  .make = &detail::makeElement<TWRoot>});
  return kClass;
}

/// Folders in the server's order, and where they are. What a folder's place depends on is kept
/// beside it: other threads may be changing the folder itself while the tree is looked at.
struct TWRoot::Cache {
  struct Entry {
    std::shared_ptr<TWFolder> folder;  ///< null for the root, which must not keep itself alive
    std::string id;
    std::string parentId;
  };

  explicit Cache(const TWRoot& owner) : root(owner) {}

  const TWRoot& root;
  std::vector<Entry> folders;
  std::unordered_map<std::string, std::size_t> places;
  std::unordered_map<std::string, TWFolders> children;  ///< by the parent's id
  bool isIndexed = false;                               ///< `children` is up to date

  [[nodiscard]] static Entry entryOf(const std::shared_ptr<TWFolder>& folder) {
    return folder ? Entry{folder, folderIdOf(*folder), parentIdOf(*folder)} : Entry();
  }
  void store(Entry entry);
  void store(const std::shared_ptr<TWFolder>& folder) { store(entryOf(folder)); }
  void remove(const std::string& folderId);
  [[nodiscard]] std::shared_ptr<TWFolder> find(const std::string& folderId) const;
  [[nodiscard]] std::shared_ptr<TWFolder> at(std::size_t place) const {
    const auto& folder = folders[place].folder;
    return folder ? folder : root.self();
  }
};

/// What upkeep does to the cache: puts an entry into it, or takes that of the id away.
struct TWRoot::Change {
  Cache::Entry entry;
  bool isRemoval = false;

  void applyTo(Cache& cache) const {
    if (isRemoval)
      cache.remove(entry.id);
    else
      cache.store(entry);
  }
};

TWRoot::TWRoot() = default;

TWRoot::~TWRoot() = default;

void TWRoot::Cache::store(Entry entry) {
  if (entry.id.empty()) return;
  isIndexed = false;
  const auto [place, isNew] = places.try_emplace(entry.id, folders.size());
  if (isNew) folders.emplace_back();
  auto& known = folders[place->second];
  // One that was made of its id alone lies where the one did that it replaces.
  if (entry.parentId.empty()) entry.parentId = std::move(known.parentId);
  // In the root's place is the root, also when it is that of an account's other tree that changed.
  // Its id is not looked at: another thread may be changing the root.
  const bool isRoot = isNew ? dynamic_cast<const TWRoot*>(entry.folder.get()) != nullptr
                            : entry.folder.get() == &root || !known.folder;
  if (isRoot) entry.folder = nullptr;
  known = std::move(entry);
}

void TWRoot::Cache::remove(const std::string& folderId) {
  const auto found = places.find(folderId);
  if (found == places.end()) return;
  isIndexed = false;
  const auto at = found->second;
  folders.erase(folders.begin() + static_cast<std::ptrdiff_t>(at));
  places.erase(found);
  for (auto& place : places)
    if (place.second > at) --place.second;
}

std::shared_ptr<TWFolder> TWRoot::Cache::find(const std::string& folderId) const {
  const auto found = places.find(folderId);
  return found == places.end() ? nullptr : at(found->second);
}

std::shared_ptr<TWRoot> TWRoot::root() const { return std::static_pointer_cast<TWRoot>(self()); }

TWFolderMap TWRoot::foldersMap(TWError* error) const {
  fillCache(error);
  return subFolders().value_or(TWFolderMap());
}

std::optional<TWFolderMap> TWRoot::subFolders() const {
  const std::scoped_lock lock(mutex_);
  if (!cache_) return std::nullopt;
  TWFolderMap map;
  for (const auto& [id, place] : cache_->places) map.emplace(id, cache_->at(place));
  return map;
}

void TWRoot::setSubFolders(const TWFolders& folders) {
  auto cache = std::make_unique<Cache>(*this);
  for (const auto& folder : folders) cache->store(folder);
  const std::scoped_lock lock(mutex_);
  ++renewals_;
  cache_ = std::move(cache);
  isFilled_ = true;
}

void TWRoot::fillCache(TWError* error) const {
  if (!isCacheReady()) updateCache(error);
}

bool TWRoot::updateCache(TWError* error) const {
  std::size_t changesBefore = 0;
  std::uint64_t renewalsBefore = 0;
  {
    const std::scoped_lock lock(mutex_);
    changesBefore = changes_.size();
    renewalsBefore = renewals_;
    ++readings_;
  }
  auto cache = std::make_unique<Cache>(*this);
  cache->store(self());
  TWError failure;
  if (const auto start = findFoldersRoot(&failure)) {
    cache->store(start);
    for (const auto& folder : findFoldersBelow(start, "IdOnly", "Deep", &failure))
      cache->store(folder);
  }
  {
    const std::scoped_lock lock(mutex_);
    // The server's answer may be older than these.
    for (std::size_t at = changesBefore; at < changes_.size(); ++at) changes_[at].applyTo(*cache);
    if (--readings_ == 0) changes_.clear();
    cache_ = std::move(cache);
    isFilled_ = !failure && renewals_ == renewalsBefore;
  }
  if (failure) setError(error, failure);
  return !failure;
}

void TWRoot::clearCache() const {
  const std::scoped_lock lock(mutex_);
  ++renewals_;
  cache_.reset();
  isFilled_ = false;
}

bool TWRoot::isCacheReady() const {
  const std::scoped_lock lock(mutex_);
  return isFilled_ && cache_ && !cache_->folders.empty();
}

std::shared_ptr<TWFolder> TWRoot::getFolder(std::string_view folderId) const {
  const std::scoped_lock lock(mutex_);
  return cache_ ? cache_->find(std::string(folderId)) : nullptr;
}

void TWRoot::keep(Change change) const {
  if (cache_) change.applyTo(*cache_);
  if (readings_ > 0) changes_.push_back(std::move(change));
}

void TWRoot::addFolder(const std::shared_ptr<TWFolder>& folder) const {
  const std::scoped_lock lock(mutex_);
  if (!cache_) cache_ = std::make_unique<Cache>(*this);
  keep({Cache::entryOf(folder)});
}

void TWRoot::removeFolder(const std::shared_ptr<TWFolder>& folder) const {
  const std::scoped_lock lock(mutex_);
  keep({Cache::entryOf(folder), true});
}

std::string TWRoot::placedBelow(const TWFolderClass& cls, const std::string& id,
                                const std::string& parentId, const Cache& cache) const {
  const auto ownId = folderIdOf(*this);
  if (id == ownId) return {};
  if (parentId != id && cache.places.contains(parentId)) return parentId;
  // The folder that the search of the tree starts from lies right below the root, even where the
  // root itself may not be seen.
  return cls.isKindOf(TWMsgFolderRoot::elementClass()) ? ownId : std::string();
}

TWFolders TWRoot::cachedChildren(const TWFolder& folder) const {
  const std::scoped_lock lock(mutex_);
  const auto id = folderIdOf(folder);
  if (!cache_ || id.empty()) return {};
  if (!cache_->isIndexed) {
    cache_->children.clear();
    for (const auto& [each, eachId, parentId] : cache_->folders) {
      if (!each) continue;
      const auto parent = placedBelow(each->folderClass(), eachId, parentId, *cache_);
      if (!parent.empty()) cache_->children[parent].push_back(each);
    }
    cache_->isIndexed = true;
  }
  const auto found = cache_->children.find(id);
  return found == cache_->children.end() ? TWFolders() : found->second;
}

std::shared_ptr<TWFolder> TWRoot::cachedParent(const TWFolder& folder) const {
  const std::scoped_lock lock(mutex_);
  if (!cache_) return nullptr;
  const auto id = folderIdOf(folder);
  auto parentId = parentIdOf(folder);
  const auto place = cache_->places.find(id);
  if (parentId.empty() && place != cache_->places.end())
    parentId = cache_->folders[place->second].parentId;
  return cache_->find(placedBelow(folder.folderClass(), id, parentId, *cache_));
}

TWFolders TWRoot::getChildren(const TWFolder& folder) const {
  fillCache(nullptr);
  return cachedChildren(folder);
}

std::shared_ptr<TWFolder> TWRoot::getParent(const TWFolder& folder) const {
  fillCache(nullptr);
  return cachedParent(folder);
}

std::shared_ptr<TWFolder> TWRoot::findFoldersRoot(TWError* error) const {
  const auto& cls = TWMsgFolderRoot::elementClass();
  {
    const std::scoped_lock lock(mutex_);
    const auto found = defaultFolders_.find(std::string(cls.name()));
    if (found != defaultFolders_.end()) return found->second;
  }
  return getDistinguishedFolder(cls, account(), error);
}

std::shared_ptr<TWFolder> TWRoot::tois() const {
  if (auto folder = getDefaultFolder(TWMsgFolderRoot::elementClass())) return folder;
  if (auto folder = navigate("Top of Information Store")) return folder;
  return self();
}

TWFolders TWRoot::primaryFolders() const {
  const auto top = tois();
  auto folders = detail::FolderTree(*this).below(*top);
  std::erase_if(folders, [](const auto& folder) {
    const TWValue& cls = folder->TWEWSElement::get("folder_class");
    return !cls.isAbsent() && cls.textView() != "IPF.Note";
  });
  return folders;
}

TWFolders TWRoot::refetchPrimaryFolders(TWError* error) const {
  updateCache(error);
  return primaryFolders();
}

TWFolderMap TWRoot::defaultFolders() const {
  const std::scoped_lock lock(mutex_);
  return defaultFolders_;
}

std::shared_ptr<TWFolder> TWRoot::keepDefaultFolder(const TWFolderClass& cls,
                                                    std::shared_ptr<TWFolder> folder) const {
  const auto id = folderIdOf(*folder);
  const std::scoped_lock lock(mutex_);
  // Another thread may have asked at the same time: all get the same object.
  const std::string name(cls.name());
  if (const auto found = defaultFolders_.find(name); found != defaultFolders_.end())
    return found->second;
  if (auto cached = cache_ ? cache_->find(id) : nullptr) {
    // In the tree it may be of another class: of the one for its display name or container class.
    if (cached->cls().isKindOf(cls))
      folder = std::move(cached);
    else
      cache_->store(folder);
  }
  // The root must not keep itself alive.
  if (folder.get() != this) defaultFolders_.emplace(name, folder);
  return folder;
}

std::shared_ptr<TWFolder> TWRoot::getDefaultFolder(const TWFolderClass& cls, TWError* error) const {
  {
    const std::scoped_lock lock(mutex_);
    const auto found = defaultFolders_.find(std::string(cls.name()));
    if (found != defaultFolders_.end()) return found->second;
  }
  const auto account = this->account();
  TWError failure;
  if (auto folder = getDistinguishedFolder(cls, account, &failure))
    return keepDefaultFolder(cls, std::move(folder));
  if (failure.is(TWErrorCode::ErrorAccessDenied)) {
    // The folder itself may not be read, but perhaps what is in it.
    auto folder = make(cls, {{"name", cls.distinguishedFolderId()}}, account);
    if (folder && folder->testAccess()) return keepDefaultFolder(cls, std::move(folder));
  }
  auto found = searchDefaultFolder(cls);
  if (!found) setError(error, std::move(failure));
  return found;
}

std::shared_ptr<TWFolder> TWRoot::searchDefaultFolder(const TWFolderClass& cls) const {
  detail::FolderTree tree(*this);
  auto candidates = tree.children(*this);
  // What people see as the top is one level below the root.
  for (const auto& child : TWFolders(candidates))
    if (child->cls().isKindOf(TWMsgFolderRoot::elementClass()))
      for (auto& below : tree.children(*child)) candidates.push_back(std::move(below));
  std::erase_if(candidates, [&](const auto& each) { return &each->cls() != &cls; });
  auto found = std::ranges::find_if(candidates, &TWFolder::isDistinguished);
  if (found == candidates.end())
    found = std::ranges::find_if(candidates, [&](const auto& each) {
      return cls.hasName(each->TWEWSElement::get("name").textView());
    });
  return found == candidates.end() ? nullptr : *found;
}

bool TWRoot::refresh(TWError* error) {
  clearCache();
  return TWFolder::refresh(error);
}

}  // namespace tarnwell
