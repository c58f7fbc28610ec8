#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// Keyword arguments of a query: field paths, with or without a lookup, and what they are compared
/// to. In the caller's order; a name that comes again replaces the earlier value in its place.
///
///     {{"subject__contains", "report"}, {"size__gt", 1000}, {"categories__in", {"Work", "Home"}}}
class TWKeywords {
 public:
  struct Entry {
    std::string key;
    TWValue value;  ///< may be absent

    Entry(std::string_view name, TWValue operand) : key(name), value(std::move(operand)) {}
    Entry(std::string_view name, std::initializer_list<TWValue> list)
        : key(name), value(TWValue::list(list)) {}
  };
  using const_iterator = std::vector<Entry>::const_iterator;

  TWKeywords() = default;
  TWKeywords(std::initializer_list<Entry> entries) {
    for (const auto& entry : entries) set(entry.key, entry.value);
  }

  /// Unlike a dictionary's, an absent value is kept.
  void set(std::string_view key, TWValue value);
  /// The absent value when there is none of that name.
  [[nodiscard]] const TWValue& get(std::string_view key) const noexcept;
  void remove(std::string_view key);
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  [[nodiscard]] const_iterator begin() const noexcept { return entries_.begin(); }
  [[nodiscard]] const_iterator end() const noexcept { return entries_.end(); }
  /// "{k = v; ...}" in the caller's order.
  [[nodiscard]] std::string description() const;

 private:
  std::vector<Entry> entries_;
};

}  // namespace tarnwell
