#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/protocol/TWBuild.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWFieldSource.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell::test {

/// Entries of which later servers know more: a label and a part.
class GrownEntry : public detail::ElementKind<GrownEntry, TWMultiFieldIndexedElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "GrownEntry",
        .base = &TWMultiFieldIndexedElement::elementClass(),
        .elementName = "Entry",
        .fields =
            [] {
              const auto late = TWBuild::buildWithMajorVer(15, 0);
              return TWFields{
                  TWLabelField::withProps(
                      {.name = "label", .fieldURI = "Key", .choices = {"Old", {"New", late}}}),
                  TWNamedSubField::withProps({.name = "plain", .fieldURI = "Plain"}),
                  TWNamedSubField::withProps(
                      {.name = "late", .fieldURI = "Late", .supportedFrom = late}),
              };
            },
        .make = &detail::makeElement<GrownEntry>,
    });
    return kClass;
  }
};

/// Entries with one value, which is another one for later servers.
class ReplacedEntry : public detail::ElementKind<ReplacedEntry, TWSingleFieldIndexedElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "ReplacedEntry",
        .base = &TWSingleFieldIndexedElement::elementClass(),
        .elementName = "Entry",
        .fields =
            [] {
              return TWFields{
                  TWLabelField::withProps({.name = "label", .fieldURI = "Key", .choices = {"Old"}}),
                  TWSubField::withProps(
                      {.name = "late", .supportedFrom = TWBuild::buildWithMajorVer(15, 0)}),
                  TWSubField::withProps({.name = "plain"}),
              };
            },
        .make = &detail::makeElement<ReplacedEntry>,
    });
    return kClass;
  }
};

/// Something with one field of each sort that paths tell apart.
class PathContact : public detail::ElementKind<PathContact, TWRegisterMixIn> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "PathContact",
        .base = &TWRegisterMixIn::elementClass(),
        .elementName = "Contact",
        .fields =
            [] {
              return TWFields{
                  TWCharField::withProps({.name = "subject", .fieldURI = "item:Subject"}),
                  TWEmailAddressField::withProps(
                      {.name = "email_addresses", .fieldURI = "contacts:EmailAddress"}),
                  TWPhysicalAddressField::withProps(
                      {.name = "physical_addresses", .fieldURI = "contacts:PhysicalAddress"}),
                  TWPhoneNumberField::withProps(
                      {.name = "phone_numbers", .fieldURI = "contacts:PhoneNumber"}),
                  TWIndexedField::withProps({.name = "grown",
                                             .fieldURI = "contacts:Grown",
                                             .valueCls = &GrownEntry::elementClass()}),
                  TWIndexedField::withProps({.name = "replaced",
                                             .fieldURI = "contacts:Replaced",
                                             .valueCls = &ReplacedEntry::elementClass()}),
                  TWField::withProps({.name = "nameless"}),
              };
            },
        .make = &detail::makeElement<PathContact>,
        .insertAfterField = "subject",
    });
    return kClass;
  }
};

/// A folder that holds such contacts, on a server of that version.
class ContactFolder final : public TWFieldSource {
 public:
  explicit ContactFolder(std::optional<TWVersion> version = std::nullopt)
      : version_(std::move(version)) {}

  [[nodiscard]] std::shared_ptr<const TWField> getItemFieldByFieldName(
      std::string_view name, TWError* error) const override {
    auto field = PathContact::getFieldByFieldName(name);
    if (!field)
      setError(error, {TWErrorCode::ErrorValueOutOfRange,
                       formatMessage("Unknown fieldname %@ on class %@", {name, "ContactFolder"})});
    return field;
  }
  [[nodiscard]] std::optional<TWVersion> serverVersion() const override { return version_; }

 private:
  std::optional<TWVersion> version_;
};

}  // namespace tarnwell::test
