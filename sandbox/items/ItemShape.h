#pragma once

#include <string>
#include <vector>

#include "sandbox/items/PropertyPath.h"
#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// What a client wants to see of items.
struct ItemShape {
  enum class Base { idOnly, standard, all };

  Base base = Base::idOnly;
  bool includeMimeContent = false;
  /// "Best", "HTML" or "Text".
  std::string bodyType = "Best";
  std::vector<PropertyPath> additional;
};

/// Reads m:ItemShape, or m:AttachmentShape, which has no t:BaseShape. Throws the schema violation.
[[nodiscard]] ItemShape readItemShape(pugi::xml_node element, Schema schema);
/// Throws the EwsError for a property that is too large to be listed.
void checkListed(const ItemShape& shape);

/// Appends the item with what the shape says; `listed` leaves out what only GetItem shows.
void appendItem(pugi::xml_node parent, const Item& item, const ItemShape& shape, Schema schema,
                bool listed);

}  // namespace tarnwell::sandbox
