#include "tarnwell/items/TWDistributionList.h"

namespace tarnwell {

const TWElementClass& TWDistributionList::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWDistributionList",
                           .base = &TWItem::elementClass(),
                           .elementName = "DistributionList",
                           .make = &detail::makeElement<TWDistributionList>});
  return kClass;
}

}  // namespace tarnwell
