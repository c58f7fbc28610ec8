#include "tarnwell/items/TWMailbox.h"

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

std::shared_ptr<TWField> nameField() {
  return TWTextField::withProps({.name = "name", .fieldURI = "Name"});
}

std::shared_ptr<TWField> routingTypeField() {
  return TWChoiceField::withProps(
      {.name = "routing_type", .fieldURI = "RoutingType", .default_ = "SMTP", .choices = {"SMTP"}});
}

/// The address in the form by which addresses are compared; nothing for none.
TWList foldedAddress(const TWValue& address) {
  if (!address.isText()) return {};
  return {lowercasedUnicode(address.textView())};
}

}  // namespace

const TWElementClass& TWMailbox::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWMailbox",
       .base = &TWEWSElement::elementClass(),
       .elementName = "Mailbox",
       .fields =
           [] {
             return TWFields{
                 nameField(),
                 TWEmailField::withProps({.name = "email_address", .fieldURI = "EmailAddress"}),
                 routingTypeField(),
                 TWChoiceField::withProps(
                     {.name = "mailbox_type",
                      .fieldURI = "MailboxType",
                      .default_ = "Mailbox",
                      .choices = {"Mailbox", "PublicDL", "PrivateDL", "Contact", "PublicFolder",
                                  "Unknown", "OneOff"}}),
                 TWEWSElementField::withProps({.name = "item_id",
                                               .valueCls = &TWItemId::elementClass(),
                                               .isReadOnly = true}),
             };
           },
       .make = &detail::makeElement<TWMailbox>});
  return kClass;
}

bool TWMailbox::clean(const TWVersion* version, TWError* error) {
  if (!ElementKind::clean(version, error)) return false;
  if (!get("email_address").isAbsent() || !get("item_id").isAbsent()) return true;
  setError(error,
           {TWErrorCode::ErrorValueOutOfRange, "Mailbox must have email address or item id"});
  return false;
}

std::optional<std::string> TWMailbox::constantText() const { return get("email_address").asText(); }

TWList TWMailbox::identity() const {
  const TWValue& itemId = get("item_id");
  return itemId.isAbsent() ? foldedAddress(get("email_address")) : TWList{itemId};
}

const TWElementClass& TWAvailabilityMailbox::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWAvailabilityMailbox",
       .base = &TWEWSElement::elementClass(),
       .fields =
           [] {
             return TWFields{
                 nameField(),
                 TWEmailField::withProps(
                     {.name = "email_address", .fieldURI = "Address", .isRequired = true}),
                 routingTypeField(),
             };
           },
       .make = &detail::makeElement<TWAvailabilityMailbox>});
  return kClass;
}

std::shared_ptr<TWAvailabilityMailbox> TWAvailabilityMailbox::fromMailbox(
    const TWMailbox& mailbox) {
  return withDict({{"name", mailbox["name"]},
                   {"email_address", mailbox["email_address"]},
                   {"routing_type", mailbox["routing_type"]}});
}

TWList TWAvailabilityMailbox::identity() const { return foldedAddress(get("email_address")); }

const TWElementClass& TWRoomList::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWRoomList",
                                                   .base = &TWMailbox::elementClass(),
                                                   .elementName = "RoomList",
                                                   .nameSpace = kMessagesNamespace,
                                                   .responseTag = "Address",
                                                   .responseXMLns = kTypesNamespace,
                                                   .make = &detail::makeElement<TWRoomList>});
  return kClass;
}

const TWElementClass& TWRoom::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWRoom",
                                                   .base = &TWMailbox::elementClass(),
                                                   .elementName = "Room",
                                                   .make = &detail::makeElement<TWRoom>});
  return kClass;
}

void TWRoom::initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) {
  set("name", xml.attributeForName("Name", kTypesNamespace));
  set("email_address", xml.attributeForName("EmailAddress", kTypesNamespace));
  set("mailbox_type", xml.attributeForName("MailboxType", kTypesNamespace));
  const auto id = xml.elementForName("Id", kTypesNamespace);
  set("item_id", TWItemId::fromXML(id.elementForName("ItemId", kTypesNamespace), account));
}

}  // namespace tarnwell
