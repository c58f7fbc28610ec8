// Holds our parsers and printers against ICU's formatters, whose patterns define the texts. Where
// the two are meant to differ, a test says so.
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <memory>
#include <optional>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/detail/DateTimeText.h"

#include "tests/time/DefaultZoneScope.h"

namespace tarnwell::detail {
namespace {

using test::DefaultZoneScope;
using test::zoneNamed;

constexpr const char* kZones[] = {"Etc/UTC",
                                  "Europe/Berlin",
                                  "Europe/London",
                                  "Asia/Kolkata",
                                  "America/New_York",
                                  "America/St_Johns",
                                  "Africa/Monrovia",
                                  "Africa/Khartoum",
                                  "Asia/Singapore",
                                  "Pacific/Fiji",
                                  "Pacific/Apia",
                                  "America/Sao_Paulo",
                                  "Pacific/Kiritimati",
                                  "Australia/Lord_Howe",
                                  "Europe/Dublin"};

icu::UnicodeString toIcu(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int>(text.size())));
}

// A strict formatter with the Gregorian calendar at all times, as xs:dateTime has it. (Left to
// itself ICU changes to the Julian calendar before 15 October 1582.)
class IcuFormat {
 public:
  IcuFormat(std::string_view pattern, std::string_view zone) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(
        icu::TimeZone::createTimeZone(toIcu(zone)), icu::Locale("en_US_POSIX"), status);
    calendar->setGregorianChange(-1e16, status);
    format_ =
        std::make_unique<icu::SimpleDateFormat>(toIcu(pattern), icu::Locale("en_US_POSIX"), status);
    EXPECT_TRUE(U_SUCCESS(status));
    format_->adoptCalendar(calendar.release());
    format_->setLenient(false);
  }

  // The milliseconds since 1970 that the whole text names.
  [[nodiscard]] std::optional<std::int64_t> parse(std::string_view text) const {
    const icu::UnicodeString source = toIcu(text);
    icu::ParsePosition position(0);
    const UDate date = format_->parse(source, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length() || source.isEmpty())
      return std::nullopt;
    return static_cast<std::int64_t>(date);
  }

  [[nodiscard]] std::string print(TWInstant instant) const {
    icu::UnicodeString target;
    format_->format(static_cast<UDate>(instant.time_since_epoch().count()), target);
    std::string out;
    return target.toUTF8String(out);
  }

 private:
  std::unique_ptr<icu::SimpleDateFormat> format_;
};

// The patterns, and which one a text is read with.
class IcuDateTime {
 public:
  [[nodiscard]] std::optional<std::int64_t> parse(std::string_view text) const {
    if (text.ends_with('Z')) return zulu_.parse(text);
    return text.size() == 19 ? plain_.parse(text) : offset_.parse(text);
  }

 private:
  IcuFormat zulu_{"yyyy-MM-dd'T'HH:mm:ss'Z'", "GMT"};
  IcuFormat plain_{"yyyy-MM-dd'T'HH:mm:ss", "GMT"};
  IcuFormat offset_{"yyyy-MM-dd'T'HH:mm:ssZZZZZ", "GMT"};
};

class IcuDate {
 public:
  explicit IcuDate(std::string_view zone)
      : zulu_("yyyy-mm-dd'Z'", zone),
        east_("yyyy-mm-dd+HH:mm", zone),
        west_("yyyy-mm-dd-HH:mm", zone),
        plain_("yyyy-mm-dd", zone) {}

  [[nodiscard]] std::optional<std::int64_t> parse(std::string_view text) const {
    if (text.ends_with('Z')) return zulu_.parse(text);
    if (text.find(':') == std::string_view::npos) return plain_.parse(text);
    return text.find('+') == std::string_view::npos ? west_.parse(text) : east_.parse(text);
  }

 private:
  IcuFormat zulu_;
  IcuFormat east_;
  IcuFormat west_;
  IcuFormat plain_;
};

std::optional<std::int64_t> inMilliseconds(const std::optional<TWInstant>& instant) {
  if (!instant) return std::nullopt;
  return instant->time_since_epoch().count();
}

