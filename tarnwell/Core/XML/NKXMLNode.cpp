#include "tarnwell/Core/XML/NKXMLNode.h"

#include <ostream>

#include <libxml/tree.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"
#include "tarnwell/Core/XML/detail/XMLPath.h"
#include "tarnwell/Core/XML/detail/XMLWriter.h"

namespace tarnwell {

using detail::XMLAccess;
using detail::XMLArena;

namespace {

constexpr const char* kUnit = "Core/XML/NKXMLNode";

xmlNode* nodeOf(const NKXMLNode& handle) noexcept { return XMLAccess::node(handle); }

bool hasOwnName(const xmlNode* node) noexcept {
  switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_PI_NODE:
    case XML_ENTITY_REF_NODE:
    case XML_DTD_NODE:
      return true;
    default:
      return false;
  }
}

bool isElementOrAttribute(const xmlNode* node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE;
}

/// True for what stands in a list of children, and so has siblings.
bool isChildKind(const xmlNode* node) noexcept {
  return node->type != XML_ATTRIBUTE_NODE && node->type != XML_NAMESPACE_DECL;
}

/// Takes a declaration from its element; names that use it are left to the caller.
void removeDeclaration(const NKXMLNode& user, xmlNode* element, xmlNs* declaration) {
  XMLArena::addRoot(XMLAccess::arena(user), declaration);
  detail::unlinkDeclaration(element, declaration);
}

void renameDeclaration(const NKXMLNode& declaration, std::string_view name) {
  auto* ns = detail::asNs(nodeOf(declaration));
  auto* element = detail::parentOf(nodeOf(declaration));
  const detail::XMLCText text(name);
  const auto prefix = detail::view(text.get());
  if (prefix == detail::view(ns->prefix)) return;
  // xmlns:p="" is no XML.
  if (element != nullptr && detail::view(ns->href).empty() && !prefix.empty()) return;
  auto* fresh = prefix.empty() ? nullptr : detail::required(xmlStrdup(text.get()));
  if (element != nullptr) {
    if (auto* replaced = detail::declarationOf(element, prefix))
      removeDeclaration(declaration, element, replaced);
  }
  xmlFree(const_cast<xmlChar*>(ns->prefix));  // libxml2's own text, only declared const
  ns->prefix = fresh;
  if (element != nullptr) detail::keepNamespacesAfterRenaming(element, ns);
}

/// Puts an element or attribute into no namespace, in its written form too.
void leaveNamespace(const NKXMLNode& handle) {
  auto* node = nodeOf(handle);
  auto* element = node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
  const std::string local(detail::nameParts(node).local);
  const std::string prefix(detail::nameParts(node).prefix);
  const bool meansNothing =
      prefix != "xml" &&
      (element == nullptr || detail::declarationInForce(element, prefix) == nullptr);
  if (!prefix.empty() && meansNothing) return detail::makeLiteralName(node);
  detail::putIntoNamespace(node, local, nullptr);
  if (node != element) return;
  const auto isInDefaultNamespace = [&] {
    const auto* inForce = detail::declarationInForce(element, "");
    return inForce != nullptr && !detail::view(inForce->href).empty();
  };
  if (!isInDefaultNamespace()) return;
  if (auto* own = detail::declarationOf(element, "")) removeDeclaration(handle, element, own);
  if (isInDefaultNamespace()) detail::linkNamespace(element, detail::newNamespace("", ""));
  detail::keepNamespacesBelow(element);
}

/// After an attribute was given another name.
void detachNamesake(const NKXMLNode& handle) {
  const auto* node = nodeOf(handle);
  if (node->type != XML_ATTRIBUTE_NODE || node->parent == nullptr) return;
  const auto name = detail::qualifiedName(node);
  for (auto* attr = node->parent->properties; attr != nullptr; attr = attr->next) {
    if (detail::asNode(attr) == node || !detail::hasQualifiedName(detail::asNode(attr), name))
      continue;
    return XMLAccess::handle(attr, handle).detach();
  }
}

}  // namespace

