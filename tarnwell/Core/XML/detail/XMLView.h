#pragma once

#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"

/// Names and texts without copies, for what reads whole answers.
namespace tarnwell::detail {

/// The name of an element or attribute without its prefix; empty for other nodes. Lives until the
/// node is renamed or goes.
[[nodiscard]] std::string_view localNameOf(const NKXMLNode& node) noexcept;

/// True for an element or attribute in that namespace.
[[nodiscard]] bool isInNamespace(const NKXMLNode& node, std::string_view URI) noexcept;

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
