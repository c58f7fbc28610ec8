#include "tarnwell/folders/Q.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <ostream>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr std::string_view kAnd = "AND", kOr = "OR", kNot = "NOT";

/// Deeper queries are refused: each level takes stack when it is printed or written.
constexpr std::size_t kDeepestNesting = 1024;

constexpr std::array<std::string_view, 14> kLookups = {
    "range", "in",     "not",      "gt",        "gte",        "lt",          "lte",
    "exact", "iexact", "contains", "icontains", "startswith", "istartswith", "exists"};

constexpr std::array<std::pair<std::string_view, std::string_view>, 12> kOpOfLookup = {{
    {"not", "!="},
    {"gt", ">"},
    {"gte", ">="},
    {"lt", "<"},
    {"lte", "<="},
    {"exact", "exact"},
    {"iexact", "iexact"},
    {"contains", "contains"},
    {"icontains", "icontains"},
    {"startswith", "startswith"},
    {"istartswith", "istartswith"},
    {"exists", "exists"},
}};

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kInverse = {
    {{"==", "!="}, {"!=", "=="}, {">", "<="}, {">=", "<"}, {"<", ">="}, {"<=", ">"}}};

/// What an operator is written as; the mode and comparison are those of `t:Contains`.
struct Operator {
  std::string_view op;
  std::string_view element;
  std::string_view mode = {};
  std::string_view comparison = {};
};
constexpr std::array<Operator, 13> kOperators = {{
    {"==", "t:IsEqualTo"},
    {"!=", "t:IsNotEqualTo"},
    {">", "t:IsGreaterThan"},
    {">=", "t:IsGreaterThanOrEqualTo"},
    {"<", "t:IsLessThan"},
    {"<=", "t:IsLessThanOrEqualTo"},
    {"exists", "t:Exists"},
    {"exact", "t:Contains", "FullString", "Exact"},
    {"iexact", "t:Contains", "FullString", "IgnoreCase"},
    {"contains", "t:Contains", "Substring", "Exact"},
    {"icontains", "t:Contains", "Substring", "IgnoreCase"},
    {"startswith", "t:Contains", "Prefixed", "Exact"},
    {"istartswith", "t:Contains", "Prefixed", "IgnoreCase"},
}};

const Operator* operatorOf(std::string_view op) {
  const auto found = std::ranges::find(kOperators, op, &Operator::op);
  return found == kOperators.end() ? nullptr : found;
}

template <class Table>
std::optional<std::string_view> lookUp(const Table& table, std::string_view key) {
  const auto found = std::ranges::find(table, key, &Table::value_type::first);
  return found == table.end() ? std::nullopt : std::optional(found->second);
}

bool fail(TWError* error, std::string_view format, std::initializer_list<TWValue> values) {
  setError(error, {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, values)});
  return false;
}

/// "subject__contains": the field and the lookup, when there are exactly two pieces and the second
/// is a lookup.
struct Keyword {
  std::string_view field;
  std::optional<std::string_view> lookup;
};
Keyword split(std::string_view key) {
  const auto at = key.find("__");
  if (at == std::string_view::npos) return {key, std::nullopt};
  const auto second = key.substr(at + 2);
  // A third piece makes the second no lookup, deliberately: the whole key is a path then.
  if (std::ranges::find(kLookups, second) == kLookups.end()) return {key, std::nullopt};
  return {key.substr(0, at), second};
}

/// The members of a value that can be walked.
TWList membersOf(const TWValue& value) {
  if (const auto list = value.asList()) return *list;
  TWList keys;
  if (const auto dictionary = value.asDictionary())
    for (const auto& key : dictionary->allKeys()) keys.emplace_back(key);
  return keys;
}

}  // namespace

struct Q::Node {
  Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  ~Node();

  std::string connType{kAnd};
  std::optional<std::string> fieldPath;
  std::optional<std::string> op;
  TWValue value;
  std::optional<std::string> queryString;
  std::vector<Q> children;
};

Q::Node::~Node() {
  // Takes long chains apart one by one, where destroying children within children would need as
  // much stack as the chain is long.
  std::vector<Q> pending = std::move(children);
  while (!pending.empty()) {
    const Q last = std::move(pending.back());
    pending.pop_back();
    if (!last || last.node_.use_count() > 1) continue;
    std::ranges::move(last.node_->children, std::back_inserter(pending));
    last.node_->children.clear();
  }
}

Q::Q() : node_(std::make_shared<Node>()) {}

