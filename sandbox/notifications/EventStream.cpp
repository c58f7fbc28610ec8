#include "sandbox/notifications/EventStream.h"

#include <algorithm>
#include <utility>

#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Operations.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

// Two blanks stand between the documents of a stream.
constexpr std::string_view kSeparator = "  ";
constexpr std::size_t kSlowPiece = 7;
constexpr std::chrono::milliseconds kSlowPause{2};

const char* nameOf(StoreEvent::Kind kind) {
  switch (kind) {
    case StoreEvent::Kind::newMail:
      return "t:NewMailEvent";
    case StoreEvent::Kind::created:
      return "t:CreatedEvent";
    case StoreEvent::Kind::deleted:
      return "t:DeletedEvent";
    case StoreEvent::Kind::modified:
      return "t:ModifiedEvent";
    case StoreEvent::Kind::moved:
      break;
  }
  return "t:MovedEvent";
}

void appendId(pugi::xml_node parent, const char* name, IdKind kind, std::uint64_t number,
              std::uint64_t version) {
  pugi::xml_node id = parent.append_child(name);
  id.append_attribute("Id") = idText(kind, number).c_str();
  if (version != 0) {
    id.append_attribute("ChangeKey") = idText(IdKind::changeKey, version).c_str();
  }
}

void appendEvent(pugi::xml_node parent, const StoreEvent& event) {
  pugi::xml_node element = parent.append_child(nameOf(event.kind));
  append(element, "t:TimeStamp", event.time);
  const IdKind kind = event.isFolder ? IdKind::folder : IdKind::item;
  appendId(element, event.isFolder ? "t:FolderId" : "t:ItemId", kind, event.number, event.version);
  appendId(element, "t:ParentFolderId", IdKind::folder, event.parent, 0);
  if (event.oldNumber == 0) return;
  appendId(element, event.isFolder ? "t:OldFolderId" : "t:OldItemId", kind, event.oldNumber,
           event.oldVersion);
  appendId(element, "t:OldParentFolderId", IdKind::folder, event.oldParent, 0);
}

}  // namespace

bool EventStream::run(const Write& write) {
  using Clock = Subscriptions::Clock;
  const Clock::time_point end = Clock::now() + settings_.minute * request_.minutes;
  if (!send(write, statusDocument("OK"))) return false;
  for (;;) {
    const Clock::time_point beat = std::min(Clock::now() + settings_.heartbeat, end);
    std::vector<Subscriptions::Batch> batches;
    const Subscriptions::Wake wake = subscriptions_.wait(request_.subscriptions, beat, batches);
    const bool isOver = wake == Subscriptions::Wake::gone || wake == Subscriptions::Wake::stopped ||
                        (wake == Subscriptions::Wake::timeout && Clock::now() >= end);
    std::string document =
        wake == Subscriptions::Wake::events ? notificationDocument(batches) : statusDocument("OK");
    if (isOver) document = statusDocument("Closed");
    if (settings_.trouble == SandboxStreamTrouble::cut) {
      write(document.substr(0, document.size() / 2));
      return false;
    }
    if (settings_.trouble == SandboxStreamTrouble::garbled) {
      settings_.trouble = SandboxStreamTrouble::none;
      document.replace(document.size() / 2, std::string::npos, "<<\x01\xFF&oops;");
    }
    if (!send(write, document)) {
      // The client has gone; its next stream is told.
      subscriptions_.giveBack(std::move(batches));
      return false;
    }
    if (isOver) return true;
  }
}

std::string EventStream::statusDocument(const char* status) const {
  pugi::xml_document document;
  append(addResponseMessage(makeAnswer_(document), "GetStreamingEvents", {}), "m:ConnectionStatus",
         status);
  return serialise(document);
}

std::string EventStream::notificationDocument(
    const std::vector<Subscriptions::Batch>& batches) const {
  pugi::xml_document document;
  pugi::xml_node list = addResponseMessage(makeAnswer_(document), "GetStreamingEvents", {})
                            .append_child("m:Notifications");
  for (const Subscriptions::Batch& batch : batches) {
    pugi::xml_node notification = list.append_child("m:Notification");
    append(notification, "t:SubscriptionId", idText(IdKind::subscription, batch.subscription));
    for (const StoreEvent& event : batch.events) appendEvent(notification, event);
  }
  return serialise(document);
}

bool EventStream::send(const Write& write, const std::string& document) {
  const std::string bytes = document + std::string(kSeparator);
  if (settings_.trouble != SandboxStreamTrouble::slow) return write(bytes);
  for (std::size_t at = 0; at < bytes.size(); at += kSlowPiece) {
    if (!write(std::string_view(bytes).substr(at, kSlowPiece))) return false;
    subscriptions_.pause(kSlowPause);
  }
  return true;
}

}  // namespace tarnwell::sandbox
