#pragma once

#include <string_view>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

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
class TWAttachment : public TWEWSElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// A file (`t:FileAttachment`): besides these "is_contact_photo", and the bytes as "_content".
class TWFileAttachment : public detail::ElementKind<TWFileAttachment, TWAttachment> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
