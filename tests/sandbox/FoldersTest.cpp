#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

class Folders : public StoreTest {
 protected:
  Answer find(const std::string& parent, const std::string& traversal = "Shallow",
              const std::string& middle = {}) {
    return ask("<m:FindFolder Traversal='" + traversal +
               "'><m:FolderShape><t:BaseShape>Default</t:BaseShape></m:FolderShape>" + middle +
               "<m:ParentFolderIds>" + parent + "</m:ParentFolderIds></m:FindFolder>");
  }
  std::string remove(const std::string& folder, const std::string& type = "HardDelete") {
    return code("<m:DeleteFolder DeleteType='" + type + "'><m:FolderIds>" + folder +
                "</m:FolderIds></m:DeleteFolder>");
  }
  std::string empty(const std::string& folder, const std::string& withSubfolders,
                    const std::string& type = "HardDelete") {
    return code("<m:EmptyFolder DeleteType='" + type + "' DeleteSubFolders='" + withSubfolders +
                "'><m:FolderIds>" + folder + "</m:FolderIds></m:EmptyFolder>");
  }
  Answer update(const std::string& folder, const std::string& updates) {
    return ask("<m:UpdateFolder><m:FolderChanges><t:FolderChange>" + folder + "<t:Updates>" +
               updates + "</t:Updates></t:FolderChange></m:FolderChanges></m:UpdateFolder>");
  }
  std::string move(const std::string& folder, const std::string& target) {
    return code("<m:MoveFolder><m:ToFolderId>" + target + "</m:ToFolderId><m:FolderIds>" + folder +
                "</m:FolderIds></m:MoveFolder>");
  }
};

const std::string kRename =
    "<t:SetFolderField><t:FieldURI FieldURI='folder:DisplayName'/>"
    "<t:Folder><t:DisplayName>New</t:DisplayName></t:Folder></t:SetFolderField>";

TEST_F(Folders, ADistinguishedFolderIsFoundByItsName) {
  const Answer inbox = getFolder(distinguished("inbox"));
  EXPECT_EQ(inbox.text("//ResponseCode"), "NoError");
  EXPECT_EQ(inbox.text("//Folders/Folder/DisplayName"), "Inbox");
  EXPECT_EQ(inbox.text("//Folder/FolderClass"), "IPF.Note");
  EXPECT_EQ(inbox.text("//Folder/TotalCount"), "0");
  EXPECT_EQ(inbox.text("//Folder/UnreadCount"), "0");
  EXPECT_EQ(inbox.text("//Folder/EffectiveRights/CreateHierarchy"), "true");
  EXPECT_EQ(inbox.attribute("//ParentFolderId", "Id"),
            getFolder(distinguished("msgfolderroot")).attribute("//FolderId", "Id"));
}

TEST_F(Folders, TheElementShowsWhatAFolderHolds) {
  EXPECT_EQ(getFolder(distinguished("calendar")).count("//CalendarFolder/FolderId"), 1U);
  EXPECT_EQ(getFolder(distinguished("contacts")).count("//ContactsFolder/FolderId"), 1U);
  EXPECT_EQ(getFolder(distinguished("tasks")).count("//TasksFolder/FolderId"), 1U);
  EXPECT_EQ(getFolder(distinguished("notes")).count("//Folders/Folder/FolderId"), 1U);
  EXPECT_EQ(getFolder(distinguished("calendar")).count("//UnreadCount"), 0U);
}

TEST_F(Folders, AFolderIdAnswersTheSameFolder) {
  const IdPair inbox = idAt(getFolder(distinguished("inbox")), "//FolderId");
  EXPECT_EQ(getFolder(folderId(inbox)).text("//DisplayName"), "Inbox");
}

TEST_F(Folders, TheTopOfATreeIsItsOwnParent) {
  const Answer root = getFolder(distinguished("root"));
  EXPECT_EQ(root.attribute("//ParentFolderId", "Id"), root.attribute("//FolderId", "Id"));
  EXPECT_EQ(root.count("//FolderClass"), 0U);
}

TEST_F(Folders, EveryPartOfARequestHasAnAnswerOfItsOwn) {
  const Answer answer = getFolder(distinguished("inbox") + "<t:FolderId Id='bm90aGluZw=='/>" +
                                  "<t:FolderId Id=''/>" + distinguished("drafts"));
  EXPECT_THAT(answer.texts("//ResponseCode"),
              ElementsAre("NoError", "ErrorInvalidIdMalformed", "ErrorInvalidIdEmpty", "NoError"));
  EXPECT_THAT(answer.texts("//DisplayName"), ElementsAre("Inbox", "Drafts"));
}

