#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/detail/XMLErrors.h"
#include "tarnwell/util/TWDictionary.h"

namespace tarnwell {
namespace {

std::vector<std::uint8_t> bytes(std::string_view text) { return {text.begin(), text.end()}; }

std::vector<std::uint8_t> utf16(std::string_view ascii) {
  std::vector<std::uint8_t> result{0xFF, 0xFE};
  for (const char c : ascii) {
    result.push_back(static_cast<std::uint8_t>(c));
    result.push_back(0);
  }
  return result;
}

TEST(NKXMLDocument, WithDataParsesTheEncodingsThatTheBytesName) {
  const auto plain = NKXMLDocument::withData(bytes("<a>\xC3\xA9</a>"));
  EXPECT_EQ(plain.rootElement().stringValue(), "\xC3\xA9");
  const auto latin = NKXMLDocument::withData(
      bytes("<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE9'>\xE9</a>"));
  EXPECT_EQ(latin.rootElement().stringValue(), "\xC3\xA9");
  EXPECT_EQ(latin.rootElement().XMLString(), "<a b=\"\xC3\xA9\">\xC3\xA9</a>");
  const auto wide = NKXMLDocument::withData(utf16("<a>wide</a>"));
  EXPECT_EQ(wide.rootElement().stringValue(), "wide");
  const auto marked = NKXMLDocument::withData(bytes("\xEF\xBB\xBF<a>x</a>"));
  EXPECT_EQ(marked.rootElement().stringValue(), "x");
}

TEST(NKXMLDocument, WithDataReadsUTF16OfEitherByteOrder) {
  const std::vector<std::uint8_t> units{0,    '<',  0, 'a', 0,   '>', 0,   0xE9, 0x20, 0xAC, 0xD8,
                                        0x3D, 0xDE, 0, 0,   '<', 0,   '/', 0,    'a',  0,    '>'};
  auto big = units;
  big.insert(big.begin(), {0xFE, 0xFF});
  auto little = big;
  for (std::size_t i = 0; i < little.size(); i += 2) std::swap(little[i], little[i + 1]);
  for (const auto& data : {big, little}) {
    const auto root = NKXMLDocument::withData(data).rootElement();
    EXPECT_EQ(root.stringValue(), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  }
  // Without a byte order mark it shows by the declaration, whose own words then do not count.
  auto declared = utf16("<?xml version='1.0' encoding='UTF-16'?><a>wide</a>");
  declared.erase(declared.begin(), declared.begin() + 2);
  EXPECT_EQ(NKXMLDocument::withData(declared).rootElement().stringValue(), "wide");
}

TEST(NKXMLDocument, WithDataReadsEncodingsOfOneByte) {
  const auto read = [](std::string_view encoding, std::string_view text) {
    return NKXMLDocument::withData(bytes("<?xml version=\"1.0\" encoding = \"" +
                                         std::string(encoding) + "\" ?><a>" + std::string(text) +
                                         "</a>"))
        .stringValue()
        .value_or("none");
  };
  EXPECT_EQ(read("windows-1252", "\x80"), "\xE2\x82\xAC");
  EXPECT_EQ(read("Windows-1251", "\xC0"), "\xD0\x90");
  EXPECT_EQ(read("iso-8859-15", "\xA4"), "\xE2\x82\xAC");
  EXPECT_EQ(read("ISO-8859-2", "\xA1"), "\xC4\x84");
  EXPECT_EQ(read("us-ascii", "x"), "x");
  EXPECT_EQ(read("us-ascii", "\x80"), "none");
  EXPECT_EQ(read("utf-8", "\xC3\xA9"), "\xC3\xA9");
  const auto marked = "\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA9</a>";
  EXPECT_EQ(NKXMLDocument::withData(bytes(marked)).stringValue(), "\xC3\xA9");
}

TEST(NKXMLDocument, EncodingsMayHaveTheirOtherNames) {
  const auto read = [](std::string_view encoding, std::string_view text) {
    return NKXMLDocument::withData(bytes("<?xml version='1.0' encoding='" + std::string(encoding) +
                                         "'?><a>" + std::string(text) + "</a>"))
        .stringValue()
        .value_or("none");
  };
  EXPECT_EQ(read("UTF8", "\xC3\xA9"), "\xC3\xA9");
  EXPECT_EQ(read("ascii", "x"), "x");
  EXPECT_EQ(read("ASCII", "\x80"), "none");
  for (const auto* latin1 : {"latin1", "ISO_8859-1", "iso8859-1"})
    EXPECT_EQ(read(latin1, "\xE9"), "\xC3\xA9") << latin1;
  EXPECT_EQ(read("ISO_8859-15", "\xA4"), "\xE2\x82\xAC");
  EXPECT_EQ(read("cp1252", "\x80"), "\xE2\x82\xAC");
  EXPECT_EQ(read("x-cp1251", "\xC0"), "\xD0\x90");
  EXPECT_EQ(read("cp1259", "x"), "none");
}

TEST(NKXMLDocument, OnlyTheDeclarationNamesTheEncoding) {
  for (const auto* encoding : {"ISO-8859-1", "Shift_JIS"}) {
    for (const auto* target : {"xml-model", "xml-stylesheet", "xmlfoo"}) {
      const auto xml =
          "<?" + std::string(target) + " href='m' encoding='" + encoding + "'?><a>\xC3\xA9</a>";
      EXPECT_EQ(NKXMLDocument::withData(bytes(xml)).stringValue(), "\xC3\xA9") << xml;
    }
  }
  const auto lines = "<?xml\nversion='1.0'\nencoding='ISO-8859-1'?><a>\xE9</a>";
  EXPECT_EQ(NKXMLDocument::withData(bytes(lines)).stringValue(), "\xC3\xA9");
}

TEST(NKXMLDocument, WithXMLStringReadsUTF8WhateverTheDeclarationSays) {
  for (const auto* encoding : {"ISO-8859-1", "UTF-16", "US-ASCII", "UTF-8", "no-such-encoding"}) {
    const auto document = NKXMLDocument::withXMLString(
        "<?xml version='1.0' encoding='" + std::string(encoding) + "'?><a>\xC3\xA9</a>");
    EXPECT_EQ(document.rootElement().stringValue(), "\xC3\xA9") << encoding;
  }
  EXPECT_EQ(NKXMLDocument::withXMLString("\xEF\xBB\xBF<a>x</a>").rootElement().stringValue(), "x");
}

TEST(NKXMLDocument, NothingToParseIsCode0) {
  TWError error;
  EXPECT_FALSE(NKXMLDocument::withData({}, 0, &error));
  EXPECT_EQ(error.domain(), NKXMLErrorDomain);
  EXPECT_EQ(error.code(), 0);
  EXPECT_TRUE(error.userInfo().empty());
  error = {};
  EXPECT_FALSE(NKXMLDocument::withXMLString("", 0, &error));
  EXPECT_TRUE(error);
  EXPECT_TRUE(error.is(NKXMLErrorDomain, 0));
  EXPECT_FALSE(NKXMLDocument::withXMLString(""));
}

TEST(NKXMLDocument, MalformedInputIsCode1WithoutUserInfo) {
  testing::internal::CaptureStderr();
  for (const auto* text :
       {"<a>", "a", " ", "<a></b>", "<a/>  <b/>", "<a/>x", "<a b=1/>", "<a>&x;</a>",
        "<a b='1' b='2'/>", "<a>\x01</a>", "<", "<!DOCTYPE a>", "<!--k-->"}) {
    TWError error;
    EXPECT_FALSE(NKXMLDocument::withXMLString(text, 0, &error)) << text;
    EXPECT_EQ(error.domain(), NKXMLErrorDomain);
    EXPECT_EQ(error.code(), 1);
    EXPECT_TRUE(error.userInfo().empty());
    EXPECT_EQ(error.message(), "");
    error = {};
    EXPECT_FALSE(NKXMLDocument::withData(bytes(text), 0, &error)) << text;
    EXPECT_EQ(error.code(), 1);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(NKXMLDocument, SuccessLeavesTheErrorAlone) {
  TWError error(NKXMLErrorDomain, 5);
  EXPECT_TRUE(NKXMLDocument::withXMLString("<a/>", 0, &error));
  EXPECT_EQ(error.code(), 5);
}

TEST(NKXMLDocument, BlankTextBetweenElementsIsDropped) {
  EXPECT_EQ(NKXMLDocument::withXMLString("<a> <b/> \n<c/></a>").rootElement().childCount(), 2U);
}

TEST(NKXMLDocument, BlanksInTextAndInLeavesStay) {
  auto root = NKXMLDocument::withXMLString("<a><b>  </b><c> x </c></a>").rootElement();
  EXPECT_EQ(root.elementForName("b").stringValue(), "  ");
  EXPECT_EQ(root.elementForName("c").stringValue(), " x ");
}

TEST(NKXMLDocument, BlanksBeforeACarriageReturnStay) {
  const std::pair<const char*, const char*> rows[] = {{"<a>  \r\nfoo</a>", "  \nfoo"},
                                                      {"<a>\n\r\nfoo</a>", "\n\nfoo"},
                                                      {"<a>\t\r\n\t\r\n x</a>", "\t\n\t\n x"},
                                                      {"<a>  \r\n&#65;</a>", "  \nA"},
                                                      {"<a>  \r\n  </a>", "  \n  "},
                                                      {"<a> \r\r\n\rx\r</a>", " \n\n\nx\n"},
                                                      {"<a>x&#13;\r</a>", "x\r\n"}};
  for (const auto& [xml, text] : rows) {
    EXPECT_EQ(NKXMLDocument::withXMLString(xml).stringValue(), text) << xml;
    EXPECT_EQ(NKXMLDocument::withData(bytes(xml)).stringValue(), text) << xml;
    EXPECT_EQ(NKXMLDocument::withData(utf16(xml)).stringValue(), text) << xml;
    const auto latin = "<?xml version='1.0' encoding='ISO-8859-1'?>\r" + std::string(xml);
    EXPECT_EQ(NKXMLDocument::withData(bytes(latin)).stringValue(), text) << xml;
  }
  EXPECT_EQ(NKXMLDocument::withXMLString("<a> \r\n<b/>\r\n</a>").rootElement().childCount(), 1U);
}

TEST(NKXMLDocument, BlanksStayAfterOtherTextAndWhereTheyAreAskedFor) {
  const auto read = [](std::string_view xml) {
    return NKXMLDocument::withXMLString(xml).rootElement().compactXMLString();
  };
  EXPECT_EQ(read("<a> <b/> x <c/> <d/></a>"), "<a><b/> x <c/> <d/></a>");
  EXPECT_EQ(read("<a> <!--k--> <?p?> </a>"), "<a><!--k--><?p?></a>");
  EXPECT_EQ(read("<a xml:space='preserve'> <b/> </a>"), "<a xml:space=\"preserve\"> <b/> </a>");
}

TEST(NKXMLDocument, AnUndeclaredPrefixIsPartOfTheName) {
  auto root = NKXMLDocument::withXMLString("<t:A Id='1' x:y='2'><t:B/></t:A>").rootElement();
  ASSERT_TRUE(root);
  EXPECT_EQ(root.name(), "t:A");
  EXPECT_EQ(root.localName(), "A");
  EXPECT_EQ(root.prefix(), "t");
  EXPECT_FALSE(root.URI());
  EXPECT_EQ(root.attributeForName("Id").stringValue(), "1");
  EXPECT_EQ(root.attributeForName("x:y").stringValue(), "2");
  EXPECT_TRUE(root.elementForName("t:B"));
  EXPECT_EQ(root.XMLString(), "<t:A Id=\"1\" x:y=\"2\"><t:B></t:B></t:A>");
  EXPECT_TRUE(NKXMLNode::lastError().is(NKXMLErrorDomain, 201)) << "the parser's warning";
}

TEST(NKXMLDocument, RootElementSkipsWhatComesBefore) {
  auto document = NKXMLDocument::withXMLString("<!DOCTYPE a SYSTEM 'x'><?p?><!--k--><a/><!--l-->");
  EXPECT_EQ(document.rootElement().name(), "a");
  EXPECT_EQ(document.childCount(), 5U);
}

TEST(NKXMLDocument, ADocumentIsWrittenWithItsDeclaration) {
  auto document = NKXMLDocument::withXMLString("<a><b/></a>");
  EXPECT_EQ(document.XMLString(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b></b></a>");
  EXPECT_EQ(document.XMLStringWithOptions(NKXMLNodeCompactEmptyElement),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a><b/></a>");
}

TEST(NKXMLDocument, XMLDataIsTheSameTextInBytes) {
  auto document = NKXMLDocument::withXMLString("<a b='\xC3\xA9'>\xF0\x9F\x98\x80\\N</a>");
  EXPECT_EQ(document.XMLData(), bytes(document.XMLString()));
  EXPECT_EQ(document.XMLDataWithOptions(0x4), bytes(document.XMLStringWithOptions(0x4)));
}

TEST(NKXMLDocument, AnXHTMLDocumentIsWrittenByTheRulesOfXML) {
  auto document = NKXMLDocument::withXMLString(
      "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN' "
      "'http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd'>"
      "<html xmlns='http://www.w3.org/1999/xhtml'><head><title/></head><p/><br/></html>");
  EXPECT_THAT(document.XMLStringWithOptions(NKXMLNodeCompactEmptyElement),
              ::testing::EndsWith("<head><title/></head><p/><br/></html>"));
}

TEST(NKXMLDocument, DetachingItsRootOrTypeLeavesAnEmptyDocument) {
  auto document = NKXMLDocument::withXMLString("<!DOCTYPE a SYSTEM 'x'><a/>");
  auto type = document.firstChild();
  auto root = document.rootElement();
  EXPECT_EQ(type.name(), "a");
  EXPECT_FALSE(type.stringValue());
  type.detach();
  root.detach();
  document.detach();
  EXPECT_EQ(document.childCount(), 0U);
  EXPECT_FALSE(document.rootElement());
  EXPECT_FALSE(root.rootDocument());
  EXPECT_FALSE(type.parent());
}

TEST(NKXMLDocument, LastErrorTellsTheParsersReason) {
  EXPECT_FALSE(NKXMLDocument::withXMLString("<a>"));
  auto error = NKXMLNode::lastError();
  EXPECT_EQ(error.domain(), NKXMLErrorDomain);
  EXPECT_EQ(error.code(), 77);
  EXPECT_EQ(error.message(), "Premature end of data in tag a line 1");
  EXPECT_FALSE(NKXMLDocument::withXMLString(""));
  EXPECT_EQ(NKXMLNode::lastError().code(), 77) << "there was nothing for the parser to say";
  EXPECT_TRUE(NKXMLDocument::withXMLString("<a/>"));
  EXPECT_EQ(NKXMLNode::lastError().code(), 77) << "that was the last";
  detail::keepXMLError(nullptr, nullptr);
  EXPECT_FALSE(NKXMLNode::lastError());
}

}  // namespace
}  // namespace tarnwell
