#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include <sqlite3.h>

namespace tarnwell::sandbox {

class Store;

/// The SQLite file behind a store.
class Database {
 public:
  /// Opens or makes the file and fills the store, which must be empty, from it. Null, with the
  /// reason in `error`, when that cannot be.
  [[nodiscard]] static std::unique_ptr<Database> open(const std::string& file, Store& store,
                                                      std::string& error);

  /// Brings these folders and items of the file to what the store has; those that it does not have
  /// go. When it returns, they survive a crash. Throws when they cannot be written; then nothing
  /// is.
  void write(const Store& store, const std::set<std::uint64_t>& folders,
             const std::set<std::uint64_t>& items);

 private:
  struct Close {
    void operator()(sqlite3* handle) const noexcept { sqlite3_close(handle); }
  };

  explicit Database(sqlite3* handle) : handle_(handle) {}

  void execute(const char* sql);
  void load(Store& store);
  void loadItems(Store& store);
  void writeFolder(const Store& store, std::uint64_t number);
  void writeItem(const Store& store, std::uint64_t number);

  std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace tarnwell::sandbox
