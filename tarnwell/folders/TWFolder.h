#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/folders/TWFolderClass.h"
#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWFieldSource.h"
#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

class TWAccount;
class TWBulkCreateResult;
class TWCalendarView;
class TWFieldOrder;
class TWFieldPath;
class TWFolder;
class TWRoot;
class TWVersion;

/// How a folder is searched for items.
struct TWFindItemsOptions {
  std::string shape = "IdOnly";
  std::string depth = "Shallow";
  /// What to ask for besides the shape; without any, a search by "IdOnly" gives id pairs.
  std::vector<std::shared_ptr<TWFieldPath>> additionalFields = {};
  std::vector<std::shared_ptr<TWFieldOrder>> orderFields = {};
  std::shared_ptr<TWCalendarView> calendarView = nullptr;
  int pageSize = 0;  ///< 0: 100
  int maxItems = 0;  ///< stop after the page that reaches that many; 0: no limit
};

namespace detail {

class FolderTree;

/// What each folder class has besides what every element class has; see `TWFolderClass`.
template <class Self, class Base>
class FolderKind : public ElementKind<Self, Base> {
 public:
  using ElementKind<Self, Base>::ElementKind;

  [[nodiscard]] static std::optional<std::string_view> distinguishedFolderId() {
    return Self::elementClass().distinguishedFolderId();
  }
  [[nodiscard]] static std::optional<std::string_view> containerClass() {
    return Self::elementClass().containerClass();
  }
  [[nodiscard]] static const std::vector<const TWElementClass*>& supportedItemModels() {
    return Self::elementClass().supportedItemModels();
  }
  [[nodiscard]] static const auto& itemModelMap() { return Self::elementClass().itemModelMap(); }
  [[nodiscard]] static std::span<const TWLocalizedName> localizedNames() {
    return Self::elementClass().localizedNames();
  }
  [[nodiscard]] static const TWElementClass* itemModelFromTag(std::string_view elementName,
                                                              TWError* error = nullptr) {
    return Self::elementClass().itemModelFromTag(elementName, error);
  }
  /// The account's folder of that class; see `TWFolder::getDistinguishedFolder`.
  [[nodiscard]] static std::shared_ptr<Self> getDistinguished(
      const std::shared_ptr<TWAccount>& account, TWError* error = nullptr) {
    return std::static_pointer_cast<Self>(
        Self::getDistinguishedFolder(Self::elementClass(), account, error));
  }
};

}  // namespace detail

/// A folder of a mailbox: its place in the tree, the items in it, and the changes that can be made
/// to itself.
///
///     const auto inbox = account->inbox();
///     if (!inbox) return noInbox();
///     for (const auto& folder : inbox->walk()) std::cout << folder->path() << '\n';
///     const auto unread = inbox->filter({{"is_read", false}})->getItems(&error);
///     if (!unread) return report(error);
///
/// Properties: "folder_id", "changekey", "parent_folder_id", "folder_class" ("IPF.Note"), "name",
/// "total_count", "child_folder_count", "unread_count" and "effective_rights".
///
/// Refers to its account weakly: what needs the account fails once that is gone ("Folder must have
/// an account"). The tree is the account's root's (`TWRoot`), and is read from the server when it
/// is first looked at. The functions that look at it without an error argument do not tell why it
/// could not be read: they answer null or nothing then.
///
/// An account's callers share its folder objects; a tree that is read anew is made of new ones.
/// Several threads may look at one and search it as long as none changes it; whoever does
/// (`refresh`, `save`, `set` and the like) keeps the others out himself meanwhile.
class TWFolder : public detail::FolderKind<TWFolder, TWRegisterMixIn>, public TWFieldSource {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
  [[nodiscard]] const TWFolderClass& folderClass() const;

  /// A folder of that class with those values; "account" and "parent" (weak references) are taken
  /// over too. Null for a class that has no folders.
  [[nodiscard]] static std::shared_ptr<TWFolder> make(const TWFolderClass& cls,
                                                      const TWDictionary& dict,
                                                      const std::shared_ptr<TWAccount>& account);

  // The tree.

