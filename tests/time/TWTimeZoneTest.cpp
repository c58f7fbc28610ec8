#include <chrono>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/TWTimeZone.h"

#include "tests/time/DefaultZoneScope.h"

namespace tarnwell {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using test::DefaultZoneScope;
using test::zoneNamed;

TWInstant at(const char* text) { return TWDateTime::dateTimeFromString(text).value(); }

TEST(TWTimeZone, IsUtcByDefault) {
  const TWTimeZone zone;
  EXPECT_EQ(zone.name(), "Etc/UTC");
  EXPECT_EQ(zone.mszone(), "UTC");
  EXPECT_EQ(zone, zoneNamed("Etc/UTC"));
  EXPECT_EQ(zone.offsetAt(at("2020-07-15T08:30:05Z")), seconds(0));
  EXPECT_EQ(zone.daylightSavingOffsetAt(at("2020-07-15T08:30:05Z")), seconds(0));
  EXPECT_EQ(zone.localize(at("2020-07-15T08:30:05Z")), "2020-30-15 08:30:05GMT");
}

TEST(TWTimeZone, StaysUsableAfterItWasMovedFrom) {
  TWTimeZone zone = zoneNamed("Europe/Berlin");
  const TWTimeZone other = std::move(zone);
  EXPECT_EQ(other.name(), "Europe/Berlin");
  // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): the point of this test
  EXPECT_EQ(zone.name(), "Etc/UTC");
}

TEST(TWTimeZone, IsFoundByItsIanaName) {
  const auto zone = TWTimeZone::fromTimeZone("Europe/Berlin");
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->name(), "Europe/Berlin");
  EXPECT_EQ(zone->offsetAt(at("2020-07-15T00:00:00Z")), hours(2));
}

TEST(TWTimeZone, IsAbsentForUnknownNames) {
  for (const char* name : {"Foo/Bar", "", "Etc/Unknown", "europe/berlin", "Europe/Berlin ", "EST5",
                           "posix/Europe/Berlin", "/usr/share/zoneinfo/Europe/Berlin", "\xff\xfe"})
    EXPECT_FALSE(TWTimeZone::fromTimeZone(name)) << name;
  EXPECT_FALSE(TWTimeZone::fromTimeZone(std::string(10000, 'A')));
  EXPECT_FALSE(TWTimeZone::fromTimeZone(std::string_view("Europe/Berlin\0", 14)));
}

TEST(TWTimeZone, IsNotMadeUpFromAnOffset) {
  // ICU would, with the sign that POSIX does not mean.
  for (const char* name : {"GMT+3", "GMT+03:00", "GMT-0330"})
    EXPECT_FALSE(TWTimeZone::fromTimeZone(name)) << name;
}

std::set<std::string> namesKnownToIcu() {
  std::set<std::string> names;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createEnumeration());
  while (const char* id = ids->next(nullptr, status)) names.insert(id);
  EXPECT_TRUE(U_SUCCESS(status));
  return names;
}

// Of ICU's names: those that the IANA data does not have (any more).
const std::set<std::string> kNamesOfIcuAlone{"ACT",
                                             "AET",
                                             "AGT",
                                             "ART",
                                             "AST",
                                             "BET",
                                             "BST",
                                             "CAT",
                                             "CNT",
                                             "CST",
                                             "CTT",
                                             "EAT",
                                             "ECT",
                                             "IET",
                                             "IST",
                                             "JST",
                                             "MIT",
                                             "NET",
                                             "NST",
                                             "PLT",
                                             "PNT",
                                             "PRT",
                                             "PST",
                                             "SST",
                                             "VST",
                                             "SystemV/AST4",
                                             "SystemV/AST4ADT",
                                             "SystemV/CST6",
                                             "SystemV/CST6CDT",
                                             "SystemV/EST5",
                                             "SystemV/EST5EDT",
                                             "SystemV/HST10",
                                             "SystemV/MST7",
                                             "SystemV/MST7MDT",
                                             "SystemV/PST8",
                                             "SystemV/PST8PDT",
                                             "SystemV/YST9",
                                             "SystemV/YST9YDT",
                                             "US/Pacific-New",
                                             "Canada/East-Saskatchewan",
                                             "Etc/Unknown"};

TEST(TWTimeZone, IsAbsentForNamesThatAreIcusAlone) {
  for (const std::string& name : kNamesOfIcuAlone) {
    EXPECT_FALSE(TWTimeZone::fromTimeZone(name)) << name;
    EXPECT_FALSE(TWTimeZone::fromMSTimeZone(name)) << name;
  }
}

