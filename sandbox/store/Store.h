#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

class Database;

/// The mailboxes with everything in them, in memory. With a database behind it, `commit` makes what
/// has changed last.
///
/// Whoever reads holds `mutex()` shared, whoever changes something holds it alone and ends with
/// `commit`. What `findFolder` and `mailbox` answer is good for as long as the mutex is held; an
/// item never changes once it is in the store, so its handle stays good.
class Store {
 public:
  /// In ascending order; a page of a long list is found at once, and all but those in its middle
  /// are added and removed at once.
  using Numbers = std::deque<std::uint64_t>;
  using Listener = std::function<void(const std::vector<StoreEvent>& events)>;

  Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  ~Store();

  /// Fills itself from the file and keeps to it from now on. False, with the reason in `error`,
  /// when it is no store of ours or cannot be written.
  [[nodiscard]] bool open(const std::string& file, std::string& error);
  /// Makes the mailbox, with its distinguished folders, unless it is there. True when it is new.
  bool addMailbox(const std::string& address, const std::string& name);
  /// Who is told of what happened, with every commit.
  void setListener(Listener listener) { listener_ = std::move(listener); }

  [[nodiscard]] std::shared_mutex& mutex() const noexcept { return mutex_; }

  /// Null when nobody has that address, whatever its case.
  [[nodiscard]] const StoreMailbox* mailbox(std::string_view address) const;
  /// 0 when the mailbox has no such folder.
  [[nodiscard]] std::uint64_t distinguished(std::string_view address, std::string_view id) const;
  /// Null when there is none of that number; so are all look-ups.
  [[nodiscard]] const Folder* findFolder(std::uint64_t number) const;
  [[nodiscard]] std::shared_ptr<const Item> findItem(std::uint64_t number) const;
  /// The item that has that attachment.
  [[nodiscard]] std::shared_ptr<const Item> findItemOfAttachment(std::uint64_t number) const;
  /// In the order in which they were made.
  [[nodiscard]] const std::set<std::uint64_t>& foldersIn(std::uint64_t folder) const;
  [[nodiscard]] const Numbers& itemsIn(std::uint64_t folder) const;
  /// Those below, at any depth: parents before their children.
  [[nodiscard]] std::vector<std::uint64_t> foldersBelow(std::uint64_t folder) const;
  [[nodiscard]] bool isBelow(std::uint64_t folder, std::uint64_t ancestor) const;

  /// A number that no object ever had.
  [[nodiscard]] std::uint64_t newNumber() noexcept { return nextNumber_++; }

  /// Stores a new folder below `folder.parent`; answers its number.
  std::uint64_t createFolder(Folder folder);
  /// Puts it in the place of the one with its number.
  void changeFolder(Folder folder);
  void moveFolder(std::uint64_t number, std::uint64_t parent);
  /// With everything below it and in it.
  void removeFolder(std::uint64_t number);

  /// Stores a new item in `item.folder`; answers it as it is stored.
  std::shared_ptr<const Item> createItem(Item item,
                                         StoreEvent::Kind kind = StoreEvent::Kind::created);
  /// Puts it in the place of the one with its number, in the same folder. `changedKeys` are the
  /// paths that it changes.
  std::shared_ptr<const Item> changeItem(Item item, const std::vector<std::string>& changedKeys);
  /// As on the real server a moved item has a new id; answers it as it is stored then.
  std::shared_ptr<const Item> moveItem(std::uint64_t number, std::uint64_t folder);
  void removeItem(std::uint64_t number);

  /// Writes what has changed to the file and tells the listener. Throws when it cannot be written;
  /// then the next commit tries again.
  void commit();

 private:
  friend class Database;

  void insert(Folder folder);
  void insert(std::shared_ptr<const Item> item);
  void erase(const Item& item);
  void forgetAttachments(const Item& item);
  void happened(StoreEvent event);

  mutable std::shared_mutex mutex_;
  std::map<std::string, StoreMailbox, std::less<>> mailboxes_;
  std::map<std::uint64_t, Folder> folders_;
  std::map<std::uint64_t, std::shared_ptr<const Item>> items_;
  std::map<std::uint64_t, std::uint64_t> itemsOfAttachments_;
  std::map<std::uint64_t, std::set<std::uint64_t>> foldersIn_;
  std::map<std::uint64_t, Numbers> itemsIn_;
  std::uint64_t nextNumber_ = 1;

  std::set<std::uint64_t> changedFolders_;
  std::set<std::uint64_t> changedItems_;
  std::vector<StoreEvent> events_;
  Listener listener_;
  std::unique_ptr<Database> database_;
};

}  // namespace tarnwell::sandbox
