#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/time/TWDateTime.h"

#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"
#include "tests/time/DefaultZoneScope.h"

namespace tarnwell {
namespace {

using test::cleaned;
using test::DefaultZoneScope;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::readFrom;
using test::written;
using test::zoneNamed;

const TWInstant kSummer = TWDateTime::dateTimeFromString("2020-07-15T10:20:30Z").value();
const TWFieldOptions kStart{.name = "start", .fieldURI = "calendar:Start", .default_ = kSummer};

template <class Field>
TWValue readStart(const std::string& text) {
  return readFrom(*Field::withProps(kStart), "<t:Start>" + text + "</t:Start>");
}

TEST(TWDateField, TakesDates) {
  const auto field = TWDateField::withProps(kStart);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::date);
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_EQ(cleaned(*field, kSummer), TWValue(kSummer));
  EXPECT_THAT(
      failure(*field, "2020-07-15"),
      IsFailure(TWErrorCode::ErrorType, "2020-07-15 value is not of type TWDateField for start"));
}

TEST(TWDateField, ReadsWithTheRuleForTheMonth) {
  const DefaultZoneScope utc("Etc/UTC");
  // The digits of the month are minutes.
  EXPECT_EQ(readStart<TWDateField>("2020-07-15"),
            TWValue(TWDateTime::dateTimeFromString("2020-01-15T00:07:00Z")));
}

TEST(TWDateField, WhatIsNoDateIsNothingAndNotTheDefault) {
  for (const auto* text : {"", "today", "2020-07-15T10:20:30Z", "2020-07-45", "99999999999"})
    EXPECT_TRUE(readStart<TWDateField>(text).isAbsent()) << text;
  EXPECT_EQ(readFrom(*TWDateField::withProps(kStart), ""), TWValue(kSummer));
}

TEST(TWDateField, IsWrittenWithItsTime) {
  const DefaultZoneScope berlin("Europe/Berlin");
  EXPECT_THAT(written(*TWDateField::withProps(kStart), kSummer),
              EqualsXML("<t:Start>2020-07-15T12:20:30+02:00</t:Start>"));
}

TEST(TWDateTimeField, TakesDates) {
  const auto field = TWDateTimeField::withProps(kStart);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::date);
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_THAT(failure(*field, 5), IsFailure(TWErrorCode::ErrorType,
                                            "5 value is not of type TWDateTimeField for start"));
}

TEST(TWDateTimeField, ReadsAndWritesPointsInTime) {
  const DefaultZoneScope berlin("Europe/Berlin");
  EXPECT_EQ(readStart<TWDateTimeField>("2020-07-15T12:20:30+02:00"), TWValue(kSummer));
  EXPECT_THAT(written(*TWDateTimeField::withProps(kStart), kSummer),
              EqualsXML("<t:Start>2020-07-15T12:20:30+02:00</t:Start>"));
}

TEST(TWDateTimeField, WhatDoesNotParseIsNothingAndNotTheDefault) {
  for (const auto* text : {"", "now", "2020-07-15", "2020-02-30T10:20:30Z"})
    EXPECT_TRUE(readStart<TWDateTimeField>(text).isAbsent()) << text;
  EXPECT_EQ(readFrom(*TWDateTimeField::withProps(kStart), ""), TWValue(kSummer));
}

const TWFieldOptions kZone{.name = "zone", .fieldURI = "calendar:StartTimeZone"};

TWValue readZone(const std::string& content, const std::string& attributes = "") {
  return readFrom(*TWTimeZoneField::withProps(kZone),
                  "<t:StartTimeZone " + attributes + ">" + content + "</t:StartTimeZone>");
}

TEST(TWTimeZoneField, TakesTimeZones) {
  const auto field = TWTimeZoneField::withProps(kZone);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::timeZone);
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(field->isList());
  const TWValue berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(cleaned(*field, berlin), berlin);
  EXPECT_THAT(failure(*field, "Europe/Berlin"),
              IsFailure(TWErrorCode::ErrorType,
                        "Europe/Berlin value is not of type TWTimeZoneField for zone"));
}

TEST(TWTimeZoneField, ReadsTheChildIdAndElseTheChildName) {
  const TWValue berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(readZone("<t:Name>Tokyo Standard Time</t:Name><t:Id>W. Europe Standard Time</t:Id>"),
            berlin);
  EXPECT_EQ(readZone("<t:Name>W. Europe Standard Time</t:Name>"), berlin);
  EXPECT_EQ(readZone("<t:Id/><t:Name>W. Europe Standard Time</t:Name>"), berlin);
}

TEST(TWTimeZoneField, DoesNotReadAttributesNorOtherNamespaces) {
  EXPECT_TRUE(readZone("", "Id=\"W. Europe Standard Time\"").isAbsent());
  EXPECT_TRUE(readZone("<Id>W. Europe Standard Time</Id>").isAbsent());
}

TEST(TWTimeZoneField, AnUnknownZoneIsNothingAndNotTheDefault) {
  auto options = kZone;
  options.default_ = zoneNamed("Asia/Tokyo");
  const auto field = TWTimeZoneField::withProps(options);
  EXPECT_TRUE(
      readFrom(*field, "<t:StartTimeZone><t:Id>Nowhere</t:Id></t:StartTimeZone>").isAbsent());
  EXPECT_TRUE(readFrom(*field, "<t:StartTimeZone/>").isAbsent());
  EXPECT_EQ(readFrom(*field, ""), options.default_);
}

TEST(TWTimeZoneField, WritesTheWindowsNameTwice) {
  EXPECT_THAT(written(*TWTimeZoneField::withProps(kZone), zoneNamed("Europe/Berlin")),
              EqualsXML("<t:StartTimeZone Id=\"W. Europe Standard Time\" "
                        "Name=\"W. Europe Standard Time\"/>"));
}

TEST(TWTimeZoneField, WhatIsNoZoneCannotBeWritten) {
  EXPECT_EQ(written(*TWTimeZoneField::withProps(kZone), 5),
            "error: 5 value is not of type TWTimeZoneField for zone");
}

}  // namespace
}  // namespace tarnwell
