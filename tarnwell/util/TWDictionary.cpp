#include "tarnwell/util/TWDictionary.h"

#include <algorithm>
#include <ostream>

namespace tarnwell {

TWDictionary::TWDictionary(std::initializer_list<Entry> entries) {
  entries_.reserve(entries.size());
  for (const Entry& entry : entries) set(entry.first, entry.second);
}

std::vector<std::string> TWDictionary::allKeys() const {
  std::vector<std::string> keys;
  keys.reserve(entries_.size());
  for (const Entry& entry : entries_) keys.push_back(entry.first);
  return keys;
}

const TWValue* TWDictionary::find(std::string_view name) const noexcept {
  const auto found = std::ranges::find(entries_, name, &Entry::first);
  return found == entries_.end() ? nullptr : &found->second;
}

const TWValue& TWDictionary::get(std::string_view name) const& noexcept {
  static const TWValue kAbsent;
  const TWValue* value = find(name);
  return value ? *value : kAbsent;
}

TWValue TWDictionary::get(std::string_view name) const&& {
  return static_cast<const TWDictionary&>(*this).get(name);
}

void TWDictionary::set(std::string_view name, TWValue value) {
  if (value.isAbsent()) return;
  const auto found = std::ranges::find(entries_, name, &Entry::first);
  if (found == entries_.end())
    entries_.emplace_back(std::string(name), std::move(value));
  else
    found->second = std::move(value);
}

void TWDictionary::remove(std::string_view name) {
  std::erase_if(entries_, [name](const Entry& entry) { return entry.first == name; });
}

std::string TWDictionary::description() const {
  std::vector<const Entry*> sorted;
  sorted.reserve(entries_.size());
  for (const Entry& entry : entries_) sorted.push_back(&entry);
  std::ranges::sort(sorted, {},
                    [](const Entry* entry) -> const std::string& { return entry->first; });
  std::string out = "{";
  for (const Entry* entry : sorted) {
    if (out.size() > 1) out += "; ";
    out += entry->first + " = " + entry->second.description();
  }
  return out + "}";
}

bool TWDictionary::isEqual(const TWDictionary& other) const {
  return size() == other.size() && std::ranges::all_of(entries_, [&other](const Entry& entry) {
           const TWValue* same = other.find(entry.first);
           return same && *same == entry.second;
         });
}

std::ostream& operator<<(std::ostream& stream, const TWDictionary& dictionary) {
  return stream << dictionary.description();
}

std::size_t TWDictionary::hash() const {
  // A sum, since the order of the entries does not matter for equality.
  std::size_t sum = entries_.size();
  for (const Entry& entry : entries_)
    sum += std::hash<std::string>{}(entry.first) * 31 + entry.second.hash();
  return sum;
}

}  // namespace tarnwell
