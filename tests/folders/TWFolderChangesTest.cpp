#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::foldersMessage;
using test::folderXML;
using test::namesOf;
using test::pageMessage;
using test::responseMessage;
using test::successAnswer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TWFolderChanges : public test::MailboxTest {
 protected:
  std::string parentIdOf(const TWFolder& folder) {
    const auto id = folder["parent_folder_id"].asObject<TWParentFolderId>();
    return id ? (*id)["id"].description() : "none";
  }
};

TEST_F(TWFolderChanges, ANewFolderIsCreatedBelowItsParent) {
  tree().setSubFolders({root, folder("T")});
  server.on("CreateFolder",
            answer("CreateFolder", foldersMessage("CreateFolder", folderXML("N", "New"))));
  const auto made = TWFolder::make(TWFolder::elementClass(),
                                   {{"name", "New"}, {"folder_class", "IPF.Note"}}, account);
  made->setParent(tree().getFolder("T"));
  TWError error;
  ASSERT_TRUE(made->save({}, &error)) << error;
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:CreateFolder><m:ParentFolderId><t:FolderId Id=\"T\" "
                        "ChangeKey=\"ck-T\"/></m:ParentFolderId><m:Folders><t:Folder>"
                        "<t:FolderClass>IPF.Note</t:FolderClass><t:DisplayName>New"
                        "</t:DisplayName></t:Folder></m:Folders></m:CreateFolder>"));
  EXPECT_EQ((*made)["folder_id"], TWValue("N"));
  EXPECT_EQ((*made)["changekey"], TWValue("ck-N"));
  EXPECT_EQ(parentIdOf(*made), "T");
  EXPECT_EQ(tree().getFolder("N"), made);
  EXPECT_THAT(tree().getChildren(*tree().getFolder("T")), ElementsAre(made));
}

TEST_F(TWFolderChanges, CreatingNeedsAnAccountAndAParent) {
  const auto refusal = [](const std::shared_ptr<TWFolder>& made,
                          const std::vector<std::string>& names = {}) {
    TWError error;
    EXPECT_FALSE(made->save(names, &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
    return error.message();
  };
  tree().setSubFolders({root});
  EXPECT_EQ(refusal(TWFolder::withDict({{"name", "x"}})), "Folder must have an account");
  const auto made = TWFolder::make(TWFolder::elementClass(), {{"name", "x"}}, account);
  EXPECT_EQ(refusal(made), "Folder must have a parent");
  EXPECT_EQ(refusal(made, {"name"}), "Update fields is only valid for updates");
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderChanges, SavingNamedPropertiesUpdatesThem) {
  const auto old = folder("F");
  tree().setSubFolders({folder("F")});
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder",
                                                  "<t:Folder><t:FolderId Id=\"F\" "
                                                  "ChangeKey=\"new\"/></t:Folder>")));
  old->set("name", "Renamed");
  ASSERT_TRUE(old->save({"name"}));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:UpdateFolder><m:FolderChanges><t:FolderChange><t:FolderId Id=\"F\" "
                        "ChangeKey=\"ck-F\"/><t:Updates><t:SetFolderField><t:FieldURI "
                        "FieldURI=\"folder:DisplayName\"/><t:Folder><t:DisplayName>Renamed"
                        "</t:DisplayName></t:Folder></t:SetFolderField></t:Updates>"
                        "</t:FolderChange></m:FolderChanges></m:UpdateFolder>"));
  EXPECT_EQ((*old)["changekey"], TWValue("new"));
  EXPECT_EQ(tree().getFolder("F"), old);
}

TEST_F(TWFolderChanges, AFolderMadeOfItsIdKeepsItsPlaceWhenItIsRenamed) {
  hasFolders(folderXML("A", "a", "T") + folderXML("F", "f", "A"));
  ASSERT_TRUE(tree().updateCache());
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder", folderXML("F", "F"))));
  const auto renamed = folder("F");
  ASSERT_TRUE(renamed->save({"name"}));
  EXPECT_THAT(tree().getFolder("A")->children(), ElementsAre(renamed));
  EXPECT_EQ(renamed->parent(), tree().getFolder("A"));
}

