#include <algorithm>
#include <memory>
#include <sstream>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWEnumFields.h"
#include "tarnwell/schema/TWNumberFields.h"
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
using test::written;

constexpr auto kWrongVersion = TWErrorCode::ErrorInvalidServerVersion;
constexpr auto kWrongType = TWErrorCode::ErrorType;
constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

const TWVersion k2007(TWBuild(8, 0), "Exchange2007");
const TWVersion k2010(TWBuild(14, 0), "Exchange2010");
const TWVersion k2013(TWBuild(15, 0), "Exchange2013");

TEST(TWField, StartsFromDefaultsThatAllFieldsShare) {
  EXPECT_EQ(TWField::defaults().all().size(), 6U);
  EXPECT_EQ(&TWField::defaults(), &TWCharField::defaults());
  EXPECT_EQ(TWField::withProps({})->options().all(), TWField::defaults().all());
}

TEST(TWField, GivenOptionsWinOverTheDefaults) {
  const auto field = TWField::withProps({.name = "size", .isSearchable = false});
  EXPECT_FALSE(field->isSearchable());
  EXPECT_FALSE(field->isRequired());
  EXPECT_EQ(field->get("isSearchable"), TWValue(false));
  EXPECT_EQ((*field)["name"], TWValue("size"));
}

TEST(TWField, WhatIsToBeWrittenIsTheValidatedValue) {
  const auto field = TWEnumField::withProps({.name = "p", .enum_ = {"Low", "High"}});
  EXPECT_EQ(field->valueToWrite("High", nullptr), TWValue(2));
  TWError error;
  EXPECT_TRUE(field->valueToWrite("Odd", nullptr, &error).isAbsent());
  EXPECT_TRUE(error);
}

TEST(TWField, WhatIsToBeWrittenIsValidatedForTheVersion) {
  const auto field = TWCharField::withProps({.name = "p", .supportedFrom = TWBuild(15, 0)});
  const TWVersion old(TWBuild(14, 0)), current(TWBuild(15, 0));
  TWError error;
  EXPECT_EQ(field->valueToWrite("v", &current, &error), TWValue("v"));
  EXPECT_FALSE(error) << error;
  EXPECT_TRUE(field->valueToWrite("v", &old, &error).isAbsent());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidServerVersion)) << error;
}

TEST(TWField, OwnsItsOptions) {
  const auto a = TWField::withProps({.name = "a"});
  const auto b = TWField::withProps({.name = "b"});
  EXPECT_TRUE(a->set("isReadOnly", true));
  a->remove("isSearchable");
  EXPECT_TRUE(a->isReadOnly());
  EXPECT_TRUE(a->get("isSearchable").isAbsent());
  EXPECT_FALSE(b->isReadOnly());
  EXPECT_TRUE(b->isSearchable());
  EXPECT_EQ(TWField::defaults().all().size(), 6U);
}

TEST(TWField, ReadsAndWritesNothingByItself) {
  const auto field = TWField::withProps({.name = "size", .fieldURI = "item:Size", .default_ = 5});
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
  EXPECT_TRUE(field->fromXML(elementWith("<t:Size>1</t:Size>"), nullptr).isAbsent());
  EXPECT_TRUE(field->toXML(1, nullptr).isAbsent());
  EXPECT_FALSE(field->fieldURIXML());
  EXPECT_FALSE(field->childTag());
}

TEST(TWField, TakesItsValueClassFromTheOption) {
  EXPECT_EQ(TWField::withProps({})->valueClass().kind(), TWValueClass::Kind::none);
  const auto* const elements = &TWEWSElement::elementClass();
  EXPECT_EQ(TWField::withProps({.valueCls = elements})->valueClass().elementClass(), elements);
}

TEST(TWField, PlainFieldsAreAllEqual) {
  const auto a = TWField::withProps({.name = "a"});
  const auto b = TWField::withProps({.name = "b"});
  EXPECT_EQ(a->hash(), 0U);
  EXPECT_EQ(*a, *b);
}

TEST(TWField, EqualsAFieldOfADerivedClassButNotTheOtherWayRound) {
  const auto text = TWTextField::withProps({.fieldURI = "item:Subject"});
  const auto chars = TWCharField::withProps({.fieldURI = "item:Subject"});
  EXPECT_TRUE(text->isEqual(*chars));
  EXPECT_FALSE(chars->isEqual(*text));
}

