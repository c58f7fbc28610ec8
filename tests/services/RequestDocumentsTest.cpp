#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWRestriction.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBody.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWCreateAttachment.h"
#include "tarnwell/services/TWCreateFolder.h"
#include "tarnwell/services/TWDeleteAttachment.h"
#include "tarnwell/services/TWDeleteFolder.h"
#include "tarnwell/services/TWEmptyFolder.h"
#include "tarnwell/services/TWFindFolder.h"
#include "tarnwell/services/TWFindItem.h"
#include "tarnwell/services/TWGetAttachment.h"
#include "tarnwell/services/TWGetFolder.h"
#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWMoveFolder.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/services/TWUpdateFolder.h"

#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

// The whole document that each operation sends to servers of four versions, over HTTP. What is
// expected is written out here by hand: nothing of it is made by the library.

namespace tarnwell {
namespace {

struct Release {
  const char* name;
  TWBuild build;
};

void PrintTo(const Release& release, std::ostream* stream) { *stream << release.name; }

const Release kReleases[] = {{"Exchange2007_SP1", TWBuild(8, 1)},
                             {"Exchange2010_SP2", TWBuild(14, 2)},
                             {"Exchange2013", TWBuild(15, 0)},
                             {"Exchange2016", TWBuild(15, 1)}};

class RequestDocuments : public testing::TestWithParam<Release> {
 protected:
  RequestDocuments() {
    const auto credentials = TWCredentials::credentialsWithUsernamePassword("ann@example.com", "p");
    protocol = TWProtocol::withServiceEndpoint(server.url("/EWS/Exchange.asmx"), credentials,
                                               TWVersion(GetParam().build, GetParam().name));
    account = makeAccount(TWAccessTypeDelegate);
  }

  [[nodiscard]] std::shared_ptr<TWAccount> makeAccount(TWAccessType access) const {
    TWAccountOptions options;
    options.primarySmtpAddress = "ann@example.com";
    options.accessType = access;
    options.config = TWConfiguration{protocol};
    options.defaultTimeZone = TWTimeZone::fromTimeZone("Europe/Berlin");
    return TWAccount::withOptions(options);
  }

  [[nodiscard]] static bool is(std::string_view name) { return GetParam().name == name; }
  /// The text for servers from that release on; nothing for older ones.
  [[nodiscard]] static std::string from2010(std::string text) {
    return is("Exchange2007_SP1") ? std::string() : text;
  }
  [[nodiscard]] static std::string from2013(std::string text) {
    return is("Exchange2010_SP2") ? std::string() : from2010(std::move(text));
  }

  [[nodiscard]] static std::string document(const std::string& more, const std::string& payload) {
    return "<s:Envelope xmlns:s='http://schemas.xmlsoap.org/soap/envelope/' "
           "xmlns:t='http://schemas.microsoft.com/exchange/services/2006/types' "
           "xmlns:m='http://schemas.microsoft.com/exchange/services/2006/messages'>"
           "<s:Header><t:RequestServerVersion Version='" +
           std::string(GetParam().name) + "'/>" + more + "</s:Header><s:Body>" + payload +
           "</s:Body></s:Envelope>";
  }

  using Call = std::function<void(TWError* error)>;

  /// Expects one request with that document. What comes of the call is no matter: it is answered
  /// with nothing.
  void expectDocument(const Call& call, const std::string& expected) {
    call(nullptr);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].target, "/EWS/Exchange.asmx");
    EXPECT_EQ(requests[0].header("Content-Type"), "text/xml; charset=utf-8");
    EXPECT_THAT(requests[0].body, test::EqualsXML(expected));
  }
  /// The request of an operation of the account: its header tells the zone.
  void expectSent(const Call& call, const std::string& payload) {
    expectDocument(call, document(kZone, payload));
  }
  /// The request of an operation that is not the account's: the version is all that it tells.
  void expectSentWithoutAccount(const Call& call, const std::string& payload) {
    expectDocument(call, document("", payload));
  }
  void expectRefused(const Call& call, const TWError& expected) {
    TWError error;
    call(&error);
    EXPECT_EQ(error, expected);
    EXPECT_EQ(server.requestCount(), 0U);
  }

