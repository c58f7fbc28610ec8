#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// An appointment. It is written and read as an item of no particular kind (`t:Item`),
/// deliberately, and shares the fields of `TWItem`: what is registered on either is a field of
/// both.
class TWCalendarItem : public detail::ElementKind<TWCalendarItem, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
