#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using ::testing::ElementsAre;

TEST(TWFolderId, WritesItsIdAndChangeKey) {
  EXPECT_EQ(TWFolderId::elementName(), "FolderId");
  EXPECT_THAT(TWFolderId::fieldNames(), ElementsAre("id", "changekey"));
  EXPECT_THAT(
      TWFolderId::withDict({{"id", "AAA"}, {"changekey", "BBB"}})->toXML(nullptr).XMLString(),
      EqualsXML("<t:FolderId Id=\"AAA\" ChangeKey=\"BBB\"/>"));
}

TEST(TWFolderId, MustHaveAnId) {
  TWError error;
  EXPECT_FALSE(TWFolderId::withDict({{"changekey", "BBB"}})->toXML(nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
}

// The texts are not looked into here. A folder refuses an empty id itself.
TEST(TWFolderId, EmptyTextsAreWrittenAsSuch) {
  EXPECT_THAT(TWFolderId::withDict({{"id", ""}, {"changekey", ""}})->toXML(nullptr).XMLString(),
              EqualsXML("<t:FolderId Id=\"\" ChangeKey=\"\"/>"));
}

TEST(TWDistinguishedFolderId, NamesAFolderOfOnesOwnMailbox) {
  EXPECT_EQ(TWDistinguishedFolderId::elementName(), "DistinguishedFolderId");
  EXPECT_TRUE(TWDistinguishedFolderId::elementClass().isKindOf(TWItemId::elementClass()));
  EXPECT_THAT(TWDistinguishedFolderId::withDict({{"id", "inbox"}})->toXML(nullptr).XMLString(),
              EqualsXML("<t:DistinguishedFolderId Id=\"inbox\"/>"));
}

TEST(TWDistinguishedFolderId, HasTheFieldsOfAnIdAndAMailbox) {
  EXPECT_THAT(TWDistinguishedFolderId::fieldNames(), ElementsAre("id", "changekey", "mailbox"));
  EXPECT_THAT(TWDistinguishedFolderId::withDict({{"id", "inbox"}, {"changekey", "BBB"}})
                  ->toXML(nullptr)
                  .XMLString(),
              EqualsXML("<t:DistinguishedFolderId Id=\"inbox\" ChangeKey=\"BBB\"/>"));
  TWError error;
  const auto mailbox = TWMailbox::withDict({{"email_address", "bob@example.com"}});
  EXPECT_FALSE(TWDistinguishedFolderId::withDict({{"mailbox", mailbox}})->toXML(nullptr, &error));
  EXPECT_EQ(error,
            TWError(TWErrorCode::ErrorValueOutOfRange, "id is a required field with no default"));
}

TEST(TWDistinguishedFolderId, NamesAFolderOfAnotherMailbox) {
  const auto id = TWDistinguishedFolderId::withDict(
      {{"id", "inbox"}, {"mailbox", TWMailbox::withDict({{"email_address", "bob@example.com"}})}});
  const auto xml = id->toXML(nullptr);
  EXPECT_THAT(
      xml.XMLString(),
      EqualsXML(
          "<t:DistinguishedFolderId "
          "Id=\"inbox\"><t:Mailbox><t:EmailAddress>bob@example.com</t:EmailAddress>"
          "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Mailbox</t:MailboxType></t:Mailbox>"
          "</t:DistinguishedFolderId>"));
}

}  // namespace
}  // namespace tarnwell
