#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/services/TWGetEvents.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/services/TWSubscribeRequest.h"
#include "tarnwell/services/TWUnsubscribeRequest.h"
#include "tarnwell/transport/TWNamespaces.h"

#include "tests/support/Gate.h"
#include "tests/support/MailboxAnswers.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/StreamAnswers.h"
#include "tests/support/TestAccount.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::Gate;
using test::heartbeat;
using test::indented;
using test::notification;
using test::ScriptedAnswer;
using test::ScriptedServer;
using test::statusDocument;
using test::streamDocument;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// An account of the server, by impersonation, whose version is known.
std::shared_ptr<TWAccount> accountAt(const std::string& url,
                                     const TWConnectionOptions& connection = {}) {
  TWAccountOptions options;
  options.primarySmtpAddress = "ann@example.com";
  options.accessType = TWAccessTypeImpersonation;
  options.credentials = TWCredentials::credentialsWithUsernamePassword("svc@example.com", "pw");
  options.defaultTimeZone = TWTimeZone::fromTimeZone("Europe/Berlin");
  options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
      url, options.credentials, TWVersion(TWBuild(15, 1), "Exchange2016"), connection)};
  return TWAccount::withOptions(options);
}

std::shared_ptr<TWFolder> folder(const std::shared_ptr<TWAccount>& account, const char* id) {
  return TWFolder::make(TWFolder::elementClass(),
                        {{"folder_id", id}, {"changekey", std::string("ck-") + id}}, account);
}

std::string headerOf(const test::ScriptedRequest& request) {
  const auto begin = request.body.find("<s:Header>");
  return request.body.substr(begin, request.body.find("<s:Body>") - begin);
}

/// The ids of the items that notifications tell of; "error N" for errors.
std::vector<std::string> told(const std::optional<TWList>& events) {
  std::vector<std::string> ids;
  if (!events) return {"none"};
  for (const auto& entry : *events) {
    if (const auto error = entry.asError()) {
      ids.push_back("error " + std::to_string(error.code()));
      continue;
    }
    ids.push_back(entry.asXML()
                      .elementForName("NewMailEvent", kTypesNamespace)
                      .elementForName("ItemId", kTypesNamespace)
                      .attributeForName("Id")
                      .stringValue()
                      .value_or("?"));
  }
  return ids;
}

TEST(TWSubscribeRequest, DeclaresItsNameAndContainer) {
  EXPECT_EQ(TWSubscribeRequest::serviceName(), "Subscribe");
  EXPECT_EQ(TWSubscribeRequest::elementContainerName(), "SubscriptionId");
  EXPECT_EQ(TWSubscribeRequest::elementContainerXMLns(), kMessagesNamespace);
  EXPECT_EQ(TWUnsubscribeRequest::serviceName(), "Unsubscribe");
  EXPECT_EQ(TWUnsubscribeRequest::elementContainerName(), std::nullopt);
  EXPECT_EQ(TWGetEvents::serviceName(), "GetStreamingEvents");
  EXPECT_EQ(TWGetEvents::elementContainerName(), "Notifications");
  EXPECT_EQ(TWGetEvents::elementContainerXMLns(), kMessagesNamespace);
}

TEST(TWSubscribeRequest, NamesFoldersThenEventsAndSaysNothingOfTheAccount) {
  ScriptedServer server;
  server.enqueue(
      test::answer("Subscribe", test::responseMessage("Subscribe", "Success", "NoError",
                                                      "<m:SubscriptionId>S1</m:SubscriptionId>")));
  const auto account = accountAt(server.url("/"));
  const auto inbox = TWFolder::make(TWInbox::elementClass(), {}, account);
  TWError error;
  const auto result = TWSubscribeRequest::withAccount(account, {folder(account, "F"), inbox})
                          ->call({"NewMailEvent", "MovedEvent"}, &error);
  ASSERT_TRUE(result) << error;
  ASSERT_EQ(result->size(), 1U);
  EXPECT_EQ(result->front().asXML().stringValue(), "S1");
  EXPECT_THAT(test::payloadOf(server.requests().at(0)),
              EqualsXML("<m:Subscribe><m:StreamingSubscriptionRequest><t:FolderIds>"
                        "<t:FolderId Id=\"F\" ChangeKey=\"ck-F\"/>"
                        "<t:DistinguishedFolderId Id=\"inbox\"/></t:FolderIds><t:EventTypes>"
                        "<t:EventType>NewMailEvent</t:EventType>"
                        "<t:EventType>MovedEvent</t:EventType></t:EventTypes>"
                        "</m:StreamingSubscriptionRequest></m:Subscribe>"));
  EXPECT_THAT(headerOf(server.requests().at(0)),
              EqualsXML("<s:Header><t:RequestServerVersion Version=\"Exchange2016\"/></s:Header>"));
}

