#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWCreateFolder.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using test::Host;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

/// alice's folders on a sandbox.
class FoldersEndToEnd : public testing::Test {
 protected:
  std::shared_ptr<TWAccount> accountAt(const TWVersion& version) {
    TWAccountOptions options;
    options.primarySmtpAddress = host.address("alice");
    options.credentials = host.credentials();
    options.config = TWConfiguration{host.protocol(version)};
    return TWAccount::withOptions(options);
  }
  static std::vector<std::string> namesOf(const TWFolders& folders) {
    std::vector<std::string> names;
    for (const auto& folder : folders) names.push_back((*folder)["name"].description());
    return names;
  }
  std::shared_ptr<TWFolder> create(const std::string& name,
                                   const std::shared_ptr<TWFolder>& parent) {
    auto folder = TWFolder::make(TWFolder::elementClass(),
                                 {{"name", name}, {"folder_class", "IPF.Note"}}, account);
    folder->setParent(parent);
    TWError error;
    EXPECT_TRUE(folder->save({}, &error)) << error;
    return folder;
  }
  void createMessage(const std::string& subject, const std::shared_ptr<TWFolder>& folder) {
    TWError error;
    EXPECT_TRUE(TWMessage::withDict({{"folder", folder}, {"subject", subject}})->save(&error))
        << error;
  }
  /// The code that a change fails with.
  static TWError errorOf(const std::function<bool(TWError* error)>& change) {
    TWError error;
    EXPECT_FALSE(change(&error));
    return error;
  }
  /// The names below a folder as the server has them now.
  std::vector<std::string> serverNamesBelow(const std::shared_ptr<TWFolder>& folder) {
    TWError error;
    auto names = namesOf(folder->findFolders("IdOnly", "Deep", &error));
    EXPECT_FALSE(error) << error;
    return names;
  }

  Host host{"folders.example"};
  std::shared_ptr<TWAccount> account = accountAt(TWVersion(TWBuild(15, 1)));
  std::shared_ptr<TWRoot> root = account->root();
  std::shared_ptr<TWFolder> inbox = root->getDefaultFolder<TWInbox>();
};

TEST_F(FoldersEndToEnd, TheTreeHoldsTheWellKnownFolders) {
  ASSERT_TRUE(root);
  const auto names = namesOf(root->walk());
  for (const char* name : {"Inbox", "Calendar", "Contacts", "Tasks", "Sent Items"})
    EXPECT_THAT(names, Contains(name)) << root->tree();
  ASSERT_TRUE(inbox);
  EXPECT_EQ(inbox->className(), "TWInbox");
  EXPECT_EQ(root->getFolder(inbox->TWEWSElement::get("folder_id").description())->className(),
            "TWInbox");
}

TEST_F(FoldersEndToEnd, AFolderIsCreatedRenamedMovedAndDeleted) {
  ASSERT_TRUE(inbox);
  const auto parent = create("Projects", inbox);
  const auto folder = create("Draft name", inbox);
  EXPECT_THAT(serverNamesBelow(inbox), testing::UnorderedElementsAre("Projects", "Draft name"));

  TWError error;
  folder->set("name", "Tarnwell");
  ASSERT_TRUE(folder->save({"name"}, &error)) << error;
  ASSERT_TRUE(folder->moveToParent(parent, &error)) << error;
  EXPECT_THAT(serverNamesBelow(parent), testing::ElementsAre("Tarnwell"));
  EXPECT_EQ(folder->navigate(".."), parent);

  ASSERT_TRUE(folder->refresh(&error)) << error;
  EXPECT_EQ((*folder)["name"], TWValue("Tarnwell"));

  ASSERT_TRUE(folder->deleteWithError(&error)) << error;
  EXPECT_THAT(serverNamesBelow(inbox), testing::ElementsAre("Projects"));
}

