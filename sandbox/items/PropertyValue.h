#pragma once

#include <string>

#include "sandbox/items/Properties.h"
#include "sandbox/store/Node.h"

namespace tarnwell::sandbox {

/// Reads the element of a property into the form in which it is kept: times in UTC, booleans as
/// words. Throws the schema violation for a value that the property's type does not have.
[[nodiscard]] Node readProperty(const Property& property, pugi::xml_node element);

/// Reads t:ExtendedProperty. Throws the schema violation, or the EwsError for a property that is
/// addressed in a way that cannot be and for a value that its type does not have.
[[nodiscard]] Node readExtendedProperty(pugi::xml_node element);
/// Checks t:ExtendedFieldURI and gives it the one form that each property has.
[[nodiscard]] Node readExtendedFieldUri(pugi::xml_node element);
/// The same for the same property, whatever the letter case of its GUID and the form of its tag.
[[nodiscard]] std::string extendedKey(const Node& uri);

/// A t:Mailbox, with its parts in order. Throws the schema violation.
[[nodiscard]] Node readMailbox(pugi::xml_node element);

}  // namespace tarnwell::sandbox
