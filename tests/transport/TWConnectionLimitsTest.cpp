// Time limits, and cancelling in every phase of a request.

#include <gmock/gmock.h>

#include "tests/transport/ConnectionFixture.h"
#include "tests/transport/ResolverGate.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr std::chrono::milliseconds kShort = 150ms;

/// Accepts, and says nothing at all.
RawServer::Handler mute(Gate& accepted) {
  return [&accepted](RawConnection& peer) {
    accepted.open();
    peer.waitForClose();
  };
}

TEST(TWConnectionLimits, ServerThatNeverAnswersIsCutOff) {
  Gate accepted;
  RawServer server(mute(accepted));
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(withPassword(), false, withLimit(kShort));
  const auto begin = std::chrono::steady_clock::now();
  const TWResponse record = connection->get(server.url("/"));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, kShort);
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_FALSE(record.response);
  // The text says 30 whatever the limit is; the seconds are the real ones.
  EXPECT_THAT(
      log.lines(),
      ElementsAre(MatchesRegex("\\[ann@example.com\\]\\[Connection\\] Cancelled Request after "
                               "30 seconds: [0-9]+\\.[0-9][0-9]s"),
                  HasSubstr("Request took: ")));
  for (const std::string& line : log.lines()) {
    const double seconds = std::stod(line.substr(line.rfind(' ')));
    EXPECT_GE(seconds, 0.15) << line;
    EXPECT_LE(seconds, took.count() + 0.005) << line;  // two decimals
  }
}

TEST(TWConnectionLimits, LoginBeforeALimitIsToldBeforeIt) {
  Gate never;
  ScriptedServer server([&](const ScriptedRequest& request) {
    if (request.header("Authorization")) (void)never.wait(kShort * 4);
    return ScriptedAnswer::challenge({"Basic realm=\"x\""});
  });
  const RecordingLog log;
  const auto connection =
      TWConnection::withCredentials(withPassword("ann"), false, withLimit(kShort));
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_THAT(log.lines(),
              ElementsAre("[ann] Using auth type: 1", HasSubstr("Cancelled Request after 30"),
                          HasSubstr("Request took: ")));
}

TEST(TWConnectionLimits, ConnectionIsGoodAgainAfterALimit) {
  Gate release;
  ScriptedServer server([&](const ScriptedRequest& request) {
    if (request.target == "/slow") (void)release.wait();
    return ScriptedAnswer();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kShort));
  EXPECT_THAT(connection->get(server.url("/slow")).error, IsHTTPError(TWHTTPErrorTimedOut));
  release.open();
  // On a new socket: what the old one still has to say belongs to nobody.
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  EXPECT_EQ(server.connectionCount(), 2);
}

TEST(TWConnectionLimits, SlowButSteadyAnswersAreCutOffToo) {
  // A byte whenever the last one has been sent, without end.
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n");
    while (peer.write("x")) std::this_thread::yield();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kShort));
  const TWResponse record = connection->get(server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_EQ(status(record), 200) << "the status stays readable";
  EXPECT_THAT(record.data, IsEmpty());
}

TEST(TWConnectionLimits, SlowHeadsAreCutOffToo) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\nX-Endless: ");
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kShort));
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorTimedOut));
}

TEST(TWConnectionLimits, ResourceLimitEndsTheExchangeWithoutACancelLine) {
  Gate accepted;
  RawServer server(mute(accepted));
  const RecordingLog log;
  TWConnectionOptions options;
  options.resourceLimit = kShort;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took: ")));
}

TEST(TWConnectionLimits, RequestInTimeHasNoCancelLineNorALateOne) {
  ScriptedServer server;
  const RecordingLog log;
  auto connection = TWConnection::withCredentials(nullptr, false, withLimit(1s));
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  const std::weak_ptr<TWConnection> weak = connection;
  connection.reset();
  EXPECT_TRUE(weak.expired()) << "no timer keeps it alive";
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took: ")));
}

TEST(TWConnectionLimits, TimeSpentWaitingForATurnDoesNotCount) {
  // Each request takes two thirds of the limit, so that both together take more than it. The server
  // keeps the time: its answers come when the first request is that old.
  constexpr auto kLimit = 900ms;
  ScriptedServer server([&](const ScriptedRequest&) {
    Gate never;
    (void)never.wait(kLimit * 2 / 3);
    return ScriptedAnswer();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kLimit));
  Running first([&] { return connection->get(server.url("/1")); });
  ASSERT_TRUE(server.waitForRequests(1));
  EXPECT_EQ(status(connection->get(server.url("/2"))), 200);
  EXPECT_EQ(status(first.join()), 200);
}

