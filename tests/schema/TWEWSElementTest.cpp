#include <functional>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWEWSElement.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/TestElements.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::elementWith;
using test::Employee;
using test::EqualsXML;
using test::Guest;
using test::IsFailure;
using test::Person;
using test::Stranger;
using test::Street;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr auto kWrongType = TWErrorCode::ErrorType;
constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

const TWVersion k2007(TWBuild(8, 0), "Exchange2007");
const TWVersion k2013(TWBuild(15, 0), "Exchange2013");

std::string written(TWEWSElement& element, const TWVersion* version = nullptr) {
  TWError error;
  const auto xml = element.toXML(version, &error);
  EXPECT_FALSE(error) << error;
  return xml.XMLString();
}

TWError cleanFailure(TWEWSElement& element, const TWVersion* version = nullptr) {
  TWError error;
  EXPECT_FALSE(element.clean(version, &error));
  return error;
}

TEST(TWEWSElement, TakesOverWhatStandsUnderNamesOfFields) {
  const auto person = Person::withDict(
      {{"age", "not a number"}, {"nope", 1}, {"name", "Ann"}, {"nick", TWValue()}});
  // In the order of the fields; values are not validated.
  EXPECT_THAT(person->allKeys(), ElementsAre("name", "age"));
  EXPECT_EQ(person->get("age"), TWValue("not a number"));
  EXPECT_TRUE(person->get("nope").isAbsent());
  EXPECT_THAT(Person::withDict()->allKeys(), testing::IsEmpty());
}

TEST(TWEWSElement, APropertyThatIsNotSetIsAbsent) {
  const auto person = Person::withDict();
  EXPECT_TRUE(person->get("name").isAbsent());
  EXPECT_TRUE(person->get("").isAbsent());
  EXPECT_TRUE((*person)["unknown"].isAbsent());
}

TEST(TWEWSElement, SettingNothingLeavesTheOldValueAndRemovingClearsIt) {
  const auto person = Person::withDict({{"name", "Ann"}});
  person->set("name", TWValue());
  EXPECT_EQ(person->get("name"), TWValue("Ann"));
  person->set("", 5);
  person->remove("");
  person->remove("unknown");
  EXPECT_THAT(person->allKeys(), ElementsAre("name"));
  person->set("name", "Bob");
  EXPECT_EQ((*person)["name"], TWValue("Bob"));
  person->remove("name");
  EXPECT_THAT(person->allKeys(), testing::IsEmpty());
}

TEST(TWEWSElement, NamesOfPropertiesAreNotChecked) {
  const auto person = Person::withDict();
  {
    std::string name = "anything";
    person->set(name, 1);
    name = "overwritten";
  }
  EXPECT_EQ(person->get("anything"), TWValue(1));
  EXPECT_TRUE(person->clean(nullptr));
  EXPECT_THAT(written(*person), EqualsXML("<t:Person><t:Age>18</t:Age></t:Person>"));
}

TEST(TWEWSElement, PropertiesReadAsCppValues) {
  const auto street = Street::withDict({{"name", "Elm"}});
  const auto person = Person::withDict(
      {{"name", "Ann"}, {"age", 40}, {"tags", TWValue::list({"a", "b"})}, {"street", street}});
  EXPECT_EQ(person->get<std::string>("name"), "Ann");
  EXPECT_EQ(person->get<int>("age"), 40);
  EXPECT_EQ(person->get<double>("age"), 40.0);
  EXPECT_EQ(person->get<bool>("age"), true);
  EXPECT_EQ(person->get<std::shared_ptr<Street>>("street"), street);
  EXPECT_THAT(person->get<std::vector<std::string>>("tags").value(), ElementsAre("a", "b"));
  person->set("born", TWInstant());
  person->set("zone", TWTimeZone());
  person->set("photo", TWData{1, 2});
  EXPECT_EQ(person->get<TWInstant>("born"), TWInstant());
  EXPECT_EQ(person->get<TWTimeZone>("zone"), TWTimeZone());
  EXPECT_EQ(person->get<TWData>("photo"), (TWData{1, 2}));
}

