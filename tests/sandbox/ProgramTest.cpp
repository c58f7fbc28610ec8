#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// The program with its standard output and error on one pipe.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TARNWELL_SANDBOX_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    output_ = ends[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    const int failure = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (failure != 0) throw std::runtime_error("cannot start the program");
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() {
    if (pid_ > 0) {
      signal(SIGKILL);
      static_cast<void>(exitCode());
    }
    ::close(output_);
  }

  /// The next line, without its end.
  [[nodiscard]] std::string line() const {
    std::string text;
    char c = 0;
    while (::read(output_, &c, 1) == 1 && c != '\n') text += c;
    return text;
  }
  /// Everything to the end.
  [[nodiscard]] std::string rest() const {
    std::string text;
    char c = 0;
    while (::read(output_, &c, 1) == 1) text += c;
    return text;
  }
  void signal(int number) const { ::kill(pid_, number); }
  /// -1 when it did not end by itself.
  [[nodiscard]] int exitCode() {
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_ = 0;
  int output_ = -1;
};

TEST(Program, ItPrintsItsEndpointServesAndEndsOnASignal) {
  for (const int ending : {SIGTERM, SIGINT}) {
    Program program({"--mailbox", "alice@example.com:secret", "--server-version", "Exchange2013"});
    const std::string line = program.line();
    ASSERT_THAT(line, StartsWith("listening http://127.0.0.1:"));
    HttpClient client;
    const HttpReply reply =
        client.post(line.substr(10), envelope(resolveNamesFor("alice"), "Exchange2013"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(Answer(reply).attribute("//ServerVersionInfo", "MajorBuildNumber"), "516");
    program.signal(ending);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(program.rest(), "");
  }
}

TEST(Program, ItWritesItsCertificate) {
  const tarnwell::test::TemporaryDirectory directory;
  const std::string file = directory.path() / "server.pem";
  Program program({"--tls", "--write-cert", file, "--host", "127.0.0.1", "--mailbox",
                   "alice@example.com:secret"});
  const std::string line = program.line();
  ASSERT_THAT(line, StartsWith("listening https://127.0.0.1:"));
  HttpOptions options;
  options.caFile = file;
  HttpClient client(options);
  EXPECT_EQ(client.post(line.substr(10), envelope(resolveNamesFor("alice"))).status, 200);
}

TEST(Program, VerboseShowsRequestsAndControlFails) {
  Program program({"--verbose", "--control", "--mailbox", "alice@example.com:secret"});
  const std::string url = program.line().substr(10);
  HttpClient client;
  const std::string fail =
      url.substr(0, url.find("/EWS/")) + "/sandbox/fail?times=1&code=ErrorServerBusy";
  EXPECT_EQ(client.post(fail, "").status, 200);
  EXPECT_TRUE(
      isFault(client.post(url, envelope(resolveNamesFor("alice"))), 500, "ErrorServerBusy"));
  EXPECT_EQ(program.line(), "POST /sandbox/fail [] 200");
  EXPECT_EQ(program.line(),
            "POST /EWS/Exchange.asmx ResolveNames Exchange2016 [alice@example.com] 500");
}

TEST(Program, BadArgumentsEndItWithTwo) {
  Program program({"--port", "many"});
  EXPECT_EQ(
      program.rest(),
      "tarnwell-sandbox: --port takes a number from 0 to 65535, not many; --help shows them all\n");
  EXPECT_EQ(program.exitCode(), 2);
}

TEST(Program, WhatCannotBeStartedEndsItWithOne) {
  Program mailbox({"--mailbox", "nobody:x"});
  EXPECT_THAT(mailbox.rest(), HasSubstr("not a mail address: nobody"));
  EXPECT_EQ(mailbox.exitCode(), 1);
  Program file({"--tls", "--write-cert", "/nonexistent/file.pem"});
  EXPECT_THAT(file.rest(), HasSubstr("cannot write /nonexistent/file.pem"));
  EXPECT_EQ(file.exitCode(), 1);
}

TEST(Program, HelpIsGiven) {
  Program program({"--help"});
  EXPECT_THAT(program.rest(), StartsWith("usage: tarnwell-sandbox [option...]\n"));
  EXPECT_EQ(program.exitCode(), 0);
}

}  // namespace
}  // namespace tarnwell::sandbox::test
