#pragma once

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// A range of time to search a calendar in (`m:CalendarView`): "start" and "end" (points in time)
/// and "max_items". The server then lists every occurrence of recurring appointments by itself.
class TWCalendarView : public detail::ElementKind<TWCalendarView, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// Also ErrorValueOutOfRange for an end before the start.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
};

}  // namespace tarnwell
