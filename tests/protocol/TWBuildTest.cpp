#include <cstdint>
#include <limits>
#include <unordered_set>

#include <gtest/gtest.h>

#include "tarnwell/protocol/TWBuild.h"
#include "tarnwell/protocol/TWBuilds.h"

namespace tarnwell {
namespace {

TEST(TWBuild, TwoNumbersLeaveTheBuildNumbersAtZero) {
  EXPECT_EQ(TWBuild::buildWithMajorVer(14, 1), (TWBuild{14, 1, 0, 0}));
  EXPECT_EQ(TWBuild::buildWithMajorVer(14, 1).description(), "TWBuild: (14, 1, 0, 0)");
}

TEST(TWBuild, FourNumbersStandInTheirOrder) {
  EXPECT_EQ(TWBuild::buildWithMajorVer(15, 1, 225, 42), TWBuild(15, 1, 225, 42));
  EXPECT_EQ(TWBuild::buildWithMajorVer(15, 1, 225).major_build, 225);
}

TEST(TWBuild, KeepsTheWholeRangeOf64Bits) {
  const TWBuild build(INT64_MIN, INT64_MAX, -1, 1);
  EXPECT_EQ(build.major_version, INT64_MIN);
  EXPECT_EQ(build.minor_version, INT64_MAX);
  EXPECT_EQ(build.major_build, -1);
  EXPECT_EQ(build.minor_build, 1);
}

TEST(TWBuild, IsMadeFromADictionaryOfNumbersOrTexts) {
  EXPECT_EQ(TWBuild::withDict({{"major_build", 5}}), TWBuild(0, 0, 5, 0));
  EXPECT_EQ(TWBuild::withDict({{"major_version", "15"}, {"minor_version", 1.0}}), TWBuild(15, 1));
  EXPECT_EQ(TWBuild::withDict({{"major_version", 15.9}, {"minor_version", -1.5}}), TWBuild(15, -1));
  EXPECT_EQ(TWBuild::withDict({{"major_version", 1e300}, {"minor_version", -1e300}}),
            TWBuild(INT64_MAX, INT64_MIN));
  EXPECT_EQ(TWBuild::withDict({{"major_version", std::numeric_limits<double>::quiet_NaN()}}),
            TWBuild());
  EXPECT_EQ(TWBuild::withDict({}), TWBuild());
}

TEST(TWBuild, IsReadFromTheServersHeader) {
  const auto info = NKXMLElement::withXMLString(
      "<t:ServerVersionInfo MajorVersion=\"15\" MinorVersion=\"1\" MajorBuildNumber=\"225\" "
      "MinorBuildNumber=\"42\"/>");
  EXPECT_EQ(TWBuild::fromXML(info), TWBuild(15, 1, 225, 42));
}

TEST(TWBuild, AttributesThatAreMissingOrNoNumbersCountAsZero) {
  const auto info = NKXMLElement::withXMLString("<v MajorVersion=\"15\" MinorVersion=\"x\"/>");
  EXPECT_EQ(TWBuild::fromXML(info), TWBuild(15, 0));
  EXPECT_EQ(TWBuild::fromXML({}), TWBuild());
}

TEST(TWBuild, AbsurdNumbersSaturate) {
  const auto info =
      NKXMLElement::withXMLString("<v MajorVersion=\"" + std::string(40, '9') +
                                  "\" MinorVersion=\"-" + std::string(40, '9') + "\"/>");
  EXPECT_EQ(TWBuild::fromXML(info), TWBuild(INT64_MAX, INT64_MIN));
}

TEST(TWBuild, ComparesFieldByFieldAsSignedNumbers) {
  EXPECT_EQ(TWBuild(15, 0, 9999, 9999).compare(TWBuild(15, 1)), -1);
  EXPECT_EQ(TWBuild(15, 1).compare(TWBuild(14, 9)), 1);
  EXPECT_EQ(TWBuild(15, 1, 2, 3).compare(TWBuild(15, 1, 2, 3)), 0);
  EXPECT_EQ(TWBuild(15, 1, 2, 3).compare(TWBuild(15, 1, 2, 4)), -1);
  EXPECT_EQ(TWBuild(15, 1, 2, 9).compare(TWBuild(15, 1, 3, 0)), -1);
  EXPECT_EQ(TWBuild(-1, 0).compare(TWBuild(0, 0)), -1);
}

TEST(TWBuild, RelationsFollowFromTheComparison) {
  const TWBuild older(14, 3);
  const TWBuild newer(15, 0);
  EXPECT_TRUE(older.isLessThan(newer));
  EXPECT_TRUE(older.isLessThanOrEqualTo(newer));
  EXPECT_FALSE(older.isGreaterThan(newer));
  EXPECT_FALSE(older.isGreaterThanOrEqualTo(newer));
  EXPECT_FALSE(older.isLessThan(older));
  EXPECT_TRUE(older.isLessThanOrEqualTo(older));
  EXPECT_FALSE(older.isGreaterThan(older));
  EXPECT_TRUE(older.isGreaterThanOrEqualTo(older));
  EXPECT_TRUE(older.isEqual(older));
  EXPECT_FALSE(older.isEqual(newer));
}

TEST(TWBuild, AnAbsentBuildIsNeitherLessNorGreater) {
  const TWBuild build(15, 0);
  EXPECT_FALSE(build.isLessThan(std::nullopt));
  EXPECT_FALSE(build.isLessThanOrEqualTo(std::nullopt));
  EXPECT_FALSE(build.isGreaterThan(std::nullopt));
  EXPECT_FALSE(build.isGreaterThanOrEqualTo(std::nullopt));
}

TEST(TWBuild, HashesByItsFormulaAndWrapsAround) {
  EXPECT_EQ(TWBuild(15, 1, 225, 42).hash(), 2743324U);
  EXPECT_EQ(TWBuild().hash(), 1419857U);
  // 17 to the fifth, less or plus 17 to the fourth times the field, which is odd.
  EXPECT_EQ(TWBuild(-1, 0).hash(), 1419857U - 83521U);
  EXPECT_EQ(TWBuild(INT64_MIN, 0).hash(), 0x8000000000000000U + 1419857U);
  EXPECT_TRUE((std::unordered_set<TWBuild>{TWBuild(15, 1)}.contains(TWBuild(15, 1))));
}

TEST(TWBuild, PrintsItsFields) {
  EXPECT_EQ(TWBuild(15, 1, 225, 42).description(), "TWBuild: (15, 1, 225, 42)");
  EXPECT_EQ(TWBuild(-1, 0).description(), "TWBuild: (18446744073709551615, 0, 0, 0)");
}

TEST(TWBuild, NamesTheAPIVersionOfEveryKnownBuild) {
  const std::vector<std::tuple<int, int, const char*>> rows = {
      {8, 0, "Exchange2007"},      {8, 1, "Exchange2007_SP1"},  {8, 2, "Exchange2007_SP1"},
      {8, 3, "Exchange2007_SP1"},  {14, 0, "Exchange2010"},     {14, 1, "Exchange2010_SP1"},
      {14, 2, "Exchange2010_SP2"}, {14, 3, "Exchange2010_SP2"}, {15, 0, "Exchange2013"},
      {15, 1, "Exchange2016"},     {15, 20, "Exchange2016"}};
  for (const auto& [major, minor, name] : rows)
    EXPECT_EQ(TWBuild(major, minor, 7, 7).apiVersion(), name) << major << '.' << minor;
}

TEST(TWBuild, TellsExchange2013SP1ByItsBuildNumber) {
  EXPECT_EQ(TWBuild(15, 0, 846, 99).apiVersion(), "Exchange2013");
  EXPECT_EQ(TWBuild(15, 0, 847, 0).apiVersion(), "Exchange2013_SP1");
  EXPECT_EQ(TWBuild(15, 1, 900).apiVersion(), "Exchange2016");
  EXPECT_EQ(TWBuild(14, 0, 900).apiVersion(), "Exchange2010");
}

TEST(TWBuild, SeeksNoNearestMatch) {
  for (const auto& build : {TWBuild(15, 2), TWBuild(15, 19), TWBuild(15, 21), TWBuild(12, 0),
                            TWBuild(8, 4), TWBuild(14, 4), TWBuild(), TWBuild(16, 0)})
    EXPECT_EQ(build.apiVersion(), std::nullopt) << build;
}

TEST(TWBuild, TheNamedBuildsAreTheFirstOfTheirReleases) {
  EXPECT_EQ(kExchange2007SP1.apiVersion(), "Exchange2007_SP1");
  EXPECT_EQ(kExchange2010SP2.apiVersion(), "Exchange2010_SP2");
  EXPECT_EQ(kExchange2013SP1.apiVersion(), "Exchange2013_SP1");
  EXPECT_LT(kExchange2013, kExchange2013SP1);
  EXPECT_LT(kExchange2013SP1, kExchange2016);
}

}  // namespace
}  // namespace tarnwell
