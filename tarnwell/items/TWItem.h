#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

class TWAccount;
class TWFolder;

/// Base of what lies in folders: messages, appointments, contacts, tasks and the like; also an item
/// of no particular kind (`t:Item`).
///
///     auto message = TWMessage::withDict({{"folder", account->drafts()}, {"subject", "Report"}});
///     message->set("to_recipients", TWValue::list({"ann@example.com"}));
///
/// Besides its fields an item has the properties "account" and "parent_item" (weak references) and
/// "folder". They are not written, and take no part in equality.
///
/// Programs can add fields of extended properties (`registerAttr`), which stand after
/// "has_attachments". A kind with a list of fields of its own has those that are registered on it
/// only.
class TWItem : public detail::ElementKind<TWItem, TWRegisterMixIn> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// The kinds of items, in the order in which an element's name is looked up.
  [[nodiscard]] static const std::vector<const TWElementClass*>& itemClasses();
  /// The kind for an element's local name: "Message" gives `TWMessage`, and both "Item" and
  /// "CalendarItem" give `TWCalendarItem`. Null for a name that no kind has.
  [[nodiscard]] static const TWElementClass* itemClassFromTag(std::string_view localName);
  /// What `t:ItemId` in an item's element says; absent without one.
  [[nodiscard]] static std::optional<TWIdPair> idFromXML(const NKXMLElement& xml);

  /// "item_id" and "changekey"; absent for an item that is not on the server.
  [[nodiscard]] std::optional<TWIdPair> idPair() const;
  /// Null removes both.
  void setIdPair(const std::optional<TWIdPair>& pair);

  /// Null when there is none, or no longer.
  [[nodiscard]] std::shared_ptr<TWAccount> account() const;
  void setAccount(const std::shared_ptr<TWAccount>& account);
  /// The folder that the item lives in; null when that is not known.
  [[nodiscard]] std::shared_ptr<TWFolder> folder() const;
  void setFolder(const std::shared_ptr<TWFolder>& folder);
  /// The item that has this one attached; null for other items.
  [[nodiscard]] std::shared_ptr<TWItem> parentItem() const;
  void setParentItem(const std::shared_ptr<TWItem>& item);

 protected:
  /// Also takes over "account", "folder" and "parent_item". An item without an account has that of
  /// its folder. Attachments have this item as their parent from then on; nothing is sent.
  void initWithDict(const TWDictionary& dict) override;
  /// The fields that the account's server knows, and the id. Attachments are linked as above.
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;
  /// Items of whatever kinds are equal when their ids and change keys are; items without an id
  /// when the values of all their fields are.
  [[nodiscard]] TWList identity() const override;
  [[nodiscard]] bool isComparable(const TWEWSElement& other) const override;

 private:
  void linkAttachments();
};

}  // namespace tarnwell
