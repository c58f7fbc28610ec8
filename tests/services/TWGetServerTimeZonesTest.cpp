#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWGetServerTimeZones.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::ScriptedAnswer;
using test::ScriptedServer;

class TWGetServerTimeZonesTest : public testing::Test {
 protected:
  std::shared_ptr<TWGetServerTimeZones> service(std::optional<TWBuild> build) {
    return TWGetServerTimeZones::withProtocol(TWProtocol::withServiceEndpoint(
        server.url("/"), nullptr, TWVersion(build, "Exchange2010")));
  }
  static std::string message(std::string_view definitions,
                             std::string_view responseClass = "Success") {
    return test::responseMessage(
        "GetServerTimeZones", responseClass, "NoError",
        "<m:TimeZoneDefinitions>" + std::string(definitions) + "</m:TimeZoneDefinitions>");
  }
  static ScriptedAnswer answerOf(std::string_view messages) {
    return ScriptedAnswer::xml(test::envelope(test::response("GetServerTimeZones", messages)));
  }
  static ScriptedAnswer answer(std::string_view definitions) {
    return answerOf(message(definitions));
  }
  ScriptedServer server;
};

TEST_F(TWGetServerTimeZonesTest, DeclaresItsNames) {
  const auto& declared = service(TWBuild(14, 0))->serviceClass();
  EXPECT_EQ(declared.serviceName, "GetServerTimeZones");
  EXPECT_EQ(declared.elementContainerName, "TimeZoneDefinitions");
  EXPECT_EQ(declared.elementContainerXMLns,
            "http://schemas.microsoft.com/exchange/services/2006/messages");
  EXPECT_EQ(declared.errorsToCatchInResponse, TWServiceClass::baseErrorsToCatch());
  EXPECT_EQ(declared.warningsToCatchInResponse,
            TWErrorCodes{TWErrorCode::ErrorBatchProcessingStopped});
  EXPECT_TRUE(declared.warningsToIgnoreInResponse.empty());
}

TEST_F(TWGetServerTimeZonesTest, AServerBefore2010IsNotAsked) {
  TWError error;
  EXPECT_FALSE(service(TWBuild(8, 3))->call(false, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorMissingArgument,
                           "GetServerTimeZones is only supported for Exchange 2010 and later"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWGetServerTimeZonesTest, AServerOfUnknownBuildIsAsked) {
  server.enqueue(answer(""));
  EXPECT_TRUE(service(std::nullopt)->call(false));
}

TEST_F(TWGetServerTimeZonesTest, SaysWhetherTheRulesAreWanted) {
  for (const bool full : {true, false}) {
    server.enqueue(answer(""));
    EXPECT_TRUE(service(TWBuild(14, 0))->call(full));
    EXPECT_THAT(server.requests().back().body,
                test::EqualsXML(test::requestEnvelope(
                    "Exchange2010", std::string("<m:GetServerTimeZones ReturnFullTimeZoneData=\"") +
                                        (full ? "true" : "false") + "\"/>")));
  }
}

TEST_F(TWGetServerTimeZonesTest, GivesPairsOfIdAndNameAndSkipsTheRest) {
  server.enqueue(
      answer(R"(<t:TimeZoneDefinition Id="UTC" Name="Coordinated"/><t:TimeZoneDefinition Id="X"/>)"
             R"(<t:TimeZoneDefinition Name="Y"/><t:TimeZoneDefinition Id="W" Name="West"/>)"));
  const auto zones = service(TWBuild(14, 0))->call(false);
  ASSERT_TRUE(zones);
  EXPECT_EQ(*zones, (TWList{TWValue::list({"UTC", "Coordinated"}), TWValue::list({"W", "West"})}));
}

TEST_F(TWGetServerTimeZonesTest, PairsOfAllMessagesStandInOneListWithErrorsInPlace) {
  server.enqueue(answerOf(message(R"(<t:TimeZoneDefinition Id="A" Name="a"/>)") +
                          message("", "Warning") +
                          message(R"(<t:TimeZoneDefinition Id="B" Name="b"/>)")));
  const auto zones = service(TWBuild(14, 0))->call(false);
  ASSERT_TRUE(zones);
  ASSERT_EQ(zones->size(), 3U);
  EXPECT_EQ(zones->at(0), TWValue::list({"A", "a"}));
  EXPECT_TRUE(zones->at(1).asError().is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(zones->at(1).asError().message(),
              testing::StartsWith("No TimeZoneDefinitions elements in ResponseMessage"));
  EXPECT_EQ(zones->at(2), TWValue::list({"B", "b"}));
}

TEST_F(TWGetServerTimeZonesTest, WithoutAProtocolACallFailsAsOnAClosedOne) {
  TWError error;
  EXPECT_FALSE(TWGetServerTimeZones::withProtocol(nullptr)->call(false, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
}

}  // namespace
}  // namespace tarnwell
