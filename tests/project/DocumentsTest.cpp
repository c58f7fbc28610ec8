#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/project/SourceTree.h"

namespace tarnwell::project {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Pair;

std::vector<Path> documents() {
  std::vector<Path> found{"README.md", "CHANGELOG.md", "CONTRIBUTING.md"};
  for (const auto& file : filesBelow("docs", {".md"})) found.push_back(file);
  return found;
}

/// Whether one of the files, all of which the tests compile or configure, has the block's lines.
bool standsIn(const std::vector<Path>& files, const std::vector<std::string>& block) {
  for (const auto& file : files)
    if (containsLines(read(file), block)) return true;
  return false;
}

TEST(Documents, FencedBlocksAreFoundWithTheirLanguage) {
  EXPECT_THAT(
      fencedBlocks("text\n```cpp\nint a;\n  int b;\n```\nmore\n```sh\nls\n```\n"),
      ElementsAre(Pair("cpp", ElementsAre("int a;", "  int b;")), Pair("sh", ElementsAre("ls"))));
}

TEST(Documents, ABlockIsFoundAtAnyDepthButOnlyWhole) {
  const std::string code = "{\n    first();\n      second();\n}\n";
  EXPECT_TRUE(containsLines(code, {"first();", "  second();"}));
  EXPECT_FALSE(containsLines(code, {"first();", "third();"}));
  EXPECT_FALSE(containsLines(code, {"first();", "", "second();"}));
}

TEST(Documents, LinksAreFoundOutsideCode) {
  EXPECT_THAT(linkTargets("See [a](b.md) and [c](d/e.md#f).\n```\n[x](y)\n```\n"),
              ElementsAre("b.md", "d/e.md#f"));
}

// Whatever C++ a document shows is compiled and run, as part of an example or of a test.
TEST(Documents, EveryCppBlockIsPartOfAnExampleOrATest) {
  auto compiled = codeBelow("examples");
  for (const auto& file : codeBelow("tests")) compiled.push_back(file);
  for (const auto& document : documents()) {
    for (const auto& [language, lines] : fencedBlocks(read(document))) {
      if (language != "cpp") continue;
      EXPECT_TRUE(standsIn(compiled, lines)) << document << ": " << testing::PrintToString(lines);
    }
  }
}

TEST(Documents, EveryCMakeBlockIsPartOfTheConsumerProject) {
  for (const auto& document : documents()) {
    for (const auto& [language, lines] : fencedBlocks(read(document))) {
      if (language != "cmake") continue;
      EXPECT_TRUE(standsIn({"tests/package/consumer/CMakeLists.txt"}, lines))
          << document << ": " << testing::PrintToString(lines);
    }
  }
}

TEST(Documents, TheReadmeShowsCodeAndBothCommands) {
  std::vector<std::string> languages;
  std::vector<std::string> commands;
  for (const auto& [language, lines] : fencedBlocks(read("README.md"))) {
    languages.push_back(language);
    if (language == "sh") commands.insert(commands.end(), lines.begin(), lines.end());
  }
  EXPECT_THAT(languages, Contains("cpp"));
  EXPECT_THAT(languages, Contains("cmake"));
  EXPECT_THAT(commands, Contains("scripts/demo"));
  EXPECT_THAT(commands, Contains("scripts/test"));
}

TEST(Documents, LinksLeadToFilesThatExist) {
  for (const auto& document : documents()) {
    const auto folder = std::filesystem::path(document).parent_path();
    for (const auto& target : linkTargets(read(document))) {
      if (target.find("://") != std::string::npos || target.starts_with("#")) continue;
      const auto file = root() / folder / target.substr(0, target.find('#'));
      EXPECT_TRUE(std::filesystem::exists(file)) << document << " links to " << target;
    }
  }
}

}  // namespace
}  // namespace tarnwell::project