TEST_F(Folders, UnknownDistinguishedFoldersBreakTheSchema) {
  const std::string request =
      "<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape></m:FolderShape><m:FolderIds>" +
      distinguished("receipientcache") + "</m:FolderIds></m:GetFolder>";
  EXPECT_THAT(violation(request), HasSubstr("DistinguishedFolderIdNameType"));
}

TEST_F(Folders, NewDistinguishedFoldersAreUnknownToOldSchemas) {
  const std::string request =
      "<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape></m:FolderShape><m:FolderIds>" +
      distinguished("recoverableitemsroot") + "</m:FolderIds></m:GetFolder>";
  EXPECT_EQ(code(request, "Exchange2010_SP1"), "NoError");
  EXPECT_THAT(violation(request, "Exchange2010"), HasSubstr("recoverableitemsroot"));
}

TEST_F(Folders, AnotherMailboxIsNamedInTheDistinguishedId) {
  const Answer own = getFolder(distinguished("inbox"));
  const Answer other = getFolder(distinguished("inbox", "bob@example.com"));
  EXPECT_EQ(other.text("//ResponseCode"), "NoError");
  EXPECT_NE(own.attribute("//FolderId", "Id"), other.attribute("//FolderId", "Id"));
  EXPECT_EQ(getFolder(distinguished("inbox", "nobody@example.com")).text("//ResponseCode"),
            "ErrorNonExistentMailbox");
}

TEST_F(Folders, ImpersonationSelectsTheMailbox) {
  const std::string body =
      "<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape></m:FolderShape><m:FolderIds>" +
      distinguished("inbox") + "</m:FolderIds></m:GetFolder>";
  std::string soap = envelope(body);
  soap.insert(soap.find("</s:Header>"),
              "<t:ExchangeImpersonation><t:ConnectingSID><t:PrimarySmtpAddress>bob@example.com"
              "</t:PrimarySmtpAddress></t:ConnectingSID></t:ExchangeImpersonation>");
  EXPECT_EQ(Answer(send(soap)).attribute("//FolderId", "Id"),
            getFolder(distinguished("inbox", "bob@example.com")).attribute("//FolderId", "Id"));
}

TEST_F(Folders, AShallowSearchFindsChildrenADeepOneAllBelow) {
  const IdPair outer = makeFolder(distinguished("inbox"), "Outer");
  static_cast<void>(makeFolder(folderId(outer), "Inner"));
  EXPECT_THAT(find(distinguished("inbox")).texts("//DisplayName"), ElementsAre("Outer"));
  EXPECT_THAT(find(distinguished("inbox"), "Deep").texts("//DisplayName"),
              ElementsAre("Outer", "Inner"));
  EXPECT_THAT(find(distinguished("msgfolderroot"), "Deep").texts("//DisplayName"),
              IsSupersetOf({"Inbox", "Outer", "Inner", "Calendar", "Sync Issues", "Conflicts"}));
}

TEST_F(Folders, ASearchIsPaged) {
  for (const char* name : {"A", "B", "C"}) {
    static_cast<void>(makeFolder(distinguished("inbox"), name));
  }
  const auto page = [&](const std::string& attributes) {
    return find(distinguished("inbox"), "Shallow",
                "<m:IndexedPageFolderView " + attributes + " BasePoint='Beginning'/>");
  };
  const Answer first = page("MaxEntriesReturned='2' Offset='0'");
  EXPECT_THAT(first.texts("//DisplayName"), ElementsAre("A", "B"));
  EXPECT_EQ(first.attribute("//RootFolder", "IndexedPagingOffset"), "2");
  EXPECT_EQ(first.attribute("//RootFolder", "TotalItemsInView"), "3");
  EXPECT_EQ(first.attribute("//RootFolder", "IncludesLastItemInRange"), "false");
  const Answer second = page("MaxEntriesReturned='2' Offset='2'");
  EXPECT_THAT(second.texts("//DisplayName"), ElementsAre("C"));
  EXPECT_EQ(second.attribute("//RootFolder", "IncludesLastItemInRange"), "true");
}

TEST_F(Folders, ASearchKeepsToItsRestriction) {
  for (const char* name : {"Apple", "Pear"}) {
    static_cast<void>(makeFolder(distinguished("inbox"), name));
  }
  const Answer answer =
      find(distinguished("inbox"), "Shallow",
           "<m:Restriction><t:Contains ContainmentMode='Prefixed' "
           "ContainmentComparison='IgnoreCase'><t:FieldURI FieldURI='folder:DisplayName'/>"
           "<t:Constant Value='APP'/></t:Contains></m:Restriction>");
  EXPECT_THAT(answer.texts("//DisplayName"), ElementsAre("Apple"));
}

