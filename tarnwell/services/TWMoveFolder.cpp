#include "tarnwell/services/TWMoveFolder.h"

#include <utility>

#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWMoveFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "MoveFolder",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWMoveFolder::TWMoveFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWMoveFolder> TWMoveFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWMoveFolder>(std::move(account));
}

std::optional<TWList> TWMoveFolder::call(const TWList& folders,
                                         const std::shared_ptr<TWFolder>& parentFolder,
                                         TWError* error) {
  const auto payload = getPayload(folders, parentFolder, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWMoveFolder::getPayload(const TWList& folders,
                                      const std::shared_ptr<TWFolder>& parent,
                                      TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName());
  const auto to = detail::folderIdsElement("m:ToFolderId", TWFolders{parent}, target, error);
  if (!to) return {};
  payload.addChild(to);
  const auto ids =
      detail::folderIdsElement("m:FolderIds", folders, detail::Pairs::leftOut, target, error);
  if (!ids) return {};
  payload.addChild(ids);
  return payload;
}

}  // namespace tarnwell
