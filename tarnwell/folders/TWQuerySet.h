#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/folders/Q.h"
#include "tarnwell/folders/TWKeywords.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWResult.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWCalendarView;
class TWFieldOrder;
class TWFieldPath;
class TWFolder;

/// A search of one folder's items that is built step by step and sent when its results are asked
/// for.
///
///     auto recent =
///         inbox->filter({{"subject__contains", "report"}}).orderBy({"-datetime_received"});
///     const auto found = recent.getItems(&error);
///     if (!found) return report(error);
///     for (const auto& entry : *found)
///       if (const auto item = entry.item()) print(*item);
///
/// A handle: copies mean the same query set, its cached results included. Chaining answers a new
/// one and leaves this one alone (`reverse` excepted). Where chaining fails it answers nothing,
/// which tests false: chaining on it gives nothing again, evaluating it fails with the error that
/// it was made with. Holds its folder. Used by one thread at a time, but for the cached results:
/// those may be looked at while another thread evaluates.
class TWQuerySet {
 public:
  /// All items of the folder. Nothing for null.
  [[nodiscard]] static TWQuerySet withFolder(std::shared_ptr<TWFolder> folder);

  /// False for nothing.
  [[nodiscard]] explicit operator bool() const noexcept { return state_ != nullptr; }
  /// A query set can be written as the pointers of the model are: `inbox->all()->orderBy(...)`.
  TWQuerySet* operator->() noexcept { return this; }
  const TWQuerySet* operator->() const noexcept { return this; }

  /// The same query, not yet evaluated, without page size and limit.
  [[nodiscard]] TWQuerySet copy() const;
  [[nodiscard]] TWQuerySet all() const { return copy(); }
  /// Matches nothing, until it is filtered again; `get` by an id alone is no filter.
  [[nodiscard]] TWQuerySet none() const;
  /// What also matches these; see `Q::withQueries` for the forms. Nothing when they are bad.
  ///
  /// A filter that restricts nothing, such as an "in" with an empty list, matches every item. The
  /// log tells of it; think of it before `delete_`.
  [[nodiscard]] TWQuerySet filter(const TWQueries& queries, const TWKeywords& dict) const;
  [[nodiscard]] TWQuerySet filter(const TWKeywords& dict) const { return filter({}, dict); }
  template <std::same_as<Q> Query>
  [[nodiscard]] TWQuerySet filter(const Query& q) const {
    return filter({TWQueryArgument(q)}, {});
  }
  /// What does not match these. A free-text search cannot be negated, deliberately: what it finds
  /// is then searched for, not left out. The log tells of it; think of it before `delete_`, and
  /// write NOT in its text.
  [[nodiscard]] TWQuerySet exclude(const TWQueries& queries, const TWKeywords& dict) const;
  [[nodiscard]] TWQuerySet exclude(const TWKeywords& dict) const { return exclude({}, dict); }
  template <std::same_as<Q> Query>
  [[nodiscard]] TWQuerySet exclude(const Query& q) const {
    return exclude({TWQueryArgument(q)}, {});
  }
  /// Restricts the result to what a search finds by itself, the id pairs; the fields matter for
  /// shaping. Names that cannot be resolved are left out; the log tells of them.
  [[nodiscard]] TWQuerySet only(const std::vector<std::string>& fields) const;
  /// "-subject" is descending. Names that cannot be resolved are left out; the log tells of them.
  [[nodiscard]] TWQuerySet orderBy(const std::vector<std::string>& orders) const;
  /// Turns every order round, those of this query set too: the orders are shared, deliberately.
  [[nodiscard]] TWQuerySet reverse() const;
  /// For shaping entries with `asValues`. An id pair has no values but "item_id", and a search
  /// for some fields finds nothing but id pairs: fetch them first (`TWFolder::fetch`).
  [[nodiscard]] TWQuerySet values(const std::vector<std::string>& fields) const;
  /// Likewise, by `asValuesList`. The option "flat" (a boolean) asks for single values. The fields
  /// are kept as texts, and resolved when used: one that cannot be has an absent value.
  [[nodiscard]] TWQuerySet valuesList(const std::vector<std::string>& fields,
                                      const TWDictionary& dict = {}) const;

  [[nodiscard]] std::shared_ptr<TWFolder> folder() const;
  /// Null when the query set matches nothing.
  [[nodiscard]] Q q() const;
  /// Field paths or texts; absent when all fields are wanted.
  [[nodiscard]] std::optional<TWList> onlyFields() const;
  [[nodiscard]] std::optional<std::vector<std::shared_ptr<TWFieldOrder>>> orderFields() const;
  /// "none", "values", "values_list" or "flat".
  [[nodiscard]] std::string returnFormat() const;
  [[nodiscard]] std::shared_ptr<TWCalendarView> calendarView() const;
  /// Searches a range of a calendar, whose orders are then applied here rather than by the server.
  /// What the server answers is all there is: such a search has no pages.
  void setCalendarView(std::shared_ptr<TWCalendarView> view);
  /// How many items are asked for at a time; 0: 100.
  [[nodiscard]] int pageSize() const;
  void setPageSize(int pageSize);
  /// Stop after the page that reaches that many; 0: no limit.
  [[nodiscard]] int maxItems() const;
  void setMaxItems(int maxItems);
  /// True once `getItems` has succeeded.
  [[nodiscard]] bool isCached() const;
  /// Fresh paths of "item_id" and "changekey", and those of `onlyFields` that are no attributes.
  [[nodiscard]] std::shared_ptr<TWFieldPath> itemIdField() const;
  [[nodiscard]] std::shared_ptr<TWFieldPath> changeKeyField() const;
  [[nodiscard]] std::vector<std::shared_ptr<TWFieldPath>> additionalFields() const;

