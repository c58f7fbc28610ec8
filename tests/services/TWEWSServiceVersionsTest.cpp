#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/ServiceFixture.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/XMLMatchers.h"

// How a service finds the API version that a server takes.

namespace tarnwell {
namespace {

using test::Account;
using test::kGetItem;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using test::Service;
using test::TWEWSServiceTest;
using testing::HasSubstr;

TEST_F(TWEWSServiceTest, TriesTheNextVersionWhenOneIsRefusedAndRemembersIt) {
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2013"));
  server.enqueue(refused());
  server.enqueue(ScriptedAnswer::xml(test::envelope(
      test::response("GetItem",
                     test::responseMessage("GetItem", "Success", "NoError", "<m:Items/>")),
      R"(MajorVersion="8" MinorVersion="0" MajorBuildNumber="685" MinorBuildNumber="24")")));
  const test::RecordingLog log;
  EXPECT_TRUE(call(kGetItem));
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[0].body, HasSubstr("Version=\"Exchange2013\""));
  EXPECT_THAT(server.requests()[1].body,
              test::EqualsXML(test::requestEnvelope("Exchange2007", "<m:GetItem/>")));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(8, 0, 685, 24), "Exchange2007"));
  EXPECT_THAT(log.lines(),
              testing::IsSupersetOf({"[ann] Setting API version: Exchange2007",
                                     "[ann] Setting Build: TWBuild: (8, 0, 685, 24)"}));
}

TEST_F(TWEWSServiceTest, AVersionWithABuildIsReplacedOnceItIsRefused) {
  server.enqueue(refused());
  server.enqueue(ScriptedAnswer::xml(
      test::envelope(test::response("GetItem", ""), R"(MajorVersion="8" MajorBuildNumber="685")")));
  const test::RecordingLog log;
  EXPECT_TRUE(call(kGetItem));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(8, 0, 685), "Exchange2007"));
  EXPECT_THAT(log.lines(), testing::IsSupersetOf({"[ann] Setting API version: Exchange2007",
                                                  "[ann] Setting Build: TWBuild: (8, 0, 685, 0)"}));
}

TEST_F(TWEWSServiceTest, EveryVersionIsAskedWithTheWholePayload) {
  server.enqueue(refused());
  server.enqueue(refused());
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2019"));
  auto payload = TWUtils::createElement("m:GetItem", {{"A", "1"}});
  TWUtils::createAndAddElementToParent(payload, "m:ItemIds", TWList{"x", "y"});
  const auto text = payload.XMLString();
  TWError error;
  EXPECT_TRUE(Service(kGetItem, protocol()).getElements(payload, &error));
  EXPECT_FALSE(error);
  ASSERT_EQ(server.requestCount(), 3U);
  // A version that nobody has heard of goes first all the same.
  const std::vector<std::string_view> versions{"Exchange2019", "Exchange2007", "Exchange2007_SP1"};
  for (std::size_t i = 0; i < versions.size(); ++i)
    EXPECT_THAT(server.requests()[i].body,
                test::EqualsXML(test::requestEnvelope(versions[i], text)));
}