TEST_F(TWFolderChanges, SavingWithoutNamesWritesAllThatMayBeWritten) {
  const auto old = folder("F");
  old->set("total_count", 5);
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder", folderXML("F", "F"))));
  ASSERT_TRUE(old->save());
  const auto payload = server.payload(0);
  EXPECT_THAT(payload, HasSubstr("<t:DeleteFolderField><t:FieldURI "
                                 "FieldURI=\"folder:FolderClass\"/></t:DeleteFolderField>"));
  EXPECT_THAT(payload, HasSubstr("<t:DisplayName>F</t:DisplayName>"));
  EXPECT_EQ(payload.find("TotalCount"), std::string::npos);
  EXPECT_EQ(payload.find("ParentFolderId"), std::string::npos);
}

TEST_F(TWFolderChanges, SavingWithoutNamesClearsNothingThatMustHaveAValue) {
  const auto required = TWCharField::withProps(
      {.name = "must", .fieldURI = "folder:Must", .isRequiredAfterSave = true});
  TWFolder::addField(required, TWFolder::fieldNames().size());
  struct Added {
    const TWField& field;
    ~Added() { TWFolder::removeField(field); }
  } const added{*required};
  server.on("UpdateFolder",
            answer("UpdateFolder", foldersMessage("UpdateFolder", folderXML("F", "F"))));
  const auto old = folder("F");
  TWError error;
  ASSERT_TRUE(old->save({}, &error)) << error;
  EXPECT_EQ(server.payload(0).find("folder:Must"), std::string::npos);
  old->set("must", "here");
  ASSERT_TRUE(old->save({}, &error)) << error;
  EXPECT_THAT(server.payload(1), HasSubstr("FieldURI=\"folder:Must\""));
}

TEST_F(TWFolderChanges, AReadOnlyPropertyIsNotSaved) {
  TWError error;
  EXPECT_FALSE(folder("F")->save({"unread_count"}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "unread_count is a read-only field"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderChanges, AMovedFolderLiesBelowItsNewParent) {
  auto to = folder("B");
  const auto moved = folder("F");
  moved->set("parent_folder_id", TWParentFolderId::withDict({{"id", "A"}}));
  tree().setSubFolders({root, folder("A"), to, moved});
  EXPECT_THAT(tree().getChildren(*tree().getFolder("A")), ElementsAre(moved));
  server.on("MoveFolder", successAnswer("MoveFolder"));
  ASSERT_TRUE(moved->moveToParent(to));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:MoveFolder><m:ToFolderId><t:FolderId Id=\"B\" ChangeKey=\"ck-B\"/>"
                        "</m:ToFolderId><m:FolderIds><t:FolderId Id=\"F\" ChangeKey=\"ck-F\"/>"
                        "</m:FolderIds></m:MoveFolder>"));
  EXPECT_EQ(moved->parent(), to);
  EXPECT_EQ(parentIdOf(*moved), "B");
  EXPECT_THAT(tree().getChildren(*to), ElementsAre(moved));
  EXPECT_THAT(tree().getChildren(*tree().getFolder("A")), IsEmpty());
}

TEST_F(TWFolderChanges, MovingNeedsANewParent) {
  TWError error;
  EXPECT_FALSE(folder("F")->moveToParent(nullptr, &error));
  EXPECT_EQ(error.message(), "Folder must have a parent");
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderChanges, ADeletedFolderLeavesTheTreeAndItsIdIsEmpty) {
  const auto doomed = folder("F");
  tree().setSubFolders({root, doomed});
  server.on("DeleteFolder", successAnswer("DeleteFolder"));
  ASSERT_TRUE(doomed->deleteWithError());
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:DeleteFolder DeleteType=\"HardDelete\"><m:FolderIds><t:FolderId "
                        "Id=\"F\" ChangeKey=\"ck-F\"/></m:FolderIds></m:DeleteFolder>"));
  EXPECT_EQ((*doomed)["folder_id"], TWValue(""));
  EXPECT_EQ((*doomed)["changekey"], TWValue(""));
  EXPECT_EQ(tree().getFolder("F"), nullptr);
  TWError error;
  EXPECT_FALSE(doomed->deleteWithError(&error));
  EXPECT_EQ(error.message(), "Folder must have an ID");
}

