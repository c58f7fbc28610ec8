#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell {
namespace {

using test::answer;
using test::errorAnswer;
using test::foldersMessage;
using test::folderXML;
using test::namesOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

std::string text(const TWData& data) { return {data.begin(), data.end()}; }
TWData bytes(std::string_view text) { return {text.begin(), text.end()}; }

class TWAccountRoot : public testing::Test {
 protected:
  void hasRoot() {
    server.on("GetFolder",
              answer("GetFolder", foldersMessage("GetFolder", folderXML("R", "", "", ""))));
    server.on(
        "FindFolder",
        answer("FindFolder",
               test::pageMessage("FindFolder", "Folders",
                                 folderXML("T", "Top of Information Store", "R") +
                                     folderXML("I", "Inbox", "T") + folderXML("A", "A", "I"))));
  }
  void refusesRoot(std::string_view code) {
    server.on("GetFolder", errorAnswer("GetFolder", code));
  }
  [[nodiscard]] TWData archive() {
    hasRoot();
    const auto root = account->root();
    EXPECT_EQ(root->walk().size(), 3U);
    auto data = account->exportRootData();
    EXPECT_TRUE(data);
    server.startOver();
    return data.value_or(TWData());
  }

  test::MailboxServer server;
  std::shared_ptr<TWAccount> account = test::makeAccount(server.url());
  test::RecordingLog log;
};

TEST_F(TWAccountRoot, IsFetchedOnceWhoeverAsks) {
  hasRoot();
  std::vector<std::future<std::shared_ptr<TWRoot>>> asked;
  for (int i = 0; i < 8; ++i)
    asked.push_back(std::async(std::launch::async, [this] { return account->root(); }));
  const auto root = account->root();
  ASSERT_TRUE(root);
  for (auto& each : asked) EXPECT_EQ(each.get(), root);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder"));
  EXPECT_EQ(account->root(nullptr), root);
  EXPECT_THAT(log.lines(), Contains("[ann@example.com] Got Root folder").Times(1));
}

TEST_F(TWAccountRoot, ThatIsDeniedIsReplacedByAPlaceholderWithoutALine) {
  refusesRoot("ErrorAccessDenied");
  const auto root = account->root();
  ASSERT_TRUE(root);
  EXPECT_EQ((*root)["folder_id"], TWValue("fakeRoot"));
  EXPECT_EQ(root->account(), account);
  for (const auto& line : log.lines()) EXPECT_EQ(line.find("Failed to fetch root"), line.npos);
}

TEST_F(TWAccountRoot, IsNotReplacedByAPlaceholderWhenItIsDeniedLater) {
  hasRoot();
  const auto root = account->root();
  refusesRoot("ErrorAccessDenied");
  account->fetchRoot();
  EXPECT_EQ(account->root(), root);
  EXPECT_EQ(log.lines().back(),
            "[ann@example.com] Failed to fetch root with error: org.tarnwell.ews 10: Error: "
            "ErrorAccessDenied");
}

TEST_F(TWAccountRoot, ThatCannotBeHadIsMissingAndTheLogTells) {
  refusesRoot("ErrorInternalServerError");
  EXPECT_EQ(account->root(), nullptr);
  EXPECT_THAT(log.lines().back(),
              MatchesRegex("\\[ann@example.com\\] Failed to fetch root with error: "
                           "org.tarnwell.ews [0-9]+: Error: ErrorInternalServerError"));
  EXPECT_EQ(account->inbox(), nullptr);
}

TEST_F(TWAccountRoot, AskedForWithAnErrorReportsItAndMakesNoPlaceholder) {
  refusesRoot("ErrorAccessDenied");
  TWError error;
  EXPECT_EQ(account->root(&error), nullptr);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied)) << error;
  EXPECT_EQ(account->knownRoot(), nullptr);
  EXPECT_EQ(log.count("Failed to fetch root"), 0);
}

TEST_F(TWAccountRoot, AskedForWithAnErrorIsFetchedWithoutALineAboutIt) {
  hasRoot();
  TWError error;
  EXPECT_TRUE(account->root(&error)) << error;
  EXPECT_EQ(log.count("Request took"), 1);
  EXPECT_EQ(log.count("root"), 0);
  EXPECT_EQ(log.count("Root"), 0);
}

