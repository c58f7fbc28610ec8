#include <atomic>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/FolderTesting.h"

namespace tarnwell {
namespace {

using test::answer;
using test::errorAnswer;
using test::foldersMessage;
using test::folderXML;
using test::namesOf;
using test::pageMessage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TWRootTest : public test::MailboxTest {
 protected:
  static std::string keysOf(const TWFolderMap& map) {
    std::string keys;
    for (const auto& [id, folder] : map) keys += id + " ";
    return keys;
  }
};

TEST_F(TWRootTest, ReadsTheWholeTreeWithOneSearch) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I"));
  EXPECT_FALSE(tree().isCacheReady());
  EXPECT_FALSE(tree().subFolders());
  EXPECT_EQ(keysOf(tree().foldersMap()), "I R S T ");
  EXPECT_TRUE(tree().isCacheReady());
  EXPECT_EQ(keysOf(tree().foldersMap()), "I R S T ");
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "FindFolder"));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:DistinguishedFolderId Id=\"msgfolderroot\""));
  EXPECT_THAT(server.payload(1), HasSubstr("Traversal=\"Deep\""));
  EXPECT_THAT(server.payload(1), HasSubstr("<t:BaseShape>IdOnly</t:BaseShape>"));
  EXPECT_THAT(server.payload(1),
              HasSubstr("<m:ParentFolderIds><t:FolderId Id=\"T\" ChangeKey=\"ck-T\"/>"));
}

TEST_F(TWRootTest, TheTreeHangsTogetherFromTheRootDown) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I") +
             folderXML("Z", "Zeta", "T") + folderXML("A", "Alpha", "T"));
  EXPECT_THAT(namesOf(root->walk()),
              ElementsAre("Top of Information Store", "Inbox", "Sub", "Zeta", "Alpha"));
  const auto sub = tree().getFolder("S");
  ASSERT_TRUE(sub);
  EXPECT_EQ(sub->path(), "//Top of Information Store/Inbox/Sub");
  EXPECT_EQ(sub->root(), root);
  EXPECT_EQ(sub->parent(), tree().getFolder("I"));
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST_F(TWRootTest, ATreeThatWasReadGoesWithItsAccount) {
  hasFolders(folderXML("I", "Inbox", "T"));
  ASSERT_TRUE(tree().updateCache());
  tree().updateFolder(root);
  EXPECT_EQ(tree().getDefaultFolder(TWRoot::elementClass()), root);
  const std::weak_ptr<TWFolder> top = root;
  const std::weak_ptr<TWFolder> inbox = tree().getFolder("I");
  ASSERT_TRUE(inbox.lock());
  account.reset();
  EXPECT_TRUE(inbox.lock()) << "the root is still held here";
  root.reset();
  EXPECT_FALSE(top.lock());
  EXPECT_FALSE(inbox.lock());
}

TEST_F(TWRootTest, TheRootIsAmongItsFolders) {
  hasFolders(folderXML("I", "Inbox", "T"));
  EXPECT_EQ(tree().foldersMap().at("R"), root);
  EXPECT_EQ(tree().getFolder("R"), root);
  EXPECT_EQ(tree().getFolder("T")->parent(), root);
}

TEST_F(TWRootTest, TheTopOfTheStoreLiesBelowTheRootWhateverItSays) {
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("T", "Top", "elsewhere"))));
  hasFolders(folderXML("I", "Inbox", "T"));
  EXPECT_THAT(namesOf(root->walk()), ElementsAre("Top", "Inbox"));
}

TEST_F(TWRootTest, FoldersAreOfTheClassOfTheirNameOrElseOfTheirFolderClass) {
  hasFolders(folderXML("1", "Posteingang", "T") + folderXML("2", "X", "T", "IPF.Task") +
             folderXML("3", "Y", "T", "IPF.Unknown") + folderXML("4", "P", "T") +
             folderXML("5", "Inbox", "4") + folderXML("6", "Z", "T", ""));
  const auto map = tree().foldersMap();
  EXPECT_EQ(map.at("1")->className(), "TWInbox");
  EXPECT_EQ(map.at("2")->className(), "TWTasks");
  EXPECT_EQ(map.at("3")->className(), "TWFolder");
  EXPECT_EQ(map.at("4")->className(), "TWMessages");
  EXPECT_EQ(map.at("5")->className(), "TWInbox");
  EXPECT_EQ(map.at("6")->className(), "TWFolder");
  EXPECT_EQ(map.at("5")->account(), account);
}

