#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/PathContact.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::ContactFolder;
using test::EqualsXML;
using test::IsFailure;
using test::PathContact;
using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::Optional;
using ::testing::Pair;
using ::testing::SizeIs;

std::shared_ptr<TWFieldPath> pathOf(std::string_view text) {
  TWError error;
  auto path = TWFieldPath::fromString(text, ContactFolder(), false, &error);
  EXPECT_TRUE(path) << error;
  return path;
}

std::string xmlOf(std::string_view text) {
  TWError error;
  const auto xml = pathOf(text)->toXML(nullptr, &error);
  EXPECT_EQ(!xml, static_cast<bool>(error));
  return error ? "error: " + error.message() : xml.XMLString();
}

std::vector<std::string> expanded(std::string_view text, const TWVersion* version = nullptr) {
  std::vector<std::string> texts;
  for (const auto& path : pathOf(text)->expand(version)) texts.push_back(path->path());
  return texts;
}

std::shared_ptr<TWPhoneNumber> phone(std::string_view label, std::string_view number) {
  return TWPhoneNumber::withDict({{"label", label}, {"phone_number", number}});
}

TEST(TWFieldPath, HoldsWhatItsTextResolvesTo) {
  const auto path = pathOf("physical_addresses__Home__city");
  EXPECT_EQ(path->field(), PathContact::getFieldByFieldName("physical_addresses"));
  EXPECT_THAT(path->label(), Optional(std::string("Home")));
  EXPECT_EQ(path->subField()->name(), "city");
  EXPECT_EQ(path->role(), TWXMLObject::Role::fieldPath);
  EXPECT_EQ(TWValue(path).kind(), TWValue::Kind::fieldPath);
}

TEST(TWFieldPath, ATextThatCannotBeResolvedGivesNoPath) {
  TWError error;
  EXPECT_THAT(TWFieldPath::fromString("nope", ContactFolder(), false, &error), IsNull());
  EXPECT_THAT(error, IsFailure(TWErrorCode::ErrorValueOutOfRange,
                               "Unknown fieldname nope on class ContactFolder"));
  EXPECT_THAT(TWFieldPath::fromString(5, ContactFolder(), false, &error), IsNull());
  EXPECT_THAT(error, IsFailure(TWErrorCode::ErrorFieldValue, "Field path 5 must be a string"));
  EXPECT_THAT(TWFieldPath::fromString("phone_numbers", ContactFolder(), true, &error), IsNull());
  EXPECT_THAT(TWFieldPath::withField(nullptr), IsNull());
}

TEST(TWFieldPath, PathsAreEqualOnlyToThemselves) {
  const auto path = pathOf("subject");
  const auto twin = pathOf("subject");
  EXPECT_TRUE(path->isEqual(*path));
  EXPECT_FALSE(path->isEqual(*twin));
  const TWList paths{TWValue(path)};
  const TWList copies = paths;
  EXPECT_NE(std::ranges::find(copies, TWValue(path)), copies.end());
  EXPECT_EQ(std::ranges::find(copies, TWValue(twin)), copies.end());
}

TEST(TWFieldPath, TheTextNamesNoMoreThanItMust) {
  for (const auto* const text :
       {"subject", "phone_numbers", "phone_numbers__BusinessPhone", "physical_addresses",
        "physical_addresses__Business", "physical_addresses__Business__street"})
    EXPECT_EQ(pathOf(text)->path(), text);
  // The value of an entry was filled in, and is not shown.
  ASSERT_TRUE(pathOf("phone_numbers")->subField());
}

TEST(TWFieldPath, IsDescribedByItsClassAndItsText) {
  EXPECT_EQ(pathOf("subject")->description(), "TWFieldPath__subject");
  EXPECT_EQ(pathOf("physical_addresses__Home__city")->description(),
            "TWFieldPath__physical_addresses__Home__city");
  EXPECT_THAT(
      pathOf("phone_numbers__HomePhone")->declaredProperties(),
      ElementsAre(Pair("field", TWValue("phone_numbers")), Pair("label", TWValue("HomePhone")),
                  Pair("subField", TWValue("phone_number"))));
}

TEST(TWFieldPath, WithoutLabelTheValueIsThatOfTheField) {
  const auto numbers = TWValue::list({phone("HomePhone", "1")});
  const auto contact = PathContact::withDict({{"subject", "Ann"}, {"phone_numbers", numbers}});
  EXPECT_EQ(pathOf("subject")->getValue(*contact), TWValue("Ann"));
  EXPECT_EQ(pathOf("phone_numbers")->getValue(*contact), numbers);
}

