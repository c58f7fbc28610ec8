#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A message (`t:Message`): besides what every item has "sender", "from", "to_recipients",
/// "cc_recipients", "bcc_recipients", "reply_to", "is_read" and the like. Recipients can be given
/// as addresses:
///
///     message->set("to_recipients", TWValue::list({"ann@example.com"}));
class TWMessage : public detail::ElementKind<TWMessage, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
