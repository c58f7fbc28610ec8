// The field tables of all kinds of items, row by row.

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWPostItem.h"
#include "tarnwell/items/TWTask.h"
#include "tarnwell/protocol/TWVersion.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"

namespace tarnwell {
namespace {

using test::tableOf;
using test::versionOf;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAreArray;
using testing::Not;

using Table = std::vector<std::string>;

const Table kItem{
    "mime_content (item:MimeContent): TWBase64Field",
    "item_id (Id): TWIdField, isReadOnly, isSearchable, isAttribute",
    "changekey (ChangeKey): TWIdField, isReadOnly, isSearchable, isAttribute",
    "parent_folder_id (item:ParentFolderId): TWEWSElementField, isReadOnly, valueCls "
    "TWParentFolderId",
    "item_class (item:ItemClass): TWCharField, isReadOnly",
    "subject (item:Subject): TWCharField",
    "sensitivity (item:Sensitivity): TWChoiceField, isRequired, default Normal, choices "
    "(Normal, Personal, Private, Confidential)",
    "text_body (item:TextBody): TWTextBodyField, isReadOnly, supportedFrom TWBuild: (15, 0, 0, 0)",
    "body (item:Body): TWBodyField",
    "attachments (item:Attachments): TWAttachmentField, valueCls TWAttachment",
    "datetime_received (item:DateTimeReceived): TWDateTimeField, isReadOnly",
    "size (item:Size): TWIntegerField, isReadOnly",
    "categories (item:Categories): TWCharListField",
    "importance (item:Importance): TWChoiceField, isRequired, default Normal, choices "
    "(Low, Normal, High)",
    "in_reply_to (item:InReplyTo): TWTextField",
    "is_submitted (item:IsSubmitted): TWBooleanField, isReadOnly",
    "is_draft (item:IsDraft): TWBooleanField, isReadOnly",
    "is_from_me (item:IsFromMe): TWBooleanField, isReadOnly",
    "is_resend (item:IsResend): TWBooleanField, isReadOnly",
    "is_unmodified (item:IsUnmodified): TWBooleanField, isReadOnly",
    "headers (item:InternetMessageHeaders): TWMessageHeaderField, isReadOnly, valueCls "
    "TWMessageHeader",
    "datetime_sent (item:DateTimeSent): TWDateTimeField, isReadOnly",
    "datetime_created (item:DateTimeCreated): TWDateTimeField, isReadOnly",
    "reminder_due_by (item:ReminderDueBy): TWDateTimeField, isRequiredAfterSave",
    "reminder_is_set (item:ReminderIsSet): TWBooleanField, isRequired, default 0",
    "reminder_minutes_before_start (item:ReminderMinutesBeforeStart): TWIntegerField, isRequired, "
    "default 0, min 0",
    "display_cc (item:DisplayCc): TWCharField, isReadOnly",
    "display_to (item:DisplayTo): TWCharField, isReadOnly",
    "has_attachments (item:HasAttachments): TWBooleanField, isReadOnly",
    "culture (item:Culture): TWCultureField, isRequired, isSearchable",
    "effective_rights (item:EffectiveRights): TWEffectiveRightsField, isReadOnly, valueCls "
    "TWEffectiveRights",
    "last_modified_name (item:LastModifiedName): TWCharField, isReadOnly",
    "last_modified_time (item:LastModifiedTime): TWDateTimeField, isReadOnly",
    "is_associated (item:IsAssociated): TWBooleanField, isReadOnly, supportedFrom TWBuild: (14, 0, "
    "0, 0)",
    "conversation_id (item:ConversationId): TWEWSElementField, isReadOnly, valueCls "
    "TWConversationId, supportedFrom TWBuild: (14, 0, 0, 0)",
    "unique_body (item:UniqueBody): TWBodyField, isReadOnly, supportedFrom TWBuild: (14, 0, 0, 0)",
};

const Table kMessage{
    "sender (message:Sender): TWMailboxField, isReadOnlyAfterSend, valueCls TWMailbox",
    "to_recipients (message:ToRecipients): TWMailboxListField, isReadOnlyAfterSend, valueCls "
    "TWMailbox",
    "cc_recipients (message:CcRecipients): TWMailboxListField, isReadOnlyAfterSend, valueCls "
    "TWMailbox",
    "bcc_recipients (message:BccRecipients): TWMailboxListField, isReadOnlyAfterSend, valueCls "
    "TWMailbox",
    "is_read_receipt_requested (message:IsReadReceiptRequested): TWBooleanField, "
    "isReadOnlyAfterSend",
    "is_delivery_receipt_requested (message:IsDeliveryReceiptRequested): TWBooleanField, "
    "isReadOnlyAfterSend",
    "conversation_index (message:ConversationIndex): TWBase64Field, isReadOnly",
    "conversation_topic (message:ConversationTopic): TWCharField, isReadOnly",
    "from (message:From): TWMailboxField, isReadOnlyAfterSend, valueCls TWMailbox",
    "message_id (message:InternetMessageId): TWCharField, isReadOnlyAfterSend",
    "is_read (message:IsRead): TWBooleanField",
    "is_response_requested (message:IsResponseRequested): TWBooleanField",
    "references (message:References): TWTextField, isReadOnlyAfterSend",
    "reply_to (message:ReplyTo): TWMailboxField, isReadOnlyAfterSend, valueCls TWMailbox",
    "received_by (message:ReceivedBy): TWMailboxField, isReadOnly, valueCls TWMailbox",
    "received_representing (message:ReceivedRepresenting): TWMailboxField, isReadOnly, valueCls "
    "TWMailbox",
};

const Table kPost{
    "conversation_index (message:ConversationIndex): TWBase64Field, isReadOnly",
    "conversation_topic (message:ConversationTopic): TWCharField, isReadOnly",
    "from (message:From): TWMailboxField, isReadOnlyAfterSend, valueCls TWMailbox",
    "message_id (message:InternetMessageId): TWCharField, isReadOnlyAfterSend",
    "is_read (message:IsRead): TWBooleanField",
    "posted_time (postitem:PostedTime): TWDateTimeField, isReadOnly",
    "sender (message:Sender): TWMailboxField, isReadOnlyAfterSend, valueCls TWMailbox",
};

const Table kContact{
    "file_as (contacts:FileAs): TWCharField",
    "file_as_mapping (contacts:FileAsMapping): TWChoiceField, choices (None, LastCommaFirst, "
    "FirstSpaceLast, Company, LastCommaFirstCompany, CompanyLastFirst, LastFirst, "
    "LastFirstCompany, CompanyLastCommaFirst, LastFirstSuffix, LastSpaceFirstCompany, "
    "CompanyLastSpaceFirst, LastSpaceFirst, DisplayName, FirstName, LastFirstMiddleSuffix, "
    "LastName, Empty)",
    "display_name (contacts:DisplayName): TWCharField",
    "given_name (contacts:GivenName): TWCharField",
    "initials (contacts:Initials): TWCharField",
    "middle_name (contacts:MiddleName): TWCharField",
    "nickname (contacts:Nickname): TWCharField",
    "company_name (contacts:CompanyName): TWCharField",
    "email_addresses (contacts:EmailAddress): TWEmailAddressField, valueCls TWEmailAddress",
    "physical_addresses (contacts:PhysicalAddress): TWPhysicalAddressField, valueCls "
    "TWPhysicalAddress",
    "phone_numbers (contacts:PhoneNumber): TWPhoneNumberField, valueCls TWPhoneNumber",
    "assistant_name (contacts:AssistantName): TWCharField",
    "birthday (contacts:Birthday): TWDateTimeField",
    "business_homepage (contacts:BusinessHomePage): TWURIField",
    "children (contacts:Children): TWCharListField",
    "companies (contacts:Companies): TWCharListField",
    "contact_source (contacts:ContactSource): TWChoiceField, isReadOnly, choices "
    "(ActiveDirectory, Store)",
    "department (contacts:Department): TWCharField",
    "generation (contacts:Generation): TWCharField",
    "im_addresses (contacts:ImAddresses): TWCharField",
    "job_title (contacts:JobTitle): TWCharField",
    "manager (contacts:Manager): TWCharField",
    "mileage (contacts:Mileage): TWCharField",
    "office (contacts:OfficeLocation): TWCharField",
    "postal_address_index (contacts:PostalAddressIndex): TWChoiceField, choices "
    "(None, Business, Home, Other)",
    "profession (contacts:Profression): TWCharField",
    "spouse_name (contacts:SpouseName): TWCharField",
    "surname (contacts:Surname): TWCharField",
    "wedding_anniversary (contacts:WeddingAnniversary): TWDateTimeField",
    "has_picture (contacts:HasPicture): TWBooleanField, isReadOnly, supportedFrom TWBuild: (14, 0, "
    "0, 0)",
};

const Table kMeeting{
    "associated_calendar_item_id (meeting:AssociatedCalendarItemId): TWEWSElementField, "
    "isReadOnly, valueCls TWAssociatedCalendarItemId",
    "is_delegated (meeting:IsDelegated): TWBooleanField, isReadOnly",
    "is_out_of_date (meeting:IsOutOfDate): TWBooleanField, isReadOnly",
    "has_been_processed (meeting:HasBeenProcessed): TWBooleanField, isReadOnly",
    "response_type (meeting:ResponseType): TWChoiceField, isReadOnly, choices "
    "(Unknown, Organizer, Tentative, Accept, Decline, NoResponseReceived)",
    "uid (calendar:UID): TWCharField, isReadOnly",
    "recurrence_id (calendar:RecurrenceId): TWDateTimeField, isReadOnly",
    "datetime_stamp (calendar:DateTimeStamp): TWDateTimeField, isReadOnly",
};

const Table kRequestTypes{
    "meeting_request_type (meetingRequest:MeetingRequestType): TWChoiceField, isReadOnly, choices "
    "(None, FullUpdate, InformationalUpdate, NewMeetingRequest, Outdated, SilentUpdate, "
    "PrincipalWantsCopy)",
    "intended_free_busy_status (meetingRequest:IntendedFreeBusyStatus): TWChoiceField, isReadOnly, "
    "choices (Free, Tentative, Busy, OOF, WorkingElsewhere, NoData)",
};

const Table kTimes{
    "start (calendar:Start): TWDateTimeField",
    "end (calendar:End): TWDateTimeField",
};

const Table kAppointment{
    "original_start (calendar:OriginalStart): TWDateTimeField, isReadOnly",
    "is_all_day (calendar:IsAllDayEvent): TWBooleanField, isReadOnly",
    "legacy_free_busy_status (calendar:LegacyFreeBusyStatus): TWChoiceField, isReadOnly, choices "
    "(Free, Tentative, Busy, OOF, WorkingElsewhere, NoData)",
    "location (calendar:Location): TWCharField, isReadOnly",
    "when (calendar:When): TWCharField, isReadOnly",
    "is_meeting (calendar:IsMeeting): TWBooleanField, isReadOnly",
    "is_cancelled (calendar:IsCancelled): TWBooleanField, isReadOnly",
    "is_recurring (calendar:IsRecurring): TWBooleanField, isReadOnly",
    "meeting_request_was_sent (calendar:MeetingRequestWasSent): TWBooleanField, isReadOnly",
    "type (calendar:CalendarItemType): TWChoiceField, isReadOnly, choices "
    "(Single, Occurrence, Exception, RecurringMaster)",
    "my_response_type (calendar:MyResponseType): TWChoiceField, isReadOnly, choices "
    "(Unknown, Organizer, Tentative, Accept, Decline, NoResponseReceived)",
    "organizer (calendar:Organizer): TWMailboxField, isReadOnly, valueCls TWMailbox",
    "required_attendees (calendar:RequiredAttendees): TWAttendeesField, isReadOnly, valueCls "
    "TWAttendee",
    "optional_attendees (calendar:OptionalAttendees): TWAttendeesField, isReadOnly, valueCls "
    "TWAttendee",
    "resources (calendar:Resources): TWAttendeesField, isReadOnly, valueCls TWAttendee",
    "conflicting_meeting_count (calendar:ConflictingMeetingCount): TWIntegerField, isReadOnly",
    "adjacent_meeting_count (calendar:AdjacentMeetingCount): TWIntegerField, isReadOnly",
    "duration (calendar:Duration): TWCharField, isReadOnly",
    "appointment_reply_time (calendar:AppointmentReplyTime): TWDateTimeField, isReadOnly",
    "appointment_sequence_number (calendar:AppointmentSequenceNumber): TWIntegerField, isReadOnly",
    "appointment_state (calendar:AppointmentState): TWIntegerField, isReadOnly",
    "conference_type (calendar:ConferenceType): TWIntegerField, isReadOnly",
    "allow_new_time_proposal (calendar:AllowNewTimeProposal): TWBooleanField, isReadOnly",
    "is_online_meeting (calendar:IsOnlineMeeting): TWBooleanField, isReadOnly",
    "meeting_workspace_url (calendar:MeetingWorkspaceUrl): TWURIField, isReadOnly",
    "net_show_url (calendar:NetShowUrl): TWURIField, isReadOnly",
};

const Table kLocation{
    "location (calendar:Location): TWCharField, isReadOnly, supportedFrom TWBuild: (15, 0, 0, 0)",
    "type (calendar:CalendarItemType): TWChoiceField, isReadOnly, choices "
    "(Single, Occurrence, Exception, RecurringMaster), supportedFrom TWBuild: (15, 0, 0, 0)",
};

const Table kProposal{
    "proposed_start (meeting:ProposedStart): TWDateTimeField, isReadOnly, supportedFrom TWBuild: "
    "(15, 0, 0, 0)",
    "proposed_end (meeting:ProposedEnd): TWDateTimeField, isReadOnly, supportedFrom TWBuild: (15, "
    "0, 0, 0)",
};

/// A kind's table starts with that of every item.
Table itemAnd(std::initializer_list<Table> own) {
  Table table = kItem;
  for (const auto& part : own) table.insert(table.end(), part.begin(), part.end());
  return table;
}

TEST(ItemFields, OfEveryItem) {
  EXPECT_THAT(tableOf(TWItem::elementClass()), ElementsAreArray(kItem));
}

TEST(ItemFields, OfMessages) {
  EXPECT_THAT(tableOf(TWMessage::elementClass()), ElementsAreArray(itemAnd({kMessage})));
}

TEST(ItemFields, OfPosts) {
  EXPECT_THAT(tableOf(TWPostItem::elementClass()), ElementsAreArray(itemAnd({kPost})));
}

TEST(ItemFields, OfContacts) {
  EXPECT_THAT(tableOf(TWContact::elementClass()), ElementsAreArray(itemAnd({kContact})));
}

TEST(ItemFields, OfKindsWithoutFieldsOfTheirOwn) {
  for (const auto* const cls : {&TWTask::elementClass(), &TWCalendarItem::elementClass(),
                                &TWDistributionList::elementClass()})
    EXPECT_THAT(tableOf(*cls), ElementsAreArray(kItem)) << cls->name();
}

TEST(ItemFields, OfMeetingRequests) {
  EXPECT_THAT(tableOf(TWMeetingRequest::elementClass()),
              ElementsAreArray(itemAnd({kMessage, kMeeting, kRequestTypes, kTimes, kAppointment})));
}

TEST(ItemFields, OfMeetingResponses) {
  EXPECT_THAT(tableOf(TWMeetingResponse::elementClass()),
              ElementsAreArray(itemAnd({kMessage, kMeeting, kTimes, kLocation, kProposal})));
}

TEST(ItemFields, OfMeetingCancellations) {
  EXPECT_THAT(tableOf(TWMeetingCancellation::elementClass()),
              ElementsAreArray(itemAnd({kMessage, kMeeting, kTimes, kLocation})));
}

TEST(ItemFields, NoKindHasANameTwice) {
  for (const auto* const cls : TWItem::itemClasses()) {
    auto names = cls->fieldNames();
    std::ranges::sort(names);
    EXPECT_EQ(std::ranges::adjacent_find(names), names.end()) << cls->name();
  }
}

TEST(ItemFields, ThatCameLaterAreNotSupportedByEarlierServers) {
  const auto supported = [](TWBuild build) {
    const auto version = versionOf(build);
    std::vector<std::string> names;
    for (const auto& field : TWItem::supportedFields(&version)) names.emplace_back(field->name());
    return names;
  };
  const auto from2010 =
      AllOf(Contains("is_associated"), Contains("conversation_id"), Contains("unique_body"));
  const auto notYet2010 = AllOf(Not(Contains("is_associated")), Not(Contains("conversation_id")),
                                Not(Contains("unique_body")));
  EXPECT_THAT(supported(TWBuild(8, 3)), AllOf(notYet2010, Not(Contains("text_body"))));
  EXPECT_THAT(supported(TWBuild(14, 0)), AllOf(from2010, Not(Contains("text_body"))));
  EXPECT_THAT(supported(TWBuild(14, 3)), AllOf(from2010, Not(Contains("text_body"))));
  EXPECT_THAT(supported(TWBuild(15, 0)), AllOf(from2010, Contains("text_body")));
}

}  // namespace
}  // namespace tarnwell
