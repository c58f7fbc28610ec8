#include "tarnwell/items/TWItem.h"

#include <algorithm>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWPostItem.h"
#include "tarnwell/items/TWTask.h"
#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell {
namespace {

TWFields itemFields() {
  using namespace detail;
  const std::string id(TWItemId::idAttr()), changekey(TWItemId::changeKeyAttr());
  return {
      field<TWBase64Field>("mime_content", "item:MimeContent"),
      field<TWIdField>("item_id", id.c_str(), readOnly()),
      field<TWIdField>("changekey", changekey.c_str(), readOnly()),
      field<TWEWSElementField>("parent_folder_id", "item:ParentFolderId",
                               readOnlyElement(TWParentFolderId::elementClass())),
      field<TWCharField>("item_class", "item:ItemClass", readOnly()),
      field<TWCharField>("subject", "item:Subject"),
      field<TWChoiceField>(
          "sensitivity", "item:Sensitivity",
          requiredOneOf({"Normal", "Personal", "Private", "Confidential"}, "Normal")),
      field<TWTextBodyField>("text_body", "item:TextBody", readOnly(kExchange2013)),
      field<TWBodyField>("body", "item:Body"),
      field<TWAttachmentField>("attachments", "item:Attachments"),
      field<TWDateTimeField>("datetime_received", "item:DateTimeReceived", readOnly()),
      field<TWIntegerField>("size", "item:Size", readOnly()),
      field<TWCharListField>("categories", "item:Categories"),
      field<TWChoiceField>("importance", "item:Importance",
                           requiredOneOf({"Low", "Normal", "High"}, "Normal")),
      field<TWTextField>("in_reply_to", "item:InReplyTo"),
      field<TWBooleanField>("is_submitted", "item:IsSubmitted", readOnly()),
      field<TWBooleanField>("is_draft", "item:IsDraft", readOnly()),
      field<TWBooleanField>("is_from_me", "item:IsFromMe", readOnly()),
      field<TWBooleanField>("is_resend", "item:IsResend", readOnly()),
      field<TWBooleanField>("is_unmodified", "item:IsUnmodified", readOnly()),
      field<TWMessageHeaderField>("headers", "item:InternetMessageHeaders", readOnly()),
      field<TWDateTimeField>("datetime_sent", "item:DateTimeSent", readOnly()),
      field<TWDateTimeField>("datetime_created", "item:DateTimeCreated", readOnly()),
      field<TWDateTimeField>("reminder_due_by", "item:ReminderDueBy",
                             {.isRequiredAfterSave = true}),
      field<TWBooleanField>("reminder_is_set", "item:ReminderIsSet",
                            {.default_ = false, .isRequired = true}),
      field<TWIntegerField>("reminder_minutes_before_start", "item:ReminderMinutesBeforeStart",
                            {.default_ = 0, .min = 0, .isRequired = true}),
      field<TWCharField>("display_cc", "item:DisplayCc", readOnly()),
      field<TWCharField>("display_to", "item:DisplayTo", readOnly()),
      field<TWBooleanField>("has_attachments", "item:HasAttachments", readOnly()),
      field<TWCultureField>("culture", "item:Culture", {.isRequired = true, .isSearchable = false}),
      field<TWEffectiveRightsField>("effective_rights", "item:EffectiveRights", readOnly()),
      field<TWCharField>("last_modified_name", "item:LastModifiedName", readOnly()),
      field<TWDateTimeField>("last_modified_time", "item:LastModifiedTime", readOnly()),
      field<TWBooleanField>("is_associated", "item:IsAssociated", readOnly(kExchange2010)),
      field<TWEWSElementField>("conversation_id", "item:ConversationId",
                               readOnlyElement(TWConversationId::elementClass(), kExchange2010)),
      field<TWBodyField>("unique_body", "item:UniqueBody", readOnly(kExchange2010)),
  };
}

}  // namespace

const TWElementClass& TWItem::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWItem",
                                                   .base = &TWRegisterMixIn::elementClass(),
                                                   .elementName = "Item",
                                                   .fields = &itemFields,
                                                   .make = &detail::makeElement<TWItem>,
                                                   .insertAfterField = "has_attachments"});
  return kClass;
}

