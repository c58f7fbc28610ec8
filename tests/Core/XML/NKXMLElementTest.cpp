#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

std::string id(const NKXMLElement& element) {
  return element.attributeForName("n").stringValue().value_or("none");
}

std::vector<std::string> ids(const std::vector<NKXMLElement>& elements) {
  std::vector<std::string> result;
  result.reserve(elements.size());
  for (const auto& element : elements) result.push_back(id(element));
  return result;
}

TEST(NKXMLElement, WithXMLStringGivesTheParentlessRoot) {
  auto root = NKXMLElement::withXMLString("<?xml version='1.0'?><!--k--><a><b/></a>");
  EXPECT_EQ(root.XMLString(), "<a><b></b></a>");
  EXPECT_FALSE(root.parent());
  EXPECT_FALSE(root.rootDocument());
  auto other = NKXMLElement::withName("o");
  other.addChild(root);
  EXPECT_EQ(other.XMLString(), "<o><a><b></b></a></o>");
}

TEST(NKXMLElement, WithXMLStringFailsWithTheCodesOfTheDocument) {
  TWError error;
  EXPECT_FALSE(NKXMLElement::withXMLString("", &error));
  EXPECT_EQ(error, TWError(NKXMLErrorDomain, 0));
  EXPECT_FALSE(NKXMLElement::withXMLString("<a", &error));
  EXPECT_EQ(error, TWError(NKXMLErrorDomain, 1));
  EXPECT_FALSE(NKXMLElement::withXMLString("<a"));
}

TEST(NKXMLElement, ElementForNameIsTheFirstWithThatQualifiedName) {
  auto root = parsed("<r xmlns:p='u'>a<p:a n='0'/><a n='1'/><b><a n='x'/></b><a n='2'/></r>");
  EXPECT_EQ(id(root.elementForName("a")), "1");
  EXPECT_EQ(id(root.elementForName("p:a")), "0");
  EXPECT_FALSE(root.elementForName("c"));
  EXPECT_THAT(ids(root.elementsForName("a")), ElementsAre("1", "2"));
  EXPECT_TRUE(root.elementsForName("c").empty());
}

TEST(NKXMLElement, ElementForNameInANamespaceIgnoresThePrefix) {
  auto root = parsed(
      "<r xmlns:p='u' xmlns:q='u' xmlns:o='v'><o:a n='0'/><a n='x'/><q:a n='1'/><p:a n='2'/>"
      "<p:b><p:a n='3'/></p:b></r>");
  EXPECT_EQ(id(root.elementForName("a", "u")), "1");
  EXPECT_EQ(id(root.elementForName("a", "v")), "0");
  EXPECT_FALSE(root.elementForName("a", "w"));
  EXPECT_FALSE(root.elementForName("c", "u"));
  EXPECT_EQ(id(root.elementForName("a", std::nullopt)), "x");
  EXPECT_EQ(id(root.elementForName("a", "")), "x");
  EXPECT_THAT(ids(root.elementsForLocalName("a", "u")), ElementsAre("1", "2"));
  EXPECT_THAT(ids(root.elementsForLocalName("a", std::nullopt)), ElementsAre("x"));
  EXPECT_TRUE(root.elementForName("b", "u").isElement("b", "u"));
  EXPECT_FALSE(root.elementForName("b", "u").isElement("b", "v"));
  EXPECT_FALSE(root.elementForName("b", "u").isElement("a", "u"));
}

TEST(NKXMLElement, ChildElementsAreVisitedWithoutAList) {
  auto root = parsed("<r>t<a n='1'/>u<b n='2'/><!--k--></r>");
  std::vector<NKXMLElement> visited;
  for (const auto& child : root.childElements()) visited.push_back(child);
  EXPECT_THAT(ids(visited), ElementsAre("1", "2"));
  EXPECT_TRUE(parsed("<r>t</r>").childElements().empty());
  auto range = root.childElements();
  auto it = range.begin();
  EXPECT_EQ(id(*it++), "1");
  EXPECT_EQ(id(*it), "2");
  EXPECT_EQ(++it, range.end());
  EXPECT_EQ(++it, range.end());
}