TEST(TWEWSElement, AValueOfAnotherKindReadsAsAbsent) {
  const auto person = Person::withDict({{"name", "Ann"},
                                        {"age", 300},
                                        {"tags", TWValue::list({"a", 2})},
                                        {"street", Street::withDict()}});
  EXPECT_EQ(person->get<int>("name"), std::nullopt);
  EXPECT_EQ(person->get<std::string>("age"), std::nullopt);
  EXPECT_EQ(person->get<std::uint8_t>("age"), std::nullopt);
  EXPECT_EQ(person->get<std::vector<std::string>>("tags"), std::nullopt);
  EXPECT_EQ(person->get<std::vector<std::string>>("name"), std::nullopt);
  EXPECT_EQ(person->get<std::shared_ptr<Person>>("street"), nullptr);
  EXPECT_EQ(person->get<int>("nick"), std::nullopt);
  EXPECT_EQ(person->get<TWData>("name"), std::nullopt);
}

TEST(TWEWSElement, ReadsItsFieldsFromAttributesAndChildren) {
  const auto person =
      Person::fromXML(elementWith("<t:Tags><t:String>x</t:String></t:Tags>"
                                  "<t:Unknown>u</t:Unknown>"
                                  "<t:Name>Ann</t:Name>"
                                  "<t:Name>Bob</t:Name>"
                                  "<Nick>no</Nick>",
                                  "Id='AAA=' Other='o'"));
  ASSERT_NE(person, nullptr);
  EXPECT_EQ(person->className(), "Person");
  EXPECT_EQ(&person->cls(), &Person::elementClass());
  // The default of the age stands in for what is missing.
  EXPECT_THAT(person->allKeys(), UnorderedElementsAre("id", "name", "age", "tags"));
  EXPECT_EQ(person->get("id"), TWValue("AAA="));
  EXPECT_EQ(person->get("name"), TWValue("Ann"));
  EXPECT_EQ(person->get("age"), TWValue(18));
  EXPECT_EQ(person->get("tags"), TWValue::list({"x"}));
}

TEST(TWEWSElement, DoesNotCompareTheNameOfTheElementRead) {
  EXPECT_EQ(Person::fromXML(elementWith("<t:Name>Ann</t:Name>"))->get("name"), TWValue("Ann"));
  EXPECT_EQ(Person::fromXML(NKXMLElement()), nullptr);
}

TEST(TWEWSElement, ReadingTakesElementsInAnyOrderAndManyOfThem) {
  std::string content;
  for (int i = 0; i < 20'000; ++i) content += "<t:Street/><x/>";
  const auto person = Person::fromXML(elementWith(content + "<t:Age>7</t:Age><t:Name>z</t:Name>"));
  EXPECT_THAT(person->allKeys(), UnorderedElementsAre("name", "age"));
}

TEST(TWEWSElement, ReadsTheSameInOnePassAsFieldByField) {
  const auto xml = elementWith("<t:Nick/><t:Age>x</t:Age><t:Tags/><t:Created>c</t:Created>",
                               "Kind='k' Badge=''");
  const auto person = Person::fromXML(xml);
  for (const auto& field : Person::fields())
    EXPECT_EQ(person->get(field->name()), field->fromXML(xml, nullptr)) << field->name();
}

/// Looks at more than one child, so it names none.
class LoudField : public detail::FieldKind<LoudField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "LoudField";
  using FieldKind::FieldKind;
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& /*account*/) const override {
    return static_cast<int>(element.childCount());
  }
  [[nodiscard]] std::optional<TWTag> childTag() const override { return std::nullopt; }
};

/// Writes its value as it is.
class PlainField : public detail::FieldKind<PlainField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "PlainField";
  using FieldKind::FieldKind;
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* /*version*/,
                              TWError* /*error*/) const override {
    return value;
  }
};

class Crew : public detail::ElementKind<Crew, Person> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "Crew",
         .base = &Person::elementClass(),
         .elementName = "Crew",
         .fields =
             [] {
               return TWFields{
                   TWTextFieldList::withProps({.name = "ships", .fieldURI = "crew:Ships"}),
                   LoudField::withProps({.name = "loud", .fieldURI = "crew:Loud"}),
                   PlainField::withProps({.name = "captain",
                                          .fieldURI = "crew:Captain",
                                          .valueCls = &Person::elementClass()})};
             },
         .make = &detail::makeElement<Crew>});
    return kClass;
  }
};

