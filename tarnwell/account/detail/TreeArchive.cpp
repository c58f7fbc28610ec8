#include "tarnwell/account/detail/TreeArchive.h"

#include <string>

#include <nlohmann/json.hpp>

namespace tarnwell::detail {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;

Json asText(const TWData& data) { return std::string(data.begin(), data.end()); }

std::shared_ptr<TWFolder> readFolder(const Json& data, const std::shared_ptr<TWAccount>& account) {
  if (!data.is_string()) return nullptr;
  const auto& text = data.get_ref<const std::string&>();
  return TWFolder::withSerializedData(TWData(text.begin(), text.end()), account);
}

}  // namespace

std::optional<TWData> writeTree(const TWRoot& root) {
  Json folders = Json::array();
  const auto add = [&folders](const TWFolder& folder) {
    folders.push_back(
        {{"class", std::string(folder.className())}, {"data", asText(folder.serializedData())}});
  };
  TWError failure;
  auto rest = root.foldersMap(&failure);
  if (failure) return std::nullopt;
  // Folders keep their order; those that are not below the root come last.
  for (const auto& folder : root.walk())
    if (rest.erase((*folder)["folder_id"].asText().value_or(std::string())) > 0) add(*folder);
  for (const auto& [id, folder] : rest) add(*folder);
  const Json document{
      {"format", kFormat}, {"root", asText(root.serializedData())}, {"folders", folders}};
  const auto text = document.dump();
  return TWData(text.begin(), text.end());
}

std::shared_ptr<TWRoot> readTree(const TWData& data, const std::shared_ptr<TWAccount>& account) {
  const auto document = Json::parse(data.begin(), data.end(), nullptr, false);
  if (!document.is_object() || !document.contains("format") || document["format"] != kFormat ||
      !document.contains("root") || !document.contains("folders") ||
      !document["folders"].is_array())
    return nullptr;
  auto root = std::dynamic_pointer_cast<TWRoot>(readFolder(document["root"], account));
  if (!root) return nullptr;
  TWFolders folders;
  for (const auto& entry : document["folders"]) {
    if (!entry.is_object() || !entry.contains("class") || !entry.contains("data")) return nullptr;
    auto folder = readFolder(entry["data"], account);
    if (!folder || entry["class"] != std::string(folder->className())) return nullptr;
    // The root's own entry is the new root itself.
    if (folder->get("folder_id") == root->get("folder_id")) folder = root;
    folders.push_back(std::move(folder));
  }
  root->setSubFolders(folders);
  return root;
}

}  // namespace tarnwell::detail
