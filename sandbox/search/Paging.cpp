#include "sandbox/search/Paging.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

// What the real server sends at most, whatever is asked for.
constexpr std::size_t kMostEntries = 1000;
constexpr std::array<std::string_view, 2> kBasePoints{"Beginning", "End"};

}  // namespace

std::size_t readCount(pugi::xml_node element, const char* attribute, std::size_t least) {
  const std::string text = ElementReader(element).requiredAttribute(attribute);
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, number);
  if (problem != std::errc() || stopped != end || number < static_cast<int>(least)) {
    throw SoapFault::schemaViolation("The '" + std::string(attribute) +
                                     "' attribute is invalid - The value '" + text +
                                     "' is invalid according to its datatype "
                                     "'http://www.w3.org/2001/XMLSchema:int'.");
  }
  return static_cast<std::size_t>(number);
}

bool isPageView(pugi::xml_node element, std::string_view what) {
  const std::string name = "Page" + std::string(what) + "View";
  return isElement(element, kMessagesNs, "Indexed" + name) ||
         isElement(element, kMessagesNs, "Fractional" + name);
}

PageView::PageView(pugi::xml_node element) {
  ElementReader reader(element);
  const bool indexed = localName(element).starts_with("Indexed");
  kind_ = indexed ? Kind::indexed : Kind::fractional;
  if (indexed) {
    reader.allowAttributes({"MaxEntriesReturned", "Offset", "BasePoint"});
    offset_ = readCount(element, "Offset", 0);
    static_cast<void>(reader.requiredAttribute("BasePoint"));
    fromEnd_ = reader.enumeration("BasePoint", "IndexBasePointType", kBasePoints) == "End";
  } else {
    reader.allowAttributes({"MaxEntriesReturned", "Numerator", "Denominator"});
    numerator_ = readCount(element, "Numerator", 0);
    denominator_ = readCount(element, "Denominator", 1);
  }
  if (reader.attribute("MaxEntriesReturned")) most_ = readCount(element, "MaxEntriesReturned", 1);
  reader.end();
}

PageView::Page PageView::pageOf(std::size_t total) const {
  const std::size_t most = most_ == 0 ? kMostEntries : std::min(most_, kMostEntries);
  Page page;
  if (fromEnd_) {
    page.end = total - std::min(offset_, total);
    page.begin = page.end - std::min(most, page.end);
    page.next = offset_ + (page.end - page.begin);
    page.isLast = page.begin == 0;
    return page;
  }
  const std::size_t wanted =
      kind_ == Kind::fractional ? total * numerator_ / denominator_ : offset_;
  page.begin = std::min(wanted, total);
  page.end = page.begin + std::min(most, total - page.begin);
  page.next = page.end;
  page.isLast = page.end == total;
  return page;
}

void PageView::describe(pugi::xml_node rootFolder, const Page& page, std::size_t total) const {
  if (kind_ == Kind::indexed) {
    rootFolder.append_attribute("IndexedPagingOffset") = static_cast<unsigned>(page.next);
  } else if (kind_ == Kind::fractional) {
    rootFolder.append_attribute("NumeratorOffset") = static_cast<unsigned>(page.next);
    rootFolder.append_attribute("AbsoluteDenominator") = static_cast<unsigned>(total);
  }
  rootFolder.append_attribute("TotalItemsInView") = static_cast<unsigned>(total);
  rootFolder.append_attribute("IncludesLastItemInRange") = page.isLast;
}

}  // namespace tarnwell::sandbox
