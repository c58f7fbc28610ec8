#include "sandbox/store/Database.h"

#include <limits>
#include <stdexcept>

#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {
namespace {

constexpr int kApplicationId = 0x5457534D;
constexpr int kFormat = 1;
constexpr const char* kTables =
    "CREATE TABLE folders (number INTEGER PRIMARY KEY, parent INTEGER, version INTEGER,"
    " mailbox TEXT, distinguished TEXT, name TEXT, class TEXT, extended TEXT);"
    "CREATE TABLE items (number INTEGER PRIMARY KEY, folder INTEGER, version INTEGER,"
    " content TEXT, changed TEXT);"
    "CREATE TABLE attachments (number INTEGER PRIMARY KEY, item INTEGER, position INTEGER,"
    " description TEXT, content TEXT, nested TEXT);"
    "CREATE INDEX attachments_of_items ON attachments (item);"
    "CREATE TABLE counter (next INTEGER);"
    "INSERT INTO counter VALUES (1);";

/// A prepared statement, its parameters bound one after the other.
class Statement {
 public:
  Statement(sqlite3* handle, const char* sql) : handle_(handle) {
    if (sqlite3_prepare_v2(handle, sql, -1, &statement_, nullptr) != SQLITE_OK) fail();
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { sqlite3_finalize(statement_); }

  Statement& bind(std::uint64_t number) {
    if (sqlite3_bind_int64(statement_, ++bound_, static_cast<std::int64_t>(number)) != SQLITE_OK) {
      fail();
    }
    return *this;
  }
  Statement& bind(const std::string& text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) ||
        sqlite3_bind_text(statement_, ++bound_, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK) {
      fail();
    }
    return *this;
  }
  /// False when there is no further row.
  bool step() {
    const int code = sqlite3_step(statement_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail();
    column_ = 0;
    return code == SQLITE_ROW;
  }
  std::uint64_t number() {
    return static_cast<std::uint64_t>(sqlite3_column_int64(statement_, column_++));
  }
  std::string text() {
    const auto* const data =
        reinterpret_cast<const char*>(sqlite3_column_text(statement_, column_));
    const int size = sqlite3_column_bytes(statement_, column_++);
    return data == nullptr ? std::string() : std::string(data, static_cast<std::size_t>(size));
  }

 private:
  [[noreturn]] void fail() const { throw std::runtime_error(sqlite3_errmsg(handle_)); }

  sqlite3* handle_;
  sqlite3_stmt* statement_ = nullptr;
  int bound_ = 0;
  int column_ = 0;
};

/// Several nodes, or texts with numbers, as one text.
std::string listText(const std::vector<Node>& nodes) {
  Node list{"List"};
  list.children = nodes;
  return nodeText(list);
}

std::string changedText(const std::map<std::string, std::uint64_t>& changed) {
  Node list{"Changed"};
  for (const auto& [key, version] : changed) {
    list.children.push_back({"Path", {{"Version", std::to_string(version)}}, key});
  }
  return nodeText(list);
}

}  // namespace

std::unique_ptr<Database> Database::open(const std::string& file, Store& store,
                                         std::string& error) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open(file.c_str(), &handle);
  std::unique_ptr<Database> database(new Database(handle));
  try {
    if (code != SQLITE_OK) {
      throw std::runtime_error(handle == nullptr ? "no memory" : sqlite3_errmsg(handle));
    }
    // Two programs on one file would not see each other's changes.
    database->execute(
        "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL;"
        "PRAGMA synchronous=FULL; BEGIN EXCLUSIVE; COMMIT;");
    database->load(store);
  } catch (const std::exception& problem) {
    error = "cannot use the store " + file + ": " + problem.what();
    return nullptr;
  }
  return database;
}

void Database::execute(const char* sql) {
  if (sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(handle_.get()));
  }
}

void Database::load(Store& store) {
  const auto pragma = [this](const char* sql) {
    Statement statement(handle_.get(), sql);
    statement.step();
    return statement.number();
  };
  if (pragma("SELECT count(*) FROM sqlite_master") == 0) {
    execute("BEGIN");
    execute(kTables);
    execute(("PRAGMA application_id=" + std::to_string(kApplicationId)).c_str());
    execute(("PRAGMA user_version=" + std::to_string(kFormat)).c_str());
    execute("COMMIT");
  }
  if (pragma("PRAGMA application_id") != kApplicationId) {
    throw std::runtime_error("it is no store of this program");
  }
  if (pragma("PRAGMA user_version") != kFormat) {
    throw std::runtime_error("another version of this program made it");
  }

  Statement folders(handle_.get(),
                    "SELECT number, parent, version, mailbox, distinguished, name, class, extended"
                    " FROM folders");
  while (folders.step()) {
    Folder folder;
    folder.number = folders.number();
    folder.parent = folders.number();
    folder.version = folders.number();
    folder.mailbox = folders.text();
    folder.distinguishedId = folders.text();
    folder.name = folders.text();
    folder.folderClass = folders.text();
    folder.extendedProperties = nodeFromText(folders.text()).children;
    store.insert(std::move(folder));
  }
  loadItems(store);
  store.nextNumber_ = pragma("SELECT next FROM counter");
  store.changedFolders_.clear();
  store.changedItems_.clear();
}

