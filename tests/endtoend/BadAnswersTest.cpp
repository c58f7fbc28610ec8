#include <cstdint>
#include <limits>
#include <string>

#include <gmock/gmock.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"

namespace tarnwell {
namespace {

using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using testing::HasSubstr;

/// Servers that no sandbox would be: each answers every request, the schema document's among them,
/// with the same.
class BadServer {
 public:
  explicit BadServer(ScriptedAnswer answer)
      : server_([answer = std::move(answer)](const ScriptedRequest&) { return answer; }) {}

  [[nodiscard]] std::shared_ptr<TWProtocol> protocol() const {
    TWConnectionOptions options;
    options.connectTo = {"bad.example:80:127.0.0.1:" + std::to_string(server_.port())};
    return TWProtocol::withServiceEndpoint(
        "http://bad.example/EWS/Exchange.asmx",
        TWCredentials::credentialsWithUsernamePassword("ann", "pw"), std::nullopt, options);
  }
  [[nodiscard]] std::size_t requestCount() const { return server_.requestCount(); }

 private:
  ScriptedServer server_;
};

/// A probe of the server, then a call of each operation: what the calls end with, and that nothing
/// is asked more than once.
void expectEnd(ScriptedAnswer answer, TWErrorCode code, std::string_view text) {
  const BadServer server(std::move(answer));
  const auto protocol = server.protocol();
  EXPECT_EQ(server.requestCount(), 2U);
  EXPECT_EQ(protocol->version(), TWVersion(std::nullopt, "Exchange2016"));
  TWError error;
  EXPECT_FALSE(TWResolveNames::withProtocol(protocol)->call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(code)) << error;
  EXPECT_THAT(error.message(), HasSubstr(text));
  TWError other;
  EXPECT_FALSE(TWGetServerTimeZones::withProtocol(protocol)->call(true, &other));
  EXPECT_TRUE(other.is(code)) << other;
  EXPECT_EQ(server.requestCount(), 4U);
}

TEST(BadAnswers, NothingButFaults) {
  expectEnd(ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "Later."), 500),
            TWErrorCode::ErrorServerBusy, "Later.");
}

TEST(BadAnswers, NothingButPagesForBrowsers) {
  const std::string page = "<!DOCTYPE html><html><head><title>Sign in<body><p>Hello<br>you";
  for (const int status : {200, 403, 500})
    expectEnd({status, {{"Content-Type", "text/html"}}, page}, TWErrorCode::ErrorSOAP,
              "Bad SOAP Response: <!DOCTYPE html>");
}

TEST(BadAnswers, NothingButPagesThatHappenToBeXML) {
  expectEnd({200, {{"Content-Type", "text/html"}}, "<html><body>Sign in</body></html>"},
            TWErrorCode::ErrorTransport, "No body element in SOAP response");
}

TEST(BadAnswers, NothingAtAll) {
  for (const int status : {200, 500, 503})
    expectEnd(ScriptedAnswer::xml("", status), TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)");
}

TEST(BadAnswers, AlwaysTheResponseOfAnotherOperation) {
  expectEnd(ScriptedAnswer::xml(test::envelope(
                test::response("GetItem", test::responseMessage("GetItem", "Success", "NoError")))),
            TWErrorCode::ErrorSOAP, "Unknown SOAP response: <s:Body");
}

TEST(BadAnswers, AnEnvelopeWithAnEmptyBody) {
  expectEnd(ScriptedAnswer::xml(test::envelope("")), TWErrorCode::ErrorSOAP,
            "Unknown SOAP response: <s:Body");
}

TEST(BadAnswers, ARedirectInACircle) {
  const BadServer server(ScriptedAnswer::redirect(307, "http://bad.example/EWS/Exchange.asmx"));
  const auto protocol = server.protocol();
  TWError error;
  EXPECT_FALSE(TWResolveNames::withProtocol(protocol)->call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorTooManyRedirects)) << error;
  EXPECT_EQ(server.requestCount(), 3U * 21U);  // schema, probe and call, each with 20 redirects
}

