#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/detail/ZoneMapDownload.h"

#include "tests/support/Gate.h"
#include "tests/support/RawServer.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/ScriptedServer.h"

namespace tarnwell::detail {
namespace {

using test::Gate;
using test::RawConnection;
using test::RawServer;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::string_view kDocument = R"(<?xml version="1.0" encoding="UTF-8" ?>
<!DOCTYPE supplementalData SYSTEM "../../common/dtd/ldmlSupplemental.dtd">
<!-- A document of the kind that is published. -->
<supplementalData>
  <version number="$Revision$"/>
  <windowsZones>
    <mapTimezones otherVersion="7e11800" typeVersion="2021a">
      <!-- (UTC-12:00) International Date Line West -->
      <mapZone other="Dateline Standard Time" territory="001" type="Etc/GMT+12"/>
      <mapZone other="India Standard Time" territory="IN" type="Asia/Calcutta  Asia/Kolkata "/>
      <mapZone other="Old Standard Time" territory="DE" type="Europe/Berlin Europe/Busingen"/>
      <mapZone other="W. Europe Standard Time" territory="DE" type="Europe/Berlin"/>
      <mapZone other="" territory="ZZ" type="Nowhere/Empty"/>
      <mapZone territory="ZZ" type="Nowhere/Absent"/>
      <mapZone other="Nothing Standard Time" territory="ZZ" type=""/>
      <mapZone other="Blank Standard Time" territory="ZZ" type="   "/>
      <mapZone other="Absent Standard Time" territory="ZZ"/>
      <other other="X Standard Time" type="Nowhere/Other"/>
    </mapTimezones>
  </windowsZones>
</supplementalData>
)";

const ZoneMap kTable{{"Etc/GMT+12", "Dateline Standard Time"},
                     {"Asia/Calcutta", "India Standard Time"},
                     {"Asia/Kolkata", "India Standard Time"},
                     {"Europe/Busingen", "Old Standard Time"},
                     {"Europe/Berlin", "W. Europe Standard Time"}};

// Takes callbacks, counts them, and lets the test wait for the first.
class Receiver {
 public:
  // The callback keeps what it needs, so that one that comes too late harms nobody.
  [[nodiscard]] ZoneMapDownload::Callback callback() {
    return [state = state_](std::optional<ZoneMap> map) {
      {
        const std::lock_guard lock(state->mutex);
        ++state->calls;
        state->map = std::move(map);
        state->thread = std::this_thread::get_id();
      }
      state->called.open();
    };
  }
  [[nodiscard]] bool wait() { return state_->called.wait(); }
  [[nodiscard]] int calls() const {
    const std::lock_guard lock(state_->mutex);
    return state_->calls;
  }
  [[nodiscard]] std::optional<ZoneMap> map() const {
    const std::lock_guard lock(state_->mutex);
    return state_->map;
  }
  [[nodiscard]] std::thread::id thread() const {
    const std::lock_guard lock(state_->mutex);
    return state_->thread;
  }

