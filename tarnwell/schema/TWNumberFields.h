#pragma once

#include <memory>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// True or false, stored as a boolean, written as 1 or 0.
///
/// True is what begins with "Y", "y", "T", "t" or a digit from 1 to 9, after blanks, a sign and
/// zeros; an empty element is false.
class TWBooleanField : public detail::FieldKind<TWBooleanField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWBooleanField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::number; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// A whole number within "min" and "max", both inclusive. Any number passes the test of kind, so
/// that booleans and fractions are accepted too.
///
/// Reads the number that the text begins with: 0 when there is none, the nearest end of 64 signed
/// bits when it is larger than that.
class TWIntegerField : public detail::FieldKind<TWIntegerField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWIntegerField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::number; }
  /// As `TWField::clean`; ErrorValueOutOfRange for a number, or an entry of a list, outside the
  /// bounds.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;

 private:
  [[nodiscard]] bool checkBounds(const TWValue& number, TWError* error) const;
};

/// A number with a fraction, read in single precision: a text without a number is 0.
class TWDecimalField : public detail::FieldKind<TWDecimalField, TWIntegerField> {
 public:
  static constexpr std::string_view kClassName = "TWDecimalField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

}  // namespace tarnwell
