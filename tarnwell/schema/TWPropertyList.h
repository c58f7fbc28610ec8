#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// The properties of an element, in the order in which they were first set.
///
/// Unlike a dictionary it does not own the names: those of fields live in their fields, others are
/// kept once for the process. An item of a large answer has some forty of them.
class TWPropertyList {
 public:
  using Entry = std::pair<std::string_view, TWValue>;

  [[nodiscard]] auto begin() const noexcept { return entries_.begin(); }
  [[nodiscard]] auto end() const noexcept { return entries_.end(); }
  [[nodiscard]] const TWValue& get(std::string_view name) const noexcept;
  /// An absent value changes nothing, nor does an empty name.
  void set(std::string_view name, TWValue value);
  /// The same for a name that lives as long as the process, as that of a field does.
  void setField(std::string_view fieldName, TWValue value);
  /// The same for the name of a field that has no entry yet; not looked at again.
  void addField(std::string_view fieldName, TWValue&& value);
  void reserve(std::size_t count) { entries_.reserve(count); }
  void remove(std::string_view name);
  [[nodiscard]] std::vector<std::string> allKeys() const;
  [[nodiscard]] TWDictionary asDictionary() const;

 private:
  /// False when there is no entry of that name to take the value.
  bool replace(std::string_view name, TWValue& value);
  std::vector<Entry> entries_;
};

}  // namespace tarnwell
