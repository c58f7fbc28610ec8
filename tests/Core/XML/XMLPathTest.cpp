#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

using ::testing::ElementsAre;

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

TEST(XMLPath, XPathIsBuiltFromTheNamesFromTheRootDown) {
  auto document = NKXMLDocument::withXMLString(
      "<s:Envelope xmlns:s='u'><s:Body><Item Id='1'/><Item>t<!--k--><?q "
      "z?></Item></s:Body></s:Envelope>");
  auto body = document.rootElement().elementForName("s:Body");
  EXPECT_EQ(document.XPath(), "/");
  EXPECT_EQ(body.XPath(), "/s:Envelope/s:Body");
  auto second = body.elementsForName("Item").at(1);
  EXPECT_EQ(second.XPath(), "/s:Envelope/s:Body/Item[2]");
  EXPECT_EQ(second.childAtIndex(0).XPath(), "/s:Envelope/s:Body/Item[2]/text()");
  EXPECT_EQ(second.childAtIndex(1).XPath(), "/s:Envelope/s:Body/Item[2]/comment()");
  EXPECT_EQ(second.childAtIndex(2).XPath(),
            "/s:Envelope/s:Body/Item[2]/processing-instruction('q')");
  auto id = body.elementForName("Item").attributeForName("Id");
  EXPECT_EQ(id.XPath(), "/s:Envelope/s:Body/Item[1]/@Id");
  EXPECT_EQ(document.rootElement().namespaceForPrefix("s").XPath(), "/s:Envelope/namespace::s");
  for (const auto& node : std::vector<NKXMLNode>{body, second, second.childAtIndex(1), id,
                                                 document.rootElement().namespaceForPrefix("s")}) {
    auto found = document.rootElement().nodesForXPath(node.XPath());
    ASSERT_TRUE(found);
    EXPECT_THAT(*found, ElementsAre(node));
  }
  EXPECT_EQ(NKXMLNode::attributeWithName("Id", "1").XPath(), "@Id");
  EXPECT_EQ(NKXMLNode::namespaceWithName("p", "u").XPath(), "namespace::p");
}

TEST(XMLPath, XPathOfAFreeTreeSelectsTheNodeAgain) {
  auto root = NKXMLElement::withName("Envelope");
  auto body = NKXMLElement::withName("Body");
  root.addChild(body);
  body.addChild(NKXMLElement::withName("a", "1"));
  body.addChild(NKXMLElement::withName("a", "2"));
  auto second = body.elementsForName("a").at(1);
  EXPECT_EQ(second.XPath(), "/Envelope/Body/a[2]");
  EXPECT_THAT(root.nodesForXPath("/Envelope/Body/a[2]").value(), ElementsAre(second));
  EXPECT_THAT(second.nodesForXPath("..").value(), ElementsAre(body));
  EXPECT_TRUE(body.nodesForXPath("/").value().empty());
  EXPECT_FALSE(root.parent());
  EXPECT_FALSE(second.rootDocument());
}

TEST(XMLPath, NodesForXPathAreInDocumentOrder) {
  auto root = parsed("<r><b n='1'/><c><b n='2'/></c><b n='3'/></r>");
  const auto nodes = root.nodesForXPath("b[2] | c/b | b[1]").value();
  std::vector<std::string> found;
  found.reserve(nodes.size());
  for (const auto& node : nodes)
    found.push_back(node.asElement().attributeForName("n").stringValue().value());
  EXPECT_THAT(found, ElementsAre("1", "2", "3"));
  EXPECT_TRUE(root.nodesForXPath("nothing").value().empty());
  EXPECT_TRUE(root.nodesForXPath("count(b)").value().empty());
  EXPECT_EQ(root.nodesForXPath("//@n").value().size(), 3U);
  EXPECT_TRUE(NKXMLNode::namespaceWithName("p", "u").nodesForXPath("..").value().empty());
  auto alone = NKXMLNode::attributeWithName("a", "1");
  EXPECT_THAT(alone.nodesForXPath(".").value(), ElementsAre(alone));
}

TEST(XMLPath, XPathKnowsThePrefixesInScope) {
  auto root = parsed("<r xmlns:p='u'><p:a/><a/></r>");
  auto found = root.nodesForXPath("p:a").value();
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].URI(), "u");
  auto namespaces = root.firstChild().nodesForXPath("namespace::*").value();
  EXPECT_THAT(namespaces, ElementsAre(root.namespaceForPrefix("p")));
  EXPECT_EQ(namespaces[0].parent(), root);
}

