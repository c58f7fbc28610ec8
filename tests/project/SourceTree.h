#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Reads the repository's own files, for the tests that hold it to its rules.
namespace tarnwell::project {

/// Paths below are relative to the repository's root and use "/".
using Path = std::string;

[[nodiscard]] std::filesystem::path root();
/// The file's content; a test failure and the empty text when it cannot be read.
[[nodiscard]] std::string read(const Path& file);
/// The files below a folder with one of these extensions (".h"), sorted; none when there is no such
/// folder.
[[nodiscard]] std::vector<Path> filesBelow(const Path& folder,
                                           const std::vector<std::string>& extensions);
/// Whatever could be a file of the folder's among the words of its build files.
[[nodiscard]] std::set<Path> filesNamedInBuildFiles(const Path& folder);
/// C++ headers and sources below the folder.
[[nodiscard]] std::vector<Path> codeBelow(const Path& folder);

[[nodiscard]] std::vector<std::string> linesOf(std::string_view text);
/// What the text includes with quotes, in order.
[[nodiscard]] std::vector<Path> quotedIncludes(std::string_view text);

/// The row of the layering that a file of tarnwell/ belongs to, counted from the bottom; absent for
/// a file that no row is known for.
[[nodiscard]] std::optional<int> layerRow(const Path& file);

/// The tests that a source declares, "Suite.Name". Those for a list of types are left out: their
/// names have more parts when they run.
[[nodiscard]] std::set<std::string> testsIn(std::string_view text);
/// The programs that the build files make of tests, with the tests of their sources.
[[nodiscard]] std::map<std::string, std::set<std::string>> testPrograms();

/// A fenced block of a Markdown text: the language behind the fence, and the lines between.
using FencedBlock = std::pair<std::string, std::vector<std::string>>;
[[nodiscard]] std::vector<FencedBlock> fencedBlocks(std::string_view markdown);
/// The targets of "[text](target)" outside fenced blocks.
[[nodiscard]] std::vector<std::string> linkTargets(std::string_view markdown);
/// The cells of the rows of all tables, without the rules below their heads.
[[nodiscard]] std::vector<std::vector<std::string>> tableRows(std::string_view markdown);
/// What stands between backticks, which it leaves out.
[[nodiscard]] std::vector<std::string> codeSpans(std::string_view markdown);
/// Whether the block's lines stand one after the other in the text, however deep they are indented.
[[nodiscard]] bool containsLines(std::string_view text, const std::vector<std::string>& block);

}  // namespace tarnwell::project
