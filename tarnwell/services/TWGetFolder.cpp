#include "tarnwell/services/TWGetFolder.h"

#include <utility>

#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWGetFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "GetFolder",
      .elementContainerName = "Folders",
      .elementContainerXMLns = kMessagesNamespace,
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWGetFolder::TWGetFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWGetFolder> TWGetFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWGetFolder>(std::move(account));
}

std::optional<TWList> TWGetFolder::call(const TWList& folders, const Paths& additionalFields,
                                        std::string_view shape, TWError* error) {
  const auto payload = getPayload(folders, additionalFields, shape, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWGetFolder::getPayload(const TWList& folders, const Paths& additionalFields,
                                     std::string_view shape, TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName());
  const auto folderShape =
      detail::shapeElement("m:FolderShape", shape, additionalFields, target, error);
  if (!folderShape) return {};
  payload.addChild(folderShape);
  const auto ids =
      detail::folderIdsElement("m:FolderIds", folders, detail::Pairs::converted, target, error);
  if (!ids) return {};
  payload.addChild(ids);
  return payload;
}

}  // namespace tarnwell
