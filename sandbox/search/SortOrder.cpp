#include "sandbox/search/SortOrder.h"

#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/search/Values.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 2> kDirections{"Ascending", "Descending"};

}  // namespace

std::vector<FieldOrder> readSortOrder(pugi::xml_node element, Schema schema) {
  std::vector<FieldOrder> orders;
  ElementReader list(element);
  list.requireMore();
  while (const pugi::xml_node child = list.next()) {
    if (!isElement(child, kTypesNs, "FieldOrder")) list.refuse(child);
    ElementReader reader(child);
    reader.allowAttributes({"Order"});
    static_cast<void>(reader.requiredAttribute("Order"));
    FieldOrder order;
    order.descending =
        reader.enumeration("Order", "SortDirectionType", kDirections) == "Descending";
    reader.requireMore();
    const pugi::xml_node path = reader.next();
    if (!isPropertyPath(path)) reader.refuse(path);
    order.path = readPropertyPath(path, schema);
    reader.end();
    if (order.path.property != nullptr && order.path.property->is(kGetOnly)) {
      throw EwsError("ErrorUnsupportedPathForSortGroup");
    }
    orders.push_back(std::move(order));
  }
  return orders;
}

SortKey sortKeyOf(const std::vector<FieldOrder>& orders, const ValueSource& values) {
  SortKey key;
  for (const FieldOrder& order : orders) {
    std::vector<std::string>& part = key.emplace_back(values(order.path));
    for (std::string& value : part) {
      if (order.path.property == nullptr || order.path.property->type == PropertyType::text) {
        value = foldCase(value);
      }
    }
  }
  return key;
}

bool isBefore(const std::vector<FieldOrder>& orders, const SortKey& a, const SortKey& b) {
  for (std::size_t i = 0; i < orders.size(); ++i) {
    int order = 0;
    if (a[i].empty() || b[i].empty()) {
      order = static_cast<int>(b[i].empty()) - static_cast<int>(a[i].empty());
    } else {
      order = compareValues(orders[i].path, a[i].front(), b[i].front());
    }
    if (order != 0) return orders[i].descending ? order > 0 : order < 0;
  }
  return false;
}

}  // namespace tarnwell::sandbox
