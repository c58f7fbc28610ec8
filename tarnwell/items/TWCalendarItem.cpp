#include "tarnwell/items/TWCalendarItem.h"

namespace tarnwell {

const TWElementClass& TWCalendarItem::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWCalendarItem",
                                                   .base = &TWItem::elementClass(),
                                                   .make = &detail::makeElement<TWCalendarItem>});
  return kClass;
}

}  // namespace tarnwell
