#pragma once

#include <cstdint>
#include <string>

#include <libxml/tree.h>

namespace tarnwell::detail {

/// Whether "\N" is left out of the text.
enum class BackslashN : bool { keep, drop };

/// The node as text by the rules of `NKXMLNode::XMLStringWithOptions`.
[[nodiscard]] std::string writeXML(xmlNode* node, std::uint32_t options,
                                   BackslashN backslashN = BackslashN::drop);

}  // namespace tarnwell::detail
