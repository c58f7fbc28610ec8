// Items without a server: a message is made and written, one of an answer is read, and the kinds of
// items are printed.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tarnwell/tarnwell.h"

using namespace tarnwell;

namespace {

/// What a server answers when it is asked for a message.
constexpr std::string_view kAnswer = R"(
<t:Message xmlns:t="http://schemas.microsoft.com/exchange/services/2006/types">
  <t:ItemId Id="AAMkAD" ChangeKey="CQAAAB"/>
  <t:Subject>Minutes</t:Subject>
  <t:DateTimeReceived>2024-03-01T09:30:00Z</t:DateTimeReceived>
  <t:Size>4711</t:Size>
  <t:From>
    <t:Mailbox><t:Name>Ann</t:Name><t:EmailAddress>ann@example.com</t:EmailAddress></t:Mailbox>
  </t:From>
  <t:IsRead>false</t:IsRead>
</t:Message>)";

/// Prints the element that is sent for the item; false when it is not valid.
bool write(TWItem& item) {
  TWError error;
  const auto xml = item.toXML(nullptr, &error);
  if (!xml) {
    std::cerr << "The item was not written: " << error << '\n';
    return false;
  }
  std::cout << xml.prettyXMLString() << "\n\n";
  return true;
}

}  // namespace

int main() {
  // Properties are given by name; recipients may be plain addresses.
  const auto message = TWMessage::withDict({
      {"subject", "Report"},
      {"body", TWHTMLBody("<p>Here it is.</p>")},
      {"to_recipients", TWValue::list({"ann@example.com", "bob@example.com"})},
      {"attachments", TWValue::list({TWFileAttachment::withDict(
                          {{"name", "report.txt"}, {"_content", TWData{'4', '2'}}})})},
      {"culture", "en-US"},
  });
  message->set("importance", "High");
  if (!write(*message)) return 1;

  // Read: what is asked for as a C++ type is absent when it is missing or of another kind.
  const auto read = TWMessage::fromXML(NKXMLElement::withXMLString(kAnswer));
  const auto subject = read->get<std::string>("subject");
  const auto size = read->get<int>("size");
  const auto from = read->get<std::shared_ptr<TWMailbox>>("from");
  if (!subject || !size || !from || read->get<bool>("is_read") != false) {
    std::cerr << "The answer was not read\n";
    return 1;
  }
  std::cout << *subject << ", " << *size << " bytes, from "
            << from->get<std::string>("email_address").value_or("(nobody)") << "\n\n";

  // Other kinds are made, written and printed alike.
  const std::vector<std::shared_ptr<TWItem>> items{
      TWContact::withDict({
          {"given_name", "Ann"},
          {"surname", "Miller"},
          {"email_addresses",
           TWValue::list({TWEmailAddress::withDict({{"email", "ann@example.com"}})})},
          {"culture", "en-US"},
      }),
      TWTask::withDict({{"subject", "Read the report"}, {"culture", "en-US"}}),
      TWPostItem::withDict({{"subject", "Lunch at noon"}, {"culture", "en-US"}}),
      TWCalendarItem::withDict({{"subject", "Review"}, {"culture", "en-US"}}),
      TWDistributionList::withDict({{"subject", "Everybody"}, {"culture", "en-US"}}),
  };
  for (const auto& item : items) {
    std::cout << *item << '\n';
    if (!write(*item)) return 1;
  }
  return 0;
}