TEST(TWTimeZone, IsFoundByEveryOtherNameOfTheZoneData) {
  const std::set<std::string> names = namesKnownToIcu();
  EXPECT_GT(names.size(), 500U);
  for (const std::string& name : names)
    EXPECT_NE(TWTimeZone::fromTimeZone(name).has_value(), kNamesOfIcuAlone.contains(name)) << name;
  for (const char* name : {"CET", "EET", "EST", "GMT", "HST", "MET", "MST", "PRC", "ROC", "ROK",
                           "UCT", "UTC", "WET", "EST5EDT", "US/Pacific", "GMT0", "Zulu"})
    EXPECT_TRUE(TWTimeZone::fromTimeZone(name)) << name;
}

TEST(TWTimeZone, TakesAnyBytesWithoutHarm) {
  std::mt19937 random(11);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes(1 + random() % 40, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    ASSERT_FALSE(TWTimeZone::fromTimeZone(bytes)) << testing::PrintToString(bytes);
    ASSERT_FALSE(TWTimeZone::fromMSTimeZone(bytes)) << testing::PrintToString(bytes);
  }
}

TEST(TWTimeZone, IsFoundByARealNameOnlyAmongNamesThatAreOneByteOff) {
  const std::set<std::string> known = namesKnownToIcu();
  const std::vector<std::string> names(known.begin(), known.end());
  std::mt19937 random(12);
  int real = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string name = names[random() % names.size()];
    switch (random() % 3) {
      case 0:
        name[random() % name.size()] = static_cast<char>(random());
        break;
      case 1:
        name.erase(random() % name.size(), 1);
        break;
      default:
        name.insert(random() % name.size(), 1, static_cast<char>(random()));
    }
    const bool expected = known.contains(name) && !kNamesOfIcuAlone.contains(name);
    ASSERT_EQ(TWTimeZone::fromTimeZone(name).has_value(), expected) << testing::PrintToString(name);
    ASSERT_EQ(TWTimeZone::fromMSTimeZone(name).has_value(), expected)
        << testing::PrintToString(name);
    real += expected ? 1 : 0;
  }
  EXPECT_GT(real, 0);  // "Etc/GMT+12" without its last digit
}

TEST(TWTimeZone, KeepsItsNameAsGiven) {
  for (const char* name : {"Asia/Calcutta", "Asia/Kolkata", "Asia/Katmandu", "Asia/Kathmandu",
                           "Europe/Kyiv", "UTC", "US/Pacific"})
    EXPECT_EQ(zoneNamed(name).name(), name);
}

TEST(TWTimeZone, HasTheWindowsNameOfItsOwnRow) {
  EXPECT_EQ(zoneNamed("Etc/UTC").mszone(), "UTC");
  EXPECT_EQ(zoneNamed("Europe/Berlin").mszone(), "W. Europe Standard Time");
  EXPECT_EQ(zoneNamed("Asia/Calcutta").mszone(), "India Standard Time");
  EXPECT_EQ(zoneNamed("Asia/Kolkata").mszone(), "India Standard Time");
}

TEST(TWTimeZone, GoesByItsIanaNameWhenTheTableLacksIt) {
  for (const char* name : {"Asia/Yangon", "Asia/Kathmandu", "Europe/Kyiv", "UTC", "US/Pacific"})
    EXPECT_EQ(zoneNamed(name).mszone(), name);
}

TEST(TWTimeZone, IsFoundByItsWindowsName) {
  const auto zone = TWTimeZone::fromMSTimeZone("W. Europe Standard Time");
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->name(), "Europe/Berlin");
  EXPECT_EQ(TWTimeZone::fromMSTimeZone("India Standard Time").value().name(), "Asia/Calcutta");
  EXPECT_EQ(TWTimeZone::fromMSTimeZone("UTC").value().name(), "Etc/GMT");
}

TEST(TWTimeZone, IsFoundByAnIanaNameWhereAWindowsNameIsExpected) {
  EXPECT_EQ(TWTimeZone::fromMSTimeZone("Europe/Berlin").value().name(), "Europe/Berlin");
  EXPECT_EQ(TWTimeZone::fromMSTimeZone("Asia/Yangon").value().name(), "Asia/Yangon");
}

TEST(TWTimeZone, IsAbsentForNamesThatAreNeitherWindowsNorIana) {
  for (const char* name :
       {"No Such Standard Time", "w. europe standard time", "W. Europe Standard Time ",
        " W. Europe Standard Time", "W.  Europe Standard Time", "", "Etc/Unknown"})
    EXPECT_FALSE(TWTimeZone::fromMSTimeZone(name)) << name;
}

TEST(TWTimeZone, ReadsItsOwnWindowsNameAgainForEveryWindowsName) {
  ASSERT_EQ(TWDateTime::MSToNSTimezoneMap().size(), 135U);
  for (const auto& [windowsName, name] : TWDateTime::MSToNSTimezoneMap()) {
    const auto zone = TWTimeZone::fromMSTimeZone(windowsName);
    ASSERT_TRUE(zone) << windowsName;
    EXPECT_EQ(zone->name(), name);
    EXPECT_EQ(zone->mszone(), windowsName);
  }
}

