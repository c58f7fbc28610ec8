#include "tarnwell/services/TWCreateFolder.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWCreateFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "CreateFolder",
      .elementContainerName = "Folders",
      .elementContainerXMLns = kMessagesNamespace,
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWCreateFolder::TWCreateFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWCreateFolder> TWCreateFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWCreateFolder>(std::move(account));
}

std::optional<TWResults<std::shared_ptr<TWFolder>>> TWCreateFolder::call(
    const std::shared_ptr<TWFolder>& parent, const TWFolders& folders, TWError* error) {
  const auto payload = getPayload(parent, folders, error);
  const auto results = payload ? getElements(payload, error) : std::nullopt;
  if (!results) return std::nullopt;
  return detail::foldersFromResults(*results, TWFolder::elementClass(), account());
}

NKXMLElement TWCreateFolder::getPayload(const std::shared_ptr<TWFolder>& parent,
                                        const TWFolders& folders, TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName());
  const auto below = detail::folderIdsElement("m:ParentFolderId", TWFolders{parent}, target, error);
  if (!below) return {};
  payload.addChild(below);
  auto created = TWUtils::createElement("m:Folders");
  for (const auto& folder : folders) {
    const auto xml = folder ? folder->toXML(target, error) : NKXMLElement();
    if (!xml) {
      if (!folder) setError(error, {TWErrorCode::ErrorType, "A folder to create is missing"});
      return {};
    }
    created.addChild(xml);
  }
  payload.addChild(created);
  return payload;
}

}  // namespace tarnwell
