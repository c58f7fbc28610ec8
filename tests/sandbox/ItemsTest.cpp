#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sandbox/detail/Base64.h"
#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string kSave = R"(MessageDisposition="SaveOnly")";

std::string message(const std::string& subject, const std::string& more = {}) {
  return "<t:Message><t:Subject>" + subject + "</t:Subject>" + more + "</t:Message>";
}

std::string recipients(const std::string& address) {
  return "<t:ToRecipients><t:Mailbox><t:EmailAddress>" + address +
         "</t:EmailAddress></t:Mailbox></t:ToRecipients>";
}

class Items : public StoreTest {
 protected:
  std::string createCode(const std::string& item, const std::string& attributes = kSave) {
    return code("<m:CreateItem " + attributes + "><m:Items>" + item + "</m:Items></m:CreateItem>");
  }
  std::string refused(const std::string& item, const std::string& version = "Exchange2016") {
    return violation("<m:CreateItem " + kSave + "><m:Items>" + item + "</m:Items></m:CreateItem>",
                     version);
  }
  std::string remove(const IdPair& item, const std::string& type,
                     const std::string& attributes = {}) {
    return code("<m:DeleteItem DeleteType='" + type + "' " + attributes + "><m:ItemIds>" +
                itemId(item) + "</m:ItemIds></m:DeleteItem>");
  }
  /// As bob sees it.
  std::vector<std::string> bobsInbox() {
    return subjects(distinguished("inbox", "bob@example.com"));
  }
};

TEST_F(Items, AMessageComesBackAsItWasSaved) {
  const IdPair id = makeItem(
      "<t:Message><t:Subject>Lunch &amp; more</t:Subject><t:Sensitivity>Private</t:Sensitivity>"
      "<t:Body BodyType='HTML'>&lt;p&gt;At  noon\n&lt;/p&gt;</t:Body>"
      "<t:Categories><t:String>Red</t:String><t:String>Blue</t:String></t:Categories>"
      "<t:Importance>High</t:Importance>" +
      recipients("bob@example.com") + "<t:IsRead>0</t:IsRead></t:Message>");
  const Answer item = getItem(id);
  EXPECT_EQ(item.text("//Items/Message/Subject"), "Lunch & more");
  EXPECT_EQ(item.text("//Sensitivity"), "Private");
  EXPECT_EQ(item.text("//Message/Body"), "<p>At  noon\n</p>");
  EXPECT_EQ(item.attribute("//Message/Body", "BodyType"), "HTML");
  EXPECT_THAT(item.texts("//Categories/String"), ElementsAre("Red", "Blue"));
  EXPECT_EQ(item.text("//Importance"), "High");
  EXPECT_EQ(item.text("//ToRecipients/Mailbox/EmailAddress"), "bob@example.com");
  EXPECT_EQ(item.text("//IsRead"), "false");
  EXPECT_EQ(item.text("//ItemClass"), "IPM.Note");
  EXPECT_EQ(item.text("//IsDraft"), "true");
  EXPECT_EQ(item.text("//DisplayTo"), "bob@example.com");
  EXPECT_EQ(item.text("//HasAttachments"), "false");
  EXPECT_EQ(item.count("//MimeContent"), 0U);
  EXPECT_EQ(item.attribute("//ParentFolderId", "Id"),
            getFolder(distinguished("drafts")).attribute("//FolderId", "Id"));
}

TEST_F(Items, CarriageReturnsSurvive) {
  const IdPair id = makeItem(message("a", "<t:Body BodyType='Text'>one&#13;\ntwo</t:Body>"));
  EXPECT_EQ(getItem(id).text("//Message/Body"), "one\r\ntwo");
}

