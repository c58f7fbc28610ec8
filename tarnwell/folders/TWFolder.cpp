#include "tarnwell/folders/TWFolder.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWRestriction.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/detail/FolderArchive.h"
#include "tarnwell/folders/detail/FolderTree.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/services/TWFindItem.h"
#include "tarnwell/services/detail/BadValue.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {

using detail::badValue;

namespace {

constexpr int kMaxItems = 100000;

TWFields folderFields() {
  return {
      TWIdField::withProps({.name = "folder_id", .fieldURI = std::string(TWFolderId::idAttr())}),
      TWIdField::withProps(
          {.name = "changekey", .fieldURI = std::string(TWFolderId::changeKeyAttr())}),
      TWEWSElementField::withProps({.name = "parent_folder_id",
                                    .fieldURI = "folder:ParentFolderId",
                                    .valueCls = &TWParentFolderId::elementClass(),
                                    .isReadOnly = true}),
      TWTextField::withProps({.name = "folder_class", .fieldURI = "folder:FolderClass"}),
      TWTextField::withProps({.name = "name", .fieldURI = "folder:DisplayName"}),
      TWIntegerField::withProps(
          {.name = "total_count", .fieldURI = "folder:TotalCount", .isReadOnly = true}),
      TWIntegerField::withProps({.name = "child_folder_count",
                                 .fieldURI = "folder:ChildFolderCount",
                                 .isReadOnly = true}),
      TWIntegerField::withProps(
          {.name = "unread_count", .fieldURI = "folder:UnreadCount", .isReadOnly = true}),
      TWEffectiveRightsField::withProps(
          {.name = "effective_rights", .fieldURI = "folder:EffectiveRights", .isReadOnly = true}),
  };
}

/// Where a pattern's name has to be looked for: every name passes a valid expression.
TWFolders passing(TWFolders folders, std::string_view pattern) {
  if (!isRegularExpression(pattern)) return {};
  std::erase_if(folders, [](const auto& folder) { return (*folder)["name"].isAbsent(); });
  return folders;
}

std::shared_ptr<TWFolder> withName(const TWFolders& folders, std::string_view name) {
  for (const auto& folder : folders)
    if ((*folder)["name"] == TWValue(name)) return folder;
  return nullptr;
}

}  // namespace

const TWFolderClass& TWFolder::elementClass() {
  static const auto& kClass = *new TWFolderClass(
      {.name = "TWFolder",
       .supportedItemModels = [] { return TWItem::itemClasses(); },
       .make = &detail::makeElement<TWFolder>,
       .element = TWElementClass::Declaration{.name = "TWFolder",
                                              .base = &TWRegisterMixIn::elementClass(),
                                              .elementName = "Folder",
                                              .fields = &folderFields,
                                              .insertAfterField = "effective_rights"}});
  return kClass;
}

const TWFolderClass& TWFolder::folderClass() const {
  return static_cast<const TWFolderClass&>(cls());
}

std::shared_ptr<TWFolder> TWFolder::make(const TWFolderClass& cls, const TWDictionary& dict,
                                         const std::shared_ptr<TWAccount>& account) {
  auto folder = std::dynamic_pointer_cast<TWFolder>(cls.withDict(dict));
  if (folder && account) folder->setAccount(account);
  return folder;
}

void TWFolder::initWithDict(const TWDictionary& dict) {
  TWEWSElement::initWithDict(dict);
  account_ = std::dynamic_pointer_cast<TWAccount>(dict["account"].asReference());
  const auto& parent = dict["parent"];
  parent_ = parent.asObject<TWFolder>();
  if (parent_.expired()) parent_ = std::dynamic_pointer_cast<TWFolder>(parent.asReference());
}

void TWFolder::initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) {
  TWEWSElement::initFromXML(xml, account);
  account_ = account;
  // The id stands in a child of its own; attributes of the folder's element are none of it.
  const auto id = xml.elementForName("FolderId", kTypesNamespace);
  for (const auto& field : cls().attributeFields()) {
    remove(field->name());
    set(field->name(), field->fromXML(id, account));
  }
}

