#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBody.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWPostItem.h"
#include "tarnwell/items/TWTask.h"
#include "tarnwell/schema/TWExtendedProperty.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::parsed;
using test::read;
using test::written;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// Valid when it is written: a culture must be given.
TWDictionary withCulture(TWDictionary dict) {
  dict.set("culture", "en-US");
  return dict;
}

/// What is written of every item that has nothing but a culture.
std::string defaultsAnd(std::string_view tag, std::string_view before, std::string_view after) {
  return formatMessage(
      "<t:%@>%@<t:Sensitivity>Normal</t:Sensitivity><t:Importance>Normal</t:Importance>"
      "<t:ReminderIsSet>0</t:ReminderIsSet>"
      "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
      "<t:Culture>en-US</t:Culture>%@</t:%@>",
      {tag, before, after, tag});
}

TEST(TWItem, KnowsItsKindsInOrder) {
  std::vector<std::string_view> names;
  for (const auto* const cls : TWItem::itemClasses()) names.push_back(cls->name());
  EXPECT_THAT(names, ElementsAre("TWCalendarItem", "TWContact", "TWDistributionList", "TWMessage",
                                 "TWPostItem", "TWTask", "TWMeetingRequest", "TWMeetingResponse",
                                 "TWMeetingCancellation"));
}

TEST(TWItem, KindsHaveTheNamesOfTheirElements) {
  EXPECT_EQ(TWItem::elementName(), "Item");
  // Deliberately not "CalendarItem".
  EXPECT_EQ(TWCalendarItem::elementName(), "Item");
  EXPECT_EQ(TWContact::elementName(), "Contact");
  EXPECT_EQ(TWDistributionList::elementName(), "DistributionList");
  EXPECT_EQ(TWMessage::elementName(), "Message");
  EXPECT_EQ(TWPostItem::elementName(), "PostItem");
  EXPECT_EQ(TWTask::elementName(), "Task");
  EXPECT_EQ(TWMeetingRequest::elementName(), "MeetingRequest");
  EXPECT_EQ(TWMeetingResponse::elementName(), "MeetingResponse");
  EXPECT_EQ(TWMeetingCancellation::elementName(), "MeetingCancellation");
  for (const auto* const cls : TWItem::itemClasses()) {
    EXPECT_EQ(cls->nameSpace(), kTypesNamespace) << cls->name();
    EXPECT_EQ(cls->insertAfterField(), "has_attachments") << cls->name();
  }
}

TEST(TWItem, KindsAreFoundByTheNamesOfElements) {
  EXPECT_EQ(TWItem::itemClassFromTag("Message"), &TWMessage::elementClass());
  EXPECT_EQ(TWItem::itemClassFromTag("MeetingCancellation"),
            &TWMeetingCancellation::elementClass());
  EXPECT_EQ(TWItem::itemClassFromTag("Item"), &TWCalendarItem::elementClass());
  EXPECT_EQ(TWItem::itemClassFromTag("CalendarItem"), &TWCalendarItem::elementClass());
  EXPECT_EQ(TWItem::itemClassFromTag("Folder"), nullptr);
  EXPECT_EQ(TWItem::itemClassFromTag(""), nullptr);
}

TEST(TWItem, TasksKnowTheValuesOfTheirStatus) {
  EXPECT_EQ(TWTask::notStarted(), "NotStarted");
  EXPECT_EQ(TWTask::completed(), "Completed");
}

TEST(TWItem, IdsAreReadFromTheElementOfTheId) {
  EXPECT_EQ(TWItem::idFromXML(parsed("<t:Message><t:ItemId Id='i' ChangeKey='c'/></t:Message>")),
            (TWIdPair{"i", "c"}));
  EXPECT_EQ(TWItem::idFromXML(parsed("<t:Message><t:ItemId Id='i'/></t:Message>")),
            (TWIdPair{"i", std::nullopt}));
  EXPECT_EQ(TWItem::idFromXML(parsed("<t:Message><t:ItemId ChangeKey='c'/></t:Message>")),
            std::nullopt);
  EXPECT_EQ(TWItem::idFromXML(parsed("<t:Message Id='i' ChangeKey='c'/>")), std::nullopt);
  EXPECT_EQ(TWItem::idFromXML(parsed("<t:Message><m:ItemId Id='i'/></t:Message>")), std::nullopt);
  EXPECT_EQ(TWItem::idFromXML({}), std::nullopt);
}