 private:
  struct State {
    std::mutex mutex;
    Gate called;
    int calls = 0;
    std::optional<ZoneMap> map;
    std::thread::id thread;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

// The address of a server that has gone.
std::string closedAddress() {
  const ScriptedServer server;
  return server.url("/");
}

struct Outcome {
  std::optional<ZoneMap> map;
  int calls = 0;
  std::string log;
};

// One download from beginning to end, with what it wrote to the platform's log.
Outcome fetchOnce(const std::string& url, const ZoneMapLimits& limits = {}) {
  testing::internal::CaptureStderr();
  Receiver receiver;
  {
    ZoneMapDownload download(limits);
    download.fetch(url, receiver.callback());
    EXPECT_TRUE(receiver.wait());
  }
  return {receiver.map(), receiver.calls(), testing::internal::GetCapturedStderr()};
}

Outcome fetchFrom(ScriptedAnswer answer) {
  ScriptedServer server;
  server.enqueue(std::move(answer));
  return fetchOnce(server.url("/windowsZones.xml"));
}

TEST(ZoneMapOf, SplitsTheZonesOfEveryEntry) {
  EXPECT_EQ(zoneMapOf(NKXMLDocument::withXMLString(kDocument)), kTable);
}

TEST(ZoneMapOf, IsEmptyForOtherDocuments) {
  for (const char* text :
       {"<x/>", "<supplementalData><windowsZones/></supplementalData>",
        "<supplementalData><mapTimezones><mapZone other='A' type='b'/></mapTimezones>"
        "</supplementalData>",
        "<windowsZones><mapTimezones><mapZone other='A' type='b'/></mapTimezones></windowsZones>"})
    EXPECT_THAT(zoneMapOf(NKXMLDocument::withXMLString(text)), IsEmpty()) << text;
  EXPECT_THAT(zoneMapOf(NKXMLDocument()), IsEmpty());
}

TEST(ZoneMapDownload, GivesTheTableOfTheDocument) {
  const Outcome outcome = fetchFrom(ScriptedAnswer::xml(std::string(kDocument)));
  EXPECT_EQ(outcome.map, kTable);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_EQ(outcome.log, "");
}

TEST(ZoneMapDownload, AsksForNothingButTheDocument) {
  ScriptedServer server;
  const std::string dtd = server.url("/supplemental.dtd");
  server.enqueue(ScriptedAnswer::xml("<!DOCTYPE x SYSTEM \"" + dtd + "\"><x/>"));
  EXPECT_THAT(fetchOnce(server.url("/a?b")).map, testing::Optional(IsEmpty()));
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests().at(0).method, "GET");
  EXPECT_EQ(server.requests().at(0).target, "/a?b");
  EXPECT_EQ(server.requests().at(0).body, "");
}

TEST(ZoneMapDownload, FollowsRedirects) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::redirect(302, server.url("/elsewhere")));
  server.enqueue(ScriptedAnswer::xml(std::string(kDocument)));
  EXPECT_EQ(fetchOnce(server.url("/")).map, kTable);
}

TEST(ZoneMapDownload, GivesAnEmptyTableForADocumentWithoutTheElements) {
  const Outcome outcome = fetchFrom(ScriptedAnswer::xml("<x/>"));
  EXPECT_THAT(outcome.map, testing::Optional(IsEmpty()));
  EXPECT_EQ(outcome.log, "");
}

TEST(ZoneMapDownload, TellsOfAServerThatCannotBeReached) {
  const Outcome outcome = fetchOnce(closedAddress());
  EXPECT_EQ(outcome.map, std::nullopt);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 7: "));
}

TEST(ZoneMapDownload, TellsOfAnAddressThatIsNone) {
  for (const char* url : {"", "file:///etc/passwd", "no address at all"}) {
    const Outcome outcome = fetchOnce(url);
    EXPECT_EQ(outcome.map, std::nullopt) << url;
    EXPECT_EQ(outcome.calls, 1) << url;
    EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http ")) << url;
  }
}

TEST(ZoneMapDownload, TellsOfAnAnswerThatIsCutOff) {
  RawServer server([](RawConnection& peer) {
    (void)peer.readRequest();
    (void)peer.write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<x/>");
  });
  const Outcome outcome = fetchOnce(server.url("/"));
  EXPECT_EQ(outcome.map, std::nullopt);
  EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 18"));
}

TEST(ZoneMapDownload, TellsOfAnAnswerThatIsNoXml) {
  for (const char* body : {"hello", "", "<x>", "<x/>junk"}) {
    const Outcome outcome = fetchFrom(ScriptedAnswer::xml(body));
    EXPECT_EQ(outcome.map, std::nullopt) << body;
    EXPECT_EQ(outcome.calls, 1) << body;
    EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt parse tz xml map: ")) << body;
  }
  // A page that says why there is no document, too.
  const Outcome missing = fetchFrom(ScriptedAnswer::xml("404: Not Found", 404));
  EXPECT_EQ(missing.map, std::nullopt);
  EXPECT_THAT(missing.log, HasSubstr("[ERROR] Couldnt parse tz xml map: "));
}

TEST(ZoneMapDownload, TellsTheParsersReason) {
  const Outcome open = fetchFrom(ScriptedAnswer::xml("<open></tag>"));
  EXPECT_THAT(open.log,
              HasSubstr("[ERROR] Couldnt parse tz xml map: NKXMLErrorDomain 76: Opening"));
  EXPECT_THAT(open.log, Not(HasSubstr("(null)")));

  // An empty body gives the parser nothing to do, and not the reason of the one before.
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("<open></tag>"));
  server.enqueue(ScriptedAnswer::xml(""));
  testing::internal::CaptureStderr();
  Receiver first;
  Receiver second;
  {
    ZoneMapDownload download;
    download.fetch(server.url("/"), first.callback());
    download.fetch(server.url("/"), second.callback());
    EXPECT_TRUE(second.wait());
  }
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("[ERROR] Couldnt parse tz xml map: NKXMLErrorDomain 0: (null)"));
}

