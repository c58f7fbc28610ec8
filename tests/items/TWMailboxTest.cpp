#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::read;
using test::tableOf;
using test::written;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr auto kWrongValue = TWErrorCode::ErrorValueOutOfRange;

std::shared_ptr<TWMailbox> mailboxOf(std::string_view address) {
  return TWMailbox::withDict({{"email_address", address}});
}

std::shared_ptr<TWMailbox> mailboxOf(std::string_view address, std::string_view id) {
  return TWMailbox::withDict(
      {{"email_address", address}, {"item_id", TWItemId::withDict({{"id", id}})}});
}

TEST(TWMailbox, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWMailbox::elementClass()),
              ElementsAre("name (Name): TWTextField", "email_address (EmailAddress): TWEmailField",
                          "routing_type (RoutingType): TWChoiceField, default SMTP, choices (SMTP)",
                          "mailbox_type (MailboxType): TWChoiceField, default Mailbox, choices "
                          "(Mailbox, PublicDL, PrivateDL, Contact, PublicFolder, Unknown, OneOff)",
                          "item_id (): TWEWSElementField, isReadOnly, valueCls TWItemId"));
}

TEST(TWMailbox, IsWrittenInOrderWithDefaultsAndWithoutItsItemId) {
  const auto mailbox = mailboxOf("ann@example.com", "i");
  mailbox->set("name", "Ann");
  EXPECT_THAT(written(*mailbox),
              EqualsXML("<t:Mailbox><t:Name>Ann</t:Name><t:EmailAddress>ann@example.com"
                        "</t:EmailAddress><t:RoutingType>SMTP</t:RoutingType>"
                        "<t:MailboxType>Mailbox</t:MailboxType></t:Mailbox>"));
}

TEST(TWMailbox, IsReadWithItsItemId) {
  const auto mailbox = read<TWMailbox>(
      "<t:Mailbox><t:Name>Ann</t:Name><t:EmailAddress>ann@example.com</t:EmailAddress>"
      "<t:MailboxType>Contact</t:MailboxType><t:ItemId Id='i' ChangeKey='c'/></t:Mailbox>");
  EXPECT_EQ(mailbox->get<std::string>("name"), "Ann");
  EXPECT_EQ(mailbox->get<std::string>("email_address"), "ann@example.com");
  EXPECT_EQ(mailbox->get<std::string>("routing_type"), "SMTP");
  EXPECT_EQ(mailbox->get<std::string>("mailbox_type"), "Contact");
  EXPECT_EQ(mailbox->get("item_id"),
            TWValue(TWItemId::withDict({{"id", "i"}, {"changekey", "c"}})));
}

TEST(TWMailbox, NeedsAnAddressOrAnItemId) {
  EXPECT_THAT(failure(*TWMailbox::withDict({{"name", "Ann"}})),
              IsFailure(kWrongValue, "Mailbox must have email address or item id"));
  EXPECT_FALSE(TWMailbox::withDict({{"name", "Ann"}})->toXML(nullptr));
  EXPECT_TRUE(
      TWMailbox::withDict({{"item_id", TWItemId::withDict({{"id", "i"}})}})->clean(nullptr));
  EXPECT_TRUE(mailboxOf("ann@example.com")->clean(nullptr));
}

TEST(TWMailbox, IsValidatedAsAnElementFirst) {
  EXPECT_THAT(
      failure(*TWMailbox::withDict({{"routing_type", "EX"}})),
      IsFailure(kWrongValue, "Invalid choice EX for field routing_type. Valid choices are (SMTP)"));
  const std::string tooLong(256, 'x');
  EXPECT_THAT(failure(*mailboxOf(tooLong)),
              IsFailure(kWrongValue, "email_address value " + tooLong + " exceeds length 255"));
}

TEST(TWMailbox, IsComparedByItsAddressInAnyCase) {
  EXPECT_EQ(*mailboxOf("Ann@Example.com"), *mailboxOf("aNN@example.COM"));
  EXPECT_EQ(*mailboxOf("J\u00DCRGEN@example.com"), *mailboxOf("j\u00FCrgen@example.com"));
  EXPECT_EQ(mailboxOf("Ann@Example.com")->hash(), mailboxOf("aNN@example.COM")->hash());
  EXPECT_FALSE(*mailboxOf("ann@example.com") == *mailboxOf("bob@example.com"));
  const auto named = mailboxOf("ann@example.com");
  named->set("name", "Ann");
  EXPECT_EQ(*named, *mailboxOf("ann@example.com"));
}

TEST(TWMailbox, WithAnItemIdIsComparedByThat) {
  EXPECT_EQ(*mailboxOf("ann@example.com", "i"), *mailboxOf("bob@example.com", "i"));
  EXPECT_FALSE(*mailboxOf("ann@example.com", "i") == *mailboxOf("ann@example.com", "j"));
  EXPECT_FALSE(*mailboxOf("ann@example.com", "i") == *mailboxOf("ann@example.com"));
}

TEST(TWMailbox, EqualsKindsOfItselfButNotTheOtherWayRound) {
  const auto room = TWRoom::withDict({{"email_address", "Ann@example.com"}});
  EXPECT_TRUE(mailboxOf("ann@example.com")->isEqual(*room));
  EXPECT_FALSE(room->isEqual(*mailboxOf("ann@example.com")));
}

TEST(TWMailbox, StandsForItsAddress) {
  EXPECT_EQ(mailboxOf("Ann@example.com")->constantText(), "Ann@example.com");
  EXPECT_EQ(TWUtils::xmlFromValue(mailboxOf("Ann@example.com")), "Ann@example.com");
  EXPECT_FALSE(TWMailbox::withDict({{"name", "Ann"}})->constantText());
  const TWDictionary room{{"email_address", "r@example.com"}};
  EXPECT_EQ(TWUtils::xmlFromValue(TWRoom::withDict(room)), "r@example.com");
  EXPECT_EQ(TWUtils::xmlFromValue(TWRoomList::withDict(room)), "r@example.com");
}

