#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// Base of the entries that a contact has several of, each known by its "label".
class TWIndexedElement : public TWEWSElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// Empty; the labels of a kind are the choices of its field "label".
  [[nodiscard]] static std::set<std::string> labels() { return {}; }
};

/// Base of the entries that hold one value besides their label.
class TWSingleFieldIndexedElement : public TWIndexedElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The field of that value in a class of such entries; null when the version knows none.
  [[nodiscard]] static std::shared_ptr<const TWField> valueField(const TWElementClass& cls,
                                                                 const TWVersion* version);
};

/// Base of the entries that hold several values besides their label.
class TWMultiFieldIndexedElement : public TWIndexedElement {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

namespace detail {

/// A kind of entry with one value.
template <class Self>
class SingleFieldKind : public ElementKind<Self, TWSingleFieldIndexedElement> {
 public:
  [[nodiscard]] static std::shared_ptr<const TWField> valueField(const TWVersion* version) {
    return TWSingleFieldIndexedElement::valueField(Self::elementClass(), version);
  }
};

}  // namespace detail

/// An e-mail address of a contact: "label", by default "EmailAddress1", and "email".
class TWEmailAddress : public detail::SingleFieldKind<TWEmailAddress> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The address.
  [[nodiscard]] std::optional<std::string> constantText() const override;
};

/// A phone number of a contact: "label", by default "PrimaryPhone", and "phone_number".
class TWPhoneNumber : public detail::SingleFieldKind<TWPhoneNumber> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The number.
  [[nodiscard]] std::optional<std::string> constantText() const override;
};

/// A postal address of a contact: "label", by default "Business", and "street", "city", "state",
/// "country" and "zipcode".
class TWPhysicalAddress
    : public detail::ElementKind<TWPhysicalAddress, TWMultiFieldIndexedElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// As of the base; a zip code that was given as a number becomes its text first.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
};

}  // namespace tarnwell
