#include <algorithm>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/transport/TWTransport.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using Tokens = std::set<std::string>;

std::string envelopeAround(std::string_view header, std::string_view body) {
  return formatMessage(
      "<s:Envelope xmlns:s=\"%@\" xmlns:t=\"%@\" "
      "xmlns:m=\"%@\"><s:Header>%@</s:Header><s:Body>%@</s:Body>"
      "</s:Envelope>",
      {kSoapNamespace, kTypesNamespace, kMessagesNamespace, header, body});
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

TWResponse answer(int status, TWHeaders headers = {}) {
  TWResponse response;
  response.response = TWHTTPResponse{status, std::move(headers)};
  return response;
}

TWResponse challenge(std::initializer_list<const char*> values) {
  TWHeaders headers;
  for (const char* value : values) headers.emplace_back("WWW-Authenticate", value);
  return answer(401, headers);
}

TEST(TWTransport, HasExactlyTwoDefaultHeaders) {
  EXPECT_EQ(TWTransport::defaultHeaders(), (TWHeaders{{"Content-Type", "text/xml; charset=utf-8"},
                                                      {"Accept-Encoding", "compress, gzip"}}));
}

TEST(TWTransport, SharesItsDefaultHeadersAmongThreads) {
  const TWHeaders* first = &TWTransport::defaultHeaders();
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([first] { EXPECT_EQ(&TWTransport::defaultHeaders(), first); });
  for (auto& thread : threads) thread.join();
}

TEST(TWTransport, WithoutAnAccountTheHeaderHoldsOnlyTheVersion) {
  const auto text = TWTransport::wrap(TWUtils::createElement("m:ResolveNames"), "Exchange2010_SP2");
  EXPECT_THAT(
      text, test::EqualsXML(envelopeAround("<t:RequestServerVersion Version=\"Exchange2010_SP2\"/>",
                                           "<m:ResolveNames/>")));
}

TEST(TWTransport, ADelegateAccountHasATimeZoneButNoImpersonation) {
  const TWEnvelopeContext account{std::nullopt, "W. Europe Standard Time"};
  const auto text =
      TWTransport::wrap(TWUtils::createElement("m:GetItem"), "Exchange2013", &account);
  EXPECT_THAT(text,
              test::EqualsXML(envelopeAround(
                  "<t:RequestServerVersion Version=\"Exchange2013\"/><t:TimeZoneContext>"
                  "<t:TimeZoneDefinition Id=\"W. Europe Standard Time\"/></t:TimeZoneContext>",
                  "<m:GetItem/>")));
}

TEST(TWTransport, AnImpersonatingAccountNamesItsMailboxBetweenVersionAndTimeZone) {
  const TWEnvelopeContext account{"a&<b@example.com", "UTC"};
  const auto text =
      TWTransport::wrap(TWUtils::createElement("m:GetItem"), "Exchange2013", &account);
  EXPECT_THAT(
      text,
      test::EqualsXML(envelopeAround(
          "<t:RequestServerVersion Version=\"Exchange2013\"/><t:ExchangeImpersonation>"
          "<t:ConnectingSID><t:PrimarySMTPAddress>a&amp;&lt;b@example.com</t:PrimarySMTPAddress>"
          "</t:ConnectingSID></t:ExchangeImpersonation><t:TimeZoneContext>"
          "<t:TimeZoneDefinition Id=\"UTC\"/></t:TimeZoneContext>",
          "<m:GetItem/>")));
}

TEST(TWTransport, TheEnvelopeIsOneTextWithoutDeclarationIndentationOrShortTags) {
  const TWEnvelopeContext account{std::nullopt, "UTC"};
  const auto text =
      TWTransport::wrap(TWUtils::createElement("m:GetItem"), "Exchange2013", &account);
  EXPECT_THAT(text, testing::StartsWith("<s:Envelope"));
  EXPECT_THAT(text, testing::HasSubstr("<t:TimeZoneDefinition Id=\"UTC\"></t:TimeZoneDefinition>"));
  EXPECT_EQ(text.find('\n'), std::string::npos);
}

TEST(TWTransport, TheEnvelopeKeepsEveryBackslash) {
  const TWEnvelopeContext account{"CORP\\N@example.com", "UTC"};
  auto payload = TWUtils::createElement("m:X", {{"Path", "C:\\New"}});
  TWUtils::createAndAddElementToParent(payload, "t:Y", "\\N\\\\NN");
  const auto text = TWTransport::wrap(payload, "Exchange2013", &account);
  for (const char* kept : {">CORP\\N@example.com<", "Path=\"C:\\New\"", ">\\N\\\\NN<"})
    EXPECT_THAT(text, testing::HasSubstr(kept));
}

TEST(TWTransport, PrefixesAreDeclaredOnlyOnTheRoot) {
  auto payload = TWUtils::createElement("m:GetItem");
  TWUtils::createAndAddElementToParent(payload, "t:ItemId", {});
  EXPECT_EQ(occurrences(TWTransport::wrap(payload, "Exchange2013"), "xmlns:"), 3U);
}

TEST(TWTransport, TheEnvelopeIsReadBackWithItsNamespaces) {
  const auto text = TWTransport::wrap(TWUtils::createElement("m:GetItem"), "Exchange2013");
  const auto root = NKXMLElement::withXMLString(text);
  EXPECT_TRUE(
      root.elementForName("Body", kSoapNamespace).elementForName("GetItem", kMessagesNamespace));
  EXPECT_TRUE(root.elementForName("Header", kSoapNamespace)
                  .elementForName("RequestServerVersion", kTypesNamespace));
}

TEST(TWTransport, ThePayloadIsMovedIntoTheEnvelopeAndCanBeUsedAgainOnceDetached) {
  auto payload = TWUtils::createElement("m:GetItem");
  TWUtils::createAndAddElementToParent(payload, "t:ItemId", "1");
  const auto first = TWTransport::wrap(payload, "Exchange2013");
  EXPECT_EQ(payload.parent().name(), "s:Body");
  payload.detach();
  EXPECT_THAT(TWTransport::wrap(payload, "Exchange2013"), test::EqualsXML(first));
}

TEST(TWTransport, ARecordsOwnErrorIsReportedWhateverItsStatus) {
  auto response = challenge({"Basic"});
  response.error = TWError(TWHTTPErrorDomain, TWHTTPErrorTimedOut, "late");
  TWError error;
  EXPECT_EQ(TWTransport::authTypeFromResponse(response, &error), TWAuthType::none);
  EXPECT_EQ(error, response.error);
}

TEST(TWTransport, Status200NeedsNoAuthentication) {
  TWError error(TWErrorDomain, 99, "earlier");
  EXPECT_EQ(TWTransport::authTypeFromResponse(answer(200), &error), TWAuthType::none);
  EXPECT_EQ(error.code(), 99);
}

TEST(TWTransport, ARedirectWithoutATargetIsAnError) {
  for (const int status : {301, 302}) {
    TWError error;
    EXPECT_EQ(TWTransport::authTypeFromResponse(answer(status), &error), TWAuthType::none);
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorTransport, "Missing redirect url")) << status;
  }
}

