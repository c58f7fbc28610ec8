#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/project/SourceTree.h"

namespace tarnwell::project {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

constexpr auto kCoverage = "docs/coverage.md";

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

TEST(Documents, TablesAreReadCellByCell) {
  EXPECT_THAT(tableRows("| a | b |\n|---|---|\n| `c`, `d e` |  |\ntext | text\n"),
              ElementsAre(ElementsAre("a", "b"), ElementsAre("`c`, `d e`", "")));
  EXPECT_THAT(codeSpans("`c`, d and `e f`"), ElementsAre("c", "e f"));
}

TEST(Documents, TestsAreFoundInSources) {
  EXPECT_THAT(
      testsIn("TEST(A, B) {}\nTEST_F(C,\n       D) {}\nTEST_P(E, F) {}\nTYPED_TEST(G, H) {}"),
      ElementsAre("A.B", "C.D", "E.F"));
  EXPECT_THAT(testPrograms()["project_test"], Contains("Documents.TestsAreFoundInSources"));
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

// What the library is said to do is shown by tests that are there.
TEST(Documents, EveryTestThatIsNamedStandsInItsProgram) {
  const auto known = testPrograms();
  int named = 0;
  for (const auto& row : tableRows(read(kCoverage))) {
    ASSERT_EQ(row.size(), 3U) << testing::PrintToString(row);
    if (row[0] == "what") continue;
    const auto programs = codeSpans(row[1]);
    ASSERT_EQ(programs.size(), 1U) << row[0];
    const auto program = known.find(programs[0]);
    ASSERT_NE(program, known.end()) << programs[0];
    EXPECT_THAT(codeSpans(row[2]), Not(IsEmpty())) << row[0];
    for (const auto& test : codeSpans(row[2])) {
      EXPECT_TRUE(program->second.contains(test)) << row[0] << ": " << test;
      ++named;
    }
  }
  EXPECT_GT(named, 300);
}

// The classes of well-known folders go by the accessors of the account.
TEST(Documents, WhatTheLibraryDoesNamesEveryClass) {
  static const std::regex kClass("^class (TW\\w+|NK\\w+|Q)\\b[^;]*$");
  std::set<std::string> named;
  for (const auto& row : tableRows(read(kCoverage)))
    for (const auto& span : codeSpans(row.at(0))) named.insert(span.substr(0, span.find("::")));
  int classes = 0;
  for (const auto& header : filesBelow("tarnwell", {".h"})) {
    if (header.find("/detail/") != std::string::npos) continue;
    if (header == "tarnwell/folders/TWWellKnownFolders.h") continue;
    for (const auto& line : linesOf(read(header))) {
      std::smatch match;
      if (!std::regex_search(line, match, kClass)) continue;
      EXPECT_TRUE(named.contains(match[1])) << match[1] << " of " << header;
      ++classes;
    }
  }
  EXPECT_GT(classes, 150);
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
