#include <algorithm>
#include <array>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/protocol/TWVersion.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;

TEST(TWVersion, HoldsBuildAndNameAndEachMayBeAbsent) {
  EXPECT_FALSE(TWVersion().build() || TWVersion().apiVersion());
  const TWVersion named(std::nullopt, "Exchange2013");
  EXPECT_EQ(named.apiVersion(), "Exchange2013");
  EXPECT_FALSE(named.build());
  EXPECT_EQ(TWVersion(TWBuild(8, 0), "Exchange2016").apiVersion(), "Exchange2016");
}

TEST(TWVersion, ABuildAloneTakesItsOwnName) {
  EXPECT_EQ(TWVersion(TWBuild(14, 3)).apiVersion(), "Exchange2010_SP2");
  EXPECT_EQ(TWVersion(TWBuild(15, 2)).apiVersion(), std::nullopt);
}

TEST(TWVersion, KnowsThirteenVersionsWithTheNamesTheySendAndShow) {
  const std::vector<std::array<std::string_view, 3>> rows = {
      {"Exchange2007", "Exchange2007", "Microsoft Exchange Server 2007"},
      {"Exchange2007_SP1", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP1"},
      {"Exchange2007_SP2", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP2"},
      {"Exchange2007_SP3", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP3"},
      {"Exchange2010", "Exchange2010", "Microsoft Exchange Server 2010"},
      {"Exchange2010_SP1", "Exchange2010_SP1", "Microsoft Exchange Server 2010 SP1"},
      {"Exchange2010_SP2", "Exchange2010_SP2", "Microsoft Exchange Server 2010 SP2"},
      {"Exchange2010_SP3", "Exchange2010_SP2", "Microsoft Exchange Server 2010 SP3"},
      {"Exchange2013", "Exchange2013", "Microsoft Exchange Server 2013"},
      {"Exchange2013_SP1", "Exchange2013_SP1", "Microsoft Exchange Server 2013 SP1"},
      {"Exchange2015", "Exchange2015", "Microsoft Exchange Server 2015"},
      {"Exchange2015_SP1", "Exchange2015_SP1", "Microsoft Exchange Server 2015 SP1"},
      {"Exchange2016", "Exchange2016", "Microsoft Exchange Server 2016"}};
  const auto& versions = TWVersion::versions();
  ASSERT_EQ(versions.size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(versions[i].key, rows[i][0]);
    EXPECT_EQ(versions[i].apiVersion, rows[i][1]);
    EXPECT_EQ(versions[i].displayName, rows[i][2]);
    EXPECT_EQ(TWVersion::apiVersions()[i], rows[i][1]);
  }
  EXPECT_EQ(TWVersion::apiVersions().size(), rows.size());
}

TEST(TWVersion, TablesAreBuiltOnceForAllThreads) {
  std::vector<std::thread> threads;
  std::array<const std::vector<std::string>*, 8> names{};
  for (auto& seen : names) threads.emplace_back([&seen] { seen = &TWVersion::apiVersions(); });
  for (auto& thread : threads) thread.join();
  for (const auto* const seen : names) EXPECT_EQ(seen, &TWVersion::apiVersions());
}

TEST(TWVersion, TheFullNameIsThatOfTheNameSent) {
  EXPECT_EQ(TWVersion(TWBuild(8, 3)).fullname(), "Microsoft Exchange Server 2007 SP1");
  EXPECT_EQ(TWVersion(std::nullopt, "Exchange2016").fullname(), "Microsoft Exchange Server 2016");
  EXPECT_EQ(TWVersion(std::nullopt, "Exchange2019").fullname(), std::nullopt);
  EXPECT_EQ(TWVersion().fullname(), std::nullopt);
}

TEST(TWVersion, TagsOfInternalVersionsAreInvalid) {
  for (const char* name : {"V2_", "V2_1", "V2015_", "V2016_x", "V2017_07_11"})
    EXPECT_TRUE(TWVersion::isInvalidVersionString(name)) << name;
  for (const char* name : {"V2015", "V2018_1", "V2014_1", "v2_1", "XV2_", "Exchange2016", ""})
    EXPECT_FALSE(TWVersion::isInvalidVersionString(name)) << name;
}

TWVersion versionOf(std::string_view attributes, std::string_view requested = "Exchange2016") {
  return TWVersion::versionFromResponse(test::envelope("<m:X/>", attributes), requested);
}

TEST(TWVersion, AnAnswerNamesItsVersion) {
  EXPECT_EQ(versionOf(R"(MajorVersion="15" MinorVersion="1" Version="Exchange2013_SP1")"),
            TWVersion(TWBuild(15, 1), "Exchange2013_SP1"));
  EXPECT_EQ(
      versionOf(R"(MajorVersion="15" Version="Exchange2013")", "Exchange2010_SP2").apiVersion(),
      "Exchange2013");
}

TEST(TWVersion, AnAnswerWithoutANameTakesThatOfItsBuild) {
  EXPECT_EQ(
      versionOf(
          R"(MajorVersion="15" MinorVersion="1" MajorBuildNumber="225" MinorBuildNumber="42")"),
      TWVersion(TWBuild(15, 1, 225, 42), "Exchange2016"));
  EXPECT_EQ(versionOf(R"(MajorVersion="14" MinorVersion="2" Version="")").apiVersion(),
            "Exchange2010_SP2");
  const auto unknown = versionOf(R"(MajorVersion="15" MinorVersion="2")");
  EXPECT_EQ(unknown.build(), TWBuild(15, 2));
  EXPECT_EQ(unknown.apiVersion(), std::nullopt);
}

TEST(TWVersion, AnInvalidNameIsReplacedByTheOneRequested) {
  EXPECT_EQ(versionOf(R"(MajorVersion="15" MinorVersion="20" Version="V2017_07_11")"),
            TWVersion(TWBuild(15, 20), "Exchange2016"));
}

TEST(TWVersion, AnAnswerWithoutTheHeaderHasAZeroBuildAndNoName) {
  for (const std::string_view text :
       {std::string_view("junk"), std::string_view(""), std::string_view("<a/>"),
        std::string_view(
            "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Header>"
            "<ServerVersionInfo MajorVersion=\"15\" "
            "Version=\"Exchange2013\"/></s:Header></s:Envelope>"),
        // SOAP 1.2
        std::string_view(
            "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\"><s:Header>"
            "<t:ServerVersionInfo "
            "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\" "
            "MajorVersion=\"15\" Version=\"Exchange2013\"/></s:Header></s:Envelope>")}) {
    const auto version = TWVersion::versionFromResponse(text, "Exchange2016");
    EXPECT_EQ(version.build(), TWBuild());
    EXPECT_EQ(version.apiVersion(), std::nullopt);
  }
}

TEST(TWVersion, PrintsNameAndBuild) {
  EXPECT_EQ(TWVersion(TWBuild(15, 1)).description(),
            "[TWVersion] Exchange2016 (TWBuild: (15, 1, 0, 0))");
  EXPECT_EQ(TWVersion().description(), "[TWVersion] (null) ((null))");
}

// Guessing, over HTTP. A protocol made without a version guesses it.

/// A server with a schema document and an answer to every POST.
ScriptedServer::Handler serverWith(ScriptedAnswer schema, ScriptedAnswer posted) {
  return [schema = std::move(schema), posted = std::move(posted)](const ScriptedRequest& request) {
    return request.method == "GET" ? schema : posted;
  };
}

/// The typesURL leaves the port out, as the endpoint's own scheme would have it; this leads it
/// back.
TWConnectionOptions leadingTo(const ScriptedServer& server) {
  TWConnectionOptions options;
  options.connectTo = {"ews.example:80:127.0.0.1:" + std::to_string(server.port())};
  return options;
}

std::shared_ptr<TWProtocol> guessingProtocol(const ScriptedServer& server,
                                             std::string_view user = "ann@example.com") {
  return TWProtocol::withServiceEndpoint("http://ews.example/EWS/Exchange.asmx",
                                         TWCredentials::credentialsWithUsernamePassword(user, "pw"),
                                         std::nullopt, leadingTo(server));
}

ScriptedAnswer schemaOf(std::string_view version) {
  return ScriptedAnswer::xml("<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" Version=\"" +
                             std::string(version) + "\"/>");
}

TEST(TWVersionGuess, AsksTheSchemaThenResolvesTheUserName) {
  ScriptedServer server(serverWith(
      schemaOf("Exchange2013_SP1"),
      test::resolveNamesAnswer(R"(MajorVersion="15" MinorVersion="0" MajorBuildNumber="847" )"
                               R"(Version="Exchange2013_SP1")")));
  const auto protocol = guessingProtocol(server);
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].target, "/EWS/types.xsd");
  EXPECT_EQ(requests[1].method, "POST");
  EXPECT_EQ(requests[1].target, "/EWS/Exchange.asmx");
  EXPECT_EQ(requests[0].connection, requests[1].connection);
  EXPECT_THAT(requests[1].body,
              test::EqualsXML(test::requestEnvelope(
                  "Exchange2013_SP1",
                  R"(<m:ResolveNames ReturnFullContactData="false">)"
                  "<m:UnresolvedEntry>ann@example.com</m:UnresolvedEntry></m:ResolveNames>")));
  EXPECT_EQ(protocol->version(), TWVersion(TWBuild(15, 0, 847), "Exchange2013_SP1"));
}

TEST(TWVersionGuess, AServicePackIsAskedInTheNameItSends) {
  ScriptedServer server(serverWith(schemaOf("Exchange2007_SP3"), {}));
  (void)guessingProtocol(server);
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[1].body, testing::HasSubstr("Version=\"Exchange2007_SP1\""));
}

