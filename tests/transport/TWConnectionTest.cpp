#include <algorithm>
#include <csignal>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/transport/TWAuthType.h"
#include "tarnwell/transport/TWConnection.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

bool isListed(const TWConnection* wanted) {
  const auto open = TWConnection::openConnections();
  return std::any_of(open.begin(), open.end(), [&](const auto& c) { return c.get() == wanted; });
}

TEST(TWConnection, NewConnectionHasSentNothingAndKnowsNothing) {
  ScriptedServer server;
  const auto credentials = withPassword();
  const auto connection = TWConnection::withCredentials(credentials, true);
  EXPECT_EQ(connection->credentials(), credentials);
  EXPECT_TRUE(connection->allowsRedirects());
  EXPECT_FALSE(connection->ssl());
  EXPECT_EQ(connection->server(), "");
  EXPECT_EQ(connection->serviceEndpoint(), "");
  EXPECT_FALSE(connection->allowInsecureCertificate());
  EXPECT_FALSE(connection->hasInsecureCertificate());
  EXPECT_EQ(connection->redirected(), std::nullopt);
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::none);
  EXPECT_EQ(connection->stream(), nullptr);
  EXPECT_EQ(server.connectionCount(), 0);
  EXPECT_FALSE(TWConnection::withCredentials(credentials, false)->allowsRedirects());
}

TEST(TWConnection, LimitsAreThirtySecondsUnlessTold) {
  const TWConnectionOptions options;
  EXPECT_EQ(options.requestLimit, 30s);
  EXPECT_EQ(options.resourceLimit, 30s);
  EXPECT_EQ(options.streamIdleLimit, 2min);
  EXPECT_EQ(options.bodyLimit, 536870912U) << "512 MiB";
  EXPECT_EQ(options.streamTextLimit, 67108864U) << "64 MiB";
}

TEST(TWConnection, KeepsWhatTheProtocolNotes) {
  const auto connection = TWConnection::withCredentials(nullptr, false);
  connection->setSsl(true);
  connection->setServer("mail.example");
  connection->setServiceEndpoint("https://mail.example/EWS/Exchange.asmx");
  EXPECT_TRUE(connection->ssl());
  EXPECT_EQ(connection->server(), "mail.example");
  EXPECT_EQ(connection->serviceEndpoint(), "https://mail.example/EWS/Exchange.asmx");
}

TEST(TWConnection, IsListedWhileItLivesAndIsOpen) {
  auto connection = TWConnection::withCredentials(nullptr, false);
  const TWConnection* const address = connection.get();
  EXPECT_TRUE(isListed(address));
  const std::weak_ptr<TWConnection> weak = connection;
  connection.reset();
  EXPECT_TRUE(weak.expired()) << "the list must not keep it alive";
  EXPECT_FALSE(isListed(address));

  connection = TWConnection::withCredentials(nullptr, false);
  connection->close();
  EXPECT_FALSE(isListed(connection.get()));
}

TEST(TWConnection, NotingAConnectionAgainListsItOnce) {
  const auto connection = TWConnection::withCredentials(nullptr, false);
  TWConnection::recordConnectionOpened(connection);
  TWConnection::recordConnectionOpened(nullptr);
  const auto open = TWConnection::openConnections();
  EXPECT_EQ(std::count(open.begin(), open.end(), connection), 1);
  EXPECT_EQ(std::count(open.begin(), open.end(), nullptr), 0);
}

