#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sandbox/CommandLine.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::HasSubstr;

std::string problemOf(const std::vector<std::string>& arguments) {
  std::string error;
  return parseCommandLine(arguments, error) ? "" : error;
}

TEST(CommandLine, WithoutArgumentsThereIsOneMailboxOnAnyPort) {
  std::string error;
  const auto line = parseCommandLine({}, error);
  ASSERT_TRUE(line) << error;
  EXPECT_EQ(line->server.port, 0);
  EXPECT_EQ(line->server.host, "127.0.0.1");
  EXPECT_FALSE(line->server.tls);
  EXPECT_FALSE(line->server.control);
  ASSERT_EQ(line->server.mailboxes.size(), 1U);
  EXPECT_EQ(line->server.mailboxes[0].address, "user@example.com");
}

TEST(CommandLine, EveryOptionHasItsEffect) {
  std::string error;
  const auto line = parseCommandLine({"--port",
                                      "8080",
                                      "--mailbox",
                                      "a@example.com:p:w",
                                      "--mailbox",
                                      "b@example.com:q",
                                      "--token",
                                      "b@example.com:tok:en",
                                      "--server-version",
                                      "Exchange2010_SP2",
                                      "--external-url",
                                      "https://m.example/e",
                                      "--tls",
                                      "--host",
                                      "x.example",
                                      "--host",
                                      "y.example",
                                      "--write-cert",
                                      "out.pem",
                                      "--store",
                                      "mail.db",
                                      "--seed-mailbox",
                                      "50",
                                      "--heartbeat",
                                      "2",
                                      "--control",
                                      "--verbose"},
                                     error);
  ASSERT_TRUE(line) << error;
  EXPECT_EQ(line->server.port, 8080);
  ASSERT_EQ(line->server.mailboxes.size(), 2U);
  EXPECT_EQ(line->server.mailboxes[0].password, "p:w");
  EXPECT_EQ(line->server.mailboxes[1].address, "b@example.com");
  EXPECT_EQ(line->server.tokens.at(0).address, "b@example.com");
  EXPECT_EQ(line->server.storeFile, "mail.db");
  EXPECT_EQ(line->server.seedCount, 50);
  EXPECT_EQ(line->server.streamHeartbeat, std::chrono::seconds(2));
  EXPECT_EQ(line->server.tokens.at(0).token, "tok:en");
  EXPECT_EQ(line->server.version, "Exchange2010_SP2");
  EXPECT_EQ(line->server.externalUrl, "https://m.example/e");
  EXPECT_TRUE(line->server.tls);
  EXPECT_THAT(line->server.certificateNames, testing::ElementsAre("x.example", "y.example"));
  EXPECT_EQ(line->writeCertificateFile, "out.pem");
  EXPECT_TRUE(line->server.control);
  EXPECT_TRUE(line->verbose);
  EXPECT_FALSE(line->help);
}

TEST(CommandLine, ACertificateOfOnesOwnMeansTls) {
  const tarnwell::test::TemporaryDirectory directory;
  const std::string file = directory.path() / "any.pem";
  std::ofstream(file) << "text";
  std::string error;
  const auto line = parseCommandLine({"--cert", file, "--key", file}, error);
  ASSERT_TRUE(line) << error;
  EXPECT_TRUE(line->server.tls);
  EXPECT_EQ(line->server.certificatePem, "text");
  EXPECT_EQ(problemOf({"--cert", file}), "--cert and --key go together");
  EXPECT_EQ(problemOf({"--cert", file, "--key", file, "--host", "a"}),
            "--host is for a certificate made here");
  EXPECT_EQ(problemOf({"--cert", file + ".no", "--key", file}), "cannot read " + file + ".no");
}

TEST(CommandLine, BadArgumentsAreNamed) {
  EXPECT_EQ(problemOf({"--colour"}), "unknown option --colour");
  EXPECT_EQ(problemOf({"extra"}), "unknown option extra");
  EXPECT_EQ(problemOf({"--port"}), "--port takes a value");
  for (const char* port : {"x", "-1", "65536", "80x", ""}) {
    EXPECT_EQ(problemOf({"--port", port}),
              "--port takes a number from 0 to 65535, not " + std::string(port));
  }
  EXPECT_EQ(problemOf({"--seed-mailbox", "100001"}),
            "--seed-mailbox takes a number from 0 to 100000, not 100001");
  EXPECT_EQ(problemOf({"--heartbeat", "0"}), "--heartbeat takes at least one second");
  EXPECT_THAT(problemOf({"--server-version", "Exchange2003"}), HasSubstr("Exchange2010_SP3"));
  EXPECT_EQ(problemOf({"--host", "a"}), "--host and --write-cert need --tls");
  EXPECT_EQ(problemOf({"--write-cert", "a"}), "--host and --write-cert need --tls");
}

TEST(CommandLine, AMistakeInASecretDoesNotShowIt) {
  for (const char* option : {"--mailbox", "--token"}) {
    for (const char* text : {"hush", ":hush", "hush:"}) {
      const std::string problem = problemOf({option, text});
      EXPECT_THAT(problem, HasSubstr(option));
      EXPECT_THAT(problem, Not(HasSubstr("hush")));
    }
  }
}

TEST(CommandLine, TheHelpNamesEveryOption) {
  for (const char* option :
       {"--port", "--mailbox", "--token", "--server-version", "--external-url", "--tls", "--host",
        "--store", "--seed-mailbox", "--heartbeat", "--cert", "--key", "--write-cert", "--control",
        "--verbose", "--help"}) {
    EXPECT_THAT(std::string(usage()), HasSubstr(option));
  }
}

}  // namespace
}  // namespace tarnwell::sandbox::test
