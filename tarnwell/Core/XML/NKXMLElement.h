#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/Core/XML/NKXMLNode.h"

namespace tarnwell {

class NKXMLElementRange;

/// An element. The invalid element is also what look-ups answer that find nothing.
///
///     auto request = NKXMLElement::withName("m:GetItem");
///     auto ids = NKXMLElement::withName("m:ItemIds");
///     request.addChild(ids);
///     for (auto item : response.elementForName("Items", messages).childElements()) read(item);
class NKXMLElement : public NKXMLNode {
 public:
  /// The invalid element.
  NKXMLElement() noexcept = default;

  /// The factories of `NKXMLNode` under the names of initialisers.
  [[nodiscard]] static NKXMLElement withName(std::string_view name) {
    return elementWithName(name);
  }
  [[nodiscard]] static NKXMLElement withName(std::string_view name, std::string_view stringValue) {
    return elementWithName(name, stringValue);
  }
  [[nodiscard]] static NKXMLElement withNameURI(std::string_view name, std::string_view URI) {
    return elementWithNameURI(name, URI);
  }
  /// An element whose default namespace is that URI: `<name xmlns="URI">`.
  [[nodiscard]] static NKXMLElement elementWithNameXmlns(std::string_view name,
                                                         std::string_view xmlns);
  /// The root element of the parsed text, without a parent. Errors as
  /// `NKXMLDocument::withXMLString`.
  [[nodiscard]] static NKXMLElement withXMLString(std::string_view xml, TWError* error = nullptr);

  /// The first child element with that qualified name, as written.
  [[nodiscard]] NKXMLElement elementForName(std::string_view name) const noexcept;
  /// The first child element with that local name in that namespace, under whatever prefix.
  [[nodiscard]] NKXMLElement elementForName(std::string_view localName,
                                            std::optional<std::string_view> xmlns) const noexcept;
  [[nodiscard]] std::vector<NKXMLElement> elementsForName(std::string_view name) const;
  /// An absent URI finds elements that are in no namespace.
  [[nodiscard]] std::vector<NKXMLElement> elementsForLocalName(
      std::string_view localName, std::optional<std::string_view> URI) const;
  /// The child elements one by one, without a list. The children must not be changed meanwhile,
  /// other than detaching one after stepping past it.
  [[nodiscard]] NKXMLElementRange childElements() const noexcept;
  /// True when the element itself has that local name and is in that namespace.
  [[nodiscard]] bool isElement(std::string_view localName,
                               std::optional<std::string_view> URI) const noexcept;

  /// The attribute of that qualified name.
  [[nodiscard]] NKXMLAttributeNode attributeForName(std::string_view name) const noexcept;
  /// The first of `attributesForName(localName, xmlns)`, so never an attribute's value.
  [[nodiscard]] std::optional<std::string> attributeForName(
      std::string_view localName, std::optional<std::string_view> xmlns) const;
  /// String values of the child ELEMENTS of that local name in that namespace, in document order,
  /// empty ones left out. The name is historical; callers rely on what it does.
  [[nodiscard]] std::vector<std::string> attributesForName(
      std::string_view localName, std::optional<std::string_view> xmlns) const;
  [[nodiscard]] std::vector<NKXMLAttributeNode> attributes() const;
  /// Qualified names with their values, in document order.
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> attributesAsDictionary() const;

  /// The attribute must have no parent. It takes the place of one of the same name.
  void addAttribute(const NKXMLAttributeNode& attribute);
  /// A node of another kind is a programming error.
  void addAttribute(const NKXMLNode& attribute);
  void addAttributeWithName(std::string_view name, std::string_view stringValue);
  void removeAttributeForName(std::string_view name);
  /// Replaces all attributes. A node of another kind is a programming error.
  void setAttributes(const NKXMLNodeList& attributes);

