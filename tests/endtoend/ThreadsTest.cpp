#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/endtoend/Host.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell {
namespace {

using sandbox::SandboxOptions;
using test::Host;

constexpr int kThreads = 16;
constexpr int kRounds = 3;

/// Runs the work on that many threads, which begin together.
void onThreads(const std::function<void(int thread)>& work) {
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      work(i);
    });
  for (auto& thread : threads) thread.join();
}

/// A call of each operation; how many went well.
int callBoth(const std::shared_ptr<TWProtocol>& protocol, std::string_view name) {
  int successes = 0;
  const auto found = TWResolveNames::withProtocol(protocol)->call({std::string(name)});
  if (found && found->size() == 1) ++successes;
  const auto zones = TWGetServerTimeZones::withProtocol(protocol)->call(false);
  if (zones && !zones->empty()) ++successes;
  return successes;
}

TEST(Threads, ShareOneProtocolOfAnEndpointAndItsCalls) {
  const Host host("shared.threads.example", Host::Scheme::http);
  const auto options = host.connection();
  std::atomic<int> successes = 0;
  std::vector<std::shared_ptr<TWProtocol>> protocols(kThreads);
  onThreads([&](int thread) {
    auto& protocol = protocols[static_cast<std::size_t>(thread)];
    protocol = TWProtocol::protocolForServiceEndpoint(host.url(), host.credentials(), std::nullopt,
                                                      options);
    for (int round = 0; round < kRounds; ++round) successes += callBoth(protocol, "bob");
  });
  EXPECT_EQ(successes, kThreads * kRounds * 2);
  EXPECT_EQ(std::set(protocols.begin(), protocols.end()).size(), 1U);
  // One probe (schema document and name) for all of them, and one challenge.
  EXPECT_EQ(host.server.requests().size(), 3U + kThreads * kRounds * 2U);
}

TEST(Threads, WorkOnEndpointsOfTheirOwn) {
  std::vector<std::unique_ptr<Host>> hosts;
  std::vector<TWConnectionOptions> options;
  for (int i = 0; i < 4; ++i) {
    hosts.push_back(std::make_unique<Host>("own" + std::to_string(i) + ".threads.example",
                                           i % 2 == 0 ? Host::Scheme::http : Host::Scheme::https));
    options.push_back(hosts.back()->connection());
  }
  std::atomic<int> successes = 0;
  onThreads([&](int thread) {
    const auto index = static_cast<std::size_t>(thread) % hosts.size();
    const auto& host = *hosts[index];
    for (int round = 0; round < kRounds; ++round) {
      const auto protocol = TWProtocol::withServiceEndpoint(host.url(), host.credentials(),
                                                            std::nullopt, options[index]);
      successes += callBoth(protocol, "alice");
    }
  });
  EXPECT_EQ(successes, kThreads * kRounds * 2);
}

TEST(Threads, NegotiateTheVersionAtTheSameTime) {
  SandboxOptions old;
  old.version = "Exchange2010_SP2";
  const Host host("old.threads.example", Host::Scheme::http, old);
  const auto protocol = host.protocol(TWVersion(std::nullopt, "Exchange2016"));
  const test::RecordingLog log;
  std::atomic<int> successes = 0;
  onThreads([&](int) { successes += callBoth(protocol, "bob"); });
  EXPECT_EQ(successes, kThreads * 2);
  EXPECT_EQ(protocol->version(), TWVersion(TWBuild(14, 2, 247, 5), "Exchange2010_SP2"));
}

TEST(Threads, DiscoverTheSameMailboxTogether) {
  const Host host("found.threads.example");
  TWAutodiscoverOptions options;
  options.connection = host.connection();
  std::vector<std::shared_ptr<TWProtocol>> protocols(kThreads);
  onThreads([&](int thread) {
    // Half of them as somebody else, whose protocols are others.
    const auto* mailbox = thread % 2 == 0 ? "alice" : "bob";
    const auto found =
        TWAutodiscover::discover(host.address(mailbox), host.credentials(mailbox), options);
    if (found) protocols[static_cast<std::size_t>(thread)] = found->protocol;
  });
  EXPECT_THAT(protocols, testing::Each(testing::NotNull()));
  EXPECT_EQ(std::set(protocols.begin(), protocols.end()).size(), 2U);
}

TEST(Threads, RenewTokensAndConnectionsWhileOthersCall) {
  SandboxOptions options;
  options.tokens = {{"one", "alice@renew.threads.example"}, {"two", "alice@renew.threads.example"}};
  const Host host("renew.threads.example", Host::Scheme::http, options);
  const auto protocol = TWProtocol::withServiceEndpoint(
      host.url(),
      TWCredentials::credentialsWithUsernameAccessToken("alice@renew.threads.example", "one"),
      std::nullopt, host.connection());
  onThreads([&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      switch (thread % 4) {
        case 0:
          protocol->updateAccessToken(round % 2 == 0 ? "two" : "one");
          break;
        case 1:
          (void)protocol->renewConnection();
          break;
        default: {
          TWError error;
          // A failure means that the connection was closed after it was taken.
          const auto found =
              TWResolveNames::withProtocol(protocol)->call({"bob"}, {}, false, {}, {}, &error);
          EXPECT_TRUE(found || error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled)) << error;
        }
      }
    }
  });
  EXPECT_EQ(callBoth(protocol, "bob"), 2);
}

TEST(Threads, MayCloseAProtocolThatOthersUse) {
  const Host host("closed.threads.example", Host::Scheme::http);
  const auto protocol = host.protocol();
  onThreads([&](int thread) {
    if (thread == kThreads / 2) protocol->close();
    TWError error;
    const auto found =
        TWResolveNames::withProtocol(protocol)->call({"bob"}, {}, false, {}, {}, &error);
    EXPECT_TRUE(found || error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled) ||
                error == TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"))
        << error;
  });
  EXPECT_FALSE(protocol->connection());
}

}  // namespace
}  // namespace tarnwell