  [[nodiscard]] std::shared_ptr<TWFolder> folder(
      const std::string& id, const TWFolderClass& cls = TWFolder::elementClass()) {
    return TWFolder::make(cls, {{"folder_id", id}, {"changekey", "k" + id}, {"name", "N" + id}},
                          account);
  }
  [[nodiscard]] static std::vector<std::shared_ptr<TWFieldPath>> folderPaths(
      const std::vector<std::string>& names) {
    std::vector<std::shared_ptr<TWFieldPath>> paths;
    for (const auto& name : names)
      paths.push_back(TWFieldPath::withField(TWFolder::getFieldByFieldName(name)));
    return paths;
  }
  [[nodiscard]] static std::shared_ptr<TWFileAttachment> file() {
    auto made = TWFileAttachment::withDict({{"name", "a.txt"}, {"content_type", "text/plain"}});
    EXPECT_TRUE(made->setContent({'A', 'B', 'C'}));
    return made;
  }

  static constexpr const char* kZone =
      "<t:TimeZoneContext><t:TimeZoneDefinition Id='W. Europe Standard Time'/></t:TimeZoneContext>";
  static constexpr const char* kItemIds =
      "<m:ItemIds><t:ItemId Id='A' ChangeKey='kA'/><t:ItemId Id='B'/></m:ItemIds>";
  const TWItemEntries ids{TWIdPair{"A", "kA"}, TWIdPair{"B"}};

  test::ScriptedServer server{
      [](const test::ScriptedRequest&) { return test::ScriptedAnswer::xml("", 500); }};
  std::shared_ptr<TWProtocol> protocol;
  std::shared_ptr<TWAccount> account;
};

INSTANTIATE_TEST_SUITE_P(Of, RequestDocuments, testing::ValuesIn(kReleases),
                         [](const auto& release) { return std::string(release.param.name); });

// Items.

TEST_P(RequestDocuments, CreateItem) {
  const auto message = TWMessage::withDict(
      {{"subject", "Tea & cake"},
       {"body", TWHTMLBody("<p>at four</p>")},
       {"attachments", TWList{file()}},
       {"importance", "High"},
       {"size", 7},
       {"text_body", "not written"},
       {"culture", "de-DE"},
       {"to_recipients", TWList{TWMailbox::withDict({{"email_address", "bob@example.com"}})}},
       {"is_read", false}});
  expectSent(
      [&](TWError* error) {
        (void)account->bulkCreate(folder("F"), {message}, "SendAndSaveCopy", "SendToNone", error);
      },
      "<m:CreateItem MessageDisposition='SendAndSaveCopy' SendMeetingInvitations='SendToNone'>"
      "<m:SavedItemFolderId><t:FolderId Id='F' ChangeKey='kF'/></m:SavedItemFolderId>"
      "<m:Items><t:Message><t:Subject>Tea &amp; cake</t:Subject>"
      "<t:Sensitivity>Normal</t:Sensitivity>"
      "<t:Body BodyType='HTML'>&lt;p&gt;at four&lt;/p&gt;</t:Body>"
      "<t:Attachments><t:FileAttachment><t:Name>a.txt</t:Name>"
      "<t:ContentType>text/plain</t:ContentType><t:Content>QUJD</t:Content></t:FileAttachment>"
      "</t:Attachments><t:Importance>High</t:Importance><t:ReminderIsSet>0</t:ReminderIsSet>"
      "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
      "<t:Culture>de-DE</t:Culture><t:ToRecipients><t:Mailbox>"
      "<t:EmailAddress>bob@example.com</t:EmailAddress><t:RoutingType>SMTP</t:RoutingType>"
      "<t:MailboxType>Mailbox</t:MailboxType></t:Mailbox></t:ToRecipients><t:IsRead>0</t:IsRead>"
      "</t:Message></m:Items></m:CreateItem>");
}

