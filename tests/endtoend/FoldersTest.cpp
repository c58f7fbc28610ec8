#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"

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
  TWError error;
  ASSERT_TRUE(parent->wipe(&error)) << error;
  EXPECT_THAT(serverNamesBelow(parent), IsEmpty());
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
