#include "tarnwell/services/TWSendItem.h"

#include <utility>

#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWSendItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "SendItem",
  };
  return *kClass;
}

TWSendItem::TWSendItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWSendItem> TWSendItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWSendItem>(std::move(account));
}

std::optional<TWList> TWSendItem::call(const TWItemEntries& ids,
                                       const std::shared_ptr<TWFolder>& savedItemFolder,
                                       TWError* error) {
  const auto payload = getPayload(ids, savedItemFolder, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWSendItem::getPayload(const TWItemEntries& ids,
                                    const std::shared_ptr<TWFolder>& savedItemFolder,
                                    TWError* error) const {
  const auto version = accountVersion();
  auto payload = TWUtils::createElement(rootName(),
                                        {{"SaveItemToFolder", savedItemFolder ? "true" : "false"}});
  const auto itemIds = detail::itemIdsElement(ids, error);
  if (!itemIds) return {};
  payload.addChild(itemIds);
  if (!savedItemFolder) return payload;
  const auto saved = detail::folderIdsElement("m:SavedItemFolderId", TWFolders{savedItemFolder},
                                              version ? &*version : nullptr, error);
  if (!saved) return {};
  payload.addChild(saved);
  return payload;
}
}  // namespace tarnwell