// The widths that we insist on. ICU also takes shorter and longer years, leading blanks, digits of
// other scripts and more forms of the offset; xs:dateTime has none of these.
bool hasDateTimeWidths(const std::string& text) {
  static const std::regex widths(
      R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:?\d\d|[+-]\d\d:\d\d:\d\d)?)");
  return std::regex_match(text, widths);
}

bool hasDateWidths(const std::string& text) {
  static const std::regex widths(R"(\d{4}-\d\d-\d\d(Z|[+-]\d\d:\d\d)?)");
  return std::regex_match(text, widths);
}

// Texts from a fixed seed, so that a failure comes again.
class TextMaker {
 public:
  [[nodiscard]] int below(int limit) {
    return static_cast<int>(random_() % static_cast<unsigned>(limit));
  }

  // Mostly real, sometimes a little off the end of a field's range.
  [[nodiscard]] std::string dateTime() {
    std::string text =
        year() + '-' + two(14) + '-' + two(33) + 'T' + two(25) + ':' + two(61) + ':' + two(61);
    const std::string sign = below(2) ? "+" : "-";
    switch (below(5)) {
      case 0:
        return text;
      case 1:
        return text + 'Z';
      case 2:
        return text + sign + two(15) + two(61);
      case 3:
        return text + sign + two(25) + ':' + two(61) + ':' + two(61);
      default:
        return text + sign + two(25) + ':' + two(61);
    }
  }

  [[nodiscard]] std::string date() {
    std::string text = year() + '-' + two(62) + '-' + two(33);
    switch (below(4)) {
      case 0:
        return text;
      case 1:
        return text + 'Z';
      case 2:
        return text + '+' + two(25) + ':' + two(61);
      default:
        return text + '-' + two(25) + ':' + two(61);
    }
  }

  // One or two characters replaced, left out or put in.
  [[nodiscard]] std::string mutated(std::string text) {
    constexpr std::string_view kCharacters = "0123456789-+:.TZ tzGMx\n";
    for (int edits = 1 + below(2); edits > 0 && !text.empty(); --edits) {
      const auto place = static_cast<std::size_t>(below(static_cast<int>(text.size())));
      const char c = kCharacters[static_cast<std::size_t>(below(kCharacters.size()))];
      switch (below(4)) {
        case 0:
          text.erase(place, 1);
          break;
        case 1:
          text.insert(place, 1, c);
          break;
        case 2:
          text.resize(place);
          break;
        default:
          text[place] = c;
      }
    }
    return text;
  }

 private:
  [[nodiscard]] std::string year() {
    const int number = below(4) ? 1850 + below(250) : below(10000);
    std::string digits = std::to_string(number);
    return std::string(4 - digits.size(), '0') + digits;
  }
  [[nodiscard]] std::string two(int limit) {
    const int number = below(limit);
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
  }

  std::mt19937 random_{20200715};
};

// Holds one of our parsers against ICU's for texts that are a little wrong: the same where the
// widths are right, else absent.
template <class Icu, class HasWidths, class Parse>
void expectMutatedTextsAreParsedAsBy(const Icu& icu, std::string (TextMaker::*make)(),
                                     HasWidths hasWidths, Parse parse) {
  TextMaker maker;
  int right = 0;
  for (int i = 0; i < 40000; ++i) {
    const std::string text = maker.mutated((maker.*make)());
    const std::optional<std::int64_t> ours = inMilliseconds(parse(text));
    if (hasWidths(text)) {
      ++right;
      ASSERT_EQ(ours, icu.parse(text)) << text;
    } else {
      ASSERT_EQ(ours, std::nullopt) << text;
    }
  }
  EXPECT_GT(right, 1000);
  EXPECT_LT(right, 39000);
}

TEST(DateTimeText, ParsesDateTimesAsIcuDoes) {
  const IcuDateTime icu;
  TextMaker maker;
  int parsed = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string text = maker.dateTime();
    ASSERT_TRUE(hasDateTimeWidths(text)) << text;
    const auto ours = inMilliseconds(TWDateTime::dateTimeFromString(text));
    ASSERT_EQ(ours, icu.parse(text)) << text;
    parsed += ours ? 1 : 0;
  }
  // Both kinds came up often.
  EXPECT_GT(parsed, 10000);
  EXPECT_LT(parsed, 19000);
}

