#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// A mailbox: somebody's name and address (`t:Mailbox`), or the id of the contact that has them.
///
/// Properties: "name", "email_address", "routing_type" ("SMTP"), "mailbox_type" ("Mailbox" unless
/// said otherwise) and "item_id". Mailboxes are equal when their item ids are, or without these
/// their addresses, of which case does not matter.
class TWMailbox : public detail::ElementKind<TWMailbox, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// Also ErrorValueOutOfRange for a mailbox with neither address nor item id.
  bool clean(const TWVersion* version, TWError* error = nullptr) override;
  /// The address.
  [[nodiscard]] std::optional<std::string> constantText() const override;

 protected:
  [[nodiscard]] TWList identity() const override;
};

/// The mailbox in a request for availability, which spells the address differently. An element
/// without a name of its own: what holds it names it.
class TWAvailabilityMailbox : public detail::ElementKind<TWAvailabilityMailbox, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// With the name, address and routing type of that mailbox.
  [[nodiscard]] static std::shared_ptr<TWAvailabilityMailbox> fromMailbox(const TWMailbox& mailbox);

 protected:
  /// The address, of which case does not matter.
  [[nodiscard]] TWList identity() const override;
};

/// A list of rooms. Read from `t:Address` elements.
class TWRoomList : public detail::ElementKind<TWRoomList, TWMailbox> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// A meeting room (`t:Room`).
class TWRoom : public detail::ElementKind<TWRoom, TWMailbox> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

 protected:
  /// The name, address and mailbox type stand in the room's element, the item id inside its `t:Id`.
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;
};

}  // namespace tarnwell
