// The demonstration, against the sandbox as a program of its own where it is given a server.
#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/examples/SandboxProgram.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// scripts/demo with the programs of this build, as if somebody typed that text into it.
class Demo {
 public:
  explicit Demo(std::vector<std::string> arguments, const std::string& typed = "") {
    // The shell takes the text and the script as $0 and $1.
    std::vector<std::string> command{"-c",      R"(typed=$0; printf %s "$typed" | "$@")",
                                     typed,     TARNWELL_DEMO,
                                     "--built", TARNWELL_BUILD};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Program program("/bin/sh", command);
    output = program.rest();
    exitCode = program.exitCode();
  }
  [[nodiscard]] std::string lastLine() const {
    const auto lines = linesOf(output);
    return lines.empty() ? "" : lines.back();
  }

  std::string output;
  int exitCode = -1;
};

TEST(Demo, WithoutAServerItEndsWithTheWholeTour) {
  const Demo demo({});
  EXPECT_EQ(demo.exitCode, 0) << demo.output;
  EXPECT_THAT(demo.output, HasSubstr("UploadItems"));
  // The message is sent while the other account waits.
  EXPECT_THAT(demo.output, HasSubstr("Subscribe, GetStreamingEvents, CreateItem, Unsubscribe"));
  EXPECT_THAT(demo.lastLine(), StartsWith("The tour is done: 19 steps, "));
}

TEST(Demo, AgainstAServerItTakesThePasswordThatIsTypedAndChangesNothing) {
  SandboxProgram server({"--verbose"});
  const Demo demo({"--server", server.url(), "--user", kUser}, "secret\n");
  EXPECT_EQ(demo.exitCode, 0) << demo.output;
  EXPECT_THAT(demo.lastLine(), StartsWith("The tour is done: "));
  EXPECT_THAT(demo.output, Not(HasSubstr("secret")));

  server.signal(SIGTERM);
  const auto requests = linesOf(server.rest());
  EXPECT_THAT(requests, Contains(HasSubstr("FindItem")));
  EXPECT_THAT(requests, Each(AnyOf(HasSubstr(" ResolveNames "), HasSubstr(" GetFolder "),
                                   HasSubstr(" FindFolder "), HasSubstr(" FindItem "),
                                   HasSubstr(" GetItem "), HasSubstr(" [] 401"))));
}

TEST(Demo, AgainstAServerItTellsTheOperationsThatItSends) {
  const SandboxProgram server;
  const Demo demo({"--server", server.url(), "--user", kUser}, "secret\n");
  EXPECT_THAT(linesOf(demo.output), AllOf(Contains("1. Open the account"),
                                          Contains(StartsWith("   sent: FindItem, GetItem (")),
                                          Contains(StartsWith("   sent: nothing ("))))
      << demo.output;
}

TEST(Demo, ThePasswordMayStandInAFileAndTheServerMayHaveACertificateOfItsOwn) {
  const TemporaryDirectory directory;
  const std::string certificate = directory.path() / "server.pem";
  const std::string password = directory.path() / "password";
  std::ofstream(password) << "secret\nnot this line\n";
  const SandboxProgram server({"--tls", "--write-cert", certificate});
  // The endpoint is at its usual place.
  const auto host = server.url().substr(0, server.url().find("/EWS"));
  const Demo demo(
      {"--server", host, "--user", kUser, "--password-file", password, "--ca", certificate});
  EXPECT_EQ(demo.exitCode, 0) << demo.output;
  EXPECT_THAT(demo.lastLine(), StartsWith("The tour is done: "));
}

TEST(Demo, TheMailboxMayBeAnotherOneThanTheUsers) {
  const SandboxProgram server;
  const Demo own({"--server", server.url(), "--user", kOther}, "secret\n");
  EXPECT_THAT(own.output, HasSubstr("The inbox is empty.")) << own.output;
  const Demo other({"--server", server.url(), "--user", kOther, "--mailbox", kUser}, "secret\n");
  EXPECT_EQ(other.exitCode, 0) << other.output;
  EXPECT_THAT(other.output, Not(HasSubstr("The inbox is empty."))) << other.output;
}

TEST(Demo, AWrongPasswordEndsItWithOneInTheStepThatFailed) {
  const SandboxProgram server;
  const Demo demo({"--server", server.url(), "--user", kUser}, "wrong\n");
  EXPECT_EQ(demo.exitCode, 1);
  EXPECT_THAT(demo.lastLine(), AllOf(StartsWith("The tour failed in step 1 (Open the account): "),
                                     HasSubstr("Access denied")));
}

TEST(Demo, AServerThatIsNotThereEndsItWithOne) {
  const Demo demo({"--server", "http://127.0.0.1:1", "--user", kUser}, "secret\n");
  EXPECT_EQ(demo.exitCode, 1);
  EXPECT_THAT(demo.lastLine(), StartsWith("The tour failed in step 1 (Open the account): "));
}

TEST(Demo, WithoutAPasswordNothingIsSent) {
  SandboxProgram server({"--verbose"});
  const Demo demo({"--server", server.url(), "--user", kUser});
  EXPECT_NE(demo.exitCode, 0);
  EXPECT_THAT(demo.output, HasSubstr("there is no password"));
  server.signal(SIGTERM);
  EXPECT_THAT(server.rest(), IsEmpty());
}

TEST(Demo, ArgumentsThatMakeNoSenseEndItWithTwo) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"--server", "http://127.0.0.1:1"}, {"--user", kUser}, {"--server"}, {"--nonsense"}}) {
    EXPECT_EQ(Demo(arguments).exitCode, 2) << testing::PrintToString(arguments);
  }
}

}  // namespace
}  // namespace tarnwell::test
