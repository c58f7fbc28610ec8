// Streams over real HTTP: how their bytes come, how servers end them, and how they are cancelled.

#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <malloc.h>
#include <zlib.h>

#include "tarnwell/protocol/TWConnectionStream.h"

#include "tests/support/ApacheRig.h"
#include "tests/support/StreamAnswers.h"
#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TWResponse streamFrom(TWConnection& connection, const std::string& url) {
  return connection.post(url, std::nullopt, "<q/>", true);
}

/// Sends each delivery as a chunk of its own, then ends the answer as it should be.
RawServer::Handler sending(std::vector<std::string> deliveries) {
  return [deliveries = std::move(deliveries)](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    for (const auto& delivery : deliveries)
      if (!peer.write(chunk(delivery))) return;
    peer.write(kLastChunk);
  };
}

/// What a stream collects of them.
std::string collected(std::vector<std::string> deliveries,
                      const TWConnectionOptions& options = {}) {
  RawServer server(sending(std::move(deliveries)));
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(record.url, server.url("/"));
  EXPECT_FALSE(record.response);
  return text(record.data);
}

std::vector<std::string> byteByByte(std::string_view text) {
  std::vector<std::string> bytes;
  for (const char byte : text) bytes.emplace_back(1, byte);
  return bytes;
}

TEST(TWConnectionStreamTransfer, EndsAtTheFirstNotificationThoughTheAnswerStaysOpen) {
  RawServer server([](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    peer.write(chunk(heartbeat() + "  "));
    peer.write(chunk(notification() + "  "));
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_EQ(text(record.data), notification() + "  ");
  EXPECT_TRUE(record.xmlDoc);
  EXPECT_TRUE(server.waitForNoConnections()) << "the exchange closes its socket";
}

TEST(TWConnectionStreamTransfer, HasAConnectionOfItsOwnForEachCall) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml(notification()); });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  (void)connection->get(server.url("/"));
  (void)streamFrom(*connection, server.url("/"));
  (void)streamFrom(*connection, server.url("/"));
  (void)connection->get(server.url("/"));
  std::vector<int> numbers;
  for (const auto& request : server.requests()) numbers.push_back(request.connection);
  EXPECT_THAT(numbers, ::testing::ElementsAre(1, 2, 3, 1));
}

TEST(TWConnectionStreamTransfer, DocumentMayComeByteByByte) {
  const auto document = "<?xml version=\"1.0\"?>" + notification("\xE2\x82\xAC");
  EXPECT_EQ(collected(byteByByte(document)), document);
  EXPECT_EQ(collected(byteByByte(heartbeat() + "  " + document)), document);
}

TEST(TWConnectionStreamTransfer, KeepAlivesBetweenDocumentsChangeNothing) {
  const auto document = "<?xml version=\"1.0\"?>" + notification();
  EXPECT_EQ(collected({" ", " ", " ", heartbeat(), " ", "\r\n", "  ", document}), document);
  // A separator that is cut in two.
  EXPECT_EQ(collected({heartbeat() + " ", " " + document}), document);
  // However they come together with documents, and between what is none.
  EXPECT_EQ(collected({heartbeat() + "  \r\n", document}), document);
  EXPECT_EQ(collected({heartbeat() + "   " + document, heartbeat()}),
            heartbeat() + "   " + document);
  EXPECT_EQ(collected({"garbage  ", " ", document, heartbeat()}), "garbage   " + document);
  // Whatever the byte is.
  for (const char alive : {'.', '\xFF', '\0'}) {
    const std::string byte(1, alive);
    EXPECT_EQ(collected({byte, document, "  " + heartbeat()}), document);
    EXPECT_EQ(collected({heartbeat(), byte, document}), document);
  }
  // Byte by byte, a document may begin with a byte order mark too.
  const auto marked = "\xEF\xBB\xBF" + document;
  EXPECT_EQ(collected(byteByByte(marked)), marked);
}

/// Packs what a stream says, each part so that it can be unpacked before the next one comes.
class Packer {
 public:
  Packer() {
    EXPECT_EQ(deflateInit2(&z_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY),
              Z_OK);
  }
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;
  ~Packer() { deflateEnd(&z_); }

