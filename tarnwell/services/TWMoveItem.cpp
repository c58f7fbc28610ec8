#include "tarnwell/services/TWMoveItem.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWMoveItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "MoveItem",
      .elementContainerName = "Items",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWMoveItem::TWMoveItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWMoveItem> TWMoveItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWMoveItem>(std::move(account));
}

std::optional<TWList> TWMoveItem::call(const TWItemEntries& ids,
                                       const std::shared_ptr<TWFolder>& toFolder, TWError* error) {
  const auto payload = getPayload(ids, toFolder, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWMoveItem::getPayload(const TWItemEntries& ids,
                                    const std::shared_ptr<TWFolder>& savedItemFolder,
                                    TWError* error) const {
  const auto version = accountVersion();
  const auto to = detail::folderIdsElement("m:ToFolderId", TWFolders{savedItemFolder},
                                           version ? &*version : nullptr, error);
  if (!to) return {};
  const auto itemIds = detail::itemIdsElement(ids, error);
  if (!itemIds) return {};
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(to);
  payload.addChild(itemIds);
  return payload;
}

TWList TWMoveItem::getElementsInContainer(const NKXMLElement& container) const {
  return detail::elementOrTrue(container);
}

}  // namespace tarnwell
