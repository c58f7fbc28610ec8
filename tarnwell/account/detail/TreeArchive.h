#pragma once

#include <memory>
#include <optional>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {

/// The serialised form of a folder tree: a JSON document that tells its format, with the root and
/// all its folders, each with its class, in their own serialised form. Absent when the folders
/// cannot be read: half a tree would be taken for a whole one.
[[nodiscard]] std::optional<TWData> writeTree(const TWRoot& root);

/// Null for anything that `writeTree` does not write.
[[nodiscard]] std::shared_ptr<TWRoot> readTree(const TWData& data,
                                               const std::shared_ptr<TWAccount>& account);

}  // namespace tarnwell::detail
