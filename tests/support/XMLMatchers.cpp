#include "tests/support/XMLMatchers.h"

#include <cstddef>
#include <map>
#include <sstream>

#include <pugixml.hpp>

namespace tarnwell::test {

namespace {

void addLines(const pugi::xml_node& node, std::size_t depth, std::string& lines) {
  const std::string indent(depth * 2, ' ');
  std::map<std::string, std::string> attributes;
  for (const auto& attribute : node.attributes()) attributes[attribute.name()] = attribute.value();
  lines += indent + "<" + node.name();
  for (const auto& [name, value] : attributes)
    lines.append(" ").append(name).append("=\"").append(value).append("\"");
  lines += ">\n";
  std::string text;
  const auto flush = [&] {
    if (!text.empty()) lines += indent + "  \"" + text + "\"\n";
    text.clear();
  };
  for (const auto& child : node.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
      text += child.value();
    } else if (child.type() == pugi::node_element) {
      flush();
      addLines(child, depth + 1, lines);
    }
  }
  flush();
}

}  // namespace

std::string xmlLines(std::string_view xml) {
  pugi::xml_document document;
  const auto result =
      document.load_buffer(xml.data(), xml.size(),
                           pugi::parse_default | pugi::parse_ws_pcdata_single, pugi::encoding_utf8);
  if (!result) {
    return "malformed: " + std::string(result.description()) + " at byte " +
           std::to_string(result.offset) + " of " + std::string(xml);
  }
  std::string lines;
  for (const auto& child : document.children()) {
    if (child.type() == pugi::node_element) addLines(child, 0, lines);
  }
  return lines;
}

std::string firstDifference(const std::string& actual, const std::string& expected) {
  std::istringstream actualLines(actual);
  std::istringstream expectedLines(expected);
  for (int number = 1;; ++number) {
    std::string have = "(the end)";
    std::string want = "(the end)";
    const bool haveMore = static_cast<bool>(std::getline(actualLines, have));
    const bool wantMore = static_cast<bool>(std::getline(expectedLines, want));
    if (!haveMore) have = "(the end)";
    if (!wantMore) want = "(the end)";
    if (have != want || (!haveMore && !wantMore)) {
      std::string message = "differs in line " + std::to_string(number);
      return message.append(":\n  have ").append(have).append("\n  want ").append(want);
    }
  }
}

}  // namespace tarnwell::test
