#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// The id of an item, with the key of the state in which it was seen: "id" and "changekey", both
/// attributes (`t:ItemId`). Ids are equal when both are.
class TWItemId : public detail::ElementKind<TWItemId, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The attribute that holds the id: "Id".
  [[nodiscard]] static constexpr std::string_view idAttr() noexcept { return "Id"; }
  /// "ChangeKey".
  [[nodiscard]] static constexpr std::string_view changeKeyAttr() noexcept { return "ChangeKey"; }

 protected:
  /// The pair, whether both are there or not.
  [[nodiscard]] TWList identity() const override { return {get("id"), get("changekey")}; }
};

/// The id of the item that an attachment is created on (`m:ParentItemId`).
class TWParentItemId : public detail::ElementKind<TWParentItemId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// The id of the item that attachments were deleted from, with its new change key
/// (`m:RootItemId`). Has the same properties in attributes of other names.
class TWRootItemId : public detail::ElementKind<TWRootItemId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// "RootItemId".
  [[nodiscard]] static constexpr std::string_view idAttr() noexcept { return "RootItemId"; }
  /// "RootItemChangeKey".
  [[nodiscard]] static constexpr std::string_view changeKeyAttr() noexcept {
    return "RootItemChangeKey";
  }
};

/// The id of the conversation that a message is part of (`t:ConversationId`).
class TWConversationId : public detail::ElementKind<TWConversationId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The id.
  [[nodiscard]] std::optional<std::string> constantText() const override;
};

/// The id of the calendar item that a meeting message is about (`t:AssociatedCalendarItemId`).
class TWAssociatedCalendarItemId
    : public detail::ElementKind<TWAssociatedCalendarItemId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// The id of the folder that an item or a folder lies in (`t:ParentFolderId`).
class TWParentFolderId : public detail::ElementKind<TWParentFolderId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
