// What an item has of its account and its folder.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWTextFields.h"

#include "tests/items/ElementTesting.h"
#include "tests/support/TestAccount.h"

namespace tarnwell {
namespace {

using test::parsed;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// An account that has no server, but knows what it would be.
std::shared_ptr<TWAccount> accountOf(TWBuild build) {
  return test::makeOfflineAccount(TWVersion(build));
}

std::size_t countOf(std::string_view part, std::string_view text) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

TEST(TWItemOwners, ArePrintedAsClassAndId) {
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}});
  const auto message =
      TWMessage::withDict({{"item_id", "M"}, {"attachments", TWValue::list({file})}});
  EXPECT_EQ(file->get("parent_item").description(), "[TWMessage M]");
  message->remove("item_id");
  EXPECT_EQ(file->get("parent_item").description(), "[TWMessage]");
  const auto folder = TWFolder::withDict({{"folder_id", "F"}, {"name", "x"}});
  EXPECT_EQ(TWValue::weak(folder).description(), "[TWFolder F]");
  message->setAccount(accountOf(TWBuild(15, 0)));
  EXPECT_EQ(message->get("account").description(), "(null)");
  const auto account = accountOf(TWBuild(15, 0));
  message->setAccount(account);
  EXPECT_EQ(message->get("account").description(), "[TWAccount ann@example.com]");
}

TEST(TWItemOwners, AreNotPrintedInCircles) {
  const auto account = accountOf(TWBuild(15, 0));
  const auto root = TWFolder::withDict({{"folder_id", "R"}});
  const auto inbox = TWInbox::withDict(
      {{"folder_id", "I"}, {"account", TWValue::weak(account)}, {"parent", TWValue::weak(root)}});
  root->setChildren({inbox, TWFolder::withDict()});
  inbox->setChildren({TWFolder::withDict(), TWFolder::withDict()});
  for (const auto& child : inbox->children()) child->setParent(inbox);
  const auto inner = TWMessage::withDict({{"item_id", "inner"}, {"folder", inbox}});
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}});
  const auto attached = TWItemAttachment::withDict({{"name", "b"}, {"_item", inner}});
  const auto message = TWMessage::withDict({{"item_id", "M"},
                                            {"account", TWValue::weak(account)},
                                            {"folder", inbox},
                                            {"attachments", TWValue::list({file, attached})}});
  inner->setParentItem(message);
  EXPECT_EQ(countOf("[TWInbox]", message->TWEWSElement::get("folder").description()), 1U);
  EXPECT_EQ(countOf("[TWInbox]", inbox->description()), 1U);
  EXPECT_THAT(message->description(), HasSubstr("account = [TWAccount ann@example.com]"));
  EXPECT_EQ(countOf("[TWMessage] ", message->description()), 1U);
  EXPECT_EQ(countOf("[TWInbox]", message->description()), 1U);
  EXPECT_THAT(inner->description(), HasSubstr("parent_item = [TWMessage M]"));
  EXPECT_EQ(countOf("[TWInbox]", inner->description()), 1U);
  for (const TWObject* attachment :
       {static_cast<const TWObject*>(file.get()), static_cast<const TWObject*>(attached.get())})
    EXPECT_LE(countOf("[TWInbox]", attachment->description()), 1U);
}

TEST(TWItemOwners, AreTakenFromADictionary) {
  const auto account = accountOf(TWBuild(15, 0));
  const auto folder = TWFolder::withDict({{"name", "Inbox"}});
  const auto parent = TWMessage::withDict();
  const auto message = TWMessage::withDict({{"account", TWValue::weak(account)},
                                            {"folder", folder},
                                            {"parent_item", TWValue::weak(parent)}});
  EXPECT_EQ(message->account(), account);
  EXPECT_EQ(message->folder(), folder);
  EXPECT_EQ(message->parentItem(), parent);
  EXPECT_THAT(message->allKeys(), ElementsAre("account", "folder", "parent_item"));
  EXPECT_THAT(TWMessage::fieldNames(), Not(Contains("account")));
}

TEST(TWItemOwners, TheParentItemOfADictionaryIsNotKept) {
  auto parent = TWMessage::withDict();
  const auto message = TWMessage::withDict({{"parent_item", parent}});
  EXPECT_EQ(message->parentItem(), parent);
  parent.reset();
  EXPECT_EQ(message->parentItem(), nullptr);
}

TEST(TWItemOwners, TheAccountOfTheFolderServesAnItemWithoutOne) {
  const auto account = accountOf(TWBuild(15, 0)), other = accountOf(TWBuild(14, 0));
  const auto folder = TWFolder::withDict();
  folder->setAccount(account);
  EXPECT_EQ(TWMessage::withDict({{"folder", folder}})->account(), account);
  EXPECT_EQ(TWMessage::withDict({{"folder", folder}, {"account", TWValue::weak(other)}})->account(),
            other);
  EXPECT_EQ(TWMessage::withDict({{"folder", TWFolder::withDict()}})->account(), nullptr);
}

