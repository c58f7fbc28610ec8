#include <array>
#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWExtendedPropertyField.h"
#include "tarnwell/schema/TWIndexedFields.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/TestElements.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::elementWith;
using test::Employee;
using test::Guest;
using test::Person;
using test::Stranger;
using test::Street;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesOf(const TWFields& fields) {
  std::vector<std::string> names;
  for (const auto& field : fields) names.emplace_back(field->name());
  return names;
}

/// An element of whatever class makes it.
class AnyElement : public TWEWSElement {
 public:
  explicit AnyElement(const TWElementClass& cls) : cls_(cls) {}
  [[nodiscard]] const TWElementClass& cls() const override { return cls_; }

 private:
  const TWElementClass& cls_;
};

std::shared_ptr<TWEWSElement> makeAny(const TWElementClass& cls) {
  return std::make_shared<AnyElement>(cls);
}

/// A class made for one test, so that its list can be changed. Element classes are never destroyed.
const TWElementClass& freshClass(const TWElementClass* base = &TWEWSElement::elementClass(),
                                 bool withFields = true) {
  TWFields (*const fields)() = [] {
    return TWFields{TWCharField::withProps({.name = "a", .fieldURI = "x:A"}),
                    TWCharField::withProps({.name = "b", .fieldURI = "x:B"})};
  };
  static auto& all = *new std::vector<std::unique_ptr<TWElementClass>>;
  all.push_back(std::make_unique<TWElementClass>(
      TWElementClass::Declaration{.name = "Fresh",
                                  .base = base,
                                  .elementName = "Fresh",
                                  .fields = withFields ? fields : nullptr,
                                  .make = &makeAny}));
  return *all.back();
}

std::shared_ptr<TWField> fieldNamed(const char* name) {
  return TWCharField::withProps({.name = name, .fieldURI = std::string("x:") + name});
}

TEST(TWElementClass, AnElementWithAFieldThatHasNoNameOnTheServerIsNotWritten) {
  const auto& cls = freshClass();
  cls.addField(TWCharField::withProps({.name = "note"}), 0);
  TWError error;
  EXPECT_TRUE(cls.withDict({{"a", "x"}})->toXML(nullptr, &error)) << error;
  EXPECT_FALSE(cls.withDict({{"a", "x"}, {"note", "y"}})->toXML(nullptr, &error));
  EXPECT_THAT(error, test::IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                     "Field note has no name on the server"));
}

TEST(TWElementClass, AnAttributeWithoutANameOnTheServerIsNotWritten) {
  for (const std::shared_ptr<TWField>& field : std::vector<std::shared_ptr<TWField>>{
           TWTextField::withProps({.name = "note", .isAttribute = true}),
           TWIdField::withProps({.name = "note"})}) {
    const auto& cls = freshClass();
    cls.addField(field, 0);
    TWError error;
    EXPECT_TRUE(cls.withDict({{"a", "x"}})->toXML(nullptr, &error)) << error;
    EXPECT_FALSE(cls.withDict({{"a", "x"}, {"note", "y"}})->toXML(nullptr, &error));
    EXPECT_THAT(error, test::IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                       "Field note has no name on the server"));
  }
}

// Of a program: may leave a value out without a word.
class SilentField : public detail::FieldKind<SilentField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "SilentField";
  using FieldKind::FieldKind;
  [[nodiscard]] TWValue toXML(const TWValue& /*value*/, const TWVersion* /*version*/,
                              TWError* /*error*/) const override {
    return {};
  }
};

TEST(TWElementClass, AFieldMayWriteNothing) {
  const auto& cls = freshClass();
  cls.addField(SilentField::withProps({.name = "note", .fieldURI = "x:N"}), 0);
  TWError error;
  const auto xml = cls.withDict({{"a", "x"}, {"note", "y"}})->toXML(nullptr, &error);
  EXPECT_THAT(xml.description(), test::EqualsXML("<t:Fresh><t:A>x</t:A></t:Fresh>")) << error;
}