TEST(TWTimeZone, ExistsForEveryRowOfTheTable) {
  for (const auto& [name, windowsName] : TWDateTime::NSToMSTimezoneMap())
    EXPECT_TRUE(TWTimeZone::fromTimeZone(name)) << name;
}

TEST(TWTimeZone, TellsItsOffsetWithDaylightSaving) {
  const TWTimeZone berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(berlin.offsetAt(at("2020-01-15T00:00:00Z")), hours(1));
  EXPECT_EQ(berlin.daylightSavingOffsetAt(at("2020-01-15T00:00:00Z")), hours(0));
  EXPECT_EQ(berlin.offsetAt(at("2020-07-15T00:00:00Z")), hours(2));
  EXPECT_EQ(berlin.daylightSavingOffsetAt(at("2020-07-15T00:00:00Z")), hours(1));
  // The last second of summer, by the millisecond.
  EXPECT_EQ(berlin.offsetAt(at("2020-10-25T01:00:00Z") - std::chrono::milliseconds(1)), hours(2));
  EXPECT_EQ(berlin.offsetAt(at("2020-10-25T01:00:00Z")), hours(1));
  // A zone that moves by half an hour.
  EXPECT_EQ(zoneNamed("Australia/Lord_Howe").daylightSavingOffsetAt(at("2020-01-15T00:00:00Z")),
            minutes(30));
  EXPECT_EQ(zoneNamed("Asia/Kolkata").offsetAt(at("2020-01-15T00:00:00Z")), minutes(330));
  EXPECT_EQ(zoneNamed("America/New_York").offsetAt(at("2020-01-15T00:00:00Z")), -hours(5));
}

TEST(TWTimeZone, HasOffsetsOfOddSecondsBeforeStandardTime) {
  EXPECT_EQ(zoneNamed("Europe/Berlin").offsetAt(at("1850-01-01T00:00:00Z")), seconds(3208));
  EXPECT_EQ(zoneNamed("America/New_York").offsetAt(at("0001-01-01T00:00:00Z")), -seconds(17762));
}

TEST(TWTimeZone, HasAnOffsetAtEveryInstant) {
  const TWTimeZone berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(berlin.offsetAt(TWInstant::min()), seconds(3208));
  const seconds last = berlin.offsetAt(TWInstant::max());  // 17 August
  EXPECT_EQ(last, hours(2));
  EXPECT_EQ(berlin.localize(TWInstant::max()), "292278994-12-17 09:12:55GMT+02:00");
  EXPECT_EQ(berlin.localize(TWInstant::max(), true), "292278994-12-17 10:12:55GMT+02:00");
  EXPECT_EQ(berlin.localize(TWInstant::min()), "-292275055-40-16 17:40:32GMT+00:53:28");
  // Rules go on as the calendar does, every 400 years: on both sides of the year 4000 too.
  const TWInstant summer = at("2020-07-15T00:00:00Z");
  const std::chrono::days cycle(146097);
  for (int cycles = 1; cycles < 2000; ++cycles) {
    EXPECT_EQ(berlin.offsetAt(summer + cycles * cycle), hours(2)) << cycles;
    EXPECT_EQ(berlin.offsetAt(summer - hours(24 * 182) + cycles * cycle), hours(1)) << cycles;
  }
  EXPECT_EQ(berlin.offsetAt(at("3999-12-31T23:59:59Z")), hours(1));
  EXPECT_EQ(berlin.offsetAt(at("4000-07-01T00:00:00Z")), hours(2));
}

TEST(TWTimeZone, LocalizesWithMinutesInTheMonthsPlace) {
  const TWTimeZone berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(berlin.localize(at("2020-07-15T08:30:05Z")), "2020-30-15 10:30:05GMT+02:00");
  EXPECT_EQ(berlin.localize(at("2020-01-15T08:07:05Z")), "2020-07-15 09:07:05GMT+01:00");
  EXPECT_EQ(zoneNamed("America/New_York").localize(at("2020-01-15T03:07:05Z")),
            "2020-07-14 22:07:05GMT-05:00");
}

TEST(TWTimeZone, LocalizesZeroOffsetAsPlainGmt) {
  EXPECT_EQ(zoneNamed("Etc/UTC").localize(at("2020-07-15T08:30:05Z")), "2020-30-15 08:30:05GMT");
  EXPECT_EQ(zoneNamed("Europe/London").localize(at("2020-01-15T08:30:05Z")),
            "2020-30-15 08:30:05GMT");
}

