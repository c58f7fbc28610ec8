#include "tarnwell/services/TWSubscribeRequest.h"

#include <utility>

#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWSubscribeRequest::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "Subscribe",
      .elementContainerName = "SubscriptionId",
      .elementContainerXMLns = kMessagesNamespace,
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWSubscribeRequest::TWSubscribeRequest(std::shared_ptr<TWAccount> account, TWFolders folders)
    : TWEWSFolderService(descriptor(), std::move(account), std::move(folders)) {}

std::shared_ptr<TWSubscribeRequest> TWSubscribeRequest::withAccount(
    std::shared_ptr<TWAccount> account, TWFolders folders) {
  return std::shared_ptr<TWSubscribeRequest>(
      new TWSubscribeRequest(std::move(account), std::move(folders)));
}

std::optional<TWList> TWSubscribeRequest::call(const std::vector<std::string>& eventTypes,
                                               TWError* error) {
  const auto payload = getPayload(eventTypes, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWSubscribeRequest::getPayload(const std::vector<std::string>& eventTypes,
                                            TWError* error) const {
  const auto version = accountVersion();
  const auto ids =
      detail::folderIdsElement("t:FolderIds", folders(), version ? &*version : nullptr, error);
  if (!ids) return {};
  auto types = TWUtils::createElement("t:EventTypes");
  for (const auto& type : eventTypes)
    types.addChild(TWUtils::updateElement(TWUtils::createElement("t:EventType"), type));
  auto request = TWUtils::createElement("m:StreamingSubscriptionRequest");
  request.addChild(ids);
  request.addChild(types);
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(request);
  return payload;
}

TWList TWSubscribeRequest::getElementsInContainer(const NKXMLElement& container) const {
  return {container};
}

}  // namespace tarnwell
