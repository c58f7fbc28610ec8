#include "tarnwell/Core/XML/detail/XMLView.h"

#include <utility>

#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLText.h"
#include "tarnwell/Core/XML/detail/XMLTree.h"

namespace tarnwell::detail {

namespace {

/// Null for a node that is no element and no attribute.
const xmlNode* namedNode(const NKXMLNode& handle) noexcept {
  const auto* node = XMLAccess::node(handle);
  const bool isNamed =
      node != nullptr && (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE);
  return isNamed ? node : nullptr;
}

}  // namespace

std::string_view localNameOf(const NKXMLNode& handle) noexcept {
  const auto* node = namedNode(handle);
  if (node == nullptr) return {};
  // Mostly the prefix stands apart and need not be looked at.
  const bool standsApart = node->ns != nullptr && node->ns->prefix != nullptr;
  return standsApart ? view(node->name) : nameParts(node).local;
}

bool XMLNamespaceTest::operator()(const NKXMLNode& handle, std::string_view URI) noexcept {
  const auto* node = namedNode(handle);
  if (node == nullptr) return false;
  const bool isSame =
      node->ns == declaration_ && URI.data() == URI_.data() && URI.size() == URI_.size();
  if (isSame && declaration_ != nullptr) return isIn_;
  declaration_ = node->ns;
  URI_ = URI;
  isIn_ = hasURI(node, URI);
  return isIn_;
}

XMLTextView::XMLTextView(const NKXMLNode& handle) {
  if (const auto* node = namedNode(handle)) {
    const auto* only = node->children;
    const bool isOnePiece =
        only == nullptr || (only->type == XML_TEXT_NODE && only->next == nullptr);
    if (isOnePiece) {
      exists_ = true;
      if (only != nullptr) text_ = view(only->content);
      return;
    }
  }
  auto text = handle.stringValue();
  if (!text) return;
  exists_ = true;
  copy_ = *std::move(text);
  text_ = copy_;
}

}  // namespace tarnwell::detail
