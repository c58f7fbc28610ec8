#pragma once

#include <string>

#include <pugixml.hpp>

#include "sandbox/items/Properties.h"
#include "sandbox/store/Node.h"

namespace tarnwell::sandbox {

/// What t:FieldURI, t:IndexedFieldURI or t:ExtendedFieldURI names.
struct PropertyPath {
  /// Null for a property of folders and for an extended one.
  const Property* property = nullptr;
  /// "item:Subject", "folder:DisplayName"; empty for an extended property.
  std::string uri = {};
  /// The Key of an entry; empty for the property as a whole.
  std::string index = {};
  /// The part of an entry, "Street"; empty for all of it.
  std::string part = {};
  /// The t:ExtendedFieldURI.
  Node extended = {};

  [[nodiscard]] bool isExtended() const noexcept { return !extended.name.empty(); }
  /// The same for paths to the same thing.
  [[nodiscard]] std::string key() const;
};

/// Whether the element is a path at all.
[[nodiscard]] bool isPropertyPath(pugi::xml_node element);
/// Throws the schema violation for an element that is no path, and for a URI that the schema does
/// not know.
[[nodiscard]] PropertyPath readPropertyPath(pugi::xml_node element, Schema schema);

}  // namespace tarnwell::sandbox
