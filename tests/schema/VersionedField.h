#pragma once

#include <string_view>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell::test {

/// A text that differs with the version it is written for: of "s" the value is
/// "s for Exchange2010", and its element has " in Exchange2010" besides.
class VersionedField : public detail::FieldKind<VersionedField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "VersionedField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValue valueToWrite(const TWValue& value, const TWVersion* version,
                                     TWError* error = nullptr) const override {
    return with("%@ for %@", FieldKind::valueToWrite(value, version, error), version);
  }
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override {
    return FieldKind::toXML(with("%@ in %@", value, version), version, error);
  }

 private:
  static TWValue with(std::string_view format, const TWValue& value, const TWVersion* version) {
    return formatMessage(format, {value, version ? TWValue(version->apiVersion()) : TWValue()});
  }
};

}  // namespace tarnwell::test
