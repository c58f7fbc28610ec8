#include "tarnwell/Core/XML/NKXMLElement.h"

#include <libxml/tree.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"

namespace tarnwell {

using detail::XMLAccess;
using detail::XMLArena;

namespace {

constexpr const char* kUnit = "Core/XML/NKXMLElement";

xmlNode* nodeOf(const NKXMLNode& handle) noexcept { return XMLAccess::node(handle); }

template <class Matches>
xmlNode* firstMatch(xmlNode* parent, const Matches& matches) noexcept {
  auto* child = detail::firstElementFrom(parent->children);
  while (child != nullptr && !matches(child)) child = detail::firstElementFrom(child->next);
  return child;
}

template <class Matches>
std::vector<NKXMLElement> allMatches(const NKXMLElement& parent, const Matches& matches) {
  std::vector<NKXMLElement> result;
  if (!parent) return result;
  for (const auto& child : parent.childElements()) {
    if (matches(nodeOf(child))) result.push_back(child);
  }
  return result;
}

auto byName(std::string_view name) noexcept {
  return [name](const xmlNode* node) { return detail::hasQualifiedName(node, name); };
}

auto byLocalName(std::string_view localName, std::optional<std::string_view> URI) noexcept {
  return [localName, URI](const xmlNode* node) {
    return detail::hasLocalName(node, localName) && detail::hasURI(node, URI);
  };
}

xmlAttr* attributeOf(const xmlNode* element, std::string_view name) noexcept {
  auto* attr = element->properties;
  while (attr != nullptr && !detail::hasQualifiedName(detail::asNode(attr), name))
    attr = attr->next;
  return attr;
}

bool hasParent(xmlNode* node) noexcept { return !XMLArena::isRoot(node); }

/// The child is added to the group of the parent, so that the tree keeps it.
void join(const NKXMLNode& parent, const NKXMLNode& child) {
  auto* node = nodeOf(child);
  if (node->type != XML_NAMESPACE_DECL) detail::setTreeDocument(node, nodeOf(parent)->doc);
  XMLArena::join(XMLAccess::arena(parent), XMLAccess::arena(child), node);
}

/// Before an attribute loses its place to another of the same name.
void release(const NKXMLNode& element, xmlAttr* replaced) {
  if (replaced == nullptr) return;
  XMLAccess::giveOwnNamespace(element, detail::asNode(replaced));
  XMLArena::addRoot(XMLAccess::arena(element), replaced);
}

bool isChildKind(const xmlNode* node) noexcept {
  switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_PI_NODE:
    case XML_COMMENT_NODE:
      return true;
    default:
      return false;
  }
}

}  // namespace

// --- making elements
// ------------------------------------------------------------------------------

NKXMLElement NKXMLElement::elementWithNameXmlns(std::string_view name, std::string_view xmlns) {
  auto element = elementWithName(name);
  element.setXmlns(xmlns);
  return element;
}

NKXMLElement NKXMLElement::withXMLString(std::string_view xml, TWError* error) {
  auto root = NKXMLDocument::withXMLString(xml, 0, error).rootElement();
  root.detach();
  return root;
}

// --- child elements
// -------------------------------------------------------------------------------

NKXMLElementRange::iterator& NKXMLElementRange::iterator::operator++() noexcept {
  if (!current_) return *this;
  auto* next = detail::firstElementFrom(nodeOf(current_)->next);
  if (next == nullptr)
    current_ = NKXMLElement();
  else
    XMLAccess::move(current_, next);
  return *this;
}

NKXMLElementRange NKXMLElement::childElements() const noexcept {
  if (!*this) return NKXMLElementRange({});
  return NKXMLElementRange(
      XMLAccess::handle<NKXMLElement>(detail::firstElementFrom(nodeOf(*this)->children), *this));
}

NKXMLElement NKXMLElement::elementForName(std::string_view name) const noexcept {
  if (!*this) return {};
  return XMLAccess::handle<NKXMLElement>(firstMatch(nodeOf(*this), byName(name)), *this);
}

NKXMLElement NKXMLElement::elementForName(std::string_view localName,
                                          std::optional<std::string_view> xmlns) const noexcept {
  if (!*this) return {};
  return XMLAccess::handle<NKXMLElement>(firstMatch(nodeOf(*this), byLocalName(localName, xmlns)),
                                         *this);
}

std::vector<NKXMLElement> NKXMLElement::elementsForName(std::string_view name) const {
  return allMatches(*this, byName(name));
}

std::vector<NKXMLElement> NKXMLElement::elementsForLocalName(
    std::string_view localName, std::optional<std::string_view> URI) const {
  return allMatches(*this, byLocalName(localName, URI));
}

