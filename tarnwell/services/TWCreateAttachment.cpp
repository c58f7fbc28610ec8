#include "tarnwell/services/TWCreateAttachment.h"

#include <algorithm>
#include <utility>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWCreateAttachment::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "CreateAttachment",
      .elementContainerName = "Attachments",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWCreateAttachment::TWCreateAttachment(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWCreateAttachment> TWCreateAttachment::withAccount(
    std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWCreateAttachment>(std::move(account));
}

std::optional<TWList> TWCreateAttachment::call(const TWItemEntry& parent, const Attachments& items,
                                               TWError* error) {
  const auto payload = getPayload(parent, items, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWCreateAttachment::getPayload(const TWItemEntry& parent, const Attachments& items,
                                            TWError* error) const {
  const auto version = accountVersion();
  const auto pair = parent.idPair();
  if (!pair || pair->id.empty()) {
    setError(error, parent ? TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an id")
                           : parent.error());
    return {};
  }
  if (std::ranges::find(items, nullptr) != items.end()) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, "Attachment must not be null"});
    return {};
  }
  TWError failure;
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(TWParentItemId::withDict({{"id", pair->id}, {"changekey", pair->changekey}})
                       ->toXML(nullptr, &failure));
  payload.addChild(TWUtils::updateElement(TWUtils::createElement("m:Attachments"),
                                          TWList(items.begin(), items.end()),
                                          version ? &*version : nullptr, &failure));
  if (!failure) return payload;
  setError(error, failure);
  return {};
}

}  // namespace tarnwell