Q Q::leaf(std::string_view fieldPath, std::string_view op, TWValue value) {
  Q q;
  q.setFieldPath(std::string(fieldPath));
  q.setOp(std::string(op));
  q.setValue(std::move(value));
  return q;
}

Q Q::withKeywords(const TWKeywords& keywords, TWError* error) {
  return withQueries({}, keywords, error);
}

Q Q::withQueryString(std::string_view text) {
  Q q;
  q.setQueryString(std::string(text));
  return q;
}

Q Q::withQueries(const TWQueries& queries, const TWKeywords& andDict, TWError* error) {
  auto keywords = andDict;
  Q q;
  Node& node = *q.node_;
  if (const auto& connector = keywords.get("conn_type"); !connector.isAbsent()) {
    const auto text = connector.asText().value_or(connector.description());
    if (!connToXML(text)) {
      fail(error, "Connector %@ is not supported", {connector});
      return nullptr;
    }
    node.connType = text;
  }
  keywords.remove("conn_type");

  TWQueries positional;
  std::ranges::copy_if(queries, std::back_inserter(positional),
                       [](const TWQueryArgument& argument) {
                         return !argument.isQuery() || !argument.query().isEmpty();
                       });
  if (positional.size() == 1 && keywords.empty()) {
    const auto& only = positional.front();
    node.queryString = only.isQuery() ? only.query().queryString() : only.value().asText();
    if (node.queryString) return q;
  }
  for (const auto& argument : positional) {
    const Q child = argument.query();
    if (!child) {
      fail(error, "Non keyword arg %@ must be a q object", {argument.description()});
      return nullptr;
    }
    if (child.queryString()) {
      TWList printed;
      for (const auto& each : positional) printed.emplace_back(each.description());
      fail(error, "A query string cannot be combined with other restrictions: %@, %@",
           {printed, keywords.description()});
      return nullptr;
    }
    node.children.push_back(child);
  }
  const bool isSingleArg = positional.empty() && keywords.size() == 1;
  for (const auto& [key, value] : keywords) {
    const auto children = q.getChildrenForKey(key, value, isSingleArg, error);
    if (!children) return nullptr;
    std::ranges::copy(*children, std::back_inserter(node.children));
  }
  if (node.children.size() == 1 && !node.fieldPath && node.connType != kNot) q.promote();
  if (!q.clean(error)) return nullptr;
  return q;
}

std::optional<std::vector<Q>> Q::childrenForKey(std::string_view key, const TWValue& value,
                                                bool isSingleArg, TWError* error) {
  if (!node_) return std::nullopt;
  using Children = std::optional<std::vector<Q>>;
  const auto refuse = [&](std::string_view format, std::initializer_list<TWValue> values) {
    fail(error, format, values);
    return std::nullopt;
  };
  const auto children = [&](const TWKeywords& keywords) -> Children {
    std::vector<Q> all;
    for (const auto& [childKey, childValue] : keywords) {
      all.push_back(withKeywords({{childKey, childValue}}, error));
      if (!all.back()) return std::nullopt;
    }
    return all;
  };
  /// One node for all members, each of which has to be equal to the field.
  const auto each = [&](std::string_view field, std::string_view connector) -> Children {
    TWQueries equalities;
    for (const auto& member : membersOf(value)) {
      const Q child = withKeywords({{field, member}}, error);
      if (!child) return std::nullopt;
      equalities.emplace_back(child);
    }
    const Q all = withQueries(equalities, {{"conn_type", connector}}, error);
    if (!all) return std::nullopt;
    return std::vector<Q>{all};
  };

  const auto [field, lookup] = split(key);
  std::string_view op = "==";
  if (lookup) {
    if (*lookup == "exists" && value.isAbsent()) return children({{key, 1}});
    if (*lookup == "range") {
      const auto ends = value.asList();
      if (!ends || ends->size() != 2)
        return refuse("Value of lookup %@ must have exactly 2 elements", {key});
      return children(
          {{std::string(field) + "__gte", (*ends)[0]}, {std::string(field) + "__lte", (*ends)[1]}});
    }
    if (*lookup == "in") {
      if (!value.isIterable()) return refuse("Value of lookup %@ must be iterable", {key});
      return each(field, kOr);
    }
    if (*lookup == "contains" && value.isIterable()) return each(field, kAnd);
    const auto operation = lookupToOp(*lookup);
    if (!operation)
      return refuse("Lookup %@ is not supported (called as %@ = %@)", {*lookup, key, value});
    op = *operation;
  }
  if (!isSingleArg) return children({{key, value}});
  node_->fieldPath = field;
  node_->op = op;
  node_->value = value;
  return std::vector<Q>();
}

