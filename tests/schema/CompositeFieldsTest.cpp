// What holds for every field whose values are more than a number or a text.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWMailboxFields.h"

#include "tests/schema/FieldTesting.h"

namespace tarnwell {
namespace {

using test::elementWith;
using test::written;

/// A field of each kind, all of them looking at `t:P`, those of entries at their container.
std::vector<std::shared_ptr<const TWField>> everyKind() {
  const TWFieldOptions options{.name = "p",
                               .fieldURI = "item:P",
                               .valueCls = &TWMailbox::elementClass(),
                               .choices = {"a", {"b", TWBuild(15, 0)}}};
  const TWFieldOptions bare{.name = "p", .valueCls = &TWItemId::elementClass()};
  return {
      TWChoiceField::withProps(options),         TWLabelField::withProps(options),
      TWTextBodyField::withProps(options),       TWBodyField::withProps(options),
      TWEWSElementField::withProps(options),     TWEWSElementField::withProps(bare),
      TWEWSElementListField::withProps(options), TWRecurrenceField::withProps(options),
      TWOccurenceField::withProps(options),      TWOccurrenceListField::withProps(options),
      TWMessageHeaderField::withProps(options),  TWMailboxField::withProps(options),
      TWMailboxField::withProps(bare),           TWMailboxListField::withProps(options),
      TWMemberListField::withProps(options),     TWAttendeesField::withProps(options),
      TWAttachmentField::withProps(options),     TWEffectiveRightsField::withProps(options),
      TWItemField::withProps(options),           TWSubField::withProps(options),
      TWEmailSubField::withProps(options),       TWNamedSubField::withProps(options),
      TWIndexedField::withProps(options),        TWEmailAddressField::withProps(options),
      TWPhoneNumberField::withProps(options),    TWPhysicalAddressField::withProps(options),
  };
}

TEST(CompositeFields, FailWithThreeCodesOnlyWhateverTheyRead) {
  const auto* const mailbox = "<t:Mailbox><t:EmailAddress>a@b.c</t:EmailAddress></t:Mailbox>";
  const TWVersion old(TWBuild(8, 0));
  for (const std::string& inner : {std::string(), std::string("text"), std::string("<t:P/>"),
                                   std::string("<!-- a --><t:Entry/><t:Entry Key='x'>1</t:Entry>"),
                                   std::string("<t:Mailbox/>"), std::string(mailbox),
                                   std::string("<t:Attendee>") + mailbox + "</t:Attendee>",
                                   std::string("<t:FileAttachment><t:Size>x</t:Size>"
                                               "</t:FileAttachment>")})
    for (const std::string name :
         {"P", "Mailbox", "ItemId", "EmailAddresses", "PhoneNumbers", "PhysicalAddresses"})
      for (const auto& field : everyKind()) {
        const auto value = field->fromXML(
            elementWith("<t:" + name + " BodyType='Text'>" + inner + "</t:" + name + ">", "P='a'"),
            nullptr);
        TWError error;
        EXPECT_TRUE(field->clean(value, &old, &error).isAbsent() || !error);
        EXPECT_TRUE(!error || error.is(TWErrorCode::ErrorInvalidServerVersion) ||
                    error.is(TWErrorCode::ErrorType) || error.is(TWErrorCode::ErrorValueOutOfRange))
            << field->className() << ": " << error;
      }
}

TEST(CompositeFields, ReadNothingWhereNothingIsAndNoDefaultWasGiven) {
  for (const auto& field : everyKind())
    EXPECT_TRUE(field->fromXML({}, nullptr).isAbsent()) << field->className();
}

TEST(CompositeFields, AMissingValueClearsTheElementOfTheField) {
  const auto cleared = [](const auto& field) { return written(*field, {}); };
  EXPECT_EQ(cleared(TWEWSElementField::withProps({.fieldURI = "message:Sender"})),
            "<t:Sender></t:Sender>");
  EXPECT_EQ(cleared(TWMailboxListField::withProps({.fieldURI = "message:ToRecipients"})),
            "<t:ToRecipients></t:ToRecipients>");
  EXPECT_EQ(cleared(TWPhoneNumberField::withProps({.fieldURI = "contacts:PhoneNumber"})),
            "<t:PhoneNumbers></t:PhoneNumbers>");
  EXPECT_EQ(cleared(TWBodyField::withProps({.fieldURI = "item:Body"})),
            "<t:Body BodyType=\"Text\"></t:Body>");
}

}  // namespace
}  // namespace tarnwell