TEST_F(Items, ItemsGoToTheFolderOfTheirKind) {
  static_cast<void>(makeItem("<t:Contact><t:DisplayName>Zoe</t:DisplayName></t:Contact>"));
  static_cast<void>(makeItem("<t:Task><t:Subject>Wash</t:Subject></t:Task>"));
  static_cast<void>(
      makeItem("<t:CalendarItem><t:Subject>Meet</t:Subject>"
               "<t:Start>2026-03-01T10:00:00+01:00</t:Start>"
               "<t:End>2026-03-01T11:30:00+01:00</t:End></t:CalendarItem>"));
  EXPECT_EQ(getFolder(distinguished("contacts")).text("//TotalCount"), "1");
  EXPECT_THAT(subjects(distinguished("tasks")), ElementsAre("Wash"));
  EXPECT_THAT(subjects(distinguished("calendar")), ElementsAre("Meet"));
}

TEST_F(Items, FoldersTakeOnlyTheKindsThatTheyAreFor) {
  const auto inTheInbox = [this](const std::string& item) {
    return code(
        "<m:CreateItem MessageDisposition='SaveOnly' SendMeetingInvitations='SendToNone'>"
        "<m:SavedItemFolderId>" +
        distinguished("inbox") + "</m:SavedItemFolderId><m:Items>" + item +
        "</m:Items></m:CreateItem>");
  };
  EXPECT_EQ(inTheInbox("<t:Contact/>"), "ErrorCannotCreateContactInNonContactFolder");
  EXPECT_EQ(inTheInbox("<t:Task/>"), "ErrorCannotCreateTaskInNonTaskFolder");
  EXPECT_EQ(inTheInbox("<t:CalendarItem/>"), "ErrorCannotCreateCalendarItemInNonCalendarFolder");
  EXPECT_EQ(inTheInbox("<t:PostItem/>"), "NoError");
}

TEST_F(Items, AContactWithoutADisplayNameGetsOne) {
  const IdPair id =
      makeItem("<t:Contact><t:GivenName>Zoe</t:GivenName><t:Surname>Ek</t:Surname></t:Contact>");
  EXPECT_EQ(getItem(id).text("//Contact/DisplayName"), "Zoe Ek");
  EXPECT_EQ(getItem(id).text("//Contact/Subject"), "Zoe Ek");
}

TEST_F(Items, TimesAreKeptInUtc) {
  const IdPair id = makeItem(
      "<t:CalendarItem><t:Start>2026-03-01T00:30:00+01:00</t:Start>"
      "<t:End>2026-03-01T02:00:00.5Z</t:End></t:CalendarItem>");
  const Answer item = getItem(id);
  EXPECT_EQ(item.text("//CalendarItem/Start"), "2026-02-28T23:30:00Z");
  EXPECT_EQ(item.text("//CalendarItem/End"), "2026-03-01T02:00:00Z");
  EXPECT_EQ(item.text("//Duration"), "PT2H30M");
  EXPECT_EQ(item.text("//CalendarItemType"), "Single");
}

TEST_F(Items, ASavedItemFolderCountsMore) {
  const IdPair folder = makeFolder(distinguished("inbox"), "Mine");
  static_cast<void>(makeItem(message("here"), folderId(folder)));
  EXPECT_THAT(subjects(folderId(folder)), ElementsAre("here"));
}

TEST_F(Items, UnreadMessagesAreCounted) {
  static_cast<void>(makeItem(message("a", "<t:IsRead>false</t:IsRead>"), distinguished("inbox")));
  static_cast<void>(makeItem(message("b"), distinguished("inbox")));
  EXPECT_EQ(getFolder(distinguished("inbox")).text("//UnreadCount"), "1");
  EXPECT_EQ(getFolder(distinguished("inbox")).text("//TotalCount"), "2");
}

TEST_F(Items, ElementsOutOfOrderBreakTheSchema) {
  EXPECT_THAT(refused("<t:Message><t:Importance>Low</t:Importance><t:Subject>a</t:Subject>"
                      "</t:Message>"),
              HasSubstr("invalid child element 'Subject'"));
  EXPECT_THAT(refused("<t:Message><t:Subject>a</t:Subject><t:Subject>b</t:Subject></t:Message>"),
              HasSubstr("invalid child element 'Subject'"));
  EXPECT_THAT(refused("<t:Message><t:GivenName>a</t:GivenName></t:Message>"),
              HasSubstr("'GivenName'"));
  EXPECT_THAT(refused("<m:Message/>"), HasSubstr("'Message'"));
}

