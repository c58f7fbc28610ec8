#include "tarnwell/schema/TWChoice.h"

#include "tarnwell/protocol/TWVersion.h"

namespace tarnwell {

bool TWChoice::supportsVersion(const TWVersion* version) const {
  if (version == nullptr || !supportedFrom) return true;
  return version->build() && version->build()->isGreaterThanOrEqualTo(supportedFrom);
}

}  // namespace tarnwell
