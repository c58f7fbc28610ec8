#include <gmock/gmock.h>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWDictionary.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::HasSubstr;

MATCHER_P(IsRefusedRedirect, target, "") {
  *result_listener << arg;
  return arg.is(TWErrorCode::ErrorRedirect) && arg.userInfo().get("url").asText() == target &&
         !arg.userInfo().contains("d");
}

std::shared_ptr<TWConnection> following() { return TWConnection::withCredentials(nullptr, true); }
std::shared_ptr<TWConnection> refusing() { return TWConnection::withCredentials(nullptr, false); }

TEST(TWConnectionRedirect, IsFollowedWhenAllowed) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other?x=1"));
  server.enqueue(ScriptedAnswer::xml("<there/>"));
  const auto connection = following();
  const TWResponse record = connection->get(server.url("/one"));
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_EQ(status(record), 200);
  EXPECT_EQ(text(record.data), "<there/>");
  EXPECT_EQ(record.url, server.url("/other?x=1"));
  EXPECT_EQ(connection->redirected(), std::nullopt);
  EXPECT_FALSE(record.needsRedirect);
}

TEST(TWConnectionRedirect, TurnsPostIntoGetOrKeepsItByStatus) {
  const std::pair<int, const char*> cases[] = {
      {301, "GET"}, {302, "GET"}, {303, "GET"}, {307, "POST"}, {308, "POST"}};
  for (const auto& [code, method] : cases) {
    ScriptedServer server;
    server.enqueue(ScriptedAnswer::redirect(code, "/other"));
    (void)following()->post(server.url("/"), std::nullopt, "<q/>");
    ASSERT_EQ(server.requestCount(), 2U) << code;
    EXPECT_EQ(server.requests()[1].method, method) << code;
    EXPECT_EQ(server.requests()[1].body, std::string_view(method) == "POST" ? "<q/>" : "") << code;
  }
}

TEST(TWConnectionRedirect, CycleEndsAfterTwenty) {
  ScriptedServer server(
      [](const ScriptedRequest&) { return ScriptedAnswer::redirect(302, "/again"); });
  const TWResponse record = following()->get(server.url("/"));
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorTooManyRedirects));
  EXPECT_EQ(server.requestCount(), 21U);
}

TEST(TWConnectionRedirect, RefusalCompletesTheRequestWithTheTargetInTheError) {
  ScriptedServer server;
  ScriptedAnswer answer = ScriptedAnswer::redirect(302, "../other/b?x=1");
  answer.body = "<moved/>";
  server.enqueue(answer);
  const auto connection = refusing();
  const TWResponse record = connection->get(server.url("/EWS/a"));
  const std::string target = server.url("/other/b?x=1");
  EXPECT_EQ(status(record), 302);
  EXPECT_EQ(text(record.data), "<moved/>");
  EXPECT_EQ(record.url, server.url("/EWS/a"));
  EXPECT_THAT(record.error, IsRefusedRedirect(target));
  EXPECT_TRUE(record.needsRedirect);
  EXPECT_EQ(record.redirectUrl, target);
  EXPECT_EQ(connection->redirected(), target);
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST(TWConnectionRedirect, TargetOnAnotherHostIsGivenAsItIs) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(301, "https://mail.example/EWS/Exchange.asmx"));
  const TWResponse record = refusing()->post(server.url("/"), std::nullopt, "<q/>");
  EXPECT_THAT(record.error, IsRefusedRedirect("https://mail.example/EWS/Exchange.asmx"));
}

TEST(TWConnectionRedirect, RefusedRedirectStaysTheErrorOfEveryLaterRequest) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  server.enqueue(ScriptedAnswer::xml("<fine/>"));
  const auto connection = refusing();
  (void)connection->get(server.url("/"));
  const TWResponse record = connection->get(server.url("/"));
  EXPECT_EQ(status(record), 200);
  EXPECT_EQ(text(record.data), "<fine/>");
  EXPECT_TRUE(record.xml());
  EXPECT_THAT(record.error, IsRefusedRedirect(server.url("/other")));
  EXPECT_FALSE(record.needsRedirect) << "that is about the record's own request";
  EXPECT_EQ(record.redirectUrl, "");
}