TEST_P(RequestDocuments, CreateItemWithoutAFolder) {
  expectSent(
      [&](TWError* error) {
        (void)account->bulkCreate(nullptr, {TWMessage::withDict({{"culture", "de-DE"}})},
                                  "SendOnly", "SendOnlyToAll", error);
      },
      "<m:CreateItem MessageDisposition='SendOnly' SendMeetingInvitations='SendOnlyToAll'>"
      "<m:Items><t:Message><t:Sensitivity>Normal</t:Sensitivity>"
      "<t:Importance>Normal</t:Importance><t:ReminderIsSet>0</t:ReminderIsSet>"
      "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
      "<t:Culture>de-DE</t:Culture></t:Message></m:Items></m:CreateItem>");
}

TEST_P(RequestDocuments, GetItem) {
  // Every field of the items of the folder that the server knows, by the names of the fields.
  const auto uri = [](const std::string& name) {
    return "<t:FieldURI FieldURI='item:" + name + "'/>";
  };
  expectSent(
      [&](TWError* error) {
        (void)account->fetch(ids, folder("F", TWTasks::elementClass()), std::nullopt, error);
      },
      "<m:GetItem><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>" +
          uri("Attachments") + uri("Body") + uri("Categories") + from2010(uri("ConversationId")) +
          uri("Culture") + uri("DateTimeCreated") + uri("DateTimeReceived") + uri("DateTimeSent") +
          uri("DisplayCc") + uri("DisplayTo") + uri("EffectiveRights") + uri("HasAttachments") +
          uri("InternetMessageHeaders") + uri("Importance") + uri("InReplyTo") +
          from2010(uri("IsAssociated")) + uri("IsDraft") + uri("IsFromMe") + uri("IsResend") +
          uri("IsSubmitted") + uri("IsUnmodified") + uri("ItemClass") + uri("LastModifiedName") +
          uri("LastModifiedTime") + uri("MimeContent") + uri("ParentFolderId") +
          uri("ReminderDueBy") + uri("ReminderIsSet") + uri("ReminderMinutesBeforeStart") +
          uri("Sensitivity") + uri("Size") + uri("Subject") + from2013(uri("TextBody")) +
          from2010(uri("UniqueBody")) + "</t:AdditionalProperties></m:ItemShape>" + kItemIds +
          "</m:GetItem>");
}

TEST_P(RequestDocuments, UpdateItem) {
  const auto message =
      TWMessage::withDict({{"item_id", "A"}, {"changekey", "kA"}, {"subject", "new"}});
  const auto contact = TWContact::withDict(
      {{"item_id", "B"},
       {"phone_numbers",
        TWList{TWPhoneNumber::withDict({{"label", "HomePhone"}, {"phone_number", "12"}})}}});
  expectSent(
      [&](TWError* error) {
        (void)account->bulkUpdate(
            {{message, {"in_reply_to", "subject"}}, {contact, {"phone_numbers"}}}, "NeverOverwrite",
            "SaveOnly", "SendToChangedAndSaveCopy", true, error);
      },
      "<m:UpdateItem ConflictResolution='NeverOverwrite' MessageDisposition='SaveOnly' "
      "SendMeetingInvitationsOrCancellations='SendToChangedAndSaveCopy'" +
          from2013(" SuppressReadReceipts='true'") +
          "><m:ItemChanges><t:ItemChange><t:ItemId Id='A' ChangeKey='kA'/><t:Updates>"
          "<t:SetItemField><t:FieldURI FieldURI='item:Subject'/><t:Message>"
          "<t:Subject>new</t:Subject></t:Message></t:SetItemField>"
          "<t:DeleteItemField><t:FieldURI FieldURI='item:InReplyTo'/></t:DeleteItemField>"
          "<t:SetItemField><t:FieldURI FieldURI='item:InReplyTo'/><t:Message><t:InReplyTo/>"
          "</t:Message></t:SetItemField></t:Updates></t:ItemChange>"
          "<t:ItemChange><t:ItemId Id='B'/><t:Updates><t:SetItemField>"
          "<t:IndexedFieldURI FieldURI='contacts:PhoneNumber' FieldIndex='HomePhone'/>"
          "<t:Contact><t:PhoneNumbers><t:Entry Key='HomePhone'>12</t:Entry></t:PhoneNumbers>"
          "</t:Contact></t:SetItemField></t:Updates></t:ItemChange></m:ItemChanges>"
          "</m:UpdateItem>");
}

