// An operation that the library does not have, written as the library writes its own: the lists of
// meeting rooms that the server knows.
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tarnwell/tarnwell.h"

#include "examples/support/LoopbackServer.h"

using namespace tarnwell;

namespace {

const TWServiceClass kGetRoomLists{.serviceName = "GetRoomLists",
                                   .elementContainerName = "RoomLists",
                                   .elementContainerXMLns = kMessagesNamespace};

class GetRoomLists : public TWEWSService {
 public:
  explicit GetRoomLists(std::shared_ptr<TWServiceContext> context)
      : TWEWSService(kGetRoomLists, std::move(context)) {}

  /// The addresses of the lists.
  std::optional<TWList> call(TWError* error = nullptr) {
    const auto elements = getElements(TWUtils::createElement(kGetRoomLists.rootName()), error);
    if (!elements) return std::nullopt;
    TWList addresses;
    for (const auto& element : *elements)
      addresses.emplace_back(
          element.asXML().elementForName("EmailAddress", kTypesNamespace).stringValue());
    return addresses;
  }
};

std::string answer(const std::string& /*request*/) {
  return R"(<?xml version="1.0" encoding="utf-8"?>
<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/">
  <s:Header>
    <h:ServerVersionInfo xmlns:h="http://schemas.microsoft.com/exchange/services/2006/types"
        MajorVersion="15" MinorVersion="1" MajorBuildNumber="225" MinorBuildNumber="42"/>
  </s:Header>
  <s:Body>
    <m:GetRoomListsResponse ResponseClass="Success"
        xmlns:m="http://schemas.microsoft.com/exchange/services/2006/messages"
        xmlns:t="http://schemas.microsoft.com/exchange/services/2006/types">
      <m:ResponseCode>NoError</m:ResponseCode>
      <m:RoomLists>
        <t:Address><t:EmailAddress>first.floor@example.com</t:EmailAddress></t:Address>
        <t:Address><t:EmailAddress>second.floor@example.com</t:EmailAddress></t:Address>
      </m:RoomLists>
    </m:GetRoomListsResponse>
  </s:Body>
</s:Envelope>)";
}

}  // namespace

int main() {
  const examples::LoopbackServer server("/EWS/Exchange.asmx", answer);
  const auto protocol = TWProtocol::withServiceEndpoint(
      server.url(), TWCredentials::credentialsWithUsernamePassword("alice@example.com", "secret"),
      TWVersion(std::nullopt, "Exchange2016"));

  TWError error;
  const auto lists = GetRoomLists(protocol).call(&error);
  if (!lists) {
    std::cerr << error << '\n';
    return EXIT_FAILURE;
  }
  for (const auto& address : *lists) std::cout << address << '\n';
  return lists->size() == 2 ? EXIT_SUCCESS : EXIT_FAILURE;
}
