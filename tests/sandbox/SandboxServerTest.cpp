#include <atomic>
#include <fstream>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sandbox/SandboxServer.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/Gate.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::sandbox::test {
namespace {

using tarnwell::test::Gate;
using tarnwell::test::TemporaryDirectory;
using tarnwell::test::TestCertificates;
using testing::HasSubstr;

HttpOptions loginAs(std::string user, std::vector<std::string> more = {}) {
  more.emplace_back("Content-Type: text/xml; charset=utf-8");
  return HttpOptions{.user = std::move(user), .headers = std::move(more), .caFile = {}};
}

std::string startProblem(const SandboxOptions& options) {
  SandboxServer server(options);
  std::string error;
  EXPECT_FALSE(server.start(&error));
  EXPECT_EQ(server.port(), 0);
  EXPECT_EQ(server.url(), "");
  return error;
}

std::string contents(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(SandboxServer, ItSaysWhereItListens) {
  SandboxServer server(standardOptions());
  EXPECT_EQ(server.port(), 0);
  std::string error = "untouched";
  ASSERT_TRUE(server.start(&error));
  EXPECT_EQ(error, "untouched");
  EXPECT_GT(server.port(), 0);
  EXPECT_EQ(server.url(),
            "http://127.0.0.1:" + std::to_string(server.port()) + "/EWS/Exchange.asmx");
  EXPECT_EQ(server.certificatePem(), "");
}

TEST(SandboxServer, OptionsThatContradictThemselvesAreRefused) {
  SandboxOptions options = standardOptions();
  options.version = "Exchange2003";
  EXPECT_EQ(startProblem(options), "there is no server version Exchange2003");
  options = standardOptions();
  options.mailboxes.push_back({"ALICE@example.com", "x", {}});
  EXPECT_EQ(startProblem(options), "two mailboxes of the address ALICE@example.com");
  options = standardOptions();
  options.mailboxes.push_back({"alice", "x", {}});
  EXPECT_EQ(startProblem(options), "not a mail address: alice");
  options = standardOptions();
  options.tokens.push_back({"t", "nobody@example.com"});
  EXPECT_EQ(startProblem(options), "a token for nobody@example.com, which is no mailbox");
  options = standardOptions();
  options.tokens.push_back({"token-of-bob", "alice@example.com"});
  EXPECT_EQ(startProblem(options), "a token for alice@example.com is empty or given twice");
  options = standardOptions();
  options.port = 65536;
  EXPECT_EQ(startProblem(options), "the port is not one");
  options = standardOptions();
  options.tls = true;
  options.keyPem = "x";
  EXPECT_EQ(startProblem(options), "a certificate needs its key, and a key its certificate");
  options.certificatePem = "x";
  EXPECT_EQ(startProblem(options), "the certificate and its key cannot be used");
  options = standardOptions();
  options.tls = true;
  options.certificateNames = {"bad,name"};
  EXPECT_EQ(startProblem(options), "no certificate can be made for these names");
  options.certificateNames = {};
  EXPECT_EQ(startProblem(options), "no certificate can be made for these names");
}

TEST(SandboxServer, APortThatIsTakenIsAnError) {
  SandboxServer first(standardOptions());
  ASSERT_TRUE(first.start());
  SandboxOptions options = standardOptions();
  options.port = first.port();
  EXPECT_EQ(startProblem(options), "cannot listen on 127.0.0.1:" + std::to_string(first.port()));
}

TEST(SandboxServer, ItStartsOnceAtATimeAndAgainAfterItsStop) {
  SandboxServer server(standardOptions());
  server.stop();
  ASSERT_TRUE(server.start());
  std::string error;
  EXPECT_FALSE(server.start(&error));
  EXPECT_EQ(error, "it is running already");
  HttpClient client;
  EXPECT_EQ(client.get(server.url("/EWS/types.xsd")).status, 200);
  const std::string oldUrl = server.url("/EWS/types.xsd");
  server.stop();
  EXPECT_EQ(server.port(), 0);
  EXPECT_EQ(client.get(oldUrl).status, 0);
  ASSERT_TRUE(server.start());
  EXPECT_EQ(client.get(server.url("/EWS/types.xsd")).status, 200);
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST(SandboxServer, StoppingEndsConnectionsThatWait) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  OpenConnection idle(server.port(), "");
  OpenConnection half(server.port(), "POST /EWS/Exchange.asmx HTTP/1.1\r\nContent-Le");
  HttpClient kept;
  EXPECT_EQ(kept.get(server.url("/EWS/types.xsd")).status, 200);
  server.stop();  // a connection left open would keep it here for its time limit
  EXPECT_EQ(idle.readToEnd(), "");
  static_cast<void>(half.readToEnd());
}

TEST(SandboxServer, StoppingWaitsForTheRequestThatRuns) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  Gate reached;
  Gate open;
  std::atomic<bool> gateLeft = false;
  server.failNext(SandboxFault::delay([&] {
    reached.open();
    EXPECT_TRUE(open.wait());
    gateLeft = true;
  }));
  const std::string url = server.url();
  std::thread client([&] {
    HttpClient http;
    static_cast<void>(http.post(url, envelope(resolveNamesFor("alice"))));
  });
  ASSERT_TRUE(reached.wait());
  std::thread stopper([&] { server.stop(); });
  open.open();
  stopper.join();
  EXPECT_TRUE(gateLeft);
  client.join();
}

TEST(SandboxServer, LoginsByPasswordAndByTokenAreTaken) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  const std::string request = envelope(resolveNamesFor("alice"));
  HttpClient alice(loginAs("Alice@Example.com:secret"));
  EXPECT_EQ(alice.post(server.url(), request).status, 200);
  HttpClient bob(loginAs("bob@example.com:pa:ss word"));
  EXPECT_EQ(bob.post(server.url(), request).status, 200);
  HttpClient token(loginAs("", {"Authorization: Bearer token-of-bob"}));
  EXPECT_EQ(token.post(server.url(), request).status, 200);
  const std::vector<SandboxRequest> requests = server.requests();
  EXPECT_EQ(requests.at(0).user, "alice@example.com");
  EXPECT_EQ(requests.at(1).user, "bob@example.com");
  EXPECT_EQ(requests.at(2).user, "bob@example.com");
}

