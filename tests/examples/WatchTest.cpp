// The example that watches an inbox, as a program that is interrupted.
#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/protocol/TWProtocol.h"

#include "tests/examples/SandboxProgram.h"
#include "tests/support/MailboxAnswers.h"
#include "tests/support/StreamAnswers.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// The program. What it says is between the lines of the log, each of which begins with a name.
class Watch : public Program {
 public:
  using Program::Program;
  /// The next line that it says; empty at the end.
  [[nodiscard]] std::string said() const {
    auto text = line();
    while (text.starts_with('[')) text = line();
    return text;
  }
  [[nodiscard]] std::vector<std::string> saidToTheEnd() const {
    std::vector<std::string> lines;
    for (auto text = said(); !text.empty(); text = said()) lines.push_back(text);
    return lines;
  }
};

class WatchTest : public testing::Test {
 protected:
  WatchTest() : password_(directory_.path() / "password") {
    std::ofstream(password_) << "secret\n";
  }

  [[nodiscard]] std::unique_ptr<Watch> watch(const std::string& url) const {
    return std::make_unique<Watch>(
        TARNWELL_WATCH,
        std::vector<std::string>{kUser, "--password-file", password_, "--server", url});
  }

 private:
  TemporaryDirectory directory_;
  std::string password_;
};

void sendToAlice(const std::string& url) {
  TWAccountOptions options;
  options.primarySmtpAddress = kOther;
  options.credentials = TWCredentials::credentialsWithUsernamePassword(kOther, "secret");
  options.config = TWConfiguration{TWProtocol::withServiceEndpoint(url, options.credentials)};
  const auto message = TWMessage::withDict(
      {{"subject", "Lunch?"}, {"body", "x"}, {"to_recipients", TWValue::list({kUser})}});
  TWError error;
  EXPECT_TRUE(TWAccount::withOptions(options)->bulkCreate(nullptr, {message}, "SendOnly",
                                                          "SendToNone", &error))
      << error;
}

TEST_F(WatchTest, TellsWhatHappensAndEndsItsSubscriptionWhenItIsInterrupted) {
  for (const int interrupt : {SIGINT, SIGTERM}) {
    SandboxProgram server({"--verbose"});
    const auto program = watch(server.url());
    ASSERT_EQ(program->said(), "watching");
    sendToAlice(server.url());
    EXPECT_THAT(program->said(), EndsWith(" of an item"));
    program->signal(interrupt);
    const auto rest = program->saidToTheEnd();
    ASSERT_THAT(rest, Not(IsEmpty()));
    EXPECT_EQ(rest.back(), "done");
    EXPECT_EQ(program->exitCode(), 0);
    server.signal(SIGTERM);
    EXPECT_THAT(linesOf(server.rest()), Contains(HasSubstr(" Unsubscribe ")));
  }
}

TEST_F(WatchTest, IsInterruptedWhileNothingHappens) {
  const SandboxProgram server;
  const auto program = watch(server.url());
  ASSERT_EQ(program->said(), "watching");
  program->signal(SIGINT);
  EXPECT_THAT(program->saidToTheEnd(), ElementsAre("done"));
  EXPECT_EQ(program->exitCode(), 0);
}

TEST_F(WatchTest, IsInterruptedWhileTheServerIsAway) {
  const auto program = watch("http://127.0.0.1:1/");
  EXPECT_THAT(program->said(), AllOf(StartsWith("lost the server ("), Not(HasSubstr("()"))))
      << "why is told";
  program->signal(SIGINT);
  EXPECT_THAT(program->saidToTheEnd(), Each(AnyOf(StartsWith("lost the server ("), "done")));
  EXPECT_EQ(program->exitCode(), 0);
}

/// A server on which one can subscribe; it answers the requests for events by their number.
class EventsServer {
 public:
  explicit EventsServer(std::function<ScriptedAnswer(int number)> events) {
    server_.on("ResolveNames", resolveNamesAnswer("MajorVersion=\"15\" MinorVersion=\"1\" "
                                                  "MajorBuildNumber=\"2507\""));
    server_.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder", folderXML("F", "f"))));
    server_.on("Subscribe", answer("Subscribe", responseMessage("Subscribe", "Success", "NoError",
                                                                "<m:SubscriptionId>S"
                                                                "</m:SubscriptionId>")));
    server_.on("GetStreamingEvents",
               [this, events = std::move(events)](const std::string&) { return events(++asked_); });
  }
  [[nodiscard]] std::string url() const { return server_.url(); }

 private:
  std::atomic<int> asked_ = 0;
  MailboxServer server_;
};

/// What ends the subscription.
ScriptedAnswer lostSubscription() {
  return ScriptedAnswer::xml(streamDocument("", "ErrorSubscriptionNotFound"));
}

TEST_F(WatchTest, WaitsBeforeItAsksAgainWhenTheAnswerWasNoStream) {
  const EventsServer server([](int number) {
    return number == 1 ? ScriptedAnswer::xml("<html><body>Please log in</body></html>", 503)
                       : lostSubscription();
  });
  const auto program = watch(server.url());
  ASSERT_EQ(program->said(), "watching");
  EXPECT_THAT(program->said(), HasSubstr("No body element"));
}

TEST_F(WatchTest, PausesGrowWhileStreamsEndAtOnce) {
  const EventsServer server([](int) { return ScriptedAnswer::xml(statusDocument("Closed")); });
  const auto program = watch(server.url());
  for (const char* const pause : {" 1000 ms", " 2000 ms"}) {
    ASSERT_EQ(program->said(), "watching");
    EXPECT_THAT(program->said(), EndsWith(pause));
  }
}

TEST_F(WatchTest, ErrorBeforeANotificationEndsTheWatch) {
  const auto event = streamDocument(
      "<m:Notifications><m:Notification><t:SubscriptionId>S</t:SubscriptionId><t:NewMailEvent>"
      "<t:TimeStamp>2026-11-21T14:00:00Z</t:TimeStamp><t:ItemId Id=\"I\"/></t:NewMailEvent>"
      "</m:Notification></m:Notifications>");
  const EventsServer server([&](int number) {
    return number == 1
               ? ScriptedAnswer::xml(streamDocument("", "ErrorExpiredSubscription") + "  " + event)
               : lostSubscription();
  });
  const auto program = watch(server.url());
  ASSERT_EQ(program->said(), "watching");
  EXPECT_EQ(program->said(), "2026-11-21T14:00:00Z NewMailEvent of an item");
  EXPECT_THAT(program->said(), HasSubstr("ErrorExpiredSubscription"));
}

}  // namespace
}  // namespace tarnwell::test
