#include "tarnwell/services/TWResolveNames.h"

#include <utility>

#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

const TWServiceClass& resolveNames() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "ResolveNames",
      .elementContainerName = "ResolutionSet",
      .elementContainerXMLns = kMessagesNamespace,
      // In place of the base's: a name that nobody has is no failure, several that match are a
      // success.
      .errorsToCatchInResponse = {TWErrorCode::ErrorNameResolutionNoResults},
      .warningsToIgnoreInResponse = {TWErrorCode::ErrorNameResolutionMultipleResults},
  };
  return *kClass;
}

}  // namespace

TWResolveNames::TWResolveNames(std::shared_ptr<TWServiceContext> protocol)
    : TWEWSService(resolveNames(), std::move(protocol)) {}

std::shared_ptr<TWResolveNames> TWResolveNames::withProtocol(
    std::shared_ptr<TWServiceContext> protocol) {
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
  auto payload = TWUtils::createElement(serviceClass().rootName(), attributes);
  if (!parentFolders.empty())
    TWUtils::createAndAddElementToParent(payload, "m:ParentFolderIds", parentFolders);
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