  std::string packed(std::string text) {
    std::string bytes(text.size() + 1024, '\0');
    z_.next_in = reinterpret_cast<Bytef*>(text.data());
    z_.avail_in = static_cast<uInt>(text.size());
    z_.next_out = reinterpret_cast<Bytef*>(bytes.data());
    z_.avail_out = static_cast<uInt>(bytes.size());
    EXPECT_EQ(deflate(&z_, Z_SYNC_FLUSH), Z_OK);
    bytes.resize(bytes.size() - z_.avail_out);
    return bytes;
  }

 private:
  z_stream z_{};
};

TEST(TWConnectionStreamTransfer, PackedAnswerIsUnpackedAsItComes) {
  RawServer server([](RawConnection& peer) {
    if (!peer.readRequest()) return;
    std::string head(kChunkedHead);
    peer.write(head.insert(head.rfind("\r\n"), "Content-Encoding: gzip\r\n"));
    Packer packer;
    peer.write(chunk(packer.packed(heartbeat() + "  ")));
    peer.write(chunk(packer.packed(notification())));
    peer.waitForClose();
  });
  TWConnectionOptions options;
  options.streamIdleLimit = kPatience;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/")).data), notification());
}

TEST(TWConnectionStreamTransfer, SplitWithinACharacterIsWaitedFor) {
  const auto document = notification("\xF0\x9F\x8C\xB2");
  const auto at = document.find('\xF0') + 2;
  EXPECT_EQ(collected({document.substr(0, at), document.substr(at)}), document);
}

TEST(TWConnectionStreamTransfer, TwoDocumentsAtOnceAreBothKept) {
  const auto both = notification("A") + "  " + notification("B");
  EXPECT_EQ(collected({heartbeat(), both}), both);
}

TEST(TWConnectionStreamTransfer, HalfADocumentBehindAHeartbeatIsNotLost) {
  const auto document = notification();
  EXPECT_EQ(collected({heartbeat() + "  " + document.substr(0, 100), document.substr(100)}),
            document);
}

TEST(TWConnectionStreamTransfer, EndOfTheAnswerGivesWhatWasKept) {
  EXPECT_EQ(collected({}), "");
  EXPECT_EQ(collected({heartbeat(), heartbeat() + "  ", "  "}), "") << "only heartbeats";
  EXPECT_EQ(collected({heartbeat() + "  <s:Env", "elope>"}), "<s:Envelope>");
  EXPECT_EQ(collected({"<a>", "b"}), "<a>b") << "the last byte came alone";
  const std::string indented = "<a>\n  <b/>\n</a>";
  EXPECT_EQ(collected({indented}), indented) << "not recognised before the end";
  EXPECT_EQ(collected({"\xFF  ", notification()}), "\xFF  " + notification());
}

TEST(TWConnectionStreamTransfer, ErrorCodesAndClosingEndTheWait) {
  for (const auto& document :
       {streamDocument("", "ErrorExpiredSubscription"), statusDocument("Closed"),
        faultEnvelope("ErrorServerBusy", "later")}) {
    EXPECT_EQ(collected({heartbeat() + "  ", document, notification()}), document);
  }
}

/// Whatever the server has done when it goes, orderly or not, the wait ends with what was kept.
TEST(TWConnectionStreamTransfer, ServerMayGoInEachState) {
  const std::string half = "<s:Envelope";
  struct Ending {
    std::string sent;
    std::string kept;
  };
  const std::string head(kChunkedHead);
  const Ending endings[] = {{"", ""},
                            {"HTTP/1.1 200", ""},
                            {head, ""},
                            {head + "5", ""},
                            {head + chunk(heartbeat()), ""},
                            {head + chunk(heartbeat() + "  " + half), half},
                            {head + chunk("\xE2\x82"), "\xE2\x82"},
                            {head + chunk("garbage  "), "garbage  "}};
  for (const bool resets : {false, true}) {
    for (const auto& ending : endings) {
      const std::string& sent = ending.sent;
      RawServer server([&, resets](RawConnection& peer) {
        if (!peer.readRequest()) return;
        if (!sent.empty()) peer.write(sent);
        if (resets) peer.reset();
      });
      const auto connection = TWConnection::withCredentials(nullptr, false);
      const TWResponse record = streamFrom(*connection, server.url("/"));
      EXPECT_THAT(record.error, IsNoError()) << sent;
      EXPECT_FALSE(record.response);
      // A reset may overtake what was sent before it.
      if (!resets || !record.data.empty()) {
        EXPECT_EQ(text(record.data), ending.kept) << sent;
      }
    }
  }
}