TEST_F(TWFolderChanges, EmptyingAFolderDropsTheTree) {
  tree().setSubFolders({root, folder("F")});
  server.on("EmptyFolder", successAnswer("EmptyFolder"));
  ASSERT_TRUE(tree().getFolder("F")->empty("SoftDelete", true));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:EmptyFolder DeleteType=\"SoftDelete\" DeleteSubFolders=\"true\">"
                        "<m:FolderIds><t:FolderId Id=\"F\" ChangeKey=\"ck-F\"/></m:FolderIds>"
                        "</m:EmptyFolder>"));
  EXPECT_FALSE(tree().isCacheReady());
}

TEST_F(TWFolderChanges, ACaughtErrorIsTheFailureOfAChangeAndLeavesEverythingAsItWas) {
  const auto kept = folder("F");
  tree().setSubFolders({root, kept, folder("B")});
  const auto before = kept->description();
  for (const char* operation : {"DeleteFolder", "MoveFolder", "EmptyFolder", "UpdateFolder"})
    server.on(operation, errorAnswer(operation, "ErrorCannotDeleteObject"));
  const auto failsWith61 = [](const auto& change) {
    TWError error;
    EXPECT_FALSE(change(&error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorCannotDeleteObject)) << error;
  };
  failsWith61([&](TWError* error) { return kept->deleteWithError(error); });
  failsWith61([&](TWError* error) { return kept->moveToParent(tree().getFolder("B"), error); });
  failsWith61([&](TWError* error) { return kept->empty("HardDelete", false, error); });
  failsWith61([&](TWError* error) { return kept->save({"name"}, error); });
  EXPECT_EQ(kept->description(), before);
  EXPECT_EQ(tree().getFolder("F"), kept);
  EXPECT_TRUE(tree().isCacheReady());
}

TEST_F(TWFolderChanges, AFolderThatCouldNotBeCreatedStaysAsItWas) {
  tree().setSubFolders({root, folder("T")});
  const auto made = TWFolder::make(TWFolder::elementClass(), {{"name", "New"}}, account);
  made->setParent(tree().getFolder("T"));
  const auto failure = [&](const std::string& message) {
    server.on("CreateFolder", answer("CreateFolder", message));
    TWError error;
    EXPECT_FALSE(made->save({}, &error));
    EXPECT_THAT(made->allKeys(), ElementsAre("name"));
    EXPECT_EQ(tree().subFolders()->size(), 2U);
    return error;
  };
  EXPECT_TRUE(failure(responseMessage("CreateFolder", "Error", "ErrorItemSave"))
                  .is(TWErrorCode::ErrorItemSave));
  EXPECT_EQ(failure(foldersMessage("CreateFolder", "")),
            TWError(TWErrorCode::ErrorTransport, "No ResponseMessages in response"));
}

