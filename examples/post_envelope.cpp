// One request to an Exchange server, built by hand: a payload, its envelope, the post, the answer.
#include <chrono>
#include <iostream>
#include <string>
#include <string_view>

#include "tarnwell/tarnwell.h"

#include "examples/support/LoopbackServer.h"

using namespace tarnwell;

namespace {

/// Asks for a well-known folder, such as "inbox".
NKXMLElement getFolder(std::string_view folder) {
  auto request = TWUtils::createElement("m:GetFolder");
  auto shape = TWUtils::createElement("m:FolderShape");
  shape.addChild(NKXMLElement::withName("t:BaseShape", "Default"));
  request.addChild(shape);
  auto ids = TWUtils::createElement("m:FolderIds");
  ids.addChild(TWUtils::createElement("t:DistinguishedFolderId", {{"Id", folder}}));
  request.addChild(ids);
  return request;
}

/// What the server says: the prefixes are its own, so the answer must be read by namespace.
std::string answer(const std::string& /*request*/) {
  return R"(<?xml version="1.0" encoding="utf-8"?>
<soap:Envelope xmlns:soap="http://schemas.xmlsoap.org/soap/envelope/">
  <soap:Header>
    <h:ServerVersionInfo xmlns:h="http://schemas.microsoft.com/exchange/services/2006/types"
        MajorVersion="15" MinorVersion="1" MajorBuildNumber="2507" MinorBuildNumber="39"/>
  </soap:Header>
  <soap:Body>
    <GetFolderResponse xmlns="http://schemas.microsoft.com/exchange/services/2006/messages"
        xmlns:e="http://schemas.microsoft.com/exchange/services/2006/types">
      <ResponseMessages>
        <GetFolderResponseMessage ResponseClass="Success">
          <ResponseCode>NoError</ResponseCode>
          <Folders>
            <e:Folder>
              <e:FolderId Id="AAMkAGI5" ChangeKey="AQAAABYAAAD"/>
              <e:DisplayName>Inbox &amp; more</e:DisplayName>
              <e:TotalCount>128</e:TotalCount>
              <e:UnreadCount>3</e:UnreadCount>
            </e:Folder>
          </Folders>
        </GetFolderResponseMessage>
      </ResponseMessages>
    </GetFolderResponse>
  </soap:Body>
</soap:Envelope>)";
}

}  // namespace

int main() {
  const examples::LoopbackServer server("/EWS/Exchange.asmx", answer);
  const std::string& url = server.url();

  const std::string envelope = TWTransport::wrap(getFolder("inbox"), "Exchange2010_SP2");
  std::cout << "POST " << url << '\n' << envelope << "\n\n";

  const auto start = std::chrono::steady_clock::now();
  const auto connection = TWConnection::withCredentials(nullptr, false);
  const TWResponse record = connection->post(url, TWTransport::defaultHeaders(), envelope);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  if (record.error || !record.response) {
    std::cerr << "The request failed: " << record.error << '\n';
    return 1;
  }
  std::cout << "Status " << record.response->statusCode << " after " << taken.count() << " ms\n";

  const auto root = record.xmlDoc.rootElement();
  const auto message = root.elementForName("Body", kSoapNamespace)
                           .elementForName("GetFolderResponse", kMessagesNamespace)
                           .elementForName("ResponseMessages", kMessagesNamespace)
                           .elementForName("GetFolderResponseMessage", kMessagesNamespace);
  const auto folder = message.elementForName("Folders", kMessagesNamespace)
                          .elementForName("Folder", kTypesNamespace);
  if (!folder) {
    std::cerr << "The answer has no folder:\n" << record.xml().value_or("(no XML)") << '\n';
    return 1;
  }
  const auto text = [&folder](std::string_view name) {
    return folder.elementForName(name, kTypesNamespace).stringValue().value_or("(none)");
  };
  std::cout << text("DisplayName") << ": " << text("UnreadCount") << " of " << text("TotalCount")
            << " unread\n";
  return 0;
}
