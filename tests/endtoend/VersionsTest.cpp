#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/endtoend/Host.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell {
namespace {

using test::Host;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

/// A sandbox that is the server of the parameter, and what such a server is expected to be.
class EveryServer : public testing::TestWithParam<std::string> {
 protected:
  static sandbox::SandboxOptions options() {
    sandbox::SandboxOptions options;
    options.version = GetParam();
    return options;
  }
  static std::string hostName() {
    auto name = GetParam() + ".servers.example";
    std::ranges::replace(name, '_', '-');
    return name;
  }
  static bool knowsTimeZones() { return !GetParam().starts_with("Exchange2007"); }

  const TWVersion::Entry& entry =
      *std::ranges::find(TWVersion::versions(), GetParam(), &TWVersion::Entry::key);
  const Host host{hostName(), Host::Scheme::http, options()};
};

TEST_P(EveryServer, IsRecognisedByAProbe) {
  const auto version = host.protocol()->version();
  ASSERT_TRUE(version && version->build());
  EXPECT_EQ(version->apiVersion(), entry.apiVersion);
  EXPECT_EQ(version->build()->apiVersion(), entry.apiVersion);
  EXPECT_THAT(host.requestedVersions(), ElementsAre(entry.apiVersion));
}

TEST_P(EveryServer, IsFoundFromTheNewestVersionOnAndRemembered) {
  const test::RecordingLog log;
  const auto protocol = host.protocol(TWVersion(std::nullopt, "Exchange2016"));
  const auto service = TWResolveNames::withProtocol(protocol);
  const auto mailboxes = service->call({"bob"});
  ASSERT_TRUE(mailboxes);
  EXPECT_EQ(mailboxes->size(), 1U);
  const auto version = protocol->version();
  ASSERT_TRUE(version && version->build());
  EXPECT_EQ(version->apiVersion(), entry.apiVersion);

  const bool isNewest = entry.apiVersion == "Exchange2016";
  if (isNewest)
    EXPECT_THAT(host.requestedVersions(), ElementsAre("Exchange2016"));
  else  // The oldest comes first in the list, and every server speaks it.
    EXPECT_THAT(host.requestedVersions(), ElementsAre("Exchange2016", "Exchange2007"));

  const std::string user = "[" + host.address("alice") + "]";
  const auto took = StartsWith(user + "[Connection] Request took: ");
  const std::string auth = user + " Using auth type: 1";
  const std::string name = user + " Setting API version: " + std::string(entry.apiVersion);
  const std::string build = user + " Setting Build: " + version->build()->description();
  if (isNewest)
    EXPECT_THAT(log.lines(), ElementsAre(auth, took, name, build));
  else
    EXPECT_THAT(log.lines(), ElementsAre(auth, took, took, name, build));

  // The next call starts where this one ended, and has nothing to note.
  const auto before = host.requestedVersions().size();
  EXPECT_TRUE(service->call({"bob"}));
  EXPECT_EQ(host.requestedVersions().size(), before + 1);
  EXPECT_EQ(host.requestedVersions().back(), entry.apiVersion);
  EXPECT_EQ(log.count("Setting"), 2);
}

TEST_P(EveryServer, AnswersBothOperationsOrIsNotAsked) {
  const auto protocol = host.protocol();
  const auto before = host.requestedVersions().size();
  TWError error;
  const auto zones = TWGetServerTimeZones::withProtocol(protocol)->call(true, &error);
  if (knowsTimeZones()) {
    ASSERT_TRUE(zones) << error;
    EXPECT_GT(zones->size(), 10U);
  } else {
    EXPECT_FALSE(zones);
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorMissingArgument,
                             "GetServerTimeZones is only supported for Exchange 2010 and later"));
    EXPECT_EQ(host.requestedVersions().size(), before);
  }
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"alice"}));
  EXPECT_THAT(host.requestedVersions(), Each(entry.apiVersion));
}

TEST_P(EveryServer, TakesAContactDataShapeFromExchange2010SP2On) {
  const auto protocol = host.protocol();
  const bool knowsShapes = protocol->version()->build()->isGreaterThanOrEqualTo(TWBuild(14, 2));
  const auto before = host.requestedVersions().size();
  TWError error;
  const auto found = TWResolveNames::withProtocol(protocol)->call(
      {"bob"}, {}, true, "ActiveDirectory", "IdOnly", &error);
  if (knowsShapes) {
    ASSERT_TRUE(found) << error;
    EXPECT_EQ(found->size(), 1U);
  } else {
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                             "Contact data shape is not supported below 2010_SP2"));
    EXPECT_EQ(host.requestedVersions().size(), before);
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, EveryServer, testing::ValuesIn(sandbox::sandboxVersions()),
                         [](const auto& tested) { return tested.param; });

TEST(Versions, AnInternalTagIsNotSentBack) {
  sandbox::SandboxOptions options;
  options.versionText = "V2017_07_11";
  const Host host("tag.servers.example", Host::Scheme::http, options);
  const auto protocol = host.protocol();
  EXPECT_EQ(protocol->version(), TWVersion(TWBuild(15, 1, 225, 42), "Exchange2016"));
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"}));
  EXPECT_THAT(host.requestedVersions(), Each("Exchange2016"));
}

TEST(Versions, AServerOfAnUnknownNameIsAskedInThatName) {
  sandbox::SandboxOptions options;
  options.versionText = "Exchange2031";
  const Host host("future.servers.example", Host::Scheme::http, options);
  const auto protocol = host.protocol();
  EXPECT_EQ(protocol->version()->apiVersion(), "Exchange2031");
  // Whoever names a schema that it does not take is found out by the next call.
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"}));
  EXPECT_THAT(host.requestedVersions(),
              ElementsAre("Exchange2016", "Exchange2031", "Exchange2007"));
}

}  // namespace
}  // namespace tarnwell
