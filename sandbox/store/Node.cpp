#include "sandbox/store/Node.h"

#include <algorithm>
#include <stdexcept>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {

const Node* Node::child(std::string_view childName) const {
  const auto found = std::ranges::find(children, childName, &Node::name);
  return found == children.end() ? nullptr : &*found;
}

Node* Node::child(std::string_view childName) {
  const auto found = std::ranges::find(children, childName, &Node::name);
  return found == children.end() ? nullptr : &*found;
}

std::string Node::childText(std::string_view childName) const {
  const Node* found = child(childName);
  return found == nullptr ? std::string() : found->text;
}

std::string Node::attribute(std::string_view attributeName) const {
  for (const auto& [key, value] : attributes) {
    if (key == attributeName) return value;
  }
  return {};
}

void Node::setChild(std::string_view childName, std::string childText) {
  Node* found = child(childName);
  if (found == nullptr) found = &children.emplace_back(Node{std::string(childName)});
  found->text = std::move(childText);
}

void Node::removeChildren(std::string_view childName) {
  std::erase_if(children, [&](const Node& node) { return node.name == childName; });
}

std::size_t Node::textSize() const {
  std::size_t size = text.size();
  for (const Node& node : children) size += node.textSize();
  return size;
}

Node readNode(pugi::xml_node element) {
  Node node;
  node.name = localName(element);
  for (const pugi::xml_attribute attribute : element.attributes()) {
    const std::string_view name = attribute.name();
    if (!isDeclaration(attribute) && name.find(':') == std::string_view::npos) {
      node.attributes.emplace_back(name, attribute.value());
    }
  }
  if (!firstElement(element)) {
    node.text = textOf(element);
    return node;
  }
  ElementReader reader(element);
  while (const pugi::xml_node child = reader.next()) {
    if (namespaceOf(child) != kTypesNs) reader.refuse(child);
    node.children.push_back(readNode(child));
  }
  return node;
}

pugi::xml_node appendNode(pugi::xml_node parent, const Node& node) {
  pugi::xml_node element = parent.append_child(("t:" + node.name).c_str());
  for (const auto& [name, value] : node.attributes) {
    element.append_attribute(name.c_str()) = value.c_str();
  }
  if (!node.text.empty()) element.text().set(node.text.c_str());
  for (const Node& child : node.children) appendNode(element, child);
  return element;
}

std::string nodeText(const Node& node) {
  pugi::xml_document document;
  appendNode(document, node).append_attribute("xmlns:t") = kTypesNs.data();
  return serialise(document);
}

Node nodeFromText(const std::string& text) {
  pugi::xml_document document;
  std::string problem;
  if (!parseXml(text, document, problem)) throw std::runtime_error("a stored node: " + problem);
  return readNode(document.document_element());
}

}  // namespace tarnwell::sandbox
