#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWExtendedPropertyClass;

/// A field that carries an extended property (`t:ExtendedProperty`); its "valueCls" is the
/// property's class. Fields of this kind are what `registerAttr` makes.
class TWExtendedPropertyField : public detail::FieldKind<TWExtendedPropertyField, TWField> {
 public:
  static constexpr std::string_view kClassName = "TWExtendedPropertyField";
  using FieldKind::FieldKind;

  /// Null when "valueCls" is no extended property.
  [[nodiscard]] const TWExtendedPropertyClass* propertyClass() const;

  /// An instance of the property is validated by its own `clean`. Any other value yields nothing,
  /// and no error: the element keeps it and it is wrapped when written. The version is not tested.
  ///
  /// Errors: those of the property; ErrorValueOutOfRange for a missing value that is required, even
  /// when there is a default.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  /// A value that is no instance of the property is made one, and validated as such.
  [[nodiscard]] TWValue valueToWrite(const TWValue& value, const TWVersion* version,
                                     TWError* error = nullptr) const override;
  /// The first `t:ExtendedProperty` child that is addressed as the property is. Absent when its
  /// value cannot be read, the default when there is none.
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
  /// `t:ExtendedProperty`: the field's name there, then the value.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  /// `t:ExtendedFieldURI`.
  [[nodiscard]] NKXMLElement fieldURIXML() const override;
  /// Of the name, so that two fields of one name are equal.
  [[nodiscard]] std::size_t hash() const override;

 private:
  /// The value as an instance of the property.
  [[nodiscard]] TWValue wrapped(const TWValue& value) const;
};

}  // namespace tarnwell