TEST(NKXMLElement, ChildElementsOutliveTheirParentsHandle) {
  std::vector<std::string> visited;
  for (const auto& child : parsed("<r><a n='1'/><a n='2'/></r>").childElements())
    visited.push_back(id(child));
  EXPECT_THAT(visited, ElementsAre("1", "2"));
}

TEST(NKXMLElement, AttributeForNameReadsTheAttribute) {
  auto root = parsed("<a Id='1' xmlns:p='u' p:Id='3'><Id>2</Id></a>");
  EXPECT_EQ(root.attributeForName("Id").kind(), NKXMLAttributeKind);
  EXPECT_EQ(root.attributeForName("Id").stringValue(), "1");
  EXPECT_EQ(root.attributeForName("p:Id").stringValue(), "3");
  EXPECT_FALSE(root.attributeForName("Other"));
}

TEST(NKXMLElement, AttributesForNameInANamespaceReadsChildElements) {
  auto root = parsed(
      "<a xmlns='u' xmlns:o='v' Id='x'><Id/><o:Id>0</o:Id><Id>1</Id><Id></Id><Id>2</Id>"
      "<b><Id>3</Id></b></a>");
  EXPECT_THAT(root.attributesForName("Id", "u"), ElementsAre("1", "2"));
  EXPECT_EQ(root.attributeForName("Id", "u"), "1");
  EXPECT_TRUE(root.attributesForName("Id", std::nullopt).empty());
  EXPECT_FALSE(root.attributeForName("Id", std::nullopt));
  auto onlyAttribute = parsed("<a xmlns='u' Id='x'/>");
  EXPECT_FALSE(onlyAttribute.attributeForName("Id", "u"));
  EXPECT_FALSE(parsed("<a xmlns='u'><Id/></a>").attributeForName("Id", "u"));
}

TEST(NKXMLElement, AttributesAreListedAddedAndRemoved) {
  auto element = NKXMLElement::withName("a");
  element.addAttribute(NKXMLNode::attributeWithName("x", "1"));
  element.addAttributeWithName("y", "2");
  element.addAttributeWithName("z", "3");
  EXPECT_EQ(element.XMLString(), R"(<a x="1" y="2" z="3"></a>)");
  EXPECT_THAT(element.attributesAsDictionary(),
              ElementsAre(Pair("x", "1"), Pair("y", "2"), Pair("z", "3")));
  EXPECT_THAT(parsed("<a z='1' p:b='2' xmlns:p='u' a='3'/>").attributesAsDictionary(),
              ElementsAre(Pair("z", "1"), Pair("p:b", "2"), Pair("a", "3")))
      << "as written, not sorted";
  ASSERT_EQ(element.attributes().size(), 3U);
  EXPECT_EQ(element.attributes()[1].name(), "y");
  auto removed = element.attributeForName("y");
  element.removeAttributeForName("y");
  element.removeAttributeForName("none");
  EXPECT_EQ(element.XMLString(), R"(<a x="1" z="3"></a>)");
  EXPECT_EQ(removed.stringValue(), "2");
  EXPECT_FALSE(removed.parent());
  element.addAttribute(removed);
  EXPECT_EQ(element.XMLString(), R"(<a x="1" z="3" y="2"></a>)");
  element.removeAttributeForName("x");
  element.removeAttributeForName("y");
  EXPECT_EQ(element.XMLString(), R"(<a z="3"></a>)");
  element.setAttributes(std::vector{NKXMLNode::attributeWithName("p", "1"), removed});
  EXPECT_EQ(element.XMLString(), R"(<a p="1" y="2"></a>)");
  element.setAttributes({});
  EXPECT_EQ(element.XMLString(), "<a></a>");
}

