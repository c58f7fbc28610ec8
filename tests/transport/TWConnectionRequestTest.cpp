// What goes over the wire, and what comes back in the record.

#include <gmock/gmock.h>
#include <zlib.h>

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::shared_ptr<TWConnection> plainConnection() {
  return TWConnection::withCredentials(nullptr, false);
}

std::string gzip(const std::string& plain) {
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY),
            Z_OK);
  std::string packed(deflateBound(&z, plain.size()) + 32, '\0');
  std::string input = plain;
  z.next_in = reinterpret_cast<Bytef*>(input.data());
  z.avail_in = static_cast<uInt>(input.size());
  z.next_out = reinterpret_cast<Bytef*>(packed.data());
  z.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
  packed.resize(z.total_out);
  deflateEnd(&z);
  return packed;
}

ScriptedAnswer gzipped(std::string body) {
  ScriptedAnswer answer = ScriptedAnswer::xml(std::move(body));
  answer.headers.emplace_back("Content-Encoding", "gzip");
  return answer;
}

TEST(TWConnectionRequest, PostWithoutHeadersCarriesExactlyTheTwoDefaults) {
  ScriptedServer server;
  (void)plainConnection()->post(server.url("/EWS/Exchange.asmx"), std::nullopt, "<q/>");
  ASSERT_EQ(server.requestCount(), 1U);
  const ScriptedRequest request = server.requests()[0];
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/EWS/Exchange.asmx");
  EXPECT_EQ(request.version, "HTTP/1.1");
  EXPECT_EQ(request.body, "<q/>");
  EXPECT_THAT(
      request.headers,
      UnorderedElementsAre(Pair("Host", "127.0.0.1:" + std::to_string(server.port())),
                           Pair("Content-Type", "text/xml; charset=utf-8"),
                           Pair("Accept-Encoding", "compress, gzip"), Pair("Content-Length", "4")));
}

TEST(TWConnectionRequest, GetCarriesTheTwoDefaultsTooAndNoBody) {
  ScriptedServer server;
  (void)plainConnection()->get(server.url("/EWS/types.xsd"));
  ASSERT_EQ(server.requestCount(), 1U);
  const ScriptedRequest request = server.requests()[0];
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(request.headers,
              UnorderedElementsAre(Pair("Host", "127.0.0.1:" + std::to_string(server.port())),
                                   Pair("Content-Type", "text/xml; charset=utf-8"),
                                   Pair("Accept-Encoding", "compress, gzip")));
}

TEST(TWConnectionRequest, HeadersGivenReplaceTheDefaults) {
  ScriptedServer server;
  const TWHeaders headers{{"X-A", "1"}, {"X-B", ""}, {"X-A", "2"}};
  (void)plainConnection()->post(server.url("/"), headers, "body");
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_THAT(
      server.requests()[0].headers,
      ElementsAre(Pair("Host", "127.0.0.1:" + std::to_string(server.port())), Pair("X-A", "1"),
                  Pair("X-B", ""), Pair("X-A", "2"), Pair("Content-Length", "4")));
}

TEST(TWConnectionRequest, EmptyHeaderListIsNotTheDefaults) {
  ScriptedServer server;
  (void)plainConnection()->post(server.url("/"), TWHeaders(), "body");
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_THAT(server.requests()[0].headers,
              ElementsAre(Pair("Host", "127.0.0.1:" + std::to_string(server.port())),
                          Pair("Content-Length", "4")));
}

TEST(TWConnectionRequest, CallersMaySendWhatIsOtherwiseLeftOut) {
  ScriptedServer server;
  const TWHeaders headers{
      {"accept", "text/xml"}, {"User-Agent", "Mine/1"}, {"Content-Length", "99"}};
  (void)plainConnection()->post(server.url("/"), headers, "body");
  ASSERT_EQ(server.requestCount(), 1U);
  const ScriptedRequest request = server.requests()[0];
  EXPECT_EQ(request.header("Accept"), "text/xml");
  EXPECT_EQ(request.header("User-Agent"), "Mine/1");
  EXPECT_EQ(request.header("Content-Length"), "4") << "the body tells";
  EXPECT_EQ(request.count("Content-Length"), 1U);
}

