#include <algorithm>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/transport/TWNamespaces.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using sandbox::SandboxFault;
using sandbox::SandboxStreamTrouble;
using test::Host;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

sandbox::SandboxOptions lively() {
  sandbox::SandboxOptions options;
  options.streamHeartbeat = std::chrono::milliseconds(20);
  return options;
}

/// Alice watches, Bob and another Alice act. Heartbeats come many times a second.
class StreamingEndToEnd : public testing::Test {
 protected:
  explicit StreamingEndToEnd(const sandbox::SandboxOptions& options = lively())
      : host("streaming.example", Host::Scheme::https, options) {}

  std::shared_ptr<TWAccount> accountOf(std::string_view mailbox) {
    TWAccountOptions options;
    options.primarySmtpAddress = host.address(mailbox);
    options.credentials = host.credentials(mailbox);
    options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
        host.url(), options.credentials, TWVersion(TWBuild(15, 1)), host.connection())};
    return TWAccount::withOptions(options);
  }
  void sendToAlice(const std::string& subject) {
    const auto message =
        TWMessage::withDict({{"subject", subject},
                             {"body", "x"},
                             {"to_recipients", TWValue::list({host.address("alice")})}});
    const auto sent =
        accountOf("bob")->bulkCreate(nullptr, {message}, "SendOnly", "SendToNone", &error);
    EXPECT_TRUE(sent) << error;
  }
  /// The names of the events in notifications.
  static std::vector<std::string> namesIn(const std::optional<TWList>& notifications) {
    std::vector<std::string> names;
    for (const auto& notification : notifications.value_or(TWList()))
      for (const auto& event : notification.asXML().childElements())
        if (event.elementForName("TimeStamp", kTypesNamespace))
          names.push_back(event.localName().value_or(""));
    return names;
  }
  void waitForStream() {
    while (!alice->protocol()->connection()->stream()) std::this_thread::yield();
  }

  Host host;
  std::shared_ptr<TWAccount> alice = accountOf("alice");
  std::shared_ptr<TWFolder> inbox = alice->inbox();
  TWError error;
};

TEST_F(StreamingEndToEnd, AMessageFromAnotherAccountIsAnEvent) {
  ASSERT_TRUE(inbox);
  const auto subscribed = alice->subscribe(inbox, &error);
  ASSERT_TRUE(subscribed) << error;
  const auto id = subscribed->front().asXML().stringValue();
  ASSERT_TRUE(id);
  auto waiting = std::async(std::launch::async, [&] {
    TWError failure;
    auto events = alice->getEvents({*id}, &failure);
    EXPECT_TRUE(events) << failure;
    return events;
  });
  waitForStream();
  sendToAlice("Lunch?");
  const auto events = waiting.get();
  EXPECT_THAT(namesIn(events), Contains("NewMailEvent"));
  const auto notification = events->front().asXML();
  EXPECT_EQ(notification.elementForName("SubscriptionId", kTypesNamespace).stringValue(), id);

  // The item that it names can be read.
  const auto item = notification.elementForName("NewMailEvent", kTypesNamespace)
                        .elementForName("ItemId", kTypesNamespace);
  const auto entries =
      alice->fetch({TWIdPair{item.attributeForName("Id").stringValue().value_or(""),
                             item.attributeForName("ChangeKey").stringValue().value_or("")}},
                   inbox, TWList{"subject"}, &error);
  ASSERT_TRUE(entries) << error;
  ASSERT_TRUE(entries->front().item());
  EXPECT_EQ(entries->front().item()->get("subject"), TWValue("Lunch?"));

  EXPECT_TRUE(alice->unsubscribe(id, &error)) << error;
  EXPECT_FALSE(alice->getEvents({*id}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSubscriptionNotFound)) << error;
}

TEST_F(StreamingEndToEnd, WhatHappensBetweenTwoWaitsIsToldByTheNext) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  for (const char* subject : {"one", "two", "three"}) {
    sendToAlice(subject);
    EXPECT_THAT(namesIn(alice->getEvents({*id}, &error)), Contains("NewMailEvent")) << error;
  }
}

