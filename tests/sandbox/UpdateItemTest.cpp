#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string set(const std::string& uri, const std::string& value,
                const std::string& kind = "Message") {
  return "<t:SetItemField><t:FieldURI FieldURI='" + uri + "'/><t:" + kind + ">" + value +
         "</t:" + kind + "></t:SetItemField>";
}

std::string setSubject(const std::string& subject) {
  return set("item:Subject", "<t:Subject>" + subject + "</t:Subject>");
}

std::string remove(const std::string& uri) {
  return "<t:DeleteItemField><t:FieldURI FieldURI='" + uri + "'/></t:DeleteItemField>";
}

class UpdateItem : public StoreTest {
 protected:
  std::string request(const IdPair& item, const std::string& updates,
                      const std::string& resolution = "AutoResolve",
                      const std::string& more = "MessageDisposition='SaveOnly'") {
    return "<m:UpdateItem ConflictResolution='" + resolution + "' " + more +
           "><m:ItemChanges><t:ItemChange>" + itemId(item) + "<t:Updates>" + updates +
           "</t:Updates></t:ItemChange></m:ItemChanges></m:UpdateItem>";
  }
  std::string update(const IdPair& item, const std::string& updates,
                     const std::string& resolution = "AutoResolve") {
    return code(request(item, updates, resolution));
  }
  IdPair made() {
    return makeItem(
        "<t:Message><t:Subject>Old</t:Subject><t:Body BodyType='Text'>one</t:Body></t:Message>");
  }
};

TEST_F(UpdateItem, ASetPropertyHasItsNewValue) {
  const IdPair id = made();
  const Answer answer = ask(request(id, setSubject("New")));
  EXPECT_EQ(answer.attribute("//Items/Message/ItemId", "Id"), id.id);
  EXPECT_NE(answer.attribute("//Items/Message/ItemId", "ChangeKey"), id.changeKey);
  EXPECT_EQ(answer.text("//ConflictResults/Count"), "0");
  EXPECT_EQ(getItem(id).text("//Subject"), "New");
}

TEST_F(UpdateItem, ADeletedPropertyIsGone) {
  const IdPair id = made();
  EXPECT_EQ(update(id, remove("item:Body")), "NoError");
  EXPECT_EQ(getItem(id).count("//Message/Body"), 0U);
}

TEST_F(UpdateItem, DeletingAndSettingEmptyLeavesAnEmptyText) {
  const IdPair id = made();
  EXPECT_EQ(update(id, remove("item:Subject") + set("item:Subject", "<t:Subject/>")), "NoError");
  EXPECT_EQ(getItem(id).text("//Subject"), "");
}

TEST_F(UpdateItem, ABodyCanBeAppendedTo) {
  const IdPair id = made();
  EXPECT_EQ(update(id,
                   "<t:AppendToItemField><t:FieldURI FieldURI='item:Body'/><t:Message>"
                   "<t:Body BodyType='Text'> two</t:Body></t:Message></t:AppendToItemField>"),
            "NoError");
  EXPECT_EQ(getItem(id).text("//Message/Body"), "one two");
}

TEST_F(UpdateItem, RecipientsCanBeAppendedTo) {
  const IdPair id = made();
  const auto append = [&](const std::string& address) {
    return update(id,
                  "<t:AppendToItemField><t:FieldURI FieldURI='message:ToRecipients'/><t:Message>"
                  "<t:ToRecipients><t:Mailbox><t:EmailAddress>" +
                      address +
                      "</t:EmailAddress></t:Mailbox></t:ToRecipients></t:Message>"
                      "</t:AppendToItemField>",
                  "AlwaysOverwrite");
  };
  EXPECT_EQ(append("a@x.example"), "NoError");
  EXPECT_EQ(append("b@x.example"), "NoError");
  EXPECT_THAT(getItem(id).texts("//ToRecipients/Mailbox/EmailAddress"),
              ElementsAre("a@x.example", "b@x.example"));
}

TEST_F(UpdateItem, OtherPropertiesCannotBeAppendedTo) {
  EXPECT_EQ(update(made(),
                   "<t:AppendToItemField><t:FieldURI FieldURI='item:Subject'/><t:Message>"
                   "<t:Subject>x</t:Subject></t:Message></t:AppendToItemField>"),
            "ErrorInvalidPropertyAppend");
}

TEST_F(UpdateItem, AnUpdateCarriesTheOnePropertyThatItNames) {
  EXPECT_EQ(update(made(), set("item:Subject", "<t:Importance>Low</t:Importance>")),
            "ErrorUpdatePropertyMismatch");
  EXPECT_EQ(update(made(), set("item:Subject", "")), "ErrorIncorrectUpdatePropertyCount");
  EXPECT_EQ(update(made(),
                   set("item:Subject", "<t:Subject>a</t:Subject><t:Importance>Low</t:Importance>")),
            "ErrorIncorrectUpdatePropertyCount");
}

