#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

class TWAccount;
class TWAttachment;
class TWBulkCreateResult;
class TWFolder;

/// How an item is deleted. (The second name is spelt so in the interface.)
struct TWItemDeletion {
  std::string sendMeetingCancellations = "SendToNone";
  std::string affectedOccurrencies = "AllOccurrences";
  bool suppressReadReceipts = false;
};

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

  // The item on the server. Whatever fails leaves the item as it was; what validation fills in
  // ("content_type", defaults) stays in the elements that it holds: mailboxes, entries,
  // attachments, the items attached. Errors: ErrorValueOutOfRange for an item that has no account,
  // or no id where it must have one; those of the account's operation; that which came in place of
  // the item's result.

  /// Creates the item in its folder, with its attachments, or updates the one on the server.
  ///
  /// Errors: also ErrorType for an item with a list of categories, as servers tell them, which
  /// cannot be written, deliberately: name the properties to write.
  bool save(TWError* error = nullptr);
  /// @param updateFields  names of the properties to write, of which those without a value are
  ///                      cleared on the server. None: all that have a value and can be written.
  /// Errors: ErrorValueOutOfRange for names given for an item that is not there yet.
  bool save(const std::vector<std::string>& updateFields,
            std::string_view conflictResolution = "AutoResolve",
            std::string_view sendMeetingInvitations = "SendToNone", TWError* error = nullptr);
  /// What the server says of the new item, which stays as it is; null without an error when it is
  /// sent ("SendOnly", "SendAndSaveCopy").
  std::shared_ptr<TWBulkCreateResult> create(std::string_view messageDisposition,
                                             std::string_view sendMeetingInvitations,
                                             TWError* error = nullptr);
  /// The new id pair; the item stays as it is. Absent without an error when it is sent
  /// ("SendAndSaveCopy").
  /// @param updateFields  as of `save`. With nothing to write nothing is sent.
  std::optional<TWIdPair> update(const std::vector<std::string>& updateFields,
                                 std::string_view messageDisposition,
                                 std::string_view conflictResolution,
                                 std::string_view sendMeetingInvitations, TWError* error = nullptr);
  /// What an update without names writes.
  [[nodiscard]] std::vector<std::string> fieldNamesToUpdate() const;
  /// Reads all fields anew. What the server does not tell stays as it was.
  bool refresh(TWError* error = nullptr);
  /// Afterwards the item has the id that it has there; none where the server tells none.
  bool move(const std::shared_ptr<TWFolder>& toFolder, TWError* error = nullptr);
  /// Afterwards the item is in the account's Deleted Items, without an id.
  bool moveToTrash(const TWItemDeletion& how = {}, TWError* error = nullptr);
  bool moveToTrash(std::string_view sendMeetingCancellations, std::string_view affectedOccurrencies,
                   std::same_as<bool> auto suppressReadReceipts, TWError* error = nullptr) {
    return moveToTrash(
        deletion(sendMeetingCancellations, affectedOccurrencies, suppressReadReceipts), error);
  }
  /// Afterwards the item is in the account's folder of recoverable deletions, without an id.
  bool softDelete(const TWItemDeletion& how = {}, TWError* error = nullptr);
  bool softDelete(std::string_view sendMeetingCancellations, std::string_view affectedOccurrencies,
                  std::same_as<bool> auto suppressReadReceipts, TWError* error = nullptr) {
    return softDelete(
        deletion(sendMeetingCancellations, affectedOccurrencies, suppressReadReceipts), error);
  }
  /// For good. Afterwards the item has neither id nor folder.
  bool delete_(const TWItemDeletion& how = {}, TWError* error = nullptr);
  bool delete_(std::string_view sendMeetingCancellations, std::string_view affectedOccurrencies,
               std::same_as<bool> auto suppressReadReceipts, TWError* error = nullptr) {
    return delete_(deletion(sendMeetingCancellations, affectedOccurrencies, suppressReadReceipts),
                   error);
  }
  /// Leaves the item as it is.
  /// @param deleteType  "HardDelete", "SoftDelete" or "MoveToDeletedItems"
  bool delete_(std::string_view deleteType, const TWItemDeletion& how, TWError* error = nullptr);
  bool delete_(std::string_view deleteType, std::string_view sendMeetingCancellations,
               std::string_view affectedOccurrencies, std::same_as<bool> auto suppressReadReceipts,
               TWError* error = nullptr) {
    return delete_(deleteType,
                   deletion(sendMeetingCancellations, affectedOccurrencies, suppressReadReceipts),
                   error);
  }

  // Both: ErrorType when "attachments" holds anything but a list of attachments.

  /// Adds an attachment, once; an item that is on the server has it there at once, others when they
  /// are saved. See `TWAttachment::attach`; also ErrorValueOutOfRange for null.
  bool attach(const std::shared_ptr<TWAttachment>& attachment, TWError* error = nullptr);
  /// Removes an attachment, from the server too. See `TWAttachment::detach`; also
  /// ErrorValueOutOfRange for null.
  bool detach(const std::shared_ptr<TWAttachment>& attachment, TWError* error = nullptr);

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
  [[nodiscard]] static TWItemDeletion deletion(std::string_view sendMeetingCancellations,
                                               std::string_view affectedOccurrencies,
                                               bool suppressReadReceipts) {
    return {std::string(sendMeetingCancellations), std::string(affectedOccurrencies),
            suppressReadReceipts};
  }
  void linkAttachments();
  [[nodiscard]] TWItemEntries asEntries() const;
  [[nodiscard]] std::shared_ptr<TWAccount> accountForChange(TWError* error) const;
  void takeAttachmentIds(const TWBulkCreateResult& created);
};

}  // namespace tarnwell
