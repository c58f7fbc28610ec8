#pragma once

#include <memory>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {

/// The serialised form of a folder: a JSON document that tells its format, the folder's class and,
/// of each property, its kind besides its text. The kind keeps a text that looks like a number's
/// or an element's form apart from these.
[[nodiscard]] TWData writeFolder(const TWFolder& folder);

struct ArchivedFolder {
  const TWFolderClass* cls = nullptr;
  TWDictionary properties;
};
/// Absent with an error for anything that `writeFolder` does not write.
[[nodiscard]] std::optional<ArchivedFolder> readFolder(const TWData& data,
                                                       const std::shared_ptr<TWAccount>& account,
                                                       TWError* error);

}  // namespace tarnwell::detail