// --- making nodes
// ---------------------------------------------------------------------------------

NKXMLElement NKXMLNode::elementWithName(std::string_view name) {
  return XMLAccess::adopt<NKXMLElement>(detail::newElement(name));
}

NKXMLElement NKXMLNode::elementWithName(std::string_view name, std::string_view stringValue) {
  auto* node = detail::newElement(name);
  auto element = XMLAccess::adopt<NKXMLElement>(node);
  if (!stringValue.empty())
    detail::linkChild(node, detail::newText(node->doc, stringValue), nullptr);
  return element;
}

NKXMLElement NKXMLNode::elementWithName(std::string_view name, const NKXMLNodeList& children) {
  return elementWithName(name, children, {});
}

NKXMLElement NKXMLNode::elementWithName(std::string_view name,
                                        std::initializer_list<NKXMLNode> children) {
  return elementWithName(name, NKXMLNodeList(children));
}

NKXMLElement NKXMLNode::elementWithName(std::string_view name, const NKXMLNodeList& children,
                                        const NKXMLNodeList& attributes) {
  auto element = elementWithName(name);
  for (const auto& child : children) element.addChild(child);
  for (const auto& attribute : attributes) element.addAttribute(attribute);
  return element;
}

NKXMLElement NKXMLNode::elementWithNameURI(std::string_view name, std::string_view URI) {
  auto element = elementWithName(name);
  element.setURI(URI);
  return element;
}

NKXMLAttributeNode NKXMLNode::attributeWithName(std::string_view name,
                                                std::string_view stringValue) {
  return XMLAccess::adopt<NKXMLAttributeNode>(
      detail::newAttribute(detail::freeDocument(), name, stringValue));
}

NKXMLAttributeNode NKXMLNode::attributeWithName(std::string_view name, std::string_view URI,
                                                std::string_view stringValue) {
  auto attribute = attributeWithName(name, stringValue);
  attribute.setURI(URI);
  return attribute;
}

NKXMLNamespaceNode NKXMLNode::namespaceWithName(std::string_view name,
                                                std::string_view stringValue) {
  return XMLAccess::adopt<NKXMLNamespaceNode>(detail::newNamespace(name, stringValue));
}

NKXMLNode NKXMLNode::processingInstructionWithName(std::string_view name,
                                                   std::string_view stringValue) {
  return XMLAccess::adopt<NKXMLNode>(detail::newProcessingInstruction(name, stringValue));
}

NKXMLNode NKXMLNode::commentWithStringValue(std::string_view stringValue) {
  return XMLAccess::adopt<NKXMLNode>(detail::newComment(stringValue));
}

NKXMLNode NKXMLNode::textWithStringValue(std::string_view stringValue) {
  return XMLAccess::adopt<NKXMLNode>(detail::newText(detail::freeDocument(), stringValue));
}

NKXMLNode NKXMLNode::copy() const {
  if (!*this) return {};
  auto* node = detail::copyTree(nodeOf(*this));
  if (node == nullptr) return {};
  auto result = XMLAccess::adopt<NKXMLNode>(node);
  // The namespace of a lone attribute belongs to the other group.
  if (node->type == XML_ATTRIBUTE_NODE) XMLAccess::giveOwnNamespace(result, node);
  return result;
}

// --- kinds
// ----------------------------------------------------------------------------------------

NKXMLNodeKind NKXMLNode::kind() const noexcept {
  return *this ? static_cast<NKXMLNodeKind>(nodeOf(*this)->type) : NKXMLInvalidKind;
}

NKXMLElement NKXMLNode::asElement() const noexcept {
  return kind() == NKXMLElementKind ? XMLAccess::handle<NKXMLElement>(node_, *this)
                                    : NKXMLElement();
}

NKXMLAttributeNode NKXMLNode::asAttribute() const noexcept {
  return kind() == NKXMLAttributeKind ? XMLAccess::handle<NKXMLAttributeNode>(node_, *this)
                                      : NKXMLAttributeNode();
}

