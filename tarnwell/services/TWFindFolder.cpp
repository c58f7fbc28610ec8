#include "tarnwell/services/TWFindFolder.h"

#include <string>
#include <utility>

#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWFindFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "FindFolder",
      .elementContainerName = "Folders",
      .elementContainerXMLns = kTypesNamespace,
  };
  return *kClass;
}

TWFindFolder::TWFindFolder(std::shared_ptr<TWAccount> account, TWFolders folders)
    : TWEWSFolderService(descriptor(), std::move(account), std::move(folders)) {}

std::shared_ptr<TWFindFolder> TWFindFolder::withAccount(std::shared_ptr<TWAccount> account,
                                                        TWFolders folders) {
  return std::shared_ptr<TWFindFolder>(new TWFindFolder(std::move(account), std::move(folders)));
}

TWPagedServiceResponse TWFindFolder::call(Paths additionalFields, std::string shape,
                                          std::string depth, int pageSize, std::int64_t maxItems) {
  auto payload = [this, fields = std::move(additionalFields), shape = std::move(shape),
                  depth = std::move(depth), pageSize](const TWDictionary& args, TWError* error) {
    return getPayload(fields, shape, depth, pageSize, args["offset"].asInteger().value_or(0),
                      error);
  };
  return pagedCall(std::move(payload), maxItems, {{"offset", 0}});
}

NKXMLElement TWFindFolder::getPayload(const Paths& additionalFields, std::string_view shape,
                                      std::string_view depth, int pageSize, std::int64_t offset,
                                      TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  auto payload = TWUtils::createElement(rootName(), {{"Traversal", depth}});
  const auto folderShape =
      detail::shapeElement("m:FolderShape", shape, additionalFields, target, error);
  if (!folderShape) return {};
  payload.addChild(folderShape);
  if (version && version->build() && version->build()->isGreaterThanOrEqualTo(kExchange2010))
    payload.addChild(TWUtils::createElement("m:IndexedPageFolderView",
                                            {{"MaxEntriesReturned", std::to_string(pageSize)},
                                             {"Offset", std::to_string(offset)},
                                             {"BasePoint", "Beginning"}}));
  const auto parents = detail::folderIdsElement("m:ParentFolderIds", folders(), target, error);
  if (!parents) return {};
  payload.addChild(parents);
  return payload;
}

}  // namespace tarnwell
