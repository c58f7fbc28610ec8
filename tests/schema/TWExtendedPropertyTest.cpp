#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::Optional;
using ::testing::Pair;

using Addressing = TWExtendedPropertyClass::Addressing;
using Kind = TWValueClass::Kind;

const TWExtendedPropertyClass& classOfType(std::string type) {
  return TWExtendedPropertyClass::declare({.name = "Typed",
                                           .distinguishedPropertySetId = "PublicStrings",
                                           .propertyName = "Typed",
                                           .propertyType = std::move(type)});
}

const TWExtendedPropertyClass& classOfTag(TWValue tag) {
  return TWExtendedPropertyClass::declare(
      {.name = "Tagged", .propertyTag = std::move(tag), .propertyType = "Integer"});
}

/// An `ExtendedProperty` as a server writes it, under a prefix of its own.
NKXMLElement answer(std::string_view content) {
  return NKXMLElement::withXMLString("<e:ExtendedProperty xmlns:e=\"" +
                                     std::string(kTypesNamespace) + "\">" + std::string(content) +
                                     "</e:ExtendedProperty>");
}

TWValue valueRead(const TWExtendedPropertyClass& cls, std::string_view content) {
  return cls.fromXML(answer(content), nullptr)->get("value");
}

std::string written(const TWExtendedPropertyClass& cls, const TWValue& value) {
  TWError error;
  const auto xml = cls.withDict({{"value", value}})->toXML(nullptr, &error);
  return error ? error.message() : xml.XMLString();
}

TEST(TWExtendedProperty, IsTheElementExtendedPropertyOfTheTypesNamespace) {
  EXPECT_EQ(TWExtendedProperty::elementClass().requestTag(), "t:ExtendedProperty");
  EXPECT_EQ(TWFlag::requestTag(), "t:ExtendedProperty");
  EXPECT_EQ(TWFlag::responseTag(), "ExtendedProperty");
  EXPECT_EQ(TWFlag::responseXMLns(), kTypesNamespace);
  EXPECT_TRUE(TWFlag::elementClass().isKindOf(TWExtendedProperty::elementClass()));
  EXPECT_FALSE(TWFlag::elementClass().isKindOf(TWExternId::elementClass()));
}

TEST(TWExtendedProperty, KeepsOnlyTheValueOfADictionary) {
  const auto property = TWExternId::withDict({{"value", "E-1"}, {"subject", "dropped"}});
  EXPECT_THAT(property->allKeys(), ElementsAre("value"));
  EXPECT_EQ(property->get<std::string>("value"), "E-1");
  EXPECT_EQ(property->description(), "[TWExternId] {value = E-1}");
  EXPECT_THAT(property->declaredProperties(), ElementsAre(Pair("value", TWValue("E-1"))));
}

TEST(TWExtendedProperty, EqualMeansSameClassAndEqualValue) {
  const auto one = TWFlag::withDict({{"value", 1}});
  EXPECT_EQ(*one, *TWFlag::withDict({{"value", 1.0}}));
  EXPECT_EQ(one->hash(), TWFlag::withDict({{"value", 1}})->hash());
  EXPECT_FALSE(*one == *TWFlag::withDict({{"value", 2}}));
  EXPECT_FALSE(*one == *TWFlag::withDict());
  EXPECT_FALSE(*one == *classOfType("Integer").withDict({{"value", 1}}));
}

TEST(TWExtendedProperty, ListsAreComparedByTheirEntries) {
  const auto& cls = classOfType("StringArray");
  const auto list = cls.withDict({{"value", TWValue::list({"a"})}});
  EXPECT_EQ(*list, *cls.withDict({{"value", TWValue::list({"a"})}}));
  EXPECT_FALSE(*list == *cls.withDict({{"value", TWValue::list({"b"})}}));
}

TEST(TWExtendedProperty, TheReadyKindsAreInstancesOfTheirOwnClasses) {
  EXPECT_EQ(&TWFlag::withDict()->propertyClass(), &TWFlag::elementClass());
  EXPECT_EQ(&TWExternId::withDict()->cls(), &TWExternId::elementClass());
  EXPECT_TRUE(TWValue(TWFlag::elementClass().withDict({})).asObject<TWFlag>());
}

