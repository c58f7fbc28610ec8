#include "tarnwell/items/TWMessage.h"

#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWMailboxFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {

TWFields detail::messageFields() {
  return {
      field<TWMailboxField>("sender", "message:Sender", readOnlyAfterSend()),
      field<TWMailboxListField>("to_recipients", "message:ToRecipients", readOnlyAfterSend()),
      field<TWMailboxListField>("cc_recipients", "message:CcRecipients", readOnlyAfterSend()),
      field<TWMailboxListField>("bcc_recipients", "message:BccRecipients", readOnlyAfterSend()),
      field<TWBooleanField>("is_read_receipt_requested", "message:IsReadReceiptRequested",
                            readOnlyAfterSend()),
      field<TWBooleanField>("is_delivery_receipt_requested", "message:IsDeliveryReceiptRequested",
                            readOnlyAfterSend()),
      field<TWBase64Field>("conversation_index", "message:ConversationIndex", readOnly()),
      field<TWCharField>("conversation_topic", "message:ConversationTopic", readOnly()),
      field<TWMailboxField>("from", "message:From", readOnlyAfterSend()),
      field<TWCharField>("message_id", "message:InternetMessageId", readOnlyAfterSend()),
      field<TWBooleanField>("is_read", "message:IsRead"),
      field<TWBooleanField>("is_response_requested", "message:IsResponseRequested"),
      field<TWTextField>("references", "message:References", readOnlyAfterSend()),
      field<TWMailboxField>("reply_to", "message:ReplyTo", readOnlyAfterSend()),
      field<TWMailboxField>("received_by", "message:ReceivedBy", readOnly()),
      field<TWMailboxField>("received_representing", "message:ReceivedRepresenting", readOnly()),
  };
}

const TWElementClass& TWMessage::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWMessage",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "Message",
                                                   .fields = &detail::messageFields,
                                                   .make = &detail::makeElement<TWMessage>});
  return kClass;
}

}  // namespace tarnwell