TEST(NKXMLElement, AnAttributeOfTheSameNameIsReplacedInItsPlace) {
  auto element = NKXMLElement::withName("a");
  for (const auto* name : {"x", "y", "z"}) element.addAttributeWithName(name, "1");
  for (const auto* name : {"x", "y", "z"}) {
    auto old = element.attributeForName(name);
    element.addAttributeWithName(name, "2");
    EXPECT_EQ(old.stringValue(), "1");
    EXPECT_FALSE(old.parent());
    auto older = element.attributeForName(name);
    element.addAttribute(NKXMLNode::attributeWithName(name, "3"));
    EXPECT_EQ(older.stringValue(), "2");
    EXPECT_FALSE(older.parent());
  }
  EXPECT_EQ(element.XMLString(), R"(<a x="3" y="3" z="3"></a>)");
}

TEST(NKXMLElement, LiteralDeclarationsAreAttributes) {
  auto envelope = NKXMLElement::withName("s:Envelope");
  envelope.addAttributeWithName("xmlns:s", "urn:s");
  envelope.addAttributeWithName("xmlns:m", "urn:m");
  envelope.addAttributeWithName("xmlns", "urn:d");
  envelope.addChild(NKXMLElement::withName("m:Body"));
  envelope.addChild(NKXMLElement::withName("d"));
  EXPECT_TRUE(envelope.namespaces().empty());
  EXPECT_EQ(envelope.attributes().size(), 3U);
  EXPECT_EQ(envelope.XMLString(),
            R"(<s:Envelope xmlns:s="urn:s" xmlns:m="urn:m" xmlns="urn:d"><m:Body></m:Body>)"
            "<d></d></s:Envelope>");
  auto read = parsed(envelope.XMLString());
  EXPECT_EQ(read.URI(), "urn:s");
  EXPECT_EQ(read.namespaces().size(), 3U);
  EXPECT_TRUE(read.elementForName("Body", "urn:m"));
  EXPECT_TRUE(read.elementForName("d", "urn:d"));
}

TEST(NKXMLElement, ChildrenAreAddedInsertedRemovedAndReplaced) {
  auto root = NKXMLElement::withName("r");
  root.addChild(NKXMLElement::withName("a"));
  root.addChild(NKXMLNode::textWithStringValue("t"));
  root.insertChild(NKXMLElement::withName("b"), 0);
  root.insertChild(NKXMLNode::commentWithStringValue("k"), 2);
  root.insertChild(NKXMLNode::processingInstructionWithName("p", "x"), 99);
  EXPECT_EQ(root.XMLString(), "<r><b></b><a></a><!--k-->t<?p x?></r>");
  auto removed = root.childAtIndex(1);
  root.removeChildAtIndex(1);
  root.removeChildAtIndex(99);
  EXPECT_EQ(root.XMLString(), "<r><b></b><!--k-->t<?p x?></r>");
  EXPECT_FALSE(removed.parent());
  EXPECT_EQ(removed.XMLString(), "<a></a>");
  root.removeChildAtIndex(3);
  root.removeChildAtIndex(0);
  EXPECT_EQ(root.XMLString(), "<r><!--k-->t</r>");
  auto kept = root.childAtIndex(0);
  root.setChildren(std::vector<NKXMLNode>{removed, kept, NKXMLElement::withName("z")});
  EXPECT_EQ(root.XMLString(), "<r><a></a><!--k--><z></z></r>");
  root.setChildren({});
  EXPECT_EQ(root.childCount(), 0U);
}

TEST(NKXMLElement, ASectionCanBeAChild) {
  auto section = parsed("<r><![CDATA[<x>]]></r>").firstChild();
  section.detach();
  auto root = NKXMLElement::withName("a");
  root.addChild(section);
  EXPECT_EQ(root.XMLString(), "<a><![CDATA[<x>]]></a>");
}

