#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A post in a folder (`t:PostItem`): a message that is sent to nobody. Has "sender", "from",
/// "is_read", "posted_time" and the like.
class TWPostItem : public detail::ElementKind<TWPostItem, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
