#include <sstream>

#include <gmock/gmock.h>

#include "tarnwell/transport/TWResponse.h"

#include "tests/transport/ConnectionFixture.h"

namespace tarnwell::test {
namespace {

using ::testing::HasSubstr;

TEST(TWResponse, NewRecordHoldsNothing) {
  const TWResponse record;
  EXPECT_TRUE(record.url.empty());
  EXPECT_TRUE(record.redirectUrl.empty());
  EXPECT_FALSE(record.needsRedirect);
  EXPECT_FALSE(record.response);
  EXPECT_TRUE(record.data.empty());
  EXPECT_THAT(record.error, IsNoError());
  EXPECT_FALSE(record.xmlDoc);
  EXPECT_EQ(record.xml(), std::nullopt);
}

TEST(TWResponse, BodyThatIsXMLBecomesTheDocument) {
  TWResponse record;
  record.setData(bytes("<a><b>x</b></a>"));
  ASSERT_TRUE(record.xmlDoc);
  EXPECT_EQ(record.xmlDoc.rootElement().name(), "a");
  EXPECT_EQ(record.xml(), record.xmlDoc.XMLString());
  EXPECT_THAT(*record.xml(), HasSubstr("<b>x</b>"));
  EXPECT_EQ(text(record.data), "<a><b>x</b></a>");
}

TEST(TWResponse, UTF8UnderAForeignDeclarationIsReadAsText) {
  TWResponse record;
  record.setData(bytes("<?xml version=\"1.0\" encoding=\"utf-16\"?><a>\xc3\xa4</a>"));
  ASSERT_TRUE(record.xmlDoc);
  EXPECT_EQ(record.xmlDoc.rootElement().stringValue(), "\xc3\xa4");
  EXPECT_TRUE(record.xml());
}

TEST(TWResponse, DeclaredEncodingIsHonoured) {
  TWResponse record;
  record.setData(bytes("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a>\xe4</a>"));
  ASSERT_TRUE(record.xmlDoc);
  EXPECT_EQ(record.xmlDoc.rootElement().stringValue(), "\xc3\xa4");
}

TEST(TWResponse, BodyThatIsNoXMLIsKeptWithoutDocumentOrError) {
  TWResponse record;
  for (const std::string_view body : {"no xml", "<a>", "\x1f\x8b\x08", "<html><br></html>"}) {
    record.setData(bytes(body));
    EXPECT_EQ(text(record.data), body);
    EXPECT_FALSE(record.xmlDoc);
    EXPECT_EQ(record.xml(), std::nullopt);
    EXPECT_THAT(record.error, IsNoError());
  }
}

TEST(TWResponse, BytesThatAreNeitherDeclaredNorUTF8AreNoDocument) {
  TWResponse record;
  record.setData(bytes("<a>\xe4</a>"));
  EXPECT_FALSE(record.xmlDoc);
}

TEST(TWResponse, EmptyBodyReplacesAnEarlierOne) {
  TWResponse record;
  record.setData(bytes("<a/>"));
  record.setData({});
  EXPECT_TRUE(record.data.empty());
  EXPECT_FALSE(record.xmlDoc);
  EXPECT_EQ(record.xml(), std::nullopt);
}

TEST(TWResponse, DescriptionShowsTheStatusAndNoHeader) {
  TWResponse record;
  EXPECT_EQ(record.description(), "[TWResponse] (null)");
  record.response = TWHTTPResponse{503, {{"Set-Cookie", std::string(kSecret)}}};
  EXPECT_EQ(record.description(), "[TWResponse] HTTP 503");
  std::ostringstream printed;
  printed << record << *record.response;
  EXPECT_EQ(printed.str(), "[TWResponse] HTTP 503HTTP 503");
}

TEST(TWHTTPResponse, HeadersAreFoundWithoutCaseAndTheFirstWins) {
  const TWHTTPResponse response{200, {{"A", "1"}, {"x-b", "2"}, {"X-B", "3"}}};
  EXPECT_EQ(response.header("X-b"), "2");
  EXPECT_EQ(response.header("a"), "1");
  EXPECT_EQ(response.header("c"), std::nullopt);
}

}  // namespace
}  // namespace tarnwell::test