TEST(NKXMLElement, ListsOfNodesMayBeBracesOrAnyRangeOfHandles) {
  const auto made = NKXMLNode::elementWithName(
      "a", {NKXMLElement::withName("b"), NKXMLNode::textWithStringValue("x")},
      {NKXMLNode::attributeWithName("k", "1"), NKXMLNode::attributeWithName("l", "2")});
  EXPECT_EQ(made.XMLString(), R"(<a k="1" l="2"><b></b>x</a>)");
  EXPECT_EQ(
      NKXMLNode::elementWithName("a", {}, {NKXMLNode::attributeWithName("k", "1")}).XMLString(),
      R"(<a k="1"></a>)");
  EXPECT_EQ(NKXMLNode::elementWithName("a", "text").stringValue(), "text");
  EXPECT_EQ(NKXMLNode::elementWithName("a", {}).XMLString(), "<a></a>");
  EXPECT_EQ(NKXMLNode::elementWithName("a", {NKXMLElement::withName("b")}).XMLString(),
            "<a><b></b></a>");

  auto root = NKXMLElement::withXMLString("<r><c/><d/></r>");
  const std::vector<NKXMLElement> elements = root.elementsForName("d");
  root.setChildren(elements);
  EXPECT_EQ(root.compactXMLString(), "<r><d/></r>");
  root.setChildren({elements[0], NKXMLElement::withName("e")});
  EXPECT_EQ(root.compactXMLString(), "<r><d/><e/></r>");
  root.setChildren(std::vector<NKXMLNode>{NKXMLElement::withName("f")});
  EXPECT_EQ(root.compactXMLString(), "<r><f/></r>");
  root.setAttributes({NKXMLNode::attributeWithName("k", "1")});
  root.setNamespaces({NKXMLNode::namespaceWithName("p", "u")});
  EXPECT_EQ(root.compactXMLString(), R"(<r xmlns:p="u" k="1"><f/></r>)");
  root.setAttributes(std::vector<NKXMLNode>{NKXMLNode::attributeWithName("l", "2")});
  EXPECT_EQ(root.compactXMLString(), R"(<r xmlns:p="u" l="2"><f/></r>)");
}

TEST(NKXMLElement, AddingNoNodeDoesNothing) {
  auto root = NKXMLElement::withName("r");
  root.addChild(NKXMLNode());
  root.addChild(NKXMLElement());
  root.insertChild(NKXMLNode(), 0);
  root.addAttribute(NKXMLAttributeNode());
  root.addNamespace(NKXMLNamespaceNode());
  EXPECT_EQ(root.XMLString(), "<r></r>");
}

TEST(NKXMLElement, AdjacentTextsStayTwoNodes) {
  auto root = NKXMLElement::withName("r");
  auto first = NKXMLNode::textWithStringValue("a");
  auto second = NKXMLNode::textWithStringValue("b");
  auto between = NKXMLNode::textWithStringValue("-");
  root.addChild(first);
  root.addChild(second);
  root.insertChild(between, 1);
  EXPECT_EQ(root.childCount(), 3U);
  EXPECT_EQ(root.stringValue(), "a-b");
  EXPECT_EQ(first.stringValue(), "a");
  EXPECT_EQ(second.stringValue(), "b");
  EXPECT_EQ(between.nextSibling(), second);
}

TEST(NKXMLElement, CopyAnswersAnElement) {
  NKXMLElement copy = NKXMLElement::withName("a", "t").copy();
  EXPECT_EQ(copy.compactXMLString(), "<a>t</a>");
}

// What stops a debug build is ignored by a release build.
class NKXMLElementMistakesDeathTest : public ::testing::Test {
 protected:
  template <class Mistake>
  static void expectMistake(const Mistake& mistake, const std::string& message) {
#ifdef NDEBUG
    static_cast<void>(message);
    mistake();
#else
    EXPECT_DEATH(mistake(), "Core/XML/NKXMLElement: " + message);
#endif
  }
  static constexpr auto kParentedChild =
      "Cannot add a child that has a parent; detach or copy first";
  static constexpr auto kWrongChild =
      "Elements can only have text, elements, processing instructions, and comments as children";
};