TEST_F(UpdateItem, TheServersOwnPropertiesStay) {
  EXPECT_EQ(update(made(), set("item:Size", "<t:Size>1</t:Size>")), "ErrorInvalidPropertySet");
  EXPECT_EQ(update(made(), remove("item:Size")), "ErrorInvalidPropertyDelete");
  EXPECT_EQ(update(made(), remove("item:Importance")), "ErrorInvalidPropertyDelete");
  EXPECT_EQ(update(made(), set("contacts:Surname", "<t:Surname>x</t:Surname>", "Contact")),
            "ErrorInvalidPropertySet");
}

TEST_F(UpdateItem, AFailedUpdateChangesNothing) {
  const IdPair id = made();
  EXPECT_EQ(update(id, setSubject("New") + set("item:Size", "<t:Size>1</t:Size>")),
            "ErrorInvalidPropertySet");
  EXPECT_EQ(getItem(id).text("//Subject"), "Old");
  EXPECT_EQ(getItem(id).attribute("//ItemId", "ChangeKey"), id.changeKey);
}

TEST_F(UpdateItem, NeverOverwriteWantsTheCurrentChangeKey) {
  const IdPair id = made();
  EXPECT_EQ(update({id.id, ""}, setSubject("a"), "NeverOverwrite"),
            "ErrorChangeKeyRequiredForWriteOperations");
  EXPECT_EQ(update(id, setSubject("a"), "NeverOverwrite"), "NoError");
  EXPECT_EQ(update(id, setSubject("b"), "NeverOverwrite"), "ErrorIrresolvableConflict");
  EXPECT_EQ(getItem(id).text("//Subject"), "a");
}

TEST_F(UpdateItem, AutoResolveMergesChangesOfDifferentProperties) {
  const IdPair id = made();
  EXPECT_EQ(update(id, setSubject("a")), "NoError");
  EXPECT_EQ(update(id, set("item:Importance", "<t:Importance>High</t:Importance>")), "NoError");
  EXPECT_EQ(update(id, setSubject("b")), "ErrorIrresolvableConflict");
  EXPECT_EQ(update({id.id, ""}, setSubject("c")), "NoError");
  EXPECT_EQ(getItem(id).text("//Subject"), "c");
  EXPECT_EQ(getItem(id).text("//Importance"), "High");
}

TEST_F(UpdateItem, AlwaysOverwriteWins) {
  const IdPair id = made();
  EXPECT_EQ(update(id, setSubject("a")), "NoError");
  EXPECT_EQ(update(id, setSubject("b"), "AlwaysOverwrite"), "NoError");
  EXPECT_EQ(getItem(id).text("//Subject"), "b");
}

TEST_F(UpdateItem, EntriesOfContactsAreChangedOneByOne) {
  const IdPair id = makeItem(
      "<t:Contact><t:PhysicalAddresses><t:Entry Key='Home'><t:City>Old Town</t:City></t:Entry>"
      "</t:PhysicalAddresses><t:PhoneNumbers><t:Entry Key='HomePhone'>1</t:Entry>"
      "<t:Entry Key='Pager'>2</t:Entry></t:PhoneNumbers></t:Contact>");
  const auto entry = [](const std::string& uri, const std::string& key, const std::string& value) {
    return "<t:SetItemField><t:IndexedFieldURI FieldURI='" + uri + "' FieldIndex='" + key +
           "'/><t:Contact>" + value + "</t:Contact></t:SetItemField>";
  };
  EXPECT_EQ(update(id, entry("contacts:PhysicalAddress:Street", "Home",
                             "<t:PhysicalAddresses><t:Entry Key='Home'><t:Street>Lane</t:Street>"
                             "</t:Entry></t:PhysicalAddresses>") +
                           entry("contacts:PhoneNumber", "HomePhone",
                                 "<t:PhoneNumbers><t:Entry Key='HomePhone'>3</t:Entry>"
                                 "</t:PhoneNumbers>") +
                           "<t:DeleteItemField><t:IndexedFieldURI FieldURI='contacts:PhoneNumber' "
                           "FieldIndex='Pager'/></t:DeleteItemField>"),
            "NoError");
  const Answer contact = getItem(id);
  EXPECT_EQ(contact.text("//PhysicalAddresses/Entry/Street"), "Lane");
  EXPECT_EQ(contact.text("//PhysicalAddresses/Entry/City"), "Old Town");
  EXPECT_THAT(contact.texts("//PhoneNumbers/Entry"), ElementsAre("3"));
  EXPECT_EQ(update(id,
                   entry("contacts:PhoneNumber", "HomePhone",
                         "<t:PhoneNumbers><t:Entry Key='Pager'>3</t:Entry></t:PhoneNumbers>"),
                   "AlwaysOverwrite"),
            "ErrorUpdatePropertyMismatch");
}

