#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/items/PropertyPath.h"

namespace tarnwell::sandbox {

/// The values that a path has in whatever is searched.
using ValueSource = std::function<std::vector<std::string>(const PropertyPath& path)>;

/// A search expression as a tree.
struct Restriction {
  enum class Kind { all, any, none, exists, excludes, contains, compare };
  enum class Comparison { equal, notEqual, greater, greaterOrEqual, less, lessOrEqual };
  enum class Mode { fullString, prefixed, substring, prefixOnWords, exactPhrase };

  Kind kind = Kind::all;
  std::vector<Restriction> children;
  PropertyPath path;
  /// Of a comparison: the other property; without it the constant counts.
  std::optional<PropertyPath> otherPath;
  std::string constant;
  Comparison comparison = Comparison::equal;
  Mode mode = Mode::substring;
  bool ignoresCase = false;
  std::uint32_t mask = 0;

  /// A property with several values is compared by each of them, and one that fits is enough; one
  /// without a value is unequal to everything, and neither greater nor less.
  [[nodiscard]] bool matches(const ValueSource& values) const;
};

/// Reads m:Restriction. Throws the schema violation, or the EwsError for a property that cannot be
/// searched for and a constant that its type does not have.
[[nodiscard]] Restriction readRestriction(pugi::xml_node element, Schema schema);

}  // namespace tarnwell::sandbox