TEST_F(Items, ValuesOfTheWrongTypeBreakTheSchema) {
  EXPECT_THAT(refused("<t:Message><t:Importance>Huge</t:Importance></t:Message>"),
              HasSubstr("Enumeration"));
  EXPECT_THAT(refused("<t:Message><t:ReminderDueBy>soon</t:ReminderDueBy></t:Message>"),
              HasSubstr("dateTime"));
  EXPECT_THAT(refused("<t:Message><t:ReminderDueBy>2026-02-30T00:00:00Z</t:ReminderDueBy>"
                      "</t:Message>"),
              HasSubstr("dateTime"));
  EXPECT_THAT(refused("<t:Message><t:IsRead>yes</t:IsRead></t:Message>"), HasSubstr("boolean"));
  EXPECT_THAT(refused("<t:Message><t:Body>a</t:Body></t:Message>"), HasSubstr("'BodyType'"));
  EXPECT_THAT(refused("<t:Message><t:MimeContent>*</t:MimeContent></t:Message>"),
              HasSubstr("base64Binary"));
}

TEST_F(Items, NewElementsAreUnknownToOldSchemas) {
  const std::string item =
      "<t:Message><t:Flag><t:FlagStatus>Flagged</t:FlagStatus></t:Flag></t:Message>";
  EXPECT_THAT(refused(item, "Exchange2010_SP2"), HasSubstr("'Flag'"));
  EXPECT_EQ(getItem(makeItem(item)).text("//FlagStatus"), "Flagged");
}

TEST_F(Items, TheServersOwnPropertiesCannotBeSet) {
  EXPECT_EQ(createCode("<t:Message><t:Size>7</t:Size></t:Message>"), "ErrorInvalidPropertySet");
}

TEST_F(Items, EachKindNeedsItsAttribute) {
  EXPECT_EQ(createCode(message("a"), ""), "ErrorMessageDispositionRequired");
  EXPECT_EQ(createCode("<t:CalendarItem/>", kSave), "ErrorSendMeetingInvitationsRequired");
  EXPECT_EQ(createCode("<t:Contact/>", ""), "NoError");
  EXPECT_EQ(remove(makeItem("<t:CalendarItem/>"), "HardDelete"),
            "ErrorSendMeetingCancellationsRequired");
  EXPECT_EQ(remove(makeItem("<t:Task/>"), "HardDelete"), "ErrorAffectedTaskOccurrencesRequired");
}

TEST_F(Items, AnAppointmentEndsAfterItsBeginning) {
  EXPECT_EQ(createCode("<t:CalendarItem><t:Start>2026-01-02T00:00:00Z</t:Start>"
                       "<t:End>2026-01-01T00:00:00Z</t:End></t:CalendarItem>",
                       "SendMeetingInvitations='SendToNone'"),
            "ErrorCalendarEndDateIsEarlierThanStartDate");
}

TEST_F(Items, OneBadItemDoesNotStopTheOthers) {
  const Answer answer =
      ask("<m:CreateItem " + kSave + "><m:Items>" + message("one") + "<t:Message><t:Size>1" +
          "</t:Size></t:Message>" + message("two") + "</m:Items></m:CreateItem>");
  EXPECT_THAT(answer.texts("//ResponseCode"),
              ElementsAre("NoError", "ErrorInvalidPropertySet", "NoError"));
  EXPECT_THAT(subjects(distinguished("drafts")), ElementsAre("one", "two"));
}

TEST_F(Items, AShapeSaysWhatComes) {
  const IdPair id = makeItem(message("a", "<t:Body BodyType='Text'>b</t:Body>"));
  const Answer bare = getItem(id, "<t:BaseShape>IdOnly</t:BaseShape>");
  EXPECT_EQ(bare.count("//ItemId"), 1U);
  EXPECT_EQ(bare.count("//Subject"), 0U);
  const Answer standard = getItem(id, "<t:BaseShape>Default</t:BaseShape>");
  EXPECT_EQ(standard.text("//Subject"), "a");
  EXPECT_EQ(standard.text("//Message/Body"), "b");
  EXPECT_EQ(standard.count("//Categories"), 0U);
  const Answer more =
      getItem(id,
              "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
              "<t:FieldURI FieldURI='item:Importance'/><t:FieldURI FieldURI='contacts:Surname'/>"
              "</t:AdditionalProperties>");
  EXPECT_EQ(more.text("//Importance"), "Normal");
  EXPECT_EQ(more.count("//Subject"), 0U);
}

