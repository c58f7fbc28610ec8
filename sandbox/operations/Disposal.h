#pragma once

#include <string>

#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {

// `type` is HardDelete, SoftDelete (into the recoverable items) or MoveToDeletedItems.

void disposeOfItem(Store& store, const Item& item, const std::string& type);
/// With everything below it. A folder that is deleted softly leaves its items behind, not itself.
void disposeOfFolder(Store& store, const Folder& folder, const std::string& type);

}  // namespace tarnwell::sandbox
