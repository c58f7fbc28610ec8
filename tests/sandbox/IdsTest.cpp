#include <gtest/gtest.h>

#include "sandbox/detail/Base64.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox::test {
namespace {

TEST(Ids, AnIdTellsItsKindAndItsNumber) {
  const auto id = readId(idText(IdKind::attachment, 1234567));
  ASSERT_TRUE(id);
  EXPECT_EQ(id->kind, IdKind::attachment);
  EXPECT_EQ(id->number, 1234567U);
  EXPECT_NE(idText(IdKind::item, 7), idText(IdKind::folder, 7));
}

TEST(Ids, OtherTextsAreNone) {
  EXPECT_FALSE(readId(""));
  EXPECT_FALSE(readId("!"));
  EXPECT_FALSE(readId(encodeBase64("I1")));
  EXPECT_FALSE(readId(encodeBase64("X00000000000000001")));
  EXPECT_FALSE(readId(encodeBase64("I0000000000000000x")));
  EXPECT_FALSE(readId(std::string(600, 'A')));
}

TEST(Base64, BytesOfAnyNumberComeBack) {
  for (const std::string bytes : {"", "a", "ab", "abc", "abcd"}) {
    EXPECT_EQ(decodeBase64(encodeBase64(bytes)), bytes);
  }
  EXPECT_EQ(decodeBase64(" YW\r\nJj "), "abc");
  EXPECT_FALSE(decodeBase64("YWJ"));
  EXPECT_FALSE(decodeBase64("YW*j"));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
