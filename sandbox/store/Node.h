#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pugixml.hpp>

namespace tarnwell::sandbox {

/// An element of the types namespace as a value: what items and their properties are kept as.
struct Node {
  std::string name = {};
  std::vector<std::pair<std::string, std::string>> attributes = {};
  std::string text = {};
  std::vector<Node> children = {};

  /// The first child of that name; null when there is none.
  [[nodiscard]] const Node* child(std::string_view childName) const;
  [[nodiscard]] Node* child(std::string_view childName);
  /// The text of the first child of that name; empty when there is none.
  [[nodiscard]] std::string childText(std::string_view childName) const;
  /// Empty when there is none.
  [[nodiscard]] std::string attribute(std::string_view attributeName) const;
  /// Replaces the text of the first child of that name, or appends such a child.
  void setChild(std::string_view childName, std::string childText);
  void removeChildren(std::string_view childName);
  /// The letters in all texts below, and in its own.
  [[nodiscard]] std::size_t textSize() const;

  bool operator==(const Node&) const = default;
};

/// Reads an element with everything in it, without regard to its prefixes. Throws the schema
/// violation for elements of other namespaces and for text beside elements.
[[nodiscard]] Node readNode(pugi::xml_node element);

/// Appends it with the prefix "t", which must be declared above.
pugi::xml_node appendNode(pugi::xml_node parent, const Node& node);

/// The node as a document, and back; for storing it.
[[nodiscard]] std::string nodeText(const Node& node);
[[nodiscard]] Node nodeFromText(const std::string& text);

}  // namespace tarnwell::sandbox
