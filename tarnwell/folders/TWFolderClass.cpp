#include "tarnwell/folders/TWFolderClass.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

/// Appointments come as this element, although their class is declared with the name of any item.
constexpr std::string_view kCalendarItem = "CalendarItem";

TWElementClass::Declaration elementDeclaration(const TWFolderClass::Declaration& declaration) {
  auto element = declaration.element.value_or(TWElementClass::Declaration());
  element.name = declaration.name;
  if (declaration.base != nullptr) element.base = declaration.base;
  element.make = declaration.make;
  return element;
}

/// Display names in lower case to the first class that has them.
const std::unordered_map<std::string, const TWFolderClass*>& classesByName() {
  static const auto& kClasses = *[] {
    auto* const classes = new std::unordered_map<std::string, const TWFolderClass*>;
    for (const auto* const cls : TWFolderClass::wellKnown())
      for (const auto& each : cls->localizedNames())
        classes->emplace(lowercasedUnicode(each.name), cls);
    return classes;
  }();
  return kClasses;
}

}  // namespace

TWFolderClass::TWFolderClass(const Declaration& declaration)
    : TWElementClass(elementDeclaration(declaration), Unlisted()),
      distinguishedFolderId_(declaration.distinguishedFolderId),
      containerClass_(declaration.containerClass),
      supportedItemModels_(declaration.supportedItemModels),
      localizedNames_(declaration.localizedNames) {
  if (const auto* const base = declaration.base) {
    if (!containerClass_) containerClass_ = base->containerClass_;
    if (supportedItemModels_ == nullptr) supportedItemModels_ = base->supportedItemModels_;
  }
  enlist();
}

const TWFolderClass::Items& TWFolderClass::items() const {
  std::call_once(itemsOnce_, [this] {
    if (supportedItemModels_ != nullptr) items_.models = supportedItemModels_();
    for (const auto* const model : items_.models)
      if (model->elementName()) items_.byElementName.emplace(*model->elementName(), model);
  });
  return items_;
}

const std::vector<const TWElementClass*>& TWFolderClass::supportedItemModels() const {
  return items().models;
}

const std::unordered_map<std::string_view, const TWElementClass*>& TWFolderClass::itemModelMap()
    const {
  return items().byElementName;
}

bool TWFolderClass::hasName(std::string_view name, std::optional<std::string_view> locale) const {
  const auto wanted = lowercasedUnicode(name);
  return std::ranges::any_of(localizedNames_, [&](const auto& each) {
    return (!locale || each.locale == *locale) && lowercasedUnicode(each.name) == wanted;
  });
}

std::shared_ptr<const TWField> TWFolderClass::getItemFieldByFieldName(std::string_view name,
                                                                      TWError* error) const {
  for (const auto* const model : supportedItemModels())
    if (auto field = model->getFieldByFieldName(name)) return field;
  setError(error, {TWErrorCode::ErrorValueOutOfRange,
                   formatMessage("Unknown fieldname %@ on class %@", {name, this->name()})});
  return nullptr;
}

const TWElementClass* TWFolderClass::itemModelFromTag(std::string_view elementName,
                                                      TWError* error) const {
  const auto& models = itemModelMap();
  if (const auto found = models.find(elementName); found != models.end()) return found->second;
  const auto& appointments = TWCalendarItem::elementClass();
  if (elementName == kCalendarItem &&
      std::ranges::find(items().models, &appointments) != items().models.end())
    return &appointments;
  setError(error,
           {TWErrorCode::ErrorValueOutOfRange,
            formatMessage("Item type %@ was unexpected in a %@ folder", {elementName, name()})});
  return nullptr;
}

const TWFolderClass& TWFolderClass::folderClassFromContainerClass(
    std::optional<std::string_view> containerClass) {
  static const std::array kClasses = {
      &TWMessages::elementClass(),    &TWTasks::elementClass(),
      &TWCalendar::elementClass(),    &TWContacts::elementClass(),
      &TWGALContacts::elementClass(), &TWReceipientCache::elementClass(),
  };
  if (!containerClass) return TWFolder::elementClass();
  const auto found = std::ranges::find(kClasses, containerClass, &TWFolderClass::containerClass);
  return found == kClasses.end() ? TWFolder::elementClass() : **found;
}

// A name in the given locale is also one in any locale, so the locale decides nothing.
const TWFolderClass* TWFolderClass::folderClassFromFolderName(
    std::string_view name, std::optional<std::string_view> /*locale*/) {
  const auto& classes = classesByName();
  const auto found = classes.find(lowercasedUnicode(name));
  return found == classes.end() ? nullptr : found->second;
}

const TWFolderClass* TWFolderClass::named(std::string_view name) {
  return dynamic_cast<const TWFolderClass*>(TWElementClass::named(name));
}

}  // namespace tarnwell
