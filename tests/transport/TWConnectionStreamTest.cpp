#include <gmock/gmock.h>

#include "tarnwell/protocol/TWConnectionStream.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWStreamExchange.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr const char* kHead = "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n";

TWResponse streamFrom(TWConnection& connection, const std::string& url) {
  return connection.post(url, std::nullopt, "<q/>", true);
}

/// Writes a document, and its end only once the gate is open.
RawServer::Handler half(Gate& written, Gate& release) {
  return [&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(std::string(kHead) + "<events>");
    written.open();
    if (release.wait()) peer.write("</events>");
  };
}

TEST(TWConnectionStream, RecordHasTheURLTheBytesAndNoResponse) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const TWResponse record = streamFrom(*connection, server.url("/EWS"));
  EXPECT_EQ(record.url, server.url("/EWS"));
  EXPECT_FALSE(record.response);
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<events/>");
  EXPECT_TRUE(record.xmlDoc);
  EXPECT_EQ(record.description(), "[TWResponse] (null)");
  EXPECT_EQ(server.requests().at(0).body, "<q/>");
}

TEST(TWConnectionStream, CarriesTheSameHeadersAsAnyRequest) {
  ScriptedServer server;
  const auto connection = TWConnection::withCredentials(withToken("tok"), false);
  (void)connection->post(server.url("/"), std::nullopt, "<q/>");
  (void)streamFrom(*connection, server.url("/"));
  ASSERT_EQ(server.requestCount(), 2U);
  EXPECT_EQ(server.requests()[0].head, server.requests()[1].head);
  EXPECT_EQ(server.requests()[1].header("Authorization"), "Bearer tok");
}

TEST(TWConnectionStream, PasswordIsAskedForAsUsual) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({"Basic realm=\"x\""}));
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  const RecordingLog log;
  const auto connection = TWConnection::withCredentials(withPassword("ann", "pw"), false);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/")).data), "<events/>");
  EXPECT_EQ(server.requests().at(1).header("Authorization"), "Basic YW5uOnB3");
  // It has sockets of its own, which say nothing of the connection's.
  EXPECT_EQ(connection->lastUsedAuthType(), TWAuthType::none);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took: ")));
}

TEST(TWConnectionStream, IsNotCutByTheRequestLimit) {
  Gate written;
  Gate release;
  RawServer server(half(written, release));
  const RecordingLog log;
  constexpr auto kLimit = 50ms;
  TWConnectionOptions options = withLimit(kLimit);
  options.resourceLimit = kLimit;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const auto begin = std::chrono::steady_clock::now();
  Running running([&] { return streamFrom(*connection, server.url("/")); });
  ASSERT_TRUE(written.wait());
  // Past the limit by far, and still waiting.
  Gate never;
  (void)never.wait(kLimit * 4);
  EXPECT_FALSE(running.isReady());
  release.open();
  EXPECT_EQ(text(running.join().data), "<events></events>");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, kLimit * 4);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("[(null)][Connection] Request took: ")));
}

TEST(TWConnectionStream, EndsWhenTheServerFallsSilent) {
  RawServer server([&](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write(std::string(kHead) + "<events>");
    peer.waitForClose();
  });
  TWConnectionOptions options;
  options.streamIdleLimit = 100ms;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_EQ(text(record.data), "<events>") << "what was collected so far";
  EXPECT_FALSE(record.xmlDoc);
  EXPECT_THAT(record.error, IsNoError());
}

TEST(TWConnectionStream, CancelEndsItAtOnce) {
  Gate written;
  Gate release;
  RawServer server(half(written, release));
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return streamFrom(*connection, server.url("/")); });
  ASSERT_TRUE(written.wait());
  EXPECT_NE(connection->stream(), nullptr) << "kept while it lasts";
  const auto begin = std::chrono::steady_clock::now();
  connection->cancel();
  const TWResponse record = running.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce);
  EXPECT_FALSE(record.response);
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
  EXPECT_EQ(connection->stream(), nullptr) << "and dropped afterwards";
  release.open();
  // The next one is not touched.
  ScriptedServer other;
  EXPECT_THAT(streamFrom(*connection, other.url("/")).error, IsNoError());
}