TEST(TWElementClass, AValueWhoseFieldKnowsNoElementForItIsNotLeftOut) {
  const std::vector<std::pair<std::shared_ptr<TWField>, TWValue>> rows = {
      {TWExtendedPropertyField::withProps({.name = "note"}), 5},
      {TWIndexedField::withProps(
           {.name = "note", .fieldURI = "x:Notes", .valueCls = &TWPhoneNumber::elementClass()}),
       TWPhoneNumber::withDict({{"phone_number", "1"}})}};
  for (const auto& [field, value] : rows) {
    const auto& cls = freshClass();
    cls.addField(field, 0);
    TWError error;
    EXPECT_TRUE(cls.withDict({{"a", "x"}})->toXML(nullptr, &error)) << error;
    EXPECT_FALSE(cls.withDict({{"note", value}})->toXML(nullptr, &error)) << field->className();
    EXPECT_THAT(error, test::IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                       "Field note has no name on the server"));
  }
}

TEST(TWElementClass, TheValueOfAFieldWithoutANameIsNotKept) {
  const auto& cls = freshClass();
  cls.addField(TWCharField::withProps({.fieldURI = "x:N"}), 0);
  const auto element = cls.fromXML(elementWith("<t:N>1</t:N><t:A>2</t:A>"), nullptr);
  ASSERT_TRUE(element);
  EXPECT_THAT(element->allKeys(), ElementsAre("a"));
  EXPECT_TRUE(element->get("").isAbsent());
}

TEST(TWElementClass, OfTwoFieldsWithOneNameTheLatersValueIsRead) {
  const auto& cls = freshClass();
  cls.addField(TWCharField::withProps({.name = "a", .fieldURI = "x:Z"}), 2);
  for (const auto* xml : {"<t:A>1</t:A><t:Z>2</t:Z>", "<t:Z>2</t:Z><t:A>1</t:A>"}) {
    const auto element = cls.fromXML(elementWith(xml), nullptr);
    ASSERT_TRUE(element);
    EXPECT_THAT(element->allKeys(), ElementsAre("a")) << xml;
    EXPECT_EQ(element->get("a"), TWValue("2")) << xml;
    element->set("a", "3");
    EXPECT_EQ(element->description(), "[Fresh] {a = 3}") << xml;
  }
  EXPECT_EQ(cls.fromXML(elementWith("<t:A>1</t:A>"), nullptr)->get("a"), TWValue("1"));
}

TEST(TWElementClass, TheClassAtTheTopHasNoNameAndNoFields) {
  const auto& top = TWEWSElement::elementClass();
  EXPECT_EQ(top.name(), "TWEWSElement");
  EXPECT_EQ(top.base(), nullptr);
  EXPECT_EQ(top.elementName(), std::nullopt);
  EXPECT_EQ(top.nameSpace(), "http://schemas.microsoft.com/exchange/services/2006/types");
  EXPECT_EQ(top.requestTag(), std::nullopt);
  EXPECT_EQ(top.responseTag(), "");
  EXPECT_THAT(top.fields(), IsEmpty());
  EXPECT_EQ(top.insertAfterField(), std::nullopt);
  EXPECT_EQ(top.withDict({}), nullptr);
  EXPECT_EQ(top.fromXML(elementWith(""), nullptr), nullptr);
}

TEST(TWElementClass, TheRequestTagFollowsTheNamespace) {
  EXPECT_EQ(Person::requestTag(), "t:Person");
  EXPECT_EQ(Employee::requestTag(), "m:Employee");
  EXPECT_EQ(Stranger::requestTag(), std::nullopt);
}

TEST(TWElementClass, TheResponseTagIsTheElementNameUnlessAClassSaysOtherwise) {
  EXPECT_EQ(Person::elementName(), "Person");
  EXPECT_EQ(Person::responseTag(), "Person");
  EXPECT_EQ(Person::responseXMLns(), Person::nameSpace());
  EXPECT_EQ(Employee::responseXMLns(),
            "http://schemas.microsoft.com/exchange/services/2006/messages");
  EXPECT_EQ(Guest::elementName(), "Guest");
  EXPECT_EQ(Guest::responseTag(), "Visitor");
  EXPECT_EQ(Guest::responseXMLns(), "urn:visitors");
}

TEST(TWElementClass, KnowsTheClassesAboveIt) {
  EXPECT_TRUE(Employee::elementClass().isKindOf(Employee::elementClass()));
  EXPECT_TRUE(Employee::elementClass().isKindOf(Person::elementClass()));
  EXPECT_TRUE(Employee::elementClass().isKindOf(TWEWSElement::elementClass()));
  EXPECT_FALSE(Person::elementClass().isKindOf(Employee::elementClass()));
  EXPECT_FALSE(Guest::elementClass().isKindOf(Employee::elementClass()));
}