TEST_F(TWAccountRoot, AskedForWithAnErrorTakesNoNoticeOfAnArchivedTree) {
  const auto other = test::makeAccount(server.url());
  ASSERT_TRUE(other->importRootData(archive()));
  const auto fetched = other->root(nullptr);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder"));
  EXPECT_NE(fetched, other->localRoot());
  EXPECT_EQ(other->root(), other->localRoot());
}

TEST_F(TWAccountRoot, RefetchingOneThatIsThereOnlyDropsTheArchivedTree) {
  const auto data = archive();
  const auto root = account->root();
  ASSERT_TRUE(account->importRootData(data));
  EXPECT_NE(account->root(), root);
  account->refetchRoot();
  EXPECT_EQ(account->root(), root);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAccountRoot, RefetchingKeepsTheArchivedTreeUntilThereIsAnother) {
  const auto other = test::makeAccount(server.url());
  ASSERT_TRUE(other->importRootData(archive()));
  refusesRoot("ErrorInternalServerError");
  other->refetchRoot();
  EXPECT_TRUE(other->localRoot());
  hasRoot();
  other->refetchRoot();
  EXPECT_EQ(other->localRoot(), nullptr);
  EXPECT_TRUE(other->knownRoot());
}

TEST_F(TWAccountRoot, AChangeIsSeenInTheArchivedTreeAndInTheFetchedOne) {
  const auto data = archive();
  const auto fetched = account->root(nullptr);
  ASSERT_TRUE(fetched);
  hasRoot();
  ASSERT_TRUE(fetched->updateCache() && account->importRootData(data));
  const auto local = account->localRoot();
  ASSERT_TRUE(local);
  const std::vector<std::shared_ptr<TWRoot>> trees{fetched, local};

  const auto renamed = fetched->getFolder("A");
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder", folderXML("A", "renamed"))));
  ASSERT_TRUE(renamed->save({"name"}));
  for (const auto& tree : trees) EXPECT_EQ(tree->getFolder("A"), renamed);

  server.on("MoveFolder", test::successAnswer("MoveFolder"));
  ASSERT_TRUE(renamed->moveToParent(local->getFolder("T")));
  for (const auto& tree : trees) {
    EXPECT_THAT(namesOf(tree->getChildren(*tree->getFolder("T"))), ElementsAre("Inbox", "A"));
    EXPECT_THAT(tree->getChildren(*tree->getFolder("I")), ElementsAre());
  }

  server.on("DeleteFolder", test::successAnswer("DeleteFolder"));
  ASSERT_TRUE(fetched->getFolder("I")->deleteWithError());
  for (const auto& tree : trees) {
    EXPECT_EQ(tree->getFolder("I"), nullptr);
    EXPECT_THAT(namesOf(tree->walk()), ElementsAre("Top of Information Store", "A"));
  }

  // Each stays the root of its own tree.
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder", folderXML("R", "", "", ""))));
  ASSERT_TRUE(fetched->save({"name"}) && local->save({"name"}));
  for (const auto& tree : trees) EXPECT_EQ(tree->getFolder("R"), tree);
  account->refetchRoot();
  EXPECT_EQ(account->root(), fetched);
  EXPECT_THAT(namesOf(fetched->walk()), ElementsAre("Top of Information Store", "A"));

  server.on("EmptyFolder", test::successAnswer("EmptyFolder"));
  ASSERT_TRUE(account->importRootData(data) && renamed->empty("HardDelete", true));
  const auto restored = account->localRoot();
  EXPECT_FALSE(fetched->isCacheReady() || restored->isCacheReady());
  ASSERT_TRUE(fetched->save({"name"}));
  EXPECT_EQ(fetched->getFolder("R"), fetched);
  EXPECT_EQ(restored->getFolder("R"), restored);
}

/// A delegate that asks the account for its root when it hears of one.
class AskingLogger : public TWLoggerDelegate {
 public:
  void debug(const std::string& /*message*/) override {}
  void release(const std::string& message) override {
    if (message.find("Got Root folder") == std::string::npos) return;
    std::thread([this] { answers.push_back(account.lock()->root()); }).join();
  }
  std::weak_ptr<TWAccount> account;
  std::vector<std::shared_ptr<TWRoot>> answers;
};