TEST_F(Items, BodiesComeInTheTypeThatIsAskedFor) {
  const IdPair html =
      makeItem(message("a", "<t:Body BodyType='HTML'>&lt;b&gt;1 &amp;lt; 2&lt;/b&gt;</t:Body>"));
  EXPECT_EQ(getItem(html, "<t:BaseShape>Default</t:BaseShape><t:BodyType>Text</t:BodyType>")
                .text("//Message/Body"),
            "1 < 2");
  const IdPair text = makeItem(message("a", "<t:Body BodyType='Text'>1 &lt; 2</t:Body>"));
  EXPECT_EQ(getItem(text, "<t:BaseShape>Default</t:BaseShape><t:BodyType>HTML</t:BodyType>")
                .text("//Message/Body"),
            "<html><body><pre>1 &lt; 2</pre></body></html>");
}

TEST_F(Items, MimeContentComesOnlyWhenAskedFor) {
  const IdPair id = makeItem(message("a"));
  const Answer answer =
      getItem(id,
              "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
              "<t:FieldURI FieldURI='item:MimeContent'/></t:AdditionalProperties>");
  EXPECT_EQ(answer.attribute("//MimeContent", "CharacterSet"), "UTF-8");
  EXPECT_THAT(answer.text("//MimeContent"), testing::StartsWith("U3ViamVjdDogYQ0K"));
}

TEST_F(Items, UnknownFieldsBreakTheSchema) {
  const auto shape = [](const std::string& uri) {
    return "<m:GetItem><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
           "<t:FieldURI FieldURI='" +
           uri +
           "'/></t:AdditionalProperties></m:ItemShape><m:ItemIds><t:ItemId Id='x'/>"
           "</m:ItemIds></m:GetItem>";
  };
  EXPECT_THAT(violation(shape("item:Subjekt")), HasSubstr("UnindexedFieldURIType"));
  EXPECT_THAT(violation(shape("item:TextBody"), "Exchange2010"), HasSubstr("item:TextBody"));
  // A misspelling that is taken for what it means.
  EXPECT_EQ(code(shape("contacts:Profression")), "ErrorInvalidIdMalformed");
}

TEST_F(Items, EntriesOfContactsAreAskedForOneByOne) {
  const IdPair id = makeItem(
      "<t:Contact><t:EmailAddresses><t:Entry Key='EmailAddress1'>a@x.example</t:Entry>"
      "<t:Entry Key='EmailAddress2'>b@x.example</t:Entry></t:EmailAddresses><t:PhysicalAddresses>"
      "<t:Entry Key='Home'><t:Street>Lane 1</t:Street><t:City>Town</t:City></t:Entry>"
      "</t:PhysicalAddresses></t:Contact>");
  const Answer answer =
      getItem(id,
              "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
              "<t:IndexedFieldURI FieldURI='contacts:EmailAddress' FieldIndex='EmailAddress2'/>"
              "<t:IndexedFieldURI FieldURI='contacts:PhysicalAddress:City' FieldIndex='Home'/>"
              "<t:IndexedFieldURI FieldURI='contacts:PhysicalAddress:City' FieldIndex='Business'/>"
              "<t:IndexedFieldURI FieldURI='contacts:PhoneNumber' FieldIndex='HomePhone'/>"
              "</t:AdditionalProperties>");
  EXPECT_THAT(answer.texts("//EmailAddresses/Entry"), ElementsAre("b@x.example"));
  EXPECT_EQ(answer.text("//PhysicalAddresses/Entry/City"), "Town");
  EXPECT_EQ(answer.count("//Street"), 0U);
  EXPECT_EQ(answer.count("//PhoneNumbers"), 0U);
}