TEST(TWEWSElement, AKindThatReadsByItselfIsAsked) {
  EXPECT_EQ(Crew::fromXML(elementWith("<t:Loud>a</t:Loud><t:Name>b</t:Name>"))->get("loud"),
            TWValue(2));
  EXPECT_EQ(Crew::fromXML(elementWith("<t:Name>b</t:Name>"))->get("loud"), TWValue(1));
}

TEST(TWEWSElement, WhatAFieldAnswersAsAValueIsWrittenForTheVersion) {
  const auto crew = Crew::withDict({{"captain", Person::withDict({{"nick", "too long"}})}});
  EXPECT_THAT(written(*crew, &k2007),
              EqualsXML("<t:Crew><t:Age>18</t:Age><t:Person><t:Age>18</t:Age></t:Person>"
                        "</t:Crew>"));
  TWError error;
  EXPECT_FALSE(crew->toXML(&k2013, &error));
  EXPECT_THAT(error, IsFailure(kWrongValue, "nick value too long exceeds length 5"));
}

TEST(TWEWSElement, ValidationStoresNormalFormsAndDefaults) {
  const auto person = Person::withDict({{"name", "Ann"}});
  EXPECT_TRUE(person->clean(nullptr));
  EXPECT_THAT(person->allKeys(), ElementsAre("name", "age"));
  EXPECT_EQ(person->get("age"), TWValue(18));
}

TEST(TWEWSElement, TheFirstFieldThatFailsEndsTheValidation) {
  const auto person = Person::withDict({{"kind", 1}, {"name", 2}, {"nick", "too long"}});
  EXPECT_THAT(cleanFailure(*person),
              IsFailure(kWrongType, "1 value is not of type TWTextField for kind"));
  EXPECT_TRUE(person->get("age").isAbsent());
  person->set("kind", "k");
  person->set("name", "Ann");
  EXPECT_THAT(cleanFailure(*person),
              IsFailure(kWrongValue, "nick value too long exceeds length 5"));
  // What comes before the failure is clean.
  EXPECT_EQ(person->get("age"), TWValue(18));
  EXPECT_EQ(person->get("nick"), TWValue("too long"));
  EXPECT_FALSE(person->clean(nullptr, nullptr));
}

TEST(TWEWSElement, ReadOnlyFieldsAreValidatedToo) {
  const auto person = Person::withDict({{"created", std::string(256, 'x')}});
  EXPECT_TRUE(cleanFailure(*person).is(kWrongValue));
}

TEST(TWEWSElement, FieldsThatTheVersionLacksAreNeitherValidatedNorWritten) {
  const auto person = Person::withDict({{"nick", "too long"}});
  EXPECT_TRUE(person->clean(&k2007));
  EXPECT_THAT(written(*person, &k2007), EqualsXML("<t:Person><t:Age>18</t:Age></t:Person>"));
  EXPECT_TRUE(cleanFailure(*person, &k2013).is(kWrongValue));
  EXPECT_TRUE(cleanFailure(*person, nullptr).is(kWrongValue));
}

/// Cleans every value away.
class VanishingField : public detail::FieldKind<VanishingField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "VanishingField";
  using FieldKind::FieldKind;
  [[nodiscard]] TWValue clean(const TWValue& /*value*/, const TWVersion* /*version*/,
                              TWError* /*error*/) const override {
    return {};
  }
};

/// Writes nothing but an error.
class UnwritableField : public detail::FieldKind<UnwritableField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "UnwritableField";
  using FieldKind::FieldKind;
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* /*version*/,
                              TWError* error) const override {
    setError(error, {kWrongType, value.description() + " is unwritable"});
    return {};
  }
};

class Odd : public detail::ElementKind<Odd, TWEWSElement> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "Odd",
         .base = &TWEWSElement::elementClass(),
         .elementName = "Odd",
         .fields =
             [] {
               return TWFields{
                   VanishingField::withProps({.name = "v", .fieldURI = "x:V"}),
                   UnwritableField::withProps({.name = "u", .fieldURI = "x:U"}),
                   TWTextFieldList::withProps({.name = "l", .fieldURI = "L", .isAttribute = true}),
                   VanishingField::withProps({.fieldURI = "x:Nameless"})};
             },
         .make = &detail::makeElement<Odd>});
    return kClass;
  }
};

