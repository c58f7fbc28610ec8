#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWExtendedPropertyField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"

#include "tests/schema/RegisteringItem.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;

const TWExtendedPropertyClass& projectId() {
  static const auto& kClass = TWExtendedPropertyClass::declare({
      .name = "ProjectId",
      .distinguishedPropertySetId = "PublicStrings",
      .propertyName = "ProjectId",
      .propertyType = "String",
  });
  return kClass;
}

std::shared_ptr<TWExtendedPropertyField> fieldOf(const TWElementClass& cls) {
  return TWExtendedPropertyField::withProps({.name = "extra", .valueCls = &cls});
}

/// An item with these children, in the types namespace under the prefix "e".
NKXMLElement item(std::string_view children) {
  return NKXMLElement::withXMLString("<e:Item xmlns:e=\"" + std::string(kTypesNamespace) + "\">" +
                                     std::string(children) + "</e:Item>");
}

std::string property(std::string_view attributes, std::string_view value) {
  return "<e:ExtendedProperty><e:ExtendedFieldURI " + std::string(attributes) + "/><e:Value>" +
         std::string(value) + "</e:Value></e:ExtendedProperty>";
}

TWValue valueOf(const TWValue& property) {
  const auto element = property.asObject<TWExtendedProperty>();
  return element ? element->get("value") : TWValue("(no property)");
}

TEST(TWExtendedPropertyField, IsASingleSimpleFieldWithoutChildOfItsOwn) {
  const auto field = fieldOf(projectId());
  EXPECT_EQ(field->className(), "TWExtendedPropertyField");
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  EXPECT_EQ(field->childTag(), std::nullopt);
  const TWField& base = *field;
  EXPECT_EQ(dynamic_cast<const TWFieldURIField*>(&base), nullptr);
  EXPECT_EQ(field->propertyClass(), &projectId());
  EXPECT_EQ(fieldOf(TWEWSElement::elementClass())->propertyClass(), nullptr);
}

TEST(TWExtendedPropertyField, NamesThePropertyByWhatIsSet) {
  EXPECT_THAT(fieldOf(TWFlag::elementClass())->fieldURIXML().XMLString(),
              EqualsXML(R"(<t:ExtendedFieldURI PropertyTag="0x1090" PropertyType="Integer"/>)"));
  EXPECT_THAT(fieldOf(TWExternId::elementClass())->fieldURIXML().XMLString(),
              EqualsXML(R"(<t:ExtendedFieldURI PropertySetId="c11ff724-aa03-4555-9952-8fa248a11c3f"
                     PropertyName="External ID" PropertyType="String"/>)"));
  EXPECT_THAT(fieldOf(projectId())->fieldURIXML().XMLString(),
              EqualsXML(R"(<t:ExtendedFieldURI DistinguishedPropertySetId="PublicStrings"
                             PropertyName="ProjectId" PropertyType="String"/>)"));
}

TEST(TWExtendedPropertyField, AttributesStandInTheOrderOfTheSchema) {
  const auto& byId = TWExtendedPropertyClass::declare({.name = "ById",
                                                       .distinguishedPropertySetId = "Common",
                                                       .propertyId = 34144,
                                                       .propertyType = "Boolean"});
  EXPECT_EQ(fieldOf(byId)->fieldURIXML().XMLString(),
            R"(<t:ExtendedFieldURI DistinguishedPropertySetId="Common" PropertyId="34144" )"
            R"(PropertyType="Boolean"></t:ExtendedFieldURI>)");
}

TEST(TWExtendedPropertyField, CleanPassesAnInstanceThatIsValid) {
  const TWValue value = projectId().withDict({{"value", "P-1"}});
  TWError error;
  EXPECT_EQ(fieldOf(projectId())->clean(value, nullptr, &error).asObject(), value.asObject());
  EXPECT_FALSE(error);
}

TEST(TWExtendedPropertyField, CleanPassesUpTheErrorOfAnInstance) {
  const auto& tags = TWExtendedPropertyClass::declare({.name = "Tags",
                                                       .distinguishedPropertySetId = "Common",
                                                       .propertyName = "Tags",
                                                       .propertyType = "StringArray"});
  TWError error;
  EXPECT_TRUE(fieldOf(tags)->clean(tags.withDict({{"value", "one"}}), nullptr, &error).isAbsent());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(), "Tags value one must be a list");
}

TEST(TWExtendedPropertyField, CleanYieldsNothingAndNoErrorForAnyOtherValue) {
  TWError error;
  for (const auto& value : {TWValue("P-1"), TWValue(5), TWValue(TWFlag::withDict({{"value", 1}}))})
    EXPECT_TRUE(fieldOf(projectId())->clean(value, nullptr, &error).isAbsent()) << value;
  EXPECT_FALSE(error);
}

TEST(TWExtendedPropertyField, AMissingValueThatIsRequiredIsAnErrorEvenWithADefault) {
  TWError error;
  const TWExtendedPropertyField field(
      {.name = "extra", .valueCls = &projectId(), .default_ = "P-0", .isRequired = true});
  EXPECT_TRUE(field.clean({}, nullptr, &error).isAbsent());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(), "required field missing in extended property field");
}

