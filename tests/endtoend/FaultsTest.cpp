#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/endtoend/Host.h"
#include "tests/support/Gate.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell {
namespace {

using sandbox::SandboxFault;
using test::Gate;
using test::Host;
using testing::HasSubstr;
using testing::StartsWith;

/// A call that meets a fault, and another one after it.
class FaultsEndToEnd : public testing::Test {
 protected:
  /// The error that the next call ends with. The one after it succeeds.
  TWError errorOf(SandboxFault fault) {
    host.server.failNext(std::move(fault));
    auto error = failingCall();
    EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"}));
    return error;
  }
  TWError failingCall() {
    TWError error;
    EXPECT_FALSE(TWResolveNames::withProtocol(protocol)->call({"bob"}, {}, false, {}, {}, &error));
    EXPECT_TRUE(error);
    return error;
  }
  std::size_t requestCount() const { return host.server.requests().size(); }

  Gate asked;  // the gates go after the server, whose threads pass through them
  Gate answer;
  Host host{"faults.example", Host::Scheme::http};
  std::shared_ptr<TWProtocol> protocol = host.protocol();
};

TEST_F(FaultsEndToEnd, AFaultIsTheErrorThatItNames) {
  EXPECT_EQ(errorOf(SandboxFault::soap("ErrorServerBusy", "Come back later.")),
            TWError(TWErrorCode::ErrorServerBusy, "Come back later."));
  EXPECT_EQ(errorOf(SandboxFault::soap("ErrorInternalServerError", "Broken.")),
            TWError(TWErrorCode::ErrorInternalServerError, "Broken."));
}

TEST_F(FaultsEndToEnd, AFaultOfAnUnknownCodeTellsItsParts) {
  const auto error = errorOf(SandboxFault::soap("ErrorOfTomorrow", "Not yet."));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP));
  EXPECT_THAT(error.message(), StartsWith("SOAP error code: a:ErrorOfTomorrow string: "));
  EXPECT_THAT(error.message(), HasSubstr("ResolveNames: code: ErrorOfTomorrow msg: Not yet. ("));
}

TEST_F(FaultsEndToEnd, AFailedResponseMessageIsTheErrorThatItNames) {
  EXPECT_EQ(errorOf(SandboxFault::response("ErrorAccessDenied", "No.")),
            TWError(TWErrorCode::ErrorAccessDenied, "Error: ErrorAccessDenied"));
  EXPECT_EQ(errorOf(SandboxFault::response("ErrorOfTomorrow")),
            TWError(TWErrorCode::ErrorTransport, "Error: ErrorOfTomorrow"));
}

TEST_F(FaultsEndToEnd, AMessageWithoutACodeSaysSo) {
  const auto error = errorOf(SandboxFault::response("", "Hm."));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(),
              StartsWith("Empty responseCode in responseMessage (MessageText: Hm., XML: "));
}

TEST_F(FaultsEndToEnd, AStatusWithoutABodyIsABadResponse) {
  const TWError bad(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)");
  for (const int status : {200, 404, 500, 502, 503})
    EXPECT_EQ(errorOf(SandboxFault::httpStatus(status)), bad) << status;
  EXPECT_EQ(errorOf(SandboxFault::emptyBody()), bad);
}

TEST_F(FaultsEndToEnd, AStatusThatRefusesTheLoginIsAccessDenied) {
  EXPECT_EQ(errorOf(SandboxFault::httpStatus(401)),
            TWError(TWErrorCode::ErrorAccessDenied, "Access denied"));
}

TEST_F(FaultsEndToEnd, APageForBrowsersIsNoAnswer) {
  for (const int status : {200, 500, 502}) {
    const auto error = errorOf(SandboxFault::htmlPage(status));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
    EXPECT_THAT(error.message(), StartsWith("Bad SOAP Response: <!DOCTYPE html>"));
  }
}

