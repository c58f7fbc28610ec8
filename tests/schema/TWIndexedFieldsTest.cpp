#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/schema/TWIndexedFields.h"

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

const TWFieldOptions kPhones{.name = "phone_numbers", .fieldURI = "contacts:PhoneNumber"};
const TWFieldOptions kStreet{.name = "street", .fieldURI = "Street", .default_ = "unknown"};

TEST(TWSubField, IsTextWhateverTheOptionsSay) {
  const auto field = TWSubField::withProps({.valueCls = &TWItemId::elementClass()});
  EXPECT_EQ(field->className(), "TWSubField");
  EXPECT_EQ(dynamic_cast<TWFieldURIField*>(static_cast<TWField*>(field.get())), nullptr);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  EXPECT_EQ(cleaned(*field, "555"), TWValue("555"));
  EXPECT_THAT(
      failure(*TWSubField::withProps({.name = "phone_number"}), 555),
      IsFailure(TWErrorCode::ErrorType, "555 value is not of type TWSubField for phone_number"));
}

TEST(TWSubField, ReadsTheElementsOwnText) {
  const auto field = TWSubField::withProps({.name = "value", .default_ = "none"});
  EXPECT_EQ(readFrom(*field, "text"), TWValue("text"));
  EXPECT_EQ(readFrom(*field, ""), TWValue(""));
}

TEST(TWSubField, WritesTheValueAsItIs) {
  EXPECT_EQ(TWSubField::withProps({})->toXML("555", nullptr), TWValue("555"));
}

TEST(TWSubField, IsNamedByTheFieldOfTheEntriesAndTheLabel) {
  const auto field = TWSubField::withProps({.name = "phone_number", .fieldURI = "ignored"});
  EXPECT_THAT(
      field->fieldURIXML("contacts:PhoneNumber", "HomePhone").description(),
      EqualsXML(R"(<t:IndexedFieldURI FieldURI="contacts:PhoneNumber" FieldIndex="HomePhone"/>)"));
  EXPECT_FALSE(field->fieldURIXML());
}

TEST(TWSubField, IsEqualByItsName) {
  const auto field = TWSubField::withProps({.name = "email"});
  EXPECT_EQ(*field, *TWEmailSubField::withProps({.name = "email", .isReadOnly = true}));
  EXPECT_FALSE(*field == *TWSubField::withProps({.name = "phone_number"}));
  EXPECT_EQ(field->hash(), TWSubField::withProps({.name = "email"})->hash());
}

TEST(TWEmailSubField, FallsBackToTheAttributeName) {
  const auto field = TWEmailSubField::withProps({.name = "email"});
  EXPECT_NE(dynamic_cast<const TWSubField*>(field.get()), nullptr);
  EXPECT_EQ(field->fromXML(elementWith("a@example.com", "Name=\"b@example.com\""), nullptr),
            TWValue("a@example.com"));
  EXPECT_EQ(field->fromXML(elementWith("", "Name=\"b@example.com\""), nullptr),
            TWValue("b@example.com"));
  EXPECT_TRUE(field->fromXML(elementWith(""), nullptr).isAbsent());
}

TEST(TWNamedSubField, HasTagsWithoutPrefix) {
  const auto field = TWNamedSubField::withProps(kStreet);
  EXPECT_NE(dynamic_cast<const TWSubField*>(field.get()), nullptr);
  EXPECT_EQ(field->requestTag(), "Street");
  EXPECT_EQ(field->responseTag(), "Street");
  EXPECT_EQ(field->responseXMLns(), kTypesNamespace);
  EXPECT_EQ(written(*field, "Main St. <1>"), "<Street>Main St. &lt;1&gt;</Street>");
}

TEST(TWNamedSubField, ReadsItsChildInTheTypesNamespace) {
  const auto field = TWNamedSubField::withProps(kStreet);
  EXPECT_EQ(readFrom(*field, "<Street>no</Street><t:Street>Main St.</t:Street>"),
            TWValue("Main St."));
  EXPECT_EQ(readFrom(*field, "<t:Street/>"), TWValue(""));
  EXPECT_EQ(readFrom(*field, "<Street>no</Street>"), TWValue("unknown"));
}

TEST(TWNamedSubField, IsNamedAsAPartOfTheEntry) {
  const auto field = TWNamedSubField::withProps(kStreet);
  EXPECT_THAT(field->fieldURIXML("contacts:PhysicalAddress", "Home").description(),
              EqualsXML("<t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:Street\" "
                        "FieldIndex=\"Home\"/>"));
  EXPECT_FALSE(field->fieldURIXML());
}

TEST(TWNamedSubField, HasNoElementWithoutAURI) {
  const auto field = TWNamedSubField::withProps({.name = "note"});
  TWError error;
  EXPECT_TRUE(field->toXML("x", nullptr, &error).isAbsent());
  EXPECT_THAT(error,
              IsFailure(TWErrorCode::ErrorValueOutOfRange, "Field note has no name on the server"));
  EXPECT_FALSE(field->fieldURIXML("contacts:PhysicalAddress", "Home"));
}