TEST(TWConnectionStreamTransfer, SilenceEndsTheWaitAndHeartbeatsKeepItAlive) {
  Gate silent;
  constexpr auto kLimit = 300ms;
  constexpr int kBeats = 8;
  RawServer server([&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    Gate never;
    for (int i = 0; i < kBeats; ++i) {
      peer.write(i % 2 == 0 ? chunk(heartbeat()) : chunk(" "));
      (void)never.wait(kLimit / 4);
    }
    silent.open();
    peer.waitForClose();
  });
  TWConnectionOptions options = withLimit(kLimit);
  options.resourceLimit = kLimit;
  options.streamIdleLimit = kLimit;
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_TRUE(silent.isOpen()) << "not before all heartbeats";
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_THAT(record.data, IsEmpty());
}

TEST(TWConnectionStreamTransfer, TextThatSaysNothingHasALimit) {
  TWConnectionOptions options;
  options.streamTextLimit = 1000;
  RawServer server([](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    while (peer.write(chunk("<half>"))) continue;
  });
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const TWResponse record = streamFrom(*connection, server.url("/"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_GT(record.data.size(), 900U);
  EXPECT_LE(record.data.size(), 1000U);
  // One that says something in time is taken whole.
  const auto exact = "<a>" + std::string(993, 'x') + "</a>";
  EXPECT_EQ(collected({exact}, options), exact);
}

TEST(TWConnectionStreamTransfer, RefusedCertificateEndsTheWaitWithNothing) {
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().selfSigned();
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml(notification()); },
                        tls);
  TWHTTPRequest request;
  request.url = server.url("/");
  request.method = "POST";
  const auto strict = TWConnectionStream::withCredentials(nullptr, request);
  EXPECT_FALSE(strict->allowInsecureCertificate());
  EXPECT_EQ(strict->await(), std::nullopt);
  EXPECT_FALSE(strict->wasCancelled());
  EXPECT_EQ(server.requestCount(), 0U);
  // The setting is the stream's own.
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const auto lenient = TWConnectionStream::withCredentials(connection->credentials(), request);
  lenient->setAllowInsecureCertificate(true);
  EXPECT_EQ(lenient->await(), bytes(notification()));
  EXPECT_FALSE(connection->allowInsecureCertificate());
}

class TWConnectionStreamBadCertificate : public ::testing::TestWithParam<const TestCertificate& (
                                             TestCertificates::*)() const noexcept> {};

TEST_P(TWConnectionStreamBadCertificate, IsRefusedUnlessAllowed) {
  ScriptedServer::Options tls;
  tls.certificate = (TestCertificates::shared().*GetParam())();
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml(notification()); },
                        tls);
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  const auto connection = TWConnection::withCredentials(withToken(), false, options);
  EXPECT_THAT(streamFrom(*connection, server.url("/", "localhost")).data, IsEmpty());
  EXPECT_EQ(server.requestCount(), 0U);
  connection->setAllowInsecureCertificate(true);
  EXPECT_EQ(text(streamFrom(*connection, server.url("/", "localhost")).data), notification());
}

INSTANTIATE_TEST_SUITE_P(Kinds, TWConnectionStreamBadCertificate,
                         ::testing::Values(&TestCertificates::selfSigned,
                                           &TestCertificates::wrongHost, &TestCertificates::expired,
                                           &TestCertificates::notYetValid));

TEST(TWConnectionStreamTransfer, PrivateAuthorityIsNotTrustedUnlessGiven) {
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().good();
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml(notification()); },
                        tls);
  const auto stranger = TWConnection::withCredentials(withToken(), false);
  EXPECT_THAT(streamFrom(*stranger, server.url("/", "localhost")).data, IsEmpty());
  EXPECT_EQ(server.requestCount(), 0U);
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  const auto knowing = TWConnection::withCredentials(withToken(), false, options);
  EXPECT_EQ(text(streamFrom(*knowing, server.url("/", "localhost")).data), notification());
  stranger->setAllowInsecureCertificate(true);
  EXPECT_EQ(text(streamFrom(*stranger, server.url("/", "localhost")).data), notification());
}

TEST(TWConnectionStreamTransfer, TokenAnswersNoChallenge) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({"Basic realm=\"x\"", "NTLM"}));
  const auto connection = TWConnection::withCredentials(withToken(), false);
  EXPECT_THAT(streamFrom(*connection, server.url("/")).data, IsEmpty());
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests()[0].header("Authorization"), "Bearer " + std::string(kSecret));
}

