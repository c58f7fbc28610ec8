#include "tarnwell/services/detail/RequestParts.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell::detail {
namespace {

/// The id that an entry of a list of folders stands for; null with an error when it is none.
std::shared_ptr<TWEWSElement> folderIdOf(const TWValue& entry, TWError* error) {
  if (const auto folder = entry.asObject<TWFolder>()) return folder->idElement(error);
  if (auto id = entry.asObject<TWFolderId>()) return id;
  if (auto id = entry.asObject<TWDistinguishedFolderId>()) return id;
  // Where an item or a folder lies: its own element stands in none of these lists.
  if (const auto id = entry.asObject<TWParentFolderId>())
    return TWFolderId::withDict({{"id", (*id)["id"]}, {"changekey", (*id)["changekey"]}});
  if (const auto pair = entry.asList(); pair && pair->size() == 2)
    return TWFolderId::withDict({{"id", pair->front()}, {"changekey", pair->back()}});
  setError(error, {TWErrorCode::ErrorType,
                   formatMessage("%@ must be a folder or the id of one", {entry})});
  return nullptr;
}

}  // namespace

NKXMLElement shapeElement(std::string_view name, std::string_view shape,
                          const std::vector<std::shared_ptr<TWFieldPath>>& fields,
                          const TWVersion* version, TWError* error) {
  auto element = TWUtils::createElement(name);
  TWUtils::createAndAddElementToParent(element, "t:BaseShape", shape);
  if (fields.empty()) return element;
  std::vector<std::pair<std::string, std::shared_ptr<TWFieldPath>>> paths;
  for (const auto& field : fields) {
    if (!field) {
      setError(error, {TWErrorCode::ErrorType, "A field to ask for is missing"});
      return {};
    }
    for (auto& path : field->expand(version)) {
      auto text = path->path();
      paths.emplace_back(std::move(text), std::move(path));
    }
  }
  std::ranges::stable_sort(paths, {}, &decltype(paths)::value_type::first);
  TWList sorted;
  for (auto& path : paths) sorted.emplace_back(std::move(path.second));
  TWError failure;
  element.addChild(TWUtils::updateElement(TWUtils::createElement("t:AdditionalProperties"), sorted,
                                          version, &failure));
  if (!failure) return element;
  setError(error, failure);
  return {};
}

NKXMLElement folderIdsElement(std::string_view name, const TWList& folders, Pairs pairs,
                              const TWVersion* version, TWError* error) {
  auto element = TWUtils::createElement(name);
  for (const auto& entry : folders) {
    const auto pair = entry.asList();
    if (pair && pair->size() == 2 && pairs == Pairs::leftOut) continue;
    const auto id = folderIdOf(entry, error);
    const auto xml = id ? id->toXML(version, error) : NKXMLElement();
    if (!xml) return {};
    element.addChild(xml);
  }
  return element;
}

NKXMLElement folderIdsElement(std::string_view name, const TWFolders& folders,
                              const TWVersion* version, TWError* error) {
  return folderIdsElement(name, TWList(folders.begin(), folders.end()), Pairs::converted, version,
                          error);
}

TWResults<std::shared_ptr<TWFolder>> foldersFromResults(const TWList& results,
                                                        const TWFolderClass& cls,
                                                        const std::shared_ptr<TWAccount>& account) {
  TWResults<std::shared_ptr<TWFolder>> folders;
  for (const auto& result : results) {
    if (auto caught = result.asError())
      folders.emplace_back(std::move(caught));
    else
      folders.emplace_back(
          std::dynamic_pointer_cast<TWFolder>(cls.fromXML(result.asXML(), account)));
  }
  return folders;
}

}  // namespace tarnwell::detail