TEST(TWField, DescribesItsOptionsWithoutLineBreaks) {
  const auto field = TWField::withProps({});
  for (const auto* flag :
       {"isRequiredAfterSave", "isReadOnly", "isReadOnlyAfterSend", "isAttribute"})
    field->remove(flag);
  EXPECT_EQ(field->propsDescription(),
            "------Properties for [TWField]-------\n"
            "\t[isRequired]: 0\t[isSearchable]: 1"
            "----------------------------------");
  EXPECT_EQ(field->description(), "TWField\n" + field->propsDescription());
  std::ostringstream stream;
  stream << *field;
  EXPECT_EQ(stream.str(), field->description());
  EXPECT_THAT(TWCharField::withProps({})->description(),
              testing::StartsWith("TWCharField\n------Properties for [TWCharField]-------\n"));
}

TEST(TWField, EveryVersionIsSupportedWithoutGates) {
  const auto field = TWField::withProps({});
  EXPECT_TRUE(field->supportsVersion(nullptr));
  EXPECT_TRUE(field->supportsVersion(&k2007));
}

TEST(TWField, SupportBeginsWithABuildAndEndsBeforeOne) {
  const auto from = TWField::withProps({.supportedFrom = TWBuild(14, 0)});
  EXPECT_TRUE(from->supportsVersion(nullptr));
  EXPECT_FALSE(from->supportsVersion(&k2007));
  EXPECT_TRUE(from->supportsVersion(&k2010));
  const auto until = TWField::withProps({.deprecatedFrom = TWBuild(14, 0)});
  EXPECT_TRUE(until->supportsVersion(nullptr));
  EXPECT_TRUE(until->supportsVersion(&k2007));
  EXPECT_FALSE(until->supportsVersion(&k2010));
  const auto between =
      TWField::withProps({.supportedFrom = TWBuild(14, 0), .deprecatedFrom = TWBuild(15, 0)});
  EXPECT_FALSE(between->supportsVersion(&k2007));
  EXPECT_TRUE(between->supportsVersion(&k2010));
  EXPECT_FALSE(between->supportsVersion(&k2013));
}

TEST(TWField, GatesGoByTheBuildWhateverTheVersionIsCalled) {
  const TWVersion misnamed(TWBuild(8, 0), "Exchange2016");
  EXPECT_FALSE(TWField::withProps({.supportedFrom = TWBuild(14, 0)})->supportsVersion(&misnamed));
}

TEST(TWField, AVersionWithoutBuildPassesTheFirstGateAndFailsTheSecond) {
  const TWVersion nameOnly(std::nullopt, "Exchange2010");
  EXPECT_TRUE(TWField::withProps({.supportedFrom = TWBuild(14, 0)})->supportsVersion(&nameOnly));
  EXPECT_FALSE(TWField::withProps({.deprecatedFrom = TWBuild(15, 0)})->supportsVersion(&nameOnly));
}

TEST(TWField, RefusesAVersionThatLacksItEvenWithoutAValue) {
  const auto field = TWCharField::withProps(
      {.name = "text_body", .supportedFrom = TWBuild(14, 0), .isRequired = true});
  const auto message =
      "Field text_body does not support EWS builds prior to TWBuild: (14, 0, 0, 0) (server has "
      "[TWVersion] Exchange2007 (TWBuild: (8, 0, 0, 0)))";
  EXPECT_THAT(failure(*field, "text", &k2007), IsFailure(kWrongVersion, message));
  EXPECT_THAT(failure(*field, TWValue(), &k2007), IsFailure(kWrongVersion, message));
  EXPECT_EQ(cleaned(*field, "text", &k2010), TWValue("text"));
  EXPECT_EQ(cleaned(*field, "text"), TWValue("text"));
}

TEST(TWField, RefusesAVersionAfterItsEndWithTheSameMessage) {
  const auto field = TWCharField::withProps({.name = "old", .deprecatedFrom = TWBuild(14, 0)});
  EXPECT_THAT(
      failure(*field, "text", &k2010),
      IsFailure(kWrongVersion,
                "Field old does not support EWS builds prior to (null) (server has [TWVersion] "
                "Exchange2010 (TWBuild: (14, 0, 0, 0)))"));
}