TEST(SandboxServer, WithoutAValidLoginAllThreeDoorsAreClosed) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  for (const HttpOptions& options :
       {loginAs(""), loginAs("alice@example.com:wrong"), loginAs("nobody@example.com:secret"),
        loginAs("", {"Authorization: Bearer wrong"}), loginAs("", {"Authorization: NTLM TlRM"})}) {
    HttpClient client(options);
    for (const HttpReply& reply :
         {client.post(server.url(), envelope(resolveNamesFor("alice"))),
          client.get(server.url("/EWS/types.xsd")),
          client.post(server.url("/Autodiscover/Autodiscover.xml"), "<a/>")}) {
      EXPECT_EQ(reply.status, 401);
      EXPECT_EQ(reply.body, "");
      ASSERT_EQ(reply.headers.count("www-authenticate"), 1U);
      EXPECT_EQ(reply.headers.find("www-authenticate")->second, "Basic realm=\"tarnwell-sandbox\"");
    }
  }
  EXPECT_EQ(server.requests().back().user, "");
}

TEST(SandboxServer, TheChallengesCanBeChosen) {
  SandboxOptions options = standardOptions();
  options.challenges = {"Bearer client_id=\"x\"", "NTLM"};
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client(loginAs(""));
  const HttpReply reply = client.get(server.url("/EWS/types.xsd"));
  EXPECT_EQ(reply.headers.count("www-authenticate"), 2U);
}

TEST(SandboxServer, PathsIgnoreCaseAndOthersAreNotFound) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  HttpClient client;
  EXPECT_EQ(
      client.post(server.url("/ews/exchange.ASMX"), envelope(resolveNamesFor("alice"))).status,
      200);
  EXPECT_EQ(client.get(server.url("/")).status, 404);
  EXPECT_EQ(client.get(server.url("/EWS/Exchange.asmx/more")).status, 404);
  EXPECT_EQ(client.get(server.url()).status, 405);
  EXPECT_EQ(client.post(server.url("/EWS/types.xsd"), "").status, 405);
  EXPECT_EQ(client.get(server.url("/Autodiscover/Autodiscover.xml")).status, 405);
}

TEST(SandboxServer, RequestsAreRememberedWithoutTheirSecrets) {
  std::mutex mutex;
  std::vector<std::string> lines;
  SandboxOptions options = standardOptions();
  options.log = [&](const std::string& line) {
    const std::lock_guard lock(mutex);
    lines.push_back(line);
  };
  options.requestLimit = 2;
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client(loginAs("alice@example.com:secret", {"X-Trace: one"}));
  const std::string body = envelope(resolveNamesFor("alice"), "Exchange2013");
  static_cast<void>(client.get(server.url("/")));
  static_cast<void>(client.get(server.url("/EWS/types.xsd")));
  static_cast<void>(client.post(server.url(), body));

  const std::vector<SandboxRequest> requests = server.requests();
  ASSERT_EQ(requests.size(), 2U) << "the oldest is forgotten";
  const SandboxRequest& last = requests.back();
  EXPECT_EQ(last.method, "POST");
  EXPECT_EQ(last.path, "/EWS/Exchange.asmx");
  EXPECT_EQ(last.body, body);
  EXPECT_EQ(last.user, "alice@example.com");
  EXPECT_EQ(last.operation, "ResolveNames");
  EXPECT_EQ(last.requestedVersion, "Exchange2013");
  EXPECT_EQ(last.status, 200);
  bool traced = false;
  for (const auto& [name, value] : last.headers) {
    EXPECT_NE(name, "Authorization");
    EXPECT_NE(name, "REMOTE_ADDR");
    traced = traced || (name == "X-Trace" && value == "one");
  }
  EXPECT_TRUE(traced);
  server.stop();
  EXPECT_EQ(lines.at(2),
            "POST /EWS/Exchange.asmx ResolveNames Exchange2013 [alice@example.com] 200");
  for (const std::string& line : lines) EXPECT_THAT(line, Not(HasSubstr("secret")));
  server.clearRequests();
  EXPECT_TRUE(server.requests().empty());
}