TEST_F(Items, ExtendedPropertiesAreFoundHoweverTheyAreNamed) {
  const IdPair id = makeItem(
      "<t:Message><t:ExtendedProperty><t:ExtendedFieldURI PropertyTag='0x1090' "
      "PropertyType='Integer'/><t:Value>2</t:Value></t:ExtendedProperty><t:ExtendedProperty>"
      "<t:ExtendedFieldURI PropertySetId='C11FF724-AA03-4555-9952-8FA248A11C3F' "
      "PropertyName='External ID' PropertyType='String'/><t:Value>e 1</t:Value>"
      "</t:ExtendedProperty></t:Message>");
  const Answer answer =
      getItem(id,
              "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
              "<t:ExtendedFieldURI PropertyTag='4240' PropertyType='Integer'/>"
              "<t:ExtendedFieldURI PropertySetId='c11ff724-aa03-4555-9952-8fa248a11c3f' "
              "PropertyName='External ID' PropertyType='String'/></t:AdditionalProperties>");
  EXPECT_THAT(answer.texts("//ExtendedProperty/Value"), ElementsAre("2", "e 1"));
  EXPECT_EQ(getItem(id).count("//ExtendedProperty"), 0U);
}

TEST_F(Items, ExtendedPropertiesMustBeAddressable) {
  const auto create = [this](const std::string& uri, const std::string& value) {
    const HttpReply reply =
        send(envelope("<m:CreateItem " + kSave + "><m:Items><t:Message><t:ExtendedProperty>" +
                      "<t:ExtendedFieldURI " + uri + "/><t:Value>" + value +
                      "</t:Value></t:ExtendedProperty></t:Message></m:Items></m:CreateItem>"));
    return Answer(reply).text("//ResponseCode");
  };
  EXPECT_EQ(create("PropertyTag='0x1090' PropertyName='a' PropertyType='String'", "x"),
            "ErrorInvalidExtendedProperty");
  EXPECT_EQ(create("PropertyName='a' PropertyType='String'", "x"), "ErrorInvalidExtendedProperty");
  EXPECT_EQ(create("PropertyTag='0x1090' PropertyType='Integer'", "x"),
            "ErrorInvalidExtendedPropertyValue");
  EXPECT_EQ(create("PropertyTag='0x1090' PropertyType='Text'", "x"), "ErrorSchemaValidation");
  EXPECT_EQ(create("PropertyTag='0x1090' PropertyType='StringArray'", "x"),
            "ErrorInvalidExtendedPropertyValue");
}

TEST_F(Items, GetItemAnswersEachIdInItsPlace) {
  const IdPair id = makeItem(message("a"));
  const IdPair inbox = idAt(getFolder(distinguished("inbox")), "//FolderId");
  const IdPair gone = makeItem(message("b"));
  EXPECT_EQ(remove(gone, "HardDelete"), "NoError");
  const Answer answer =
      ask("<m:GetItem><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape></m:ItemShape><m:ItemIds>" +
          itemId(id) + itemId(gone) + itemId(inbox) + itemId({"garbage", ""}) +
          itemId({id.id, "garbage"}) + itemId({id.id, ""}) + "</m:ItemIds></m:GetItem>");
  EXPECT_THAT(answer.texts("//ResponseCode"),
              ElementsAre("NoError", "ErrorItemNotFound", "ErrorCannotUseFolderIdForItemId",
                          "ErrorInvalidIdMalformed", "ErrorInvalidChangeKey", "NoError"));
  EXPECT_EQ(answer.text("//MessageText"), "The specified object was not found in the store.");
}

TEST_F(Items, AHardDeletedItemIsGone) {
  const IdPair id = makeItem(message("a"));
  EXPECT_EQ(remove(id, "HardDelete"), "NoError");
  EXPECT_EQ(getItem(id).text("//ResponseCode"), "ErrorItemNotFound");
  EXPECT_EQ(getFolder(distinguished("recoverableitemsdeletions")).text("//TotalCount"), "0");
}

