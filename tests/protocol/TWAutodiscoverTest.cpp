#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/protocol/AutodiscoverAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answerWith;
using test::errorAnswer;
using test::kEmail;
using test::protocol;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using testing::ElementsAre;

TWError parseError(std::string_view xml) {
  TWError error;
  EXPECT_FALSE(TWAutodiscover::parseAutodiscoverResponse(xml, &error));
  return error;
}

TEST(TWAutodiscover, AsksTheDomainThenItsAutodiscoverHostAndThatOverHttpLast) {
  EXPECT_EQ(TWAutodiscover::hostnamesForHostname("d"),
            (std::vector<TWAutodiscover::Candidate>{
                {true, "d"}, {true, "autodiscover.d"}, {false, "autodiscover.d"}}));
  EXPECT_TRUE(TWAutodiscover::hostnamesForHostname("").empty());
}

TEST(TWAutodiscover, TheRequestNamesTheAddressAndTheSchemaOfTheAnswer) {
  const auto body = TWAutodiscover::getAutodiscoverPayload("A&b@Example.com");
  EXPECT_THAT(body, testing::StartsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?><Autodiscover"));
  EXPECT_THAT(
      body,
      test::EqualsXML(
          "<Autodiscover "
          "xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/outlook/requestschema/2006\">"
          "<Request><EMailAddress>A&amp;b@Example.com</EMailAddress><AcceptableResponseSchema>"
          "http://schemas.microsoft.com/exchange/autodiscover/outlook/responseschema/2006a"
          "</AcceptableResponseSchema></Request></Autodiscover>"));
}

TEST(TWAutodiscover, TheRequestKeepsEveryBackslash) {
  EXPECT_THAT(TWAutodiscover::getAutodiscoverPayload("CORP\\Nina@example.com"),
              testing::HasSubstr("<EMailAddress>CORP\\Nina@example.com</EMailAddress>"));
}

TEST(TWAutodiscover, ReadsTheEndpointAndTheAddress) {
  const auto params = TWAutodiscover::parseAutodiscoverResponse(
      answerWith(kEmail + protocol("EXCH", "https://in/")));
  ASSERT_TRUE(params);
  EXPECT_EQ(params->ewsUrl, "https://in/");
  EXPECT_EQ(params->primarySMTPAddress, "ann@example.com");
}

TEST(TWAutodiscover, PrefersTheExternalProtocolAndTheLastOfAType) {
  const auto urlOf = [](const std::string& protocols) {
    return TWAutodiscover::parseAutodiscoverResponse(answerWith(kEmail + protocols))->ewsUrl;
  };
  EXPECT_EQ(urlOf(protocol("EXPR", "https://out/") + protocol("EXCH", "https://in/")),
            "https://out/");
  EXPECT_EQ(urlOf(protocol("EXCH", "https://1/") + protocol("EXCH", "https://2/")), "https://2/");
}

TEST(TWAutodiscover, ARecordIsJudgedByItsErrorBeforeItsDocument) {
  TWResponse record;
  const TWError noXML(TWErrorCode::ErrorAutodiscoverFailed, "Response did not contain xml");
  EXPECT_EQ(TWAutodiscover::errorOfResponse(record), noXML);
  record.error = TWError(TWHTTPErrorDomain, TWHTTPErrorTimedOut, "late");
  EXPECT_EQ(TWAutodiscover::errorOfResponse(record), noXML);
  constexpr std::string_view kText = "<a/>";
  record.setData({kText.begin(), kText.end()});
  EXPECT_FALSE(TWAutodiscover::errorOfResponse(record));
  for (const auto code : {TWErrorCode::ErrorTransport, TWErrorCode::ErrorUnauthorized}) {
    record.error = TWError(code, "why");
    const auto error = TWAutodiscover::errorOfResponse(record);
    EXPECT_TRUE(error.is(TWErrorCode::ErrorAutodiscoverFailed));
    EXPECT_EQ(error.userInfo(), (TWDictionary{{"e", record.error}}));
  }
  record.error = TWError(TWErrorCode::ErrorRedirect, TWDictionary{{"url", "http://x/"}});
  EXPECT_EQ(TWAutodiscover::errorOfResponse(record), record.error);
}

TEST(TWAutodiscover, TextThatIsNoXMLCannotBeParsed) {
  EXPECT_EQ(parseError("junk"), TWError(TWErrorCode::ErrorAutodiscoverFailed,
                                        "Could not parse xml response in autodiscover"));
}

TEST(TWAutodiscover, ARedirectToAnotherAddressTellsItBeforeAnythingElse) {
  const auto error =
      parseError(answerWith("<AccountType>x</AccountType><Action>redirectAddr</"
                            "Action><RedirectAddr>bob@b</RedirectAddr>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorRedirectAddress));
  EXPECT_EQ(error.userInfo(), (TWDictionary{{"email", "bob@b"}}));
}

TEST(TWAutodiscover, ARedirectWithoutAnAddressIsJudgedByItsAccountType) {
  EXPECT_TRUE(parseError(answerWith("<Action>redirectAddr</Action>"))
                  .is(TWErrorCode::ErrorAutodiscoverAccountType));
}

TEST(TWAutodiscover, OnlyAccountsOfTypeEmailAreTaken) {
  const TWError invalid(TWErrorCode::ErrorAutodiscoverAccountType,
                        "Invalid account type in autodiscover");
  EXPECT_EQ(
      parseError(answerWith("<AccountType>other</AccountType>" + protocol("EXCH", "https://in/"))),
      invalid);
  EXPECT_EQ(parseError(answerWith("")), invalid);
}

TEST(TWAutodiscover, TellsWhatAnAnswerLacks) {
  const auto failed = [](const char* message) {
    return TWError(TWErrorCode::ErrorAutodiscoverFailed, message);
  };
  EXPECT_EQ(parseError(answerWith(kEmail + protocol("WEB", "https://x/"), "")),
            failed("Invalid protocols in discover response"));
  EXPECT_EQ(parseError(answerWith(kEmail + protocol("EXPR", "") + protocol("EXCH", "https://in/"))),
            failed("Missing ews url or smtp address"));
  EXPECT_EQ(parseError(answerWith(kEmail + protocol("EXCH", "https://in/"), "")),
            failed("Missing ews url or smtp address"));
  EXPECT_EQ(parseError(answerWith(kEmail + protocol("EXCH", "https://in/"), "", "urn:other")),
            failed("Unknown parse error"));
}

TEST(TWAutodiscover, TheNameOfTheRootPlaysNoPartAndTheNamespaceOfAllElseDoes) {
  auto answer = answerWith(kEmail + protocol("EXCH", "https://in/"));
  answer.replace(1, 12, "Odd").replace(answer.size() - 13, 12, "Odd");
  EXPECT_TRUE(TWAutodiscover::parseAutodiscoverResponse(answer));
  const std::string xmlns(test::kAnswerNamespace);
  const auto foreign = parseError("<a><Response xmlns=\"" + xmlns + "\"><Account xmlns=\"urn:x\">" +
                                  kEmail + "</Account></Response></a>");
  EXPECT_TRUE(foreign.is(TWErrorCode::ErrorAutodiscoverAccountType));
  EXPECT_EQ(parseError(errorAnswer("<Error><ErrorCode xmlns=\"\">600</ErrorCode><Message "
                                   "xmlns=\"" +
                                   xmlns + "\">no</Message></Error>"))
                .userInfo(),
            (TWDictionary{{"code", ""}, {"msg", ""}}));
}

TEST(TWAutodiscover, AnUnknownMailboxIsToldInWords) {
  for (const char* message :
       {"The e-mail address cannot be found.", "The email address can't be found."})
    EXPECT_EQ(
        parseError(errorAnswer("<Error><ErrorCode>500</ErrorCode><Message>" + std::string(message) +
                               "</Message></Error>")),
        TWError(TWErrorCode::ErrorAutodiscoverFailed, "There is no mailbox for this SMTP address"));
}

TEST(TWAutodiscover, AnyOtherErrorKeepsItsCodeAndText) {
  const auto error =
      parseError(errorAnswer("<Error><ErrorCode>600</ErrorCode><Message>The e-mail address cannot "
                             "be found</Message></Error>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAutodiscoverFailed));
  EXPECT_EQ(error.userInfo(),
            (TWDictionary{{"code", "600"}, {"msg", "The e-mail address cannot be found"}}));
  EXPECT_EQ(parseError(errorAnswer("")).userInfo(), (TWDictionary{{"code", ""}, {"msg", ""}}));
}

// Over HTTP. Every test has a domain of its own, since protocols are cached by URL.

/// Whole discoveries, with all hosts of a domain on this machine. Only plain http is scripted: the
/// https candidates find nobody and are told by the connections that were tried.
class TWAutodiscoverHTTPTest : public testing::Test {
 protected:
  TWAutodiscoverOptions options() const {
    TWAutodiscoverOptions all;
    // An empty host stands for every host.
    all.connection.connectTo = {":80:127.0.0.1:" + std::to_string(server.port()),
                                ":443:127.0.0.1:1"};
    return all;
  }
  std::optional<TWAutodiscoverObject> discover(std::string_view email) {
    return TWAutodiscover::discover(
        email, TWCredentials::credentialsWithUsernamePassword("ann", "pw"), options());
  }
  std::vector<std::string> posted() const {
    std::vector<std::string> hosts;
    for (const auto& request : server.requests())
      if (request.method == "POST" && request.target == "/Autodiscover/Autodiscover.xml" &&
          request.body.find("EMailAddress") != std::string::npos)
        hosts.push_back(request.header("Host").value_or(""));
    return hosts;
  }
  /// Answers autodiscover requests by host; everything else, the probes among it, with 404.
  void answer(std::function<ScriptedAnswer(const std::string& host)> byHost) {
    byHost_ = std::move(byHost);
  }

  ScriptedServer server{[this](const ScriptedRequest& request) {
    if (request.body.find("EMailAddress") == std::string::npos) return ScriptedAnswer::xml("", 404);
    return byHost_(request.header("Host").value_or(""));
  }};

 private:
  std::function<ScriptedAnswer(const std::string&)> byHost_;
};

ScriptedAnswer found() {
  return ScriptedAnswer::xml(
      answerWith(kEmail + protocol("EXPR", "http://mail.found.example/EWS/Exchange.asmx")));
}

TEST_F(TWAutodiscoverHTTPTest, FindsTheEndpointAndSharesItsProtocol) {
  answer([](const std::string&) { return found(); });
  const auto object = discover("Ann@ONE.example");
  ASSERT_TRUE(object);
  EXPECT_EQ(object->primarySMTPAddress, "ann@example.com");
  EXPECT_EQ(object->protocol, TWProtocol::protocolForServiceEndpoint(
                                  "http://mail.found.example/EWS/Exchange.asmx",
                                  TWCredentials::credentialsWithUsernamePassword("ann", "pw")));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.one.example"));
  const auto requests = server.requests();
  const auto request = std::ranges::find_if(
      requests, [](const auto& r) { return r.body.find("EMailAddress") != std::string::npos; });
  ASSERT_NE(request, requests.end());
  EXPECT_EQ(request->header("Content-Type"), "text/xml; charset=utf-8");
  EXPECT_EQ(request->header("Accept-Encoding"), "compress, gzip");
  EXPECT_THAT(request->body, testing::HasSubstr("<EMailAddress>Ann@ONE.example</EMailAddress>"));
}

TEST_F(TWAutodiscoverHTTPTest, ProbesANewHostOnlyOnce) {
  answer([](const std::string&) { return ScriptedAnswer::xml("", 404); });
  EXPECT_FALSE(discover("ann@probed.example"));
  const auto first = server.requestCount();
  EXPECT_EQ(first, 3U);  // schema document, name resolution, the request itself
  EXPECT_FALSE(discover("ann@probed.example"));
  EXPECT_EQ(server.requestCount(), first + 1);
}

TEST_F(TWAutodiscoverHTTPTest, AnAddressWithoutADomainAsksNobody) {
  EXPECT_FALSE(discover("nobody"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAutodiscoverHTTPTest, PlainHttpCanBeLeftOut) {
  auto secure = options();
  secure.allowsPlainHTTP = false;
  EXPECT_FALSE(TWAutodiscover::discover("ann@secure.example", nullptr, secure));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAutodiscoverHTTPTest, ARedirectIsFollowedToItsHost) {
  answer([](const std::string& host) {
    return host == "autodiscover.two.example"
               ? ScriptedAnswer::redirect(302, "http://target.example/elsewhere?x=1")
               : found();
  });
  EXPECT_TRUE(discover("ann@two.example"));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.two.example", "target.example"));
}

TEST_F(TWAutodiscoverHTTPTest, ADiscoveryAfterARedirectStartsAfresh) {
  bool redirects = true;
  answer([&redirects](const std::string& host) {
    return redirects && host == "autodiscover.fresh.example"
               ? ScriptedAnswer::redirect(302, "http://gone.example/")
               : found();
  });
  EXPECT_TRUE(discover("ann@fresh.example"));
  redirects = false;
  EXPECT_TRUE(discover("ann@fresh.example"));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.fresh.example", "gone.example",
                                    "autodiscover.fresh.example"));
}

TEST_F(TWAutodiscoverHTTPTest, HostsThatRedirectInACircleAreAskedOnce) {
  answer([](const std::string& host) {
    return ScriptedAnswer::redirect(
        302, host == "a.circle.example" ? "http://b.circle.example/" : "http://a.circle.example/");
  });
  EXPECT_FALSE(discover("ann@circle.example"));
  EXPECT_THAT(posted(),
              ElementsAre("autodiscover.circle.example", "a.circle.example", "b.circle.example"));
}

TEST_F(TWAutodiscoverHTTPTest, AHostThatRedirectsToItselfIsAskedOnce) {
  answer([](const std::string&) {
    return ScriptedAnswer::redirect(301, "http://autodiscover.self.example/other");
  });
  EXPECT_FALSE(discover("ann@self.example"));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.self.example"));
}

TEST_F(TWAutodiscoverHTTPTest, AnEndlessChainOfRedirectsEnds) {
  int next = 0;
  answer([&next](const std::string&) {
    return ScriptedAnswer::redirect(302, "http://h" + std::to_string(++next) + ".chain.example/");
  });
  EXPECT_FALSE(discover("ann@chain.example"));
  EXPECT_EQ(posted().size(), 11U);
}

TEST_F(TWAutodiscoverHTTPTest, ARedirectToNoURLAddsNothing) {
  answer(
      [](const std::string&) { return ScriptedAnswer::redirect(302, "mailto:ann@example.com"); });
  EXPECT_FALSE(discover("ann@nourl.example"));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.nourl.example"));
}

TEST_F(TWAutodiscoverHTTPTest, AnAddressThatXMLCannotHoldIsNotSent) {
  answer([](const std::string&) { return found(); });
  TWError error;
  EXPECT_FALSE(TWAutodiscover::autodiscoverHostname("unsafe.example", "a\x01@unsafe.example",
                                                    nullptr, false, &error, options()));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "EMailAddress holds U+0001, a character that XML forbids"));
  EXPECT_FALSE(discover("a\xEF\xBF\xBF@unsafe.example"));
  EXPECT_EQ(server.requestCount(), 0U) << "not even to probe the host";
}

TEST_F(TWAutodiscoverHTTPTest, AnAddressOfTheConsumerMailAsksItsRealHost) {
  answer([](const std::string&) { return ScriptedAnswer::xml("", 404); });
  EXPECT_FALSE(discover("ann@Outlook.com"));
  EXPECT_THAT(posted(), ElementsAre("autodiscover.outlook.office365.com"));
}

TEST_F(TWAutodiscoverHTTPTest, OneAttemptTellsWhyItFailed) {
  answer([](const std::string& host) {
    if (host == "redirect.try.example") return ScriptedAnswer::redirect(302, "http://x.example/");
    if (host == "html.try.example") return ScriptedAnswer::xml("<html><br>", 200);
    if (host == "empty.try.example") return ScriptedAnswer::xml("");
    if (host == "unauthorized.try.example") return ScriptedAnswer::xml("", 401);
    if (host == "500.try.example" || host == "401.try.example") {
      auto answer = found();
      answer.status = host == "500.try.example" ? 500 : 401;
      return answer;
    }
    return ScriptedAnswer::xml(errorAnswer(""));
  });
  const auto attempt = [this](std::string_view host, TWError* error, bool ssl = false) {
    return TWAutodiscover::autodiscoverHostname(host, "ann@try.example", nullptr, ssl, error,
                                                options());
  };
  TWError error;
  EXPECT_FALSE(attempt("redirect.try.example", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorRedirect));
  EXPECT_EQ(error.userInfo()["url"], TWValue("http://x.example/"));
  const TWError noXML(TWErrorCode::ErrorAutodiscoverFailed, "Response did not contain xml");
  for (const char* host : {"html.try.example", "empty.try.example", "unauthorized.try.example"}) {
    EXPECT_FALSE(attempt(host, &error));
    EXPECT_EQ(error, noXML) << host;
  }
  EXPECT_FALSE(attempt("refused.try.example", &error, true));
  EXPECT_EQ(error, noXML);
  EXPECT_FALSE(attempt("error.try.example", &error));
  EXPECT_EQ(error.userInfo()["code"], TWValue(""));
  // A status does not make an answer none.
  EXPECT_TRUE(attempt("500.try.example", nullptr));
  EXPECT_TRUE(attempt("401.try.example", nullptr));
}

}  // namespace
}  // namespace tarnwell
