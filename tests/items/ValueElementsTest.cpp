// What every identifier and value element has in common, class by class.

#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessageHeader.h"

#include "tests/items/ElementTesting.h"

namespace tarnwell {
namespace {

struct Case {
  std::string_view className, requestTag;
  const TWElementClass& (*cls)();
};

class ValueElements : public testing::TestWithParam<Case> {
 protected:
  const TWElementClass& cls_ = GetParam().cls();
};

TEST_P(ValueElements, KnowTheirNames) {
  EXPECT_EQ(cls_.name(), GetParam().className);
  EXPECT_EQ(cls_.requestTag(), GetParam().requestTag);
  EXPECT_EQ(cls_.withDict({})->className(), GetParam().className);
}

TEST_P(ValueElements, DropKeysThatAreNoFields) {
  EXPECT_TRUE(cls_.withDict({{"no_such_field", 1}})->allKeys().empty());
}

TEST_P(ValueElements, AreMadeOfAnEmptyElementWithDefaultsAtMost) {
  const auto element = cls_.fromXML(test::parsed("<t:Empty/>"), nullptr);
  ASSERT_TRUE(element);
  for (const auto& key : element->allKeys()) {
    const auto field = cls_.getFieldByFieldName(key);
    ASSERT_TRUE(field) << key;
    // The text of an empty element is the empty text.
    const auto byDefault = field->className() == "TWSubField" ? TWValue("") : field->get("default");
    EXPECT_EQ(element->get(key), byDefault) << key;
  }
}

TEST_P(ValueElements, AreNotMadeOfNothing) { EXPECT_EQ(cls_.fromXML({}, nullptr), nullptr); }

TEST_P(ValueElements, AreEqualToWhatIsReadFromTheSameXML) {
  const auto xml = test::parsed(
      "<t:X Id='i' RootItemId='r' Key='k' HeaderName='n'>x<t:EmailAddress>a@b.c</t:EmailAddress>"
      "<t:Address>a@b.c</t:Address><t:Mailbox><t:EmailAddress>a@b.c</t:EmailAddress></t:Mailbox>"
      "<t:Street>s</t:Street><t:Name>n</t:Name></t:X>");
  const auto one = cls_.fromXML(xml, nullptr), other = cls_.fromXML(xml, nullptr);
  EXPECT_EQ(*one, *other);
  EXPECT_EQ(one->hash(), other->hash());
}

INSTANTIATE_TEST_SUITE_P(
    , ValueElements,
    testing::Values(
        Case{"TWItemId", "t:ItemId", &TWItemId::elementClass},
        Case{"TWParentItemId", "m:ParentItemId", &TWParentItemId::elementClass},
        Case{"TWRootItemId", "m:RootItemId", &TWRootItemId::elementClass},
        Case{"TWConversationId", "t:ConversationId", &TWConversationId::elementClass},
        Case{"TWParentFolderId", "t:ParentFolderId", &TWParentFolderId::elementClass},
        Case{"TWMailbox", "t:Mailbox", &TWMailbox::elementClass},
        Case{"TWRoomList", "m:RoomList", &TWRoomList::elementClass},
        Case{"TWRoom", "t:Room", &TWRoom::elementClass},
        Case{"TWAttendee", "t:Attendee", &TWAttendee::elementClass},
        Case{"TWMember", "t:Member", &TWMember::elementClass},
        Case{"TWEffectiveRights", "t:EffectiveRights", &TWEffectiveRights::elementClass},
        Case{"TWMessageHeader", "t:InternetMessageHeader", &TWMessageHeader::elementClass},
        Case{"TWEmailAddress", "t:Entry", &TWEmailAddress::elementClass},
        Case{"TWPhoneNumber", "t:Entry", &TWPhoneNumber::elementClass},
        Case{"TWPhysicalAddress", "t:Entry", &TWPhysicalAddress::elementClass},
        Case{"TWAttachmentId", "t:AttachmentId", &TWAttachmentId::elementClass},
        Case{"TWFileAttachment", "t:FileAttachment", &TWFileAttachment::elementClass}),
    [](const auto& test) { return std::string(test.param.className); });

}  // namespace
}  // namespace tarnwell
