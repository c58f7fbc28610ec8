#include <cstdint>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWEnumFields.h"
#include "tarnwell/schema/TWNumberFields.h"

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

TWValue readSize(const TWField& field, const std::string& text) {
  return readFrom(field, "<t:Size>" + text + "</t:Size>");
}

/// A list of whole numbers, as no declared field is one.
class NumberList : public detail::FieldKind<NumberList, TWIntegerField> {
 public:
  static constexpr std::string_view kClassName = "NumberList";
  using FieldKind::FieldKind;
  [[nodiscard]] bool isList() const override { return true; }
};

TEST(TWBooleanField, IsANumberAndSimple) {
  const auto field = TWBooleanField::withProps({});
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::number);
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  EXPECT_EQ(field->className(), "TWBooleanField");
}

TEST(TWBooleanField, GoesByTheFirstSignAfterBlanksSignAndZeros) {
  const auto field = TWBooleanField::withProps({.fieldURI = "item:Size", .default_ = true});
  for (const auto* text : {"true", "1", "yes", "Yes", "T", "t", " -007", "T1", "+3", "\n 9"})
    EXPECT_EQ(readSize(*field, text).description(), "1") << text;
  for (const auto* text : {"false", "0", "no", "x1", "", " ", "-", "000", "--1", "on"})
    EXPECT_EQ(readSize(*field, text).description(), "0") << text;
  EXPECT_EQ(readSize(*field, "true").kind(), TWValue::Kind::boolean);
}

TEST(TWBooleanField, IsTheDefaultWithoutItsElement) {
  EXPECT_EQ(readFrom(*TWBooleanField::withProps({.fieldURI = "item:Size", .default_ = true}), ""),
            TWValue(true));
  EXPECT_TRUE(readFrom(*TWBooleanField::withProps({.fieldURI = "item:Size"}), "").isAbsent());
}

TEST(TWBooleanField, IsWrittenAsANumber) {
  const auto field = TWBooleanField::withProps({.fieldURI = "item:HasAttachments"});
  EXPECT_THAT(written(*field, true), EqualsXML("<t:HasAttachments>1</t:HasAttachments>"));
  EXPECT_THAT(written(*field, false), EqualsXML("<t:HasAttachments>0</t:HasAttachments>"));
}

TEST(TWBooleanField, TakesAnyNumber) {
  const auto field = TWBooleanField::withProps({.name = "flag"});
  for (const auto& value : {TWValue(true), TWValue(5), TWValue(0.5)})
    EXPECT_EQ(cleaned(*field, value), value);
  EXPECT_THAT(failure(*field, "true"),
              IsFailure(kWrongType, "true value is not of type TWBooleanField for flag"));
}

TEST(TWIntegerField, ReadsTheNumberThatTheTextBeginsWith) {
  const auto field = TWIntegerField::withProps({.fieldURI = "item:Size", .default_ = 5});
  EXPECT_EQ(readSize(*field, "12abc"), TWValue(12));
  EXPECT_EQ(readSize(*field, " -3 "), TWValue(-3));
  EXPECT_EQ(readSize(*field, "abc"), TWValue(0));
  EXPECT_EQ(readSize(*field, ""), TWValue(0));
  EXPECT_EQ(readFrom(*field, ""), TWValue(5));
}

TEST(TWIntegerField, ReadsNumbersBeyond64BitsAsTheNearest) {
  const auto field = TWIntegerField::withProps({.fieldURI = "item:Size"});
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(readSize(*field, "99999999999999999999999"), TWValue(Limits::max()));
  EXPECT_EQ(readSize(*field, "-99999999999999999999999"), TWValue(Limits::min()));
}

TEST(TWIntegerField, TakesAnyNumberAndNothingElse) {
  const auto field = TWIntegerField::withProps({.name = "size"});
  for (const auto& value : {TWValue(true), TWValue(5), TWValue(0.5)})
    EXPECT_EQ(cleaned(*field, value), value);
  EXPECT_THAT(failure(*field, "5"),
              IsFailure(kWrongType, "5 value is not of type TWIntegerField for size"));
  EXPECT_THAT(
      failure(*field, TWInstant()),
      IsFailure(kWrongType, "1970-01-01T00:00:00Z value is not of type TWIntegerField for size"));
}

TEST(TWIntegerField, BoundsAreInclusive) {
  const auto field =
      TWIntegerField::withProps({.name = "reminder_minutes_before_start", .min = 0, .max = 10});
  EXPECT_EQ(cleaned(*field, 0), TWValue(0));
  EXPECT_EQ(cleaned(*field, 10), TWValue(10));
  EXPECT_THAT(failure(*field, -1),
              IsFailure(kWrongValue,
                        "value -1 on field reminder_minutes_before_start must be greater than 0"));
  EXPECT_THAT(failure(*field, 10.5),
              IsFailure(kWrongValue,
                        "value 10.5 on field reminder_minutes_before_start must be less than 10"));
}

