#include "tarnwell/schema/TWFieldPath.h"

#include <utility>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/detail/NamelessField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

bool isIndexed(const TWField& field) { return dynamic_cast<const TWIndexedField*>(&field); }

}  // namespace

TWFieldPath::TWFieldPath(std::shared_ptr<const TWField> field, std::optional<std::string> label,
                         std::shared_ptr<const TWField> subField)
    : field_(std::move(field)), label_(std::move(label)), subField_(std::move(subField)) {}

std::shared_ptr<TWFieldPath> TWFieldPath::withField(std::shared_ptr<const TWField> field,
                                                    std::optional<std::string> label,
                                                    std::shared_ptr<const TWField> subField) {
  if (!field) return nullptr;
  return std::shared_ptr<TWFieldPath>(
      new TWFieldPath(std::move(field), std::move(label), std::move(subField)));
}

std::shared_ptr<TWFieldPath> TWFieldPath::fromResolved(std::optional<TWResolvedPaths> parts) {
  if (!parts) return nullptr;
  return withField(std::move(parts->field), std::move(parts->label), std::move(parts->subfield));
}

TWValue TWFieldPath::getValue(const TWEWSElement& item) const {
  const TWValue& value = item.get(field_->name());
  if (!label_) return value;
  const auto entries = value.asList();
  if (!entries) return {};
  const TWValue label = *label_;
  for (const auto& member : *entries) {
    const auto entry = member.asObject<TWEWSElement>();
    if (entry && entry->get("label") == label)
      return subField_ ? entry->get(subField_->name()) : member;
  }
  return {};
}

std::string TWFieldPath::path() const {
  if (!label_) return std::string(field_->name());
  const auto* const entries = field_->valueClass().elementClass();
  const bool isSingle =
      entries != nullptr && entries->isKindOf(TWSingleFieldIndexedElement::elementClass());
  if (isSingle || !subField_) return formatMessage("%@__%@", {field_->name(), label_});
  return formatMessage("%@__%@__%@", {field_->name(), label_, subField_->name()});
}

std::vector<std::shared_ptr<TWFieldPath>> TWFieldPath::expand(const TWVersion* version) {
  const auto* const entries = field_->valueClass().elementClass();
  if (!isIndexed(*field_) || entries == nullptr)
    return {std::static_pointer_cast<TWFieldPath>(shared_from_this())};
  const auto labels =
      label_ ? std::vector{*label_} : TWFieldUtils::supportedLabels(*entries, version);
  const auto subFields = subField_ ? TWFields{subField_} : entries->supportedFields(version);
  std::vector<std::shared_ptr<TWFieldPath>> paths;
  paths.reserve(labels.size() * subFields.size());
  for (const auto& label : labels)
    for (const auto& subField : subFields) paths.push_back(withField(field_, label, subField));
  return paths;
}

NKXMLElement TWFieldPath::toXML(const TWVersion* /*version*/, TWError* error) {
  const auto unlessNameless = [&](const NKXMLElement& xml) {
    if (!xml) setError(error, detail::namelessField(*field_));
    return xml;
  };
  if (!isIndexed(*field_)) return unlessNameless(field_->fieldURIXML());
  const auto* const subField = dynamic_cast<const TWSubField*>(subField_.get());
  if (!label_ || subField == nullptr) {
    setError(error,
             {TWErrorCode::ErrorValueOutOfRange,
              formatMessage("Field path for indexed field %@ is missing label and/or subfield",
                            {field_->name()})});
    return {};
  }
  return unlessNameless(field_->fieldURI().empty()
                            ? NKXMLElement()
                            : subField->fieldURIXML(field_->fieldURI(), *label_));
}

std::string TWFieldPath::description() const {
  return formatMessage("%@__%@", {className(), path()});
}

TWProperties TWFieldPath::declaredProperties() const {
  return {{"field", field_->name()},
          {"label", label_},
          {"subField", subField_ ? TWValue(subField_->name()) : TWValue()}};
}

}  // namespace tarnwell
