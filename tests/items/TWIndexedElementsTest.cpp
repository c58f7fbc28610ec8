#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::read;
using test::tableOf;
using test::written;
using testing::ElementsAre;

TEST(TWIndexedElement, KindsStandInTheirTree) {
  EXPECT_EQ(TWIndexedElement::elementClass().base(), &TWEWSElement::elementClass());
  EXPECT_EQ(TWSingleFieldIndexedElement::elementClass().base(), &TWIndexedElement::elementClass());
  EXPECT_EQ(TWMultiFieldIndexedElement::elementClass().base(), &TWIndexedElement::elementClass());
  EXPECT_EQ(TWEmailAddress::elementClass().base(), &TWSingleFieldIndexedElement::elementClass());
  EXPECT_EQ(TWPhoneNumber::elementClass().base(), &TWSingleFieldIndexedElement::elementClass());
  EXPECT_EQ(TWPhysicalAddress::elementClass().base(), &TWMultiFieldIndexedElement::elementClass());
}

TEST(TWIndexedElement, AnswersNoLabels) {
  EXPECT_TRUE(TWIndexedElement::labels().empty());
  EXPECT_TRUE(TWPhoneNumber::labels().empty());
}

TEST(TWSingleFieldIndexedElement, KnowsTheFieldOfItsValue) {
  ASSERT_TRUE(TWEmailAddress::valueField(nullptr));
  EXPECT_EQ(TWEmailAddress::valueField(nullptr)->name(), "email");
  const TWVersion old(TWBuild(8, 0));
  ASSERT_TRUE(TWPhoneNumber::valueField(&old));
  EXPECT_EQ(TWPhoneNumber::valueField(&old)->name(), "phone_number");
  EXPECT_EQ(TWSingleFieldIndexedElement::valueField(TWPhoneNumber::elementClass(), &old),
            TWPhoneNumber::valueField(&old));
  EXPECT_EQ(
      TWSingleFieldIndexedElement::valueField(TWSingleFieldIndexedElement::elementClass(), nullptr),
      nullptr);
}

TEST(TWEmailAddress, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWEmailAddress::elementClass()),
              ElementsAre("label (Key): TWLabelField, isAttribute, default EmailAddress1, choices "
                          "(EmailAddress1, EmailAddress2, EmailAddress3)",
                          "email (): TWEmailSubField"));
}

TEST(TWEmailAddress, ReadsWhatItWrites) {
  const std::string xml = R"(<t:Entry Key="EmailAddress2">ann@example.com</t:Entry>)";
  const auto entry = read<TWEmailAddress>(xml);
  EXPECT_EQ(entry->get<std::string>("label"), "EmailAddress2");
  EXPECT_EQ(entry->get<std::string>("email"), "ann@example.com");
  EXPECT_THAT(written(*entry), EqualsXML(xml));
  EXPECT_EQ(entry->constantText(), "ann@example.com");
  EXPECT_EQ(TWUtils::xmlFromValue(entry), "ann@example.com");
}

TEST(TWEmailAddress, WithoutTextTakesItsName) {
  const auto entry =
      read<TWEmailAddress>(R"(<t:Entry Key="EmailAddress1" Name="ann@example.com"/>)");
  EXPECT_EQ(entry->get<std::string>("email"), "ann@example.com");
  EXPECT_FALSE(read<TWEmailAddress>(R"(<t:Entry Key="EmailAddress1"/>)")->constantText());
}

TEST(TWEmailAddress, WithoutALabelIsTheFirst) {
  EXPECT_THAT(written(*TWEmailAddress::withDict({{"email", "ann@example.com"}})),
              EqualsXML(R"(<t:Entry Key="EmailAddress1">ann@example.com</t:Entry>)"));
}

TEST(TWPhoneNumber, DeclaresItsFields) {
  EXPECT_THAT(
      tableOf(TWPhoneNumber::elementClass()),
      ElementsAre(
          "label (Key): TWLabelField, isAttribute, default PrimaryPhone, choices "
          "(AssistantPhone, BusinessFax, BusinessPhone, BusinessPhone2, Callback, CarPhone, "
          "CompanyMainPhone, HomeFax, HomePhone, HomePhone2, Isdn, MobilePhone, OtherFax, "
          "OtherTelephone, Pager, PrimaryPhone, RadioPhone, Telex, TtyTddPhone)",
          "phone_number (): TWSubField"));
}

