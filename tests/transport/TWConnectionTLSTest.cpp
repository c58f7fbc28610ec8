#include <gmock/gmock.h>

#include "tarnwell/transport/detail/HTTPTransfer.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

ScriptedServer::Options tls(const TestCertificate& certificate) {
  ScriptedServer::Options options;
  options.certificate = certificate;
  return options;
}

std::shared_ptr<TWConnection> trustingOurAuthority(
    const std::shared_ptr<TWCredentials>& credentials = nullptr) {
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  return TWConnection::withCredentials(credentials, false, options);
}

TEST(TWConnectionTLS, TrustedCertificateIsSecureByNameAndByAddress) {
  ScriptedServer server(tls(TestCertificates::shared().good()));
  const auto connection = trustingOurAuthority();
  for (const char* host : {"localhost", "127.0.0.1", "LOCALHOST"}) {
    const TWResponse record = connection->get(server.url("/", host));
    EXPECT_THAT(record.error, IsNoError()) << host;
    EXPECT_EQ(status(record), 200) << host;
    EXPECT_FALSE(connection->hasInsecureCertificate()) << host;
  }
}

struct BadCertificate {
  const char* name;
  const TestCertificate& (TestCertificates::*certificate)() const noexcept;
};

class TWConnectionBadCertificate : public ::testing::TestWithParam<BadCertificate> {
 protected:
  TWConnectionBadCertificate()
      : server_(tls((TestCertificates::shared().*GetParam().certificate)())) {}
  ScriptedServer server_;
};

TEST_P(TWConnectionBadCertificate, IsRefusedBeforeAnythingIsSent) {
  const auto connection = trustingOurAuthority(withToken());
  const TWResponse record = connection->get(server_.url("/", "localhost"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_FALSE(record.response);
  EXPECT_TRUE(connection->hasInsecureCertificate());
  EXPECT_EQ(server_.requestCount(), 0U);
}

TEST_P(TWConnectionBadCertificate, IsAcceptedWhenAllowedButStaysInsecure) {
  const auto connection = trustingOurAuthority();
  connection->setAllowInsecureCertificate(true);
  const TWResponse record = connection->get(server_.url("/", "localhost"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 200);
  EXPECT_TRUE(connection->hasInsecureCertificate());
}

TEST_P(TWConnectionBadCertificate, IsRefusedAgainOnceNoLongerAllowed) {
  const auto connection = trustingOurAuthority();
  connection->setAllowInsecureCertificate(true);
  EXPECT_EQ(status(connection->get(server_.url("/", "localhost"))), 200);
  connection->setAllowInsecureCertificate(false);
  EXPECT_THAT(connection->get(server_.url("/", "localhost")).error,
              IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_EQ(server_.requestCount(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, TWConnectionBadCertificate,
    ::testing::Values(BadCertificate{"SelfSigned", &TestCertificates::selfSigned},
                      BadCertificate{"WrongHost", &TestCertificates::wrongHost},
                      BadCertificate{"Expired", &TestCertificates::expired},
                      BadCertificate{"NotYetValid", &TestCertificates::notYetValid}),
    [](const auto& kind) { return std::string(kind.param.name); });

TEST(TWConnectionTLS, PrivateAuthorityIsNotTrustedUnlessGiven) {
  ScriptedServer server(tls(TestCertificates::shared().good()));
  const auto connection = TWConnection::withCredentials(nullptr, false);
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_TRUE(connection->hasInsecureCertificate());
}

TEST(TWConnectionTLS, MissingAuthorityFileIsAnErrorAndNotTrust) {
  ScriptedServer server(tls(TestCertificates::shared().good()));
  TWConnectionOptions options;
  options.caFile = "/nowhere/authority.pem";
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  connection->setAllowInsecureCertificate(true);
  const TWError error = connection->get(server.url("/")).error;
  EXPECT_EQ(error.domain(), TWHTTPErrorDomain);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST(TWConnectionTLS, EveryEvaluationSetsTheFlagAnew) {
  ScriptedServer bad(tls(TestCertificates::shared().selfSigned()));
  ScriptedServer good(tls(TestCertificates::shared().good()));
  ScriptedServer plain;
  const auto connection = trustingOurAuthority();
  (void)connection->get(bad.url("/"));
  EXPECT_TRUE(connection->hasInsecureCertificate());
  (void)connection->get(plain.url("/"));
  EXPECT_TRUE(connection->hasInsecureCertificate()) << "nothing was evaluated";
  EXPECT_EQ(status(connection->get(good.url("/"))), 200);
  EXPECT_FALSE(connection->hasInsecureCertificate());
}

TEST(TWConnectionTLS, PlainHTTPIsNotInsecure) {
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  (void)connection->get(server.url("/"));
  EXPECT_FALSE(connection->hasInsecureCertificate());
}

TEST(TWConnectionTLS, TokenDoesNotReplaceTrust) {
  ScriptedServer server(tls(TestCertificates::shared().selfSigned()));
  const auto connection = TWConnection::withCredentials(withToken(), false);
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST(TWConnectionTLS, StrictConnectionDoesNotProfitFromALenientOne) {
  ScriptedServer server(tls(TestCertificates::shared().selfSigned()));
  const auto lenient = TWConnection::withCredentials(nullptr, false);
  lenient->setAllowInsecureCertificate(true);
  EXPECT_EQ(status(lenient->get(server.url("/"))), 200);
  const auto strict = TWConnection::withCredentials(nullptr, false);
  EXPECT_THAT(strict->get(server.url("/")).error, IsHTTPError(TWHTTPErrorInsecureCertificate));
}

TEST(TWConnectionTLS, NewSocketIsEvaluatedAgain) {
  // The server closes after each answer; a resumed TLS session would slip past the evaluation.
  static std::atomic<int> evaluations{0};
  detail::setTrustEvaluationProbe([] { ++evaluations; });
  ScriptedServer server(
      [](const ScriptedRequest&) {
        ScriptedAnswer answer;
        answer.close = true;
        return answer;
      },
      tls(TestCertificates::shared().good()));
  const auto connection = trustingOurAuthority();
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  detail::setTrustEvaluationProbe(nullptr);
  EXPECT_EQ(evaluations, 2);
}

TEST(TWConnectionTLS, DemandForAClientCertificateIsDeclined) {
  ScriptedServer::Options options = tls(TestCertificates::shared().good());
  options.asksForCertificate = true;
  ScriptedServer server(options);
  const TWResponse record = trustingOurAuthority(withPassword())->get(server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 200);
}

TEST(TWConnectionTLS, EvaluationsOfAllConnectionsAreSerialised) {
  static std::atomic<int> inside{0};
  static std::atomic<int> most{0};
  static std::atomic<int> evaluations{0};
  static Gate firstIsIn;
  detail::setTrustEvaluationProbe([] {
    most = std::max(most.load(), ++inside);
    // Stay long enough for the other one to come, if it can.
    if (++evaluations == 1) {
      firstIsIn.open();
      Gate never;
      (void)never.wait(100ms);
    }
    --inside;
  });
  ScriptedServer server(tls(TestCertificates::shared().good()));
  const auto one = trustingOurAuthority();
  const auto other = trustingOurAuthority();
  Running first([&] { return one->get(server.url("/")); });
  EXPECT_TRUE(firstIsIn.wait());
  EXPECT_EQ(status(other->get(server.url("/"))), 200);
  EXPECT_EQ(status(first.join()), 200);
  detail::setTrustEvaluationProbe(nullptr);
  EXPECT_EQ(evaluations, 2);
  EXPECT_EQ(most, 1);
}

}  // namespace
}  // namespace tarnwell::test