TEST_F(Items, ASoftDeletedItemCanBeRecovered) {
  const IdPair id = makeItem(message("a"));
  EXPECT_EQ(remove(id, "SoftDelete"), "NoError");
  EXPECT_EQ(getItem(id).text("//ResponseCode"), "ErrorItemNotFound");
  EXPECT_THAT(subjects(distinguished("recoverableitemsdeletions")), ElementsAre("a"));
}

TEST_F(Items, ADeletedItemLiesInTheDeletedItems) {
  EXPECT_EQ(remove(makeItem(message("a")), "MoveToDeletedItems"), "NoError");
  EXPECT_THAT(subjects(distinguished("deleteditems")), ElementsAre("a"));
  EXPECT_THAT(subjects(distinguished("drafts")), IsEmpty());
}

TEST_F(Items, AMovedItemHasANewId) {
  const IdPair id = makeItem(message("a"));
  const Answer answer =
      ask("<m:MoveItem><m:ToFolderId>" + distinguished("inbox") + "</m:ToFolderId><m:ItemIds>" +
          itemId(id) + "</m:ItemIds></m:MoveItem>");
  const IdPair moved = idAt(answer, "//Items/Message/ItemId");
  EXPECT_NE(moved.id, id.id);
  EXPECT_EQ(getItem(moved).text("//Subject"), "a");
  EXPECT_EQ(getItem(id).text("//ResponseCode"), "ErrorItemNotFound");
}

TEST_F(Items, ASentMessageArrives) {
  const Answer answer =
      ask("<m:CreateItem MessageDisposition='SendAndSaveCopy'><m:Items>" +
          message("Hello", recipients("BOB@example.com")) + "</m:Items></m:CreateItem>");
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  EXPECT_EQ(answer.count("//Items"), 1U);
  EXPECT_EQ(answer.count("//ItemId"), 0U);
  EXPECT_THAT(subjects(distinguished("sentitems")), ElementsAre("Hello"));
  EXPECT_THAT(bobsInbox(), ElementsAre("Hello"));
  const IdPair arrived =
      idAt(ask("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
               "</m:ItemShape><m:ParentFolderIds>" +
               distinguished("inbox", "bob@example.com") + "</m:ParentFolderIds></m:FindItem>"),
           "//ItemId");
  const Answer item = getItem(arrived);
  EXPECT_EQ(item.text("//From/Mailbox/EmailAddress"), "alice@example.com");
  EXPECT_EQ(item.text("//ReceivedBy/Mailbox/EmailAddress"), "bob@example.com");
  EXPECT_EQ(item.text("//IsRead"), "false");
  EXPECT_EQ(item.text("//IsDraft"), "false");
}

TEST_F(Items, BlindRecipientsAreNotShown) {
  static_cast<void>(
      ask("<m:CreateItem MessageDisposition='SendOnly'><m:Items><t:Message><t:Subject>Psst"
          "</t:Subject><t:BccRecipients><t:Mailbox><t:EmailAddress>bob@example.com"
          "</t:EmailAddress></t:Mailbox></t:BccRecipients></t:Message></m:Items></m:CreateItem>"));
  EXPECT_THAT(bobsInbox(), ElementsAre("Psst"));
  EXPECT_THAT(subjects(distinguished("sentitems")), IsEmpty());
  EXPECT_THAT(subjects(distinguished("drafts")), IsEmpty());
}

TEST_F(Items, AMessageWithoutRecipientsCannotBeSent) {
  EXPECT_EQ(createCode(message("a"), "MessageDisposition='SendOnly'"), "ErrorInvalidRecipients");
  EXPECT_EQ(createCode(message("a", recipients("nobody")), "MessageDisposition='SendOnly'"),
            "ErrorInvalidRecipients");
}

