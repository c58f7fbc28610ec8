#include "tarnwell/schema/TWIndexedFields.h"

#include <functional>
#include <utility>

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/schema/detail/NamelessField.h"
#include "tarnwell/schema/detail/ValueClassOption.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

TWValue TWSubField::fromXML(const NKXMLElement& element,
                            const std::shared_ptr<TWAccount>& /*account*/) const {
  return element.stringValue();
}

TWValue TWSubField::toXML(const TWValue& value, const TWVersion* /*version*/,
                          TWError* /*error*/) const {
  return value;
}

NKXMLElement TWSubField::fieldURIXML(std::string_view fieldURI, std::string_view label) const {
  return TWUtils::createElement("t:IndexedFieldURI",
                                {{"FieldURI", fieldURI}, {"FieldIndex", label}});
}

std::size_t TWSubField::hash() const { return std::hash<std::string_view>{}(name()); }

TWValue TWEmailSubField::fromXML(const NKXMLElement& element,
                                 const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(element);
  if (text && !(*text).empty()) return *text;
  return element.attributeForName("Name").stringValue();
}

std::string_view TWNamedSubField::responseXMLns() const noexcept { return kTypesNamespace; }

TWValue TWNamedSubField::fromXML(const NKXMLElement& element,
                                 const std::shared_ptr<TWAccount>& account) const {
  return fromChild(element.elementForName(responseTag(), responseXMLns()), account);
}

std::optional<TWTag> TWNamedSubField::childTag() const {
  return TWTag{responseTag(), responseXMLns()};
}

TWValue TWNamedSubField::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(*text) : options().default_;
}

TWValue TWNamedSubField::toXML(const TWValue& value, const TWVersion* version,
                               TWError* error) const {
  if (requestTag().empty()) {
    setError(error, detail::namelessField(*this));
    return {};
  }
  return TWUtils::updateElement(TWUtils::createElement(requestTag()), value, version, error);
}

NKXMLElement TWNamedSubField::fieldURIXML(std::string_view fieldURI, std::string_view label) const {
  if (requestTag().empty()) return {};
  return TWSubField::fieldURIXML(formatMessage("%@:%@", {fieldURI, requestTag()}), label);
}

std::string_view TWIndexedField::responseXMLns() noexcept { return kTypesNamespace; }

std::optional<TWTag> TWIndexedField::childTag() const {
  const auto name = container();
  if (!name) return std::nullopt;
  return TWTag{*name, responseXMLns()};
}

TWValue TWIndexedField::fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const {
  const auto* const cls = valueClass().elementClass();
  if (!child || cls == nullptr) return options().default_;
  TWList entries;
  for (const auto& entry : child.elementsForLocalName(cls->responseTag(), cls->responseXMLns()))
    entries.emplace_back(cls->fromXML(entry, account));
  return entries;
}

TWValue TWIndexedField::toXML(const TWValue& value, const TWVersion* version,
                              TWError* error) const {
  const auto name = container();
  if (!name) {
    if (!value.isAbsent()) setError(error, detail::namelessField(*this));
    return {};
  }
  TWError failure;
  auto element = TWUtils::updateElement(TWUtils::createElement(formatMessage("t:%@", {*name})),
                                        value, version, &failure);
  if (!failure) return element;
  setError(error, failure);
  return {};
}

TWEmailAddressField::TWEmailAddressField(TWFieldOptions options)
    : IndexedKind(detail::withValueClass(std::move(options), TWEmailAddress::elementClass())) {}

TWPhoneNumberField::TWPhoneNumberField(TWFieldOptions options)
    : IndexedKind(detail::withValueClass(std::move(options), TWPhoneNumber::elementClass())) {}

TWPhysicalAddressField::TWPhysicalAddressField(TWFieldOptions options)
    : IndexedKind(detail::withValueClass(std::move(options), TWPhysicalAddress::elementClass())) {}

}  // namespace tarnwell
