#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"
#include "tests/time/DefaultZoneScope.h"

namespace tarnwell {
namespace {

using test::DefaultZoneScope;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::read;
using test::tableOf;
using test::written;
using testing::ElementsAre;

constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

constexpr std::string_view kAnn =
    "<t:Mailbox><t:EmailAddress>ann@example.com</t:EmailAddress><t:RoutingType>SMTP"
    "</t:RoutingType><t:MailboxType>Mailbox</t:MailboxType></t:Mailbox>";

std::shared_ptr<TWMailbox> mailboxOf(std::string_view address) {
  return TWMailbox::withDict({{"email_address", address}});
}

TEST(TWAttendee, DeclaresItsFields) {
  EXPECT_THAT(
      tableOf(TWAttendee::elementClass()),
      ElementsAre("mailbox (): TWMailboxField, isRequired, valueCls TWMailbox",
                  "response_type (ResponseType): TWChoiceField, default Unknown, choices (Unknown, "
                  "Organizer, Tentative, Accept, Decline, NoResponseReceived)",
                  "last_response_time (LastResponseTime): TWDateField"));
}

TEST(TWAttendee, KnowsTheResponses) {
  EXPECT_THAT(TWAttendee::responseTypes(), ElementsAre("Unknown", "Organizer", "Tentative",
                                                       "Accept", "Decline", "NoResponseReceived"));
  std::vector<std::string> texts;
  for (const auto& choice : TWAttendee::choices()) {
    EXPECT_FALSE(choice.supportedFrom) << choice.value;
    texts.push_back(choice.value);
  }
  EXPECT_EQ(texts, TWAttendee::responseTypes());
}

TEST(TWAttendee, IsWrittenWithItsMailbox) {
  const auto attendee = TWAttendee::withDict({{"mailbox", "ann@example.com"}});
  EXPECT_THAT(written(*attendee),
              EqualsXML("<t:Attendee>" + std::string(kAnn) +
                        "<t:ResponseType>Unknown</t:ResponseType></t:Attendee>"));
}

TEST(TWAttendee, IsReadWithItsMailboxAndTheTimeOfItsResponse) {
  const DefaultZoneScope utc("Etc/UTC");
  const auto attendee =
      read<TWAttendee>("<t:Attendee>" + std::string(kAnn) +
                       "<t:ResponseType>Accept</t:ResponseType>"
                       "<t:LastResponseTime>2024-05-06</t:LastResponseTime></t:Attendee>");
  EXPECT_EQ(attendee->get("mailbox"), TWValue(mailboxOf("ann@example.com")));
  EXPECT_EQ(attendee->get<std::string>("response_type"), "Accept");
  // A date, whose digits of the month are minutes.
  EXPECT_EQ(TWUtils::xmlFromValue(attendee->get("last_response_time")), "2024-01-06T00:05:00Z");
}

TEST(TWAttendee, NeedsAValidMailbox) {
  EXPECT_THAT(failure(*TWAttendee::withDict()),
              IsFailure(kWrongValue, "mailbox is a required field with no default"));
  EXPECT_THAT(failure(*TWAttendee::withDict({{"mailbox", TWMailbox::withDict({{"name", "Ann"}})}})),
              IsFailure(kWrongValue, "Mailbox must have email address or item id"));
}

TEST(TWAttendee, IsComparedByItsMailbox) {
  const auto of = [](const TWValue& mailbox, std::string_view response) {
    return TWAttendee::withDict({{"mailbox", mailbox}, {"response_type", response}});
  };
  const auto ann = of(mailboxOf("Ann@example.com"), "Accept");
  EXPECT_EQ(*ann, *of(mailboxOf("ann@EXAMPLE.com"), "Decline"));
  EXPECT_EQ(ann->hash(), of(mailboxOf("ann@EXAMPLE.com"), "Decline")->hash());
  EXPECT_EQ(*ann, *of("ann@example.com", "Accept"));
  EXPECT_FALSE(*ann == *of(mailboxOf("bob@example.com"), "Accept"));
  EXPECT_EQ(*TWAttendee::withDict(), *TWAttendee::withDict());
}

TEST(TWAttendee, KindsOfMailboxesCountAlikeFromBothSides) {
  const auto of = [](const std::shared_ptr<TWMailbox>& mailbox) {
    return TWAttendee::withDict({{"mailbox", mailbox}});
  };
  const TWDictionary address{{"email_address", "ann@example.com"}};
  const TWDictionary id{{"item_id", TWItemId::withDict({{"id", "i"}})}};
  const TWDictionary idOfAnotherKind{{"item_id", TWConversationId::withDict({{"id", "i"}})}};
  const auto mailbox = of(TWMailbox::withDict(address));
  const auto room = of(TWRoom::withDict(address));
  const auto list = of(TWRoomList::withDict(address));
  const auto contact = of(TWMailbox::withDict(id));
  const auto roomWithId = of(TWRoom::withDict(idOfAnotherKind));
  using Pair = std::pair<const TWAttendee&, const TWAttendee&>;
  for (const auto& [a, b] : {Pair{*mailbox, *room}, Pair{*room, *mailbox}, Pair{*room, *list},
                             Pair{*contact, *roomWithId}, Pair{*roomWithId, *contact}}) {
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.hash(), b.hash());
  }
  EXPECT_NE(*roomWithId, *room);
  EXPECT_NE(*of(TWRoom::withDict({{"email_address", "bob@example.com"}})), *mailbox);
}

TEST(TWAttendee, StandsForTheAddressOfItsMailbox) {
  const auto attendee = TWAttendee::withDict({{"mailbox", mailboxOf("ann@example.com")}});
  EXPECT_EQ(attendee->constantText(), "ann@example.com");
  EXPECT_EQ(TWUtils::xmlFromValue(attendee), "ann@example.com");
  EXPECT_FALSE(TWAttendee::withDict()->constantText());
  const auto nowhere = TWMailbox::withDict({{"name", "Ann"}});
  EXPECT_FALSE(TWAttendee::withDict({{"mailbox", nowhere}})->constantText());
}

TEST(TWMember, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWMember::elementClass()),
              ElementsAre("mailbox (): TWMailboxField, isRequired, valueCls TWMailbox",
                          "status (Status): TWChoiceField, default Normal, choices (Unrecognized, "
                          "Normal, Demoted)"));
}

TEST(TWMember, IsWrittenWithItsMailbox) {
  EXPECT_THAT(
      written(*TWMember::withDict({{"mailbox", "ann@example.com"}})),
      EqualsXML("<t:Member>" + std::string(kAnn) + "<t:Status>Normal</t:Status></t:Member>"));
  EXPECT_THAT(failure(*TWMember::withDict()),
              IsFailure(kWrongValue, "mailbox is a required field with no default"));
}

TEST(TWMember, IsComparedByItsMailboxInAnyCase) {
  const auto ann = TWMember::withDict({{"mailbox", mailboxOf("Ann@example.com")}});
  const auto demoted =
      TWMember::withDict({{"mailbox", mailboxOf("ann@EXAMPLE.com")}, {"status", "Demoted"}});
  EXPECT_EQ(*ann, *demoted);
  EXPECT_EQ(ann->hash(), demoted->hash());
  EXPECT_FALSE(*ann == *TWMember::withDict({{"mailbox", mailboxOf("bob@example.com")}}));
  EXPECT_FALSE(ann->constantText());
}

}  // namespace
}  // namespace tarnwell
