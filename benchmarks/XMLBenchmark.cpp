/// What the XML tree costs over the bare parser: reading an answer, writing a request. The goals
/// are at most 1.25 times for reading and 1.5 times for writing.

#include <cstddef>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace {

using tarnwell::NKXMLDocument;
using tarnwell::NKXMLElement;

constexpr std::size_t kAnswerSize = 1'000'000;
constexpr int kItems = 100;

std::string itemId(int number) {
  std::string id = "AAMkAGI2NGVhZTVlLTI1OGMtNDI4My1iZmE5LTA5OGJiZGEzMTc0YQBGAAAAAADUuTJK1K9sRq";
  return id + std::to_string(100'000 + number) + "AAA=";
}

/// A FindItem answer as a server sends it: messages with a few dozen short fields each.
std::string makeAnswer() {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
      "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>"
      "<m:FindItemResponse "
      "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
      "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">"
      "<m:ResponseMessages><m:FindItemResponseMessage ResponseClass=\"Success\">"
      "<m:ResponseCode>NoError</m:ResponseCode><m:RootFolder TotalItemsInView=\"900\" "
      "IncludesLastItemInRange=\"true\"><t:Items>";
  for (int i = 0; xml.size() < kAnswerSize; ++i) {
    const auto number = std::to_string(i);
    xml.append("<t:Message><t:ItemId Id=\"")
        .append(itemId(i))
        .append("\" ChangeKey=\"CQAAABYAAAD")
        .append(number)
        .append(
            "\"/><t:ItemClass>IPM.Note</t:ItemClass>"
            "<t:Subject>Quarterly figures &amp; plans, part ")
        .append(number)
        .append(
            "</t:Subject><t:Sensitivity>Normal</t:Sensitivity>"
            "<t:DateTimeReceived>2024-03-01T09:30:00Z</t:DateTimeReceived>"
            "<t:Size>14833</t:Size><t:Importance>Normal</t:Importance>"
            "<t:IsSubmitted>false</t:IsSubmitted><t:IsDraft>false</t:IsDraft>"
            "<t:DisplayTo>Anna Schmidt; J\xC3\xBCrgen M\xC3\xBCller</t:DisplayTo>"
            "<t:HasAttachments>false</t:HasAttachments><t:Culture>en-US</t:Culture>"
            "<t:ToRecipients><t:Mailbox><t:Name>Anna Schmidt</t:Name><t:EmailAddress>anna")
        .append(number)
        .append(
            "@example.org</t:EmailAddress><t:RoutingType>SMTP</t:RoutingType></t:Mailbox>"
            "</t:ToRecipients><t:IsRead>true</t:IsRead></t:Message>");
  }
  return xml +
         "</t:Items></m:RootFolder></m:FindItemResponseMessage></m:ResponseMessages>"
         "</m:FindItemResponse></s:Body></s:Envelope>";
}

const std::string& answer() {
  static const std::string xml = makeAnswer();
  return xml;
}

/// What a walk saw; both sides must see the same.
struct Seen {
  std::size_t elements = 0;
  std::size_t bytes = 0;
  friend bool operator==(const Seen&, const Seen&) = default;
};

void walk(const NKXMLElement& element, Seen& seen) {
  ++seen.elements;
  seen.bytes += element.localName()->size();
  for (const auto& attribute : element.attributes()) {
    seen.bytes += attribute.localName()->size() + attribute.stringValue()->size();
  }
  bool leaf = true;
  for (const auto& child : element.childElements()) {
    leaf = false;
    walk(child, seen);
  }
  if (leaf) seen.bytes += element.stringValue()->size();
}

Seen readWithTree() {
  Seen seen;
  walk(NKXMLDocument::withXMLString(answer()).rootElement(), seen);
  return seen;
}

std::string_view view(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

/// The fastest way for a node with one text: a copy of that, as a program would keep it.
std::string textOf(const xmlNode* children) {
  return children == nullptr ? std::string() : std::string(view(children->content));
}

void walk(xmlNode* element, Seen& seen) {
  ++seen.elements;
  seen.bytes += std::string(view(element->name)).size();
  for (auto* attr = element->properties; attr != nullptr; attr = attr->next)
    seen.bytes += std::string(view(attr->name)).size() + textOf(attr->children).size();
  bool leaf = true;
  for (auto* child = element->children; child != nullptr; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    leaf = false;
    walk(child, seen);
  }
  if (leaf) seen.bytes += textOf(element->children).size();
}

Seen readWithParserAlone() {
  constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_NONET | XML_PARSE_HUGE |
                           XML_PARSE_COMPACT | XML_PARSE_IGNORE_ENC;
  auto* doc =
      xmlReadMemory(answer().data(), static_cast<int>(answer().size()), nullptr, nullptr, kOptions);
  Seen seen;
  walk(xmlDocGetRootElement(doc), seen);
  xmlFreeDoc(doc);
  return seen;
}

std::string writeWithTree() {
  auto request = NKXMLElement::withName("m:GetItem");
  auto shape = NKXMLElement::withName("m:ItemShape");
  shape.addChild(NKXMLElement::withName("t:BaseShape", "AllProperties"));
  request.addChild(shape);
  auto ids = NKXMLElement::withName("m:ItemIds");
  for (int i = 0; i < kItems; ++i) {
    auto id = NKXMLElement::withName("t:ItemId");
    id.addAttributeWithName("Id", itemId(i));
    id.addAttributeWithName("ChangeKey", "CQAAABYAAAD");
    ids.addChild(id);
  }
  request.addChild(ids);
  return request.XMLString();
}

const xmlChar* text(const char* value) { return reinterpret_cast<const xmlChar*>(value); }

std::string writeWithParserAlone() {
  auto* doc = xmlNewDoc(text("1.0"));
  auto* request = xmlNewDocNode(doc, nullptr, text("m:GetItem"), nullptr);
  xmlDocSetRootElement(doc, request);
  auto* shape = xmlNewChild(request, nullptr, text("m:ItemShape"), nullptr);
  xmlNewTextChild(shape, nullptr, text("t:BaseShape"), text("AllProperties"));
  auto* ids = xmlNewChild(request, nullptr, text("m:ItemIds"), nullptr);
  for (int i = 0; i < kItems; ++i) {
    auto* id = xmlNewChild(ids, nullptr, text("t:ItemId"), nullptr);
    xmlNewProp(id, text("Id"), text(itemId(i).c_str()));
    xmlNewProp(id, text("ChangeKey"), text("CQAAABYAAAD"));
  }
  auto* buffer = xmlBufferCreate();
  auto* writer = xmlSaveToBuffer(buffer, "UTF-8", XML_SAVE_NO_EMPTY | XML_SAVE_AS_XML);
  xmlSaveTree(writer, request);
  xmlSaveClose(writer);
  std::string result(view(xmlBufferContent(buffer)));
  xmlBufferFree(buffer);
  xmlFreeDoc(doc);
  return result;
}

template <class Work>
void measure(benchmark::State& state, const Work& work) {
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(work());
}

void readParserAlone(benchmark::State& state) { measure(state, readWithParserAlone); }
void readTree(benchmark::State& state) {
  if (!(readWithTree() == readWithParserAlone())) return state.SkipWithError("not the same");
  measure(state, readWithTree);
}
void writeParserAlone(benchmark::State& state) { measure(state, writeWithParserAlone); }
void writeTree(benchmark::State& state) {
  if (writeWithTree() != writeWithParserAlone()) return state.SkipWithError("not the same");
  measure(state, writeWithTree);
}

BENCHMARK(readParserAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(readTree)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeParserAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(writeTree)->Unit(benchmark::kMicrosecond);

}  // namespace