void Database::loadItems(Store& store) {
  Statement items(handle_.get(), "SELECT number, folder, version, content, changed FROM items");
  while (items.step()) {
    Item item;
    item.number = items.number();
    item.folder = items.number();
    item.version = items.number();
    item.content = nodeFromText(items.text());
    for (const Node& path : nodeFromText(items.text()).children) {
      item.changed[path.text] = std::stoull(path.attribute("Version"));
    }
    Statement attachments(handle_.get(),
                          "SELECT number, description, content, nested FROM attachments"
                          " WHERE item=? ORDER BY position, number");
    attachments.bind(item.number);
    while (attachments.step()) {
      Attachment attachment;
      attachment.number = attachments.number();
      attachment.description = nodeFromText(attachments.text());
      attachment.content = attachments.text();
      if (const std::string nested = attachments.text(); !nested.empty()) {
        attachment.item = nodeFromText(nested);
      }
      item.attachments.push_back(std::make_shared<const Attachment>(std::move(attachment)));
    }
    store.insert(std::make_shared<const Item>(std::move(item)));
  }
}

void Database::write(const Store& store, const std::set<std::uint64_t>& folders,
                     const std::set<std::uint64_t>& items) {
  execute("BEGIN");
  try {
    // What is gone goes first: a moved item takes its attachments with it.
    for (const std::uint64_t number : items) {
      if (store.findItem(number)) continue;
      Statement(handle_.get(), "DELETE FROM attachments WHERE item=?").bind(number).step();
      Statement(handle_.get(), "DELETE FROM items WHERE number=?").bind(number).step();
    }
    for (const std::uint64_t number : items) writeItem(store, number);
    for (const std::uint64_t number : folders) writeFolder(store, number);
    Statement(handle_.get(), "UPDATE counter SET next=?").bind(store.nextNumber_).step();
    execute("COMMIT");
  } catch (const std::exception&) {
    sqlite3_exec(handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
}

void Database::writeFolder(const Store& store, std::uint64_t number) {
  const Folder* folder = store.findFolder(number);
  if (folder == nullptr) {
    Statement(handle_.get(), "DELETE FROM folders WHERE number=?").bind(number).step();
    return;
  }
  Statement(handle_.get(), "INSERT OR REPLACE INTO folders VALUES (?, ?, ?, ?, ?, ?, ?, ?)")
      .bind(folder->number)
      .bind(folder->parent)
      .bind(folder->version)
      .bind(folder->mailbox)
      .bind(folder->distinguishedId)
      .bind(folder->name)
      .bind(folder->folderClass)
      .bind(listText(folder->extendedProperties))
      .step();
}

void Database::writeItem(const Store& store, std::uint64_t number) {
  const std::shared_ptr<const Item> item = store.findItem(number);
  if (!item) return;
  Statement(handle_.get(), "INSERT OR REPLACE INTO items VALUES (?, ?, ?, ?, ?)")
      .bind(item->number)
      .bind(item->folder)
      .bind(item->version)
      .bind(nodeText(item->content))
      .bind(changedText(item->changed))
      .step();
  // Attachments never change, so those that are written already need not be written again.
  std::set<std::uint64_t> written;
  Statement known(handle_.get(), "SELECT number FROM attachments WHERE item=?");
  known.bind(number);
  while (known.step()) written.insert(known.number());
  for (std::size_t i = 0; i < item->attachments.size(); ++i) {
    const Attachment& attachment = *item->attachments[i];
    if (written.erase(attachment.number) > 0) continue;
    Statement(handle_.get(), "INSERT INTO attachments VALUES (?, ?, ?, ?, ?, ?)")
        .bind(attachment.number)
        .bind(number)
        .bind(std::uint64_t{i})
        .bind(nodeText(attachment.description))
        .bind(attachment.content)
        .bind(attachment.item ? nodeText(*attachment.item) : std::string())
        .step();
  }
  for (const std::uint64_t gone : written) {
    Statement(handle_.get(), "DELETE FROM attachments WHERE number=?").bind(gone).step();
  }
}

}  // namespace tarnwell::sandbox
