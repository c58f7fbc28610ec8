#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWExtendedProperty.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using test::Host;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const TWExtendedPropertyClass& declared(std::string name, std::string type) {
  return TWExtendedPropertyClass::declare({.name = "Class of " + name,
                                           .distinguishedPropertySetId = "PublicStrings",
                                           .propertyName = std::move(name),
                                           .propertyType = std::move(type)});
}

/// What a program adds to the fields of its messages and folders.
const std::vector<std::pair<std::string, const TWExtendedPropertyClass*>>& properties() {
  static const auto& kProperties =
      *new std::vector<std::pair<std::string, const TWExtendedPropertyClass*>>{
          {"project_id", &declared("ProjectId", "String")},
          {"reviewers", &declared("Reviewers", "StringArray")},
          {"is_billed", &declared("IsBilled", "Boolean")},
          {"hours", &declared("Hours", "Double")},
          {"started", &declared("Started", "ApplicationTime")},
          {"digest", &declared("Digest", "Binary")},
          {"extern_id", &TWExternId::elementClass()},
          {"flag", &TWFlag::elementClass()}};
  return kProperties;
}

/// The properties are registered as long as a test runs.
class ExtendedPropertiesEndToEnd : public testing::Test {
 protected:
  ExtendedPropertiesEndToEnd() {
    for (const auto& [name, cls] : properties()) {
      EXPECT_TRUE(TWMessage::registerAttr(name, *cls, &error)) << error;
      EXPECT_TRUE(TWFolder::registerAttr(name, *cls, &error)) << error;
    }
  }
  ~ExtendedPropertiesEndToEnd() override {
    for (const auto& [name, cls] : properties()) {
      EXPECT_TRUE(TWMessage::unregisterAttr(name, &error)) << error;
      EXPECT_TRUE(TWFolder::unregisterAttr(name, &error)) << error;
    }
  }

  std::shared_ptr<TWMessage> saved(const std::string& subject, const TWDictionary& values) {
    auto message = TWMessage::withDict({{"folder", drafts}, {"subject", subject}});
    for (const auto& [name, value] : values) message->set(name, value);
    EXPECT_TRUE(message->save(&error)) << error;
    return message;
  }
  bool save(TWItem& item, const std::vector<std::string>& names) {
    return item.save(names, "AutoResolve", "SendToNone", &error);
  }
  std::shared_ptr<TWFolder> savedFolder(const TWDictionary& values) {
    auto folder = TWFolder::make(TWFolder::elementClass(),
                                 {{"name", "Projects"}, {"folder_class", "IPF.Note"}}, account);
    folder->setParent(drafts);
    for (const auto& [name, value] : values) folder->set(name, value);
    EXPECT_TRUE(folder->save({}, &error)) << error;
    return folder;
  }
  /// The extended properties that an element has, which must be instances.
  static TWDictionary valuesOf(const TWEWSElement& element) {
    TWDictionary values;
    for (const auto& [name, cls] : properties()) {
      if (element.get(name).isAbsent()) continue;
      const auto property = element.get<std::shared_ptr<TWExtendedProperty>>(name);
      EXPECT_TRUE(property) << name << " is " << element.get(name);
      if (!property) continue;
      EXPECT_EQ(&property->cls(), cls);
      values.set(name, property->get("value"));
    }
    return values;
  }
  /// What the server has of an item, and of a folder.
  TWDictionary onServer(const TWItem& item) {
    const auto entries = account->fetch({*item.idPair()}, drafts, std::nullopt, &error);
    const auto fetched = entries ? entries->front().item() : nullptr;
    EXPECT_TRUE(fetched) << error;
    return fetched ? valuesOf(*fetched) : TWDictionary();
  }
  TWDictionary onServer(const TWFolder& folder) {
    const auto same = TWFolder::make(
        TWFolder::elementClass(), {{"folder_id", folder.TWEWSElement::get("folder_id")}}, account);
    EXPECT_TRUE(same->refresh(&error)) << error;
    return valuesOf(*same);
  }
  std::vector<std::string> subjects(const TWQuerySet& found) {
    std::vector<std::string> texts;
    const auto entries = found.getItems(&error);
    EXPECT_TRUE(entries) << error;
    for (const auto& entry : entries.value_or(TWItemEntries()))
      if (const auto item = entry.item()) texts.push_back(item->get("subject").description());
    return texts;
  }
  std::vector<std::string> found(const TWKeywords& keywords) {
    return subjects(drafts->filter(keywords));
  }

  TWError error;
  Host host{"properties.example"};
  std::shared_ptr<TWAccount> account = TWAccount::withPrimarySMTPAddress(
      host.address("alice"), "Alice", TWAccessTypeDefault, false, host.credentials(),
      TWConfiguration{host.protocol(TWVersion(TWBuild(15, 1)))});
  std::shared_ptr<TWFolder> drafts = account->drafts();
  /// One value of each type.
  const TWDictionary all{{"project_id", "P-4711 & <co>"},
                         {"reviewers", TWValue::list({"ann", "bob"})},
                         {"is_billed", true},
                         {"hours", 7.5},
                         {"started", 46356.25},
                         {"digest", TWData{0x00, 0xFF, 0x10}},
                         {"extern_id", "x-1"},
                         {"flag", 2}};
};

