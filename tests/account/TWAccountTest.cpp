#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"

#include "tests/support/MailboxAnswers.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/TestAccount.h"

namespace tarnwell {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const TWVersion kServer(TWBuild(15, 1), "Exchange2016");

std::shared_ptr<TWCredentials> credentials(std::string_view user = "ann@example.com") {
  return TWCredentials::credentialsWithUsernamePassword(user, "S3CR3T");
}

std::shared_ptr<TWAccount> account(TWAccessType type, const std::shared_ptr<TWCredentials>& with,
                                   const std::optional<std::string>& fullName = std::nullopt) {
  return TWAccount::withPrimarySMTPAddress("Ann@Example.com", fullName, type, false, with);
}

static_assert(TWAccessTypeImpersonation == 1);
static_assert(TWAccessTypeDelegate == 2);

TEST(TWAccount, ChoosesItsAccessByWhetherThereAreCredentials) {
  EXPECT_EQ(account(TWAccessTypeDefault, credentials())->accessType(), TWAccessTypeDelegate);
  EXPECT_EQ(account(TWAccessTypeDefault, nullptr)->accessType(), TWAccessTypeImpersonation);
  EXPECT_EQ(account(TWAccessTypeImpersonation, credentials())->accessType(),
            TWAccessTypeImpersonation);
}

TEST(TWAccount, TellsTheServerWhomItImpersonatesAndItsZone) {
  const auto made = [](TWAccessType type, const char* zoneName = "Europe/Berlin") {
    const auto zone = TWTimeZone::fromTimeZone(zoneName);
    return TWAccount::withPrimarySMTPAddress("a@b.c", {}, type, false, nullptr, {}, {}, zone)
        ->envelopeContext();
  };
  EXPECT_EQ(made(TWAccessTypeImpersonation)->impersonatedAddress, "a@b.c");
  EXPECT_EQ(made(TWAccessTypeImpersonation)->timeZoneId, "W. Europe Standard Time");
  EXPECT_EQ(made(TWAccessTypeDelegate)->impersonatedAddress, std::nullopt);
  EXPECT_EQ(made(TWAccessTypeDelegate, "Asia/Yangon")->timeZoneId, "Asia/Yangon")
      << "of which the table has no other name";
}

TEST(TWAccount, HasTheDevicesZoneUnlessItIsGivenOne) {
  EXPECT_EQ(account(TWAccessTypeDefault, nullptr)->defaultTimeZone(), TWTimeZone::defaultZone());
}

TEST(TWAccount, WithoutAConfigurationHasNoProtocolAndRequestsFail) {
  const test::RecordingLog log;
  const auto made = account(TWAccessTypeDefault, credentials());
  EXPECT_THAT(log.lines(),
              ElementsAre("[Ann@Example.com] Neither autodiscover nor a configuration"));
  EXPECT_EQ(made->protocol(), nullptr);
  EXPECT_EQ(made->version(), std::nullopt);
  made->updateAccessToken("token");
  TWError error;
  EXPECT_FALSE(made->exportItems({TWIdPair{"A"}}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
  EXPECT_EQ(made->inbox(), nullptr);
  EXPECT_TRUE(made->folders().empty());
}

TEST(TWAccount, AutodiscoverThatFindsNothingLeavesTheAddressAndNoProtocol) {
  const test::RecordingLog log;
  TWAccountOptions options;
  options.primarySmtpAddress = "nobody";
  options.autodiscover = true;
  options.credentials = credentials();
  options.config = TWConfiguration{
      TWProtocol::withServiceEndpoint("http://127.0.0.1:9/x", credentials(), kServer)};
  const auto made = TWAccount::withOptions(options);
  EXPECT_EQ(made->primarySmtpAddress(), "nobody");
  EXPECT_EQ(made->protocol(), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre("[nobody] Autodiscover found no server"));
}

TEST(TWAccount, CopiesTheVersionOfTheProtocolWhenItIsMade) {
  const auto protocol = TWProtocol::withServiceEndpoint("http://127.0.0.1:9/x", nullptr, kServer);
  const auto made = TWAccount::withPrimarySMTPAddress("a@b.c", {}, TWAccessTypeDefault, false,
                                                      credentials(), TWConfiguration{protocol});
  protocol->setVersion(TWVersion(TWBuild(14, 0), "Exchange2010"));
  EXPECT_EQ(made->version(), kServer);
  made->setVersion(TWVersion(TWBuild(15, 0), "Exchange2013"));
  EXPECT_EQ(made->version(), TWVersion(TWBuild(15, 0), "Exchange2013"));
  EXPECT_EQ(protocol->version(), TWVersion(TWBuild(14, 0), "Exchange2010"));
}

TEST(TWAccount, DescribesItselfWithoutSecrets) {
  const auto made = account(TWAccessTypeDefault, credentials(), "Ann");
  EXPECT_EQ(made->description(), "[TWAccount] Ann@Example.com (Ann)");
  EXPECT_EQ(account(TWAccessTypeDefault, nullptr)->description(), "[TWAccount] Ann@Example.com");
  EXPECT_EQ(made->accountDescription(), made->description());
  EXPECT_EQ(made->logName(), "Ann@Example.com");
  EXPECT_EQ(made->domain(), "example.com");
  made->setSyncState("at 7");
  EXPECT_EQ(made->syncState(), "at 7");
  EXPECT_THAT(made->propertiesDescription(), HasSubstr("[syncState]->[at 7]"));
  EXPECT_THAT(made->propertiesDescription(), Not(HasSubstr("S3CR3T")));
}

TEST(TWAccount, NamesTheMailboxOfFoldersOnlyToDelegatesOfAnother) {
  const auto delegated = [](std::string_view user, TWAccessType type) {
    return TWAccount::withPrimarySMTPAddress(
               "ann@example.com", {}, type, false, credentials(user),
               TWConfiguration{TWProtocol::withServiceEndpoint("http://127.0.0.1:9/x",
                                                               credentials(user), kServer)})
        ->delegatedAddress();
  };
  EXPECT_EQ(delegated("bob@example.com", TWAccessTypeDelegate), "ann@example.com");
  EXPECT_EQ(delegated("ANN@example.com", TWAccessTypeDelegate), std::nullopt);
  EXPECT_EQ(delegated("EXAMPLE\\bob", TWAccessTypeDelegate), std::nullopt);
  EXPECT_EQ(delegated("bob@example.com", TWAccessTypeImpersonation), std::nullopt);
}

TEST(TWAccount, HandsANewTokenToTheProtocol) {
  test::MailboxServer server;
  const auto token = TWCredentials::credentialsWithUsernameAccessToken("ann@example.com", "old");
  const auto made = TWAccount::withPrimarySMTPAddress(
      "ann@example.com", {}, TWAccessTypeDefault, false, token,
      TWConfiguration{TWProtocol::withServiceEndpoint(server.url(), token, kServer)});
  made->updateAccessToken("new");
  EXPECT_FALSE(made->exportItems({TWIdPair{"A"}}));
  EXPECT_EQ(server.requests().at(0).header("Authorization"), "Bearer new");
}

TEST(TWConfiguration, BuildsTheEndpointFromTheServerUnlessItIsGiven) {
  const auto endpoint = [](bool hasSSL, std::optional<std::string_view> given) {
    return TWConfiguration::withCredentials(credentials(), "mail.example.com", hasSSL, given,
                                            kServer, false)
        .protocol->serviceEndpoint();
  };
  EXPECT_EQ(endpoint(true, std::nullopt), "https://mail.example.com/EWS/Exchange.asmx");
  EXPECT_EQ(endpoint(false, std::nullopt), "http://mail.example.com/EWS/Exchange.asmx");
  EXPECT_EQ(endpoint(true, "http://other.example.com/x"), "http://other.example.com/x");
}

TEST(TWConfiguration, OptionsSayTheSameAsPositions) {
  const auto endpoint = [](const TWConfigurationOptions& options) {
    return TWConfiguration::withOptions(options).protocol->serviceEndpoint();
  };
  EXPECT_EQ(endpoint({.server = "mail.example.com", .version = kServer}),
            "https://mail.example.com/EWS/Exchange.asmx");
  EXPECT_EQ(endpoint({.server = "mail.example.com", .hasSSL = false, .version = kServer}),
            "http://mail.example.com/EWS/Exchange.asmx");
  EXPECT_EQ(endpoint({.serviceEndpoint = "http://other.example.com/x", .version = kServer}),
            "http://other.example.com/x");
  const TWConfigurationOptions cached{
      .credentials = credentials(), .server = "options.example.com", .version = kServer};
  auto alone = cached;
  alone.useCached = false;
  const auto shared = TWConfiguration::withOptions(cached).protocol;
  EXPECT_EQ(shared->version(), kServer);
  EXPECT_EQ(TWConfiguration::withOptions(cached).protocol, shared);
  EXPECT_EQ(TWConfiguration::withCredentials(credentials(), "options.example.com", true).protocol,
            shared);
  EXPECT_NE(TWConfiguration::withOptions(alone).protocol, shared);
}

TEST(TWConfiguration, SharesTheProtocolUnlessToldOtherwise) {
  const auto made = [](bool useCached) {
    return TWConfiguration::withCredentials(credentials(), "shared.example.com", true, std::nullopt,
                                            kServer, useCached)
        .protocol;
  };
  EXPECT_EQ(made(true), made(true));
  EXPECT_NE(made(true), made(false));
  EXPECT_EQ(TWConfiguration::withCredentials(credentials(), "shared.example.com", true,
                                             std::nullopt, kServer)
                .protocol,
            made(true));
}

}  // namespace
}  // namespace tarnwell
