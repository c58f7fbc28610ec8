#include "sandbox/operations/items/CalendarTimes.h"

#include "sandbox/store/EwsError.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {

void checkCalendarTimes(const Item& item) {
  const auto start = readTime(item.content.childText("Start"));
  const auto end = readTime(item.content.childText("End"));
  if (start && end && *end < *start) {
    throw EwsError("ErrorCalendarEndDateIsEarlierThanStartDate",
                   "EndDate is earlier than StartDate");
  }
}

}  // namespace tarnwell::sandbox
