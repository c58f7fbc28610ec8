#pragma once

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// One Internet header of a message (`t:InternetMessageHeader`): "name" and "value".
class TWMessageHeader : public detail::ElementKind<TWMessageHeader, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
