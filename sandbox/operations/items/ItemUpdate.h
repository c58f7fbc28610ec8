#pragma once

#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "sandbox/items/ItemReader.h"
#include "sandbox/items/PropertyPath.h"

namespace tarnwell::sandbox {

/// t:SetItemField, t:AppendToItemField or t:DeleteItemField.
struct ItemUpdate {
  enum class Kind { set, append, remove };

  Kind kind = Kind::set;
  PropertyPath path;
  /// The item that brings the value; absent for `remove`.
  std::optional<ItemDraft> value;
};

/// Reads t:Updates. Throws the schema violation.
[[nodiscard]] std::vector<ItemUpdate> readItemUpdates(pugi::xml_node element, Schema schema);

/// Throws the EwsError for a change that the property does not allow, or that brings another.
void applyItemUpdate(Item& item, const ItemUpdate& update);

}  // namespace tarnwell::sandbox