TEST(DateTimeText, ParsesMutatedDateTimesAsIcuDoesWhereTheWidthsAreRight) {
  const IcuDateTime icu;
  expectMutatedTextsAreParsedAsBy(
      icu, &TextMaker::dateTime, hasDateTimeWidths,
      [](const std::string& text) { return TWDateTime::dateTimeFromString(text); });
}

TEST(DateTimeText, RefusesDateTimesOfOtherWidthsThatIcuTakes) {
  const IcuDateTime icu;
  for (const char* text :
       {"2020-07-15T12:20:30+02", "2020-07-15T12:20:30+2", "2020-07-15T12:20:30z",
        "2020-07-15T12:20:30GMT+2", "2020-07-15T12:20:30UTC", "2020-07-15T12:20:30 +02:00",
        " 2020-07-15T12:20:30+02:00", "20-07-15T12:20:30+02:00", "12020-07-15T12:20:30+02:00",
        "2020-07-15T12:20:30+020030", "\xD9\xA2\xD9\xA0\xD9\xA2\xD9\xA0-07-15T12:20:30+02:00"}) {
    EXPECT_NE(icu.parse(text), std::nullopt) << text;
    EXPECT_EQ(parseDateTime(text), std::nullopt) << text;
  }
}

TEST(DateTimeText, ParsesDatesAsIcuDoes) {
  for (const char* zone : kZones) {
    const DefaultZoneScope scope(zone);
    const IcuDate icu(zone);
    TextMaker maker;
    int parsed = 0;
    for (int i = 0; i < 3000; ++i) {
      const std::string text = maker.date();
      ASSERT_TRUE(hasDateWidths(text)) << text;
      const auto ours = inMilliseconds(TWDateTime::dateFromString(text));
      ASSERT_EQ(ours, icu.parse(text)) << text << ' ' << zone;
      parsed += ours ? 1 : 0;
    }
    EXPECT_GT(parsed, 2000);
    EXPECT_LT(parsed, 2950);
  }
}

TEST(DateTimeText, ParsesEveryMinuteOfJanuaryAsIcuDoesWhereTheClocksChanged) {
  const std::pair<const char*, const char*> changes[] = {
      {"Africa/Khartoum", "2000-00-15"},  {"Asia/Singapore", "1982-00-01"},
      {"Pacific/Fiji", "2015-00-18"},     {"Pacific/Kiritimati", "1995-00-01"},
      {"Europe/Amsterdam", "1940-00-01"}, {"America/Sao_Paulo", "2000-00-01"},
      {"Africa/Monrovia", "1972-00-07"}};
  for (const auto& [zone, day] : changes) {
    const DefaultZoneScope scope(zone);
    const IcuDate icu(zone);
    for (int minute = 0; minute < 24 * 60; ++minute) {
      const std::string clock = std::to_string(100 + minute / 60).substr(1) + ':' +
                                std::to_string(100 + minute % 60).substr(1);
      const std::string text = day + ('+' + clock);
      ASSERT_EQ(inMilliseconds(TWDateTime::dateFromString(text)), icu.parse(text))
          << text << ' ' << zone;
    }
  }
}

TEST(DateTimeText, ParsesMutatedDatesAsIcuDoesWhereTheWidthsAreRight) {
  const DefaultZoneScope scope("Europe/Berlin");
  const IcuDate icu("Europe/Berlin");
  expectMutatedTextsAreParsedAsBy(
      icu, &TextMaker::date, hasDateWidths,
      [](const std::string& text) { return TWDateTime::dateFromString(text); });
}

TEST(DateTimeText, PrintsAsIcuDoesFromTheYear1To9999) {
  constexpr std::int64_t kFirst = -62135510400000;  // a day inside, so that local years fit too
  constexpr std::int64_t kLast = 253402214400000;
  for (const char* zone : kZones) {
    const DefaultZoneScope scope(zone);
    const IcuFormat iso("yyyy-MM-dd'T'HH:mm:ssZZZZZ", zone);
    const IcuFormat localized("yyyy-mm-dd HH:mm:ssZZZZ", zone);
    std::mt19937_64 random(19);
    std::uniform_int_distribution<std::int64_t> ever(kFirst, kLast);
    std::uniform_int_distribution<std::int64_t> near(-3786825600000,
                                                     4102444800000);  // 1850 to 2100
    for (int i = 0; i < 2000; ++i) {
      const TWInstant instant(std::chrono::milliseconds(i % 4 ? near(random) : ever(random)));
      ASSERT_EQ(TWDateTime::iso8601String(instant), iso.print(instant)) << zone;
      ASSERT_EQ(zoneNamed(zone).localize(instant), localized.print(instant)) << zone;
    }
  }
}

