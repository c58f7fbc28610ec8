// A message that is noticed as it arrives.
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "examples/tour/Steps.h"

using namespace tarnwell;

namespace tour {
namespace {

constexpr auto kSubject = "Lunch?";

/// Blocks until the account's request for events is under way, or over.
void waitForStream(const TWAccount& account, const std::future<TWList>& events) {
  const auto connection = account.protocol()->connection();
  while (!connection->stream()) {
    if (events.wait_for(std::chrono::seconds(0)) == std::future_status::ready) return;
    std::this_thread::yield();
  }
}

bool send(const Tour& tour, TWError& error) {
  const auto message = TWMessage::withDict({
      {"subject", kSubject},
      {"body", "At noon."},
      {"to_recipients", TWValue::list({tour.colleagueAddress})},
  });
  return tour.account->bulkCreate(nullptr, {message}, "SendOnly", "SendToNone", &error).has_value();
}

/// Tells of each event, and answers the element of the new mail.
NKXMLElement newMailAmong(const TWList& notifications) {
  NKXMLElement newMail;
  for (const auto& notification : notifications) {
    for (const auto& event : notification.asXML().childElements()) {
      const auto name = event.localName().value_or("");
      if (!name.ends_with("Event")) continue;  // the id of the subscription
      tell(name);
      if (name == "NewMailEvent") newMail = event;
    }
  }
  return newMail;
}

}  // namespace

void watchInbox(Tour& tour) {
  const auto inbox = tour.colleague->inbox();
  TWError error;
  const auto subscription = inbox->subscribe(&error);
  check(subscription.has_value(), "the inbox could not be subscribed to", error);

  // The colleague waits on one thread, while somebody else sends a message on another.
  auto waiting = std::async(std::launch::async, [&] {
    TWError failure;
    const auto notifications = tour.colleague->getEvents({*subscription}, &failure);
    check(notifications.has_value(), "the wait for events failed", failure);
    return *notifications;
  });
  waitForStream(*tour.colleague, waiting);
  const bool isSent = send(tour, error);
  if (!isSent) tour.colleague->protocol()->connection()->cancel();  // there is nothing to wait for
  waiting.wait();
  check(isSent, "the message was not sent", error);
  const auto notifications = waiting.get();
  check(tour.colleague->unsubscribe(subscription, &error), "the subscription did not end", error);

  // An event names the item; what is in it must be asked for.
  const auto event = newMailAmong(notifications);
  const auto id = event.elementForName("ItemId", kTypesNamespace).attributeForName("Id");
  check(id.stringValue().has_value(), "there is no event of new mail");
  const auto entry = inbox->get({{"item_id", *id.stringValue()}}, &error);
  check(entry.has_value() && entry->item(), "the new mail could not be read", error);
  check(entry->item()->get("subject") == TWValue(kSubject), "another message has arrived");
  tell(formatMessage("The new mail is \"%@\"", {kSubject}));
}

}  // namespace tour
