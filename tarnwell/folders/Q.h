#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/folders/TWKeywords.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class Q;
class TWFieldPath;
class TWFolder;
class TWVersion;

class TWQueryArgument;
/// Positional arguments of a query.
using TWQueries = std::vector<TWQueryArgument>;

/// A node of a query expression: a comparison, a free-text search, or other nodes joined by AND, OR
/// or NOT.
///
///     auto urgent = Q::withKeywords({{"importance", "High"}});
///     auto recent = Q::withKeywords({{"datetime_received__gte", yesterday}});
///     for (const auto& entry : inbox->filter(urgent & ~recent)) ...
///
/// Names of fields are plain text until the query is sent; they are looked up in the folder then.
///
/// A handle: copies mean the same node, `copy` makes an independent tree. The operators leave their
/// operands alone; `qNot` may change the node itself. There is also the null query, which is what
/// failing to build one gives. It matches nothing at all, unlike an empty query, which stands for
/// no restriction. Used by one thread at a time.
class Q {
 public:
  /// An empty query.
  Q();
  /// The null query.
  // Implicit, as a pointer's
  Q(std::nullptr_t) noexcept {}

  /// Joins queries and keyword arguments. Empty queries are left out, one that stands alone is
  /// taken as it is; a text that stands alone is a free-text search. The keyword "conn_type" says
  /// how to join ("AND" unless "OR" or "NOT" is given). A free-text search that stands alone is not
  /// negated by "NOT", deliberately: write NOT in its text.
  ///
  /// A keyword is the path of a field, alone (equality) or with a lookup, "size__gt". The lookups:
  /// "range" (a list of two), "in" (a list: equal to any), "not", "gt", "gte", "lt", "lte",
  /// "exact", "iexact", "contains", "icontains", "startswith", "istartswith", "exists". A list for
  /// "contains" asks for all of them. A path of three or more pieces can only be compared for
  /// equality, deliberately.
  ///
  /// Note that a list without entries for "in" compares nothing, and so matches every item.
  ///
  /// Null with an error (ErrorValueOutOfRange) for a bad argument or value.
  [[nodiscard]] static Q withQueries(const TWQueries& queries, const TWKeywords& andDict,
                                     TWError* error = nullptr);
  [[nodiscard]] static Q withKeywords(const TWKeywords& keywords, TWError* error = nullptr);
  /// A free-text search in the server's own syntax ("from:ann subject:report").
  [[nodiscard]] static Q withQueryString(std::string_view text);

  /// False for the null query, on which every question below answers absent, false or empty, and
  /// every change is ignored.
  [[nodiscard]] explicit operator bool() const noexcept { return node_ != nullptr; }

  /// "AND", "OR" or "NOT"; a query with another one cannot be written.
  [[nodiscard]] std::string_view connType() const noexcept;
  void setConnType(std::string_view connType);
  [[nodiscard]] std::optional<std::string> fieldPath() const;
  void setFieldPath(std::optional<std::string> fieldPath);
  /// One of "==", "!=", ">", ">=", "<", "<=", "exact", "iexact", "contains", "icontains",
  /// "startswith", "istartswith", "exists".
  [[nodiscard]] std::optional<std::string> op() const;
  void setOp(std::optional<std::string> op);
  [[nodiscard]] TWValue value() const;
  void setValue(TWValue value);
  /// The free-text search that replaces everything else.
  [[nodiscard]] std::optional<std::string> queryString() const;
  void setQueryString(std::optional<std::string> queryString);
  [[nodiscard]] std::vector<Q> children() const;
  /// False, with nothing changed, when the node would come to lie below itself, or a child is null.
  bool setChildren(std::vector<Q> children);
  bool addChild(Q child);

  /// True when the node has no children.
  [[nodiscard]] bool isLeaf() const noexcept;
  /// True for a leaf that neither compares nor searches: no restriction.
  [[nodiscard]] bool isEmpty() const noexcept;
  /// What a keyword argument expands to: the nodes that are to become children of this one. As the
  /// only argument of all, a comparison is taken over by this node itself, and there are none.
  ///
  /// Errors: those of `withQueries`.
  [[nodiscard]] std::optional<std::vector<Q>> getChildrenForKey(std::string_view key,
                                                                const TWValue& value,
                                                                std::same_as<bool> auto isSingleArg,
                                                                TWError* error = nullptr) {
    return childrenForKey(key, value, isSingleArg, error);
  }
  /// Takes over all that the first child is.
  void promote();
  /// Tests that a comparison has one value that can be written.
  ///
  /// Errors: ErrorValueOutOfRange.
  bool clean(TWError* error = nullptr) const;

  /// An independent tree.
  [[nodiscard]] Q copy() const;
  /// This node and the other one in a new node. Null with an error when the other one is null, or
  /// when either is a free-text search and the other is not empty.
  [[nodiscard]] Q qAnd(const Q& other, TWError* error = nullptr) const;
  [[nodiscard]] Q qOr(const Q& other, TWError* error = nullptr) const;
  /// The negation. A comparison ("==", "<", ...) and a NOT are changed in place, and it is this
  /// node that is returned; other nodes are left alone and put into a new one. A free-text search
  /// cannot be negated, and stays as it is, deliberately: write NOT in its text.
  [[nodiscard]] Q qNot(TWError* error = nullptr);