TEST_F(ExtendedPropertiesEndToEnd, OfItemsAreSavedFetchedChangedAndCleared) {
  ASSERT_TRUE(drafts);
  const auto message = saved("Offer", all);
  EXPECT_EQ(onServer(*message), all);

  auto expected = all;
  message->set("project_id", "P-4712");
  message->set("reviewers", TWValue::list({"cyd"}));
  message->set("extern_id", TWExternId::withDict({{"value", "x-2"}}));
  message->set("flag", TWFlag::withDict({{"value", 1}}));
  message->set("hours", 8);
  ASSERT_TRUE(save(*message, {"project_id", "reviewers", "extern_id", "flag"})) << error;
  expected.set("project_id", "P-4712");
  expected.set("reviewers", TWValue::list({"cyd"}));
  expected.set("extern_id", "x-2");
  expected.set("flag", 1);
  EXPECT_EQ(onServer(*message), expected);

  for (const char* name : {"project_id", "reviewers", "started", "flag"}) {
    message->remove(name);
    expected.remove(name);
  }
  ASSERT_TRUE(save(*message, {"project_id", "reviewers", "started", "flag"})) << error;
  EXPECT_EQ(onServer(*message), expected);
}

TEST_F(ExtendedPropertiesEndToEnd, WhatWasReadCanBeSavedAgain) {
  ASSERT_TRUE(drafts);
  const auto message = saved("Offer", all);
  ASSERT_TRUE(message->refresh(&error)) << error;
  EXPECT_EQ(valuesOf(*message), all);
  message->set("subject", "Offer of May");
  ASSERT_TRUE(message->save(&error)) << error;
  EXPECT_EQ(onServer(*message), all);
  EXPECT_THAT(found({{"subject", "Offer of May"}}), ElementsAre("Offer of May"));
}

TEST_F(ExtendedPropertiesEndToEnd, ItemsAreFoundAndOrderedByThem) {
  ASSERT_TRUE(drafts);
  const auto first = saved("first", {{"project_id", "P-1"}, {"extern_id", "x"}, {"flag", 1}});
  saved("second", {{"project_id", "P-2"}, {"extern_id", "y"}, {"flag", 2}});
  saved("third", {{"project_id", "Q-2"}, {"is_billed", true}, {"flag", 3}});
  saved("plain", {});
  EXPECT_THAT(found({{"project_id", "P-2"}}), ElementsAre("second"));
  EXPECT_THAT(found({{"project_id__contains", "-2"}}), ElementsAre("second", "third"));
  EXPECT_THAT(found({{"project_id__startswith", "P-"}}), ElementsAre("first", "second"));
  EXPECT_THAT(found({{"extern_id__in", TWValue::list({"x", "y"})}}),
              ElementsAre("first", "second"));
  EXPECT_THAT(found({{"flag__gte", 2}}), ElementsAre("second", "third"));
  EXPECT_THAT(found({{"flag", 2}, {"project_id", "P-2"}}), ElementsAre("second"));
  EXPECT_THAT(found({{"is_billed", true}}), ElementsAre("third"));
  EXPECT_THAT(found({{"extern_id__exists", true}}), ElementsAre("first", "second"));
  EXPECT_THAT(found({{"project_id", "P-3"}}), IsEmpty());
  EXPECT_THAT(subjects(drafts->filter({{"flag__exists", true}}).orderBy({"-flag"})),
              ElementsAre("third", "second", "first"));

  first->remove("project_id");
  ASSERT_TRUE(save(*first, {"project_id"})) << error;
  EXPECT_THAT(found({{"project_id__startswith", "P-"}}), ElementsAre("second"));
}

TEST_F(ExtendedPropertiesEndToEnd, OfFoldersAreSavedFetchedChangedAndCleared) {
  ASSERT_TRUE(drafts);
  const auto folder = savedFolder(all);
  EXPECT_EQ(onServer(*folder), all);

  auto expected = all;
  folder->set("project_id", "P-4712");
  folder->set("extern_id", TWExternId::withDict({{"value", "x-2"}}));
  folder->set("flag", 1);
  ASSERT_TRUE(folder->save({"project_id", "extern_id", "flag"}, &error)) << error;
  expected.set("project_id", "P-4712");
  expected.set("extern_id", "x-2");
  expected.set("flag", 1);
  EXPECT_EQ(onServer(*folder), expected);

  for (const char* name : {"project_id", "reviewers", "flag"}) {
    folder->remove(name);
    expected.remove(name);
  }
  ASSERT_TRUE(folder->save({"project_id", "reviewers", "flag"}, &error)) << error;
  EXPECT_EQ(onServer(*folder), expected);
}

}  // namespace
}  // namespace tarnwell
