#pragma once

#include <vector>

#include <pugixml.hpp>

#include "sandbox/items/Properties.h"
#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// An item that a client wrote.
struct ItemDraft {
  const ItemKindRow* kind = nullptr;
  Node content;
  /// Without numbers.
  std::vector<Attachment> attachments;
};

/// Reads an item to be stored, t:Message and the like. Throws the schema violation for anything but
/// the properties of its kind, each once, in their order and with values of their types. That some
/// of them cannot be set is not the schema's business: `checkSettable` says so.
[[nodiscard]] ItemDraft readItem(pugi::xml_node element, Schema schema);
/// Throws the EwsError for a property that only the server sets.
void checkSettable(const ItemDraft& draft);

/// Reads t:FileAttachment or t:ItemAttachment. Throws the schema violation.
[[nodiscard]] Attachment readAttachment(pugi::xml_node element, Schema schema);
[[nodiscard]] bool isAttachment(pugi::xml_node element);

}  // namespace tarnwell::sandbox
