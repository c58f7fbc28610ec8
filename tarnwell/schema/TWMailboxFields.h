#pragma once

#include <memory>
#include <string_view>

#include "tarnwell/schema/TWElementFields.h"

namespace tarnwell {

/// One mailbox; the value is always a `TWMailbox`. An address by itself will do for it.
class TWMailboxField : public detail::FieldKind<TWMailboxField, TWEWSElementField> {
 public:
  static constexpr std::string_view kClassName = "TWMailboxField";
  explicit TWMailboxField(TWFieldOptions options);

  /// As `TWField::clean`; but a text becomes a mailbox of that address without further validation,
  /// even of the version.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;
  /// Of a field element without a mailbox inside it absent, not the default.
  [[nodiscard]] TWValue fromChild(const NKXMLElement& child,
                                  const std::shared_ptr<TWAccount>& account) const override;
};

/// Several mailboxes, or elements that hold one each. Addresses by themselves will do for them.
class TWMailboxListField : public detail::FieldKind<TWMailboxListField, TWEWSElementListField> {
 public:
  static constexpr std::string_view kClassName = "TWMailboxListField";
  explicit TWMailboxListField(TWFieldOptions options);

  /// As `TWField::clean`, once each text has become a value of that address, in its place.
  [[nodiscard]] TWValue clean(const TWValue& value, const TWVersion* version,
                              TWError* error = nullptr) const override;

 protected:
  /// For kinds with another value class.
  TWMailboxListField(TWFieldOptions options, const TWElementClass& valueCls);
};

/// Members of a distribution list; values are always `TWMember`.
class TWMemberListField : public detail::FieldKind<TWMemberListField, TWMailboxListField> {
 public:
  static constexpr std::string_view kClassName = "TWMemberListField";
  explicit TWMemberListField(TWFieldOptions options);
};

/// Attendees of a meeting; values are always `TWAttendee`.
class TWAttendeesField : public detail::FieldKind<TWAttendeesField, TWMailboxListField> {
 public:
  static constexpr std::string_view kClassName = "TWAttendeesField";
  explicit TWAttendeesField(TWFieldOptions options);
};

}  // namespace tarnwell