TEST_F(FoldersEndToEnd, RegisteredPropertiesAreSavedChangedAndCleared) {
  struct Registered {
    ~Registered() { TWFolder::unregisterAttr("flag"); }
  } registered;
  ASSERT_TRUE(TWFolder::registerAttr("flag", TWFlag::elementClass()));
  ASSERT_TRUE(inbox);
  const auto folder = create("Marked", inbox);
  TWError error;
  const auto onServer = [&] {
    const auto read = TWFolder::getFolders(
        account, {folder}, {TWFieldPath::withField(TWFolder::getFieldByFieldName("flag"))}, &error);
    EXPECT_TRUE(read && read->front()) << error;
    const auto property =
        read->front().value()->TWEWSElement::get<std::shared_ptr<TWExtendedProperty>>("flag");
    return property ? property->get("value") : TWValue();
  };
  EXPECT_EQ(onServer(), TWValue());
  folder->set("flag", 1);
  ASSERT_TRUE(folder->save({"flag"}, &error)) << error;
  EXPECT_EQ(onServer(), TWValue(1));
  folder->set("flag", TWFlag::withDict({{"value", 2}}));
  ASSERT_TRUE(folder->save({"flag"}, &error)) << error;
  EXPECT_EQ(onServer(), TWValue(2));
  folder->remove("flag");
  ASSERT_TRUE(folder->save({"flag"}, &error)) << error;
  EXPECT_EQ(onServer(), TWValue());
}

TEST_F(FoldersEndToEnd, ANewFolderAppearsInTheTreeThatIsKnownAlready) {
  ASSERT_TRUE(inbox);
  EXPECT_THAT(namesOf(root->walk()), Not(Contains("Projects")));
  const auto folder = create("Projects", inbox);
  EXPECT_THAT(namesOf(root->walk()), Contains("Projects"));
  EXPECT_THAT(folder->path(), testing::EndsWith("/Inbox/Projects"));
}

TEST_F(FoldersEndToEnd, WipingAFolderRemovesWhatIsBelowIt) {
  ASSERT_TRUE(inbox);
  const auto parent = create("Projects", inbox);
  create("a", create("b", parent));
  createMessage("Report", parent);
  TWError error;
  ASSERT_TRUE(parent->wipe(&error)) << error;
  EXPECT_THAT(serverNamesBelow(parent), IsEmpty());
  EXPECT_THAT(parent->findItems(Q()), IsEmpty());
  EXPECT_THAT(namesOf(root->walk()), Not(Contains("b")));
}

TEST_F(FoldersEndToEnd, WipingGoesOnPastWhatTheServerKeeps) {
  // Some of the folders below it are the mailbox's own, which nobody can delete.
  const auto contacts = root->getDefaultFolder<TWContacts>();
  ASSERT_TRUE(contacts);
  create("Friends", contacts);
  const auto names = serverNamesBelow(contacts);
  EXPECT_THAT(names, testing::AllOf(Contains("Friends"), Contains("Recipient Cache")));
  const auto failure = errorOf([&](TWError* error) { return contacts->wipe(error); });
  EXPECT_TRUE(failure.is(TWErrorCode::ErrorDeleteDistinguishedFolder)) << failure;
  EXPECT_THAT(serverNamesBelow(contacts),
              testing::AllOf(Not(Contains("Friends")), Contains("Recipient Cache")));
}

TEST_F(FoldersEndToEnd, EmptyingAFolderKeepsItsSubfoldersUnlessToldOtherwise) {
  ASSERT_TRUE(inbox);
  const auto parent = create("Projects", inbox);
  const auto child = create("Old", parent);
  createMessage("Report", parent);
  createMessage("Note", child);
  TWError error;
  ASSERT_TRUE(parent->empty("HardDelete", false, &error)) << error;
  EXPECT_THAT(parent->findItems(Q()), IsEmpty());
  EXPECT_EQ(child->findItems(Q()).size(), 1U);

  ASSERT_TRUE(parent->empty("MoveToDeletedItems", true, &error)) << error;
  EXPECT_THAT(serverNamesBelow(parent), IsEmpty());
  EXPECT_THAT(namesOf(root->walk()), Contains("Old"));
  EXPECT_EQ(root->getFolder((*child)["folder_id"].description())->navigate(".."),
            root->getDefaultFolder<TWDeletedItems>());

  // Calendars are emptied by nobody.
  const auto calendar = root->getDefaultFolder<TWCalendar>();
  ASSERT_TRUE(calendar);
  EXPECT_TRUE(errorOf([&](TWError* each) {
                return calendar->empty("HardDelete", true, each);
              }).is(TWErrorCode::ErrorCannotEmptyFolder));
}