TEST(TWExtendedPropertyClass, AnswersWhatItWasDeclaredWith) {
  const auto& cls = TWExtendedPropertyClass::declare({
      .name = "ProjectNumber",
      .propertySetId = "00020329-0000-0000-C000-000000000046",
      .propertyId = 0,
      .propertyType = "Long",
  });
  EXPECT_EQ(cls.name(), "ProjectNumber");
  EXPECT_EQ(cls.distinguishedPropertySetId(), std::nullopt);
  EXPECT_EQ(cls.propertySetId(), "00020329-0000-0000-C000-000000000046");
  EXPECT_TRUE(cls.propertyTag().isAbsent());
  EXPECT_EQ(cls.propertyName(), std::nullopt);
  EXPECT_EQ(cls.propertyId(), 0);
  EXPECT_EQ(cls.propertyType(), "Long");
  EXPECT_EQ(cls.elementName(), "ExtendedProperty");
  EXPECT_EQ(TWElementClass::named("ProjectNumber"), &cls);
}

TEST(TWExtendedPropertyClass, TheReadyKindsAreAddressedAsTheyAreKnown) {
  EXPECT_EQ(TWExternId::elementClass().propertySetId(), "c11ff724-aa03-4555-9952-8fa248a11c3f");
  EXPECT_EQ(TWExternId::elementClass().propertyName(), "External ID");
  EXPECT_EQ(TWExternId::elementClass().propertyType(), "String");
  EXPECT_EQ(TWFlag::elementClass().propertyTag(), TWValue("0x1090"));
  EXPECT_EQ(TWFlag::elementClass().propertyType(), "Integer");
  EXPECT_TRUE(TWExternId::elementClass().validate());
  EXPECT_TRUE(TWFlag::elementClass().validate());
}

TEST(TWExtendedPropertyClass, TheReadyKindsAnswerForTheirClasses) {
  EXPECT_FALSE(TWFlag::distinguishedPropertySetId());
  EXPECT_EQ(TWExternId::propertySetId(), TWExternId::elementClass().propertySetId());
  EXPECT_EQ(TWExternId::propertyName(), "External ID");
  EXPECT_FALSE(TWExternId::propertyId());
  EXPECT_EQ(TWFlag::propertyTag(), TWValue("0x1090"));
  EXPECT_EQ(TWFlag::propertyTagAsInt(), 0x1090);
  EXPECT_EQ(TWFlag::propertyTagAsHex(), "0x1090");
  EXPECT_EQ(TWFlag::propertyType(), "Integer");
  EXPECT_EQ(TWFlag::objectivecType().kind(), TWValueClass::Kind::number);
  EXPECT_FALSE(TWFlag::isArrayType());
  EXPECT_FALSE(TWExternId::isBinaryType());
  EXPECT_EQ(TWExternId::propertiesMap(), TWExternId::elementClass().propertiesMap());
  EXPECT_TRUE(TWFlag::validate());
  EXPECT_EQ(&TWExtendedProperty::distinguishedSets(),
            &TWExtendedPropertyClass::distinguishedSets());
  EXPECT_EQ(&TWFlag::propertyTypes(), &TWExtendedPropertyClass::propertyTypes());
}

TEST(TWExtendedPropertyClass, KnowsTheDistinguishedSetsInTheirOrder) {
  EXPECT_THAT(TWExtendedPropertyClass::distinguishedSets(),
              ElementsAre("Meeting", "Appointment", "Common", "PublicStrings", "Address",
                          "InternetHeaders", "CalendarAssistant", "UnifiedMessaging"));
}

TEST(TWExtendedPropertyClass, KnowsTheTypesInTheirOrderAndSystemTimeIsNoneOfThem) {
  EXPECT_THAT(TWExtendedPropertyClass::propertyTypes(),
              ElementsAre("ApplicationTime", "Binary", "BinaryArray", "Boolean", "CLSID",
                          "CLSIDArray", "Currency", "CurrencyArray", "Double", "DoubleArray",
                          "Float", "FloatArray", "Integer", "IntegerArray", "Long", "LongArray",
                          "Short", "ShortArray", "String", "StringArray"));
}

TEST(TWExtendedPropertyClass, EveryTypeHasAClassOfValues) {
  const std::vector<std::pair<std::string, Kind>> kTypes{{"ApplicationTime", Kind::number},
                                                         {"Boolean", Kind::number},
                                                         {"Currency", Kind::number},
                                                         {"Double", Kind::number},
                                                         {"Float", Kind::number},
                                                         {"Integer", Kind::number},
                                                         {"Long", Kind::number},
                                                         {"Short", Kind::number},
                                                         {"Binary", Kind::data},
                                                         {"CLSID", Kind::text},
                                                         {"String", Kind::text},
                                                         {"SystemTime", Kind::date},
                                                         {"Object", Kind::none},
                                                         {"Array", Kind::none},
                                                         {"string", Kind::none}};
  for (const auto& [type, kind] : kTypes) {
    EXPECT_EQ(classOfType(type).objectivecType().kind(), kind) << type;
    EXPECT_EQ(classOfType(type + "Array").objectivecType().kind(), kind) << type;
  }
  EXPECT_EQ(TWExtendedProperty::elementClass().objectivecType().kind(), Kind::none);
}