TEST(TWField, AMissingValueGivesTheDefaultIfAny) {
  EXPECT_TRUE(cleaned(*TWIntegerField::withProps({.name = "n"}), {}).isAbsent());
  EXPECT_EQ(cleaned(*TWIntegerField::withProps({.name = "n", .default_ = 7}), {}), TWValue(7));
  for (const TWValue& value : {TWValue(0), TWValue(false)})
    EXPECT_EQ(
        cleaned(*TWIntegerField::withProps({.name = "n", .default_ = value, .isRequired = true}),
                {}),
        value);
}

TEST(TWField, AMissingValueThatIsRequiredFailsWithoutADefault) {
  EXPECT_THAT(failure(*TWField::withProps({.name = "subject", .isRequired = true}), {}),
              IsFailure(kWrongValue, "subject is a required field with no default"));
}

TEST(TWField, ADefaultIsNotTestedForItsKind) {
  EXPECT_EQ(cleaned(*TWBooleanField::withProps({.name = "n", .default_ = "text"}), {}),
            TWValue("text"));
}

TEST(TWField, AValueOfTheWrongKindIsReportedWithTheNameOfTheField) {
  EXPECT_THAT(failure(*TWIntegerField::withProps({.name = "size"}), "x"),
              IsFailure(kWrongType, "x value is not of type TWIntegerField for size"));
  EXPECT_THAT(failure(*TWField::withProps({.name = "size"}), 1),
              IsFailure(kWrongType, "1 value is not of type TWField for size"));
}

TEST(TWField, AListNeedsAnIterable) {
  const auto field = TWTextFieldList::withProps({.name = "keywords"});
  EXPECT_THAT(failure(*field, "x"), IsFailure(kWrongValue, "keywords needs an iterable"));
  EXPECT_THAT(failure(*field, 5), IsFailure(kWrongValue, "keywords needs an iterable"));
}

TEST(TWField, TheFirstEntryOfTheWrongKindFailsAList) {
  const auto field = TWTextFieldList::withProps({.name = "keywords"});
  EXPECT_THAT(failure(*field, TWValue::list({"a", 2, 3})),
              IsFailure(kWrongType, "2 value is not of type TWTextFieldList for keywords"));
  EXPECT_THAT(failure(*field, TWValue::list({TWValue()})),
              IsFailure(kWrongType, "(null) value is not of type TWTextFieldList for keywords"));
}

TEST(TWField, AValidListComesBackAsItIs) {
  const auto field = TWTextFieldList::withProps({.name = "keywords"});
  const auto list = TWValue::list({"b", "a"});
  EXPECT_EQ(cleaned(*field, list).asList(), list.asList());
  EXPECT_EQ(cleaned(*field, TWList()), TWValue(TWList()));
  // Walking a dictionary gives its keys.
  const TWValue dictionary = TWDictionary{{"a", 1}};
  EXPECT_EQ(cleaned(*field, dictionary), dictionary);
}

TEST(TWField, FailuresNeedNoOutParameter) {
  EXPECT_TRUE(TWField::withProps({.isRequired = true})->clean({}, nullptr).isAbsent());
  EXPECT_TRUE(TWCharField::withProps({})->clean(5, nullptr).isAbsent());
}

TEST(TWFieldURIField, NamesItsElementByThePartAfterTheColon) {
  const auto postfix = [](const char* uri) {
    return TWFieldURIField::withProps({.fieldURI = uri})->get("fieldURIPostfix");
  };
  EXPECT_EQ(postfix("item:Subject"), TWValue("Subject"));
  EXPECT_EQ(postfix("a:b:c"), TWValue("b"));
  EXPECT_EQ(postfix("Id"), TWValue("Id"));
  EXPECT_EQ(postfix("item:"), TWValue(""));
}

TEST(TWFieldURIField, HasNoElementWithoutAURI) {
  const auto field = TWFieldURIField::withProps({.name = "n"});
  EXPECT_TRUE(field->get("fieldURIPostfix").isAbsent());
  EXPECT_EQ(field->responseTag(), "");
  // A field that has a URI by its options only was not made with one.
  EXPECT_TRUE(field->set("fieldURI", "item:Subject"));
  EXPECT_TRUE(field->get("fieldURIPostfix").isAbsent());
  EXPECT_TRUE(TWTextField::withProps({.name = "n", .default_ = "d"})
                  ->fromXML(elementWith("text"), nullptr) == TWValue("d"));
}

