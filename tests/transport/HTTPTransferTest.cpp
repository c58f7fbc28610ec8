#include <future>

#include <gmock/gmock.h>

#include "tarnwell/transport/detail/HTTPTransfer.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::detail {
namespace {

using namespace tarnwell::test;
using ::testing::ElementsAre;
using ::testing::Pair;

HTTPRequest requestFor(std::string url) {
  HTTPRequest request;
  request.url = std::move(url);
  return request;
}

std::string bodyOf(const HTTPResult& result) { return {result.body.begin(), result.body.end()}; }

TEST(HTTPTransfer, GetsStatusHeadersAndBody) {
  ScriptedServer server;
  ScriptedAnswer answer = ScriptedAnswer::xml("<table/>", 203);
  answer.headers.emplace_back("X-Twice", "1");
  answer.headers.emplace_back("X-Twice", "2");
  server.enqueue(answer);
  HTTPTransfer transfer;
  const HTTPResult result = transfer.perform(requestFor(server.url("/t.xml")));
  EXPECT_THAT(result.error, IsNoError());
  EXPECT_EQ(result.url, server.url("/t.xml"));
  ASSERT_TRUE(result.response);
  EXPECT_EQ(result.response->statusCode, 203);
  EXPECT_THAT(result.response->headers,
              ElementsAre(Pair("Content-Type", "text/xml; charset=utf-8"), Pair("X-Twice", "1"),
                          Pair("X-Twice", "2"), Pair("Content-Length", "8")));
  EXPECT_EQ(bodyOf(result), "<table/>");
}

TEST(HTTPTransfer, SendsNothingThatWasNotAskedFor) {
  ScriptedServer server;
  HTTPTransfer transfer;
  (void)transfer.perform(requestFor(server.url("/x?y=1")));
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests()[0].head,
            "GET /x?y=1 HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) + "\r\n\r\n");
}

TEST(HTTPTransfer, HeadersAreThoseOfTheRequestWhateverWasSentBefore) {
  const TWHeaders usual{{"Content-Type", "text/xml"}, {"Accept-Encoding", "gzip"}};
  const TWHeaders secret{{"Authorization", "Bearer x"}, {"Content-Type", "text/xml"}};
  ScriptedServer server;
  HTTPTransfer kept;
  for (const TWHeaders& headers :
       {usual, usual, secret, usual, TWHeaders(), secret, TWHeaders{{"Content-Type", "a/b"}}}) {
    HTTPRequest request = requestFor(server.url("/"));
    request.headers = headers;
    (void)kept.perform(request);
    (void)HTTPTransfer().perform(request);
    const auto requests = server.requests();
    EXPECT_EQ(requests.at(requests.size() - 2).head, requests.back().head);
    for (const auto& [name, value] : headers) EXPECT_EQ(requests.back().header(name), value);
  }
}

TEST(HTTPTransfer, UnknownEncodingsFailThoseWhoAskedForSomeWhateverWasAskedBefore) {
  ScriptedServer server([](const ScriptedRequest&) {
    return ScriptedAnswer{200, {{"Content-Encoding", "br"}}, "not packed", false, false};
  });
  HTTPTransfer transfer;
  for (const bool asks : {true, false, true, true, false}) {
    HTTPRequest request = requestFor(server.url("/"));
    if (asks) request.headers = {{"Accept-Encoding", "gzip"}};
    const HTTPResult result = transfer.perform(request);
    EXPECT_EQ(static_cast<bool>(result.error), asks);
    EXPECT_EQ(bodyOf(result), asks ? "" : "not packed");
  }
}

TEST(HTTPTransfer, ABadURLIsRefusedAfterAGoodOne) {
  ScriptedServer server;
  HTTPTransfer transfer;
  for (int round = 0; round < 2; ++round) {
    EXPECT_THAT(transfer.perform(requestFor(server.url("/"))).error, IsNoError());
    EXPECT_THAT(transfer.perform(requestFor("no url")).error, IsHTTPError(TWHTTPErrorMalformedURL));
  }
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST(HTTPTransfer, KeepsItsConnection) {
  ScriptedServer server;
  HTTPTransfer transfer;
  (void)transfer.perform(requestFor(server.url("/1")));
  (void)transfer.perform(requestFor(server.url("/2")));
  EXPECT_EQ(server.connectionCount(), 1);
  transfer.dropConnections();
  EXPECT_TRUE(server.waitForNoConnections());
  (void)transfer.perform(requestFor(server.url("/3")));
  EXPECT_EQ(server.connectionCount(), 2);
}

TEST(HTTPTransfer, CancelEndsTheRequestInFlight) {
  Gate release;
  ScriptedServer server([&](const ScriptedRequest&) {
    (void)release.wait();
    return ScriptedAnswer();
  });
  HTTPTransfer transfer;
  auto running =
      std::async(std::launch::async, [&] { return transfer.perform(requestFor(server.url("/"))); });
  ASSERT_TRUE(server.waitForRequests(1));
  transfer.cancel();
  EXPECT_THAT(running.get().error, IsHTTPError(TWHTTPErrorCancelled));
  release.open();
  EXPECT_THAT(transfer.perform(requestFor(server.url("/"))).error, IsNoError());
}

TEST(HTTPTransfer, CancelWithoutARequestDoesNotTouchTheNext) {
  ScriptedServer server;
  HTTPTransfer transfer;
  transfer.cancel();
  EXPECT_THAT(transfer.perform(requestFor(server.url("/"))).error, IsNoError());
  transfer.cancel();
  EXPECT_THAT(transfer.perform(requestFor(server.url("/"))).error, IsNoError());
}

TEST(HTTPTransfer, IdleLimitCountsFromTheLastByte) {
  // Five pieces, each of which arrives only after the one before was received.
  Gate received[5];
  RawServer server([&](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\n\r\n");
    for (Gate& gate : received) {
      peer.write("x");
      (void)gate.wait();
    }
    peer.waitForClose();  // and now silence
  });
  HTTPTransfer transfer;
  HTTPRequest request = requestFor(server.url("/"));
  request.idleLimit = 200ms;
  std::size_t pieces = 0;
  request.receive = [&](std::span<const std::uint8_t>) {
    received[pieces++].open();
    return true;
  };
  const HTTPResult result = transfer.perform(request);
  EXPECT_THAT(result.error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_EQ(pieces, 5U);
}

TEST(HTTPTransfer, ReceiverEndsTheTransferWhenItHasEnough) {
  RawServer server([&](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\n\r\nenough");
    peer.waitForClose();
  });
  HTTPTransfer transfer;
  HTTPRequest request = requestFor(server.url("/"));
  std::string got;
  request.receive = [&](std::span<const std::uint8_t> piece) {
    got.assign(piece.begin(), piece.end());
    return false;
  };
  const HTTPResult result = transfer.perform(request);
  EXPECT_THAT(result.error, IsNoError());
  EXPECT_EQ(got, "enough");
  EXPECT_TRUE(result.body.empty());
}

TEST(HTTPTransfer, TrailingFieldsAndFoldedLinesAreNotMixedUp) {
  RawServer server([&](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write(
        "HTTP/1.1 200 OK\r\nX-Folded: one\r\n  two\r\nTransfer-Encoding: chunked\r\n\r\n"
        "3\r\nabc\r\n0\r\nX-Trailer: late\r\n\r\n");
    peer.waitForClose();
  });
  HTTPTransfer transfer;
  const HTTPResult result = transfer.perform(requestFor(server.url("/")));
  EXPECT_THAT(result.error, IsNoError());
  EXPECT_EQ(bodyOf(result), "abc");
  ASSERT_TRUE(result.response);
  EXPECT_EQ(result.response->header("X-Folded"), "one two");
  EXPECT_EQ(result.response->header("X-Trailer"), std::nullopt);
}

TEST(HTTPTransfer, EnvironmentHasNoSay) {
  ScriptedServer server;
  ScriptedServer proxy;
  // NOLINTBEGIN(concurrency-mt-unsafe): no other thread of this test reads the environment
  ASSERT_EQ(setenv("http_proxy", proxy.url("").c_str(), 1), 0);
  ASSERT_EQ(setenv("all_proxy", proxy.url("").c_str(), 1), 0);
  HTTPTransfer transfer;
  EXPECT_THAT(transfer.perform(requestFor(server.url("/"))).error, IsNoError());
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(proxy.requestCount(), 0U);
  // Nor has "no_proxy" when a proxy was given.
  ASSERT_EQ(setenv("no_proxy", "*", 1), 0);
  HTTPTransfer through({"", proxy.url(""), {}});
  EXPECT_THAT(through.perform(requestFor("http://mail.example/EWS")).error, IsNoError());
  ASSERT_EQ(proxy.requestCount(), 1U);
  EXPECT_EQ(proxy.requests()[0].target, "http://mail.example/EWS");
  for (const char* name : {"http_proxy", "all_proxy", "no_proxy"}) unsetenv(name);
  // NOLINTEND(concurrency-mt-unsafe)
}

TEST(HTTPTransfer, ProxyThatNeedsACertificateIsRefused) {
  HTTPTransfer transfer({"", "https://127.0.0.1:1", {}});
  EXPECT_THAT(transfer.perform(requestFor("http://mail.example/")).error,
              IsHTTPError(TWHTTPErrorUnsupportedURL));
}

TEST(HTTPTransfer, ConnectsWhereItIsTold) {
  ScriptedServer server;
  const std::string port = std::to_string(server.port());
  HTTPTransfer transfer({"", "", {"mail.example:80:127.0.0.1:" + port}});
  const HTTPResult result = transfer.perform(requestFor("http://mail.example/EWS"));
  EXPECT_THAT(result.error, IsNoError());
  EXPECT_EQ(result.url, "http://mail.example/EWS");
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests()[0].header("Host"), "mail.example");
}

}  // namespace
}  // namespace tarnwell::detail