TEST(SandboxServer, TwoRequestsAreAnsweredAtOnce) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  // Each waits inside the server until the other has come too.
  Gate gates[2];
  for (int i = 0; i < 2; ++i) {
    server.failNext(SandboxFault::delay([&gates, i] {
      gates[i].open();
      EXPECT_TRUE(gates[1 - i].wait());
    }));
  }
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&server] {
      HttpClient client;
      EXPECT_EQ(client.post(server.url(), envelope(resolveNamesFor("alice"))).status, 200);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(SandboxServer, ManyClientsAndItsOwnOperationsGoTogether) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  constexpr int kThreads = 16;
  constexpr int kRounds = 10;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&server, i] {
      HttpClient client;
      for (int round = 0; round < kRounds; ++round) {
        const std::string name = (i + round) % 2 == 0 ? "alice" : "bob";
        const Answer answer(client.post(server.url(), envelope(resolveNamesFor(name))));
        EXPECT_EQ(answer.text("//EmailAddress"), name + "@example.com");
        server.redirect(name + "@old.example", {SandboxRedirect::Kind::address, name});
        static_cast<void>(server.requests());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(server.requests().size(), static_cast<std::size_t>(kThreads * kRounds));
}

TEST(SandboxServer, BodiesArePackedForClientsThatOfferIt) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  const std::string url = server.url("/EWS/types.xsd");
  HttpClient packed(loginAs("alice@example.com:secret", {"Accept-Encoding: compress, gzip"}));
  EXPECT_EQ(packed.get(url).headers.find("content-encoding")->second, "gzip");
  HttpClient all(loginAs("alice@example.com:secret", {"Accept-Encoding: br, gzip"}));
  EXPECT_EQ(all.get(url).headers.find("content-encoding")->second, "gzip");
  HttpClient brotli(loginAs("alice@example.com:secret", {"Accept-Encoding: br"}));
  EXPECT_EQ(brotli.get(url).headers.count("content-encoding"), 0U);
}

class SandboxTls : public testing::Test {
 protected:
  /// Talks to the server as to that host, trusting that file.
  static HttpReply get(const SandboxServer& server, const std::string& host,
                       const std::string& caFile) {
    HttpOptions options = loginAs("alice@example.com:secret");
    options.caFile = caFile;
    HttpClient client(options);
    return client.get("https://" + host + ":" + std::to_string(server.port()) + "/EWS/types.xsd");
  }

  TemporaryDirectory directory;
};

TEST_F(SandboxTls, TheCertificateMadeAtStartIsTrustedByWhoeverIsGivenIt) {
  SandboxOptions options = standardOptions();
  options.tls = true;
  options.certificateNames = {"localhost", "127.0.0.1", "mail.example.com"};
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  EXPECT_TRUE(server.url().starts_with("https://127.0.0.1:"));
  const std::string file = directory.path() / "server.pem";
  std::ofstream(file) << server.certificatePem();
  EXPECT_EQ(get(server, "127.0.0.1", file).status, 200);
  EXPECT_EQ(get(server, "localhost", file).status, 200);
  EXPECT_EQ(get(server, "127.0.0.1", TestCertificates::shared().authority()).status, 0);
  EXPECT_EQ(get(server, "127.0.0.2", file).status, 0) << "not among its names";
  // Plain HTTP at a TLS port must neither answer nor end the server.
  EXPECT_EQ(exchangeBytes(server.port(), "GET / HTTP/1.1\r\n\r\n").find("HTTP/"),
            std::string::npos);
  EXPECT_EQ(get(server, "localhost", file).status, 200);
}

TEST_F(SandboxTls, ACertificateCanBeGiven) {
  const TestCertificates& certificates = TestCertificates::shared();
  SandboxOptions options = standardOptions();
  options.tls = true;
  options.certificatePem = contents(certificates.good().certificateFile);
  options.keyPem = contents(certificates.good().keyFile);
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  EXPECT_EQ(server.certificatePem(), options.certificatePem);
  EXPECT_EQ(get(server, "localhost", certificates.authority()).status, 200);

  options.keyPem = contents(certificates.expired().keyFile);
  EXPECT_EQ(startProblem(options), "the certificate and its key cannot be used");
}

TEST_F(SandboxTls, ARestartKeepsTheCertificate) {
  SandboxOptions options = standardOptions();
  options.tls = true;
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  const std::string before = server.certificatePem();
  server.stop();
  ASSERT_TRUE(server.start());
  EXPECT_EQ(server.certificatePem(), before);
}

}  // namespace
}  // namespace tarnwell::sandbox::test
