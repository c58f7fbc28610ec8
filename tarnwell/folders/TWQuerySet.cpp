#include "tarnwell/folders/TWQuerySet.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/detail/ValueOrder.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"

namespace tarnwell {

using Paths = std::vector<std::shared_ptr<TWFieldPath>>;
using Orders = std::vector<std::shared_ptr<TWFieldOrder>>;

struct TWQuerySet::State {
  std::shared_ptr<TWFolder> folder;
  Q q;
  std::optional<TWList> onlyFields;
  std::optional<Orders> orderFields;
  std::string returnFormat = "none";
  std::shared_ptr<TWCalendarView> calendarView;
  int pageSize = 0;
  int maxItems = 0;
  mutable std::mutex mutex;  // guards what follows
  Cache cache;
};

namespace {

constexpr int kCountingPageSize = 1000;

TWError notCached(std::string_view operation) {
  return {TWErrorCode::ErrorValueOutOfRange,
          formatMessage("%@ never reaches the server. Use count(pageSize, error)", {operation})};
}

/// The value of a path in an entry; an id pair and an error have none, and null stands for a text
/// that is no path.
TWValue valueIn(const TWItemEntry& entry, const std::shared_ptr<TWFieldPath>& path) {
  const auto item = entry.item();
  return item && path ? path->getValue(*item) : TWValue();
}

/// @param folder  null: nobody's.
void logLine(const TWFolder* folder, std::string_view format,
             std::initializer_list<TWValue> values) {
  const auto account = folder == nullptr ? nullptr : folder->account();
  TWLogger::logger().rlog("[%@] %@", {account ? TWValue(account->logName()) : TWValue(),
                                      formatMessage(format, values)});
}

}  // namespace

TWQuerySet TWQuerySet::nothing(TWError error) {
  TWQuerySet set;
  set.failure_ = std::move(error);
  return set;
}

TWQuerySet TWQuerySet::withFolder(std::shared_ptr<TWFolder> folder) {
  if (!folder) return nothing({TWErrorCode::ErrorValueOutOfRange, "Query set must have a folder"});
  TWQuerySet set;
  set.state_ = std::make_shared<State>();
  set.state_->folder = std::move(folder);
  return set;
}

TWQuerySet TWQuerySet::copy() const {
  if (!state_) return *this;
  auto set = withFolder(state_->folder);
  // The very same query and orders, not copies of them.
  set.state_->q = state_->q;
  set.state_->onlyFields = state_->onlyFields;
  set.state_->orderFields = state_->orderFields;
  set.state_->returnFormat = state_->returnFormat;
  set.state_->calendarView = state_->calendarView;
  return set;
}

TWQuerySet TWQuerySet::none() const {
  auto set = copy();
  if (set) set.state_->q = nullptr;
  return set;
}

TWQuerySet TWQuerySet::with(const Q& q, const TWQueries& queries, const TWKeywords& dict) const {
  if (q.isEmpty() && (!queries.empty() || !dict.empty()))
    logLine(state_->folder.get(), "A query restricts nothing: %@", {dict.description()});
  auto set = copy();
  TWError error;
  set.state_->q = set.state_->q ? set.state_->q.qAnd(q, &error) : q;
  return set.state_->q ? set : nothing(error);
}

TWQuerySet TWQuerySet::filter(const TWQueries& queries, const TWKeywords& dict) const {
  if (!state_) return *this;
  TWError error;
  const auto q = Q::withQueries(queries, dict, &error);
  return q ? with(q, queries, dict) : nothing(error);
}

TWQuerySet TWQuerySet::exclude(const TWQueries& queries, const TWKeywords& dict) const {
  if (!state_) return *this;
  TWError error;
  auto q = Q::withQueries(queries, dict, &error);
  if (const auto text = q.queryString())
    logLine(state_->folder.get(), "A query string is not negated: %@", {text});
  if (q) q = q.qNot(&error);
  return q ? with(q, queries, dict) : nothing(error);
}

std::shared_ptr<TWFieldPath> TWQuerySet::path(const TWValue& text, TWError* error) const {
  return TWFieldPath::fromString(text, *state_->folder, false, error);
}

TWQuerySet TWQuerySet::only(const std::vector<std::string>& fields) const {
  auto set = copy();
  if (!set) return set;
  TWList paths;
  for (const auto& field : fields) {
    TWError error;
    if (auto resolved = path(field, &error))
      paths.emplace_back(std::move(resolved));
    else
      logLine(state_->folder.get(), "Field %@ is left out: %@", {field, error.message()});
  }
  set.state_->onlyFields = std::move(paths);
  return set;
}

TWQuerySet TWQuerySet::orderBy(const std::vector<std::string>& orders) const {
  auto set = copy();
  if (!set) return set;
  Orders resolved;
  for (const auto& order : orders) {
    TWError error;
    if (auto each = TWFieldOrder::fromString(order, *state_->folder, false, &error))
      resolved.push_back(std::move(each));
    else
      logLine(state_->folder.get(), "Order %@ is left out: %@", {order, error.message()});
  }
  set.state_->orderFields = std::move(resolved);
  return set;
}

TWQuerySet TWQuerySet::reverse() const {
  auto set = copy();
  if (set && set.state_->orderFields)
    for (const auto& order : *set.state_->orderFields) order->setReverse(!order->reverse());
  return set;
}

TWQuerySet TWQuerySet::values(const std::vector<std::string>& fields) const {
  auto set = only(fields);
  if (set) set.state_->returnFormat = "values";
  return set;
}

TWQuerySet TWQuerySet::valuesList(const std::vector<std::string>& fields,
                                  const TWDictionary& dict) const {
  auto set = only(fields);
  if (!set) return set;
  set.state_->returnFormat = dict["flat"].asBool().value_or(false) ? "flat" : "values_list";
  // The texts themselves, not the paths that they stand for, deliberately.
  set.state_->onlyFields = TWList(fields.begin(), fields.end());
  return set;
}

std::shared_ptr<TWFolder> TWQuerySet::folder() const { return state_ ? state_->folder : nullptr; }
Q TWQuerySet::q() const { return state_ ? state_->q : Q(nullptr); }
std::optional<TWList> TWQuerySet::onlyFields() const {
  return state_ ? state_->onlyFields : std::nullopt;
}
std::optional<Orders> TWQuerySet::orderFields() const {
  return state_ ? state_->orderFields : std::nullopt;
}
std::string TWQuerySet::returnFormat() const {
  return state_ ? state_->returnFormat : std::string();
}
std::shared_ptr<TWCalendarView> TWQuerySet::calendarView() const {
  return state_ ? state_->calendarView : nullptr;
}
void TWQuerySet::setCalendarView(std::shared_ptr<TWCalendarView> view) {
  if (state_) state_->calendarView = std::move(view);
}
int TWQuerySet::pageSize() const { return state_ ? state_->pageSize : 0; }
void TWQuerySet::setPageSize(int pageSize) {
  if (state_) state_->pageSize = pageSize;
}
int TWQuerySet::maxItems() const { return state_ ? state_->maxItems : 0; }
void TWQuerySet::setMaxItems(int maxItems) {
  if (state_) state_->maxItems = maxItems;
}
bool TWQuerySet::isCached() const { return cached() != nullptr; }

TWQuerySet::Cache TWQuerySet::cached() const {
  if (!state_) return nullptr;
  const std::scoped_lock lock(state_->mutex);
  return state_->cache;
}
void TWQuerySet::setCached(Cache cache) const {
  const std::scoped_lock lock(state_->mutex);
  state_->cache.swap(cache);  // the earlier results go after the lock
}

std::shared_ptr<TWFieldPath> TWQuerySet::itemIdField() const {
  return state_ ? path("item_id") : nullptr;
}
std::shared_ptr<TWFieldPath> TWQuerySet::changeKeyField() const {
  return state_ ? path("changekey") : nullptr;
}

Paths TWQuerySet::onlyPaths() const {
  Paths paths;
  if (!state_ || !state_->onlyFields) return paths;
  for (const auto& field : *state_->onlyFields) {
    auto resolved = field.asObject<TWFieldPath>();
    if (!resolved) resolved = path(field);
    paths.push_back(std::move(resolved));
  }
  return paths;
}

Paths TWQuerySet::additionalFields() const {
  auto paths = onlyPaths();
  std::erase_if(paths, [](const auto& path) { return !path || path->field()->isAttribute(); });
  return paths;
}

TWItemEntries TWQuerySet::query(TWError* error) const {
  if (!state_) {
    setError(error, failure_);
    return {};
  }
  if (!state_->q) return {};
  const State& state = *state_;
  // Fields that were asked for by name are never fetched, deliberately: the id pairs are the
  // result.
  const bool fetches = !state.onlyFields;
  Paths fields = additionalFields();
  if (fetches)
    for (const auto& field : state.folder->allowedFields())
      fields.push_back(TWFieldPath::withField(field));
  // A calendar view cannot be ordered by the server.
  const bool sortsHere = state.calendarView && state.orderFields;
  if (sortsHere)
    for (const auto& order : *state.orderFields) fields.push_back(order->fieldPath());

  TWError failure;
  TWFindItemsOptions options;
  if (!sortsHere && state.orderFields) options.orderFields = *state.orderFields;
  options.calendarView = state.calendarView;
  options.pageSize = state.pageSize;
  options.maxItems = state.maxItems;
  auto entries = state.folder->findItems(state.q, options, &failure);
  if (!failure && fetches && !entries.empty())
    entries = state.folder->fetch(entries, TWList(fields.begin(), fields.end()), &failure)
                  .value_or(TWItemEntries());
  if (failure) {
    setError(error, failure);
    return {};
  }
  if (!sortsHere) return entries;
  // Every order sorts the whole list, so the last one decides first, deliberately.
  for (const auto& order : *state.orderFields)
    std::ranges::stable_sort(entries, [&](const TWItemEntry& a, const TWItemEntry& b) {
      const auto first = valueIn(a, order->fieldPath());
      const auto second = valueIn(b, order->fieldPath());
      return order->reverse() ? detail::isBefore(second, first) : detail::isBefore(first, second);
    });
  // They were fetched for sorting only, even when they had been asked for by name, deliberately.
  for (const auto& order : *state.orderFields)
    for (const auto& entry : entries)
      if (const auto item = entry.item()) item->remove(order->fieldPath()->field()->name());
  return entries;
}

std::optional<TWItemEntries> TWQuerySet::getItems(TWError* error) const {
  if (const auto cache = cached()) return *cache;
  TWError failure;
  auto entries = query(&failure);
  if (failure) {
    setError(error, failure);
    return std::nullopt;
  }
  setCached(std::make_shared<const TWItemEntries>(entries));
  return entries;
}

TWItemEntries TWQuerySet::iterator(int pageSize, TWError* error) const {
  if (state_ && !state_->q) return {};
  if (const auto cache = cached()) return *cache;
  if (state_) state_->pageSize = pageSize;
  return query(error);
}

TWQuerySet TWQuerySet::forIds(int pageSize) const {
  auto set = copy();
  if (!set) return set;
  set.state_->onlyFields = TWList();
  set.state_->orderFields.reset();
  set.state_->returnFormat = "none";
  set.state_->pageSize = pageSize;
  return set;
}

std::size_t TWQuerySet::count(int pageSize, TWError* error) const {
  if (const auto cache = cached()) return cache->size();
  const auto ids = forIds(pageSize == 0 ? kCountingPageSize : pageSize).getItems(error);
  return ids ? ids->size() : 0;
}

std::size_t TWQuerySet::count(TWError* error) const {
  if (const auto cache = cached()) return cache->size();
  setError(error, state_ ? notCached("count(error)") : failure_);
  return 0;
}

bool TWQuerySet::exists(TWError* error) const {
  if (const auto cache = cached()) return !cache->empty();
  setError(error, state_ ? notCached("exists(error)") : failure_);
  return false;
}

std::size_t TWQuerySet::length(TWError* error) const {
  if (const auto cache = cached()) return cache->size();
  setError(error, state_ ? notCached("length(error)") : failure_);
  return 0;
}

std::optional<TWItemEntry> TWQuerySet::getItemAtIndex(std::size_t index, TWError* error) const {
  if (const auto cache = cached())
    return index < cache->size() ? std::optional((*cache)[index]) : std::nullopt;
  setError(error, state_ ? notCached("getItemAtIndex") : failure_);
  return std::nullopt;
}

TWItemEntries TWQuerySet::getItemsInRange(std::size_t location, std::size_t length,
                                          TWError* error) const {
  const auto cache = cached();
  if (!cache) {
    setError(error, state_ ? notCached("getItemsInRange") : failure_);
    return {};
  }
  const auto first = std::min(location, cache->size());
  const auto last = first + std::min(length, cache->size() - first);
  return {cache->begin() + static_cast<std::ptrdiff_t>(first),
          cache->begin() + static_cast<std::ptrdiff_t>(last)};
}

std::optional<TWItemEntries> TWQuerySet::fetchById(const TWKeywords& dict, TWError* error) const {
  const auto account = state_->folder->account();
  const auto version = account ? account->version() : std::nullopt;
  TWIdPair pair;
  for (const auto& [key, value] : dict) {
    const auto field = path(key, error);
    if (!field) return std::nullopt;
    TWError failure;
    const auto text = field->field()->clean(value, version ? &*version : nullptr, &failure);
    if (failure) {
      setError(error, failure);
      return std::nullopt;
    }
    if (key == "item_id")
      pair.id = text.asText().value_or("");
    else
      pair.changekey = text.asText();
  }
  return state_->folder->fetch({pair}, state_->onlyFields, error);
}

std::optional<TWItemEntry> TWQuerySet::get(const TWQueries& queries, const TWKeywords& dict,
                                           TWError* error) const {
  if (!state_) {
    setError(error, failure_);
    return std::nullopt;
  }
  const auto isNamed = [&](std::size_t at, std::string_view name) {
    return (dict.begin() + static_cast<std::ptrdiff_t>(at))->key == name;
  };
  const bool isBare = queries.empty() && dict.empty();
  const bool isById = queries.empty() && !dict.empty() && dict.size() <= 2 &&
                      isNamed(0, "item_id") && (dict.size() == 1 || isNamed(1, "changekey"));
  // Neither is another filter, which would let this one match again.
  if (!state_->q && (isBare || isById)) return std::nullopt;
  TWError failure;
  std::optional<TWItemEntries> entries;
  const auto cache = isBare ? cached() : nullptr;
  if (cache) {
    entries = *cache;
  } else if (isById) {
    entries = fetchById(dict, &failure);
  } else {
    entries = filter(queries, dict).getItems(&failure);
  }
  if (!failure && entries && !entries->empty()) failure = entries->front().error();
  if (failure) {
    setError(error, failure);
    return std::nullopt;
  }
  if (!entries || entries->empty()) return std::nullopt;
  return entries->front();
}

std::optional<TWResults<bool>> TWQuerySet::delete_(int pageSize, TWError* error) const {
  if (!state_) {
    setError(error, failure_);
    return std::nullopt;
  }
  const auto account = state_->folder->account();
  if (!account) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, "Folder must have an account"});
    return std::nullopt;
  }
  auto entries = cached();
  if (!entries) {
    auto ids = forIds(pageSize).getItems(error);
    if (!ids) return std::nullopt;
    entries = std::make_shared<const TWItemEntries>(*std::move(ids));
  }
  auto results =
      account->bulkDelete(*entries, "HardDelete", "SendToNone", "AllOccurrences", true, error);
  setCached(nullptr);
  return results;
}

