#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

class TWAccount;
class TWItem;

/// The id of an attachment (`t:AttachmentId`): "id", and of an answer that tells it also "root_id"
/// and "changekey", those of the item that holds the attachment.
class TWAttachmentId : public detail::ElementKind<TWAttachmentId, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The attribute that holds the id: "Id".
  [[nodiscard]] static constexpr std::string_view idAttr() noexcept { return "Id"; }
  /// "RootItemId".
  [[nodiscard]] static constexpr std::string_view rootIdAttr() noexcept { return "RootItemId"; }
  /// "RootItemChangeKey".
  [[nodiscard]] static constexpr std::string_view rootChangekeyAttr() noexcept {
    return "RootItemChangeKey";
  }
};

/// Base of the attachments: "attachment_id", "name", "content_type", "content_id",
/// "content_location", "size", "last_modified_time" and "is_inline".
///
/// Besides its fields an attachment has the property "parent_item" (a weak reference): the item
/// that it is, or is to be, attached to. Attachments are equal when their ids are, or without ids
/// when what is known of them is, their content and time of change aside.
class TWAttachment : public TWEWSElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// Null when there is none, or no longer.
  [[nodiscard]] std::shared_ptr<TWItem> parentItem() const;
  virtual void setParentItem(const std::shared_ptr<TWItem>& item);

  /// Creates the attachment on its parent item, which must be on the server. The change key that
  /// the item has then is its "root_changekey"; its "changekey" stays, deliberately. A failure
  /// leaves both as they were; what validation fills in stays in an item that is attached.
  ///
  /// Errors: ErrorValueOutOfRange for an attachment that has an id already, without a parent item
  /// and when that has no account; those of `TWCreateAttachment`.
  bool attach(TWError* error = nullptr);
  /// Removes the attachment from the server. It has neither id nor parent item then; the item gets
  /// a "root_changekey" as above. A failure leaves both as they were.
  ///
  /// Errors: ErrorValueOutOfRange for an attachment without an id, and when its parent item has no
  /// account; those of `TWDeleteAttachment`.
  bool detach(TWError* error = nullptr);

  /// As of the base. A content type that is missing becomes "application/octet-stream" first if
  /// there is a parent item.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// "TWFileAttachment (" with "name=value" for each field but the content, and ")". Nothing stands
  /// between the fields.
  [[nodiscard]] std::string description() const override;

 protected:
  void initWithDict(const TWDictionary& dict) override;
  [[nodiscard]] TWList identity() const override;

  /// What the server has under the id; invalid with an error when it cannot be had, and without one
  /// when there is no id.
  [[nodiscard]] NKXMLElement download(TWError* error) const;
};

/// A file (`t:FileAttachment`): besides these "is_contact_photo", and the bytes as "_content".
class TWFileAttachment : public detail::ElementKind<TWFileAttachment, TWAttachment> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// The bytes, which are read from the server when they are first asked for. Absent without an
  /// error when there are none, neither here nor there.
  ///
  /// Errors: ErrorValueOutOfRange when they must be read and there is no account; those of
  /// `TWGetAttachment`.
  [[nodiscard]] std::optional<TWData> getContent(TWError* error = nullptr);
  bool setContent(TWData content, TWError* error = nullptr);

  /// As of the base; the content is read first where it is not known yet.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;
};

/// An item attached to an item (`t:ItemAttachment`), as "_item".
class TWItemAttachment : public detail::ElementKind<TWItemAttachment, TWAttachment> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// The item, which is read from the server when it is first asked for. Null without an error
  /// when there is none, neither here nor there.
  ///
  /// Errors: ErrorValueOutOfRange when it must be read and there is no account; those of
  /// `TWGetAttachment`.
  [[nodiscard]] std::shared_ptr<TWItem> getItem(TWError* error = nullptr);
  bool setItem(const std::shared_ptr<TWItem>& item, TWError* error = nullptr);

  /// Its item's parent is that item as well.
  void setParentItem(const std::shared_ptr<TWItem>& item) override;
  /// The item is validated too; ErrorType for an "_item" that is none.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// The item stands last, in an element of its own kind; it is read first where it is not known
  /// yet. ErrorValueOutOfRange when what the server has under the id holds no item that could be
  /// read.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;

 protected:
  /// The item is of the kind that the name of its element says.
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;

 private:
  /// What the fields of the attachment are walked for, while "_item" is put aside.
  template <class Walk>
  auto withoutItem(const Walk& walk);
};

}  // namespace tarnwell
