#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/schema/TWElementFields.h"

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

constexpr std::string_view kTwoMailboxes =
    "<t:ToRecipients>"
    "<t:Mailbox><t:EmailAddress>ann@example.com</t:EmailAddress></t:Mailbox><t:Other/>"
    "<t:Mailbox><t:EmailAddress>bob@example.com</t:EmailAddress></t:Mailbox>"
    "</t:ToRecipients>";

TWFieldOptions sender() {
  return {.name = "sender", .fieldURI = "message:Sender", .valueCls = &TWMailbox::elementClass()};
}
TWFieldOptions recipients() {
  return {.name = "to_recipients",
          .fieldURI = "message:ToRecipients",
          .valueCls = &TWMailbox::elementClass()};
}
TWFieldOptions conversation() {
  return {.name = "conversation_id",
          .fieldURI = "item:ConversationId",
          .valueCls = &TWConversationId::elementClass()};
}

template <class Base>
bool isA(const TWField& field) {
  return dynamic_cast<const Base*>(&field) != nullptr;
}

/// "TWMailbox" for a field of mailboxes.
std::string_view valueClassName(const TWField& field) {
  const auto* const cls = field.valueClass().elementClass();
  return cls == nullptr ? std::string_view("none") : cls->name();
}

TEST(ElementFields, StandInTheirTree) {
  EXPECT_TRUE(isA<TWFieldURIField>(*TWEWSElementField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementField>(*TWEWSElementListField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementField>(*TWRecurrenceField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementField>(*TWOccurenceField::withProps({})));
  EXPECT_TRUE(isA<TWOccurenceField>(*TWOccurrenceListField::withProps({})));
  EXPECT_FALSE(isA<TWEWSElementListField>(*TWOccurrenceListField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementListField>(*TWMessageHeaderField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementListField>(*TWAttachmentField::withProps({})));
  EXPECT_TRUE(isA<TWEWSElementField>(*TWEffectiveRightsField::withProps({})));
  EXPECT_FALSE(isA<TWEWSElementListField>(*TWEffectiveRightsField::withProps({})));
  EXPECT_TRUE(isA<TWFieldURIField>(*TWItemField::withProps({})));
  EXPECT_FALSE(isA<TWEWSElementField>(*TWItemField::withProps({})));
}

TEST(ElementFields, KnowTheirNamesAndWhetherTheyAreListsAndComplex) {
  struct Row {
    std::shared_ptr<const TWField> field;
    std::string_view className;
    bool isList, isComplex;
  };
  const std::vector<Row> rows = {
      {TWEWSElementField::withProps({}), "TWEWSElementField", false, false},
      {TWEWSElementListField::withProps({}), "TWEWSElementListField", true, true},
      {TWRecurrenceField::withProps({}), "TWRecurrenceField", false, true},
      {TWOccurenceField::withProps({}), "TWOccurenceField", false, true},
      {TWOccurrenceListField::withProps({}), "TWOccurrenceListField", true, true},
      {TWMessageHeaderField::withProps({}), "TWMessageHeaderField", true, true},
      {TWAttachmentField::withProps({}), "TWAttachmentField", true, true},
      {TWEffectiveRightsField::withProps({}), "TWEffectiveRightsField", false, false},
      {TWItemField::withProps({}), "TWItemField", false, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.field->className(), row.className);
    EXPECT_EQ(row.field->isList(), row.isList) << row.className;
    EXPECT_EQ(row.field->isComplex(), row.isComplex) << row.className;
  }
}

TEST(ElementFields, SomeKindsHaveTheirValueClassWhateverTheOptionsSay) {
  const TWFieldOptions given{.valueCls = &TWItemId::elementClass()};
  EXPECT_EQ(valueClassName(*TWMessageHeaderField::withProps(given)), "TWMessageHeader");
  EXPECT_EQ(valueClassName(*TWAttachmentField::withProps(given)), "TWAttachment");
  EXPECT_EQ(valueClassName(*TWEffectiveRightsField::withProps(given)), "TWEffectiveRights");
  EXPECT_EQ(valueClassName(*TWItemField::withProps(given)), "none");
  EXPECT_EQ(valueClassName(*TWEWSElementField::withProps(given)), "TWItemId");
  EXPECT_EQ(TWMessageHeaderField::withProps(given)->get("valueCls"), TWValue("TWMessageHeader"));
}

TEST(TWEWSElementField, WithAFieldURIReadsTheVeryElementOfTheField) {
  auto options = conversation();
  options.default_ = "none";
  const auto field = TWEWSElementField::withProps(options);
  const auto id = readFrom(*field, R"(<t:ConversationId Id="c"/>)").asObject<TWConversationId>();
  ASSERT_TRUE(id);
  EXPECT_EQ(id->get<std::string>("id"), "c");
  EXPECT_EQ(readFrom(*field, R"(<t:ItemId Id="c"/>)"), TWValue("none"));
}

TEST(TWEWSElementField, WithoutAFieldURIReadsTheElementOfTheValueClass) {
  const auto inTypes = TWEWSElementField::withProps({.valueCls = &TWItemId::elementClass()});
  const auto id = readFrom(*inTypes, R"(<t:Other Id="x"/><t:ItemId Id="i"/>)").asObject<TWItemId>();
  ASSERT_TRUE(id);
  EXPECT_EQ(id->get<std::string>("id"), "i");
  const auto inMessages = TWEWSElementField::withProps({.valueCls = &TWRootItemId::elementClass()});
  EXPECT_TRUE(readFrom(*inMessages, R"(<t:RootItemId RootItemId="i"/>)").isAbsent());
  EXPECT_TRUE(readFrom(*inMessages,
                       "<m:RootItemId xmlns:m='http://schemas.microsoft.com/exchange/"
                       "services/2006/messages' RootItemId='i'/>")
                  .asObject<TWRootItemId>());
}

TEST(TWEWSElementField, WithoutAClassReadsNothing) {
  EXPECT_TRUE(readFrom(*TWEWSElementField::withProps({.name = "x"}), "<t:X/>").isAbsent());
  EXPECT_EQ(readFrom(*TWRecurrenceField::withProps(
                         {.name = "x", .fieldURI = "calendar:X", .default_ = 1}),
                     "<t:X/>"),
            TWValue(1));
}

TEST(TWEWSElementField, TakesElementsOfItsClassAndOfThoseBelow) {
  const auto field =
      TWEWSElementField::withProps({.name = "id", .valueCls = &TWItemId::elementClass()});
  const auto id = TWParentFolderId::withDict({{"id", "f"}});
  EXPECT_EQ(cleaned(*field, id).asObject(), id);
  EXPECT_THAT(failure(*field, "f"),
              IsFailure(TWErrorCode::ErrorType, "f value is not of type TWEWSElementField for id"));
}

TEST(TWEWSElementField, PassesTheErrorOfTheElementUp) {
  EXPECT_THAT(
      failure(*TWEWSElementField::withProps(sender()), TWMailbox::withDict()),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "Mailbox must have email address or item id"));
  EXPECT_EQ(written(*TWEWSElementField::withProps(sender()), TWMailbox::withDict()),
            "error: Mailbox must have email address or item id");
  EXPECT_EQ(written(*TWEWSElementField::withProps({.valueCls = &TWMailbox::elementClass()}),
                    TWMailbox::withDict()),
            "error: Mailbox must have email address or item id");
}

TEST(TWEWSElementField, WithAFieldURIWritesAnElementAroundTheValue) {
  EXPECT_THAT(written(*TWEWSElementField::withProps(sender()),
                      TWMailbox::withDict({{"email_address", "ann@example.com"}})),
              EqualsXML("<t:Sender><t:Mailbox><t:EmailAddress>ann@example.com</t:EmailAddress>"
                        "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Mailbox</t:MailboxType>"
                        "</t:Mailbox></t:Sender>"));
}

TEST(TWEWSElementField, AnIdOfTheFieldsOwnNameIsWrittenTwice) {
  EXPECT_THAT(written(*TWEWSElementField::withProps(conversation()),
                      TWConversationId::withDict({{"id", "c"}})),
              EqualsXML(R"(<t:ConversationId><t:ConversationId Id="c"/></t:ConversationId>)"));
}

TEST(TWEWSElementField, WithoutAFieldURIWritesTheValueAlone) {
  EXPECT_THAT(written(*TWEWSElementField::withProps({.valueCls = &TWItemId::elementClass()}),
                      TWItemId::withDict({{"id", "i"}})),
              EqualsXML(R"(<t:ItemId Id="i"/>)"));
}

TEST(TWEWSElementField, AValueAloneThatIsNoElementCannotBeWritten) {
  const auto field =
      TWEWSElementField::withProps({.name = "mailbox", .valueCls = &TWMailbox::elementClass()});
  EXPECT_EQ(written(*field, "ann@example.com"),
            "error: ann@example.com value is not of type TWEWSElementField for mailbox");
  TWError error;
  EXPECT_TRUE(field->toXML({}, nullptr, &error).isAbsent());
  EXPECT_FALSE(error);
}

TEST(TWEWSElementListField, ReadsTheElementsInOrderAndSkipsOthers) {
  const auto field = TWEWSElementListField::withProps(recipients());
  const auto list = readFrom(*field, kTwoMailboxes).asList();
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 2U);
  EXPECT_EQ((*list)[0].asObject<TWMailbox>()->get<std::string>("email_address"), "ann@example.com");
  EXPECT_EQ((*list)[1].asObject<TWMailbox>()->get<std::string>("email_address"), "bob@example.com");
}

TEST(TWEWSElementListField, FindsTheElementsByTheirLocalNameAlone) {
  const auto list = readFrom(*TWEWSElementListField::withProps(recipients()),
                             "<t:ToRecipients><Mailbox><t:EmailAddress>cy@example.com"
                             "</t:EmailAddress></Mailbox></t:ToRecipients>")
                        .asList();
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 1U);
  EXPECT_EQ((*list)[0].asObject<TWMailbox>()->get<std::string>("email_address"), "cy@example.com");
}

TEST(TWEWSElementListField, AnEmptyContainerIsAnEmptyListAndAMissingOneTheDefault) {
  auto options = recipients();
  options.default_ = TWValue::list({1});
  const auto field = TWEWSElementListField::withProps(options);
  EXPECT_EQ(readFrom(*field, "<t:ToRecipients/>"), TWValue(TWList()));
  EXPECT_EQ(readFrom(*field, "<t:CcRecipients/>"), TWValue::list({1}));
}

TEST(TWEWSElementListField, WritesAContainerWithTheElements) {
  const auto field = TWEWSElementListField::withProps(
      {.name = "ids", .fieldURI = "x:Ids", .valueCls = &TWItemId::elementClass()});
  EXPECT_THAT(written(*field, TWValue::list({TWItemId::withDict({{"id", "a"}}),
                                             TWItemId::withDict({{"id", "b"}})})),
              EqualsXML(R"(<t:Ids><t:ItemId Id="a"/><t:ItemId Id="b"/></t:Ids>)"));
}

TEST(TWEWSElementListField, TestsEveryEntry) {
  const auto field = TWEWSElementListField::withProps(recipients());
  const auto good = TWMailbox::withDict({{"email_address", "ann@example.com"}});
  EXPECT_THAT(failure(*field, TWValue::list({good, 5})),
              IsFailure(TWErrorCode::ErrorType,
                        "5 value is not of type TWEWSElementListField for to_recipients"));
  EXPECT_THAT(
      failure(*field, TWValue::list({good, TWMailbox::withDict()})),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "Mailbox must have email address or item id"));
  EXPECT_THAT(failure(*field, good),
              IsFailure(TWErrorCode::ErrorValueOutOfRange, "to_recipients needs an iterable"));
}

TEST(TWRecurrenceField, WritesTheValueAloneEvenWithAFieldURI) {
  const auto field = TWRecurrenceField::withProps({.name = "recurrence",
                                                   .fieldURI = "calendar:Recurrence",
                                                   .valueCls = &TWItemId::elementClass()});
  EXPECT_THAT(written(*field, TWItemId::withDict({{"id", "i"}})),
              EqualsXML(R"(<t:ItemId Id="i"/>)"));
  EXPECT_EQ(written(*field, TWItemId::withDict()), "error: id is a required field with no default");
  EXPECT_THAT(written(*field, {}), EqualsXML("<t:Recurrence/>"));
}

TEST(TWRecurrenceField, IsReadAsANestedElement) {
  const auto field = TWRecurrenceField::withProps({.name = "recurrence",
                                                   .fieldURI = "calendar:Recurrence",
                                                   .valueCls = &TWItemId::elementClass()});
  EXPECT_EQ(readFrom(*field, R"(<t:Recurrence Id="i"/>)"),
            TWValue(TWItemId::withDict({{"id", "i"}})));
}

TEST(TWOccurenceField, IsReadAndWrittenAsANestedElement) {
  const auto field = TWOccurenceField::withProps({.name = "first_occurrence",
                                                  .fieldURI = "calendar:FirstOccurrence",
                                                  .valueCls = &TWItemId::elementClass()});
  EXPECT_EQ(readFrom(*field, R"(<t:FirstOccurrence Id="a"/>)"),
            TWValue(TWItemId::withDict({{"id", "a"}})));
  EXPECT_THAT(written(*field, TWItemId::withDict({{"id", "a"}})),
              EqualsXML(R"(<t:FirstOccurrence><t:ItemId Id="a"/></t:FirstOccurrence>)"));
}

TEST(TWOccurrenceListField, IsReadAndWrittenAsAList) {
  const auto field = TWOccurrenceListField::withProps({.name = "modified_occurrences",
                                                       .fieldURI = "calendar:ModifiedOccurrences",
                                                       .valueCls = &TWItemId::elementClass()});
  const auto list = readFrom(*field, R"(<t:ModifiedOccurrences><t:ItemId Id="a"/><t:Other/>
      <t:ItemId Id="b"/></t:ModifiedOccurrences>)");
  EXPECT_EQ(list,
            TWValue::list({TWItemId::withDict({{"id", "a"}}), TWItemId::withDict({{"id", "b"}})}));
  EXPECT_THAT(written(*field, list), EqualsXML(R"(<t:ModifiedOccurrences><t:ItemId Id="a"/>
      <t:ItemId Id="b"/></t:ModifiedOccurrences>)"));
}

TEST(TWMessageHeaderField, ReadsHeaders) {
  const auto field = TWMessageHeaderField::withProps(
      {.name = "headers", .fieldURI = "item:InternetMessageHeaders"});
  const auto list = readFrom(*field, R"(<t:InternetMessageHeaders>
      <t:InternetMessageHeader HeaderName="Received">now</t:InternetMessageHeader>
      </t:InternetMessageHeaders>)")
                        .asList();
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 1U);
  EXPECT_EQ((*list)[0].asObject<TWMessageHeader>()->get<std::string>("name"), "Received");
  EXPECT_EQ((*list)[0].asObject<TWMessageHeader>()->get<std::string>("value"), "now");
}

TEST(TWEffectiveRightsField, IsReadAsANestedElement) {
  const auto field = TWEffectiveRightsField::withProps(
      {.name = "effective_rights", .fieldURI = "item:EffectiveRights"});
  const auto rights =
      readFrom(*field, "<t:EffectiveRights><t:Read>true</t:Read></t:EffectiveRights>")
          .asObject<TWEffectiveRights>();
  ASSERT_TRUE(rights);
  EXPECT_EQ(rights->get<bool>("read"), true);
  EXPECT_EQ(rights->get<bool>("delete"), false);
  EXPECT_TRUE(readFrom(*field, "").isAbsent());
}

TEST(TWAttachmentField, ReadsFilesOnly) {
  const auto field =
      TWAttachmentField::withProps({.name = "attachments", .fieldURI = "item:Attachments"});
  const auto list = readFrom(*field, R"(<t:Attachments>
      <t:FileAttachment><t:AttachmentId Id="a"/><t:Name>one.txt</t:Name></t:FileAttachment>
      <t:ItemAttachment><t:AttachmentId Id="b"/><t:Name>A message</t:Name></t:ItemAttachment>
      <t:FileAttachment><t:AttachmentId Id="c"/><t:Name>two.txt</t:Name></t:FileAttachment>
      <FileAttachment/></t:Attachments>)")
                        .asList();
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 2U);
  EXPECT_EQ((*list)[0].asObject<TWFileAttachment>()->get<std::string>("name"), "one.txt");
  EXPECT_EQ((*list)[1].asObject<TWFileAttachment>()->get<std::string>("name"), "two.txt");
}