  /// Sends the query, whether cached or not. Without `only` and its kin the items are fetched with
  /// all fields, else the id pairs come back. On failure the list is empty and the error set.
  ///
  /// Errors: those of searching and fetching; ErrorValueOutOfRange for nothing.
  [[nodiscard]] TWItemEntries query(TWError* error = nullptr) const;
  /// The results, sent for once and cached; absent on failure.
  [[nodiscard]] std::optional<TWItemEntries> getItems(TWError* error = nullptr) const;
  /// The cached results, or those of a query with that page size, which this query set keeps; they
  /// are not cached.
  [[nodiscard]] TWItemEntries iterator(int pageSize, TWError* error = nullptr) const;
  /// The number of results: of the cached ones, else of a search for ids only (pages of 1,000 when
  /// the page size is 0). 0 on failure.
  std::size_t count(int pageSize, TWError* error = nullptr) const;

  /// Of cached results only. On a query set that is not cached these never reach the server: they
  /// answer 0, false or absent at once, with ErrorValueOutOfRange; nothing with its own error.
  [[deprecated("use count(pageSize, error)")]] std::size_t count(TWError* error) const;
  [[deprecated("use count(pageSize, error)")]] bool exists(TWError* error) const;
  [[deprecated("use count(pageSize, error)")]] std::size_t length(TWError* error) const;
  [[deprecated("use getItems(error)")]] std::optional<TWItemEntry> getItemAtIndex(
      std::size_t index, TWError* error) const;
  [[deprecated("use getItems(error)")]] TWItemEntries getItemsInRange(std::size_t location,
                                                                      std::size_t length,
                                                                      TWError* error) const;

  /// The first of the items that match; absent, without an error, when none does. A search for
  /// exactly "item_id", or "item_id" and "changekey", fetches that item without searching. An error
  /// that came in the first item's place is reported. From `none` only another filter gets one.
  [[nodiscard]] std::optional<TWItemEntry> get(const TWQueries& queries, const TWKeywords& dict,
                                               TWError* error = nullptr) const;
  [[nodiscard]] std::optional<TWItemEntry> get(const TWKeywords& dict,
                                               TWError* error = nullptr) const {
    return get({}, dict, error);
  }
  [[nodiscard]] std::optional<TWItemEntry> get(TWError* error = nullptr) const {
    return get({}, {}, error);
  }

  /// Deletes the items for good; meetings are not cancelled and no read receipts are sent. Mind
  /// that a query without restriction deletes everything in the folder. Drops the cache. Absent
  /// on failure, and when there was nothing to delete.
  std::optional<TWResults<bool>> delete_(int pageSize, TWError* error = nullptr) const;

  /// The results in another shape, for the fields that `only`, `values` or `valuesList` named. What
  /// is an error or an id pair has no values but "item_id".
  ///
  /// When only attributes ("item_id", "changekey") were asked for, all give the id alone, even when
  /// the change key was asked for, deliberately.
  [[nodiscard]] TWItemEntries asItems(const TWItemEntries& entries) const;
  /// Path texts to values, without the absent ones.
  [[nodiscard]] std::vector<TWDictionary> asValues(const TWItemEntries& entries) const;
  /// Values in the order of the fields.
  [[nodiscard]] std::vector<TWList> asValuesList(const TWItemEntries& entries) const;
  /// The values of the first field.
  [[nodiscard]] TWList asFlatValuesList(const TWItemEntries& entries) const;

  /// Walks the results of `getItems`, which it keeps. A failure ends the walk at once and is
  /// logged; call `getItems` to see it.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = TWItemEntry;
    using difference_type = std::ptrdiff_t;
    using pointer = const TWItemEntry*;
    using reference = const TWItemEntry&;

    Iterator() = default;
    [[nodiscard]] reference operator*() const { return (*entries_)[at_]; }
    [[nodiscard]] pointer operator->() const { return &**this; }
    Iterator& operator++() {
      if (++at_ == entries_->size()) entries_.reset();
      return *this;
    }
    Iterator operator++(int) {
      auto before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return a.entries_ == b.entries_ && (!a.entries_ || a.at_ == b.at_);
    }

   private:
    friend class TWQuerySet;
    explicit Iterator(TWItemEntries entries)
        : entries_(entries.empty() ? nullptr
                                   : std::make_shared<const TWItemEntries>(std::move(entries))) {}
    std::shared_ptr<const TWItemEntries> entries_;  ///< null at the end
    std::size_t at_ = 0;
  };
  [[nodiscard]] Iterator begin() const;
  [[nodiscard]] Iterator end() const { return {}; }

 private:
  struct State;
  using Cache = std::shared_ptr<const TWItemEntries>;  ///< null: not cached
  TWQuerySet() = default;
  [[nodiscard]] static TWQuerySet nothing(TWError error);
  [[nodiscard]] TWQuerySet with(const Q& q, const TWQueries& queries, const TWKeywords& dict) const;
  [[nodiscard]] std::shared_ptr<TWFieldPath> path(const TWValue& text,
                                                  TWError* error = nullptr) const;
  [[nodiscard]] std::vector<std::shared_ptr<TWFieldPath>> onlyPaths() const;
  [[nodiscard]] bool wantsOnlyAttributes() const;
  /// A search for the ids of what this one matches.
  [[nodiscard]] TWQuerySet forIds(int pageSize) const;
  [[nodiscard]] std::optional<TWItemEntries> fetchById(const TWKeywords& dict,
                                                       TWError* error) const;
  [[nodiscard]] Cache cached() const;
  void setCached(Cache cache) const;

  std::shared_ptr<State> state_;  ///< null for nothing
  TWError failure_;               ///< why it is nothing
};

}  // namespace tarnwell
