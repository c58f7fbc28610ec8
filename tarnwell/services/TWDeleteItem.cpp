#include "tarnwell/services/TWDeleteItem.h"

#include <utility>

#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWDeleteItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "DeleteItem",
  };
  return *kClass;
}

TWDeleteItem::TWDeleteItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWDeleteItem> TWDeleteItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWDeleteItem>(std::move(account));
}

std::optional<TWList> TWDeleteItem::call(const TWItemEntries& ids, std::string_view deleteType,
                                         std::string_view sendMeetingCancellations,
                                         std::string_view affectedOccurrences,
                                         bool suppressReadReceipts, TWError* error) {
  const auto payload = getPayload(ids, deleteType, sendMeetingCancellations, affectedOccurrences,
                                  suppressReadReceipts, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWDeleteItem::getPayload(const TWItemEntries& ids, std::string_view deleteType,
                                      std::string_view sendMeetingCancellations,
                                      std::string_view affectedOccurrences,
                                      bool suppressReadReceipts, TWError* error) const {
  TWDictionary attributes{{"DeleteType", deleteType},
                          {"SendMeetingCancellations", sendMeetingCancellations},
                          {"AffectedTaskOccurrences", affectedOccurrences}};
  detail::addSuppressReadReceipts(attributes, suppressReadReceipts, accountVersion());
  const auto itemIds = detail::itemIdsElement(ids, error);
  if (!itemIds) return {};
  auto payload = TWUtils::createElement(rootName(), attributes);
  payload.addChild(itemIds);
  return payload;
}
}  // namespace tarnwell
