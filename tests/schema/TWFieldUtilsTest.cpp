#include <optional>
#include <string>

#include <gmock/gmock.h>

#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldUtils.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/PathContact.h"

namespace tarnwell {
namespace {

using test::ContactFolder;
using test::IsFailure;
using test::PathContact;
using ::testing::IsNull;
using ::testing::Optional;

constexpr auto kRange = TWErrorCode::ErrorValueOutOfRange;

TWPaths split(const TWValue& path) {
  TWError error;
  const auto pieces = TWFieldUtils::splitFieldPath(path, &error);
  EXPECT_TRUE(pieces) << error;
  return pieces.value_or(TWPaths());
}

TWResolvedPaths resolved(const TWValue& path, bool strict = false,
                         std::optional<TWVersion> version = std::nullopt) {
  TWError error;
  auto parts =
      TWFieldUtils::resolveFieldPath(path, ContactFolder(std::move(version)), strict, &error);
  EXPECT_TRUE(parts) << error;
  EXPECT_FALSE(error);
  return parts ? *std::move(parts) : TWResolvedPaths();
}

TWError refusal(const TWValue& path, bool strict = false,
                std::optional<TWVersion> version = std::nullopt) {
  TWError error;
  EXPECT_FALSE(
      TWFieldUtils::resolveFieldPath(path, ContactFolder(std::move(version)), strict, &error));
  return error;
}

TEST(TWFieldUtils, APathIsSplitAtDoubleUnderscores) {
  const auto one = split("subject");
  EXPECT_EQ(one.field, "subject");
  EXPECT_EQ(one.label, std::nullopt);
  EXPECT_EQ(one.subfield, std::nullopt);

  const auto two = split("phone_numbers__BusinessPhone");
  EXPECT_EQ(two.field, "phone_numbers");
  EXPECT_THAT(two.label, Optional(std::string("BusinessPhone")));
  EXPECT_EQ(two.subfield, std::nullopt);

  const auto three = split("physical_addresses__Home__city");
  EXPECT_EQ(three.field, "physical_addresses");
  EXPECT_THAT(three.label, Optional(std::string("Home")));
  EXPECT_THAT(three.subfield, Optional(std::string("city")));
}

TEST(TWFieldUtils, PiecesAfterTheThirdAreIgnored) {
  const auto pieces = split("a__b__c__d__e");
  EXPECT_EQ(pieces.field, "a");
  EXPECT_THAT(pieces.label, Optional(std::string("b")));
  EXPECT_THAT(pieces.subfield, Optional(std::string("c")));
}

TEST(TWFieldUtils, AnEmptyPieceIsAPiece) {
  EXPECT_THAT(split("subject__").label, Optional(std::string()));
  EXPECT_EQ(split("__x").field, "");
  EXPECT_EQ(split("").field, "");
  EXPECT_EQ(split("").label, std::nullopt);
  const auto five = split("a_____b");
  EXPECT_THAT(five.label, Optional(std::string()));
  EXPECT_THAT(five.subfield, Optional(std::string("_b")));
}

TEST(TWFieldUtils, APathMustBeText) {
  TWError error;
  EXPECT_FALSE(TWFieldUtils::splitFieldPath(5, &error));
  EXPECT_THAT(error, IsFailure(TWErrorCode::ErrorFieldValue, "Field path 5 must be a string"));
  EXPECT_EQ(error.code(), 9);
  EXPECT_THAT(refusal(TWValue()),
              IsFailure(TWErrorCode::ErrorFieldValue, "Field path (null) must be a string"));
  EXPECT_THAT(refusal(TWValue::list({"subject"})),
              IsFailure(TWErrorCode::ErrorFieldValue, "Field path (subject) must be a string"));
  EXPECT_FALSE(TWFieldUtils::splitFieldPath(5));
}

TEST(TWFieldUtils, APlainFieldIsFoundByItsName) {
  const auto parts = resolved("subject", true);
  EXPECT_EQ(parts.field, PathContact::getFieldByFieldName("subject"));
  EXPECT_EQ(parts.label, std::nullopt);
  EXPECT_THAT(parts.subfield, IsNull());
}

TEST(TWFieldUtils, AnUnknownNameIsTheErrorOfTheFolder) {
  EXPECT_THAT(refusal("Subject"),
              IsFailure(kRange, "Unknown fieldname Subject on class ContactFolder"));
  EXPECT_THAT(refusal("nope__x"),
              IsFailure(kRange, "Unknown fieldname nope on class ContactFolder"));
}

TEST(TWFieldUtils, APlainFieldTakesNeitherLabelNorSubfield) {
  EXPECT_THAT(refusal("subject__x"),
              IsFailure(kRange, "Field path subject__x must not specify labekl or subfield"));
  EXPECT_THAT(refusal("subject__"),
              IsFailure(kRange, "Field path subject__ must not specify labekl or subfield"));
  EXPECT_THAT(refusal("subject__x__y", true),
              IsFailure(kRange, "Field path subject__x__y must not specify labekl or subfield"));
}

TEST(TWFieldUtils, AStrictPathToAnIndexedFieldNamesALabel) {
  EXPECT_THAT(refusal("phone_numbers", true),
              IsFailure(kRange, "Indexed field path phone_numbers must specific label"));
  // The label is asked for before the subfield.
  EXPECT_THAT(refusal("physical_addresses", true),
              IsFailure(kRange, "Indexed field path physical_addresses must specific label"));
}

TEST(TWFieldUtils, WithoutStrictnessTheLabelMayBeLeftOut) {
  EXPECT_EQ(resolved("phone_numbers").label, std::nullopt);
  EXPECT_EQ(resolved("physical_addresses").label, std::nullopt);
}

TEST(TWFieldUtils, ALabelMustBeOneOfTheEntries) {
  EXPECT_THAT(refusal("email_addresses__EmailAddress4"),
              IsFailure(kRange,
                        "Label EmailAddress4 on indexedfield path email_addresses__EmailAddress4 "
                        "must be one of (EmailAddress1, EmailAddress2, EmailAddress3)"));
  EXPECT_TRUE(refusal("phone_numbers__Nope").is(kRange));
  // In the very case, and before anything is said of the subfield.
  EXPECT_THAT(refusal("physical_addresses__home__nope", true),
              IsFailure(kRange,
                        "Label home on indexedfield path physical_addresses__home__nope must be "
                        "one of (Business, Home, Other)"));
  EXPECT_THAT(refusal("physical_addresses__"),
              IsFailure(kRange,
                        "Label  on indexedfield path physical_addresses__ must be one of "
                        "(Business, Home, Other)"));
}

TEST(TWFieldUtils, LabelsAreThoseOfTheServersVersion) {
  const TWVersion old(TWBuild::buildWithMajorVer(14, 0));
  const TWVersion late(TWBuild::buildWithMajorVer(15, 0));
  EXPECT_THAT(refusal("grown__New", false, old),
              IsFailure(kRange, "Label New on indexedfield path grown__New must be one of (Old)"));
  EXPECT_THAT(resolved("grown__New", false, late).label, Optional(std::string("New")));
  // An unknown version allows everything.
  EXPECT_THAT(resolved("grown__New").label, Optional(std::string("New")));
}

TEST(TWFieldUtils, AnEntryWithOneValueTakesItsValueAsSubfield) {
  const auto parts = resolved("phone_numbers__BusinessPhone", true);
  EXPECT_THAT(parts.label, Optional(std::string("BusinessPhone")));
  ASSERT_TRUE(parts.subfield);
  EXPECT_EQ(parts.subfield->name(), "phone_number");
  // Without a label too.
  ASSERT_TRUE(resolved("phone_numbers").subfield);
  EXPECT_EQ(resolved("email_addresses").subfield->name(), "email");
}

TEST(TWFieldUtils, TheValueOfAnEntryIsThatOfTheServersVersion) {
  const auto valueFor = [](std::optional<TWVersion> version) {
    const auto subfield = resolved("replaced__Old", false, std::move(version)).subfield;
    return std::string(subfield ? subfield->name() : "none");
  };
  EXPECT_EQ(valueFor(TWVersion(TWBuild(14, 0))), "plain");
  EXPECT_EQ(valueFor(TWVersion(TWBuild(15, 0))), "late");
  EXPECT_EQ(valueFor(std::nullopt), "late");
}

TEST(TWFieldUtils, AnEntryWithOneValueTakesNoSubfieldOfTheCaller) {
  EXPECT_THAT(refusal("phone_numbers__BusinessPhone__phone_number"),
              IsFailure(kRange,
                        "Indexed field path phone_numbers__BusinessPhone__phone_number must not "
                        "specify subfield"));
}

TEST(TWFieldUtils, AnEntryWithSeveralPartsNamesOneWhenStrict) {
  EXPECT_THAT(
      refusal("physical_addresses__Business", true),
      IsFailure(kRange, "IndexedField path physical_addresses__Business must specify subfield"));
  EXPECT_THAT(resolved("physical_addresses__Business").subfield, IsNull());
}

TEST(TWFieldUtils, ASubfieldIsFoundByItsNameNotByItsElement) {
  const auto parts = resolved("physical_addresses__Business__street", true);
  ASSERT_TRUE(parts.subfield);
  EXPECT_EQ(parts.subfield->fieldURI(), "Street");
  EXPECT_THAT(refusal("physical_addresses__Business__Street"),
              IsFailure(kRange, "Could not find subfield Street on value class TWPhysicalAddress"));
}

TEST(TWFieldUtils, AFourthPieceIsIgnoredWhenResolvingToo) {
  EXPECT_EQ(resolved("physical_addresses__Business__street__x", true).subfield->name(), "street");
}

TEST(TWFieldUtils, ARegisteredPropertyIsFoundByItsName) {
  ASSERT_TRUE(PathContact::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_EQ(resolved("flag", true).field->className(), "TWExtendedPropertyField");
  EXPECT_THAT(refusal("flag__x"),
              IsFailure(kRange, "Field path flag__x must not specify labekl or subfield"));
  ASSERT_TRUE(PathContact::unregisterAttr("flag"));
}

TEST(TWFieldUtils, AFailureWithoutAPlaceForItsErrorIsJustAbsent) {
  for (const auto* const path : {"nope", "subject__x", "phone_numbers__Nope"})
    EXPECT_FALSE(TWFieldUtils::resolveFieldPath(path, ContactFolder(), true)) << path;
}

}  // namespace
}  // namespace tarnwell
