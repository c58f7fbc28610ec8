#include "tarnwell/items/TWTask.h"

namespace tarnwell {

const TWElementClass& TWTask::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWTask",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "Task",
                                                   .fields = [] { return TWFields(); },
                                                   .make = &detail::makeElement<TWTask>});
  return kClass;
}

}  // namespace tarnwell