TEST(TWEWSElement, APropertyThatIsCleanedToNothingKeepsItsOldValue) {
  const auto element = Odd::withDict({{"v", 5}, {"", 1}});
  EXPECT_TRUE(element->clean(nullptr));
  EXPECT_EQ(element->get("v"), TWValue(5));
  EXPECT_THAT(element->allKeys(), ElementsAre("v"));
}

TEST(TWEWSElement, WritesAttributesThenChildrenInTheOrderOfTheFields) {
  const auto person = Person::withDict({{"street", Street::withDict({{"name", "Elm"}})},
                                        {"tags", TWValue::list({"b", "a"})},
                                        {"nick", "An"},
                                        {"name", "Ann"},
                                        {"kind", "k\x01"},
                                        {"badge", "7"}});
  EXPECT_THAT(
      written(*person, &k2013),
      EqualsXML("<t:Person Kind='k?' Badge='7'><t:Name>Ann</t:Name><t:Age>18</t:Age>"
                "<t:Tags><t:String>b</t:String><t:String>a</t:String></t:Tags>"
                "<t:Nick>An</t:Nick>"
                "<t:Street><t:Street><t:Name>Elm</t:Name></t:Street></t:Street></t:Person>"));
  // Writing has stored the default.
  EXPECT_EQ(person->get("age"), TWValue(18));
}

TEST(TWEWSElement, ReadOnlyFieldsAreNotWritten) {
  const auto person = Person::withDict({{"id", "AAA="}, {"created", "today"}, {"name", "Ann"}});
  EXPECT_THAT(written(*person),
              EqualsXML("<t:Person><t:Name>Ann</t:Name><t:Age>18</t:Age></t:Person>"));
}

TEST(TWEWSElement, AnAttributeIsWrittenToVersionsThatLackIt) {
  const auto person = Person::withDict({{"badge", "7"}});
  EXPECT_THAT(written(*person, &k2007),
              EqualsXML("<t:Person Badge='7'><t:Age>18</t:Age></t:Person>"));
}

TEST(TWEWSElement, AnEmptyListIsNotWritten) {
  const auto person = Person::withDict({{"tags", TWList()}});
  EXPECT_THAT(written(*person), EqualsXML("<t:Person><t:Age>18</t:Age></t:Person>"));
}

TEST(TWEWSElement, AClassInTheMessagesNamespaceIsWrittenThere) {
  EXPECT_THAT(written(*Employee::withDict({{"office", "3.14"}})),
              EqualsXML("<m:Employee><t:Age>18</t:Age><t:Office>3.14</t:Office></m:Employee>"));
}

TEST(TWEWSElement, WhatIsNotValidIsNotWritten) {
  const auto person = Person::withDict({{"age", -1}});
  TWError error;
  EXPECT_FALSE(person->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(kWrongValue, "value -1 on field age must be greater than 0"));
  EXPECT_FALSE(person->toXML(nullptr));
}

TEST(TWEWSElement, ANestedElementThatIsNotValidFailsTheOuterOne) {
  const auto person = Person::withDict({{"street", Street::withDict({{"number", 3}})}});
  EXPECT_THAT(cleanFailure(*person),
              IsFailure(kWrongValue, "name is a required field with no default"));
  EXPECT_FALSE(person->toXML(nullptr));
  person->set("street", Person::withDict());
  EXPECT_THAT(cleanFailure(*person).message(),
              testing::HasSubstr("value is not of type ElementField for street"));
}

TEST(TWEWSElement, AClassWithoutARequestTagCannotBeWritten) {
  TWError error;
  EXPECT_FALSE(Stranger::withDict({{"name", "?"}})->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(kWrongValue, "Stranger has no element that it could be written as"));
}

TEST(TWEWSElement, AnAttributeWithoutTextCannotBeWritten) {
  const auto element = Odd::withDict({{"l", TWValue::list({"x"})}});
  TWError error;
  EXPECT_FALSE(element->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(kWrongType, "(x) value of l cannot be an attribute"));
  element->set("l", TWList());
  EXPECT_TRUE(element->toXML(nullptr));
}

TEST(TWEWSElement, WhatAFieldCannotWriteFailsTheElement) {
  TWError error;
  EXPECT_FALSE(Odd::withDict({{"u", "text"}})->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(kWrongType, "text is unwritable"));
}

