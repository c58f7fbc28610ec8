#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

/// Trees of elements, attributes and texts alone are written in a way of their own, all others by
/// libxml2. With a comment at its end a tree becomes one of the others.
std::string writtenByLibxml2(const NKXMLElement& element, std::uint32_t options) {
  auto copy = element.copy();
  copy.addChild(NKXMLNode::commentWithStringValue("!"));
  auto text = copy.XMLStringWithOptions(options);
  constexpr std::string_view kComment = "<!--!-->";
  const auto at = text.rfind(kComment);
  EXPECT_NE(at, std::string::npos) << text;
  return text.erase(at, kComment.size());
}

/// A request with empty elements, and texts between elements.
NKXMLElement request() {
  auto request = NKXMLElement::withName("m:GetItem");
  request.addAttributeWithName("xmlns:m", "urn:m");
  auto ids = NKXMLElement::withName("m:ItemIds");
  for (const auto* const id : {"AAM=", "<&>"}) {
    auto element = NKXMLElement::withName("t:ItemId");
    element.addAttributeWithName("Id", id);
    element.addAttributeWithName("ChangeKey", "");
    ids.addChild(element);
  }
  request.addChild(ids);
  request.addChild(NKXMLNode::textWithStringValue("between"));
  auto shape = NKXMLElement::withName("m:ItemShape");
  shape.addChild(NKXMLElement::withName("t:BaseShape", "IdOnly"));
  request.addChild(shape);
  request.addChild(NKXMLElement::withName("m:Last"));
  return request;
}

TEST(XMLWriter, ATreeOfElementsIsWrittenAsLibxml2WritesIt) {
  EXPECT_EQ(request().XMLString(),
            R"(<m:GetItem xmlns:m="urn:m"><m:ItemIds><t:ItemId Id="AAM=" ChangeKey=""></t:ItemId>)"
            R"(<t:ItemId Id="&lt;&amp;&gt;" ChangeKey=""></t:ItemId></m:ItemIds>between)"
            R"(<m:ItemShape><t:BaseShape>IdOnly</t:BaseShape></m:ItemShape><m:Last></m:Last>)"
            R"(</m:GetItem>)");
  for (const std::uint32_t options : {NKXMLNoOptions, NKXMLNodeCompactEmptyElement})
    EXPECT_EQ(request().XMLStringWithOptions(options), writtenByLibxml2(request(), options));
}

TEST(XMLWriter, EveryCharacterIsWrittenAsLibxml2WritesIt) {
  std::string all;
  for (char c = 1; c < 127; ++c) all += c;
  for (const std::string& text :
       {all + "\x7F", std::string("\xC3\xBC \xE2\x82\xAC \xF0\x9F\x98\x80"), std::string("\r\n\t"),
        std::string("]]>")}) {
    auto element = NKXMLElement::withName("t:Subject", text);
    element.addAttributeWithName("Name", text);
    EXPECT_EQ(element.XMLString(), writtenByLibxml2(element, NKXMLNoOptions));
  }
}

TEST(XMLWriter, OnlyTheElementThatIsWrittenIsClosed) {
  const auto written = request();
  EXPECT_EQ(written.elementForName("m:ItemShape").XMLString(),
            "<m:ItemShape><t:BaseShape>IdOnly</t:BaseShape></m:ItemShape>");
  EXPECT_EQ(written.elementForName("m:Last").XMLString(), "<m:Last></m:Last>");
  EXPECT_EQ(written.elementForName("m:Last").XMLStringWithOptions(NKXMLNodeCompactEmptyElement),
            "<m:Last/>");
}

TEST(XMLWriter, WhatIsInANamespaceKeepsItsPrefixAndDeclarations) {
  constexpr std::string_view kXML = R"(<p:a xmlns:p="u" p:x="1"><p:b></p:b></p:a>)";
  const auto parsed = NKXMLElement::withXMLString(kXML);
  EXPECT_EQ(parsed.XMLString(), kXML);
  auto mixed = NKXMLElement::withName("r");
  mixed.addChild(parsed);
  mixed.addChild(NKXMLElement::withName("s"));
  EXPECT_EQ(mixed.XMLString(), "<r>" + std::string(kXML) + "<s></s></r>");
}

}  // namespace
}  // namespace tarnwell
