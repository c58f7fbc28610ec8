#include "tarnwell/transport/TWResponse.h"

#include <ostream>
#include <string_view>
#include <utility>

#include "tarnwell/Core/XML/detail/CleanText.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
void TWResponse::setData(TWData bytes) {
  data = std::move(bytes);
  xmlDoc = NKXMLDocument();
  if (data.empty()) return;
  // Neither failure is reported: whoever asked for the body decides what a body that is no XML
  // means.
  TWError ignored;
  xmlDoc = NKXMLDocument::withData(data, 0, &ignored);
  if (xmlDoc) return;
  // Some servers send UTF-8 under a declaration that says otherwise.
  const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
  if (detail::isCleanText(text)) xmlDoc = NKXMLDocument::withXMLString(text, 0, &ignored);
}

std::optional<std::string> TWResponse::xml() const {
  if (!xmlDoc) return std::nullopt;
  return xmlDoc.XMLString();
}

std::string TWResponse::description() const {
  return formatMessage("[%@] %@",
                       {"TWResponse", response ? TWValue(response->description()) : TWValue()});
}

std::ostream& operator<<(std::ostream& stream, const TWResponse& response) {
  return stream << response.description();
}

}  // namespace tarnwell
