#include "tarnwell/folders/TWRestriction.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/services/TWErrors.h"

namespace tarnwell {
namespace {

TWError emptyQuery() { return {TWErrorCode::ErrorValueOutOfRange, "Q object must not be empty"}; }

}  // namespace

TWRestriction::TWRestriction(Q q, std::shared_ptr<const TWFolder> folder)
    : q_(std::move(q)), folder_(std::move(folder)) {}

std::optional<TWRestriction> TWRestriction::withQ(const Q& q,
                                                  std::shared_ptr<const TWFolder> folder,
                                                  TWError* error) {
  if (!q || q.isEmpty() || !folder) {
    setError(error,
             folder ? emptyQuery()
                    : TWError(TWErrorCode::ErrorValueOutOfRange, "Restriction must have a folder"));
    return std::nullopt;
  }
  return TWRestriction(q, std::move(folder));
}

NKXMLElement TWRestriction::toXML(const TWVersion* version, TWError* error) const {
  TWError failure;
  auto element = q_.toXML(*folder_, version, &failure);
  if (!element) setError(error, failure ? failure : emptyQuery());
  return element;
}

std::string TWRestriction::description() const { return toXML(nullptr).prettyXMLString(); }

}  // namespace tarnwell