TEST_F(TWEWSServiceTest, TheOtherVersionCodeIsARefusalToo) {
  server.enqueue(ScriptedAnswer::xml(
      test::faultEnvelope("ErrorInvalidSchemaVersionForMailboxVersion", "no"), 500));
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  TWError error;
  EXPECT_TRUE(
      Service(kGetItem, protocol()).getResponseXML(TWUtils::createElement("m:GetItem"), &error));
  EXPECT_FALSE(error) << "the refused version is no failure";
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(TWEWSServiceTest, GivesUpWhenEveryVersionIsRefused) {
  ScriptedServer refusing([](const ScriptedRequest&) { return refused(); });
  const auto refusedProtocol = TWProtocol::withServiceEndpoint(
      refusing.url("/"), TWCredentials::credentialsWithUsernamePassword("ann", "pw"),
      TWVersion(std::nullopt, "Exchange2010_SP2"));
  TWError error;
  EXPECT_FALSE(
      Service(kGetItem, refusedProtocol).getElements(TWUtils::createElement("m:GetItem"), &error));
  EXPECT_EQ(
      error,
      TWError(
          TWErrorCode::ErrorInvalidSchemaVersionForMailboxVersion,
          "Tried versions: (Exchange2010_SP2, Exchange2007, Exchange2007_SP1, Exchange2007_SP1, "
          "Exchange2007_SP1, Exchange2010, Exchange2010_SP1, Exchange2013, Exchange2013_SP1, "
          "Exchange2015, Exchange2015_SP1, Exchange2016) but were invalid for account: (null)"));
  EXPECT_EQ(refusing.requestCount(), 12U);
  EXPECT_EQ(refusedProtocol->version(), TWVersion(std::nullopt, "Exchange2010_SP2"));
}

TEST_F(TWEWSServiceTest, AnAccountWithoutAUsableVersionIsNamed) {
  ScriptedServer refusing([](const ScriptedRequest&) { return refused(); });
  TWError error;
  EXPECT_FALSE(Service(kGetItem, std::make_shared<Account>(TWProtocol::withServiceEndpoint(
                                     refusing.url("/"), nullptr, TWVersion())))
                   .getElements(TWUtils::createElement("m:GetItem"), &error));
  EXPECT_THAT(error.message(), testing::EndsWith(") but were invalid for account: the boss"));
}

TEST_F(TWEWSServiceTest, WithoutAVersionTheListIsTriedInItsOrder) {
  const auto plain = TWProtocol::withServiceEndpoint(server.url("/"), nullptr, TWVersion());
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  EXPECT_TRUE(Service(kGetItem, plain).getElements(TWUtils::createElement("m:GetItem")));
  EXPECT_THAT(server.requests()[0].body, HasSubstr("Version=\"Exchange2007\""));
}

TEST_F(TWEWSServiceTest, ARefusalInsideAMessageIsNoReasonToTryAnotherVersion) {
  EXPECT_TRUE(errorOf(message("Error", "ErrorInvalidServerVersion"))
                  .is(TWErrorCode::ErrorInvalidServerVersion));
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(TWEWSServiceTest, AnyOtherFaultEndsTheCallAndLeavesTheVersion) {
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2016"));
  EXPECT_TRUE(errorOf(ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "x"), 500))
                  .is(TWErrorCode::ErrorServerBusy));
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(protocol()->version(), TWVersion(std::nullopt, "Exchange2016"));
}

TEST_F(TWEWSServiceTest, TheFaultNamedErrorResponseMessageStillTellsTheVersion) {
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2016"));
  EXPECT_TRUE(errorOf(ScriptedAnswer::xml(test::faultEnvelope("ErrorResponseMessage", "x"), 500))
                  .is(TWErrorCode::ErrorResponseMessage));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(), "Exchange2016"));
}

TEST_F(TWEWSServiceTest, AVersionWithABuildIsKept) {
  const test::RecordingLog log;
  EXPECT_TRUE(callAnswered(kGetItem, ScriptedAnswer::xml(test::envelope(
                                         test::response("GetItem", ""), R"(MajorVersion="8")"))));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(15, 1), "Exchange2016"));
  EXPECT_THAT(log.lines(), testing::Not(testing::Contains(HasSubstr("Setting"))));
}

TEST_F(TWEWSServiceTest, AnAnswerWithoutVersionInformationKeepsTheNameTried) {
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2013"));
  EXPECT_TRUE(callAnswered(kGetItem, body(test::response("GetItem", ""))));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(), "Exchange2013"));
}

TEST_F(TWEWSServiceTest, AVersionIsLearntFromAnAnswerOfOnesOwn) {
  TWResponse answer;
  answer.xmlDoc = NKXMLDocument::withXMLString(
      test::envelope("", R"(MajorVersion="8" MinorVersion="1" Version="Exchange2007_SP1")"));
  Service service(kGetItem, protocol());
  const TWVersion known(TWBuild(15, 1), "Exchange2016");
  service.updateApiVersion(known, "Exchange2016", answer);
  EXPECT_EQ(protocol()->version(), known);
  service.updateApiVersion(known, "Exchange2007_SP1", answer);
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(8, 1), "Exchange2007_SP1"));
  // An exchange that nobody answered says nothing, except that this version was tried.
  service.updateApiVersion(std::nullopt, "Exchange2013", {});
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(), "Exchange2013"));
}

TEST_F(TWEWSServiceTest, AnAccountsServiceUsesAndKeepsTheAccountsVersion) {
  const auto account = std::make_shared<Account>(protocol());
  account->setVersion(TWVersion(std::nullopt, "Exchange2010_SP1"));
  server.enqueue(ScriptedAnswer::xml(
      test::envelope(test::response("GetItem", ""), R"(MajorVersion="14" MinorVersion="1")")));
  const test::RecordingLog log;
  EXPECT_TRUE(Service(kGetItem, account).getElements(TWUtils::createElement("m:GetItem")));
  EXPECT_THAT(server.requests()[0].body, HasSubstr("Version=\"Exchange2010_SP1\""));
  EXPECT_EQ(account->version(), TWVersion(TWBuild(14, 1), "Exchange2010_SP1"));
  EXPECT_EQ(protocol()->version(), TWVersion(TWBuild(15, 1), "Exchange2016"));
  EXPECT_THAT(log.lines(),
              testing::Contains("[boss@example.com] Setting API version: Exchange2010_SP1"));
}

}  // namespace
}  // namespace tarnwell