bool TWQuerySet::wantsOnlyAttributes() const {
  if (!state_ || !state_->onlyFields) return false;
  // Names of no field count neither way; alone they ask for nothing that an id pair has.
  auto paths = onlyPaths();
  if (paths.empty()) return true;
  std::erase(paths, nullptr);
  return !paths.empty() &&
         std::ranges::all_of(paths, [](const auto& path) { return path->field()->isAttribute(); });
}

TWItemEntries TWQuerySet::asItems(const TWItemEntries& entries) const {
  if (!wantsOnlyAttributes()) return entries;
  TWItemEntries items;
  for (const auto& entry : entries) {
    const auto pair = entry.idPair();
    // Paths are compared by identity, so that the change key never counts as asked for.
    if (pair)
      items.emplace_back(TWItem::withDict({{"item_id", pair->id}}));
    else
      items.push_back(entry);
  }
  return items;
}

std::vector<TWDictionary> TWQuerySet::asValues(const TWItemEntries& entries) const {
  std::vector<TWDictionary> all;
  const auto paths = onlyPaths();
  const bool onlyIds = wantsOnlyAttributes();
  for (const auto& entry : entries) {
    auto& values = all.emplace_back();
    if (onlyIds) {
      if (const auto pair = entry.idPair()) values.set("item_id", pair->id);
      continue;
    }
    for (const auto& path : paths)
      if (path) values.set(path->path(), valueIn(entry, path));
  }
  return all;
}