TEST(TWFieldPath, WithLabelItIsThatOfTheFirstEntryOfTheLabel) {
  const auto contact = PathContact::withDict(
      {{"phone_numbers", TWValue::list({phone("HomePhone", "1"), phone("MobilePhone", "2"),
                                        phone("MobilePhone", "3")})}});
  EXPECT_EQ(pathOf("phone_numbers__MobilePhone")->getValue(*contact), TWValue("2"));
  EXPECT_TRUE(pathOf("phone_numbers__Pager")->getValue(*contact).isAbsent());
}

TEST(TWFieldPath, WithLabelAndNoSubfieldItIsTheEntry) {
  const auto home = TWPhysicalAddress::withDict({{"label", "Home"}, {"city", "Oslo"}});
  const auto contact = PathContact::withDict({{"physical_addresses", TWValue::list({home})}});
  EXPECT_EQ(pathOf("physical_addresses__Home")->getValue(*contact).asObject(), home);
  EXPECT_EQ(pathOf("physical_addresses__Home__city")->getValue(*contact), TWValue("Oslo"));
  EXPECT_TRUE(pathOf("physical_addresses__Home__street")->getValue(*contact).isAbsent());
  EXPECT_TRUE(pathOf("physical_addresses__Other")->getValue(*contact).isAbsent());
}

TEST(TWFieldPath, ThereIsNoEntryInWhatIsNoListOfEntries) {
  const auto path = pathOf("phone_numbers__HomePhone");
  EXPECT_TRUE(path->getValue(*PathContact::withDict()).isAbsent());
  for (const auto& value : {TWValue("1"), TWValue(TWList()), TWValue::list({"HomePhone", 1})})
    EXPECT_TRUE(path->getValue(*PathContact::withDict({{"phone_numbers", value}})).isAbsent())
        << value;
}

TEST(TWFieldPath, APlainFieldIsWrittenAsItsURI) {
  EXPECT_THAT(xmlOf("subject"), EqualsXML(R"(<t:FieldURI FieldURI="item:Subject"/>)"));
}