TEST(TWTransport, OtherStatusesDidNotAskForAuthentication) {
  for (const int status : {204, 303, 307, 308, 400, 403, 404, 500}) {
    TWError error;
    EXPECT_EQ(TWTransport::authTypeFromResponse(answer(status), &error), TWAuthType::none);
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorTransport, "Autodiscover response did not 401"))
        << status;
  }
  TWError error;
  EXPECT_EQ(TWTransport::authTypeFromResponse(TWResponse(), &error), TWAuthType::none);
  EXPECT_EQ(error.message(), "Autodiscover response did not 401");
}

TEST(TWTransport, HeaderNamesAreMatchedInLowerCase) {
  for (const char* name : {"WWW-AUTHENTICATE", "www-Authenticate", "www-authenticate"})
    EXPECT_EQ(TWTransport::authTypeFromResponse(answer(401, {{name, "Basic"}})), TWAuthType::basic);
}

TEST(TWTransport, InOneHeaderDigestGoesBeforeNTLMAndNTLMBeforeBasic) {
  const auto typeOf = [](const char* value) {
    return TWTransport::authTypeFromResponse(challenge({value}));
  };
  EXPECT_EQ(typeOf("Basic realm=x, Digest nonce=y"), TWAuthType::digest);
  EXPECT_EQ(typeOf("NTLM, Digest"), TWAuthType::digest);
  EXPECT_EQ(typeOf("Basic x, NTLM"), TWAuthType::ntlm);
  EXPECT_EQ(typeOf("Negotiate, NTLM"), TWAuthType::ntlm);
}

