#pragma once

#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// Throws the EwsError for an appointment that ends before it begins.
void checkCalendarTimes(const Item& item);

}  // namespace tarnwell::sandbox
