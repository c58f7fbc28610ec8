#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// A text of any length: the text of an element, or with the option "isAttribute" the value of the
/// attribute that is named by "fieldURI". An empty element is the empty text.
class TWTextField : public detail::FieldKind<TWTextField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWTextField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::text; }
  [[nodiscard]] bool isComplex() const override { return true; }
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
  /// None for an attribute.
  [[nodiscard]] std::optional<TWTag> childTag() const override;
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// A list of texts, each in a `t:String`. Empty ones are not read.
class TWTextFieldList : public detail::FieldKind<TWTextFieldList, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "TWTextFieldList";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isList() const override { return true; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// A URI, which is not looked into.
class TWURIField : public detail::FieldKind<TWURIField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "TWURIField";
  using FieldKind::FieldKind;
};

/// A short text: at most "maxLength" UTF-16 code units, 255 unless given.
class TWCharField : public detail::FieldKind<TWCharField, TWTextField> {
 public:
  static constexpr std::string_view kClassName = "TWCharField";
  explicit TWCharField(TWFieldOptions options);

  [[nodiscard]] bool isComplex() const override { return false; }
  /// As `TWField::clean`; ErrorValueOutOfRange for a text that is too long.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;

 private:
  [[nodiscard]] bool checkLength(const TWValue& value, TWError* error) const;
};

/// An identifier: an attribute of at most 512 code units that cannot be searched for, whatever the
/// options say.
class TWIdField : public detail::FieldKind<TWIdField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "TWIdField";
  explicit TWIdField(TWFieldOptions options);
};

/// Reads a list of texts but validates a single one, deliberately: a list that was read fails with
/// ErrorType when its element is validated.
class TWCharListField : public detail::FieldKind<TWCharListField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "TWCharListField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// An e-mail address, taken as it is.
class TWEmailField : public detail::FieldKind<TWEmailField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "TWEmailField";
  using FieldKind::FieldKind;
};

/// A culture ("en-US"), taken as it is.
class TWCultureField : public detail::FieldKind<TWCultureField, TWCharField> {
 public:
  static constexpr std::string_view kClassName = "TWCultureField";
  using FieldKind::FieldKind;
};

}  // namespace tarnwell
