/// What it costs to read messages over parsing their XML: time against the bare parser, of which
/// the goal is at most 1.5 times in all, and the memory that the messages keep.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <malloc.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace {

using tarnwell::NKXMLDocument;
using tarnwell::TWMailbox;
using tarnwell::TWMessage;

constexpr int kMessages = 100;

std::string mailbox(std::string_view name) {
  const std::string text(name);
  return "<t:Mailbox><t:Name>" + text + "</t:Name><t:EmailAddress>" + text +
         "@example.org</t:EmailAddress><t:RoutingType>SMTP</t:RoutingType>"
         "<t:MailboxType>Mailbox</t:MailboxType></t:Mailbox>";
}

/// A message as GetItem answers it when everything is asked for.
std::string message(int number) {
  const auto n = std::to_string(100'000 + number);
  return "<t:Message><t:ItemId "
         "Id=\"AAMkAGI2NGVhZTVlLTI1OGMtNDI4My1iZmE5LTA5OGJiZGEzMTc0YQBGAAAAAADUuTJK"
         "1K9sRq" +
         n + "AAA=\" ChangeKey=\"CQAAABYAAADh" + n +
         "\"/><t:ParentFolderId "
         "Id=\"AAMkAGI2NGVhZTVlLTI1OGMtNDI4My1iZmE5LTA5OGJiZGEzMTc0YQAuAAAAAAA=\""
         " ChangeKey=\"AQAAAA==\"/><t:ItemClass>IPM.Note</t:ItemClass>"
         "<t:Subject>Quarterly figures &amp; plans, part " +
         n +
         "</t:Subject><t:Sensitivity>Normal</t:Sensitivity><t:Body BodyType=\"HTML\">&lt;html&gt;"
         "&lt;body&gt;&lt;p&gt;Dear all,&lt;/p&gt;&lt;p&gt;please find the figures of the quarter "
         "below, and have a look at those of your department before Friday.&lt;/p&gt;"
         "&lt;/body&gt;&lt;/html&gt;</t:Body><t:Attachments><t:FileAttachment><t:AttachmentId "
         "Id=\"AAMkAGI2NGVhZTVlLTI1OGMtNDI4My1iZmE5\"/><t:Name>figures.xlsx</t:Name>"
         "<t:ContentType>application/octet-stream</t:ContentType><t:Size>18231</t:Size>"
         "<t:LastModifiedTime>2024-03-01T09:29:00</t:LastModifiedTime><t:IsInline>false</"
         "t:IsInline>"
         "</t:FileAttachment></t:Attachments>"
         "<t:DateTimeReceived>2024-03-01T09:30:00Z</t:DateTimeReceived><t:Size>24833</t:Size>"
         "<t:Categories><t:String>Finance</t:String><t:String>Board</t:String></t:Categories>"
         "<t:Importance>Normal</t:Importance><t:InReplyTo>&lt;a." +
         n +
         "@example.org&gt;</t:InReplyTo><t:IsSubmitted>false</t:IsSubmitted>"
         "<t:IsDraft>false</t:IsDraft><t:IsFromMe>false</t:IsFromMe><t:IsResend>false</t:IsResend>"
         "<t:IsUnmodified>true</t:IsUnmodified><t:InternetMessageHeaders>"
         "<t:InternetMessageHeader HeaderName=\"MIME-Version\">1.0</t:InternetMessageHeader>"
         "<t:InternetMessageHeader HeaderName=\"Content-Type\">text/html</t:InternetMessageHeader>"
         "</t:InternetMessageHeaders><t:DateTimeSent>2024-03-01T09:29:58Z</t:DateTimeSent>"
         "<t:DateTimeCreated>2024-03-01T09:30:00Z</t:DateTimeCreated>"
         "<t:ReminderIsSet>false</t:ReminderIsSet>"
         "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart><t:DisplayCc/>"
         "<t:DisplayTo>Anna Schmidt; J\xC3\xBCrgen M\xC3\xBCller</t:DisplayTo>"
         "<t:HasAttachments>true</t:HasAttachments><t:Culture>en-US</t:Culture>"
         "<t:EffectiveRights><t:CreateAssociated>false</t:CreateAssociated>"
         "<t:CreateContents>false</t:CreateContents><t:CreateHierarchy>false</t:CreateHierarchy>"
         "<t:Delete>true</t:Delete><t:Modify>true</t:Modify><t:Read>true</t:Read>"
         "<t:ViewPrivateItems>true</t:ViewPrivateItems></t:EffectiveRights>"
         "<t:LastModifiedName>Anna Schmidt</t:LastModifiedName>"
         "<t:LastModifiedTime>2024-03-01T09:30:00Z</t:LastModifiedTime>"
         "<t:IsAssociated>false</t:IsAssociated>"
         "<t:ConversationId Id=\"AAQkAGI2NGVhZTVlLTI1OGMtNDI4My1iZmE5LTA5OGJiZGEzMTc0YQAQ\"/>"
         "<t:Sender>" +
         mailbox("robert") + "</t:Sender><t:ToRecipients>" + mailbox("anna") + mailbox("juergen") +
         "</t:ToRecipients><t:CcRecipients>" + mailbox("maria") +
         "</t:CcRecipients><t:IsReadReceiptRequested>false</t:IsReadReceiptRequested>"
         "<t:ConversationIndex>AQHZq1d4c0i6mXj0VE2p9mYxC2M9dQ==</t:ConversationIndex>"
         "<t:ConversationTopic>Quarterly figures</t:ConversationTopic><t:From>" +
         mailbox("robert") + "</t:From><t:InternetMessageId>&lt;" + n +
         "@example.org&gt;</t:InternetMessageId><t:IsRead>true</t:IsRead>"
         "<t:IsResponseRequested>false</t:IsResponseRequested><t:ReceivedBy>" +
         mailbox("anna") + "</t:ReceivedBy><t:ReceivedRepresenting>" + mailbox("anna") +
         "</t:ReceivedRepresenting></t:Message>";
}

const std::string& answer() {
  static const std::string xml = [] {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><m:Items "
        "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
        "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">";
    for (int i = 0; i < kMessages; ++i) text += message(i);
    return text + "</m:Items>";
  }();
  return xml;
}

using Messages = std::vector<std::shared_ptr<TWMessage>>;

Messages readMessages() {
  Messages messages;
  for (const auto& child : NKXMLDocument::withXMLString(answer()).rootElement().childElements())
    messages.push_back(TWMessage::fromXML(child));
  return messages;
}

std::size_t parseAlone() {
  constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_NONET | XML_PARSE_HUGE |
                           XML_PARSE_COMPACT | XML_PARSE_IGNORE_ENC;
  auto* doc =
      xmlReadMemory(answer().data(), static_cast<int>(answer().size()), nullptr, nullptr, kOptions);
  const auto count = xmlChildElementCount(xmlDocGetRootElement(doc));
  xmlFreeDoc(doc);
  return count;
}

bool isComplete(const Messages& messages) {
  for (const auto& message : messages) {
    const auto to = message->get<std::vector<std::shared_ptr<TWMailbox>>>("to_recipients");
    if (message->allKeys().size() < 40 || !to || to->size() != 2) return false;
  }
  return messages.size() == kMessages;
}

void parserAlone(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(parseAlone());
}

void messages(benchmark::State& state) {
  if (!isComplete(readMessages())) return state.SkipWithError("not all was read");
  for (auto _ : state) benchmark::DoNotOptimize(readMessages());
  const auto before = mallinfo2().uordblks;
  const auto kept = readMessages();
  state.counters["bytes each"] = static_cast<double>(mallinfo2().uordblks - before) / kMessages;
  state.counters["XML bytes each"] = static_cast<double>(answer().size()) / kMessages;
}

void tree(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(NKXMLDocument::withXMLString(answer()));
}
BENCHMARK(tree)->Unit(benchmark::kMicrosecond);
BENCHMARK(parserAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(messages)->Unit(benchmark::kMicrosecond);

}  // namespace