TEST_F(TWFolderChanges, ChangesNeedAnAccountAndAnId) {
  const auto withoutAccount = TWFolder::withDict({{"name", "x"}});
  const auto withoutId = TWFolder::make(TWInbox::elementClass(), {{"name", "x"}}, account);
  for (const auto& names : {std::vector<std::string>(), {"name"}}) {
    TWError error;
    EXPECT_FALSE(TWFolder::withDict({{"folder_id", "F"}, {"name", "x"}})->save(names, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an account"));
  }
  const std::vector<std::function<bool(TWFolder&, TWError*)>> changes = {
      [](TWFolder& each, TWError* error) { return each.moveToParent(nullptr, error); },
      [](TWFolder& each, TWError* error) { return each.deleteWithError(error); },
      [](TWFolder& each, TWError* error) { return each.empty("HardDelete", true, error); },
      [](TWFolder& each, TWError* error) { return each.wipe(error); },
      [](TWFolder& each, TWError* error) { return each.refresh(error); },
  };
  for (const auto& change : changes) {
    TWError error;
    EXPECT_FALSE(change(*withoutAccount, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an account"));
    error = {};
    EXPECT_FALSE(change(*withoutId, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"));
  }
  TWError error;
  EXPECT_THAT(withoutAccount->findFolders("IdOnly", "Shallow", &error), IsEmpty());
  EXPECT_EQ(error.message(), "Folder must have an account");
  EXPECT_EQ(server.requestCount(), 0U);
}

class TWFolderWipe : public TWFolderChanges {
 protected:
  /// A folder with the children "C1" and "C2" that the server empties only without these.
  std::shared_ptr<TWFolder> stubborn(const std::string& code) {
    auto made = folder("F");
    const auto child = [&](const std::string& id) { return folder(id); };
    made->setChildren({child("C1"), child("C2")});
    server.on("EmptyFolder", [code](const std::string& payload) {
      return payload.find("DeleteSubFolders=\"true\"") == std::string::npos
                 ? successAnswer("EmptyFolder")
                 : errorAnswer("EmptyFolder", code);
    });
    server.on("DeleteFolder", successAnswer("DeleteFolder"));
    return made;
  }
};

TEST_F(TWFolderWipe, EmptiesTheFolderWithItsSubfolders) {
  server.on("EmptyFolder", successAnswer("EmptyFolder"));
  EXPECT_TRUE(folder("F")->wipe());
  EXPECT_THAT(server.operations(), ElementsAre("EmptyFolder"));
  EXPECT_THAT(server.payload(0), HasSubstr("DeleteType=\"HardDelete\" DeleteSubFolders=\"true\""));
}

TEST_F(TWFolderWipe, DeletesTheSubfoldersOneByOneWhereTheServerRefuses) {
  for (const char* code :
       {"ErrorAccessDenied", "ErrorCannotDeleteObject", "ErrorCannotEmptyFolder"}) {
    const auto before = server.requestCount();
    TWError error;
    EXPECT_TRUE(stubborn(code)->wipe(&error)) << error;
    ASSERT_EQ(server.requestCount(), before + 4) << code;
    EXPECT_THAT(server.payload(before + 1), HasSubstr("DeleteSubFolders=\"false\""));
    EXPECT_THAT(server.payload(before + 2), HasSubstr("Id=\"C1\""));
    EXPECT_THAT(server.payload(before + 3), HasSubstr("Id=\"C2\""));
  }
}

TEST_F(TWFolderWipe, GoesOnPastASubfolderThatCannotBeDeleted) {
  const auto made = stubborn("ErrorCannotEmptyFolder");
  server.on("DeleteFolder", [](const std::string& payload) {
    return payload.find("\"C1\"") == std::string::npos
               ? successAnswer("DeleteFolder")
               : errorAnswer("DeleteFolder", "ErrorCannotDeleteObject");
  });
  TWError error;
  EXPECT_FALSE(made->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorCannotDeleteObject)) << error;
  EXPECT_EQ((*made->children().at(0))["folder_id"], TWValue("C1"));
  EXPECT_EQ((*made->children().at(1))["folder_id"], TWValue(""));
}

// As servers do with calendars.
TEST_F(TWFolderWipe, GoesOnWhereNothingCanBeEmptied) {
  const auto made = stubborn("ErrorCannotEmptyFolder");
  server.on("EmptyFolder", errorAnswer("EmptyFolder", "ErrorCannotEmptyFolder"));
  TWError error;
  EXPECT_FALSE(made->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorCannotEmptyFolder)) << error;
  EXPECT_THAT(server.operations(),
              ElementsAre("EmptyFolder", "EmptyFolder", "DeleteFolder", "DeleteFolder"));
  for (const auto& child : made->children()) EXPECT_EQ((*child)["folder_id"], TWValue(""));
}

TEST_F(TWFolderWipe, DeletesWhatCameBeforeAPageThatFails) {
  static_cast<void>(stubborn("ErrorCannotEmptyFolder"));
  server.on("FindFolder", [](const std::string& payload) {
    if (payload.find("Offset=\"0\"") == std::string::npos) return test::failedAnswer();
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders", folderXML("C1", "one", "F"), false, 1));
  });
  TWError error;
  EXPECT_FALSE(folder("F")->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("EmptyFolder", "EmptyFolder", "FindFolder",
                                               "FindFolder", "DeleteFolder"));
  EXPECT_THAT(server.payload(4), HasSubstr("Id=\"C1\""));
}

TEST_F(TWFolderWipe, AnyOtherFailureEndsIt) {
  TWError error;
  EXPECT_FALSE(stubborn("ErrorFolderNotFound")->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorFolderNotFound)) << error;
  EXPECT_EQ(server.requestCount(), 1U);
}

// Without the list of subfolders nothing says that they are gone.
TEST_F(TWFolderWipe, ATreeThatCannotBeReadIsAFailure) {
  const auto made = stubborn("ErrorCannotEmptyFolder");
  const auto plain = folder("F");
  TWError error;
  EXPECT_FALSE(plain->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
}

// The tree has no folders outside of what people see, such as those of an archive mailbox.
TEST_F(TWFolderWipe, AsksTheServerForTheSubfolders) {
  static_cast<void>(stubborn("ErrorCannotEmptyFolder"));
  server.on("FindFolder", answer("FindFolder", pageMessage("FindFolder", "Folders",
                                                           folderXML("C1", "one", "F") +
                                                               folderXML("C2", "two", "F"))));
  TWError error;
  EXPECT_TRUE(folder("F")->wipe(&error)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("EmptyFolder", "EmptyFolder", "FindFolder",
                                               "DeleteFolder", "DeleteFolder"));
  EXPECT_THAT(server.payload(2), HasSubstr("Traversal=\"Shallow\""));
  EXPECT_THAT(server.payload(3), HasSubstr("Id=\"C1\""));
  EXPECT_THAT(server.payload(4), HasSubstr("Id=\"C2\""));
}

// Nor is a root needed for it, which an account may be unable to have.
TEST_F(TWFolderWipe, DoesWithoutATree) {
  static_cast<void>(stubborn("ErrorCannotEmptyFolder"));
  server.on("GetFolder", test::failedAnswer());
  const auto rootless = test::makeAccount(server.url());
  const auto plain = TWFolder::make(TWFolder::elementClass(), {{"folder_id", "F"}}, rootless);
  TWError error;
  EXPECT_FALSE(plain->wipe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("EmptyFolder", "EmptyFolder", "FindFolder"));
  hasFolders(folderXML("C1", "one", "F"));
  error = {};
  EXPECT_TRUE(plain->wipe(&error)) << error;
  EXPECT_EQ(server.operations().back(), "DeleteFolder");
}

TEST_F(TWFolderChanges, RefreshMovesAFolderThatLiesElsewhereNow) {
  hasFolders(folderXML("A", "a", "T") + folderXML("B", "b", "T") + folderXML("F", "f", "A"));
  const auto moved = tree().foldersMap().at("F");
  const auto a = tree().getFolder("A");
  EXPECT_THAT(a->children(), ElementsAre(moved));
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("F", "f", "B"))));
  ASSERT_TRUE(moved->refresh());
  EXPECT_THAT(a->children(), IsEmpty());
  EXPECT_THAT(tree().getFolder("B")->children(), ElementsAre(moved));
  EXPECT_EQ(moved->parent(), tree().getFolder("B"));
}

// The tree makes its own objects: the one that is refreshed need not be among them.
TEST_F(TWFolderChanges, RefreshMovesAFolderOfWhichTheTreeHasAnotherObject) {
  server.on("GetFolder", [](const std::string& payload) {
    const bool isInbox = payload.find("\"inbox\"") != std::string::npos;
    return answer("GetFolder", foldersMessage("GetFolder", isInbox ? folderXML("F", "Inbox", "A")
                                                                   : folderXML("T", "Top", "R")));
  });
  const auto inbox = tree().getDefaultFolder(TWInbox::elementClass());
  ASSERT_TRUE(inbox);
  for (const auto& moved : {folder("F", TWMessages::elementClass()), inbox}) {
    hasFolders(folderXML("A", "a", "T") + folderXML("B", "b", "T") + folderXML("F", "f", "A"));
    server.on("GetFolder",
              answer("GetFolder", foldersMessage("GetFolder", folderXML("T", "Top", "R"))));
    ASSERT_TRUE(tree().updateCache());
    const auto a = tree().getFolder("A"), b = tree().getFolder("B");
    EXPECT_THAT(namesOf(a->children()), ElementsAre("f"));
    server.on("GetFolder",
              answer("GetFolder", foldersMessage("GetFolder", folderXML("F", "f", "B"))));
    ASSERT_TRUE(moved->refresh());
    EXPECT_THAT(a->children(), IsEmpty());
    EXPECT_THAT(b->children(), ElementsAre(moved));
    EXPECT_EQ(moved->parent(), b);
  }
}

TEST_F(TWFolderChanges, RefreshPutsNothingIntoATreeThatDoesNotHaveIt) {
  tree().setSubFolders({root});
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("F", "f", "R"))));
  ASSERT_TRUE(folder("F")->refresh());
  EXPECT_EQ(tree().getFolder("F"), nullptr);
}

