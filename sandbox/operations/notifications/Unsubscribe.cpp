#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Operations.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {

void unsubscribe(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  const std::string text = reader.requiredText(kMessagesNs, "SubscriptionId");
  reader.end();
  answerPart(response, "Unsubscribe", [&](pugi::xml_node) {
    const std::optional<Id> id = readId(text);
    if (!id || id->kind != IdKind::subscription) throw EwsError("ErrorInvalidSubscription");
    if (!call.subscriptions.remove(id->number)) throw EwsError("ErrorSubscriptionNotFound");
  });
}

}  // namespace tarnwell::sandbox
