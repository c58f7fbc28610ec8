#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/folders/TWFolder.h"

namespace tarnwell {

using TWFolderMap = std::map<std::string, std::shared_ptr<TWFolder>>;

/// The top of an account's folder tree, which knows every folder of the mailbox: the whole tree is
/// read at once when it is first needed, and kept current as folders are changed through this
/// library.
///
/// The look-ups below may be used from several threads.
class TWRoot : public detail::FolderKind<TWRoot, TWFolder> {
 public:
  TWRoot();
  ~TWRoot() override;
  [[nodiscard]] static const TWFolderClass& elementClass();
  [[nodiscard]] std::shared_ptr<TWRoot> root() const override;

  /// All folders by their ids, read from the server when the cache is not ready; what could be read
  /// when that fails.
  [[nodiscard]] TWFolderMap foldersMap(TWError* error = nullptr) const;
  /// What is cached; absent when nothing is.
  [[nodiscard]] std::optional<TWFolderMap> subFolders() const;
  /// Replaces the cache, as a tree from an archive does. It then counts as filled.
  void setSubFolders(const TWFolders& folders);
  /// Reads the tree anew: this folder, the one from which the search starts, and what is below it.
  /// Upkeep meanwhile goes before what was read. On failure the cache holds what could be read, and
  /// does not count as filled; nor does it when it was dropped or replaced meanwhile.
  bool updateCache(TWError* error = nullptr) const;
  void clearCache() const;
  [[nodiscard]] bool isCacheReady() const;

  /// The cached folder of that id; never asks the server.
  [[nodiscard]] std::shared_ptr<TWFolder> getFolder(std::string_view folderId) const;
  /// Upkeep of the cache. Folders without an id are ignored, and a cache that was not filled does
  /// not count as filled by this. A folder that does not say where it lies stays where the one of
  /// the same id was.
  void addFolder(const std::shared_ptr<TWFolder>& folder) const;
  void updateFolder(const std::shared_ptr<TWFolder>& folder) const { addFolder(folder); }
  void removeFolder(const std::shared_ptr<TWFolder>& folder) const;

  /// The folders whose parent has the given folder's id, in the server's order. Fills the cache.
  /// Why there are none `updateCache` tells, here and in the three below.
  [[nodiscard]] TWFolders getChildren(const TWFolder& folder) const;
  /// The folder that the given one says it lies in; null when that is itself or not known. Fills
  /// the cache.
  [[nodiscard]] std::shared_ptr<TWFolder> getParent(const TWFolder& folder) const;

  /// The folder above everything that people see.
  [[nodiscard]] std::shared_ptr<TWFolder> tois() const;
  /// The mail folders of the mailbox, depth first.
  [[nodiscard]] TWFolders primaryFolders() const;
  /// The same from a tree that is read anew; on failure from what could be read.
  [[nodiscard]] TWFolders refetchPrimaryFolders(TWError* error = nullptr) const;

  /// The account's folder of a well-known class. Asked for by its well-known name once, and looked
  /// for in the tree when the server does not give it. Null when there is none, with the error that
  /// the server's answer was.
  [[nodiscard]] std::shared_ptr<TWFolder> getDefaultFolder(const TWFolderClass& cls,
                                                           TWError* error = nullptr) const;
  template <std::derived_from<TWFolder> Folder>
  [[nodiscard]] std::shared_ptr<Folder> getDefaultFolder() const {
    return std::dynamic_pointer_cast<Folder>(getDefaultFolder(Folder::elementClass()));
  }
  /// The folders that `getDefaultFolder` keeps, by the names of their classes.
  [[nodiscard]] TWFolderMap defaultFolders() const;

  /// Drops the cache first, whether the rest succeeds or not.
  bool refresh(TWError* error = nullptr) override;

 protected:
  [[nodiscard]] std::shared_ptr<TWFolder> findFoldersRoot(TWError* error) const override;

 private:
  friend class detail::FolderTree;
  struct Cache;
  struct Change;
  /// With the mutex held.
  void keep(Change change) const;
  /// The id of the cached folder that one with this id and parent is drawn below; may be empty.
  [[nodiscard]] std::string placedBelow(const TWFolderClass& cls, const std::string& id,
                                        const std::string& parentId, const Cache& cache) const;
  void fillCache(TWError* error) const;
  [[nodiscard]] TWFolders cachedChildren(const TWFolder& folder) const;
  [[nodiscard]] std::shared_ptr<TWFolder> cachedParent(const TWFolder& folder) const;
  /// What was kept first for the class stays. Else keeps the cached folder of the same id if it is
  /// of that class, or puts this one in its place. Answers what is kept.
  [[nodiscard]] std::shared_ptr<TWFolder> keepDefaultFolder(const TWFolderClass& cls,
                                                            std::shared_ptr<TWFolder> folder) const;
  [[nodiscard]] std::shared_ptr<TWFolder> searchDefaultFolder(const TWFolderClass& cls) const;

  mutable std::mutex mutex_;              // guards all below; never held over a request
  mutable std::unique_ptr<Cache> cache_;  ///< null when nothing is cached
  mutable bool isFilled_ = false;
  mutable std::vector<Change> changes_;  ///< upkeep while the tree is read
  mutable int readings_ = 0;             ///< of the tree, under way
  mutable std::uint64_t renewals_ = 0;   ///< how often the cache was dropped or replaced by others
  mutable TWFolderMap defaultFolders_;
};

}  // namespace tarnwell
