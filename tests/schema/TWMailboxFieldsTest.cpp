#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWMailboxFields.h"

#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::cleaned;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::readFrom;
using test::written;
using testing::ElementsAre;

const TWFieldOptions kSender{.name = "sender", .fieldURI = "message:Sender"};
const TWFieldOptions kRecipients{.name = "to_recipients", .fieldURI = "message:ToRecipients"};
const TWFieldOptions kAttendees{.name = "required_attendees",
                                .fieldURI = "calendar:RequiredAttendees"};
const TWFieldOptions kMembers{.name = "members", .fieldURI = "distributionlist:Members"};

constexpr std::string_view kRest =
    "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Mailbox</t:MailboxType></t:Mailbox>";

/// `t:Mailbox` as it is written for that address.
std::string mailboxXML(std::string_view address) {
  return "<t:Mailbox><t:EmailAddress>" + std::string(address) + "</t:EmailAddress>" +
         std::string(kRest);
}

std::shared_ptr<TWMailbox> mailboxOf(std::string_view address) {
  return TWMailbox::withDict({{"email_address", address}});
}

/// The class and address of each entry: "TWAttendee ann@example.com".
std::vector<std::string> entriesOf(const TWValue& list) {
  std::vector<std::string> entries;
  for (const auto& entry : *list.asList()) {
    const auto element = entry.asObject<TWEWSElement>();
    auto mailbox = entry.asObject<TWMailbox>();
    if (!mailbox) mailbox = element->get<std::shared_ptr<TWMailbox>>("mailbox");
    entries.push_back(std::string(element->className()) + " " +
                      mailbox->get<std::string>("email_address").value_or("none"));
  }
  return entries;
}

TEST(MailboxFields, StandInTheirTreeWithTheirValueClasses) {
  const TWFieldOptions given{.valueCls = &TWItemId::elementClass()};
  const auto one = TWMailboxField::withProps(given);
  const auto several = TWMailboxListField::withProps(given);
  const auto members = TWMemberListField::withProps(given);
  const auto attendees = TWAttendeesField::withProps(given);
  EXPECT_NE(dynamic_cast<TWEWSElementField*>(one.get()), nullptr);
  EXPECT_NE(dynamic_cast<TWEWSElementListField*>(several.get()), nullptr);
  EXPECT_NE(dynamic_cast<TWMailboxListField*>(members.get()), nullptr);
  EXPECT_NE(dynamic_cast<TWMailboxListField*>(attendees.get()), nullptr);
  EXPECT_EQ(one->valueClass().elementClass(), &TWMailbox::elementClass());
  EXPECT_EQ(several->valueClass().elementClass(), &TWMailbox::elementClass());
  EXPECT_EQ(members->valueClass().elementClass(), &TWMember::elementClass());
  EXPECT_EQ(attendees->valueClass().elementClass(), &TWAttendee::elementClass());
  EXPECT_FALSE(one->isList() || one->isComplex());
  for (const TWField* const list :
       {static_cast<const TWField*>(several.get()), static_cast<const TWField*>(members.get()),
        static_cast<const TWField*>(attendees.get())})
    EXPECT_TRUE(list->isList() && list->isComplex()) << list->className();
}

TEST(MailboxFields, WithoutTheirValueClassTakeAndReadNothing) {
  const auto field = TWMailboxField::withProps(kSender);
  field->remove("valueCls");
  EXPECT_TRUE(failure(*field, "ann@example.com").is(TWErrorCode::ErrorType));
  EXPECT_TRUE(readFrom(*field, "<t:Sender><t:Mailbox/></t:Sender>").isAbsent());
  const auto list = TWMailboxListField::withProps(kRecipients);
  list->remove("valueCls");
  EXPECT_TRUE(failure(*list, TWValue::list({"ann@example.com"})).is(TWErrorCode::ErrorType));
  EXPECT_TRUE(readFrom(*list, "<t:ToRecipients><t:Mailbox/></t:ToRecipients>").isAbsent());
}