TEST_F(TWAccountRoot, CanBeAskedForByTheDelegateThatIsToldOfIt) {
  hasRoot();
  const auto delegate = std::make_shared<AskingLogger>();
  delegate->account = account;
  TWLogger::logger().setDelegate(delegate);
  // From another thread even, as this one holds no lock while it logs.
  account->fetchRoot();
  EXPECT_THAT(delegate->answers, ElementsAre(account->root()));
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder"));
}

TEST_F(TWAccountRoot, CanBeAskedForByTheDelegateThatIsToldOfItWhenItIsRefetched) {
  hasRoot();
  const auto delegate = std::make_shared<AskingLogger>();
  delegate->account = account;
  TWLogger::logger().setDelegate(delegate);
  account->refetchRoot();
  EXPECT_THAT(delegate->answers, ElementsAre(account->root()));
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder"));
}

/// A delegate that lets a thread of its own fetch the account's root when the first line comes.
class FetchingLogger : public TWLoggerDelegate {
 public:
  void debug(const std::string& /*message*/) override {}
  void release(const std::string& /*message*/) override {
    if (!hasFetched_.exchange(true)) std::thread([this] { account.lock()->fetchRoot(); }).join();
  }
  std::weak_ptr<TWAccount> account;

 private:
  std::atomic<bool> hasFetched_ = false;
};

TEST_F(TWAccountRoot, CanBeFetchedByAnotherThreadWhileItIsBeingFetched) {
  hasRoot();
  const auto delegate = std::make_shared<FetchingLogger>();
  delegate->account = account;
  TWLogger::logger().setDelegate(delegate);
  const auto root = account->root();
  ASSERT_TRUE(root);
  EXPECT_EQ(account->root(nullptr), root);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "GetFolder"));
}

/// A delegate that asks the account for its root on every line.
class EverAskingLogger : public TWLoggerDelegate {
 public:
  explicit EverAskingLogger(const std::shared_ptr<TWAccount>& account) : account_(account) {}
  void debug(const std::string& /*message*/) override {}
  void release(const std::string& /*message*/) override {
    const auto account = account_.lock();
    answers.push_back(account->root());
    TWError error;
    if (!account->root(&error)) errors.push_back(error);
  }
  std::vector<std::shared_ptr<TWRoot>> answers;
  std::vector<TWError> errors;

 private:
  std::weak_ptr<TWAccount> account_;
};

TEST_F(TWAccountRoot, CanBeAskedForByADelegateOnEveryLine) {
  const auto expectRoot = [&](bool thereIsOne) {
    const auto of = test::makeAccount(server.url());
    const auto delegate = std::make_shared<EverAskingLogger>(of);
    TWLogger::logger().setDelegate(delegate);
    EXPECT_EQ(of->root() != nullptr, thereIsOne);
    ASSERT_FALSE(delegate->answers.empty());
    // The lines of the very request find nothing.
    EXPECT_EQ(delegate->answers.front(), nullptr);
    ASSERT_FALSE(delegate->errors.empty());
    EXPECT_EQ(delegate->errors.front(),
              TWError(TWErrorCode::ErrorFolderNotFound, "The root is being fetched"));
    const auto other = test::makeAccount(server.url());
    const auto second = std::make_shared<EverAskingLogger>(other);
    TWLogger::logger().setDelegate(second);
    // Here it is another request, on the same connection, that is logged.
    EXPECT_TRUE(other->exportItems({TWIdPair{"A"}}));
    EXPECT_EQ(second->answers.back() != nullptr, thereIsOne);
  };
  server.on("ExportItems",
            answer("ExportItems", test::responseMessage("ExportItems", "Success", "NoError",
                                                        "<m:Data>QUJD</m:Data>")));
  hasRoot();
  expectRoot(true);
  refusesRoot("ErrorAccessDenied");
  expectRoot(true);
  refusesRoot("ErrorInternalServerError");
  expectRoot(false);
}

TEST_F(TWAccountRoot, KnowsItsFoldersByTheirClasses) {
  hasRoot();
  const auto folders = account->folders();
  ASSERT_TRUE(folders.contains("TWInbox"));
  EXPECT_THAT(namesOf(folders.at("TWInbox")), ElementsAre("Inbox"));
  EXPECT_THAT(namesOf(folders.at("TWMessages")), ElementsAre("Top of Information Store", "A"));
}

