// Logging in and certificates against a real server.

#include <gmock/gmock.h>

#include "tarnwell/transport/TWAuthType.h"

#include "tests/support/ApacheRig.h"
#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kUser = "alice";
constexpr const char* kPassword = "Secret1!";

class TWConnectionApache : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!rig_.missing().empty()) GTEST_SKIP() << rig_.missing();
  }
  [[nodiscard]] static std::shared_ptr<TWConnection> login(std::string_view name = kUser,
                                                           std::string_view password = kPassword) {
    TWConnectionOptions options;
    options.caFile = TestCertificates::shared().authority();
    return TWConnection::withCredentials(
        TWCredentials::credentialsWithUsernamePassword(name, password), false, options);
  }
  [[nodiscard]] std::string lastUser() {
    return rig_.backend().requests().back().header("X-Remote-User").value_or("");
  }

  ApacheRig rig_;
};

TEST_F(TWConnectionApache, EveryDoorOpensByItsScheme) {
  const std::pair<const char*, TWAuthType> doors[] = {
      {"BASIC", TWAuthType::basic},         {"DIGEST", TWAuthType::digest},
      {"NTLM", TWAuthType::ntlm},           {"NEGOTIATE", TWAuthType::ntlm},
      {"BASIC_DIGEST", TWAuthType::digest}, {"ALL", TWAuthType::ntlm},
      {"TLS_ALL", TWAuthType::ntlm}};
  for (const auto& [door, scheme] : doors) {
    const RecordingLog log;
    const auto connection = login();
    const std::string body(100000, 'x');
    for (int i = 0; i < 2; ++i) {
      const TWResponse record = connection->post(rig_.url(door, "/EWS"), std::nullopt, body);
      EXPECT_EQ(status(record), 200) << door;
      EXPECT_THAT(record.error, IsNoError()) << door;
      EXPECT_THAT(lastUser(), HasSubstr(kUser)) << door;
      EXPECT_EQ(rig_.backend().requests().back().body.size(), body.size()) << door;
    }
    EXPECT_EQ(connection->lastUsedAuthType(), scheme) << door;
    EXPECT_EQ(log.count("[alice] Using auth type: " + std::to_string(static_cast<int>(scheme))), 1)
        << door;
    EXPECT_EQ(log.count("Using auth type"), 1) << door;
    for (const std::string& line : log.lines()) EXPECT_THAT(line, Not(HasSubstr(kPassword)));
  }
}

TEST_F(TWConnectionApache, WrongPasswordEndsWith401) {
  for (const char* door :
       {"BASIC", "DIGEST", "NTLM", "NEGOTIATE", "BASIC_DIGEST", "ALL", "TLS_ALL"}) {
    const TWResponse record = login(kUser, "wrong")->get(rig_.url(door, "/"));
    EXPECT_EQ(status(record), 401) << door;
    EXPECT_THAT(record.error, IsNoError()) << door;
  }
  EXPECT_EQ(rig_.backend().requestCount(), 0U);
}

TEST_F(TWConnectionApache, UserNameOfEMailFormLogsInByEveryScheme) {
  for (const char* door : {"BASIC", "DIGEST", "NTLM"}) {
    const TWResponse record = login("user@example.com", "Secret2!")->get(rig_.url(door, "/"));
    EXPECT_EQ(status(record), 200) << door;
    EXPECT_THAT(lastUser(), HasSubstr("user@example.com")) << door;
  }
}

TEST_F(TWConnectionApache, UserNameWithADomainLogsInByNTLM) {
  EXPECT_EQ(status(login("EXAMPLE\\alice")->get(rig_.url("NTLM", "/"))), 200);
  EXPECT_EQ(lastUser(), "EXAMPLE\\alice");
  EXPECT_EQ(status(login("OTHER\\alice")->get(rig_.url("NTLM", "/"))), 401);
}

TEST_F(TWConnectionApache, RightPasswordAfterAWrongOneLogsIn) {
  for (const char* door : {"BASIC", "DIGEST", "NTLM", "ALL"}) {
    const auto credentials = withPassword(kUser, "wrong");
    const auto connection = TWConnection::withCredentials(credentials, false);
    EXPECT_EQ(status(connection->get(rig_.url(door, "/"))), 401) << door;
    credentials->updateAccessToken(kPassword);
    EXPECT_EQ(status(connection->get(rig_.url(door, "/"))), 200) << door;
  }
}

TEST_F(TWConnectionApache, TokenIsNoPassword) {
  for (const char* door : {"BASIC", "DIGEST", "NTLM"}) {
    const auto connection = TWConnection::withCredentials(withToken(), false);
    EXPECT_EQ(status(connection->get(rig_.url(door, "/"))), 401) << door;
  }
}

TEST_F(TWConnectionApache, CertificatesAreJudged) {
  const auto connection = login();
  EXPECT_EQ(status(connection->get(rig_.url("TLS_ALL", "/"))), 200);
  EXPECT_FALSE(connection->hasInsecureCertificate());
  for (const char* door : {"TLS_SELF", "TLS_WRONG_HOST", "TLS_EXPIRED"}) {
    const auto strict = login();
    EXPECT_THAT(strict->get(rig_.url(door, "/")).error, IsHTTPError(TWHTTPErrorInsecureCertificate))
        << door;
    EXPECT_TRUE(strict->hasInsecureCertificate()) << door;
    strict->setAllowInsecureCertificate(true);
    EXPECT_EQ(status(strict->get(rig_.url(door, "/"))), 200) << door;
    EXPECT_TRUE(strict->hasInsecureCertificate()) << door;
  }
}

TEST(TWConnectionApacheRefusal, DeadConnectionAfterARefusedNTLMLoginIsNotUsedAgain) {
  ApacheRig rig(false);
  if (!rig.missing().empty()) GTEST_SKIP() << rig.missing();
  const auto credentials = withPassword(kUser, "wrong");
  const auto connection = TWConnection::withCredentials(credentials, false);
  EXPECT_EQ(status(connection->get(rig.url("NTLM", "/"))), 401);
  credentials->updateAccessToken(kPassword);
  EXPECT_EQ(status(connection->get(rig.url("NTLM", "/"))), 200);
}

}  // namespace
}  // namespace tarnwell::test