// A document of one entry with that Windows name, after that beginning.
std::string documentOf(std::string_view beginning, std::string_view windowsName) {
  std::string text(beginning);
  text += "<s><windowsZones><mapTimezones><mapZone other='";
  text += windowsName;
  text += "' type='A/B'/></mapTimezones></windowsZones></s>";
  return text;
}

TEST(ZoneMapDownload, ReadsUtf8WhateverTheDocumentDeclares) {
  const ZoneMap expected{{"A/B", "M\u00FCnchen"}};
  for (const char* beginning : {"", "<?xml version='1.0' encoding='ISO-8859-1'?>", "\uFEFF",
                                "\uFEFF<?xml version='1.0' encoding='UTF-8'?>"}) {
    const Outcome outcome = fetchFrom(ScriptedAnswer::xml(documentOf(beginning, "M\u00FCnchen")));
    EXPECT_EQ(outcome.map, expected) << beginning;
    EXPECT_EQ(outcome.log, "") << beginning;
  }
}

TEST(ZoneMapDownload, ReplacesIllFormedBytes) {
  const Outcome outcome = fetchFrom(ScriptedAnswer::xml(documentOf("", "M\xFCnchen")));
  EXPECT_EQ(outcome.map, (ZoneMap{{"A/B", "M\uFFFDnchen"}}));
}

TEST(ZoneMapDownload, GivesAnEmptyTableForAWellFormedPageAboutAnError) {
  const Outcome page = fetchFrom(ScriptedAnswer::xml(
      "<html xmlns='http://www.w3.org/1999/xhtml'><body><h1>Not Found</h1></body></html>", 404));
  EXPECT_THAT(page.map, testing::Optional(IsEmpty()));
  EXPECT_EQ(page.log, "");
}

TEST(ZoneMapDownload, GivesUpOnASilentServer) {
  RawServer server([](RawConnection& peer) { peer.waitForClose(); });
  const Outcome outcome = fetchOnce(server.url("/"), {.idle = std::chrono::milliseconds(50)});
  EXPECT_EQ(outcome.map, std::nullopt);
  EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 28"));
  const Outcome total = fetchOnce(server.url("/"), {.total = std::chrono::milliseconds(50)});
  EXPECT_THAT(total.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 28"));
}

TEST(ZoneMapDownload, GivesUpOnADocumentThatIsTooLong) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml("<x>12345</x>"); });
  EXPECT_TRUE(fetchOnce(server.url("/"), {.bytes = 12}).map);
  const Outcome outcome = fetchOnce(server.url("/"), {.bytes = 11});
  EXPECT_EQ(outcome.map, std::nullopt);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_THAT(outcome.log, HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 63"));
}

TEST(ZoneMapDownload, RunsOneAfterTheOtherInOrder) {
  ScriptedServer server([](const ScriptedRequest& request) {
    return ScriptedAnswer::xml("<s><windowsZones><mapTimezones><mapZone other='W' type='" +
                               request.target.substr(1) + "'/></mapTimezones></windowsZones></s>");
  });
  ZoneMapDownload download;
  std::vector<Receiver> receivers(5);
  for (std::size_t i = 0; i < receivers.size(); ++i)
    download.fetch(server.url("/zone" + std::to_string(i)), receivers[i].callback());
  for (std::size_t i = 0; i < receivers.size(); ++i) {
    ASSERT_TRUE(receivers[i].wait());
    EXPECT_EQ(receivers[i].map(), (ZoneMap{{"zone" + std::to_string(i), "W"}}));
    EXPECT_EQ(receivers[i].calls(), 1);
  }
  EXPECT_EQ(server.mostAtOnce(), 1U);
  std::vector<std::string> targets;
  for (const ScriptedRequest& request : server.requests()) targets.push_back(request.target);
  EXPECT_THAT(targets, ElementsAre("/zone0", "/zone1", "/zone2", "/zone3", "/zone4"));
}

TEST(ZoneMapDownload, MayBeStartedFromACallback) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml("<x/>"); });
  ZoneMapDownload download;
  Receiver second;
  download.fetch(server.url("/1"), [&](const std::optional<ZoneMap>&) {
    download.fetch(server.url("/2"), second.callback());
  });
  EXPECT_TRUE(second.wait());
  EXPECT_TRUE(second.map());
}