TEST_F(Folders, ACreatedFolderCountsForItsParent) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Projects &amp; more");
  const Answer answer = getFolder(folderId(folder));
  EXPECT_EQ(answer.text("//DisplayName"), "Projects & more");
  EXPECT_EQ(answer.text("//FolderClass"), "IPF.Note");
  EXPECT_EQ(getFolder(distinguished("inbox")).text("//ChildFolderCount"), "1");
}

TEST_F(Folders, TheClassOfANewFolderFitsItsElement) {
  const auto create = [&](const std::string& folder) {
    return ask("<m:CreateFolder><m:ParentFolderId>" + distinguished("msgfolderroot") +
               "</m:ParentFolderId><m:Folders>" + folder + "</m:Folders></m:CreateFolder>");
  };
  EXPECT_EQ(create("<t:CalendarFolder><t:DisplayName>Mine</t:DisplayName></t:CalendarFolder>")
                .count("//CalendarFolder"),
            1U);
  EXPECT_EQ(create("<t:Folder><t:FolderClass>IPF.Task</t:FolderClass><t:DisplayName>To do"
                   "</t:DisplayName></t:Folder>")
                .count("//TasksFolder"),
            1U);
  EXPECT_EQ(create("<t:TasksFolder><t:FolderClass>IPF.Note</t:FolderClass><t:DisplayName>No"
                   "</t:DisplayName></t:TasksFolder>")
                .text("//ResponseCode"),
            "ErrorNoFolderClassOverride");
}

TEST_F(Folders, TwoFoldersOfOneNameCannotStandSideBySide) {
  static_cast<void>(makeFolder(distinguished("inbox"), "Twin"));
  EXPECT_EQ(code("<m:CreateFolder><m:ParentFolderId>" + distinguished("inbox") +
                 "</m:ParentFolderId><m:Folders><t:Folder><t:DisplayName>twin</t:DisplayName>"
                 "</t:Folder></m:Folders></m:CreateFolder>"),
            "ErrorFolderExists");
}

TEST_F(Folders, AFolderInDisorderBreaksTheSchema) {
  EXPECT_THAT(violation("<m:CreateFolder><m:ParentFolderId>" + distinguished("inbox") +
                        "</m:ParentFolderId><m:Folders><t:Folder><t:DisplayName>A</t:DisplayName>"
                        "<t:FolderClass>IPF.Note</t:FolderClass></t:Folder></m:Folders>"
                        "</m:CreateFolder>"),
              HasSubstr("'FolderClass'"));
  EXPECT_THAT(violation("<m:CreateFolder><m:Folders/></m:CreateFolder>"), HasSubstr("'Folders'"));
  EXPECT_THAT(violation("<m:DeleteFolder DeleteType='HardDelete'><m:FolderIds/></m:DeleteFolder>"),
              HasSubstr("incomplete content"));
  EXPECT_THAT(violation("<m:DeleteFolder><m:FolderIds/></m:DeleteFolder>"),
              HasSubstr("'DeleteType' is missing"));
}

TEST_F(Folders, ARenamedFolderHasANewChangeKey) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Old");
  const IdPair renamed = idAt(update(folderId(folder), kRename), "//FolderId");
  EXPECT_EQ(renamed.id, folder.id);
  EXPECT_NE(renamed.changeKey, folder.changeKey);
  EXPECT_EQ(getFolder(folderId(renamed)).text("//DisplayName"), "New");
}

TEST_F(Folders, AnUpdateNamesOnePropertyAndBringsThatOne) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Old");
  EXPECT_EQ(update(folderId(folder),
                   "<t:SetFolderField><t:FieldURI FieldURI='folder:DisplayName'/><t:Folder>"
                   "<t:FolderClass>IPF.Note</t:FolderClass></t:Folder></t:SetFolderField>")
                .text("//ResponseCode"),
            "ErrorUpdatePropertyMismatch");
  EXPECT_EQ(update(folderId(folder),
                   "<t:DeleteFolderField><t:FieldURI FieldURI='folder:DisplayName'/>"
                   "</t:DeleteFolderField>")
                .text("//ResponseCode"),
            "ErrorInvalidPropertyDelete");
  EXPECT_EQ(update(folderId(folder),
                   "<t:SetFolderField><t:FieldURI FieldURI='folder:TotalCount'/><t:Folder>"
                   "<t:TotalCount>7</t:TotalCount></t:Folder></t:SetFolderField>")
                .text("//ResponseCode"),
            "ErrorInvalidPropertySet");
}

