// What a folder does on the server: requests for folders, and changes of them.

#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/detail/FolderTree.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWCreateFolder.h"
#include "tarnwell/services/TWDeleteFolder.h"
#include "tarnwell/services/TWEmptyFolder.h"
#include "tarnwell/services/TWFindFolder.h"
#include "tarnwell/services/TWGetFolder.h"
#include "tarnwell/services/TWMoveFolder.h"
#include "tarnwell/services/TWUpdateFolder.h"
#include "tarnwell/services/detail/BadValue.h"
#include "tarnwell/services/detail/RequestParts.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {

using detail::badValue;

namespace {

constexpr std::string_view kHardDelete = "HardDelete";
constexpr std::string_view kIdOnly = "IdOnly";
constexpr int kPageSize = 1000;

/// Every property that folders have on the server.
std::vector<std::shared_ptr<TWFieldPath>> allPaths(const TWElementClass& cls,
                                                   const std::optional<TWVersion>& version) {
  std::vector<std::shared_ptr<TWFieldPath>> paths;
  for (const auto& field : cls.supportedFields(version ? &*version : nullptr))
    paths.push_back(TWFieldPath::withField(field));
  return paths;
}

/// The first of a call's outcomes; the call's error, or that one when it is an error.
template <class Outcomes, class ErrorOf>
bool firstSucceeded(const std::optional<Outcomes>& outcomes, const ErrorOf& errorOf,
                    TWError* error) {
  if (!outcomes) return false;
  TWError failure = outcomes->empty()
                        ? TWError(TWErrorCode::ErrorTransport, "No ResponseMessages in response")
                        : errorOf(outcomes->front());
  if (!failure) return true;
  setError(error, std::move(failure));
  return false;
}

bool firstSucceeded(const std::optional<TWList>& outcomes, TWError* error) {
  return firstSucceeded(
      outcomes, [](const TWValue& each) { return each.asError(); }, error);
}

bool firstSucceeded(const std::optional<TWResults<std::shared_ptr<TWFolder>>>& outcomes,
                    TWError* error) {
  return firstSucceeded(
      outcomes, [](const auto& each) { return each.error(); }, error);
}

/// Keeps the trees current that there are already.
template <class Change>
void changeTrees(const std::shared_ptr<TWAccount>& account, const Change& change) {
  for (const auto& root : detail::FolderTree::knownTo(*account)) change(*root);
}

std::optional<std::string> textIn(const NKXMLElement& xml, std::string_view name) {
  const auto child = xml.elementForName(name, kTypesNamespace);
  return child ? child.stringValue() : std::nullopt;
}

}  // namespace

std::shared_ptr<TWEWSElement> TWFolder::idElement(TWError* error) const {
  const TWValue& id = (*this)["folder_id"];
  if (!id.textView().empty())
    return TWFolderId::withDict({{"id", id}, {"changekey", (*this)["changekey"]}});
  // Only a folder that is known by nothing else stands for the well-known one of its class: a
  // deleted one, whose id is an empty text, does not, nor does a new calendar that has a name of
  // its own or that was given a parent.
  const auto wellKnown = folderClass().distinguishedFolderId();
  const std::weak_ptr<TWFolder> none;
  // A parent that is gone was given all the same.
  const bool hadParent = parent_.owner_before(none) || none.owner_before(parent_) ||
                         !(*this)["parent_folder_id"].isAbsent();
  const bool standsForWellKnown =
      wellKnown && id.isAbsent() && !hadParent && ((*this)["name"].isAbsent() || isDistinguished());
  if (!standsForWellKnown) {
    setError(error, badValue("Folder must have an ID"));
    return nullptr;
  }
  auto element = TWDistinguishedFolderId::withDict({{"id", *wellKnown}});
  const auto account = this->account();
  if (const auto mailbox = account ? account->delegatedAddress() : std::nullopt)
    element->set("mailbox", TWMailbox::withDict({{"email_address", *mailbox}}));
  return element;
}

NKXMLElement TWFolder::toXML(const TWVersion* version, TWError* error) {
  auto element = TWRegisterMixIn::toXML(version, error);
  // Its own id is no part of a folder that is to be created.
  for (const auto& field : cls().attributeFields())
    element.removeAttributeForName(field->fieldURI());
  return element;
}

std::shared_ptr<TWAccount> TWFolder::accountForChange(TWError* error, bool needsId) const {
  auto account = this->account();
  if (account && (!needsId || !folderId().empty())) return account;
  setError(error, badValue(account ? "Folder must have an ID" : "Folder must have an account"));
  return nullptr;
}