  /// Null when there is none, or no longer.
  [[nodiscard]] std::shared_ptr<TWAccount> account() const { return account_.lock(); }
  void setAccount(const std::shared_ptr<TWAccount>& account) { account_ = account; }
  /// The parent that was set, else the one in the tree; null at the top.
  [[nodiscard]] std::shared_ptr<TWFolder> parent() const;
  /// Held weakly. Null: the one in the tree again.
  void setParent(const std::shared_ptr<TWFolder>& parent) { parent_ = parent; }
  /// The children that were set, else those in the tree, in the server's order.
  [[nodiscard]] TWFolders children() const;
  /// Null ones are left out.
  void setChildren(TWFolders children) {
    std::erase(children, nullptr);
    children_ = std::move(children);
  }
  /// The account's root folder; null without an account.
  [[nodiscard]] virtual std::shared_ptr<TWRoot> root() const;
  /// The folders from the top of the tree down to this one.
  [[nodiscard]] TWFolders parts() const;
  /// "/Top of Information Store/Inbox": the names of the parts.
  [[nodiscard]] std::string path() const;
  /// Everything below this folder, depth first, each folder once.
  [[nodiscard]] TWFolders walk() const;
  /// The child of that very name; null when there is none.
  [[nodiscard]] std::shared_ptr<TWFolder> getFolderByName(std::string_view name) const;
  /// One step: ".." is the parent, "." this folder, anything else the name of a child.
  ///
  /// Errors: ErrorValueOutOfRange for ".." at the top; ErrorFolderNotFound; why there is no tree.
  [[nodiscard]] std::shared_ptr<TWFolder> navigate(std::string_view step,
                                                   TWError* error = nullptr) const;
  /// Folders by a pattern with steps: "**" is everything below, ".." the parent, a "/" at the
  /// front starts at the top.
  ///
  /// A name passes every step that is a valid regular expression, and none that is not, such as
  /// "*" alone, deliberately. "Inbox" gives every child.
  [[nodiscard]] TWFolders glob(std::string_view pattern) const;
  /// A drawing of the folders from here down, one on each line, children ordered by name.
  [[nodiscard]] std::string tree() const;
  /// True when its name is its class's well-known name; case does not matter.
  [[nodiscard]] bool isDistinguished() const;

  // Its items; see `TWQuerySet`.

  [[nodiscard]] TWQuerySet all() const;
  [[nodiscard]] TWQuerySet none() const;
  [[nodiscard]] TWQuerySet filter(const TWQueries& queries, const TWKeywords& dict) const {
    return all().filter(queries, dict);
  }
  [[nodiscard]] TWQuerySet filter(const TWKeywords& dict) const { return all().filter(dict); }
  template <std::same_as<Q> Query>
  [[nodiscard]] TWQuerySet filter(const Query& q) const {
    return all().filter(q);
  }
  [[nodiscard]] TWQuerySet exclude(const TWQueries& queries, const TWKeywords& dict) const {
    return all().exclude(queries, dict);
  }
  [[nodiscard]] TWQuerySet exclude(const TWKeywords& dict) const { return all().exclude(dict); }
  template <std::same_as<Q> Query>
  [[nodiscard]] TWQuerySet exclude(const Query& q) const {
    return all().exclude(q);
  }
  // The properties of the element, besides.
  using detail::FolderKind<TWFolder, TWRegisterMixIn>::get;
  [[nodiscard]] std::optional<TWItemEntry> get(const TWQueries& queries, const TWKeywords& dict,
                                               TWError* error = nullptr) const {
    return all().get(queries, dict, error);
  }
  [[nodiscard]] std::optional<TWItemEntry> get(const TWKeywords& dict,
                                               TWError* error = nullptr) const {
    return all().get(dict, error);
  }

