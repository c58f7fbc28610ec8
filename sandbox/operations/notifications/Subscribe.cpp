#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

struct EventRow {
  std::string_view name;
  /// Absent for events that never happen here.
  std::optional<StoreEvent::Kind> kind;
};

constexpr std::array kEvents{
    EventRow{"NewMailEvent", StoreEvent::Kind::newMail},
    EventRow{"CreatedEvent", StoreEvent::Kind::created},
    EventRow{"DeletedEvent", StoreEvent::Kind::deleted},
    EventRow{"ModifiedEvent", StoreEvent::Kind::modified},
    EventRow{"MovedEvent", StoreEvent::Kind::moved},
    EventRow{"CopiedEvent", std::nullopt},
    EventRow{"FreeBusyChangedEvent", std::nullopt},
};

std::set<StoreEvent::Kind> readEventTypes(pugi::xml_node list) {
  std::set<StoreEvent::Kind> kinds;
  ElementReader reader(list);
  reader.requireMore();
  while (const pugi::xml_node element = reader.next()) {
    if (!isElement(element, kTypesNs, "EventType")) reader.refuse(element);
    const std::string name = simpleText(element);
    const auto* const row = std::ranges::find(kEvents, name, &EventRow::name);
    if (row == kEvents.end()) {
      throw SoapFault::schemaViolation("The 'EventType' element is invalid - The value '" + name +
                                       "' is invalid according to its datatype '" +
                                       std::string(kTypesNs) +
                                       ":NotificationEventTypeType' - The Enumeration constraint "
                                       "failed.");
    }
    if (row->kind) kinds.insert(*row->kind);
  }
  return kinds;
}

}  // namespace

void subscribe(const OperationCall& call, pugi::xml_node response) {
  ElementReader outer(call.request);
  outer.allowAttributes({});
  outer.requireMore();
  if (isElement(outer.peek(), kMessagesNs, "PullSubscriptionRequest") ||
      isElement(outer.peek(), kMessagesNs, "PushSubscriptionRequest")) {
    throw EwsError("ErrorInvalidSubscriptionRequest",
                   "Only streaming subscriptions are supported here.");
  }
  const pugi::xml_node element = outer.next();
  // It came with Exchange 2010 SP1.
  if (!isElement(element, kMessagesNs, "StreamingSubscriptionRequest") ||
      call.schema < Schema::exchange2010Sp1) {
    outer.refuse(element);
  }
  outer.end();
  ElementReader reader(element);
  reader.allowAttributes({"SubscribeToAllFolders"});
  const bool all = reader.boolean("SubscribeToAllFolders").value_or(false);
  std::vector<FolderReference> references;
  if (const pugi::xml_node list = reader.optional(kTypesNs, "FolderIds")) {
    references = readFolderReferences(list, call.schema);
  }
  Subscription subscription;
  subscription.kinds = readEventTypes(reader.required(kTypesNs, "EventTypes"));
  reader.end();
  if (all != references.empty()) {
    throw EwsError("ErrorInvalidSubscriptionRequest",
                   "A subscription is for all folders or for those that it names.");
  }
  answerPart(response, "Subscribe", [&](pugi::xml_node message) {
    subscription.mailbox = lowerCase(call.address);
    for (const FolderReference& reference : references) {
      subscription.folders.insert(resolveFolder(call, reference).number);
    }
    append(message, "m:SubscriptionId",
           idText(IdKind::subscription, call.subscriptions.add(std::move(subscription))));
  });
}

}  // namespace tarnwell::sandbox