TEST(TWAttachmentField, AnEmptyContainerIsAnEmptyListAndAMissingOneTheDefault) {
  const auto field = TWAttachmentField::withProps(
      {.name = "attachments", .fieldURI = "item:Attachments", .default_ = TWValue::list({1})});
  EXPECT_EQ(readFrom(*field, "<t:Attachments/>"), TWValue(TWList()));
  EXPECT_EQ(readFrom(*field, ""), TWValue::list({1}));
}

TEST(TWAttachmentField, TakesEveryKindOfAttachment) {
  const auto field =
      TWAttachmentField::withProps({.name = "attachments", .fieldURI = "item:Attachments"});
  const auto list = TWValue::list({TWFileAttachment::withDict({{"name", "one.txt"}}),
                                   TWItemAttachment::withDict({{"name", "A message"}})});
  EXPECT_EQ(cleaned(*field, list), list);
  EXPECT_THAT(failure(*field, TWValue::list({TWItemId::withDict({{"id", "i"}})})),
              IsFailure(TWErrorCode::ErrorType,
                        "[TWItemId] {id = i} value is not of type TWAttachmentField for "
                        "attachments"));
}

TEST(TWItemField, TakesAndReadsNothing) {
  const auto field = TWItemField::withProps({.name = "_item", .fieldURI = "Item"});
  EXPECT_TRUE(readFrom(*field, "<t:Item>x</t:Item>").isAbsent());
  EXPECT_TRUE(cleaned(*field, {}).isAbsent());
  EXPECT_THAT(failure(*field, "x"),
              IsFailure(TWErrorCode::ErrorType, "x value is not of type TWItemField for _item"));
  EXPECT_THAT(field->fieldURIXML().description(), EqualsXML(R"(<t:FieldURI FieldURI="Item"/>)"));
}

}  // namespace
}  // namespace tarnwell