const std::vector<const TWElementClass*>& TWItem::itemClasses() {
  static const auto& kClasses = *new std::vector<const TWElementClass*>{
      &TWCalendarItem::elementClass(),
      &TWContact::elementClass(),
      &TWDistributionList::elementClass(),
      &TWMessage::elementClass(),
      &TWPostItem::elementClass(),
      &TWTask::elementClass(),
      &TWMeetingRequest::elementClass(),
      &TWMeetingResponse::elementClass(),
      &TWMeetingCancellation::elementClass(),
  };
  return kClasses;
}

const TWElementClass* TWItem::itemClassFromTag(std::string_view localName) {
  const auto found = std::ranges::find(itemClasses(), localName, &TWElementClass::elementName);
  if (found != itemClasses().end()) return *found;
  // What servers call an appointment, though it is written as an item here.
  return localName == "CalendarItem" ? &TWCalendarItem::elementClass() : nullptr;
}

std::optional<TWIdPair> TWItem::idFromXML(const NKXMLElement& xml) {
  const auto& cls = TWItemId::elementClass();
  const auto element = xml.elementForName(cls.responseTag(), cls.responseXMLns());
  const auto text = [&](std::string_view attribute) {
    return element.attributeForName(attribute).stringValue();
  };
  auto id = text(TWItemId::idAttr());
  if (!id) return std::nullopt;
  return TWIdPair{*std::move(id), text(TWItemId::changeKeyAttr())};
}

std::optional<TWIdPair> TWItem::idPair() const {
  auto id = get("item_id").asText();
  if (!id) return std::nullopt;
  return TWIdPair{*std::move(id), get("changekey").asText()};
}

void TWItem::setIdPair(const std::optional<TWIdPair>& pair) {
  remove("item_id");
  remove("changekey");
  if (!pair) return;
  set("item_id", pair->id);
  set("changekey", pair->changekey);
}

std::shared_ptr<TWAccount> TWItem::account() const {
  return std::dynamic_pointer_cast<TWAccount>(get("account").asReference());
}

void TWItem::setAccount(const std::shared_ptr<TWAccount>& account) {
  remove("account");
  if (account) set("account", TWValue::weak(account));
}

std::shared_ptr<TWFolder> TWItem::folder() const {
  return get<std::shared_ptr<TWFolder>>("folder");
}

void TWItem::setFolder(const std::shared_ptr<TWFolder>& folder) {
  remove("folder");
  if (folder) set("folder", folder);
}

std::shared_ptr<TWItem> TWItem::parentItem() const {
  return std::dynamic_pointer_cast<TWItem>(get("parent_item").asReference());
}

void TWItem::setParentItem(const std::shared_ptr<TWItem>& item) {
  remove("parent_item");
  if (item) set("parent_item", TWValue::weak(item));
}

void TWItem::initWithDict(const TWDictionary& dict) {
  ElementKind::initWithDict(dict);
  for (const auto* const name : {"account", "folder", "parent_item"}) set(name, dict.get(name));
  if (const auto parent = dict["parent_item"].asObject<TWItem>()) setParentItem(parent);
  if (get("account").isAbsent())
    if (const auto in = folder()) setAccount(in->account());
  linkAttachments();
}

void TWItem::initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) {
  const auto version = account ? account->version() : std::nullopt;
  constexpr std::size_t kIdAndAccount = 3;
  readFields(xml, account, version ? &*version : nullptr, kIdAndAccount);
  setAccount(account);
  // The fields of the id have read the attributes of the item's own element.
  setIdPair(idFromXML(xml));
  linkAttachments();
}

void TWItem::linkAttachments() {
  const auto attachments = get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  if (!attachments) return;
  const auto self = std::static_pointer_cast<TWItem>(shared_from_this());
  for (const auto& attachment : *attachments) attachment->setParentItem(self);
}

TWList TWItem::identity() const {
  if (const auto& id = get("item_id"); !id.isAbsent()) return {id, get("changekey")};
  TWList values;
  for (const auto& field : cls().fields()) values.push_back(get(field->name()));
  return values;
}

bool TWItem::isComparable(const TWEWSElement& other) const {
  return other.cls().isKindOf(TWItem::elementClass());
}

}  // namespace tarnwell
