#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWResult.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {
class TWFieldPath;
class TWFolderClass;
}  // namespace tarnwell

/// What several operations have in their requests and answers.
namespace tarnwell::detail {

/// `m:ItemShape` or `m:FolderShape`, whichever is named, with the shape and the fields asked for
/// besides: expanded for the version, in the order of their texts. Invalid with an error when a
/// path cannot be written.
[[nodiscard]] NKXMLElement shapeElement(std::string_view name, std::string_view shape,
                                        const std::vector<std::shared_ptr<TWFieldPath>>& fields,
                                        const TWVersion* version, TWError* error);

/// What becomes of the pairs of an id and a change key in a list of folders.
enum class Pairs { converted, leftOut };

/// An element of that name that holds the ids of folders: of folders themselves, of folder ids
/// (what "parent_folder_id" holds is one too), and of pairs. Invalid with an error otherwise.
[[nodiscard]] NKXMLElement folderIdsElement(std::string_view name, const TWList& folders,
                                            Pairs pairs, const TWVersion* version, TWError* error);
[[nodiscard]] NKXMLElement folderIdsElement(std::string_view name, const TWFolders& folders,
                                            const TWVersion* version, TWError* error);

/// The results of a service whose results are folders, as folders of that class; caught errors in
/// their place.
[[nodiscard]] TWResults<std::shared_ptr<TWFolder>> foldersFromResults(
    const TWList& results, const TWFolderClass& cls, const std::shared_ptr<TWAccount>& account);

}  // namespace tarnwell::detail