TEST(TWConnectionStream, HoldsTheConnectionForItsWholeLife) {
  Gate written;
  Gate release;
  RawServer server(half(written, release));
  Gate arrived;
  ScriptedServer other([&](const ScriptedRequest&) {
    arrived.open();
    return ScriptedAnswer();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running streaming([&] { return streamFrom(*connection, server.url("/")); });
  ASSERT_TRUE(written.wait());
  Running ordinary([&] { return connection->get(other.url("/")); });
  EXPECT_FALSE(arrived.wait(kAWhile));
  EXPECT_FALSE(ordinary.isReady());
  release.open();
  EXPECT_EQ(text(streaming.join().data), "<events></events>");
  EXPECT_EQ(status(ordinary.join()), 200);
}

TEST(TWConnectionStream, FailureGivesARecordWithoutData) {
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const TWResponse record = streamFrom(*connection, "http://127.0.0.1:1/");
  EXPECT_EQ(record.url, "http://127.0.0.1:1/");
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_FALSE(record.response);
  EXPECT_THAT(record.data, IsEmpty());
}

TEST(TWConnectionStream, RequestThatCannotBeSentGivesItsErrorAndNoExchange) {
  int made = 0;
  TWConnectionOptions options;
  options.makeStream = [&](auto&&...) {
    ++made;
    return nullptr;
  };
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, "not a url");
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorMalformedURL));
  EXPECT_EQ(record.url, "not a url");
  EXPECT_THAT(connection->fetch("http://h/", "POST", TWHeaders{{"X", "a\r\nb"}}, {}, true).error,
              IsHTTPError(TWHTTPErrorBadRequest));
  EXPECT_EQ(made, 0);
}

TEST(TWConnectionStream, NoExchangeMadeMeansTheDefaultOne) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  TWConnectionOptions options;
  options.makeStream = [](auto&&...) { return nullptr; };
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/")).data), "<events/>");
}

TEST(TWConnectionStream, TakesOverWhetherInsecureCertificatesAreAllowed) {
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().selfSigned();
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml("<events/>"); },
                        tls);
  const auto connection = TWConnection::withCredentials(nullptr, false);
  EXPECT_THAT(streamFrom(*connection, server.url("/")).data, IsEmpty());
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_FALSE(connection->hasInsecureCertificate());
  connection->setAllowInsecureCertificate(true);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/")).data), "<events/>");
  EXPECT_FALSE(connection->hasInsecureCertificate());
}

/// Notes what it is given and done with.
class FakeExchange final : public TWStreamExchange {
 public:
  std::optional<TWData> await() override {
    awaited.open();
    return released.wait() ? result : std::nullopt;
  }
  void cancel() override {
    cancelled = true;
    released.open();
  }
  void arm() override { armed = true; }
  [[nodiscard]] bool wasCancelled() const override { return cancelled; }
  void setAllowInsecureCertificate(bool allow) override { allowed = allow; }

  Gate awaited;
  Gate released;
  std::atomic<bool> armed = false;
  std::atomic<bool> cancelled = false;
  bool allowed = false;
  std::optional<TWData> result;
};

TEST(TWConnectionStream, ExchangeMayBeReplaced) {
  auto exchange = std::make_shared<FakeExchange>();
  exchange->result = bytes("<fake/>");
  const auto credentials = withToken("tok");
  TWConnectionOptions options;
  options.caFile = "authorities.pem";
  TWHTTPRequest seen;
  options.makeStream = [&](const std::shared_ptr<TWCredentials>& given, TWHTTPRequest request,
                           const TWConnectionOptions& with) {
    EXPECT_EQ(given, credentials);
    EXPECT_EQ(with.caFile, "authorities.pem");
    seen = std::move(request);
    return exchange;
  };
  const auto connection = TWConnection::withCredentials(credentials, false, options);
  connection->setAllowInsecureCertificate(true);
  Running running([&] { return streamFrom(*connection, "https://mail.example/EWS"); });
  ASSERT_TRUE(exchange->awaited.wait());
  EXPECT_EQ(connection->stream(), exchange);
  EXPECT_TRUE(exchange->armed);
  connection->cancel();
  const TWResponse record = running.join();
  EXPECT_EQ(text(record.data), "<fake/>");
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
  EXPECT_EQ(connection->stream(), nullptr);
  EXPECT_TRUE(exchange->allowed);
  EXPECT_EQ(seen.url, "https://mail.example/EWS");
  EXPECT_EQ(seen.method, "POST");
  EXPECT_FALSE(seen.followsRedirects);
  ASSERT_TRUE(seen.body);
  EXPECT_EQ(text(*seen.body), "<q/>");
  EXPECT_THAT(seen.headers, ElementsAre(Pair("Content-Type", "text/xml; charset=utf-8"),
                                        Pair("Accept-Encoding", "compress, gzip"),
                                        Pair("Authorization", "Bearer tok")));
}