TEST(TWExtendedPropertyClass, ArrayAndBinaryAreReadOffTheType) {
  EXPECT_TRUE(classOfType("BinaryArray").isArrayType());
  EXPECT_TRUE(classOfType("BinaryArray").isBinaryType());
  EXPECT_FALSE(classOfType("Binary").isArrayType());
  EXPECT_TRUE(classOfType("Binary").isBinaryType());
  EXPECT_TRUE(classOfType("StringArray").isArrayType());
  EXPECT_FALSE(classOfType("StringArray").isBinaryType());
  EXPECT_FALSE(TWExtendedProperty::elementClass().isArrayType());
  EXPECT_FALSE(TWExtendedProperty::elementClass().isBinaryType());
}

TEST(TWExtendedPropertyClass, ATagIsANumberOrHexadecimalText) {
  EXPECT_THAT(classOfTag("0x1090").propertyTagAsInt(), Optional(4240));
  EXPECT_THAT(classOfTag("0X1090").propertyTagAsInt(), Optional(4240));
  EXPECT_THAT(classOfTag("1090").propertyTagAsInt(), Optional(4240));
  EXPECT_THAT(classOfTag(4240).propertyTagAsInt(), Optional(4240));
  EXPECT_THAT(classOfTag(0).propertyTagAsInt(), Optional(0));
  EXPECT_EQ(TWExternId::elementClass().propertyTagAsInt(), std::nullopt);
  EXPECT_EQ(classOfTag("tag").propertyTagAsInt(), std::nullopt);
}

TEST(TWExtendedPropertyClass, ATagPrintsAsLowerCaseHexadecimalOfTwoDigitsOrMore) {
  EXPECT_THAT(classOfTag(4240).propertyTagAsHex(), Optional(std::string("0x1090")));
  EXPECT_THAT(classOfTag(5).propertyTagAsHex(), Optional(std::string("0x05")));
  EXPECT_THAT(classOfTag("0x3FDE").propertyTagAsHex(), Optional(std::string("0x3fde")));
  EXPECT_THAT(classOfTag(-1).propertyTagAsHex(), Optional(std::string("0xffffffff")));
  EXPECT_THAT(classOfTag(0).propertyTagAsHex(), Optional(std::string("0x00")));
  EXPECT_EQ(TWExternId::elementClass().propertyTagAsHex(), std::nullopt);
}

std::vector<TWDictionary::Entry> entries(const TWDictionary& dictionary) {
  return {dictionary.begin(), dictionary.end()};
}

TEST(TWExtendedPropertyClass, TheMapHasWhatIsSetInTheOrderOfWriting) {
  const auto& byId = TWExtendedPropertyClass::declare({
      .name = "ById",
      .propertySetId = "C11FF724-AA03-4555-9952-8FA248A11C3F",
      .propertyId = 33029,
      .propertyType = "Boolean",
  });
  EXPECT_THAT(
      entries(byId.propertiesMap()),
      ElementsAre(Pair("PropertySetId", TWValue("c11ff724-aa03-4555-9952-8fa248a11c3f")),
                  Pair("PropertyId", TWValue("33029")), Pair("PropertyType", TWValue("Boolean"))));
  EXPECT_THAT(
      entries(classOfType("String").propertiesMap()),
      ElementsAre(Pair("DistinguishedPropertySetId", TWValue("PublicStrings")),
                  Pair("PropertyName", TWValue("Typed")), Pair("PropertyType", TWValue("String"))));
  EXPECT_THAT(entries(classOfTag(4240).propertiesMap()),
              ElementsAre(Pair("PropertyTag", TWValue("0x1090")),
                          Pair("PropertyType", TWValue("Integer"))));
}

TEST(TWExtendedPropertyClass, ZeroIsAnIdAndATag) {
  const auto& byId = TWExtendedPropertyClass::declare(
      {.name = "Zero", .distinguishedPropertySetId = "Common", .propertyId = 0});
  EXPECT_EQ(byId.propertiesMap()["PropertyId"], TWValue("0"));
  EXPECT_EQ(classOfTag(0).propertiesMap()["PropertyTag"], TWValue("0x00"));
}

/// The message of a declaration's failure; empty when it is valid.
std::string mistakeIn(Addressing addressing) {
  TWError error;
  const bool valid = TWExtendedPropertyClass::declare(std::move(addressing)).validate(&error);
  EXPECT_EQ(valid, !error);
  EXPECT_EQ(error.is(TWErrorCode::ErrorValueOutOfRange), !valid) << error;
  return error.message();
}

