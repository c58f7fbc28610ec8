#include <gtest/gtest.h>

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox::test {
namespace {

std::string problemIn(const std::string& text) {
  pugi::xml_document document;
  std::string error;
  return parseXml(text, document, error) ? "" : error;
}

std::string nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

TEST(Xml, WellFormedDocumentsAreRead) {
  EXPECT_EQ(problemIn("<a/>"), "");
  EXPECT_EQ(problemIn("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!-- c --><a b='1'>t</a>\n"),
            "");
  EXPECT_EQ(problemIn("<a>&amp;&lt;&gt;&quot;&apos;&#65;&#x1F600;<![CDATA[&x; <y>]]></a>"), "");
  EXPECT_EQ(problemIn("<a><!-- &x; --></a>"), "");
  EXPECT_EQ(problemIn("<p:a xmlns:p='u' p:b='1' xml:lang='de'><p:c/></p:a>"), "");
  EXPECT_EQ(problemIn("\xEF\xBB\xBF<a>\xF0\x9F\x98\x80</a>"), "");
}

TEST(Xml, TextThatIsNoDocumentIsRefused) {
  for (const char* text : {"", " ", "text", "<a", "<a>", "</a>", "<a></b>", "<a b=1/>", "<a b='1/>",
                           "<a><![CDATA[</a>", "<a><!-- </a>", "{}"}) {
    EXPECT_NE(problemIn(text), "") << text;
  }
}

TEST(Xml, SeveralRootsAreRefused) {
  EXPECT_EQ(problemIn("<a/><b/>"), "there are several root elements");
}

TEST(Xml, DocumentTypesAreRefused) {
  const std::string prohibited = "DTD is prohibited in this document";
  EXPECT_EQ(problemIn("<!DOCTYPE a><a/>"), prohibited);
  EXPECT_EQ(problemIn("<!DOCTYPE a [<!ENTITY x 'y'>]><a/>"), prohibited);
  EXPECT_EQ(problemIn("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>"), prohibited);
}

TEST(Xml, UnknownEntitiesAndImpossibleCharactersAreRefused) {
  const std::string entity = "there is a reference to an undeclared entity";
  for (const char* text : {"<a>&nbsp;</a>", "<a>&</a>", "<a>& b;</a>", "<a b='&x;'/>", "<a>&#;</a>",
                           "<a>&#0;</a>", "<a>&#x;</a>", "<a>&#xD800;</a>", "<a>&#1114112;</a>",
                           "<a>&#12a;</a>", "<a>&#99999999999;</a>"}) {
    EXPECT_EQ(problemIn(text), entity) << text;
  }
}

TEST(Xml, TextThatIsNotUtf8IsRefused) {
  const std::string invalid = "there is an invalid character in the document";
  for (const char* text :
       {"<a>\xFF</a>", "<a>\xC0\xAF</a>", "<a>\xE2\x82</a>", "<a>\xED\xA0\x80</a>",
        "<a>\xF8\x88\x80\x80\x80</a>", "<a>\xF4\x90\x80\x80</a>", "<a>\x01</a>",
        "<a>\xEF\xBF\xBF</a>", "<a>\xE0\x80\x80</a>", "<a>\xC3"}) {
    EXPECT_EQ(problemIn(text), invalid) << text;
  }
  EXPECT_EQ(problemIn(std::string("<a>\0</a>", 8)), invalid);
  EXPECT_EQ(problemIn("<?xml version='1.0' encoding='utf-16'?><a/>"), "the encoding is not utf-8");
}

TEST(Xml, UndeclaredPrefixesAreRefusedWhereverTheyStand) {
  EXPECT_EQ(problemIn("<p:a/>"), "'p' is an undeclared prefix");
  EXPECT_EQ(problemIn("<a p:b='1'/>"), "'p' is an undeclared prefix");
  // Declared by a sibling, which does not count.
  EXPECT_EQ(problemIn("<a><b xmlns:p='u'/><p:c/></a>"), "'p' is an undeclared prefix");
  EXPECT_EQ(problemIn("<a><p:b xmlns:p='u'><p:b xmlns:p='v'/><p:c/></p:b></a>"), "");
  EXPECT_EQ(problemIn("<a xmlns:p=''/>"), "a prefix is declared without a namespace");
  EXPECT_EQ(problemIn("<p:a:b xmlns:p='u'/>"), "'p:a:b' is not a name");
}

TEST(Xml, RepeatedAndTooManyAttributesAreRefused) {
  EXPECT_EQ(problemIn("<a b='1' b='2'/>"), "the attribute 'b' is repeated");
  std::string text = "<a";
  for (int i = 0; i < 65; ++i) text += " b" + std::to_string(i) + "='1'";
  EXPECT_EQ(problemIn(text + "/>"), "an element has too many attributes");
}

TEST(Xml, DepthIsLimited) {
  EXPECT_EQ(problemIn(nested(kXmlDepthLimit)), "");
  EXPECT_EQ(problemIn(nested(kXmlDepthLimit + 1)), "elements are nested too deeply");
  EXPECT_EQ(problemIn(nested(200000)), "elements are nested too deeply");
}

TEST(Xml, NamesAreResolvedByNamespaceWhateverThePrefix) {
  pugi::xml_document document;
  std::string error;
  ASSERT_TRUE(parseXml("<a xmlns='u' xmlns:p='v'><p:b/> <b/><c xmlns='w'><b/></c><b xmlns=''/></a>",
                       document, error));
  const pugi::xml_node root = document.document_element();
  EXPECT_TRUE(isElement(root, "u", "a"));
  const pugi::xml_node prefixed = firstElement(root);
  EXPECT_TRUE(isElement(prefixed, "v", "b"));
  EXPECT_FALSE(isElement(prefixed, "u", "b"));
  const pugi::xml_node inherited = nextElement(prefixed);
  EXPECT_TRUE(isElement(inherited, "u", "b"));
  EXPECT_FALSE(isElement(inherited, "u", "c"));
  const pugi::xml_node renamed = nextElement(inherited);
  EXPECT_TRUE(isElement(renamed, "w", "c"));
  EXPECT_TRUE(isElement(firstElement(renamed), "w", "b"));
  EXPECT_TRUE(isElement(nextElement(renamed), "", "b"));
  EXPECT_FALSE(nextElement(nextElement(renamed)));
}

TEST(Xml, TheTextOfAnElementIsAllThatStandsDirectlyBelowIt) {
  pugi::xml_document document;
  std::string error;
  ASSERT_TRUE(parseXml("<a> x<b>no</b><![CDATA[<y>]]>&amp;</a>", document, error));
  EXPECT_EQ(textOf(document.document_element()), " x<y>&");
}

TEST(Xml, WritingEscapesWhatMustBe) {
  pugi::xml_document document;
  append(document.append_child("a"), "b", "<&>\"ü").append_attribute("c") = "\"<&";
  const std::string text = serialise(document);
  EXPECT_TRUE(text.starts_with(R"(<?xml version="1.0" encoding="utf-8"?><a><b c=")")) << text;
  pugi::xml_document again;
  std::string error;
  ASSERT_TRUE(parseXml(text, again, error)) << error;
  EXPECT_EQ(textOf(again.child("a").child("b")), "<&>\"ü");
  EXPECT_STREQ(again.child("a").child("b").attribute("c").value(), "\"<&");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