TEST(TWConnection, ListMayBeUsedFromSeveralThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 50; ++n) {
        const auto connection = TWConnection::withCredentials(nullptr, false);
        EXPECT_TRUE(isListed(connection.get()));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(TWConnection, SecondRequestWaitsForTheFirst) {
  Gate release;
  Gate secondArrived;
  ScriptedServer server([&](const ScriptedRequest& request) {
    if (request.target == "/first") (void)release.wait();
    if (request.target == "/second") secondArrived.open();
    return ScriptedAnswer();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running first([&] { return connection->get(server.url("/first")); });
  ASSERT_TRUE(server.waitForRequests(1));
  Running second([&] { return connection->get(server.url("/second")); });
  EXPECT_FALSE(secondArrived.wait(kAWhile));
  release.open();
  EXPECT_EQ(status(first.join()), 200);
  EXPECT_EQ(status(second.join()), 200);
  EXPECT_EQ(server.mostAtOnce(), 1U);
}

TEST(TWConnection, TwoConnectionsWorkAtTheSameTime) {
  Gate both;
  std::atomic<int> arrived{0};
  ScriptedServer server([&](const ScriptedRequest&) {
    if (++arrived == 2) both.open();
    // Answered only once the other one is here, too.
    EXPECT_TRUE(both.wait());
    return ScriptedAnswer();
  });
  const auto one = TWConnection::withCredentials(nullptr, false);
  const auto other = TWConnection::withCredentials(nullptr, false);
  Running first([&] { return one->get(server.url("/")); });
  EXPECT_EQ(status(other->get(server.url("/"))), 200);
  EXPECT_EQ(status(first.join()), 200);
  EXPECT_EQ(server.mostAtOnce(), 2U);
}

TEST(TWConnection, LogsHowLongEveryRequestTook) {
  ScriptedServer server;
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(withPassword(), false);
  (void)connection->get(server.url("/"));
  (void)connection->get("http://127.0.0.1:1/refused");
  (void)connection->get("no url");
  EXPECT_THAT(log.lines(),
              ElementsAre(MatchesRegex("\\[ann@example.com\\]\\[Connection\\] Request took: "
                                       "[0-9]+\\.[0-9][0-9]s"),
                          HasSubstr("Request took"), HasSubstr("Request took")));
  EXPECT_THAT(log.debugLines(), ElementsAre());
}

TEST(TWConnection, WithoutCredentialsTheLogSaysSo) {
  ScriptedServer server;
  const RecordingLog log;
  EXPECT_EQ(status(TWConnection::withCredentials(nullptr, false)->get(server.url("/"))), 200);
  EXPECT_EQ(server.requests().at(0).header("Authorization"), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("[(null)][Connection] Request took: ")));
}

/// Holds whoever writes the first line until told to let go.
class HoldingLogger final : public TWLoggerDelegate {
 public:
  void debug(const std::string&) override {}
  void release(const std::string& message) override {
    if (message.find("Request took") == std::string::npos || held.isOpen()) return;
    held.open();
    (void)letGo.wait();
  }
  Gate held;
  Gate letGo;
};

TEST(TWConnection, WhoeverWritesALineHoldsUpNobody) {
  ScriptedServer server;
  const auto logger = std::make_shared<HoldingLogger>();
  TWLogger::logger().setDelegate(logger);
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(20s));
  Running first([&] { return connection->get(server.url("/first")); });
  EXPECT_TRUE(logger->held.wait());
  Running second([&] { return connection->get(server.url("/second")); });
  EXPECT_EQ(status(second.join()), 200);
  logger->letGo.open();
  EXPECT_EQ(status(first.join()), 200);
  TWLogger::logger().setDelegate(nullptr);
}

/// Makes a request on a connection when it is told of another one.
class RequestingLogger final : public TWLoggerDelegate {
 public:
  void debug(const std::string&) override {}
  void release(const std::string& message) override {
    lines.push_back(message);
    if (std::exchange(hasAsked, true)) return;
    answered = status(connection.lock()->get(url));
  }
  std::weak_ptr<TWConnection> connection;
  std::string url;
  bool hasAsked = false;
  int answered = 0;
  std::vector<std::string> lines;
};

TEST(TWConnection, ADelegateMayMakeARequestOnTheConnectionThatLogs) {
  ScriptedServer server([](const ScriptedRequest& request) {
    return request.header("Authorization") ? ScriptedAnswer()
                                           : ScriptedAnswer::challenge({"Basic realm=\"x\""});
  });
  const auto logger = std::make_shared<RequestingLogger>();
  const auto connection = TWConnection::withCredentials(withPassword("u"), false);
  logger->connection = connection;
  logger->url = server.url("/asked");
  TWLogger::logger().setDelegate(logger);
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  TWLogger::logger().setDelegate(nullptr);
  EXPECT_EQ(logger->answered, 200);
  // The line about the scheme is the first; the other request's comes before the rest.
  EXPECT_THAT(logger->lines, ElementsAre("[u] Using auth type: 1", HasSubstr("Request took"),
                                         HasSubstr("Request took")));
}

TEST(TWConnection, CloseLetsARunningRequestEnd) {
  Gate release;
  ScriptedServer server([&](const ScriptedRequest&) {
    (void)release.wait();
    return ScriptedAnswer::xml("<done/>");
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return connection->get(server.url("/")); });
  ASSERT_TRUE(server.waitForRequests(1));
  connection->close();
  release.open();
  const TWResponse record = running.join();
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<done/>");
  EXPECT_TRUE(server.waitForNoConnections()) << "the running thread lets go of the socket";
}

TEST(TWConnection, CloseOfAnIdleConnectionClosesItsSocket) {
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  (void)connection->get(server.url("/"));
  connection->close();
  EXPECT_TRUE(server.waitForNoConnections());
}

TEST(TWConnection, RequestsAfterCloseGetAnError) {
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  connection->close();
  connection->close();
  for (const bool stream : {false, true}) {
    const TWResponse record =
        connection->fetch(server.url("/"), "GET", std::nullopt, std::nullopt, stream);
    EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
    EXPECT_EQ(record.url, server.url("/"));
    EXPECT_FALSE(record.response);
  }
  connection->cancel();
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST(TWConnection, CookiesStayWithTheConnectionThatGotThem) {
  ScriptedServer server([](const ScriptedRequest&) {
    ScriptedAnswer answer;
    answer.headers = {{"Set-Cookie", "backend=7; Path=/"}};
    return answer;
  });
  const auto one = TWConnection::withCredentials(nullptr, false);
  const auto other = TWConnection::withCredentials(nullptr, false);
  (void)one->get(server.url("/"));
  (void)one->get(server.url("/"));
  (void)other->get(server.url("/"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(requests[0].header("Cookie"), std::nullopt);
  EXPECT_EQ(requests[1].header("Cookie"), "backend=7");
  EXPECT_EQ(requests[2].header("Cookie"), std::nullopt);
}

TEST(TWConnection, ChangesOfTheSchemeAreLoggedOnce) {
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(withPassword("u"), false);
  connection->setLastUsedAuthType(TWAuthType::none);
  connection->setLastUsedAuthType(TWAuthType::basic);
  connection->setLastUsedAuthType(TWAuthType::basic);
  connection->setLastUsedAuthType(TWAuthType::ntlm);
  connection->setLastUsedAuthType(TWAuthType::digest);
  EXPECT_THAT(log.lines(), ElementsAre("[u] Using auth type: 1", "[u] Using auth type: 2",
                                       "[u] Using auth type: 3"));
  EXPECT_THAT(log.debugLines(), ElementsAre());
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::digest);
}

TEST(TWConnection, FieldsMayBeReadDuringARequest) {
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().selfSigned();
  for (const ScriptedServer::Options& options : {ScriptedServer::Options(), tls}) {
    ScriptedServer server(
        [](const ScriptedRequest& request) {
          if (!request.header("Authorization"))
            return ScriptedAnswer::challenge({"Basic realm=\"x\""});
          ScriptedAnswer answer;
          answer.close = true;  // so that each request has a certificate to judge
          return answer;
        },
        options);
    const RecordingLog log;
    const auto connection = TWConnection::withCredentials(withPassword(), false);
    connection->setAllowInsecureCertificate(true);
    Running running([&] {
      TWResponse record;
      for (int i = 0; i < 20; ++i) record = connection->get(server.url("/"));
      return record;
    });
    while (!running.isReady()) {
      (void)connection->hasInsecureCertificate();
      (void)connection->lastUsedAuthType();
      (void)connection->redirected();
      (void)connection->stream();
      connection->setServer("mail.example");
    }
    EXPECT_EQ(status(running.join()), 200);
    EXPECT_EQ(connection->hasInsecureCertificate(), options.certificate.has_value());
  }
}

TEST(TWConnection, PeerThatClosesEarlyRaisesNoSignal) {
  static volatile std::sig_atomic_t raised = 0;
  const auto before = std::signal(SIGPIPE, [](int) { raised = 1; });
  RawServer::Options tls;
  tls.certificate = TestCertificates::shared().good();
  const RawServer::Handler slam = [](RawConnection& peer) {
    (void)peer.read(16);
    peer.reset();
  };
  RawServer plain(slam);
  RawServer secure(slam, tls);
  const std::string large(std::size_t{8} * 1024 * 1024, 'x');
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  for (const RawServer* server : {&plain, &secure}) {
    const auto connection = TWConnection::withCredentials(nullptr, false, options);
    const TWResponse record = connection->post(server->url("/"), std::nullopt, large);
    EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
    EXPECT_FALSE(record.response);
  }
  EXPECT_EQ(raised, 0);
  std::signal(SIGPIPE, before);
}

TEST(TWConnection, PeerThatLeftBetweenRequestsRaisesNoSignal) {
  // The farewell that TLS sends when the kept connection is dropped finds nobody.
  static volatile std::sig_atomic_t raised = 0;
  const auto before = std::signal(SIGPIPE, [](int) { raised = 1; });
  RawServer::Options tls;
  tls.certificate = TestCertificates::shared().good();
  RawServer server(
      [](RawConnection& peer) {
        (void)peer.readRequest();
        peer.write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        peer.reset();
      },
      tls);
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_TRUE(server.waitForNoConnections());
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  connection->close();
  EXPECT_EQ(raised, 0);
  std::signal(SIGPIPE, before);
}

TEST(TWConnection, SignalThatWasPendingBeforeStaysPending) {
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &pipe, nullptr), 0);
  ASSERT_EQ(raise(SIGPIPE), 0);
  ScriptedServer server;
  (void)TWConnection::withCredentials(nullptr, false)->get(server.url("/"));
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 1);
  int taken = 0;
  sigwait(&pipe, &taken);
  ASSERT_EQ(pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr), 0);
}