const std::string kSet = "c11ff724-aa03-4555-9952-8fa248a11c3f";

TEST(TWExtendedPropertyClass, ADistinguishedSetExcludesSetAndTag) {
  const std::string kMessage =
      "When distinguishedPropertySetId is set, propertySetId and tag must be nil";
  EXPECT_EQ(mistakeIn({.name = "P",
                       .distinguishedPropertySetId = "Common",
                       .propertySetId = kSet,
                       .propertyName = "P",
                       .propertyType = "String"}),
            kMessage);
  EXPECT_EQ(mistakeIn({.name = "P",
                       .distinguishedPropertySetId = "Common",
                       .propertyTag = "0x1090",
                       .propertyType = "String"}),
            kMessage);
}

TEST(TWExtendedPropertyClass, ADistinguishedSetNeedsANameOrAnId) {
  EXPECT_EQ(
      mistakeIn({.name = "P", .distinguishedPropertySetId = "Common", .propertyType = "String"}),
      "When distinguishedPropertySetId is set, propertyId or name must be non-nil");
  EXPECT_EQ(mistakeIn({.name = "P",
                       .distinguishedPropertySetId = "Common",
                       .propertyId = 0,
                       .propertyType = "String"}),
            "");
}

TEST(TWExtendedPropertyClass, ADistinguishedSetMustBeAKnownOne) {
  EXPECT_EQ(mistakeIn({.name = "P",
                       .distinguishedPropertySetId = "Sharing",
                       .propertyName = "P",
                       .propertyType = "String"}),
            "distinguishedPropertySetId: Sharing is not valid: (Meeting, Appointment, Common, "
            "PublicStrings, Address, InternetHeaders, CalendarAssistant, UnifiedMessaging)");
}

TEST(TWExtendedPropertyClass, ASetExcludesATag) {
  EXPECT_EQ(
      mistakeIn({.name = "P", .propertySetId = kSet, .propertyTag = 0, .propertyType = "String"}),
      "When propertySetId is set, distingPropertySetId and tag must be nil");
}

TEST(TWExtendedPropertyClass, ASetNeedsANameOrAnId) {
  EXPECT_EQ(mistakeIn({.name = "P", .propertySetId = kSet, .propertyType = "String"}),
            "When propertySetId is set, propertyId or Name must be non-nil");
}

TEST(TWExtendedPropertyClass, ATagStandsAlone) {
  const std::string kMessage = "When tag is set, only type must be set";
  EXPECT_EQ(
      mistakeIn(
          {.name = "P", .propertyTag = "0x1090", .propertyName = "P", .propertyType = "String"}),
      kMessage);
  EXPECT_EQ(
      mistakeIn({.name = "P", .propertyTag = "0x1090", .propertyId = 1, .propertyType = "String"}),
      kMessage);
}

TEST(TWExtendedPropertyClass, TagsFrom8000ToFFFEAreReserved) {
  const std::string kMessage = "Property tag is reserved for for custom properties";
  const auto mistakeInTag = [](const TWValue& tag) {
    return mistakeIn({.name = "P", .propertyTag = tag, .propertyType = "Integer"});
  };
  EXPECT_EQ(mistakeInTag("0x7FFF"), "");
  EXPECT_EQ(mistakeInTag("0x8000"), kMessage);
  EXPECT_EQ(mistakeInTag(32768), kMessage);
  EXPECT_EQ(mistakeInTag("0xFFFE"), kMessage);
  EXPECT_EQ(mistakeInTag("0xFFFF"), "");
  EXPECT_EQ(mistakeInTag(0), "");
}

TEST(TWExtendedPropertyClass, ATagThatIsNoNumberIsNotValid) {
  for (const auto& tag : {TWValue("tag"), TWValue(""), TWValue(TWList()), TWValue(0.5)})
    EXPECT_EQ(mistakeIn({.name = "P", .propertyTag = tag, .propertyType = "Integer"}),
              "Property tag is reserved for for custom properties")
        << tag;
}

TEST(TWExtendedPropertyClass, ANameExcludesAnIdAndNeedsASet) {
  EXPECT_EQ(mistakeIn({.name = "P",
                       .propertySetId = kSet,
                       .propertyName = "P",
                       .propertyId = 1,
                       .propertyType = "String"}),
            "When name is set, id and tag must be nil");
  EXPECT_EQ(mistakeIn({.name = "P", .propertyName = "P", .propertyType = "String"}),
            "When name is set, dSetId or setId must be non-nil");
}

