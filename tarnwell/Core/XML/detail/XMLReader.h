#pragma once

#include <string_view>

#include <libxml/tree.h>

#include "tarnwell/Core/XML/detail/XMLInput.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// How deep elements may be nested.
inline constexpr int kMaxDepth = 256;

/// Parses by the rules of `NKXMLDocument`. Null with an error of `NKXMLErrorDomain` on failure.
/// What is nested deeper than `depth` is checked, but is not in the tree.
[[nodiscard]] xmlDoc* readXML(std::string_view bytes, XMLEncoding encoding, TWError* error,
                              int depth = kMaxDepth);

}  // namespace tarnwell::detail
