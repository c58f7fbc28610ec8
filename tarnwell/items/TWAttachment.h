#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

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
/// Besides its fields an attachment has the property "parent_item" (a weak reference): the item that
/// it is, or is to be, attached to. Attachments are equal when their ids are, or without ids when
/// what is known of them is, their content and time of change aside.
class TWAttachment : public TWEWSElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// Null when there is none, or no longer.
  [[nodiscard]] std::shared_ptr<TWItem> parentItem() const;
  virtual void setParentItem(const std::shared_ptr<TWItem>& item);

  /// As of the base. A content type that is missing becomes "application/octet-stream" first if there
  /// is a parent item.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// "TWFileAttachment (" with "name=value" for each field but the content, and ")". Nothing stands
  /// between the fields.
  [[nodiscard]] std::string description() const override;

 protected:
  void initWithDict(const TWDictionary& dict) override;
  [[nodiscard]] TWList identity() const override;
};

/// A file (`t:FileAttachment`): besides these "is_contact_photo", and the bytes as "_content".
class TWFileAttachment : public detail::ElementKind<TWFileAttachment, TWAttachment> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// An item attached to an item (`t:ItemAttachment`), as "_item".
class TWItemAttachment : public detail::ElementKind<TWItemAttachment, TWAttachment> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// Its item's parent is that item as well.
  void setParentItem(const std::shared_ptr<TWItem>& item) override;
  /// The item is validated too; ErrorType for an "_item" that is none.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// The item stands last, in an element of its own kind.
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