TEST(TWExtendedPropertyClass, AnIdNeedsASet) {
  EXPECT_EQ(mistakeIn({.name = "P", .propertyId = 1, .propertyType = "String"}),
            "When id is set, dSetId or setId must be non-nil");
}

TEST(TWExtendedPropertyClass, TheTypeMustBeAKnownOne) {
  const std::string kTypes =
      " is not valid: (ApplicationTime, Binary, BinaryArray, Boolean, CLSID, CLSIDArray, "
      "Currency, CurrencyArray, Double, DoubleArray, Float, FloatArray, Integer, IntegerArray, "
      "Long, LongArray, Short, ShortArray, String, StringArray)";
  EXPECT_EQ(mistakeIn({.name = "P", .propertyTag = 1, .propertyType = "SystemTime"}),
            "propertyType: SystemTime" + kTypes);
  EXPECT_EQ(mistakeIn({.name = "P", .propertyTag = 1}), "propertyType: (null)" + kTypes);
  EXPECT_EQ(mistakeIn({.name = "P", .propertyTag = 1, .propertyType = ""}),
            "propertyType: " + kTypes);
}

TEST(TWExtendedPropertyClass, OnlyTheFirstMistakeIsTold) {
  EXPECT_EQ(
      mistakeIn({.name = "P", .propertySetId = kSet, .propertyTag = 1, .propertyType = "Bad"}),
      "When propertySetId is set, distingPropertySetId and tag must be nil");
  EXPECT_EQ(
      mistakeIn({.name = "P", .propertyTag = 0x8000, .propertyName = "P", .propertyType = "Bad"}),
      "When tag is set, only type must be set");
  EXPECT_EQ(
      mistakeIn({.name = "P", .distinguishedPropertySetId = "Sharing", .propertyType = "Bad"}),
      "When distinguishedPropertySetId is set, propertyId or name must be non-nil");
  EXPECT_THAT(mistakeIn({.name = "P",
                         .distinguishedPropertySetId = "Sharing",
                         .propertyName = "P",
                         .propertyType = "Bad"}),
              testing::StartsWith("distinguishedPropertySetId: Sharing is not valid: (Meeting, "));
  EXPECT_EQ(
      mistakeIn({.name = "P", .propertyName = "P", .propertyId = 1, .propertyType = "String"}),
      "When name is set, id and tag must be nil");
  EXPECT_EQ(mistakeIn({.name = "P", .propertyName = "P", .propertyType = "Bad"}),
            "When name is set, dSetId or setId must be non-nil");
  EXPECT_EQ(mistakeIn({.name = "P", .propertyId = 1, .propertyType = "Bad"}),
            "When id is set, dSetId or setId must be non-nil");
}

TEST(TWExtendedPropertyClass, AnEmptyTextCountsAsSet) {
  EXPECT_EQ(mistakeIn({.name = "P", .propertyTag = 1, .propertyName = "", .propertyType = "Long"}),
            "When tag is set, only type must be set");
  EXPECT_EQ(mistakeIn({.name = "P",
                       .distinguishedPropertySetId = "Common",
                       .propertyName = "",
                       .propertyType = "Long"}),
            "");
  EXPECT_THAT(mistakeIn({.name = "P",
                         .distinguishedPropertySetId = "",
                         .propertyName = "P",
                         .propertyType = "Long"}),
              testing::StartsWith("distinguishedPropertySetId:  is not valid: (Meeting, "));
}

TEST(TWExtendedPropertyClass, TheClassAboveAllOthersIsNotValid) {
  EXPECT_FALSE(TWExtendedProperty::elementClass().validate());
}

TEST(TWExtendedProperty, CleanTestsTheClassFirst) {
  const auto& cls = TWExtendedPropertyClass::declare(
      {.name = "P", .propertyTag = 0x8000, .propertyType = "StringArray"});
  TWError error;
  EXPECT_FALSE(cls.withDict({{"value", "no list"}})->clean(nullptr, &error));
  EXPECT_EQ(error.message(), "Property tag is reserved for for custom properties");
}