TEST(TWExtendedPropertyField, AMissingValueThatIsNotRequiredIsTheDefault) {
  TWError error;
  const TWExtendedPropertyField field(
      {.name = "extra", .valueCls = &projectId(), .default_ = "P-0"});
  EXPECT_EQ(field.clean({}, nullptr, &error), TWValue("P-0"));
  EXPECT_TRUE(fieldOf(projectId())->clean({}, nullptr, &error).isAbsent());
  EXPECT_FALSE(error);
}

TEST(TWExtendedPropertyField, CleanDoesNotAskForTheVersion) {
  const TWExtendedPropertyField field({.name = "extra",
                                       .valueCls = &projectId(),
                                       .supportedFrom = TWBuild::buildWithMajorVer(15, 0),
                                       .isRequired = true});
  const TWVersion old(TWBuild::buildWithMajorVer(8, 0));
  ASSERT_FALSE(field.supportsVersion(&old));
  TWError error;
  EXPECT_TRUE(field.clean({}, &old, &error).isAbsent());
  EXPECT_EQ(error.message(), "required field missing in extended property field");
  const TWValue value = projectId().withDict({{"value", "P-1"}});
  EXPECT_EQ(field.clean(value, &old), value);
}

TEST(TWExtendedPropertyField, APlainValueIsWrappedForCallersThatWriteIt) {
  const auto field = fieldOf(projectId());
  const auto plain = field->valueToWrite("P-1", nullptr);
  EXPECT_EQ(plain, TWValue(projectId().withDict({{"value", "P-1"}})));
  EXPECT_EQ(field->toXML(plain, nullptr).asXML().XMLString(),
            field->toXML("P-1", nullptr).asXML().XMLString());
  EXPECT_EQ(field->valueToWrite(plain, nullptr), plain);
  TWError error;
  EXPECT_TRUE(field->valueToWrite({}, nullptr, &error).isAbsent());
  EXPECT_FALSE(error);

  const auto& lists =
      TWExtendedPropertyClass::declare({.name = "Lists",
                                        .distinguishedPropertySetId = "PublicStrings",
                                        .propertyName = "Lists",
                                        .propertyType = "StringArray"});
  const auto list = TWValue::list({"a", "b"});
  EXPECT_EQ(valueOf(fieldOf(lists)->valueToWrite(list, nullptr)), list);
  EXPECT_TRUE(fieldOf(lists)->valueToWrite("a", nullptr, &error).isAbsent());
  EXPECT_EQ(error.message(), "Lists value a must be a list");
}

TEST(TWExtendedPropertyField, ReadsTheFirstPropertyThatIsAddressedAsItsOwn) {
  const auto xml =
      item(property(R"(PropertyTag="0x1090" PropertyType="Integer")", "2") +
           property(R"(DistinguishedPropertySetId="PublicStrings" PropertyName="ProjectId"
                  PropertyType="String")",
                    "P-1") +
           property(R"(DistinguishedPropertySetId="PublicStrings" PropertyName="ProjectId"
                  PropertyType="String")",
                    "P-2"));
  EXPECT_EQ(valueOf(fieldOf(projectId())->fromXML(xml, nullptr)), TWValue("P-1"));
  EXPECT_EQ(valueOf(fieldOf(TWFlag::elementClass())->fromXML(xml, nullptr)), TWValue(2));
  EXPECT_TRUE(fieldOf(TWFlag::elementClass())->fromXML(xml, nullptr).asObject<TWFlag>());
}

TEST(TWExtendedPropertyField, MoreAttributesThanItsOwnDoNotHinder) {
  const auto xml = item(property(R"(PropertyTag="0x1090" PropertyType="Integer" Extra="1")", "2"));
  EXPECT_EQ(valueOf(fieldOf(TWFlag::elementClass())->fromXML(xml, nullptr)), TWValue(2));
}

