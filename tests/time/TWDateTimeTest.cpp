#include <chrono>
#include <fstream>
#include <latch>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/TWTimeZone.h"

#include "tests/time/DefaultZoneScope.h"

namespace tarnwell {
namespace {

using test::DefaultZoneScope;
using namespace std::chrono_literals;

std::optional<TWInstant> dateTime(std::string_view text) {
  return TWDateTime::dateTimeFromString(text);
}

std::optional<TWInstant> date(std::string_view text) { return TWDateTime::dateFromString(text); }

constexpr TWInstant kMoment{1594808430s};  // 2020-07-15T10:20:30Z

// The date-time texts.

TEST(TWDateTime, ParsesTheThreeSpellingsOfAnInstant) {
  EXPECT_EQ(dateTime("2020-07-15T10:20:30Z"), kMoment);
  EXPECT_EQ(dateTime("2020-07-15T10:20:30"), kMoment);
  EXPECT_EQ(dateTime("2020-07-15T12:20:30+02:00"), kMoment);
  EXPECT_EQ(dateTime("2020-07-15T04:50:30-05:30"), kMoment);
  EXPECT_EQ(dateTime("2020-07-15T12:20:30+0200"), kMoment);
  EXPECT_EQ(dateTime("2020-07-16T10:19:30+23:59"), kMoment);
  EXPECT_EQ(dateTime("2020-07-15T10:20:30-00:00"), kMoment);
}

TEST(TWDateTime, ParsesDateTimesAlikeInEveryDefaultZone) {
  for (const char* zone : {"Asia/Tokyo", "America/New_York", "Etc/UTC"}) {
    const DefaultZoneScope scope(zone);
    EXPECT_EQ(dateTime("2020-07-15T10:20:30Z"), kMoment);
    EXPECT_EQ(dateTime("2020-07-15T10:20:30"), kMoment);
    EXPECT_EQ(dateTime("2020-07-15T12:20:30+02:00"), kMoment);
  }
}

TEST(TWDateTime, ParsesNoFractionsOfSeconds) {
  for (const char* text :
       {"2020-07-15T10:20:30.123Z", "2020-07-15T10:20:30.5+02:00", "2020-07-15T10:20:30.123",
        "2020-07-15T10:20:30.0000000Z", "2020-07-15T10:20:30.", "2020-07-15T10:20:30,5Z"})
    EXPECT_EQ(dateTime(text), std::nullopt) << text;
}

TEST(TWDateTime, ParsesOnlyRealDatesAndTimes) {
  for (const char* text : {"2020-02-30T10:20:30Z", "2019-02-29T10:20:30Z", "1900-02-29T10:20:30Z",
                           "2020-04-31T10:20:30Z", "2020-13-15T10:20:30Z", "2020-00-15T10:20:30Z",
                           "2020-07-00T10:20:30Z", "2020-07-32T10:20:30Z", "2020-07-15T24:00:00Z",
                           "2020-07-15T10:60:30Z", "2020-07-15T10:20:60Z", "0000-07-15T10:20:30Z"})
    EXPECT_EQ(dateTime(text), std::nullopt) << text;
  EXPECT_EQ(dateTime("2000-02-29T00:00:00Z"), TWInstant(951782400s));
  EXPECT_EQ(dateTime("2020-12-31T23:59:59Z"), TWInstant(1609459199s));
}

TEST(TWDateTime, ParsesOnlyRealOffsets) {
  for (const char* text :
       {"2020-07-15T10:20:30+24:00", "2020-07-15T10:20:30+02:60", "2020-07-15T10:20:30+02",
        "2020-07-15T10:20:30+2", "2020-07-15T10:20:30+2:00", "2020-07-15T10:20:30+02:0",
        "2020-07-15T10:20:30+", "2020-07-15T10:20:30-", "2020-07-15T10:20:30 02:00",
        "2020-07-15T10:20:30GMT", "2020-07-15T10:20:30GMT+02:00", "2020-07-15T10:20:30CET",
        "2020-07-15T10:20:30+020000", "2020-07-15T10:20:30+02:00:60",
        "2020-07-15T10:20:30\u221202:00"})
    EXPECT_EQ(dateTime(text), std::nullopt) << text;
}

TEST(TWDateTime, ParsesOnlyTheWholeText) {
  for (const char* text :
       {"2020-07-15T12:20:30+02:00junk", "2020-07-15T12:20:30+02:00 ", "2020-07-15T12:20:30ZZ",
        "2020-07-15T12:20:30+02:00Z", " 2020-07-15T12:20:30Z", "x2020-07-15T12:20:30Z",
        "2020-07-15T12:20:30Z\n"})
    EXPECT_EQ(dateTime(text), std::nullopt) << text;
  EXPECT_EQ(dateTime(std::string_view("2020-07-15T12:20:30Z\0", 21)), std::nullopt);
}

TEST(TWDateTime, ParsesOnlyFixedWidths) {
  for (const char* text : {"",
                           "x",
                           "Z",
                           "2020",
                           "2020-07-15",
                           "2020-07-15T",
                           "2020-07-15T10:20",
                           "2020-07-15T10:20Z",
                           "2020-7-15T10:20:30Z",
                           "2020-07-5T10:20:30Z",
                           "2020-07-15T1:20:30Z",
                           "20-07-15T10:20:30Z",
                           "12020-07-15T10:20:30Z",
                           "-2020-07-15T10:20:30Z",
                           "+2020-07-15T10:20:30Z",
                           "2020-07-15 10:20:30Z",
                           "2020-07-15t10:20:30Z",
                           "2020-07-15T10:20:30z",
                           "2020/07/15T10:20:30Z",
                           "20200715T102030Z",
                           "2020-07-15T10:20: 3Z",
                           "2020-07-15T10:20:-3Z",
                           "xxxxxxxxxxxxxxxxxxx",
                           "xxxxxxxxxxxxxxxxxxxZ"})
    EXPECT_EQ(dateTime(text), std::nullopt) << text;
}

TEST(TWDateTime, ParsesTheFirstAndTheLastYear) {
  EXPECT_EQ(dateTime("0001-01-01T00:00:00Z"), TWInstant(-62135596800s));
  EXPECT_EQ(dateTime("9999-12-31T23:59:59Z"), TWInstant(253402300799s));
  // The calendar is the Gregorian one at all times.
  EXPECT_EQ(dateTime("1582-10-15T00:00:00Z").value() - dateTime("1582-10-04T00:00:00Z").value(),
            11 * 24h);
  EXPECT_EQ(dateTime("1969-12-31T23:59:59Z"), TWInstant(-1s));
}

// The date texts, in which "mm" is minutes.

TEST(TWDateTime, ReadsTheMonthOfADateAsMinutes) {
  const DefaultZoneScope scope("Europe/Berlin");
  EXPECT_EQ(date("2020-07-15"), dateTime("2020-01-14T23:07:00Z"));
  EXPECT_EQ(date("2020-00-15"), dateTime("2020-01-14T23:00:00Z"));
  EXPECT_EQ(date("2020-59-15"), dateTime("2020-01-14T23:59:00Z"));
  EXPECT_EQ(date("2020-60-15"), std::nullopt);
}

TEST(TWDateTime, ReadsDatesInTheDefaultZone) {
  {
    const DefaultZoneScope scope("Asia/Tokyo");
    EXPECT_EQ(date("2020-07-15"), dateTime("2020-01-14T15:07:00Z"));
  }
  const DefaultZoneScope scope("America/New_York");
  EXPECT_EQ(date("2020-07-15"), dateTime("2020-01-15T05:07:00Z"));
}

TEST(TWDateTime, ReadsTheZOfADateAsALetter) {
  const DefaultZoneScope scope("Europe/Berlin");
  EXPECT_EQ(date("2020-07-15Z"), dateTime("2020-01-14T23:07:00Z"));
  EXPECT_EQ(date("2020-07-15Z"), date("2020-07-15"));
}

TEST(TWDateTime, ReadsTheOffsetOfADateAsTheTimeOfDay) {
  const DefaultZoneScope scope("Europe/Berlin");
  EXPECT_EQ(date("2020-07-15+02:30"), dateTime("2020-01-15T01:30:00Z"));
  EXPECT_EQ(date("2020-07-15-05:30"), dateTime("2020-01-15T04:30:00Z"));
  EXPECT_EQ(date("2020-07-15+00:00"), dateTime("2020-01-14T23:00:00Z"));
  EXPECT_EQ(date("2020-07-15+24:00"), std::nullopt);
  EXPECT_EQ(date("2020-07-15+02:60"), std::nullopt);
}

TEST(TWDateTime, ReadsDatesThatDifferInTheMonthAsMinutesApart) {
  const DefaultZoneScope scope("Europe/Berlin");
  EXPECT_EQ(date("2020-04-10").value() - date("2020-03-10").value(), 1min);
}

TEST(TWDateTime, ChecksTheDayOfADateAgainstJanuary) {
  const DefaultZoneScope scope("Etc/UTC");
  EXPECT_EQ(date("2020-02-31"), dateTime("2020-01-31T00:02:00Z"));
  EXPECT_EQ(date("2019-13-29"), dateTime("2019-01-29T00:13:00Z"));
  EXPECT_EQ(date("2020-02-32"), std::nullopt);
  EXPECT_EQ(date("2020-02-00"), std::nullopt);
}

TEST(TWDateTime, ReadsNoOtherDates) {
  for (const char* text : {"",
                           "x",
                           "Z",
                           ":",
                           "15.07.2020",
                           "2020-07-15T10:20:30Z",
                           "2020-7-15",
                           "2020-07-5",
                           "20-07-15",
                           "12020-07-15",
                           "-020-07-15",
                           "0000-07-15",
                           "2020-07-15z",
                           "2020-07-15ZZ",
                           "2020-07-15+0200",
                           "2020-07-15+02",
                           "2020-07-15+2:00",
                           "2020-07-15-02:00Z",
                           "2020-07-15 ",
                           " 2020-07-15",
                           "2020-07-15junk",
                           "2020-07-15:00:00",
                           "2020-aa-15",
                           "+2020-07:15"})
    EXPECT_EQ(date(text), std::nullopt) << text;
}

TEST(TWDateTime, ReadsNoDateThatTheClocksSkipped) {
  // Khartoum set its clocks from 12:00 to 13:00 on 15 January 2000.
  const DefaultZoneScope scope("Africa/Khartoum");
  EXPECT_EQ(date("2000-07-15+11:59"), dateTime("2000-01-15T09:59:00Z"));
  EXPECT_EQ(date("2000-07-15+12:00"), std::nullopt);
  EXPECT_EQ(date("2000-07-15+12:59"), std::nullopt);
  EXPECT_EQ(date("2000-07-15+13:00"), dateTime("2000-01-15T10:00:00Z"));
}

TEST(TWDateTime, ReadsTheLaterOfTwoDates) {
  // Fiji set its clocks from 03:00 back to 02:00 on 18 January 2015.
  const DefaultZoneScope scope("Pacific/Fiji");
  EXPECT_EQ(date("2015-07-18+02:30"), dateTime("2015-01-17T14:30:00Z"));
  EXPECT_EQ(date("2015-07-18+01:59"), dateTime("2015-01-17T12:59:00Z"));
}

// Printing.

TEST(TWDateTime, PrintsInTheDefaultZone) {
  {
    const DefaultZoneScope scope("Asia/Kolkata");
    EXPECT_EQ(TWDateTime::iso8601String(kMoment), "2020-07-15T15:50:30+05:30");
  }
  const DefaultZoneScope scope("America/New_York");
  EXPECT_EQ(TWDateTime::iso8601String(kMoment), "2020-07-15T06:20:30-04:00");
}

TEST(TWDateTime, PrintsZeroOffsetAsZ) {
  {
    const DefaultZoneScope scope("Etc/UTC");
    EXPECT_EQ(TWDateTime::iso8601String(kMoment), "2020-07-15T10:20:30Z");
  }
  const DefaultZoneScope scope("Europe/London");
  EXPECT_EQ(TWDateTime::iso8601String(kMoment), "2020-07-15T11:20:30+01:00");
  EXPECT_EQ(TWDateTime::iso8601String(dateTime("2020-01-15T10:20:30Z").value()),
            "2020-01-15T10:20:30Z");
}

TEST(TWDateTime, PrintsWholeSecondsWithoutRounding) {
  const DefaultZoneScope scope("Etc/UTC");
  EXPECT_EQ(TWDateTime::iso8601String(kMoment + 999ms), "2020-07-15T10:20:30Z");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant(-1ms)), "1969-12-31T23:59:59Z");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant(-1000ms)), "1969-12-31T23:59:59Z");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant(-1001ms)), "1969-12-31T23:59:58Z");
}