TEST(TWMailboxField, AnAddressBecomesAMailboxThatIsWritten) {
  const auto field = TWMailboxField::withProps(kSender);
  const auto mailbox = cleaned(*field, "ann@example.com");
  EXPECT_EQ(mailbox, TWValue(mailboxOf("ann@example.com")));
  EXPECT_THAT(written(*field, mailbox),
              EqualsXML("<t:Sender>" + mailboxXML("ann@example.com") + "</t:Sender>"));
}

TEST(TWMailboxField, AnAddressIsNotTestedForTheVersion) {
  auto options = kSender;
  options.supportedFrom = TWBuild(15, 0);
  const auto field = TWMailboxField::withProps(options);
  const TWVersion old(TWBuild(8, 0));
  EXPECT_TRUE(cleaned(*field, "ann@example.com", &old).asObject<TWMailbox>());
  EXPECT_THAT(
      failure(*field, mailboxOf("ann@example.com"), &old),
      IsFailure(TWErrorCode::ErrorInvalidServerVersion,
                "Field sender does not support EWS builds prior to " +
                    TWBuild(15, 0).description() + " (server has " + old.description() + ")"));
}

TEST(TWMailboxField, OtherValuesAreTestedAsUsual) {
  const auto field = TWMailboxField::withProps(kSender);
  const auto mailbox = mailboxOf("ann@example.com");
  EXPECT_EQ(cleaned(*field, mailbox).asObject(), mailbox);
  EXPECT_THAT(failure(*field, 5), IsFailure(TWErrorCode::ErrorType,
                                            "5 value is not of type TWMailboxField for sender"));
}

TEST(TWMailboxField, WithAFieldURIReadsTheMailboxInsideIt) {
  auto options = kSender;
  options.default_ = "nobody";
  const auto field = TWMailboxField::withProps(options);
  EXPECT_EQ(readFrom(*field,
                     "<t:Sender><t:Mailbox><t:EmailAddress>ann@example.com"
                     "</t:EmailAddress></t:Mailbox></t:Sender>"),
            TWValue(mailboxOf("ann@example.com")));
  EXPECT_TRUE(readFrom(*field, "<t:Sender/>").isAbsent());
  EXPECT_EQ(readFrom(*field, ""), TWValue("nobody"));
}

TEST(TWMailboxField, WithoutAFieldURIReadsTheMailboxItself) {
  const auto field = TWMailboxField::withProps({.name = "mailbox", .default_ = "nobody"});
  EXPECT_EQ(readFrom(*field,
                     "<t:Mailbox><t:EmailAddress>ann@example.com</t:EmailAddress>"
                     "</t:Mailbox>"),
            TWValue(mailboxOf("ann@example.com")));
  EXPECT_EQ(readFrom(*field, "<t:Sender/>"), TWValue("nobody"));
  EXPECT_THAT(written(*field, mailboxOf("ann@example.com")),
              EqualsXML(mailboxXML("ann@example.com")));
}

TEST(TWMailboxListField, AddressesBecomeMailboxesInTheirPlaces) {
  const auto field = TWMailboxListField::withProps(kRecipients);
  const auto given = TWValue::list({"ann@example.com", mailboxOf("bob@example.com"), "cy@x.org"});
  const auto list = cleaned(*field, given);
  EXPECT_THAT(entriesOf(list), ElementsAre("TWMailbox ann@example.com", "TWMailbox bob@example.com",
                                           "TWMailbox cy@x.org"));
  EXPECT_EQ((*given.asList())[0], TWValue("ann@example.com"));
  EXPECT_THAT(written(*field, list), EqualsXML("<t:ToRecipients>" + mailboxXML("ann@example.com") +
                                               mailboxXML("bob@example.com") +
                                               mailboxXML("cy@x.org") + "</t:ToRecipients>"));
}

TEST(TWMailboxListField, TestsTheRebuiltList) {
  const auto field = TWMailboxListField::withProps(kRecipients);
  EXPECT_THAT(failure(*field, "ann@example.com"),
              IsFailure(TWErrorCode::ErrorValueOutOfRange, "to_recipients needs an iterable"));
  EXPECT_THAT(failure(*field, TWValue::list({"ann@example.com", 5})),
              IsFailure(TWErrorCode::ErrorType,
                        "5 value is not of type TWMailboxListField for to_recipients"));
  EXPECT_TRUE(cleaned(*field, {}).isAbsent());
  const std::string tooLong(256, 'x');
  EXPECT_THAT(failure(*field, TWValue::list({tooLong})),
              IsFailure(TWErrorCode::ErrorValueOutOfRange,
                        "email_address value " + tooLong + " exceeds length 255"));
}