std::shared_ptr<TWFolder> TWFolder::self() const {
  const auto held = std::const_pointer_cast<TWObject>(weak_from_this().lock());
  return std::dynamic_pointer_cast<TWFolder>(held);
}

std::string TWFolder::folderId() const {
  return (*this)["folder_id"].asText().value_or(std::string());
}

std::shared_ptr<TWRoot> TWFolder::root() const {
  const auto account = this->account();
  return account ? account->root() : nullptr;
}

std::shared_ptr<TWFolder> TWFolder::parent() const {
  return detail::FolderTree(*this).parent(*this);
}

TWFolders TWFolder::children() const { return detail::FolderTree(*this).children(*this); }

TWFolders TWFolder::parts() const {
  detail::FolderTree tree(*this);
  TWFolders parts;
  std::unordered_set<const TWFolder*> seen;
  for (auto at = self(); at && seen.insert(at.get()).second; at = tree.parent(*at))
    parts.push_back(at);
  std::ranges::reverse(parts);
  return parts;
}

std::string TWFolder::path() const {
  std::string path;
  for (const auto& part : parts()) path += formatMessage("/%@", {(*part)["name"]});
  return path;
}

TWFolders TWFolder::walk() const { return detail::FolderTree(*this).below(*this); }

std::shared_ptr<TWFolder> TWFolder::getFolderByName(std::string_view name) const {
  return withName(children(), name);
}

std::shared_ptr<TWFolder> TWFolder::navigate(std::string_view step, TWError* error) const {
  if (step == ".") return self();
  detail::FolderTree tree(*this);
  if (auto found = step == ".." ? tree.parent(*this) : withName(tree.children(*this), step))
    return found;
  if (tree.failure())
    setError(error, tree.failure());
  else if (step == "..")
    setError(error, badValue("Already at top"));
  else
    setError(error, {TWErrorCode::ErrorFolderNotFound,
                     formatMessage("No subfolder with name: %@", {step})});
  return nullptr;
}

TWFolders TWFolder::glob(std::string_view pattern) const {
  detail::FolderTree tree(*this);
  return glob(pattern, tree);
}

TWFolders TWFolder::glob(std::string_view pattern, detail::FolderTree& tree) const {
  const auto cut = pattern.rfind('/');
  const bool hasRest = cut != std::string_view::npos;
  const auto head = pattern.substr(0, cut);
  const auto rest = hasRest ? pattern.substr(cut + 1) : std::string_view();
  const auto restOrAny = rest.empty() ? std::string_view("*") : rest;
  if (head.empty()) {
    const auto root = this->root();
    return root ? root->glob(restOrAny, tree) : TWFolders();
  }
  if (head == "..") {
    const auto parent = tree.parent(*this);
    return parent ? parent->glob(restOrAny, tree) : TWFolders();
  }
  if (head == "**") return passing(tree.below(*this), restOrAny);
  auto matches = passing(tree.children(*this), head);
  if (rest.empty()) return matches;
  TWFolders found;
  for (const auto& match : matches)
    std::ranges::move(match->glob(rest, tree), std::back_inserter(found));
  return found;
}

std::string TWFolder::tree() const {
  detail::FolderTree tree(*this);
  auto folders = tree.below(*this);
  folders.insert(folders.begin(), self());
  // From the last to the first, so that what is below a folder is drawn before it.
  std::unordered_map<const TWFolder*, std::size_t> places;
  for (std::size_t at = 1; at < folders.size(); ++at) places.emplace(folders[at].get(), at);
  std::vector<std::string> drawings(folders.size());
  for (auto at = folders.size(); at-- > 0;) {
    const auto& folder = *folders[at];
    std::multimap<std::string, std::string> children;
    for (const auto& child : tree.children(folder)) {
      // Each folder has one place, even where parents run in a circle.
      if (const auto place = places.extract(child.get()); place && place.mapped() > at)
        children.emplace((*child)["name"].asText().value_or(""),
                         std::move(drawings[place.mapped()]));
    }
    auto& drawing = drawings[at];
    drawing = formatMessage("%@\n", {folder["name"]});
    // Every one of several children has the same mark, the last one included, deliberately; and so
    // has what comes after the last line break of a child, which is nothing.
    const auto form = children.size() > 1 ? "├── %@\n" : "└── %@\n";
    for (const auto& child : children) {
      for (std::size_t begin = 0; begin <= child.second.size();) {
        const auto end = std::min(child.second.find('\n', begin), child.second.size());
        drawing += formatMessage(form, {child.second.substr(begin, end - begin)});
        begin = end + 1;
      }
    }
    drawing.erase(0, std::min(drawing.find_first_not_of(" \t"), drawing.size()));
    drawing.erase(drawing.find_last_not_of(" \t") + 1);
  }
  return drawings.front();
}