// By their classes the tree knows where the top is, and which folder is the inbox.
TEST_F(TWFolderChanges, RefreshOfAFolderOfALesserClassLeavesTheTree) {
  hasFolders(folderXML("F", "f", "T"));
  ASSERT_TRUE(tree().updateCache());
  const auto top = tree().getFolder("T"), known = tree().getFolder("F");
  for (const auto* const id : {"T", "F"}) {
    server.on("GetFolder",
              answer("GetFolder", foldersMessage("GetFolder", folderXML(id, "other", "X"))));
    const auto plain = folder(id);
    ASSERT_TRUE(plain->refresh());
    EXPECT_EQ((*plain)["name"], TWValue("other"));
  }
  EXPECT_EQ(tree().getFolder("T"), top);
  EXPECT_THAT(root->walk(), ElementsAre(top, known));
}

TEST_F(TWFolderChanges, BelowAFolderKnownByItsNameAloneTheTreeIsReadAgain) {
  hasFolders(folderXML("F", "f", "T"));
  const auto moved = tree().foldersMap().at("F");
  server.on("MoveFolder",
            answer("MoveFolder", foldersMessage("MoveFolder", folderXML("F", "f", "D"))));
  const auto trash = TWFolder::make(TWDeletedItems::elementClass(), {}, account);
  TWError error;
  ASSERT_TRUE(moved->moveToParent(trash, &error)) << error;
  EXPECT_FALSE(tree().isCacheReady());
  hasFolders(folderXML("D", "Deleted Items", "T") + folderXML("F", "f", "D"));
  EXPECT_THAT(namesOf(root->walk()), ElementsAre("Top of Information Store", "Deleted Items", "f"));
}

