#pragma once

#include <string_view>

#include <libxml/tree.h>

#include "tarnwell/Core/XML/detail/XMLInput.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// Parses by the rules of `NKXMLDocument`. Null with an error of `NKXMLErrorDomain` on failure.
[[nodiscard]] xmlDoc* readXML(std::string_view bytes, XMLEncoding encoding, TWError* error);

}  // namespace tarnwell::detail
