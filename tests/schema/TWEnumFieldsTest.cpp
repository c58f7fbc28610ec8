#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWEnumFields.h"

#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::cleaned;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::readFrom;
using test::written;

constexpr auto kWrongType = TWErrorCode::ErrorType;
constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

const TWFieldOptions kWeekdays{
    .name = "day", .fieldURI = "task:Day", .enum_ = {"Sunday", "Monday"}};

TWFieldOptions weekdays(const TWValue& byDefault) {
  auto options = kWeekdays;
  options.default_ = byDefault;
  return options;
}

TEST(TWEnumField, BoundsFollowFromTheNames) {
  const auto field = TWEnumField::withProps(kWeekdays);
  EXPECT_EQ(field->get("min"), TWValue(1));
  EXPECT_EQ(field->get("max"), TWValue(2));
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
}

TEST(TWEnumField, AGivenLowerBoundStaysAndAGivenUpperBoundDoesNot) {
  const auto field = TWEnumField::withProps({.min = 3, .max = 9, .enum_ = {"a", "b"}});
  EXPECT_EQ(field->get("min"), TWValue(3));
  EXPECT_EQ(field->get("max"), TWValue(4));
}

TEST(TWEnumField, ANameBecomesItsPosition) {
  const auto field = TWEnumField::withProps(kWeekdays);
  EXPECT_EQ(cleaned(*field, "Sunday"), TWValue(1));
  EXPECT_EQ(cleaned(*field, "Monday"), TWValue(2));
  EXPECT_TRUE(cleaned(*field, {}).isAbsent());
}

TEST(TWEnumField, AnUnknownNameFailsBeforeAnythingElseIsLookedAt) {
  auto options = kWeekdays;
  options.supportedFrom = TWBuild(14, 0);
  options.isRequired = true;
  const auto field = TWEnumField::withProps(options);
  const TWVersion old(TWBuild(8, 0), "Exchange2007");
  for (const auto* name : {"Friday", "monday", "Monday ", ""})
    EXPECT_THAT(failure(*field, name, &old),
                IsFailure(kWrongValue, "List value " + std::string(name) +
                                           " of field day must be one of (Sunday, Monday)"));
  EXPECT_TRUE(failure(*field, "Monday", &old).is(TWErrorCode::ErrorInvalidServerVersion));
  EXPECT_THAT(failure(*field, {}),
              IsFailure(kWrongValue, "day is a required field with no default"));
}

TEST(TWEnumField, APositionMustBeWithinTheNames) {
  const auto field = TWEnumField::withProps(kWeekdays);
  EXPECT_EQ(cleaned(*field, 2), TWValue(2));
  EXPECT_THAT(failure(*field, 3),
              IsFailure(kWrongValue, "value 3 on field day must be less than 2"));
  EXPECT_THAT(failure(*field, 0),
              IsFailure(kWrongValue, "value 0 on field day must be greater than 1"));
  EXPECT_THAT(failure(*field, TWInstant()).message(),
              testing::HasSubstr("not of type TWEnumField"));
}

TEST(TWEnumField, WritesTheNameAtThePosition) {
  const auto field = TWEnumField::withProps(kWeekdays);
  EXPECT_THAT(written(*field, 2), EqualsXML("<t:Day>Monday</t:Day>"));
  EXPECT_THAT(written(*field, 1.0), EqualsXML("<t:Day>Sunday</t:Day>"));
}

TEST(TWEnumField, WhatIsNoPositionCannotBeWritten) {
  const auto field = TWEnumField::withProps(kWeekdays);
  for (const auto& value :
       {TWValue(0), TWValue(99), TWValue(-1), TWValue(1.5), TWValue("Monday")}) {
    TWError error;
    EXPECT_TRUE(field->toXML(value, nullptr, &error).isAbsent());
    EXPECT_THAT(error, IsFailure(kWrongValue, "List value " + value.description() +
                                                  " of field day must be one of (Sunday, Monday)"));
  }
}

TEST(TWEnumField, ReadsANameAsItsPosition) {
  const auto field = TWEnumField::withProps(weekdays(1));
  EXPECT_EQ(readFrom(*field, "<t:Day>Monday</t:Day>"), TWValue(2));
  EXPECT_EQ(readFrom(*field, "<t:Day>Someday</t:Day>"), TWValue(1));
  EXPECT_EQ(readFrom(*field, "<t:Day/>"), TWValue(1));
  EXPECT_EQ(readFrom(*field, ""), TWValue(1));
  EXPECT_TRUE(readFrom(*TWEnumField::withProps(kWeekdays), "<t:Day>Someday</t:Day>").isAbsent());
}

TEST(TWEnumListField, NamesBecomePositionsInAListOfItsOwn) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_TRUE(field->isList());
  EXPECT_FALSE(field->isComplex());
  const auto given = TWValue::list({"Monday", "Sunday"});
  EXPECT_EQ(cleaned(*field, given), TWValue::list({2, 1}));
  EXPECT_EQ(given, TWValue::list({"Monday", "Sunday"}));
}

TEST(TWEnumListField, TheFirstUnknownNameFails) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_THAT(
      failure(*field, TWValue::list({"Monday", "Friday", "Someday"})),
      IsFailure(kWrongValue, "List value Friday of field day must be one of (Sunday, Monday)"));
}

