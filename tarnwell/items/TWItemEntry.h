#pragma once

#include <concepts>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWResult.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWItem;
class TWItemId;

/// The identifier of an item and the change key of the state it was seen in.
struct TWIdPair {
  std::string id;
  std::optional<std::string> changekey = std::nullopt;

  friend bool operator==(const TWIdPair&, const TWIdPair&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const TWIdPair& pair);
};

/// One entry of a list of items: an item, the id pair of one, or the error that came in its place.
///
/// Searches answer lists of them, and bulk operations take and answer them, one for each input. An
/// entry that is an error is never sent: it goes back in its place.
///
///     const auto found = inbox->all().getItems(&error);
///     if (!found) return report(error);
///     for (const auto& entry : *found)
///       if (const auto item = entry.item()) print(*item);
class TWItemEntry {
 public:
  TWItemEntry(TWIdPair pair) : value_(std::move(pair)) {}
  /// Null has no id: operations on the server refuse it.
  template <std::derived_from<TWItem> Item>
  TWItemEntry(std::shared_ptr<Item> item) : value_(std::shared_ptr<TWItem>(std::move(item))) {}
  TWItemEntry(TWError error) : value_(std::move(error)) {}
  /// The outcome of another operation.
  template <class T>
  TWItemEntry(const TWResult<T>& outcome)
      : TWItemEntry(outcome ? TWItemEntry(outcome.value()) : TWItemEntry(outcome.error())) {}

  /// The id of an item, as of a field that refers to one. Without an id, and for null, an id pair
  /// that the operations refuse.
  template <class Id>
  requires(!std::derived_from<Id, TWItem> && std::derived_from<Id, TWItemId>)
      TWItemEntry(const std::shared_ptr<Id>& id)
      : TWItemEntry(id ? pairOf(id->get("id"), id->get("changekey")) : TWIdPair()) {}
  /// "id", else "item_id", and "changekey"; without an id as above.
  template <std::same_as<TWDictionary> Dictionary>  // which braces around two texts are not
  TWItemEntry(const Dictionary& keys)
      : TWItemEntry(
            pairOf(keys["id"].isAbsent() ? keys["item_id"] : keys["id"], keys["changekey"])) {}

  /// Null for an id pair and for an error.
  [[nodiscard]] std::shared_ptr<TWItem> item() const;
  /// Of the pair or of the item; absent for an item that is not on the server, and for an error.
  [[nodiscard]] std::optional<TWIdPair> idPair() const;
  /// "No error" for the other two.
  [[nodiscard]] TWError error() const;
  /// True for an item and for an id pair.
  [[nodiscard]] explicit operator bool() const noexcept {
    return !std::holds_alternative<TWError>(value_);
  }

  friend std::ostream& operator<<(std::ostream& stream, const TWItemEntry& entry);

 private:
  [[nodiscard]] static TWIdPair pairOf(const TWValue& id, const TWValue& changekey) {
    return {id.asText().value_or(std::string()), changekey.asText()};
  }

  std::variant<TWIdPair, std::shared_ptr<TWItem>, TWError> value_;
};

using TWItemEntries = std::vector<TWItemEntry>;
using TWItems = std::vector<std::shared_ptr<TWItem>>;

}  // namespace tarnwell
