#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using sandbox::SandboxFault;
using sandbox::SandboxOptions;
using sandbox::SandboxRedirect;
using test::Host;
using testing::ElementsAre;

/// A discovery that looks for every name in the hosts given.
TWAutodiscoverOptions in(const Host& host) {
  TWAutodiscoverOptions options;
  options.connection = host.connection();
  return options;
}

std::optional<TWAutodiscoverObject> discover(const Host& host, std::string_view mailbox = "alice",
                                             std::string_view secret = "secret") {
  return TWAutodiscover::discover(host.address(mailbox), host.credentials(mailbox, secret),
                                  in(host));
}

/// One attempt as alice; the error it ends with.
TWError failureOf(const Host& host, std::string_view address, std::string_view secret = "secret") {
  TWError error;
  EXPECT_FALSE(TWAutodiscover::autodiscoverHostname(
      host.name(), address, host.credentials("alice", secret), true, &error, in(host)));
  EXPECT_TRUE(error);
  return error;
}

/// What was posted to autodiscover, challenges not counted: the mailbox that logged in, or "" where
/// nobody had to.
std::vector<std::string> discoveries(const Host& host) {
  std::vector<std::string> users;
  for (const auto& request : host.server.requests())
    if (request.path == "/Autodiscover/Autodiscover.xml" &&
        request.body.find("EMailAddress") != std::string::npos && request.status != 401)
      users.push_back(request.user);
  return users;
}

TEST(AutodiscoverEndToEnd, AnAddressIsEnoughToCallAService) {
  const Host host("found.discover.example");
  const auto found = discover(host);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->primarySMTPAddress, "alice@found.discover.example");
  EXPECT_EQ(found->protocol->serviceEndpoint(), "https://found.discover.example/EWS/Exchange.asmx");
  EXPECT_EQ(found->protocol->version(), TWVersion(TWBuild(15, 1, 225, 42), "Exchange2016"));
  EXPECT_TRUE(found->protocol->isCertificateValid());

  const auto people = TWResolveNames::withProtocol(found->protocol)->call({"bob"});
  ASSERT_TRUE(people);
  ASSERT_EQ(people->size(), 1U);
  EXPECT_EQ(people->front()->get("email_address"), "bob@found.discover.example");
}

TEST(AutodiscoverEndToEnd, AnAccountHasTheAddressAndTheProtocolThatItFinds) {
  const Host host("account.discover.example"), ignored("ignored.discover.example");
  TWAccountOptions options;
  options.primarySmtpAddress = "ALICE@account.discover.example";
  options.autodiscover = true;
  options.credentials = host.credentials();
  options.config = TWConfiguration{ignored.protocol(TWVersion(TWBuild(14, 0)))};
  options.discovery = in(host);
  const auto account = TWAccount::withOptions(options);
  EXPECT_EQ(account->primarySmtpAddress(), "alice@account.discover.example");
  ASSERT_TRUE(account->protocol());
  EXPECT_EQ(account->protocol()->server(), "account.discover.example");
  EXPECT_EQ(account->version(), account->protocol()->version());
  EXPECT_TRUE(account->inbox());
  EXPECT_TRUE(ignored.server.requests().empty());
  // Accounts of one endpoint and one user share the protocol.
  EXPECT_EQ(TWAccount::withOptions(options)->protocol(), account->protocol());
}

TEST(AutodiscoverEndToEnd, EveryServerHandsOutItsVersion) {
  for (const auto& key : sandbox::sandboxVersions()) {
    SandboxOptions options;
    options.version = key;
    auto name = key;
    std::ranges::replace(name, '_', '-');
    const Host host(name + ".discover.example", Host::Scheme::https, options);
    const auto found = discover(host);
    ASSERT_TRUE(found) << key;
    const auto version = found->protocol->version();
    ASSERT_TRUE(version && version->build()) << key;
    EXPECT_EQ(version->build()->apiVersion(), version->apiVersion()) << key;
  }
}

TEST(AutodiscoverEndToEnd, AnUntrustedServerLearnsNothing) {
  const Host host("untrusted.discover.example");
  auto options = in(host);
  options.connection.caFile.clear();
  EXPECT_FALSE(TWAutodiscover::discover(host.address("alice"), host.credentials("alice"), options));
  EXPECT_TRUE(host.server.requests().empty());
}

TEST(AutodiscoverEndToEnd, AWrongPasswordFindsNothing) {
  const Host host("wrong.discover.example");
  EXPECT_FALSE(discover(host, "alice", "guess"));
  EXPECT_FALSE(host.server.requests().empty());
  EXPECT_THAT(discoveries(host), testing::IsEmpty());
}

TEST(AutodiscoverEndToEnd, AWrongPasswordIsAnAnswerWithoutXML) {
  const Host host("wrong.attempt.example");
  EXPECT_EQ(failureOf(host, host.address("alice"), "guess"),
            TWError(TWErrorCode::ErrorAutodiscoverFailed, "Response did not contain xml"));
}