NKXMLNamespaceNode NKXMLNode::asNamespace() const noexcept {
  return kind() == NKXMLNamespaceKind ? XMLAccess::handle<NKXMLNamespaceNode>(node_, *this)
                                      : NKXMLNamespaceNode();
}

NKXMLDocument NKXMLNode::asDocument() const noexcept {
  return kind() == NKXMLDocumentKind ? XMLAccess::handle<NKXMLDocument>(node_, *this)
                                     : NKXMLDocument();
}

// --- names
// ----------------------------------------------------------------------------------------

std::optional<std::string> NKXMLNode::name() const {
  if (!*this) return std::nullopt;
  const auto* node = nodeOf(*this);
  if (node->type == XML_NAMESPACE_DECL)
    return std::string(detail::view(detail::asNs(node)->prefix));
  if (!hasOwnName(node)) return std::nullopt;
  return detail::qualifiedName(node);
}

void NKXMLNode::setName(std::string_view name) {
  if (!*this) return;
  auto* node = nodeOf(*this);
  if (node->type == XML_NAMESPACE_DECL) {
    renameDeclaration(*this, name);
  } else if (isElementOrAttribute(node) || node->type == XML_PI_NODE) {
    detail::setName(node, name);
    detachNamesake(*this);
  }
}

bool NKXMLNode::hasName(std::string_view name) const noexcept {
  if (!*this) return false;
  const auto* node = nodeOf(*this);
  if (node->type == XML_NAMESPACE_DECL) return detail::view(detail::asNs(node)->prefix) == name;
  return hasOwnName(node) && detail::hasQualifiedName(node, name);
}

std::optional<std::string> NKXMLNode::localName() const {
  if (!*this) return std::nullopt;
  const auto* node = nodeOf(*this);
  if (!isElementOrAttribute(node)) return name();
  return std::string(detail::nameParts(node).local);
}

bool NKXMLNode::hasLocalName(std::string_view localName) const noexcept {
  if (!*this) return false;
  const auto* node = nodeOf(*this);
  return isElementOrAttribute(node) ? detail::hasLocalName(node, localName) : hasName(localName);
}

std::optional<std::string> NKXMLNode::prefix() const {
  if (!*this) return std::nullopt;
  const auto* node = nodeOf(*this);
  if (!isElementOrAttribute(node)) return std::nullopt;
  return std::string(detail::nameParts(node).prefix);
}

std::optional<std::string> NKXMLNode::URI() const {
  if (!*this) return std::nullopt;
  const auto* ns = detail::namespaceOf(nodeOf(*this));
  if (ns == nullptr || detail::view(ns->href).empty()) return std::nullopt;
  return std::string(detail::view(ns->href));
}

void NKXMLNode::setURI(std::string_view URI) {
  if (!*this) return;
  auto* node = nodeOf(*this);
  if (!isElementOrAttribute(node)) return;
  if (URI.empty()) {
    leaveNamespace(*this);
    return detachNamesake(*this);
  }
  const std::string prefix(detail::nameParts(node).prefix);
  const std::string local(detail::nameParts(node).local);
  auto* element = node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
  auto* inForce = element == nullptr ? nullptr : detail::declarationInForce(element, prefix);
  const bool usable = node == element || !prefix.empty();  // an attribute needs a prefix
  if (inForce != nullptr && usable && detail::equals(inForce->href, URI)) {
    detail::putIntoNamespace(node, local, inForce);
    return;
  }
  auto* ns = XMLAccess::undeclaredNamespace(*this, prefix, URI);
  if (node->type == XML_ATTRIBUTE_NODE) {
    if (element != nullptr) ns = detail::bindNamespace(element, ns, element, true);
    detail::putIntoNamespace(node, local, ns);
    return detachNamesake(*this);
  }
  if (auto* replaced = detail::declarationOf(node, prefix))
    removeDeclaration(*this, node, replaced);
  XMLArena::join(arena_, arena_, ns);
  detail::linkNamespace(node, ns);
  detail::putIntoNamespace(node, local, ns);
  // Only this name moves: what is inside keeps its namespace, declared again where it has to be.
  detail::keepNamespacesBelow(node);
}

