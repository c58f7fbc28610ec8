#include "tarnwell/services/TWEmptyFolder.h"

#include <utility>

#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWEmptyFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "EmptyFolder",
  };
  return *kClass;
}

TWEmptyFolder::TWEmptyFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWEmptyFolder> TWEmptyFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWEmptyFolder>(std::move(account));
}

std::optional<TWList> TWEmptyFolder::call(const TWList& folders, std::string_view deleteType,
                                          bool deleteSubfolders, TWError* error) {
  const auto payload = getPayload(folders, deleteType, deleteSubfolders, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWEmptyFolder::getPayload(const TWList& folders, std::string_view deleteType,
                                       bool deleteSubfolders, TWError* error) const {
  const auto version = accountVersion();
  auto payload = TWUtils::createElement(
      rootName(),
      {{"DeleteType", deleteType}, {"DeleteSubFolders", deleteSubfolders ? "true" : "false"}});
  const auto ids = detail::folderIdsElement("m:FolderIds", folders, detail::Pairs::converted,
                                            version ? &*version : nullptr, error);
  if (!ids) return {};
  payload.addChild(ids);
  return payload;
}

}  // namespace tarnwell
