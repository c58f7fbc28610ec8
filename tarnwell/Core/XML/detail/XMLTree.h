#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <libxml/tree.h>

#include "tarnwell/Core/XML/detail/XMLText.h"

/// Work on libxml2's nodes. Linking and unlinking is done here by hand, since libxml2's own
/// functions merge adjacent texts and free what they replace, while handles still mean it.
namespace tarnwell::detail {

/// Namespaces and attributes start like nodes as far as the type, which is what libxml2 relies on
/// too.
[[nodiscard]] inline xmlAttr* asAttr(xmlNode* node) noexcept {
  return reinterpret_cast<xmlAttr*>(node);
}
[[nodiscard]] inline xmlNs* asNs(xmlNode* node) noexcept { return reinterpret_cast<xmlNs*>(node); }
template <class T>
[[nodiscard]] xmlNode* asNode(T* any) noexcept {
  return reinterpret_cast<xmlNode*>(any);
}
[[nodiscard]] inline const xmlNs* asNs(const xmlNode* node) noexcept {
  return reinterpret_cast<const xmlNs*>(node);
}
/// Answers `made`; out of memory is the one failure that is thrown.
void throwBadAllocIfNull(const void* made);
template <class T>
[[nodiscard]] T* required(T* made) {
  throwBadAllocIfNull(made);
  return made;
}

/// Initialises libxml2, once. (Never cleaned up: others in the program may be using it.)
void initXML() noexcept;
/// The document that nodes made by hand refer to without being in it: it says that texts are UTF-8,
/// so that attributes are not written with character references, and that names are in no
/// dictionary.
[[nodiscard]] xmlDoc* freeDocument();

// New nodes, in no tree.
[[nodiscard]] xmlNode* newElement(std::string_view name);
[[nodiscard]] xmlNode* newText(xmlDoc* doc, std::string_view text);
[[nodiscard]] xmlNode* newComment(std::string_view text);
[[nodiscard]] xmlNode* newProcessingInstruction(std::string_view target, std::string_view text);
[[nodiscard]] xmlAttr* newAttribute(xmlDoc* doc, std::string_view name, std::string_view value);
[[nodiscard]] xmlNs* newNamespace(std::string_view prefix, std::string_view URI);
/// A deep copy in which every used namespace is declared; null for parts of a document type.
[[nodiscard]] xmlNode* copyTree(xmlNode* source);

// Places.
[[nodiscard]] inline bool hasChildList(const xmlNode* node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE;
}
[[nodiscard]] inline bool isElement(const xmlNode* node) noexcept {
  return node != nullptr && node->type == XML_ELEMENT_NODE;
}
[[nodiscard]] inline xmlNode* firstElementFrom(xmlNode* node) noexcept {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}
/// The element that declares a namespace, the parent of any other node; or null.
[[nodiscard]] xmlNode* parentOf(xmlNode* node) noexcept;
[[nodiscard]] xmlNode* topOf(xmlNode* node) noexcept;
/// The next node of the tree under `top` in document order; or null. Attributes are not visited.
[[nodiscard]] xmlNode* nextInTree(const xmlNode* node, const xmlNode* top) noexcept;
/// Puts a node without a parent into the child list before `before`, at the end when that is null.
void linkChild(xmlNode* parent, xmlNode* child, xmlNode* before) noexcept;
/// Appends the attribute, or puts it where `replaced` was, which is unlinked.
void linkAttribute(xmlNode* element, xmlAttr* attribute, xmlAttr* replaced) noexcept;
void linkNamespace(xmlNode* element, xmlNs* declaration) noexcept;
void unlinkDeclaration(xmlNode* element, xmlNs* declaration) noexcept;
/// Takes a node or attribute out of its parent; names are as they were.
void unlink(xmlNode* node) noexcept;
/// Makes the nodes of a tree refer to another document, with names and texts of their own.
void setTreeDocument(xmlNode* top, xmlDoc* doc);
/// Keeps the declaring element with a namespace, so that a handle on it finds its parent.
void setDeclaringElement(xmlNs* declaration, xmlNode* element) noexcept;

// Names and texts.
[[nodiscard]] inline xmlNs* namespaceOf(const xmlNode* node) noexcept {
  return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE ? node->ns : nullptr;
}
[[nodiscard]] bool hasQualifiedName(const xmlNode* node, std::string_view name) noexcept;
[[nodiscard]] bool hasLocalName(const xmlNode* node, std::string_view name) noexcept;
/// An absent or empty URI means "in no namespace".
[[nodiscard]] bool hasURI(const xmlNode* node, std::optional<std::string_view> URI) noexcept;
[[nodiscard]] std::string qualifiedName(const xmlNode* node);
/// Of an element or attribute.
[[nodiscard]] XMLNameParts nameParts(const xmlNode* node) noexcept;
void setName(xmlNode* node, std::string_view name);
void putIntoNamespace(xmlNode* node, std::string_view localName, xmlNs* ns);
/// The name as it was written becomes the whole name, in no namespace.
void makeLiteralName(xmlNode* node);
[[nodiscard]] std::string textOf(const xmlNode* node);

// Namespaces.
[[nodiscard]] xmlNs* declarationOf(const xmlNode* element, std::string_view prefix) noexcept;
/// The declaration of the prefix on the nearest element, from this one upwards.
[[nodiscard]] xmlNs* declarationInForce(const xmlNode* element, std::string_view prefix,
                                        xmlNode** declaring = nullptr) noexcept;
[[nodiscard]] xmlNs* declarationForURI(const xmlNode* element, std::string_view URI,
                                       bool withPrefix) noexcept;
/// A declaration in force at the element that equals `used`, declared on `declareOn` when there is
/// none. An attribute needs a prefix to be in a namespace.
[[nodiscard]] xmlNs* bindNamespace(xmlNode* element, xmlNs* used, xmlNode* declareOn,
                                   bool forAttribute);
/// Declares on `top`, a parentless element, what names in its tree use without a declaration.
void declareUsedNamespaces(xmlNode* top);
/// After `element` has changed what a prefix means, for its own name only.
void keepNamespacesBelow(xmlNode* element);
/// After a declaration of `top` was given another prefix: names in its tree stay in their
/// namespaces; literal ones that are written with the new prefix are taken in.
void keepNamespacesAfterRenaming(xmlNode* top, xmlNs* renamed);
/// After declarations of the prefix have changed on `top`: names in its tree that are written with
/// the prefix mean what is declared now; a name whose prefix is declared no more becomes a literal
/// one.
void rebindPrefix(xmlNode* top, std::string_view prefix);

}  // namespace tarnwell::detail
