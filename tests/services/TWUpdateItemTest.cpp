#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWTask.h"
#include "tarnwell/services/TWUpdateItem.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

// Changes of several items, and of fields of other kinds than texts.

namespace tarnwell {
namespace {

using test::EqualsXML;
using ::testing::ElementsAre;

class TWUpdateItemTest : public test::MailboxTest {
 protected:
  static std::shared_ptr<TWMessage> message(const std::string& id, const TWDictionary& values) {
    auto made = TWMessage::withDict({{"item_id", id}, {"changekey", "ck-" + id}});
    for (const auto& [name, value] : values) made->set(name, value);
    return made;
  }
  /// The error of an update that is refused.
  TWError refusal(const std::vector<TWItemUpdate>& updates) {
    TWError error;
    EXPECT_FALSE(TWUpdateItem::withAccount(account)->call(updates, "AutoResolve", "SaveOnly",
                                                          "SendToNone", false, &error));
    EXPECT_EQ(server.requestCount(), 0U);
    return error;
  }
};

TEST_F(TWUpdateItemTest, EachItemHasAChangeOfItsOwn) {
  const auto payload = TWUpdateItem::withAccount(account)->getPayload(
      {{message("A", {{"subject", "a"}, {"in_reply_to", "r"}}), {"subject", "in_reply_to"}},
       {TWTask::withDict({{"item_id", "B"}, {"subject", "b"}}), {"subject"}}},
      "AutoResolve", "SaveOnly", "SendToNone", false);
  EXPECT_THAT(
      payload.compactXMLString(),
      EqualsXML("<m:UpdateItem ConflictResolution='AutoResolve' MessageDisposition='SaveOnly' "
                "SendMeetingInvitationsOrCancellations='SendToNone' SuppressReadReceipts='false'>"
                "<m:ItemChanges><t:ItemChange><t:ItemId Id='A' ChangeKey='ck-A'/><t:Updates>"
                "<t:SetItemField><t:FieldURI FieldURI='item:Subject'/><t:Message>"
                "<t:Subject>a</t:Subject></t:Message></t:SetItemField>"
                "<t:SetItemField><t:FieldURI FieldURI='item:InReplyTo'/><t:Message>"
                "<t:InReplyTo>r</t:InReplyTo></t:Message></t:SetItemField></t:Updates>"
                "</t:ItemChange><t:ItemChange><t:ItemId Id='B'/><t:Updates>"
                "<t:SetItemField><t:FieldURI FieldURI='item:Subject'/><t:Task>"
                "<t:Subject>b</t:Subject></t:Task></t:SetItemField></t:Updates></t:ItemChange>"
                "</m:ItemChanges></m:UpdateItem>"));
}

TEST_F(TWUpdateItemTest, OfTwoItemsThatCannotBeWrittenTheFirstIsTold) {
  const auto readOnly = message("A", {{"size", 1}});
  const auto withoutDueDate = message("B", {});
  const TWError first(TWErrorCode::ErrorValueOutOfRange, "size is a read-only field");
  const TWError second(TWErrorCode::ErrorValueOutOfRange,
                       "reminder_due_by is a required field and may not be deleted");
  EXPECT_EQ(refusal({{readOnly, {"size"}}, {withoutDueDate, {"reminder_due_by"}}}), first);
  EXPECT_EQ(refusal({{withoutDueDate, {"reminder_due_by"}}, {readOnly, {"size"}}}), second);
}

// Categories are one text as far as validation goes, deliberately: what was read is refused too.
TEST_F(TWUpdateItemTest, AListOfCategoriesIsRefused) {
  EXPECT_TRUE(refusal({{message("A", {{"categories", TWList{"Red", "Blue"}}}), {"categories"}}})
                  .is(TWErrorCode::ErrorType));
}

TEST_F(TWUpdateItemTest, PartsThatAreMissingAreWrittenAsEntriesWithoutThem) {
  const auto contact = TWContact::withDict(
      {{"item_id", "C"},
       {"physical_addresses",
        TWList{TWPhysicalAddress::withDict({{"label", "Home"}, {"city", "Ulm"}})}}});
  const auto elements =
      TWUpdateItem::withAccount(account)->getItemUpdateElems(*contact, {"physical_addresses"});
  ASSERT_TRUE(elements);
  std::string written;
  for (const auto& element : *elements) written += element.compactXMLString();
  const auto set = [](const std::string& part, const std::string& entry) {
    return "<t:SetItemField><t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:" + part +
           "\" FieldIndex=\"Home\"/><t:Contact><t:PhysicalAddresses><t:Entry Key=\"Home\"" + entry +
           "</t:PhysicalAddresses></t:Contact></t:SetItemField>";
  };
  EXPECT_EQ(written, set("Street", "/>") + set("City", "><City>Ulm</City></t:Entry>") +
                         set("State", "/>") + set("CountryOrRegion", "/>") +
                         set("PostalCode", "/>"));
}

TEST_F(TWUpdateItemTest, PhoneNumbersThatAreClearedAreDeletedOneByOneAndNotSet) {
  const auto elements = TWUpdateItem::withAccount(account)->getItemUpdateElems(
      *TWContact::withDict({{"item_id", "C"}}), {"phone_numbers"});
  ASSERT_TRUE(elements);
  std::vector<std::string> labels;
  for (const auto& element : *elements) {
    EXPECT_EQ(element.name(), "t:DeleteItemField");
    for (const auto& uri : element.childElements()) {
      EXPECT_EQ(uri.attributeForName("FieldURI").stringValue(), "contacts:PhoneNumber");
      labels.push_back(uri.attributeForName("FieldIndex").stringValue().value_or(""));
    }
  }
  EXPECT_THAT(labels,
              ElementsAre("AssistantPhone", "BusinessFax", "BusinessPhone", "BusinessPhone2",
                          "Callback", "CarPhone", "CompanyMainPhone", "HomeFax", "HomePhone",
                          "HomePhone2", "Isdn", "MobilePhone", "OtherFax", "OtherTelephone",
                          "Pager", "PrimaryPhone", "RadioPhone", "Telex", "TtyTddPhone"));
}

}  // namespace
}  // namespace tarnwell