TEST_F(Folders, ExtendedPropertiesOfFoldersAreKept) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Marked");
  const std::string uri = "<t:ExtendedFieldURI PropertyTag='0x3001' PropertyType='String'/>";
  EXPECT_EQ(
      update(folderId(folder), "<t:SetFolderField>" + uri + "<t:Folder><t:ExtendedProperty>" + uri +
                                   "<t:Value>note</t:Value></t:ExtendedProperty></t:Folder>"
                                   "</t:SetFolderField>")
          .text("//ResponseCode"),
      "NoError");
  const Answer answer =
      ask("<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
          "<t:ExtendedFieldURI PropertyTag='12289' PropertyType='String'/></t:AdditionalProperties>"
          "</m:FolderShape><m:FolderIds>" +
          folderId(folder) + "</m:FolderIds></m:GetFolder>");
  EXPECT_EQ(answer.text("//ExtendedProperty/Value"), "note");
}

TEST_F(Folders, AMovedFolderKeepsItsId) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Traveller");
  EXPECT_EQ(move(folderId(folder), distinguished("drafts")), "NoError");
  EXPECT_THAT(find(distinguished("drafts")).texts("//DisplayName"), ElementsAre("Traveller"));
  EXPECT_EQ(find(distinguished("inbox")).count("//DisplayName"), 0U);
  EXPECT_EQ(getFolder(folderId(folder)).text("//DisplayName"), "Traveller");
}

TEST_F(Folders, AFolderCannotBeMovedIntoItself) {
  const IdPair outer = makeFolder(distinguished("inbox"), "Outer");
  const IdPair inner = makeFolder(folderId(outer), "Inner");
  EXPECT_EQ(move(folderId(outer), folderId(inner)), "ErrorMoveCopyFailed");
  EXPECT_EQ(move(folderId(outer), folderId(outer)), "ErrorMoveCopyFailed");
  EXPECT_EQ(move(distinguished("inbox"), distinguished("drafts")), "ErrorMoveDistinguishedFolder");
  EXPECT_EQ(move(folderId(inner), "<t:FolderId Id='" + outer.id + "x'/>"),
            "ErrorInvalidIdMalformed");
}

TEST_F(Folders, AHardDeletedFolderIsGone) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Doomed");
  EXPECT_EQ(remove(folderId(folder)), "NoError");
  EXPECT_EQ(getFolder(folderId(folder)).text("//ResponseCode"), "ErrorFolderNotFound");
  EXPECT_EQ(remove(folderId(folder)), "ErrorFolderNotFound");
}

TEST_F(Folders, AFolderCanBeMovedToTheDeletedItems) {
  const IdPair first = makeFolder(distinguished("inbox"), "Twin");
  const IdPair second = makeFolder(distinguished("drafts"), "Twin");
  EXPECT_EQ(remove(folderId(first), "MoveToDeletedItems"), "NoError");
  EXPECT_EQ(remove(folderId(second), "MoveToDeletedItems"), "NoError");
  EXPECT_THAT(find(distinguished("deleteditems")).texts("//DisplayName"),
              ElementsAre("Twin", "Twin1"));
}

TEST_F(Folders, DistinguishedFoldersStay) {
  EXPECT_EQ(remove(distinguished("inbox")), "ErrorDeleteDistinguishedFolder");
}

TEST_F(Folders, EmptyingSparesSubfoldersUnlessTold) {
  static_cast<void>(makeFolder(distinguished("inbox"), "Below"));
  EXPECT_EQ(empty(distinguished("inbox"), "false"), "NoError");
  EXPECT_EQ(find(distinguished("inbox")).count("//DisplayName"), 1U);
  EXPECT_EQ(empty(distinguished("inbox"), "true"), "NoError");
  EXPECT_EQ(find(distinguished("inbox")).count("//DisplayName"), 0U);
}

TEST_F(Folders, CalendarsAndTheHomesOfDistinguishedFoldersAreNotEmptied) {
  EXPECT_EQ(empty(distinguished("calendar"), "false"), "ErrorCannotEmptyFolder");
  EXPECT_EQ(empty(distinguished("msgfolderroot"), "true"), "ErrorCannotEmptyFolder");
}

TEST_F(Folders, OldSchemasCannotEmptyFolders) {
  const HttpReply reply = send(envelope("<m:EmptyFolder/>", "Exchange2010"));
  EXPECT_TRUE(isFault(reply, 500, "ErrorInvalidRequest"));
}

TEST_F(Folders, AnItemIdNamesNoFolder) {
  // "I" and 17 digits, as ids of items are made.
  EXPECT_EQ(getFolder("<t:FolderId Id='STAwMDAwMDAwMDAwMDAwMDAx'/>").text("//ResponseCode"),
            "ErrorCannotUseItemIdForFolderId");
  EXPECT_THAT(find(distinguished("root")).texts("//DisplayName"), Not(Contains("Inbox")));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
