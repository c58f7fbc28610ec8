#include "tarnwell/services/TWGetAttachment.h"

#include <utility>

#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWGetAttachment::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "GetAttachment",
      .elementContainerName = "Attachments",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWGetAttachment::TWGetAttachment(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWGetAttachment> TWGetAttachment::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWGetAttachment>(std::move(account));
}

std::optional<TWList> TWGetAttachment::call(const TWList& ids, bool includeMimeContent,
                                            TWError* error) {
  const auto payload = getPayload(ids, includeMimeContent, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWGetAttachment::getPayload(const TWList& ids, bool includeMimeContent,
                                         TWError* error) const {
  const auto attachmentIds = detail::attachmentIdsElement(ids, error);
  if (!attachmentIds) return {};
  auto payload = TWUtils::createElement(rootName());
  auto shape = TWUtils::createElement("m:AttachmentShape");
  if (includeMimeContent)
    TWUtils::createAndAddElementToParent(shape, "t:IncludeMimeContent", "true");
  payload.addChild(shape);
  payload.addChild(attachmentIds);
  return payload;
}

}  // namespace tarnwell