TEST_F(FoldersEndToEnd, NamesOfAllKindsComeBackAsTheyAre) {
  ASSERT_TRUE(inbox);
  static_cast<void>(root->walk());
  for (const std::string name :
       {"2026/05", "/", "She said \"no\" & 'yes'", "<b>&amp;</b>]]>",
        "📁 Fotos 👩‍👩‍👧 受信 é", "..", "**", "a\\Nb", "%@ %s", "x  y"}) {
    const auto folder = create(name, inbox);
    ASSERT_FALSE((*folder)["folder_id"].isAbsent()) << name;
    EXPECT_THAT(serverNamesBelow(inbox), testing::ElementsAre(name));
    EXPECT_EQ(inbox->getFolderByName(name), folder) << name;
    EXPECT_THAT(folder->path(), testing::EndsWith("/Inbox/" + name));
    folder->set("name", "old");
    TWError error;
    ASSERT_TRUE(folder->refresh(&error)) << error;
    EXPECT_EQ((*folder)["name"], TWValue(name));
    folder->set("name", name + name);
    ASSERT_TRUE(folder->save({"name"}, &error)) << error;
    EXPECT_THAT(serverNamesBelow(inbox), testing::ElementsAre(name + name));
    ASSERT_TRUE(folder->deleteWithError(&error)) << error;
    EXPECT_EQ(inbox->getFolderByName(name + name), nullptr);
  }
}

TEST_F(FoldersEndToEnd, ControlCharactersInANameAreRefusedBeforeAnythingIsSent) {
  ASSERT_TRUE(inbox);
  const auto kept = create("Projects", inbox);
  const auto made = TWFolder::make(TWFolder::elementClass(), {{"name", "Pro\x07jects"}}, account);
  made->setParent(inbox);
  host.server.clearRequests();
  const TWError refusal(TWErrorCode::ErrorValueOutOfRange,
                        "t:DisplayName holds U+0007, a character that XML forbids");
  EXPECT_EQ(errorOf([&](TWError* error) { return made->save({}, error); }), refusal);
  EXPECT_TRUE((*made)["folder_id"].isAbsent());
  kept->set("name", "\x07");
  EXPECT_EQ(errorOf([&](TWError* error) { return kept->save({"name"}, error); }), refusal);
  EXPECT_THAT(host.server.requests(), IsEmpty());
  EXPECT_THAT(serverNamesBelow(inbox), testing::ElementsAre("Projects"));
}

TEST_F(FoldersEndToEnd, AFolderThatVanishesBetweenTwoCallsIsReportedByEach) {
  ASSERT_TRUE(inbox);
  const auto parent = create("Projects", inbox);
  const auto folder = create("Draft", parent);
  const auto other = create("Other", inbox);
  static_cast<void>(root->walk());
  const auto elsewhere = accountAt(TWVersion(TWBuild(15, 1)));
  TWError error;
  ASSERT_TRUE(
      TWFolder::make(TWFolder::elementClass(), {{"folder_id", (*folder)["folder_id"]}}, elsewhere)
          ->deleteWithError(&error))
      << error;

  const auto before = folder->description();
  const std::vector<std::function<bool(TWError*)>> changes = {
      [&](TWError* each) { return folder->refresh(each); },
      [&](TWError* each) { return folder->save({"name"}, each); },
      [&](TWError* each) { return folder->moveToParent(inbox, each); },
      [&](TWError* each) { return folder->empty("HardDelete", true, each); },
      [&](TWError* each) { return folder->wipe(each); },
      [&](TWError* each) { return folder->testAccess(each); },
      [&](TWError* each) { return folder->deleteWithError(each); },
  };
  for (const auto& change : changes) {
    const auto failure = errorOf(change);
    EXPECT_TRUE(failure.is(TWErrorCode::ErrorFolderNotFound)) << failure;
  }
  EXPECT_THAT(folder->findFolders("IdOnly", "Deep", &error), IsEmpty());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
  EXPECT_TRUE(errorOf([&](TWError* each) {
                return other->moveToParent(folder, each);
              }).is(TWErrorCode::ErrorToFolderNotFound));
  const auto made = TWFolder::make(TWFolder::elementClass(), {{"name", "Below"}}, account);
  made->setParent(folder);
  EXPECT_TRUE(errorOf([&](TWError* each) {
                return made->save({}, each);
              }).is(TWErrorCode::ErrorParentFolderNotFound));

  // Nothing has changed here, up to the moment when the tree is read anew.
  EXPECT_EQ(folder->description(), before);
  EXPECT_EQ(folder->parent(), parent);
  EXPECT_EQ(other->parent(), inbox);
  EXPECT_THAT(namesOf(root->walk()), Contains("Draft"));
  ASSERT_TRUE(root->refresh(&error)) << error;
  EXPECT_THAT(namesOf(root->walk()), testing::AllOf(Contains("Projects"), Not(Contains("Draft"))));
}