TEST(TWIntegerField, BoundsHoldForNumbersThatNoDoubleCanTellApart) {
  constexpr std::int64_t kBound = std::int64_t{1} << 53;
  const auto field = TWIntegerField::withProps(
      {.name = "n", .min = -static_cast<double>(kBound), .max = static_cast<double>(kBound)});
  EXPECT_EQ(cleaned(*field, kBound), TWValue(kBound));
  EXPECT_EQ(cleaned(*field, -kBound), TWValue(-kBound));
  EXPECT_THAT(failure(*field, kBound + 1),
              IsFailure(kWrongValue,
                        "value 9007199254740993 on field n must be less than 9007199254740992"));
  EXPECT_THAT(
      failure(*field, -kBound - 1),
      IsFailure(kWrongValue,
                "value -9007199254740993 on field n must be greater than -9007199254740992"));
}

TEST(TWIntegerField, TheLowerBoundIsTestedFirst) {
  const auto field = TWIntegerField::withProps({.name = "n", .min = 5, .max = 1});
  EXPECT_THAT(failure(*field, 3),
              IsFailure(kWrongValue, "value 3 on field n must be greater than 5"));
}

TEST(TWIntegerField, AMissingValueIsNotComparedWithTheBounds) {
  EXPECT_TRUE(cleaned(*TWIntegerField::withProps({.name = "n", .min = 1}), {}).isAbsent());
  EXPECT_THAT(failure(*TWIntegerField::withProps({.name = "n", .min = 1, .isRequired = true}), {}),
              IsFailure(kWrongValue, "n is a required field with no default"));
}

TEST(TWIntegerField, ADefaultIsComparedWithTheBoundsIfItIsANumber) {
  EXPECT_THAT(failure(*TWIntegerField::withProps({.name = "n", .default_ = 0, .min = 1}), {}),
              IsFailure(kWrongValue, "value 0 on field n must be greater than 1"));
  EXPECT_EQ(cleaned(*TWIntegerField::withProps({.name = "n", .default_ = "x", .min = 1}), {}),
            TWValue("x"));
}

TEST(TWIntegerField, EveryEntryOfAListIsComparedWithTheBounds) {
  const auto field = NumberList::withProps({.name = "n", .min = 1, .max = 5});
  const auto good = TWValue::list({1, 5});
  EXPECT_EQ(cleaned(*field, good), good);
  EXPECT_THAT(failure(*field, TWValue::list({1, 6, 0})),
              IsFailure(kWrongValue, "value 6 on field n must be less than 5"));
  EXPECT_THAT(failure(*field, TWValue::list({0, 6})),
              IsFailure(kWrongValue, "value 0 on field n must be greater than 1"));
}

TEST(TWIntegerField, IsWrittenInDecimal) {
  const auto field = TWIntegerField::withProps({.fieldURI = "item:Size"});
  EXPECT_THAT(written(*field, -12), EqualsXML("<t:Size>-12</t:Size>"));
  EXPECT_THAT(written(*field, 1e15), EqualsXML("<t:Size>1000000000000000</t:Size>"));
}

TEST(TWDecimalField, ReadsInSinglePrecision) {
  const auto field = TWDecimalField::withProps({.fieldURI = "item:Size", .default_ = 5});
  EXPECT_EQ(readSize(*field, "0.1"), TWValue(0.1F));
  EXPECT_EQ(readSize(*field, "16777217"), TWValue(16777216));
  EXPECT_EQ(readSize(*field, " -2.5e2x"), TWValue(-250));
  EXPECT_EQ(readSize(*field, "+.5"), TWValue(0.5));
  for (const auto* text : {"", "x", "-", ".", "inf", "nan", "--1"})
    EXPECT_EQ(readSize(*field, text), TWValue(0)) << text;
  EXPECT_EQ(readFrom(*field, ""), TWValue(5));
}

TEST(TWDecimalField, ReadsWhatIsOutOfRangeAsInfinityOrZero) {
  const auto field = TWDecimalField::withProps({.fieldURI = "item:Size"});
  EXPECT_EQ(readSize(*field, "1e300").description(), "INF");
  EXPECT_EQ(readSize(*field, "-1e999").description(), "-INF");
  EXPECT_EQ(readSize(*field, "1e-300"), TWValue(0));
}

TEST(TWDecimalField, HasBoundsAsAnIntegerHas) {
  const auto field = TWDecimalField::withProps({.name = "share", .min = 0.5});
  EXPECT_EQ(cleaned(*field, 0.5), TWValue(0.5));
  EXPECT_THAT(failure(*field, 0.25),
              IsFailure(kWrongValue, "value 0.25 on field share must be greater than 0.5"));
}

}  // namespace
}  // namespace tarnwell
