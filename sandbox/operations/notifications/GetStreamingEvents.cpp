#include <charconv>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Operations.h"
#include "sandbox/store/Ids.h"

namespace tarnwell::sandbox {
namespace {

constexpr int kMostMinutes = 30;

int readMinutes(pugi::xml_node element) {
  const std::string text = simpleText(element);
  int minutes = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, minutes);
  if (problem == std::errc() && stopped == end && minutes >= 1 && minutes <= kMostMinutes) {
    return minutes;
  }
  throw SoapFault::schemaViolation("The 'ConnectionTimeout' element is invalid - The value '" +
                                   text + "' is invalid according to its datatype '" +
                                   std::string(kTypesNs) +
                                   ":StreamingSubscriptionConnectionTimeoutType'.");
}

}  // namespace

void getStreamingEvents(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  std::vector<std::string> texts;
  ElementReader list(reader.required(kMessagesNs, "SubscriptionIds"));
  list.requireMore();
  while (const pugi::xml_node element = list.next()) {
    if (!isElement(element, kTypesNs, "SubscriptionId")) list.refuse(element);
    texts.push_back(simpleText(element));
  }
  StreamRequest request;
  request.minutes = readMinutes(reader.required(kMessagesNs, "ConnectionTimeout"));
  reader.end();

  std::vector<std::string> unknown;
  for (const std::string& text : texts) {
    const std::optional<Id> id = readId(text);
    if (id && id->kind == IdKind::subscription && call.subscriptions.contains(id->number)) {
      request.subscriptions.push_back(id->number);
    } else {
      unknown.push_back(text);
    }
  }
  if (unknown.empty()) {
    call.stream = std::move(request);
    return;
  }
  const EwsError error("ErrorSubscriptionNotFound");
  pugi::xml_node ids =
      addResponseMessage(response, "GetStreamingEvents", {"Error", error.code, error.text})
          .append_child("m:ErrorSubscriptionIds");
  for (const std::string& text : unknown) append(ids, "m:SubscriptionId", text);
}

}  // namespace tarnwell::sandbox
