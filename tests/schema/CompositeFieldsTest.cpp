// What holds for every field whose values are more than a number or a text.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWMailboxFields.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/TestElements.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::elementWith;
using test::Person;
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

/// Entries that can be of any class.
class PeopleField : public detail::IndexedKind<PeopleField> {
 public:
  static constexpr std::string_view kClassName = "PeopleField";
  static constexpr std::string_view kParentElementName = "People";
  using IndexedKind::IndexedKind;
};

TEST(CompositeFields, WriteElementsForTheVersion) {
  const TWVersion k2007(TWBuild(8, 0)), k2013(TWBuild(15, 0));
  const TWFieldOptions bare{.name = "p", .valueCls = &Person::elementClass()};
  const TWFieldOptions named{
      .name = "p", .fieldURI = "item:P", .valueCls = &Person::elementClass()};
  const std::vector<std::shared_ptr<const TWField>> fields = {
      TWEWSElementField::withProps(bare),      TWEWSElementField::withProps(named),
      TWRecurrenceField::withProps(bare),      TWRecurrenceField::withProps(named),
      TWEWSElementListField::withProps(named), PeopleField::withProps(named)};
  for (const auto& field : fields) {
    // The nickname is too long, and unknown to the server of 2007.
    const TWValue person = Person::withDict({{"nick", "too long"}});
    const TWValue value = field->isList() ? TWValue::list({person}) : person;
    const auto text = written(*field, value, &k2007);
    EXPECT_THAT(text, testing::HasSubstr("<t:Age>18</t:Age>")) << field->className();
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("Nick"))) << field->className();
    EXPECT_THAT(written(*field, value, &k2013), testing::StartsWith("error: "))
        << field->className();
  }
}

TEST(CompositeFields, OfOneValueAreNeitherListsNorComplex) {
  const std::vector<std::shared_ptr<const TWField>> fields = {
      TWLabelField::withProps({}), TWEmailSubField::withProps({}), TWNamedSubField::withProps({})};
  for (const auto& field : fields) {
    EXPECT_FALSE(field->isList()) << field->className();
    EXPECT_FALSE(field->isComplex()) << field->className();
  }
}

TEST(CompositeFields, OfEntriesAreFieldsWithAURI) {
  const std::shared_ptr<const TWField> field = TWIndexedField::withProps({});
  EXPECT_NE(dynamic_cast<const TWFieldURIField*>(field.get()), nullptr);
}

TEST(CompositeFields, WriteHeadersInTheirContainer) {
  EXPECT_THAT(
      written(*TWMessageHeaderField::withProps({.fieldURI = "item:InternetMessageHeaders"}),
              TWValue::list({TWMessageHeader::withDict({{"name", "X"}, {"value", "v"}})})),
      test::EqualsXML("<t:InternetMessageHeaders><t:InternetMessageHeader HeaderName=\"X\">v"
                      "</t:InternetMessageHeader></t:InternetMessageHeaders>"));
}

}  // namespace
}  // namespace tarnwell
