#pragma once

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// What the account may do with an item or folder (`t:EffectiveRights`): the booleans
/// "create_associated", "create_contents", "create_hierarchy", "delete", "modify", "read" and
/// "view_private_items", each false when the server says nothing of it.
class TWEffectiveRights : public detail::ElementKind<TWEffectiveRights, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
