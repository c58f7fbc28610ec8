#include "tarnwell/services/TWUnsubscribeRequest.h"

#include <utility>

#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWUnsubscribeRequest::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "Unsubscribe",
  };
  return *kClass;
}

TWUnsubscribeRequest::TWUnsubscribeRequest(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWUnsubscribeRequest> TWUnsubscribeRequest::withAccount(
    std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWUnsubscribeRequest>(std::move(account));
}

std::optional<TWList> TWUnsubscribeRequest::call(std::string_view subscriptionId, TWError* error) {
  return getElements(getPayload(subscriptionId), error);
}

NKXMLElement TWUnsubscribeRequest::getPayload(std::string_view subscriptionId) {
  auto payload = TWUtils::createElement(descriptor().serviceName, {{"xmlns", kMessagesNamespace}});
  payload.addChild(
      TWUtils::updateElement(TWUtils::createElement("SubscriptionId"), subscriptionId));
  return payload;
}

}  // namespace tarnwell