TEST(TWConnectionRequest, FetchWithoutTheFlagIsFetchWithStreamingOff) {
  ScriptedServer server;
  const auto connection = plainConnection();
  const TWData body = bytes("<q/>");
  (void)connection->fetch(server.url("/"), "POST", std::nullopt, body);
  (void)connection->fetch(server.url("/"), "POST", std::nullopt, body, false);
  (void)connection->post(server.url("/"), std::nullopt, body);
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(requests[0].head + requests[0].body, requests[1].head + requests[1].body);
  EXPECT_EQ(requests[0].head + requests[0].body, requests[2].head + requests[2].body);
}

TEST(TWConnectionRequest, TheObserverIsToldOfEachRequestBeforeItIsSent) {
  ScriptedServer server;
  TWConnectionOptions options;
  std::vector<std::string> told;
  std::vector<std::size_t> sentBefore;
  options.onRequest = [&](std::string_view method, std::string_view url, std::string_view body) {
    told.push_back(std::string(method) + " " + std::string(url) + " " + std::string(body));
    sentBefore.push_back(server.requestCount());
  };
  const auto connection = TWConnection::withCredentials(withPassword(), false, options);
  (void)connection->post(server.url("/EWS/Exchange.asmx"), std::nullopt, "<q/>");
  (void)connection->get(server.url("/EWS/types.xsd"));
  (void)connection->post(server.url("/stream"), std::nullopt, "<s/>", true);
  EXPECT_THAT(told, ElementsAre("POST " + server.url("/EWS/Exchange.asmx") + " <q/>",
                                "GET " + server.url("/EWS/types.xsd") + " ",
                                "POST " + server.url("/stream") + " <s/>"));
  EXPECT_THAT(sentBefore, ElementsAre(0U, 1U, 2U));
}

TEST(TWConnectionRequest, TheObserverIsNotToldOfWhatAClosedConnectionRefuses) {
  ScriptedServer server;
  TWConnectionOptions options;
  int told = 0;
  options.onRequest = [&](auto, auto, auto) { ++told; };
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  connection->close();
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorCancelled));
  EXPECT_EQ(told, 0);
}

TEST(TWConnectionRequest, TheObserverIsNotToldOfWhatCannotBeSent) {
  ScriptedServer server;
  TWConnectionOptions options;
  int told = 0;
  options.onRequest = [&](auto, auto, auto) { ++told; };
  const auto plain = TWConnection::withCredentials(nullptr, false, options);
  const auto withToken = TWConnection::withCredentials(
      TWCredentials::credentialsWithUsernameAccessToken("ann", "a\r\nX: 1"), false, options);
  const std::string port = std::to_string(server.port());
  for (const bool stream : {false, true}) {
    EXPECT_TRUE(plain->post("http://ann:pw@127.0.0.1:" + port + "/", {}, "<q/>", stream).error);
    EXPECT_TRUE(plain->post("not a url", {}, "<q/>", stream).error);
    EXPECT_TRUE(withToken->post(server.url("/"), {}, "<q/>", stream).error);
  }
  EXPECT_EQ(told, 0);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST(TWConnectionRequest, TextsArePostedAsUTF8) {
  ScriptedServer server;
  (void)plainConnection()->post(server.url("/"), std::nullopt, "<q>\xc3\xa4\xe2\x82\xac</q>");
  EXPECT_EQ(server.requests().at(0).body, "<q>\xc3\xa4\xe2\x82\xac</q>");
}

TEST(TWConnectionRequest, BytesArePostedAsTheyAre) {
  ScriptedServer server;
  const TWData body{0, 255, '\r', '\n', 0};
  (void)plainConnection()->post(server.url("/"), std::nullopt, body);
  EXPECT_EQ(server.requests().at(0).body, std::string("\0\xff\r\n\0", 5));
}

TEST(TWConnectionRequest, PostWithoutABodySaysSo) {
  ScriptedServer server;
  (void)plainConnection()->post(server.url("/"), std::nullopt, TWConnection::Body());
  EXPECT_EQ(server.requests().at(0).method, "POST");
  EXPECT_EQ(server.requests().at(0).header("Content-Length"), "0");
}

TEST(TWConnectionRequest, HeadHasAStatusAndNoData) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml("<not-sent/>"); });
  const auto connection = plainConnection();
  const TWData given = bytes("q");
  for (const TWConnection::Body& body : {TWConnection::Body(), TWConnection::Body(given)}) {
    const TWResponse record = connection->head(server.url("/"), std::nullopt, body);
    EXPECT_THAT(record.error, IsNoError());
    EXPECT_EQ(status(record), 200);
    EXPECT_THAT(record.data, IsEmpty());
  }
  for (const ScriptedRequest& request : server.requests()) {
    EXPECT_EQ(request.method, "HEAD");
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(request.header("Content-Length"), std::nullopt) << "the body given is not sent";
  }
  // What a HEAD leaves behind does not colour the next request.
  EXPECT_EQ(text(connection->get(server.url("/")).data), "<not-sent/>");
}

