#include "tarnwell/schema/TWElementClass.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/detail/FieldList.h"
#include "tarnwell/schema/detail/LibraryClasses.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell {
namespace {

/// All element classes, in the order in which they were made.
struct Registry {
  std::mutex mutex;
  std::vector<const TWElementClass*> classes;
};

Registry& registry() {
  static auto& registry = *new Registry;
  return registry;
}

}  // namespace

TWElementClass::TWElementClass(const Declaration& declaration)
    : TWElementClass(declaration, Unlisted()) {
  enlist();
}

TWElementClass::TWElementClass(const Declaration& declaration, Unlisted /*unlisted*/)
    : name_(declaration.name),
      base_(declaration.base),
      elementName_(declaration.elementName),
      nameSpace_(kTypesNamespace),
      ownFields_(declaration.fields),
      replacesFields_(declaration.replacesFields),
      make_(declaration.make),
      insertAfterField_(declaration.insertAfterField) {
  if (base_ != nullptr) {
    if (!elementName_) elementName_ = base_->elementName_;
    nameSpace_ = base_->nameSpace_;
    if (!insertAfterField_) insertAfterField_ = base_->insertAfterField_;
  }
  nameSpace_ = declaration.nameSpace.value_or(nameSpace_);
  responseTag_ = declaration.responseTag.value_or(elementName_.value_or(std::string_view()));
  responseXMLns_ = declaration.responseXMLns.value_or(nameSpace_);
  fieldList_ = ownFields_ == nullptr && base_ != nullptr
                   ? base_->fieldList_
                   : std::make_shared<detail::SharedFieldList>([this] { return declaredFields(); });
}

void TWElementClass::enlist() const {
  const std::scoped_lock lock(registry().mutex);
  registry().classes.push_back(this);
}

TWElementClass::~TWElementClass() {
  const std::scoped_lock lock(registry().mutex);
  std::erase(registry().classes, this);
}

const TWElementClass* TWElementClass::named(std::string_view name) {
  detail::enlistLibraryClasses();
  const std::scoped_lock lock(registry().mutex);
  const auto& classes = registry().classes;
  const auto found = std::ranges::find(classes, name, &TWElementClass::name);
  return found == classes.end() ? nullptr : *found;
}

bool TWElementClass::isKindOf(const TWElementClass& other) const noexcept {
  for (const auto* at = this; at != nullptr; at = at->base_)
    if (at == &other) return true;
  return false;
}

std::optional<std::string> TWElementClass::requestTag() const {
  if (!elementName_) return std::nullopt;
  if (nameSpace_ == kTypesNamespace) return std::string("t:").append(*elementName_);
  if (nameSpace_ == kMessagesNamespace) return std::string("m:").append(*elementName_);
  return std::nullopt;
}

const detail::FieldList& TWElementClass::list() const { return fieldList_->current(); }

TWFields TWElementClass::declaredFields() const {
  auto fields = base_ == nullptr || replacesFields_ ? TWFields() : base_->declaredFields();
  if (ownFields_ != nullptr) std::ranges::move(ownFields_(), std::back_inserter(fields));
  return fields;
}

TWFields TWElementClass::fields() const { return list().fields(); }

std::vector<std::string> TWElementClass::fieldNames() const {
  std::vector<std::string> names;
  for (const auto& field : list().fields()) names.emplace_back(field->name());
  return names;
}

TWFields TWElementClass::attributeFields() const {
  TWFields found;
  std::ranges::copy_if(list().fields(), std::back_inserter(found),
                       [](const auto& field) { return field->isAttribute(); });
  return found;
}

TWFields TWElementClass::supportedFields(const TWVersion* version) const {
  TWFields found;
  std::ranges::copy_if(list().fields(), std::back_inserter(found), [&](const auto& field) {
    return !field->isAttribute() && field->supportsVersion(version);
  });
  return found;
}

std::shared_ptr<const TWField> TWElementClass::getFieldByFieldName(std::string_view name) const {
  const auto* const field = list().find(name);
  return field == nullptr ? nullptr : *field;
}

void TWElementClass::addField(std::shared_ptr<const TWField> field, std::size_t idx) const {
  if (!field) return;
  fieldList_->update([&](TWFields& fields) {
    fields.insert(fields.begin() + static_cast<std::ptrdiff_t>(std::min(idx, fields.size())),
                  std::move(field));
    return true;
  });
}

void TWElementClass::removeField(const TWField& field) const {
  fieldList_->update([&](TWFields& fields) {
    return std::erase_if(fields, [&](const auto& member) { return *member == field; }) > 0;
  });
}

std::shared_ptr<TWEWSElement> TWElementClass::withDict(const TWDictionary& dict) const {
  auto element = make_ == nullptr ? nullptr : make_(*this);
  if (element) element->initWithDict(dict);
  return element;
}

std::shared_ptr<TWEWSElement> TWElementClass::fromXML(
    const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) const {
  auto element = xml && make_ != nullptr ? make_(*this) : nullptr;
  if (element) element->initFromXML(xml, account);
  return element;
}

}  // namespace tarnwell
