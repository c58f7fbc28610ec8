#pragma once

#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"

/// Names and texts without copies, for what reads whole answers.
namespace tarnwell::detail {

/// The name of an element or attribute without its prefix; empty for other nodes. Lives until the
/// node is renamed or goes.
[[nodiscard]] std::string_view localNameOf(const NKXMLNode& node) noexcept;

/// Tells of elements and attributes whether they are in a namespace. It keeps its last answer,
/// which goes for all that share the declaration, as the elements of an answer do. Used while the
/// tree does not change and the URIs asked about live.
class XMLNamespaceTest {
 public:
  /// False for other nodes.
  [[nodiscard]] bool operator()(const NKXMLNode& node, std::string_view URI) noexcept;

 private:
  const void* declaration_ = nullptr;  ///< null: no answer yet
  std::string_view URI_;
  bool isIn_ = false;
};

/// `stringValue` in place where the tree holds it in one piece, as it nearly always does. Used
/// while the node is there and its content is not changed.
class XMLTextView {
 public:
  explicit XMLTextView(const NKXMLNode& node);
  XMLTextView(const XMLTextView&) = delete;
  XMLTextView& operator=(const XMLTextView&) = delete;

  /// False where `stringValue` is absent.
  [[nodiscard]] explicit operator bool() const noexcept { return exists_; }
  [[nodiscard]] std::string_view operator*() const noexcept { return text_; }

 private:
  std::string copy_;
  std::string_view text_;
  bool exists_ = false;
};

}  // namespace tarnwell::detail