/// The default exchange, whose connection is cancelled just before or after it waits.
class CancelledAroundIt final : public TWStreamExchange {
 public:
  CancelledAroundIt(std::shared_ptr<TWStreamExchange> inner, std::function<void()> before,
                    std::function<void()> after)
      : inner_(std::move(inner)), before_(std::move(before)), after_(std::move(after)) {}
  std::optional<TWData> await() override {
    before_();
    auto fetched = inner_->await();
    after_();
    return fetched;
  }
  void cancel() override { inner_->cancel(); }
  void arm() override { inner_->arm(); }
  [[nodiscard]] bool wasCancelled() const override { return inner_->wasCancelled(); }
  void setAllowInsecureCertificate(bool allow) override {
    inner_->setAllowInsecureCertificate(allow);
  }

 private:
  std::shared_ptr<TWStreamExchange> inner_;
  std::function<void()> before_;
  std::function<void()> after_;
};

TEST(TWConnectionStream, CancelCountsFromTheMomentThatItIsInFlight) {
  RawServer server([](RawConnection& peer) { peer.waitForClose(); });
  std::shared_ptr<TWConnection> connection;
  TWConnectionOptions options;
  options.streamIdleLimit = kPatience;
  options.makeStream = [&](std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
                           const TWConnectionOptions& with) {
    return std::make_shared<CancelledAroundIt>(
        TWConnectionStream::withCredentials(std::move(credentials), std::move(request), with),
        [&] {
          EXPECT_NE(connection->stream(), nullptr);
          connection->cancel();
        },
        [] {});
  };
  connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
  EXPECT_THAT(record.data, IsEmpty());
}

TEST(TWConnectionStream, WhatCameWholeIsNotCancelledAfterwards) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  std::shared_ptr<TWConnection> connection;
  TWConnectionOptions options;
  options.makeStream = [&](std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
                           const TWConnectionOptions& with) {
    return std::make_shared<CancelledAroundIt>(
        TWConnectionStream::withCredentials(std::move(credentials), std::move(request), with),
        [] {}, [&] { connection->cancel(); });
  };
  connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<events/>");
}

TEST(TWConnectionStream, AnExchangeOnItsOwnIgnoresCancelUntilItWaits) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  TWHTTPRequest request;
  request.url = server.url("/");
  request.method = "GET";
  const auto exchange = TWConnectionStream::withCredentials(nullptr, request);
  exchange->cancel();
  const auto fetched = exchange->await();
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text(*fetched), "<events/>");
  EXPECT_FALSE(exchange->wasCancelled());
}

TEST(TWConnectionStream, FollowsRelativeTargetsWithAPassword) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({"Basic realm=\"x\""}));
  server.enqueue(ScriptedAnswer::redirect(307, "other"));
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  const auto connection = TWConnection::withCredentials(withPassword("ann", "pw"), true);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/EWS/a")).data), "<events/>");
  EXPECT_EQ(server.requests().at(2).target, "/EWS/other");
}

TEST(TWConnectionStream, RefusesRedirectsWhenTheConnectionDoes) {
  ScriptedServer server;
  ScriptedAnswer moved = ScriptedAnswer::redirect(302, "/other");
  moved.body = "<moved/>";
  server.enqueue(moved);
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_TRUE(record.error.is(TWErrorCode::ErrorRedirect));
  EXPECT_TRUE(record.needsRedirect);
  EXPECT_EQ(record.redirectUrl, server.url("/other"));
  EXPECT_EQ(connection->redirected(), server.url("/other"));
  EXPECT_THAT(record.data, IsEmpty()) << "the redirect's page is no event";
}

TEST(TWConnectionStream, FollowsRedirectsWhenTheConnectionDoes) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(307, "/other"));
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  const auto connection = TWConnection::withCredentials(nullptr, true);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<events/>");
}

TEST(TWConnectionStream, CarriesTheRedirectThatAnEarlierRequestRefused) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  server.enqueue(ScriptedAnswer::xml("<events/>"));
  const auto connection = TWConnection::withCredentials(nullptr, false);
  (void)connection->get(server.url("/"));
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_TRUE(record.error.is(TWErrorCode::ErrorRedirect));
  EXPECT_EQ(text(record.data), "<events/>");
  EXPECT_FALSE(record.needsRedirect);
}

}  // namespace
}  // namespace tarnwell::test