TEST(TWConnectionRequest, OtherMethodsGoOutUnderTheirNames) {
  ScriptedServer server;
  const auto connection = plainConnection();
  const TWData body = bytes("b");
  (void)connection->fetch(server.url("/"), "PUT", std::nullopt, body);
  (void)connection->fetch(server.url("/"), "OPTIONS", std::nullopt, std::nullopt);
  (void)connection->fetch(server.url("/"), "GET", std::nullopt, body);
  (void)connection->fetch(server.url("/"), "POST", std::nullopt, body);
  std::string seen;
  for (const auto& request : server.requests()) seen += request.method + ":" + request.body + " ";
  EXPECT_EQ(seen, "PUT:b OPTIONS: GET:b POST:b ");
}

TEST(TWConnectionRequest, LargeBodiesGoOutWithoutAskingFirst) {
  // The server never says 100, so a client that waits for it would lose a second.
  ScriptedServer server;
  const std::string large(std::size_t{5} * 1024 * 1024, 'x');
  (void)plainConnection()->post(server.url("/"), std::nullopt, large);
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests()[0].header("Expect"), std::nullopt);
  EXPECT_EQ(server.requests()[0].body.size(), large.size());
}

TEST(TWConnectionRequest, RecordHasURLStatusHeadersAndBody) {
  ScriptedServer server;
  ScriptedAnswer answer = ScriptedAnswer::xml("<a/>", 500);
  answer.headers.emplace_back("WWW-Authenticate", "Negotiate");
  answer.headers.emplace_back("WWW-Authenticate", "NTLM");
  server.enqueue(answer);
  const TWResponse record = plainConnection()->get(server.url("/x"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(record.url, server.url("/x"));
  EXPECT_FALSE(record.needsRedirect);
  ASSERT_TRUE(record.response);
  EXPECT_EQ(record.response->statusCode, 500);
  EXPECT_THAT(record.response->headers,
              ElementsAre(Pair("Content-Type", "text/xml; charset=utf-8"),
                          Pair("WWW-Authenticate", "Negotiate"), Pair("WWW-Authenticate", "NTLM"),
                          Pair("Content-Length", "4")));
  EXPECT_EQ(text(record.data), "<a/>");
  EXPECT_TRUE(record.xmlDoc);
  EXPECT_EQ(record.description(), "[TWResponse] HTTP 500");
}

TEST(TWConnectionRequest, BodyThatIsNoXMLIsNoError) {
  ScriptedServer server;
  const auto connection = plainConnection();
  for (const int code : {200, 500}) {
    ScriptedAnswer answer;
    answer.status = code;
    answer.body = "Service down for tea";
    server.enqueue(answer);
    const TWResponse record = connection->get(server.url("/"));
    EXPECT_THAT(record.error, IsNoError());
    EXPECT_EQ(status(record), code);
    EXPECT_EQ(text(record.data), "Service down for tea");
    EXPECT_FALSE(record.xmlDoc);
    EXPECT_EQ(record.xml(), std::nullopt);
  }
}

TEST(TWConnectionRequest, EmptyAnswersAreNoError) {
  ScriptedServer server;
  ScriptedAnswer answer;
  answer.status = 204;
  server.enqueue(answer);
  const TWResponse record = plainConnection()->get(server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 204);
  EXPECT_THAT(record.data, IsEmpty());
  EXPECT_FALSE(record.xmlDoc);
}

TEST(TWConnectionRequest, CompressedBodiesArriveDecoded) {
  ScriptedServer server;
  server.enqueue(gzipped(gzip("<a>plain</a>")));
  const TWResponse record = plainConnection()->get(server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<a>plain</a>");
  EXPECT_TRUE(record.xml());
}

TEST(TWConnectionRequest, CompressionInSeveralPartsIsUnpackedWhole) {
  ScriptedServer server;
  server.enqueue(gzipped(gzip("<a>one") + gzip("two</a>")));
  EXPECT_EQ(text(plainConnection()->get(server.url("/")).data), "<a>onetwo</a>");
}

TEST(TWConnectionRequest, LongCompressedBodiesArriveWhole) {
  std::string plain = "<a>";
  for (int i = 0; i < 200000; ++i) plain += std::to_string(i * 7919);
  plain += "</a>";
  ScriptedServer server;
  server.enqueue(gzipped(gzip(plain)));
  EXPECT_EQ(text(plainConnection()->get(server.url("/")).data), plain);
}

TEST(TWConnectionRequest, CompressionCutShortIsAnErrorAndNotHalfABody) {
  // Wherever the cut is: the document ends long before the comment, and all of both before the last
  // eight bytes, the checksum and the length.
  const std::string packed = gzip("<a>" + std::string(200, 'x') + "</a><!--" + "y z" + "-->");
  ScriptedServer server;
  const auto connection = plainConnection();
  for (std::size_t length = 1; length < packed.size(); ++length) {
    server.enqueue(gzipped(packed.substr(0, length)));
    const TWResponse record = connection->get(server.url("/"));
    EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCutShort)) << length;
    EXPECT_EQ(status(record), 200) << length;
    EXPECT_THAT(record.data, IsEmpty()) << length;
    EXPECT_FALSE(record.xmlDoc) << length;
  }
  // The connection is as good as before.
  EXPECT_EQ(status(connection->get(server.url("/"))), 200);
}

TEST(TWConnectionRequest, DamagedCompressionIsAnError) {
  ScriptedServer server;
  std::string packed = gzip("<a>hello</a>");
  packed[packed.size() - 6] ^= 0x55;  // in the checksum
  server.enqueue(gzipped(packed));
  server.enqueue(gzipped(gzip("<a/>") + "and more"));
  const auto connection = plainConnection();
  for (int i = 0; i < 2; ++i) {
    const TWResponse record = connection->get(server.url("/"));
    EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
    EXPECT_THAT(record.data, IsEmpty());
  }
}

TEST(TWConnectionRequest, CompressionThatNobodyAskedForIsDecodedWhereItIsKnown) {
  ScriptedServer server;
  server.enqueue(gzipped(gzip("<a/>")));
  const TWResponse record = plainConnection()->post(server.url("/"), TWHeaders(), "<q/>");
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(text(record.data), "<a/>");
  EXPECT_TRUE(record.xmlDoc);
  ScriptedAnswer unknown = ScriptedAnswer::xml("?");
  unknown.headers.emplace_back("Content-Encoding", "br");
  server.enqueue(unknown);
  const TWResponse other = plainConnection()->post(server.url("/"), TWHeaders(), "<q/>");
  EXPECT_THAT(other.error, IsNoError());
  EXPECT_EQ(text(other.data), "?");
}

TEST(TWConnectionRequest, EmptyBodiesNeedNoCompression) {
  ScriptedServer server([](const ScriptedRequest&) { return gzipped(""); });
  const auto connection = plainConnection();
  EXPECT_THAT(connection->get(server.url("/")).error, IsNoError());
  EXPECT_THAT(connection->head(server.url("/"), std::nullopt, {}).error, IsNoError());
}

TEST(TWConnectionRequest, OtherEncodingsAreAnErrorUnlessTheyChangeNothing) {
  ScriptedServer server;
  const auto connection = plainConnection();
  for (const char* encoding : {"compress", "br"}) {
    ScriptedAnswer answer = ScriptedAnswer::xml("<a/>");
    answer.headers.emplace_back("Content-Encoding", encoding);
    server.enqueue(answer);
    const TWError error = connection->get(server.url("/")).error;
    EXPECT_EQ(error.domain(), TWHTTPErrorDomain) << encoding;
  }
  ScriptedAnswer answer = ScriptedAnswer::xml("<a/>");
  answer.headers.emplace_back("Content-Encoding", "Identity");
  server.enqueue(answer);
  EXPECT_EQ(text(connection->get(server.url("/")).data), "<a/>");
}

TEST(TWConnectionRequest, CompressionThatIsNoneIsAnError) {
  ScriptedServer server;
  server.enqueue(gzipped("<a/> but not packed"));
  const TWResponse record = plainConnection()->get(server.url("/"));
  EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
  EXPECT_EQ(status(record), 200);
  EXPECT_FALSE(record.xmlDoc);
}

TEST(TWConnectionRequest, BusyServersAreNeitherWaitedForNorAskedAgain) {
  ScriptedServer server;
  ScriptedAnswer busy;
  busy.status = 503;
  busy.headers = {{"Retry-After", "120"}};
  server.enqueue(busy);
  EXPECT_EQ(status(plainConnection()->get(server.url("/"))), 503);
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST(TWConnectionRequest, StatusLineWithoutBodyIsAnEmptyAnswer) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\n\r\n");
  });
  const TWResponse record = plainConnection()->get(server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 200);
  EXPECT_THAT(record.data, IsEmpty());
}

