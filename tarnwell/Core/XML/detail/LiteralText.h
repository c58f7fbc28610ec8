#pragma once

#include <string>

#include "tarnwell/Core/XML/NKXMLNode.h"

namespace tarnwell::detail {

/// `XMLString` with every "\N" left in: what a caller gave for a request ("CORP\Nina") must arrive.
[[nodiscard]] std::string literalXMLString(const NKXMLNode& node);

}  // namespace tarnwell::detail