bool TWFolder::isDistinguished() const {
  const auto id = folderClass().distinguishedFolderId();
  return id && lowercasedUnicode((*this)["name"].textView()) == *id;
}

TWQuerySet TWFolder::all() const { return TWQuerySet::withFolder(self()); }

TWQuerySet TWFolder::none() const { return all().none(); }

TWItemEntries TWFolder::findItems(const Q& q) const {
  return findItems(q, {.maxItems = kMaxItems}, nullptr);
}

TWItemEntries TWFolder::findItems(const Q& q, std::string_view shape, std::string_view depth,
                                  const std::vector<std::shared_ptr<TWFieldPath>>& additionalFields,
                                  const std::vector<std::shared_ptr<TWFieldOrder>>& orderFields,
                                  const std::shared_ptr<TWCalendarView>& calendarView, int pageSize,
                                  int maxItems, TWError* error) const {
  return findItems(q,
                   {.shape = std::string(shape),
                    .depth = std::string(depth),
                    .additionalFields = additionalFields,
                    .orderFields = orderFields,
                    .calendarView = calendarView,
                    .pageSize = pageSize,
                    .maxItems = maxItems},
                   error);
}

TWItemEntries TWFolder::findItems(const Q& q, const TWFindItemsOptions& options,
                                  TWError* error) const {
  if (!q) return {};
  const auto account = this->account();
  TWError failure;
  std::optional<TWRestriction> restriction;
  if (!account)
    failure = badValue("Folder must have an account");
  else if (checkSearchable(options.additionalFields, &failure) && !q.isEmpty())
    restriction = TWRestriction::withQ(q, self(), &failure);
  if (failure) {
    setError(error, failure);
    return {};
  }
  const bool searchesText = restriction && q.queryString();
  const std::optional<TWRestriction> none;
  auto pages =
      TWFindItem::withAccount(account, {self()})
          ->call(
              options.additionalFields, searchesText ? none : restriction, options.orderFields,
              options.shape, searchesText ? restriction : none, options.depth, options.calendarView,
              options.pageSize == 0 ? static_cast<int>(TWFindItem::chunkSize()) : options.pageSize,
              options.maxItems);
  const bool idsOnly = options.shape == "IdOnly" && options.additionalFields.empty();
  TWItemEntries entries;
  while (!failure) {
    const auto page = pages.nextPage(&failure);
    if (!page) break;
    for (const auto& xml : *page) {
      if (auto entry = entryFromXML(xml, idsOnly, account, &failure))
        entries.push_back(*std::move(entry));
      if (failure) break;
    }
    if (options.calendarView) break;  // no pages, even when the server says there is more
  }
  if (failure) setError(error, failure);
  return entries;
}

bool TWFolder::checkSearchable(const std::vector<std::shared_ptr<TWFieldPath>>& paths,
                               TWError* error) const {
  if (paths.empty()) return true;
  const auto allowed = allowedFields();
  for (const auto& path : paths) {
    const auto field = path ? path->field() : nullptr;
    if (!field || !contains(allowed, *field)) {
      TWList models;
      for (const auto* const model : folderClass().supportedItemModels())
        models.emplace_back(model->name());
      setError(error, badValue("%@ is not a valid field on %@",
                               {field ? TWValue(field->name()) : TWValue(), models}));
      return false;
    }
    if (field->isComplex()) {
      setError(error, badValue("findItems does not support field %@. Use fetch() instead",
                               {field->name()}));
      return false;
    }
  }
  return true;
}