TEST(TWEWSElement, EqualityGoesByTheValuesOfFields) {
  const auto a = Person::withDict({{"name", "Ann"}, {"age", 1}});
  const auto b = Person::withDict({{"age", 1.0}, {"name", "Ann"}});
  EXPECT_EQ(*a, *b);
  EXPECT_EQ(a->hash(), b->hash());
  b->set("account", "no field");
  EXPECT_EQ(*a, *b);
  EXPECT_EQ(a->hash(), b->hash());
  b->set("nick", "An");
  EXPECT_FALSE(*a == *b);
  EXPECT_FALSE(*a == *Person::withDict({{"name", "Ann"}}));
  EXPECT_FALSE(*a == *Street::withDict({{"name", "Ann"}, {"number", 1}}));
}

TEST(TWEWSElement, ElementsAndFieldsHaveTheirHashInTheStandardLibraryToo) {
  const auto person = Person::withDict({{"name", "Ann"}});
  EXPECT_EQ(std::hash<Person>{}(*person), person->hash());
  EXPECT_EQ(std::hash<TWEWSElement>{}(*person), person->hash());
  const auto field = Person::fields().front();
  EXPECT_EQ(std::hash<TWField>{}(*field), field->hash());
}

TEST(TWEWSElement, MissingValuesAddNothingToEquality) {
  const auto kind = Person::withDict({{"kind", "x"}});
  const auto name = Person::withDict({{"name", "x"}});
  EXPECT_EQ(*kind, *name);
  EXPECT_EQ(kind->hash(), name->hash());
}

TEST(TWEWSElement, NestedElementsAreValidatedAndWrittenForTheSameVersion) {
  const auto ann = [] {
    return Person::withDict({{"friend", Person::withDict({{"nick", "too long"}})}});
  };
  EXPECT_TRUE(ann()->clean(&k2007));
  EXPECT_TRUE(cleanFailure(*ann(), &k2013).is(kWrongValue));
  EXPECT_THAT(written(*ann(), &k2007),
              EqualsXML("<t:Person><t:Age>18</t:Age><t:Friend><t:Person><t:Age>18</t:Age>"
                        "</t:Person></t:Friend></t:Person>"));
}

TEST(TWEWSElement, ANestedElementMayBeOfADerivedClass) {
  const auto withPerson = Person::withDict({{"friend", Person::withDict({{"name", "Ann"}})}});
  const auto withGuest = Person::withDict({{"friend", Guest::withDict({{"name", "Ann"}})}});
  EXPECT_EQ(*withPerson, *withGuest);
  EXPECT_EQ(withPerson->hash(), withGuest->hash());
}

TEST(TWEWSElement, ListsDoNotCountForEquality) {
  const auto a = Person::withDict({{"name", "Ann"}, {"tags", TWValue::list({"x"})}});
  const auto b = Person::withDict({{"name", "Ann"}});
  EXPECT_EQ(*a, *b);
  EXPECT_EQ(a->hash(), b->hash());
}

TEST(TWEWSElement, TheNameOfAListCountsForEqualityEvenWithoutAValue) {
  const auto person = Person::withDict({{"name", "Ann"}});
  const auto crew = Crew::withDict({{"name", "Ann"}});
  EXPECT_FALSE(*person == *crew);
  EXPECT_NE(person->hash(), crew->hash());
  // What is no list, and missing, does not.
  const auto employee = Employee::withDict({{"name", "Ann"}});
  EXPECT_EQ(*person, *employee);
  EXPECT_EQ(person->hash(), employee->hash());
}

TEST(TWEWSElement, EqualsAnElementOfADerivedClassButNotTheOtherWayRound) {
  const auto person = Person::withDict({{"name", "Ann"}});
  const auto guest = Guest::withDict({{"name", "Ann"}});
  EXPECT_TRUE(person->isEqual(*guest));
  EXPECT_FALSE(guest->isEqual(*person));
}

TEST(TWEWSElement, NestedElementsAreComparedByTheirValues) {
  const auto a = Person::withDict({{"street", Street::withDict({{"name", "Elm"}})}});
  const auto b = Person::withDict({{"street", Street::withDict({{"name", "Elm"}})}});
  EXPECT_EQ(*a, *b);
  EXPECT_EQ(a->hash(), b->hash());
  b->set("street", Street::withDict({{"name", "Oak"}}));
  EXPECT_FALSE(*a == *b);
}