TEST_F(TWFolderChanges, RefreshCopiesWhatTheServerSays) {
  server.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder",
                                                            "<t:Folder><t:FolderId Id=\"F\" "
                                                            "ChangeKey=\"new\"/><t:DisplayName>"
                                                            "Renamed</t:DisplayName><t:TotalCount>7"
                                                            "</t:TotalCount></t:Folder>")));
  const auto old = folder("F", TWInbox::elementClass());
  old->set("folder_class", "IPF.Note");
  ASSERT_TRUE(old->refresh());
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape>"
                        "<t:AdditionalProperties>"
                        "<t:FieldURI FieldURI=\"folder:ChildFolderCount\"/>"
                        "<t:FieldURI FieldURI=\"folder:EffectiveRights\"/>"
                        "<t:FieldURI FieldURI=\"folder:FolderClass\"/>"
                        "<t:FieldURI FieldURI=\"folder:DisplayName\"/>"
                        "<t:FieldURI FieldURI=\"folder:ParentFolderId\"/>"
                        "<t:FieldURI FieldURI=\"folder:TotalCount\"/>"
                        "<t:FieldURI FieldURI=\"folder:UnreadCount\"/>"
                        "</t:AdditionalProperties></m:FolderShape>"
                        "<m:FolderIds><t:FolderId Id=\"F\" ChangeKey=\"ck-F\"/></m:FolderIds>"
                        "</m:GetFolder>"));
  EXPECT_EQ((*old)["name"], TWValue("Renamed"));
  EXPECT_EQ((*old)["total_count"], TWValue(7));
  EXPECT_EQ((*old)["changekey"], TWValue("new"));
  EXPECT_EQ((*old)["folder_class"], TWValue("IPF.Note"));
}

