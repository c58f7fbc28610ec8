#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using test::Host;
using testing::ElementsAre;
using testing::IsEmpty;

/// Calls on a sandbox of Exchange 2016, as alice.
class ServicesEndToEnd : public testing::Test {
 protected:
  static sandbox::SandboxOptions options() {
    sandbox::SandboxOptions options;
    options.tokens = {{"tok-1", "alice@services.example"}, {"tok-2", "alice@services.example"}};
    return options;
  }
  std::vector<std::string> namesOf(const std::optional<TWResolveNames::Mailboxes>& found) const {
    std::vector<std::string> names;
    if (!found) return {"(failed)"};
    for (const auto& mailbox : *found)
      names.push_back(mailbox->get("name").asText().value_or("(none)"));
    return names;
  }
  TWResolveNames& resolveNames() {
    if (!service_) service_ = TWResolveNames::withProtocol(protocol);
    return *service_;
  }
  TWError loginFailure(const std::shared_ptr<TWCredentials>& credentials) const {
    const auto stranger = TWProtocol::withServiceEndpoint(
        host.url(), credentials, TWVersion(std::nullopt, "Exchange2016"), host.connection());
    TWError error;
    EXPECT_FALSE(TWResolveNames::withProtocol(stranger)->call({"bob"}, {}, false, {}, {}, &error));
    return error;
  }

  Host host{"services.example", Host::Scheme::https, options()};
  std::shared_ptr<TWProtocol> protocol = host.protocol();

 private:
  std::shared_ptr<TWResolveNames> service_;
};

TEST_F(ServicesEndToEnd, ANameIsResolvedToItsMailbox) {
  const auto found = resolveNames().call({"bob"});
  ASSERT_TRUE(found);
  ASSERT_EQ(found->size(), 1U);
  EXPECT_EQ(found->front()->get("name"), "Bob");
  EXPECT_EQ(found->front()->get("email_address"), "bob@services.example");
  EXPECT_EQ(found->front()->get("routing_type"), "SMTP");
  EXPECT_EQ(found->front()->get("mailbox_type"), "Mailbox");
}

TEST_F(ServicesEndToEnd, NobodyIsAnEmptyList) {
  TWError error;
  const auto found = resolveNames().call({"zebedee"}, {}, false, {}, {}, &error);
  ASSERT_TRUE(found);
  EXPECT_THAT(*found, IsEmpty());
  EXPECT_FALSE(error);
}

TEST_F(ServicesEndToEnd, SeveralPeopleAreAllGiven) {
  EXPECT_THAT(namesOf(resolveNames().call({"anna"})),
              ElementsAre("Anna Bergström", "Anna Bergman"));
}

TEST_F(ServicesEndToEnd, NamesWithMarkupAndOtherScriptsArriveAsTheyAre) {
  EXPECT_THAT(namesOf(resolveNames().call({"O'Neill & Söhne <Office>"})),
              ElementsAre("O'Neill & Söhne <Office>"));
  EXPECT_THAT(namesOf(resolveNames().call({"山田"})), ElementsAre("山田 太郎"));
}

TEST_F(ServicesEndToEnd, TheScopeIsObeyed) {
  EXPECT_THAT(namesOf(resolveNames().call({"bob"}, {}, false, "Contacts")), IsEmpty());
  EXPECT_THAT(namesOf(resolveNames().call({"bob"}, {}, false, "ContactsActiveDirectory")),
              ElementsAre("Bob"));
}

TEST_F(ServicesEndToEnd, AScopeThatTheServerDoesNotKnowIsItsError) {
  TWError error;
  EXPECT_FALSE(resolveNames().call({"bob"}, {}, false, "Everywhere", {}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSchemaValidation)) << error;
  EXPECT_NE(error.message(), "");
}

TEST_F(ServicesEndToEnd, ContactDataMayBeAskedForInEveryShape) {
  for (const auto* shape : {"IdOnly", "Default", "AllProperties"})
    EXPECT_THAT(namesOf(resolveNames().call({"bob"}, {}, true, {}, shape)), ElementsAre("Bob"));
}

