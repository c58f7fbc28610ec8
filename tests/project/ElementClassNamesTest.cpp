#include <regex>

#include <gtest/gtest.h>

#include "tarnwell/schema/TWElementClass.h"

#include "tests/project/SourceTree.h"

namespace tarnwell::project {
namespace {

/// The classes that declare an element class of their own, as the public headers have them.
std::vector<std::string> declaredElementClasses() {
  static const std::regex kClass("^class (TW\\w+)\\b[^;]*$");
  static const std::regex kElementClass("static const TW\\w*Class& elementClass\\(\\);");
  std::vector<std::string> names;
  for (const auto& header : filesBelow("tarnwell", {".h"})) {
    std::string current;
    for (const auto& line : linesOf(read(header))) {
      if (std::smatch match; std::regex_search(line, match, kClass)) current = match[1];
      if (std::regex_search(line, kElementClass)) names.push_back(current);
    }
  }
  return names;
}

// Nothing else in this program uses an element class: all are looked up as in a fresh process.
TEST(ElementClassNames, ClassesThatNothingHasUsedAreFound) {
  const auto names = declaredElementClasses();
  EXPECT_GT(names.size(), 80U);
  for (const auto& name : names) {
    const auto* const cls = TWElementClass::named(name);
    ASSERT_TRUE(cls) << name;
    EXPECT_EQ(cls->name(), name);
  }
}

}  // namespace
}  // namespace tarnwell::project
