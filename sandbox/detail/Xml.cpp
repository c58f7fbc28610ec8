#include "sandbox/detail/Xml.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>

namespace tarnwell::sandbox {
namespace {

constexpr std::size_t kAttributeLimit = 64;
constexpr std::string_view kXmlPrefixNs = "http://www.w3.org/XML/1998/namespace";

std::string_view prefixOf(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
}

/// The character that begins at `at`, which moves behind it; absent when it is not UTF-8.
std::optional<std::uint32_t> nextCharacter(std::string_view text, std::size_t& at) {
  const auto first = static_cast<unsigned char>(text[at++]);
  if (first < 0x80) return first;
  const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4) return std::nullopt;
  std::uint32_t value = first & (0x3FU >> static_cast<unsigned>(more));
  for (int i = 0; i < more; ++i) {
    if (at == text.size()) return std::nullopt;
    const auto next = static_cast<unsigned char>(text[at++]);
    if ((next & 0xC0U) != 0x80) return std::nullopt;
    value = (value << 6U) | (next & 0x3FU);
  }
  const bool tooLong = (more == 2 && value < 0x800) || (more == 3 && value < 0x10000);
  return tooLong || value > 0x10FFFF ? std::nullopt : std::optional(value);
}

bool isXmlCharacter(std::uint32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return (c < 0xD800 || c > 0xDFFF) && c != 0xFFFE && c != 0xFFFF && c <= 0x10FFFF;
}

bool hasOnlyXmlCharacters(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::optional<std::uint32_t> c = nextCharacter(text, at);
    if (!c || !isXmlCharacter(*c)) return false;
  }
  return true;
}

/// Whether the text between "&" and ";" stands for a character.
bool isReference(std::string_view name) {
  static const std::set<std::string_view> kKnown{"amp", "lt", "gt", "quot", "apos"};
  if (!name.starts_with('#')) return kKnown.contains(name);
  const bool hex = name.starts_with("#x");
  name.remove_prefix(hex ? 2 : 1);
  if (name.empty() || name.size() > 8) return false;
  std::uint32_t value = 0;
  for (const char c : name) {
    const auto digit = std::string_view("0123456789abcdef")
                           .find(static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c));
    if (digit == std::string_view::npos || digit >= (hex ? 16U : 10U)) return false;
    value = value * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit);
  }
  return isXmlCharacter(value);
}

/// pugixml leaves an entity that it does not know as it stands, so that it could not be told from
/// text any more.
bool hasOnlyKnownReferences(std::string_view text) {
  for (std::size_t at = text.find_first_of("&<"); at != std::string_view::npos;
       at = text.find_first_of("&<", at + 1)) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("<![CDATA[")) {
      at = text.find("]]>", at);
    } else if (rest.starts_with("<!--")) {
      at = text.find("-->", at);
    } else if (rest.starts_with("&")) {
      const std::size_t end = rest.substr(0, 16).find(';');
      if (end == std::string_view::npos || !isReference(rest.substr(1, end - 1))) return false;
    }
    if (at == std::string_view::npos) return true;  // unfinished: the parser will say so
  }
  return true;
}

/// Walks the tree without recursion and checks what pugixml leaves to its users.
class Checker {
 public:
  [[nodiscard]] std::string check(pugi::xml_node root) {
    pugi::xml_node node = root;
    int depth = 1;
    if (!enter(node)) return problem_;
    for (;;) {
      if (const pugi::xml_node child = firstElement(node)) {
        if (++depth > kXmlDepthLimit) return "elements are nested too deeply";
        node = child;
      } else {
        for (;;) {
          leave(node);
          if (node == root) return {};
          if (const pugi::xml_node next = nextElement(node)) {
            node = next;
            break;
          }
          node = node.parent();
          --depth;
        }
      }
      if (!enter(node)) return problem_;
    }
  }

 private:
  bool fail(std::string problem) {
    problem_ = std::move(problem);
    return false;
  }

  bool enter(pugi::xml_node element) {
    std::set<std::string_view> names;
    for (const pugi::xml_attribute attribute : element.attributes()) {
      if (!names.insert(attribute.name()).second) {
        return fail(std::string("the attribute '") + attribute.name() + "' is repeated");
      }
      if (names.size() > kAttributeLimit) return fail("an element has too many attributes");
      const std::string_view name = attribute.name();
      if (name.starts_with("xmlns:")) {
        if (attribute.value()[0] == '\0') return fail("a prefix is declared without a namespace");
        ++declared_[std::string(name.substr(6))];
      }
    }
    if (!isNameKnown(element.name())) return false;
    for (const std::string_view name : names) {
      if (!name.starts_with("xmlns:") && !isNameKnown(name)) return false;
    }
    return true;
  }