TEST(TWVersionGuess, StartsFromTheNewestWithoutAUsableSchema) {
  for (const auto& schema : {schemaOf("Exchange2099"), ScriptedAnswer::xml("<a/>"),
                             ScriptedAnswer::xml("<html>"), ScriptedAnswer::xml("", 404)}) {
    ScriptedServer server(serverWith(schema, {}));
    (void)guessingProtocol(server);
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_THAT(server.requests()[1].body, testing::HasSubstr("Version=\"Exchange2016\""));
  }
}

TEST(TWVersionGuess, WithoutAUserNameOnlyTheSchemaIsAsked) {
  ScriptedServer server(serverWith(schemaOf("Exchange2010_SP3"), {}));
  const auto protocol = guessingProtocol(server, "");
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(protocol->version(), TWVersion(std::nullopt, "Exchange2010_SP2"));
}

TEST(TWVersionGuess, WithoutCredentialsOnlyTheSchemaIsAsked) {
  ScriptedServer server(serverWith(schemaOf("x"), {}));
  const auto protocol = TWProtocol::withServiceEndpoint("http://ews.example/EWS/Exchange.asmx",
                                                        nullptr, std::nullopt, leadingTo(server));
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(protocol->version(), TWVersion(std::nullopt, "Exchange2016"));
}

