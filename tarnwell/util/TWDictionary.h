#pragma once

#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// Names to values, in the order in which they were first set.
///
/// Meant for the few dozen entries of a user info, a filter or an object's properties: looking up
/// walks the entries. Setting an absent value changes nothing; clearing is an explicit `remove`.
///
///     TWDictionary options{{"subject", "Report"}, {"size", 12}};
class TWDictionary {
 public:
  using Entry = std::pair<std::string, TWValue>;
  using const_iterator = std::vector<Entry>::const_iterator;

  TWDictionary() = default;
  /// The last of several entries with one name wins; entries with absent values are left out.
  TWDictionary(std::initializer_list<Entry> entries);

  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  [[nodiscard]] const_iterator begin() const noexcept { return entries_.begin(); }
  [[nodiscard]] const_iterator end() const noexcept { return entries_.end(); }
  [[nodiscard]] bool contains(std::string_view name) const noexcept {
    return find(name) != nullptr;
  }
  [[nodiscard]] std::vector<std::string> allKeys() const;

  /// The value of that name, or the absent value.
  [[nodiscard]] const TWValue& get(std::string_view name) const& noexcept;
  [[nodiscard]] const TWValue& operator[](std::string_view name) const& noexcept {
    return get(name);
  }
  /// A copy of the value, since a dictionary that is not kept takes its values along.
  [[nodiscard]] TWValue get(std::string_view name) const&&;
  [[nodiscard]] TWValue operator[](std::string_view name) const&& {
    return static_cast<const TWDictionary&>(*this).get(name);
  }
  /// Stores the value in its place, or at the end when the name is new. Does nothing when the value
  /// is absent: an existing entry stays as it is.
  void set(std::string_view name, TWValue value);
  /// `set` for a name that may be missing too: stores only when both are present.
  void setSafeObject(TWValue value, std::optional<std::string_view> forKey) {
    if (forKey) set(*forKey, std::move(value));
  }
  void remove(std::string_view name);
  void clear() noexcept { entries_.clear(); }

  /// "{k = v; ...}" in the order of the keys.
  [[nodiscard]] std::string description() const;
  /// Same names with equal values, in any order.
  [[nodiscard]] bool isEqual(const TWDictionary& other) const;
  friend bool operator==(const TWDictionary& a, const TWDictionary& b) { return a.isEqual(b); }
  friend std::ostream& operator<<(std::ostream& stream, const TWDictionary& dictionary);
  [[nodiscard]] std::size_t hash() const;

 private:
  [[nodiscard]] const TWValue* find(std::string_view name) const noexcept;
  std::vector<Entry> entries_;
};

}  // namespace tarnwell
