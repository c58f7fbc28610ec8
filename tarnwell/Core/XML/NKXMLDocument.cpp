#include "tarnwell/Core/XML/NKXMLDocument.h"

#include <libxml/tree.h>

#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLOutline.h"
#include "tarnwell/Core/XML/detail/XMLReader.h"

namespace tarnwell {

using detail::XMLAccess;

NKXMLDocument NKXMLDocument::withData(std::span<const std::uint8_t> data, std::uint32_t /*options*/,
                                      TWError* error) {
  const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
  auto* doc = detail::readXML(bytes, detail::XMLEncoding::asDeclared, error);
  return doc == nullptr ? NKXMLDocument() : XMLAccess::adopt<NKXMLDocument>(doc);
}

NKXMLDocument NKXMLDocument::withXMLString(std::string_view xml, std::uint32_t /*options*/,
                                           TWError* error) {
  return detail::readOutline(xml, detail::kMaxDepth, error);
}

NKXMLElement NKXMLDocument::rootElement() const noexcept {
  if (!*this) return {};
  return XMLAccess::handle<NKXMLElement>(detail::firstElementFrom(XMLAccess::node(*this)->children),
                                         *this);
}

std::vector<std::uint8_t> NKXMLDocument::XMLData() const {
  return XMLDataWithOptions(NKXMLNoOptions);
}

std::vector<std::uint8_t> NKXMLDocument::XMLDataWithOptions(std::uint32_t options) const {
  const auto text = XMLStringWithOptions(options);
  return {text.begin(), text.end()};
}

}  // namespace tarnwell
