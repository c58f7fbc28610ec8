#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A person or company (`t:Contact`): "given_name", "surname" and the like; "email_addresses",
/// "phone_numbers" and "physical_addresses" are lists of entries with labels. Servers that check
/// the schema refuse to save the last, whose parts are written without the prefix "t:".
class TWContact : public detail::ElementKind<TWContact, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