TEST(AutodiscoverEndToEnd, AMailboxThatTheServerDoesNotKnowIsToldSo) {
  const Host host("unknown.attempt.example");
  EXPECT_EQ(
      failureOf(host, host.address("nobody")),
      TWError(TWErrorCode::ErrorAutodiscoverFailed, "There is no mailbox for this SMTP address"));
}

TEST(AutodiscoverEndToEnd, ARedirectToAnotherAddressIsReportedAndNotFollowed) {
  Host host("address.attempt.example");
  host.server.redirect(host.address("alice"),
                       {SandboxRedirect::Kind::address, host.address("bob")});
  EXPECT_EQ(failureOf(host, host.address("alice")),
            TWError(TWErrorCode::ErrorRedirectAddress,
                    TWDictionary{{"email", "bob@address.attempt.example"}}));
  EXPECT_FALSE(discover(host));
  EXPECT_THAT(discoveries(host), ElementsAre(host.address("alice"), host.address("alice")));
}

TEST(AutodiscoverEndToEnd, ARedirectInsideTheAnswerIsNoAnswer) {
  Host host("url.attempt.example");
  host.server.redirect(host.address("alice"),
                       {SandboxRedirect::Kind::url, host.url("/Autodiscover/Autodiscover.xml")});
  EXPECT_EQ(
      failureOf(host, host.address("alice")),
      TWError(TWErrorCode::ErrorAutodiscoverFailed, "Invalid protocols in discover response"));
}

TEST(AutodiscoverEndToEnd, ARedirectLeadsToAnotherServer) {
  Host old("old.redirect.example");
  const Host now("now.redirect.example");
  const test::TemporaryDirectory directory;
  old.server.redirect("alice@now.redirect.example",
                      {SandboxRedirect::Kind::http, now.url("/Autodiscover/Autodiscover.xml")});
  TWAutodiscoverOptions both;
  both.connection = test::leadingTo({&old, &now}, directory);
  const auto found = TWAutodiscover::tryAutoDiscover(old.name(), now.address("alice"),
                                                     now.credentials("alice"), both);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->protocol->serviceEndpoint(), now.url());
  EXPECT_THAT(discoveries(now), ElementsAre(now.address("alice")));
}

TEST(AutodiscoverEndToEnd, ServersThatRedirectToEachOtherAreAskedOnceEach) {
  Host a("a.circle.example");
  Host b("b.circle.example");
  const test::TemporaryDirectory directory;
  for (auto* host : {&a, &b})
    host->server.redirect("alice@a.circle.example",
                          {SandboxRedirect::Kind::http, (host == &a ? b : a).url("/elsewhere")});
  TWAutodiscoverOptions both;
  both.connection = test::leadingTo({&a, &b}, directory);
  EXPECT_FALSE(TWAutodiscover::discover(a.address("alice"), a.credentials("alice"), both));
  EXPECT_EQ(discoveries(a).size(), 1U);
  EXPECT_EQ(discoveries(b).size(), 1U);
}

TEST(AutodiscoverEndToEnd, AServerThatRedirectsToItselfIsAskedOnce) {
  Host host("self.discover.example");
  host.server.redirect(host.address("alice"),
                       {SandboxRedirect::Kind::http, host.url("/elsewhere")});
  EXPECT_FALSE(discover(host));
  EXPECT_EQ(discoveries(host).size(), 1U);
}

TEST(AutodiscoverEndToEnd, ARedirectToNoURLLeadsNowhere) {
  int number = 0;
  for (const std::string target : {"nonsense", "mailto:alice@example.com", "https://", "//", "#"}) {
    Host host("nowhere" + std::to_string(++number) + ".discover.example");
    host.server.redirect(host.address("alice"), {SandboxRedirect::Kind::http, target});
    EXPECT_FALSE(discover(host)) << target;
    EXPECT_EQ(discoveries(host).size(), 1U) << target;
  }
}

TEST(AutodiscoverEndToEnd, FaultsEndTheAttemptAndLeaveTheNext) {
  const auto failed = [](std::string_view message) {
    return TWError(TWErrorCode::ErrorAutodiscoverFailed, message);
  };
  const std::vector<std::pair<SandboxFault, TWError>> faults = {
      {SandboxFault::httpStatus(500), failed("Response did not contain xml")},
      {SandboxFault::emptyBody(), failed("Response did not contain xml")},
      {SandboxFault::body(200, "text/xml", "<cut"), failed("Response did not contain xml")},
      {SandboxFault::body(200, "text/xml", "<other/>"), failed("Unknown parse error")},
      {SandboxFault::closedConnection(), failed("Response did not contain xml")},
  };
  Host host("faults.attempt.example");
  ASSERT_TRUE(discover(host));  // probed now: what follows hits the exchange itself
  for (auto [fault, expected] : faults) {
    fault.path = "/Autodiscover/Autodiscover.xml";
    host.server.failNext(fault);
    EXPECT_EQ(failureOf(host, host.address("alice")), expected);
    EXPECT_TRUE(discover(host));
  }
}

}  // namespace
}  // namespace tarnwell