TEST_F(UpdateItem, ExtendedPropertiesAreReplacedAndDeleted) {
  const IdPair id = made();
  const std::string uri = "<t:ExtendedFieldURI PropertyTag='0x1090' PropertyType='Integer'/>";
  const auto setTo = [&](const std::string& value) {
    return update(id,
                  "<t:SetItemField>" + uri + "<t:Message><t:ExtendedProperty>" + uri + "<t:Value>" +
                      value + "</t:Value></t:ExtendedProperty></t:Message></t:SetItemField>",
                  "AlwaysOverwrite");
  };
  const std::string shape = "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>" + uri +
                            "</t:AdditionalProperties>";
  EXPECT_EQ(setTo("1"), "NoError");
  EXPECT_EQ(setTo("2"), "NoError");
  EXPECT_THAT(getItem(id, shape).texts("//ExtendedProperty/Value"), ElementsAre("2"));
  EXPECT_EQ(update(id, "<t:DeleteItemField>" + uri + "</t:DeleteItemField>", "AlwaysOverwrite"),
            "NoError");
  EXPECT_EQ(getItem(id, shape).count("//ExtendedProperty"), 0U);
}

TEST_F(UpdateItem, RecipientsOfASentMessageStay) {
  static_cast<void>(
      ask("<m:CreateItem MessageDisposition='SendAndSaveCopy'><m:Items><t:Message><t:ToRecipients>"
          "<t:Mailbox><t:EmailAddress>bob@example.com</t:EmailAddress></t:Mailbox>"
          "</t:ToRecipients></t:Message></m:Items></m:CreateItem>"));
  const IdPair sent =
      idAt(ask("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
               "</m:ItemShape><m:ParentFolderIds>" +
               distinguished("sentitems") + "</m:ParentFolderIds></m:FindItem>"),
           "//ItemId");
  EXPECT_EQ(update(sent, remove("message:ToRecipients")), "ErrorInvalidPropertyUpdateSentMessage");
  EXPECT_EQ(update(sent, setSubject("renamed")), "NoError");
}

TEST_F(UpdateItem, AnUpdateCanSend) {
  const IdPair id = makeItem(
      "<t:Message><t:Subject>Old</t:Subject><t:ToRecipients><t:Mailbox><t:EmailAddress>"
      "bob@example.com</t:EmailAddress></t:Mailbox></t:ToRecipients></t:Message>");
  const Answer answer =
      ask(request(id, setSubject("Sent"), "AutoResolve", "MessageDisposition='SendAndSaveCopy'"));
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  EXPECT_EQ(answer.count("//ItemId"), 0U);
  EXPECT_THAT(subjects(distinguished("inbox", "bob@example.com")), ElementsAre("Sent"));
  EXPECT_THAT(subjects(distinguished("sentitems")), ElementsAre("Sent"));
  EXPECT_EQ(getItem(id).text("//ResponseCode"), "ErrorItemNotFound");
}

TEST_F(UpdateItem, TheAttributesAreChecked) {
  const IdPair id = made();
  EXPECT_EQ(code(request(id, setSubject("a"), "AutoResolve", "")),
            "ErrorMessageDispositionRequired");
  EXPECT_THAT(violation(request(id, setSubject("a"), "Sometimes")),
              HasSubstr("ConflictResolutionType"));
  const std::string suppressing =
      request(id, setSubject("a"), "AutoResolve",
              "MessageDisposition='SaveOnly' SuppressReadReceipts='true'");
  EXPECT_THAT(violation(suppressing, "Exchange2010_SP2"), HasSubstr("SuppressReadReceipts"));
  EXPECT_EQ(code(suppressing, "Exchange2013"), "NoError");
  EXPECT_THAT(violation("<m:UpdateItem ConflictResolution='AutoResolve'><m:ItemChanges/>"
                        "</m:UpdateItem>"),
              HasSubstr("incomplete content"));
}

TEST_F(UpdateItem, ACompletedTaskIsComplete) {
  const IdPair id = makeItem("<t:Task><t:Subject>a</t:Subject></t:Task>");
  EXPECT_EQ(getItem(id).text("//IsComplete"), "false");
  EXPECT_EQ(update(id, set("task:Status", "<t:Status>Completed</t:Status>", "Task")), "NoError");
  EXPECT_EQ(getItem(id).text("//IsComplete"), "true");
  EXPECT_EQ(getItem(id).text("//PercentComplete"), "100");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