TEST(TWExtendedPropertyField, AnAttributeThatIsMissingOrDifferentIsNoMatch) {
  const TWExtendedPropertyField field(
      {.name = "extra", .valueCls = &TWFlag::elementClass(), .default_ = 7});
  for (const auto* const attributes :
       {R"(PropertyTag="0x1090" PropertyType="Long")",
        R"(PropertyTag="0x1091" PropertyType="Integer")", R"(PropertyTag="0x1090")",
        R"(PropertyType="Integer")", R"(PropertyTag="0x1090" PropertyType="integer")", ""})
    EXPECT_EQ(field.fromXML(item(property(attributes, "2")), nullptr), TWValue(7)) << attributes;
}

TEST(TWExtendedPropertyField, IdentifiersOfSetsAndTagsMatchInLowerCaseOnly) {
  const auto externId = [](std::string_view set) {
    return fieldOf(TWExternId::elementClass())
        ->fromXML(item(property("PropertySetId=\"" + std::string(set) +
                                    R"(" PropertyName="External ID" PropertyType="String")",
                                "E-1")),
                  nullptr);
  };
  EXPECT_EQ(valueOf(externId("c11ff724-aa03-4555-9952-8fa248a11c3f")), TWValue("E-1"));
  EXPECT_TRUE(externId("C11FF724-AA03-4555-9952-8FA248A11C3F").isAbsent());

  const auto& tagged = TWExtendedPropertyClass::declare(
      {.name = "Tagged", .propertyTag = "0x3FDE", .propertyType = "Integer"});
  const auto number = [&](std::string_view tag) {
    return fieldOf(tagged)->fromXML(
        item(property("PropertyTag=\"" + std::string(tag) + "\" PropertyType=\"Integer\"", "1")),
        nullptr);
  };
  EXPECT_EQ(valueOf(number("0x3fde")), TWValue(1));
  EXPECT_TRUE(number("0x3FDE").isAbsent());
}

TEST(TWExtendedPropertyField, APropertyWhoseValueCannotBeReadIsNothingNotTheDefault) {
  const TWExtendedPropertyField field(
      {.name = "extra", .valueCls = &TWFlag::elementClass(), .default_ = 7});
  const std::string kFlag = R"(PropertyTag="0x1090" PropertyType="Integer")";
  EXPECT_TRUE(field.fromXML(item(property(kFlag, "two")), nullptr).isAbsent());
  EXPECT_TRUE(field
                  .fromXML(item("<e:ExtendedProperty><e:ExtendedFieldURI " + kFlag +
                                "/></e:ExtendedProperty>"),
                           nullptr)
                  .isAbsent());
}

TEST(TWExtendedPropertyField, BrokenAnswersGiveTheDefault) {
  const TWExtendedPropertyField field(
      {.name = "extra", .valueCls = &TWFlag::elementClass(), .default_ = 7});
  const std::string kFlag = R"(PropertyTag="0x1090" PropertyType="Integer")";
  for (const std::string& children :
       {std::string(), std::string("<e:ExtendedProperty/>"),
        std::string("<e:ExtendedProperty><e:Value>2</e:Value></e:ExtendedProperty>"),
        "<ExtendedProperty><e:ExtendedFieldURI " + kFlag +
            "/><e:Value>2</e:Value>"
            "</ExtendedProperty>",
        "<e:ExtendedProperty><ExtendedFieldURI " + kFlag +
            "/><e:Value>2</e:Value>"
            "</e:ExtendedProperty>"})
    EXPECT_EQ(field.fromXML(item(children), nullptr), TWValue(7)) << children;
  EXPECT_EQ(field.fromXML(NKXMLElement(), nullptr), TWValue(7));
}