TEST_F(TWRootTest, FoldersThatAreTheirOwnAncestorsAreNotReached) {
  hasFolders(folderXML("A", "a", "B") + folderXML("B", "b", "A") + folderXML("C", "c", "C") +
             folderXML("D", "d", "T"));
  EXPECT_THAT(namesOf(root->walk()), ElementsAre("Top of Information Store", "d"));
  EXPECT_EQ(tree().getFolder("C")->parent(), nullptr);
  const auto a = tree().getFolder("A"), b = tree().getFolder("B");
  EXPECT_EQ(a->path(), "/b/a");
  EXPECT_THAT(a->walk(), ElementsAre(b));
  EXPECT_EQ(a->tree(), "a\n└── b\n└── \n");
  EXPECT_THAT(a->glob("**/x"), ElementsAre(b));
  EXPECT_EQ(a->navigate(".."), b);
  EXPECT_EQ(b->navigate(".."), a);
}

TEST_F(TWRootTest, AFailedPageKeepsWhatCameBeforeAndIsReported) {
  int page = 0;
  server.on("FindFolder", [&](const std::string&) {
    if (++page > 1) return test::failedAnswer();
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders", folderXML("I", "Inbox", "T"), false, 1));
  });
  TWError error;
  EXPECT_FALSE(tree().updateCache(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_FALSE(tree().isCacheReady());
  EXPECT_EQ(keysOf(tree().subFolders().value()), "I R T ");
}

// One failure, not one for each folder that is visited.
TEST_F(TWRootTest, AWalkAsksAServerThatFailsOnce) {
  int page = 0;
  server.on("FindFolder", [&](const std::string&) {
    if (++page % 2 == 0) return test::failedAnswer();
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders",
                              folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I"), false, 2));
  });
  EXPECT_THAT(namesOf(root->walk()), ElementsAre("Top of Information Store", "Inbox", "Sub"));
  EXPECT_EQ(page, 2);
}

TEST_F(TWRootTest, NavigatingInATreeThatCannotBeReadTellsWhy) {
  const auto expectStatus = [](const std::shared_ptr<TWFolder>& from, const char* step) {
    TWError error;
    EXPECT_EQ(from->navigate(step, &error), nullptr);
    EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << step << ": " << error;
  };
  expectStatus(root, "Inbox");
  expectStatus(folder("I"), "..");
  // Nobody has to be asked what lies above the root.
  const auto asked = server.requestCount();
  TWError error;
  EXPECT_EQ(root->navigate("..", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Already at top"));
  EXPECT_EQ(server.requestCount(), asked);
  // What came with a first page is found.
  server.on("FindFolder", [](const std::string& payload) {
    if (payload.find("Offset=\"0\"") == std::string::npos) return test::failedAnswer();
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders", folderXML("I", "Inbox", "T"), false, 1));
  });
  const auto inbox = folder("T")->navigate("Inbox", &error);
  ASSERT_TRUE(inbox);
  EXPECT_EQ((*inbox)["folder_id"], TWValue("I"));
  expectStatus(folder("T"), "Outbox");
  // Nor is there a tree without a root.
  server.on("GetFolder", test::failedAnswer());
  const auto rootless = test::makeAccount(server.url());
  expectStatus(TWFolder::make(TWFolder::elementClass(), {{"folder_id", "I"}}, rootless), "x");
}

TEST_F(TWRootTest, AChangeWhileTheTreeIsReadIsNotLost) {
  const auto expectKeys = [&](const std::function<void()>& change, const std::string& keys) {
    server.on("FindFolder", [&](const std::string&) {
      change();
      return answer("FindFolder", pageMessage("FindFolder", "Folders", folderXML("I", "", "T")));
    });
    ASSERT_TRUE(tree().updateCache());
    server.startOver();
    EXPECT_EQ(keysOf(tree().foldersMap()), keys);
    EXPECT_THAT(server.operations(), IsEmpty()) << "the tree was read";
  };
  expectKeys([&] { tree().addFolder(folder("N")); }, "I N R T ");
  expectKeys([&] { tree().removeFolder(folder("I")); }, "R T ");
  expectKeys([&] { tree().updateFolder(folder("I")); }, "I R T ");
  expectKeys([] {}, "I R T ");
  const auto renamed = folder("I");
  expectKeys([&] { tree().updateFolder(renamed); }, "I R T ");
  EXPECT_EQ(tree().getFolder("I"), renamed);
}

TEST_F(TWRootTest, ATreeThatIsDroppedWhileItIsReadIsReadAgain) {
  const auto inbox = folderXML("I", "Inbox", "T"), made = folderXML("N", "New", "T");
  const std::vector<std::function<void()>> changes = {[&] { tree().clearCache(); },
                                                      [&] { tree().setSubFolders({folder("N")}); }};
  for (const auto& change : changes) {
    server.on("FindFolder", [&](const std::string&) {
      change();
      return answer("FindFolder", pageMessage("FindFolder", "Folders", inbox));
    });
    ASSERT_TRUE(tree().updateCache());
    EXPECT_FALSE(tree().isCacheReady());
    hasFolders(inbox + made);
    EXPECT_EQ(keysOf(tree().foldersMap()), "I N R T ");
    EXPECT_TRUE(tree().isCacheReady());
  }
}

TEST_F(TWRootTest, AReadingThatEndsKeepsTheChangesOfOneThatGoesOn) {
  std::atomic<int> readings = 0;
  std::atomic<std::size_t> pages = 0;
  std::atomic<bool> isAdded = false;
  server.on("GetFolder", [&](const std::string&) {
    ++readings;
    return answer("GetFolder", foldersMessage("GetFolder", folderXML("T", "Top", "R")));
  });
  server.on("FindFolder", [&](const std::string&) {
    const auto inbox = folderXML("I", "", "T");
    // One after the other gets its turn, so the first goes on until the second has begun.
    if (readings < 2)
      return answer("FindFolder", pageMessage("FindFolder", "Folders", inbox, false, ++pages));
    if (!isAdded.exchange(true)) tree().addFolder(folder("N"));
    return answer("FindFolder", pageMessage("FindFolder", "Folders", inbox));
  });
  auto other = std::async(std::launch::async, [&] { return tree().updateCache(); });
  EXPECT_TRUE(tree().updateCache());
  EXPECT_TRUE(other.get());
  EXPECT_TRUE(tree().isCacheReady());
  EXPECT_EQ(keysOf(tree().foldersMap()), "I N R T ");
}

// Each reading keeps what was changed while it ran, not what was changed before.
TEST_F(TWRootTest, AChangeBeforeTheTreeIsReadGivesWayToTheServer) {
  server.on("FindFolder", [&](const std::string&) {
    tree().addFolder(folder("N"));
    return answer("FindFolder", pageMessage("FindFolder", "Folders", folderXML("I", "", "T")));
  });
  ASSERT_TRUE(tree().updateCache());
  hasFolders(folderXML("I", "Inbox", "T"));
  ASSERT_TRUE(tree().updateCache());
  EXPECT_EQ(keysOf(tree().foldersMap()), "I R T ");
}

TEST_F(TWRootTest, FoldersAreFoundBelowTheTopOfTheStore) {
  hasFolders(folderXML("I", "Inbox", "T"));
  EXPECT_THAT(namesOf(root->findFolders("IdOnly", "Shallow")), ElementsAre("Inbox"));
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "FindFolder"));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:DistinguishedFolderId Id=\"msgfolderroot\""));
  EXPECT_THAT(server.payload(1), HasSubstr("Traversal=\"Shallow\""));
  EXPECT_THAT(server.payload(1), HasSubstr("<m:ParentFolderIds><t:FolderId Id=\"T\""));
  server.startOver();
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorFolderNotFound"));
  TWError error;
  EXPECT_THAT(root->findFolders("IdOnly", "Shallow", &error), IsEmpty());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder"));
}

