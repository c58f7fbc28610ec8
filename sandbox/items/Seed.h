#pragma once

#include <string>

#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {

/// Puts `count` items into a mailbox: messages, contacts, appointments and tasks, roughly as an
/// office worker has them over the year 2026. The same count gives the same items, times and all.
void seedMailbox(Store& store, const std::string& address, int count);

}  // namespace tarnwell::sandbox