TEST(TWDateTime, PrintsOffsetsOfOddSeconds) {
  const DefaultZoneScope scope("Africa/Monrovia");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant()), "1969-12-31T23:15:30-00:44:30");
}

TEST(TWDateTime, PrintsEveryInstant) {
  const DefaultZoneScope scope("Etc/UTC");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant::max()), "292278994-08-17T07:12:55Z");
  EXPECT_EQ(TWDateTime::iso8601String(TWInstant::min()), "-292275055-05-16T16:47:04Z");
  EXPECT_EQ(TWDateTime::iso8601String(dateTime("9999-12-31T23:59:59Z").value() + 1s),
            "10000-01-01T00:00:00Z");
  const TWInstant first = dateTime("0001-01-01T00:00:00Z").value();
  EXPECT_EQ(TWDateTime::iso8601String(first), "0001-01-01T00:00:00Z");
  EXPECT_EQ(TWDateTime::iso8601String(first - 1s), "0000-12-31T23:59:59Z");
  EXPECT_EQ(TWDateTime::iso8601String(first - 366 * 24h - 1s), "-0001-12-31T23:59:59Z");
}

TEST(TWDateTime, PrintsYearsThatItDoesNotReadBack) {
  const DefaultZoneScope scope("Etc/UTC");
  for (const TWInstant instant : {TWInstant::min(), TWInstant::max(), TWInstant(-62135596801s)})
    EXPECT_EQ(dateTime(TWDateTime::iso8601String(instant)), std::nullopt);
}

