#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {

/// One of fixed texts, the option "choices". They are compared as they are written, so that a value
/// that was read is valid.
class TWChoiceField : public detail::FieldKind<TWChoiceField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "TWChoiceField";
  using FieldKind::FieldKind;

  /// The texts of the choices that the version knows, in order. Null: all.
  [[nodiscard]] std::vector<std::string> supportedChoices(const TWVersion* version) const;
  /// As `TWCharField::clean`; a default is tested like any other value. ErrorValueOutOfRange for a
  /// text that is no choice, ErrorInvalidServerVersion for a choice that the version lacks.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

/// A choice that stands in an attribute: the label of an entry of an address book. An attribute
/// whatever the options say.
class TWLabelField : public detail::FieldKind<TWLabelField, TWChoiceField> {
 public:
  static constexpr std::string_view kClassName = "TWLabelField";
  explicit TWLabelField(TWFieldOptions options);

  /// Absent for a missing attribute, even with a default.
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
};

}  // namespace tarnwell
