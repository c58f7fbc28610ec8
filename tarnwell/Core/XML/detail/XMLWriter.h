#pragma once

#include <cstdint>
#include <string>

#include <libxml/tree.h>

namespace tarnwell::detail {

/// The node as text by the rules of `NKXMLNode::XMLStringWithOptions`.
[[nodiscard]] std::string writeXML(xmlNode* node, std::uint32_t options);

}  // namespace tarnwell::detail