TEST(TWFieldURIField, IsNotWrittenWithoutAURI) {
  const TWFieldOptions note{.name = "note"};
  const auto text = TWCharField::withProps(note);
  EXPECT_FALSE(text->fieldURIXML());
  const std::string refusal = "error: Field note has no name on the server";
  EXPECT_EQ(test::written(*text, "x"), refusal);
  EXPECT_EQ(test::written(*text, {}), refusal);
  EXPECT_EQ(test::written(*TWBodyField::withProps(note), "x"), refusal);
  EXPECT_EQ(test::written(*TWTimeZoneField::withProps(note), TWTimeZone()), refusal);
}

TEST(TWFieldURIField, WritesItsNameForShapesAndRestrictions) {
  const auto field = TWFieldURIField::withProps({.fieldURI = "folder:DisplayName"});
  EXPECT_EQ(field->requestTag(), "t:DisplayName");
  EXPECT_EQ(field->responseTag(), "DisplayName");
  EXPECT_EQ(field->responseXMLns(), "http://schemas.microsoft.com/exchange/services/2006/types");
  EXPECT_THAT(field->fieldURIXML().XMLString(),
              EqualsXML("<t:FieldURI FieldURI=\"folder:DisplayName\"/>"));
}

TEST(TWFieldURIField, FieldsOfOneURIAreEqual) {
  const auto a = TWFieldURIField::withProps({.name = "a", .fieldURI = "item:Subject"});
  const auto b = TWFieldURIField::withProps({.name = "b", .fieldURI = "item:Subject"});
  const auto c = TWFieldURIField::withProps({.name = "a", .fieldURI = "item:Size"});
  EXPECT_EQ(*a, *b);
  EXPECT_EQ(a->hash(), b->hash());
  EXPECT_FALSE(*a == *c);
  EXPECT_FALSE(*a == *TWField::withProps({.name = "a", .fieldURI = "item:Subject"}));
}

TEST(TWFieldURIField, ReadsNothingByItself) {
  const auto field = TWFieldURIField::withProps({.fieldURI = "item:Size", .default_ = 5});
  EXPECT_TRUE(test::readFrom(*field, "<t:Size>1</t:Size>").isAbsent());
  EXPECT_FALSE(field->isList());
  EXPECT_FALSE(field->isComplex());
}

TEST(TWFieldURIField, WritesAnElementWithTheValueAsItsContent) {
  const auto field = TWFieldURIField::withProps({.fieldURI = "item:Subject"});
  EXPECT_THAT(written(*field, "a < b & c"), EqualsXML("<t:Subject>a &lt; b &amp; c</t:Subject>"));
  EXPECT_THAT(written(*field, 12), EqualsXML("<t:Subject>12</t:Subject>"));
  EXPECT_THAT(written(*field, TWValue::list({"a", "b"})),
              EqualsXML("<t:Subject><t:String>a</t:String><t:String>b</t:String></t:Subject>"));
  // A text is written unfiltered.
  EXPECT_EQ(field
                ->toXML("a\x01"
                        "b",
                        nullptr)
                .asXML()
                .stringValue(),
            "a\x01"
            "b");
}

/// A kind of field under the kind that it is derived from.
struct Kind {
  std::string_view base;
  std::shared_ptr<const TWField> field;
  TWValueClass::Kind values;
  bool isList = false;
  bool isComplex = false;
};

std::vector<Kind> scalarKinds() {
  using Class = TWValueClass::Kind;
  const TWFieldOptions options{.name = "p", .fieldURI = "item:P", .enum_ = {"Low", "High"}};
  return {
      {"TWField", TWFieldURIField::withProps(options), Class::none},
      {"TWFieldURIField", TWBooleanField::withProps(options), Class::number},
      {"TWFieldURIField", TWIntegerField::withProps(options), Class::number},
      {"TWIntegerField", TWDecimalField::withProps(options), Class::number},
      {"TWIntegerField", TWEnumField::withProps(options), Class::number},
      {"TWEnumField", TWEnumListField::withProps(options), Class::number, true},
      {"TWEnumField", TWEnumAsIntField::withProps(options), Class::number},
      {"TWFieldURIField", TWBase64Field::withProps(options), Class::data, false, true},
      {"TWFieldURIField", TWDateField::withProps(options), Class::date},
      {"TWFieldURIField", TWDateTimeField::withProps(options), Class::date},
      {"TWFieldURIField", TWTimeZoneField::withProps(options), Class::timeZone},
      {"TWFieldURIField", TWTextField::withProps(options), Class::text, false, true},
      {"TWTextField", TWTextFieldList::withProps(options), Class::text, true, true},
      {"TWTextField", TWURIField::withProps(options), Class::text, false, true},
      {"TWTextField", TWCharField::withProps(options), Class::text},
      {"TWCharField", TWIdField::withProps(options), Class::text},
      {"TWCharField", TWCharListField::withProps(options), Class::text},
      {"TWCharField", TWEmailField::withProps(options), Class::text},
      {"TWCharField", TWCultureField::withProps(options), Class::text},
  };
}

