#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWExtendedPropertyField.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/schema/RegisteringItem.h"

namespace tarnwell {
namespace {

using test::RegisteringItem;
using ::testing::ElementsAre;

/// A kind of item without fields of its own.
template <class Tag>
class SharingItem : public detail::ElementKind<SharingItem<Tag>, RegisteringItem<Tag>> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({.name = "SharingItem",
                                                     .base = &RegisteringItem<Tag>::elementClass(),
                                                     .make = &detail::makeElement<SharingItem>});
    return kClass;
  }
};

/// A kind of item with a field of its own.
template <class Tag>
class CopyingItem : public detail::ElementKind<CopyingItem<Tag>, RegisteringItem<Tag>> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "CopyingItem",
        .base = &RegisteringItem<Tag>::elementClass(),
        .fields = [] { return TWFields{TWFieldURIField::withProps({.name = "own"})}; },
        .make = &detail::makeElement<CopyingItem>,
    });
    return kClass;
  }
};

/// A class that names no field after which registered ones are put.
class ClosedItem : public detail::ElementKind<ClosedItem, TWRegisterMixIn> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "ClosedItem",
        .base = &TWRegisterMixIn::elementClass(),
        .fields = [] { return TWFields{TWFieldURIField::withProps({.name = "subject"})}; },
        .make = &detail::makeElement<ClosedItem>,
    });
    return kClass;
  }
};

/// A class that names a field which it has not.
class MisledItem : public detail::ElementKind<MisledItem, TWRegisterMixIn> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "MisledItem",
        .base = &TWRegisterMixIn::elementClass(),
        .fields = [] { return TWFields{TWFieldURIField::withProps({.name = "subject"})}; },
        .make = &detail::makeElement<MisledItem>,
        .insertAfterField = "has_attachments",
    });
    return kClass;
  }
};

const TWExtendedPropertyClass& reservedTag() {
  static const auto& kClass = TWExtendedPropertyClass::declare(
      {.name = "Reserved", .propertyTag = "0x8000", .propertyType = "Integer"});
  return kClass;
}

template <class Item>
std::string registering(std::string_view name, const TWElementClass& property) {
  TWError error;
  const auto before = Item::fields();
  const bool done = Item::registerAttr(name, property, &error);
  EXPECT_EQ(done, !error);
  if (error) {
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
    EXPECT_EQ(Item::fields(), before);
  }
  return error.message();
}

TEST(TWRegisterMixIn, NamesNoFieldAfterWhichToInsert) {
  EXPECT_EQ(TWRegisterMixIn::elementClass().insertAfterField(), std::nullopt);
}

