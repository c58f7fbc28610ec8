#include "tarnwell/Core/XML/detail/XMLWriter.h"

#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

#include <libxml/globals.h>
#include <libxml/xmlsave.h>

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/Core/XML/detail/LiteralText.h"
#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"
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

}  // namespace

std::string writeXML(xmlNode* node, std::uint32_t options, BackslashN backslashN) {
  // libxml2's flag of the same number as our compact bit means the opposite: write both tags.
  // A document type of XHTML would otherwise bring rules and elements of its own.
  int flags = XML_SAVE_AS_XML | XML_SAVE_NO_XHTML;
  if ((options & NKXMLNodeCompactEmptyElement) == 0) flags |= XML_SAVE_NO_EMPTY;
  if ((options & NKXMLNodePrettyPrint) != 0) flags |= XML_SAVE_FORMAT;

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
