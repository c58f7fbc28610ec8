#include "tarnwell/items/TWItemEntry.h"

#include <ostream>

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

std::ostream& operator<<(std::ostream& stream, const TWIdPair& pair) {
  stream << '(' << pair.id;
  if (pair.changekey) stream << ", " << *pair.changekey;
  return stream << ')';
}

std::shared_ptr<TWItem> TWItemEntry::item() const {
  const auto* const item = std::get_if<std::shared_ptr<TWItem>>(&value_);
  return item == nullptr ? nullptr : *item;
}

std::optional<TWIdPair> TWItemEntry::idPair() const {
  if (const auto* const pair = std::get_if<TWIdPair>(&value_)) return *pair;
  const auto held = item();
  return held ? held->idPair() : std::nullopt;
}

TWError TWItemEntry::error() const {
  const auto* const error = std::get_if<TWError>(&value_);
  return error == nullptr ? TWError() : *error;
}

std::ostream& operator<<(std::ostream& stream, const TWItemEntry& entry) {
  if (const auto held = entry.item()) return stream << *held;
  if (const auto pair = entry.idPair()) return stream << *pair;
  return stream << entry.error();
}

}  // namespace tarnwell
