#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "tarnwell/time/TWTimeZone.h"

namespace tarnwell::test {

/// The zone of that name, which must exist.
inline TWTimeZone zoneNamed(std::string_view name) {
  auto zone = TWTimeZone::fromTimeZone(name);
  if (!zone) throw std::invalid_argument("no zone " + std::string(name));
  return *zone;
}

/// Makes a zone the default one until the end of the scope.
class DefaultZoneScope {
 public:
  explicit DefaultZoneScope(std::string_view name) : before_(TWTimeZone::defaultZone()) {
    TWTimeZone::setDefaultZone(zoneNamed(name));
  }
  DefaultZoneScope(const DefaultZoneScope&) = delete;
  DefaultZoneScope& operator=(const DefaultZoneScope&) = delete;
  ~DefaultZoneScope() { TWTimeZone::setDefaultZone(before_); }

 private:
  TWTimeZone before_;
};

}  // namespace tarnwell::test
