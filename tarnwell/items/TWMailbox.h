#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWObject.h"

namespace tarnwell {

/// A mailbox: somebody's name and address (EWS's `t:Mailbox`). So far it is read from answers only.
class TWMailbox : public TWXMLObject {
 public:
  /// From a `t:Mailbox` element; null for the invalid element.
  [[nodiscard]] static std::shared_ptr<TWMailbox> fromXML(const NKXMLElement& element);

  /// "name", "email_address", "routing_type" (by default "SMTP") or "mailbox_type" (by default
  /// "Mailbox").
  [[nodiscard]] const TWValue& get(std::string_view name) const noexcept {
    return props_.get(name);
  }

  [[nodiscard]] Role role() const override { return Role::element; }
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;
  /// The address.
  [[nodiscard]] std::optional<std::string> constantText() const override;
  [[nodiscard]] std::string_view className() const override { return "TWMailbox"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] TWProperties declaredProperties() const override {
    return {props_.begin(), props_.end()};
  }

 private:
  TWDictionary props_;
};

}  // namespace tarnwell