TEST_F(StreamingEndToEnd, SeveralSubscriptionsShareAStream) {
  const auto drafts = alice->drafts();
  ASSERT_TRUE(inbox && drafts);
  const auto first = inbox->subscribe(&error);
  const auto second = drafts->subscribe(&error);
  ASSERT_TRUE(first && second) << error;
  const auto other = accountOf("alice");
  const auto message = TWMessage::withDict({{"folder", other->drafts()}, {"subject", "draft"}});
  ASSERT_TRUE(message->save(&error)) << error;
  const auto events = alice->getEvents({*first, *second}, &error);
  ASSERT_TRUE(events) << error;
  EXPECT_EQ(events->front().asXML().elementForName("SubscriptionId", kTypesNamespace).stringValue(),
            second);
  EXPECT_THAT(namesIn(events), ElementsAre("CreatedEvent"));
}

TEST_F(StreamingEndToEnd, IdlingAnswersWhatHappensAndLeavesNoSubscription) {
  ASSERT_TRUE(inbox);
  auto waiting = std::async(std::launch::async, [&] {
    TWError failure;
    auto events = inbox->idle(&failure);
    EXPECT_TRUE(events) << failure;
    return events;
  });
  waitForStream();
  sendToAlice("Wake up");
  EXPECT_THAT(namesIn(waiting.get()), Contains("NewMailEvent"));
  const auto requests = host.server.requests();
  const auto last = std::find_if(requests.rbegin(), requests.rend(), [&](const auto& request) {
    return request.user == host.address("alice");
  });
  ASSERT_NE(last, requests.rend());
  EXPECT_EQ(last->operation, "Unsubscribe");
}

TEST_F(StreamingEndToEnd, StreamInSmallPiecesIsReadAllTheSame) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  sendToAlice("slowly");
  host.server.failNext(SandboxFault::stream(SandboxStreamTrouble::slow));
  EXPECT_THAT(namesIn(alice->getEvents({*id}, &error)), Contains("NewMailEvent")) << error;
}

TEST_F(StreamingEndToEnd, StreamThatBreaksOffIsAnErrorAndTheNextOneGoesOn) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  host.server.failNext(SandboxFault::stream(SandboxStreamTrouble::cut));
  EXPECT_FALSE(alice->getEvents({*id}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_THAT(error.message(), HasSubstr("Bad SOAP Response: <?xml"));
  sendToAlice("again");
  EXPECT_THAT(namesIn(alice->getEvents({*id}, &error)), Contains("NewMailEvent")) << error;
}

/// A server whose quarter of an hour is short.
class HastyStreamingEndToEnd : public StreamingEndToEnd {
 protected:
  HastyStreamingEndToEnd() : StreamingEndToEnd(hasty()) {}
  static sandbox::SandboxOptions hasty() {
    auto options = lively();
    options.streamMinute = std::chrono::milliseconds(10);
    return options;
  }
};

TEST_F(HastyStreamingEndToEnd, StreamInWhichNothingHappensIsClosedByTheServer) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  EXPECT_FALSE(alice->getEvents({*id}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
  EXPECT_THAT(error.message(), HasSubstr("No Notifications elements in ResponseMessage "));
  EXPECT_THAT(error.message(), HasSubstr("Closed"));
}

TEST_F(HastyStreamingEndToEnd, RubbishInAStreamKeepsItOpenUntilTheServerCloses) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  // The rubbish is no UTF-8, so that nothing behind it is judged before the end, when the status
  // that closes the stream can be read.
  host.server.failNext(SandboxFault::stream(SandboxStreamTrouble::garbled));
  EXPECT_FALSE(alice->getEvents({*id}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
  EXPECT_THAT(error.message(), HasSubstr("Closed"));
}

TEST_F(StreamingEndToEnd, CancellingEndsTheWait) {
  ASSERT_TRUE(inbox);
  const auto id = inbox->subscribe(&error);
  ASSERT_TRUE(id) << error;
  auto waiting = std::async(std::launch::async, [&] {
    TWError failure;
    EXPECT_FALSE(alice->getEvents({*id}, &failure));
    return failure;
  });
  waitForStream();
  alice->protocol()->connection()->cancel();
  EXPECT_TRUE(waiting.get().is(TWHTTPErrorDomain, TWHTTPErrorCancelled));
  EXPECT_TRUE(alice->unsubscribe(id, &error)) << error;
}

}  // namespace
}  // namespace tarnwell