TEST_F(TWRootTest, WithoutAStartTheMapHoldsTheRootAlone) {
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorFolderNotFound"));
  TWError error;
  EXPECT_EQ(keysOf(tree().foldersMap(&error)), "R ");
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
  EXPECT_FALSE(tree().isCacheReady());
}

TEST_F(TWRootTest, UpkeepDoesNotMakeACacheLookFilled) {
  tree().addFolder(folder("N"));
  tree().addFolder(TWFolder::withDict({{"name", "without id"}}));
  tree().addFolder(nullptr);
  EXPECT_TRUE(tree().getFolder("N"));
  EXPECT_FALSE(tree().isCacheReady());
  EXPECT_EQ(server.requestCount(), 0U);
  hasFolders(folderXML("I", "Inbox", "T"));
  EXPECT_EQ(keysOf(tree().foldersMap()), "I R T ");
}

TEST_F(TWRootTest, UpkeepReplacesAndDropsFolders) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("J", "x", "T") + folderXML("K", "y", "T"));
  ASSERT_TRUE(tree().updateCache());
  const auto inbox = folder("I");
  tree().updateFolder(inbox);
  EXPECT_EQ(tree().getFolder("I"), inbox);
  tree().removeFolder(folder("J"));
  tree().removeFolder(folder("J"));
  tree().removeFolder(nullptr);
  EXPECT_EQ(tree().getFolder("J"), nullptr);
  EXPECT_EQ(keysOf(tree().foldersMap()), "I K R T ");
  EXPECT_EQ((*tree().getFolder("K"))["name"], TWValue("y"));
  EXPECT_THAT(namesOf(tree().getChildren(*tree().getFolder("T"))), ElementsAre("I", "y"));
}