TEST(TWSubscribeRequest, FolderWithoutAnIdIsRefusedBeforeAnythingIsSent) {
  ScriptedServer server;
  const auto account = accountAt(server.url("/"));
  TWError error;
  EXPECT_FALSE(TWSubscribeRequest::withAccount(
                   account, {TWFolder::make(TWFolder::elementClass(), {}, account)})
                   ->call({"NewMailEvent"}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST(TWSubscribeRequest, SuccessWithoutAnIdIsAnErrorInItsPlace) {
  ScriptedServer server;
  server.enqueue(
      test::answer("Subscribe", test::responseMessage("Subscribe", "Warning", "NoError")));
  const auto account = accountAt(server.url("/"));
  const auto result =
      TWSubscribeRequest::withAccount(account, {folder(account, "F")})->call({"NewMailEvent"});
  ASSERT_TRUE(result);
  ASSERT_EQ(result->size(), 1U);
  EXPECT_TRUE(result->front().asError().is(TWErrorCode::ErrorTransport));
}

TEST(TWUnsubscribeRequest, IsWrittenWithoutPrefixesForTheAccount) {
  ScriptedServer server;
  server.enqueue(test::successAnswer("Unsubscribe"));
  TWError error;
  const auto result =
      TWUnsubscribeRequest::withAccount(accountAt(server.url("/")))->call("S<1>", &error);
  ASSERT_TRUE(result) << error;
  ASSERT_EQ(result->size(), 1U);
  EXPECT_EQ(result->front(), TWValue(true));
  EXPECT_EQ(test::payloadOf(server.requests().at(0)),
            "<Unsubscribe xmlns=\"http://schemas.microsoft.com/exchange/services/2006/messages\">"
            "<SubscriptionId>S&lt;1&gt;</SubscriptionId></Unsubscribe>");
  const auto header = headerOf(server.requests().at(0));
  EXPECT_THAT(header, HasSubstr("ann@example.com"));
  EXPECT_THAT(header, HasSubstr("TimeZoneContext"));
}

TEST(TWUnsubscribeRequest, ServersErrorIsTheCalls) {
  ScriptedServer server;
  server.enqueue(test::errorAnswer("Unsubscribe", "ErrorSubscriptionNotFound"));
  TWError error;
  EXPECT_FALSE(TWUnsubscribeRequest::withAccount(accountAt(server.url("/")))->call("S", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSubscriptionNotFound)) << error;
}

class TWGetEventsTest : public testing::Test {
 protected:
  /// What the call makes of a stream that says this and then ends.
  std::optional<TWList> eventsOf(const std::string& text, TWError* error = nullptr) {
    server.enqueue(ScriptedAnswer::xml(text));
    return TWGetEvents::withAccount(accountAt(server.url("/")))->call({"S"}, error);
  }
  TWError failureOf(const std::string& text) {
    TWError error;
    EXPECT_FALSE(eventsOf(text, &error)) << text;
    return error;
  }

  ScriptedServer server;
};

TEST_F(TWGetEventsTest, NamesTheSubscriptionsForTheAccount) {
  server.enqueue(ScriptedAnswer::xml(notification()));
  (void)TWGetEvents::withAccount(accountAt(server.url("/")))->call({"S1", "S2"});
  EXPECT_THAT(test::payloadOf(server.requests().at(0)),
              EqualsXML("<m:GetStreamingEvents><m:SubscriptionIds>"
                        "<t:SubscriptionId>S1</t:SubscriptionId>"
                        "<t:SubscriptionId>S2</t:SubscriptionId></m:SubscriptionIds>"
                        "<m:ConnectionTimeout>15</m:ConnectionTimeout></m:GetStreamingEvents>"));
  const auto header = headerOf(server.requests().at(0));
  EXPECT_THAT(header, HasSubstr("ann@example.com"));
  EXPECT_THAT(header, HasSubstr("W. Europe Standard Time"));
}

TEST_F(TWGetEventsTest, ListsTheNotifications) {
  TWError error;
  EXPECT_THAT(told(eventsOf(notification("A"), &error)), ElementsAre("A"));
  EXPECT_FALSE(error) << error;
}

TEST_F(TWGetEventsTest, NotificationThatComesTogetherWithHeartbeatsIsListed) {
  EXPECT_THAT(told(eventsOf(heartbeat() + "  " + notification("A"))), ElementsAre("A"));
  EXPECT_THAT(told(eventsOf(notification("A") + "  " + heartbeat())), ElementsAre("A"));
  EXPECT_THAT(told(eventsOf(notification("A") + "  " + heartbeat() + "  " + "<s:Envel")),
              ElementsAre("A"));
}

TEST_F(TWGetEventsTest, NotificationsOfSeveralDocumentsAreListedInOrder) {
  EXPECT_THAT(told(eventsOf(notification("A") + "  " + heartbeat() + "  " + notification("B"))),
              ElementsAre("A", "B"));
  EXPECT_THAT(told(eventsOf("garbage  " + notification("A") + "  <a></b>  " + notification("B"))),
              ElementsAre("A", "B"));
  EXPECT_THAT(told(eventsOf("\xFF  " + notification("A"))), ElementsAre("A"))
      << "what can be read is, once the stream has ended";
}

TEST_F(TWGetEventsTest, WhatEndsTheStreamDoesNotUndoItsNotifications) {
  EXPECT_THAT(told(eventsOf(notification("A") + "  " + statusDocument("Closed"))),
              ElementsAre("A"));
  EXPECT_THAT(
      told(eventsOf(notification("A") + "  " + streamDocument("", "ErrorExpiredSubscription"))),
      ElementsAre(
          "A", "error " + std::to_string(static_cast<int>(TWErrorCode::ErrorExpiredSubscription))));
  EXPECT_THAT(
      told(eventsOf(notification("A") + "  <a/>")),
      ElementsAre("A", "error " + std::to_string(static_cast<int>(TWErrorCode::ErrorTransport))));
}

TEST_F(TWGetEventsTest, EventsThatComeWithTheEndOfTheStreamAreListed) {
  const auto last = streamDocument(
      "<m:Notifications><m:Notification><t:SubscriptionId>S</t:SubscriptionId><t:NewMailEvent>"
      "<t:ItemId Id=\"B\"/></t:NewMailEvent></m:Notification></m:Notifications>"
      "<m:ConnectionStatus>Closed</m:ConnectionStatus>");
  EXPECT_THAT(told(eventsOf(last)), ElementsAre("B"));
  EXPECT_THAT(told(eventsOf(notification("A") + "  " + last)), ElementsAre("A", "B"));
  EXPECT_THAT(told(eventsOf(last + "  " + statusDocument("Closed"))), ElementsAre("B"));
}

TEST_F(TWGetEventsTest, ErrorBeforeANotificationStandsBeforeIt) {
  TWError error;
  EXPECT_THAT(
      told(eventsOf(streamDocument("", "ErrorExpiredSubscription") + "  " + notification("A"),
                    &error)),
      ElementsAre(
          "error " + std::to_string(static_cast<int>(TWErrorCode::ErrorExpiredSubscription)), "A"));
  EXPECT_FALSE(error) << error;
}

TEST_F(TWGetEventsTest, WhiteSpaceMayStandBeforeADocument) {
  const auto document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + notification("A");
  for (const std::string before : {"  \r\n", "   ", "\n  \n"})
    EXPECT_THAT(told(eventsOf(heartbeat() + before + document)), ElementsAre("A"));
  EXPECT_THAT(told(eventsOf("garbage   " + document)), ElementsAre("A"));
}

TEST_F(TWGetEventsTest, IndentedNotificationIsReadWhenTheStreamEnds) {
  auto document = notification("A");
  document.insert(document.find("<m:Notifications>"), "\n    ");
  EXPECT_THAT(told(eventsOf(document)), ElementsAre("A"));
  EXPECT_THAT(told(eventsOf(indented(notification("A")))), ElementsAre("A"));
}

TEST_F(TWGetEventsTest, IndentedHeartbeatSaysNothing) {
  EXPECT_THAT(told(eventsOf(indented(heartbeat()) + "  " + notification("A"))), ElementsAre("A"));
}

TEST_F(TWGetEventsTest, ErrorCodeIsTheCalls) {
  EXPECT_TRUE(failureOf(streamDocument("", "ErrorSubscriptionNotFound"))
                  .is(TWErrorCode::ErrorSubscriptionNotFound));
  EXPECT_TRUE(failureOf(heartbeat() + "  " + streamDocument("", "ErrorExpiredSubscription"))
                  .is(TWErrorCode::ErrorExpiredSubscription));
  EXPECT_TRUE(
      failureOf(test::faultEnvelope("ErrorServerBusy", "later")).is(TWErrorCode::ErrorServerBusy));
}

TEST_F(TWGetEventsTest, ClosedStreamWithoutNotificationsHasNoContainer) {
  for (const auto& text : {statusDocument("Closed"), heartbeat() + "  " + statusDocument("Closed"),
                           statusDocument("Closed") + "  " + heartbeat()}) {
    const auto error = failureOf(text);
    EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
    EXPECT_THAT(error.message(),
                testing::StartsWith("No Notifications elements in ResponseMessage <"));
  }
}

TEST_F(TWGetEventsTest, StreamThatSaysNothingIsNoSOAP) {
  for (const std::string& text : {std::string(), heartbeat(), heartbeat() + "  " + heartbeat()})
    EXPECT_EQ(failureOf(text), TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
  EXPECT_EQ(failureOf(heartbeat() + "  <s:Envel"),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: <s:Envel"));
  EXPECT_EQ(failureOf("xx"), TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: xx"));
}

TEST_F(TWGetEventsTest, FailureOfTheTransportIsNotTold) {
  // On purpose: a stream ends with what it has, however it ends.
  test::RawServer resetting([](test::RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(test::kChunkedHead);
    peer.reset();
  });
  for (const auto& url : {resetting.url("/"), std::string("http://127.0.0.1:1/")}) {
    TWError error;
    EXPECT_FALSE(TWGetEvents::withAccount(accountAt(url))->call({"S"}, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
  }
}

TEST_F(TWGetEventsTest, NegotiatesTheVersion) {
  server.enqueue(ScriptedAnswer::xml(test::faultEnvelope("ErrorInvalidServerVersion", "no"), 500));
  server.enqueue(ScriptedAnswer::xml(notification("A")));
  const auto account = accountAt(server.url("/"));
  EXPECT_THAT(told(TWGetEvents::withAccount(account)->call({"S"})), ElementsAre("A"));
  ASSERT_EQ(server.requestCount(), 2U);
  EXPECT_THAT(server.requests()[0].body, HasSubstr("Version=\"Exchange2016\""));
  EXPECT_THAT(server.requests()[1].body, Not(HasSubstr("Version=\"Exchange2016\"")));
  EXPECT_EQ(account->version()->apiVersion(), TWVersion::apiVersions().front());
}

TEST_F(TWGetEventsTest, HoldsTheOrdinaryConnectionAndNotTheOther) {
  Gate waiting;
  Gate release;
  ScriptedServer slow([&](const test::ScriptedRequest& request) {
    if (request.body.find("GetStreamingEvents") == std::string::npos)
      return test::resolveNamesAnswer("");
    waiting.open();
    EXPECT_TRUE(release.wait());
    return ScriptedAnswer::xml(notification("A"));
  });
  const auto account = accountAt(slow.url("/"));
  const auto protocol = account->protocol();
  auto events = std::async(std::launch::async,
                           [&] { return TWGetEvents::withAccount(account)->call({"S"}); });
  ASSERT_TRUE(waiting.wait());
  EXPECT_NE(protocol->connection()->stream(), nullptr);
  EXPECT_EQ(protocol->downloader()->stream(), nullptr);
  auto names = std::async(std::launch::async, [&] {
    return TWResolveNames::withProtocol(protocol)->call({"bob"}).has_value();
  });
  EXPECT_TRUE(protocol->downloader()->post(slow.url("/"), std::nullopt, "<q/>").response);
  EXPECT_EQ(names.wait_for(test::kAWhile), std::future_status::timeout);
  EXPECT_EQ(slow.requestCount(), 2U) << "the other one waits for its turn";
  release.open();
  EXPECT_THAT(told(events.get()), ElementsAre("A"));
  EXPECT_TRUE(names.get());
  EXPECT_EQ(protocol->connection()->stream(), nullptr);
}

TEST_F(TWGetEventsTest, MayBeCancelledByTheConnection) {
  Gate waiting;
  test::RawServer silent([&](test::RawConnection& peer) {
    (void)peer.readRequest();
    waiting.open();
    peer.waitForClose();
  });
  const auto account = accountAt(silent.url("/"));
  TWError error;
  auto events = std::async(std::launch::async,
                           [&] { return TWGetEvents::withAccount(account)->call({"S"}, &error); });
  ASSERT_TRUE(waiting.wait());
  account->protocol()->connection()->cancel();
  EXPECT_FALSE(events.get());
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled)) << error;
}

TEST_F(TWGetEventsTest, OutlivesTheLimitOfOrdinaryRequests) {
  Gate never;
  ScriptedServer slow([&](const test::ScriptedRequest&) {
    (void)never.wait(std::chrono::milliseconds(300));
    return ScriptedAnswer::xml(notification("A"));
  });
  TWConnectionOptions options;
  options.requestLimit = std::chrono::milliseconds(50);
  const auto account = accountAt(slow.url("/"), options);
  TWError error;
  EXPECT_FALSE(TWUnsubscribeRequest::withAccount(account)->call("S", &error));
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorTimedOut)) << error;
  error = {};
  EXPECT_FALSE(TWSubscribeRequest::withAccount(account, {folder(account, "F")})
                   ->call({"NewMailEvent"}, &error));
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorTimedOut)) << error;
  EXPECT_THAT(told(TWGetEvents::withAccount(account)->call({"S"})), ElementsAre("A"));
}

TEST_F(TWGetEventsTest, FailureIsLogged) {
  const test::RecordingLog log;
  (void)failureOf(streamDocument("", "ErrorSubscriptionNotFound"));
  EXPECT_EQ(log.count("[svc@example.com] Get elements failed with error: "), 1);
}

}  // namespace
}  // namespace tarnwell
