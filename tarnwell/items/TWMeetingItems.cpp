#include "tarnwell/items/TWMeetingItems.h"

#include <algorithm>
#include <iterator>

#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWMailboxFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {
namespace {

using namespace detail;

TWFields joined(std::initializer_list<TWFields> parts) {
  TWFields all;
  for (const auto& part : parts) std::ranges::copy(part, std::back_inserter(all));
  return all;
}

std::vector<TWChoice> busyStates() {
  return {"Free", "Tentative", "Busy", "OOF", {"WorkingElsewhere", kExchange2013}, "NoData"};
}

/// What all three have.
TWFields meetingFields() {
  const auto& calendarItemId = TWAssociatedCalendarItemId::elementClass();
  return {
      field<TWEWSElementField>("associated_calendar_item_id", "meeting:AssociatedCalendarItemId",
                               readOnlyElement(calendarItemId)),
      field<TWBooleanField>("is_delegated", "meeting:IsDelegated", readOnly()),
      field<TWBooleanField>("is_out_of_date", "meeting:IsOutOfDate", readOnly()),
      field<TWBooleanField>("has_been_processed", "meeting:HasBeenProcessed", readOnly()),
      field<TWChoiceField>("response_type", "meeting:ResponseType",
                           readOnlyOneOf(TWAttendee::choices())),
      field<TWCharField>("uid", "calendar:UID", readOnly()),
      field<TWDateTimeField>("recurrence_id", "calendar:RecurrenceId", readOnly()),
      field<TWDateTimeField>("datetime_stamp", "calendar:DateTimeStamp", readOnly()),
  };
}

TWFields timeFields() {
  return {
      field<TWDateTimeField>("start", "calendar:Start"),
      field<TWDateTimeField>("end", "calendar:End"),
  };
}

TWFields requestTypeFields() {
  return {
      field<TWChoiceField>(
          "meeting_request_type", "meetingRequest:MeetingRequestType",
          readOnlyOneOf({"None", "FullUpdate", "InformationalUpdate", "NewMeetingRequest",
                         "Outdated", "SilentUpdate", "PrincipalWantsCopy"})),
      field<TWChoiceField>("intended_free_busy_status", "meetingRequest:IntendedFreeBusyStatus",
                           readOnlyOneOf(busyStates())),
  };
}

TWFields appointmentFields() {
  return {
      field<TWDateTimeField>("original_start", "calendar:OriginalStart", readOnly()),
      field<TWBooleanField>("is_all_day", "calendar:IsAllDayEvent", readOnly()),
      field<TWChoiceField>("legacy_free_busy_status", "calendar:LegacyFreeBusyStatus",
                           readOnlyOneOf(busyStates())),
      field<TWCharField>("location", "calendar:Location", readOnly()),
      field<TWCharField>("when", "calendar:When", readOnly()),
      field<TWBooleanField>("is_meeting", "calendar:IsMeeting", readOnly()),
      field<TWBooleanField>("is_cancelled", "calendar:IsCancelled", readOnly()),
      field<TWBooleanField>("is_recurring", "calendar:IsRecurring", readOnly()),
      field<TWBooleanField>("meeting_request_was_sent", "calendar:MeetingRequestWasSent",
                            readOnly()),
      field<TWChoiceField>("type", "calendar:CalendarItemType",
                           readOnlyOneOf({"Single", "Occurrence", "Exception", "RecurringMaster"})),
      field<TWChoiceField>("my_response_type", "calendar:MyResponseType",
                           readOnlyOneOf(TWAttendee::choices())),
      field<TWMailboxField>("organizer", "calendar:Organizer", readOnly()),
      field<TWAttendeesField>("required_attendees", "calendar:RequiredAttendees", readOnly()),
      field<TWAttendeesField>("optional_attendees", "calendar:OptionalAttendees", readOnly()),
      field<TWAttendeesField>("resources", "calendar:Resources", readOnly()),
      field<TWIntegerField>("conflicting_meeting_count", "calendar:ConflictingMeetingCount",
                            readOnly()),
      field<TWIntegerField>("adjacent_meeting_count", "calendar:AdjacentMeetingCount", readOnly()),
      field<TWCharField>("duration", "calendar:Duration", readOnly()),
      field<TWDateTimeField>("appointment_reply_time", "calendar:AppointmentReplyTime", readOnly()),
      field<TWIntegerField>("appointment_sequence_number", "calendar:AppointmentSequenceNumber",
                            readOnly()),
      field<TWIntegerField>("appointment_state", "calendar:AppointmentState", readOnly()),
      field<TWIntegerField>("conference_type", "calendar:ConferenceType", readOnly()),
      field<TWBooleanField>("allow_new_time_proposal", "calendar:AllowNewTimeProposal", readOnly()),
      field<TWBooleanField>("is_online_meeting", "calendar:IsOnlineMeeting", readOnly()),
      field<TWURIField>("meeting_workspace_url", "calendar:MeetingWorkspaceUrl", readOnly()),
      field<TWURIField>("net_show_url", "calendar:NetShowUrl", readOnly()),
  };
}

TWFields locationFields() {
  return {
      field<TWCharField>("location", "calendar:Location", readOnly(kExchange2013)),
      field<TWChoiceField>("type", "calendar:CalendarItemType",
                           {.supportedFrom = kExchange2013,
                            .choices = {"Single", "Occurrence", "Exception", "RecurringMaster"},
                            .isReadOnly = true}),
  };
}

TWFields proposalFields() {
  return {
      field<TWDateTimeField>("proposed_start", "meeting:ProposedStart", readOnly(kExchange2013)),
      field<TWDateTimeField>("proposed_end", "meeting:ProposedEnd", readOnly(kExchange2013)),
  };
}

TWFields requestFields() {
  return joined(
      {messageFields(), meetingFields(), requestTypeFields(), timeFields(), appointmentFields()});
}

TWFields responseFields() {
  return joined(
      {messageFields(), meetingFields(), timeFields(), locationFields(), proposalFields()});
}

TWFields cancellationFields() {
  return joined({messageFields(), meetingFields(), timeFields(), locationFields()});
}

}  // namespace

const TWElementClass& TWMeetingRequest::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWMeetingRequest",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "MeetingRequest",
                                                   .fields = &requestFields,
                                                   .make = &makeElement<TWMeetingRequest>});
  return kClass;
}

const TWElementClass& TWMeetingResponse::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWMeetingResponse",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "MeetingResponse",
                                                   .fields = &responseFields,
                                                   .make = &makeElement<TWMeetingResponse>});
  return kClass;
}

const TWElementClass& TWMeetingCancellation::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWMeetingCancellation",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "MeetingCancellation",
                                                   .fields = &cancellationFields,
                                                   .make = &makeElement<TWMeetingCancellation>});
  return kClass;
}

}  // namespace tarnwell