TEST(DateTimeText, TakesAnyBytesWithoutHarm) {
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes(random() % 40, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(parseDateTime(bytes), std::nullopt);
    EXPECT_EQ(parseDate(bytes), std::nullopt);
  }
}

// A locale of C++ that writes 2020 as "2.020", for those that the system lacks.
class Grouping : public std::numpunct<char> {
 protected:
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] char do_decimal_point() const override { return ','; }
  [[nodiscard]] std::string do_grouping() const override { return "\1"; }
};

void expectTheTextsOfOneInstant() {
  const TWInstant instant(std::chrono::seconds(1594808430));
  EXPECT_EQ(TWDateTime::dateTimeFromString("2020-07-15T12:20:30+02:00"), instant);
  EXPECT_EQ(TWDateTime::dateFromString("2020-07-15+05:30"),
            TWDateTime::dateTimeFromString("2020-01-15T04:30:00Z"));
  EXPECT_EQ(TWDateTime::iso8601String(instant), "2020-07-15T12:20:30+02:00");
  EXPECT_EQ(zoneNamed("Europe/Berlin").localize(instant), "2020-20-15 12:20:30GMT+02:00");
}

TEST(DateTimeText, IsTheSameInEveryLocale) {
  const DefaultZoneScope scope("Europe/Berlin");
  // NOLINTBEGIN(concurrency-mt-unsafe): this test has one thread
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* name : {"C", "de_DE.UTF-8", "ar_EG.UTF-8", "fa_IR.UTF-8", "th_TH.UTF-8"}) {
    if (!std::setlocale(LC_ALL, name)) continue;  // not installed
    SCOPED_TRACE(name);
    expectTheTextsOfOneInstant();
  }
  std::setlocale(LC_ALL, before.c_str());
  // NOLINTEND(concurrency-mt-unsafe)

  const std::locale grouping(std::locale::classic(), new Grouping);
  const std::locale global = std::locale::global(grouping);
  std::ostringstream changed;
  changed << 2020;
  EXPECT_EQ(changed.str(), "2.0.2.0");
  expectTheTextsOfOneInstant();
  std::locale::global(global);

  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale icuDefault = icu::Locale::getDefault();
  icu::Locale::setDefault(icu::Locale("ar_EG@calendar=islamic"), status);
  expectTheTextsOfOneInstant();
  icu::Locale::setDefault(icuDefault, status);
  EXPECT_TRUE(U_SUCCESS(status));
}

TEST(DateTimeText, CountsTheCalendarBothWays) {
  EXPECT_EQ(civilTime(0), CivilTime{});
  EXPECT_EQ(civilTime(-1), (CivilTime{1969, 12, 31, 23, 59, 59}));
  EXPECT_EQ(civilTime(951782400), (CivilTime{2000, 2, 29, 0, 0, 0}));
  // Every day of 400 years and its neighbour follow one another.
  const auto follows = [](const CivilTime& next, const CivilTime& day) {
    return next.day == day.day + 1 ||
           (next.day == 1 && (next.month == day.month + 1 ||
                              (next.month == 1 && day.month == 12 && next.year == day.year + 1)));
  };
  for (std::int64_t day = -80000; day < 80000; ++day) {
    ASSERT_EQ(secondsSinceEpoch(civilTime(day * 86400 + 86399)), day * 86400 + 86399);
    ASSERT_TRUE(follows(civilTime((day + 1) * 86400), civilTime(day * 86400))) << day;
  }
  for (const std::int64_t far : {-9223372036854776LL, 9223372036854775LL, -62167219201LL})
    EXPECT_EQ(secondsSinceEpoch(civilTime(far)), far);
}

}  // namespace
}  // namespace tarnwell::detail