TEST(ZoneMapDownload, NeedsNoCallback) {
  ScriptedServer server([](const ScriptedRequest&) { return ScriptedAnswer::xml("<x/>"); });
  ZoneMapDownload download;
  Receiver second;
  download.fetch(server.url("/1"), nullptr);
  download.fetch(server.url("/2"), second.callback());
  EXPECT_TRUE(second.wait());
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST(ZoneMapDownload, IsCancelledWithAllThatWaitsWhenItIsStopped) {
  Gate leave;
  ScriptedServer server([&leave](const ScriptedRequest&) {
    EXPECT_TRUE(leave.wait());
    return ScriptedAnswer::xml("<x/>");
  });
  testing::internal::CaptureStderr();
  ZoneMapDownload download;
  std::vector<Receiver> receivers(3);
  for (Receiver& receiver : receivers) download.fetch(server.url("/"), receiver.callback());
  ASSERT_TRUE(server.waitForRequests(1));
  download.stop();
  for (Receiver& receiver : receivers) {
    EXPECT_EQ(receiver.calls(), 1);
    EXPECT_EQ(receiver.map(), std::nullopt);
    EXPECT_NE(receiver.thread(), std::this_thread::get_id());
  }
  leave.open();
  EXPECT_EQ(server.requestCount(), 1U);

  Receiver late;
  download.fetch(server.url("/"), late.callback());
  EXPECT_EQ(late.calls(), 1);
  EXPECT_EQ(late.map(), std::nullopt);
  download.stop();
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("[ERROR] Couldnt fetch tz map: org.tarnwell.http 42"));
}

TEST(ZoneMapDownload, StopsAtOnceInWhateverPhase) {
  RawServer server([](RawConnection& peer) { peer.waitForClose(); });
  testing::internal::CaptureStderr();
  for (int round = 0; round < 50; ++round) {
    Receiver receiver;
    {
      ZoneMapDownload download;
      download.fetch(server.url("/"), receiver.callback());
    }
    ASSERT_EQ(receiver.calls(), 1);
    ASSERT_EQ(receiver.map(), std::nullopt);
  }
  (void)testing::internal::GetCapturedStderr();
}

TEST(ZoneMapDownload, MayBeStoppedByManyThreadsAtOnce) {
  RawServer server([](RawConnection& peer) { peer.waitForClose(); });
  testing::internal::CaptureStderr();
  for (int round = 0; round < 50; ++round) {
    constexpr int kThreads = 4;
    Receiver receiver;
    ZoneMapDownload download;
    download.fetch(server.url("/"), receiver.callback());
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
      threads.emplace_back([&] {
        start.arrive_and_wait();
        download.stop();
        EXPECT_EQ(receiver.calls(), 1);
      });
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(receiver.map(), std::nullopt);
  }
  (void)testing::internal::GetCapturedStderr();
}

TEST(ZoneMapDownload, MayBeStoppedByACallbackWhileAnotherThreadStopsIt) {
  const std::string url = closedAddress();
  testing::internal::CaptureStderr();
  for (int round = 0; round < 50; ++round) {
    std::latch start(2);
    Receiver second;
    bool returned = false;  // by the callback, for which the other thread waits
    {
      ZoneMapDownload download;
      download.fetch(url, [&](const std::optional<ZoneMap>&) {
        start.arrive_and_wait();
        download.stop();
        EXPECT_EQ(second.calls(), 1);
        EXPECT_EQ(second.thread(), std::this_thread::get_id());
        returned = true;
      });
      download.fetch(url, second.callback());
      start.arrive_and_wait();
      download.stop();
      ASSERT_TRUE(returned);
    }
    ASSERT_EQ(second.calls(), 1);
  }
  (void)testing::internal::GetCapturedStderr();
}

TEST(ZoneMapDownload, WaitsForACallbackThatHasStoppedIt) {
  Gate stopped;
  Gate leave;
  testing::internal::CaptureStderr();
  bool returned = false;
  {
    ZoneMapDownload download;
    download.fetch(closedAddress(), [&](const std::optional<ZoneMap>&) {
      download.stop();
      stopped.open();
      EXPECT_TRUE(leave.wait());
      returned = true;
    });
    EXPECT_TRUE(stopped.wait());
    leave.open();
  }
  EXPECT_TRUE(returned);
  (void)testing::internal::GetCapturedStderr();
}

// The operation as callers see it.