TEST(TWItem, ReadsItsIdAndWhatIsThere) {
  const auto message = read<TWMessage>(
      "<t:Message><t:ItemId Id='i' ChangeKey='c'/><t:Subject>Report</t:Subject>"
      "<t:Size>12</t:Size><t:IsRead>true</t:IsRead>"
      "<t:From><t:Mailbox><t:EmailAddress>ann@example.com</t:EmailAddress></t:Mailbox></t:From>"
      "</t:Message>");
  EXPECT_THAT(message->allKeys(),
              UnorderedElementsAre("item_id", "changekey", "subject", "size", "is_read", "from",
                                   // The defaults of required fields.
                                   "sensitivity", "importance", "reminder_is_set",
                                   "reminder_minutes_before_start"));
  EXPECT_EQ(message->get<std::string>("item_id"), "i");
  EXPECT_EQ(message->get<std::string>("changekey"), "c");
  EXPECT_EQ(message->get<int>("size"), 12);
  EXPECT_EQ(message->get<std::shared_ptr<TWMailbox>>("from")->get<std::string>("email_address"),
            "ann@example.com");
  EXPECT_EQ(message->idPair(), (TWIdPair{"i", "c"}));
}

TEST(TWItem, ReadsWhateverElementItIsGiven) {
  const auto message = read<TWMessage>("<t:Contact><t:Subject>Report</t:Subject></t:Contact>");
  EXPECT_EQ(message->get<std::string>("subject"), "Report");
}

TEST(TWItem, AttributesOfItsOwnElementAreNotItsId) {
  const auto item = read<TWItem>("<t:Item Id='x'><t:ItemId Id='i' ChangeKey='c'/></t:Item>");
  EXPECT_EQ(item->get<std::string>("item_id"), "i");
  const auto withoutId = read<TWItem>("<t:Item Id='x' ChangeKey='y'/>");
  EXPECT_TRUE(withoutId->get("item_id").isAbsent());
  EXPECT_TRUE(withoutId->get("changekey").isAbsent());
}

TEST(TWItem, IsWrittenWithDefaultsAndWithoutWhatTheServerSets) {
  const auto message = TWMessage::withDict(withCulture({{"item_id", "i"},
                                                        {"changekey", "c"},
                                                        {"subject", "Report"},
                                                        {"size", 5},
                                                        {"is_read", true}}));
  EXPECT_THAT(written(*message), EqualsXML(defaultsAnd("Message", "<t:Subject>Report</t:Subject>",
                                                       "<t:IsRead>1</t:IsRead>")));
}

TEST(TWItem, CalendarItemsAreWrittenAsItems) {
  EXPECT_THAT(written(*TWCalendarItem::withDict(withCulture({}))),
              EqualsXML(defaultsAnd("Item", "", "")));
}

TEST(TWItem, ContactsAreWrittenInTheContainersOfTheirLists) {
  const auto contact = TWContact::withDict(withCulture(
      {{"email_addresses", TWValue::list({TWEmailAddress::withDict({{"email", "a@example.com"}})})},
       {"physical_addresses",
        TWValue::list({TWPhysicalAddress::withDict({{"label", "Home"}, {"city", "Ulm"}})})},
       {"phone_numbers", TWValue::list({TWPhoneNumber::withDict({{"phone_number", "12"}})})},
       {"profession", "Miller"}}));
  EXPECT_THAT(
      written(*contact),
      EqualsXML(defaultsAnd(
          "Contact", "",
          "<t:EmailAddresses><t:Entry Key='EmailAddress1'>a@example.com</t:Entry>"
          "</t:EmailAddresses><t:PhysicalAddresses><t:Entry Key='Home'><City>Ulm</City>"
          "</t:Entry></t:PhysicalAddresses><t:PhoneNumbers><t:Entry Key='PrimaryPhone'>12</t:Entry>"
          "</t:PhoneNumbers><t:Profression>Miller</t:Profression>")));
}

TEST(TWItem, NeedsACultureToBeWritten) {
  EXPECT_THAT(
      failure(*TWItem::withDict({{"subject", "Report"}})),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "culture is a required field with no default"));
}

TEST(TWItem, StoresDefaultsWhenItIsValidated) {
  const auto item = TWItem::withDict(withCulture({}));
  ASSERT_TRUE(item->clean(nullptr));
  EXPECT_EQ(item->get<std::string>("sensitivity"), "Normal");
  EXPECT_EQ(item->get<std::string>("importance"), "Normal");
  EXPECT_EQ(item->get<bool>("reminder_is_set"), false);
  EXPECT_EQ(item->get<int>("reminder_minutes_before_start"), 0);
}

