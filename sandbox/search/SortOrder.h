#pragma once

#include <string>
#include <vector>

#include "sandbox/items/PropertyPath.h"
#include "sandbox/search/Restriction.h"

namespace tarnwell::sandbox {

struct FieldOrder {
  PropertyPath path;
  bool descending = false;
};

/// Reads m:SortOrder. Throws the schema violation, or the EwsError for a property that cannot be
/// sorted by.
[[nodiscard]] std::vector<FieldOrder> readSortOrder(pugi::xml_node element, Schema schema);

/// The values that decide where something stands, one for each order; absent ones come first.
using SortKey = std::vector<std::vector<std::string>>;
[[nodiscard]] SortKey sortKeyOf(const std::vector<FieldOrder>& orders, const ValueSource& values);
[[nodiscard]] bool isBefore(const std::vector<FieldOrder>& orders, const SortKey& a,
                            const SortKey& b);

}  // namespace tarnwell::sandbox
