#include "tarnwell/services/TWGetEvents.h"

#include <string_view>
#include <utility>

#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr std::string_view kMinutes = "15";

}  // namespace

const TWServiceClass& TWGetEvents::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "GetStreamingEvents",
      .elementContainerName = "Notifications",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWGetEvents::TWGetEvents(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWGetEvents> TWGetEvents::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWGetEvents>(std::move(account));
}

std::optional<TWList> TWGetEvents::call(const std::vector<std::string>& subscriptionIds,
                                        TWError* error) {
  return getElements(getPayload(subscriptionIds), true, error);
}

NKXMLElement TWGetEvents::getPayload(const std::vector<std::string>& subscriptionIds) {
  auto ids = TWUtils::createElement("m:SubscriptionIds");
  for (const auto& id : subscriptionIds)
    ids.addChild(TWUtils::updateElement(TWUtils::createElement("t:SubscriptionId"), id));
  auto payload = TWUtils::createElement(descriptor().rootName());
  payload.addChild(ids);
  payload.addChild(TWUtils::updateElement(TWUtils::createElement("m:ConnectionTimeout"), kMinutes));
  return payload;
}

}  // namespace tarnwell