TEST(TWFieldPath, ARegisteredPropertyIsWrittenAsItsAddress) {
  ASSERT_TRUE(PathContact::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_THAT(xmlOf("flag"),
              EqualsXML(R"(<t:ExtendedFieldURI PropertyTag="0x1090" PropertyType="Integer"/>)"));
  ASSERT_TRUE(PathContact::unregisterAttr("flag"));
}

TEST(TWFieldPath, AnEntryIsWrittenAsItsURIAndItsLabel) {
  EXPECT_THAT(xmlOf("phone_numbers__BusinessPhone"),
              EqualsXML(R"(<t:IndexedFieldURI FieldURI="contacts:PhoneNumber"
                                              FieldIndex="BusinessPhone"/>)"));
  EXPECT_THAT(xmlOf("email_addresses__EmailAddress2"),
              EqualsXML(R"(<t:IndexedFieldURI FieldURI="contacts:EmailAddress"
                                              FieldIndex="EmailAddress2"/>)"));
  EXPECT_THAT(xmlOf("physical_addresses__Business__street"),
              EqualsXML(R"(<t:IndexedFieldURI FieldURI="contacts:PhysicalAddress:Street"
                                              FieldIndex="Business"/>)"));
}

TEST(TWFieldPath, AnIndexedFieldIsNotWrittenWithoutLabelAndSubfield) {
  const std::string kMessage = " is missing label and/or subfield";
  // Of an entry with one value the subfield is there, the label still missing.
  EXPECT_EQ(xmlOf("phone_numbers"), "error: Field path for indexed field phone_numbers" + kMessage);
  EXPECT_EQ(xmlOf("physical_addresses"),
            "error: Field path for indexed field physical_addresses" + kMessage);
  TWError error;
  EXPECT_FALSE(pathOf("physical_addresses__Business")->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(TWErrorCode::ErrorValueOutOfRange,
                               "Field path for indexed field physical_addresses" + kMessage));
}

TEST(TWFieldPath, ALabelIsNoSubfieldThatCanBeWritten) {
  const auto path = pathOf("physical_addresses__Home__label");
  ASSERT_TRUE(path);
  TWError error;
  EXPECT_FALSE(path->toXML(nullptr, &error));
  EXPECT_TRUE(error);
}

TEST(TWFieldPath, APathOfPartsIsThatOfTheText) {
  const auto field = PathContact::getFieldByFieldName("physical_addresses");
  const auto street = TWPhysicalAddress::elementClass().getFieldByFieldName("street");
  const auto path = TWFieldPath::withField(field, "Business", street);
  EXPECT_EQ(path->path(), "physical_addresses__Business__street");
  EXPECT_THAT(path->toXML(nullptr).XMLString(),
              EqualsXML(xmlOf("physical_addresses__Business__street")));

  const auto phones = PathContact::getFieldByFieldName("phone_numbers");
  const auto pager = TWFieldPath::withField(phones, "Pager");
  EXPECT_EQ(pager->path(), "phone_numbers__Pager");
  TWError error;
  EXPECT_FALSE(pager->toXML(nullptr, &error)) << "its subfield is missing";
  EXPECT_TRUE(error);

  const auto subject =
      TWFieldPath::withField(PathContact::getFieldByFieldName("subject"), "Business");
  EXPECT_THAT(subject->toXML(nullptr).XMLString(), EqualsXML(xmlOf("subject")));
  EXPECT_TRUE(subject->getValue(*PathContact::withDict({{"subject", "s"}})).isAbsent());
}

TEST(TWFieldPath, AFieldWithoutANameOnTheServerIsNotWritten) {
  EXPECT_EQ(xmlOf("nameless"), "error: Field nameless has no name on the server");
  TWError error;
  const auto path = TWFieldPath::withField(TWCharField::withProps({.name = "note"}));
  EXPECT_FALSE(path->toXML(nullptr, &error));
  EXPECT_THAT(error,
              IsFailure(TWErrorCode::ErrorValueOutOfRange, "Field note has no name on the server"));
}

TEST(TWFieldPath, AnEntryWithoutANameOnTheServerIsNotWritten) {
  const auto refusal = [](const TWFieldOptions& options, std::shared_ptr<const TWField> part) {
    TWError error;
    const auto path =
        TWFieldPath::withField(TWPhoneNumberField::withProps(options), "Pager", std::move(part));
    EXPECT_FALSE(path->toXML(nullptr, &error));
    return error;
  };
  const auto isRefusal =
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "Field phones has no name on the server");
  EXPECT_THAT(refusal({.name = "phones"}, TWPhoneNumber::valueField(nullptr)), isRefusal);
  EXPECT_THAT(refusal({.name = "phones", .fieldURI = "contacts:PhoneNumber"},
                      TWNamedSubField::withProps({.name = "area"})),
              isRefusal);
}

TEST(TWFieldPath, APlainPathExpandsToItself) {
  const auto path = pathOf("subject");
  EXPECT_THAT(path->expand(nullptr), ElementsAre(path));
}

TEST(TWFieldPath, AnOpenLabelExpandsToEveryLabel) {
  EXPECT_THAT(expanded("email_addresses"),
              ElementsAre("email_addresses__EmailAddress1", "email_addresses__EmailAddress2",
                          "email_addresses__EmailAddress3"));
  const auto numbers = expanded("phone_numbers");
  EXPECT_THAT(numbers, SizeIs(19));
  EXPECT_EQ(numbers.front(), "phone_numbers__AssistantPhone");
  EXPECT_EQ(numbers.back(), "phone_numbers__TtyTddPhone");
}

TEST(TWFieldPath, AnOpenSubfieldExpandsToEveryPartLabelsInTheOuterLoop) {
  std::vector<std::string> expected;
  for (const std::string label : {"Business", "Home", "Other"})
    for (const std::string part : {"street", "city", "state", "country", "zipcode"})
      expected.push_back("physical_addresses__" + label + "__" + part);
  EXPECT_EQ(expanded("physical_addresses"), expected);
  EXPECT_THAT(expanded("physical_addresses__Home"), SizeIs(5));
  EXPECT_THAT(expanded("physical_addresses__Home__city"),
              ElementsAre("physical_addresses__Home__city"));
  EXPECT_THAT(expanded("phone_numbers__Pager"), ElementsAre("phone_numbers__Pager"));
}

TEST(TWFieldPath, ExpandingKnowsTheVersion) {
  const TWVersion old(TWBuild::buildWithMajorVer(14, 0));
  const TWVersion late(TWBuild::buildWithMajorVer(15, 0));
  EXPECT_THAT(expanded("grown", &old), ElementsAre("grown__Old__plain"));
  EXPECT_THAT(expanded("grown", &late), ElementsAre("grown__Old__plain", "grown__Old__late",
                                                    "grown__New__plain", "grown__New__late"));
  EXPECT_EQ(expanded("grown"), expanded("grown", &late));
}

TEST(TWFieldPath, ExpandedPathsCanBeWritten) {
  for (const auto& path : pathOf("physical_addresses")->expand(nullptr))
    EXPECT_TRUE(path->toXML(nullptr)) << path->path();
}

}  // namespace
}  // namespace tarnwell
