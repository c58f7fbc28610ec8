#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWTextFields.h"

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

constexpr auto kWrongType = TWErrorCode::ErrorType;
constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

const TWFieldOptions kSubject{.name = "subject", .fieldURI = "item:Subject", .default_ = "none"};

std::string times(int count, std::string_view text) {
  std::string out;
  for (int i = 0; i < count; ++i) out += text;
  return out;
}

/// A list of short texts, as no declared field is one.
class CharsList : public detail::FieldKind<CharsList, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "CharsList";
  using FieldKind::FieldKind;
  [[nodiscard]] bool isList() const override { return true; }
};

TEST(TWTextField, IsTextAndComplex) {
  const auto field = TWTextField::withProps(kSubject);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_TRUE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_THAT(failure(*field, 5),
              IsFailure(kWrongType, "5 value is not of type TWTextField for subject"));
}

TEST(TWTextField, ReadsTheFirstElementOfItsNameInTheTypesNamespace) {
  const auto field = TWTextField::withProps(kSubject);
  EXPECT_EQ(readFrom(*field, "<t:Subject>a</t:Subject><t:Subject>b</t:Subject>"), TWValue("a"));
  EXPECT_EQ(readFrom(*field, "<Subject>a</Subject><t:Subject>b</t:Subject>"), TWValue("b"));
  EXPECT_EQ(readFrom(*field, "<m:Subject xmlns:m='urn:m'>a</m:Subject>"), TWValue("none"));
  EXPECT_EQ(readFrom(*field, "<t:Other><t:Subject>a</t:Subject></t:Other>"), TWValue("none"));
}

TEST(TWTextField, AnEmptyElementIsTheEmptyTextAndAMissingOneTheDefault) {
  const auto field = TWTextField::withProps(kSubject);
  EXPECT_EQ(readFrom(*field, "<t:Subject/>"), TWValue(""));
  EXPECT_EQ(readFrom(*field, ""), TWValue("none"));
}

TEST(TWTextField, ReadsAnAttributeWhenItIsOne) {
  const auto field =
      TWTextField::withProps({.fieldURI = "Id", .default_ = "none", .isAttribute = true});
  EXPECT_EQ(field->fromXML(elementWith("<t:Id>child</t:Id>", "Id='a'"), nullptr), TWValue("a"));
  EXPECT_EQ(field->fromXML(elementWith("<t:Id>child</t:Id>", "Id=''"), nullptr), TWValue(""));
  EXPECT_EQ(field->fromXML(elementWith("<t:Id>child</t:Id>"), nullptr), TWValue("none"));
  EXPECT_FALSE(field->childTag());
}