TEST(TWAvailabilityMailbox, DeclaresItsFieldsAndHasNoElementOfItsOwn) {
  EXPECT_THAT(
      tableOf(TWAvailabilityMailbox::elementClass()),
      ElementsAre("name (Name): TWTextField", "email_address (Address): TWEmailField, isRequired",
                  "routing_type (RoutingType): TWChoiceField, default SMTP, choices (SMTP)"));
  EXPECT_EQ(TWAvailabilityMailbox::elementClass().base(), &TWEWSElement::elementClass());
  EXPECT_FALSE(TWAvailabilityMailbox::elementName());
  EXPECT_EQ(TWAvailabilityMailbox::nameSpace(), kTypesNamespace);
}

TEST(TWAvailabilityMailbox, IsMadeFromAMailbox) {
  const auto mailbox = mailboxOf("ann@example.com", "i");
  mailbox->set("name", "Ann");
  ASSERT_TRUE(mailbox->clean(nullptr));
  const auto availability = TWAvailabilityMailbox::fromMailbox(*mailbox);
  EXPECT_THAT(availability->allKeys(),
              UnorderedElementsAre("name", "email_address", "routing_type"));
  EXPECT_EQ(availability->get<std::string>("name"), "Ann");
  EXPECT_EQ(availability->get<std::string>("email_address"), "ann@example.com");
  EXPECT_EQ(availability->get<std::string>("routing_type"), "SMTP");
}

TEST(TWAvailabilityMailbox, NeedsItsAddress) {
  EXPECT_THAT(failure(*TWAvailabilityMailbox::withDict()),
              IsFailure(kWrongValue, "email_address is a required field with no default"));
}

TEST(TWAvailabilityMailbox, IsReadButCannotBeWrittenByItself) {
  const auto mailbox = TWAvailabilityMailbox::fromXML(
      test::parsed("<t:Mailbox><t:Name>Ann</t:Name><t:Address>ann@example.com</t:Address>"
                   "</t:Mailbox>"));
  EXPECT_EQ(mailbox->get<std::string>("name"), "Ann");
  EXPECT_EQ(mailbox->get<std::string>("email_address"), "ann@example.com");
  ASSERT_TRUE(mailbox->clean(nullptr));
  TWError error;
  EXPECT_FALSE(mailbox->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(kWrongValue,
                               "TWAvailabilityMailbox has no element that it could be written as"));
}

TEST(TWAvailabilityMailbox, IsComparedByItsAddressInAnyCase) {
  const auto of = [](std::string_view address) {
    return TWAvailabilityMailbox::withDict({{"name", address}, {"email_address", address}});
  };
  EXPECT_EQ(*of("Ann@example.com"), *of("ann@EXAMPLE.com"));
  EXPECT_EQ(of("Ann@example.com")->hash(), of("ann@EXAMPLE.com")->hash());
  EXPECT_FALSE(*of("ann@example.com") == *of("bob@example.com"));
}

TEST(TWRoomList, IsAMailboxOfOtherNames) {
  const auto& cls = TWRoomList::elementClass();
  EXPECT_EQ(cls.base(), &TWMailbox::elementClass());
  EXPECT_EQ(TWRoomList::elementName(), "RoomList");
  EXPECT_EQ(TWRoomList::nameSpace(), kMessagesNamespace);
  EXPECT_EQ(TWRoomList::requestTag(), "m:RoomList");
  EXPECT_EQ(TWRoomList::responseTag(), "Address");
  EXPECT_EQ(TWRoomList::responseXMLns(), kTypesNamespace);
  EXPECT_EQ(TWRoomList::fields(), TWMailbox::fields());
}

TEST(TWRoom, IsAMailboxOfAnotherName) {
  EXPECT_EQ(TWRoom::elementClass().base(), &TWMailbox::elementClass());
  EXPECT_EQ(TWRoom::requestTag(), "t:Room");
  EXPECT_EQ(TWRoom::responseTag(), "Room");
  EXPECT_EQ(TWRoom::fields(), TWMailbox::fields());
}

TEST(TWRoom, IsReadByItsOwnRule) {
  const auto room = read<TWRoom>(
      "<t:Room Name='no'><t:Id><t:ItemId Id='i'/><t:Name>no</t:Name></t:Id>"
      "<t:Name>Blue</t:Name><t:EmailAddress>blue@example.com</t:EmailAddress>"
      "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>OneOff</t:MailboxType></t:Room>");
  EXPECT_THAT(room->allKeys(),
              UnorderedElementsAre("name", "email_address", "mailbox_type", "item_id"));
  EXPECT_EQ(room->get<std::string>("name"), "Blue");
  EXPECT_EQ(room->get<std::string>("email_address"), "blue@example.com");
  EXPECT_EQ(room->get<std::string>("mailbox_type"), "OneOff");
  EXPECT_EQ(room->get("item_id"), TWValue(TWItemId::withDict({{"id", "i"}})));
}

TEST(TWRoom, LacksWhatItsElementLacks) {
  EXPECT_EQ(TWRoom::fromXML({}), nullptr);
  EXPECT_TRUE(read<TWRoom>("<t:Room/>")->allKeys().empty());
  EXPECT_TRUE(read<TWRoom>("<t:Room><t:ItemId Id='i'/></t:Room>")->allKeys().empty());
}

}  // namespace
}  // namespace tarnwell