TEST(TWItemOwners, AnItemKeepsItsFolderButNotItsAccount) {
  auto account = accountOf(TWBuild(15, 0));
  auto folder = TWFolder::withDict();
  folder->setAccount(account);
  const auto message = TWMessage::withDict({{"folder", folder}});
  const std::weak_ptr<TWFolder> watched = folder;
  folder.reset();
  account.reset();
  EXPECT_EQ(message->folder(), watched.lock());
  EXPECT_NE(message->folder(), nullptr);
  EXPECT_EQ(message->account(), nullptr);
}

TEST(TWItemOwners, CanBeReplacedAndRemoved) {
  const auto account = accountOf(TWBuild(15, 0));
  const auto folder = TWFolder::withDict();
  const auto message = TWMessage::withDict();
  message->setAccount(account);
  message->setFolder(folder);
  EXPECT_EQ(message->account(), account);
  EXPECT_EQ(message->folder(), folder);
  message->setAccount(nullptr);
  message->setFolder(nullptr);
  EXPECT_TRUE(message->allKeys().empty());
}

TEST(TWItemOwners, TakeNoPartInEquality) {
  const auto account = accountOf(TWBuild(15, 0));
  const auto message = TWMessage::withDict({{"subject", "a"}});
  const auto owned = TWMessage::withDict(
      {{"subject", "a"}, {"folder", TWFolder::withDict()}, {"account", TWValue::weak(account)}});
  EXPECT_EQ(*message, *owned);
  EXPECT_EQ(message->hash(), owned->hash());
}

TEST(TWItemOwners, AnItemThatWasReadHasTheAccountItWasReadWith) {
  const auto account = accountOf(TWBuild(15, 0));
  const auto message = TWMessage::fromXML(parsed("<t:Message/>"), account);
  EXPECT_EQ(message->account(), account);
  EXPECT_EQ(message->folder(), nullptr);
}

TEST(TWItemOwners, FieldsThatTheServerOfTheAccountLacksAreNotRead) {
  const auto xml = parsed(
      "<t:Message><t:Subject>a</t:Subject><t:TextBody>text</t:TextBody>"
      "<t:IsAssociated>true</t:IsAssociated></t:Message>");
  const auto keysFor = [&](TWBuild build) {
    const auto account = accountOf(build);
    return TWMessage::fromXML(xml, account)->allKeys();
  };
  const auto early = keysFor(TWBuild(8, 0)), middle = keysFor(TWBuild(14, 3)),
             late = keysFor(TWBuild(15, 0));
  EXPECT_THAT(early, Contains("subject"));
  EXPECT_THAT(early, Not(Contains("text_body")));
  EXPECT_THAT(early, Not(Contains("is_associated")));
  EXPECT_THAT(middle, Not(Contains("text_body")));
  EXPECT_THAT(middle, Contains("is_associated"));
  EXPECT_THAT(late, Contains("text_body"));
}

/// Has a second field under one name.
class DoubledItem : public detail::ElementKind<DoubledItem, TWItem> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "DoubledItem",
         .base = &TWItem::elementClass(),
         .fields =
             [] {
               return TWFields{
                   TWCharField::withProps({.name = "subject", .fieldURI = "item:Subject"}),
                   TWCharField::withProps(
                       {.name = "late", .fieldURI = "item:Late", .supportedFrom = TWBuild(15, 0)})};
             },
         .make = &detail::makeElement<DoubledItem>});
    return kClass;
  }
};

TEST(TWItemOwners, FieldsThatTheServerLacksAreNotReadWhereTwoHaveOneNameEither) {
  const auto xml = parsed("<t:Item><t:Subject>a</t:Subject><t:Late>b</t:Late></t:Item>");
  const auto early = accountOf(TWBuild(14, 0)), late = accountOf(TWBuild(15, 0));
  EXPECT_EQ(DoubledItem::fromXML(xml, early)->get("subject"), TWValue("a"));
  EXPECT_TRUE(DoubledItem::fromXML(xml, early)->get("late").isAbsent());
  EXPECT_EQ(DoubledItem::fromXML(xml, late)->get("late"), TWValue("b"));
}

TEST(TWItemOwners, ItemsOfAnAccountWithoutAVersionAreReadWhole) {
  const auto account = TWAccount::withOptions({.primarySmtpAddress = "ann@example.com"});
  const auto message =
      TWMessage::fromXML(parsed("<t:Message><t:TextBody>text</t:TextBody></t:Message>"), account);
  EXPECT_EQ(message->get<std::string>("text_body"), "text");
}

}  // namespace
}  // namespace tarnwell
