#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/util/TWError.h"

namespace tarnwell {

class NKXMLAttributeNode;
class NKXMLDocument;
class NKXMLElement;
class NKXMLNamespaceNode;
class NKXMLNodeList;

namespace detail {
class XMLArena;
struct XMLAccess;
/// Count the handles into a group of trees; with the last one its nodes go. Null is allowed.
void retainArena(XMLArena* arena) noexcept;
void releaseArena(XMLArena* arena) noexcept;
}  // namespace detail

/// Domain of the errors of this folder. Parsing fails with code 0 (nothing to parse) or 1 (not well
/// formed, or refused as hostile); `NKXMLNode::lastError` and XPath carry the parser's own codes.
inline constexpr std::string_view NKXMLErrorDomain = "NKXMLErrorDomain";

/// What a node is; the numbers are those of the underlying parser.
enum NKXMLNodeKind : std::uint32_t {
  NKXMLInvalidKind = 0,
  NKXMLElementKind = 1,
  NKXMLAttributeKind = 2,
  NKXMLTextKind = 3,
  NKXMLCDATAKind = 4,
  NKXMLEntityReferenceKind = 5,
  NKXMLProcessingInstructionKind = 7,
  NKXMLCommentKind = 8,
  NKXMLDocumentKind = 9,
  NKXMLDTDKind = 14,
  NKXMLNamespaceKind = 18,
};

/// Bits of `XMLStringWithOptions`.
enum NKXMLOptions : std::uint32_t {
  NKXMLNoOptions = 0,
  /// Write an empty element as one tag, `<a/>`; without this bit it has a start and an end tag.
  NKXMLNodeCompactEmptyElement = 0x4,
  /// Indent.
  NKXMLNodePrettyPrint = 0x20000,
};

/// A handle on a node of an XML tree: two words, copied at the cost of a reference count.
///
/// The default-made handle is the invalid node: every query on it answers empty, every change is
/// ignored, and look-ups that find nothing answer it. So they chain without checks:
///
///     auto fault = root.elementForName("Body", soap).elementForName("Fault", soap);
///     if (fault) report(fault.stringValue());
///
/// Any handle keeps the whole tree alive, detached parts included, and stays valid whatever happens
/// to the tree. Handles compare equal when they mean the same node. Handles may be copied and
/// dropped on any thread; a tree is used by one thread at a time, and a detached part is a tree of
/// its own.
///
/// Texts are UTF-8. Ill-formed sequences and NULs in a text given to the tree become U+FFFD. An
/// absent text is not an empty one: `<a/>` has the string value "", a text node has no name.
///
/// Programming errors (adding a child that has a parent, say) stop a debug build with a message and
/// are ignored by a release build.
class NKXMLNode {
 public:
  /// The invalid node.
  NKXMLNode() noexcept = default;
  NKXMLNode(const NKXMLNode& other) noexcept : node_(other.node_), arena_(other.arena_) {
    if (arena_ != nullptr) detail::retainArena(arena_);
  }
  NKXMLNode(NKXMLNode&& other) noexcept
      : node_(std::exchange(other.node_, nullptr)), arena_(std::exchange(other.arena_, nullptr)) {}
  NKXMLNode& operator=(const NKXMLNode& other) noexcept {
    NKXMLNode(other).swap(*this);
    return *this;
  }
  NKXMLNode& operator=(NKXMLNode&& other) noexcept {
    NKXMLNode(std::move(other)).swap(*this);
    return *this;
  }
  ~NKXMLNode() {
    if (arena_ != nullptr) detail::releaseArena(arena_);
  }

  /// Names may carry a prefix ("m:GetItem"). It is part of the literal name: no namespace is made
  /// and nothing is declared unless a URI is given.
  [[nodiscard]] static NKXMLElement elementWithName(std::string_view name);
  [[nodiscard]] static NKXMLElement elementWithName(std::string_view name,
                                                    std::string_view stringValue);
  /// The children and the attributes must have no parent.
  [[nodiscard]] static NKXMLElement elementWithName(std::string_view name,
                                                    const NKXMLNodeList& children);
  /// For braces, empty ones too: `elementWithName("m:ItemIds", {})`.
  [[nodiscard]] static NKXMLElement elementWithName(std::string_view name,
                                                    std::initializer_list<NKXMLNode> children);
  [[nodiscard]] static NKXMLElement elementWithName(std::string_view name,
                                                    const NKXMLNodeList& children,
                                                    const NKXMLNodeList& attributes);
  /// An element in that namespace, which it declares under the name's prefix.
  [[nodiscard]] static NKXMLElement elementWithNameURI(std::string_view name, std::string_view URI);
  [[nodiscard]] static NKXMLAttributeNode attributeWithName(std::string_view name,
                                                            std::string_view stringValue);
  /// An attribute in that namespace; the element that it is added to declares it where needed.
  [[nodiscard]] static NKXMLAttributeNode attributeWithName(std::string_view name,
                                                            std::string_view URI,
                                                            std::string_view stringValue);
  /// The name is the prefix, empty for the default namespace; the value is the URI.
  [[nodiscard]] static NKXMLNamespaceNode namespaceWithName(std::string_view name,
                                                            std::string_view stringValue);
  [[nodiscard]] static NKXMLNode processingInstructionWithName(std::string_view name,
                                                               std::string_view stringValue);
  [[nodiscard]] static NKXMLNode commentWithStringValue(std::string_view stringValue);
  [[nodiscard]] static NKXMLNode textWithStringValue(std::string_view stringValue);

