#include "tarnwell/services/TWFindItem.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWRestriction.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWFindItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "FindItem",
      .elementContainerName = "Items",
      .elementContainerXMLns = kTypesNamespace,
  };
  return *kClass;
}

TWFindItem::TWFindItem(std::shared_ptr<TWAccount> account, TWFolders folders)
    : TWEWSFolderService(descriptor(), std::move(account), std::move(folders)) {}

std::shared_ptr<TWFindItem> TWFindItem::withAccount(std::shared_ptr<TWAccount> account,
                                                    TWFolders folders) {
  return std::shared_ptr<TWFindItem>(new TWFindItem(std::move(account), std::move(folders)));
}

TWPagedServiceResponse TWFindItem::call(Paths additionalFields,
                                        const std::optional<TWRestriction>& restriction,
                                        Orders orderFields, std::string shape,
                                        const std::optional<TWRestriction>& query,
                                        std::string depth,
                                        std::shared_ptr<TWCalendarView> calendarView, int pageSize,
                                        std::int64_t maxItems, TWError* /*error*/) {
  auto payload = [this, fields = std::move(additionalFields), restriction,
                  orders = std::move(orderFields), shape = std::move(shape), query,
                  depth = std::move(depth), view = std::move(calendarView),
                  pageSize](const TWDictionary& args, TWError* error) {
    return getPayload(fields, restriction, orders, shape, query, depth, view, pageSize,
                      args["offset"].asInteger().value_or(0), error);
  };
  return pagedCall(std::move(payload), maxItems, {{"offset", 0}});
}

NKXMLElement TWFindItem::getPayload(const Paths& additionalFields,
                                    const std::optional<TWRestriction>& restriction,
                                    const Orders& orderFields, std::string_view shape,
                                    const std::optional<TWRestriction>& query,
                                    std::string_view depth,
                                    const std::shared_ptr<TWCalendarView>& calendarView,
                                    int pageSize, std::int64_t offset, TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName(), {{"Traversal", depth}});
  // Each part is written or fails the request; none is left out for not being writable.
  const auto add = [&](const NKXMLElement& part) {
    if (part) payload.addChild(part);
    return static_cast<bool>(part);
  };
  if (!add(detail::shapeElement("m:ItemShape", shape, additionalFields, target, error))) return {};
  if (calendarView) {
    if (!add(calendarView->toXML(target, error))) return {};
  } else {
    add(TWUtils::createElement("m:IndexedPageItemView",
                               {{"MaxEntriesReturned", std::to_string(pageSize)},
                                {"Offset", std::to_string(offset)},
                                {"BasePoint", "Beginning"}}));
  }
  if (restriction && !add(restriction->toXML(target, error))) return {};
  if (!orderFields.empty()) {
    if (std::ranges::find(orderFields, nullptr) != orderFields.end()) {
      setError(error, {TWErrorCode::ErrorType, "An order to sort by is missing"});
      return {};
    }
    TWError failure;
    add(TWUtils::updateElement(TWUtils::createElement("m:SortOrder"),
                               TWList(orderFields.begin(), orderFields.end()), target, &failure));
    if (failure) {
      setError(error, failure);
      return {};
    }
  }
  if (!add(detail::folderIdsElement("m:ParentFolderIds", folders(), target, error))) return {};
  if (query && !add(query->toXML(target, error))) return {};
  return payload;
}

}  // namespace tarnwell
