#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A person or company in an address book (`t:Contact`): "given_name", "surname", "company_name"
/// and the like; "email_addresses", "phone_numbers" and "physical_addresses" are lists of entries
/// with labels.
class TWContact : public detail::ElementKind<TWContact, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
