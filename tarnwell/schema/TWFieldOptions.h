#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/protocol/TWBuild.h"
#include "tarnwell/schema/TWChoice.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWElementClass;

/// What a field is declared with. A declaration names what differs:
///
///     TWCharField::withProps({.name = "subject", .fieldURI = "item:Subject"})
///
/// The flags are false by default but for `isSearchable`. All other options are absent by default.
struct TWFieldOptions {
  std::optional<std::string> name = {};  ///< of the property, in snake case: "datetime_received"
  std::optional<std::string> fieldURI = {};  ///< "item:Subject"; of attributes, their own name
  std::optional<std::string> fieldURIPostfix = {};  ///< "Subject"; derived from the URI
  const TWElementClass* valueCls = nullptr;         ///< what a value must be an instance of
  TWValue default_ = {};                            ///< stands in for a value that is missing
  std::optional<TWBuild> supportedFrom = {};        ///< first server build that knows the field
  std::optional<TWBuild> deprecatedFrom = {};       ///< first server build that no longer knows it
  std::optional<double> min = {}, max = {};         ///< inclusive bounds of numbers
  std::vector<std::string> enum_ = {};        ///< names of an enumeration; the first has position 1
  std::optional<std::size_t> maxLength = {};  ///< of texts, in UTF-16 code units
  std::vector<TWChoice> choices = {};
  std::optional<bool> isRequired = false;           ///< must have a value when validated
  std::optional<bool> isRequiredAfterSave = false;  ///< ... once the element is on the server
  std::optional<bool> isReadOnly = false;           ///< set by the server, never written
  std::optional<bool> isReadOnlyAfterSend = false;  ///< of a sent message, not to be changed
  std::optional<bool> isSearchable = true;          ///< may be used in restrictions and orders
  std::optional<bool> isAttribute = false;  ///< an XML attribute of the element, not a child

  /// Keyed access to the same options under their names ("isReadOnly", "default", "enum", ...). A
  /// build reads as its text, a class as its name, choices as the list of their texts. Absent for
  /// what is not set.
  [[nodiscard]] TWValue get(std::string_view option) const;
  /// False, with nothing changed, when the name or the value is missing, when there is no such
  /// option, and when a value of that kind cannot be stored in it (builds, classes and choices are
  /// set as members).
  bool set(std::string_view option, const TWValue& value);
  void remove(std::string_view option);
  /// The options that are set, by name.
  [[nodiscard]] std::vector<std::pair<std::string_view, TWValue>> all() const;
};

}  // namespace tarnwell
