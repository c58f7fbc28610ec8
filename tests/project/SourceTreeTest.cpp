#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/project/SourceTree.h"

namespace tarnwell::project {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Folders with C++ in them.
const std::vector<Path> kCodeFolders{"tarnwell", "sandbox", "examples", "tests", "benchmarks"};

bool namesLibxml2(std::string_view text) {
  static const std::regex kName("libxml|\\bxml[A-Z]\\w*(Ptr|Free|New)\\b", std::regex::ECMAScript);
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower.find("libxml") != std::string::npos ||
         std::regex_search(text.begin(), text.end(), kName);
}

std::vector<Path> upwardIncludes(const Path& header, std::string_view text) {
  std::vector<Path> upward;
  for (const auto& include : quotedIncludes(text)) {
    const auto to = layerRow(include);
    if (to && to > layerRow(header)) upward.push_back(include);
  }
  return upward;
}

TEST(SourceTree, HasCodeToLookAt) {
  EXPECT_THAT(codeBelow("tarnwell"), Contains("tarnwell/tarnwell.h"));
  EXPECT_THAT(codeBelow("tests"), Contains("tests/project/SourceTreeTest.cpp"));
  EXPECT_THAT(codeBelow("no such folder"), IsEmpty());
}

TEST(SourceTree, ReadsTheIncludesOfAText) {
  EXPECT_THAT(quotedIncludes("#include <a.h>\n#include \"b/c.h\"\n  # include \"d.h\" // why\n"),
              ElementsAre("b/c.h", "d.h"));
}

TEST(SourceTree, NoticesANameOfTheXMLLibrary) {
  EXPECT_TRUE(namesLibxml2("#include <libxml/tree.h>"));
  EXPECT_TRUE(namesLibxml2("LIBXML_DOTTED_VERSION"));
  EXPECT_TRUE(namesLibxml2("xmlNodePtr node;"));
  EXPECT_FALSE(namesLibxml2("NKXMLNode xmlText = node.XMLString();"));
}

TEST(SourceTree, OnlyTheXMLTreeNamesTheXMLLibrary) {
  for (const auto& folder : kCodeFolders) {
    for (const auto& file : codeBelow(folder)) {
      // The tree itself and its tests; the benchmarks that hold the tree and the items against the
      // bare library; and what tests that nothing else names it.
      if (file.find("/Core/XML/") != std::string::npos || file == "benchmarks/XMLBenchmark.cpp" ||
          file == "benchmarks/ItemBenchmark.cpp" || file == "tests/package/NoForeignMacros.h" ||
          file == "tests/project/SourceTreeTest.cpp")
        continue;
      EXPECT_FALSE(namesLibxml2(read(file))) << file;
    }
  }
}

TEST(SourceTree, NoticesAHeaderThatIncludesUpwards) {
  EXPECT_THAT(upwardIncludes("tarnwell/util/TWValue.h", "#include \"tarnwell/items/TWItem.h\"\n"),
              ElementsAre("tarnwell/items/TWItem.h"));
  EXPECT_THAT(upwardIncludes("tarnwell/transport/TWConnection.h",
                             "#include \"tarnwell/services/TWErrors.h\"\n"
                             "#include \"tarnwell/services/TWEWSService.h\"\n"),
              ElementsAre("tarnwell/services/TWEWSService.h"));
  EXPECT_THAT(upwardIncludes("tarnwell/items/TWItem.h", "#include \"tarnwell/util/TWValue.h\"\n"),
              IsEmpty());
}

TEST(SourceTree, HeadersIncludeOnlyTheirOwnRowOrRowsBelow) {
  for (const auto& header : filesBelow("tarnwell", {".h"})) {
    EXPECT_TRUE(layerRow(header)) << header << " is in no layer";
    EXPECT_THAT(upwardIncludes(header, read(header)), IsEmpty()) << header;
  }
}

TEST(SourceTree, PublicHeadersIncludeNothingFromADetailFolder) {
  for (const auto& header : filesBelow("tarnwell", {".h"})) {
    if (header.find("/detail/") != std::string::npos) continue;
    for (const auto& include : quotedIncludes(read(header)))
      EXPECT_EQ(include.find("/detail/"), std::string::npos) << header << " includes " << include;
  }
}

TEST(SourceTree, TheUmbrellaHeaderIncludesEveryPublicHeader) {
  const auto included = quotedIncludes(read("tarnwell/tarnwell.h"));
  for (const auto& header : filesBelow("tarnwell", {".h"})) {
    if (header.find("/detail/") != std::string::npos || header == "tarnwell/tarnwell.h") continue;
    EXPECT_THAT(included, Contains(header));
  }
}

TEST(SourceTree, EveryHeaderIsGuarded) {
  for (const auto& folder : kCodeFolders)
    for (const auto& header : filesBelow(folder, {".h"}))
      EXPECT_THAT(linesOf(read(header)), Contains("#pragma once")) << header;
}

// What the download brings is for applications; the library goes by its own table.
TEST(SourceTree, OnlyTheZonesNameTheDownloadOfTheirTable) {
  int named = 0;
  for (const auto& file : codeBelow("tarnwell")) {
    const auto text = read(file);
    if (text.find("fetchTZMap") == std::string::npos &&
        text.find("ZoneMapDownload") == std::string::npos)
      continue;
    EXPECT_TRUE(file.starts_with("tarnwell/time/")) << file;
    ++named;
  }
  EXPECT_GT(named, 0);
}

// A file that no build file names is never compiled, and nobody notices.
TEST(SourceTree, EveryFileIsNamedByABuildFile) {
  for (const auto& folder : {"tarnwell", "sandbox", "tests", "benchmarks"}) {
    const auto named = filesNamedInBuildFiles(folder);
    EXPECT_FALSE(named.contains(Path(folder) + "/no such file.cpp"));
    for (const auto& file : codeBelow(folder)) {
      // Written for one compiler call of a test of the installed package.
      if (file == "tests/package/NoForeignMacros.h") continue;
      EXPECT_TRUE(named.contains(file)) << file;
    }
  }
}

// The formatter leaves comments as wide as they are.
TEST(SourceTree, NoLineIsWiderThan100Columns) {
  const auto columnsOf = [](const std::string& line) {
    return std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; });
  };
  for (const auto& folder : kCodeFolders)
    for (const auto& file : codeBelow(folder))
      for (const auto& line : linesOf(read(file))) EXPECT_LE(columnsOf(line), 100) << file;
}

TEST(SourceTree, NoFileIsLongerThan800Lines) {
  for (const auto& folder : kCodeFolders)
    for (const auto& file : codeBelow(folder)) EXPECT_LE(linesOf(read(file)).size(), 800U) << file;
}

}  // namespace
}  // namespace tarnwell::project
