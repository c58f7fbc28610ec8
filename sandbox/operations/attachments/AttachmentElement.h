#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sandbox/items/ItemShape.h"
#include "sandbox/operations/Operations.h"

namespace tarnwell::sandbox {

/// An attachment and the item that has it.
struct AttachmentPlace {
  std::shared_ptr<const Item> item;
  std::shared_ptr<const Attachment> attachment;
};

/// Reads m:AttachmentIds: at least one t:AttachmentId. Throws the schema violation.
[[nodiscard]] std::vector<std::string> readAttachmentIds(pugi::xml_node list);
/// Throws the EwsError when there is no such attachment.
[[nodiscard]] AttachmentPlace resolveAttachment(const Store& store, const std::string& id);

/// Appends t:FileAttachment or t:ItemAttachment with its id; `root` is given when the id shall say
/// which item it belongs to now. Returns it for more.
pugi::xml_node appendAttachmentId(pugi::xml_node parent, const Attachment& attachment,
                                  const Item* root);

}  // namespace tarnwell::sandbox
