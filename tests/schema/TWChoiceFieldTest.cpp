#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWChoiceField.h"

#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::cleaned;
using test::elementWith;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::readFrom;
using test::written;
using testing::ElementsAre;

constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;
constexpr auto kWrongVersion = TWErrorCode::ErrorInvalidServerVersion;

const TWFieldOptions kSensitivity{.name = "sensitivity",
                                  .fieldURI = "item:Sensitivity",
                                  .choices = {"Normal", "Personal", "Private", "Confidential"}};
const TWFieldOptions kGated{.name = "mode",
                            .fieldURI = "item:Mode",
                            .choices = {"Low", {"Middle", TWBuild(14, 0)}, "High"}};

TEST(TWChoiceField, IsAShortText) {
  const auto field = TWChoiceField::withProps(kSensitivity);
  EXPECT_EQ(field->className(), "TWChoiceField");
  EXPECT_NE(dynamic_cast<const TWCharField*>(field.get()), nullptr);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_EQ(field->get("maxLength"), TWValue(255));
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
}

TEST(TWChoiceField, ListsTheChoicesThatTheVersionKnowsInOrder) {
  const auto field = TWChoiceField::withProps(kGated);
  const TWVersion old(TWBuild(8, 0)), exactly(TWBuild(14, 0));
  EXPECT_THAT(field->supportedChoices(nullptr), ElementsAre("Low", "Middle", "High"));
  EXPECT_THAT(field->supportedChoices(&exactly), ElementsAre("Low", "Middle", "High"));
  EXPECT_THAT(field->supportedChoices(&old), ElementsAre("Low", "High"));
}

TEST(TWChoiceField, AChoiceComparesByItsText) {
  const auto field = TWChoiceField::withProps(kSensitivity);
  EXPECT_EQ(cleaned(*field, std::string("Per") + "sonal"), TWValue("Personal"));
  EXPECT_EQ(cleaned(*field, readFrom(*field, "<t:Sensitivity>Private</t:Sensitivity>")),
            TWValue("Private"));
}

TEST(TWChoiceField, AnotherTextFailsWithTheChoices) {
  const auto field = TWChoiceField::withProps(kSensitivity);
  EXPECT_THAT(failure(*field, "Secret"),
              IsFailure(kWrongValue,
                        "Invalid choice Secret for field sensitivity. Valid choices are (Normal, "
                        "Personal, Private, Confidential)"));
  EXPECT_THAT(failure(*field, "normal"),
              IsFailure(kWrongValue,
                        "Invalid choice normal for field sensitivity. Valid choices are (Normal, "
                        "Personal, Private, Confidential)"));
}

TEST(TWChoiceField, OnlyChoicesThatTheVersionKnowsAreOffered) {
  const TWVersion old(TWBuild(8, 0));
  EXPECT_THAT(
      failure(*TWChoiceField::withProps(kGated), "Top", &old),
      IsFailure(kWrongValue, "Invalid choice Top for field mode. Valid choices are (Low, High)"));
}

TEST(TWChoiceField, AChoiceThatTheVersionLacksFailsWithTheFieldsOwnBuild) {
  const TWVersion old(TWBuild(8, 0));
  EXPECT_EQ(cleaned(*TWChoiceField::withProps(kGated), "Middle"), TWValue("Middle"));
  EXPECT_THAT(failure(*TWChoiceField::withProps(kGated), "Middle", &old),
              IsFailure(kWrongVersion,
                        "Choice mode does not support EWS builds prior to (null) "
                        "(server has " +
                            old.description() + ")"));
  auto options = kGated;
  options.supportedFrom = TWBuild(8, 0);
  EXPECT_THAT(failure(*TWChoiceField::withProps(options), "Middle", &old),
              IsFailure(kWrongVersion, "Choice mode does not support EWS builds prior to " +
                                           TWBuild(8, 0).description() + " (server has " +
                                           old.description() + ")"));
}

TEST(TWChoiceField, IsValidatedAsAShortTextFirst) {
  auto options = kSensitivity;
  options.isRequired = true;
  options.supportedFrom = TWBuild(14, 0);
  const auto field = TWChoiceField::withProps(options);
  const std::string tooLong(256, 'x');
  const TWVersion old(TWBuild(8, 0));
  EXPECT_THAT(failure(*field, tooLong),
              IsFailure(kWrongValue, "sensitivity value " + tooLong + " exceeds length 255"));
  EXPECT_THAT(
      failure(*field, 5),
      IsFailure(TWErrorCode::ErrorType, "5 value is not of type TWChoiceField for sensitivity"));
  EXPECT_THAT(failure(*field, {}),
              IsFailure(kWrongValue, "sensitivity is a required field with no default"));
  EXPECT_THAT(failure(*field, "Secret", &old),
              IsFailure(kWrongVersion, "Field sensitivity does not support EWS builds prior to " +
                                           TWBuild(14, 0).description() + " (server has " +
                                           old.description() + ")"));
}

TEST(TWChoiceField, ADefaultIsTestedToo) {
  auto options = kSensitivity;
  options.default_ = "Normal";
  EXPECT_EQ(cleaned(*TWChoiceField::withProps(options), {}), TWValue("Normal"));
  options.default_ = "Secret";
  EXPECT_THAT(failure(*TWChoiceField::withProps(options), {}),
              IsFailure(kWrongValue,
                        "Invalid choice Secret for field sensitivity. Valid choices are (Normal, "
                        "Personal, Private, Confidential)"));
}

TEST(TWChoiceField, AMissingValueWithoutDefaultIsNoError) {
  EXPECT_TRUE(cleaned(*TWChoiceField::withProps(kSensitivity), {}).isAbsent());
}

TEST(TWChoiceField, IsWrittenAsText) {
  EXPECT_THAT(written(*TWChoiceField::withProps(kSensitivity), "Private"),
              EqualsXML("<t:Sensitivity>Private</t:Sensitivity>"));
}

TEST(TWLabelField, IsAnAttributeWhateverTheOptionsSay) {
  const auto field = TWLabelField::withProps(
      {.name = "label", .fieldURI = "Key", .choices = {"Home"}, .isAttribute = false});
  EXPECT_NE(dynamic_cast<const TWChoiceField*>(field.get()), nullptr);
  EXPECT_TRUE(field->isAttribute());
  EXPECT_EQ(field->get("maxLength"), TWValue(255));
  EXPECT_FALSE(field->childTag());
}

TEST(TWLabelField, ReadsTheAttributeAndNeverTheDefault) {
  const auto field = TWLabelField::withProps(
      {.name = "label", .fieldURI = "Key", .default_ = "Home", .choices = {"Home", "Work"}});
  EXPECT_EQ(field->fromXML(elementWith("<t:Key>Home</t:Key>", "Key=\"Work\""), nullptr),
            TWValue("Work"));
  EXPECT_TRUE(field->fromXML(elementWith("<t:Key>Home</t:Key>"), nullptr).isAbsent());
  EXPECT_EQ(cleaned(*field, {}), TWValue("Home"));
}

}  // namespace
}  // namespace tarnwell