TEST(ScalarFields, SayWhatTheyTakeAndWhetherASearchReturnsThem) {
  for (const auto& kind : scalarKinds()) {
    EXPECT_EQ(kind.field->valueClass().kind(), kind.values) << kind.field->className();
    EXPECT_EQ(kind.field->isList(), kind.isList) << kind.field->className();
    EXPECT_EQ(kind.field->isComplex(), kind.isComplex) << kind.field->className();
  }
}

TEST(ScalarFields, StandInATreeOfClasses) {
  const auto kinds = scalarKinds();
  const auto baseOf = [&](std::string_view name) {
    const auto found = std::ranges::find_if(
        kinds, [&](const Kind& kind) { return kind.field->className() == name; });
    return found == kinds.end() ? std::string_view() : found->base;
  };
  const auto isA = [&](std::string_view name, std::string_view other) {
    while (!name.empty() && name != other) name = baseOf(name);
    return !name.empty();
  };
  // Fields of one URI are equal to those of derived kinds, and to no others.
  for (const auto& a : kinds)
    for (const auto& b : kinds)
      EXPECT_EQ(a.field->isEqual(*b.field), isA(b.field->className(), a.field->className()))
          << a.field->className() << ", " << b.field->className();
}

TEST(ScalarFields, ReadAnyTextWithoutFailing) {
  for (const auto* const text : {"",
                                 " ",
                                 "0",
                                 "-",
                                 "+",
                                 "1",
                                 "-1",
                                 "true",
                                 "Low",
                                 "High Low",
                                 "QUJD",
                                 "Q===",
                                 "1e999",
                                 "-99999999999999999999",
                                 ".",
                                 "2020-07-15",
                                 "2020-13-45T99:99:99Z",
                                 "\xF0\x9F\x98\x80",
                                 "<t:Id>Nowhere</t:Id>",
                                 "<t:Id/>",
                                 "<t:String/>",
                                 "<t:String>a</t:String>",
                                 "<t:P><t:P/></t:P>",
                                 "<!-- c -->",
                                 "<![CDATA[<]]>",
                                 "&#x85;"})
    for (const auto& [base, field, values, isList, isComplex] : scalarKinds()) {
      const auto element = elementWith("<t:P>" + std::string(text) + "</t:P>");
      const auto value = field->fromXML(element, nullptr);
      EXPECT_TRUE(value.isAbsent() || value.isIterable() || field->valueClass().hasInstance(value))
          << field->className() << " of " << text << ": " << value;
    }
}

TEST(ScalarFields, AMissingValueIsWrittenAsAnEmptyElement) {
  for (const auto& kind : scalarKinds())
    EXPECT_THAT(written(*kind.field, {}), EqualsXML("<t:P/>")) << kind.field->className();
}

TEST(ScalarFields, AnyValueIsWrittenOrFails) {
  for (const auto& value :
       {TWValue(true), TWValue(0), TWValue(-1), TWValue(99), TWValue(1e300), TWValue(""),
        TWValue("Low"), TWValue(TWData{1}), TWValue(TWInstant()), TWValue(TWTimeZone()),
        TWValue(TWList()), TWValue::list({1, "a"}), TWValue(TWDictionary{{"a", 1}})})
    for (const auto& kind : scalarKinds()) {
      TWError error;
      const auto xml = kind.field->toXML(value, nullptr, &error);
      EXPECT_EQ(xml.isAbsent(), static_cast<bool>(error))
          << kind.field->className() << " of " << value;
    }
}

}  // namespace
}  // namespace tarnwell
