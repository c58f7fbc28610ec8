#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// Somebody invited to a meeting (`t:Attendee`): "mailbox", "response_type" ("Unknown" unless said
/// otherwise) and "last_response_time". Attendees are equal when their mailboxes are.
class TWAttendee : public detail::ElementKind<TWAttendee, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// The answers that an attendee can have given.
  [[nodiscard]] static const std::vector<std::string>& responseTypes();
  /// The same as choices, which every server knows.
  [[nodiscard]] static std::vector<TWChoice> choices();

  /// The address of the mailbox.
  [[nodiscard]] std::optional<std::string> constantText() const override;

 protected:
  [[nodiscard]] TWList identity() const override;
};

/// A member of a distribution list (`t:Member`): "mailbox" and "status" ("Normal" unless said
/// otherwise). Members are equal when their mailboxes are.
class TWMember : public detail::ElementKind<TWMember, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

 protected:
  [[nodiscard]] TWList identity() const override;
};

}  // namespace tarnwell