TEST(TWEWSElement, NestedElementsOfDerivedClassesAreEqualFromBothSides) {
  const auto inPerson = [](const TWValue& nested) {
    return Person::withDict({{"name", TWValue::list({nested})}, {"street", nested}});
  };
  const auto person = inPerson(Person::withDict({{"name", "Ann"}}));
  const auto guest = inPerson(Guest::withDict({{"name", "Ann"}}));
  EXPECT_EQ(*person, *guest);
  EXPECT_EQ(*guest, *person);
  EXPECT_EQ(person->hash(), guest->hash());
  EXPECT_NE(*guest, *inPerson(Guest::withDict({{"name", "Bob"}})));
}

TEST(TWEWSElement, IsPrintedWithItsClassAndItsProperties) {
  const auto person = Person::withDict({{"name", "Ann"}, {"age", 1}});
  person->set("zip", 1);
  EXPECT_EQ(person->description(), "[Person] {age = 1; name = Ann; zip = 1}");
  std::ostringstream stream;
  stream << *person;
  EXPECT_EQ(stream.str(), person->description());
}

TEST(TWEWSElement, DeclaresEveryFieldAsAProperty) {
  const auto properties = Street::withDict({{"name", "Elm"}})->declaredProperties();
  EXPECT_EQ(properties, (TWProperties{{"name", "Elm"}, {"number", TWValue()}}));
}

/// People of whom each is the friend of the one before.
std::shared_ptr<Person> chain(int length) {
  std::shared_ptr<Person> person;
  for (int i = 0; i < length; ++i) {
    const auto outer = Person::withDict({{"age", i}});
    outer->set("friend", person);
    person = outer;
  }
  return person;
}

TEST(TWEWSElement, NestsUpTo64Levels) {
  EXPECT_TRUE(chain(64)->clean(nullptr));
  EXPECT_TRUE(chain(64)->toXML(nullptr));
  const auto tooDeep = chain(65);
  EXPECT_THAT(cleanFailure(*tooDeep),
              IsFailure(kWrongValue, "Person is nested more than 64 levels deep"));
  EXPECT_FALSE(tooDeep->toXML(nullptr));
  // The next validation starts anew.
  EXPECT_TRUE(chain(64)->clean(nullptr));
}

TEST(TWEWSElement, DeepNestingIsPrintedHashedAndComparedToAnEnd) {
  const auto a = chain(1000);
  const auto b = chain(1000);
  EXPECT_EQ(a->hash(), b->hash());
  EXPECT_TRUE(a->isEqual(*a));
  EXPECT_FALSE(a->isEqual(*b));
  EXPECT_THAT(a->description(), testing::HasSubstr("friend = [Person] ...}"));
}

TEST(TWEWSElement, AnElementWithinItselfIsPrintedHashedComparedAndRefused) {
  const auto a = Person::withDict({{"name", "Ann"}});
  const auto b = Person::withDict({{"name", "Ann"}});
  a->set("friend", a);
  a->set("street", a);
  b->set("friend", b);
  b->set("street", b);
  EXPECT_EQ(a->description(),
            "[Person] {friend = [Person] ...; name = Ann; street = [Person] ...}");
  EXPECT_EQ(a->hash(), b->hash());
  EXPECT_TRUE(a->isEqual(*b));
  b->set("name", "Bob");
  EXPECT_FALSE(a->isEqual(*b));
  a->remove("street");
  EXPECT_THAT(cleanFailure(*a),
              IsFailure(kWrongValue, "Person is nested more than 64 levels deep"));
  EXPECT_FALSE(a->toXML(nullptr));
  // Lets go of what would keep itself alive.
  for (const auto& person : {a, b})
    for (const auto* name : {"friend", "street"}) person->remove(name);
}

TEST(TWEWSElement, WhatIsEqualHasOneHashWhereverItIsNestedInItself) {
  const auto a = Person::withDict({{"name", "Ann"}});
  a->set("friend", a);
  const auto outside = Person::withDict({{"name", "Ann"}, {"friend", a}});
  EXPECT_EQ(*outside, *a);
  EXPECT_EQ(outside->hash(), a->hash());
  a->remove("friend");
  EXPECT_NE(outside->hash(), a->hash()) << "what is nested counts";
}

}  // namespace
}  // namespace tarnwell