TEST_F(Items, ADraftIsSentWithItsChangeKey) {
  const IdPair id = makeItem(message("Draft", recipients("bob@example.com")));
  const auto sendIt = [this](const IdPair& item) {
    return code("<m:SendItem SaveItemToFolder='true'><m:ItemIds>" + itemId(item) +
                "</m:ItemIds></m:SendItem>");
  };
  EXPECT_EQ(sendIt({id.id, ""}), "ErrorChangeKeyRequired");
  EXPECT_EQ(sendIt({id.id, idAt(getFolder(distinguished("inbox")), "//FolderId").changeKey}),
            "ErrorStaleObject");
  EXPECT_EQ(sendIt(id), "NoError");
  EXPECT_THAT(subjects(distinguished("drafts")), IsEmpty());
  EXPECT_THAT(subjects(distinguished("sentitems")), ElementsAre("Draft"));
  EXPECT_THAT(bobsInbox(), ElementsAre("Draft"));
}

TEST_F(Items, ASentMessageIsSavedWhereItIsToBe) {
  const IdPair first = makeItem(message("One", recipients("bob@example.com")));
  EXPECT_EQ(code("<m:SendItem SaveItemToFolder='true'><m:ItemIds>" + itemId(first) +
                 "</m:ItemIds><m:SavedItemFolderId>" + distinguished("journal") +
                 "</m:SavedItemFolderId></m:SendItem>"),
            "NoError");
  EXPECT_THAT(subjects(distinguished("journal")), ElementsAre("One"));
  const IdPair second = makeItem(message("Two", recipients("bob@example.com")));
  EXPECT_EQ(code("<m:SendItem SaveItemToFolder='false'><m:ItemIds>" + itemId(second) +
                 "</m:ItemIds></m:SendItem>"),
            "NoError");
  EXPECT_THAT(subjects(distinguished("drafts")), IsEmpty());
  EXPECT_THAT(subjects(distinguished("sentitems")), IsEmpty());
}

TEST_F(Items, OnlyMessagesCanBeSent) {
  EXPECT_EQ(code("<m:SendItem SaveItemToFolder='true'><m:ItemIds>" +
                 itemId(makeItem("<t:Contact/>")) + "</m:ItemIds></m:SendItem>"),
            "ErrorInvalidItemForOperationSendItem");
}

TEST_F(Items, AnExportedItemCanBeUploadedElsewhere) {
  const IdPair id = makeItem(
      "<t:Message><t:Subject>Travel</t:Subject><t:Attachments><t:FileAttachment><t:Name>a.txt"
      "</t:Name><t:Content>YWJj</t:Content></t:FileAttachment><t:ItemAttachment><t:Name>b</t:Name>"
      "<t:Task><t:Subject>Inner</t:Subject></t:Task></t:ItemAttachment></t:Attachments>"
      "</t:Message>");
  const Answer exported =
      ask("<m:ExportItems><m:ItemIds>" + itemId(id) + "</m:ItemIds></m:ExportItems>");
  EXPECT_EQ(exported.attribute("//ItemId", "Id"), id.id);
  const IdPair inbox = idAt(getFolder(distinguished("inbox", "bob@example.com")), "//FolderId");
  const auto upload = [&](const std::string& data) {
    return ask("<m:UploadItems><m:Items><t:Item CreateAction='CreateNew'><t:ParentFolderId Id='" +
               inbox.id + "'/><t:Data>" + data + "</t:Data></t:Item></m:Items></m:UploadItems>");
  };
  const Answer uploaded = upload(exported.text("//Data"));
  const IdPair copy = idAt(uploaded, "//UploadItemsResponseMessage/ItemId");
  EXPECT_NE(copy.id, id.id);
  EXPECT_EQ(getItem(copy).text("//Subject"), "Travel");
  EXPECT_EQ(getItem(copy).text("//FileAttachment/Name"), "a.txt");
  EXPECT_NE(getItem(copy).attribute("//AttachmentId", "Id"),
            getItem(id).attribute("//AttachmentId", "Id"));
  EXPECT_EQ(upload("bm90aGluZw==").text("//ResponseCode"), "ErrorCorruptData");
}

