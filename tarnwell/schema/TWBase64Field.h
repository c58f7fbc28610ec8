#pragma once

#include <memory>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// Bytes, carried as base64 without line breaks. A text that is not exactly that gives nothing, not
/// the default.
class TWBase64Field : public detail::FieldKind<TWBase64Field, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWBase64Field";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::data; }
  [[nodiscard]] bool isComplex() const override { return true; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// ErrorType for a value that is no bytes.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

}  // namespace tarnwell
