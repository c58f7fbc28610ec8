#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::Each;
using testing::Not;

SandboxOptions seeded() {
  SandboxOptions options = standardOptions();
  options.seedCount = 200;
  return options;
}

class SeededMailbox : public StoreTest {
 protected:
  SeededMailbox() : StoreTest(seeded()) {}

  int total(const std::string& folder) {
    return std::stoi(getFolder(distinguished(folder)).text("//TotalCount"));
  }
};

TEST_F(SeededMailbox, ItHasThatManyItemsOfAllKinds) {
  const Answer folders =
      ask("<m:FindFolder Traversal='Deep'><m:FolderShape><t:BaseShape>Default</t:BaseShape>"
          "</m:FolderShape><m:ParentFolderIds>" +
          distinguished("msgfolderroot") + "</m:ParentFolderIds></m:FindFolder>");
  int all = 0;
  for (const std::string& count : folders.texts("//TotalCount")) all += std::stoi(count);
  EXPECT_EQ(all, 200);
  EXPECT_EQ(total("contacts"), 30);
  EXPECT_EQ(total("calendar"), 30);
  EXPECT_EQ(total("tasks"), 20);
  EXPECT_GT(total("inbox"), 0);
  EXPECT_GT(total("sentitems"), 0);
}

TEST_F(SeededMailbox, OnlyTheFirstMailboxIsFilled) {
  EXPECT_EQ(getFolder(distinguished("inbox", "bob@example.com")).text("//TotalCount"), "0");
}

TEST_F(SeededMailbox, TheItemsAreTheSameEveryTime) {
  const auto items = [](SandboxServer& at) {
    HttpClient reader;
    return reader
        .post(at.url(),
              envelope("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>AllProperties"
                       "</t:BaseShape></m:ItemShape><m:ParentFolderIds>" +
                       distinguished("inbox") + distinguished("calendar") +
                       "</m:ParentFolderIds></m:FindItem>"))
        .body;
  };
  SandboxServer other(seeded());
  ASSERT_TRUE(other.start());
  EXPECT_EQ(items(server), items(other));
}

TEST_F(SeededMailbox, TheItemsAreTheSameWhateverBuiltTheProgram) {
  const Answer tasks =
      ask("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>AllProperties</t:BaseShape>"
          "</m:ItemShape><m:ParentFolderIds>" +
          distinguished("tasks") + "</m:ParentFolderIds></m:FindItem>");
  EXPECT_EQ(tasks.text("//Task/Subject"), "Order toner");
  EXPECT_EQ(tasks.text("//Task/DueDate"), "2026-10-10T00:00:00Z");
}

TEST_F(SeededMailbox, TheItemsAreWhole) {
  const Answer messages =
      ask("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>AllProperties</t:BaseShape>"
          "</m:ItemShape><m:ParentFolderIds>" +
          distinguished("inbox") + "</m:ParentFolderIds></m:FindItem>");
  EXPECT_THAT(messages.texts("//Message/Subject"), Each(Not("")));
  EXPECT_EQ(messages.count("//Message/From/Mailbox/EmailAddress"), messages.count("//Message"));
  EXPECT_THAT(messages.texts("//Message/IsDraft"), Each("false"));
  EXPECT_THAT(messages.texts("//Message/DateTimeReceived"), Each(testing::StartsWith("2026-")));
}

TEST_F(SeededMailbox, InvitationsAndDistributionListsAreAmongThem) {
  const auto find = [this](const std::string& folder) {
    return ask(
        "<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>AllProperties"
        "</t:BaseShape></m:ItemShape><m:ParentFolderIds>" +
        distinguished(folder) + "</m:ParentFolderIds></m:FindItem>");
  };
  const Answer inbox = find("inbox");
  EXPECT_GT(inbox.count("//MeetingRequest"), 0U);
  EXPECT_EQ(inbox.count("//MeetingRequest/Start"), inbox.count("//MeetingRequest"));
  EXPECT_GT(find("contacts").count("//DistributionList"), 0U);
}

TEST(SeedCount, ANegativeOneIsRefused) {
  SandboxOptions options = standardOptions();
  options.seedCount = -1;
  SandboxServer server(options);
  std::string error;
  EXPECT_FALSE(server.start(&error));
  EXPECT_EQ(error, "the number of items to begin with is negative");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