TEST(TWVersionGuess, FailuresLeaveTheDefault) {
  for (const auto& posted :
       {ScriptedAnswer::xml("<html/>", 500), ScriptedAnswer::xml("", 401),
        ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "busy"), 500)}) {
    ScriptedServer server(serverWith(schemaOf("x"), posted));
    EXPECT_EQ(guessingProtocol(server)->version(), TWVersion(std::nullopt, "Exchange2016"));
  }
}

TEST(TWVersionGuess, RenegotiatesWhereTheServerRefusesTheHint) {
  ScriptedServer server([](const ScriptedRequest& request) {
    if (request.method == "GET") return schemaOf("Exchange2016");
    if (request.body.find("Version=\"Exchange2007\"") == std::string::npos)
      return ScriptedAnswer::xml(test::faultEnvelope("ErrorInvalidServerVersion", "no"), 500);
    return test::resolveNamesAnswer(R"(MajorVersion="8" MinorVersion="0")");
  });
  EXPECT_EQ(guessingProtocol(server)->version(), TWVersion(TWBuild(8, 0), "Exchange2007"));
  EXPECT_EQ(server.requests().size(), 3U);
}

TEST(TWVersionGuess, AnyGivenVersionCountsEvenAnEmptyOne) {
  ScriptedServer server;
  const auto protocol =
      TWProtocol::withServiceEndpoint(server.url("/EWS/Exchange.asmx"), nullptr, TWVersion());
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_EQ(protocol->version(), TWVersion());
}

}  // namespace
}  // namespace tarnwell
