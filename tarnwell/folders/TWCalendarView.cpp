#include "tarnwell/folders/TWCalendarView.h"

#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell {

const TWElementClass& TWCalendarView::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWCalendarView",
       .base = &TWEWSElement::elementClass(),
       .elementName = "CalendarView",
       .nameSpace = kMessagesNamespace,
       .fields =
           [] {
             return TWFields{
                 TWDateTimeField::withProps({.name = "start",
                                             .fieldURI = "StartDate",
                                             .isRequired = true,
                                             .isAttribute = true}),
                 TWDateTimeField::withProps({.name = "end",
                                             .fieldURI = "EndDate",
                                             .isRequired = true,
                                             .isAttribute = true}),
                 TWIntegerField::withProps(
                     {.name = "max_items", .fieldURI = "MaxEntriesReturned", .isAttribute = true}),
             };
           },
       .make = &detail::makeElement<TWCalendarView>});
  return kClass;
}

bool TWCalendarView::clean(const TWVersion* version, TWError* error) {
  if (!TWEWSElement::clean(version, error)) return false;
  if (get("end").asDate() >= get("start").asDate()) return true;
  setError(error, {TWErrorCode::ErrorValueOutOfRange, "end date is lower than start date"});
  return false;
}

}  // namespace tarnwell