TEST(TWTransport, TheFirstHeaderThatNamesASchemeDecides) {
  EXPECT_EQ(TWTransport::authTypeFromResponse(challenge({"Basic realm=\"x\"", "NTLM"})),
            TWAuthType::basic);
  EXPECT_EQ(TWTransport::authTypeFromResponse(challenge({"NTLM", "Basic"})), TWAuthType::ntlm);
  EXPECT_EQ(TWTransport::authTypeFromResponse(challenge({"Negotiate", "Basic"})),
            TWAuthType::basic);
}

TEST(TWTransport, AChallengeWithoutAKnownSchemeIsUnauthorized) {
  for (const auto& response : {challenge({"Negotiate"}), challenge({"Bearer"}), challenge({})}) {
    TWError error;
    EXPECT_EQ(TWTransport::authTypeFromResponse(response, &error), TWAuthType::none);
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorUnauthorized,
                             "No auth type in autodiscover response headers"));
  }
}

TEST(TWTransport, OnlyAWholeTokenNamesAScheme) {
  for (const char* value : {"Digest\tx", "Digest;x", "xBasic", "NTLM=1"}) {
    TWError error;
    EXPECT_EQ(TWTransport::authTypeFromResponse(challenge({value}), &error), TWAuthType::none)
        << value;
    EXPECT_TRUE(error.is(TWErrorCode::ErrorUnauthorized)) << value;
  }
}

TEST(TWTransport, TokensAreCutAtBlanksAndCommasOnly) {
  EXPECT_EQ(TWTransport::tokenize("Negotiate, NTLM"), (Tokens{"negotiate", "ntlm"}));
  EXPECT_EQ(TWTransport::tokenize("a,,A  b"), (Tokens{"a", "b"}));
  EXPECT_EQ(TWTransport::tokenize(""), Tokens{});
  EXPECT_EQ(TWTransport::tokenize(" , "), Tokens{});
  EXPECT_EQ(TWTransport::tokenize("Digest\tx;y=z"), (Tokens{"digest\tx;y=z"}));
}

TEST(TWTransport, QuotedWordsCountAsTokens) {
  EXPECT_EQ(TWTransport::authTypeFromResponse(challenge({"Basic realm=\"my digest box\""})),
            TWAuthType::digest);
}

TEST(TWTransport, NoCredentialForNoScheme) {
  const auto credentials = TWCredentials::credentialsWithUsernamePassword("ann@example.com", "pw");
  EXPECT_EQ(TWTransport::getAuthInstance(credentials, TWAuthType::none), std::nullopt);
  EXPECT_EQ(TWTransport::getAuthInstance(nullptr, TWAuthType::basic), std::nullopt);
}

TEST(TWTransport, AnAddressIsSentToNTLMWithAnEmptyDomain) {
  const auto credentials = TWCredentials::credentialsWithUsernamePassword("ann@example.com", "pw");
  const auto nameFor = [&](TWAuthType type) {
    return TWTransport::getAuthInstance(credentials, type)->username;
  };
  EXPECT_EQ(nameFor(TWAuthType::ntlm), "\\ann@example.com");
  EXPECT_EQ(nameFor(TWAuthType::basic), "ann@example.com");
  EXPECT_EQ(nameFor(TWAuthType::digest), "ann@example.com");
  EXPECT_EQ(TWTransport::getAuthInstance(credentials, TWAuthType::ntlm)->password, "pw");
}

TEST(TWTransport, OtherFormsOfNamesAreSentToNTLMUnchanged) {
  for (const char* name : {"EXAMPLE\\ann", "ann", "a@b@c"}) {
    const auto credentials = TWCredentials::credentialsWithUsernamePassword(name, "pw");
    EXPECT_EQ(TWTransport::getAuthInstance(credentials, TWAuthType::ntlm)->username, name);
  }
}

TEST(TWTransport, ARedirectNeedsAnotherURL) {
  TWError error;
  EXPECT_FALSE(TWTransport::validateRedirectUrl(std::nullopt, "https://h/x", &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorTransport, "Missing redirect url"));
  EXPECT_FALSE(TWTransport::validateRedirectUrl("https://h/x", "https://h/x", &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorTransport, "Already redirected to this url"));
}