TEST(TWItem, RemindersAreNotSetForAfterTheStart) {
  EXPECT_THAT(failure(*TWItem::withDict(withCulture({{"reminder_minutes_before_start", -1}}))),
              IsFailure(TWErrorCode::ErrorValueOutOfRange,
                        "value -1 on field reminder_minutes_before_start must be greater than 0"));
}

TEST(TWItem, SubjectsAreLimitedButReferencesToOtherMessagesAreNot) {
  const std::string text(300, 'x');
  EXPECT_TRUE(TWItem::withDict(withCulture({{"in_reply_to", text}}))->clean(nullptr));
  EXPECT_THAT(failure(*TWItem::withDict(withCulture({{"subject", text}}))),
              IsFailure(TWErrorCode::ErrorValueOutOfRange,
                        formatMessage("subject value %@ exceeds length 255", {text})));
}

TEST(TWItem, CategoriesAreReadAsAListThatIsNotValid) {
  const auto item = read<TWItem>(
      "<t:Item><t:Categories><t:String>a</t:String><t:String>b</t:String></t:Categories>"
      "<t:Culture>en-US</t:Culture></t:Item>");
  EXPECT_THAT(*item->get<std::vector<std::string>>("categories"), ElementsAre("a", "b"));
  EXPECT_TRUE(failure(*item).is(TWErrorCode::ErrorType));
}

TEST(TWItem, BodiesStayHTML) {
  const auto item =
      read<TWItem>("<t:Item><t:Body BodyType='HTML'>&lt;p>Hi&lt;/p></t:Body></t:Item>");
  item->set("culture", "en-US");
  EXPECT_THAT(written(*item), HasSubstr("BodyType=\"HTML\">&lt;p&gt;Hi"));
  item->set("body", TWBody("Hi"));
  EXPECT_THAT(written(*item), HasSubstr("BodyType=\"Text\">Hi<"));
}

TEST(TWItem, DropsWhatIsNoFieldOfItsKind) {
  EXPECT_THAT(TWItem::withDict({{"subject", "Report"}, {"is_read", true}})->allKeys(),
              ElementsAre("subject"));
}

TEST(TWItem, ItsAttachmentsKnowIt) {
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}});
  const auto message = TWMessage::withDict({{"attachments", TWValue::list({file})}});
  EXPECT_EQ(file->parentItem(), message);
  EXPECT_THAT(file->allKeys(), ElementsAre("name", "parent_item"));
}

TEST(TWItem, AttachmentsThatWereReadKnowTheirItem) {
  const auto item = read<TWItem>(
      "<t:Item><t:Attachments><t:FileAttachment><t:Name>a</t:Name></t:FileAttachment>"
      "<t:ItemAttachment><t:Name>b</t:Name></t:ItemAttachment></t:Attachments></t:Item>");
  const auto attachments = item->get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  // Attached items are left out, deliberately.
  ASSERT_EQ(attachments->size(), 1U);
  EXPECT_EQ((*attachments)[0]->parentItem(), item);
}

TEST(TWItem, ParentsAreNotKeptAlive) {
  const auto file = TWFileAttachment::withDict();
  const auto inner = TWItem::withDict();
  auto parent = TWItem::withDict({{"attachments", TWValue::list({file})}});
  inner->setParentItem(parent);
  EXPECT_EQ(inner->parentItem(), parent);
  parent.reset();
  EXPECT_EQ(file->parentItem(), nullptr);
  EXPECT_EQ(inner->parentItem(), nullptr);
}

TEST(TWItem, IdPairsAreSetAndRemovedAsOne) {
  const auto item = TWItem::withDict({{"item_id", "i"}, {"changekey", "c"}});
  item->setIdPair(TWIdPair{"j", std::nullopt});
  EXPECT_EQ(item->idPair(), (TWIdPair{"j", std::nullopt}));
  item->setIdPair(std::nullopt);
  EXPECT_EQ(item->idPair(), std::nullopt);
  EXPECT_TRUE(item->allKeys().empty());
}

TEST(TWItemIdentity, IsTheIdWithItsChangeKey) {
  const auto item = TWItem::withDict({{"item_id", "i"}, {"changekey", "c"}, {"subject", "a"}});
  const auto same = TWItem::withDict({{"item_id", "i"}, {"changekey", "c"}, {"subject", "b"}});
  const auto later = TWItem::withDict({{"item_id", "i"}, {"changekey", "d"}, {"subject", "a"}});
  const auto unkeyed = TWItem::withDict({{"item_id", "i"}, {"subject", "a"}});
  EXPECT_EQ(*item, *same);
  EXPECT_EQ(item->hash(), same->hash());
  EXPECT_NE(*item, *later);
  EXPECT_NE(*item, *unkeyed);
}

