#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <libxml/tree.h>

#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// The way to a node, as `NKXMLNode::XPath` describes it.
[[nodiscard]] std::string pathOf(xmlNode* node);
/// What an expression selects from a node, in document order; absent with an error when it is bad.
[[nodiscard]] std::optional<std::vector<xmlNode*>> selectNodes(xmlNode* from,
                                                               std::string_view expression,
                                                               TWError* error);

}  // namespace tarnwell::detail
