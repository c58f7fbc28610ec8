#include "tarnwell/Core/XML/detail/XMLReader.h"

#include <climits>
#include <cstddef>
#include <memory>

#include <libxml/SAX2.h>
#include <libxml/dict.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/valid.h>

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"
#include "tarnwell/Core/XML/detail/XMLTree.h"

namespace tarnwell::detail {

namespace {

// The parser compares attributes pairwise, looks namespaces up one by one, and keeps names in a
// hash table that stops growing. With these limits the time is in proportion to the length of the
// input.
constexpr int kMaxAttributes = 256;
constexpr int kMaxNamespaces = 256;
constexpr int kMaxNames = 20'000;
/// For names that are in no start tag.
constexpr std::size_t kMaxNameBytes = 1'000'000;
constexpr std::size_t kMaxSize = INT_MAX / 2;

// The parser reads to the end of what is not well-formed, and in doing so calls us only when it is
// told to recover. So it is, in order that `startElement` can stop it.
constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_COMPACT |
                         XML_PARSE_IGNORE_ENC | XML_PARSE_RECOVER;

enum NKXMLCode { kNothingToParse = 0, kMalformed = 1 };

struct FreeParser {
  void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
};

/// Of elements: how many are open, and how many of them the tree has at most.
struct Levels {
  int kept;
  int open = 0;
  [[nodiscard]] bool isTooDeep() const noexcept { return open > kept; }
};

Levels& levelsOf(void* context) noexcept {
  return *static_cast<Levels*>(static_cast<xmlParserCtxt*>(context)->_private);
}

void refuse(void* context, int code, const char* message) noexcept {
  auto* parser = static_cast<xmlParserCtxt*>(context);
  xmlStopParser(parser);
  parser->wellFormed = 0;
  keepXMLError(code, message);
}

/// Sets what the parser resets when it is given its options.
void startDocument(void* context) noexcept {
  auto* parser = static_cast<xmlParserCtxt*>(context);
  // Nothing here looks for ids, which would be kept in another table that stops growing.
  parser->loadsubset |= XML_SKIP_IDS;
  xmlDictSetLimit(parser->dict, kMaxNameBytes);
  xmlSAX2StartDocument(context);
}

void startElement(void* context, const xmlChar* localName, const xmlChar* prefix,
                  const xmlChar* URI, int namespaceCount, const xmlChar** namespaces,
                  int attributeCount, int defaultedCount, const xmlChar** attributes) noexcept {
  auto* parser = static_cast<xmlParserCtxt*>(context);
  if (parser->wellFormed == 0) return xmlStopParser(parser);
  auto& levels = levelsOf(context);
  if (levels.open >= kMaxDepth)
    return refuse(context, XML_ERR_INTERNAL_ERROR, "Elements are nested too deeply");
  if (parser->nsNr / 2 > kMaxNamespaces || attributeCount > kMaxAttributes)
    return refuse(context, XML_ERR_INTERNAL_ERROR, "Too many attributes or namespaces");
  if (xmlDictSize(parser->dict) > kMaxNames)
    return refuse(context, XML_ERR_INTERNAL_ERROR, "Too many different names");
  ++levels.open;
  if (levels.isTooDeep()) return;
  xmlSAX2StartElementNs(context, localName, prefix, URI, namespaceCount, namespaces, attributeCount,
                        defaultedCount, attributes);
}

void endElement(void* context, const xmlChar* localName, const xmlChar* prefix,
                const xmlChar* URI) noexcept {
  auto& levels = levelsOf(context);
  if (!levels.isTooDeep()) xmlSAX2EndElementNs(context, localName, prefix, URI);
  --levels.open;
}

void characters(void* context, const xmlChar* text, int length) noexcept {
  if (!levelsOf(context).isTooDeep()) xmlSAX2Characters(context, text, length);
}

void section(void* context, const xmlChar* text, int length) noexcept {
  if (!levelsOf(context).isTooDeep()) xmlSAX2CDataBlock(context, text, length);
}

void comment(void* context, const xmlChar* text) noexcept {
  if (!levelsOf(context).isTooDeep()) xmlSAX2Comment(context, text);
}

void instruction(void* context, const xmlChar* target, const xmlChar* text) noexcept {
  if (!levelsOf(context).isTooDeep()) xmlSAX2ProcessingInstruction(context, target, text);
}

void reference(void* context, const xmlChar* name) noexcept {
  if (!levelsOf(context).isTooDeep()) xmlSAX2Reference(context, name);
}

void entityDeclaration(void* context, const xmlChar*, int, const xmlChar*, const xmlChar*,
                       xmlChar*) noexcept {
  refuse(context, XML_ERR_ENTITY_PROCESSING, "Entity declarations are refused");
}

void unparsedEntityDeclaration(void* context, const xmlChar*, const xmlChar*, const xmlChar*,
                               const xmlChar*) noexcept {
  refuse(context, XML_ERR_ENTITY_PROCESSING, "Entity declarations are refused");
}

/// Attribute declarations can carry defaults, which multiply as entities do.
void attributeDeclaration(void* context, const xmlChar*, const xmlChar*, int, int, const xmlChar*,
                          xmlEnumeration* values) noexcept {
  xmlFreeEnumeration(values);
  refuse(context, XML_ERR_ENTITY_PROCESSING, "Attribute declarations are refused");
}

/// What begins at the "<" at `start`, taken for a start tag.
struct Markup {
  std::size_t end;  ///< where to look for the next one
  int attributes;
};

/// True when a quoted value begins at `at` or after the blanks there.
bool beginsValue(std::string_view bytes, std::size_t at) noexcept {
  at = bytes.find_first_not_of(" \t\r\n", at);
  return at != std::string_view::npos && (bytes[at] == '"' || bytes[at] == '\'');
}

/// Counts the attributes of a start tag. Stops at the next "<", which cannot be part of a tag.
Markup scanTag(std::string_view bytes, std::size_t start) noexcept {
  char quote = 0;
  int attributes = 0;
  auto end = start + 1;
  for (; end < bytes.size() && bytes[end] != '<'; ++end) {
    const char c = bytes[end];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '=') {
      if (beginsValue(bytes, end + 1)) ++attributes;
    } else if (c == '>') {
      break;
    }
  }
  return {end, attributes};
}

/// True when a start tag has more attributes than the parser should be given: it would compare them
/// all with each other before it calls us.
///
/// What looks like such a tag counts even in a comment, a CDATA section or an instruction: where
/// that ends, or whether it is one, depends on what the parser makes of all that precedes it.
bool hasEndlessTag(std::string_view bytes) noexcept {
  // Nearly all input is passed over by looking for "<" once in every stride, since only a tag with
  // many attributes goes without one for so long.
  constexpr auto kStride = 4 * static_cast<std::size_t>(kMaxAttributes);
  auto tag = bytes.find('<');
  while (tag < bytes.size() && bytes.size() - tag > kStride) {
    const auto last = bytes.substr(tag + 1, kStride).rfind('<');
    if (last != std::string_view::npos) {
      tag += 1 + last;
      continue;
    }
    const auto markup = scanTag(bytes, tag);
    if (markup.attributes > kMaxAttributes) return true;
    tag = bytes.find('<', markup.end);
  }
  return false;
}

xmlDoc* parse(std::string_view raw, XMLEncoding encoding, int depth) {
  if (raw.size() > kMaxSize) {
    keepXMLError(XML_ERR_INTERNAL_ERROR, "The document is too long");
    return nullptr;
  }
  const XMLInput input(raw, encoding);
  if (input.isRefused()) {
    keepXMLError(XML_ERR_UNSUPPORTED_ENCODING, "The encoding is not accepted");
    return nullptr;
  }
  // Half as long again at most when it was converted, so an int still counts it.
  const auto bytes = input.bytes();
  // The parser takes a NUL after the root for the end of the input.
  if (bytes.find('\0') != std::string_view::npos) {
    keepXMLError(XML_ERR_INVALID_CHAR, "Char 0x0 out of allowed range");
    return nullptr;
  }
  if (hasEndlessTag(bytes)) {
    keepXMLError(XML_ERR_INTERNAL_ERROR, "Too many attributes or namespaces");
    return nullptr;
  }
  const std::unique_ptr<xmlParserCtxt, FreeParser> parser(required(xmlNewParserCtxt()));
  Levels levels{depth};
  parser->_private = &levels;
  auto& sax = *parser->sax;
  sax.serror = keepXMLError;
  sax.startDocument = startDocument;
  sax.startElementNs = startElement;
  sax.endElementNs = endElement;
  sax.characters = characters;
  sax.cdataBlock = section;
  sax.comment = comment;
  sax.processingInstruction = instruction;
  sax.reference = reference;
  sax.entityDecl = entityDeclaration;
  sax.unparsedEntityDecl = unparsedEntityDeclaration;
  sax.attributeDecl = attributeDeclaration;
  sax.externalSubset = nullptr;
  auto* doc = xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                input.encoding(), kOptions);
  if (parser->wellFormed != 0) return doc;
  xmlFreeDoc(doc);
  return nullptr;
}

}  // namespace

xmlDoc* readXML(std::string_view bytes, XMLEncoding encoding, TWError* error, int depth) {
  if (bytes.empty()) {
    setError(error, {NKXMLErrorDomain, kNothingToParse});
    return nullptr;
  }
  initXML();
  const XMLErrorScope errors;
  auto* doc = parse(bytes, encoding, depth);
  if (doc == nullptr || xmlDocGetRootElement(doc) == nullptr) {
    xmlFreeDoc(doc);
    setError(error, {NKXMLErrorDomain, kMalformed});
    return nullptr;
  }
  // What is in memory is UTF-8, whatever it was read from.
  xmlFree(const_cast<xmlChar*>(doc->encoding));  // libxml2's own text, only declared const
  doc->encoding = nullptr;
  doc->encoding = required(xmlStrdup(xmlText("UTF-8")));
  return doc;
}

}  // namespace tarnwell::detail
