#include "tarnwell/items/TWAttendee.h"

#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWMailboxFields.h"

namespace tarnwell {
namespace {

std::shared_ptr<TWField> mailboxField() {
  return TWMailboxField::withProps({.name = "mailbox", .isRequired = true});
}

/// What elements go by that stand for a mailbox. An address that has not been validated counts as
/// the mailbox that it will become.
TWList identityOf(const TWValue& mailbox) {
  if (mailbox.isAbsent()) return {};
  return {mailbox.isText() ? TWValue(TWMailbox::withDict({{"email_address", mailbox}})) : mailbox};
}

}  // namespace

const TWElementClass& TWAttendee::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWAttendee",
                           .base = &TWEWSElement::elementClass(),
                           .elementName = "Attendee",
                           .fields =
                               [] {
                                 return TWFields{
                                     mailboxField(),
                                     TWChoiceField::withProps({.name = "response_type",
                                                               .fieldURI = "ResponseType",
                                                               .default_ = "Unknown",
                                                               .choices = choices()}),
                                     TWDateField::withProps({.name = "last_response_time",
                                                             .fieldURI = "LastResponseTime"}),
                                 };
                               },
                           .make = &detail::makeElement<TWAttendee>});
  return kClass;
}

const std::vector<std::string>& TWAttendee::responseTypes() {
  static const auto& kTypes = *new std::vector<std::string>{
      "Unknown", "Organizer", "Tentative", "Accept", "Decline", "NoResponseReceived"};
  return kTypes;
}

std::vector<TWChoice> TWAttendee::choices() {
  return {responseTypes().begin(), responseTypes().end()};
}

std::optional<std::string> TWAttendee::constantText() const {
  const auto mailbox = get<std::shared_ptr<TWMailbox>>("mailbox");
  return mailbox ? mailbox->constantText() : std::nullopt;
}

TWList TWAttendee::identity() const { return identityOf(get("mailbox")); }

const TWElementClass& TWMember::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWMember",
       .base = &TWEWSElement::elementClass(),
       .elementName = "Member",
       .fields =
           [] {
             return TWFields{
                 mailboxField(),
                 TWChoiceField::withProps({.name = "status",
                                           .fieldURI = "Status",
                                           .default_ = "Normal",
                                           .choices = {"Unrecognized", "Normal", "Demoted"}}),
             };
           },
       .make = &detail::makeElement<TWMember>});
  return kClass;
}

TWList TWMember::identity() const { return identityOf(get("mailbox")); }

}  // namespace tarnwell
