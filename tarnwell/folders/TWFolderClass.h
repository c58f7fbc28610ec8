#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

/// The display name of a well-known folder in one language.
struct TWLocalizedName {
  std::string_view locale;  ///< "de_DE"
  std::string_view name;    ///< "Posteingang"
};

/// A class of folders as data: besides what every element class says, the well-known name under
/// which the server knows its folder, the container class of such folders, the kinds of items they
/// hold, and their display names.
class TWFolderClass final : public TWElementClass {
 public:
  /// What a class leaves out it has from its base.
  struct Declaration {
    std::string_view name;  ///< "TWInbox"
    const TWFolderClass* base = nullptr;
    std::optional<std::string_view> distinguishedFolderId = {};  ///< "inbox"; not inherited
    std::optional<std::string_view> containerClass = {};         ///< "IPF.Note"
    std::vector<const TWElementClass*> (*supportedItemModels)() = nullptr;
    /// Not inherited: a folder of a derived class has another name.
    std::span<const TWLocalizedName> localizedNames = {};
    std::shared_ptr<TWEWSElement> (*make)(const TWElementClass&) = nullptr;
    /// Set by the class at the top only.
    std::optional<TWElementClass::Declaration> element = {};
  };
  explicit TWFolderClass(const Declaration& declaration);

  /// The well-known name; absent for classes without one.
  [[nodiscard]] std::optional<std::string_view> distinguishedFolderId() const noexcept {
    return distinguishedFolderId_;
  }
  [[nodiscard]] std::optional<std::string_view> containerClass() const noexcept {
    return containerClass_;
  }
  /// The item classes that such a folder may hold.
  [[nodiscard]] const std::vector<const TWElementClass*>& supportedItemModels() const;
  /// The same classes by the names of their XML elements.
  [[nodiscard]] const std::unordered_map<std::string_view, const TWElementClass*>& itemModelMap()
      const;
  [[nodiscard]] std::span<const TWLocalizedName> localizedNames() const noexcept {
    return localizedNames_;
  }
  /// True when the text is the name in that locale, or in any without one; case does not matter.
  [[nodiscard]] bool hasName(std::string_view name,
                             std::optional<std::string_view> locale = std::nullopt) const;

  /// The field of that name of the first item class that has one. Null with an error
  /// (ErrorValueOutOfRange) when none has.
  [[nodiscard]] std::shared_ptr<const TWField> getItemFieldByFieldName(
      std::string_view name, TWError* error = nullptr) const;
  /// The item class of an XML element's local name, among those that such a folder may hold. Null
  /// with an error (ErrorValueOutOfRange) when it holds none of that name.
  [[nodiscard]] const TWElementClass* itemModelFromTag(std::string_view elementName,
                                                       TWError* error = nullptr) const;

  /// The class for a container class such as "IPF.Appointment": `TWFolder` for what is not known.
  [[nodiscard]] static const TWFolderClass& folderClassFromContainerClass(
      std::optional<std::string_view> containerClass);
  /// The well-known class that a display name belongs to, in that locale or, failing that, in any
  /// other; case does not matter. Null when there is none.
  [[nodiscard]] static const TWFolderClass* folderClassFromFolderName(
      std::string_view name, std::optional<std::string_view> locale);
  /// A folder class by its name ("TWInbox"); null for a name that is none.
  [[nodiscard]] static const TWFolderClass* named(std::string_view name);
  /// The well-known classes in the order of their names.
  [[nodiscard]] static std::span<const TWFolderClass* const> wellKnown();

 private:
  /// What item classes there are; looked at only once they are asked for.
  struct Items {
    std::vector<const TWElementClass*> models;
    std::unordered_map<std::string_view, const TWElementClass*> byElementName;
  };
  [[nodiscard]] const Items& items() const;

  std::optional<std::string_view> distinguishedFolderId_;
  std::optional<std::string_view> containerClass_;
  std::vector<const TWElementClass*> (*supportedItemModels_)();
  std::span<const TWLocalizedName> localizedNames_;
  mutable std::once_flag itemsOnce_;
  mutable Items items_;
};

}  // namespace tarnwell
