#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// An element inside the element: a value of the class in the option "valueCls".
///
/// With a field URI the value stands inside an element of the field's own (`t:Sender` holds a
/// `t:Mailbox`); without one it stands there by itself.
class TWEWSElementField : public detail::FieldKind<TWEWSElementField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWEWSElementField";
  using FieldKind::FieldKind;

  /// The field's element; without a field URI that of the value class.
  [[nodiscard]] std::optional<TWTag> childTag() const override;
  /// A value read from the very child, under whatever name; of lists a value from each element of
  /// the value class's name inside it, in document order.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// An element named by `requestTag` around the value's XML; without a field URI that XML itself.
  /// Errors of the value are passed up; ErrorType for a value alone that is no element.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;

 protected:
  /// The value's XML itself.
  [[nodiscard]] TWValue ownXML(const TWValue& value, const TWVersion* version,
                               TWError* error) const;
};

/// A list of elements in an element of the field's own.
class TWEWSElementListField : public detail::FieldKind<TWEWSElementListField, TWEWSElementField> {
 public:
  static constexpr std::string_view kClassName = "TWEWSElementListField";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isList() const override { return true; }
  [[nodiscard]] bool isComplex() const override { return true; }
};

/// The rule by which an appointment recurs. Written without an element of the field's own, even
/// when it has a field URI.
class TWRecurrenceField : public detail::FieldKind<TWRecurrenceField, TWEWSElementField> {
 public:
  static constexpr std::string_view kClassName = "TWRecurrenceField";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isComplex() const override { return true; }
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

/// One occurrence of a recurring appointment. (The name is spelt so deliberately.)
class TWOccurenceField : public detail::FieldKind<TWOccurenceField, TWEWSElementField> {
 public:
  static constexpr std::string_view kClassName = "TWOccurenceField";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isComplex() const override { return true; }
};

/// Several of them.
class TWOccurrenceListField : public detail::FieldKind<TWOccurrenceListField, TWOccurenceField> {
 public:
  static constexpr std::string_view kClassName = "TWOccurrenceListField";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isList() const override { return true; }
};

/// Internet message headers; values are always `TWMessageHeader`.
class TWMessageHeaderField : public detail::FieldKind<TWMessageHeaderField, TWEWSElementListField> {
 public:
  static constexpr std::string_view kClassName = "TWMessageHeaderField";
  explicit TWMessageHeaderField(TWFieldOptions options);
};

/// Attachments; values are always of a kind of `TWAttachment`.
class TWAttachmentField : public detail::FieldKind<TWAttachmentField, TWEWSElementListField> {
 public:
  static constexpr std::string_view kClassName = "TWAttachmentField";
  explicit TWAttachmentField(TWFieldOptions options);

  /// The file attachments only, deliberately: items inside an item are not read with it.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// What the account may do with an item; the value is always a `TWEffectiveRights`.
class TWEffectiveRightsField : public detail::FieldKind<TWEffectiveRightsField, TWEWSElementField> {
 public:
  static constexpr std::string_view kClassName = "TWEffectiveRightsField";
  explicit TWEffectiveRightsField(TWFieldOptions options);
};

/// An item inside an element. Serves to name it only: no value is valid, and none is read.
class TWItemField : public detail::FieldKind<TWItemField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWItemField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::none; }
};

}  // namespace tarnwell