  void leave(pugi::xml_node element) {
    for (const pugi::xml_attribute attribute : element.attributes()) {
      const std::string_view name = attribute.name();
      if (name.starts_with("xmlns:")) --declared_[std::string(name.substr(6))];
    }
  }

  bool isNameKnown(std::string_view name) {
    const auto colons = std::ranges::count(name, ':');
    if (colons == 0) return true;
    const std::string prefix(prefixOf(name));
    if (colons > 1 || prefix.empty() || prefix.size() + 1 == name.size()) {
      return fail("'" + std::string(name) + "' is not a name");
    }
    const auto found = declared_.find(prefix);
    if (prefix == "xml" || (found != declared_.end() && found->second > 0)) return true;
    return fail("'" + prefix + "' is an undeclared prefix");
  }

  std::map<std::string, int> declared_;
  std::string problem_;
};

struct StringWriter final : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override {
    // pugixml leaves a carriage return bare, and whoever reads it would make it a line feed.
    for (const char c : std::string_view(static_cast<const char*>(data), size)) {
      if (c == '\r') {
        text += "&#13;";
      } else {
        text += c;
      }
    }
  }
};

}  // namespace

bool parseXml(const std::string& text, pugi::xml_document& document, std::string& error) {
  if (!hasOnlyXmlCharacters(text)) {
    error = "there is an invalid character in the document";
    return false;
  }
  if (!hasOnlyKnownReferences(text)) {
    error = "there is a reference to an undeclared entity";
    return false;
  }
  const pugi::xml_parse_result result = document.load_buffer(
      text.data(), text.size(),
      pugi::parse_default | pugi::parse_ws_pcdata | pugi::parse_declaration | pugi::parse_doctype,
      pugi::encoding_utf8);
  if (!result) {
    error = result.description();
    return false;
  }
  bool hasRoot = false;
  for (const pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_doctype) {
      error = "DTD is prohibited in this document";
      return false;
    }
    const std::string_view encoding = node.attribute("encoding").value();
    if (node.type() == pugi::node_declaration && !encoding.empty() && encoding != "utf-8" &&
        encoding != "UTF-8") {
      error = "the encoding is not utf-8";
      return false;
    }
    if (node.type() != pugi::node_element) continue;
    if (hasRoot) {
      error = "there are several root elements";
      return false;
    }
    hasRoot = true;
  }
  error = Checker().check(document.document_element());
  return error.empty();
}

std::string_view localName(pugi::xml_node element) {
  const std::string_view name = element.name();
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view namespaceOf(pugi::xml_node element) {
  const std::string_view prefix = prefixOf(element.name());
  if (prefix == "xml") return kXmlPrefixNs;
  const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
  for (pugi::xml_node node = element; node; node = node.parent()) {
    if (const pugi::xml_attribute found = node.attribute(declaration.c_str())) {
      return found.value();
    }
  }
  return {};
}

bool isElement(pugi::xml_node node, std::string_view xmlns, std::string_view name) {
  return node.type() == pugi::node_element && localName(node) == name && namespaceOf(node) == xmlns;
}

pugi::xml_node firstElement(pugi::xml_node parent) {
  pugi::xml_node node = parent.first_child();
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

pugi::xml_node nextElement(pugi::xml_node element) {
  pugi::xml_node node = element.next_sibling();
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

std::string textOf(pugi::xml_node element) {
  std::string text;
  for (const pugi::xml_node node : element.children()) {
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) text += node.value();
  }
  return text;
}

bool isDeclaration(pugi::xml_attribute attribute) {
  const std::string_view name = attribute.name();
  return name == "xmlns" || name.starts_with("xmlns:");
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

pugi::xml_node append(pugi::xml_node parent, const char* name, const std::string& text) {
  pugi::xml_node child = parent.append_child(name);
  child.text().set(text.c_str());
  return child;
}

std::string serialise(const pugi::xml_document& document) {
  StringWriter writer;
  writer.text = R"(<?xml version="1.0" encoding="utf-8"?>)";
  document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return std::move(writer.text);
}

}  // namespace tarnwell::sandbox