bool NKXMLElement::isElement(std::string_view localName,
                             std::optional<std::string_view> URI) const noexcept {
  return *this && byLocalName(localName, URI)(nodeOf(*this));
}

// --- attributes
// -----------------------------------------------------------------------------------

NKXMLAttributeNode NKXMLElement::attributeForName(std::string_view name) const noexcept {
  if (!*this) return {};
  return XMLAccess::handle<NKXMLAttributeNode>(attributeOf(nodeOf(*this), name), *this);
}

std::optional<std::string> NKXMLElement::attributeForName(
    std::string_view localName, std::optional<std::string_view> xmlns) const {
  for (const auto& child : childElements()) {
    if (!child.isElement(localName, xmlns)) continue;
    if (auto text = child.stringValue(); text && !text->empty()) return text;
  }
  return std::nullopt;
}

std::vector<std::string> NKXMLElement::attributesForName(
    std::string_view localName, std::optional<std::string_view> xmlns) const {
  std::vector<std::string> result;
  for (const auto& child : childElements()) {
    if (!child.isElement(localName, xmlns)) continue;
    if (auto text = child.stringValue(); text && !text->empty()) result.push_back(std::move(*text));
  }
  return result;
}

std::vector<NKXMLAttributeNode> NKXMLElement::attributes() const {
  std::vector<NKXMLAttributeNode> result;
  if (!*this) return result;
  for (auto* attr = nodeOf(*this)->properties; attr != nullptr; attr = attr->next)
    result.push_back(XMLAccess::handle<NKXMLAttributeNode>(attr, *this));
  return result;
}

std::vector<std::pair<std::string, std::string>> NKXMLElement::attributesAsDictionary() const {
  std::vector<std::pair<std::string, std::string>> result;
  if (!*this) return result;
  for (auto* attr = nodeOf(*this)->properties; attr != nullptr; attr = attr->next) {
    const auto* node = detail::asNode(attr);
    result.emplace_back(detail::qualifiedName(node), detail::textOf(node));
  }
  return result;
}

void NKXMLElement::addAttribute(const NKXMLAttributeNode& attribute) {
  addAttribute(static_cast<const NKXMLNode&>(attribute));
}

void NKXMLElement::addAttribute(const NKXMLNode& attribute) {
  if (!*this || !attribute) return;
  auto* node = nodeOf(attribute);
  if (node->type != XML_ATTRIBUTE_NODE) return detail::programmingError(kUnit, "Not an attribute");
  if (hasParent(node)) {
    return detail::programmingError(kUnit,
                                    "Cannot add an attribute with a parent; detach or copy first");
  }
  auto* element = nodeOf(*this);
  if (node->ns != nullptr) node->ns = detail::bindNamespace(element, node->ns, element, true);
  auto* replaced = attributeOf(element, detail::qualifiedName(node));
  join(*this, attribute);
  release(*this, replaced);
  detail::linkAttribute(element, detail::asAttr(node), replaced);
}

void NKXMLElement::addAttributeWithName(std::string_view name, std::string_view stringValue) {
  if (!*this) return;
  auto* element = nodeOf(*this);
  auto* attr = detail::newAttribute(element->doc, name, stringValue);
  // By the name as it is kept: one that was ill-formed is not the one given.
  auto* replaced = attributeOf(element, detail::view(attr->name));
  release(*this, replaced);
  detail::linkAttribute(element, attr, replaced);
}

void NKXMLElement::removeAttributeForName(std::string_view name) {
  attributeForName(name).detach();
}

void NKXMLElement::setAttributes(const NKXMLNodeList& attributes) {
  for (auto& old : this->attributes()) old.detach();
  for (const auto& attribute : attributes) addAttribute(attribute);
}

// --- namespaces
// -----------------------------------------------------------------------------------

std::optional<std::string> NKXMLElement::xmlns() const {
  return namespaceForPrefix("").stringValue();
}

void NKXMLElement::setXmlns(std::string_view URI) {
  if (*this) addNamespace(namespaceWithName("", URI));
}

std::vector<NKXMLNamespaceNode> NKXMLElement::namespaces() const {
  std::vector<NKXMLNamespaceNode> result;
  if (!*this) return result;
  for (auto* ns = nodeOf(*this)->nsDef; ns != nullptr; ns = ns->next) {
    detail::setDeclaringElement(ns, nodeOf(*this));
    result.push_back(XMLAccess::handle<NKXMLNamespaceNode>(ns, *this));
  }
  return result;
}

NKXMLNamespaceNode NKXMLElement::namespaceForPrefix(std::string_view prefix) const noexcept {
  if (!*this) return {};
  auto* ns = detail::declarationOf(nodeOf(*this), prefix);
  if (ns != nullptr) detail::setDeclaringElement(ns, nodeOf(*this));
  return XMLAccess::handle<NKXMLNamespaceNode>(ns, *this);
}