/// The response of ResolveNames with one message.
ScriptedAnswer resolved(std::string_view responseClass, std::string_view code) {
  return ScriptedAnswer::xml(test::envelope(
      test::response("ResolveNames", test::responseMessage("ResolveNames", responseClass, code)),
      R"(MajorVersion="15" MinorVersion="1" Version="Exchange2016")"));
}

TWError errorOfResolveNames(ScriptedAnswer answer) {
  const BadServer server(std::move(answer));
  TWError error;
  EXPECT_FALSE(
      TWResolveNames::withProtocol(server.protocol())->call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_EQ(server.requestCount(), 3U);
  return error;
}

TEST(BadAnswers, AMessageWithoutACode) {
  for (const auto* responseClass : {"Success", "Warning", "Error", ""})
    EXPECT_EQ(errorOfResolveNames(resolved(responseClass, "")),
              TWError(TWErrorCode::ErrorTransport,
                      "Empty responseCode in responseMessage (MessageText: (null), XML: (null))"));
}

TEST(BadAnswers, AMessageWithAnUnknownCode) {
  for (const auto* responseClass : {"Success", "Warning", "Error", "Disaster"})
    EXPECT_EQ(errorOfResolveNames(resolved(responseClass, "ErrorOfTomorrow")),
              TWError(TWErrorCode::ErrorTransport, "Error: ErrorOfTomorrow"));
}

TEST(BadAnswers, ASuccessWithoutItsResults) {
  const auto error = errorOfResolveNames(resolved("Success", "NoError"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(), HasSubstr("No ResolutionSet elements in ResponseMessage <m:"));
}

/// What a protocol makes of a header's attributes, and whether a call goes well all the same.
void expectVersion(std::string_view attributes, const TWVersion& expected) {
  const BadServer server(test::resolveNamesAnswer(attributes));
  const auto protocol = server.protocol();
  EXPECT_EQ(protocol->version(), expected) << attributes;
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"})) << attributes;
  EXPECT_EQ(protocol->version(), expected) << attributes;
  EXPECT_EQ(server.requestCount(), 3U);
}

TEST(BadAnswers, VersionInformationThatIsMissingKeepsTheNameTried) {
  expectVersion("", TWVersion(TWBuild(), "Exchange2016"));
}

TEST(BadAnswers, VersionInformationThatIsEmptyKeepsTheNameTried) {
  expectVersion(" ", TWVersion(TWBuild(), "Exchange2016"));
  expectVersion(R"(Version="")", TWVersion(TWBuild(), "Exchange2016"));
  expectVersion(R"(MajorVersion="" MinorVersion="" Version="")",
                TWVersion(TWBuild(), "Exchange2016"));
  expectVersion(R"(MajorVersion="14" MinorVersion="1" Version="")",
                TWVersion(TWBuild(14, 1), "Exchange2010_SP1"));
}

TEST(BadAnswers, VersionNumbersThatAreNegativeOrHugeNameNoVersion) {
  expectVersion(R"(MajorVersion="-15" MinorVersion="-1")",
                TWVersion(TWBuild(-15, -1), "Exchange2016"));
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  const std::string huge(400, '9');
  expectVersion("MajorVersion=\"" + huge + "\" MinorVersion=\"-" + huge + "\"",
                TWVersion(TWBuild(kMost, kLeast), "Exchange2016"));
  expectVersion("MajorVersion=\"15\" MinorVersion=\"0\" MajorBuildNumber=\"" + huge + "\"",
                TWVersion(TWBuild(15, 0, kMost), "Exchange2013_SP1"));
}

TEST(BadAnswers, VersionNumbersThatAreNoneCountAsZero) {
  expectVersion(R"(MajorVersion="fifteen" MinorVersion="0x1" MajorBuildNumber="NaN")",
                TWVersion(TWBuild(), "Exchange2016"));
}

}  // namespace
}  // namespace tarnwell
