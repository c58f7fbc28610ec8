#include "tarnwell/services/TWCreateItem.h"

#include <algorithm>
#include <utility>

#include "tarnwell/items/TWItem.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWCreateItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "CreateItem",
      .elementContainerName = "Items",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWCreateItem::TWCreateItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWCreateItem> TWCreateItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWCreateItem>(std::move(account));
}

std::optional<TWList> TWCreateItem::call(const TWItems& items,
                                         const std::shared_ptr<TWFolder>& folder,
                                         std::string_view disposition,
                                         std::string_view sendInvitiations, TWError* error) {
  onlySaves_ = disposition == "SaveOnly";
  const auto payload = getPayload(items, folder, disposition, sendInvitiations, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWCreateItem::getPayload(const TWItems& items, const std::shared_ptr<TWFolder>& folder,
                                      std::string_view disposition,
                                      std::string_view sendInvitiations, TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName(), {{"MessageDisposition", disposition},
                                                     {"SendMeetingInvitations", sendInvitiations}});
  if (folder) {
    const auto saved =
        detail::folderIdsElement("m:SavedItemFolderId", TWFolders{folder}, target, error);
    if (!saved) return {};
    payload.addChild(saved);
  }
  if (std::ranges::find(items, nullptr) != items.end()) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, "Item must not be null"});
    return {};
  }
  TWError failure;
  payload.addChild(TWUtils::updateElement(TWUtils::createElement("m:Items"),
                                          TWList(items.begin(), items.end()), target, &failure));
  if (!failure) return payload;
  setError(error, failure);
  return {};
}

TWList TWCreateItem::getElementsInContainer(const NKXMLElement& container) const {
  auto elements = detail::elementOrTrue(container);
  if (!onlySaves_) return elements;
  for (auto& element : elements)
    if (!TWItem::idFromXML(element.asXML()))
      element = detail::missingResult(descriptor(), container.parent());
  return elements;
}

}  // namespace tarnwell
