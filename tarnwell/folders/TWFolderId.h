#pragma once

#include "tarnwell/items/TWItemId.h"

namespace tarnwell {

/// The id of a folder (`t:FolderId`): "id" and "changekey".
class TWFolderId : public detail::ElementKind<TWFolderId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// The well-known name of a folder (`t:DistinguishedFolderId`): "id" ("inbox"), "changekey", and
/// "mailbox" (a `TWMailbox`) for a folder of another mailbox than one's own.
class TWDistinguishedFolderId : public detail::ElementKind<TWDistinguishedFolderId, TWItemId> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
