#include <thread>

#include <gtest/gtest.h>

#include "sandbox/detail/FaultQueue.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/Gate.h"

namespace tarnwell::sandbox::test {
namespace {

using tarnwell::test::Gate;

class Faults : public SandboxTest {
 protected:
  Faults() : SandboxTest(withControl()) {}

  static SandboxOptions withControl() {
    SandboxOptions options = standardOptions();
    options.control = true;
    return options;
  }

  HttpReply resolve() { return send(envelope(resolveNamesFor("alice"))); }
  HttpReply control(const std::string& query) {
    HttpClient anybody(HttpOptions{.user = "", .headers = {}, .caFile = {}});
    return anybody.post(server.url("/sandbox/fail?" + query), "");
  }
};

TEST_F(Faults, ASoapFaultIsAnsweredOnceAndThenAllIsWell) {
  server.failNext(SandboxFault::soap("ErrorServerBusy", "The server cannot service this request."));
  const HttpReply reply = resolve();
  EXPECT_TRUE(isFault(reply, 500, "ErrorServerBusy"));
  EXPECT_EQ(Answer(reply).text("//detail/Message"), "The server cannot service this request.");
  EXPECT_EQ(resolve().status, 200);
}

TEST_F(Faults, AResponseMessageFailsInTheOperationsOwnAnswer) {
  server.failNext(SandboxFault::response("ErrorAccessDenied", "No."));
  const HttpReply reply = resolve();
  const Answer answer(reply);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(answer.attribute("//ResolveNamesResponse/ResponseMessages/ResolveNamesResponseMessage",
                             "ResponseClass"),
            "Error");
  EXPECT_EQ(answer.text("//ResponseCode"), "ErrorAccessDenied");
  EXPECT_EQ(answer.text("//MessageText"), "No.");
  EXPECT_EQ(answer.attribute("//ServerVersionInfo", "MajorVersion"), "15");
}

TEST_F(Faults, StatusesPagesAndEmptyBodiesAreSentAsTheyAre) {
  server.failNext(SandboxFault::httpStatus(503));
  server.failNext(SandboxFault::htmlPage(502));
  server.failNext(SandboxFault::emptyBody());
  server.failNext(SandboxFault::body(200, "text/xml", "<cut"));
  HttpReply reply = resolve();
  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(reply.body, "");
  reply = resolve();
  EXPECT_EQ(reply.status, 502);
  EXPECT_EQ(reply.headers.find("content-type")->second, "text/html; charset=utf-8");
  EXPECT_NE(reply.body.find("<html>"), std::string::npos);
  reply = resolve();
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "");
  reply = resolve();
  EXPECT_EQ(reply.body, "<cut");
}

TEST_F(Faults, AClosedConnectionGivesNoAnswer) {
  server.failNext(SandboxFault::closedConnection());
  HttpClient fresh;
  const HttpReply reply = fresh.post(server.url(), envelope(resolveNamesFor("alice")));
  EXPECT_EQ(reply.status, 0);
  EXPECT_NE(reply.problem, "");
  EXPECT_EQ(server.requests().back().status, 0);
  EXPECT_EQ(fresh.post(server.url(), envelope(resolveNamesFor("alice"))).status, 200);
}

TEST_F(Faults, AnAnswerCanWaitForAGateWhileOthersAreAnswered) {
  Gate reached;
  Gate open;
  server.failNext(SandboxFault::delay([&] {
    reached.open();
    EXPECT_TRUE(open.wait());
  }));
  HttpReply delayed;
  std::thread slow([&] {
    HttpClient other;
    delayed = other.post(server.url(), envelope(resolveNamesFor("bob")));
  });
  EXPECT_TRUE(reached.wait());
  EXPECT_EQ(resolve().status, 200);
  open.open();
  slow.join();
  EXPECT_EQ(delayed.status, 200);
  EXPECT_EQ(Answer(delayed).text("//EmailAddress"), "bob@example.com");
}

TEST_F(Faults, TheyHitAsOftenAsTheySayInTheOrderOfTheQueue) {
  SandboxFault twice = SandboxFault::httpStatus(503);
  twice.times = 2;
  server.failNext(twice);
  server.failNext(SandboxFault::httpStatus(500));
  EXPECT_EQ(resolve().status, 503);
  EXPECT_EQ(resolve().status, 503);
  EXPECT_EQ(resolve().status, 500);
  EXPECT_EQ(resolve().status, 200);
}

TEST_F(Faults, TheyHitOnlyTheOperationAndThePathTheyAreMeantFor) {
  SandboxFault zones = SandboxFault::soap("ErrorServerBusy");
  zones.operation = "GetServerTimeZones";
  server.failNext(zones);
  SandboxFault schema = SandboxFault::httpStatus(404);
  schema.path = "/ews/TYPES.xsd";
  server.failNext(schema);
  EXPECT_EQ(resolve().status, 200);
  EXPECT_EQ(client.get(server.url("/EWS/types.xsd")).status, 404);
  EXPECT_EQ(client.get(server.url("/EWS/types.xsd")).status, 200);
  EXPECT_TRUE(isFault(send(envelope("<m:GetServerTimeZones/>")), 500, "ErrorServerBusy"));
}

TEST_F(Faults, ARequestWithoutALoginTakesNone) {
  server.failNext(SandboxFault::httpStatus(503));
  HttpClient stranger(
      HttpOptions{.user = "x:y", .headers = {"Content-Type: text/xml"}, .caFile = {}});
  EXPECT_EQ(stranger.post(server.url(), "<a/>").status, 401);
  EXPECT_EQ(resolve().status, 503);
}

TEST_F(Faults, ForgottenFaultsDoNotHappen) {
  server.failNext(SandboxFault::httpStatus(503));
  server.clearFaults();
  EXPECT_EQ(resolve().status, 200);
}

TEST_F(Faults, TheControlPathQueuesThem) {
  EXPECT_EQ(control("times=2&code=ErrorServerBusy&message=Wait").body, "queued\n");
  EXPECT_EQ(Answer(resolve()).text("//detail/Message"), "Wait");
  EXPECT_TRUE(isFault(resolve(), 500, "ErrorServerBusy"));
  EXPECT_EQ(control("response=ErrorAccessDenied&operation=ResolveNames").status, 200);
  EXPECT_EQ(Answer(resolve()).text("//ResponseCode"), "ErrorAccessDenied");
  EXPECT_EQ(control("status=418").status, 200);
  EXPECT_EQ(resolve().status, 418);
  EXPECT_EQ(control("html=1").status, 200);
  EXPECT_NE(resolve().body.find("<html>"), std::string::npos);
  EXPECT_EQ(control("empty=1").status, 200);
  EXPECT_EQ(resolve().body, "");
  EXPECT_EQ(control("stream=cut").status, 200);  // for streams: nobody below takes it
  EXPECT_EQ(control("close=1&path=/EWS/types.xsd").status, 200);
  EXPECT_EQ(resolve().status, 200);
  HttpClient fresh;
  EXPECT_EQ(fresh.get(server.url("/EWS/types.xsd")).status, 0);
}

TEST_F(Faults, TheControlPathRefusesWhatItDoesNotUnderstand) {
  for (const char* query :
       {"", "times=1", "code=", "code=A&status=500", "status=99", "status=x", "code=A&times=0",
        "code=A&times=-1", "code=A&times=x", "code=A&colour=red", "stream=loud"}) {
    EXPECT_EQ(control(query).status, 400) << query;
  }
  EXPECT_EQ(resolve().status, 200);
}

TEST(FaultControl, ItIsClosedUnlessOpened) {
  SandboxServer server(standardOptions());
  ASSERT_TRUE(server.start());
  HttpClient client;
  EXPECT_EQ(client.post(server.url("/sandbox/fail?status=500"), "").status, 404);
}

}  // namespace
}  // namespace tarnwell::sandbox::test