std::string NKXMLNode::localNameForName(std::string_view name) {
  return std::string(detail::splitName(name).local);
}

std::string NKXMLNode::prefixForName(std::string_view name) {
  return std::string(detail::splitName(name).prefix);
}

// --- text
// -----------------------------------------------------------------------------------------

std::optional<std::string> NKXMLNode::stringValue() const {
  if (!*this) return std::nullopt;
  const auto* node = nodeOf(*this);
  switch (node->type) {
    case XML_NAMESPACE_DECL:
      return std::string(detail::view(detail::asNs(node)->href));
    case XML_ELEMENT_NODE:
    case XML_DOCUMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_PI_NODE:
    case XML_COMMENT_NODE:
      return detail::textOf(node);
    default:
      return std::nullopt;
  }
}

void NKXMLNode::setStringValue(std::string_view stringValue) {
  if (!*this) return;
  auto* node = nodeOf(*this);
  switch (node->type) {
    case XML_ELEMENT_NODE: {
      auto* text = stringValue.empty() ? nullptr : detail::newText(node->doc, stringValue);
      while (node->children != nullptr) firstChild().detach();
      if (text != nullptr) detail::linkChild(node, text, nullptr);
      return;
    }
    case XML_ATTRIBUTE_NODE: {
      auto* text = detail::newText(node->doc, stringValue);
      xmlFreeNodeList(node->children);  // no handle ever means the text inside an attribute
      node->children = node->last = text;
      text->parent = node;
      return;
    }
    case XML_NAMESPACE_DECL: {
      auto* ns = detail::asNs(node);
      auto* URI = detail::required(xmlStrdup(detail::XMLCText(stringValue).get()));
      xmlFree(const_cast<xmlChar*>(ns->href));  // libxml2's own text, only declared const
      ns->href = URI;
      return;
    }
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_PI_NODE:
    case XML_COMMENT_NODE:
      xmlNodeSetContent(node, detail::XMLCText(stringValue).get());
      return;
    default:
      return;
  }
}

// --- places
// ---------------------------------------------------------------------------------------

std::size_t NKXMLNode::index() const noexcept {
  if (!*this) return 0;
  auto* node = nodeOf(*this);
  std::size_t before = 0;
  if (node->type == XML_NAMESPACE_DECL) {
    const auto* parent = detail::parentOf(node);
    if (parent == nullptr) return 0;
    for (const auto* ns = parent->nsDef; ns != detail::asNs(node); ns = ns->next) ++before;
    return before;
  }
  while ((node = node->prev) != nullptr) ++before;
  return before;
}

std::size_t NKXMLNode::level() const noexcept {
  if (!*this) return 0;
  std::size_t ancestors = 0;
  for (auto* node = nodeOf(*this); (node = detail::parentOf(node)) != nullptr;) ++ancestors;
  return ancestors;
}

NKXMLDocument NKXMLNode::rootDocument() const noexcept {
  if (!*this) return {};
  return XMLAccess::handle(detail::topOf(nodeOf(*this)), *this).asDocument();
}

NKXMLNode NKXMLNode::parent() const noexcept {
  return *this ? XMLAccess::handle(detail::parentOf(nodeOf(*this)), *this) : NKXMLNode();
}

std::size_t NKXMLNode::childCount() const noexcept {
  if (!*this || !detail::hasChildList(nodeOf(*this))) return 0;
  std::size_t count = 0;
  for (const auto* child = nodeOf(*this)->children; child != nullptr; child = child->next) ++count;
  return count;
}

std::vector<NKXMLNode> NKXMLNode::children() const {
  std::vector<NKXMLNode> result;
  if (!*this || !detail::hasChildList(nodeOf(*this))) return result;
  result.reserve(childCount());
  for (auto* child = nodeOf(*this)->children; child != nullptr; child = child->next)
    result.push_back(XMLAccess::handle(child, *this));
  return result;
}

