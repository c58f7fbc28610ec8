#include "tarnwell/services/TWGetItem.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWGetItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "GetItem",
      .elementContainerName = "Items",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWGetItem::TWGetItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWGetItem> TWGetItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWGetItem>(std::move(account));
}

std::optional<TWList> TWGetItem::call(const TWItemEntries& ids, const Paths& additionalFields,
                                      std::string_view shape, TWError* error) {
  TWList all;
  const auto keep = [&](const TWList& results) {
    std::ranges::copy(results, std::back_inserter(all));
  };
  if (!call(ids, additionalFields, shape, keep, error)) return std::nullopt;
  return all;
}

bool TWGetItem::call(const TWItemEntries& ids, const Paths& additionalFields,
                     std::string_view shape, const Receiver& receive, TWError* error) {
  // All are built first: a bad id must not be found when half of the items have been read.
  std::vector<std::pair<NKXMLElement, std::size_t>> requests;
  for (const auto& chunk : TWUtils::chunkify(ids, chunkSize())) {
    requests.emplace_back(getPayload(chunk, additionalFields, shape, error), chunk.size());
    if (!requests.back().first) return false;
  }
  for (const auto& [payload, count] : requests) {
    auto results = getElements(payload, false, true, error);
    if (!results) return false;
    // However many results there are, those of the next request belong to the next ids.
    results->resize(count, detail::missingResult(descriptor()));
    receive(*results);
  }
  return true;
}

NKXMLElement TWGetItem::getPayload(const TWItemEntries& ids, const Paths& additionalFields,
                                   std::string_view shape, TWError* error) const {
  const auto version = accountVersion();
  const auto itemShape = detail::shapeElement("m:ItemShape", shape, additionalFields,
                                              version ? &*version : nullptr, error);
  if (!itemShape) return {};
  const auto itemIds = detail::itemIdsElement(ids, error);
  if (!itemIds) return {};
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(itemShape);
  payload.addChild(itemIds);
  return payload;
}

TWList TWGetItem::getElementsInContainer(const NKXMLElement& container) const {
  auto elements = TWEWSAccountService::getElementsInContainer(container);
  if (elements.empty())
    elements.emplace_back(detail::missingResult(descriptor(), container.parent()));
  return elements;
}

}  // namespace tarnwell
