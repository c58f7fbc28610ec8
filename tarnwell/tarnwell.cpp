#include "tarnwell/tarnwell.h"

#include "TarnwellVersion.h"

namespace tarnwell {

const double TarnwellVersionNumber = TARNWELL_VERSION_MAJOR + TARNWELL_VERSION_MINOR / 100.0;
const char* const TarnwellVersionString = TARNWELL_VERSION_STRING;

}  // namespace tarnwell
