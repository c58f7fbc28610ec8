#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/time/TWDateTime.h"

#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::EqualsXML;

constexpr TWInstant kStart{1'000'000'000s};
constexpr TWInstant kEnd = kStart + 1h;

TEST(TWCalendarView, WritesItsRangeAsAttributes) {
  const auto view = TWCalendarView::withDict({{"start", kStart}, {"end", kEnd}});
  const auto dates = "StartDate=\"" + TWDateTime::iso8601String(kStart) + "\" EndDate=\"" +
                     TWDateTime::iso8601String(kEnd) + "\"";
  EXPECT_THAT(view->toXML(nullptr).XMLString(), EqualsXML("<m:CalendarView " + dates + "/>"));
  view->set("max_items", 7);
  EXPECT_THAT(view->toXML(nullptr).XMLString(),
              EqualsXML("<m:CalendarView " + dates + " MaxEntriesReturned=\"7\"/>"));
}

TEST(TWCalendarView, TheEndMustNotLieBeforeTheStart) {
  TWError error;
  EXPECT_FALSE(
      TWCalendarView::withDict({{"start", kEnd}, {"end", kStart}})->clean(nullptr, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "end date is lower than start date"));
  EXPECT_TRUE(TWCalendarView::withDict({{"start", kStart}, {"end", kStart}})->clean(nullptr));
}

TEST(TWCalendarView, BothEndsAreRequired) {
  for (const char* name : {"start", "end"}) {
    auto view = TWCalendarView::withDict({{"start", kStart}, {"end", kEnd}});
    view->remove(name);
    TWError error;
    EXPECT_FALSE(view->clean(nullptr, &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
    EXPECT_EQ(error.message(), std::string(name) + " is a required field with no default");
  }
}

}  // namespace
}  // namespace tarnwell