TEST_F(TWRootTest, NullIsNoFolderOfTheTree) {
  tree().setSubFolders({nullptr, folder("A"), nullptr});
  tree().addFolder(nullptr);
  tree().updateFolder(nullptr);
  tree().removeFolder(nullptr);
  EXPECT_EQ(tree().subFolders()->size(), 1U);
  EXPECT_TRUE(tree().getFolder("A"));
}

TEST_F(TWRootTest, AnArchivedTreeCountsAsFilled) {
  tree().setSubFolders({folder("A"), folder("B")});
  EXPECT_TRUE(tree().isCacheReady());
  EXPECT_EQ(keysOf(tree().foldersMap()), "A B ");
  tree().clearCache();
  EXPECT_FALSE(tree().isCacheReady());
  EXPECT_FALSE(tree().subFolders());
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWRootTest, ATreeWithoutAFolderDoesNotCountAsFilled) {
  tree().setSubFolders({});
  EXPECT_TRUE(tree().subFolders());
  EXPECT_FALSE(tree().isCacheReady());
  tree().setSubFolders({folder("A")});
  EXPECT_TRUE(tree().isCacheReady());
  tree().removeFolder(folder("A"));
  EXPECT_FALSE(tree().isCacheReady());
}

TEST_F(TWRootTest, RefreshDropsTheCacheEvenWhenItFails) {
  tree().setSubFolders({folder("A")});
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorFolderNotFound"));
  TWError error;
  EXPECT_FALSE(root->refresh(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
  EXPECT_FALSE(tree().isCacheReady());
}

TEST_F(TWRootTest, AWellKnownFolderIsAskedForOnce) {
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("I", "Eingang", "T"))));
  const auto inbox = tree().getDefaultFolder<TWInbox>();
  ASSERT_TRUE(inbox);
  EXPECT_EQ(inbox->className(), "TWInbox");
  EXPECT_EQ(tree().getDefaultFolder(TWInbox::elementClass()), inbox);
  tree().clearCache();
  EXPECT_EQ(tree().getDefaultFolder(TWInbox::elementClass()), inbox);
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_THAT(server.payload(0), HasSubstr("<t:DistinguishedFolderId Id=\"inbox\"/>"));
  EXPECT_EQ(keysOf(tree().defaultFolders()), "TWInbox ");
}

TEST_F(TWRootTest, AWellKnownFolderIsTheOneInTheTreeWhenThatIsKnown) {
  tree().setSubFolders({folder("I", TWInbox::elementClass())});
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("I", "Inbox", "T"))));
  EXPECT_EQ(tree().getDefaultFolder(TWInbox::elementClass()), tree().getFolder("I"));
}

