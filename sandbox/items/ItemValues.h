#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sandbox/items/PropertyPath.h"
#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// The element of a property as the item has it: kept, or made of what is kept. Absent when the
/// item has none.
[[nodiscard]] std::optional<Node> propertyOf(const Item& item, const Property& property);
/// The t:ExtendedProperty of that key; null when the item has none.
[[nodiscard]] const Node* extendedPropertyOf(const std::vector<Node>& properties,
                                             const std::string& key);

/// What a path names in an item, for comparing: a text each for the values of a list; a mailbox has
/// its name and its address. Empty when there is none.
[[nodiscard]] std::vector<std::string> valuesOf(const Item& item, const PropertyPath& path);

/// Without its tags and with its entities resolved, more or less.
[[nodiscard]] std::string textOfHtml(const std::string& html);

}  // namespace tarnwell::sandbox