TEST(TWItemIdentity, DoesNotAskForTheKind) {
  const auto message = TWMessage::withDict({{"item_id", "i"}, {"changekey", "c"}});
  const auto task = TWTask::withDict({{"item_id", "i"}, {"changekey", "c"}});
  EXPECT_EQ(*message, *task);
  EXPECT_EQ(*task, *message);
  EXPECT_NE(*message, *TWItemId::withDict({{"id", "i"}, {"changekey", "c"}}));
}

TEST(TWItemIdentity, IsThatOfAllValuesWhileThereIsNoId) {
  const auto message = TWMessage::withDict({{"subject", "a"}, {"is_read", true}});
  const auto same = TWMessage::withDict({{"is_read", true}, {"subject", "a"}});
  EXPECT_EQ(*message, *same);
  EXPECT_EQ(message->hash(), same->hash());
  EXPECT_NE(*message, *TWMessage::withDict({{"subject", "b"}, {"is_read", true}}));
  EXPECT_NE(*message, *TWMessage::withDict({{"subject", "a"}}));
  // The same value of another field.
  EXPECT_NE(*TWMessage::withDict({{"subject", "a"}}), *TWMessage::withDict({{"in_reply_to", "a"}}));
}

TEST(TWItemIdentity, ItemsOnTheServerEqualNoneThatAreNot) {
  const auto saved = TWItem::withDict({{"item_id", "i"}, {"subject", "a"}});
  const auto unsaved = TWItem::withDict({{"subject", "a"}});
  EXPECT_NE(*saved, *unsaved);
  EXPECT_NE(*unsaved, *saved);
}

TEST(TWItemRegistration, PutsFieldsAfterTheAttachmentsOfASharedList) {
  // Removed again, since the lists are those of the process.
  struct Registered {
    ~Registered() { TWItem::unregisterAttr("extern_id"); }
  } registered;
  (void)TWMessage::fieldNames();
  TWError error;
  ASSERT_TRUE(TWDistributionList::registerAttr("extern_id", TWExternId::elementClass(), &error))
      << error;
  for (const auto* const cls : {&TWItem::elementClass(), &TWCalendarItem::elementClass(),
                                &TWDistributionList::elementClass()}) {
    const auto names = cls->fieldNames();
    const auto at = std::ranges::find(names, "has_attachments");
    ASSERT_NE(at, names.end());
    EXPECT_EQ(at[1], "extern_id") << cls->name();
  }
  for (const auto* const cls :
       {&TWMessage::elementClass(), &TWContact::elementClass(), &TWPostItem::elementClass(),
        &TWTask::elementClass(), &TWMeetingRequest::elementClass(),
        &TWMeetingResponse::elementClass(), &TWMeetingCancellation::elementClass()})
    EXPECT_FALSE(cls->getFieldByFieldName("extern_id")) << cls->name();
  EXPECT_FALSE(TWItem::registerAttr("extern_id", TWExternId::elementClass(), &error));
  EXPECT_THAT(error,
              IsFailure(TWErrorCode::ErrorValueOutOfRange, "extern_id is already registered"));
}

TEST(TWItemRegistration, RegisteredPropertiesAreWrittenAndRead) {
  struct Registered {
    ~Registered() { TWMessage::unregisterAttr("extern_id"); }
  } registered;
  ASSERT_TRUE(TWMessage::registerAttr("extern_id", TWExternId::elementClass()));
  const auto message = TWMessage::withDict(withCulture({{"extern_id", "x-1"}}));
  TWError error;
  const auto xml = message->toXML(nullptr, &error);
  ASSERT_TRUE(xml) << error;
  const auto property = xml.elementForName("t:ExtendedProperty");
  EXPECT_EQ(property.elementForName("t:Value").stringValue(), "x-1");
  // After the last field before it that is written, and before the culture.
  EXPECT_TRUE(property.previousSibling().hasLocalName("ReminderMinutesBeforeStart"));
  EXPECT_TRUE(property.nextSibling().hasLocalName("Culture"));

  const auto back = read<TWMessage>(xml.description());
  const auto value = back->get<std::shared_ptr<TWExtendedProperty>>("extern_id");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->get<std::string>("value"), "x-1");
  EXPECT_THAT(written(*back), EqualsXML(xml.description()));
}

TEST(TWItem, IsPrintedWithItsProperties) {
  std::ostringstream text;
  text << *TWTask::withDict({{"subject", "Report"}, {"importance", "High"}});
  EXPECT_EQ(text.str(), "[TWTask] {importance = High; subject = Report}");
}

}  // namespace
}  // namespace tarnwell