TEST_F(ServicesEndToEnd, ParentFoldersAreTakenByTheServer) {
  const TWList folders{TWUtils::createElement("t:DistinguishedFolderId", {{"Id", "contacts"}})};
  TWError error;
  EXPECT_THAT(namesOf(resolveNames().call({"bob"}, folders, false, {}, {}, &error)),
              ElementsAre("Bob"))
      << error;
}

TEST_F(ServicesEndToEnd, OneCallTakesOneNameOnThisServer) {
  TWError error;
  EXPECT_FALSE(resolveNames().call({"alice", "bob"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSchemaValidation)) << error;
}

TEST_F(ServicesEndToEnd, TimeZonesComeAsPairsWithOrWithoutTheirRules) {
  const auto service = TWGetServerTimeZones::withProtocol(protocol);
  const auto brief = service->call(false);
  const auto full = service->call(true);
  ASSERT_TRUE(brief && full);
  EXPECT_EQ(*brief, *full);
  bool hasUTC = false;
  for (const auto& zone : *brief) {
    const auto pair = zone.asList();
    ASSERT_TRUE(pair);
    ASSERT_EQ(pair->size(), 2U);
    hasUTC = hasUTC || pair->at(0) == "UTC";
  }
  EXPECT_TRUE(hasUTC);
}

TEST_F(ServicesEndToEnd, APasswordIsSentOnceItIsAskedFor) {
  EXPECT_TRUE(resolveNames().call({"bob"}));
  const auto requests = host.server.requests();
  EXPECT_EQ(requests.back().user, "alice@services.example");
  EXPECT_EQ(protocol->connection()->lastUsedAuthType(), TWAuthType::basic);
}

TEST_F(ServicesEndToEnd, ATokenIsSentAndMayBeReplaced) {
  const auto credentials =
      TWCredentials::credentialsWithUsernameAccessToken("alice@services.example", "tok-1");
  const auto bearer =
      TWProtocol::withServiceEndpoint(host.url(), credentials, std::nullopt, host.connection());
  EXPECT_EQ(bearer->version(), protocol->version());
  EXPECT_THAT(namesOf(TWResolveNames::withProtocol(bearer)->call({"bob"})), ElementsAre("Bob"));
  EXPECT_EQ(host.server.requests().back().user, "alice@services.example");

  const auto service = TWResolveNames::withProtocol(bearer);
  TWError error;
  bearer->updateAccessToken("expired");
  EXPECT_FALSE(service->call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorAccessDenied, "Access denied"));
  bearer->updateAccessToken("tok-2");
  EXPECT_THAT(namesOf(service->call({"bob"})), ElementsAre("Bob"));
}

TEST_F(ServicesEndToEnd, AWrongSecretIsAccessDenied) {
  const TWError denied(TWErrorCode::ErrorAccessDenied, "Access denied");
  EXPECT_EQ(loginFailure(host.credentials("alice", "guess")), denied);
  EXPECT_EQ(loginFailure(host.credentials("nobody")), denied);
  EXPECT_EQ(loginFailure(
                TWCredentials::credentialsWithUsernameAccessToken("alice@services.example", "x")),
            denied);
  EXPECT_EQ(loginFailure(nullptr), denied);
}

TEST_F(ServicesEndToEnd, AWrongSecretLeavesTheVersionThatWasGuessed) {
  const auto stranger = TWProtocol::withServiceEndpoint(
      host.url(), host.credentials("alice", "guess"), std::nullopt, host.connection());
  EXPECT_EQ(stranger->version(), TWVersion(std::nullopt, "Exchange2016"));
}

TEST_F(ServicesEndToEnd, AServerThatHasStoppedIsAFailureOfTheTransfer) {
  host.server.stop();
  TWError error;
  EXPECT_FALSE(resolveNames().call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_EQ(error.domain(), TWHTTPErrorDomain) << error;
}

}  // namespace
}  // namespace tarnwell
