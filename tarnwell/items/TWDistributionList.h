#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A distribution list (`t:DistributionList`). It shares the fields of `TWItem`: what is registered
/// on either is a field of both.
class TWDistributionList : public detail::ElementKind<TWDistributionList, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
