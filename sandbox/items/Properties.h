#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "sandbox/detail/ServerVersion.h"

namespace tarnwell::sandbox {

/// The elements that items are written as, a bit each.
enum ItemKind : unsigned {
  kItem = 1U << 0U,
  kMessage = 1U << 1U,
  kCalendarItem = 1U << 2U,
  kContact = 1U << 3U,
  kDistributionList = 1U << 4U,
  kTask = 1U << 5U,
  kPostItem = 1U << 6U,
  kMeetingRequest = 1U << 7U,
  kMeetingResponse = 1U << 8U,
  kMeetingCancellation = 1U << 9U,
};
using ItemKinds = unsigned;

inline constexpr ItemKinds kMeetingMessages =
    kMeetingRequest | kMeetingResponse | kMeetingCancellation;
/// Those that have senders and recipients.
inline constexpr ItemKinds kMessages = kMessage | kMeetingMessages;
inline constexpr ItemKinds kEveryKind = (kMeetingCancellation << 1U) - 1U;

struct ItemKindRow {
  ItemKind kind;
  /// "Message"
  std::string_view element;
  /// "IPM.Note"
  std::string_view itemClass;
  /// The distinguished folder that a new one goes to when the client names none.
  std::string_view folder;
};

[[nodiscard]] std::span<const ItemKindRow> itemKinds();
/// Null when items have no such element.
[[nodiscard]] const ItemKindRow* findItemKind(std::string_view element);

/// What a property holds.
enum class PropertyType {
  text,
  boolean,
  integer,
  number,
  dateTime,
  choice,
  base64,
  /// The text with an attribute BodyType.
  body,
  /// t:Mailbox
  mailbox,
  /// Several t:Mailbox
  mailboxes,
  /// Several t:Attendee
  attendees,
  /// Several t:String
  strings,
  /// t:Entry elements told apart by Key.
  entries,
  /// t:Entry elements whose values are children.
  addresses,
  /// Anything else with elements in it.
  structure,
};

enum PropertyFlag : unsigned {
  /// The server says what it is.
  kReadOnly = 1U << 0U,
  /// Part of the shape Default.
  kInDefault = 1U << 1U,
  /// Too large for FindItem.
  kGetOnly = 1U << 2U,
  /// Fixed once the message has been sent.
  kFixedWhenSent = 1U << 3U,
  /// Only for those who ask for it by name.
  kOnDemand = 1U << 4U,
};

struct Property {
  /// "item:Subject"
  std::string_view uri;
  /// "Subject"
  std::string_view element;
  ItemKinds kinds;
  PropertyType type;
  unsigned flags = 0;
  Schema since = Schema::exchange2007;
  /// Of a choice, with blanks between them, in the order in which they compare.
  std::string_view choices = {};

  [[nodiscard]] bool is(PropertyFlag flag) const noexcept { return (flags & flag) != 0; }
};

/// All properties. Those of one kind stand in the order that the schema has for its elements.
[[nodiscard]] std::span<const Property> properties();
/// The property of that URI which such items have; null when they have none.
[[nodiscard]] const Property* findProperty(std::string_view uri, ItemKinds kinds = kEveryKind);
/// The property that is written as that element in items of the kind; null when there is none.
[[nodiscard]] const Property* propertyOfElement(ItemKind kind, std::string_view element);
/// The place of a choice among the choices; absent when it is none of them.
[[nodiscard]] std::optional<int> choiceIndex(const Property& property, std::string_view value);

}  // namespace tarnwell::sandbox