TEST_F(TWFolderChanges, AFolderThatNoLongerComesBackHasDisappeared) {
  server.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder", "")));
  TWError error;
  EXPECT_FALSE(folder("F")->refresh(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorFolderNotFound, "Folder disappeared"));
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorItemNotFound"));
  error = {};
  EXPECT_FALSE(folder("F")->refresh(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
}

TEST_F(TWFolderChanges, FoldersAreFetchedByIdWithOneOutcomeForEach) {
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("1", "one")) +
                                    responseMessage("GetFolder", "Error", "ErrorItemNotFound")));
  const auto folders =
      TWFolder::getFolders(account, {folder("1"), TWValue::list({"2", "key"})}, {});
  ASSERT_TRUE(folders);
  ASSERT_EQ(folders->size(), 2U);
  EXPECT_EQ((*folders->at(0).value())["name"], TWValue("one"));
  EXPECT_EQ(folders->at(0).value()->account(), account);
  EXPECT_TRUE(folders->at(1).error().is(TWErrorCode::ErrorItemNotFound));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape>"
                        "</m:FolderShape><m:FolderIds><t:FolderId Id=\"1\" ChangeKey=\"ck-1\"/>"
                        "<t:FolderId Id=\"2\" ChangeKey=\"key\"/></m:FolderIds></m:GetFolder>"));
}

TEST_F(TWFolderChanges, FoldersAreFetchedWithTheFieldsThatAreAskedFor) {
  server.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder", folderXML("1", "one"))));
  const auto name = TWFieldPath::withField(TWFolder::getFieldByFieldName("name"));
  ASSERT_TRUE(TWFolder::getFolders(account, {folder("1")}, {name}));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape>"
                        "<t:AdditionalProperties><t:FieldURI FieldURI=\"folder:DisplayName\"/>"
                        "</t:AdditionalProperties></m:FolderShape><m:FolderIds><t:FolderId "
                        "Id=\"1\" ChangeKey=\"ck-1\"/></m:FolderIds></m:GetFolder>"));
}

TEST_F(TWFolderChanges, AWellKnownFolderIsOfTheClassThatWasAskedFor) {
  server.on("GetFolder",
            answer("GetFolder", foldersMessage("GetFolder", folderXML("I", "Eingang"))));
  const std::shared_ptr<TWInbox> inbox = TWInbox::getDistinguished(account);
  ASSERT_TRUE(inbox);
  EXPECT_EQ(inbox->className(), "TWInbox");
  EXPECT_EQ(inbox->account(), account);
  EXPECT_THAT(server.payload(0), HasSubstr("<t:DistinguishedFolderId Id=\"inbox\"/>"));
}

TEST_F(TWFolderChanges, AWellKnownFolderThatDoesNotComeIsReported) {
  server.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder", "")));
  TWError error;
  EXPECT_FALSE(TWInbox::getDistinguished(account, &error));
  EXPECT_EQ(error,
            TWError(TWErrorCode::ErrorFolderNotFound, "Could not find distingused folder: inbox"));
  error = {};
  EXPECT_FALSE(TWMessages::getDistinguished(account, &error));
  EXPECT_EQ(error.message(), "Folder must have an ID");
  error = {};
  EXPECT_FALSE(TWInbox::getDistinguished(nullptr, &error));
  EXPECT_EQ(error.message(), "Folder must have an account");
}

TEST_F(TWFolderChanges, FindingFoldersReadsAllPages) {
  server.on("FindFolder", [](const std::string& payload) {
    const bool isFirst = payload.find("Offset=\"0\"") != std::string::npos;
    return answer("FindFolder", pageMessage("FindFolder", "Folders",
                                            isFirst ? folderXML("1", "one") + folderXML("2", "two")
                                                    : folderXML("3", "three"),
                                            !isFirst, 2));
  });
  EXPECT_THAT(namesOf(folder("F")->findFolders("AllProperties", "Shallow")),
              ElementsAre("one", "two", "three"));
  EXPECT_EQ(server.requestCount(), 2U);
  EXPECT_THAT(server.payload(0), HasSubstr("<m:FindFolder Traversal=\"Shallow\">"));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:BaseShape>AllProperties</t:BaseShape>"));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:ParentFolderIds><t:FolderId Id=\"F\""));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"1000\""));
  EXPECT_THAT(server.payload(1), HasSubstr("Offset=\"2\""));
}

}  // namespace
}  // namespace tarnwell
