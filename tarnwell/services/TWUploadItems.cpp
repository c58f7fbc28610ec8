#include "tarnwell/services/TWUploadItems.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWUploadItems::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "UploadItems",
      .elementContainerName = "ItemId",
      .elementContainerXMLns = kMessagesNamespace,
      .errorsToCatchInResponse = detail::withResponseMessageError(),
  };
  return *kClass;
}

TWUploadItems::TWUploadItems(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWUploadItems> TWUploadItems::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWUploadItems>(std::move(account));
}

std::optional<TWList> TWUploadItems::call(const std::vector<TWItemUpload>& items, TWError* error) {
  const auto payload = getPayload(items, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWUploadItems::getPayload(const std::vector<TWItemUpload>& items,
                                       TWError* error) const {
  auto elements = TWUtils::createElement("m:Items");
  for (const auto& [folder, data] : items) {
    if (!folder || folder->get("folder_id").textView().empty()) {
      setError(error, {TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"});
      return {};
    }
    auto item = TWUtils::createElement("t:Item", {{"CreateAction", "CreateNew"}});
    const auto parent = TWParentFolderId::withDict(
        {{"id", folder->get("folder_id")}, {"changekey", folder->get("changekey")}});
    const auto xml = parent->toXML(nullptr, error);
    if (!xml) return {};
    item.addChild(xml);
    TWUtils::createAndAddElementToParent(item, "t:Data", data);
    elements.addChild(item);
  }
  auto payload = TWUtils::createElement(rootName());
  payload.addChild(elements);
  return payload;
}

TWList TWUploadItems::getElementsInContainer(const NKXMLElement& container) const {
  const auto value = [&](std::string_view name) {
    return TWValue(container.attributeForName(name).stringValue());
  };
  return {TWList{value(TWItemId::idAttr()), value(TWItemId::changeKeyAttr())}};
}
}  // namespace tarnwell