  /// The same on copies. Null when either side is null or they cannot be combined.
  friend Q operator&(const Q& a, const Q& b) { return a.copy().qAnd(b.copy()); }
  friend Q operator|(const Q& a, const Q& b) { return a.copy().qOr(b.copy()); }
  friend Q operator~(const Q& a) { return a.copy().qNot(); }

  /// `m:Restriction` or `m:QueryString` for a search of that folder; invalid without an error for
  /// an empty query.
  ///
  /// Errors: those of looking up and validating the fields; ErrorValueOutOfRange for fields that
  /// the folder's items do not have or that cannot be searched, for an operator or connector that
  /// is none, for nodes whose children are all empty, for a free-text search below another node,
  /// and for a query nested deeper than 1,024 levels.
  [[nodiscard]] NKXMLElement toXML(const TWFolder& folder, const TWVersion* version,
                                   TWError* error = nullptr) const;
  /// The element without `m:Restriction`; invalid without an error for an empty query. A free-text
  /// search has none: ErrorValueOutOfRange.
  [[nodiscard]] NKXMLElement xmlElem(const TWFolder& folder, const TWVersion* version,
                                     TWError* error = nullptr) const;
  /// Tests that items of the folder have the field of the path and that it can be searched for.
  ///
  /// Errors: ErrorValueOutOfRange.
  [[nodiscard]] static bool validateFieldPath(const TWFieldPath& path, const TWFolder& folder,
                                              TWError* error = nullptr);

  /// The operator of a lookup; absent for "range", "in" and what is none.
  [[nodiscard]] static std::optional<std::string_view> lookupToOp(std::string_view lookup);
  /// `t:IsEqualTo` and the like; invalid for what is no operator.
  [[nodiscard]] static NKXMLElement opToXML(std::string_view op);
  /// `t:And`, `t:Or` or `t:Not`; invalid for what is no connector.
  [[nodiscard]] static NKXMLElement connToXML(std::string_view connType);

  /// For people: "subject contains report". Absent for an empty query.
  [[nodiscard]] std::optional<std::string> expr() const;
  /// "Q(subject contains report)". Queries that print alike are equal.
  [[nodiscard]] std::string description() const;
  [[nodiscard]] bool isEqual(const Q& other) const { return description() == other.description(); }
  friend bool operator==(const Q& a, const Q& b) { return a.isEqual(b); }
  [[nodiscard]] std::size_t hash() const { return std::hash<std::string>{}(description()); }
  friend std::ostream& operator<<(std::ostream& stream, const Q& q);

 private:
  struct Node;
  explicit Q(std::shared_ptr<Node> node) noexcept : node_(std::move(node)) {}

  [[nodiscard]] static Q leaf(std::string_view fieldPath, std::string_view op, TWValue value);
  [[nodiscard]] std::optional<std::vector<Q>> childrenForKey(std::string_view key,
                                                             const TWValue& value, bool isSingleArg,
                                                             TWError* error);
  [[nodiscard]] NKXMLElement writtenXML(const TWFolder& folder, const TWVersion* version,
                                        TWError* error) const;
  [[nodiscard]] std::string writtenText() const;
  [[nodiscard]] NKXMLElement leafXML(const TWFolder& folder, const TWVersion* version,
                                     TWError* error) const;
  [[nodiscard]] std::size_t depth() const;
  [[nodiscard]] std::vector<Q> sortedChildren() const;
  [[nodiscard]] bool reaches(const Node* node) const;

  std::shared_ptr<Node> node_;  ///< null for the null query
};

/// A positional argument: a query, or any other value, of which only a text that stands alone is
/// accepted.
class TWQueryArgument {
 public:
  TWQueryArgument(Q q) : argument_(std::move(q)) {}
  template <class V>
  requires(!std::same_as<V, Q> && !std::same_as<V, TWQueryArgument> &&
           std::constructible_from<TWValue, const V&>) TWQueryArgument(const V& value)
      : argument_(TWValue(value)) {}

  /// Null when the argument is no query.
  [[nodiscard]] Q query() const {
    const auto* const q = std::get_if<Q>(&argument_);
    return q == nullptr ? Q(nullptr) : *q;
  }
  /// Absent when the argument is a query.
  [[nodiscard]] TWValue value() const {
    const auto* const value = std::get_if<TWValue>(&argument_);
    return value == nullptr ? TWValue() : *value;
  }
  [[nodiscard]] bool isQuery() const noexcept { return std::holds_alternative<Q>(argument_); }
  [[nodiscard]] std::string description() const;

 private:
  std::variant<Q, TWValue> argument_;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::Q> {
  std::size_t operator()(const tarnwell::Q& q) const { return q.hash(); }
};
