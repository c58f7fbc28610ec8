#pragma once

#include <cstddef>
#include <string_view>

#include <pugixml.hpp>

namespace tarnwell::sandbox {

/// Which part of a result a client wants: m:IndexedPageItemView, m:FractionalPageItemView and those
/// of folders. Without one it gets as much as the server sends at most.
class PageView {
 public:
  PageView() = default;
  /// Throws the schema violation.
  explicit PageView(pugi::xml_node element);

  struct Page {
    std::size_t begin = 0;
    std::size_t end = 0;
    /// Where the next page begins.
    std::size_t next = 0;
    bool isLast = false;
  };
  /// The part of `total` entries.
  [[nodiscard]] Page pageOf(std::size_t total) const;

  /// Sets the attributes of m:RootFolder.
  void describe(pugi::xml_node rootFolder, const Page& page, std::size_t total) const;

 private:
  enum class Kind { none, indexed, fractional };
  Kind kind_ = Kind::none;
  std::size_t most_ = 0;
  std::size_t offset_ = 0;
  bool fromEnd_ = false;
  std::size_t numerator_ = 0;
  std::size_t denominator_ = 1;
};

/// Whether the element is a view of items ("Item") or folders ("Folder").
[[nodiscard]] bool isPageView(pugi::xml_node element, std::string_view what);

/// A count in an attribute; `least` is the smallest that is allowed. Throws the schema violation.
[[nodiscard]] std::size_t readCount(pugi::xml_node element, const char* attribute,
                                    std::size_t least);

}  // namespace tarnwell::sandbox