TEST_F(TWAccountRoot, EveryAccessorAsksForTheFolderOfItsName) {
  server.on("GetFolder", [](const std::string& payload) {
    const auto at = payload.find(" Id=\"") + 5;
    const auto name = payload.substr(at, payload.find('"', at) - at);
    return answer("GetFolder", foldersMessage("GetFolder", folderXML(name, name, "", "")));
  });
  using Accessor = std::shared_ptr<TWFolder> (TWAccount::*)();
  const std::vector<std::pair<Accessor, std::string>> accessors{
      {&TWAccount::adminAuditLogs, "TWAdminAuditLogs"},
      {&TWAccount::archiveDeletedItems, "TWArchiveDeletedItems"},
      {&TWAccount::archiveInbox, "TWArchiveInbox"},
      {&TWAccount::archiveMsgFolderRoot, "TWArchiveMsgFolderRoot"},
      {&TWAccount::archiveRecoverableItemsDeletions, "TWArchiveRecoverableItemsDeletions"},
      {&TWAccount::archiveRecoverableItemsPurges, "TWArchiveRecoverableItemsPurges"},
      {&TWAccount::archiveRecoverableItemsRoot, "TWArchiveRecoverableItemsRoot"},
      {&TWAccount::archiveRecoverableItemsVersions, "TWArchiveRecoverableItemsVersions"},
      {&TWAccount::archiveRoot, "TWArchiveRoot"},
      {&TWAccount::calendar, "TWCalendar"},
      {&TWAccount::conflicts, "TWConflicts"},
      {&TWAccount::contacts, "TWContacts"},
      {&TWAccount::conversationHistory, "TWConversationHistory"},
      {&TWAccount::directory, "TWDirectory"},
      {&TWAccount::drafts, "TWDrafts"},
      {&TWAccount::favorites, "TWFavorites"},
      {&TWAccount::imContactList, "TWIMContactList"},
      {&TWAccount::inbox, "TWInbox"},
      {&TWAccount::journal, "TWJournal"},
      {&TWAccount::junk, "TWJunkEmail"},
      {&TWAccount::localFailures, "TWLocalFailures"},
      {&TWAccount::msgFolderRoot, "TWMsgFolderRoot"},
      {&TWAccount::myContacts, "TWMyContacts"},
      {&TWAccount::notes, "TWNotes"},
      {&TWAccount::outbox, "TWOutbox"},
      {&TWAccount::peopleConnect, "TWPeopleConnect"},
      {&TWAccount::publicFoldersRoot, "TWPublicFoldersRoot"},
      {&TWAccount::quickContacts, "TWQuickContacts"},
      {&TWAccount::receipientCache, "TWReceipientCache"},
      {&TWAccount::recoverableItemsDeletions, "TWRecoverableItemsDeletions"},
      {&TWAccount::recoverableItemsPurges, "TWRecoverableItemsPurges"},
      {&TWAccount::recoverableItemsRoot, "TWRecoverableItemsRoot"},
      {&TWAccount::recoverableItemsVersions, "TWRecoverableItemsVersions"},
      {&TWAccount::searchFolders, "TWSearchFolders"},
      {&TWAccount::sent, "TWSentItems"},
      {&TWAccount::serverFailures, "TWServerFailures"},
      {&TWAccount::syncIssues, "TWSyncIssues"},
      {&TWAccount::tasks, "TWTasks"},
      {&TWAccount::trash, "TWDeletedItems"},
      {&TWAccount::voiceMail, "TWVoiceMail"},
  };
  EXPECT_EQ(accessors.size(), 40U);
  for (const auto& [accessor, className] : accessors) {
    const auto folder = (account.get()->*accessor)();
    ASSERT_TRUE(folder) << className;
    EXPECT_EQ(folder->className(), className);
    EXPECT_EQ((*folder)["folder_id"],
              TWValue(std::string(*folder->folderClass().distinguishedFolderId())));
  }
}