TEST(TWConnection, SecretsReachNoLogLineDescriptionOrError) {
  const RecordingLog log;
  std::string seen;
  const auto note = [&](const TWResponse& record) {
    seen += record.description() + record.error.description();
    seen += record.url + record.redirectUrl;
  };
  Gate hurry;
  ScriptedServer server([&](const ScriptedRequest& request) {
    if (request.target == "/redirect") return ScriptedAnswer::redirect(302, "/elsewhere");
    if (request.target == "/slow" && request.header("Authorization")) (void)hurry.wait();
    return ScriptedAnswer::challenge({"Basic realm=\"x\""});
  });
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().selfSigned();
  ScriptedServer secure(tls);
  for (const auto& credentials : {withPassword(), withToken()}) {
    const auto connection = TWConnection::withCredentials(credentials, false);
    note(connection->get(server.url("/")));
    note(connection->get("http://127.0.0.1:1/"));
    note(connection->get("not a url"));
    note(connection->post(server.url("/"), std::nullopt, "<q/>", true));
    note(connection->get(secure.url("/")));
    note(connection->get(server.url("/redirect")));
    note(TWConnection::withCredentials(credentials, false, withLimit(100ms))
             ->get(server.url("/slow")));
    seen += credentials->description();
  }
  const auto broken = withToken(std::string(kSecret) + "\r\nX: 1");
  note(TWConnection::withCredentials(broken, false)->get(server.url("/")));
  note(TWConnection::withCredentials(nullptr, false)
           ->get("http://ann:" + std::string(kSecret) + "@127.0.0.1:1/"));
  for (const std::string& line : log.lines()) seen += line;
  // The URL that the caller gave is the caller's own business.
  const std::string given = "ann:" + std::string(kSecret) + "@";
  while (seen.find(given) != std::string::npos) seen.erase(seen.find(given), given.size());
  hurry.open();
  EXPECT_THAT(seen, HasSubstr("Request took"));
  EXPECT_THAT(seen, HasSubstr("Cancelled Request after"));
  EXPECT_THAT(seen, HasSubstr("Using auth type"));
  EXPECT_THAT(seen, Not(HasSubstr(std::string(kSecret))));
}

}  // namespace
}  // namespace tarnwell::test