std::string_view Q::connType() const noexcept {
  return node_ ? std::string_view(node_->connType) : std::string_view();
}
void Q::setConnType(std::string_view connType) {
  if (node_) node_->connType = connType;
}
std::optional<std::string> Q::fieldPath() const { return node_ ? node_->fieldPath : std::nullopt; }
void Q::setFieldPath(std::optional<std::string> fieldPath) {
  if (node_) node_->fieldPath = std::move(fieldPath);
}
std::optional<std::string> Q::op() const { return node_ ? node_->op : std::nullopt; }
void Q::setOp(std::optional<std::string> op) {
  if (node_) node_->op = std::move(op);
}
TWValue Q::value() const { return node_ ? node_->value : TWValue(); }
void Q::setValue(TWValue value) {
  if (node_) node_->value = std::move(value);
}
std::optional<std::string> Q::queryString() const {
  return node_ ? node_->queryString : std::nullopt;
}
void Q::setQueryString(std::optional<std::string> queryString) {
  if (node_) node_->queryString = std::move(queryString);
}
std::vector<Q> Q::children() const { return node_ ? node_->children : std::vector<Q>(); }

bool Q::setChildren(std::vector<Q> children) {
  if (!node_) return false;
  for (const auto& child : children)
    if (!child || child.reaches(node_.get())) return false;
  node_->children = std::move(children);
  return true;
}

bool Q::addChild(Q child) {
  auto all = children();
  all.push_back(std::move(child));
  return setChildren(std::move(all));
}

bool Q::isLeaf() const noexcept { return node_ && node_->children.empty(); }

bool Q::isEmpty() const noexcept { return isLeaf() && !node_->fieldPath && !node_->queryString; }

void Q::promote() {
  if (!node_ || node_->children.empty()) return;
  // A handle of its own, since replacing the children may drop the last one on the child.
  const Q first = node_->children.front();
  node_->connType = first.node_->connType;
  node_->fieldPath = first.node_->fieldPath;
  node_->op = first.node_->op;
  node_->value = first.node_->value;
  node_->queryString = first.node_->queryString;
  node_->children = first.node_->children;
}

bool Q::clean(TWError* error) const {
  if (!isLeaf() || isEmpty() || node_->queryString) return true;
  const TWValue path = node_->fieldPath;
  if (node_->value.isAbsent())
    return fail(error, "Value for filter on field path %@ cannot be None", {path});
  if (node_->value.isIterable())
    return fail(error, "Value for filter on field path %@ must be a single value", {path});
  if (!TWUtils::xmlFromValue(node_->value))
    return fail(error, "Value for filter on field path %@ is unsupported", {path});
  return true;
}

