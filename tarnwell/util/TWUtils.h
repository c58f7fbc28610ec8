#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWVersion;

/// What requests are built from: elements from values, element texts from values and back,
/// addresses taken apart, collections cut into chunks. Stateless; safe from any thread.
class TWUtils {
 public:
  /// An element of that literal name, prefix included ("m:GetItem"), with one attribute for each
  /// entry.
  ///
  ///     auto path = TWUtils::createElement("t:FieldURI", {{"FieldURI", "item:Subject"}});
  [[nodiscard]] static NKXMLElement createElement(std::string_view name,
                                                  const TWDictionary& attributes = {});

  /// Makes the element, fills it with `updateElement`, adds it to the parent and returns it.
  static NKXMLElement createAndAddElementToParent(NKXMLElement parent, std::string_view name,
                                                  const TWValue& value, TWError* error = nullptr);

  /// Fills an element from a value and returns it. A text becomes the element's text as it is,
  /// unfiltered (unlike `xmlFromValue`, deliberately); a number or date its `xmlFromValue`; a field
  /// path, field order, schema element or XML element becomes a child; a collection does so for
  /// each member in order, where a text becomes a child `t:String` and members of other kinds are
  /// skipped (a dictionary's members are its keys). Any other value leaves the element empty.
  /// @param version  the server version that schema elements are written for; null when unknown.
  /// @param error    the first failure of a member that could not write itself; such a member adds
  /// nothing.
  static NKXMLElement updateElement(NKXMLElement element, const TWValue& value,
                                    const TWVersion* version = nullptr, TWError* error = nullptr);

  /// The element text of a value: a text with forbidden characters replaced, a number in decimal (a
  /// boolean is 1 or 0), a date in ISO 8601, a zone's Windows name, and the constant text of a
  /// schema element that has one (the address of a mailbox, for instance). Absent for anything
  /// else.
  [[nodiscard]] static std::optional<std::string> xmlFromValue(const TWValue& value);

  /// The value that an element text stands for: a number for the number kinds, an instant for
  /// `Kind::date`, the text itself for `Kind::text`. Absent when the text does not parse, and for
  /// other kinds.
  [[nodiscard]] static TWValue valueFromXML(std::string_view text, TWValue::Kind forType);

  /// The text with every character that XML 1.0 forbids replaced by "?".
  [[nodiscard]] static std::string xmlFromUnsafeXML(std::string_view text);
  /// Where the first such character is; npos when there is none.
  [[nodiscard]] static std::size_t findUnsafeXML(std::string_view text) noexcept;

  /// True for lists and dictionaries. A text is not iterable.
  [[nodiscard]] static bool isIterable(const TWValue& object) noexcept {
    return object.isIterable();
  }

  /// A list of lists of `length` values each, the last with the remainder; empty for an empty
  /// collection. A value that is no collection comes back unchanged. A length of 0 means no limit:
  /// one chunk.
  [[nodiscard]] static TWValue chunkify(const TWValue& collection, std::size_t length);
  template <class T>
  [[nodiscard]] static std::vector<std::vector<T>> chunkify(const std::vector<T>& items,
                                                            std::size_t length) {
    if (length == 0) length = items.size();
    std::vector<std::vector<T>> chunks;
    for (std::size_t at = 0; at < items.size(); at += length) {
      const auto first = items.begin() + static_cast<std::ptrdiff_t>(at);
      chunks.emplace_back(first,
                          first + static_cast<std::ptrdiff_t>(std::min(length, items.size() - at)));
    }
    return chunks;
  }

  /// "ssl" (true only when the scheme is written exactly "https"), "server" (the host without port,
  /// when there is one) and "path" (when there is one) of a URL.
  [[nodiscard]] static TWDictionary parseUrl(std::string_view url);

  /// The part of an e-mail address after the first "@", in lower case. The consumer-mail domain
  /// "outlook.com" gives the host that serves its mailboxes, "outlook.office365.com". Absent
  /// without "@".
  [[nodiscard]] static std::optional<std::string> getDomain(std::string_view email);
};

}  // namespace tarnwell
