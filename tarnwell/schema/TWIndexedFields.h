#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/schema/TWField.h"

namespace tarnwell {

/// The one value of an element as its own text. Inside an indexed entry, its path is that of the
/// entry.
class TWSubField : public detail::FieldKind<TWSubField, TWField> {
 public:
  static constexpr std::string_view kClassName = "TWSubField";
  using FieldKind::FieldKind;

  /// Always text.
  [[nodiscard]] TWValueClass valueClass() const override { return TWValueClass::Kind::text; }
  /// The text of the element that the field belongs to.
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
  /// The value as it is, which becomes the element's text.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  using FieldKind::fieldURIXML;
  /// `t:IndexedFieldURI`, the name of this value in the entry of that label.
  /// @param fieldURI  of the field that holds the entries: "contacts:PhoneNumber".
  [[nodiscard]] virtual NKXMLElement fieldURIXML(std::string_view fieldURI,
                                                 std::string_view label) const;
  [[nodiscard]] std::size_t hash() const override;
};

/// An address of an address book's entry.
class TWEmailSubField : public detail::FieldKind<TWEmailSubField, TWSubField> {
 public:
  static constexpr std::string_view kClassName = "TWEmailSubField";
  using FieldKind::FieldKind;

  /// The element's text, or its attribute "Name" when it has none.
  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
};

/// One of several values of an entry, each in a child element named by the option "fieldURI".
class TWNamedSubField : public detail::FieldKind<TWNamedSubField, TWSubField> {
 public:
  static constexpr std::string_view kClassName = "TWNamedSubField";
  using FieldKind::FieldKind;

  /// "Street": without a prefix, deliberately.
  [[nodiscard]] std::string_view requestTag() const noexcept { return fieldURI(); }
  [[nodiscard]] std::string_view responseTag() const noexcept { return fieldURI(); }
  /// Always the types namespace.
  [[nodiscard]] std::string_view responseXMLns() const noexcept;

  [[nodiscard]] TWValue fromXML(const NKXMLElement& element,
                                const std::shared_ptr<TWAccount>& account) const override;
  [[nodiscard]] std::optional<TWTag> childTag() const override;
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  using TWSubField::fieldURIXML;
  /// As of the base, where the field URI is followed by this field's own.
  [[nodiscard]] NKXMLElement fieldURIXML(std::string_view fieldURI,
                                         std::string_view label) const override;
};

/// Entries that are known by a label, such as the phone numbers of a contact. Base of the kinds,
/// without a container of its own; so it reads and writes nothing.
class TWIndexedField : public detail::FieldKind<TWIndexedField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "TWIndexedField";
  using FieldKind::FieldKind;

  /// The element around the entries, "PhoneNumbers"; absent here.
  [[nodiscard]] static std::optional<std::string_view> parentElementName() { return std::nullopt; }
  /// The same; empty here.
  [[nodiscard]] static std::string_view responseTag() noexcept { return {}; }
  /// Always the types namespace.
  [[nodiscard]] static std::string_view responseXMLns() noexcept;

  /// Invalid: an entry is named by a sub-field and its label.
  [[nodiscard]] NKXMLElement fieldURIXML() const override { return {}; }
  [[nodiscard]] std::optional<TWTag> childTag() const override;
  /// A value from each entry of the container.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// The container with the entries.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;

 protected:
  /// What `parentElementName` answers for the class of this very field.
  [[nodiscard]] virtual std::optional<std::string_view> container() const {
    return parentElementName();
  }
};

namespace detail {

/// A kind of indexed field. The kind says `static constexpr std::string_view kParentElementName`.
template <class Self>
class IndexedKind : public FieldKind<Self, TWIndexedField> {
 public:
  using FieldKind<Self, TWIndexedField>::FieldKind;

  [[nodiscard]] static std::optional<std::string_view> parentElementName() {
    return Self::kParentElementName;
  }
  [[nodiscard]] static std::string_view responseTag() noexcept { return Self::kParentElementName; }
  [[nodiscard]] bool isList() const override { return true; }

 protected:
  [[nodiscard]] std::optional<std::string_view> container() const override {
    return parentElementName();
  }
};

}  // namespace detail

/// E-mail addresses of a contact; values are always `TWEmailAddress`.
class TWEmailAddressField : public detail::IndexedKind<TWEmailAddressField> {
 public:
  static constexpr std::string_view kClassName = "TWEmailAddressField";
  static constexpr std::string_view kParentElementName = "EmailAddresses";
  explicit TWEmailAddressField(TWFieldOptions options);
};

/// Phone numbers of a contact; values are always `TWPhoneNumber`.
class TWPhoneNumberField : public detail::IndexedKind<TWPhoneNumberField> {
 public:
  static constexpr std::string_view kClassName = "TWPhoneNumberField";
  static constexpr std::string_view kParentElementName = "PhoneNumbers";
  explicit TWPhoneNumberField(TWFieldOptions options);
};

/// Postal addresses of a contact; values are always `TWPhysicalAddress`.
class TWPhysicalAddressField : public detail::IndexedKind<TWPhysicalAddressField> {
 public:
  static constexpr std::string_view kClassName = "TWPhysicalAddressField";
  static constexpr std::string_view kParentElementName = "PhysicalAddresses";
  explicit TWPhysicalAddressField(TWFieldOptions options);
};

}  // namespace tarnwell