std::vector<TWList> TWQuerySet::asValuesList(const TWItemEntries& entries) const {
  std::vector<TWList> all;
  const auto paths = onlyPaths();
  const bool onlyIds = wantsOnlyAttributes();
  for (const auto& entry : entries) {
    auto& values = all.emplace_back();
    if (onlyIds) {
      const auto pair = entry.idPair();
      if (!pair) continue;
      // The id once, however many attributes were asked for, in the place of the first.
      bool hasId = false;
      for (const auto& path : paths) {
        if (!path) values.emplace_back();
        if (path && !std::exchange(hasId, true)) values.emplace_back(pair->id);
      }
      if (!hasId) values.emplace_back(pair->id);
      continue;
    }
    for (const auto& path : paths) values.push_back(valueIn(entry, path));
  }
  return all;
}

TWList TWQuerySet::asFlatValuesList(const TWItemEntries& entries) const {
  TWList values;
  const auto paths = onlyPaths();
  if (paths.empty()) return values;
  for (const auto& entry : entries) values.push_back(valueIn(entry, paths.front()));
  return values;
}

TWQuerySet::Iterator TWQuerySet::begin() const {
  TWError error;
  auto entries = getItems(&error);
  if (!entries) {
    logLine(folder().get(), "Query failed: %@", {error.description()});
    return {};
  }
  return Iterator(*std::move(entries));
}

}  // namespace tarnwell