TEST_F(FoldersEndToEnd, WellKnownFoldersAreOfTheirClassesWhetherTheTreeWasReadOrNot) {
  const std::vector<const TWFolderClass*> classes = {
      &TWCalendar::elementClass(),      &TWContacts::elementClass(),
      &TWTasks::elementClass(),         &TWSentItems::elementClass(),
      &TWJunkEmail::elementClass(),     &TWNotes::elementClass(),
      &TWJournal::elementClass(),       &TWMsgFolderRoot::elementClass(),
      &TWSyncIssues::elementClass(),    &TWConflicts::elementClass(),
      &TWVoiceMail::elementClass(),     &TWSearchFolders::elementClass(),
      &TWQuickContacts::elementClass(), &TWRecoverableItemsDeletions::elementClass(),
      &TWArchiveInbox::elementClass(),  &TWPublicFoldersRoot::elementClass()};
  for (const bool wasRead : {false, true}) {
    const auto holder = accountAt(TWVersion(TWBuild(15, 1)));
    const auto fresh = holder->root();
    ASSERT_TRUE(fresh);
    EXPECT_FALSE(wasRead && fresh->walk().empty());
    for (const auto* cls : classes) {
      const auto folder = fresh->getDefaultFolder(*cls);
      ASSERT_TRUE(folder) << cls->name();
      EXPECT_EQ(folder->className(), cls->name());
      EXPECT_EQ(fresh->getDefaultFolder(*cls), folder);
      const auto cached = fresh->getFolder((*folder)["folder_id"].description());
      EXPECT_TRUE(!cached || cached == folder) << cls->name();
      TWError error;
      EXPECT_TRUE(folder->testAccess(&error)) << cls->name() << error;
      EXPECT_TRUE(folder->refresh(&error)) << cls->name() << error;
    }
    // Its name, which is written so on purpose, is none that servers know.
    EXPECT_EQ(fresh->getDefaultFolder<TWReceipientCache>(), nullptr);
  }
}

TEST_F(FoldersEndToEnd, FoldersAreMadeBelowAndMovedIntoOnesKnownByTheirNamesAlone) {
  ASSERT_TRUE(inbox);
  static_cast<void>(root->walk());
  const auto trash = TWFolder::make(TWDeletedItems::elementClass(), {}, account);
  const auto made = create("Projects", trash);
  EXPECT_THAT(namesOf(root->walk()), Contains("Projects"));
  const auto moved = create("Old", inbox);
  TWError error;
  ASSERT_TRUE(moved->moveToParent(trash, &error)) << error;
  EXPECT_THAT(serverNamesBelow(trash), testing::UnorderedElementsAre("Projects", "Old"));
  const auto map = root->foldersMap(&error);
  for (const auto& each : {made, moved})
    EXPECT_THAT(map.at((*each)["folder_id"].description())->path(),
                testing::HasSubstr("/Deleted Items/"));
  // A new calendar is not taken for the mailbox's own one.
  const auto team = TWFolder::make(TWCalendar::elementClass(), {{"name", "Team"}}, account);
  host.server.clearRequests();
  EXPECT_THAT(team->findItems(Q(), TWFindItemsOptions(), &error), IsEmpty());
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"));
  EXPECT_THAT(host.server.requests(), IsEmpty());
}

