#include "tarnwell/Core/XML/detail/XMLWriter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include <libxml/globals.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlsave.h>

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/Core/XML/detail/LiteralText.h"
#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"
#include "tarnwell/Core/XML/detail/XMLTree.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell::detail {

namespace {

int append(void* context, const char* bytes, int size) noexcept {
  try {
    static_cast<std::string*>(context)->append(bytes, static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return size;
}

/// The writer is set by flags and, on each thread, by these. While it is alive they are as libxml2
/// ships them; what the program around us has made of them is put back afterwards.
class PlainOutput {
 public:
  PlainOutput() noexcept
      : noEmptyTags_(std::exchange(xmlSaveNoEmptyTags, 0)),
        indents_(std::exchange(xmlIndentTreeOutput, 1)),
        indentation_(std::exchange(xmlTreeIndentString, "  ")) {}
  ~PlainOutput() {
    xmlSaveNoEmptyTags = noEmptyTags_;
    xmlIndentTreeOutput = indents_;
    xmlTreeIndentString = indentation_;
  }
  PlainOutput(const PlainOutput&) = delete;
  PlainOutput& operator=(const PlainOutput&) = delete;

 private:
  int noEmptyTags_;
  int indents_;
  const char* indentation_;
};

/// Leaves out every "\N". The pairs are found in the text as it was, so that what a removal brings
/// together stays.
void removeBackslashN(std::string& text) {
  auto from = text.find("\\N");
  if (from == std::string::npos) return;
  auto to = from;
  while (from < text.size()) {
    const auto next = text.find("\\N", from);
    const auto count = (next == std::string::npos ? text.size() : next) - from;
    text.replace(to, count, text, from, count);
    to += count;
    from += count + (next == std::string::npos ? 0 : 2);
  }
  text.resize(to);
}

/// What stands for a character that cannot stand as itself in a text, or in an attribute; empty for
/// the others.
using References = std::array<std::string_view, 256>;

constexpr References referencesInText() {
  References table{};
  table['<'] = "&lt;";
  table['>'] = "&gt;";
  table['&'] = "&amp;";
  table['\r'] = "&#13;";
  return table;
}

constexpr References referencesInAttributes() {
  References table = referencesInText();
  table['"'] = "&quot;";
  table['\n'] = "&#10;";
  table['\t'] = "&#9;";
  return table;
}

constexpr References kInText = referencesInText();
constexpr References kInAttributes = referencesInAttributes();

void append(std::string& out, std::string_view text, const References& references) {
  std::size_t written = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto reference = references[static_cast<std::uint8_t>(text[i])];
    if (reference.empty()) continue;
    out.append(text, written, i - written).append(reference);
    written = i + 1;
  }
  out.append(text, written);
}

bool isPlainText(const xmlNode* node) noexcept {
  return node->type == XML_TEXT_NODE && node->name == xmlStringText;
}

/// Appends the start tag but for its end. False for an element that more belongs to.
bool appendPlainTag(std::string& out, const xmlNode* element) {
  if (element->type != XML_ELEMENT_NODE || element->ns != nullptr || element->nsDef != nullptr)
    return false;
  out.append("<").append(view(element->name));
  for (const auto* attr = element->properties; attr != nullptr; attr = attr->next) {
    if (attr->ns != nullptr) return false;
    out.append(" ").append(view(attr->name)).append("=\"");
    for (const auto* text = attr->children; text != nullptr; text = text->next) {
      if (!isPlainText(text)) return false;
      append(out, view(text->content), kInAttributes);
    }
    out += '"';
  }
  return true;
}

/// Writes what requests are made of, as libxml2 does, but in a fraction of the time: elements and
/// attributes in no namespace, and texts. False when there is anything else in the tree.
bool writePlainTree(std::string& out, const xmlNode* top, bool withEndTags) {
  for (const auto* node = top;;) {
    if (isPlainText(node)) {
      append(out, view(node->content), kInText);
    } else {
      if (!appendPlainTag(out, node)) return false;
      if (node->children != nullptr) {
        out += '>';
        node = node->children;
        continue;
      }
      if (withEndTags)
        out.append("></").append(view(node->name)).append(">");
      else
        out += "/>";
    }
    // Step by step, not recursively: trees that were built may be of any depth.
    for (; node != top && node->next == nullptr; node = node->parent)
      out.append("</").append(view(node->parent->name)).append(">");
    if (node == top) return true;
    node = node->next;
  }
}

/// Writes any node; empty on failure.
std::string writeAnyTree(xmlNode* node, bool withEndTags, bool pretty) {
  // A document type of XHTML would otherwise bring rules and elements of its own.
  int flags = XML_SAVE_AS_XML | XML_SAVE_NO_XHTML;
  if (withEndTags) flags |= XML_SAVE_NO_EMPTY;
  if (pretty) flags |= XML_SAVE_FORMAT;

  std::string text;
  const XMLErrorScope errors;
  const PlainOutput plain;
  // Naming the encoding makes characters stand as themselves instead of as references.
  auto* writer = xmlSaveToIO(append, nullptr, &text, "UTF-8", flags);
  if (writer == nullptr) return {};
  // The dump of a document changes its encoding for the time being. Parts that were detached from
  // it still refer to it, and may be written on another thread: so a copy is what changes.
  xmlDoc stand_in;
  auto* written = node;
  if (node->type == XML_DOCUMENT_NODE) {
    stand_in = *reinterpret_cast<const xmlDoc*>(node);
    written = asNode(&stand_in);
  }
  const bool failed = xmlSaveTree(writer, written) < 0 || xmlSaveFlush(writer) < 0;
  if (xmlSaveClose(writer) < 0 || failed) return {};
  return text;
}

}  // namespace

std::string writeXML(xmlNode* node, std::uint32_t options, BackslashN backslashN) {
  const bool withEndTags = (options & NKXMLNodeCompactEmptyElement) == 0;
  const bool pretty = (options & NKXMLNodePrettyPrint) != 0;
  std::string text;
  if (pretty || !writePlainTree(text, node, withEndTags))
    text = writeAnyTree(node, withEndTags, pretty);

  if (node->type != XML_PI_NODE) {
    const auto inner = trimmed(text);
    const auto before =
        inner.empty() ? text.size() : static_cast<std::size_t>(inner.data() - text.data());
    text.resize(before + inner.size());
    text.erase(0, before);
  }
  if (backslashN == BackslashN::drop) removeBackslashN(text);
  return text;
}

std::string literalXMLString(const NKXMLNode& node) {
  return node ? writeXML(XMLAccess::node(node), NKXMLNoOptions, BackslashN::keep) : std::string();
}

}  // namespace tarnwell::detail