TEST(TWIndexedField, HasNoContainerOfItsOwn) {
  EXPECT_FALSE(TWIndexedField::parentElementName());
  EXPECT_EQ(TWIndexedField::responseTag(), "");
  EXPECT_EQ(TWIndexedField::responseXMLns(), kTypesNamespace);
  const auto field = TWIndexedField::withProps({.name = "x", .fieldURI = "contacts:X"});
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  EXPECT_TRUE(readFrom(*field, "<t:X/>").isAbsent());
  EXPECT_TRUE(field->toXML(TWList(), nullptr).isAbsent());
}

template <class Field>
class IndexedFields : public testing::Test {};

struct Emails {
  using Field = TWEmailAddressField;
  using Element = TWEmailAddress;
  static constexpr std::string_view container = "EmailAddresses", name = "TWEmailAddressField";
};
struct Phones {
  using Field = TWPhoneNumberField;
  using Element = TWPhoneNumber;
  static constexpr std::string_view container = "PhoneNumbers", name = "TWPhoneNumberField";
};
struct Addresses {
  using Field = TWPhysicalAddressField;
  using Element = TWPhysicalAddress;
  static constexpr std::string_view container = "PhysicalAddresses",
                                    name = "TWPhysicalAddressField";
};
using Kinds = testing::Types<Emails, Phones, Addresses>;
TYPED_TEST_SUITE(IndexedFields, Kinds);

TYPED_TEST(IndexedFields, NameTheirContainer) {
  using Field = typename TypeParam::Field;
  EXPECT_EQ(Field::parentElementName(), TypeParam::container);
  EXPECT_EQ(Field::responseTag(), TypeParam::container);
  EXPECT_EQ(Field::responseXMLns(), kTypesNamespace);
}

TYPED_TEST(IndexedFields, AreListsOfTheirElementsWhateverTheOptionsSay) {
  const auto field = TypeParam::Field::withProps(
      {.fieldURI = "contacts:X", .valueCls = &TWItemId::elementClass()});
  EXPECT_EQ(field->className(), TypeParam::name);
  EXPECT_NE(dynamic_cast<const TWIndexedField*>(field.get()), nullptr);
  EXPECT_EQ(field->valueClass().elementClass(), &TypeParam::Element::elementClass());
  EXPECT_TRUE(field->isList());
  EXPECT_FALSE(field->isComplex());
}

TYPED_TEST(IndexedFields, HaveNoNameOfTheirOwnInPathsAndAreEqualByFieldURI) {
  const auto field = TypeParam::Field::withProps({.name = "a", .fieldURI = "contacts:X"});
  EXPECT_FALSE(field->fieldURIXML());
  EXPECT_EQ(*field, *TypeParam::Field::withProps({.name = "b", .fieldURI = "contacts:X"}));
  EXPECT_FALSE(*field == *TypeParam::Field::withProps({.name = "a", .fieldURI = "contacts:Y"}));
}

TYPED_TEST(IndexedFields, ReadEveryEntryOfTheContainer) {
  const auto field = TypeParam::Field::withProps({.fieldURI = "contacts:X", .default_ = "none"});
  const auto inside = [](std::string_view content) {
    const std::string name = "t:" + std::string(TypeParam::container);
    return "<" + name + ">" + std::string(content) + "</" + name + ">";
  };
  const auto list = readFrom(*field, inside("<t:Entry Key=\"A\"/><Entry Key=\"X\"/><t:Other/>"
                                            "<t:Entry Key=\"B\"/>"))
                        .asList();
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 2U);
  for (const auto& entry : *list)
    EXPECT_TRUE(entry.template asObject<typename TypeParam::Element>()) << entry;
  EXPECT_EQ((*list)[0].template asObject<TWEWSElement>()->template get<std::string>("label"), "A");
  EXPECT_EQ((*list)[1].template asObject<TWEWSElement>()->template get<std::string>("label"), "B");
  EXPECT_EQ(readFrom(*field, inside("")), TWValue(TWList()));
  EXPECT_EQ(readFrom(*field, "<t:X><t:Entry Key=\"A\"/></t:X>"), TWValue("none"));
}

TEST(TWPhoneNumberField, ReadsWhatItWrites) {
  const auto field = TWPhoneNumberField::withProps(kPhones);
  const auto list =
      TWValue::list({TWPhoneNumber::withDict({{"phone_number", "555-1"}}),
                     TWPhoneNumber::withDict({{"label", "HomePhone"}, {"phone_number", "555-2"}})});
  const auto xml = written(*field, cleaned(*field, list));
  EXPECT_THAT(xml, EqualsXML(R"(<t:PhoneNumbers><t:Entry Key="PrimaryPhone">555-1</t:Entry>
      <t:Entry Key="HomePhone">555-2</t:Entry></t:PhoneNumbers>)"));
  EXPECT_EQ(readFrom(*field, xml), list);
}

TEST(TWPhoneNumberField, PassesTheErrorOfAnEntryUp) {
  const auto bad = TWValue::list({TWPhoneNumber::withDict({{"label", "Fax"}})});
  const auto field = TWPhoneNumberField::withProps(kPhones);
  EXPECT_TRUE(failure(*field, bad).is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_THAT(written(*field, bad),
              testing::StartsWith("error: Invalid choice Fax for field label."));
  EXPECT_THAT(failure(*field, TWValue::list({"555"})),
              IsFailure(TWErrorCode::ErrorType,
                        "555 value is not of type TWPhoneNumberField for phone_numbers"));
}

}  // namespace
}  // namespace tarnwell
