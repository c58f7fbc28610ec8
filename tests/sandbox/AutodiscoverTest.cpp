#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;

constexpr const char* kRequest =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/requestschema/2006";
constexpr const char* kAnswer =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/responseschema/2006a";
constexpr const char* kOuter =
    "http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006";

std::string request(const std::string& content) {
  return std::string(R"(<?xml version="1.0" encoding="utf-8"?><Autodiscover xmlns=")") + kRequest +
         "\"><Request>" + content + "</Request></Autodiscover>";
}

std::string questionFor(const std::string& address) {
  return request("<EMailAddress>" + address + "</EMailAddress><AcceptableResponseSchema>" +
                 kAnswer + "</AcceptableResponseSchema>");
}

class Autodiscover : public SandboxTest {
 protected:
  HttpReply ask(const std::string& body) {
    return client.post(server.url("/Autodiscover/Autodiscover.xml"), body);
  }
};

TEST_F(Autodiscover, AMailboxGetsItsSettingsWithTheEndpointTwice) {
  const HttpReply reply = ask(questionFor("ALICE@example.com"));
  const Answer answer(reply);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(answer.namespaceAt("/Autodiscover"), kOuter);
  EXPECT_EQ(answer.namespaceAt("/Autodiscover/Response"), kAnswer);
  EXPECT_EQ(answer.namespaceAt("//EwsUrl"), kAnswer);
  EXPECT_EQ(answer.text("//User/DisplayName"), "Alice Liddell");
  EXPECT_EQ(answer.text("//User/AutoDiscoverSMTPAddress"), "alice@example.com");
  EXPECT_EQ(answer.text("//Account/AccountType"), "email");
  EXPECT_EQ(answer.text("//Account/Action"), "settings");
  EXPECT_THAT(answer.texts("//Protocol/Type"), ElementsAre("EXCH", "EXPR"));
  EXPECT_THAT(answer.texts("//Protocol/EwsUrl"), ElementsAre(server.url(), server.url()));
}

TEST_F(Autodiscover, AnotherMailboxMayBeAskedFor) {
  EXPECT_EQ(Answer(ask(questionFor("bob@example.com"))).text("//DisplayName"), "Bob");
}

TEST_F(Autodiscover, AnUnknownMailboxIsAnErrorInTheOuterNamespace) {
  for (const char* address : {"nobody@example.com", "office@people.example", "not an address"}) {
    const HttpReply reply = ask(questionFor(address));
    const Answer answer(reply);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(answer.namespaceAt("/Autodiscover/Response"), kOuter);
    EXPECT_EQ(answer.namespaceAt("//Error/Message"), kOuter);
    EXPECT_EQ(answer.text("//Error/ErrorCode"), "500");
    EXPECT_EQ(answer.text("//Error/Message"), "The email address can't be found.");
    EXPECT_NE(answer.attribute("//Error", "Time"), "(none)");
    EXPECT_EQ(answer.count("//Account"), 0U);
  }
}

TEST(AutodiscoverWording, OlderServersSayItInTheirWords) {
  SandboxOptions options = standardOptions();
  options.version = "Exchange2010_SP3";
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client;
  const Answer answer(
      client.post(server.url("/autodiscover/autodiscover.xml"), questionFor("nobody@example.com")));
  EXPECT_EQ(answer.text("//Error/Message"), "The e-mail address cannot be found.");
}

TEST_F(Autodiscover, RequestsThatBreakTheSchemaAreInvalid) {
  const std::string address = "<EMailAddress>alice@example.com</EMailAddress>";
  const std::string schema =
      std::string("<AcceptableResponseSchema>") + kAnswer + "</AcceptableResponseSchema>";
  for (const std::string& body :
       {std::string("<a"), std::string("<Autodiscover/>"), request(""), request(address),
        request(schema), request(address + address + schema),
        request(address + schema + "<Other/>"),
        request("<EMailAddress><b/></EMailAddress>" + schema), request("text" + address + schema),
        std::string("<Autodiscover xmlns='") + kAnswer + "'/>",
        std::string("<Autodiscover xmlns='") + kRequest + "'/>"}) {
    const HttpReply reply = ask(body);
    EXPECT_EQ(reply.status, 200) << body;
    EXPECT_EQ(Answer(reply).text("//ErrorCode"), "600") << body;
    EXPECT_EQ(Answer(reply).text("//Message"), "Invalid Request");
  }
  EXPECT_EQ(Answer(ask(request(schema + address))).text("//Action"), "settings");
}

TEST_F(Autodiscover, AnAnswerInAnotherSchemaCannotBeGiven) {
  const Answer answer(ask(
      request("<EMailAddress>alice@example.com</EMailAddress><AcceptableResponseSchema>urn:mobile"
              "</AcceptableResponseSchema>")));
  EXPECT_EQ(answer.text("//ErrorCode"), "601");
  EXPECT_EQ(answer.text("//Message"), "Provider is not available");
}

TEST_F(Autodiscover, ALoginIsNeeded) {
  HttpClient stranger(HttpOptions{.user = "", .headers = {"Content-Type: text/xml"}, .caFile = {}});
  const HttpReply reply =
      stranger.post(server.url("/Autodiscover/Autodiscover.xml"), questionFor("alice@example.com"));
  EXPECT_EQ(reply.status, 401);
  EXPECT_EQ(reply.headers.count("www-authenticate"), 1U);
}

TEST_F(Autodiscover, AnAddressCanBeSentElsewhere) {
  server.redirect("Old@example.com", {SandboxRedirect::Kind::address, "alice@example.com"});
  const Answer toAddress(ask(questionFor("old@example.com")));
  EXPECT_EQ(toAddress.text("//Account/Action"), "redirectAddr");
  EXPECT_EQ(toAddress.text("//Account/RedirectAddr"), "alice@example.com");
  EXPECT_EQ(toAddress.namespaceAt("//RedirectAddr"), kAnswer);

  server.redirect("old@example.com", {SandboxRedirect::Kind::url, "https://other.example/a.xml"});
  const Answer toUrl(ask(questionFor("old@example.com")));
  EXPECT_EQ(toUrl.text("//Account/Action"), "redirectUrl");
  EXPECT_EQ(toUrl.text("//Account/RedirectUrl"), "https://other.example/a.xml");

  server.redirect("old@example.com", {SandboxRedirect::Kind::http, "https://other.example/b.xml"});
  HttpClient stranger(HttpOptions{.user = "", .headers = {"Content-Type: text/xml"}, .caFile = {}});
  const HttpReply redirected =
      stranger.post(server.url("/Autodiscover/Autodiscover.xml"), questionFor("old@example.com"));
  EXPECT_EQ(redirected.status, 302);
  EXPECT_EQ(redirected.headers.find("location")->second, "https://other.example/b.xml");
  EXPECT_EQ(Answer(ask(questionFor("alice@example.com"))).text("//Action"), "settings");
}

TEST(AutodiscoverEndpoint, TheEndpointHandedOutCanBeAnother) {
  SandboxOptions options = standardOptions();
  options.externalUrl = "https://mail.example.com/EWS/Exchange.asmx";
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client;
  const Answer answer(
      client.post(server.url("/Autodiscover/Autodiscover.xml"), questionFor("alice@example.com")));
  EXPECT_EQ(answer.text("//EwsUrl"), "https://mail.example.com/EWS/Exchange.asmx");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
