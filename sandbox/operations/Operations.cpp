#include "sandbox/operations/Operations.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array kOperations{
    Operation{"GetServerTimeZones", Schema::exchange2010, getServerTimeZones},
    Operation{"ResolveNames", Schema::exchange2007, resolveNames},
};

}  // namespace

const Operation* findOperation(std::string_view name) {
  const auto* const found = std::ranges::find(kOperations, name, &Operation::name);
  return found == kOperations.end() ? nullptr : found;
}

pugi::xml_node addResponseMessage(pugi::xml_node response, std::string_view operation,
                                  const ResponseStatus& status) {
  pugi::xml_node messages = response.child("m:ResponseMessages");
  if (!messages) messages = response.append_child("m:ResponseMessages");
  pugi::xml_node message =
      messages.append_child(("m:" + std::string(operation) + "ResponseMessage").c_str());
  message.append_attribute("ResponseClass") = status.responseClass;
  if (!status.text.empty()) append(message, "m:MessageText", status.text);
  append(message, "m:ResponseCode", status.code);
  if (status.code != "NoError") append(message, "m:DescriptiveLinkKey", "0");
  return message;
}

}  // namespace tarnwell::sandbox
