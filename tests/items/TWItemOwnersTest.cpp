// What an item has of its account and its folder.

#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"

#include "tests/items/ElementTesting.h"
#include "tests/support/TestAccount.h"

namespace tarnwell {
namespace {

using test::parsed;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// An account that has no server, but knows what it would be.
std::shared_ptr<TWAccount> accountOf(TWBuild build) {
  return test::makeOfflineAccount(TWVersion(build));
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

TEST(TWItemOwners, ItemsOfAnAccountWithoutAVersionAreReadWhole) {
  const auto account = TWAccount::withOptions({.primarySmtpAddress = "ann@example.com"});
  const auto message =
      TWMessage::fromXML(parsed("<t:Message><t:TextBody>text</t:TextBody></t:Message>"), account);
  EXPECT_EQ(message->get<std::string>("text_body"), "text");
}

}  // namespace
}  // namespace tarnwell