  /// The URI of the default namespace if this very element declares one.
  [[nodiscard]] std::optional<std::string> xmlns() const;
  /// Declares the default namespace, and puts the element into it when its name has no prefix.
  void setXmlns(std::string_view URI);
  /// The declarations of this very element.
  [[nodiscard]] std::vector<NKXMLNamespaceNode> namespaces() const;
  /// An empty prefix means the default namespace.
  [[nodiscard]] NKXMLNamespaceNode namespaceForPrefix(std::string_view prefix) const noexcept;
  /// The namespace must have no parent. It takes the place of one with the same prefix; names in
  /// and below this element that are in a namespace and written with the prefix follow it.
  ///
  /// Of literal names only the element's own is taken in when it is written with the prefix. Those
  /// of attributes and of what is inside stay literal: in no namespace here, though whoever reads
  /// the text will find them in this one.
  void addNamespace(const NKXMLNamespaceNode& declaration);
  /// A node of another kind is a programming error.
  void addNamespace(const NKXMLNode& declaration);
  /// Names inside that were written with the prefix stay as written.
  void removeNamespaceForPrefix(std::string_view prefix);
  /// Replaces all declarations of this element. Names follow as with `addNamespace`; those whose
  /// prefix is declared no more stay as written.
  void setNamespaces(const NKXMLNodeList& namespaces);
  /// The declaration of the name's prefix that is in force here: on this element or the nearest
  /// above.
  [[nodiscard]] NKXMLNamespaceNode resolveNamespaceForName(std::string_view name) const noexcept;
  /// A prefix in force here for that URI, empty for the default namespace; absent when there is
  /// none.
  [[nodiscard]] std::optional<std::string> resolvePrefixForNamespaceURI(std::string_view URI) const;

  /// Appends an element, text, CDATA section, processing instruction or comment that has no parent;
  /// anything else is a programming error, as is a node that this element is inside of. The invalid
  /// node is ignored.
  void addChild(const NKXMLNode& child);
  /// An index past the end appends.
  void insertChild(const NKXMLNode& child, std::size_t atIndex);
  /// Ignored when the index is out of range. The child is detached.
  void removeChildAtIndex(std::size_t index);
  /// Detaches all children, then adds these.
  void setChildren(const NKXMLNodeList& children);

  /// Indented, empty elements as one tag.
  [[nodiscard]] std::string prettyXMLString() const {
    return XMLStringWithOptions(NKXMLNodeCompactEmptyElement | NKXMLNodePrettyPrint);
  }
  /// Empty elements as one tag.
  [[nodiscard]] std::string compactXMLString() const {
    return XMLStringWithOptions(NKXMLNodeCompactEmptyElement);
  }

  [[nodiscard]] NKXMLElement copy() const { return NKXMLNode::copy().asElement(); }

 private:
  friend struct detail::XMLAccess;
  friend class NKXMLElementRange;
  using NKXMLNode::NKXMLNode;
};

/// The child elements of an element, for range-for.
class NKXMLElementRange {
 public:
  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = NKXMLElement;
    using difference_type = std::ptrdiff_t;
    using pointer = const NKXMLElement*;
    using reference = const NKXMLElement&;

    iterator() noexcept = default;
    [[nodiscard]] reference operator*() const noexcept { return current_; }
    [[nodiscard]] pointer operator->() const noexcept { return &current_; }
    iterator& operator++() noexcept;
    iterator operator++(int) noexcept {
      auto before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const iterator& a, const iterator& b) noexcept = default;

   private:
    friend class NKXMLElementRange;
    explicit iterator(NKXMLElement first) noexcept : current_(std::move(first)) {}
    NKXMLElement current_;
  };

  [[nodiscard]] iterator begin() const noexcept { return iterator(first_); }
  [[nodiscard]] iterator end() const noexcept { return {}; }
  [[nodiscard]] bool empty() const noexcept { return !first_; }

 private:
  friend class NKXMLElement;
  explicit NKXMLElementRange(NKXMLElement first) noexcept : first_(std::move(first)) {}
  NKXMLElement first_;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::NKXMLElement> {
  std::size_t operator()(const tarnwell::NKXMLElement& element) const noexcept {
    return element.hash();
  }
};