TEST(TWConnectionRequest, BodyCutShortIsAnErrorAndNotHalfABody) {
  for (const bool reset : {false, true}) {
    RawServer server([&](RawConnection& peer) {
      (void)peer.readRequest();
      peer.write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<a/>");
      if (reset) peer.reset();
    });
    const TWResponse record = plainConnection()->get(server.url("/"));
    EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
    EXPECT_THAT(record.data, IsEmpty());
    EXPECT_FALSE(record.xmlDoc) << "though what came of it is a document";
  }
}

TEST(TWConnectionRequest, ServersThatSayNothingOrNonsenseGiveErrors) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"", TWHTTPErrorEmptyReply}, {"garbage\r\n\r\n", TWHTTPErrorUnsupportedURL}};
  for (const auto& [answer, code] : cases) {
    RawServer server([said = std::string(answer)](RawConnection& peer) {
      (void)peer.readRequest();
      peer.write(said);
    });
    const TWResponse record = plainConnection()->get(server.url("/"));
    EXPECT_THAT(record.error, IsHTTPError(code)) << answer;
    EXPECT_FALSE(record.response) << answer;
  }
}

TEST(TWConnectionRequest, FailuresOfTheTransportAreInADomainOfTheirOwn) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"http://127.0.0.1:1/", TWHTTPErrorCannotConnect},
      {"http://no-such-host.invalid/", TWHTTPErrorUnknownHost},
      {"not a url", TWHTTPErrorMalformedURL},
      {"", TWHTTPErrorMalformedURL},
      {"mail.example/EWS", TWHTTPErrorMalformedURL},
      {"http://", TWHTTPErrorMalformedURL},
      {"http://host:port/", TWHTTPErrorMalformedURL},
      {"http://a b/", TWHTTPErrorMalformedURL},
      {"http://127.0.0.1/\r\nX: 1", TWHTTPErrorMalformedURL},
      {"file:///etc/passwd", TWHTTPErrorUnsupportedURL},
      {"ftp://127.0.0.1/", TWHTTPErrorUnsupportedURL},
      {"gopher://127.0.0.1/", TWHTTPErrorUnsupportedURL}};
  for (const auto& [url, code] : cases) {
    const TWResponse record = plainConnection()->get(url);
    EXPECT_THAT(record.error, IsHTTPError(code)) << url;
    EXPECT_FALSE(record.error.message().empty()) << url;
    EXPECT_EQ(record.url, url);
    EXPECT_FALSE(record.response) << url;
    EXPECT_THAT(record.data, IsEmpty()) << url;
  }
}

