#include "tarnwell/items/TWIndexedElements.h"

#include <utility>
#include <vector>

#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWIndexedFields.h"

namespace tarnwell {
namespace {

std::shared_ptr<TWField> labelField(std::vector<TWChoice> labels, const char* byDefault) {
  return TWLabelField::withProps(
      {.name = "label", .fieldURI = "Key", .default_ = byDefault, .choices = std::move(labels)});
}

std::shared_ptr<TWField> part(const char* name, const char* fieldURI) {
  return TWNamedSubField::withProps({.name = name, .fieldURI = fieldURI});
}

}  // namespace

const TWElementClass& TWIndexedElement::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWIndexedElement", .base = &TWEWSElement::elementClass()});
  return kClass;
}

const TWElementClass& TWSingleFieldIndexedElement::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWSingleFieldIndexedElement", .base = &TWIndexedElement::elementClass()});
  return kClass;
}

std::shared_ptr<const TWField> TWSingleFieldIndexedElement::valueField(const TWElementClass& cls,
                                                                       const TWVersion* version) {
  const auto fields = cls.supportedFields(version);
  return fields.empty() ? nullptr : fields.front();
}

const TWElementClass& TWMultiFieldIndexedElement::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWMultiFieldIndexedElement", .base = &TWIndexedElement::elementClass()});
  return kClass;
}

const TWElementClass& TWEmailAddress::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWEmailAddress",
       .base = &TWSingleFieldIndexedElement::elementClass(),
       .elementName = "Entry",
       .fields =
           [] {
             return TWFields{
                 labelField({"EmailAddress1", "EmailAddress2", "EmailAddress3"}, "EmailAddress1"),
                 TWEmailSubField::withProps({.name = "email"}),
             };
           },
       .make = &detail::makeElement<TWEmailAddress>});
  return kClass;
}

std::optional<std::string> TWEmailAddress::constantText() const { return get("email").asText(); }

const TWElementClass& TWPhoneNumber::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWPhoneNumber",
       .base = &TWSingleFieldIndexedElement::elementClass(),
       .elementName = "Entry",
       .fields =
           [] {
             return TWFields{
                 labelField({"AssistantPhone", "BusinessFax", "BusinessPhone", "BusinessPhone2",
                             "Callback", "CarPhone", "CompanyMainPhone", "HomeFax", "HomePhone",
                             "HomePhone2", "Isdn", "MobilePhone", "OtherFax", "OtherTelephone",
                             "Pager", "PrimaryPhone", "RadioPhone", "Telex", "TtyTddPhone"},
                            "PrimaryPhone"),
                 TWSubField::withProps({.name = "phone_number"}),
             };
           },
       .make = &detail::makeElement<TWPhoneNumber>});
  return kClass;
}

std::optional<std::string> TWPhoneNumber::constantText() const {
  return get("phone_number").asText();
}

const TWElementClass& TWPhysicalAddress::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWPhysicalAddress",
                           .base = &TWMultiFieldIndexedElement::elementClass(),
                           .elementName = "Entry",
                           .fields =
                               [] {
                                 return TWFields{
                                     labelField({"Business", "Home", "Other"}, "Business"),
                                     part("street", "Street"),
                                     part("city", "City"),
                                     part("state", "State"),
                                     part("country", "CountryOrRegion"),
                                     part("zipcode", "PostalCode"),
                                 };
                               },
                           .make = &detail::makeElement<TWPhysicalAddress>});
  return kClass;
}

bool TWPhysicalAddress::clean(const TWVersion* version, TWError* error) {
  if (const TWValue zipcode = get("zipcode"); zipcode.isNumber())
    set("zipcode", zipcode.description());
  return ElementKind::clean(version, error);
}

}  // namespace tarnwell