TEST(TWTimeZone, LocalizesSecondsOfTheOffset) {
  EXPECT_EQ(zoneNamed("Africa/Monrovia").localize(at("1970-01-01T00:00:00Z")),
            "1969-15-31 23:15:30GMT-00:44:30");
}

TEST(TWTimeZone, LocalizesWithoutTheFlagAsWithFalse) {
  for (const char* name : {"Europe/Berlin", "Etc/UTC", "Asia/Tokyo"})
    for (const char* text : {"2020-07-15T08:30:05Z", "2020-01-15T08:30:05Z"})
      EXPECT_EQ(zoneNamed(name).localize(at(text)), zoneNamed(name).localize(at(text), false));
}

TEST(TWTimeZone, LocalizesAnHourAheadInSummerWhenAskedForDaylightSaving) {
  EXPECT_EQ(zoneNamed("Europe/Berlin").localize(at("2020-07-15T08:30:05Z"), true),
            "2020-30-15 11:30:05GMT+02:00");
  EXPECT_EQ(zoneNamed("Australia/Lord_Howe").localize(at("2020-01-15T00:00:00Z"), true),
            "2020-30-15 11:30:00GMT+11:00");
}

TEST(TWTimeZone, LocalizesTheOffsetOfTheShiftedInstant) {
  // Half an hour before summer ends, the hour that is added leads behind the end.
  EXPECT_EQ(zoneNamed("Europe/Berlin").localize(at("2020-10-25T00:30:00Z"), true),
            "2020-30-25 02:30:00GMT+01:00");
}

TEST(TWTimeZone, LocalizesTheSameWithTheFlagWhenNoDaylightSavingIsInForce) {
  EXPECT_EQ(zoneNamed("Europe/Berlin").localize(at("2020-01-15T08:30:05Z"), true),
            "2020-30-15 09:30:05GMT+01:00");
  EXPECT_EQ(zoneNamed("Asia/Tokyo").localize(at("2020-07-15T08:30:05Z"), true),
            "2020-30-15 17:30:05GMT+09:00");
}

TEST(TWTimeZone, ComparesByName) {
  EXPECT_EQ(zoneNamed("Europe/Berlin"), zoneNamed("Europe/Berlin"));
  EXPECT_NE(zoneNamed("Asia/Calcutta"), zoneNamed("Asia/Kolkata"));
  EXPECT_TRUE(TWTimeZone().isEqual(zoneNamed("Etc/UTC")));
  EXPECT_EQ(TWTimeZone().hash(), zoneNamed("Etc/UTC").hash());
  const std::unordered_set<TWTimeZone> set{zoneNamed("Europe/Berlin"), zoneNamed("Europe/Berlin"),
                                           TWTimeZone()};
  EXPECT_EQ(set.size(), 2U);
}

TEST(TWTimeZone, PrintsItsName) {
  std::ostringstream stream;
  stream << zoneNamed("Europe/Berlin") << ' ' << TWTimeZone();
  EXPECT_EQ(stream.str(), "Europe/Berlin Etc/UTC");
  EXPECT_EQ(zoneNamed("Europe/Berlin").description(), "Europe/Berlin");
}

TEST(TWTimeZone, DefaultCanBeReplaced) {
  const TWTimeZone before = TWTimeZone::defaultZone();
  {
    const DefaultZoneScope scope("Asia/Kolkata");
    EXPECT_EQ(TWTimeZone::defaultZone().name(), "Asia/Kolkata");
  }
  EXPECT_EQ(TWTimeZone::defaultZone(), before);
}

TEST(TWTimeZone, DefaultIsReadAndReplacedFromManyThreads) {
  const DefaultZoneScope scope("Asia/Kolkata");
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([i] {
      for (int round = 0; round < 200; ++round) {
        if (i == 0)
          TWTimeZone::setDefaultZone(zoneNamed(round % 2 ? "Asia/Tokyo" : "Asia/Kolkata"));
        const TWTimeZone zone = TWTimeZone::defaultZone();
        const seconds offset = zone.offsetAt(TWInstant());
        EXPECT_EQ(offset, zone.name() == "Asia/Tokyo" ? hours(9) : minutes(330));
      }
    });
  for (std::thread& thread : threads) thread.join();
}

TEST(TWTimeZone, IsUsedFromManyThreadsAtOnce) {
  const TWTimeZone shared = zoneNamed("Europe/Berlin");
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&shared] {
      for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(shared.localize(at("2020-07-15T08:30:05Z")), "2020-30-15 10:30:05GMT+02:00");
        EXPECT_EQ(TWTimeZone::fromMSTimeZone("Tokyo Standard Time").value().mszone(),
                  "Tokyo Standard Time");
      }
    });
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tarnwell
