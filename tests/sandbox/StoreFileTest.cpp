#include <array>
#include <csignal>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/Program.h"
#include "tests/sandbox/StoreFixture.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::HasSubstr;

class StoreFile : public testing::Test {
 protected:
  [[nodiscard]] std::string file() const { return directory_.path() / "store.db"; }
  [[nodiscard]] Program start(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments{"--mailbox", "alice@example.com:secret", "--store", file()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Program(std::move(arguments));
  }
  static Answer ask(const std::string& url, const std::string& operation) {
    HttpClient client;
    return Answer(client.post(url, envelope(operation)));
  }
  static std::string urlOf(const Program& program) { return program.line().substr(10); }

  const tarnwell::test::TemporaryDirectory directory_;
};

const std::string kCreate =
    "<m:CreateItem MessageDisposition='SaveOnly'><m:Items><t:Message><t:Subject>Kept &amp; safe"
    "</t:Subject><t:Body BodyType='Text'> two  blanks&#13;\n</t:Body><t:Attachments>"
    "<t:FileAttachment><t:Name>a</t:Name><t:Content>YWJj</t:Content></t:FileAttachment>"
    "<t:ItemAttachment><t:Name>b</t:Name><t:Task><t:Subject>Inner</t:Subject></t:Task>"
    "</t:ItemAttachment></t:Attachments></t:Message></m:Items></m:CreateItem>";

std::string getting(const IdPair& item) {
  return "<m:GetItem><m:ItemShape><t:BaseShape>AllProperties</t:BaseShape></m:ItemShape>"
         "<m:ItemIds>" +
         itemId(item) + "</m:ItemIds></m:GetItem>";
}

TEST_F(StoreFile, WhatWasAnsweredSurvivesAKill) {
  IdPair item;
  std::array<std::string, 2> attachments;
  {
    Program program = start();
    const std::string url = urlOf(program);
    const Answer created = ask(url, kCreate);
    item = idAt(created, "//ItemId");
    attachments[0] = created.attribute("//FileAttachment/AttachmentId", "Id");
    attachments[1] = created.attribute("//ItemAttachment/AttachmentId", "Id");
    program.signal(SIGKILL);
    EXPECT_EQ(program.exitCode(), -1);
  }
  Program program = start();
  const std::string url = urlOf(program);
  const Answer answer = ask(url, getting(item));
  EXPECT_EQ(answer.text("//Subject"), "Kept & safe");
  EXPECT_EQ(answer.text("//Message/Body"), " two  blanks\r\n");
  EXPECT_EQ(answer.attribute("//ItemId", "ChangeKey"), item.changeKey);
  const Answer contents = ask(url, "<m:GetAttachment><m:AttachmentIds><t:AttachmentId Id='" +
                                       attachments[0] + "'/><t:AttachmentId Id='" + attachments[1] +
                                       "'/></m:AttachmentIds></m:GetAttachment>");
  EXPECT_EQ(contents.text("//FileAttachment/Content"), "YWJj");
  EXPECT_EQ(contents.text("//ItemAttachment/Task/Subject"), "Inner");
}

TEST_F(StoreFile, ChangesAndDeletionsSurviveToo) {
  IdPair item;
  IdPair gone;
  {
    Program program = start();
    const std::string url = urlOf(program);
    item = idAt(ask(url, kCreate), "//ItemId");
    gone = idAt(ask(url, kCreate), "//ItemId");
    EXPECT_EQ(ask(url, "<m:DeleteItem DeleteType='HardDelete'><m:ItemIds>" + itemId(gone) +
                           "</m:ItemIds></m:DeleteItem>")
                  .text("//ResponseCode"),
              "NoError");
    item = idAt(
        ask(url, "<m:MoveItem><m:ToFolderId>" + distinguished("inbox") +
                     "</m:ToFolderId><m:ItemIds>" + itemId(item) + "</m:ItemIds></m:MoveItem>"),
        "//ItemId");
    static_cast<void>(
        ask(url, "<m:CreateFolder><m:ParentFolderId>" + distinguished("inbox") +
                     "</m:ParentFolderId><m:Folders><t:Folder><t:DisplayName>Below</t:DisplayName>"
                     "</t:Folder></m:Folders></m:CreateFolder>"));
    program.signal(SIGKILL);
  }
  Program program = start();
  const std::string url = urlOf(program);
  EXPECT_EQ(ask(url, getting(gone)).text("//ResponseCode"), "ErrorItemNotFound");
  const Answer kept = ask(url, getting(item));
  EXPECT_EQ(kept.text("//Subject"), "Kept & safe");
  EXPECT_EQ(kept.count("//FileAttachment"), 1U);
  const Answer inbox = ask(url,
                           "<m:GetFolder><m:FolderShape><t:BaseShape>Default</t:BaseShape>"
                           "</m:FolderShape><m:FolderIds>" +
                               distinguished("inbox") + "</m:FolderIds></m:GetFolder>");
  EXPECT_EQ(inbox.text("//TotalCount"), "1");
  EXPECT_EQ(inbox.text("//ChildFolderCount"), "1");
}

TEST_F(StoreFile, IdsAreNeverUsedAgain) {
  IdPair first;
  {
    Program program = start();
    const std::string url = urlOf(program);
    first = idAt(ask(url, kCreate), "//ItemId");
    static_cast<void>(ask(url, "<m:DeleteItem DeleteType='HardDelete'><m:ItemIds>" + itemId(first) +
                                   "</m:ItemIds></m:DeleteItem>"));
  }
  Program program = start();
  EXPECT_NE(idAt(ask(urlOf(program), kCreate), "//ItemId").id, first.id);
}

TEST_F(StoreFile, AMailboxIsSeededOnce) {
  const std::string counting =
      "<m:GetFolder><m:FolderShape><t:BaseShape>Default</t:BaseShape></m:FolderShape>"
      "<m:FolderIds>" +
      distinguished("contacts") + "</m:FolderIds></m:GetFolder>";
  for (int run = 0; run < 2; ++run) {
    Program program = start({"--seed-mailbox", "20"});
    EXPECT_EQ(ask(urlOf(program), counting).text("//TotalCount"), "3");
  }
}

TEST_F(StoreFile, TwoProgramsCannotShareIt) {
  Program first = start();
  static_cast<void>(urlOf(first));
  Program second = start();
  EXPECT_THAT(second.rest(), HasSubstr("cannot use the store"));
  EXPECT_EQ(second.exitCode(), 1);
}

TEST_F(StoreFile, OtherFilesAreLeftAlone) {
  const std::string text = "This is no database, and it is long enough to be looked at.\n";
  std::ofstream(file()) << text;
  Program program = start();
  EXPECT_THAT(program.rest(), HasSubstr("cannot use the store"));
  EXPECT_EQ(program.exitCode(), 1);
  std::ifstream stream(file());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), text);
}

}  // namespace
}  // namespace tarnwell::sandbox::test