TEST(TWConnectionRedirect, RefusedRedirectHidesLaterErrorsOfTheTransport) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  const auto connection = refusing();
  (void)connection->get(server.url("/"));
  const TWResponse record = connection->get("http://127.0.0.1:1/");
  EXPECT_THAT(record.error, IsRefusedRedirect(server.url("/other")));
  EXPECT_FALSE(record.response);
}

TEST(TWConnectionRedirect, LaterRefusalReplacesTheTarget) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/one"));
  server.enqueue(ScriptedAnswer::redirect(302, "/two"));
  const auto connection = refusing();
  (void)connection->get(server.url("/"));
  EXPECT_THAT(connection->get(server.url("/")).error, IsRefusedRedirect(server.url("/two")));
}

TEST(TWConnectionRedirect, FreshConnectionIsFreeOfTheError) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  (void)refusing()->get(server.url("/"));
  EXPECT_THAT(refusing()->get(server.url("/")).error, IsNoError());
}

TEST(TWConnectionRedirect, WithoutATargetIsAnOrdinaryAnswer) {
  for (const bool follows : {false, true}) {
    ScriptedServer server;
    ScriptedAnswer answer;
    answer.status = 302;
    server.enqueue(answer);
    const auto connection = TWConnection::withCredentials(nullptr, follows);
    const TWResponse record = connection->get(server.url("/"));
    EXPECT_THAT(record.error, IsNoError());
    EXPECT_EQ(status(record), 302);
    EXPECT_FALSE(record.needsRedirect);
    EXPECT_EQ(connection->redirected(), std::nullopt);
  }
}

TEST(TWConnectionRedirect, OtherProtocolsAreNotFollowed) {
  for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/", "gopher://127.0.0.1:1/"}) {
    ScriptedServer server;
    server.enqueue(ScriptedAnswer::redirect(302, target));
    const TWResponse record = following()->get(server.url("/"));
    EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorUnsupportedURL)) << target;
    EXPECT_TRUE(record.data.empty());
  }
}

class TWConnectionRedirectTLS : public ::testing::Test {
 protected:
  TWConnectionRedirectTLS() {
    tls_.certificate = TestCertificates::shared().good();
    options_.caFile = TestCertificates::shared().authority();
  }
  ScriptedServer::Options tls_;
  TWConnectionOptions options_;
};

TEST_F(TWConnectionRedirectTLS, LeadsFromHTTPToHTTPSButNeverBack) {
  ScriptedServer plain;
  ScriptedServer secure(tls_);
  plain.enqueue(ScriptedAnswer::redirect(302, secure.url("/safe")));
  EXPECT_EQ(status(TWConnection::withCredentials(nullptr, true, options_)->get(plain.url("/"))),
            200);

  secure.enqueue(ScriptedAnswer::redirect(302, plain.url("/unsafe")));
  EXPECT_THAT(TWConnection::withCredentials(nullptr, true, options_)->get(secure.url("/")).error,
              IsHTTPError(TWHTTPErrorUnsupportedURL));

  // Nor on a detour that began without TLS.
  plain.enqueue(ScriptedAnswer::redirect(302, secure.url("/detour")));
  secure.enqueue(ScriptedAnswer::redirect(302, plain.url("/unsafe")));
  const auto connection = TWConnection::withCredentials(nullptr, true, options_);
  EXPECT_THAT(connection->get(plain.url("/")).error, IsHTTPError(TWHTTPErrorUnsupportedURL));
  for (const ScriptedRequest& request : plain.requests()) EXPECT_NE(request.target, "/unsafe");
  // The rule is made anew for each request.
  EXPECT_EQ(status(connection->get(plain.url("/"))), 200);
}

TEST_F(TWConnectionRedirectTLS, CertificateIsJudgedForTheNewHost) {
  // The certificate is for localhost and 127.0.0.1; the redirect goes to another name of the same
  // server.
  ScriptedServer secure(tls_);
  const std::string port = std::to_string(secure.port());
  options_.connectTo = {"mail.other.example:" + port + ":127.0.0.1:" + port};
  secure.enqueue(ScriptedAnswer::redirect(302, secure.url("/x", "mail.other.example")));
  const auto connection = TWConnection::withCredentials(nullptr, true, options_);
  EXPECT_THAT(connection->get(secure.url("/")).error, IsHTTPError(TWHTTPErrorInsecureCertificate));
  EXPECT_TRUE(connection->hasInsecureCertificate());
  EXPECT_EQ(secure.requestCount(), 1U);
}

