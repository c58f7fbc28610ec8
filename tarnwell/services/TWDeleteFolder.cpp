#include "tarnwell/services/TWDeleteFolder.h"

#include <utility>

#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWDeleteFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "DeleteFolder",
  };
  return *kClass;
}

TWDeleteFolder::TWDeleteFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWDeleteFolder> TWDeleteFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWDeleteFolder>(std::move(account));
}

std::optional<TWList> TWDeleteFolder::call(const TWList& folders, std::string_view deleteType,
                                           TWError* error) {
  const auto payload = getPayload(folders, deleteType, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWDeleteFolder::getPayload(const TWList& folders, std::string_view deleteType,
                                        TWError* error) const {
  const auto version = accountVersion();
  auto payload = TWUtils::createElement(rootName(), {{"DeleteType", deleteType}});
  const auto ids = detail::folderIdsElement("m:FolderIds", folders, detail::Pairs::leftOut,
                                            version ? &*version : nullptr, error);
  if (!ids) return {};
  payload.addChild(ids);
  return payload;
}

}  // namespace tarnwell