bool TWFolder::save(const std::vector<std::string>& updateFields, TWError* error) {
  const bool isNew = folderId().empty();
  if (isNew && !updateFields.empty()) {
    setError(error, badValue("Update fields is only valid for updates"));
    return false;
  }
  const auto account = accountForChange(error, false);
  if (!account) return false;
  return isNew ? create(account, error) : update(account, updateFields, error);
}

bool TWFolder::create(const std::shared_ptr<TWAccount>& account, TWError* error) {
  const auto parent = this->parent();
  if (!parent) {
    setError(error, badValue("Folder must have a parent"));
    return false;
  }
  const auto created = TWCreateFolder::withAccount(account)->call(parent, {self()}, error);
  if (!firstSucceeded(created, error)) return false;
  const auto& folder = *created->front().value();
  set("folder_id", folder["folder_id"]);
  set("changekey", folder["changekey"]);
  liesBelow(*parent);
  placeInTree(account);
  return true;
}

bool TWFolder::update(const std::shared_ptr<TWAccount>& account,
                      const std::vector<std::string>& names, TWError* error) {
  const auto version = account->version();
  const auto updated = TWUpdateFolder::withAccount(account)->call(
      {{self(), names.empty() ? writableFieldNames(version ? &*version : nullptr) : names}}, error);
  if (!firstSucceeded(updated, error)) return false;
  set("changekey", (*updated->front().value())["changekey"]);
  changeTrees(account, [&](const TWRoot& root) { root.updateFolder(self()); });
  return true;
}

std::vector<std::string> TWFolder::writableFieldNames(const TWVersion* version) const {
  std::vector<std::string> names;
  for (const auto& field : cls().supportedFields(version)) {
    const bool mayBeMissing = !field->isRequired() && !field->isRequiredAfterSave();
    if (!field->isReadOnly() && (mayBeMissing || !(*this)[field->name()].isAbsent()))
      names.emplace_back(field->name());
  }
  return names;
}

void TWFolder::liesBelow(const TWFolder& parent) {
  const auto id = parent.folderId();
  if (id.empty())
    remove("parent_folder_id");
  else
    set("parent_folder_id", TWParentFolderId::withDict({{"id", id}}));
}

void TWFolder::placeInTree(const std::shared_ptr<TWAccount>& account) {
  changeTrees(account, [&](const TWRoot& root) {
    // Below a folder whose id is not known it can only be found by reading the tree again.
    if ((*this)["parent_folder_id"].isAbsent())
      root.clearCache();
    else
      root.updateFolder(self());
  });
}

bool TWFolder::moveToParent(const std::shared_ptr<TWFolder>& parent, TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  if (!parent) {
    setError(error, badValue("Folder must have a parent"));
    return false;
  }
  if (!firstSucceeded(TWMoveFolder::withAccount(account)->call({self()}, parent, error), error))
    return false;
  setParent(parent);
  liesBelow(*parent);
  placeInTree(account);
  return true;
}

bool TWFolder::deleteWithError(TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto deleted = TWDeleteFolder::withAccount(account)->call({self()}, kHardDelete, error);
  if (!firstSucceeded(deleted, error)) return false;
  changeTrees(account, [&](const TWRoot& root) { root.removeFolder(self()); });
  set("folder_id", "");
  set("changekey", "");
  return true;
}

bool TWFolder::empty(std::string_view deleteType, bool deleteSubfolders, TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto emptied =
      TWEmptyFolder::withAccount(account)->call({self()}, deleteType, deleteSubfolders, error);
  if (!firstSucceeded(emptied, error)) return false;
  changeTrees(account, [](const TWRoot& root) { root.clearCache(); });
  return true;
}

bool TWFolder::wipe(TWError* error) {
  TWError refusal;
  if (empty(kHardDelete, true, &refusal)) return true;
  const auto isRefusal = [](const TWError& failure) {
    return failure.is(TWErrorCode::ErrorAccessDenied) ||
           failure.is(TWErrorCode::ErrorCannotDeleteObject) ||
           failure.is(TWErrorCode::ErrorCannotEmptyFolder);
  };
  if (!isRefusal(refusal)) {
    setError(error, refusal);
    return false;
  }
  TWError first;
  const auto remember = [&](const TWError& failure) {
    if (failure && !first) first = failure;
  };
  TWError failure;
  empty(kHardDelete, false, &failure);
  remember(std::exchange(failure, {}));
  // The server is asked: the tree knows only the folders below the one that people see as the top.
  const auto children =
      children_ ? *children_ : findFoldersBelow(self(), kIdOnly, "Shallow", &failure);
  remember(std::exchange(failure, {}));
  for (const auto& child : children) {
    child->deleteWithError(&failure);
    remember(std::exchange(failure, {}));
  }
  if (first) setError(error, first);
  return !first;
}