TEST(TWDateTime, ReadsWhatItPrinted) {
  for (const char* zone :
       {"Etc/UTC", "Europe/Berlin", "Asia/Kolkata", "America/St_Johns", "Africa/Monrovia"}) {
    const DefaultZoneScope scope(zone);
    // A prime step of about 41 days, so that all hours and seasons are met.
    for (TWInstant instant{-5000000000s}; instant < TWInstant(9000000000s); instant += 3571429s)
      ASSERT_EQ(dateTime(TWDateTime::iso8601String(instant)), instant) << zone;
  }
}

// The tables.

TEST(TWDateTimeTable, Has460Entries) { EXPECT_EQ(TWDateTime::NSToMSTimezoneMap().size(), 460U); }

TEST(TWDateTimeTable, IsTheSameObjectEachTime) {
  EXPECT_EQ(&TWDateTime::NSToMSTimezoneMap(), &TWDateTime::NSToMSTimezoneMap());
  EXPECT_EQ(&TWDateTime::MSToNSTimezoneMap(), &TWDateTime::MSToNSTimezoneMap());
}

TEST(TWDateTimeTable, CoversTheRegions) {
  std::map<std::string, int> counts;
  for (const auto& [zone, windowsName] : TWDateTime::NSToMSTimezoneMap())
    ++counts[zone.substr(0, zone.find('/'))];
  const std::map<std::string, int> expected{
      {"Africa", 52},   {"America", 150},  {"Antarctica", 10}, {"Arctic", 1},  {"Asia", 83},
      {"Atlantic", 10}, {"Australia", 12}, {"Etc", 28},        {"Europe", 60}, {"Indian", 11},
      {"Pacific", 39},  {"CST6CDT", 1},    {"EST5EDT", 1},     {"MST7MDT", 1}, {"PST8PDT", 1}};
  EXPECT_EQ(counts, expected);
}