TEST_F(Items, ForgedDataIsNotUploaded) {
  const IdPair drafts = idAt(getFolder(distinguished("drafts")), "//FolderId");
  const auto upload = [&](const std::string& archive) {
    const std::string data = encodeBase64(
        "<t:SandboxItem xmlns:t='http://schemas.microsoft.com/exchange/services/2006/types'>" +
        archive + "</t:SandboxItem>");
    return code("<m:UploadItems><m:Items><t:Item CreateAction='CreateNew'><t:ParentFolderId Id='" +
                drafts.id + "'/><t:Data>" + data + "</t:Data></t:Item></m:Items></m:UploadItems>");
  };
  const std::string good = "<t:Content><t:Message><t:Subject>a</t:Subject></t:Message></t:Content>";
  EXPECT_EQ(upload(good), "NoError");
  EXPECT_EQ(upload(""), "ErrorCorruptData");
  EXPECT_EQ(upload("<t:Content/>"), "ErrorCorruptData");
  EXPECT_EQ(upload("<t:Content><t:Folder/></t:Content>"), "ErrorCorruptData");
  EXPECT_EQ(upload("<t:Content><t:Message><t:ExtendedProperty/></t:Message></t:Content>"),
            "ErrorCorruptData");
  EXPECT_EQ(upload("<t:Content><t:CalendarItem><t:RequiredAttendees><t:Attendee/>"
                   "</t:RequiredAttendees></t:CalendarItem></t:Content>"),
            "ErrorCorruptData");
  EXPECT_EQ(upload(good + "<t:Attachment/>"), "ErrorCorruptData");
  EXPECT_EQ(upload(good + "<t:Attachment><t:Description><t:ItemAttachment/></t:Description>"
                          "<t:Bytes/></t:Attachment>"),
            "ErrorCorruptData");
}

TEST_F(Items, AnUploadCanReplaceAnItem) {
  const IdPair source = makeItem(message("New"));
  const std::string data =
      ask("<m:ExportItems><m:ItemIds>" + itemId(source) + "</m:ItemIds></m:ExportItems>")
          .text("//Data");
  const IdPair target = makeItem(message("Old"));
  const IdPair drafts = idAt(getFolder(distinguished("drafts")), "//FolderId");
  const auto upload = [&](const std::string& action) {
    return ask("<m:UploadItems><m:Items><t:Item CreateAction='" + action +
               "'><t:ParentFolderId Id='" + drafts.id + "'/>" + itemId(target) + "<t:Data>" + data +
               "</t:Data></t:Item></m:Items></m:UploadItems>");
  };
  EXPECT_EQ(upload("Update").attribute("//UploadItemsResponseMessage/ItemId", "Id"), target.id);
  EXPECT_EQ(getItem(target).text("//Subject"), "New");
  EXPECT_EQ(remove(target, "HardDelete"), "NoError");
  EXPECT_EQ(upload("Update").text("//ResponseCode"), "ErrorItemNotFound");
  EXPECT_EQ(upload("UpdateOrCreate").text("//ResponseCode"), "NoError");
  EXPECT_THAT(subjects(distinguished("drafts")), ElementsAre("New", "New"));
}

TEST_F(Items, ManyClientsAtOnceLoseNothing) {
  constexpr int kClients = 4;
  constexpr int kEach = 25;
  const std::string url = server.url();
  std::vector<std::thread> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back([&url] {
      HttpClient own;
      for (int j = 0; j < kEach; ++j) {
        const Answer created(
            own.post(url, envelope("<m:CreateItem MessageDisposition='SaveOnly'><m:Items>" +
                                   message("a") + "</m:Items></m:CreateItem>")));
        const IdPair item = idAt(created, "//ItemId");
        const Answer got(
            own.post(url, envelope("<m:GetItem><m:ItemShape><t:BaseShape>Default</t:BaseShape>"
                                   "</m:ItemShape><m:ItemIds>" +
                                   itemId(item) + "</m:ItemIds></m:GetItem>")));
        EXPECT_EQ(got.text("//Subject"), "a");
      }
    });
  }
  for (std::thread& each : clients) each.join();
  EXPECT_EQ(getFolder(distinguished("drafts")).text("//TotalCount"),
            std::to_string(kClients * kEach));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