TEST(TWExtendedProperty, AnArrayTypeNeedsAList) {
  const auto& cls = classOfType("StringArray");
  TWError error;
  EXPECT_FALSE(cls.withDict({{"value", "single"}})->clean(nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(), "Typed value single must be a list");
  EXPECT_FALSE(cls.withDict({})->clean(nullptr, &error));
  EXPECT_EQ(error.message(), "Typed value (null) must be a list");
  EXPECT_TRUE(cls.withDict({{"value", TWList()}})->clean(nullptr));
}

TEST(TWExtendedProperty, KindsOfValuesAreNotTested) {
  EXPECT_TRUE(TWFlag::withDict({{"value", "text"}})->clean(nullptr));
  EXPECT_TRUE(TWFlag::withDict()->clean(nullptr));
  EXPECT_TRUE(
      classOfType("StringArray").withDict({{"value", TWValue::list({1, "two"})}})->clean(nullptr));
}

TEST(TWExtendedProperty, ASingleValueIsWrittenAsItsText) {
  EXPECT_THAT(written(classOfType("String"), "a < b"), EqualsXML("<t:Value>a &lt; b</t:Value>"));
  EXPECT_THAT(written(classOfType("Integer"), 5), EqualsXML("<t:Value>5</t:Value>"));
  EXPECT_THAT(written(classOfType("Double"), 0.1), EqualsXML("<t:Value>0.1</t:Value>"));
  EXPECT_THAT(written(classOfType("Boolean"), true), EqualsXML("<t:Value>1</t:Value>"));
  EXPECT_THAT(written(classOfType("Boolean"), false), EqualsXML("<t:Value>0</t:Value>"));
  EXPECT_THAT(written(classOfType("Binary"), TWData{0, 1, 0xFF}),
              EqualsXML("<t:Value>AAH/</t:Value>"));
  EXPECT_THAT(written(classOfType("String"), ""), EqualsXML("<t:Value/>"));
  EXPECT_THAT(written(classOfType("String"), TWInstant()),
              EqualsXML("<t:Value>1970-01-01T00:00:00Z</t:Value>"));
}

TEST(TWExtendedProperty, AnArrayIsWrittenEntryByEntryInItsOrder) {
  EXPECT_THAT(written(classOfType("StringArray"), TWValue::list({"b", "a"})),
              EqualsXML("<t:Values><t:Value>b</t:Value><t:Value>a</t:Value></t:Values>"));
  EXPECT_THAT(written(classOfType("BinaryArray"), TWValue::list({TWData{'M'}, TWData{}})),
              EqualsXML("<t:Values><t:Value>TQ==</t:Value><t:Value/></t:Values>"));
  EXPECT_THAT(written(classOfType("IntegerArray"), TWList()), EqualsXML("<t:Values/>"));
  EXPECT_THAT(written(classOfType("StringArray"), TWDictionary{{"key", 1}}),
              EqualsXML("<t:Values><t:Value>key</t:Value></t:Values>"));
}

// What could only be written as something else, or as nothing, is refused.
TEST(TWExtendedProperty, AValueWithoutATextIsNotWritten) {
  TWError error;
  const auto nested = TWFlag::withDict({{"value", TWExternId::withDict({{"value", "x"}})}});
  EXPECT_FALSE(nested->toXML(nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorType));
  EXPECT_EQ(error.message(), "TWFlag value [TWExternId] {value = x} has no text");
  EXPECT_EQ(written(classOfType("String"), TWValue::list({"a"})), "Typed value (a) has no text");
  EXPECT_EQ(written(classOfType("StringArray"), TWValue::list({"a", TWValue::list({"b"})})),
            "Typed value (b) has no text");
}

TEST(TWExtendedProperty, AnInvalidPropertyIsNotWritten) {
  EXPECT_EQ(written(classOfType("StringArray"), "single"), "Typed value single must be a list");
  EXPECT_FALSE(classOfType("StringArray").withDict({})->toXML(nullptr));
}

TEST(TWExtendedProperty, TheConstantTextIsThatOfASingleValue) {
  EXPECT_THAT(TWFlag::withDict({{"value", 2}})->constantText(), Optional(std::string("2")));
  EXPECT_THAT(TWExternId::withDict({{"value", "E-1"}})->constantText(),
              Optional(std::string("E-1")));
  EXPECT_THAT(classOfType("Binary").withDict({{"value", TWData{'M'}}})->constantText(),
              Optional(std::string("TQ==")));
  EXPECT_EQ(TWFlag::withDict()->constantText(), std::nullopt);
  EXPECT_EQ(classOfType("StringArray").withDict({{"value", TWValue::list({"a"})}})->constantText(),
            std::nullopt);
  EXPECT_EQ(TWFlag::withDict({{"value", TWFlag::withDict({{"value", 1}})}})->constantText(),
            std::nullopt);
}

TEST(TWExtendedProperty, CharactersThatXMLForbidsAreReplaced) {
  const auto property = TWExternId::withDict({{"value",
                                               "a\x01"
                                               "b"}});
  EXPECT_EQ(property->toXML(nullptr).stringValue(), "a?b");
  EXPECT_THAT(property->constantText(), Optional(std::string("a?b")));
}

TEST(TWExtendedProperty, AMissingValueIsWrittenAsAnEmptyElement) {
  EXPECT_EQ(TWFlag::withDict()->toXML(nullptr).compactXMLString(), "<t:Value/>");
  EXPECT_EQ(classOfType("StringArray")
                .withDict({{"value", TWValue::list({TWValue(), "a"})}})
                ->toXML(nullptr)
                .compactXMLString(),
            "<t:Values><t:Value/><t:Value>a</t:Value></t:Values>");
}

TEST(TWExtendedProperty, ASingleValueIsReadByItsType) {
  const auto valueOf = [](std::string type, std::string_view text) {
    return valueRead(classOfType(std::move(type)), "<e:Value>" + std::string(text) + "</e:Value>");
  };
  EXPECT_EQ(valueOf("Integer", "5"), TWValue(5));
  EXPECT_EQ(valueOf("Long", "9007199254740993").asInteger(), 9007199254740993);
  EXPECT_EQ(valueOf("Double", "0.5"), TWValue(0.5));
  EXPECT_EQ(valueOf("String", " a &lt; b "), TWValue(" a < b "));
  EXPECT_EQ(valueOf("CLSID", "abc"), TWValue("abc"));
  EXPECT_EQ(valueOf("Binary", "AAH/"), TWValue(TWData{0, 1, 0xFF}));
  EXPECT_EQ(valueOf("SystemTime", "1970-01-01T00:00:00Z"), TWValue(TWInstant()));
}

TEST(TWExtendedProperty, BooleansAreReadAsWordsAndAsDigits) {
  const auto& cls = classOfType("Boolean");
  for (const auto* const text : {"true", "1"})
    EXPECT_THAT(valueRead(cls, "<e:Value>" + std::string(text) + "</e:Value>").asBool(),
                Optional(true));
  for (const auto* const text : {"false", "0"})
    EXPECT_THAT(valueRead(cls, "<e:Value>" + std::string(text) + "</e:Value>").asBool(),
                Optional(false));
  EXPECT_TRUE(valueRead(cls, "<e:Value>perhaps</e:Value>").isAbsent());
  EXPECT_TRUE(valueRead(classOfType("Integer"), "<e:Value>true</e:Value>").isAbsent());
}

TEST(TWExtendedProperty, AMissingTextIsEmptyForTextsAndNothingForOtherTypes) {
  EXPECT_EQ(valueRead(classOfType("String"), "<e:Value/>"), TWValue(""));
  EXPECT_EQ(valueRead(classOfType("String"), ""), TWValue(""));
  EXPECT_TRUE(valueRead(classOfType("Integer"), "<e:Value/>").isAbsent());
  EXPECT_TRUE(valueRead(classOfType("Integer"), "").isAbsent());
  EXPECT_TRUE(valueRead(classOfType("Binary"), "").isAbsent());
}

TEST(TWExtendedProperty, AValueThatCannotBeReadIsNothing) {
  EXPECT_TRUE(valueRead(classOfType("Integer"), "<e:Value>abc</e:Value>").isAbsent());
  EXPECT_TRUE(valueRead(classOfType("Binary"), "<e:Value>no base64</e:Value>").isAbsent());
  EXPECT_TRUE(valueRead(classOfType("Object"), "<e:Value>5</e:Value>").isAbsent());
}

TEST(TWExtendedProperty, AnArrayIsReadEntryByEntryAndWhatCannotBeReadIsSkipped) {
  EXPECT_EQ(valueRead(classOfType("StringArray"),
                      "<e:Values><e:Value>b</e:Value><e:Value/><e:Value>a</e:Value></e:Values>"),
            TWValue::list({"b", "", "a"}));
  EXPECT_EQ(valueRead(classOfType("IntegerArray"),
                      "<e:Values><e:Value>1</e:Value><e:Value>x</e:Value></e:Values>"),
            TWValue::list({1}));
  EXPECT_EQ(valueRead(classOfType("BinaryArray"),
                      "<e:Values><e:Value>TQ==</e:Value><e:Value>?</e:Value></e:Values>"),
            TWValue::list({TWData{'M'}}));
  EXPECT_EQ(valueRead(classOfType("StringArray"), "<e:Values/>"), TWValue(TWList()));
}

TEST(TWExtendedProperty, AnArrayWithoutItsContainerIsNothing) {
  EXPECT_TRUE(valueRead(classOfType("StringArray"), "<e:Value>a</e:Value>").isAbsent());
}

TEST(TWExtendedProperty, OfValueAndValuesTheOneOfTheTypeIsRead) {
  const std::string kBoth = "<e:Value>1</e:Value><e:Values><e:Value>2</e:Value></e:Values>";
  EXPECT_EQ(valueRead(classOfType("Integer"), kBoth), TWValue(1));
  EXPECT_EQ(valueRead(classOfType("IntegerArray"), kBoth), TWValue::list({2}));
}

TEST(TWExtendedProperty, ValuesOfOtherNamespacesAreNotRead) {
  EXPECT_TRUE(
      valueRead(classOfType("Integer"), "<o:Value xmlns:o=\"urn:other\">1</o:Value>").isAbsent());
  EXPECT_EQ(valueRead(classOfType("IntegerArray"),
                      "<e:Values><o:Value xmlns:o=\"urn:other\">1</o:Value></e:Values>"),
            TWValue(TWList()));
}

TEST(TWExtendedProperty, NoElementGivesNoProperty) {
  EXPECT_THAT(TWFlag::fromXML(NKXMLElement()), IsNull());
}

/// An `ExtendedProperty` with content that the library wrote.
NKXMLElement rewritten(std::string_view content) {
  return NKXMLElement::withXMLString("<t:ExtendedProperty xmlns:t=\"" +
                                     std::string(kTypesNamespace) + "\">" + std::string(content) +
                                     "</t:ExtendedProperty>");
}

TEST(TWExtendedProperty, WhatWasReadIsWrittenBackUnchanged) {
  const std::vector<std::pair<std::string, std::string>> kContents{
      {"ApplicationTime", "<t:Value>40000.5</t:Value>"},
      {"Binary", "<t:Value>AAH/</t:Value>"},
      {"BinaryArray", "<t:Values><t:Value>TQ==</t:Value></t:Values>"},
      {"Boolean", "<t:Value>1</t:Value>"},
      {"CLSID", "<t:Value>c11ff724-aa03-4555-9952-8fa248a11c3f</t:Value>"},
      {"CLSIDArray",
       "<t:Values><t:Value>c11ff724-aa03-4555-9952-8fa248a11c3f</t:Value></t:Values>"},
      {"Currency", "<t:Value>9223372036854775807</t:Value>"},
      {"CurrencyArray", "<t:Values><t:Value>1</t:Value><t:Value>-2</t:Value></t:Values>"},
      {"Double", "<t:Value>0.1</t:Value>"},
      {"DoubleArray", "<t:Values><t:Value>0.1</t:Value><t:Value>-2</t:Value></t:Values>"},
      {"Float", "<t:Value>0.5</t:Value>"},
      {"FloatArray", "<t:Values><t:Value>0.5</t:Value></t:Values>"},
      {"Integer", "<t:Value>-5</t:Value>"},
      {"IntegerArray", "<t:Values><t:Value>7</t:Value><t:Value>-7</t:Value></t:Values>"},
      {"Long", "<t:Value>-9223372036854775808</t:Value>"},
      {"LongArray", "<t:Values><t:Value>5</t:Value></t:Values>"},
      {"Short", "<t:Value>0</t:Value>"},
      {"ShortArray", "<t:Values><t:Value>3</t:Value></t:Values>"},
      {"String", "<t:Value/>"},
      {"StringArray", "<t:Values><t:Value>a</t:Value><t:Value/></t:Values>"},
  };
  for (const auto& [type, content] : kContents) {
    EXPECT_THAT(classOfType(type).fromXML(rewritten(content), nullptr)->toXML(nullptr).XMLString(),
                EqualsXML(content))
        << type;
  }
}

TEST(TWExtendedProperty, SomeTextsComeBackInTheirNormalForm) {
  const auto back = [](const char* type, const char* content) {
    return classOfType(type)
        .fromXML(rewritten(content), nullptr)
        ->toXML(nullptr)
        .compactXMLString();
  };
  EXPECT_EQ(back("Boolean", "<t:Value>true</t:Value>"), "<t:Value>1</t:Value>");
  EXPECT_EQ(back("Binary", "<t:Value/>"), "<t:Value/>");
}

TEST(TWExtendedProperty, LargeBinaryValuesComeBackWhole) {
  TWData data(1 << 20);
  for (std::size_t at = 0; at < data.size(); ++at) data[at] = static_cast<std::uint8_t>(at * 7);
  const auto& cls = classOfType("Binary");
  const auto xml = rewritten(cls.withDict({{"value", data}})->toXML(nullptr).XMLString());
  EXPECT_EQ(cls.fromXML(xml, nullptr)->get<TWData>("value"), data);
}

}  // namespace
}  // namespace tarnwell