TEST(XMLPath, RelativePathsStartAtTheNode) {
  auto root = parsed("<r><a><b>1</b></a><a><b>2</b></a><b>3</b></r>");
  auto second = root.elementsForName("a").at(1);
  EXPECT_THAT(second.nodesForXPath("b").value(), ElementsAre(second.firstChild()));
  EXPECT_THAT(second.nodesForXPath(".").value(), ElementsAre(second));
  EXPECT_THAT(second.nodesForXPath("../b").value(), ElementsAre(root.lastChild()));
  EXPECT_THAT(second.firstChild().nodesForXPath("ancestor::r").value(), ElementsAre(root));
  EXPECT_THAT(second.nodesForXPath("preceding-sibling::a/b").value(),
              ElementsAre(root.firstChild().firstChild()));
  EXPECT_THAT(second.nodesForXPath("/r/b").value(), ElementsAre(root.lastChild()))
      << "an absolute path starts at the top";
}

TEST(XMLPath, AttributesAndTextsAreSelected) {
  auto root = parsed("<r><a n='1' m='2'>x<b/>y</a></r>");
  auto a = root.firstChild().asElement();
  EXPECT_THAT(root.nodesForXPath("a/@n").value(), ElementsAre(a.attributeForName("n")));
  EXPECT_THAT(root.nodesForXPath("a/@*").value(),
              ElementsAre(a.attributeForName("n"), a.attributeForName("m")));
  EXPECT_THAT(root.nodesForXPath("a/text()").value(), ElementsAre(a.firstChild(), a.lastChild()));
  EXPECT_THAT(a.attributeForName("n").nodesForXPath("..").value(), ElementsAre(a));
  EXPECT_THAT(a.firstChild().nodesForXPath("following-sibling::text()").value(),
              ElementsAre(a.lastChild()));
}

TEST(XMLPath, AnExpressionThatGivesNoNodesSelectsNone) {
  auto root = parsed("<r><a>1</a></r>");
  TWError error;
  for (const auto* xpath : {"count(a)", "1 + 1", "string(a)", "a = 1", "'text'"}) {
    const auto found = root.nodesForXPath(xpath, &error);
    ASSERT_TRUE(found) << xpath;
    EXPECT_TRUE(found->empty()) << xpath;
  }
  EXPECT_FALSE(error);
}

TEST(XMLPath, PrefixesAreThoseInScopeAtTheNode) {
  auto root = parsed("<r xmlns:p='u'><a xmlns:p='v'><p:b/></a><p:b/></r>");
  auto a = root.firstChild();
  EXPECT_THAT(root.nodesForXPath("//p:b").value(), ElementsAre(root.lastChild()));
  EXPECT_THAT(a.nodesForXPath("//p:b").value(), ElementsAre(a.firstChild()));
  auto plain = parsed("<r xmlns='u'><a/></r>");
  EXPECT_TRUE(plain.nodesForXPath("a").value().empty()) << "no prefix means no namespace";
  EXPECT_THAT(plain.nodesForXPath("*").value(), ElementsAre(plain.firstChild()));
}

TEST(XMLPath, ABadXPathGivesNoneAndTheParsersError) {
  auto root = parsed("<r/>");
  testing::internal::CaptureStderr();
  TWError error;
  EXPECT_FALSE(root.nodesForXPath("//[", &error));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(error.domain(), NKXMLErrorDomain);
  EXPECT_EQ(error.code(), 1207);
  EXPECT_EQ(error.message(), "Invalid expression");
  EXPECT_EQ(error, NKXMLNode::lastError());
  error = {};
  EXPECT_FALSE(root.nodesForXPath("nowhere:a", &error));
  EXPECT_EQ(error.code(), 1219);
  EXPECT_FALSE(root.nodesForXPath("//["));
}

TEST(XMLPath, ABadXPathIsNeverPrinted) {
  testing::internal::CaptureStderr();
  const auto element = NKXMLElement::withName("a");
  for (const auto* xpath : {"", "a b", ")", "$x", "foo()", "p:foo()", "1 +", "//a[", "p:a", "'",
                            "a/", "count(", "@@", "count(1)"}) {
    TWError error;
    EXPECT_FALSE(element.nodesForXPath(xpath, &error)) << xpath;
    EXPECT_EQ(error.domain(), NKXMLErrorDomain) << xpath;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XMLPath, ABadXPathIsAnErrorOnANamespaceToo) {
  const auto root = parsed("<r xmlns:p='u'/>");
  for (const auto& declaration :
       {root.namespaceForPrefix("p"), NKXMLNode::namespaceWithName("p", "u")}) {
    TWError error;
    EXPECT_FALSE(declaration.nodesForXPath("//[", &error));
    EXPECT_EQ(error.domain(), NKXMLErrorDomain);
    EXPECT_NE(error.message(), "");
    EXPECT_TRUE(declaration.nodesForXPath("..", nullptr));
  }
}

TEST(XMLPath, ASuccessfulXPathLeavesTheErrorAlone) {
  TWError error(NKXMLErrorDomain, 5);
  EXPECT_TRUE(parsed("<r/>").nodesForXPath("//r", &error));
  EXPECT_EQ(error.code(), 5);
}

}  // namespace
}  // namespace tarnwell
