#pragma once

#include <string_view>

#include "tarnwell/Core/XML/NKXMLDocument.h"

namespace tarnwell::detail {

/// What `NKXMLDocument::withXMLString` makes of a text, without what is nested deeper than `depth`
/// elements, the root counted. That is checked all the same: an outline can be had exactly of what
/// parses, and takes little memory where nearly all is deeper.
[[nodiscard]] NKXMLDocument readOutline(std::string_view xml, int depth, TWError* error = nullptr);

}  // namespace tarnwell::detail