  /// False for the invalid node.
  [[nodiscard]] explicit operator bool() const noexcept { return node_ != nullptr; }
  /// 0 for the invalid node.
  [[nodiscard]] NKXMLNodeKind kind() const noexcept;
  /// This node as a handle of its kind; the invalid one when it is of another kind.
  [[nodiscard]] NKXMLElement asElement() const noexcept;
  [[nodiscard]] NKXMLAttributeNode asAttribute() const noexcept;
  [[nodiscard]] NKXMLNamespaceNode asNamespace() const noexcept;
  [[nodiscard]] NKXMLDocument asDocument() const noexcept;

  /// The qualified name as written, "t:Message"; the target of a processing instruction; the prefix
  /// of a namespace. Other kinds have none.
  [[nodiscard]] std::optional<std::string> name() const;
  /// A prefix that is declared where the node stands puts the node into that namespace. An
  /// attribute takes the place of one that has the new name. Ignored by kinds that have no name.
  ///
  /// A namespace that an element declares takes the place of one with the same prefix there. Names
  /// are written with the new prefix and stay in the namespaces that they are in: what it hides is
  /// declared again where it is used, if need be as "ns1" or the like. Literal names that are
  /// written with the new prefix are taken in. A namespace with an empty URI cannot have a prefix.
  void setName(std::string_view name);
  /// Like `name() == name`, without making a text.
  [[nodiscard]] bool hasName(std::string_view name) const noexcept;

  /// Text of an element or document: that of all its descendants in order. A namespace's is its
  /// URI.
  [[nodiscard]] std::optional<std::string> stringValue() const;
  /// Replaces the content by that literal text. Former children are detached, not destroyed.
  /// Ignored by documents.
  void setStringValue(std::string_view stringValue);

  /// Position among the parent's children (or attributes, or namespaces); 0 without a parent.
  [[nodiscard]] std::size_t index() const noexcept;
  /// Number of ancestors, the document included.
  [[nodiscard]] std::size_t level() const noexcept;
  /// The document that the node is in; the invalid one for a free tree.
  [[nodiscard]] NKXMLDocument rootDocument() const noexcept;
  /// A namespace's parent is the element that declares it.
  [[nodiscard]] NKXMLNode parent() const noexcept;

  /// Attributes and namespaces are not children.
  [[nodiscard]] std::size_t childCount() const noexcept;
  [[nodiscard]] std::vector<NKXMLNode> children() const;
  /// An index that is out of range is a programming error; a release build answers the invalid
  /// node.
  [[nodiscard]] NKXMLNode childAtIndex(std::size_t index) const;
  [[nodiscard]] NKXMLNode firstChild() const noexcept;
  [[nodiscard]] NKXMLNode lastChild() const noexcept;
  /// Invalid for attributes and namespaces, as are the two below.
  [[nodiscard]] NKXMLNode previousSibling() const noexcept;
  [[nodiscard]] NKXMLNode nextSibling() const noexcept;
  /// Steps in document order over the whole tree; the node before a first child is its parent.
  [[nodiscard]] NKXMLNode previousNode() const noexcept;
  [[nodiscard]] NKXMLNode nextNode() const noexcept;

  /// Makes the node the root of a tree of its own. It declares the namespaces that it used, under
  /// the same prefixes. A detached namespace is no longer declared. Ignored without a parent.
  void detach();

  /// The way from the root: "/Envelope/Body/Item[2]/@Id", with positions where siblings share a
  /// name. A namespace step reads "namespace::p". An attribute without a parent is "@Id".
  [[nodiscard]] std::string XPath() const;
  /// The name without its prefix.
  [[nodiscard]] std::optional<std::string> localName() const;
  /// Like `localName() == localName`, without making a text.
  [[nodiscard]] bool hasLocalName(std::string_view localName) const noexcept;
  /// Empty when an element's or attribute's name has no prefix.
  [[nodiscard]] std::optional<std::string> prefix() const;
  /// Of the namespace that the element or attribute is in. None for a literal name with a prefix
  /// that was declared nowhere.
  [[nodiscard]] std::optional<std::string> URI() const;
  /// Declares the namespace under the name's prefix unless that is in scope already.
  ///
  /// An empty URI takes the node out of its namespace, so that the text says so too: the name loses
  /// a prefix that is declared where the node stands, and an element declares xmlns="" where a
  /// default namespace would take it in. What is inside stays where it is. An attribute takes the
  /// place of one that has the new name.
  void setURI(std::string_view URI);

