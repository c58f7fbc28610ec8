#include <clocale>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

TEST(TWText, TrimmingRemovesBlanksAndLineEndsAtBothEnds) {
  EXPECT_EQ(stringByTrimming(" \t\r\n a b \n"), "a b");
  EXPECT_EQ(stringByTrimming(" \n"), "");
  EXPECT_EQ(stringByTrimming(""), "");
  EXPECT_EQ(trimmed(" \f a b\v"), "a b");
}

TEST(TWText, NamesCompareWithoutCase) {
  EXPECT_TRUE(equalIgnoringCase("Content-Type", "cONTENT-tYPE"));
  EXPECT_FALSE(equalIgnoringCase("Content-Type", "Content-Typ"));
  // Only letters fold: "[" and "{" differ by the same bit as letters do.
  EXPECT_FALSE(equalIgnoringCase("[", "{"));
}

TEST(TWText, LowerCasesOnlyAsciiLetters) { EXPECT_EQ(lowercased("A-Z\xC3\x84z"), "a-z\xC3\x84z"); }

TEST(TWText, LowerCasesWhatPeopleWriteInEveryScript) {
  EXPECT_EQ(lowercasedUnicode("J\u00DCRGEN@\u0395\u039B.gr"), "j\u00FCrgen@\u03B5\u03BB.gr");
  // Not by the rules of a language, such as Turkish, where it would lose its dot.
  EXPECT_EQ(lowercasedUnicode("INFO"), "info");
  EXPECT_EQ(lowercasedUnicode(""), "");
}

TEST(TWText, WholeNumbersPrintWithoutFractionOrExponent) {
  EXPECT_EQ(decimalText(3.0), "3");
  EXPECT_EQ(decimalText(-0.0), "0");
  EXPECT_EQ(decimalText(1e15), "1000000000000000");
  EXPECT_EQ(decimalText(1e20), "100000000000000000000");
}

TEST(TWText, NumbersPrintAsTheShortestTextThatReadsBackTheSame) {
  EXPECT_EQ(decimalText(0.1), "0.1");
  EXPECT_EQ(decimalText(-2.5), "-2.5");
  for (const double number : {1.0 / 3, 1e21, 1.5e-8, 123456789.123, -1e300, 5e-324})
    EXPECT_EQ(parseDecimal(decimalText(number)), number) << number;
}

TEST(TWText, NumbersThatAreNoneHaveTheirXMLNames) {
  EXPECT_EQ(decimalText(std::nan("")), "NaN");
  EXPECT_EQ(decimalText(std::numeric_limits<double>::infinity()), "INF");
  EXPECT_EQ(decimalText(-std::numeric_limits<double>::infinity()), "-INF");
}

TEST(TWText, ParsesTheWholeTextOrNothing) {
  EXPECT_EQ(parseDecimal("42"), 42.0);
  EXPECT_EQ(parseDecimal("-1.5"), -1.5);
  EXPECT_EQ(parseDecimal("+7"), 7.0);
  EXPECT_EQ(parseDecimal(".5"), 0.5);
  EXPECT_EQ(parseDecimal("1e3"), 1000.0);
  for (const char* text :
       {"", "x", "true", " 1", "1 ", "1x", "-", "+-1", "--1", "inf", "nan", ".", "0x10", "1,5"})
    EXPECT_EQ(parseDecimal(text), std::nullopt) << text;
}

TEST(TWText, NumbersBeyondADoubleBecomeInfiniteOrZero) {
  EXPECT_EQ(parseDecimal("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(parseDecimal("-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(parseDecimal("1e-999"), 0.0);
  const std::string zeros(400, '0');
  const std::string nines(400, '9');
  const auto infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(parseDecimal(nines), infinity);
  EXPECT_EQ(parseDecimal("0" + nines), infinity);
  EXPECT_EQ(parseDecimal("1" + zeros + "e-50"), infinity);
  EXPECT_EQ(parseDecimal("0.0001e9999999999999999999"), infinity);
  EXPECT_EQ(parseDecimal("0." + zeros + "1e5"), 0.0);
  EXPECT_EQ(parseDecimal("." + zeros + "1"), 0.0);
  EXPECT_EQ(parseDecimal("1000e-99999999999999999999"), 0.0);
}

TEST(TWText, ParsesAWholeNumberOrNothing) {
  EXPECT_EQ(parseInteger("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(parseInteger("-12"), -12);
  EXPECT_EQ(parseInteger("+12"), 12);
  for (const char* text : {"", "+", "-", "+-1", "1.0", " 1", "1x", "9223372036854775808"})
    EXPECT_EQ(parseInteger(text), std::nullopt) << text;
}

TEST(TWText, LeadingIntegerStopsAtTheFirstOtherCharacter) {
  EXPECT_EQ(leadingInteger("12 KB"), 12);
  EXPECT_EQ(leadingInteger(" \n-7.9"), -7);
  EXPECT_EQ(leadingInteger("+3"), 3);
  EXPECT_EQ(leadingInteger("x1"), 0);
  EXPECT_EQ(leadingInteger(""), 0);
  EXPECT_EQ(leadingInteger("-"), 0);
}

TEST(TWText, LeadingIntegerSaturatesAt64Bits) {
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(leadingInteger("9223372036854775807"), Limits::max());
  EXPECT_EQ(leadingInteger("9223372036854775808"), Limits::max());
  EXPECT_EQ(leadingInteger("-9223372036854775808"), Limits::min());
  EXPECT_EQ(leadingInteger("-99999999999999999999999"), Limits::min());
}

TEST(TWText, TellsExpressionsFromWhatIsNone) {
  for (const char* text : {"", "Inbox", "a.*b", "(a|b)+", "\xC3\x84"})
    EXPECT_TRUE(isRegularExpression(text)) << text;
  for (const char* text : {"*", "(", "[", "a{2", "\\"})
    EXPECT_FALSE(isRegularExpression(text)) << text;
}

TEST(TWText, LengthCountsUTF16CodeUnits) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\xC3\xA4\xE2\x82\xAC"), 2U);
  EXPECT_EQ(utf16Length("\xF0\x9F\x98\x80x"), 3U);
}

}  // namespace
}  // namespace tarnwell
