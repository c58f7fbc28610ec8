#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tarnwell {

/// Header fields, names with values, in the order in which they go over the wire or came from it. A
/// name may occur more than once.
using TWHeaders = std::vector<std::pair<std::string, std::string>>;

}  // namespace tarnwell
