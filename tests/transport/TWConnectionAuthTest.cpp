// How challenges are answered, against a server that plays its part by script. The real schemes are
// held against a real server in TWConnectionApacheTest.cpp.

#include <algorithm>
#include <atomic>
#include <cstdint>

#include <gmock/gmock.h>
#include <openssl/evp.h>

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

/// The server's half of an NTLM login, which takes any proof.
class NTLMServer {
 public:
  /// The answer to a request; remembers the name in the last message of the login.
  ScriptedAnswer answer(const ScriptedRequest& request) {
    const std::string sent = request.header("Authorization").value_or("");
    if (!sent.starts_with("NTLM ")) return ScriptedAnswer::challenge({"NTLM"});
    const std::string message = fromBase64(sent.substr(5));
    if (message.at(8) == 1) return ScriptedAnswer::challenge({"NTLM " + toBase64(challenge())});
    domain = field(message, 28);
    user = field(message, 36);
    return {};
  }

  std::string domain = "unset";
  std::string user;

 private:
  static std::string challenge() {
    using namespace std::string_literals;
    return "NTLMSSP\0\2\0\0\0"s                // signature and type
           "\0\0\0\0\x30\0\0\0"s               // no target name
           "\x01\x82\x88\0"s                   // UTF-16, NTLM, extended security, target info
           "ABCDEFGH\0\0\0\0\0\0\0\0"s         // the challenge
           "\x04\0\x04\0\x30\0\0\0\0\0\0\0"s;  // an empty list as target info
  }
  /// The text that a length and an offset at that place describe, cut down from UTF-16 to ASCII.
  static std::string field(const std::string& message, std::size_t at) {
    const auto number = [&](std::size_t i) {
      return static_cast<std::uint8_t>(message.at(i)) +
             256U * static_cast<std::uint8_t>(message.at(i + 1));
    };
    std::string text;
    for (std::size_t i = 0; i < number(at); i += 2) text += message.at(number(at + 4) + i);
    return text;
  }
  static std::string toBase64(const std::string& bytes) {
    std::string text(bytes.size() * 2 + 4, '\0');
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(
        reinterpret_cast<unsigned char*>(text.data()),
        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()))));
    return text;
  }
  static std::string fromBase64(const std::string& text) {
    std::string bytes(text.size(), '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                       reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()));
    bytes.resize(static_cast<std::size_t>(std::max(length, 0)));
    return bytes;
  }
};

TEST(TWConnectionAuth, NTLMGetsAnAddressWholeAndWithAnEmptyDomain) {
  struct Name {
    const char* given;
    const char* domain;
    const char* user;
  };
  for (const Name& name : {Name{"ann@example.com", "", "ann@example.com"},
                           Name{"EXAMPLE\\ann", "EXAMPLE", "ann"}, Name{"ann", "", "ann"},
                           // Not a whole address any more; such ones are rare.
                           Name{"EXAMPLE\\ann@example.com", "EXAMPLE", "ann@example.com"},
                           Name{"a/nn@example.com", "a", "nn@example.com"}}) {
    NTLMServer ntlm;
    ScriptedServer server([&](const ScriptedRequest& request) { return ntlm.answer(request); });
    const auto connection = TWConnection::withCredentials(withPassword(name.given, "pw"), false);
    EXPECT_EQ(status(connection->get(server.url("/"))), 200);
    EXPECT_EQ(ntlm.domain, name.domain);
    EXPECT_EQ(ntlm.user, name.user);
  }
}

TEST(TWConnectionAuth, BasicAndThenNTLMOnOneConnectionEachGetTheirFormOfTheName) {
  NTLMServer ntlm;
  std::atomic<bool> wantsNTLM{false};
  ScriptedServer server([&](const ScriptedRequest& request) {
    if (wantsNTLM) return ntlm.answer(request);
    return request.header("Authorization") ? ScriptedAnswer() : ScriptedAnswer::challenge({kBasic});
  });
  const auto connection =
      TWConnection::withCredentials(withPassword("ann@example.com", "pw"), false);
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::basic);
  EXPECT_EQ(authorization(server, 1), "Basic YW5uQGV4YW1wbGUuY29tOnB3");
  wantsNTLM = true;
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::ntlm);
  EXPECT_EQ(ntlm.domain, "");
  EXPECT_EQ(ntlm.user, "ann@example.com");
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

TEST(TWConnectionAuth, ARefusalHasTheBodyThatTheServerSent) {
  ScriptedServer server([](const ScriptedRequest&) {
    auto refusal = ScriptedAnswer::challenge({kBasic});
    refusal.body = "<no/>";
    return refusal;
  });
  const TWResponse record = ann()->get(server.url("/"));
  EXPECT_EQ(status(record), 401);
  EXPECT_EQ(text(record.data), "<no/>");
}

// The body of a refusal after which the login would go on is skipped; that of the last one, too.
TEST(TWConnectionAuth, LoginsThatAreAlwaysStaleEndWithTheRefusalWithoutItsBody) {
  int nonce = 0;
  ScriptedServer server([&](const ScriptedRequest&) {
    auto refusal = ScriptedAnswer::challenge(
        {"Digest realm=\"x\", nonce=\"" + std::to_string(++nonce) + "\", stale=true"});
    refusal.body = "<no/>";
    return refusal;
  });
  for (const bool follows : {false, true}) {
    const auto before = server.requestCount();
    const TWResponse record =
        TWConnection::withCredentials(withPassword("ann", "pw"), follows)->get(server.url("/"));
    EXPECT_EQ(status(record), 401);
    EXPECT_THAT(record.error, IsNoError());
    EXPECT_LE(server.requestCount() - before, 4U);
    EXPECT_EQ(text(record.data), "");
    EXPECT_FALSE(record.xmlDoc);
    EXPECT_THAT(record.response->header("WWW-Authenticate"),
                testing::Optional(HasSubstr("nonce=\"" + std::to_string(nonce) + "\"")));
  }
}

TEST(TWConnectionAuth, OneStaleLoginIsTriedAgain) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({kDigest}));
  server.enqueue(ScriptedAnswer::challenge({"Digest realm=\"x\", nonce=\"m\", stale=true"}));
  server.enqueue(ScriptedAnswer::xml("<in/>"));
  EXPECT_EQ(text(ann()->get(server.url("/")).data), "<in/>");
}

TEST(TWConnectionAuth, LoginOfTheCallersOwnAnswersNoChallenge) {
  for (const auto* const scheme : {kBasic, kDigest, "NTLM"}) {
    ScriptedServer server;
    const RecordingLog log;
    const auto connection = ann();
    server.enqueue(ScriptedAnswer::challenge({scheme}));
    const TWHeaders own{{"authorization", "Basic x"}};
    EXPECT_EQ(status(connection->post(server.url("/"), own, "b")), 401) << scheme;
    ASSERT_EQ(server.requests().size(), 1U) << scheme;
    EXPECT_EQ(authorization(server, 0), "Basic x");
    EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::none);
    EXPECT_EQ(log.count("Using auth type"), 0);
  }
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
