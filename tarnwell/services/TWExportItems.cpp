#include "tarnwell/services/TWExportItems.h"

#include <utility>

#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWExportItems::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "ExportItems",
      .elementContainerName = "Data",
      .elementContainerXMLns = kMessagesNamespace,
      .errorsToCatchInResponse = detail::withResponseMessageError(),
  };
  return *kClass;
}

TWExportItems::TWExportItems(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWExportItems> TWExportItems::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWExportItems>(std::move(account));
}

std::optional<TWList> TWExportItems::call(const TWItemEntries& ids, TWError* error) {
  const auto payload = getPayload(ids, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWExportItems::getPayload(const TWItemEntries& ids, TWError* error) const {
  const auto itemIds = detail::itemIdsElement(ids, error);
  if (!itemIds) return {};
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(itemIds);
  return payload;
}

TWList TWExportItems::getElementsInContainer(const NKXMLElement& container) const {
  return {container};
}
}  // namespace tarnwell