  /// "t:FieldURI" gives "FieldURI".
  [[nodiscard]] static std::string localNameForName(std::string_view name);
  /// "t:FieldURI" gives "t"; a name without a prefix gives "".
  [[nodiscard]] static std::string prefixForName(std::string_view name);

  /// `XMLStringWithOptions` without options.
  [[nodiscard]] std::string XMLString() const;
  /// The node as XML text, trimmed of surrounding white space unless it is a processing
  /// instruction. `options` is a union of `NKXMLOptions`. Every "\N" (a backslash and a capital N)
  /// is left out of the text; the tree keeps it. Empty for the invalid node and when writing fails.
  [[nodiscard]] std::string XMLStringWithOptions(std::uint32_t options) const;
  /// The same as `XMLString`.
  [[nodiscard]] std::string description() const { return XMLString(); }
  friend std::ostream& operator<<(std::ostream& stream, const NKXMLNode& node);

  /// The nodes that an XPath 1.0 expression selects: elements, attributes, texts and what else it
  /// asks for, in document order. A relative path starts here, one with "/" at the top of the tree,
  /// which has a root even without a document. Prefixes that are in scope at this node may be used;
  /// a name without a prefix means no namespace, whatever the default one is. An expression that
  /// gives a number, a text or a truth value selects none, and so does any on a namespace. Absent
  /// with an error (the parser's code and message) for a bad expression, an unknown prefix among
  /// them.
  [[nodiscard]] std::optional<std::vector<NKXMLNode>> nodesForXPath(std::string_view XPath,
                                                                    TWError* error = nullptr) const;

  /// An independent tree: a deep copy without a parent that declares the namespaces it uses.
  [[nodiscard]] NKXMLNode copy() const;

  /// The same node; two copies of one text are not equal.
  [[nodiscard]] bool isEqual(const NKXMLNode& other) const noexcept { return node_ == other.node_; }
  friend bool operator==(const NKXMLNode& a, const NKXMLNode& b) noexcept { return a.isEqual(b); }
  [[nodiscard]] std::size_t hash() const noexcept { return std::hash<const void*>{}(node_); }
  void swap(NKXMLNode& other) noexcept {
    std::swap(node_, other.node_);
    std::swap(arena_, other.arena_);
  }
  friend void swap(NKXMLNode& a, NKXMLNode& b) noexcept { a.swap(b); }

  /// This thread's last parser error: its code, and its message under "d". "No error" when there
  /// was none. A parse that succeeds leaves it alone, but for a warning of its own.
  [[nodiscard]] static TWError lastError();

 protected:
  /// Takes over a reference to the arena.
  NKXMLNode(void* node, detail::XMLArena* arena) noexcept : node_(node), arena_(arena) {}

 private:
  friend struct detail::XMLAccess;
  void* node_ = nullptr;
  detail::XMLArena* arena_ = nullptr;
};

/// The nodes that an operation is given: a brace list, or anything of handles that can be walked.
///
///     item.setChildren({subject, body});
///     item.setChildren(other.elementsForName("t:ExtendedProperty"));
class NKXMLNodeList {
 public:
  NKXMLNodeList() = default;
  NKXMLNodeList(std::initializer_list<NKXMLNode> nodes) : nodes_(nodes) {}
  template <std::ranges::input_range Nodes>
  requires std::convertible_to<std::ranges::range_reference_t<const Nodes>, NKXMLNode>
  NKXMLNodeList(const Nodes& nodes) {
    for (const auto& node : nodes) nodes_.push_back(node);
  }

  [[nodiscard]] std::vector<NKXMLNode>::const_iterator begin() const noexcept {
    return nodes_.begin();
  }
  [[nodiscard]] std::vector<NKXMLNode>::const_iterator end() const noexcept { return nodes_.end(); }

 private:
  std::vector<NKXMLNode> nodes_;
};

/// An attribute.
class NKXMLAttributeNode : public NKXMLNode {
 public:
  NKXMLAttributeNode() noexcept = default;
  [[nodiscard]] NKXMLAttributeNode copy() const { return NKXMLNode::copy().asAttribute(); }

 private:
  friend struct detail::XMLAccess;
  using NKXMLNode::NKXMLNode;
};

/// A namespace declaration; its parent is the element that declares it.
class NKXMLNamespaceNode : public NKXMLNode {
 public:
  NKXMLNamespaceNode() noexcept = default;
  [[nodiscard]] NKXMLNamespaceNode copy() const { return NKXMLNode::copy().asNamespace(); }

 private:
  friend struct detail::XMLAccess;
  using NKXMLNode::NKXMLNode;
};

/// A node without storage: what a default-made handle of any kind is.
class NKXMLInvalidNode : public NKXMLNode {
 public:
  NKXMLInvalidNode() noexcept = default;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::NKXMLNode> {
  std::size_t operator()(const tarnwell::NKXMLNode& node) const noexcept { return node.hash(); }
};