TEST(TWTextField, IsWrittenAsItIs) {
  const auto field = TWTextField::withProps(kSubject);
  EXPECT_THAT(written(*field, "1 < 2 & \xC3\xA4"),
              EqualsXML("<t:Subject>1 &lt; 2 &amp; \xC3\xA4</t:Subject>"));
  EXPECT_FALSE(cleaned(*field, times(100'000, "x")).isAbsent());
}

TEST(TWTextFieldList, IsAListOfTexts) {
  const auto field = TWTextFieldList::withProps({.name = "categories"});
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_TRUE(field->isComplex());
  EXPECT_TRUE(field->isList());
}

TEST(TWTextFieldList, ReadsItsStringsButNotEmptyOnes) {
  const auto field =
      TWTextFieldList::withProps({.fieldURI = "item:Categories", .default_ = TWValue::list({"d"})});
  EXPECT_EQ(readFrom(*field,
                     "<t:Categories><t:String>b</t:String><t:String/><t:Other>x</t:Other>"
                     "<String>y</String><t:String>a</t:String></t:Categories>"),
            TWValue::list({"b", "a"}));
  EXPECT_EQ(readFrom(*field, "<t:Categories/>"), TWValue(TWList()));
  EXPECT_EQ(readFrom(*field, ""), TWValue::list({"d"}));
}

TEST(TWTextFieldList, WritesAStringForEachText) {
  const auto field = TWTextFieldList::withProps({.fieldURI = "item:Categories"});
  EXPECT_THAT(
      written(*field, TWValue::list({"b", "a"})),
      EqualsXML("<t:Categories><t:String>b</t:String><t:String>a</t:String></t:Categories>"));
}

TEST(TWURIField, IsAText) {
  const auto field = TWURIField::withProps({.name = "u", .fieldURI = "contacts:BusinessHomePage"});
  EXPECT_TRUE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_EQ(readFrom(*field, "<t:BusinessHomePage>http://a/?b&amp;c</t:BusinessHomePage>"),
            TWValue("http://a/?b&c"));
  EXPECT_THAT(written(*field, "no uri"),
              EqualsXML("<t:BusinessHomePage>no uri</t:BusinessHomePage>"));
  EXPECT_FALSE(cleaned(*field, times(1000, "x")).isAbsent());
}

TEST(TWCharField, HoldsAtMost255UnitsUnlessToldOtherwise) {
  const auto field = TWCharField::withProps({.name = "subject"});
  EXPECT_EQ(field->get("maxLength"), TWValue(255));
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(field->isList());
  const auto longest = times(255, "x");
  EXPECT_EQ(cleaned(*field, longest), TWValue(longest));
  EXPECT_TRUE(failure(*field, longest + "x").is(kWrongValue));
  EXPECT_THAT(failure(*TWCharField::withProps({.name = "subject", .maxLength = 3}), "text"),
              IsFailure(kWrongValue, "subject value text exceeds length 3"));
}

TEST(TWCharField, CountsUTF16CodeUnits) {
  const auto field = TWCharField::withProps({.name = "subject", .maxLength = 4});
  // Two and three bytes, one unit; four bytes, two units.
  EXPECT_FALSE(cleaned(*field, times(4, "\xC3\xA4")).isAbsent());
  EXPECT_FALSE(cleaned(*field, times(4, "\xE2\x82\xAC")).isAbsent());
  EXPECT_FALSE(cleaned(*field, times(2, "\xF0\x9F\x98\x80")).isAbsent());
  EXPECT_TRUE(failure(*field, times(3, "\xF0\x9F\x98\x80")).is(kWrongValue));
  const auto ordinary = TWCharField::withProps({.name = "subject"});
  EXPECT_TRUE(failure(*ordinary, times(128, "\xF0\x9F\x98\x80")).is(kWrongValue));
}

TEST(TWCharField, KindAndPresenceComeBeforeTheLength) {
  const auto field = TWCharField::withProps({.name = "subject", .maxLength = 0});
  EXPECT_THAT(failure(*field, 12345),
              IsFailure(kWrongType, "12345 value is not of type TWCharField for subject"));
  EXPECT_TRUE(cleaned(*field, {}).isAbsent());
  EXPECT_THAT(failure(*TWCharField::withProps({.name = "subject", .isRequired = true}), {}),
              IsFailure(kWrongValue, "subject is a required field with no default"));
}

TEST(TWCharField, ADefaultMustBeShortEnoughToo) {
  EXPECT_THAT(
      failure(*TWCharField::withProps({.name = "n", .default_ = "long", .maxLength = 3}), {}),
      IsFailure(kWrongValue, "n value long exceeds length 3"));
}

TEST(TWCharField, EveryEntryOfAListMustBeShortEnough) {
  const auto field = CharsList::withProps({.name = "n", .maxLength = 2});
  EXPECT_EQ(cleaned(*field, TWValue::list({"ab", "c"})), TWValue::list({"ab", "c"}));
  EXPECT_THAT(failure(*field, TWValue::list({"ab", "abc", "abcd"})),
              IsFailure(kWrongValue, "n value abc exceeds length 2"));
}

TEST(TWIdField, IsAnAttributeOf512UnitsThatCannotBeSearchedFor) {
  const auto field = TWIdField::withProps(
      {.name = "id", .fieldURI = "Id", .maxLength = 3, .isSearchable = true, .isAttribute = false});
  EXPECT_EQ(field->get("maxLength"), TWValue(512));
  EXPECT_FALSE(field->isSearchable());
  EXPECT_TRUE(field->isAttribute());
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(cleaned(*field, times(512, "x")).isAbsent());
  EXPECT_TRUE(failure(*field, times(513, "x")).is(kWrongValue));
  EXPECT_EQ(field->fromXML(elementWith("", "Id='AAA='"), nullptr), TWValue("AAA="));
}

TEST(TWCharListField, ReadsAListThatItDoesNotTake) {
  const auto field = TWCharListField::withProps(
      {.name = "children", .fieldURI = "contacts:Children", .default_ = "d"});
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  const auto list = TWValue::list({"Ann", "Bob"});
  EXPECT_EQ(
      readFrom(*field, "<t:Children><t:String>Ann</t:String><t:String>Bob</t:String></t:Children>"),
      list);
  EXPECT_EQ(readFrom(*field, "<t:Children>Ann</t:Children>"), TWValue(TWList()));
  EXPECT_EQ(readFrom(*field, ""), TWValue("d"));
  EXPECT_THAT(
      failure(*field, list),
      IsFailure(kWrongType, "(Ann, Bob) value is not of type TWCharListField for children"));
  EXPECT_EQ(cleaned(*field, "Ann"), TWValue("Ann"));
  EXPECT_TRUE(failure(*field, times(256, "x")).is(kWrongValue));
}

TEST(TWCharListField, AnEmptyListIsAListToo) {
  const auto field = TWCharListField::withProps(
      {.name = "children", .fieldURI = "contacts:Children", .default_ = "d"});
  const TWValue empty{TWList()};
  EXPECT_EQ(readFrom(*field, "<t:Children/>"), empty);
  EXPECT_EQ(readFrom(*field, "<t:Children><t:String/></t:Children>"), empty);
  EXPECT_THAT(failure(*field, empty),
              IsFailure(kWrongType, "() value is not of type TWCharListField for children"));
  EXPECT_THAT(written(*field, empty), EqualsXML("<t:Children/>"));
}

TEST(TWCharListField, WritesATextAsSuchAndAListAsStrings) {
  const auto field = TWCharListField::withProps({.fieldURI = "contacts:Children"});
  EXPECT_THAT(written(*field, "Ann"), EqualsXML("<t:Children>Ann</t:Children>"));
  EXPECT_THAT(
      written(*field, TWValue::list({"Ann", "Bob"})),
      EqualsXML("<t:Children><t:String>Ann</t:String><t:String>Bob</t:String></t:Children>"));
}

template <class Field>
void isAShortText() {
  const auto field = Field::withProps({.name = "n", .fieldURI = "Mailbox:EmailAddress"});
  EXPECT_EQ(field->className(), Field::kClassName);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_FALSE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_EQ(field->get("maxLength"), TWValue(255));
  EXPECT_EQ(readFrom(*field, "<t:EmailAddress>a@b</t:EmailAddress>"), TWValue("a@b"));
  EXPECT_THAT(written(*field, "a@b"), EqualsXML("<t:EmailAddress>a@b</t:EmailAddress>"));
  EXPECT_TRUE(failure(*field, times(256, "x")).is(kWrongValue));
}

TEST(TWEmailField, IsAShortText) { isAShortText<TWEmailField>(); }

TEST(TWCultureField, IsAShortText) { isAShortText<TWCultureField>(); }

}  // namespace
}  // namespace tarnwell