TEST(TWEnumListField, MustNotBeEmpty) {
  EXPECT_THAT(failure(*TWEnumListField::withProps(kWeekdays), TWList()),
              IsFailure(kWrongValue, "Value () of field day must not be empty"));
}

TEST(TWEnumListField, NamesMustBeUnique) {
  EXPECT_THAT(failure(*TWEnumListField::withProps(kWeekdays), TWValue::list({"Monday", "Monday"})),
              IsFailure(kWrongValue, "List entries (2, 2) on field day must be unique"));
}

TEST(TWEnumListField, PositionsCountAsNotUnique) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_THAT(failure(*field, TWValue::list({1, 2})),
              IsFailure(kWrongValue, "List entries (1, 2) on field day must be unique"));
  EXPECT_THAT(failure(*field, TWValue::list({"Monday", 1})),
              IsFailure(kWrongValue, "List entries (2, 1) on field day must be unique"));
}

TEST(TWEnumListField, UnknownNamesComeBeforeRepeatedOnesAndThoseBeforeTheVersion) {
  auto options = kWeekdays;
  options.supportedFrom = TWBuild(14, 0);
  const auto field = TWEnumListField::withProps(options);
  const TWVersion old(TWBuild(8, 0), "Exchange2007");
  EXPECT_THAT(failure(*field, TWValue::list({"Monday", "Monday", "x"}), &old).message(),
              testing::StartsWith("List value x"));
  EXPECT_THAT(failure(*field, TWValue::list({"Monday", "Monday"}), &old).message(),
              testing::HasSubstr("must be unique"));
  EXPECT_TRUE(
      failure(*field, TWValue::list({"Monday"}), &old).is(TWErrorCode::ErrorInvalidServerVersion));
  EXPECT_THAT(failure(*field, TWList(), &old),
              IsFailure(kWrongValue, "Value () of field day must not be empty"));
}

TEST(TWEnumListField, EveryPositionIsComparedWithTheBounds) {
  auto options = kWeekdays;
  options.min = 2;
  const auto field = TWEnumListField::withProps(options);
  EXPECT_THAT(failure(*field, TWValue::list({"Sunday"})),
              IsFailure(kWrongValue, "value 1 on field day must be greater than 2"));
  EXPECT_EQ(cleaned(*field, TWValue::list({"Monday"})), TWValue::list({2}));
}

TEST(TWEnumListField, WhatIsNoListFailsAsAnyListDoes) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_THAT(failure(*field, "Monday"), IsFailure(kWrongValue, "day needs an iterable"));
  EXPECT_THAT(failure(*field, 1), IsFailure(kWrongValue, "day needs an iterable"));
  EXPECT_THAT(failure(*field, TWDictionary{{"Monday", 1}}),
              IsFailure(kWrongType, "Monday value is not of type TWEnumListField for day"));
  EXPECT_TRUE(cleaned(*field, {}).isAbsent());
}

TEST(TWEnumListField, WritesNamesInTheOrderOfTheEnumeration) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_THAT(written(*field, TWValue::list({2, 1})), EqualsXML("<t:Day>Sunday Monday</t:Day>"));
  EXPECT_THAT(written(*field, TWValue::list({2})), EqualsXML("<t:Day>Monday</t:Day>"));
}

TEST(TWEnumListField, WhatIsNoPositionCannotBeWritten) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_EQ(written(*field, TWValue::list({1, 99})),
            "error: List value 99 of field day must be one of (Sunday, Monday)");
  EXPECT_EQ(written(*field, 1), "error: day needs an iterable");
}

TEST(TWEnumListField, ReadsKnownNamesAndPassesOverOthers) {
  const auto field = TWEnumListField::withProps(kWeekdays);
  EXPECT_EQ(readFrom(*field, "<t:Day>Monday Sunday</t:Day>"), TWValue::list({2, 1}));
  EXPECT_EQ(readFrom(*field, "<t:Day> Monday  Someday </t:Day>"), TWValue::list({2}));
}

TEST(TWEnumListField, WithoutAKnownNameItIsTheDefault) {
  const auto byDefault = TWValue::list({1});
  const auto field = TWEnumListField::withProps(weekdays(byDefault));
  for (const auto* content : {"", "<t:Day/>", "<t:Day>Someday</t:Day>"})
    EXPECT_EQ(readFrom(*field, content), byDefault) << content;
}

TEST(TWEnumAsIntField, TravelsAsANumber) {
  const auto field = TWEnumAsIntField::withProps(weekdays(1));
  EXPECT_EQ(readFrom(*field, "<t:Day>2</t:Day>"), TWValue(2));
  EXPECT_EQ(readFrom(*field, "<t:Day>x</t:Day>"), TWValue(0));
  EXPECT_EQ(readFrom(*field, ""), TWValue(1));
  EXPECT_THAT(written(*field, 2), EqualsXML("<t:Day>2</t:Day>"));
}

TEST(TWEnumAsIntField, IsValidatedAsAnEnumeration) {
  const auto field = TWEnumAsIntField::withProps(kWeekdays);
  EXPECT_EQ(cleaned(*field, "Monday"), TWValue(2));
  EXPECT_THAT(failure(*field, "Friday").message(), testing::StartsWith("List value Friday"));
  EXPECT_THAT(failure(*field, 3),
              IsFailure(kWrongValue, "value 3 on field day must be less than 2"));
}

}  // namespace
}  // namespace tarnwell
