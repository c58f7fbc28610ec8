#include "tarnwell/folders/TWKeywords.h"

#include <algorithm>

namespace tarnwell {

void TWKeywords::set(std::string_view key, TWValue value) {
  const auto found = std::ranges::find(entries_, key, &Entry::key);
  if (found != entries_.end())
    found->value = std::move(value);
  else
    entries_.emplace_back(key, std::move(value));
}

const TWValue& TWKeywords::get(std::string_view key) const noexcept {
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the program ends
  static const auto& kAbsent = *new TWValue;
  const auto found = std::ranges::find(entries_, key, &Entry::key);
  return found == entries_.end() ? kAbsent : found->value;
}

void TWKeywords::remove(std::string_view key) {
  std::erase_if(entries_, [&](const Entry& entry) { return entry.key == key; });
}

std::string TWKeywords::description() const {
  std::string text = "{";
  for (const auto& [key, value] : entries_) {
    if (text.size() > 1) text += "; ";
    text.append(key).append(" = ").append(value.description());
  }
  return text + "}";
}

}  // namespace tarnwell