TEST_P(RequestDocuments, DeleteItem) {
  expectSent(
      [&](TWError* error) {
        (void)account->bulkDelete(ids, "SoftDelete", "SendOnlyToAll", "SpecifiedOccurrenceOnly",
                                  false, error);
      },
      "<m:DeleteItem DeleteType='SoftDelete' SendMeetingCancellations='SendOnlyToAll' "
      "AffectedTaskOccurrences='SpecifiedOccurrenceOnly'" +
          from2013(" SuppressReadReceipts='false'") + ">" + kItemIds + "</m:DeleteItem>");
}

TEST_P(RequestDocuments, SendItem) {
  expectSent([&](TWError* error) { (void)account->bulkSend(ids, true, folder("F"), error); },
             std::string("<m:SendItem SaveItemToFolder='true'>") + kItemIds +
                 "<m:SavedItemFolderId><t:FolderId Id='F' ChangeKey='kF'/></m:SavedItemFolderId>"
                 "</m:SendItem>");
}

TEST_P(RequestDocuments, SendItemWithoutACopy) {
  expectSent([&](TWError* error) { (void)account->bulkSend(ids, false, nullptr, error); },
             std::string("<m:SendItem SaveItemToFolder='false'>") + kItemIds + "</m:SendItem>");
}

TEST_P(RequestDocuments, MoveItem) {
  expectSent([&](TWError* error) { (void)account->bulkMove(ids, folder("F"), error); },
             std::string("<m:MoveItem><m:ToFolderId><t:FolderId Id='F' ChangeKey='kF'/>"
                         "</m:ToFolderId>") +
                 kItemIds + "</m:MoveItem>");
}

TEST_P(RequestDocuments, ExportItems) {
  expectSent([&](TWError* error) { (void)account->exportItems(ids, error); },
             std::string("<m:ExportItems>") + kItemIds + "</m:ExportItems>");
}

TEST_P(RequestDocuments, UploadItems) {
  expectSent(
      [&](TWError* error) {
        (void)account->uploadItems({{folder("F"), "QUJD"}, {folder("G"), "REVG"}}, error);
      },
      "<m:UploadItems><m:Items><t:Item CreateAction='CreateNew'>"
      "<t:ParentFolderId Id='F' ChangeKey='kF'/><t:Data>QUJD</t:Data></t:Item>"
      "<t:Item CreateAction='CreateNew'><t:ParentFolderId Id='G' ChangeKey='kG'/>"
      "<t:Data>REVG</t:Data></t:Item></m:Items></m:UploadItems>");
}

TEST_P(RequestDocuments, FindItem) {
  const auto inbox = folder("I", TWInbox::elementClass());
  const auto path = [&](const char* text) { return TWFieldPath::fromString(text, *inbox, false); };
  expectSentWithoutAccount(
      [&](TWError* error) {
        const auto restriction =
            TWRestriction::withQ(Q::withKeywords({{"subject__contains", "x"}}), inbox, error);
        ASSERT_TRUE(restriction);
        auto pages = TWFindItem::withAccount(account, {inbox, folder("J")})
                         ->call({path("subject"), path("categories")}, restriction,
                                {TWFieldOrder::fromString("-size", *inbox, false)}, "IdOnly",
                                std::nullopt, "Shallow", nullptr, 50, 0);
        (void)pages.nextPage(error);
      },
      "<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
      "<t:AdditionalProperties><t:FieldURI FieldURI='item:Categories'/>"
      "<t:FieldURI FieldURI='item:Subject'/></t:AdditionalProperties></m:ItemShape>"
      "<m:IndexedPageItemView MaxEntriesReturned='50' Offset='0' BasePoint='Beginning'/>"
      "<m:Restriction><t:Contains ContainmentMode='Substring' ContainmentComparison='Exact'>"
      "<t:FieldURI FieldURI='item:Subject'/><t:Constant Value='x'/></t:Contains></m:Restriction>"
      "<m:SortOrder><t:FieldOrder Order='Descending'><t:FieldURI FieldURI='item:Size'/>"
      "</t:FieldOrder></m:SortOrder><m:ParentFolderIds><t:FolderId Id='I' ChangeKey='kI'/>"
      "<t:FolderId Id='J' ChangeKey='kJ'/></m:ParentFolderIds></m:FindItem>");
}

