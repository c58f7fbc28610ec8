// How challenges are answered, against a server that plays its part by script. The real schemes are
// held against a real server in TWConnectionApacheTest.cpp.

#include <gmock/gmock.h>

#include "tarnwell/transport/TWAuthType.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kBasic = "Basic realm=\"x\"";
constexpr const char* kDigest = "Digest realm=\"x\", nonce=\"n\", algorithm=MD5, qop=\"auth\"";
// "ann:pw"
constexpr const char* kBasicAnn = "Basic YW5uOnB3";

std::string authorization(const ScriptedServer& server, std::size_t request) {
  return server.requests().at(request).header("Authorization").value_or("");
}

std::shared_ptr<TWConnection> ann() {
  return TWConnection::withCredentials(withPassword("ann", "pw"), false);
}

TEST(TWConnectionAuth, PasswordIsSentOnlyWhenAskedFor) {
  ScriptedServer server;
  (void)ann()->get(server.url("/"));
  EXPECT_EQ(authorization(server, 0), "");
}

TEST(TWConnectionAuth, BasicIsAnsweredWithNameAndPassword) {
  ScriptedServer server;
  const RecordingLog log;
  server.enqueue(ScriptedAnswer::challenge({kBasic}));
  server.enqueue(ScriptedAnswer::xml("<in/>"));
  const auto connection = ann();
  const TWResponse record = connection->post(server.url("/"), std::nullopt, "<q/>");
  EXPECT_EQ(status(record), 200);
  EXPECT_EQ(text(record.data), "<in/>") << "the challenge's page is gone";
  EXPECT_EQ(authorization(server, 1), kBasicAnn);
  EXPECT_EQ(server.requests().at(1).body, "<q/>");
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::basic);

  (void)connection->get(server.url("/"));
  EXPECT_EQ(log.count("[ann] Using auth type: 1"), 1) << "a scheme that stays is not logged again";
}

TEST(TWConnectionAuth, NameOfEMailFormIsSentAsItIs) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({kBasic}));
  (void)TWConnection::withCredentials(withPassword("ann@example.com", "pw"), false)
      ->get(server.url("/"));
  // "ann@example.com:pw"
  EXPECT_EQ(authorization(server, 1), "Basic YW5uQGV4YW1wbGUuY29tOnB3");
}

TEST(TWConnectionAuth, DigestIsPreferredToBasic) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({kBasic, kDigest}));
  const auto connection = ann();
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_THAT(authorization(server, 1), StartsWith("Digest username=\"ann\""));
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::digest);
}

TEST(TWConnectionAuth, NTLMIsPreferredToBasicAndBeginsWithItsFirstMessage) {
  ScriptedServer server([](const ScriptedRequest&) {
    return ScriptedAnswer::challenge({kBasic, "Negotiate", "NTLM"});
  });
  const auto connection = ann();
  (void)connection->get(server.url("/"));
  EXPECT_THAT(authorization(server, 1), StartsWith("NTLM TlRMTVNTUAAB"));
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::ntlm);
}

TEST(TWConnectionAuth, NegotiateIsDeclinedForAnotherScheme) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({"Negotiate", kBasic}));
  EXPECT_EQ(status(ann()->get(server.url("/"))), 200);
  EXPECT_EQ(authorization(server, 1), kBasicAnn);
}

TEST(TWConnectionAuth, NegotiateAloneIsNotAnswered) {
  ScriptedServer server(
      [](const ScriptedRequest&) { return ScriptedAnswer::challenge({"Negotiate"}); });
  const auto connection = ann();
  EXPECT_EQ(status(connection->get(server.url("/"))), 401);
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::none);
}

TEST(TWConnectionAuth, RefusedPasswordIsNotTriedAgain) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::challenge({kBasic}); });
  const TWResponse record = ann()->get(server.url("/"));
  EXPECT_EQ(status(record), 401);
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_LE(server.requestCount(), 3U);
  EXPECT_EQ(record.response->header("WWW-Authenticate"), kBasic);
}

TEST(TWConnectionAuth, NewPasswordIsTakenAfterARefusal) {
  ScriptedServer server([](const ScriptedRequest& request) {
    return request.header("Authorization") == kBasicAnn ? ScriptedAnswer()
                                                        : ScriptedAnswer::challenge({kBasic});
  });
  const auto credentials = withPassword("ann", "wrong");
  const auto connection = TWConnection::withCredentials(credentials, false);
  EXPECT_EQ(status(connection->get(server.url("/"))), 401);
  credentials->updateAccessToken("pw");
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
}

TEST(TWConnectionAuth, ChangeOfTheSchemeIsLogged) {
  ScriptedServer server;
  const RecordingLog log;
  const auto connection = ann();
  server.enqueue(ScriptedAnswer::challenge({kBasic}));
  server.enqueue(ScriptedAnswer());
  (void)connection->get(server.url("/"));
  server.enqueue(ScriptedAnswer::challenge({kDigest}));
  server.enqueue(ScriptedAnswer());
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_THAT(log.lines(), ElementsAre("[ann] Using auth type: 1", HasSubstr("Request took"),
                                       "[ann] Using auth type: 3", HasSubstr("Request took")));
}

TEST(TWConnectionAuth, WithATokenOtherChallengesAreNotAnswered) {
  for (const char* challenge : {kBasic, kDigest, "NTLM"}) {
    ScriptedServer server(
        [&](const ScriptedRequest&) { return ScriptedAnswer::challenge({challenge}); });
    const auto connection = TWConnection::withCredentials(withToken("tok"), false);
    const TWResponse record = connection->get(server.url("/"));
    EXPECT_EQ(status(record), 401);
    EXPECT_EQ(server.requestCount(), 1U) << challenge;
    EXPECT_EQ(authorization(server, 0), "Bearer tok");
    EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::none);
  }
}

TEST(TWConnectionAuth, WithoutCredentialsNothingIsAnswered) {
  ScriptedServer server([](const ScriptedRequest&) {
    return ScriptedAnswer::challenge({kBasic, kDigest, "NTLM", "Negotiate"});
  });
  EXPECT_EQ(status(TWConnection::withCredentials(nullptr, false)->get(server.url("/"))), 401);
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST(TWConnectionAuth, TokenMayBeReplacedDuringARequest) {
  ScriptedServer server;
  const auto credentials = withToken("a");
  const auto connection = TWConnection::withCredentials(credentials, false);
  Running running([&] {
    TWResponse record;
    for (int i = 0; i < 50; ++i) record = connection->get(server.url("/"));
    return record;
  });
  while (!running.isReady()) credentials->updateAccessToken("b");
  EXPECT_EQ(status(running.join()), 200);
}

}  // namespace
}  // namespace tarnwell::test
