#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/Core/XML/NKXMLNode.h"

namespace tarnwell {

/// A parsed document.
///
/// Parsing is made for input that cannot be trusted: nothing is loaded from files or the network,
/// declarations of entities and attributes are refused (a bare DOCTYPE is not), and so are nesting
/// deeper than 256 elements, an element with more than 256 attributes (or a comment, CDATA section
/// or instruction that holds the text of one), more than 256 namespaces in scope, more than 20,000
/// names, and 1 GB (half of the largest `int`) or more of input. Text is otherwise read whole. A
/// prefix that is declared nowhere is part of a literal name, not an error.
///
/// Blank text between two tags is dropped. It is kept when it is all that an element contains, when
/// other text came before it in the same element, and under xml:space="preserve".
///
/// Failures are in `NKXMLErrorDomain` without user info: code 0 when there is nothing to parse,
/// code 1 when the input is malformed or refused. After code 1 `NKXMLNode::lastError` tells the
/// parser's reason; code 0 leaves it as it was.
class NKXMLDocument : public NKXMLNode {
 public:
  /// The invalid document.
  NKXMLDocument() noexcept = default;

  /// Parses bytes in the encoding that their byte order mark or declaration names, UTF-8 by
  /// default. Others than UTF-8, UTF-16, US-ASCII, ISO 8859 and the Windows code pages 1250 to 1258
  /// are refused. No options are defined yet; pass 0.
  [[nodiscard]] static NKXMLDocument withData(std::span<const std::uint8_t> data,
                                              std::uint32_t options = 0, TWError* error = nullptr);
  /// Parses UTF-8 text, whatever encoding its declaration names.
  [[nodiscard]] static NKXMLDocument withXMLString(std::string_view xml, std::uint32_t options = 0,
                                                   TWError* error = nullptr);

  [[nodiscard]] NKXMLElement rootElement() const noexcept;

  /// `XMLString` as UTF-8 bytes.
  [[nodiscard]] std::vector<std::uint8_t> XMLData() const;
  [[nodiscard]] std::vector<std::uint8_t> XMLDataWithOptions(std::uint32_t options) const;

  [[nodiscard]] NKXMLDocument copy() const { return NKXMLNode::copy().asDocument(); }

 private:
  friend struct detail::XMLAccess;
  using NKXMLNode::NKXMLNode;
};

}  // namespace tarnwell