TEST(TWConnectionRequest, NULInTheURLDoesNotCutIt) {
  ScriptedServer server;
  const std::string url = server.url("/a") + std::string("\0b", 2);
  EXPECT_THAT(plainConnection()->get(url).error, IsHTTPError(TWHTTPErrorMalformedURL));
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST(TWConnectionRequest, URLsWithPasswordsAreRefused) {
  ScriptedServer server;
  for (const char* login : {"ann:pw", "ann", ":pw"}) {
    const std::string url =
        "http://" + std::string(login) + "@127.0.0.1:" + std::to_string(server.port()) + "/";
    for (const bool stream : {false, true}) {
      const auto error =
          plainConnection()->fetch(url, "GET", std::nullopt, std::nullopt, stream).error;
      EXPECT_EQ(error.domain(), TWHTTPErrorDomain) << url;
      EXPECT_THAT(error.description(), Not(HasSubstr("pw")));
    }
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST(TWConnectionRequest, LineBreaksNeverReachTheWire) {
  ScriptedServer server;
  const auto connection = plainConnection();
  const auto refused = [&](const TWResponse& record) {
    EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorBadRequest));
  };
  for (const std::string& bad : {std::string("a\r\nX: 1"), std::string("a\nX: 1"),
                                 std::string("a\rX: 1"), std::string("a\0b", 3)}) {
    refused(connection->post(server.url("/"), TWHeaders{{"X-A", bad}}, "b"));
    refused(connection->post(server.url("/"), TWHeaders{{bad, "x"}}, "b"));
    refused(connection->fetch(server.url("/"), bad, std::nullopt, std::nullopt));
    refused(TWConnection::withCredentials(withToken(bad), false)->get(server.url("/")));
    refused(TWConnection::withCredentials(withPassword(bad), false)->get(server.url("/")));
  }
  refused(connection->fetch(server.url("/"), "", std::nullopt, std::nullopt));
  refused(connection->fetch(server.url("/"), "GET /x", std::nullopt, std::nullopt));
  refused(TWConnection::withCredentials(withPassword("ann", std::string_view("a\0b", 3)), false)
              ->get(server.url("/")));
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST(TWConnectionRequest, TokenGoesInTheAuthorizationHeader) {
  ScriptedServer server;
  const auto credentials = withToken("first");
  const auto connection = TWConnection::withCredentials(credentials, false);
  (void)connection->post(server.url("/"), std::nullopt, "b");
  credentials->updateAccessToken("second");
  (void)connection->post(server.url("/"), TWHeaders{{"authorization", "Basic x"}, {"X-A", "1"}},
                         "b");
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].header("Authorization"), "Bearer first");
  EXPECT_EQ(requests[0].header("Content-Type"), "text/xml; charset=utf-8");
  EXPECT_EQ(requests[0].headers.size(), 5U);
  EXPECT_EQ(requests[1].header("Authorization"), "Bearer second");
  EXPECT_EQ(requests[1].count("Authorization"), 1U);
  EXPECT_EQ(server.connectionCount(), 1);
}

}  // namespace
}  // namespace tarnwell::test
