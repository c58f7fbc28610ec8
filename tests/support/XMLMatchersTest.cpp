#include <gtest/gtest.h>

#include "tests/support/XMLMatchers.h"

namespace tarnwell::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(XMLMatchers, OrderOfAttributesAndBlanksBetweenElementsDoNotCount) {
  EXPECT_THAT("<a x='1' y='2'>\n  <b/>\n</a>", EqualsXML("<a y=\"2\" x=\"1\"><b></b></a>"));
}

TEST(XMLMatchers, OrderOfElementsTextAndPrefixesCount) {
  EXPECT_THAT("<a><b/><c/></a>", Not(EqualsXML("<a><c/><b/></a>")));
  EXPECT_THAT("<a>x</a>", Not(EqualsXML("<a>y</a>")));
  EXPECT_THAT("<a> </a>", Not(EqualsXML("<a/>")));
  EXPECT_THAT("<p:a xmlns:p='u'/>", Not(EqualsXML("<q:a xmlns:q='u'/>")));
  EXPECT_THAT("<a x='1'/>", Not(EqualsXML("<a/>")));
}

TEST(XMLMatchers, MalformedTextNeverMatches) {
  EXPECT_THAT("<a>", Not(EqualsXML("<a>")));
  EXPECT_THAT("<a>", Not(IsWellFormedXML()));
  EXPECT_THAT("<a/>", IsWellFormedXML());
}

TEST(XMLMatchers, TheFirstDifferenceIsNamed) {
  EXPECT_THAT(firstDifference(xmlLines("<a><b/></a>"), xmlLines("<a><c/></a>")),
              HasSubstr("line 2:\n  have   <b>\n  want   <c>"));
}

}  // namespace
}  // namespace tarnwell::test
