#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/StreamAnswers.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::responseMessage;
using test::ScriptedAnswer;
using test::ScriptedServer;
using test::successAnswer;
using ::testing::HasSubstr;

class TWAccountStreaming : public test::MailboxTest {
 protected:
  void expectRefused(const TWError& error, const char* text) {
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, text));
    EXPECT_EQ(server.requestCount(), 0U);
  }
  void givesSubscription() {
    server.on("Subscribe",
              answer("Subscribe", responseMessage("Subscribe", "Success", "NoError",
                                                  "<m:SubscriptionId>S1</m:SubscriptionId>")));
  }
};

TEST_F(TWAccountStreaming, SubscribesToSixKindsOfEventsOfTheFolder) {
  givesSubscription();
  TWError error;
  const auto subscribed = account->subscribe(folder("F"), &error);
  ASSERT_TRUE(subscribed) << error;
  ASSERT_EQ(subscribed->size(), 1U);
  EXPECT_EQ(subscribed->front().asXML().stringValue(), "S1");
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:Subscribe><m:StreamingSubscriptionRequest><t:FolderIds>"
                        "<t:FolderId Id=\"F\" ChangeKey=\"ck-F\"/></t:FolderIds><t:EventTypes>"
                        "<t:EventType>NewMailEvent</t:EventType>"
                        "<t:EventType>CreatedEvent</t:EventType>"
                        "<t:EventType>DeletedEvent</t:EventType>"
                        "<t:EventType>ModifiedEvent</t:EventType>"
                        "<t:EventType>MovedEvent</t:EventType>"
                        "<t:EventType>CopiedEvent</t:EventType></t:EventTypes>"
                        "</m:StreamingSubscriptionRequest></m:Subscribe>"));
}

TEST_F(TWAccountStreaming, BadArgumentsAreRefusedBeforeAnythingIsSent) {
  TWError error;
  EXPECT_FALSE(account->subscribe(nullptr, &error));
  expectRefused(error, "Cannot subscribe to nil folder");
  EXPECT_FALSE(account->unsubscribe(std::nullopt, &error));
  expectRefused(error, "Cannot unsubscribe without id");
  EXPECT_FALSE(account->unsubscribe("", &error));
  expectRefused(error, "Cannot unsubscribe without id");
}

TEST_F(TWAccountStreaming, Unsubscribes) {
  ScriptedServer plain;
  const auto other = test::makeAccount(plain.url("/"));
  plain.enqueue(successAnswer("Unsubscribe"));
  TWError error;
  EXPECT_TRUE(other->unsubscribe("S1", &error)) << error;
  EXPECT_THAT(plain.requests().at(0).body, HasSubstr("<SubscriptionId>S1</SubscriptionId>"));
  plain.enqueue(errorAnswer("Unsubscribe", "ErrorSubscriptionNotFound"));
  EXPECT_FALSE(other->unsubscribe("S1", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSubscriptionNotFound)) << error;
}

TEST_F(TWAccountStreaming, GetsTheEventsOfAllSubscriptionsNamed) {
  server.on("GetStreamingEvents", ScriptedAnswer::xml(test::notification("A")));
  TWError error;
  const auto events = account->getEvents({"S1", "S2"}, &error);
  ASSERT_TRUE(events) << error;
  ASSERT_EQ(events->size(), 1U);
  EXPECT_EQ(events->front().asXML().localName(), "Notification");
  EXPECT_THAT(server.payload(0), HasSubstr("<t:SubscriptionId>S1</t:SubscriptionId>"
                                           "<t:SubscriptionId>S2</t:SubscriptionId>"));
}

TEST_F(TWAccountStreaming, FailuresAreTheServices) {
  TWError error;
  server.on("Subscribe", errorAnswer("Subscribe", "ErrorInvalidSubscriptionRequest"));
  EXPECT_FALSE(account->subscribe(folder("F"), &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidSubscriptionRequest)) << error;
  server.on("GetStreamingEvents", errorAnswer("GetStreamingEvents", "ErrorExpiredSubscription"));
  EXPECT_FALSE(account->getEvents({"S"}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorExpiredSubscription)) << error;
}

}  // namespace
}  // namespace tarnwell