TEST(TWConnectionLimits, LongestLimitsAreNoLimits) {
  ScriptedServer server;
  TWConnectionOptions options;
  options.requestLimit = std::chrono::milliseconds::max();
  options.resourceLimit = std::chrono::milliseconds::max();
  options.streamIdleLimit = std::chrono::milliseconds::max();
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  EXPECT_EQ(text(connection->post(server.url("/"), std::nullopt, "<q/>", true).data), "<events/>");
}

TEST(TWConnectionLimits, CancelEndsAWaitForTheAnswer) {
  Gate accepted;
  RawServer server(mute(accepted));
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return connection->get(server.url("/")); });
  ASSERT_TRUE(accepted.wait());
  expectCancelEndsAtOnce(*connection, running);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took: ")));
}

TEST(TWConnectionLimits, CancelEndsAnAnswerInTheMiddle) {
  Gate written;
  RawServer server([&](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<a");
    written.open();
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return connection->get(server.url("/")); });
  ASSERT_TRUE(written.wait());
  expectCancelEndsAtOnce(*connection, running);
}

TEST(TWConnectionLimits, CancelEndsALookUp) {
  ResolverGate resolver;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return connection->get("http://stuck.example/"); });
  ASSERT_TRUE(resolver.waitForLookUp());
  expectCancelEndsAtOnce(*connection, running);
}

TEST(TWConnectionLimits, LimitEndsALookUp) {
  ResolverGate resolver;
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kShort));
  EXPECT_THAT(connection->get("http://stuck.example/").error, IsHTTPError(TWHTTPErrorTimedOut));
}

TEST(TWConnectionLimits, LimitEndsAConnectThatNobodyAccepts) {
  RawServer::Options options;
  options.accepts = false;
  RawServer server(nullptr, options);
  server.fillQueue();
  const auto connection = TWConnection::withCredentials(nullptr, false, withLimit(kShort));
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorTimedOut));
}

TEST(TWConnectionLimits, CancelEndsAConnectThatNobodyAccepts) {
  RawServer::Options options;
  options.accepts = false;
  RawServer server(nullptr, options);
  server.fillQueue();
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return connection->get(server.url("/")); });
  // Nothing tells from outside when the request is in flight, so cancel until it is over.
  const auto begin = std::chrono::steady_clock::now();
  while (!running.isReady()) {
    connection->cancel();
    std::this_thread::yield();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce);
  EXPECT_THAT(running.join().error, IsHTTPError(TWHTTPErrorCancelled));
}

TEST(TWConnectionLimits, CancelEndsATLSHandshake) {
  Gate hello;
  RawServer server([&](RawConnection& peer) {
    (void)peer.read();  // the client's hello, which nobody answers
    hello.open();
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running(
      [&] { return connection->get("https://127.0.0.1:" + std::to_string(server.port()) + "/"); });
  ASSERT_TRUE(hello.wait());
  expectCancelEndsAtOnce(*connection, running);
}

TEST(TWConnectionLimits, CancelWithNothingInFlightDoesNotHurtTheNext) {
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  connection->cancel();
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
  connection->cancel();
  connection->cancel();
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
}

TEST(TWConnectionLimits, CancelDoesNotTouchARequestThatWaitsForItsTurn) {
  Gate accepted;
  RawServer silent(mute(accepted));
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running first([&] { return connection->get(silent.url("/")); });
  ASSERT_TRUE(accepted.wait());
  Running second([&] { return connection->get(server.url("/")); });
  connection->cancel();
  EXPECT_THAT(first.join().error, IsHTTPError(TWHTTPErrorCancelled));
  EXPECT_EQ(status(second.join()), 200);
}

TEST(TWConnectionLimits, CancelCountsFromTheMomentThatItIsTheRequestsTurn) {
  for (const bool stream : {false, true}) {
    ScriptedServer server;
    std::shared_ptr<TWConnection> connection;
    bool cancels = true;
    TWConnectionOptions options;
    options.onRequest = [&](auto&&...) {
      if (cancels) connection->cancel();
    };
    connection = TWConnection::withCredentials(nullptr, false, options);
    const auto post = [&] {
      return connection->post(server.url("/"), std::nullopt, "<q/>", stream);
    };
    EXPECT_THAT(post().error, IsHTTPError(TWHTTPErrorCancelled)) << stream;
    cancels = false;
    EXPECT_THAT(post().error, IsNoError()) << stream;
    EXPECT_EQ(server.requestCount(), 1U) << stream;
  }
}

TEST(TWConnectionLimits, CancelFromManyThreadsIsSafe) {
  ScriptedServer server;
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(nullptr, false);
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!done) {
        connection->cancel();
        std::this_thread::yield();
      }
    });
  }
  for (int i = 0; i < 100; ++i) {
    const TWError error = connection->get(server.url("/")).error;
    EXPECT_TRUE(!error || error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled)) << error;
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
}

}  // namespace
}  // namespace tarnwell::test
