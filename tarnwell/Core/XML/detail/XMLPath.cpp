#include "tarnwell/Core/XML/detail/XMLPath.h"

#include <cstddef>
#include <memory>

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "tarnwell/Core/XML/detail/XMLErrors.h"
#include "tarnwell/Core/XML/detail/XMLTree.h"

namespace tarnwell::detail {

namespace {

/// The step to a node below its parent, without a position.
std::string stepTo(const xmlNode* node) {
  switch (node->type) {
    case XML_ELEMENT_NODE:
      return qualifiedName(node);
    case XML_ATTRIBUTE_NODE:
      return "@" + qualifiedName(node);
    case XML_NAMESPACE_DECL:
      return "namespace::" + std::string(view(asNs(node)->prefix));
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
      return "text()";
    case XML_COMMENT_NODE:
      return "comment()";
    case XML_PI_NODE:
      return "processing-instruction('" + qualifiedName(node) + "')";
    default:
      return "node()";
  }
}

std::string positionOf(const xmlNode* node, const std::string& step) {
  std::size_t before = 0;
  bool after = false;
  for (const auto* other = node->prev; other != nullptr; other = other->prev)
    before += stepTo(other) == step ? 1U : 0U;
  for (const auto* other = node->next; other != nullptr && !after; other = other->next)
    after = stepTo(other) == step;
  return before == 0 && !after ? std::string() : "[" + std::to_string(before + 1) + "]";
}

/// While it is alive, a free tree is in a document, since absolute paths start at one. Errors come
/// through the handler of the thread: one that is set on the context is given no message.
class Evaluation {
 public:
  explicit Evaluation(xmlNode* from) : top_(topOf(from)) {
    if (top_->type == XML_DOCUMENT_NODE) {
      doc_ = reinterpret_cast<xmlDoc*>(top_);
    } else {
      stand_in_.type = XML_DOCUMENT_NODE;
      stand_in_.doc = &stand_in_;
      if (top_->type != XML_ATTRIBUTE_NODE) {
        stand_in_.children = stand_in_.last = top_;
        top_->parent = asNode(&stand_in_);
      }
      doc_ = &stand_in_;
    }
    context_ = xmlXPathNewContext(doc_);
    if (context_ == nullptr) return;
    context_->node = from;
    auto* element = from->type == XML_ATTRIBUTE_NODE ? from->parent : from;
    if (element != nullptr) namespaces_ = xmlGetNsList(doc_, element);
    context_->namespaces = namespaces_;
    for (context_->nsNr = 0; namespaces_ != nullptr && namespaces_[context_->nsNr] != nullptr;)
      ++context_->nsNr;
  }
  ~Evaluation() {
    xmlXPathFreeContext(context_);
    xmlFree(namespaces_);
    if (stand_in_.children != nullptr) top_->parent = nullptr;
  }
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  [[nodiscard]] xmlXPathObject* run(std::string_view expression) {
    return context_ == nullptr ? nullptr : xmlXPathEval(XMLCText(expression).get(), context_);
  }
  /// The stand-in is nobody's node.
  [[nodiscard]] bool isOurs(const xmlNode* node) const noexcept {
    return node == static_cast<const void*>(&stand_in_);
  }

 private:
  xmlNode* top_;
  xmlDoc* doc_ = nullptr;
  xmlDoc stand_in_ = {};
  xmlXPathContext* context_ = nullptr;
  xmlNs** namespaces_ = nullptr;
};

/// XPath makes copies of declarations, which name the element they were found for; what is wanted
/// is the declaration itself. None for "xml", which nobody declares.
xmlNode* declarationFor(const xmlNode* copy) {
  const auto* ns = asNs(copy);
  xmlNode* element = nullptr;
  auto* found =
      declarationInForce(reinterpret_cast<const xmlNode*>(ns->next), view(ns->prefix), &element);
  if (found == nullptr) return nullptr;
  setDeclaringElement(found, element);
  return asNode(found);
}

struct FreeResult {
  void operator()(xmlXPathObject* result) const noexcept { xmlXPathFreeObject(result); }
};

struct FreeExpression {
  void operator()(xmlXPathCompExpr* expression) const noexcept { xmlXPathFreeCompExpr(expression); }
};

}  // namespace

std::string pathOf(xmlNode* node) {
  if (node->type == XML_DOCUMENT_NODE) return "/";
  std::string path;
  for (; node != nullptr && node->type != XML_DOCUMENT_NODE; node = parentOf(node)) {
    auto step = stepTo(node);
    if (node->type != XML_ATTRIBUTE_NODE && node->type != XML_NAMESPACE_DECL) {
      step += positionOf(node, step);
      step.insert(0, 1, '/');
    } else if (parentOf(node) != nullptr) {
      step.insert(0, 1, '/');
    }
    path.insert(0, step);
  }
  return path;
}

std::optional<std::vector<xmlNode*>> selectNodes(xmlNode* from, std::string_view expression,
                                                 TWError* error) {
  std::vector<xmlNode*> nodes;
  initXML();
  const XMLErrorScope errors;
  if (from->type == XML_NAMESPACE_DECL) {  // nothing can be reached from there
    const std::unique_ptr<xmlXPathCompExpr, FreeExpression> compiled(
        xmlXPathCompile(XMLCText(expression).get()));
    if (compiled != nullptr) return nodes;
    setError(error, lastXMLError());
    return std::nullopt;
  }
  Evaluation evaluation(from);
  const std::unique_ptr<xmlXPathObject, FreeResult> result(evaluation.run(expression));
  if (result == nullptr) {
    setError(error, lastXMLError());
    return std::nullopt;
  }
  if (result->type != XPATH_NODESET || result->nodesetval == nullptr) return nodes;
  xmlXPathNodeSetSort(result->nodesetval);
  for (int i = 0; i < result->nodesetval->nodeNr; ++i) {
    auto* node = result->nodesetval->nodeTab[i];
    if (node->type == XML_NAMESPACE_DECL) node = declarationFor(node);
    if (node != nullptr && !evaluation.isOurs(node)) nodes.push_back(node);
  }
  return nodes;
}

}  // namespace tarnwell::detail
