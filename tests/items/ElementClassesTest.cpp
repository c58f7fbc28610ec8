// What all element classes have in common, class by class.

#include <cstdint>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/items/TWPostItem.h"
#include "tarnwell/items/TWTask.h"

#include "tests/items/ElementGenerator.h"
#include "tests/items/ElementTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

struct Case {
  std::string_view className;
  std::optional<std::string_view> requestTag;  ///< absent for what is not written by itself
  const TWElementClass& (*cls)();
};

class ElementClasses : public testing::TestWithParam<Case> {
 protected:
  const TWElementClass& cls_ = GetParam().cls();
};

TEST_P(ElementClasses, KnowTheirNames) {
  EXPECT_EQ(cls_.name(), GetParam().className);
  EXPECT_EQ(cls_.requestTag(), GetParam().requestTag);
  EXPECT_EQ(cls_.withDict({})->className(), GetParam().className);
}

TEST_P(ElementClasses, DropKeysThatAreNoFields) {
  EXPECT_TRUE(cls_.withDict({{"no_such_field", 1}})->allKeys().empty());
}

TEST_P(ElementClasses, AreMadeOfAnEmptyElementWithDefaultsAtMost) {
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

TEST_P(ElementClasses, AreNotMadeOfNothing) { EXPECT_EQ(cls_.fromXML({}, nullptr), nullptr); }

TEST_P(ElementClasses, AreEqualToWhatIsReadFromTheSameXML) {
  const auto xml = test::parsed(
      "<t:X Id='i' RootItemId='r' Key='k' HeaderName='n'>x<t:EmailAddress>a@b.c</t:EmailAddress>"
      "<t:Address>a@b.c</t:Address><t:Mailbox><t:EmailAddress>a@b.c</t:EmailAddress></t:Mailbox>"
      "<t:Street>s</t:Street><t:Name>n</t:Name></t:X>");
  const auto one = cls_.fromXML(xml, nullptr), other = cls_.fromXML(xml, nullptr);
  EXPECT_EQ(*one, *other);
  EXPECT_EQ(one->hash(), other->hash());
}

TEST_P(ElementClasses, KeepsWhatIsSetInEachField) {
  test::ElementGenerator generate(1);
  for (const auto& field : cls_.fields()) {
    const auto value = generate.value(*field);
    const auto element = cls_.withDict({{std::string(field->name()), value}});
    EXPECT_EQ(element->get(field->name()), value) << field->name();
    element->set(field->name(), TWValue());
    EXPECT_EQ(element->get(field->name()), value) << field->name();
    element->remove(field->name());
    EXPECT_TRUE(element->allKeys().empty()) << field->name();
  }
}

TEST_P(ElementClasses, ArePrintedWithTheirClass) {
  test::ElementGenerator generate(2);
  for (unsigned share = 0; share <= 100; share += 50) {
    const auto element = generate.element(cls_, share);
    EXPECT_NE(element->description().find(GetParam().className), std::string::npos);
    EXPECT_EQ(element->declaredProperties().size(), cls_.fields().size());
  }
}

TEST_P(ElementClasses, AreEqualWhenTheyAreMadeOfTheSameValues) {
  for (std::uint32_t seed = 0; seed < 20; ++seed) {
    const auto one = test::ElementGenerator(seed).element(cls_, 60);
    const auto other = test::ElementGenerator(seed).element(cls_, 60);
    EXPECT_EQ(*one, *other) << *one;
    EXPECT_EQ(one->hash(), other->hash()) << *one;
  }
}

TEST_P(ElementClasses, ReadWhatTheyWrite) {
  if (!GetParam().requestTag) GTEST_SKIP() << "Only its parts are written";
  if (GetParam().className == "TWRoom")
    GTEST_SKIP() << "A room is only read, and in another form than that of its fields";
  for (std::uint32_t seed = 0; seed < 50; ++seed) {
    const auto element = test::ElementGenerator(seed).element(cls_, (seed % 11) * 10);
    TWError error;
    const auto xml = element->toXML(nullptr, &error);
    ASSERT_TRUE(xml) << "seed " << seed << ": " << error << '\n' << *element;
    const auto text = xml.XMLString();
    const auto back = cls_.fromXML(test::parsed(text), nullptr);
    ASSERT_TRUE(back) << text;
    for (const auto& field : cls_.fields()) {
      if (field->isReadOnly()) continue;
      EXPECT_EQ(back->get(field->name()), element->get(field->name()))
          << "seed " << seed << ", " << field->name() << '\n'
          << text;
    }
    EXPECT_THAT(test::written(*back), test::EqualsXML(text)) << "seed " << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(
    , ElementClasses,
    testing::Values(
        Case{"TWItemId", "t:ItemId", &TWItemId::elementClass},
        Case{"TWParentItemId", "m:ParentItemId", &TWParentItemId::elementClass},
        Case{"TWRootItemId", "m:RootItemId", &TWRootItemId::elementClass},
        Case{"TWConversationId", "t:ConversationId", &TWConversationId::elementClass},
        Case{"TWAssociatedCalendarItemId", "t:AssociatedCalendarItemId",
             &TWAssociatedCalendarItemId::elementClass},
        Case{"TWParentFolderId", "t:ParentFolderId", &TWParentFolderId::elementClass},
        Case{"TWMailbox", "t:Mailbox", &TWMailbox::elementClass},
        Case{"TWAvailabilityMailbox", std::nullopt, &TWAvailabilityMailbox::elementClass},
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
        Case{"TWFileAttachment", "t:FileAttachment", &TWFileAttachment::elementClass},
        Case{"TWItemAttachment", "t:ItemAttachment", &TWItemAttachment::elementClass},
        Case{"TWItem", "t:Item", &TWItem::elementClass},
        Case{"TWCalendarItem", "t:Item", &TWCalendarItem::elementClass},
        Case{"TWContact", "t:Contact", &TWContact::elementClass},
        Case{"TWDistributionList", "t:DistributionList", &TWDistributionList::elementClass},
        Case{"TWMessage", "t:Message", &TWMessage::elementClass},
        Case{"TWPostItem", "t:PostItem", &TWPostItem::elementClass},
        Case{"TWTask", "t:Task", &TWTask::elementClass},
        Case{"TWMeetingRequest", "t:MeetingRequest", &TWMeetingRequest::elementClass},
        Case{"TWMeetingResponse", "t:MeetingResponse", &TWMeetingResponse::elementClass},
        Case{"TWMeetingCancellation", "t:MeetingCancellation",
             &TWMeetingCancellation::elementClass}),
    [](const auto& test) { return std::string(test.param.className); });

}  // namespace
}  // namespace tarnwell
