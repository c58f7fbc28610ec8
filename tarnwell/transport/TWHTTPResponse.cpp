#include "tarnwell/transport/TWHTTPResponse.h"

#include <algorithm>
#include <ostream>

#include "tarnwell/util/TWText.h"

namespace tarnwell {

std::optional<std::string> TWHTTPResponse::header(std::string_view name) const {
  const auto field = std::find_if(headers.begin(), headers.end(), [&](const auto& candidate) {
    return equalIgnoringCase(candidate.first, name);
  });
  if (field == headers.end()) return std::nullopt;
  return field->second;
}

std::string TWHTTPResponse::description() const { return "HTTP " + std::to_string(statusCode); }

std::ostream& operator<<(std::ostream& stream, const TWHTTPResponse& response) {
  return stream << response.description();
}

}  // namespace tarnwell
