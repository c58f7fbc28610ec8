#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/services/TWErrors.h"

namespace tarnwell {
namespace {

TEST(TWFolderClass, FindsTheClassOfAContainerClass) {
  const std::vector<std::pair<std::string, const TWFolderClass*>> rows = {
      {"IPF.Note", &TWMessages::elementClass()},
      {"IPF.Task", &TWTasks::elementClass()},
      {"IPF.Appointment", &TWCalendar::elementClass()},
      {"IPF.Contact", &TWContacts::elementClass()},
      {"IPF.Contact.GalContacts", &TWGALContacts::elementClass()},
      {"IPF.Contact.RecipientCache", &TWReceipientCache::elementClass()},
      {"ipf.note", &TWFolder::elementClass()},
      {"IPF.Note.X", &TWFolder::elementClass()},
      {"", &TWFolder::elementClass()},
  };
  for (const auto& [text, cls] : rows)
    EXPECT_EQ(&TWFolder::folderClassFromContainerClass(text), cls) << text;
  EXPECT_EQ(&TWFolder::folderClassFromContainerClass(std::nullopt), &TWFolder::elementClass());
}

TEST(TWFolderClass, FindsTheClassOfADisplayNameInWhateverLanguage) {
  const auto find = [](std::string_view name, std::optional<std::string_view> locale) {
    return TWFolder::folderClassFromFolderName(name, locale);
  };
  EXPECT_EQ(find("INBOX", "en_US"), &TWInbox::elementClass());
  EXPECT_EQ(find("Posteingang", "en_US"), &TWInbox::elementClass());
  EXPECT_EQ(find("Posteingang", "xx"), &TWInbox::elementClass());
  EXPECT_EQ(find("Posteingang", std::nullopt), &TWInbox::elementClass());
  EXPECT_EQ(find("Foo", "en_US"), nullptr);
  EXPECT_EQ(find("", "en_US"), nullptr);
}

TEST(TWFolderClass, CaseOfDisplayNamesIsThatOfEveryScript) {
  EXPECT_EQ(TWFolder::folderClassFromFolderName("календарь", "ru_RU"), &TWCalendar::elementClass());
  EXPECT_EQ(TWFolder::folderClassFromFolderName("ВХОДЯЩИЕ", "en_US"), &TWInbox::elementClass());
  EXPECT_EQ(TWFolder::folderClassFromFolderName("ÉLÉMENTS SUPPRIMÉS", "en_US"),
            &TWDeletedItems::elementClass());
}

TEST(TWFolderClass, KnowsItsNamesByLocale) {
  const auto& inbox = TWInbox::elementClass();
  EXPECT_TRUE(inbox.hasName("POSTEINGANG", "de_DE"));
  EXPECT_FALSE(inbox.hasName("Posteingang", "en_US"));
  EXPECT_TRUE(inbox.hasName("Posteingang"));
  EXPECT_FALSE(inbox.hasName("Outbox"));
}

TEST(TWFolderClass, IsFoundByItsName) {
  EXPECT_EQ(TWFolderClass::named("TWInbox"), &TWInbox::elementClass());
  EXPECT_EQ(TWFolderClass::named("TWFolder"), &TWFolder::elementClass());
  EXPECT_EQ(TWFolderClass::named("TWRoot"), &TWRoot::elementClass());
  EXPECT_EQ(TWFolderClass::named("TWGALContacts"), &TWGALContacts::elementClass());
  EXPECT_EQ(TWFolderClass::named("TWItemId"), nullptr);
  EXPECT_EQ(TWFolderClass::named("TWNothing"), nullptr);
}

TEST(TWFolderClass, FindsTheItemClassOfAnElement) {
  const auto& models = TWMessages::itemModelMap();
  EXPECT_EQ(models.size(), 4U);
  for (const char* name : {"Message", "MeetingRequest", "MeetingResponse", "MeetingCancellation"})
    EXPECT_TRUE(models.contains(name)) << name;
  EXPECT_EQ(models.at("Message"), &TWMessage::elementClass());
  EXPECT_EQ(TWInbox::itemModelFromTag("Message"), &TWMessage::elementClass());
  EXPECT_EQ(TWInbox::itemModelFromTag("MeetingCancellation"),
            &TWMeetingCancellation::elementClass());
  TWError error;
  EXPECT_EQ(TWInbox::itemModelFromTag("Task", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "Item type Task was unexpected in a TWInbox folder"));
}

// Servers write appointments as an element of another name than their class has.
TEST(TWFolderClass, ACalendarTakesAppointmentsUnderBothNames) {
  EXPECT_EQ(TWCalendar::itemModelFromTag("Item"), &TWCalendarItem::elementClass());
  EXPECT_EQ(TWCalendar::itemModelFromTag("CalendarItem"), &TWCalendarItem::elementClass());
  EXPECT_EQ(TWInbox::itemModelFromTag("CalendarItem"), nullptr);
}

TEST(TWFolderClass, WellKnownFoldersTakeItemsOfNoParticularKind) {
  EXPECT_EQ(TWArchiveInbox::itemModelFromTag("Item"), &TWItem::elementClass());
  TWError error;
  EXPECT_EQ(TWArchiveInbox::itemModelFromTag("Message", &error), nullptr);
  EXPECT_EQ(error.message(), "Item type Message was unexpected in a TWArchiveInbox folder");
}

TEST(TWFolderClass, TheFirstItemClassWithAFieldOfThatNameGivesIt) {
  const auto& contacts = TWContacts::elementClass();
  EXPECT_EQ(contacts.getItemFieldByFieldName("subject"),
            TWContact::elementClass().getFieldByFieldName("subject"));
  TWError error;
  EXPECT_EQ(contacts.getItemFieldByFieldName("nothing", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "Unknown fieldname nothing on class TWContacts"));
}

TEST(TWFolderClass, AFieldMayBeThatOfALaterItemClassButOfNoneThatTheFolderLacks) {
  const auto proposed = TWInbox::elementClass().getItemFieldByFieldName("proposed_start");
  ASSERT_TRUE(proposed);
  EXPECT_EQ(proposed, TWMeetingResponse::elementClass().getFieldByFieldName("proposed_start"));
  TWError error;
  EXPECT_EQ(TWInbox::elementClass().getItemFieldByFieldName("posted_time", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "Unknown fieldname posted_time on class TWInbox"));
  EXPECT_TRUE(TWFolder::elementClass().getItemFieldByFieldName("posted_time"));
}

}  // namespace
}  // namespace tarnwell
