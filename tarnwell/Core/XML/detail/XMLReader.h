#pragma once

#include <string_view>

#include <libxml/tree.h>

#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

enum class XMLEncoding { asDeclared, utf8 };

/// Parses by the rules of `NKXMLDocument`. Null with an error of `NKXMLErrorDomain` on failure.
[[nodiscard]] xmlDoc* readXML(std::string_view bytes, XMLEncoding encoding, TWError* error);

}  // namespace tarnwell::detail