TEST_F(FoldersEndToEnd, ManyFoldersAreFoundPageByPage) {
  ASSERT_TRUE(inbox);
  constexpr std::size_t kCount = 1001;
  TWFolders many;
  for (std::size_t at = 0; at < kCount; ++at)
    many.push_back(TWFolder::withDict({{"name", "Folder " + std::to_string(at)}}));
  TWError error;
  const auto created = TWCreateFolder::withAccount(account)->call(inbox, many, &error);
  ASSERT_TRUE(created) << error;
  EXPECT_EQ(created->size(), kCount);
  create("Below", created->front().value());
  host.server.clearRequests();
  EXPECT_EQ(inbox->findFolders("IdOnly", "Shallow", &error).size(), kCount) << error;
  EXPECT_EQ(host.server.requests().size(), 2U);
  EXPECT_EQ(inbox->findFolders("IdOnly", "Deep", &error).size(), kCount + 1) << error;
}

TEST_F(FoldersEndToEnd, AnArchivedTreeIsAsGoodAsTheServersUnlessItWasCutAlteredOrIsNewer) {
  ASSERT_TRUE(inbox);
  create("2026/05", create("📁 \"Projects\"", inbox));
  const auto archive = account->exportRootData();
  ASSERT_TRUE(archive);
  const std::string text(archive->begin(), archive->end());
  const auto other = accountAt(TWVersion(TWBuild(15, 1)));
  host.server.clearRequests();
  const auto imports = [&](const std::string& data) {
    return other->importRootData(TWData(data.begin(), data.end()));
  };
  const auto altered = [&](const std::string& from, const std::string& to) {
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : std::string(text).replace(at, from.size(), to);
  };
  EXPECT_FALSE(imports(text.substr(0, text.size() / 2)));
  EXPECT_FALSE(imports(text.substr(0, text.size() - 1)));
  EXPECT_FALSE(imports(altered("\"format\":1", "\"format\":2")));
  EXPECT_FALSE(imports(altered("\\\"format\\\":1", "\\\"format\\\":2")));
  EXPECT_FALSE(imports(altered("num||", "num||many")));
  EXPECT_FALSE(imports(altered("xml||TW", "xml||NS")));
  EXPECT_EQ(other->knownRoot(), nullptr);
  ASSERT_TRUE(imports(text));
  EXPECT_EQ(namesOf(other->root()->walk()), namesOf(root->walk()));
  EXPECT_THAT(host.server.requests(), IsEmpty());

  const auto again = other->root()->getFolder((*inbox)["folder_id"].description());
  ASSERT_TRUE(again && again->getFolderByName("📁 \"Projects\""));
  const auto folder = again->getFolderByName("📁 \"Projects\"")->getFolderByName("2026/05");
  ASSERT_TRUE(folder);
  TWError error;
  folder->set("name", "2026/06");
  ASSERT_TRUE(folder->save({"name"}, &error)) << error;
  EXPECT_THAT(serverNamesBelow(inbox), Contains("2026/06"));
}

TEST_F(FoldersEndToEnd, AFolderThatIsGoneIsReported) {
  const auto gone =
      TWFolder::make(TWFolder::elementClass(), {{"folder_id", "no such id"}}, account);
  TWError error;
  EXPECT_FALSE(gone->refresh(&error));
  EXPECT_TRUE(error) << error;
}

TEST_F(FoldersEndToEnd, AnEmptyFolderIsSearchedWithoutAnError) {
  ASSERT_TRUE(inbox);
  TWError error;
  const auto drafts = root->getDefaultFolder<TWDrafts>();
  ASSERT_TRUE(drafts);
  EXPECT_THAT(drafts->findItems(Q(), TWFindItemsOptions(), &error), IsEmpty());
  EXPECT_FALSE(error) << error;
  EXPECT_TRUE(drafts->testAccess(&error)) << error;
}

}  // namespace
}  // namespace tarnwell
