#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/StreamAnswers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::errorAnswer;
using test::failedAnswer;
using test::responseMessage;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using test::successAnswer;
using ::testing::ElementsAre;

/// A folder on a server that answers the three operations as told.
class TWFolderStreaming : public testing::Test {
 protected:
  ScriptedAnswer answerTo(const ScriptedRequest& request) {
    if (request.body.find("<Unsubscribe ") != std::string::npos) {
      operations.emplace_back("Unsubscribe");
      return unsubscribed;
    }
    operations.push_back(test::operationOf(request));
    return operations.back() == "Subscribe" ? subscribed : events;
  }
  static std::string messageOf(const TWError& error) {
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
    return error.message();
  }

  std::vector<std::string> operations;
  ScriptedAnswer subscribed =
      answer("Subscribe", responseMessage("Subscribe", "Success", "NoError",
                                          "<m:SubscriptionId>S1</m:SubscriptionId>"));
  ScriptedAnswer events = ScriptedAnswer::xml(test::notification("A"));
  ScriptedAnswer unsubscribed = successAnswer("Unsubscribe");
  ScriptedServer server{[this](const ScriptedRequest& request) { return answerTo(request); }};
  std::shared_ptr<TWAccount> account = test::makeAccount(server.url("/"));
  std::shared_ptr<TWFolder> folder =
      TWFolder::make(TWInbox::elementClass(), {{"folder_id", "F"}}, account);
};

TEST_F(TWFolderStreaming, SubscribingAnswersTheId) {
  TWError error;
  EXPECT_EQ(folder->subscribe(&error), "S1") << error;
  EXPECT_THAT(operations, ElementsAre("Subscribe"));
}

TEST_F(TWFolderStreaming, IdlingSubscribesWaitsOnceAndUnsubscribes) {
  TWError error;
  const auto heard = folder->idle(&error);
  ASSERT_TRUE(heard) << error;
  EXPECT_EQ(heard->size(), 1U);
  EXPECT_THAT(operations, ElementsAre("Subscribe", "GetStreamingEvents", "Unsubscribe"));
}

TEST_F(TWFolderStreaming, IdlingUnsubscribesAfterAFailureToo) {
  events = errorAnswer("GetStreamingEvents", "ErrorExpiredSubscription");
  TWError error;
  EXPECT_FALSE(folder->idle(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorExpiredSubscription)) << error;
  EXPECT_THAT(operations, ElementsAre("Subscribe", "GetStreamingEvents", "Unsubscribe"));
}

TEST_F(TWFolderStreaming, WhatWasHeardCountsThoughUnsubscribingFails) {
  unsubscribed = failedAnswer();
  TWError error;
  EXPECT_TRUE(folder->idle(&error));
  EXPECT_FALSE(error) << error;
}

TEST_F(TWFolderStreaming, FailureToSubscribeEndsBoth) {
  subscribed = errorAnswer("Subscribe", "ErrorInvalidSubscriptionRequest");
  TWError error;
  EXPECT_FALSE(folder->subscribe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidSubscriptionRequest)) << error;
  EXPECT_FALSE(folder->idle(&error));
  EXPECT_THAT(operations, ElementsAre("Subscribe", "Subscribe"));
}

TEST_F(TWFolderStreaming, ErrorInPlaceOfTheIdIsAFailure) {
  subscribed = answer("Subscribe", responseMessage("Subscribe", "Error", "ErrorItemNotFound"));
  TWError error;
  EXPECT_FALSE(folder->subscribe(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
}

TEST_F(TWFolderStreaming, BothNeedAnAccountAndAnId) {
  const auto local = TWFolder::withDict({{"folder_id", "F"}});
  const auto unknown = TWFolder::make(TWInbox::elementClass(), {}, account);
  TWError error;
  EXPECT_FALSE(local->subscribe(&error));
  EXPECT_EQ(messageOf(error), "Folder must have an account");
  EXPECT_FALSE(local->idle(&error));
  EXPECT_EQ(messageOf(error), "Folder must have an account");
  EXPECT_FALSE(unknown->subscribe(&error));
  EXPECT_EQ(messageOf(error), "Folder must have an ID");
  EXPECT_FALSE(unknown->idle(&error));
  EXPECT_EQ(messageOf(error), "Folder must have an ID");
  EXPECT_THAT(operations, testing::IsEmpty());
}

}  // namespace
}  // namespace tarnwell