// Folders.

TEST_P(RequestDocuments, GetFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWGetFolder::withAccount(account)->call(
            {folder("F"), TWInbox::make(TWInbox::elementClass(), {}, account),
             TWValue::list({"P", "kP"})},
            folderPaths({"unread_count", "name"}), "IdOnly", error);
      },
      "<m:GetFolder><m:FolderShape><t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
      "<t:FieldURI FieldURI='folder:DisplayName'/><t:FieldURI FieldURI='folder:UnreadCount'/>"
      "</t:AdditionalProperties></m:FolderShape><m:FolderIds><t:FolderId Id='F' ChangeKey='kF'/>"
      "<t:DistinguishedFolderId Id='inbox'/><t:FolderId Id='P' ChangeKey='kP'/></m:FolderIds>"
      "</m:GetFolder>");
}

TEST_P(RequestDocuments, FindFolder) {
  expectSentWithoutAccount(
      [&](TWError* error) {
        auto pages = TWFindFolder::withAccount(account, {folder("F")})
                         ->call(folderPaths({"total_count"}), "Default", "Deep", 20, 0);
        (void)pages.nextPage(error);
      },
      "<m:FindFolder Traversal='Deep'><m:FolderShape><t:BaseShape>Default</t:BaseShape>"
      "<t:AdditionalProperties><t:FieldURI FieldURI='folder:TotalCount'/>"
      "</t:AdditionalProperties></m:FolderShape>" +
          from2010("<m:IndexedPageFolderView MaxEntriesReturned='20' Offset='0' "
                   "BasePoint='Beginning'/>") +
          "<m:ParentFolderIds><t:FolderId Id='F' ChangeKey='kF'/></m:ParentFolderIds>"
          "</m:FindFolder>");
}

TEST_P(RequestDocuments, CreateFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWCreateFolder::withAccount(account)->call(
            folder("F"),
            {TWFolder::withDict({{"name", "New"}, {"folder_class", "IPF.Note"}}),
             TWFolder::withDict({{"name", "Second"}, {"total_count", 3}})},
            error);
      },
      "<m:CreateFolder><m:ParentFolderId><t:FolderId Id='F' ChangeKey='kF'/></m:ParentFolderId>"
      "<m:Folders><t:Folder><t:FolderClass>IPF.Note</t:FolderClass>"
      "<t:DisplayName>New</t:DisplayName></t:Folder><t:Folder>"
      "<t:DisplayName>Second</t:DisplayName></t:Folder></m:Folders></m:CreateFolder>");
}

TEST_P(RequestDocuments, UpdateFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWUpdateFolder::withAccount(account)->call(
            {{folder("F"), {"name", "folder_class"}}, {folder("G"), {"name"}}}, error);
      },
      "<m:UpdateFolder><m:FolderChanges><t:FolderChange><t:FolderId Id='F' ChangeKey='kF'/>"
      "<t:Updates><t:DeleteFolderField><t:FieldURI FieldURI='folder:FolderClass'/>"
      "</t:DeleteFolderField><t:SetFolderField><t:FieldURI FieldURI='folder:DisplayName'/>"
      "<t:Folder><t:DisplayName>NF</t:DisplayName></t:Folder></t:SetFolderField></t:Updates>"
      "</t:FolderChange><t:FolderChange><t:FolderId Id='G' ChangeKey='kG'/><t:Updates>"
      "<t:SetFolderField><t:FieldURI FieldURI='folder:DisplayName'/><t:Folder>"
      "<t:DisplayName>NG</t:DisplayName></t:Folder></t:SetFolderField></t:Updates>"
      "</t:FolderChange></m:FolderChanges></m:UpdateFolder>");
}