// Their names or container classes make other classes of them in the tree.
TEST_F(TWRootTest, AWellKnownFolderTakesThePlaceOfOneOfAnotherClassInTheTree) {
  hasFolders(folderXML("N", "Notes", "T", "IPF.StickyNote") +
             folderXML("I", "受信トレイ", "T", "IPF.Note"));
  EXPECT_EQ(tree().foldersMap().at("I")->className(), "TWMessages");
  server.on("GetFolder", [](const std::string& payload) {
    const bool isNotes = payload.find("\"notes\"") != std::string::npos;
    return answer("GetFolder",
                  foldersMessage("GetFolder", isNotes ? folderXML("N", "Notes", "T")
                                                      : folderXML("I", "受信トレイ", "T")));
  });
  const auto notes = tree().getDefaultFolder<TWNotes>();
  const auto inbox = tree().getDefaultFolder<TWInbox>();
  ASSERT_TRUE(notes && inbox);
  EXPECT_EQ(tree().getFolder("N"), notes);
  EXPECT_EQ(tree().getFolder("I"), inbox);
  EXPECT_EQ(tree().getDefaultFolder<TWInbox>(), inbox);
}

TEST_F(TWRootTest, AGlobThatBeginsWithASlashStartsFromTheRoot) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I"));
  ASSERT_TRUE(tree().updateCache());
  const auto sub = tree().getFolder("S");
  EXPECT_THAT(sub->glob("/x"), ElementsAre(tree().getFolder("T")));
  EXPECT_THAT(root->glob("/x"), ElementsAre(tree().getFolder("T")));
  // An empty step is "*", which is no expression and matches nothing.
  EXPECT_THAT(sub->glob("/"), IsEmpty());
  EXPECT_THAT(sub->glob(""), IsEmpty());
  const auto homeless = test::localFolder("top", {test::localFolder("a")});
  EXPECT_THAT(homeless->glob("/x"), IsEmpty());
}

TEST_F(TWRootTest, AGlobAsksAServerThatFailsOnce) {
  int page = 0;
  server.on("FindFolder", [&](const std::string&) {
    if (++page % 2 == 0) return test::failedAnswer();
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders",
                              folderXML("A", "a", "T") + folderXML("B", "b", "T"), false, 2));
  });
  EXPECT_THAT(namesOf(root->glob("Top/x")), ElementsAre("a", "b"));
  EXPECT_EQ(page, 2);
}

TEST_F(TWRootTest, AFolderThatMayOnlyBeSearchedIsKnownByItsName) {
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorAccessDenied"));
  server.on("FindItem", answer("FindItem", pageMessage("FindItem", "Items", "")));
  const auto calendar = tree().getDefaultFolder(TWCalendar::elementClass());
  ASSERT_TRUE(calendar);
  EXPECT_EQ(calendar->className(), "TWCalendar");
  EXPECT_TRUE(calendar->isDistinguished());
  EXPECT_EQ(tree().getDefaultFolder(TWCalendar::elementClass()), calendar);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "FindItem"));
  EXPECT_THAT(server.payload(1), HasSubstr("<t:DistinguishedFolderId Id=\"calendar\"/>"));
  EXPECT_THAT(server.payload(1), HasSubstr("MaxEntriesReturned=\"1\""));
}

TEST_F(TWRootTest, AFolderThatTheServerDoesNotNameIsSoughtInTheTree) {
  server.on("GetFolder", [](const std::string& payload) {
    if (payload.find("msgfolderroot") == std::string::npos)
      return errorAnswer("GetFolder", "ErrorFolderNotFound");
    return answer("GetFolder", foldersMessage("GetFolder", folderXML("T", "Top", "R")));
  });
  hasFolders(folderXML("X", "Projects", "T") + folderXML("I", "Posteingang", "T"));
  const auto inbox = tree().getDefaultFolder(TWInbox::elementClass());
  ASSERT_TRUE(inbox);
  EXPECT_EQ((*inbox)["folder_id"], TWValue("I"));
  // What was sought is not kept: the server may name it the next time.
  EXPECT_THAT(tree().defaultFolders(), IsEmpty());
  const auto asked = server.requestCount();
  EXPECT_EQ(tree().getDefaultFolder(TWInbox::elementClass()), inbox);
  EXPECT_EQ(server.requestCount(), asked + 1);
}

