#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/schema/TWNumberFields.h"

namespace tarnwell {

/// One of the names in the option "enum", stored as its position: the first has position 1.
///
/// "min" is 1 unless given; "max" always follows from it and the number of names.
class TWEnumField : public detail::FieldKind<TWEnumField, TWIntegerField> {
 public:
  static constexpr std::string_view kClassName = "TWEnumField";
  explicit TWEnumField(TWFieldOptions options);

  /// Takes a name, in exactly its spelling, or a position; answers the position.
  ///
  /// Errors: ErrorValueOutOfRange for a text that is none of the names, before anything else is
  /// looked at (the version too); then those of `TWIntegerField::clean`. Of a list the entries must
  /// be names, at least one, none twice: an entry that is a number fails the list as not unique,
  /// deliberately.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  /// A name that is not in the enumeration gives the default.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  /// ErrorValueOutOfRange for a value that is no position in the enumeration.
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;

 protected:
  /// The position of a name; absent for a text that is none.
  [[nodiscard]] TWValue positionOf(std::string_view enumName) const;
  /// The name at a position; absent, with an error, for what is no position.
  [[nodiscard]] std::optional<std::string> nameAt(const TWValue& position, TWError* error) const;

 private:
  [[nodiscard]] TWValue cleanList(const TWList& list, const TWVersion* version,
                                  TWError* error) const;
  void setNotInEnum(const TWValue& value, TWError* error) const;
};

/// Several names of an enumeration, stored as the list of their positions, written in the order of
/// the enumeration with one blank between. Unknown names in an answer are passed over; without any
/// known one the default stands, since no empty list is valid.
class TWEnumListField : public detail::FieldKind<TWEnumListField, TWEnumField> {
 public:
  static constexpr std::string_view kClassName = "TWEnumListField";
  using FieldKind::FieldKind;

  [[nodiscard]] bool isList() const override { return true; }
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

/// An enumeration that travels as its number.
class TWEnumAsIntField : public detail::FieldKind<TWEnumAsIntField, TWEnumField> {
 public:
  static constexpr std::string_view kClassName = "TWEnumAsIntField";
  using FieldKind::FieldKind;

  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
  [[nodiscard]] TWValue toXML(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
};

}  // namespace tarnwell