TEST_F(TWAccountRoot, ComesBackFromAnArchiveWithItsFoldersWithoutARequest) {
  const auto data = archive();
  const auto other = test::makeAccount(server.url());
  ASSERT_TRUE(other->importRootData(data));
  const auto root = other->root();
  ASSERT_TRUE(root);
  EXPECT_EQ((*root)["folder_id"], TWValue("R"));
  EXPECT_THAT(namesOf(root->walk()), ElementsAre("Top of Information Store", "Inbox", "A"));
  const auto inbox = root->walk().at(1);
  EXPECT_EQ(inbox->className(), "TWInbox");
  EXPECT_EQ(inbox->account(), other);
  EXPECT_EQ(inbox->parent()->parent(), root);
  EXPECT_EQ(root->getFolder("R"), root);
  EXPECT_EQ(server.requestCount(), 0U);
  // One that came from an archive can be archived again.
  const auto third = test::makeAccount(server.url());
  ASSERT_TRUE(third->importRootData(other->exportRootData().value_or(TWData())));
  EXPECT_EQ(third->root()->tree(), root->tree());
}

TEST_F(TWAccountRoot, KeepsTheOrderOfItsFoldersInAnArchive) {
  hasRoot();
  server.on("FindFolder", answer("FindFolder", test::pageMessage("FindFolder", "Folders",
                                                                 folderXML("2", "first", "R") +
                                                                     folderXML("3", "below", "2") +
                                                                     folderXML("1", "second", "R") +
                                                                     folderXML("0", "lost", "X"))));
  const auto names = namesOf(account->root()->walk());
  EXPECT_THAT(names, ElementsAre("first", "below", "second"));
  const auto data = account->exportRootData();
  ASSERT_TRUE(data && account->importRootData(*data));
  EXPECT_EQ(namesOf(account->root()->walk()), names);
  EXPECT_TRUE(account->localRoot()->getFolder("0"));
}

TEST_F(TWAccountRoot, WithoutATreeThereIsNothingToArchive) {
  EXPECT_EQ(account->exportRootData(), std::nullopt);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAccountRoot, WhoseFoldersCannotBeReadIsNotArchived) {
  hasRoot();
  ASSERT_TRUE(account->root());
  server.on("FindFolder", errorAnswer("FindFolder", "ErrorInternalServerError"));
  EXPECT_EQ(account->exportRootData(), std::nullopt);
  hasRoot();
  EXPECT_TRUE(account->exportRootData());
}

TEST_F(TWAccountRoot, ThatWasFetchedIsArchivedBeforeOneFromAnArchive) {
  const auto data = archive();
  const auto other = test::makeAccount(server.url());
  ASSERT_TRUE(other->importRootData(data));
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("Q", "", "", ""))));
  server.on("FindFolder",
            answer("FindFolder", test::pageMessage("FindFolder", "Folders",
                                                   folderXML("B", "fetched later", "Q"))));
  ASSERT_TRUE(other->root(nullptr));
  EXPECT_EQ((*other->root())["folder_id"], TWValue("R"));
  const auto exported = other->exportRootData();
  ASSERT_TRUE(exported);
  const auto third = test::makeAccount(server.url());
  ASSERT_TRUE(third->importRootData(*exported));
  EXPECT_EQ((*third->root())["folder_id"], TWValue("Q"));
  EXPECT_THAT(namesOf(third->root()->walk()), ElementsAre("fetched later"));
}

TEST_F(TWAccountRoot, ArchivesThatAreCutOrAlteredChangeNothing) {
  const auto data = archive();
  const auto other = test::makeAccount(server.url());
  const auto expectRefused = [&](const TWData& bad) {
    EXPECT_FALSE(other->importRootData(bad)) << text(bad);
    EXPECT_EQ(other->knownRoot(), nullptr);
  };
  for (std::size_t size = 0; size < data.size(); size += 7)
    expectRefused(TWData(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size)));
  const auto altered = [&](const std::string& from, const std::string& to) {
    auto changed = text(data);
    const auto at = changed.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return bytes(changed.replace(at, from.size(), to));
  };
  expectRefused(altered("\"format\":1", "\"format\":2"));
  expectRefused(altered("\"root\"", "\"ruut\""));
  expectRefused(altered("\"folders\"", "\"fulders\""));
  expectRefused(altered("\"class\":\"TWInbox\"", "\"class\":\"TWNothing\""));
  expectRefused(altered("\"class\":\"TWInbox\"", "\"class\":\"TWOutbox\""));
  expectRefused(altered("\"class\":\"TWInbox\"", "\"kind\":\"TWInbox\""));
  expectRefused(bytes("[]"));
  expectRefused(bytes("{\"format\":1,\"root\":7,\"folders\":[]}"));
  EXPECT_EQ(server.requestCount(), 0U);
}

}  // namespace
}  // namespace tarnwell