bool TWFolder::refresh(TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto& cls = folderClass();
  const auto fresh = getFolders(cls, account, {self()}, allPaths(cls, account->version()), error);
  if (fresh && fresh->empty()) {
    setError(error, {TWErrorCode::ErrorFolderNotFound, "Folder disappeared"});
    return false;
  }
  if (!firstSucceeded(fresh, error)) return false;
  for (const auto& field : cls.fields())
    set(field->name(), (*fresh->front().value())[field->name()]);
  changeTrees(account, [&](const TWRoot& root) {
    // A plain folder, made of an id alone, does not take the place of one whose class is known.
    const auto known = root.getFolder(folderId());
    if (known && this->cls().isKindOf(known->cls())) root.updateFolder(self());
  });
  return true;
}

std::optional<std::string> TWFolder::subscribe(TWError* error) const {
  const auto account = accountForChange(error);
  if (!account) return std::nullopt;
  const auto subscribed = account->subscribe(self(), error);
  if (!firstSucceeded(subscribed, error)) return std::nullopt;
  return subscribed->front().asXML().stringValue();
}

std::optional<TWList> TWFolder::idle(TWError* error) const {
  const auto account = accountForChange(error);
  const auto id = account ? subscribe(error) : std::nullopt;
  if (!id) return std::nullopt;
  auto events = account->getEvents({*id}, error);
  // A subscription that stays behind harms nobody; what was heard counts.
  account->unsubscribe(*id);
  return events;
}

std::shared_ptr<TWFolder> TWFolder::findFoldersRoot(TWError* /*error*/) const { return self(); }

TWFolders TWFolder::findFolders(std::string_view shape, std::string_view depth,
                                TWError* error) const {
  if (!accountForChange(error, false)) return {};
  const auto start = findFoldersRoot(error);
  return start ? findFoldersBelow(start, shape, depth, error) : TWFolders();
}

TWFolders TWFolder::findFoldersBelow(const std::shared_ptr<TWFolder>& start, std::string_view shape,
                                     std::string_view depth, TWError* error) {
  TWFolders folders;
  const auto account = start->accountForChange(error, false);
  if (!account) return folders;
  auto pages = TWFindFolder::withAccount(account, {start})
                   ->call(allPaths(TWFolder::elementClass(), account->version()),
                          std::string(shape), std::string(depth), kPageSize, 0);
  const auto locale = account->locale();
  while (const auto page = pages.nextPage(error)) {
    for (const auto& xml : *page) {
      const auto name = textIn(xml, "DisplayName");
      const auto* cls = name ? TWFolderClass::folderClassFromFolderName(*name, locale) : nullptr;
      if (cls == nullptr)
        cls = &TWFolderClass::folderClassFromContainerClass(textIn(xml, "FolderClass"));
      if (auto folder = std::dynamic_pointer_cast<TWFolder>(cls->fromXML(xml, account)))
        folders.push_back(std::move(folder));
    }
  }
  return folders;
}

std::optional<TWResults<std::shared_ptr<TWFolder>>> TWFolder::getFolders(
    const TWFolderClass& cls, const std::shared_ptr<TWAccount>& account, const TWList& ids,
    const std::vector<std::shared_ptr<TWFieldPath>>& additionalFields, TWError* error) {
  if (!account) {
    setError(error, badValue("Folder must have an account"));
    return std::nullopt;
  }
  const auto results =
      TWGetFolder::withAccount(account)->call(ids, additionalFields, kIdOnly, error);
  if (!results) return std::nullopt;
  return detail::foldersFromResults(*results, cls, account);
}

std::shared_ptr<TWFolder> TWFolder::getDistinguishedFolder(
    const TWFolderClass& cls, const std::shared_ptr<TWAccount>& account, TWError* error) {
  const auto id = cls.distinguishedFolderId();
  const auto known = id ? make(cls, {}, account) : nullptr;
  if (!known) {
    setError(error, badValue("Folder must have an ID"));
    return nullptr;
  }
  const auto version = account ? account->version() : std::nullopt;
  const auto folders = getFolders(cls, account, {known}, allPaths(cls, version), error);
  if (folders && folders->empty()) {
    setError(error, {TWErrorCode::ErrorFolderNotFound,
                     formatMessage("Could not find distingused folder: %@", {*id})});
    return nullptr;
  }
  return firstSucceeded(folders, error) ? folders->front().value() : nullptr;
}

}  // namespace tarnwell