TEST(TWElementClass, IsFoundByItsName) {
  const auto& person = Person::elementClass();
  EXPECT_EQ(TWElementClass::named("Person"), &person);
  EXPECT_EQ(TWElementClass::named("person"), nullptr);
  EXPECT_EQ(TWElementClass::named(""), nullptr);
  {
    const TWElementClass first({.name = "Passing"});
    const TWElementClass second({.name = "Passing"});
    EXPECT_EQ(TWElementClass::named("Passing"), &first);
  }
  EXPECT_EQ(TWElementClass::named("Passing"), nullptr);
}

TEST(TWElementClass, FieldsCanStandInPlaceOfThoseOfTheBase) {
  const auto& base = freshClass();
  const TWElementClass other(
      {.name = "Other",
       .base = &base,
       .fields = [] { return TWFields{TWCharField::withProps({.name = "b", .fieldURI = "x:C"})}; },
       .replacesFields = true});
  EXPECT_THAT(other.fieldNames(), ElementsAre("b"));
  EXPECT_EQ(other.getFieldByFieldName("b")->fieldURI(), "x:C");
  EXPECT_TRUE(other.isKindOf(base));
  EXPECT_EQ(other.elementName(), "Fresh");
  const TWElementClass below({.name = "Below", .base = &other});
  EXPECT_THAT(below.fieldNames(), ElementsAre("b"));
}

TEST(TWElementClass, FieldsOfAClassFollowThoseOfItsBase) {
  const std::vector<std::string> person = {"id",      "kind", "badge", "name",   "age",
                                           "created", "tags", "nick",  "street", "friend"};
  EXPECT_EQ(Person::fieldNames(), person);
  auto employee = person;
  employee.emplace_back("office");
  EXPECT_EQ(Employee::fieldNames(), employee);
  EXPECT_EQ(namesOf(Employee::fields()), employee);
}

TEST(TWElementClass, AClassWithoutFieldsUsesTheVeryListOfItsBase) {
  const auto& base = freshClass();
  const auto& shared = freshClass(&base, false);
  shared.addField(fieldNamed("s"), 0);
  base.addField(fieldNamed("t"), 9);
  EXPECT_THAT(base.fieldNames(), ElementsAre("s", "a", "b", "t"));
  EXPECT_EQ(shared.fields(), base.fields());
  EXPECT_EQ(Guest::fields(), Person::fields());
}

TEST(TWElementClass, AClassWithFieldsHasACopyOfTheDeclaredListWheneverItIsMade) {
  const auto& base = freshClass();
  const auto& before = freshClass(&base);
  EXPECT_EQ(before.fieldNames().size(), 4U);
  base.addField(fieldNamed("s"), 0);
  const auto& after = freshClass(&base);
  EXPECT_THAT(before.fieldNames(), ElementsAre("a", "b", "a", "b"));
  EXPECT_EQ(after.fieldNames(), before.fieldNames());
}

TEST(TWElementClass, AttributesAreSeparateFromChildren) {
  EXPECT_THAT(namesOf(Person::attributeFields()), ElementsAre("id", "kind", "badge"));
  EXPECT_THAT(namesOf(Person::supportedFields(nullptr)),
              ElementsAre("name", "age", "created", "tags", "nick", "street", "friend"));
  const TWVersion old(TWBuild(8, 0), "Exchange2007");
  EXPECT_THAT(namesOf(Person::supportedFields(&old)),
              ElementsAre("name", "age", "created", "tags", "street", "friend"));
}

TEST(TWElementClass, AFieldInAListKeepsItsOptions) {
  static const TWElementClass cls(
      {.name = "Frozen", .base = &Person::elementClass(), .fields = [] { return TWFields(); }});
  const auto field =
      TWCharField::withProps({.name = "a_name_that_is_not_short", .isReadOnly = true});
  EXPECT_TRUE(field->set("fieldURI", "person:Extra"));
  EXPECT_FALSE(field->isFrozen());
  cls.addField(field, 0);
  EXPECT_TRUE(field->isFrozen());
  EXPECT_FALSE(field->set("name", std::string(100, 'x')));
  field->remove("name");
  field->remove("isReadOnly");
  EXPECT_EQ(field->name(), "a_name_that_is_not_short");
  EXPECT_TRUE(field->isReadOnly());
  EXPECT_EQ(cls.getFieldByFieldName("a_name_that_is_not_short"), field);
}

