#include "tests/project/SourceTree.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

namespace tarnwell::project {
namespace {

struct Row {
  std::string_view prefix;
  int row;
};

// The first match counts, so exceptions stand before their folder.
constexpr std::array kRows{
    Row{"tarnwell/Core/XML/", 1},
    Row{"tarnwell/time/", 1},
    Row{"tarnwell/util/", 1},
    // The catalogue of errors lies below the services that use it.
    Row{"tarnwell/services/TWError", 2},
    Row{"tarnwell/transport/", 3},
    Row{"tarnwell/protocol/", 4},
    Row{"tarnwell/services/", 5},
    Row{"tarnwell/schema/", 6},
    Row{"tarnwell/items/", 7},
    Row{"tarnwell/folders/", 8},
    Row{"tarnwell/account/", 9},
    Row{"tarnwell/tarnwell.", 10},
};

std::string withoutIndent(std::string_view line) {
  const auto begin = line.find_first_not_of(" \t");
  return begin == std::string_view::npos ? std::string() : std::string(line.substr(begin));
}

}  // namespace

std::filesystem::path root() { return TARNWELL_SOURCE_DIR; }

std::string read(const Path& file) {
  std::ifstream stream(root() / file, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<Path> filesBelow(const Path& folder, const std::vector<std::string>& extensions) {
  std::vector<Path> files;
  if (!std::filesystem::is_directory(root() / folder)) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root() / folder)) {
    const auto extension = entry.path().extension().string();
    if (entry.is_regular_file() &&
        std::find(extensions.begin(), extensions.end(), extension) != extensions.end())
      files.push_back(entry.path().lexically_relative(root()).generic_string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::set<Path> filesNamedInBuildFiles(const Path& folder) {
  std::set<Path> named;
  for (const auto& build : filesBelow(folder, {".txt"})) {
    if (!build.ends_with("/CMakeLists.txt")) continue;
    std::string words = read(build);
    std::replace_if(
        words.begin(), words.end(), [](char c) { return c == '(' || c == ')'; }, ' ');
    std::istringstream stream(words);
    const auto directory = std::filesystem::path(build).parent_path();
    for (std::string word; stream >> word;)
      named.insert((directory / word).lexically_normal().generic_string());
  }
  return named;
}

std::vector<Path> codeBelow(const Path& folder) { return filesBelow(folder, {".h", ".cpp"}); }

std::vector<std::string> linesOf(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<Path> quotedIncludes(std::string_view text) {
  static const std::regex kInclude(R"re(^\s*#\s*include\s*"([^"]+)")re");
  std::vector<Path> includes;
  for (const auto& line : linesOf(text)) {
    std::smatch match;
    if (std::regex_search(line, match, kInclude)) includes.push_back(match[1]);
  }
  return includes;
}

std::optional<int> layerRow(const Path& file) {
  for (const auto& [prefix, row] : kRows)
    if (file.starts_with(prefix)) return row;
  return std::nullopt;
}

std::set<std::string> testsIn(std::string_view text) {
  static const std::regex kTest(R"(\bTEST(_[FP])?\(\s*(\w+),\s*(\w+)\s*\))");
  std::set<std::string> tests;
  for (std::cregex_iterator at(text.data(), text.data() + text.size(), kTest), end; at != end; ++at)
    tests.insert((*at)[2].str() + '.' + (*at)[3].str());
  return tests;
}

std::map<std::string, std::set<std::string>> testPrograms() {
  static const std::regex kProgram(R"(tarnwell_test\(\s*(\w+)\s+([^)]*)\))");
  std::map<std::string, std::set<std::string>> programs;
  for (const auto& build : filesBelow("tests", {".txt"})) {
    const auto text = read(build);
    const auto directory = std::filesystem::path(build).parent_path();
    for (std::sregex_iterator at(text.begin(), text.end(), kProgram), end; at != end; ++at) {
      std::istringstream sources((*at)[2]);
      for (std::string source; sources >> source;) {
        if (source.find('$') != std::string::npos) continue;  // of another folder: no tests
        programs[(*at)[1]].merge(testsIn(read((directory / source).generic_string())));
      }
    }
  }
  return programs;
}

std::vector<FencedBlock> fencedBlocks(std::string_view markdown) {
  std::vector<FencedBlock> blocks;
  bool inside = false;
  for (const auto& line : linesOf(markdown)) {
    const auto text = withoutIndent(line);
    if (text.starts_with("```")) {
      if (!inside) blocks.emplace_back(text.substr(3), std::vector<std::string>());
      inside = !inside;
    } else if (inside) {
      blocks.back().second.push_back(line);
    }
  }
  return blocks;
}

std::vector<std::string> linkTargets(std::string_view markdown) {
  static const std::regex kLink(R"(\[[^\]]*\]\(([^)\s]+)\))");
  std::vector<std::string> targets;
  bool inside = false;
  for (const auto& line : linesOf(markdown)) {
    if (withoutIndent(line).starts_with("```")) inside = !inside;
    if (inside) continue;
    for (std::sregex_iterator at(line.begin(), line.end(), kLink), end; at != end; ++at)
      targets.push_back((*at)[1]);
  }
  return targets;
}

std::vector<std::vector<std::string>> tableRows(std::string_view markdown) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& line : linesOf(markdown)) {
    if (!line.starts_with("| ")) continue;
    auto& cells = rows.emplace_back();
    std::istringstream stream(line.substr(2));
    for (std::string cell; std::getline(stream, cell, '|');) {
      const auto end = cell.find_last_not_of(' ');
      cells.push_back(end == std::string::npos ? "" : withoutIndent(cell.substr(0, end + 1)));
    }
  }
  return rows;
}

std::vector<std::string> codeSpans(std::string_view markdown) {
  static const std::regex kSpan("`([^`]+)`");
  std::vector<std::string> spans;
  const auto* const end = markdown.data() + markdown.size();
  for (std::cregex_iterator at(markdown.data(), end, kSpan), last; at != last; ++at)
    spans.push_back((*at)[1]);
  return spans;
}

bool containsLines(std::string_view text, const std::vector<std::string>& block) {
  const auto stripped = [](std::vector<std::string> lines) {
    for (auto& line : lines) line = withoutIndent(line);
    return lines;
  };
  const auto lines = stripped(linesOf(text));
  const auto wanted = stripped(block);
  return std::search(lines.begin(), lines.end(), wanted.begin(), wanted.end()) != lines.end();
}

}  // namespace tarnwell::project
