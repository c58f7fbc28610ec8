#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

#include "tests/support/ScriptedServer.h"

namespace tarnwell {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::span<const std::uint8_t> bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

void expectRefused(const std::string& xml, std::string_view reason) {
  TWError error;
  EXPECT_FALSE(NKXMLDocument::withData(bytes(xml), 0, &error));
  EXPECT_EQ(error, TWError(NKXMLErrorDomain, 1));
  EXPECT_EQ(NKXMLNode::lastError().message(), reason);
  EXPECT_FALSE(NKXMLElement::withXMLString(xml));
}

TEST(XMLHostileInput, EntityDeclarationsAreRefused) {
  constexpr auto kReason = "Entity declarations are refused";
  expectRefused("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", kReason);
  expectRefused("<!DOCTYPE a [<!ENTITY e 'x'>]><a/>", kReason);
  expectRefused("<!DOCTYPE a [<!ENTITY % e 'x'> %e;]><a/>", kReason);
  expectRefused("<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>", kReason);
  expectRefused("<!DOCTYPE a [<!NOTATION n SYSTEM 'n'><!ENTITY e SYSTEM 'x' NDATA n>]><a/>",
                kReason);
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
  for (int i = 1; i < 30; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " '" +
            repeated("&e" + std::to_string(i - 1) + ";", 10) + "'>";
  }
  expectRefused(bomb + "]><a>&e29;</a>", kReason);
  expectRefused("<!DOCTYPE a [<!ENTITY e '" + std::string(50'000, 'x') + "'>]><a>" +
                    repeated("&e;", 5000) + "</a>",
                kReason);
}

TEST(XMLHostileInput, AttributeDefaultsCannotMultiply) {
  expectRefused("<!DOCTYPE a [<!ATTLIST b c CDATA '" + std::string(50'000, 'x') + "'>]><a>" +
                    repeated("<b/>", 5000) + "</a>",
                "Attribute declarations are refused");
  expectRefused("<!DOCTYPE a [<!ATTLIST b c (x|y) 'x'>]><a/>",
                "Attribute declarations are refused");
}

TEST(XMLHostileInput, ABareDocumentTypeIsAcceptedAndNothingIsLoaded) {
  const auto file =
      std::filesystem::path(testing::TempDir()) / ("tarnwell-" + std::to_string(getpid()) + ".dtd");
  std::ofstream(file) << "<!ENTITY e 'from the file'><!ATTLIST a b CDATA 'from the file'>";
  for (const auto& address : {"file://" + file.string(), file.string(),
                              std::string("http://127.0.0.1:9/x.dtd"), std::string("x.dtd")}) {
    auto plain = NKXMLDocument::withXMLString("<!DOCTYPE a SYSTEM '" + address + "'><a>t</a>");
    EXPECT_EQ(plain.rootElement().XMLString(), "<a>t</a>") << address;
    auto used = NKXMLDocument::withXMLString("<!DOCTYPE a SYSTEM '" + address + "'><a>t&e;</a>");
    EXPECT_THAT(used.stringValue().value_or(""), Not(HasSubstr("from the file")));
    EXPECT_THAT(used.XMLString(), Not(HasSubstr("from the file")));
    EXPECT_THAT(used.copy().XMLString(), Not(HasSubstr("from the file")));
  }
  EXPECT_TRUE(NKXMLDocument::withXMLString("<!DOCTYPE a [<!ELEMENT a ANY>]><a>t</a>"));
  std::filesystem::remove(file);
}

/// Parses as a program would that trusts its input, and so loads what a document type names.
void parseTrusting(const std::string& xml) {
  xmlFreeDoc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                           XML_PARSE_DTDLOAD | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

TEST(XMLHostileInput, NothingThatADocumentNamesIsAskedForOverTheNetwork) {
  test::ScriptedServer server([](const test::ScriptedRequest&) {
    test::ScriptedAnswer answer;
    answer.close = true;  // libxml2 would wait for that
    return answer;
  });
  const auto at = [&](std::string_view path) { return server.url(path); };
  const std::vector<std::string> documents = {
      "<!DOCTYPE a SYSTEM '" + at("/system.dtd") + "'><a>&e;</a>",
      "<!DOCTYPE a PUBLIC '-//X//Y' '" + at("/public.dtd") + "'><a/>",
      "<!DOCTYPE a [<!ENTITY e SYSTEM '" + at("/entity") + "'>]><a b='&e;'>&e;</a>",
      "<!DOCTYPE a [<!ENTITY % e SYSTEM '" + at("/parameter") + "'> %e;]><a/>",
      "<!DOCTYPE a SYSTEM '" + at("/both.dtd") + "' [<!ENTITY e SYSTEM '" + at("/e") +
          "'>]><a>&e;</a>",
      "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href='" + at("/include.xml") +
          "'/><xi:include parse='text' href='" + at("/include.txt") + "'/></a>",
      "<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:schemaLocation='urn:x " +
          at("/schema.xsd") + "' xsi:noNamespaceSchemaLocation='" + at("/none.xsd") + "'/>",
      "<?xml-stylesheet type='text/xsl' href='" + at("/style.xsl") + "'?><a/>",
      "<?xml-model href='" + at("/model.rng") + "'?><a xml:base='" + at("/base") + "'/>",
  };
  for (const auto& xml : documents) {
    auto document = NKXMLDocument::withXMLString(xml);
    static_cast<void>(NKXMLDocument::withData(bytes(xml)));
    static_cast<void>(document.copy().XMLString());
    static_cast<void>(document.nodesForXPath("document('" + at("/xpath.xml") + "')"));
    static_cast<void>(document.nodesForXPath("//*"));
  }
  EXPECT_EQ(server.connectionCount(), 0);
  // Connections are accepted in order. If the first one is this, then none was waiting unseen.
  parseTrusting(documents.front());
  ASSERT_GT(server.requestCount(), 0U);
  EXPECT_EQ(server.requests().front().target, "/system.dtd");
  EXPECT_EQ(server.requests().front().connection, 1);
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST(XMLHostileInput, AReferenceWithoutADeclarationMovesBetweenTrees) {
  auto root =
      NKXMLDocument::withXMLString("<!DOCTYPE a SYSTEM 'x'><a>t&e;<b c='&f;'/></a>").rootElement();
  ASSERT_TRUE(root);
  auto reference = root.childAtIndex(1);
  EXPECT_EQ(reference.kind(), NKXMLEntityReferenceKind);
  EXPECT_EQ(reference.name(), "e");
  EXPECT_FALSE(reference.stringValue());
  EXPECT_EQ(root.copy().childAtIndex(1).name(), "e");
  root.detach();
  auto other = NKXMLElement::withName("o");
  other.addChild(root);
  EXPECT_EQ(other.stringValue(), "t");
}

TEST(XMLHostileInput, DepthEndsAt256) {
  EXPECT_TRUE(NKXMLElement::withXMLString(repeated("<a>", 256) + repeated("</a>", 256)));
  expectRefused(repeated("<a>", 257) + repeated("</a>", 257), "Elements are nested too deeply");
  expectRefused(repeated("<a>", 100'000) + repeated("</a>", 100'000),
                "Elements are nested too deeply");
  expectRefused(repeated("<a>", 100'000), "Elements are nested too deeply");
}

std::string elementWithAttributes(std::size_t count, std::string_view prefix = "a") {
  std::string xml = "<a";
  for (std::size_t i = 0; i < count; ++i)
    xml += " " + std::string(prefix) + std::to_string(i) + "='>'";
  return xml + "/>";
}

TEST(XMLHostileInput, AttributesEndAt256) {
  constexpr auto kReason = "Too many attributes or namespaces";
  EXPECT_EQ(NKXMLElement::withXMLString(elementWithAttributes(256)).attributes().size(), 256U);
  expectRefused(elementWithAttributes(257), kReason);
  expectRefused("<r>" + repeated("<b/>", 1000) + elementWithAttributes(1'000'000) + "</r>",
                kReason);
  EXPECT_TRUE(NKXMLElement::withXMLString(elementWithAttributes(256, "xmlns:p")));
  expectRefused(elementWithAttributes(257, "xmlns:p"), kReason);
  expectRefused(elementWithAttributes(1'000'000, "xmlns:p"), kReason);
  std::string nested;
  for (int i = 0; i < 30; ++i) {
    nested += "<a";
    for (int j = 0; j < 10; ++j)
      nested += " xmlns:p" + std::to_string(i) + "-" + std::to_string(j) + "='u'";
    nested += ">";
  }
  expectRefused(nested + repeated("</a>", 30), kReason);
}

TEST(XMLHostileInput, AttributesAreCountedBehindWhatIsNoSectionToTheParser) {
  constexpr auto kReason = "Too many attributes or namespaces";
  using namespace std::string_literals;
  const auto tag = elementWithAttributes(257);
  for (const auto& xml :
       {"<!DOCTYPE a SYSTEM \"<!--\">" + tag, "<r><? " + tag + " ?></r>",
        "<r><!-- \x01"s + tag + " --></r>", "<r><?p \x01"s + tag + " ?></r>",
        "<r><![CDATA[\x01"s + tag + "]]></r>", "<?xml version=\"1.0\">" + tag + "<!-- ?> -->",
        // No more can be told of these, which are sections indeed.
        "<r><!-- " + tag + " --></r>", "<r><?p " + tag + " ?></r>",
        "<r><![CDATA[" + tag + "]]></r>"})
    expectRefused(xml, kReason);
  // Told before the parser is asked, which would have found something else.
  expectRefused("<!DOCTYPE a SYSTEM \"<!--\"><r></s>" + tag + "</r>", kReason);
  std::string spaced = "<a";
  for (int i = 0; i < 257; ++i) spaced += " a" + std::to_string(i) + " = \t\r\n \"=\"";
  expectRefused("<r><!-- \x01"s + spaced + "/> --></r>", kReason);
  EXPECT_TRUE(
      NKXMLElement::withXMLString("<!DOCTYPE a SYSTEM \"<!--\">" + elementWithAttributes(256)));
}

std::string utf16(std::string_view ascii, bool bigEndian = false) {
  std::string result = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char c : ascii) {
    if (bigEndian) result += '\0';
    result += c;
    if (!bigEndian) result += '\0';
  }
  return result;
}

void expectDataRefused(const std::string& data, std::string_view reason) {
  TWError error;
  EXPECT_FALSE(NKXMLDocument::withData(bytes(data), 0, &error)) << data.substr(0, 60);
  EXPECT_EQ(error, TWError(NKXMLErrorDomain, 1));
  EXPECT_EQ(NKXMLNode::lastError().message(), reason);
}

TEST(XMLHostileInput, TheLimitOfAttributesHoldsInUTF16) {
  // U+3C3C is a letter whose two bytes look like the beginning of a tag.
  std::string xml = "\xFF\xFE" + utf16("<a").substr(2);
  for (int i = 0; i < 1000; ++i)
    xml += utf16(" a" + std::to_string(i) + "='").substr(2) + "<<" + utf16("'").substr(2);
  xml += utf16("/>").substr(2);
  expectDataRefused(xml, "Too many attributes or namespaces");
  expectDataRefused(utf16(elementWithAttributes(257), true), "Too many attributes or namespaces");
  EXPECT_TRUE(NKXMLDocument::withData(bytes(utf16(elementWithAttributes(256)))));
}

TEST(XMLHostileInput, EncodingsThatHideMarkupAreRefused) {
  constexpr auto kReason = "The encoding is not accepted";
  std::string hidden = "<?xml version='1.0' encoding='UTF-7'?><a";
  for (int i = 0; i < 1000; ++i) hidden += " a" + std::to_string(i) + "+AD0''";
  expectDataRefused(hidden + "/>", kReason);
  for (const auto* name :
       {"UTF-7", "utf-7", "UTF-16", "UTF-16LE", "UTF-32", "UCS-4", "EBCDIC-CP-US", "IBM037",
        "ISO-2022-JP", "EUC-JP", "Shift_JIS", "HTML", "iso-8859-", "iso-8859-12", "iso-8859-1x",
        "windows-125", "no-such", " UTF-8"}) {
    expectDataRefused("<?xml version='1.0' encoding='" + std::string(name) + "'?><a/>", kReason);
    expectDataRefused("<?xml version='1.0'\n\tencoding\n=\t\"" + std::string(name) + "\" ?><a/>",
                      kReason);
  }
  using namespace std::string_literals;
  expectDataRefused("\x4C\x6F\xA7\x94\x93"s, kReason);
  expectDataRefused("\0\0\0<\0\0\0a\0\0\0/\0\0\0>"s, kReason);
  expectDataRefused("<\0\0\0a\0\0\0/\0\0\0>\0\0\0"s, kReason);
  for (const auto& illFormed :
       {"\xFF\xFE<\0a"s, utf16("<a>") + "\x00\xDC"s + utf16("</a>").substr(2),
        utf16("<a>") + "\x00\xD8"s + utf16("</a>").substr(2), utf16("<a/>") + "\x00\xD8"s})
    expectDataRefused(illFormed, kReason);
}

TEST(XMLHostileInput, DifferentNamesEndAt20000) {
  const auto document = [](int count, const std::string& before, const std::string& after) {
    std::string xml = "<r>";
    for (int i = 0; i < count; ++i) xml.append(before).append(std::to_string(i)).append(after);
    return xml + "</r>";
  };
  constexpr auto kReason = "Too many different names";
  EXPECT_TRUE(NKXMLElement::withXMLString(document(15'000, "<b", "/>")));
  expectRefused(document(25'000, "<b", "/>"), kReason);
  expectRefused(document(25'000, "<p", ":b/>"), kReason);
  expectRefused(document(25'000, "<b c", "='1'/>"), kReason);
  expectRefused(document(25'000, "<b xmlns='u", "'/>"), kReason);
  EXPECT_FALSE(NKXMLElement::withXMLString("<!DOCTYPE r SYSTEM 'x'>" +
                                           document(300'000, "&some-long-name", ";")));
  const auto ids = document(50'000, "<b xml:id='i", "'/>");
  EXPECT_EQ(NKXMLElement::withXMLString(ids).childCount(), 50'000U) << "values are no names";
}

TEST(XMLHostileInput, ParsingStopsAtTheFirstTagAfterAFailure) {
  // So the limits cannot be got round by being malformed first.
  expectRefused("<a>&x;<b></a>", "Entity 'x' not defined");
  expectRefused("<a>&x;" + repeated("<b xmlns:p='u'>", 1000), "Entity 'x' not defined");
}

TEST(XMLHostileInput, WhatOnlyLooksLikeManyAttributesIsRead) {
  const auto equals = repeated(" = ", 2000);
  for (const auto& xml :
       {"<a><!-- <x " + equals + "--></a>", "<a><![CDATA[<x " + equals + "]]></a>",
        "<?p <x " + equals + "?><a/>", "<a>" + equals + "</a>", "<a b='" + equals + "'/>",
        "<a b=\"" + equals + "'\"/>"}) {
    EXPECT_TRUE(NKXMLElement::withXMLString(xml)) << xml.substr(0, 20);
  }
  expectRefused("<r><!-- <x " + equals + "-->" + elementWithAttributes(2000) + "</r>",
                "Too many attributes or namespaces");
  EXPECT_FALSE(NKXMLElement::withXMLString("<a><!-- <x " + equals));
  EXPECT_FALSE(NKXMLElement::withXMLString("<a " + equals));
}

TEST(XMLHostileInput, TextOfAnyLengthIsReadWhole) {
  const auto half = repeated("x", 10'000'000);
  EXPECT_EQ(
      NKXMLElement::withXMLString("<a>" + half + "&amp;" + half + "</a>").stringValue()->size(),
      20'000'001U);
  const auto lines = repeated(std::string(76, 'A') + "\r\n", 150'000);
  EXPECT_EQ(NKXMLElement::withXMLString("<a>" + lines + "</a>").stringValue()->size(),
            77U * 150'000);
  EXPECT_EQ(NKXMLElement::withXMLString("<a b='" + half + half + "'/>")
                .attributeForName("b")
                .stringValue()
                ->size(),
            20'000'000U);
}

TEST(XMLHostileInput, AVeryLongDocumentIsRead) {
  const auto xml =
      "<r>" +
      repeated("<t:Item xmlns:t='u' Id='abc'><t:Subject>text</t:Subject></t:Item>", 750'000) +
      "</r>";
  ASSERT_GT(xml.size(), 48'000'000U);
  auto root = NKXMLDocument::withData(bytes(xml)).rootElement();
  std::size_t count = 0;
  for (const auto& item : root.childElements())
    count += item.elementForName("Subject", "u") ? 1U : 0U;
  EXPECT_EQ(count, 750'000U);
}

TEST(XMLHostileInput, BytesThatAreNotTextAreRefusedInSilence) {
  testing::internal::CaptureStderr();
  using namespace std::string_literals;
  for (const auto& xml :
       {"<a>\xFF\xFE</a>"s, "<a>\xC3</a>"s, "<?xml version='1.0' encoding='no-such'?><a/>"s,
        "\xFF\xFE<\0a\0>\0\x00\xD8<\0/\0a\0>\0"s, "\xFF\xFE<\0a"s, "\xFE\xFF\0<\0a\0/"s,
        "<?xml version='1.0' encoding='EUC-JP'?><a>\xFF\xFF\xFF</a>"s, "\0\0\0\0"s,
        "<?xml version='1.0' encoding='UTF-16'?><a>\xFF"s, "<a>\0</a>"s, "\x4C\x6F\xA7\x94"s}) {
    TWError error;
    EXPECT_FALSE(NKXMLDocument::withData(bytes(xml), 0, &error)) << xml;
    EXPECT_TRUE(error.is(NKXMLErrorDomain, 1));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XMLHostileInput, NothingHidesBehindANUL) {
  using namespace std::string_literals;
  for (const auto& xml :
       {"<a/>\0<b/>"s, "<a/>\0garbage <"s, "<a/>  \0\0x"s, "<a/><!--k-->\0x"s, "<a/>\0"s,
        "<?xml version='1.0' encoding='ISO-8859-1'?><a/>\0x"s, "\xFF\xFE<\0a\0/\0>\0\0\0x\0"s}) {
    TWError error;
    EXPECT_FALSE(NKXMLDocument::withData(bytes(xml), 0, &error)) << xml;
    EXPECT_TRUE(error.is(NKXMLErrorDomain, 1));
    EXPECT_NE(NKXMLNode::lastError().message(), "");
  }
}

const std::string kSample =
    "<?xml version='1.0' encoding='utf-8'?><!DOCTYPE s SYSTEM 'x'><s:Envelope "
    "xmlns:s='http://schemas/soap' xmlns='d'><!-- c --><s:Body a=\"1\" xml:id='i'><t:Item "
    "xmlns:t='types' Id='AAA&amp;='>text &lt; \xC3\xA9<![CDATA[ <x> ]]><?p i?></t:Item><x:y/> "
    "</s:Body></s:Envelope>";

TEST(XMLHostileInput, EveryTruncationIsRefused) {
  ASSERT_TRUE(NKXMLDocument::withXMLString(kSample));
  for (std::size_t size = 0; size < kSample.size(); ++size)
    EXPECT_FALSE(NKXMLDocument::withXMLString(kSample.substr(0, size))) << size;
}

/// Uses everything of a tree that is worth breaking.
void exercise(const NKXMLDocument& document) {
  auto root = document.rootElement();
  static_cast<void>(document.XMLString());
  static_cast<void>(root.stringValue());
  EXPECT_EQ(document.copy().XMLString(), document.XMLString());
  for (NKXMLNode node = document; node; node = node.nextNode()) {
    static_cast<void>(node.name());
    static_cast<void>(node.XPath());
    static_cast<void>(node.asElement().attributesAsDictionary());
  }
  for (auto child : root.children()) {
    child.detach();
    static_cast<void>(child.XMLString());
  }
}

TEST(XMLHostileInput, DamagedInputNeitherCrashesNorSticks) {
  testing::internal::CaptureStderr();
  std::mt19937 random(7);
  int read = 0;
  for (int round = 0; round < 20'000; ++round) {
    auto damaged = kSample;
    for (auto changes = 1 + random() % 4; changes > 0; --changes) {
      const auto at = random() % damaged.size();
      switch (random() % 4) {
        case 0:
          damaged[at] = static_cast<char>(random() % 256);
          break;
        case 1:
          damaged.erase(at, random() % 9);
          break;
        case 2:
          damaged.insert(at, damaged.substr(random() % damaged.size(), random() % 40));
          break;
        default:
          damaged[at] = "<>&;'\"=/!? "[random() % 11];
          break;
      }
      if (damaged.empty()) damaged = "<";
    }
    auto document = round % 2 == 0 ? NKXMLDocument::withXMLString(damaged)
                                   : NKXMLDocument::withData(bytes(damaged));
    if (!document) continue;
    ++read;
    exercise(document);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_GT(read, 1000) << "the damage should leave something to look at";
}

}  // namespace
}  // namespace tarnwell
