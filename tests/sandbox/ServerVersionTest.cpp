#include <array>

#include <gtest/gtest.h>

#include "sandbox/SandboxServer.h"
#include "sandbox/detail/ServerVersion.h"
#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {
namespace {

struct Row {
  const char* key;
  const char* schema;
  const char* build;
  const char* header;  // the Version attribute
  int schemasKnown;
};

constexpr std::array kRows{
    Row{"Exchange2007", "Exchange2007", "8.0.685.24", "(none)", 1},
    Row{"Exchange2007_SP1", "Exchange2007_SP1", "8.1.240.5", "(none)", 2},
    Row{"Exchange2007_SP2", "Exchange2007_SP1", "8.2.176.2", "(none)", 2},
    Row{"Exchange2007_SP3", "Exchange2007_SP1", "8.3.83.6", "(none)", 2},
    Row{"Exchange2010", "Exchange2010", "14.0.639.21", "Exchange2010", 3},
    Row{"Exchange2010_SP1", "Exchange2010_SP1", "14.1.218.15", "Exchange2010_SP1", 4},
    Row{"Exchange2010_SP2", "Exchange2010_SP2", "14.2.247.5", "Exchange2010_SP2", 5},
    Row{"Exchange2010_SP3", "Exchange2010_SP2", "14.3.123.4", "Exchange2010_SP2", 5},
    Row{"Exchange2013", "Exchange2013", "15.0.516.32", "Exchange2013", 6},
    Row{"Exchange2013_SP1", "Exchange2013_SP1", "15.0.847.32", "Exchange2013_SP1", 7},
    Row{"Exchange2016", "Exchange2016", "15.1.225.42", "Exchange2016", 9},
};

constexpr std::array kSchemaNames{
    "Exchange2007", "Exchange2007_SP1", "Exchange2010", "Exchange2010_SP1", "Exchange2010_SP2",
    "Exchange2013", "Exchange2013_SP1", "Exchange2015", "Exchange2016",
};

TEST(ServerVersion, EverySchemaIsFoundByItsName) {
  for (std::size_t i = 0; i < kSchemaNames.size(); ++i) {
    const Schema* schema = findSchema(kSchemaNames.at(i));
    ASSERT_NE(schema, nullptr) << kSchemaNames.at(i);
    EXPECT_EQ(static_cast<std::size_t>(*schema), i);
    EXPECT_EQ(schemaName(*schema), kSchemaNames.at(i));
  }
}

TEST(ServerVersion, ServicePacksWithoutASchemaOfTheirOwnCannotBeAskedFor) {
  for (const char* name : {"Exchange2007_SP2", "Exchange2007_SP3", "Exchange2010_SP3", "", "2010",
                           "exchange2010", "V2017_07_11"}) {
    EXPECT_EQ(findSchema(name), nullptr) << name;
  }
}

TEST(ServerVersion, TheServersThatItCanBeAreListedFromTheOldest) {
  const std::vector<std::string> keys = sandboxVersions();
  ASSERT_EQ(keys.size(), kRows.size());
  for (std::size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(keys[i], kRows.at(i).key);
}

class VersionMatrix : public testing::TestWithParam<Row> {
 protected:
  VersionMatrix() : server(options()) { EXPECT_TRUE(server.start()); }

  static SandboxOptions options() {
    SandboxOptions options = standardOptions();
    options.version = GetParam().key;
    return options;
  }

  SandboxServer server;
  HttpClient client;
};

TEST_P(VersionMatrix, AnswersNameTheBuildAndFromExchange2010OnTheSchema) {
  const HttpReply reply =
      client.post(server.url(), envelope(resolveNamesFor("alice"), GetParam().schema));
  const Answer answer(reply);
  const std::string info = "//Header/ServerVersionInfo";
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(answer.namespaceAt(info), "http://schemas.microsoft.com/exchange/services/2006/types");
  EXPECT_EQ(answer.attribute(info, "MajorVersion") + "." + answer.attribute(info, "MinorVersion") +
                "." + answer.attribute(info, "MajorBuildNumber") + "." +
                answer.attribute(info, "MinorBuildNumber"),
            GetParam().build);
  EXPECT_EQ(answer.attribute(info, "Version"), GetParam().header);
}

TEST_P(VersionMatrix, ASchemaNewerThanTheServerIsRefused) {
  for (std::size_t i = 0; i < kSchemaNames.size(); ++i) {
    const HttpReply reply =
        client.post(server.url(), envelope(resolveNamesFor("alice"), kSchemaNames.at(i)));
    if (static_cast<int>(i) < GetParam().schemasKnown) {
      EXPECT_EQ(reply.status, 200) << kSchemaNames.at(i);
    } else {
      EXPECT_TRUE(isFault(reply, 500, "ErrorInvalidServerVersion")) << kSchemaNames.at(i);
      EXPECT_EQ(Answer(reply).text("//detail/Message"), "The specified server version is invalid.");
      EXPECT_EQ(Answer(reply).count("//ServerVersionInfo"), 0U);
    }
  }
}

TEST_P(VersionMatrix, TheSchemaDocumentNamesTheServer) {
  const HttpReply reply = client.get(server.url("/EWS/types.xsd"));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Answer(reply).attribute("/schema", "Version"), GetParam().key);
}

TEST_P(VersionMatrix, TimeZonesAreKnownFromExchange2010On) {
  const HttpReply reply = client.post(
      server.url(),
      envelope(R"(<m:GetServerTimeZones ReturnFullTimeZoneData="false"/>)", GetParam().schema));
  if (std::string(GetParam().key).starts_with("Exchange2007")) {
    EXPECT_TRUE(isFault(reply, 500, "ErrorInvalidRequest"));
  } else {
    EXPECT_EQ(reply.status, 200) << reply.body;
  }
}

INSTANTIATE_TEST_SUITE_P(Every, VersionMatrix, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.key); });

TEST(ServerVersion, TheVersionTextCanBeOneOfTheInternalTags) {
  SandboxOptions options = standardOptions();
  options.versionText = "V2017_07_11";
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client;
  const Answer answer(client.post(server.url(), envelope(resolveNamesFor("alice"))));
  EXPECT_EQ(answer.attribute("//ServerVersionInfo", "Version"), "V2017_07_11");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