/// A redirect to another host, port or scheme, where the second server challenges for the password.
class TWConnectionSecretsOnRedirect : public ::testing::TestWithParam<const char*> {};

TEST_P(TWConnectionSecretsOnRedirect, StayWithTheFirstHost) {
  const std::string kind = GetParam();
  ScriptedServer::Options tls;
  tls.certificate = TestCertificates::shared().good();
  const ScriptedServer::Handler curious = [](const ScriptedRequest&) {
    return ScriptedAnswer::challenge({"Basic realm=\"x\"", "NTLM"});
  };
  ScriptedServer second(curious, kind == "scheme" ? tls : ScriptedServer::Options());
  const std::string target = second.url("/take", kind == "host" ? "localhost" : "127.0.0.1");
  TWConnectionOptions options;
  options.caFile = TestCertificates::shared().authority();
  for (const int code : {302, 307}) {
    for (const auto& credentials : {withPassword(), withToken()}) {
      ScriptedServer first([&](const ScriptedRequest& request) {
        return request.header("Authorization") ? ScriptedAnswer::redirect(code, target)
                                               : ScriptedAnswer::challenge({"Basic realm=\"x\""});
      });
      const auto connection = TWConnection::withCredentials(credentials, true, options);
      const TWResponse record = connection->post(first.url("/"), std::nullopt, "<q/>");
      EXPECT_EQ(status(record), 401);
      EXPECT_TRUE(first.requests().back().header("Authorization"));
    }
  }
  EXPECT_GE(second.requestCount(), 4U);
  for (const ScriptedRequest& request : second.requests()) {
    EXPECT_EQ(request.header("Authorization"), std::nullopt);
    EXPECT_THAT(request.head, Not(HasSubstr(std::string(kSecret))));
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, TWConnectionSecretsOnRedirect,
                         ::testing::Values("host", "port", "scheme"));

TEST(TWConnectionRedirect, PasswordIsNotWrittenIntoURLs) {
  for (const bool follows : {false, true}) {
    ScriptedServer server;
    server.enqueue(ScriptedAnswer::challenge({"Basic realm=\"x\""}));
    server.enqueue(ScriptedAnswer::redirect(302, "other"));
    const auto connection = TWConnection::withCredentials(withPassword(), follows);
    const TWResponse record = connection->get(server.url("/EWS/a"));
    if (follows) {
      EXPECT_THAT(record.error, IsNoError());
      EXPECT_EQ(status(record), 200);
      EXPECT_EQ(server.requestCount(), 3U);
    }
    EXPECT_EQ(record.url, server.url(follows ? "/EWS/other" : "/EWS/a"));
    EXPECT_EQ(record.redirectUrl, follows ? "" : server.url("/EWS/other"));
  }
}

TEST(TWConnectionRedirect, RelativeTargetsAreFollowedWithAPasswordToo) {
  const std::pair<const char*, const char*> targets[] = {
      {"/next", "/next"}, {"next", "/EWS/next"}, {"?n=1", "/EWS/a?n=1"}, {"../up#f", "/up"}};
  for (const auto& entry : targets) {
    const std::string location = entry.first;
    const std::string target = entry.second;
    for (const bool challenged : {false, true}) {
      // A password with every mark that means something in a URL.
      ScriptedServer server([&](const ScriptedRequest& request) {
        if (challenged && !request.header("Authorization"))
          return ScriptedAnswer::challenge({"Basic realm=\"x\""});
        return request.target == "/EWS/a" ? ScriptedAnswer::redirect(307, location)
                                          : ScriptedAnswer::xml("<in/>");
      });
      const auto connection =
          TWConnection::withCredentials(withPassword("ann@example.com", "p%40:w/?#"), true);
      const TWResponse record = connection->post(server.url("/EWS/a"), std::nullopt, "<q/>");
      EXPECT_THAT(record.error, IsNoError()) << location;
      EXPECT_EQ(text(record.data), "<in/>") << location;
      EXPECT_EQ(server.requests().back().target, target);
      EXPECT_EQ(server.requests().back().body, "<q/>");
      // "ann@example.com:p%40:w/?#"
      if (challenged) {
        EXPECT_EQ(server.requests().back().header("Authorization"),
                  "Basic YW5uQGV4YW1wbGUuY29tOnAlNDA6dy8/Iw==");
      }
    }
  }
}

TEST(TWConnectionRedirect, PasswordStaysBehindWhenARelativeTargetLeadsToAnotherHost) {
  const ScriptedServer::Handler curious = [](const ScriptedRequest&) {
    return ScriptedAnswer::challenge({"Basic realm=\"x\"", "NTLM"});
  };
  ScriptedServer second(curious);
  ScriptedServer first([&](const ScriptedRequest& request) {
    if (!request.header("Authorization")) return ScriptedAnswer::challenge({"Basic realm=\"x\""});
    return ScriptedAnswer::redirect(
        307, request.target == "/" ? std::string("/next") : second.url("/take", "localhost"));
  });
  const auto connection = TWConnection::withCredentials(withPassword(), true);
  EXPECT_EQ(status(connection->post(first.url("/"), std::nullopt, "<q/>")), 401);
  EXPECT_EQ(second.requestCount(), 1U);
  for (const ScriptedRequest& request : second.requests()) {
    EXPECT_EQ(request.header("Authorization"), std::nullopt);
    EXPECT_THAT(request.head, Not(HasSubstr(std::string(kSecret))));
  }
}

TEST(TWConnectionRedirect, TargetWithALoginIsNotFollowed) {
  ScriptedServer server;
  ScriptedServer other;
  for (const std::string& location :
       {"http://eve:pw@127.0.0.1:" + std::to_string(other.port()) + "/",
        "//eve@127.0.0.1:" + std::to_string(other.port()) + "/"}) {
    server.enqueue(ScriptedAnswer::redirect(302, location));
    const TWResponse record =
        TWConnection::withCredentials(withPassword(), true)->get(server.url("/"));
    EXPECT_EQ(record.error.domain(), TWHTTPErrorDomain) << location;
    EXPECT_THAT(record.error.description(), Not(HasSubstr("eve")));
  }
  EXPECT_EQ(other.requestCount(), 0U);
}

TEST(TWConnectionRedirect, LoginsDoNotCountAsRedirects) {
  for (const char* challenge : {"Basic realm=\"x\"", "Digest realm=\"x\", nonce=\"n\""}) {
    int left = 20;
    ScriptedServer server([&](const ScriptedRequest& request) {
      // Every host in turn asks anew.
      if (!request.header("Authorization")) return ScriptedAnswer::challenge({challenge});
      return left-- > 0 ? ScriptedAnswer::redirect(302, "/again") : ScriptedAnswer::xml("<in/>");
    });
    const TWResponse record =
        TWConnection::withCredentials(withPassword(), true)->get(server.url("/"));
    EXPECT_THAT(record.error, IsNoError());
    EXPECT_EQ(text(record.data), "<in/>");
  }
}

TEST(TWConnectionRedirect, ClosedConnectionStillTellsWhereItWasSent) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  const auto connection = refusing();
  (void)connection->get(server.url("/"));
  connection->close();
  EXPECT_THAT(connection->get(server.url("/")).error, IsRefusedRedirect(server.url("/other")));
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST(TWConnectionRedirect, TargetThatCannotBeFollowedIsReportedAsFarAsItGoes) {
  const std::pair<const char*, const char*> cases[] = {{"http://", "http://"},
                                                       {"file:///etc/passwd", "file:///etc/passwd"},
                                                       {"ftp://h/x", "ftp://h/x"}};
  for (const auto& [location, target] : cases) {
    ScriptedServer server;
    server.enqueue(ScriptedAnswer::redirect(302, location));
    EXPECT_THAT(refusing()->get(server.url("/")).error, IsRefusedRedirect(target));
  }
}

TEST(TWConnectionRedirect, EmptyTargetIsNone) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, ""));
  EXPECT_THAT(refusing()->get(server.url("/")).error, IsNoError());
}

TEST(TWConnectionRedirect, SameHostStillGetsTheToken) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, "/other"));
  (void)TWConnection::withCredentials(withToken("tok"), true)->get(server.url("/"));
  EXPECT_EQ(server.requests().at(1).header("Authorization"), "Bearer tok");
}

}  // namespace
}  // namespace tarnwell::test