class OneConnection : public TWConnectionSource {
 public:
  explicit OneConnection(std::shared_ptr<TWConnection> connection)
      : connection_(std::move(connection)) {}
  std::shared_ptr<TWConnection> connection() override { return connection_; }

 private:
  std::shared_ptr<TWConnection> connection_;
};

TEST(TWTransport, AnEmptyRedirectIsNone) {
  TWError error;
  EXPECT_FALSE(TWTransport::validateRedirectUrl("", "https://h/x", &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorTransport, "Missing redirect url"));
}

TEST(TWTransport, ErrorsHoldNothingOfWhatTheServerOrTheCallerSaid) {
  const std::string secret = "S3CR3T-marked";
  const std::string url = "https://h/x?token=" + secret;
  std::string seen;
  const auto note = [&](const TWError& error) {
    EXPECT_TRUE(error);
    seen += error.description();
  };
  TWResponse record;
  record.url = url;
  for (const int status : {302, 401, 500}) {
    record.response = TWHTTPResponse{
        status,
        {{"WWW-Authenticate", "Bearer token=" + secret}, {"Set-Cookie", "session=" + secret}}};
    TWError error;
    (void)TWTransport::authTypeFromResponse(record, &error);
    note(error);
  }
  TWError error;
  EXPECT_FALSE(TWTransport::validateRedirectUrl(url, url, &error));
  note(error);
  OneConnection source(TWConnection::withCredentials(
      TWCredentials::credentialsWithUsernameAccessToken("ann", secret + "\r\n"), true));
  (void)TWTransport::post(&source, "http://h/", std::nullopt, {}, &error);
  note(error);
  EXPECT_THAT(seen, ::testing::Not(::testing::HasSubstr(secret)));
}

TEST(TWTransport, RedirectsAreComparedAsText) {
  TWError error;
  EXPECT_TRUE(TWTransport::validateRedirectUrl("https://h/x", "https://H/x", &error));
  EXPECT_TRUE(TWTransport::validateRedirectUrl("https://h/x/", "https://h/x", &error));
  EXPECT_FALSE(error);
}

TEST(TWTransport, PostsThroughTheSourcesConnection) {
  test::ScriptedServer server;
  server.enqueue(test::ScriptedAnswer::xml("<a/>"));
  OneConnection source(TWConnection::withCredentials(nullptr, true));
  TWError error;
  const auto response =
      TWTransport::post(&source, server.url("/EWS"), std::nullopt, TWData{'h', 'i'}, &error);
  ASSERT_TRUE(response.response);
  EXPECT_EQ(response.response->statusCode, 200);
  EXPECT_FALSE(error);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests()[0].method, "POST");
  EXPECT_EQ(server.requests()[0].body, "hi");
}

class ThrowingLogger : public TWLoggerDelegate {
 public:
  void debug(const std::string&) override { throw std::runtime_error("debug"); }
  void release(const std::string&) override { throw std::runtime_error("release"); }
};

TEST(TWTransport, ALogDelegateThatThrowsDoesNotBreakAPost) {
  test::ScriptedServer server;
  server.enqueue(test::ScriptedAnswer::xml("<a/>"));
  OneConnection source(TWConnection::withCredentials(nullptr, true));
  TWLogger::logger().setDelegate(std::make_shared<ThrowingLogger>());
  const auto response = TWTransport::post(&source, server.url("/"), std::nullopt, {});
  TWLogger::logger().setDelegate(nullptr);
  EXPECT_TRUE(response.xmlDoc);
}

TEST(TWTransport, APostThatFailsTellsTheRecordsError) {
  OneConnection source(TWConnection::withCredentials(nullptr, true));
  TWError error;
  const auto response = TWTransport::post(&source, "no url", std::nullopt, {}, &error);
  EXPECT_TRUE(error);
  EXPECT_EQ(error, response.error);
}

TEST(TWTransport, APostWithoutAConnectionGivesAnEmptyRecord) {
  OneConnection closed(nullptr);
  for (TWConnectionSource* source :
       {static_cast<TWConnectionSource*>(&closed), static_cast<TWConnectionSource*>(nullptr)}) {
    TWError error;
    const auto response = TWTransport::post(source, "http://h/", std::nullopt, {}, &error);
    EXPECT_FALSE(response.response || response.xmlDoc || response.error || error);
    EXPECT_TRUE(response.data.empty());
  }
}

}  // namespace
}  // namespace tarnwell
