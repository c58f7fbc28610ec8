// Answers that never come, come too large or belong to another request.

#include <atomic>

#include <gmock/gmock.h>
#include <zlib.h>

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* kEmptyAnswer = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
constexpr const char* kChallenge =
    "HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n";

std::shared_ptr<TWConnection> ann(const TWConnectionOptions& options = {}) {
  return TWConnection::withCredentials(withPassword("ann", "pw"), false, options);
}

std::string gzippedBlanks(std::size_t megabytes) {
  const std::string blanks(1U << 20U, ' ');
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string packed(megabytes * 2048 + 1024, '\0');
  z.next_out = reinterpret_cast<Bytef*>(packed.data());
  z.avail_out = static_cast<uInt>(packed.size());
  for (std::size_t i = 0; i < megabytes; ++i) {
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(blanks.data()));
    z.avail_in = static_cast<uInt>(blanks.size());
    const bool last = i + 1 == megabytes;
    EXPECT_EQ(deflate(&z, last ? Z_FINISH : Z_NO_FLUSH), last ? Z_STREAM_END : Z_OK);
  }
  packed.resize(z.total_out);
  deflateEnd(&z);
  return packed;
}

TEST(TWConnectionFailure, RequestIsNotSentAgainWhenTheServerClosesInsteadOfAnswering) {
  std::atomic<int> received{0};
  RawServer server([&](RawConnection& peer) {
    while (peer.readRequest()) {
      if (++received == 2) return;  // read, maybe acted on, and gone
      peer.write(kEmptyAnswer);
    }
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  EXPECT_EQ(status(connection->post(server.url("/"), std::nullopt, "<one/>")), 200);
  const TWResponse record = connection->post(server.url("/"), std::nullopt, "<two/>");
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorEmptyReply));
  EXPECT_FALSE(record.response);
  EXPECT_EQ(received, 2);
  // The next request is a new one.
  EXPECT_EQ(status(connection->post(server.url("/"), std::nullopt, "<three/>")), 200);
  EXPECT_EQ(received, 3);
}

TEST(TWConnectionFailure, AnswerToAChallengeIsNotSentAgainEither) {
  std::atomic<int> received{0};
  RawServer server([&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    ++received;
    peer.write(std::string(kChallenge) + "\r\n");
    if (peer.readRequest()) ++received;
  });
  const TWResponse record = ann()->post(server.url("/"), std::nullopt, "<q/>");
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorEmptyReply));
  EXPECT_FALSE(record.response) << "the challenge was not the answer";
  EXPECT_EQ(received, 2);
}

TEST(TWConnectionFailure, ChallengeOnASocketThatClosesIsAnsweredOnAnother) {
  std::atomic<int> received{0};
  RawServer server([&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(++received == 1 ? std::string(kChallenge) + "Connection: close\r\n\r\n"
                               : std::string(kEmptyAnswer));
  });
  const TWResponse record = ann()->post(server.url("/"), std::nullopt, "<q/>");
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 200);
  EXPECT_EQ(received, 2);
}

TEST(TWConnectionFailure, ChallengeIsNotTheAnswerOfARequestThatTimesOut) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write(std::string(kChallenge) + "\r\n");
    peer.waitForClose();
  });
  const TWResponse record = ann(withLimit(200ms))->get(server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_FALSE(record.response);
}

TEST(TWConnectionFailure, ChallengeIsNotTheAnswerWhenTheServerCannotBeReachedAgain) {
  // The second socket fails before a request goes out on it.
  RawServer::Options tls;
  tls.certificate = TestCertificates::shared().selfSigned();
  const auto connection = ann();
  connection->setAllowInsecureCertificate(true);
  RawServer server(
      [&](RawConnection& peer) {
        (void)peer.readRequest();
        connection->setAllowInsecureCertificate(false);
        peer.write(std::string(kChallenge) + "Connection: close\r\n\r\n");
      },
      tls);
  const TWResponse record = connection->get(server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_FALSE(record.response);
}

TEST(TWConnectionFailure, RedirectIsNotTheAnswerWhenItsTargetFails) {
  for (const char* target : {"http://127.0.0.1:1/", "http://no-such-host.invalid/"}) {
    ScriptedServer server;
    server.enqueue(ScriptedAnswer::redirect(302, target));
    const TWResponse record = TWConnection::withCredentials(nullptr, true)->get(server.url("/"));
    EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
    EXPECT_FALSE(record.response) << target;
    EXPECT_EQ(record.url, target);
  }
}

TEST(TWConnectionFailure, InterimAnswerIsNone) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 100 Continue\r\n\r\n");
  });
  const TWResponse record = TWConnection::withCredentials(nullptr, true)->get(server.url("/"));
  EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain);
  EXPECT_FALSE(record.response);
}

TEST(TWConnectionFailure, HalfAHeadIsNone) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    peer.write("HTTP/1.1 200 OK\r\nContent-Le");
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, true, withLimit(200ms));
  const TWResponse record = connection->get(server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorTimedOut));
  EXPECT_FALSE(record.response);
}

TEST(TWConnectionFailure, BodiesEndAtTheirLimit) {
  ScriptedServer server([](const ScriptedRequest& request) {
    return ScriptedAnswer::xml("<a>" + std::string(request.target == "/fits" ? 93 : 94, 'x') +
                               "</a>");
  });
  TWConnectionOptions options;
  options.bodyLimit = 100;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse fits = connection->get(server.url("/fits"));
  EXPECT_THAT(fits.error, IsNoError());
  EXPECT_EQ(fits.data.size(), 100U);
  const TWResponse tooLarge = connection->get(server.url("/too-large"));
  EXPECT_THAT(tooLarge.error, IsHTTPError(TWHTTPErrorTooLarge));
  EXPECT_EQ(status(tooLarge), 200) << "its status stays readable";
  EXPECT_THAT(tooLarge.data, IsEmpty());
  EXPECT_FALSE(tooLarge.xmlDoc);
  EXPECT_EQ(status(connection->get(server.url("/fits"))), 200);
}

TEST(TWConnectionFailure, LimitIsForTheUnpackedBody) {
  const std::string bomb = gzippedBlanks(64);
  ASSERT_LT(bomb.size(), 1U << 20U);
  ScriptedServer server([&](const ScriptedRequest&) {
    ScriptedAnswer answer = ScriptedAnswer::xml(bomb);
    answer.headers.emplace_back("Content-Encoding", "gzip");
    return answer;
  });
  TWConnectionOptions options;
  options.bodyLimit = 4U << 20U;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_THAT(connection->get(server.url("/")).error, IsHTTPError(TWHTTPErrorTooLarge));
  // Streams have a limit of their own, which blanks before a document do not use up.
  const TWResponse streamed = connection->post(server.url("/"), std::nullopt, "<q/>", true);
  EXPECT_THAT(streamed.error, IsNoError());
  EXPECT_THAT(streamed.data, IsEmpty());
}

}  // namespace
}  // namespace tarnwell::test