NKXMLNode NKXMLNode::childAtIndex(std::size_t index) const {
  if (!*this) return {};
  auto child = firstChild();
  for (std::size_t before = 0; child && before < index; ++before)
    XMLAccess::move(child, nodeOf(child)->next);
  if (!child) {
    const auto message = "index (" + std::to_string(index) + ") beyond bounds (" +
                         std::to_string(childCount()) + ")";
    detail::programmingError(kUnit, message.c_str());
  }
  return child;
}

NKXMLNode NKXMLNode::firstChild() const noexcept {
  if (!*this || !detail::hasChildList(nodeOf(*this))) return {};
  return XMLAccess::handle(nodeOf(*this)->children, *this);
}

NKXMLNode NKXMLNode::lastChild() const noexcept {
  if (!*this || !detail::hasChildList(nodeOf(*this))) return {};
  return XMLAccess::handle(nodeOf(*this)->last, *this);
}

NKXMLNode NKXMLNode::previousSibling() const noexcept {
  if (!*this || !isChildKind(nodeOf(*this))) return {};
  return XMLAccess::handle(nodeOf(*this)->prev, *this);
}

NKXMLNode NKXMLNode::nextSibling() const noexcept {
  if (!*this || !isChildKind(nodeOf(*this))) return {};
  return XMLAccess::handle(nodeOf(*this)->next, *this);
}

NKXMLNode NKXMLNode::previousNode() const noexcept {
  if (!*this || !isChildKind(nodeOf(*this))) return {};
  auto* node = nodeOf(*this);
  if (node->prev == nullptr) return XMLAccess::handle(node->parent, *this);
  node = node->prev;
  while (detail::hasChildList(node) && node->last != nullptr) node = node->last;
  return XMLAccess::handle(node, *this);
}

NKXMLNode NKXMLNode::nextNode() const noexcept {
  if (!*this || !isChildKind(nodeOf(*this))) return {};
  auto* node = nodeOf(*this);
  return XMLAccess::handle(detail::nextInTree(node, detail::topOf(node)), *this);
}

void NKXMLNode::detach() {
  if (!*this) return;
  auto* node = nodeOf(*this);
  auto* parent = detail::parentOf(node);
  if (parent == nullptr) return;
  if (node->type == XML_NAMESPACE_DECL) {
    auto* ns = detail::asNs(node);
    const std::string prefix(detail::view(ns->prefix));
    XMLArena::addRoot(arena_, ns);
    detail::unlinkDeclaration(parent, ns);
    detail::rebindPrefix(parent, prefix);
    return;
  }
  if (node->type == XML_ATTRIBUTE_NODE) XMLAccess::giveOwnNamespace(*this, node);
  XMLArena::addRoot(arena_, node);
  detail::unlink(node);
  if (node->type == XML_ELEMENT_NODE) detail::declareUsedNamespaces(node);
}

// --- paths and output
// -----------------------------------------------------------------------------

std::string NKXMLNode::XPath() const {
  return *this ? detail::pathOf(nodeOf(*this)) : std::string();
}

std::optional<std::vector<NKXMLNode>> NKXMLNode::nodesForXPath(std::string_view XPath,
                                                               TWError* error) const {
  std::vector<NKXMLNode> result;
  if (!*this) return result;
  const auto nodes = detail::selectNodes(nodeOf(*this), XPath, error);
  if (!nodes) return std::nullopt;
  result.reserve(nodes->size());
  for (auto* node : *nodes) result.push_back(XMLAccess::handle(node, *this));
  return result;
}

std::string NKXMLNode::XMLString() const { return XMLStringWithOptions(NKXMLNoOptions); }

std::string NKXMLNode::XMLStringWithOptions(std::uint32_t options) const {
  return *this ? detail::writeXML(nodeOf(*this), options) : std::string();
}

std::ostream& operator<<(std::ostream& stream, const NKXMLNode& node) {
  return stream << node.description();
}

TWError NKXMLNode::lastError() { return detail::lastXMLError(); }

}  // namespace tarnwell