TEST(TWDateTimeTable, RunsFromAbidjanToWallis) {
  EXPECT_EQ(TWDateTime::NSToMSTimezoneMap().begin()->first, "Africa/Abidjan");
  EXPECT_EQ(TWDateTime::NSToMSTimezoneMap().rbegin()->first, "Pacific/Wallis");
}

TEST(TWDateTimeTable, HasTheTellingRows) {
  const std::pair<const char*, const char*> rows[] = {
      {"Africa/Abidjan", "Greenwich Standard Time"},
      {"Africa/Casablanca", "Morocco Standard Time"},
      {"America/Chicago", "Central Standard Time"},
      {"America/Los_Angeles", "Pacific Standard Time"},
      {"America/Sao_Paulo", "E. South America Standard Time"},
      {"Asia/Calcutta", "India Standard Time"},
      {"Asia/Kolkata", "India Standard Time"},
      {"Asia/Katmandu", "Nepal Standard Time"},
      {"Asia/Rangoon", "Myanmar Standard Time"},
      {"Australia/Sydney", "AUS Eastern Standard Time"},
      {"Etc/GMT", "UTC"},
      {"Etc/UTC", "UTC"},
      {"Etc/GMT+2", "UTC-02"},  // POSIX signs: west is positive
      {"Etc/GMT-13", "UTC+13"},
      {"Europe/Berlin", "W. Europe Standard Time"},
      {"Europe/London", "GMT Standard Time"},
      {"Europe/Paris", "Romance Standard Time"},
      {"Pacific/Auckland", "New Zealand Standard Time"}};
  for (const auto& [zone, windowsName] : rows) {
    const auto found = TWDateTime::NSToMSTimezoneMap().find(zone);
    ASSERT_NE(found, TWDateTime::NSToMSTimezoneMap().end()) << zone;
    EXPECT_EQ(found->second, windowsName) << zone;
  }
}

