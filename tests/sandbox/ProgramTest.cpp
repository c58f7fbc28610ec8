#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/Program.h"
#include "tests/sandbox/SandboxFixture.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

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
