#include "tarnwell/schema/TWPropertyList.h"

#include <algorithm>
#include <mutex>
#include <set>

namespace tarnwell {
namespace {

/// The one copy of a name that the process keeps.
std::string_view kept(std::string_view name) {
  static auto& mutex = *new std::mutex;
  static auto& names = *new std::set<std::string, std::less<>>;
  const std::scoped_lock lock(mutex);
  const auto found = names.find(name);
  return found != names.end() ? *found : *names.emplace(name).first;
}

}  // namespace

const TWValue& TWPropertyList::get(std::string_view name) const noexcept {
  static const TWValue kAbsent;
  for (const auto& [key, value] : entries_)
    if (key == name) return value;
  return kAbsent;
}

void TWPropertyList::set(std::string_view name, TWValue value) {
  if (value.isAbsent() || name.empty() || replace(name, value)) return;
  addField(kept(name), std::move(value));
}

void TWPropertyList::setField(std::string_view fieldName, TWValue value) {
  if (value.isAbsent() || fieldName.empty() || replace(fieldName, value)) return;
  addField(fieldName, std::move(value));
}

void TWPropertyList::addField(std::string_view fieldName, TWValue&& value) {
  if (value.isAbsent() || fieldName.empty()) return;
  // Few are added to those that were read, and there are many elements: no room for as many again.
  if (entries_.size() == entries_.capacity()) entries_.reserve(entries_.size() + 4);
  entries_.emplace_back(fieldName, std::move(value));
}

bool TWPropertyList::replace(std::string_view name, TWValue& value) {
  const auto found = std::ranges::find(entries_, name, &Entry::first);
  if (found == entries_.end()) return false;
  found->second = std::move(value);
  return true;
}

void TWPropertyList::remove(std::string_view name) {
  std::erase_if(entries_, [&](const Entry& entry) { return entry.first == name; });
}

std::vector<std::string> TWPropertyList::allKeys() const {
  std::vector<std::string> keys;
  for (const auto& entry : entries_) keys.emplace_back(entry.first);
  return keys;
}

TWDictionary TWPropertyList::asDictionary() const {
  TWDictionary dictionary;
  for (const auto& [key, value] : entries_) dictionary.set(key, value);
  return dictionary;
}

}  // namespace tarnwell