TEST(TWElementClass, FindsTheFirstFieldOfAName) {
  EXPECT_EQ(Person::getFieldByFieldName("age"), Person::fields()[4]);
  EXPECT_EQ(Person::getFieldByFieldName("Age"), nullptr);
  EXPECT_EQ(Person::getFieldByFieldName(""), nullptr);
  const auto& cls = freshClass();
  const auto namesake = fieldNamed("b");
  cls.addField(namesake, 0);
  EXPECT_EQ(cls.getFieldByFieldName("b"), namesake);
}

TEST(TWElementClass, AFieldIsInsertedAtItsPlaceOrAtTheEnd) {
  const auto& cls = freshClass();
  cls.addField(fieldNamed("m"), 1);
  cls.addField(fieldNamed("z"), 3);
  cls.addField(fieldNamed("end"), 1000);
  cls.addField(nullptr, 0);
  EXPECT_THAT(cls.fieldNames(), ElementsAre("a", "m", "b", "z", "end"));
}

TEST(TWElementClass, RemovesTheFieldsThatAreEqual) {
  const auto& cls = freshClass();
  // Fields are equal by class and URI, not by name.
  cls.removeField(*TWCharField::withProps({.name = "other", .fieldURI = "x:A"}));
  EXPECT_THAT(cls.fieldNames(), ElementsAre("b"));
  cls.removeField(*fieldNamed("none"));
  EXPECT_THAT(cls.fieldNames(), ElementsAre("b"));
}

TEST(TWElementClass, AWalkSeesTheListAsItWasWhenItBegan) {
  const auto& cls = freshClass();
  const auto fields = cls.fields();
  cls.removeField(*fields[0]);
  EXPECT_THAT(namesOf(fields), ElementsAre("a", "b"));
}

TEST(TWElementClass, ElementsMadeBeforeAFieldWasAddedHaveItToo) {
  const auto& cls = freshClass();
  const auto element = cls.withDict({{"a", "1"}});
  cls.addField(TWIntegerField::withProps({.name = "late", .fieldURI = "x:Late", .default_ = 5}), 0);
  EXPECT_TRUE(element->clean(nullptr));
  EXPECT_EQ(element->get("late"), TWValue(5));
  EXPECT_EQ(element->get("a"), TWValue("1"));
}

TEST(TWElementClass, ManyThreadsMayUseAListForTheFirstTime) {
  constexpr std::size_t kThreads = 32;
  const auto& cls = freshClass();
  std::barrier start(kThreads);
  std::array<std::shared_ptr<const TWField>, kThreads> seen;
  {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (auto& field : seen)
      threads.emplace_back([&] {
        start.arrive_and_wait();
        field = cls.getFieldByFieldName("a");
      });
  }
  for (const auto& field : seen) EXPECT_EQ(field, seen[0]);
  EXPECT_NE(seen[0], nullptr);
}

TEST(TWElementClass, ElementsAreReadWrittenAndValidatedWhileFieldsComeAndGo) {
  const auto& cls = freshClass(&Street::elementClass());
  std::atomic<bool> done = false;
  std::barrier start(3);
  const auto work = [&] {
    start.arrive_and_wait();
    do {
      const auto street = cls.fromXML(elementWith("<t:Name>Elm</t:Name><t:A>1</t:A>"), nullptr);
      TWError error;
      EXPECT_TRUE(street->clean(nullptr, &error)) << error;
      EXPECT_TRUE(street->toXML(nullptr));
      EXPECT_EQ(street->get<std::string>("a"), "1");
      EXPECT_FALSE(cls.supportedFields(nullptr).empty());
    } while (!done);
  };
  {
    const std::jthread reader(work);
    const std::jthread other(work);
    start.arrive_and_wait();
    for (int i = 0; i < 100; ++i) {
      const auto field = fieldNamed("extra");
      cls.addField(field, 0);
      cls.removeField(*field);
    }
    done = true;
  }
  EXPECT_THAT(cls.fieldNames(), ElementsAre("name", "number", "a", "b"));
}

}  // namespace
}  // namespace tarnwell
