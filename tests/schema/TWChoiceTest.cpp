#include <gtest/gtest.h>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWChoice.h"

namespace tarnwell {
namespace {

TEST(TWChoice, IsATextAndPerhapsABuild) {
  EXPECT_EQ(TWChoice::withValue("Normal").value, "Normal");
  EXPECT_FALSE(TWChoice::withValue("Normal").supportedFrom);
  EXPECT_EQ(TWChoice::withValue("Hidden", TWBuild(15, 0)).supportedFrom, TWBuild(15, 0));
}

TEST(TWChoice, WithoutABuildIsKnownToEveryVersion) {
  const TWVersion old(TWBuild(8, 0));
  const TWVersion unknownBuild;
  EXPECT_TRUE(TWChoice("Normal").supportsVersion(&old));
  EXPECT_TRUE(TWChoice("Normal").supportsVersion(&unknownBuild));
  EXPECT_TRUE(TWChoice("Normal").supportsVersion(nullptr));
}

TEST(TWChoice, WithABuildIsKnownFromThatBuildOn) {
  const TWChoice choice("Hidden", TWBuild(14, 0));
  const TWVersion before(TWBuild(8, 3)), exactly(TWBuild(14, 0)), after(TWBuild(15, 1));
  EXPECT_FALSE(choice.supportsVersion(&before));
  EXPECT_TRUE(choice.supportsVersion(&exactly));
  EXPECT_TRUE(choice.supportsVersion(&after));
  EXPECT_TRUE(choice.supportsVersion(nullptr));
}

TEST(TWChoice, WithABuildIsNotKnownToAVersionWithoutOne) {
  const TWVersion unknownBuild;
  EXPECT_FALSE(TWChoice("Hidden", TWBuild(14, 0)).supportsVersion(&unknownBuild));
}

}  // namespace
}  // namespace tarnwell
