#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tarnwell/util/TWResult.h"

namespace tarnwell {
namespace {

TEST(TWResult, HoldsAValue) {
  TWResult<std::string> result(std::string("abc"));
  EXPECT_TRUE(result);
  EXPECT_EQ(*result, "abc");
  EXPECT_EQ(result->size(), 3U);
  EXPECT_FALSE(result.error());
  EXPECT_EQ(result.valueOr("x"), "abc");
}

TEST(TWResult, HoldsTheErrorThatCameInstead) {
  const TWResult<std::string> result(TWError(TWErrorDomain, 235, "gone"));
  EXPECT_FALSE(result);
  EXPECT_EQ(result.error().code(), 235);
  EXPECT_EQ(result.valueOr("x"), "x");
  EXPECT_THROW((void)result.value(), std::bad_variant_access);
}

TEST(TWResult, GivesItsValueAway) {
  TWResult<std::unique_ptr<int>> result(std::make_unique<int>(7));
  const std::unique_ptr<int> taken = std::move(*std::move(result));
  EXPECT_EQ(*taken, 7);
}

}  // namespace
}  // namespace tarnwell
