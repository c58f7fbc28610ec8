#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/detail/XMLView.h"

namespace tarnwell::detail {
namespace {

NKXMLElement parsed(std::string_view xml) {
  TWError error;
  auto element = NKXMLElement::withXMLString(xml, &error);
  EXPECT_TRUE(element) << error;
  return element;
}

TEST(XMLView, NamesAreWithoutTheirPrefix) {
  const auto root = parsed("<t:a xmlns:t='urn:t' t:x='1' y='2'><b/>text</t:a>");
  EXPECT_EQ(localNameOf(root), "a");
  EXPECT_EQ(localNameOf(root.attributeForName("t:x")), "x");
  EXPECT_EQ(localNameOf(root.attributeForName("y")), "y");
  EXPECT_EQ(localNameOf(root.elementForName("b")), "b");
  EXPECT_EQ(localNameOf(NKXMLElement::withName("m:c")), "c");
}

TEST(XMLView, OtherNodesHaveNoName) {
  EXPECT_EQ(localNameOf(NKXMLElement()), "");
  EXPECT_EQ(localNameOf(parsed("<a>text</a>").firstChild()), "");
}

TEST(XMLView, KnowsTheNamespace) {
  const auto root = parsed("<t:a xmlns:t='urn:t'><b/></t:a>");
  EXPECT_TRUE(XMLNamespaceTest()(root, "urn:t"));
  EXPECT_FALSE(XMLNamespaceTest()(root, "urn:"));
  EXPECT_FALSE(XMLNamespaceTest()(root, "urn:tt"));
  EXPECT_FALSE(XMLNamespaceTest()(root, ""));
  EXPECT_TRUE(XMLNamespaceTest()(root.elementForName("b"), ""));
  EXPECT_FALSE(XMLNamespaceTest()(NKXMLElement(), ""));
}

TEST(XMLView, ItsLastAnswerIsForTheSameQuestionOnly) {
  constexpr std::string_view kURI = "urn:tt";
  constexpr std::string_view kStart = kURI.substr(0, 5);
  const auto root = parsed("<t:a xmlns:t='urn:t'><t:b/><c/><u:d xmlns:u='urn:tt'/></t:a>");
  const auto b = root.elementForName("t:b"), c = root.elementForName("c"),
             d = root.elementForName("u:d");
  XMLNamespaceTest isIn;
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(isIn(root, kStart));
    EXPECT_TRUE(isIn(b, kStart));
    EXPECT_FALSE(isIn(b, kURI));
    EXPECT_FALSE(isIn(c, kURI));
    EXPECT_TRUE(isIn(c, ""));
    EXPECT_FALSE(isIn(c, kStart));
    EXPECT_TRUE(isIn(d, kURI));
    EXPECT_FALSE(isIn(d, kStart));
  }
}

TEST(XMLView, TextsAreThoseOfTheTree) {
  for (const auto* const xml :
       {"<a/>", "<a></a>", "<a>short</a>", "<a>&lt;&#252;&gt;</a>", "<a>one<b>two</b>three</a>",
        "<a><![CDATA[<b>]]></a>", "<a>x<!-- no -->y</a>", "<a><b/></a>"}) {
    const auto element = parsed(xml);
    const XMLTextView text(element);
    ASSERT_TRUE(text) << xml;
    EXPECT_EQ(*text, element.stringValue()) << xml;
  }
}

TEST(XMLView, TextsOfAttributesAndOfNodesThatAreNoElements) {
  const auto root = parsed("<a x='1 &amp; 2' y=''>text</a>");
  const auto x = root.attributeForName("x"), y = root.attributeForName("y");
  EXPECT_EQ(*XMLTextView(x), "1 & 2");
  EXPECT_TRUE(XMLTextView(y));
  EXPECT_EQ(*XMLTextView(y), "");
  const auto node = root.firstChild();
  EXPECT_EQ(*XMLTextView(node), "text");
}

TEST(XMLView, WhatIsNotThereHasNoText) {
  EXPECT_FALSE(XMLTextView(NKXMLElement()));
  EXPECT_EQ(*XMLTextView(NKXMLElement()), "");
}

}  // namespace
}  // namespace tarnwell::detail
