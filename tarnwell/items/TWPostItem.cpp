#include "tarnwell/items/TWPostItem.h"

#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWMailboxFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {
namespace {

TWFields postFields() {
  using namespace detail;
  return {
      field<TWBase64Field>("conversation_index", "message:ConversationIndex", readOnly()),
      field<TWCharField>("conversation_topic", "message:ConversationTopic", readOnly()),
      field<TWMailboxField>("from", "message:From", readOnlyAfterSend()),
      field<TWCharField>("message_id", "message:InternetMessageId", readOnlyAfterSend()),
      field<TWBooleanField>("is_read", "message:IsRead"),
      field<TWDateTimeField>("posted_time", "postitem:PostedTime", readOnly()),
      field<TWMailboxField>("sender", "message:Sender", readOnlyAfterSend()),
  };
}

}  // namespace

const TWElementClass& TWPostItem::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWPostItem",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "PostItem",
                                                   .fields = &postFields,
                                                   .make = &detail::makeElement<TWPostItem>});
  return kClass;
}

}  // namespace tarnwell
