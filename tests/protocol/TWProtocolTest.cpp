#include <future>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/Gate.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell {
namespace {

using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using testing::HasSubstr;

/// Given a version, so that nothing is probed.
const TWVersion kKnown(TWBuild(15, 1), "Exchange2016");

std::shared_ptr<TWCredentials> ann(std::string_view password = "pw") {
  return TWCredentials::credentialsWithUsernamePassword("ann@example.com", password);
}

TEST(TWProtocol, StartsOpenWithoutConnections) {
  ScriptedServer server;
  const auto protocol =
      TWProtocol::withServiceEndpoint(server.url("/EWS/Exchange.asmx"), ann(), kKnown);
  EXPECT_FALSE(protocol->ssl());
  EXPECT_EQ(protocol->server(), "127.0.0.1");
  EXPECT_EQ(protocol->serviceEndpoint(), server.url("/EWS/Exchange.asmx"));
  EXPECT_FALSE(protocol->allowsInsecureCertificate());
  EXPECT_FALSE(protocol->isClosed());
  EXPECT_TRUE(protocol->isCertificateValid());
  EXPECT_EQ(protocol->version(), kKnown);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST(TWProtocol, SSLIsASchemeWrittenExactlyHttps) {
  EXPECT_TRUE(
      TWBaseProtocol::withServiceEndpoint("https://h:8443/EWS/Exchange.asmx", nullptr)->ssl());
  EXPECT_FALSE(TWBaseProtocol::withServiceEndpoint("HTTPS://h/", nullptr)->ssl());
  EXPECT_EQ(
      TWBaseProtocol::withServiceEndpoint("https://h:8443/EWS/Exchange.asmx", nullptr)->server(),
      "h");
}

TEST(TWProtocol, BuildsTheSchemaURLsFromSchemeAndHost) {
  const auto protocol =
      TWProtocol::withServiceEndpoint("https://h:8443/EWS/Exchange.asmx", nullptr, kKnown);
  EXPECT_EQ(protocol->wsdlURL(), "https://h/EWS/Services.wsdl");
  EXPECT_EQ(protocol->messagesURL(), "https://h/EWS/messages.xsd");
  EXPECT_EQ(protocol->typesURL(), "https://h/EWS/types.xsd");
  const auto plain = TWProtocol::withServiceEndpoint("HTTPS://h/", nullptr, kKnown);
  EXPECT_EQ(plain->wsdlURL(), "http://h/EWS/Services.wsdl");
  EXPECT_EQ(plain->messagesURL(), "http://h/EWS/messages.xsd");
  EXPECT_EQ(plain->typesURL(), "http://h/EWS/types.xsd");
}

TEST(TWProtocol, KeepsItsEndpointAsGiven) {
  constexpr std::string_view kEndpoint = "https://Mail.EXAMPLE:8443/ews/exchange.ASMX?Mode=A&b=%20";
  EXPECT_EQ(TWProtocol::withServiceEndpoint(kEndpoint, nullptr, kKnown)->serviceEndpoint(),
            kEndpoint);
}

TEST(TWProtocol, AMalformedEndpointHasNoServerAndItsRequestsFail) {
  for (const char* endpoint : {"not a url", ""}) {
    const auto protocol = TWProtocol::withServiceEndpoint(endpoint, ann(), kKnown);
    EXPECT_FALSE(protocol->ssl());
    EXPECT_EQ(protocol->server(), std::nullopt);
    EXPECT_EQ(protocol->typesURL(), "http://(null)/EWS/types.xsd");
    TWError error;
    EXPECT_FALSE(TWResolveNames(protocol).call({"x"}, {}, false, {}, {}, &error));
    EXPECT_EQ(error.domain(), TWHTTPErrorDomain);
  }
}

TEST(TWProtocol, ClassesDifferInWhetherTheirConnectionsFollowRedirects) {
  const auto expect = [](bool allows, TWBaseProtocol& protocol) {
    EXPECT_EQ(protocol.connection()->allowsRedirects(), allows);
    EXPECT_EQ(protocol.downloader()->allowsRedirects(), allows);
  };
  expect(false, *TWBaseProtocol::withServiceEndpoint("http://h/", nullptr));
  expect(true, *TWProtocol::withServiceEndpoint("http://h/", nullptr, kKnown));
  expect(false, *TWAutodiscoverProtocol::withServiceEndpoint("http://h/", nullptr, kKnown));
}

TEST(TWProtocol, MakesEachConnectionOnceAndSharesItsCredentials) {
  const auto credentials = ann();
  const auto protocol = TWProtocol::withServiceEndpoint("http://h/e", credentials, kKnown);
  const auto connection = protocol->connection();
  EXPECT_EQ(protocol->connection(), connection);
  EXPECT_EQ(protocol->downloader(), protocol->downloader());
  EXPECT_NE(protocol->downloader(), connection);
  for (const auto& made : {connection, protocol->downloader()}) {
    EXPECT_EQ(made->credentials(), credentials);
    EXPECT_EQ(made->server(), "h");
    EXPECT_EQ(made->serviceEndpoint(), "http://h/e");
  }
}

TEST(TWProtocol, RenewingMakesAFreshConnection) {
  const auto protocol = TWProtocol::withServiceEndpoint("http://renewed/", nullptr, kKnown);
  const auto connection = protocol->connection();
  const auto downloader = protocol->downloader();
  EXPECT_NE(protocol->renewConnection(), connection);
  // A second connection is made when it is asked for.
  for (const auto& open : TWConnection::openConnections())
    EXPECT_TRUE(open == protocol->connection() || open->serviceEndpoint() != "http://renewed/");
  EXPECT_NE(protocol->downloader(), downloader);
  for (const auto& closed : {connection, downloader})
    EXPECT_TRUE(
        closed->get("http://127.0.0.1:9/").error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled));
}

TEST(TWProtocol, AClosedProtocolHasNoConnections) {
  const auto protocol = TWProtocol::withServiceEndpoint("http://h/", ann(), kKnown);
  (void)protocol->connection();
  protocol->close();
  protocol->close();
  protocol->releaseConnection();
  EXPECT_TRUE(protocol->isClosed());
  EXPECT_EQ(protocol->connection(), nullptr);
  EXPECT_EQ(protocol->downloader(), nullptr);
  EXPECT_EQ(protocol->renewConnection(), nullptr);
  EXPECT_TRUE(protocol->isCertificateValid());
}

TEST(TWProtocol, AServiceOnAClosedProtocolEndsWithAnError) {
  const auto protocol = TWProtocol::withServiceEndpoint("http://h/", ann(), kKnown);
  protocol->close();
  TWError error;
  EXPECT_FALSE(TWResolveNames(protocol).call({"x"}, {}, false, {}, {}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
}

TEST(TWProtocol, TheInsecureFlagReachesOnlyConnectionsThatExist) {
  const auto protocol = TWProtocol::withServiceEndpoint("https://h/", nullptr, kKnown);
  protocol->setAllowsInsecureCertificate(true);
  EXPECT_TRUE(protocol->allowsInsecureCertificate());
  EXPECT_FALSE(protocol->connection()->allowInsecureCertificate());
  protocol->setAllowsInsecureCertificate(true);
  EXPECT_TRUE(protocol->connection()->allowInsecureCertificate());
  EXPECT_FALSE(protocol->downloader()->allowInsecureCertificate());
  EXPECT_FALSE(protocol->renewConnection()->allowInsecureCertificate());
}

TEST(TWProtocol, TheInsecureFlagReachesBothConnectionsBothWays) {
  const auto protocol = TWProtocol::withServiceEndpoint("https://h/", nullptr, kKnown);
  const auto connection = protocol->connection();
  const auto downloader = protocol->downloader();
  for (const bool allows : {true, false}) {
    protocol->setAllowsInsecureCertificate(allows);
    EXPECT_EQ(protocol->allowsInsecureCertificate(), allows);
    EXPECT_EQ(connection->allowInsecureCertificate(), allows);
    EXPECT_EQ(downloader->allowInsecureCertificate(), allows);
  }
}

TEST(TWProtocol, OneBadCertificateCountsForAsLongAsItsConnectionIsHeld) {
  ScriptedServer server({}, {test::TestCertificates::shared().selfSigned()});
  const auto protocol = TWProtocol::withServiceEndpoint(server.url("/"), nullptr, kKnown);
  EXPECT_TRUE(protocol->connection()->get(server.url("/")).error);
  EXPECT_FALSE(protocol->isCertificateValid());
  protocol->releaseConnection();
  EXPECT_TRUE(protocol->isCertificateValid());
  EXPECT_TRUE(protocol->downloader()->get(server.url("/")).error);
  EXPECT_FALSE(protocol->isCertificateValid());
  protocol->close();
  EXPECT_TRUE(protocol->isCertificateValid());
}

TEST(TWProtocol, ANewTokenGoesOutWithTheNextRequest) {
  ScriptedServer server;
  const auto protocol = TWProtocol::withServiceEndpoint(
      server.url("/"), TWCredentials::credentialsWithUsernameAccessToken("ann", "first"), kKnown);
  const auto connection = protocol->connection();
  (void)connection->get(server.url("/"));
  protocol->updateAccessToken("second");
  (void)connection->get(server.url("/"));
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_EQ(server.requests()[0].header("Authorization"), "Bearer first");
  EXPECT_EQ(server.requests()[1].header("Authorization"), "Bearer second");
}

TEST(TWProtocol, WithoutCredentialsANewTokenIsForNobody) {
  ScriptedServer server;
  const auto protocol = TWProtocol::withServiceEndpoint(server.url("/"), nullptr, kKnown);
  protocol->updateAccessToken("token");
  (void)protocol->connection()->get(server.url("/"));
  EXPECT_FALSE(server.requests().at(0).header("Authorization"));
}

TEST(TWProtocol, DestroyingItReleasesItsConnections) {
  ScriptedServer server;
  auto protocol = TWProtocol::withServiceEndpoint(server.url("/"), nullptr, kKnown);
  (void)protocol->connection()->get(server.url("/"));
  EXPECT_EQ(server.connectionCount(), 1);
  protocol.reset();
  EXPECT_TRUE(server.waitForNoConnections());
}

TEST(TWProtocol, CarriesTwoRequestsAtATime) {
  test::Gate gate;
  ScriptedServer server([&gate](const ScriptedRequest&) {
    EXPECT_TRUE(gate.wait());
    return ScriptedAnswer();
  });
  const auto protocol = TWProtocol::withServiceEndpoint(server.url("/"), nullptr, kKnown);
  std::vector<std::future<TWResponse>> answers;
  for (const auto& connection :
       {protocol->connection(), protocol->downloader(), protocol->connection()})
    answers.push_back(std::async(
        std::launch::async, [&server, connection] { return connection->get(server.url("/")); }));
  EXPECT_TRUE(server.waitForRequests(2));
  gate.open();
  for (auto& answer : answers) EXPECT_TRUE(answer.get().response);
  EXPECT_EQ(server.mostAtOnce(), 2U);
}

// The cache. Every test uses an endpoint of its own, since cached protocols live as long as the
// process.

TEST(TWProtocolCache, SharesTheProtocolOfATripleWhateverTheVersion) {
  const auto first = TWProtocol::protocolForServiceEndpoint("http://share.example/", ann(), kKnown);
  const auto second = TWProtocol::protocolForServiceEndpoint("http://share.example/", ann(),
                                                             TWVersion(TWBuild(8, 0)));
  EXPECT_EQ(first, second);
  EXPECT_EQ(second->version(), kKnown);
}

TEST(TWProtocolCache, TellsEndpointsUsersAndPasswordsApart) {
  const auto first = TWProtocol::protocolForServiceEndpoint("http://apart.example/", ann(), kKnown);
  EXPECT_NE(first, TWProtocol::protocolForServiceEndpoint("http://apart.example", ann(), kKnown));
  EXPECT_NE(first, TWProtocol::protocolForServiceEndpoint("http://APART.example/", ann(), kKnown));
  EXPECT_NE(first,
            TWProtocol::protocolForServiceEndpoint("http://apart.example/", ann("other"), kKnown));
  EXPECT_NE(first,
            TWProtocol::protocolForServiceEndpoint("http://apart.example/", nullptr, kKnown));
}

TEST(TWProtocolCache, TriplesThatPrintAlikeShareAProtocol) {
  const auto credentials = [](const char* user, const char* password) {
    return TWCredentials::credentialsWithUsernamePassword(user, password);
  };
  EXPECT_EQ(TWProtocol::protocolForServiceEndpoint("http://alike.example/", credentials("b_c", "d"),
                                                   kKnown),
            TWProtocol::protocolForServiceEndpoint("http://alike.example/", credentials("b", "c_d"),
                                                   kKnown));
}

TEST(TWProtocolCache, ATokenCountsLikeAPassword) {
  EXPECT_EQ(TWProtocol::protocolForServiceEndpoint(
                "http://token.example/", TWCredentials::credentialsWithUsernamePassword("ann", "x"),
                kKnown),
            TWProtocol::protocolForServiceEndpoint(
                "http://token.example/",
                TWCredentials::credentialsWithUsernameAccessToken("ann", "x"), kKnown));
}

TEST(TWProtocolCache, IsKeptForEachClass) {
  const std::shared_ptr<TWProtocol> plain =
      TWProtocol::protocolForServiceEndpoint("http://class.example/", ann(), kKnown);
  const auto discovering =
      TWAutodiscoverProtocol::protocolForServiceEndpoint("http://class.example/", ann(), kKnown);
  EXPECT_NE(plain, discovering);
  EXPECT_FALSE(discovering->allowsRedirects());
  EXPECT_EQ(discovering, TWAutodiscoverProtocol::protocolForServiceEndpoint("http://class.example/",
                                                                            ann(), kKnown));
}

TEST(TWProtocolCache, KeepsAProtocolUnderItsFirstSecretAndAfterClosing) {
  const auto credentials = ann("old");
  const auto protocol =
      TWProtocol::protocolForServiceEndpoint("http://secret.example/", credentials, kKnown);
  credentials->updateAccessToken("new");
  EXPECT_EQ(protocol,
            TWProtocol::protocolForServiceEndpoint("http://secret.example/", ann("old"), kKnown));
  EXPECT_NE(protocol,
            TWProtocol::protocolForServiceEndpoint("http://secret.example/", ann("new"), kKnown));
  protocol->close();
  EXPECT_EQ(protocol,
            TWProtocol::protocolForServiceEndpoint("http://secret.example/", ann("old"), kKnown));
  EXPECT_EQ(protocol->connection(), nullptr);
}

TEST(TWProtocolCache, TriplesWhoseJoinedTextsAreTheSameShareAProtocol) {
  const auto shared = [](std::string_view name, std::string_view password) {
    return TWProtocol::protocolForServiceEndpoint(
        "http://joined.example/", TWCredentials::credentialsWithUsernamePassword(name, password),
        kKnown);
  };
  EXPECT_EQ(shared("ann", "b_c"), shared("ann_b", "c"));
  EXPECT_NE(shared("ann", "b_c"), shared("ann", "c"));
}

TEST(TWProtocolCache, TheOtherFactoryMakesANewProtocolEachTime) {
  const auto own = TWProtocol::withServiceEndpoint("http://own.example/", ann(), kKnown);
  EXPECT_NE(own, TWProtocol::withServiceEndpoint("http://own.example/", ann(), kKnown));
  EXPECT_NE(own, TWProtocol::protocolForServiceEndpoint("http://own.example/", ann(), kKnown));
}

TEST(TWProtocolCache, ProbesWhileOtherLookUpsWait) {
  test::Gate gate;
  ScriptedServer server([&gate](const ScriptedRequest&) {
    EXPECT_TRUE(gate.wait());
    return ScriptedAnswer::xml("", 404);
  });
  TWConnectionOptions options;
  options.connectTo = {"probing.example:80:127.0.0.1:" + std::to_string(server.port())};
  auto probing = std::async(std::launch::async, [&] {
    return TWProtocol::protocolForServiceEndpoint("http://probing.example/", nullptr, std::nullopt,
                                                  options);
  });
  ASSERT_TRUE(server.waitForRequests(1));
  test::Gate asks;
  auto waiting = std::async(std::launch::async, [&asks] {
    asks.open();
    return TWProtocol::protocolForServiceEndpoint("http://waiting.example/", nullptr, kKnown);
  });
  ASSERT_TRUE(asks.wait());
  EXPECT_EQ(waiting.wait_for(test::kAWhile), std::future_status::timeout);
  gate.open();
  EXPECT_NE(probing.get(), waiting.get());
}

/// At each line looks up a protocol of its own, on another thread at every second one.
class LookingUp : public test::RecordingLogger {
 public:
  void release(const std::string& message) override {
    test::RecordingLogger::release(message);
    const auto endpoint = "http://line" + std::to_string(lines().size()) + ".example/";
    found.push_back(
        std::async(lines().size() % 2 == 0 ? std::launch::async : std::launch::deferred, [&] {
          return TWProtocol::protocolForServiceEndpoint(endpoint, ann(), kKnown);
        }).get());
  }

  std::vector<std::shared_ptr<TWProtocol>> found;
};

TEST(TWProtocolCache, ADelegateMayLookUpProtocolsWhenItIsToldOfAProbe) {
  ScriptedServer server;
  TWConnectionOptions options;
  options.connectTo = {"told.example:80:127.0.0.1:" + std::to_string(server.port())};
  const auto delegate = std::make_shared<LookingUp>();
  TWLogger::logger().setDelegate(delegate);
  auto probing = std::async(std::launch::async, [&] {
    return TWProtocol::protocolForServiceEndpoint("http://told.example/", ann(), std::nullopt,
                                                  options);
  });
  EXPECT_EQ(probing.wait_for(test::kPatience), std::future_status::ready);
  const auto told = probing.get();
  TWLogger::logger().setDelegate(nullptr);
  EXPECT_THAT(delegate->lines(),
              testing::ElementsAre(HasSubstr("Request took"), HasSubstr("Request took"),
                                   HasSubstr("Get elements failed")));
  ASSERT_EQ(delegate->found.size(), 3U);
  EXPECT_NE(delegate->found[0], delegate->found[1]);
  for (const auto& found : delegate->found) EXPECT_NE(found, told);
}

TEST(TWProtocolCache, GivesAllThreadsOneProtocolForATriple) {
  std::vector<std::future<std::shared_ptr<TWProtocol>>> found;
  for (int i = 0; i < 16; ++i)
    found.push_back(std::async(std::launch::async, [] {
      return TWProtocol::protocolForServiceEndpoint("http://threads.example/", ann(), kKnown);
    }));
  const auto first = found.front().get();
  for (std::size_t i = 1; i < found.size(); ++i) EXPECT_EQ(found[i].get(), first);
}

TEST(TWAutodiscoverProtocol, ProbesToo) {
  ScriptedServer server;
  TWConnectionOptions options;
  options.connectTo = {"discover.example:80:127.0.0.1:" + std::to_string(server.port())};
  (void)TWAutodiscoverProtocol::withServiceEndpoint(
      "http://discover.example/Autodiscover/Autodiscover.xml", ann(), std::nullopt, options);
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_EQ(server.requests()[0].target, "/EWS/types.xsd");
  EXPECT_EQ(server.requests()[1].target, "/Autodiscover/Autodiscover.xml");
}

}  // namespace
}  // namespace tarnwell
