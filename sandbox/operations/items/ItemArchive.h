#pragma once

#include <string>

#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {

/// All of an item as base64, the way ExportItems hands it out. Clients cannot look into it.
[[nodiscard]] std::string archiveItem(const Item& item);
/// The item again, without numbers but those of its attachments, which are new. Throws the EwsError
/// for data that is no such archive.
[[nodiscard]] Item itemFromArchive(Store& store, const std::string& data);

}  // namespace tarnwell::sandbox