TEST_P(RequestDocuments, MoveFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWMoveFolder::withAccount(account)->call({folder("A"), folder("B")}, folder("F"),
                                                       error);
      },
      "<m:MoveFolder><m:ToFolderId><t:FolderId Id='F' ChangeKey='kF'/></m:ToFolderId>"
      "<m:FolderIds><t:FolderId Id='A' ChangeKey='kA'/><t:FolderId Id='B' ChangeKey='kB'/>"
      "</m:FolderIds></m:MoveFolder>");
}

TEST_P(RequestDocuments, DeleteFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWDeleteFolder::withAccount(account)->call({folder("A"), folder("B")}, "HardDelete",
                                                         error);
      },
      "<m:DeleteFolder DeleteType='HardDelete'><m:FolderIds><t:FolderId Id='A' ChangeKey='kA'/>"
      "<t:FolderId Id='B' ChangeKey='kB'/></m:FolderIds></m:DeleteFolder>");
}

TEST_P(RequestDocuments, EmptyFolder) {
  expectSent(
      [&](TWError* error) {
        (void)TWEmptyFolder::withAccount(account)->call({folder("A")}, "MoveToDeletedItems", true,
                                                        error);
      },
      "<m:EmptyFolder DeleteType='MoveToDeletedItems' DeleteSubFolders='true'><m:FolderIds>"
      "<t:FolderId Id='A' ChangeKey='kA'/></m:FolderIds></m:EmptyFolder>");
}

// Attachments.

TEST_P(RequestDocuments, CreateAttachment) {
  const auto inner = TWItemAttachment::withDict(
      {{"name", "inner"},
       {"_item", TWMessage::withDict({{"subject", "s"}, {"culture", "en-US"}})}});
  expectSent(
      [&](TWError* error) {
        (void)TWCreateAttachment::withAccount(account)->call(TWIdPair{"A", "kA"}, {file(), inner},
                                                             error);
      },
      "<m:CreateAttachment><m:ParentItemId Id='A' ChangeKey='kA'/><m:Attachments>"
      "<t:FileAttachment><t:Name>a.txt</t:Name><t:ContentType>text/plain</t:ContentType>"
      "<t:Content>QUJD</t:Content></t:FileAttachment><t:ItemAttachment><t:Name>inner</t:Name>"
      "<t:Message><t:Subject>s</t:Subject><t:Sensitivity>Normal</t:Sensitivity>"
      "<t:Importance>Normal</t:Importance><t:ReminderIsSet>0</t:ReminderIsSet>"
      "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
      "<t:Culture>en-US</t:Culture></t:Message></t:ItemAttachment></m:Attachments>"
      "</m:CreateAttachment>");
}

TEST_P(RequestDocuments, CreateAttachmentWithAnItemThatIsNotForEveryVersion) {
  const auto inner = TWItemAttachment::withDict(
      {{"name", "inner"},
       {"_item", TWContact::withDict({{"file_as_mapping", "DisplayName"}, {"culture", "en-US"}})}});
  const auto call = [&](TWError* error) {
    (void)TWCreateAttachment::withAccount(account)->call(TWIdPair{"A", "kA"}, {inner}, error);
  };
  if (is("Exchange2007_SP1")) {
    TWError error;
    call(&error);
    EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidServerVersion)) << error;
    EXPECT_TRUE(server.requests().empty());
    return;
  }
  expectSent(call,
             "<m:CreateAttachment><m:ParentItemId Id='A' ChangeKey='kA'/><m:Attachments>"
             "<t:ItemAttachment><t:Name>inner</t:Name><t:Contact>"
             "<t:Sensitivity>Normal</t:Sensitivity><t:Importance>Normal</t:Importance>"
             "<t:ReminderIsSet>0</t:ReminderIsSet>"
             "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
             "<t:Culture>en-US</t:Culture><t:FileAsMapping>DisplayName</t:FileAsMapping>"
             "</t:Contact></t:ItemAttachment></m:Attachments></m:CreateAttachment>");
}

TEST_P(RequestDocuments, GetAttachment) {
  expectSent(
      [&](TWError* error) {
        (void)TWGetAttachment::withAccount(account)->call(
            {"X", TWAttachmentId::withDict({{"id", "Y"}})}, true, error);
      },
      "<m:GetAttachment><m:AttachmentShape><t:IncludeMimeContent>true</t:IncludeMimeContent>"
      "</m:AttachmentShape><m:AttachmentIds><t:AttachmentId Id='X'/><t:AttachmentId Id='Y'/>"
      "</m:AttachmentIds></m:GetAttachment>");
}