TEST(TWExtendedPropertyField, WritesTheNameThenTheValue) {
  EXPECT_THAT(fieldOf(TWFlag::elementClass())
                  ->toXML(TWFlag::withDict({{"value", 2}}), nullptr)
                  .asXML()
                  .XMLString(),
              EqualsXML(R"(<t:ExtendedProperty>
                             <t:ExtendedFieldURI PropertyTag="0x1090" PropertyType="Integer"/>
                             <t:Value>2</t:Value>
                           </t:ExtendedProperty>)"));
}

TEST(TWExtendedPropertyField, APlainValueIsWrittenAsAnInstanceWould) {
  const auto field = fieldOf(projectId());
  EXPECT_EQ(field->toXML("P-1", nullptr).asXML().XMLString(),
            field->toXML(projectId().withDict({{"value", "P-1"}}), nullptr).asXML().XMLString());
}

TEST(TWExtendedPropertyField, APlainValueThatIsNotValidFailsWhenWritten) {
  const auto& tags = TWExtendedPropertyClass::declare({.name = "Tags",
                                                       .distinguishedPropertySetId = "Common",
                                                       .propertyName = "Tags",
                                                       .propertyType = "StringArray"});
  TWError error;
  EXPECT_TRUE(fieldOf(tags)->toXML("one", nullptr, &error).isAbsent());
  EXPECT_EQ(error.message(), "Tags value one must be a list");
  EXPECT_THAT(fieldOf(tags)->toXML(TWValue::list({"one"}), nullptr).asXML().XMLString(),
              EqualsXML(R"(<t:ExtendedProperty>
                             <t:ExtendedFieldURI DistinguishedPropertySetId="Common"
                                                 PropertyName="Tags" PropertyType="StringArray"/>
                             <t:Values><t:Value>one</t:Value></t:Values>
                           </t:ExtendedProperty>)"));
}

TEST(TWExtendedPropertyField, APropertyOfAnotherClassIsNotWritten) {
  TWError error;
  EXPECT_TRUE(
      fieldOf(projectId())->toXML(TWFlag::withDict({{"value", 1}}), nullptr, &error).isAbsent());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorType));
}

TEST(TWExtendedPropertyField, FieldsOfOneNameAreEqual) {
  const auto field = fieldOf(projectId());
  EXPECT_EQ(*field, *fieldOf(TWFlag::elementClass()));
  EXPECT_EQ(field->hash(), fieldOf(TWFlag::elementClass())->hash());
  EXPECT_FALSE(*field ==
               *TWExtendedPropertyField::withProps({.name = "other", .valueCls = &projectId()}));
}

TEST(TWExtendedPropertyField, AnElementKeepsAndWritesThePlainValueItWasGiven) {
  using Item = test::RegisteringItem<struct PlainValue>;
  ASSERT_TRUE(Item::registerAttr("project_id", projectId()));
  const auto element = Item::withDict({{"project_id", "P-1"}});
  TWError error;
  ASSERT_TRUE(element->clean(nullptr, &error)) << error;
  EXPECT_EQ(element->get("project_id"), TWValue("P-1"));
  EXPECT_THAT(element->toXML(nullptr).XMLString(), EqualsXML(R"(<t:Item><t:ExtendedProperty>
                             <t:ExtendedFieldURI DistinguishedPropertySetId="PublicStrings"
                                                 PropertyName="ProjectId" PropertyType="String"/>
                             <t:Value>P-1</t:Value>
                           </t:ExtendedProperty></t:Item>)"));
}

TEST(TWExtendedPropertyField, AnElementCleansItsFieldEvenWithoutAValue) {
  using Item = test::RegisteringItem<struct MissingValue>;
  Item::addField(TWExtendedPropertyField::withProps(
                     {.name = "extra", .valueCls = &projectId(), .isRequired = true}),
                 1);
  TWError error;
  EXPECT_FALSE(Item::withDict()->clean(nullptr, &error));
  EXPECT_EQ(error.message(), "required field missing in extended property field");
}

TEST(TWExtendedPropertyField, AnElementReadsWhatItWrote) {
  using Item = test::RegisteringItem<struct RoundTrip>;
  ASSERT_TRUE(Item::registerAttr("project_id", projectId()));
  ASSERT_TRUE(Item::registerAttr("flag", TWFlag::elementClass()));
  const auto before = Item::withDict({{"project_id", projectId().withDict({{"value", "P-1"}})},
                                      {"flag", TWFlag::withDict({{"value", 2}})}});
  const auto xml = before->toXML(nullptr);
  auto root = NKXMLElement::withXMLString("<r xmlns:t=\"" + std::string(kTypesNamespace) + "\">" +
                                          xml.XMLString() + "</r>");
  const auto after = Item::fromXML(root.elementForName("Item", kTypesNamespace));
  EXPECT_EQ(*after, *before);
  EXPECT_EQ(after->toXML(nullptr).XMLString(), xml.XMLString());
}

}  // namespace
}  // namespace tarnwell