TEST_F(NKXMLElementMistakesDeathTest, AddingAParentedChild) {
  auto root = parsed("<r><a><b/></a></r>");
  auto a = root.elementForName("a");
  auto other = NKXMLElement::withName("o");
  expectMistake([&] { other.addChild(a); }, kParentedChild);
  expectMistake([&] { other.insertChild(a, 0); }, kParentedChild);
  expectMistake([&] { root.addChild(a); }, kParentedChild);
  expectMistake([&] { other.addChild(root); }, kParentedChild);  // in a document
  EXPECT_EQ(root.XMLString(), "<r><a><b></b></a></r>");
  EXPECT_EQ(other.XMLString(), "<o></o>");
}

TEST_F(NKXMLElementMistakesDeathTest, AddingARootBelowItself) {
  auto root = NKXMLElement::withName("a");
  auto child = NKXMLElement::withName("b");
  root.addChild(child);
  expectMistake([&] { child.addChild(root); }, kParentedChild);
  expectMistake([&] { child.insertChild(root, 0); }, kParentedChild);
  expectMistake([&] { root.addChild(root); }, kParentedChild);
  auto alone = NKXMLElement::withName("c");
  expectMistake([&] { alone.addChild(alone); }, kParentedChild);
  EXPECT_EQ(root.XMLString(), "<a><b></b></a>");
  EXPECT_EQ(alone.XMLString(), "<c></c>");
}

TEST_F(NKXMLElementMistakesDeathTest, AddingAChildOfAnotherKind) {
  auto root = parsed("<r x='1' xmlns:p='u'/>");
  auto document = NKXMLDocument::withXMLString("<d/>");
  auto withType = NKXMLDocument::withXMLString("<!DOCTYPE d SYSTEM 'x'><d/>");
  auto element = NKXMLElement::withName("o");
  expectMistake([&] { element.addChild(document); }, kWrongChild);
  expectMistake([&] { element.addChild(root.attributeForName("x")); }, kWrongChild);
  expectMistake([&] { element.addChild(NKXMLNode::attributeWithName("x", "1")); }, kWrongChild);
  expectMistake([&] { element.addChild(root.namespaceForPrefix("p")); }, kWrongChild);
  expectMistake([&] { element.insertChild(NKXMLNode::namespaceWithName("p", "u"), 0); },
                kWrongChild);
  expectMistake([&] { element.addChild(withType.firstChild()); }, kWrongChild);
  EXPECT_EQ(element.XMLString(), "<o></o>");
}

TEST_F(NKXMLElementMistakesDeathTest, AddingAParentedAttributeOrNone) {
  auto root = parsed("<r x='1'/>");
  auto other = NKXMLElement::withName("o");
  expectMistake([&] { other.addAttribute(root.attributeForName("x")); },
                "Cannot add an attribute with a parent; detach or copy first");
  expectMistake([&] { other.addAttribute(NKXMLNode::textWithStringValue("t")); },
                "Not an attribute");
  expectMistake([&] { other.addAttribute(NKXMLNode::namespaceWithName("p", "u")); },
                "Not an attribute");
  EXPECT_EQ(root.XMLString(), "<r x=\"1\"></r>");
  EXPECT_EQ(other.XMLString(), "<o></o>");
}

TEST_F(NKXMLElementMistakesDeathTest, AddingAParentedNamespaceOrNone) {
  auto root = parsed("<r xmlns:p='u'/>");
  auto other = NKXMLElement::withName("o");
  expectMistake([&] { other.addNamespace(root.namespaceForPrefix("p")); },
                "Cannot add a namespace with a parent; detach or copy first");
  expectMistake([&] { other.addNamespace(NKXMLNode::attributeWithName("x", "1")); },
                "Not a namespace");
  EXPECT_EQ(root.XMLString(), "<r xmlns:p=\"u\"></r>");
  EXPECT_EQ(other.XMLString(), "<o></o>");
}

}  // namespace
}  // namespace tarnwell
