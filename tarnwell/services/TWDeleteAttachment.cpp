#include "tarnwell/services/TWDeleteAttachment.h"

#include <utility>

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWDeleteAttachment::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "DeleteAttachment",
      .elementContainerName = "Attachments",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWDeleteAttachment::TWDeleteAttachment(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWDeleteAttachment> TWDeleteAttachment::withAccount(
    std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWDeleteAttachment>(std::move(account));
}

std::optional<TWList> TWDeleteAttachment::call(const TWList& ids, TWError* error) {
  const auto payload = getPayload(ids, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWDeleteAttachment::getPayload(const TWList& ids, TWError* error) const {
  const auto attachmentIds = detail::attachmentIdsElement(ids, error);
  if (!attachmentIds) return {};
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(attachmentIds);
  return payload;
}

NKXMLElement TWDeleteAttachment::findContainer(const NKXMLElement& message, std::string_view name,
                                               std::string_view xmlns) const {
  const auto container = TWEWSAccountService::findContainer(message, name, xmlns);
  return container
             ? container
             : message.elementForName(TWRootItemId::responseTag(), TWRootItemId::responseXMLns());
}

TWList TWDeleteAttachment::getElementsInContainer(const NKXMLElement& container) const {
  if (container.localName() == TWRootItemId::responseTag()) return {container};
  return TWEWSAccountService::getElementsInContainer(container);
}

}  // namespace tarnwell