std::optional<TWItemEntry> TWFolder::entryFromXML(const NKXMLElement& xml, bool idsOnly,
                                                  const std::shared_ptr<TWAccount>& account,
                                                  TWError* error) const {
  if (idsOnly) {
    auto pair = TWItem::idFromXML(xml);
    return pair ? std::optional<TWItemEntry>(*std::move(pair)) : std::nullopt;
  }
  const auto* const model =
      folderClass().itemModelFromTag(xml.localName().value_or(std::string()), error);
  const auto item =
      model == nullptr ? nullptr : std::dynamic_pointer_cast<TWItem>(model->fromXML(xml, account));
  if (!item) return std::nullopt;
  item->setFolder(self());
  return item;
}

std::optional<TWItemEntries> TWFolder::fetch(const TWItemEntries& ids,
                                             const std::optional<TWList>& onlyFields,
                                             TWError* error) const {
  if (const auto account = this->account()) return account->fetch(ids, self(), onlyFields, error);
  setError(error, badValue("Folder must have an account", {}));
  return std::nullopt;
}

std::optional<TWResults<std::shared_ptr<TWBulkCreateResult>>> TWFolder::bulkCreateItems(
    const std::vector<std::shared_ptr<TWItem>>& items, std::string_view messageDisposition,
    std::string_view sendMeetingInvitiations, TWError* error) const {
  if (const auto account = this->account())
    return account->bulkCreate(self(), items, messageDisposition, sendMeetingInvitiations, error);
  setError(error, badValue("Folder must have an account", {}));
  return std::nullopt;
}

bool TWFolder::testAccess(TWError* error) const {
  TWError failure;
  static_cast<void>(findItems(Q(), {.pageSize = 1, .maxItems = 1}, &failure));
  if (failure) setError(error, failure);
  return !failure;
}

bool TWFolder::contains(const TWFields& fields, const TWField& field) {
  return std::ranges::any_of(
      fields, [&](const auto& each) { return each->name() == field.name() && *each == field; });
}

TWFields TWFolder::allowedFields() const {
  const auto version = serverVersion();
  TWFields allowed;
  // The same field of two item classes is two objects; by name there are at most a few to compare.
  std::unordered_map<std::string_view, TWFields> byName;
  for (const auto* const model : folderClass().supportedItemModels())
    for (auto& field : model->supportedFields(version ? &*version : nullptr)) {
      auto& namesakes = byName[field->name()];
      if (contains(namesakes, *field)) continue;
      namesakes.push_back(field);
      allowed.push_back(std::move(field));
    }
  return allowed;
}

TWFields TWFolder::complexFields() const {
  auto fields = allowedFields();
  std::erase_if(fields, [](const auto& field) { return !field->isComplex(); });
  return fields;
}

std::optional<std::vector<std::shared_ptr<TWFieldPath>>> TWFolder::validateFields(
    const TWList& fields, TWError* error) const {
  const auto allowed = allowedFields();
  std::vector<std::shared_ptr<TWFieldPath>> paths;
  for (const auto& field : fields) {
    auto path = field.asObject<TWFieldPath>();
    if (!path && field.isText()) {
      path = TWFieldPath::fromString(field, *this, false, error);
      if (!path) return std::nullopt;
    }
    if (!path) {
      setError(error, badValue("Field %@ must be a string or field path object", {field}));
      return std::nullopt;
    }
    if (!contains(allowed, *path->field())) {
      setError(error, badValue("%@ is not a valid field on %@", {path->field()->name(), self()}));
      return std::nullopt;
    }
    paths.push_back(std::move(path));
  }
  return paths;
}

std::shared_ptr<const TWField> TWFolder::getItemFieldByFieldName(std::string_view name,
                                                                 TWError* error) const {
  return folderClass().getItemFieldByFieldName(name, error);
}

std::optional<TWVersion> TWFolder::serverVersion() const {
  const auto account = this->account();
  return account ? account->version() : std::nullopt;
}

TWData TWFolder::serializedData() const { return detail::writeFolder(*this); }

std::shared_ptr<TWFolder> TWFolder::withSerializedData(const TWData& data,
                                                       const std::shared_ptr<TWAccount>& account,
                                                       TWError* error) {
  const auto archived = detail::readFolder(data, account, error);
  return archived ? make(*archived->cls, archived->properties, account) : nullptr;
}

}  // namespace tarnwell