TEST_F(TWRootTest, TheFolderThatHasTheWellKnownNameItselfGoesFirst) {
  tree().setSubFolders({root, folder("T", TWMsgFolderRoot::elementClass())});
  const auto add = [&](const std::string& id, const std::string& name) {
    auto each = folder(id, TWInbox::elementClass());
    each->set("name", name);
    each->set("parent_folder_id", TWParentFolderId::withDict({{"id", "T"}}));
    tree().addFolder(each);
  };
  add("1", "Posteingang");
  add("2", "Inbox");
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorFolderNotFound"));
  const auto inbox = tree().getDefaultFolder(TWInbox::elementClass());
  ASSERT_TRUE(inbox);
  EXPECT_EQ((*inbox)["folder_id"], TWValue("2"));
}

TEST_F(TWRootTest, AMailboxThatAlwaysFailsHasNoDefaultFolders) {
  server.on("GetFolder", test::failedAnswer());
  EXPECT_EQ(tree().getDefaultFolder(TWInbox::elementClass()), nullptr);
  EXPECT_EQ(tree().getDefaultFolder(TWMessages::elementClass()), nullptr);
  EXPECT_EQ(TWRoot::withDict()->getDefaultFolder(TWInbox::elementClass()), nullptr);
}

TEST_F(TWRootTest, TheTopOfTheStoreIsTheAccountsFolderOrTheChildOfThatNameOrTheRoot) {
  EXPECT_EQ((*tree().tois())["folder_id"], TWValue("T"));

  const auto second =
      TWFolder::make(TWRoot::elementClass(), {{"folder_id", "R"}, {"name", ""}}, account);
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorFolderNotFound"));
  const auto& root2 = static_cast<TWRoot&>(*second);
  EXPECT_EQ(root2.tois(), second);
  const auto top = test::localFolder("Top of Information Store");
  second->setChildren({top});
  EXPECT_EQ(root2.tois(), top);
}

TEST_F(TWRootTest, PrimaryFoldersAreTheMailFoldersDepthFirst) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("C", "Calendar", "T", "IPF.Appointment") +
             folderXML("M", "Mail below", "C") + folderXML("N", "Unclassed", "T", "") +
             folderXML("X", "Custom", "T", "IPF.Note.Custom"));
  EXPECT_THAT(namesOf(tree().primaryFolders()), ElementsAre("Inbox", "Mail below", "Unclassed"));
}

TEST_F(TWRootTest, RefetchingPrimaryFoldersReadsTheTreeAnewAndReportsFailures) {
  hasFolders(folderXML("I", "Inbox", "T"));
  EXPECT_THAT(namesOf(tree().primaryFolders()), ElementsAre("Inbox"));
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("J", "New", "T"));
  EXPECT_THAT(namesOf(tree().refetchPrimaryFolders()), ElementsAre("Inbox", "New"));
  server.on("FindFolder", errorAnswer("FindFolder", "ErrorFolderNotFound"));
  TWError error;
  EXPECT_THAT(tree().refetchPrimaryFolders(&error), IsEmpty());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
}

TEST_F(TWRootTest, TheSearchStartsFromTheTopOfTheStoreThatIsKnown) {
  hasFolders(folderXML("I", "Inbox", "T"));
  const auto top = tree().getDefaultFolder(TWMsgFolderRoot::elementClass());
  ASSERT_TRUE(tree().updateCache());
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "FindFolder"));
  EXPECT_EQ(tree().getFolder("T"), top);
}