TEST(TWRegisterMixIn, ARegisteredFieldLandsDirectlyAfterItsPlace) {
  using Item = RegisteringItem<struct Place>;
  TWError error;
  ASSERT_TRUE(Item::registerAttr("flag", TWFlag::elementClass(), &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(Item::fieldNames(), ElementsAre("subject", "has_attachments", "flag", "culture"));
  const auto field = Item::getFieldByFieldName("flag");
  EXPECT_EQ(field->className(), "TWExtendedPropertyField");
  EXPECT_EQ(field->options().valueCls, &TWFlag::elementClass());
}

TEST(TWRegisterMixIn, ALaterFieldLandsBeforeAnEarlierOne) {
  using Item = RegisteringItem<struct Later>;
  ASSERT_TRUE(Item::registerAttr("first", TWFlag::elementClass()));
  ASSERT_TRUE(Item::registerAttr("second", TWExternId::elementClass()));
  EXPECT_THAT(Item::fieldNames(),
              ElementsAre("subject", "has_attachments", "second", "first", "culture"));
}

TEST(TWRegisterMixIn, ATakenNameIsRefused) {
  using Item = RegisteringItem<struct Taken>;
  EXPECT_EQ(registering<Item>("subject", TWFlag::elementClass()), "subject is already registered");
  EXPECT_EQ(registering<Item>("flag", TWFlag::elementClass()), "");
  EXPECT_EQ(registering<Item>("flag", TWExternId::elementClass()), "flag is already registered");
}

TEST(TWRegisterMixIn, OnlyExtendedPropertiesAreRegistered) {
  using Item = RegisteringItem<struct Other>;
  EXPECT_EQ(registering<Item>("extra", ClosedItem::elementClass()),
            "ClosedItem must be a subclass of extendedProperty");
}

TEST(TWRegisterMixIn, AnInvalidPropertyIsRefusedWithItsOwnError) {
  using Item = RegisteringItem<struct Invalid>;
  EXPECT_EQ(registering<Item>("extra", reservedTag()),
            "Property tag is reserved for for custom properties");
  EXPECT_EQ(registering<Item>("extra", TWExtendedProperty::elementClass()).substr(0, 34),
            "propertyType: (null) is not valid:");
}

TEST(TWRegisterMixIn, AClassWithoutTheFieldToInsertAfterTakesNone) {
  EXPECT_EQ(registering<ClosedItem>("flag", TWFlag::elementClass()),
            "ClosedItem insert after field is missing in property");
  EXPECT_EQ(registering<MisledItem>("flag", TWFlag::elementClass()),
            "MisledItem insert after field is missing in property");
}

TEST(TWRegisterMixIn, NameThenKindThenValidityThenPlaceAreTested) {
  EXPECT_EQ(registering<ClosedItem>("subject", ClosedItem::elementClass()),
            "subject is already registered");
  EXPECT_EQ(registering<ClosedItem>("extra", ClosedItem::elementClass()),
            "ClosedItem must be a subclass of extendedProperty");
  EXPECT_EQ(registering<ClosedItem>("extra", reservedTag()),
            "Property tag is reserved for for custom properties");
}

TEST(TWRegisterMixIn, AKindThatSharesItsListSeesWhatIsRegisteredAndTheReverse) {
  using Tag = struct Shared;
  ASSERT_TRUE(SharingItem<Tag>::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_TRUE(RegisteringItem<Tag>::getFieldByFieldName("flag"));
  ASSERT_TRUE(RegisteringItem<Tag>::unregisterAttr("flag"));
  EXPECT_FALSE(SharingItem<Tag>::getFieldByFieldName("flag"));
}

TEST(TWRegisterMixIn, AKindWithFieldsOfItsOwnDoesNotSeeWhatIsRegisteredAboveIt) {
  using Before = struct UsedBefore;
  EXPECT_THAT(CopyingItem<Before>::fieldNames(),
              ElementsAre("subject", "has_attachments", "culture", "own"));
  ASSERT_TRUE(RegisteringItem<Before>::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_FALSE(CopyingItem<Before>::getFieldByFieldName("flag"));
  // Nor does one that is used for the first time only after that.
  using After = struct UsedAfter;
  ASSERT_TRUE(RegisteringItem<After>::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_THAT(CopyingItem<After>::fieldNames(),
              ElementsAre("subject", "has_attachments", "culture", "own"));
  ASSERT_TRUE(CopyingItem<After>::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_THAT(CopyingItem<After>::fieldNames(),
              ElementsAre("subject", "has_attachments", "flag", "culture", "own"));
}

TEST(TWRegisterMixIn, ARemovedFieldMayBeRegisteredAgain) {
  using Item = RegisteringItem<struct Again>;
  ASSERT_TRUE(Item::registerAttr("flag", TWFlag::elementClass()));
  TWError error;
  EXPECT_TRUE(Item::unregisterAttr("flag", &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(Item::fieldNames(), ElementsAre("subject", "has_attachments", "culture"));
  EXPECT_EQ(registering<Item>("flag", TWExternId::elementClass()), "");
}

TEST(TWRegisterMixIn, WhatWasNotRegisteredIsNotRemoved) {
  using Item = RegisteringItem<struct Removing>;
  for (const auto* const name : {"subject", "flag"}) {
    TWError error;
    EXPECT_FALSE(Item::unregisterAttr(name, &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
    EXPECT_EQ(error.message(), std::string(name) + " is not registered");
  }
  EXPECT_THAT(Item::fieldNames(), ElementsAre("subject", "has_attachments", "culture"));
}

TEST(TWRegisterMixIn, ElementsMadeBeforeWalkTheChangedList) {
  using Item = RegisteringItem<struct Earlier>;
  const auto element = Item::withDict({{"flag", 1}});
  EXPECT_TRUE(element->get("flag").isAbsent());
  element->set("flag", 2);
  EXPECT_FALSE(element->toXML(nullptr).elementForName("t:ExtendedProperty"));
  ASSERT_TRUE(Item::registerAttr("flag", TWFlag::elementClass()));
  EXPECT_TRUE(element->toXML(nullptr).elementForName("t:ExtendedProperty"));
  EXPECT_EQ(element->get("flag"), TWValue(2));
}

/// Declares, registers and goes: only the name outlives the call.
template <class Item>
void registerAndForget() {
  const std::string name = "project" + std::to_string(1);
  const auto& cls = TWExtendedPropertyClass::declare({.name = "Class of " + name,
                                                      .distinguishedPropertySetId = "Common",
                                                      .propertyName = name,
                                                      .propertyType = "String"});
  ASSERT_TRUE(Item::registerAttr(name, cls));
}

TEST(TWRegisterMixIn, ARegisteredClassOutlivesTheCallThatDeclaredIt) {
  using Item = RegisteringItem<struct Outlives>;
  registerAndForget<Item>();
  const auto element = Item::withDict({{"project1", "P-1"}});
  EXPECT_TRUE(element->toXML(nullptr).elementForName("t:ExtendedProperty"));
  const auto* const cls = Item::getFieldByFieldName("project1")->options().valueCls;
  EXPECT_EQ(cls->name(), "Class of project1");
}

TEST(TWRegisterMixIn, FieldsAreRegisteredWhileOtherThreadsUseTheClass) {
  using Item = RegisteringItem<struct Concurrent>;
  constexpr int kRounds = 50;
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  std::atomic<int> broken = 0;
  for (int reader = 0; reader < 3; ++reader) {
    threads.emplace_back([&] {
      do {
        const auto element = Item::withDict({{"flag0", 1}});
        if (!element->clean(nullptr) || !element->toXML(nullptr)) ++broken;
        const auto names = Item::fieldNames();
        if (names.front() != "subject" || names.back() != "culture") ++broken;
      } while (!done);
    });
  }
  std::atomic<int> registered = 0;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 2; ++writer) {
    writers.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round)
        if (Item::registerAttr("flag" + std::to_string(round), TWFlag::elementClass()))
          ++registered;
    });
  }
  for (auto& writer : writers) writer.join();
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(broken, 0);
  // Of two that register one name at the same time, one succeeds.
  EXPECT_EQ(registered, kRounds);
  EXPECT_EQ(Item::fields().size(), 3U + kRounds);
}

}  // namespace
}  // namespace tarnwell
