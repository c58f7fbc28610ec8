#include "tarnwell/Core/XML/detail/XMLTree.h"

#include <climits>
#include <cstring>
#include <new>

#include <libxml/dict.h>
#include <libxml/parser.h>

#include "tarnwell/Core/XML/detail/XMLArena.h"

namespace tarnwell::detail {

namespace {

int lengthOf(std::string_view text) {
  // libxml2 counts with int; a text that it cannot hold is one that does not fit into memory.
  if (text.size() >= INT_MAX) throw std::bad_alloc();
  return static_cast<int>(text.size());
}

/// Calls `make` with a clean text; it need not be terminated.
template <class Make>
auto withCleanText(std::string_view text, const Make& make) {
  if (isCleanText(text)) return required(make(xmlText(text.data()), lengthOf(text)));
  const auto repaired = repairedText(text);
  return required(make(xmlText(repaired.data()), lengthOf(repaired)));
}

const xmlChar* ownCopy(const xmlChar* text, xmlDict* dict) {
  if (text == nullptr || dict == nullptr || xmlDictOwns(dict, text) == 0) return text;
  return required(xmlStrdup(text));
}

xmlAttr* copyAttribute(const xmlAttr* source, xmlDoc* doc) {
  auto* copy = required(xmlNewDocProp(doc, source->name, nullptr));
  copy->ns = source->ns;
  for (const auto* text = source->children; text != nullptr; text = text->next) {
    if (text->type != XML_TEXT_NODE) continue;
    auto* child = required(xmlNewDocText(doc, text->content));
    child->parent = asNode(copy);
    child->prev = copy->last;
    (copy->last == nullptr ? copy->children : copy->last->next) = child;
    copy->last = child;
  }
  return copy;
}

/// A copy of the node alone, or null for a kind that is not copied. Namespaces still are the
/// source's.
xmlNode* copyNode(const xmlNode* source, xmlDoc* doc) {
  switch (source->type) {
    case XML_ELEMENT_NODE: {
      auto* copy = required(xmlNewDocNode(doc, nullptr, source->name, nullptr));
      copy->ns = source->ns;
      for (const auto* ns = source->nsDef; ns != nullptr; ns = ns->next)
        linkNamespace(copy, newNamespace(view(ns->prefix), view(ns->href)));
      for (const auto* attr = source->properties; attr != nullptr; attr = attr->next)
        linkAttribute(copy, copyAttribute(attr, doc), nullptr);
      return copy;
    }
    case XML_TEXT_NODE:
      return required(xmlNewDocText(doc, source->content));
    case XML_CDATA_SECTION_NODE:
      return required(xmlNewCDataBlock(doc, source->content, xmlStrlen(source->content)));
    case XML_COMMENT_NODE:
      return required(xmlNewDocComment(doc, source->content));
    case XML_PI_NODE:
      return required(xmlNewDocPI(doc, source->name, source->content));
    case XML_ENTITY_REF_NODE:
      return required(xmlNewReference(nullptr, source->name));
    default:
      return nullptr;
  }
}

xmlNode* copyBranch(const xmlNode* source, xmlDoc* doc) {
  auto* top = copyNode(source, doc);
  if (top == nullptr || source->type != XML_ELEMENT_NODE) return top;
  const auto* from = source;
  auto* parent = top;
  // Step by step, not recursively: trees that were built may be of any depth.
  for (const auto* next = from->children; next != nullptr || from != source;) {
    if (next == nullptr) {
      next = from->next;
      from = from->parent;
      parent = parent->parent;
      continue;
    }
    auto* copy = copyNode(next, doc);
    if (copy != nullptr) linkChild(parent, copy, nullptr);
    if (next->type == XML_ELEMENT_NODE && next->children != nullptr) {
      from = next;
      parent = copy;
      next = next->children;
    } else {
      next = next->next;
    }
  }
  declareUsedNamespaces(top);
  return top;
}

/// The document type by itself; what it declared is not needed after parsing.
xmlNode* copyType(const xmlNode* source) {
  const auto* dtd = reinterpret_cast<const xmlDtd*>(source);
  return asNode(required(xmlNewDtd(nullptr, dtd->name, dtd->ExternalID, dtd->SystemID)));
}

xmlNode* copyDocument(const xmlDoc* source) {
  auto* copy = required(xmlNewDoc(source->version));
  copy->encoding = required(xmlStrdup(xmlText("UTF-8")));
  copy->standalone = source->standalone;
  for (const auto* child = source->children; child != nullptr; child = child->next) {
    xmlNode* node = nullptr;
    if (child->type == XML_DTD_NODE) {
      node = copyType(child);
      copy->intSubset = reinterpret_cast<xmlDtd*>(node);
      node->doc = copy;
    } else {
      node = copyBranch(child, copy);
    }
    if (node != nullptr) linkChild(asNode(copy), node, nullptr);
  }
  return asNode(copy);
}

bool samePrefix(const xmlNs* a, std::string_view prefix) noexcept {
  return a->prefix == nullptr ? prefix.empty() : equals(a->prefix, prefix);
}

/// The namespace that "xml" always means, and that nobody declares.
xmlNs* builtInNamespace() {
  static xmlNs* const ns =
      xmlSearchNsByHref(freeDocument(), asNode(freeDocument()), XML_XML_NAMESPACE);
  return required(ns);
}

xmlNs* declare(xmlNode* element, std::string_view prefix, std::string_view URI) {
  auto* declaration = newNamespace(prefix, URI);
  linkNamespace(element, declaration);
  return declaration;
}

/// "ns1", or the first of its like that is not in use here.
std::string unusedPrefix(const xmlNode* element) {
  for (int number = 1;; ++number) {
    auto prefix = "ns" + std::to_string(number);
    if (declarationInForce(element, prefix) == nullptr) return prefix;
  }
}

/// Calls `visit(element, name)` for the names of the tree: the elements' own and their attributes'.
template <class Visit>
void forEachName(xmlNode* top, const Visit& visit) {
  for (auto* node = top; node != nullptr; node = nextInTree(node, top)) {
    if (node->type != XML_ELEMENT_NODE) continue;
    visit(node, node);
    for (auto* attr = node->properties; attr != nullptr; attr = attr->next)
      visit(node, asNode(attr));
  }
}

template <class Visit>
void forEachNameInNamespace(xmlNode* top, const Visit& visit) {
  forEachName(top, [&](xmlNode* element, xmlNode* name) {
    if (name->ns != nullptr) visit(element, name);
  });
}

void setLiteralName(xmlNode* node, const xmlChar* name) {
  auto* fresh = required(xmlStrdup(name));
  auto* dict = node->doc != nullptr ? node->doc->dict : nullptr;
  if (dict == nullptr || xmlDictOwns(dict, node->name) == 0)
    xmlFree(const_cast<xmlChar*>(node->name));  // libxml2's own text, only declared const
  node->name = fresh;
}

}  // namespace

void throwBadAllocIfNull(const void* made) {
  if (made == nullptr) throw std::bad_alloc();
}

void initXML() noexcept {
  static const bool done = (xmlInitParser(), true);
  static_cast<void>(done);
}

xmlDoc* freeDocument() {
  static xmlDoc* const doc = [] {
    initXML();
    auto* made = required(xmlNewDoc(xmlText("1.0")));
    made->encoding = required(xmlStrdup(xmlText("UTF-8")));
    return made;
  }();
  return doc;
}

xmlNode* newElement(std::string_view name) {
  return required(xmlNewDocNode(freeDocument(), nullptr, XMLCText(name).get(), nullptr));
}

xmlNode* newText(xmlDoc* doc, std::string_view text) {
  return withCleanText(
      text, [&](const xmlChar* data, int size) { return xmlNewDocTextLen(doc, data, size); });
}

xmlNode* newComment(std::string_view text) {
  return required(xmlNewDocComment(freeDocument(), XMLCText(text).get()));
}

xmlNode* newProcessingInstruction(std::string_view target, std::string_view text) {
  return required(xmlNewDocPI(freeDocument(), XMLCText(target).get(), XMLCText(text).get()));
}

xmlAttr* newAttribute(xmlDoc* doc, std::string_view name, std::string_view value) {
  // The name must not go into the dictionary of a parsed document: parts of that document that
  // were detached may be in use by other threads, and share it.
  auto* attr = required(xmlNewDocProp(freeDocument(), XMLCText(name).get(), nullptr));
  attr->doc = doc;
  attr->children = attr->last = newText(doc, value);
  attr->children->parent = asNode(attr);
  return attr;
}

xmlNs* newNamespace(std::string_view prefix, std::string_view URI) {
  auto* ns = required(xmlNewNs(nullptr, XMLCText(URI).get(), nullptr));
  // Set by hand, since libxml2 makes no node for the prefix "xml".
  if (!prefix.empty()) ns->prefix = required(xmlStrdup(XMLCText(prefix).get()));
  return ns;
}

xmlNode* copyTree(xmlNode* source) {
  switch (source->type) {
    case XML_DOCUMENT_NODE:
      return copyDocument(reinterpret_cast<const xmlDoc*>(source));
    case XML_NAMESPACE_DECL:
      return asNode(newNamespace(view(asNs(source)->prefix), view(asNs(source)->href)));
    case XML_ATTRIBUTE_NODE: {
      auto* copy = copyAttribute(asAttr(source), freeDocument());
      return asNode(copy);
    }
    case XML_DTD_NODE:
      return copyType(source);
    default:
      return copyBranch(source, freeDocument());
  }
}

xmlNode* parentOf(xmlNode* node) noexcept {
  if (node->type != XML_NAMESPACE_DECL) return node->parent;
  return XMLArena::isRoot(node) ? nullptr : static_cast<xmlNode*>(asNs(node)->_private);
}

xmlNode* topOf(xmlNode* node) noexcept {
  while (auto* parent = parentOf(node)) node = parent;
  return node;
}

xmlNode* nextInTree(const xmlNode* node, const xmlNode* top) noexcept {
  if (hasChildList(node) && node->children != nullptr) return node->children;
  while (node != top && node->next == nullptr) node = node->parent;
  return node == top ? nullptr : node->next;
}

void linkChild(xmlNode* parent, xmlNode* child, xmlNode* before) noexcept {
  auto* previous = before == nullptr ? parent->last : before->prev;
  child->parent = parent;
  child->prev = previous;
  child->next = before;
  (previous == nullptr ? parent->children : previous->next) = child;
  (before == nullptr ? parent->last : before->prev) = child;
}

void linkAttribute(xmlNode* element, xmlAttr* attribute, xmlAttr* replaced) noexcept {
  xmlAttr* next = nullptr;
  xmlAttr* previous = nullptr;
  if (replaced != nullptr) {
    next = replaced->next;
    previous = replaced->prev;
    replaced->parent = nullptr;
    replaced->prev = replaced->next = nullptr;
  } else if (element->properties != nullptr) {
    for (previous = element->properties; previous->next != nullptr;) previous = previous->next;
  }
  attribute->parent = element;
  attribute->prev = previous;
  attribute->next = next;
  (previous == nullptr ? element->properties : previous->next) = attribute;
  if (next != nullptr) next->prev = attribute;
}

void linkNamespace(xmlNode* element, xmlNs* declaration) noexcept {
  auto** end = &element->nsDef;
  while (*end != nullptr) end = &(*end)->next;
  *end = declaration;
  setDeclaringElement(declaration, element);
}

void unlinkDeclaration(xmlNode* element, xmlNs* declaration) noexcept {
  auto** link = &element->nsDef;
  while (*link != declaration) link = &(*link)->next;
  *link = declaration->next;
  declaration->next = nullptr;
}

void unlink(xmlNode* node) noexcept {
  auto* parent = node->parent;
  switch (node->type) {
    case XML_ATTRIBUTE_NODE: {
      auto* attr = asAttr(node);
      (attr->prev == nullptr ? parent->properties : attr->prev->next) = attr->next;
      if (attr->next != nullptr) attr->next->prev = attr->prev;
      attr->parent = nullptr;
      attr->prev = attr->next = nullptr;
      return;
    }
    case XML_DTD_NODE:
      xmlUnlinkNode(node);  // the document refers to it from a second place
      return;
    default:
      (node->prev == nullptr ? parent->children : node->prev->next) = node->next;
      (node->next == nullptr ? parent->last : node->next->prev) = node->prev;
      node->parent = node->prev = node->next = nullptr;
      return;
  }
}

void setTreeDocument(xmlNode* top, xmlDoc* doc) {
  if (top->type == XML_NAMESPACE_DECL || top->doc == doc) return;
  auto* dict = top->doc != nullptr ? top->doc->dict : nullptr;
  const auto move = [&](xmlNode* node) {
    node->name = ownCopy(node->name, dict);
    node->doc = doc;
    // An attribute ends before the content; a compact text lives in the node itself.
    if (node->type == XML_ATTRIBUTE_NODE) return;
    node->content = const_cast<xmlChar*>(ownCopy(node->content, dict));  // declared const by us
    if (node->type == XML_ENTITY_REF_NODE) node->children = node->last = nullptr;
  };
  const auto moveAttribute = [&](xmlAttr* attr) {
    move(asNode(attr));
    for (auto* text = attr->children; text != nullptr; text = text->next) move(text);
  };
  if (top->type == XML_ATTRIBUTE_NODE) return moveAttribute(asAttr(top));
  for (auto* node = top; node != nullptr; node = nextInTree(node, top)) {
    move(node);
    if (node->type != XML_ELEMENT_NODE) continue;
    for (auto* attr = node->properties; attr != nullptr; attr = attr->next) moveAttribute(attr);
  }
}

void setDeclaringElement(xmlNs* declaration, xmlNode* element) noexcept {
  declaration->_private = element;
}

bool hasQualifiedName(const xmlNode* node, std::string_view name) noexcept {
  const auto* ns = namespaceOf(node);
  if (ns == nullptr || ns->prefix == nullptr) return equals(node->name, name);
  const auto prefix = view(ns->prefix);
  return name.size() > prefix.size() && name[prefix.size()] == ':' && name.starts_with(prefix) &&
         equals(node->name, name.substr(prefix.size() + 1));
}

XMLNameParts nameParts(const xmlNode* node) noexcept {
  const auto* ns = namespaceOf(node);
  if (ns == nullptr || ns->prefix == nullptr) return splitName(view(node->name));
  return {view(ns->prefix), view(node->name)};
}

bool hasLocalName(const xmlNode* node, std::string_view name) noexcept {
  const auto* ns = namespaceOf(node);
  if (ns != nullptr && ns->prefix != nullptr) return equals(node->name, name);
  return splitName(view(node->name)).local == name;
}

bool hasURI(const xmlNode* node, std::optional<std::string_view> URI) noexcept {
  const auto* ns = namespaceOf(node);
  if (!URI || URI->empty()) return ns == nullptr || view(ns->href).empty();
  return ns != nullptr && equals(ns->href, *URI);
}

std::string qualifiedName(const xmlNode* node) {
  const auto* ns = namespaceOf(node);
  if (ns == nullptr || ns->prefix == nullptr) return std::string(view(node->name));
  std::string name(view(ns->prefix));
  name += ':';
  name += view(node->name);
  return name;
}

void setName(xmlNode* node, std::string_view name) {
  const XMLCText text(name);
  if (node->type == XML_PI_NODE) return setLiteralName(node, text.get());
  const auto whole = view(text.get());
  const auto parts = splitName(whole);
  auto* element = node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
  xmlNs* ns = nullptr;
  if (node->ns != nullptr && samePrefix(node->ns, parts.prefix))
    ns = node->ns;
  else if (element != nullptr && !(node->type == XML_ATTRIBUTE_NODE && parts.prefix.empty()))
    ns = declarationInForce(element, parts.prefix);
  setLiteralName(node, ns != nullptr ? xmlText(parts.local.data()) : text.get());
  node->ns = ns;
}

void putIntoNamespace(xmlNode* node, std::string_view localName, xmlNs* ns) {
  setLiteralName(node, XMLCText(localName).get());
  node->ns = ns;
}

void makeLiteralName(xmlNode* node) {
  const auto name = qualifiedName(node);
  setLiteralName(node, xmlText(name.c_str()));
  node->ns = nullptr;
}

std::string textOf(const xmlNode* node) {
  if (!hasChildList(node) && node->type != XML_ATTRIBUTE_NODE)
    return std::string(view(node->content));
  const auto* only = node->children;
  if (only == nullptr) return {};
  if (only->type == XML_TEXT_NODE && only->next == nullptr) return std::string(view(only->content));
  std::string text;
  if (node->type == XML_ATTRIBUTE_NODE) {
    for (; only != nullptr; only = only->next) {
      if (only->type == XML_TEXT_NODE) text += view(only->content);
    }
    return text;
  }
  for (const auto* next = only; next != nullptr; next = nextInTree(next, node)) {
    if (next->type == XML_TEXT_NODE || next->type == XML_CDATA_SECTION_NODE)
      text += view(next->content);
  }
  return text;
}

xmlNs* declarationOf(const xmlNode* element, std::string_view prefix) noexcept {
  auto* ns = element->nsDef;
  while (ns != nullptr && !samePrefix(ns, prefix)) ns = ns->next;
  return ns;
}

xmlNs* declarationInForce(const xmlNode* element, std::string_view prefix,
                          xmlNode** declaring) noexcept {
  for (; isElement(element); element = element->parent) {
    if (auto* ns = declarationOf(element, prefix)) {
      // the caller's own node
      if (declaring != nullptr) *declaring = const_cast<xmlNode*>(element);
      return ns;
    }
  }
  return nullptr;
}

xmlNs* declarationForURI(const xmlNode* element, std::string_view URI, bool withPrefix) noexcept {
  for (const auto* from = element; isElement(from); from = from->parent) {
    for (auto* ns = from->nsDef; ns != nullptr; ns = ns->next) {
      if (!equals(ns->href, URI) || (withPrefix && ns->prefix == nullptr)) continue;
      // A nearer element may have given the prefix another meaning.
      if (declarationInForce(element, view(ns->prefix)) == ns) return ns;
    }
  }
  return nullptr;
}

xmlNs* bindNamespace(xmlNode* element, xmlNs* used, xmlNode* declareOn, bool forAttribute) {
  const auto prefix = view(used->prefix);
  if (prefix == "xml") return builtInNamespace();
  const auto URI = view(used->href);
  if (!forAttribute || !prefix.empty()) {
    xmlNode* declaring = nullptr;
    auto* inForce = declarationInForce(element, prefix, &declaring);
    if (inForce == nullptr) return declare(declareOn, prefix, URI);
    if (view(inForce->href) == URI) return inForce;
    // The prefix means something else here. An element above: give it its meaning back.
    if (declaring != element) return declare(element, prefix, URI);
  }
  if (auto* other = declarationForURI(element, URI, forAttribute)) return other;
  return declare(declareOn, unusedPrefix(element), URI);
}

void declareUsedNamespaces(xmlNode* top) {
  forEachNameInNamespace(top, [&](xmlNode* element, xmlNode* name) {
    name->ns = bindNamespace(element, name->ns, top, name != element);
  });
}

void keepNamespacesBelow(xmlNode* top) {
  forEachNameInNamespace(top, [&](xmlNode* element, xmlNode* name) {
    if (name != top) name->ns = bindNamespace(element, name->ns, element, name != element);
  });
}

void keepNamespacesAfterRenaming(xmlNode* top, xmlNs* renamed) {
  forEachName(top, [&](xmlNode* element, xmlNode* name) {
    const bool isAttribute = name != element;
    if (name->ns != nullptr && view(name->ns->href).empty()) makeLiteralName(name);
    if (name->ns != nullptr) {
      name->ns = bindNamespace(element, name->ns, element, isAttribute);
      return;
    }
    const auto parts = nameParts(name);
    if (isAttribute && parts.prefix.empty()) return;
    if (declarationInForce(element, parts.prefix) == renamed)
      putIntoNamespace(name, std::string(parts.local), renamed);
  });
}

void rebindPrefix(xmlNode* top, std::string_view prefix) {
  forEachNameInNamespace(top, [&](xmlNode* element, xmlNode* name) {
    if (!samePrefix(name->ns, prefix)) return;
    if (auto* ns = declarationInForce(element, prefix))
      name->ns = ns;
    else
      makeLiteralName(name);
  });
}

}  // namespace tarnwell::detail