Q Q::copy() const {
  if (!node_) return nullptr;
  Q result;
  // A list of what is still to be copied, rather than recursion: queries may be long chains.
  std::vector<std::pair<const Node*, Node*>> pending = {{node_.get(), result.node_.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    to->connType = from->connType;
    to->fieldPath = from->fieldPath;
    to->op = from->op;
    to->value = from->value;
    to->queryString = from->queryString;
    to->children.resize(from->children.size());
    for (std::size_t at = 0; at < from->children.size(); ++at)
      pending.emplace_back(from->children[at].node_.get(), to->children[at].node_.get());
  }
  return result;
}

Q Q::qAnd(const Q& other, TWError* error) const {
  if (!node_) return nullptr;
  return withQueries({*this, other}, {{"conn_type", kAnd}}, error);
}

Q Q::qOr(const Q& other, TWError* error) const {
  if (!node_) return nullptr;
  return withQueries({*this, other}, {{"conn_type", kOr}}, error);
}

Q Q::qNot(TWError* error) {
  if (!node_) return nullptr;
  if (node_->connType == kNot) {
    node_->connType = kAnd;
    if (node_->children.size() == 1 && !node_->fieldPath) promote();
    return *this;
  }
  const auto inverse = isLeaf() && node_->op ? lookUp(kInverse, *node_->op) : std::nullopt;
  if (inverse) {
    node_->op = *inverse;
    return *this;
  }
  return withQueries({*this}, {{"conn_type", kNot}}, error);
}

std::optional<std::string_view> Q::lookupToOp(std::string_view lookup) {
  return lookUp(kOpOfLookup, lookup);
}

std::size_t Q::depth() const {
  std::size_t deepest = 0;
  std::vector<std::pair<const Node*, std::size_t>> pending;
  if (node_) pending.emplace_back(node_.get(), 1);
  while (!pending.empty()) {
    const auto [node, level] = pending.back();
    pending.pop_back();
    deepest = std::max(deepest, level);
    for (const auto& child : node->children) pending.emplace_back(child.node_.get(), level + 1);
  }
  return deepest;
}

bool Q::reaches(const Node* node) const {
  std::vector<const Node*> pending = {node_.get()};
  while (!pending.empty()) {
    const auto* const at = pending.back();
    pending.pop_back();
    if (at == node) return true;
    for (const auto& child : at->children) pending.push_back(child.node_.get());
  }
  return false;
}

std::vector<Q> Q::sortedChildren() const {
  auto sorted = children();
  std::ranges::stable_sort(sorted, {}, [](const Q& q) { return q.fieldPath().value_or(""); });
  return sorted;
}

NKXMLElement Q::opToXML(std::string_view op) {
  const auto* const row = operatorOf(op);
  if (row == nullptr) return {};
  if (row->mode.empty()) return TWUtils::createElement(row->element);
  return TWUtils::createElement(
      row->element, {{"ContainmentMode", row->mode}, {"ContainmentComparison", row->comparison}});
}

NKXMLElement Q::connToXML(std::string_view connType) {
  if (connType == kAnd) return TWUtils::createElement("t:And");
  if (connType == kOr) return TWUtils::createElement("t:Or");
  if (connType == kNot) return TWUtils::createElement("t:Not");
  return {};
}

NKXMLElement Q::toXML(const TWFolder& folder, const TWVersion* version, TWError* error) const {
  if (!node_) return {};
  if (node_->queryString) {
    auto element = TWUtils::createElement("m:QueryString");
    return TWUtils::updateElement(element, *node_->queryString);
  }
  TWError failure;
  const auto inner = xmlElem(folder, version, &failure);
  if (failure) {
    setError(error, failure);
    return {};
  }
  if (!inner) return {};
  auto restriction = TWUtils::createElement("m:Restriction");
  restriction.addChild(inner);
  return restriction;
}

NKXMLElement Q::xmlElem(const TWFolder& folder, const TWVersion* version, TWError* error) const {
  if (const auto levels = depth(); levels > kDeepestNesting) {
    fail(error, "Query is nested %lu levels deep, at most %lu are allowed",
         {levels, kDeepestNesting});
    return {};
  }
  return writtenXML(folder, version, error);
}

NKXMLElement Q::writtenXML(const TWFolder& folder, const TWVersion* version, TWError* error) const {
  if (!node_ || isEmpty()) return {};
  if (node_->queryString) {
    fail(error, "A query string cannot be combined with other restrictions: %@, %@",
         {TWList{description()}, TWKeywords().description()});
    return {};
  }
  if (!connToXML(connType())) {
    fail(error, "Connector %@ is not supported", {connType()});
    return {};
  }
  NKXMLElement element;
  TWError failure;
  if (isLeaf()) {
    element = leafXML(folder, version, &failure);
  } else {
    element = connToXML(node_->connType == kNot ? kAnd : connType());
    for (const auto& child : sortedChildren()) {
      element.addChild(child.writtenXML(folder, version, &failure));
      if (failure) break;
    }
    if (!failure && element.childCount() == 0)
      fail(&failure, "Query restricts nothing: %@", {description()});
    // A negation needs no AND around its only child.
    if (node_->connType == kNot && element.childCount() == 1) {
      auto only = element.firstChild();
      only.detach();
      element = only.asElement();
    }
  }
  if (failure) {
    setError(error, failure);
    return {};
  }
  if (node_->connType != kNot) return element;
  auto negation = connToXML(kNot);
  negation.addChild(element);
  return negation;
}

NKXMLElement Q::leafXML(const TWFolder& folder, const TWVersion* version, TWError* error) const {
  const auto* const operation = node_->op ? operatorOf(*node_->op) : nullptr;
  if (operation == nullptr) {
    fail(error, "Operator %@ is not supported", {node_->op});
    return {};
  }
  auto path = TWFieldPath::fromString(node_->fieldPath, folder, false, error);
  if (!path || !validateFieldPath(*path, folder, error)) return {};

  TWValue operand = node_->value;
  if (operation->op != "exists") {
    // A path with a part but no label is validated by its field, deliberately.
    const TWField& field = path->subField() && path->label() ? *path->subField() : *path->field();
    TWError failure;
    operand =
        field.valueToWrite(field.isList() ? TWValue::list({operand}) : operand, version, &failure);
    if (failure) {
      setError(error, failure);
      return {};
    }
    if (const auto list = field.isList() ? operand.asList() : nullptr; list && !list->empty())
      operand = list->front();
  }
  const auto* const entries = path->field()->valueClass().elementClass();
  if (entries != nullptr && entries->isKindOf(TWSingleFieldIndexedElement::elementClass()) &&
      !path->label()) {
    if (const auto entry = operand.asObject<TWEWSElement>())
      path =
          TWFieldPath::withField(path->field(), entry->get<std::string>("label"), path->subField());
  }
  const auto pathXML = path->toXML(version, error);
  if (!pathXML) return {};
  const auto text = TWUtils::xmlFromValue(operand);
  if (!text) {
    fail(error, "Value for filter on field path %@ is unsupported", {node_->fieldPath});
    return {};
  }
  auto element = opToXML(operation->op);
  element.addChild(pathXML);
  auto constant = TWUtils::createElement("t:Constant", {{"Value", *text}});
  if (operation->mode.empty()) {
    // Even "exists" carries a constant, deliberately.
    auto wrapper = TWUtils::createElement("t:FieldURIOrConstant");
    wrapper.addChild(constant);
    constant = wrapper;
  }
  element.addChild(constant);
  return element;
}

bool Q::validateFieldPath(const TWFieldPath& path, const TWFolder& folder, TWError* error) {
  const TWField& field = *path.field();
  const auto allowed = folder.allowedFields();
  if (std::ranges::none_of(allowed, [&](const auto& each) { return *each == field; }))
    return fail(error, "%@ is not a valid field when filtering on %@",
                {field.name(), folder.className()});
  if (!field.isSearchable())
    return fail(error, "EWS does not support filtering on field %@", {field.name()});
  if (path.subField() && !path.subField()->isSearchable())
    return fail(error, "EWS does not support filtering on subfield %@", {path.subField()->name()});
  const auto* const entries = field.valueClass().elementClass();
  if (entries != nullptr && entries->isKindOf(TWMultiFieldIndexedElement::elementClass()) &&
      !path.subField())
    return fail(error, "Field path %@ must contain a subfield", {path.description()});
  return true;
}

std::optional<std::string> Q::expr() const {
  if (!node_ || isEmpty()) return std::nullopt;
  if (node_->queryString) return node_->queryString;
  const std::string_view connector = node_->connType == kNot ? kAnd : connType();
  std::string text;
  if (isLeaf()) {
    text = formatMessage("%@ %@ %@", {node_->fieldPath, node_->op, node_->value});
  } else {
    // Made of the children's descriptions rather than of their expressions, deliberately.
    for (const auto& child : sortedChildren()) {
      if (!text.empty()) text += formatMessage(" %@ ", {connector});
      text += child.description();
    }
  }
  if (node_->connType != kNot) return text;
  return formatMessage(isLeaf() || node_->children.size() == 1 ? "%@ %@" : "%@ (%@)",
                       {connType(), text});
}

std::string Q::description() const {
  if (!node_) return "(null)";
  if (const auto levels = depth(); levels > kDeepestNesting)
    return formatMessage("Q(nested %lu levels deep)", {levels});
  return writtenText();
}

std::string Q::writtenText() const {
  if (node_->queryString) return formatMessage("Q(%@)", {node_->queryString});
  if (isLeaf()) return formatMessage("Q(%@ %@ %@)", {node_->fieldPath, node_->op, node_->value});
  std::string text;
  if (node_->connType == kNot || node_->children.size() > 1)
    text = formatMessage("[%@]", {connType()});
  for (const auto& child : sortedChildren()) {
    if (!text.empty()) text += ", ";
    text.append("[").append(child.writtenText()).append(", ");
    text.append(child.fieldPath().value_or("")).append("]");
  }
  return "Q([" + text + "])";
}

std::ostream& operator<<(std::ostream& stream, const Q& q) { return stream << q.description(); }

std::string TWQueryArgument::description() const {
  return isQuery() ? query().description() : value().description();
}

}  // namespace tarnwell
