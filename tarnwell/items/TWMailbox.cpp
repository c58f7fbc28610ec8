#include "tarnwell/items/TWMailbox.h"

#include <array>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

struct Field {
  std::string_view name;
  std::string_view element;
  std::optional<std::string_view> fallback;
};

constexpr std::array<Field, 4> kFields = {{
    {"name", "Name", std::nullopt},
    {"email_address", "EmailAddress", std::nullopt},
    {"routing_type", "RoutingType", "SMTP"},
    {"mailbox_type", "MailboxType", "Mailbox"},
}};

}  // namespace

std::shared_ptr<TWMailbox> TWMailbox::fromXML(const NKXMLElement& element) {
  if (!element) return nullptr;
  auto mailbox = std::make_shared<TWMailbox>();
  for (const auto& field : kFields) {
    const auto text = element.elementForName(field.element, kTypesNamespace).stringValue();
    mailbox->props_.set(field.name, text ? TWValue(*text) : TWValue(field.fallback));
  }
  return mailbox;
}

NKXMLElement TWMailbox::toXML(const TWVersion* /*version*/, TWError* error) {
  if (props_["email_address"].isAbsent()) {
    setError(error,
             {TWErrorCode::ErrorValueOutOfRange, "Mailbox must have email address or item id"});
    return {};
  }
  auto element = TWUtils::createElement("t:Mailbox");
  for (const auto& field : kFields)
    if (const auto& value = props_[field.name]; !value.isAbsent())
      TWUtils::createAndAddElementToParent(element, formatMessage("t:%@", {field.element}), value);
  return element;
}

std::optional<std::string> TWMailbox::constantText() const {
  return props_["email_address"].asText();
}

std::string TWMailbox::description() const {
  return formatMessage("[%@] %@", {className(), props_});
}

}  // namespace tarnwell
