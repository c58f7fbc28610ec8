#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace tarnwell::sandbox {

inline constexpr std::string_view kSoapNs = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr std::string_view kTypesNs =
    "http://schemas.microsoft.com/exchange/services/2006/types";
inline constexpr std::string_view kMessagesNs =
    "http://schemas.microsoft.com/exchange/services/2006/messages";
inline constexpr std::string_view kErrorsNs =
    "http://schemas.microsoft.com/exchange/services/2006/errors";

/// The deepest element that a request may have.
inline constexpr int kXmlDepthLimit = 256;

/// Reads a document that a stranger wrote. pugixml alone is lenient; this also refuses text that is
/// not UTF-8, document types, unknown entities, more than one root, prefixes that are not declared,
/// repeated attributes, and elements deeper or with more attributes than a request ever needs.
/// False, with the reason in `error`, for such a document.
[[nodiscard]] bool parseXml(const std::string& text, pugi::xml_document& document,
                            std::string& error);

/// The name without its prefix.
[[nodiscard]] std::string_view localName(pugi::xml_node element);
/// The namespace that the element's prefix, or the lack of one, stands for; empty for none.
[[nodiscard]] std::string_view namespaceOf(pugi::xml_node element);
[[nodiscard]] bool isElement(pugi::xml_node node, std::string_view xmlns, std::string_view name);

/// The first child that is an element; null when there is none.
[[nodiscard]] pugi::xml_node firstElement(pugi::xml_node parent);
/// The next sibling that is an element; null when there is none.
[[nodiscard]] pugi::xml_node nextElement(pugi::xml_node element);
/// All text directly below the element.
[[nodiscard]] std::string textOf(pugi::xml_node element);

/// Whether the attribute declares a namespace.
[[nodiscard]] bool isDeclaration(pugi::xml_attribute attribute);
/// Whether all of it is white space.
[[nodiscard]] bool isBlank(std::string_view text);

/// Appends <name>text</name>; the prefix is part of the name and must be declared above.
pugi::xml_node append(pugi::xml_node parent, const char* name, const std::string& text);
/// The document as UTF-8 with an XML declaration and without added white space.
[[nodiscard]] std::string serialise(const pugi::xml_document& document);

}  // namespace tarnwell::sandbox