  /// The id pairs of at most some 100,000 items that match; what was found before a failure, which
  /// is not told of, deliberately: the next one tells of it.
  [[nodiscard]] TWItemEntries findItems(const Q& q) const;
  /// Searches the folder page by page. Id pairs when the shape is "IdOnly" and nothing else is
  /// asked for, items otherwise. On failure the entries found so far, with the error. The null
  /// query matches nothing.
  ///
  /// Errors: ErrorValueOutOfRange for additional fields that the folder's items do not have or that
  /// a search cannot return (nothing is sent then), for items of a kind that such a folder does not
  /// hold, and without an account; those of the query; the service's own.
  [[nodiscard]] TWItemEntries findItems(const Q& q, const TWFindItemsOptions& options,
                                        TWError* error = nullptr) const;
  [[nodiscard]] TWItemEntries findItems(
      const Q& q, std::string_view shape, std::string_view depth,
      const std::vector<std::shared_ptr<TWFieldPath>>& additionalFields,
      const std::vector<std::shared_ptr<TWFieldOrder>>& orderFields,
      const std::shared_ptr<TWCalendarView>& calendarView, int pageSize, int maxItems,
      TWError* error = nullptr) const;
  /// The items of these ids, one outcome for each; see the account's `fetch`.
  /// @param onlyFields  texts or field paths; absent: every field that can be had.
  [[nodiscard]] std::optional<TWItemEntries> fetch(
      const TWItemEntries& ids, const std::optional<TWList>& onlyFields = std::nullopt,
      TWError* error = nullptr) const;
  /// Creates items in the folder; see the account's `bulkCreate`. (The parameter is misspelt in the
  /// interface.)
  std::optional<TWResults<std::shared_ptr<TWBulkCreateResult>>> bulkCreateItems(
      const std::vector<std::shared_ptr<TWItem>>& items, std::string_view messageDisposition,
      std::string_view sendMeetingInvitiations, TWError* error = nullptr) const;
  /// Whether the account may search the folder.
  [[nodiscard]] bool testAccess(TWError* error = nullptr) const;

  // The fields of its items.

  /// What items of the classes that the folder holds can have, attributes excepted, as far as the
  /// server knows it. Each field once, in the order of the classes.
  [[nodiscard]] TWFields allowedFields() const;
  /// Those of them that a search cannot return.
  [[nodiscard]] TWFields complexFields() const;
  /// The paths that texts and field paths stand for. Absent with an error (ErrorValueOutOfRange)
  /// for an entry that is neither, and for a field that is not allowed.
  [[nodiscard]] std::optional<std::vector<std::shared_ptr<TWFieldPath>>> validateFields(
      const TWList& fields, TWError* error = nullptr) const;
  [[nodiscard]] std::shared_ptr<const TWField> getItemFieldByFieldName(
      std::string_view name, TWError* error = nullptr) const override;
  [[nodiscard]] std::optional<TWVersion> serverVersion() const override;

  // The folder on the server. All of these fail with ErrorValueOutOfRange ("Folder must have an
  // account", "Folder must have an ID") where they need one; a failed change leaves the folder as
  // it was.

  /// What stands for the folder in a request: its `TWFolderId`, or its `TWDistinguishedFolderId`
  /// while nothing but its well-known name is known.
  [[nodiscard]] std::shared_ptr<TWEWSElement> idElement(TWError* error = nullptr) const;
  /// `t:Folder` as it is created, without the folder's own id.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;

