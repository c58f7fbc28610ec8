#include <gtest/gtest.h>

#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

TEST(TWFormat, FillsObjectsIntegersAndDecimals) {
  EXPECT_EQ(formatMessage("[%@] Using auth type: %lu", {"ann", 2}), "[ann] Using auth type: 2");
  EXPECT_EQ(formatMessage("index (%u) beyond bounds (%u)", {3, 2}), "index (3) beyond bounds (2)");
  EXPECT_EQ(formatMessage("took: %.2fs", {1.0 / 3}), "took: 0.33s");
  EXPECT_EQ(formatMessage("took: %.0fs", {2}), "took: 2s");
}

TEST(TWFormat, PrintsAbsentValuesAsNull) {
  EXPECT_EQ(formatMessage("[%@]", {TWValue()}), "[(null)]");
  EXPECT_EQ(formatMessage("%lu", {TWValue()}), "(null)");
}

TEST(TWFormat, NeverReadsAValueAsAFormat) {
  EXPECT_EQ(formatMessage("%@ %@", {"%@%s%n", "x"}), "%@%s%n x");
}

TEST(TWFormat, KeepsWhatItDoesNotKnow) {
  EXPECT_EQ(formatMessage("100% %s %% %q", {1}), "100% %s % %q");
  EXPECT_EQ(formatMessage("%@ %@", {"a"}), "a %@");
  EXPECT_EQ(formatMessage("%", {}), "%");
  EXPECT_EQ(formatMessage("%.2", {1}), "%.2");
}

TEST(TWFormat, PrintsHugeNumbersWhole) { EXPECT_EQ(formatMessage("%.1f", {1e300}).size(), 303U); }

}  // namespace
}  // namespace tarnwell