TEST_F(FaultsEndToEnd, HalfADocumentIsABadResponseThatShowsIt) {
  EXPECT_EQ(errorOf(SandboxFault::body(200, "text/xml", "<s:Envelope><cut")),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: <s:Envelope><cut"));
}

TEST_F(FaultsEndToEnd, AConnectionThatEndsIsAFailureOfTheTransfer) {
  const auto error = errorOf(SandboxFault::closedConnection());
  EXPECT_EQ(error.domain(), TWHTTPErrorDomain);
  EXPECT_EQ(error.code(), TWHTTPErrorEmptyReply) << error;
}

TEST_F(FaultsEndToEnd, AFaultMeantForAnotherOperationLeavesThisOneAlone) {
  auto fault = SandboxFault::soap("ErrorServerBusy", "Later.");
  fault.operation = "GetServerTimeZones";
  host.server.failNext(fault);
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"}));
  TWError error;
  EXPECT_FALSE(TWGetServerTimeZones::withProtocol(protocol)->call(false, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorServerBusy, "Later."));
}

TEST_F(FaultsEndToEnd, ARefusedVersionIsTriedNoMoreThanOnce) {
  auto refusal = SandboxFault::soap("ErrorInvalidServerVersion", "No.");
  refusal.times = 1000;
  host.server.failNext(refusal);
  const auto before = requestCount();
  const auto error = failingCall();
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidSchemaVersionForMailboxVersion));
  EXPECT_THAT(error.message(),
              StartsWith("Tried versions: (Exchange2016, Exchange2007, Exchange2007_SP1, "));
  EXPECT_THAT(error.message(), testing::EndsWith("but were invalid for account: (null)"));
  EXPECT_EQ(requestCount() - before, TWVersion::apiVersions().size());
}

TEST_F(FaultsEndToEnd, AServerThatAnswersEverythingWithAFaultEndsEveryCall) {
  auto fault = SandboxFault::soap("ErrorServerBusy", "Later.");
  fault.times = 1000;
  fault.path = "";
  host.server.failNext(fault);
  const TWError busy(TWErrorCode::ErrorServerBusy, "Later.");
  const auto before = requestCount();
  EXPECT_EQ(failingCall(), busy);
  EXPECT_EQ(failingCall(), busy);
  EXPECT_EQ(requestCount(), before + 2);
  // A new protocol is made all the same, with the version that nobody has spoken against.
  EXPECT_EQ(host.protocol()->version(), TWVersion(std::nullopt, "Exchange2016"));
}

TEST_F(FaultsEndToEnd, FailuresAreLoggedWithTheirError) {
  const test::RecordingLog log;
  (void)errorOf(SandboxFault::soap("ErrorServerBusy", "Later."));
  EXPECT_THAT(log.lines(),
              testing::Contains("[alice@faults.example] Get elements failed with error: "
                                "org.tarnwell.ews " +
                                std::to_string(static_cast<int>(TWErrorCode::ErrorServerBusy)) +
                                ": Later."));
}

TEST_F(FaultsEndToEnd, ASlowAnswerIsWaitedForNoLongerThanTheLimit) {
  auto options = host.connection();
  options.requestLimit = std::chrono::milliseconds(100);
  const auto hasty = TWProtocol::withServiceEndpoint(
      host.url(), host.credentials(), TWVersion(TWBuild(15, 1), "Exchange2016"), options);
  host.server.failNext(SandboxFault::delay([this] { (void)answer.wait(); }));
  TWError error;
  EXPECT_FALSE(TWResolveNames::withProtocol(hasty)->call({"bob"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorTimedOut)) << error;
  answer.open();
}

TEST_F(FaultsEndToEnd, ACallIsCancelledFromAnotherThread) {
  host.server.failNext(SandboxFault::delay([this] {
    asked.open();
    (void)answer.wait();
  }));
  std::thread other([&] {
    EXPECT_TRUE(asked.wait());
    protocol->connection()->cancel();
  });
  const auto error = failingCall();
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled)) << error;
  other.join();
  answer.open();
  EXPECT_TRUE(TWResolveNames::withProtocol(protocol)->call({"bob"}));
}

}  // namespace
}  // namespace tarnwell
