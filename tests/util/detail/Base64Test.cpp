#include <numeric>

#include <gtest/gtest.h>

#include "tarnwell/util/detail/Base64.h"

namespace tarnwell::detail {
namespace {

std::string encoded(std::string_view text) {
  return encodeBase64(TWData(text.begin(), text.end()));
}

std::optional<std::string> decoded(std::string_view text) {
  const auto bytes = decodeBase64(text);
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

TEST(Base64, EncodesEveryRemainderWithItsPadding) {
  EXPECT_EQ(encoded(""), "");
  EXPECT_EQ(encoded("f"), "Zg==");
  EXPECT_EQ(encoded("fo"), "Zm8=");
  EXPECT_EQ(encoded("foo"), "Zm9v");
  EXPECT_EQ(encoded("foob"), "Zm9vYg==");
  EXPECT_EQ(encoded("fooba"), "Zm9vYmE=");
  EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
  EXPECT_EQ(encoded("\xFB\xFF\xBF"), "+/+/");
}

TEST(Base64, WritesNoLineBreaksAtAnyLength) {
  const auto text = encodeBase64(TWData(10'000, 0));
  EXPECT_EQ(text.size(), 13'336U);
  EXPECT_EQ(text, std::string(13'334, 'A') + "==");
}

TEST(Base64, ReadsBackWhatItWrites) {
  TWData bytes(256);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    const TWData part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(decodeBase64(encodeBase64(part)), part) << size;
  }
}

TEST(Base64, TakesOnlyAWholeTextInTheAlphabetWithItsPadding) {
  EXPECT_EQ(decoded(""), "");
  EXPECT_EQ(decoded("QUJD"), "ABC");
  for (const auto* text : {"Q",     "QU",     "QUJ",           "QUI",      "QU\nJD",    "QUJD\n",
                           "QUJ\n", "Q\r\nU", "QUJD\nQUJDQUI", " QUJD",    "QUJD QUJD", "QQ=",
                           "Q===",  "====",   "=QUJ",          "QQ==QUJD", "Q=Q=",      "QQ==\n",
                           "QUJ-",  "QUJ_",   "QUJ\xC3",       "QUJDQ==="})
    EXPECT_EQ(decoded(text), std::nullopt) << text;
}

TEST(Base64, BitsBehindTheLastByteAreNotLookedAt) {
  EXPECT_EQ(decoded("QR=="), "A");
  EXPECT_EQ(decoded("QUL="), "AB");
}

}  // namespace
}  // namespace tarnwell::detail