TEST(TWDateTimeTable, LacksTheNamesThatItsEditionLacks) {
  for (const char* zone : {"Asia/Kathmandu", "Asia/Yangon", "Europe/Kyiv", "UTC", ""})
    EXPECT_FALSE(TWDateTime::NSToMSTimezoneMap().contains(zone)) << zone;
}

struct DataRows {
  TWDateTime::ZoneMap zones;
  std::map<std::string, std::string> principals;
};

DataRows readDataFile() {
  DataRows rows;
  std::ifstream file(TARNWELL_ZONE_DATA);
  EXPECT_TRUE(file) << TARNWELL_ZONE_DATA;
  for (std::string line; std::getline(file, line);) {
    const std::size_t first = line.find('\t');
    const std::size_t second = line.find('\t', first + 1);
    const std::string zone = line.substr(0, first);
    const std::string windowsName = line.substr(first + 1, second - first - 1);
    EXPECT_TRUE(rows.zones.emplace(zone, windowsName).second) << "twice: " << zone;
    if (line.substr(second + 1) == "*") {
      EXPECT_TRUE(rows.principals.emplace(windowsName, zone).second) << "two: " << windowsName;
    }
  }
  return rows;
}

TEST(TWDateTimeTable, EqualsItsDataFile) {
  EXPECT_EQ(TWDateTime::NSToMSTimezoneMap(), readDataFile().zones);
}

TEST(TWDateTimeTable, HasEachWindowsNameOnceInTheInverse) {
  std::set<std::string> windowsNames;
  for (const auto& [zone, windowsName] : TWDateTime::NSToMSTimezoneMap())
    windowsNames.insert(windowsName);
  EXPECT_EQ(windowsNames.size(), 135U);
  std::set<std::string> keys;
  for (const auto& [windowsName, zone] : TWDateTime::MSToNSTimezoneMap()) {
    keys.insert(windowsName);
    EXPECT_EQ(TWDateTime::NSToMSTimezoneMap().at(zone), windowsName);
  }
  EXPECT_EQ(keys, windowsNames);
}

TEST(TWDateTimeTable, GivesThePrincipalZoneOfAWindowsName) {
  const auto principals = readDataFile().principals;
  EXPECT_EQ(principals.size(), 135U);
  for (const auto& [windowsName, zone] : principals)
    EXPECT_EQ(TWDateTime::MSToNSTimezoneMap().at(windowsName), zone);
  EXPECT_EQ(TWDateTime::MSToNSTimezoneMap().find("India Standard Time")->second, "Asia/Calcutta");
  EXPECT_EQ(TWDateTime::MSToNSTimezoneMap().find("GMT Standard Time")->second, "Europe/London");
  EXPECT_EQ(TWDateTime::MSToNSTimezoneMap().find("Pacific Standard Time")->second,
            "America/Los_Angeles");
}

// Run alone by ctest, so the first use of everything is the one of eight threads.
TEST(TWDateTimeThreads, UseTablesParsersAndPrintersAtOnceFromTheFirstCallOn) {
  constexpr int kThreads = 8;
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&start] {
      start.arrive_and_wait();
      EXPECT_EQ(TWDateTime::MSToNSTimezoneMap().size(), 135U);
      EXPECT_EQ(TWDateTime::NSToMSTimezoneMap().size(), 460U);
      const TWTimeZone zone = TWTimeZone::defaultZone();
      for (int round = 0; round < 200; ++round) {
        const TWInstant instant = kMoment + round * 24h;
        EXPECT_EQ(dateTime(TWDateTime::iso8601String(instant)), instant);
        EXPECT_TRUE(date("2020-07-15"));
        EXPECT_FALSE(zone.localize(instant).empty());
      }
    });
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tarnwell
