#pragma once

#include <memory>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// A day, read by `TWDateTime::dateFromString` with its rule for the month. It is written with its
/// time, deliberately, as `TWDateTimeField` does. A text that is no date gives nothing, not the
/// default.
class TWDateField : public detail::FieldKind<TWDateField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWDateField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::date; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// A point in time. A text that is none gives nothing, not the default.
class TWDateTimeField : public detail::FieldKind<TWDateTimeField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWDateTimeField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::date; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// A time zone. It is read from the child elements `t:Id` or else `t:Name` of its element, yet
/// written as attributes of these names, deliberately; both hold the zone's Windows name.
class TWTimeZoneField : public detail::FieldKind<TWTimeZoneField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWTimeZoneField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::timeZone; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// ErrorType for a value that is no time zone.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

}  // namespace tarnwell