TEST_F(TWRootTest, AMailboxOfManyFoldersCostsOneSearch) {
  std::string folders;
  for (int at = 0; at < 500; ++at)
    folders += folderXML("F" + std::to_string(at), "f", at == 0 ? "T" : "F0");
  hasFolders(folders);
  EXPECT_EQ(root->walk().size(), 501U);
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST_F(TWRootTest, AFolderThatMayNeitherBeReadNorSearchedIsSoughtInTheTree) {
  const auto calendar = folder("C", TWCalendar::elementClass());
  calendar->set("name", "Kalender");
  calendar->set("parent_folder_id", TWParentFolderId::withDict({{"id", "R"}}));
  tree().setSubFolders({root, calendar});
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorAccessDenied"));
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  EXPECT_EQ(tree().getDefaultFolder(TWCalendar::elementClass()), calendar);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "FindItem"));
  EXPECT_THAT(tree().defaultFolders(), IsEmpty());
  EXPECT_EQ(tree().getDefaultFolder(TWTasks::elementClass()), nullptr);
  EXPECT_THAT(tree().defaultFolders(), IsEmpty());
}

TEST_F(TWRootTest, AWellKnownFolderIsKnownAfterARefreshToo) {
  server.on("GetFolder", [](const std::string& payload) {
    const bool isInbox = payload.find("\"inbox\"") != std::string::npos;
    return answer("GetFolder",
                  foldersMessage("GetFolder", isInbox ? folderXML("I", "Inbox", "T")
                                                      : folderXML("R", "renamed", "", "")));
  });
  const auto inbox = tree().getDefaultFolder<TWInbox>();
  ASSERT_TRUE(inbox);
  ASSERT_TRUE(root->refresh());
  EXPECT_EQ((*root)["name"], TWValue("renamed"));
  server.startOver();
  EXPECT_EQ(tree().getDefaultFolder<TWInbox>(), inbox);
  EXPECT_EQ(server.requestCount(), 0U);
}

// The first answer comes only when everybody has begun to ask, so that nobody finds a folder kept.
TEST_F(TWRootTest, AWellKnownFolderIsOneObjectForAllThatAskAtOnce) {
  constexpr int kThreads = 8;
  std::latch begun(kThreads);
  server.on("GetFolder", [&](const std::string&) {
    begun.wait();
    return answer("GetFolder", foldersMessage("GetFolder", folderXML("N", "Notes", "T")));
  });
  std::vector<std::future<std::shared_ptr<TWNotes>>> asked;
  for (int i = 0; i < kThreads; ++i)
    asked.push_back(std::async(std::launch::async, [&] {
      begun.count_down();
      return tree().getDefaultFolder<TWNotes>();
    }));
  const auto notes = asked.front().get();
  ASSERT_TRUE(notes);
  for (std::size_t i = 1; i < asked.size(); ++i) EXPECT_EQ(asked[i].get(), notes);
  EXPECT_EQ(tree().getDefaultFolder<TWNotes>(), notes);
}

TEST_F(TWRootTest, AFoldersParentIsTheOneThatWasSetElseTheOneInTheTree) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I"));
  ASSERT_TRUE(tree().updateCache());
  const auto sub = tree().getFolder("S"), inbox = tree().getFolder("I");
  EXPECT_EQ(sub->parent(), inbox);
  const auto other = folder("O");
  sub->setParent(other);
  EXPECT_EQ(sub->parent(), other);
  sub->setParent(nullptr);
  EXPECT_EQ(sub->parent(), inbox);
  server.on("MoveFolder", test::successAnswer("MoveFolder"));
  ASSERT_TRUE(sub->moveToParent(folder("I")));
  EXPECT_EQ(sub->parent(), inbox) << "the one that it was moved to is gone";
}

TEST_F(TWRootTest, AFolderThatDoesNotSayWhereItLiesStaysWhereItWas) {
  hasFolders(folderXML("I", "Inbox", "T") + folderXML("S", "Sub", "I"));
  ASSERT_TRUE(tree().updateCache());
  const auto made = folder("S");
  tree().updateFolder(made);
  EXPECT_THAT(tree().getFolder("I")->children(), ElementsAre(made));
  EXPECT_EQ(made->parent(), tree().getFolder("I"));
  // Told where, it moves.
  made->set("parent_folder_id", TWParentFolderId::withDict({{"id", "T"}}));
  tree().updateFolder(made);
  EXPECT_THAT(tree().getFolder("I")->children(), IsEmpty());
  EXPECT_EQ(made->parent(), tree().getFolder("T"));
}

}  // namespace
}  // namespace tarnwell