  /// Creates the folder below its parent, or updates the one on the server.
  /// @param updateFields  names of the properties to write, of which those without a value are
  ///                      cleared on the server. None: all that can be written.
  /// Errors: ErrorValueOutOfRange for names given for a folder that is not there yet, for a field
  /// that is read-only, for one that must have a value, and without a parent.
  bool save(const std::vector<std::string>& updateFields = {}, TWError* error = nullptr);
  bool moveToParent(const std::shared_ptr<TWFolder>& parent, TWError* error = nullptr);
  /// For good. "folder_id" and "changekey" become empty texts.
  bool deleteWithError(TWError* error = nullptr);
  /// Removes what is in the folder.
  /// @param deleteType  "HardDelete", "SoftDelete" or "MoveToDeletedItems".
  bool empty(std::string_view deleteType, bool deleteSubfolders, TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  bool empty(std::string_view deleteType, auto deleteSubfolders, TWError* error = nullptr) = delete;
  /// Removes all that can be removed, for good: where the server refuses to empty it with its
  /// subfolders, these are deleted one by one. Goes on past one that cannot be deleted, and reports
  /// the first failure.
  bool wipe(TWError* error = nullptr);
  /// Reads the properties anew. ErrorFolderNotFound when the folder is gone.
  virtual bool refresh(TWError* error = nullptr);

  /// Subscribes to what happens in the folder; answers the subscription's id, for the account's
  /// `getEvents` and `unsubscribe`.
  [[nodiscard]] std::optional<std::string> subscribe(TWError* error = nullptr) const;
  /// Subscribes, waits until something happens, which may take long, unsubscribes, and answers the
  /// notifications; see `TWGetEvents`. What happens between two calls is told by neither.
  [[nodiscard]] std::optional<TWList> idle(TWError* error = nullptr) const;

  /// The folders below, with all their properties: of "Shallow" the children, of "Deep" everything.
  /// Each is of the class of its name in any of the languages of `TWFolderClass`, or else of its
  /// folder class. On failure what was found so far, with the error.
  [[nodiscard]] TWFolders findFolders(std::string_view shape, std::string_view depth,
                                      TWError* error = nullptr) const;
  /// Folders by id, one outcome for each, as folders of that class.
  /// @param ids  folders, folder ids ("parent_folder_id" too), or lists of an id and a change key.
  [[nodiscard]] static std::optional<TWResults<std::shared_ptr<TWFolder>>> getFolders(
      const TWFolderClass& cls, const std::shared_ptr<TWAccount>& account, const TWList& ids,
      const std::vector<std::shared_ptr<TWFieldPath>>& additionalFields, TWError* error = nullptr);
  [[nodiscard]] static std::optional<TWResults<std::shared_ptr<TWFolder>>> getFolders(
      const std::shared_ptr<TWAccount>& account, const TWList& ids,
      const std::vector<std::shared_ptr<TWFieldPath>>& additionalFields, TWError* error = nullptr) {
    return getFolders(elementClass(), account, ids, additionalFields, error);
  }
  /// The account's folder of a class with a well-known name.
  ///
  /// Errors: ErrorFolderNotFound; ErrorValueOutOfRange for a class without such a name.
  [[nodiscard]] static std::shared_ptr<TWFolder> getDistinguishedFolder(
      const TWFolderClass& cls, const std::shared_ptr<TWAccount>& account,
      TWError* error = nullptr);

  /// The class for a container class or a display name; see `TWFolderClass`.
  [[nodiscard]] static const TWFolderClass& folderClassFromContainerClass(
      std::optional<std::string_view> containerClass) {
    return TWFolderClass::folderClassFromContainerClass(containerClass);
  }
  [[nodiscard]] static const TWFolderClass* folderClassFromFolderName(
      std::string_view name, std::optional<std::string_view> locale) {
    return TWFolderClass::folderClassFromFolderName(name, locale);
  }

  // Archives.

  /// The folder's properties and class as bytes that tell their format; account, parent and
  /// children are left out. Fractions of numbers do not come back, deliberately.
  [[nodiscard]] TWData serializedData() const;
  /// Null with an error (ErrorValueOutOfRange) for what is no such data, is of a later format, or
  /// names a class that is none.
  [[nodiscard]] static std::shared_ptr<TWFolder> withSerializedData(
      const TWData& data, const std::shared_ptr<TWAccount>& account, TWError* error = nullptr);

 protected:
  void initWithDict(const TWDictionary& dict) override;
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;

  /// Where `findFolders` starts; null with an error when that cannot be had.
  [[nodiscard]] virtual std::shared_ptr<TWFolder> findFoldersRoot(TWError* error) const;
  [[nodiscard]] static TWFolders findFoldersBelow(const std::shared_ptr<TWFolder>& start,
                                                  std::string_view shape, std::string_view depth,
                                                  TWError* error);
  /// This folder, which is always held by a shared pointer.
  [[nodiscard]] std::shared_ptr<TWFolder> self() const;

 private:
  friend class detail::FolderTree;
  [[nodiscard]] std::string folderId() const;
  [[nodiscard]] std::shared_ptr<TWAccount> accountForChange(TWError* error,
                                                            bool needsId = true) const;
  bool create(const std::shared_ptr<TWAccount>& account, TWError* error);
  bool update(const std::shared_ptr<TWAccount>& account, const std::vector<std::string>& names,
              TWError* error);
  [[nodiscard]] std::vector<std::string> writableFieldNames(const TWVersion* version) const;
  [[nodiscard]] TWFolders glob(std::string_view pattern, detail::FolderTree& tree) const;
  /// Takes its place below a parent.
  void liesBelow(const TWFolder& parent);
  /// The same in the account's tree, if that is known.
  void placeInTree(const std::shared_ptr<TWAccount>& account);
  [[nodiscard]] static bool contains(const TWFields& fields, const TWField& field);
  bool checkSearchable(const std::vector<std::shared_ptr<TWFieldPath>>& paths,
                       TWError* error) const;
  [[nodiscard]] std::optional<TWItemEntry> entryFromXML(const NKXMLElement& xml, bool idsOnly,
                                                        const std::shared_ptr<TWAccount>& account,
                                                        TWError* error) const;

  std::weak_ptr<TWAccount> account_;
  std::weak_ptr<TWFolder> parent_;
  std::optional<TWFolders> children_;
};

}  // namespace tarnwell