TEST(TWPhoneNumber, TakesItsLabelWhenItIsValidated) {
  const auto number = TWPhoneNumber::withDict({{"phone_number", "555"}});
  EXPECT_TRUE(number->get("label").isAbsent());
  EXPECT_TRUE(number->clean(nullptr));
  EXPECT_EQ(number->get<std::string>("label"), "PrimaryPhone");
  EXPECT_TRUE(read<TWPhoneNumber>("<t:Entry>555</t:Entry>")->get("label").isAbsent());
}

TEST(TWPhoneNumber, ReadsWhatItWrites) {
  const std::string xml = R"(<t:Entry Key="Isdn">555</t:Entry>)";
  const auto number = read<TWPhoneNumber>(xml);
  EXPECT_EQ(number->get<std::string>("phone_number"), "555");
  EXPECT_EQ(number->constantText(), "555");
  EXPECT_EQ(TWUtils::xmlFromValue(number), "555");
  EXPECT_FALSE(TWPhoneNumber::withDict()->constantText());
  EXPECT_THAT(written(*number), EqualsXML(xml));
}

TEST(TWPhysicalAddress, DeclaresItsFields) {
  EXPECT_THAT(
      tableOf(TWPhysicalAddress::elementClass()),
      ElementsAre("label (Key): TWLabelField, isAttribute, default Business, choices "
                  "(Business, Home, Other)",
                  "street (Street): TWNamedSubField", "city (City): TWNamedSubField",
                  "state (State): TWNamedSubField", "country (CountryOrRegion): TWNamedSubField",
                  "zipcode (PostalCode): TWNamedSubField"));
}

TEST(TWPhysicalAddress, IsWrittenWithPartsThatHaveNoPrefix) {
  const auto address = TWPhysicalAddress::withDict({{"zipcode", "12345"},
                                                    {"country", "DE"},
                                                    {"state", "BE"},
                                                    {"city", "Berlin"},
                                                    {"street", "Allee 1"}});
  EXPECT_THAT(written(*address),
              EqualsXML(R"(<t:Entry Key="Business"><Street>Allee 1</Street><City>Berlin</City>
                        <State>BE</State><CountryOrRegion>DE</CountryOrRegion>
                        <PostalCode>12345</PostalCode></t:Entry>)"));
  EXPECT_FALSE(address->constantText());
}

TEST(TWPhysicalAddress, IsReadFromParts) {
  const auto address = read<TWPhysicalAddress>(
      R"(<t:Entry Key="Home"><t:Street>Allee 1</t:Street><t:City>Berlin</t:City>
      <t:CountryOrRegion>DE</t:CountryOrRegion><t:PostalCode>12345</t:PostalCode></t:Entry>)");
  EXPECT_EQ(*address, *TWPhysicalAddress::withDict({{"label", "Home"},
                                                    {"street", "Allee 1"},
                                                    {"city", "Berlin"},
                                                    {"country", "DE"},
                                                    {"zipcode", "12345"}}));
}

TEST(TWPhysicalAddress, ANumberWillDoForTheZipCode) {
  const auto address = TWPhysicalAddress::withDict({{"zipcode", 12345}});
  EXPECT_THAT(written(*address),
              EqualsXML(R"(<t:Entry Key="Business"><PostalCode>12345</PostalCode></t:Entry>)"));
  EXPECT_EQ(address->get<std::string>("zipcode"), "12345");
  EXPECT_THAT(
      failure(*TWPhysicalAddress::withDict({{"street", 1}})),
      IsFailure(TWErrorCode::ErrorType, "1 value is not of type TWNamedSubField for street"));
}

TEST(TWPhysicalAddress, AnUnknownLabelIsRefused) {
  EXPECT_THAT(failure(*TWPhysicalAddress::withDict({{"label", "Beach"}})),
              IsFailure(TWErrorCode::ErrorValueOutOfRange,
                        "Invalid choice Beach for field label. Valid choices are (Business, Home, "
                        "Other)"));
}

}  // namespace
}  // namespace tarnwell
