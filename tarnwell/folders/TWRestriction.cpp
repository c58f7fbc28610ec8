#include "tarnwell/folders/TWRestriction.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/services/TWErrors.h"

namespace tarnwell {

TWRestriction::TWRestriction(Q q, std::shared_ptr<const TWFolder> folder)
    : q_(std::move(q)), folder_(std::move(folder)) {}

std::optional<TWRestriction> TWRestriction::withQ(const Q& q,
                                                  std::shared_ptr<const TWFolder> folder,
                                                  TWError* error) {
  if (!q || q.isEmpty() || !folder) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     folder ? "Q object must not be empty" : "Restriction must have a folder"});
    return std::nullopt;
  }
  return TWRestriction(q, std::move(folder));
}

NKXMLElement TWRestriction::toXML(const TWVersion* version, TWError* error) const {
  return q_.toXML(*folder_, version, error);
}

std::string TWRestriction::description() const { return toXML(nullptr).prettyXMLString(); }

}  // namespace tarnwell