void NKXMLElement::addNamespace(const NKXMLNamespaceNode& declaration) {
  addNamespace(static_cast<const NKXMLNode&>(declaration));
}

void NKXMLElement::addNamespace(const NKXMLNode& declaration) {
  if (!*this || !declaration) return;
  auto* node = nodeOf(declaration);
  if (node->type != XML_NAMESPACE_DECL) return detail::programmingError(kUnit, "Not a namespace");
  if (hasParent(node)) {
    return detail::programmingError(kUnit,
                                    "Cannot add a namespace with a parent; detach or copy first");
  }
  auto* element = nodeOf(*this);
  const std::string prefix(detail::view(detail::asNs(node)->prefix));
  join(*this, declaration);
  if (auto* replaced = detail::declarationOf(element, prefix)) {
    XMLArena::addRoot(XMLAccess::arena(*this), replaced);
    detail::unlinkDeclaration(element, replaced);
  }
  detail::linkNamespace(element, detail::asNs(node));
  // The element's own literal name now means something: <a> with xmlns="u" is in "u".
  const auto parts = detail::nameParts(element);
  if (element->ns == nullptr && parts.prefix == prefix)
    detail::putIntoNamespace(element, std::string(parts.local), detail::asNs(node));
  detail::rebindPrefix(element, prefix);
}

void NKXMLElement::removeNamespaceForPrefix(std::string_view prefix) {
  namespaceForPrefix(prefix).detach();
}

void NKXMLElement::setNamespaces(const NKXMLNodeList& namespaces) {
  if (!*this) return;
  auto* element = nodeOf(*this);
  const auto replaced = this->namespaces();
  // Names are left alone until the new declarations are there for them to follow.
  for (const auto& old : replaced) {
    auto* ns = detail::asNs(nodeOf(old));
    XMLArena::addRoot(XMLAccess::arena(*this), ns);
    detail::unlinkDeclaration(element, ns);
  }
  for (const auto& declaration : namespaces) addNamespace(declaration);
  for (const auto& old : replaced) detail::rebindPrefix(element, old.name().value_or(""));
}

NKXMLNamespaceNode NKXMLElement::resolveNamespaceForName(std::string_view name) const noexcept {
  if (!*this) return {};
  xmlNode* element = nullptr;
  auto* ns = detail::declarationInForce(nodeOf(*this), detail::splitName(name).prefix, &element);
  if (ns != nullptr) detail::setDeclaringElement(ns, element);
  return XMLAccess::handle<NKXMLNamespaceNode>(ns, *this);
}

std::optional<std::string> NKXMLElement::resolvePrefixForNamespaceURI(std::string_view URI) const {
  if (!*this) return std::nullopt;
  const auto* ns = detail::declarationForURI(nodeOf(*this), URI, false);
  if (ns == nullptr) return std::nullopt;
  return std::string(detail::view(ns->prefix));
}

// --- children
// -------------------------------------------------------------------------------------

namespace {

/// Adds before a child of `parent`, or at the end when that is null.
void add(const NKXMLElement& parent, const NKXMLNode& child, xmlNode* before) {
  auto* node = nodeOf(child);
  if (!isChildKind(node)) {
    return detail::programmingError(kUnit,
                                    "Elements can only have text, elements, processing "
                                    "instructions, and comments as children");
  }
  // A root above the parent has no parent itself, but would become one of its own descendants.
  if (hasParent(node) ||
      (node->type == XML_ELEMENT_NODE && node->children != nullptr &&
       detail::topOf(nodeOf(parent)) == node) ||
      node == nodeOf(parent)) {
    return detail::programmingError(kUnit,
                                    "Cannot add a child that has a parent; detach or copy first");
  }
  join(parent, child);
  detail::linkChild(nodeOf(parent), node, before);
}

}  // namespace

void NKXMLElement::addChild(const NKXMLNode& child) {
  if (*this && child) add(*this, child, nullptr);
}

void NKXMLElement::insertChild(const NKXMLNode& child, std::size_t atIndex) {
  if (!*this || !child) return;
  auto* before = nodeOf(*this)->children;
  for (; before != nullptr && atIndex > 0; --atIndex) before = before->next;
  add(*this, child, before);
}

void NKXMLElement::removeChildAtIndex(std::size_t index) {
  auto child = firstChild();
  for (; child && index > 0; --index) child = child.nextSibling();
  child.detach();
}

void NKXMLElement::setChildren(const NKXMLNodeList& children) {
  if (!*this) return;
  while (auto child = firstChild()) child.detach();
  for (const auto& child : children) addChild(child);
}

}  // namespace tarnwell
