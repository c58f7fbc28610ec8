#include "tarnwell/services/TWUpdateFolder.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

// The misspelling is part of the interface.
constexpr std::string_view kMayNotBeDeleted = "%@ is a requried field and may not be deleted";

}  // namespace

const TWServiceClass& TWUpdateFolder::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "UpdateFolder",
      .elementContainerName = "Folders",
      .elementContainerXMLns = kMessagesNamespace,
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWUpdateFolder::TWUpdateFolder(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWUpdateFolder> TWUpdateFolder::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWUpdateFolder>(std::move(account));
}

std::optional<TWResults<std::shared_ptr<TWFolder>>> TWUpdateFolder::call(
    const std::vector<TWFolderUpdate>& updates, TWError* error) {
  const auto payload = getPayload(updates, error);
  const auto results = payload ? getElements(payload, error) : std::nullopt;
  if (!results) return std::nullopt;
  return detail::foldersFromResults(*results, TWFolder::elementClass(), account());
}

NKXMLElement TWUpdateFolder::getPayload(const std::vector<TWFolderUpdate>& updates,
                                        TWError* error) const {
  const auto version = accountVersion();
  auto payload = TWUtils::createElement(rootName());
  auto changes = TWUtils::createElement("m:FolderChanges");
  for (const auto& [folder, names] : updates) {
    const auto change = detail::folderIdsElement("t:FolderChange", TWFolders{folder},
                                                 version ? &*version : nullptr, error);
    if (!change) return {};
    const auto elements = getFolderUpdateElems(*folder, names, error);
    if (!elements) return {};
    auto updatesElement = TWUtils::createElement("t:Updates");
    for (const auto& element : *elements) updatesElement.addChild(element);
    auto whole = change;
    whole.addChild(updatesElement);
    changes.addChild(whole);
  }
  payload.addChild(changes);
  return payload;
}

std::optional<std::vector<NKXMLElement>> TWUpdateFolder::getFolderUpdateElems(
    const TWFolder& folder, const std::vector<std::string>& names, TWError* error) const {
  const auto version = accountVersion();
  const auto* const target = version ? &*version : nullptr;
  std::vector<NKXMLElement> elements;
  TWError failure;
  const auto refuse = [&](std::string_view format, const TWField& field) {
    failure = {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, {field.name()})};
  };
  for (const auto& field : folder.cls().fields()) {
    if (std::ranges::find(names, field->name()) == names.end()) continue;
    if (field->isReadOnly()) {
      refuse("%@ is a read-only field", *field);
      break;
    }
    const auto& current = folder.get(field->name());
    // Cleaning would refuse it too, with a message that says nothing of deleting.
    if (current.isAbsent() && field->isRequired() && field->options().default_.isAbsent() &&
        field->supportsVersion(target)) {
      refuse(kMayNotBeDeleted, *field);
      break;
    }
    const auto value = field->valueToWrite(current, target, &failure);
    if (failure) break;
    const auto path = TWFieldPath::withField(field);
    if (!value.isAbsent()) {
      auto element = TWUtils::createElement("t:SetFolderField");
      TWUtils::updateElement(element, path, target, &failure);
      auto holder = TWUtils::createElement(folder.cls().requestTag().value_or("t:Folder"));
      if (!failure)
        TWUtils::updateElement(holder, field->toXML(value, target, &failure), target, &failure);
      element.addChild(holder);
      elements.push_back(element);
    } else if (field->isRequired() || field->isRequiredAfterSave()) {
      refuse(kMayNotBeDeleted, *field);
    } else {
      const auto paths = path->expand(target);
      elements.push_back(TWUtils::updateElement(TWUtils::createElement("t:DeleteFolderField"),
                                                TWList(paths.begin(), paths.end()), target,
                                                &failure));
    }
    if (failure) break;
  }
  if (!failure) return elements;
  setError(error, failure);
  return std::nullopt;
}

}  // namespace tarnwell