TEST(TWConnectionStreamTransfer, OtherSchemesAreNotAnswered) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::challenge({"Negotiate"}));
  const auto connection = TWConnection::withCredentials(withPassword(), false);
  EXPECT_THAT(streamFrom(*connection, server.url("/")).data, IsEmpty());
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_FALSE(server.requests()[0].header("Authorization"));
}

TEST(TWConnectionStreamTransfer, SecretsReachNoLogLine) {
  const RecordingLog log;
  ScriptedServer server;
  for (const auto& credentials : {withPassword(), withToken()}) {
    server.enqueue(ScriptedAnswer::challenge({"Basic realm=\"x\""}));
    server.enqueue(ScriptedAnswer::xml(notification()));
    const auto connection = TWConnection::withCredentials(credentials, false);
    (void)streamFrom(*connection, server.url("/"));
    (void)streamFrom(*connection, "http://127.0.0.1:1/");
  }
  auto lines = log.lines();
  for (auto& line : log.debugLines()) lines.push_back(line);
  EXPECT_EQ(lines.size(), 4U);
  for (const auto& line : lines) EXPECT_THAT(line, Not(HasSubstr(kSecret)));
}

TEST(TWConnectionStreamTransfer, LogsInByEveryScheme) {
  ApacheRig rig;
  if (!rig.missing().empty()) GTEST_SKIP() << rig.missing();
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  for (const char* door : {"BASIC", "DIGEST", "NTLM", "ALL", "TLS_ALL"}) {
    for (const auto& [name, password] :
         {std::pair("alice", "Secret1!"), std::pair("user@example.com", "Secret2!")}) {
      const auto before = rig.backend().requestCount();
      const auto connection =
          TWConnection::withCredentials(withPassword(name, password), false, options);
      (void)streamFrom(*connection, rig.url(door, "/"));
      ASSERT_EQ(rig.backend().requestCount(), before + 1) << door << ' ' << name;
      EXPECT_THAT(rig.backend().requests().back().header("X-Remote-User").value_or(""),
                  HasSubstr(name))
          << door;
      EXPECT_EQ(rig.backend().requests().back().body, "<q/>");
    }
  }
}

// Cancelling.

/// A server that has come that far and goes no further.
enum class State { connecting, silent, opened, alive, halfway, talking };

class TWConnectionStreamCancel : public ::testing::TestWithParam<State> {
 protected:
  TWConnectionStreamCancel() : server_([this](RawConnection& peer) { serve(peer); }, options()) {
    if (GetParam() == State::connecting) {
      server_.fillQueue();
      reached_.open();
    }
  }
  static RawServer::Options options() {
    RawServer::Options options;
    options.accepts = GetParam() != State::connecting;
    return options;
  }
  void serve(RawConnection& peer) {
    if (!peer.readRequest()) return;
    if (GetParam() >= State::opened) peer.write(kChunkedHead);
    if (GetParam() >= State::alive) peer.write(chunk(heartbeat() + "  "));
    if (GetParam() == State::halfway) peer.write(chunk("<s:Envelope>"));
    reached_.open();
    while (GetParam() == State::talking && peer.write(chunk(heartbeat() + "  "))) continue;
    peer.waitForClose();
  }

  Gate reached_;
  RawServer server_;
};

TEST_P(TWConnectionStreamCancel, EndsTheWaitAtOnceWithWhatWasKept) {
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return streamFrom(*connection, server_.url("/")); });
  ASSERT_TRUE(reached_.wait());
  while (!connection->stream()) std::this_thread::yield();
  const auto begin = std::chrono::steady_clock::now();
  connection->cancel();
  connection->cancel();
  const TWResponse record = running.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce);
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
  const auto kept = text(record.data);
  // It may not have come yet.
  if (!kept.empty()) {
    EXPECT_EQ(GetParam(), State::halfway);
    EXPECT_EQ(kept, "<s:Envelope>");
  }
  EXPECT_EQ(connection->stream(), nullptr);
  connection->cancel();
}

INSTANTIATE_TEST_SUITE_P(States, TWConnectionStreamCancel,
                         ::testing::Values(State::connecting, State::silent, State::opened,
                                           State::alive, State::halfway, State::talking));