TEST(TWAttendeesField, AddressesBecomeAttendeesInTheirPlaces) {
  const auto field = TWAttendeesField::withProps(kAttendees);
  const auto bob = TWAttendee::withDict({{"mailbox", mailboxOf("bob@example.com")}});
  const auto list = cleaned(*field, TWValue::list({"ann@example.com", bob, "cy@example.com"}));
  EXPECT_THAT(entriesOf(list),
              ElementsAre("TWAttendee ann@example.com", "TWAttendee bob@example.com",
                          "TWAttendee cy@example.com"));
  EXPECT_EQ((*list.asList())[1].asObject(), bob);
}

TEST(TWAttendeesField, AMailboxAloneIsNoAttendee) {
  const auto mailbox = mailboxOf("ann@example.com");
  EXPECT_THAT(failure(*TWAttendeesField::withProps(kAttendees), TWValue::list({mailbox})),
              IsFailure(TWErrorCode::ErrorType, mailbox->description() +
                                                    " value is not of type TWAttendeesField for "
                                                    "required_attendees"));
}

TEST(TWAttendeesField, ReadsWhatItWrites) {
  const auto field = TWAttendeesField::withProps(kAttendees);
  const auto list = cleaned(*field, TWValue::list({"ann@example.com", "bob@example.com"}));
  const auto xml = written(*field, list);
  EXPECT_THAT(xml, EqualsXML("<t:RequiredAttendees><t:Attendee>" + mailboxXML("ann@example.com") +
                             "<t:ResponseType>Unknown</t:ResponseType></t:Attendee><t:Attendee>" +
                             mailboxXML("bob@example.com") +
                             "<t:ResponseType>Unknown</t:ResponseType></t:Attendee>"
                             "</t:RequiredAttendees>"));
  EXPECT_EQ(readFrom(*field, xml), list);
}

TEST(TWMemberListField, AddressesBecomeMembersAndAreReadBack) {
  const auto field = TWMemberListField::withProps(kMembers);
  const auto list = cleaned(*field, TWValue::list({"ann@example.com"}));
  EXPECT_THAT(entriesOf(list), ElementsAre("TWMember ann@example.com"));
  const auto xml = written(*field, list);
  EXPECT_THAT(xml, EqualsXML("<t:Members><t:Member>" + mailboxXML("ann@example.com") +
                             "<t:Status>Normal</t:Status></t:Member></t:Members>"));
  EXPECT_EQ(readFrom(*field, xml), list);
}

/// Attendees and members are equal by their address alone, so it is the text that is compared.
TEST(MailboxFields, NothingOfTheirEntriesIsLostInReading) {
  const std::string mailbox =
      "<t:Mailbox><t:Name>Ann</t:Name><t:EmailAddress>ann@example.com</t:EmailAddress>"
      "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Contact</t:MailboxType></t:Mailbox>";
  const auto rewritten = [](const TWField& field, const std::string& xml) {
    return written(field, cleaned(field, readFrom(field, xml)));
  };
  const auto recipients = "<t:ToRecipients>" + mailbox + mailbox + "</t:ToRecipients>";
  EXPECT_THAT(rewritten(*TWMailboxListField::withProps(kRecipients), recipients),
              EqualsXML(recipients));
  const auto attendees = "<t:RequiredAttendees><t:Attendee>" + mailbox +
                         "<t:ResponseType>Tentative</t:ResponseType></t:Attendee>"
                         "</t:RequiredAttendees>";
  EXPECT_THAT(rewritten(*TWAttendeesField::withProps(kAttendees), attendees), EqualsXML(attendees));
  const auto members =
      "<t:Members><t:Member>" + mailbox + "<t:Status>Demoted</t:Status></t:Member></t:Members>";
  EXPECT_THAT(rewritten(*TWMemberListField::withProps(kMembers), members), EqualsXML(members));
}

}  // namespace
}  // namespace tarnwell