TEST_P(RequestDocuments, DeleteAttachment) {
  expectSent(
      [&](TWError* error) {
        (void)TWDeleteAttachment::withAccount(account)->call({"X", "Y"}, error);
      },
      "<m:DeleteAttachment><m:AttachmentIds><t:AttachmentId Id='X'/><t:AttachmentId Id='Y'/>"
      "</m:AttachmentIds></m:DeleteAttachment>");
}

// What is asked of the server and not of a mailbox.

TEST_P(RequestDocuments, ResolveNames) {
  expectSentWithoutAccount(
      [&](TWError* error) {
        (void)TWResolveNames::withProtocol(protocol)->call(
            {"ann", "bob"}, {folder("C")->idElement()}, true, "ActiveDirectoryContacts", {}, error);
      },
      "<m:ResolveNames ReturnFullContactData='true' SearchScope='ActiveDirectoryContacts'>"
      "<m:ParentFolderIds><t:FolderId Id='C' ChangeKey='kC'/></m:ParentFolderIds>"
      "<m:UnresolvedEntry>ann</m:UnresolvedEntry><m:UnresolvedEntry>bob</m:UnresolvedEntry>"
      "</m:ResolveNames>");
}

TEST_P(RequestDocuments, ResolveNamesWithAShape) {
  const auto call = [&](TWError* error) {
    (void)TWResolveNames::withProtocol(protocol)->call({"ann"}, {}, false, {}, "IdOnly", error);
  };
  if (is("Exchange2007_SP1"))
    return expectRefused(call, TWError(TWErrorCode::ErrorValueOutOfRange,
                                       "Contact data shape is not supported below 2010_SP2"));
  expectSentWithoutAccount(call,
                           "<m:ResolveNames ReturnFullContactData='false' "
                           "ContactDataShape='IdOnly'><m:UnresolvedEntry>ann</m:UnresolvedEntry>"
                           "</m:ResolveNames>");
}

TEST_P(RequestDocuments, GetServerTimeZones) {
  const auto call = [&](TWError* error) {
    (void)TWGetServerTimeZones::withProtocol(protocol)->call(true, error);
  };
  if (is("Exchange2007_SP1"))
    return expectRefused(
        call, TWError(TWErrorCode::ErrorMissingArgument,
                      "GetServerTimeZones is only supported for Exchange 2010 and later"));
  expectSentWithoutAccount(call, "<m:GetServerTimeZones ReturnFullTimeZoneData='true'/>");
}

// Who asks.

TEST_P(RequestDocuments, ImpersonationIsToldByTheOperationsOfTheAccount) {
  account = makeAccount(TWAccessTypeImpersonation);
  expectDocument(
      [&](TWError* error) { (void)account->exportItems(ids, error); },
      document(std::string("<t:ExchangeImpersonation><t:ConnectingSID><t:PrimarySMTPAddress>"
                           "ann@example.com</t:PrimarySMTPAddress></t:ConnectingSID>"
                           "</t:ExchangeImpersonation>") +
                   kZone,
               std::string("<m:ExportItems>") + kItemIds + "</m:ExportItems>"));
}

TEST_P(RequestDocuments, ImpersonationIsNotToldBySearches) {
  account = makeAccount(TWAccessTypeImpersonation);
  expectSentWithoutAccount(
      [&](TWError* error) {
        auto pages =
            TWFindItem::withAccount(account, {folder("F")})
                ->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "Shallow", nullptr, 9, 0);
        (void)pages.nextPage(error);
      },
      "<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
      "</m:ItemShape><m:IndexedPageItemView MaxEntriesReturned='9' Offset='0' "
      "BasePoint='Beginning'/><m:ParentFolderIds><t:FolderId Id='F' ChangeKey='kF'/>"
      "</m:ParentFolderIds></m:FindItem>");
}

}  // namespace
}  // namespace tarnwell
