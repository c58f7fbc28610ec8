#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/tarnwell.h"

namespace tarnwell {
namespace {

std::vector<int> numbersIn(std::string_view version) {
  std::vector<int> numbers;
  for (const char* at = version.data(); at <= version.data() + version.size(); ++at) {
    int number = -1;
    at = std::from_chars(at, version.data() + version.size(), number).ptr;
    numbers.push_back(number);
  }
  return numbers;
}

TEST(TarnwellVersion, StringIsTheBuildsVersion) {
  EXPECT_STREQ(TarnwellVersionString, TARNWELL_PROJECT_VERSION);
}

TEST(TarnwellVersion, StringHasThreeNumbers) {
  const auto numbers = numbersIn(TarnwellVersionString);
  ASSERT_EQ(numbers.size(), 3U);
  for (const int number : numbers) EXPECT_GE(number, 0);
}

TEST(TarnwellVersion, NumberCountsTheMinorVersionInHundredths) {
  const auto numbers = numbersIn(TarnwellVersionString);
  ASSERT_EQ(numbers.size(), 3U);
  EXPECT_EQ(std::lround(TarnwellVersionNumber * 100), numbers[0] * 100 + numbers[1]);
}

}  // namespace
}  // namespace tarnwell