TEST(FetchTZMap, CallsBackFromAnotherThreadWhileTheCallerGoesOn) {
  Gate answer;
  ScriptedServer server([&answer](const ScriptedRequest&) {
    EXPECT_TRUE(answer.wait());
    return ScriptedAnswer::xml(std::string(kDocument));
  });
  Receiver receiver;
  TWDateTime::fetchTZMapWithCompletionBlock(server.url("/"), receiver.callback());
  EXPECT_EQ(receiver.calls(), 0);  // it has returned though there is no answer yet
  answer.open();
  ASSERT_TRUE(receiver.wait());
  EXPECT_EQ(receiver.map(), kTable);
  EXPECT_NE(receiver.thread(), std::this_thread::get_id());
}

TEST(FetchTZMap, LeavesTheCompiledTablesAlone) {
  const ZoneMap forward = TWDateTime::NSToMSTimezoneMap();
  const ZoneMap inverse = TWDateTime::MSToNSTimezoneMap();
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml(std::string(kDocument)));
  Receiver receiver;
  TWDateTime::fetchTZMapWithCompletionBlock(server.url("/"), receiver.callback());
  ASSERT_TRUE(receiver.wait());
  ASSERT_TRUE(receiver.map());
  EXPECT_EQ(TWDateTime::NSToMSTimezoneMap(), forward);
  EXPECT_EQ(TWDateTime::MSToNSTimezoneMap(), inverse);
}

TEST(FetchTZMap, TellsFailuresOnThePlatformsLogAndNotToTheLogger) {
  const test::RecordingLog logger;
  testing::internal::CaptureStderr();
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml("hello"));
  Receiver unreadable;
  Receiver unreachable;
  TWDateTime::fetchTZMapWithCompletionBlock(server.url("/"), unreadable.callback());
  TWDateTime::fetchTZMapWithCompletionBlock(closedAddress(), unreachable.callback());
  EXPECT_TRUE(unreadable.wait());
  EXPECT_TRUE(unreachable.wait());
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_THAT(log, HasSubstr("[ERROR] Couldnt parse tz xml map: "));
  EXPECT_THAT(log, HasSubstr("[ERROR] Couldnt fetch tz map: "));
  EXPECT_THAT(logger.lines(), IsEmpty());
  EXPECT_THAT(logger.debugLines(), IsEmpty());
}

TEST(FetchTZMap, HasAnAddressOfItsOwn) {
  ScriptedServer server;
  server.enqueue(ScriptedAnswer::xml(std::string(kDocument)));
  ZoneMapDownload& shared = ZoneMapDownload::shared();
  EXPECT_EQ(shared.setCurrentURL(server.url("/current.xml")), kZoneMapURL);
  Receiver receiver;
  TWDateTime::fetchTZMapWithCompletionBlock(receiver.callback());
  EXPECT_TRUE(receiver.wait());
  shared.setCurrentURL(kZoneMapURL);
  EXPECT_EQ(receiver.map(), kTable);
  ASSERT_EQ(server.requestCount(), 1U);
  EXPECT_EQ(server.requests().at(0).target, "/current.xml");
}

// The end of a process, in one of its own.

void callEnded(const std::optional<ZoneMap>& map) {
  std::fputs(map ? "called with a table\n" : "called with nothing\n", stderr);
}

TEST(FetchTZMapDeathTest, IsCancelledAndCalledBackWhenTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // Without threads of its own, which would have to end before the libraries that they use.
        static RawServer silent([](RawConnection& /*peer*/) {},
                                {.certificate = {}, .accepts = false});
        TWDateTime::fetchTZMapWithCompletionBlock(silent.url("/"), callEnded);
        std::exit(0);  // NOLINT(concurrency-mt-unsafe): nobody else ends it
      },
      testing::ExitedWithCode(0), "called with nothing");
}

TEST(FetchTZMapDeathTest, LetsACallbackEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // Not destroyed: a thread waits at one of them while the process ends.
        static Gate& bothQueued = *new Gate;
        static Gate& never = *new Gate;
        const std::string url = closedAddress();
        TWDateTime::fetchTZMapWithCompletionBlock(url, [](const std::optional<ZoneMap>&) {
          std::exit(bothQueued.wait() ? 0 : 1);  // NOLINT(concurrency-mt-unsafe): the one to end it
        });
        TWDateTime::fetchTZMapWithCompletionBlock(url, callEnded);
        bothQueued.open();
        (void)never.wait();
      },
      testing::ExitedWithCode(0), "called with nothing");
}

}  // namespace
}  // namespace tarnwell::detail
