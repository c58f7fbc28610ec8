#include "tarnwell/Core/XML/detail/XMLOutline.h"

#include <string>

#include "tarnwell/Core/XML/detail/XMLAccess.h"
#include "tarnwell/Core/XML/detail/XMLReader.h"

namespace tarnwell::detail {

NKXMLDocument readOutline(std::string_view xml, int depth, TWError* error) {
  std::string repaired;
  if (!isCleanText(xml)) {
    repaired = repairedText(xml);
    xml = repaired;
  }
  auto* doc = readXML(xml, XMLEncoding::utf8, error, depth);
  return doc == nullptr ? NKXMLDocument() : XMLAccess::adopt<NKXMLDocument>(doc);
}

}  // namespace tarnwell::detail
