#include "tarnwell/folders/detail/ValueOrder.h"

#include <algorithm>
#include <cmath>

#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {
namespace {

/// Numbers of all makes are one kind.
int rankOf(const TWValue& value) {
  if (value.isNumber()) return static_cast<int>(TWValue::Kind::boolean);
  return static_cast<int>(value.kind());
}

bool isNumberBefore(const TWValue& a, const TWValue& b) {
  // Whole numbers are compared as such: a double holds 53 bits of them.
  const auto wholeA = a.asInteger(), wholeB = b.asInteger();
  if (wholeA && wholeB) return *wholeA < *wholeB;
  const double numberA = *a.asDouble(), numberB = *b.asDouble();
  if (std::isnan(numberA) || std::isnan(numberB))
    return !std::isnan(numberA) && std::isnan(numberB);
  return numberA < numberB;
}

}  // namespace

bool isBefore(const TWValue& a, const TWValue& b) {
  if (rankOf(a) != rankOf(b)) return rankOf(a) < rankOf(b);
  if (a.isNumber()) return isNumberBefore(a, b);
  switch (a.kind()) {
    case TWValue::Kind::text:
      return a.textView() < b.textView();
    case TWValue::Kind::date:
      return *a.asDate() < *b.asDate();
    case TWValue::Kind::list:
      return std::ranges::lexicographical_compare(*a.asList(), *b.asList(), isBefore);
    case TWValue::Kind::data:
      return *a.asData() < *b.asData();
    case TWValue::Kind::absent:
      return false;
    default:
      return a.description() < b.description();
  }
}

}  // namespace tarnwell::detail
