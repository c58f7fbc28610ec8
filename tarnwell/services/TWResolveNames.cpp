#include "tarnwell/services/TWResolveNames.h"

#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

/// The id element of a folder, for this request alone: an element of the caller's may stand in
/// another tree.
NKXMLElement idElement(const TWValue& folder, const TWVersion* version, TWError* error) {
  TWError failure;
  std::shared_ptr<TWXMLObject> object = folder.asObject();
  // A folder itself is written as what creates it.
  if (const auto known = folder.asObject<TWFolder>()) object = known->idElement(&failure);
  auto element = object ? object->toXML(version, &failure) : folder.asXML().copy();
  if (!failure && element.attributeForName("Id").stringValue().value_or(std::string()).empty())
    failure = {TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"};
  if (!failure) return element;
  setError(error, failure);
  return {};
}

}  // namespace

const TWServiceClass& TWResolveNames::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "ResolveNames",
      .elementContainerName = "ResolutionSet",
      .elementContainerXMLns = kMessagesNamespace,
      // In place of the base's: a name that nobody has is no failure, several that match are a
      // success.
      .errorsToCatchInResponse = {TWErrorCode::ErrorNameResolutionNoResults},
      .warningsToIgnoreInResponse = {TWErrorCode::ErrorNameResolutionMultipleResults},
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWResolveNames::TWResolveNames(std::shared_ptr<TWBaseProtocol> protocol)
    : TWEWSService(descriptor(), std::move(protocol)) {}

std::shared_ptr<TWResolveNames> TWResolveNames::withProtocol(
    std::shared_ptr<TWBaseProtocol> protocol) {
  return std::make_shared<TWResolveNames>(std::move(protocol));
}

NKXMLElement TWResolveNames::getPayload(const std::vector<std::string>& names,
                                        const TWList& parentFolders, bool returnFullContactData,
                                        const std::optional<std::string>& searchScope,
                                        const std::optional<std::string>& contactDataShape,
                                        TWError* error) const {
  const auto server = build();
  if (contactDataShape && !(server && server->isGreaterThanOrEqualTo(kExchange2010SP2))) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     "Contact data shape is not supported below 2010_SP2"});
    return {};
  }
  TWDictionary attributes{{"ReturnFullContactData", returnFullContactData ? "true" : "false"}};
  attributes.setSafeObject(searchScope, "SearchScope");
  attributes.setSafeObject(contactDataShape, "ContactDataShape");
  auto payload = TWUtils::createElement(rootName(), attributes);
  TWList folderIds;
  const auto version = context().version();
  for (const auto& folder : parentFolders) {
    const auto id = idElement(folder, version ? &*version : nullptr, error);
    if (!id) return {};
    folderIds.emplace_back(id);
  }
  if (!folderIds.empty())
    TWUtils::createAndAddElementToParent(payload, "m:ParentFolderIds", folderIds);
  for (const auto& name : names)
    TWUtils::createAndAddElementToParent(payload, "m:UnresolvedEntry", name);
  return payload;
}

std::optional<TWResolveNames::Mailboxes> TWResolveNames::call(
    const std::vector<std::string>& names, const TWList& parentFolders, bool returnFullContactData,
    const std::optional<std::string>& searchScope,
    const std::optional<std::string>& contactDataShape, TWError* error) {
  const auto payload =
      getPayload(names, parentFolders, returnFullContactData, searchScope, contactDataShape, error);
  if (!payload) return std::nullopt;
  const auto results = getElements(payload, error);
  if (!results) return std::nullopt;
  Mailboxes mailboxes;
  mailboxes.reserve(results->size());
  for (const auto& result : *results) {
    if (const auto caught = result.asError()) {
      if (caught.is(TWErrorCode::ErrorNameResolutionNoResults)) continue;
      setError(error, caught);
      return std::nullopt;
    }
    if (auto mailbox =
            TWMailbox::fromXML(result.asXML().elementForName("Mailbox", kTypesNamespace)))
      mailboxes.push_back(std::move(mailbox));
  }
  return mailboxes;
}

}  // namespace tarnwell