TEST(TWConnectionStreamTransfer, CancelKeepsWhatHasCome) {
  // More than sockets hold, so some of it has come once all of it is sent.
  const auto half = "<s:Envelope>" + std::string(std::size_t{48} << 20U, 'x');
  Gate sent;
  RawServer server([&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    peer.write(chunk(half));
    sent.open();
    peer.waitForClose();
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  Running running([&] { return streamFrom(*connection, server.url("/")); });
  ASSERT_TRUE(sent.wait());
  connection->cancel();
  const TWResponse record = running.join();
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
  const auto kept = text(record.data);
  EXPECT_GT(kept.size(), 100U);
  EXPECT_TRUE(half.starts_with(kept));
}

TEST(TWConnectionStreamTransfer, CancelBeforeTheWaitDoesNothing) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml(notification()));
  TWHTTPRequest request;
  request.url = server.url("/");
  request.method = "POST";
  const auto stream = TWConnectionStream::withCredentials(nullptr, request);
  stream->cancel();
  EXPECT_EQ(stream->await(), bytes(notification()));
  EXPECT_FALSE(stream->wasCancelled());
  EXPECT_EQ(stream->fetched(), bytes(notification()));
  stream->cancel();
  stream->cancel();
  EXPECT_FALSE(stream->wasCancelled()) << "it was over";
}

TEST(TWConnectionStreamTransfer, CancelRightAtTheBeginningIsNotLost) {
  RawServer server([](RawConnection& peer) { peer.waitForClose(); });
  TWHTTPRequest request;
  request.url = server.url("/");
  request.method = "POST";
  TWConnectionOptions options;
  options.streamIdleLimit = kPatience;
  for (int i = 0; i < 1000; ++i) {
    const auto stream = TWConnectionStream::withCredentials(nullptr, request, options);
    stream->arm();
    std::thread other([&] { stream->cancel(); });
    EXPECT_EQ(stream->await(), std::nullopt);
    other.join();
    ASSERT_TRUE(stream->wasCancelled()) << i;
  }
}

TEST(TWConnectionStreamTransfer, ManyThreadsMayCancelWhileEventsArrive) {
  RawServer server([](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    while (peer.write(chunk(heartbeat() + "  "))) continue;
  });
  const auto connection = TWConnection::withCredentials(nullptr, false);
  std::atomic<bool> isOver = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      while (!isOver) {
        connection->cancel();
        std::this_thread::yield();
      }
    });
  for (int i = 0; i < 50; ++i)
    EXPECT_THAT(streamFrom(*connection, server.url("/")).error, IsHTTPError(TWHTTPErrorCancelled));
  isOver = true;
  for (auto& thread : threads) thread.join();
}

// Memory.

/// What the program has allocated, in bytes. (With sanitizers, which allocate their own way and
/// look for what is lost themselves, always the same.)
std::size_t allocated() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

constexpr std::size_t kSomeMemory = std::size_t{2} << 20U;

TEST(TWConnectionStreamTransfer, AHundredThousandHeartbeatsTakeNoMemory) {
  constexpr int kBatches = 1000;
  constexpr int kBeats = 100;
  std::string batch;
  for (int i = 0; i < kBeats; ++i) batch += heartbeat() + "  ";
  RawServer server([&](RawConnection& peer) {
    if (!peer.readRequest()) return;
    peer.write(kChunkedHead);
    for (int i = 0; i < kBatches; ++i)
      if (!peer.write(chunk(batch))) return;
    peer.write(chunk(notification()));
    peer.waitForClose();
  });
  TWConnectionOptions options;
  options.streamTextLimit = 2 * batch.size();
  const auto connection = TWConnection::withCredentials(nullptr, false, options);
  const auto before = allocated();
  EXPECT_EQ(text(streamFrom(*connection, server.url("/")).data), notification());
  EXPECT_LT(allocated(), before + kSomeMemory);
}

TEST(TWConnectionStreamTransfer, AThousandNotificationsTakeNoMemory) {
  RawServer server(sending({heartbeat() + "  ", notification(std::string(10000, 'x'))}));
  const auto connection = TWConnection::withCredentials(nullptr, false);
  std::size_t before = 0;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_GT(streamFrom(*connection, server.url("/")).data.size(), 10000U);
    if (i == 0) before = allocated();
  }
  EXPECT_LT(allocated(), before + kSomeMemory);
}

}  // namespace
}  // namespace tarnwell::test
