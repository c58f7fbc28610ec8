#include <sstream>
#include <unordered_set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/Core/XML/NKXMLNode.h"

#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::IsWellFormedXML;
using ::testing::ElementsAre;

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

std::vector<std::string> namesInOrder(const std::vector<NKXMLNode>& nodes) {
  std::vector<std::string> names;
  names.reserve(nodes.size());
  for (const auto& node : nodes)
    names.push_back(node.name().value_or(node.stringValue().value_or("?")));
  return names;
}

TEST(NKXMLNode, DefaultMadeHandleIsTheInvalidNode) {
  EXPECT_FALSE(NKXMLNode());
  EXPECT_FALSE(NKXMLElement());
  EXPECT_FALSE(NKXMLDocument());
  EXPECT_FALSE(NKXMLAttributeNode());
  EXPECT_FALSE(NKXMLNamespaceNode());
  EXPECT_FALSE(NKXMLInvalidNode());
  EXPECT_EQ(NKXMLNode().kind(), 0U);
  EXPECT_EQ(NKXMLNode(), NKXMLInvalidNode());
}

TEST(NKXMLNode, EveryQueryOnTheInvalidNodeAnswersEmpty) {
  const NKXMLElement none;
  EXPECT_FALSE(none.name());
  EXPECT_FALSE(none.localName());
  EXPECT_FALSE(none.prefix());
  EXPECT_FALSE(none.URI());
  EXPECT_FALSE(none.stringValue());
  EXPECT_FALSE(none.hasName(""));
  EXPECT_FALSE(none.hasLocalName(""));
  EXPECT_EQ(none.index(), 0U);
  EXPECT_EQ(none.level(), 0U);
  EXPECT_FALSE(none.rootDocument());
  EXPECT_FALSE(none.parent());
  EXPECT_EQ(none.childCount(), 0U);
  EXPECT_TRUE(none.children().empty());
  EXPECT_FALSE(none.childAtIndex(3));
  EXPECT_FALSE(none.firstChild());
  EXPECT_FALSE(none.lastChild());
  EXPECT_FALSE(none.previousSibling());
  EXPECT_FALSE(none.nextSibling());
  EXPECT_FALSE(none.previousNode());
  EXPECT_FALSE(none.nextNode());
  EXPECT_EQ(none.XPath(), "");
  EXPECT_EQ(none.XMLString(), "");
  EXPECT_EQ(none.prettyXMLString(), "");
  EXPECT_EQ(none.compactXMLString(), "");
  EXPECT_EQ(none.description(), "");
  ASSERT_TRUE(none.nodesForXPath("//a"));
  EXPECT_TRUE(none.nodesForXPath("//a")->empty());
  EXPECT_FALSE(none.copy());
  EXPECT_FALSE(none.asElement());
  EXPECT_FALSE(none.asAttribute());
  EXPECT_FALSE(none.asNamespace());
  EXPECT_FALSE(none.asDocument());
  EXPECT_FALSE(none.elementForName("a"));
  EXPECT_FALSE(none.elementForName("a", "u"));
  EXPECT_TRUE(none.elementsForName("a").empty());
  EXPECT_TRUE(none.elementsForLocalName("a", "u").empty());
  EXPECT_TRUE(none.childElements().empty());
  EXPECT_FALSE(none.isElement("a", std::nullopt));
  EXPECT_FALSE(none.attributeForName("a"));
  EXPECT_FALSE(none.attributeForName("a", "u"));
  EXPECT_TRUE(none.attributesForName("a", "u").empty());
  EXPECT_TRUE(none.attributes().empty());
  EXPECT_TRUE(none.attributesAsDictionary().empty());
  EXPECT_FALSE(none.xmlns());
  EXPECT_TRUE(none.namespaces().empty());
  EXPECT_FALSE(none.namespaceForPrefix(""));
  EXPECT_FALSE(none.resolveNamespaceForName("a"));
  EXPECT_FALSE(none.resolvePrefixForNamespaceURI("u"));
  EXPECT_FALSE(NKXMLDocument().rootElement());
  EXPECT_TRUE(NKXMLDocument().XMLData().empty());
  EXPECT_FALSE(NKXMLDocument().copy());
  EXPECT_FALSE(NKXMLAttributeNode().copy());
  EXPECT_FALSE(NKXMLNamespaceNode().copy());
}

TEST(NKXMLNode, EveryChangeOfTheInvalidNodeIsIgnored) {
  NKXMLElement none;
  auto child = NKXMLElement::withName("c");
  auto attribute = NKXMLNode::attributeWithName("a", "1");
  auto declaration = NKXMLNode::namespaceWithName("p", "u");
  none.setName("a");
  none.setStringValue("a");
  none.setURI("u");
  none.detach();
  none.addChild(child);
  none.addChild(NKXMLDocument());
  none.insertChild(child, 2);
  none.removeChildAtIndex(1);
  none.setChildren(std::vector<NKXMLNode>{child});
  none.addAttribute(attribute);
  none.addAttribute(child);
  none.addAttributeWithName("a", "1");
  none.removeAttributeForName("a");
  none.setAttributes(std::vector{attribute});
  none.addNamespace(declaration);
  none.addNamespace(child);
  none.setXmlns("u");
  none.removeNamespaceForPrefix("p");
  none.setNamespaces(std::vector{declaration});
  EXPECT_FALSE(none);
  EXPECT_FALSE(child.parent());
  EXPECT_FALSE(attribute.parent());
  EXPECT_FALSE(declaration.parent());
}

TEST(NKXMLNode, LookUpsThatFindNothingChain) {
  auto root = parsed("<r><x/></r>");
  EXPECT_FALSE(root.elementForName("a").elementForName("b", "u").stringValue());
  EXPECT_FALSE(root.elementForName("a").attributeForName("b").parent().stringValue());
}

TEST(NKXMLNode, KindFollowsTheParser) {
  auto document =
      NKXMLDocument::withXMLString(R"(<?p x?><a b="1" xmlns:c="u">t<!--k--><![CDATA[d]]></a>)");
  EXPECT_EQ(document.kind(), 9U);
  EXPECT_EQ(document.firstChild().kind(), 7U);
  auto root = document.rootElement();
  EXPECT_EQ(root.kind(), 1U);
  EXPECT_EQ(root.attributeForName("b").kind(), 2U);
  EXPECT_EQ(root.namespaceForPrefix("c").kind(), 18U);
  EXPECT_EQ(root.childAtIndex(0).kind(), 3U);
  EXPECT_EQ(root.childAtIndex(1).kind(), 8U);
  EXPECT_EQ(root.childAtIndex(2).kind(), 4U);
}

TEST(NKXMLNode, DowncastsAnswerTheInvalidHandleForAnotherKind) {
  auto document = NKXMLDocument::withXMLString("<a b='1' xmlns:c='u'>t</a>");
  const NKXMLNode root = document.rootElement();
  EXPECT_TRUE(root.asElement());
  EXPECT_FALSE(root.asAttribute());
  EXPECT_FALSE(root.asNamespace());
  EXPECT_FALSE(root.asDocument());
  const NKXMLNode attribute = root.asElement().attributeForName("b");
  EXPECT_TRUE(attribute.asAttribute());
  EXPECT_FALSE(attribute.asElement());
  const NKXMLNode declaration = root.asElement().namespaceForPrefix("c");
  EXPECT_TRUE(declaration.asNamespace());
  EXPECT_FALSE(declaration.asElement());
  EXPECT_TRUE(root.parent().asDocument());
  EXPECT_FALSE(root.firstChild().asElement());
}

TEST(NKXMLNode, ElementWithNameKeepsThePrefixLiterally) {
  auto element = NKXMLNode::elementWithName("m:GetItem");
  EXPECT_EQ(element.XMLString(), "<m:GetItem></m:GetItem>");
  EXPECT_TRUE(element.namespaces().empty());
  EXPECT_EQ(element.name(), "m:GetItem");
  EXPECT_EQ(element.localName(), "GetItem");
  EXPECT_EQ(element.prefix(), "m");
  EXPECT_FALSE(element.URI());
  EXPECT_TRUE(element.hasName("m:GetItem"));
  EXPECT_TRUE(element.hasLocalName("GetItem"));
  EXPECT_FALSE(element.hasName("GetItem"));
  EXPECT_FALSE(element.hasLocalName("m:GetItem"));
}

TEST(NKXMLNode, ElementWithStringValueHoldsExactlyThatText) {
  constexpr auto kText = R"(a & b < c > "d" &amp;)";
  auto element = NKXMLNode::elementWithName("a", kText);
  EXPECT_EQ(element.stringValue(), kText);
  EXPECT_EQ(element.XMLString(), R"(<a>a &amp; b &lt; c &gt; "d" &amp;amp;</a>)");
  EXPECT_EQ(NKXMLNode::elementWithName("a", "").childCount(), 0U);
  EXPECT_EQ(NKXMLElement::withName("a", kText).stringValue(), kText);
}

TEST(NKXMLNode, ElementWithChildrenAndAttributesTakesThemInOrder) {
  const std::vector<NKXMLNode> children{NKXMLNode::elementWithName("b"),
                                        NKXMLNode::textWithStringValue("t"),
                                        NKXMLNode::commentWithStringValue("k")};
  const std::vector attributes{NKXMLNode::attributeWithName("x", "1"),
                               NKXMLNode::attributeWithName("y", "2")};
  EXPECT_EQ(NKXMLNode::elementWithName("a", children, attributes).XMLString(),
            R"(<a x="1" y="2"><b></b>t<!--k--></a>)");
}

TEST(NKXMLNode, ElementWithURIIsInThatNamespaceAndDeclaresIt) {
  auto plain = NKXMLNode::elementWithNameURI("a", "u");
  EXPECT_EQ(plain.URI(), "u");
  EXPECT_EQ(plain.XMLString(), R"(<a xmlns="u"></a>)");
  auto prefixed = NKXMLElement::withNameURI("p:a", "u");
  EXPECT_EQ(prefixed.URI(), "u");
  EXPECT_EQ(prefixed.name(), "p:a");
  EXPECT_EQ(prefixed.localName(), "a");
  EXPECT_EQ(prefixed.XMLString(), R"(<p:a xmlns:p="u"></p:a>)");
}

TEST(NKXMLNode, AttributesAreMadeWithoutAParent) {
  auto attribute = NKXMLNode::attributeWithName("Id", "1 & 2");
  EXPECT_EQ(attribute.kind(), NKXMLAttributeKind);
  EXPECT_EQ(attribute.name(), "Id");
  EXPECT_EQ(attribute.stringValue(), "1 & 2");
  EXPECT_FALSE(attribute.parent());
  EXPECT_EQ(attribute.XMLString(), R"(Id="1 &amp; 2")");
  auto inNamespace = NKXMLNode::attributeWithName("p:Id", "u", "1");
  EXPECT_EQ(inNamespace.URI(), "u");
  EXPECT_EQ(inNamespace.name(), "p:Id");
  EXPECT_EQ(inNamespace.localName(), "Id");
  EXPECT_EQ(inNamespace.prefix(), "p");
  EXPECT_FALSE(inNamespace.parent());
}

TEST(NKXMLNode, NamespacesAreMadeWithoutAParent) {
  auto declaration = NKXMLNode::namespaceWithName("p", "u");
  EXPECT_EQ(declaration.kind(), NKXMLNamespaceKind);
  EXPECT_EQ(declaration.name(), "p");
  EXPECT_EQ(declaration.localName(), "p");
  EXPECT_EQ(declaration.stringValue(), "u");
  EXPECT_FALSE(declaration.parent());
  EXPECT_EQ(declaration.XMLString(), R"(xmlns:p="u")");
  EXPECT_EQ(NKXMLNode::namespaceWithName("", "u").XMLString(), R"(xmlns="u")");
  EXPECT_EQ(NKXMLNode::namespaceWithName("", "u").name(), "");
  declaration.setName("q");
  declaration.setStringValue("v");
  EXPECT_EQ(declaration.XMLString(), R"(xmlns:q="v")");
  // A declaration that libxml2 makes no node for.
  EXPECT_TRUE(NKXMLNode::namespaceWithName("xml", "http://www.w3.org/XML/1998/namespace"));
}

TEST(NKXMLNode, OtherKindsAreMade) {
  auto instruction = NKXMLNode::processingInstructionWithName("target", "data");
  EXPECT_EQ(instruction.kind(), NKXMLProcessingInstructionKind);
  EXPECT_EQ(instruction.XMLString(), "<?target data?>");
  EXPECT_EQ(instruction.name(), "target");
  EXPECT_EQ(instruction.stringValue(), "data");
  instruction.setName("other");
  instruction.setStringValue("more");
  EXPECT_EQ(instruction.XMLString(), "<?other more?>");

  auto comment = NKXMLNode::commentWithStringValue("k");
  EXPECT_EQ(comment.kind(), NKXMLCommentKind);
  EXPECT_EQ(comment.XMLString(), "<!--k-->");
  EXPECT_EQ(comment.stringValue(), "k");
  EXPECT_FALSE(comment.name());

  auto text = NKXMLNode::textWithStringValue("a < b");
  EXPECT_EQ(text.kind(), NKXMLTextKind);
  EXPECT_EQ(text.XMLString(), "a &lt; b");
  EXPECT_EQ(text.stringValue(), "a < b");
  EXPECT_FALSE(text.name());
  EXPECT_FALSE(text.localName());
  EXPECT_FALSE(text.prefix());
  EXPECT_FALSE(text.URI());
  text.setName("ignored");
  text.setURI("ignored");
  EXPECT_EQ(text.XMLString(), "a &lt; b");
  text.setStringValue("c");
  EXPECT_EQ(text.stringValue(), "c");
}

TEST(NKXMLNode, NamePartsOfAParsedElement) {
  auto element = parsed(R"(<t:Message xmlns:t="urn:t" t:x="1" y="2"/>)");
  EXPECT_EQ(element.name(), "t:Message");
  EXPECT_EQ(element.localName(), "Message");
  EXPECT_EQ(element.prefix(), "t");
  EXPECT_EQ(element.URI(), "urn:t");
  EXPECT_TRUE(element.hasName("t:Message"));
  EXPECT_FALSE(element.hasName("t:Messages"));
  EXPECT_FALSE(element.hasName("u:Message"));
  EXPECT_FALSE(element.hasName("Message"));
  EXPECT_TRUE(element.hasLocalName("Message"));
  EXPECT_EQ(element.attributeForName("t:x").URI(), "urn:t");
  EXPECT_EQ(element.attributeForName("t:x").localName(), "x");
  EXPECT_EQ(element.attributeForName("y").prefix(), "");
  EXPECT_FALSE(element.attributeForName("y").URI());
}

TEST(NKXMLNode, SetNameRenames) {
  auto element = NKXMLElement::withName("a", "t");
  element.setName("m:b");
  EXPECT_EQ(element.XMLString(), "<m:b>t</m:b>");
  EXPECT_FALSE(element.URI());
  auto root = parsed("<p:r xmlns:p='u' p:x='1'><p:a/></p:r>");
  auto child = root.elementForName("p:a");
  child.setName("b");
  EXPECT_EQ(child.name(), "b");
  EXPECT_FALSE(child.URI());
  child.setName("p:c");
  EXPECT_EQ(child.name(), "p:c");
  EXPECT_EQ(child.localName(), "c");
  EXPECT_EQ(child.URI(), "u");
  child.setName("q:d");
  EXPECT_EQ(child.name(), "q:d");
  EXPECT_FALSE(child.URI());
  root.attributeForName("p:x").setName("y");
  EXPECT_FALSE(root.attributeForName("y").URI());
  root.attributeForName("y").setName("p:z");
  EXPECT_EQ(root.attributeForName("p:z").URI(), "u");
  EXPECT_EQ(root.XMLString(), R"(<p:r xmlns:p="u" p:z="1"><q:d></q:d></p:r>)");
}

TEST(NKXMLNode, StringValueOfEveryKind) {
  auto document =
      NKXMLDocument::withXMLString("<?p x?><a b='1'>x<c>y<!--k--></c><?q z?><![CDATA[<d>]]></a>");
  EXPECT_EQ(document.stringValue(), "xy<d>");
  EXPECT_EQ(document.rootElement().stringValue(), "xy<d>");
  EXPECT_EQ(document.rootElement().attributeForName("b").stringValue(), "1");
  EXPECT_EQ(document.firstChild().stringValue(), "x");
  EXPECT_EQ(document.rootElement().lastChild().stringValue(), "<d>");
  EXPECT_EQ(parsed("<a/>").stringValue(), "");
  EXPECT_EQ(parsed("<a b=''/>").attributeForName("b").stringValue(), "");
  EXPECT_EQ(parsed("<a><b/></a>").stringValue(), "");
}

TEST(NKXMLNode, SetStringValueTakesTheTextLiterally) {
  auto element = NKXMLElement::withName("a");
  element.setStringValue("a &amp; b <c>");
  EXPECT_EQ(element.stringValue(), "a &amp; b <c>");
  EXPECT_EQ(element.XMLString(), "<a>a &amp;amp; b &lt;c&gt;</a>");
  element.setStringValue("");
  EXPECT_EQ(element.childCount(), 0U);
  auto attribute = NKXMLNode::attributeWithName("a", "1");
  attribute.setStringValue("a &amp; b <c>");
  EXPECT_EQ(attribute.stringValue(), "a &amp; b <c>");
  auto parsedElement = parsed("<a>short<b/></a>");
  auto text = parsedElement.firstChild();
  text.setStringValue("a &amp; b <c>");
  EXPECT_EQ(text.stringValue(), "a &amp; b <c>");
  auto document = NKXMLDocument::withXMLString("<a/>");
  document.setStringValue("x");
  EXPECT_EQ(document.stringValue(), "");
}

TEST(NKXMLNode, PositionsOfNodes) {
  auto document =
      NKXMLDocument::withXMLString("<a x='1' y='2' xmlns:p='u' xmlns:q='v'>t<b/><c><d/></c></a>");
  auto root = document.rootElement();
  auto c = root.elementForName("c");
  EXPECT_EQ(document.level(), 0U);
  EXPECT_EQ(root.level(), 1U);
  EXPECT_EQ(root.index(), 0U);
  EXPECT_EQ(c.index(), 2U);
  EXPECT_EQ(c.level(), 2U);
  EXPECT_EQ(c.elementForName("d").level(), 3U);
  EXPECT_EQ(root.attributeForName("y").index(), 1U);
  EXPECT_EQ(root.attributeForName("y").level(), 2U);
  EXPECT_EQ(root.namespaceForPrefix("q").index(), 1U);
  EXPECT_EQ(root.namespaceForPrefix("q").level(), 2U);
  EXPECT_EQ(NKXMLNode::namespaceWithName("p", "u").index(), 0U);
  EXPECT_EQ(NKXMLElement::withName("a").level(), 0U);
  EXPECT_EQ(NKXMLElement::withName("a").index(), 0U);
}

TEST(NKXMLNode, RootDocumentIsThatOfAParsedTree) {
  auto document = NKXMLDocument::withXMLString("<a><b x='1'/></a>");
  auto b = document.rootElement().elementForName("b");
  EXPECT_EQ(b.rootDocument(), document);
  EXPECT_EQ(b.attributeForName("x").rootDocument(), document);
  EXPECT_EQ(document.rootDocument(), document);
  EXPECT_FALSE(NKXMLElement::withName("a").rootDocument());
}

TEST(NKXMLNode, ChildrenAreInDocumentOrderWithoutAttributes) {
  auto root = parsed("<a x='1'>t<b/><!--k--></a>");
  EXPECT_EQ(root.childCount(), 3U);
  EXPECT_THAT(namesInOrder(root.children()), ElementsAre("t", "b", "k"));
  EXPECT_EQ(root.childAtIndex(1).name(), "b");
  EXPECT_EQ(root.firstChild().stringValue(), "t");
  EXPECT_EQ(root.lastChild().stringValue(), "k");
  EXPECT_EQ(root.childAtIndex(1).parent(), root);
  EXPECT_EQ(root.attributeForName("x").childCount(), 0U);
  EXPECT_TRUE(root.attributeForName("x").children().empty());
  EXPECT_FALSE(root.attributeForName("x").firstChild());
  EXPECT_EQ(root.attributeForName("x").parent(), root);
}

TEST(NKXMLNode, SiblingsStepAmongChildrenOnly) {
  auto root = parsed("<a x='1' y='2' xmlns:p='u'>t<b/><c/></a>");
  auto b = root.elementForName("b");
  EXPECT_EQ(b.previousSibling().stringValue(), "t");
  EXPECT_EQ(b.nextSibling().name(), "c");
  EXPECT_FALSE(b.nextSibling().nextSibling());
  EXPECT_FALSE(b.previousSibling().previousSibling());
  for (const NKXMLNode& node :
       {NKXMLNode(root.attributeForName("x")), NKXMLNode(root.namespaceForPrefix("p"))}) {
    EXPECT_FALSE(node.nextSibling());
    EXPECT_FALSE(node.previousSibling());
    EXPECT_FALSE(node.nextNode());
    EXPECT_FALSE(node.previousNode());
  }
}

void listRecursively(const NKXMLNode& node, std::vector<NKXMLNode>& list) {
  list.push_back(node);
  for (const auto& child : node.children()) listRecursively(child, list);
}

TEST(NKXMLNode, NextAndPreviousNodeStepInDocumentOrder) {
  const NKXMLNode document =
      NKXMLDocument::withXMLString("<a>t<b><c/><d>u</d></b><e/>v<f><g><h/></g></f></a>");
  std::vector<NKXMLNode> expected;
  listRecursively(document, expected);
  std::vector<NKXMLNode> forwards;
  NKXMLNode last;
  for (auto node = document; node; node = node.nextNode()) {
    forwards.push_back(node);
    last = node;
  }
  EXPECT_EQ(forwards, expected);
  std::vector<NKXMLNode> backwards;
  for (auto node = last; node; node = node.previousNode())
    backwards.insert(backwards.begin(), node);
  EXPECT_EQ(backwards, expected);
}

#ifdef NDEBUG
TEST(NKXMLNode, AnIndexOutOfRangeGivesTheInvalidNode) {
  EXPECT_FALSE(parsed("<a><b/></a>").childAtIndex(1));
  EXPECT_FALSE(parsed("<a>t</a>").firstChild().childAtIndex(0));
}
#else
TEST(NKXMLNodeDeathTest, AnIndexOutOfRangeIsAProgrammingError) {
  auto root = parsed("<a><b/></a>");
  EXPECT_DEATH(static_cast<void>(root.childAtIndex(7)),
               "Core/XML/NKXMLNode: index \\(7\\) beyond bounds \\(1\\)");
  EXPECT_DEATH(static_cast<void>(NKXMLElement::withName("a").childAtIndex(0)),
               "index \\(0\\) beyond bounds \\(0\\)");
}
#endif

TEST(NKXMLNode, NamesSplitAtTheirColon) {
  EXPECT_EQ(NKXMLNode::localNameForName("t:FieldURI"), "FieldURI");
  EXPECT_EQ(NKXMLNode::prefixForName("t:FieldURI"), "t");
  EXPECT_EQ(NKXMLNode::localNameForName("FieldURI"), "FieldURI");
  EXPECT_EQ(NKXMLNode::prefixForName("FieldURI"), "");
}

TEST(NKXMLNode, HandlesOfOneNodeAreEqual) {
  auto root = parsed("<r><a/><a/></r>");
  EXPECT_EQ(root.elementForName("a"), root.firstChild());
  EXPECT_TRUE(root.elementForName("a").isEqual(root.firstChild()));
  EXPECT_NE(root.firstChild(), root.lastChild());
  EXPECT_NE(root, root.copy());
  std::unordered_set<NKXMLNode> set{root, root.firstChild(), root.elementForName("a")};
  EXPECT_EQ(set.size(), 2U);
  std::unordered_set<NKXMLElement> elements{root, root};
  EXPECT_EQ(elements.size(), 1U);
}

TEST(NKXMLNode, HandlesCopyMoveAndSwap) {
  NKXMLNode a = NKXMLElement::withName("a");
  NKXMLNode b = a;
  EXPECT_EQ(a, b);
  NKXMLNode c = std::move(a);
  EXPECT_EQ(b, c);
  a = NKXMLElement::withName("z");
  swap(a, b);
  EXPECT_EQ(b.name(), "z");
  b = c;
  EXPECT_EQ(b, c);
  const auto& self = b;
  b = self;
  EXPECT_EQ(b.name(), "a");
}

TEST(NKXMLNode, DescriptionIsTheXML) {
  auto element = NKXMLElement::withName("a");
  std::ostringstream stream;
  stream << element;
  EXPECT_EQ(element.description(), "<a></a>");
  EXPECT_EQ(stream.str(), "<a></a>");
}

TEST(NKXMLNode, CopyIsDeepIndependentAndParentless) {
  auto document = NKXMLDocument::withXMLString(
      "<r xmlns='d' xmlns:p='u'><p:a p:b='1' c='2'>x<e/><!--k--><?q z?><![CDATA[y]]></p:a></r>");
  auto original = document.rootElement().elementForName("p:a");
  auto copy = original.copy();
  EXPECT_FALSE(copy.parent());
  EXPECT_EQ(copy.XMLString(),
            "<p:a xmlns:p=\"u\" xmlns=\"d\" p:b=\"1\" c=\"2\">x<e></e><!--k--><?q "
            "z?><![CDATA[y]]></p:a>");
  EXPECT_EQ(copy.elementForName("e").URI(), "d");
  const auto before = original.XMLString();
  copy.setStringValue("other");
  copy.attributeForName("c").setStringValue("3");
  EXPECT_EQ(original.XMLString(), before);
  document = NKXMLDocument();
  original = NKXMLElement();
  EXPECT_EQ(copy.URI(), "u");
}

TEST(NKXMLNode, EveryKindCopies) {
  auto document =
      NKXMLDocument::withXMLString("<!DOCTYPE r SYSTEM 'x'><?p x?><r xml:lang='en'><a/></r>");
  auto copy = document.copy();
  EXPECT_EQ(copy.XMLString(), document.XMLString());
  EXPECT_NE(copy, document);
  EXPECT_EQ(copy.rootElement().rootDocument(), copy);
  EXPECT_EQ(document.firstChild().kind(), NKXMLDTDKind);
  EXPECT_EQ(document.firstChild().copy().XMLString(), "<!DOCTYPE r SYSTEM \"x\">");
  auto attribute = parsed("<r xmlns:p='u' p:a='1'/>").attributeForName("p:a").copy();
  EXPECT_EQ(attribute.URI(), "u");
  EXPECT_EQ(attribute.XMLString(), "p:a=\"1\"");
  auto declaration = parsed("<r xmlns:p='u'/>").namespaceForPrefix("p").copy();
  EXPECT_FALSE(declaration.parent());
  EXPECT_EQ(declaration.XMLString(), "xmlns:p=\"u\"");
  EXPECT_EQ(parsed("<r>t</r>").firstChild().copy().stringValue(), "t");
  auto lang = document.rootElement().copy().attributeForName("xml:lang");
  document = NKXMLDocument();
  EXPECT_EQ(lang.URI(), "http://www.w3.org/XML/1998/namespace");
}

TEST(NKXMLNode, ATreeOfAnyDepthIsCopiedWrittenAndReleased) {
  auto root = NKXMLElement::withName("a");
  auto deepest = root;
  for (int i = 0; i < 100'000; ++i) {
    auto child = NKXMLElement::withName("a");
    deepest.addChild(child);
    deepest = child;
  }
  deepest.setStringValue("x");
  auto copy = root.copy();
  EXPECT_EQ(copy.stringValue(), "x");
  EXPECT_EQ(copy.XMLString().size(), root.XMLString().size());
  EXPECT_EQ(deepest.level(), 100'000U);
}

TEST(NKXMLNode, XMLStringWritesBothTagsAndCompactOne) {
  auto element = NKXMLElement::withName("a");
  EXPECT_EQ(element.XMLString(), "<a></a>");
  EXPECT_EQ(element.XMLStringWithOptions(0), "<a></a>");
  EXPECT_EQ(element.XMLStringWithOptions(0x4), "<a/>");
  EXPECT_EQ(element.compactXMLString(), "<a/>");
}

TEST(NKXMLNode, PrettyPrintIndents) {
  auto root = parsed("<a><b/><c>t</c></a>");
  EXPECT_EQ(root.XMLStringWithOptions(0x20000), "<a>\n  <b></b>\n  <c>t</c>\n</a>");
  EXPECT_EQ(root.prettyXMLString(), "<a>\n  <b/>\n  <c>t</c>\n</a>");
  EXPECT_EQ(root.prettyXMLString(), root.XMLStringWithOptions(0x20004));
}

TEST(NKXMLNode, TheResultIsTrimmedUnlessItIsAProcessingInstruction) {
  EXPECT_EQ(NKXMLNode::textWithStringValue(" \t x \n ").XMLString(), "x");
  EXPECT_EQ(NKXMLNode::textWithStringValue("  ").XMLString(), "");
  EXPECT_EQ(NKXMLNode::textWithStringValue("\\N x").XMLString(), " x") << "trimmed first";
  EXPECT_EQ(NKXMLNode::attributeWithName("a", " x ").XMLString(), "a=\" x \"");
  EXPECT_EQ(NKXMLNode::processingInstructionWithName("p", " x ").XMLString(), "<?p  x ?>");
}

TEST(NKXMLNode, CharactersStandAsThemselves) {
  constexpr auto kText = "\xC3\xA9 \xF0\x9F\x98\x80";
  auto element = NKXMLElement::withName("a", kText);
  element.addAttributeWithName("b", kText);
  const auto xml = element.XMLString();
  EXPECT_EQ(xml, std::string("<a b=\"") + kText + "\">" + kText + "</a>");
  auto read = NKXMLElement::withXMLString(xml);
  EXPECT_EQ(read.XMLString(), xml);
  EXPECT_EQ(read.attributeForName("b").XMLString(), std::string("b=\"") + kText + "\"");
  EXPECT_EQ(read.attributeForName("b").copy().XMLString(), std::string("b=\"") + kText + "\"");
  auto latin = NKXMLDocument::withXMLString(
      std::string("<?xml version='1.0' encoding='ISO-8859-1'?>") + xml);
  EXPECT_EQ(latin.rootElement().XMLString(), xml);
}

TEST(NKXMLNode, LiteralReferencesKeepTheirMeaning) {
  auto typed = NKXMLElement::withName("a", "&#x41;");
  EXPECT_EQ(typed.XMLString(), "<a>&amp;#x41;</a>");
  EXPECT_EQ(parsed(typed.XMLString()).stringValue(), "&#x41;");
  auto section = parsed("<a><![CDATA[x&#x3C;y]]></a>");
  EXPECT_EQ(parsed(section.XMLString()).stringValue(), "x&#x3C;y");
  auto comment = parsed("<a><!--&#x2D;&#x2D;--></a>");
  EXPECT_EQ(comment.XMLString(), "<a><!--&#x2D;&#x2D;--></a>");
}

TEST(NKXMLNode, ACarriageReturnSurvivesARoundTrip) {
  auto element = NKXMLElement::withName("a", "x\r\ny");
  element.addAttributeWithName("b", "q\"<>&\t\r\n'");
  auto read = parsed(element.XMLString());
  EXPECT_EQ(read.stringValue(), "x\r\ny");
  EXPECT_EQ(read.attributeForName("b").stringValue(), "q\"<>&\t\r\n'");
}

TEST(NKXMLNode, BackslashNIsLeftOutOfTheTextButNotOfTheTree) {
  auto element = NKXMLElement::withName("a", "C:\\New\\\\NN\\n");
  element.addAttributeWithName("b", "\\N\\N");
  EXPECT_EQ(element.XMLString(), "<a b=\"\">C:ew\\N\\n</a>");
  EXPECT_EQ(element.stringValue(), "C:\\New\\\\NN\\n");
  EXPECT_EQ(element.attributeForName("b").stringValue(), "\\N\\N");
  EXPECT_EQ(NKXMLNode::textWithStringValue("\\N").XMLString(), "");
}

TEST(NKXMLNode, IllFormedTextBecomesReplacementCharacters) {
  using namespace std::string_view_literals;
  const std::vector<std::pair<std::string_view, std::string_view>> rows = {
      {"a\xFF"
       "b"sv,
       "a\xEF\xBF\xBD"
       "b"sv},
      {"a\0b"sv,
       "a\xEF\xBF\xBD"
       "b"sv},
      {"\xC3"sv, "\xEF\xBF\xBD"sv},
      {"\xC0\x80"sv, "\xEF\xBF\xBD\xEF\xBF\xBD"sv},                  // overlong
      {"\xE0\x80\x80"sv, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"sv},  // overlong
      {"\xED\xA0\x80"sv, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"sv},  // surrogate
      {"\xF4\x90\x80\x80"sv, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"sv},
      {"\xF0\x8F\xBF\xBF"sv, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"sv},
      {"\xE2\x82x"sv, "\xEF\xBF\xBDx"sv},  // one for a start
      {"\xF0\x9F\x98"sv, "\xEF\xBF\xBD"sv},
      {"12345678\x80"sv, "12345678\xEF\xBF\xBD"sv},
      {"1234567\0"sv, "1234567\xEF\xBF\xBD"sv},
  };
  for (const auto& [given, kept] : rows) {
    auto element = NKXMLElement::withName("a");
    element.setStringValue(given);
    EXPECT_EQ(element.stringValue(), kept);
    element.addAttributeWithName("b", given);
    EXPECT_EQ(element.attributeForName("b").stringValue(), kept);
    EXPECT_THAT(element.XMLString(), IsWellFormedXML());
    EXPECT_EQ(parsed(element.XMLString()).stringValue(), kept);
    EXPECT_EQ(NKXMLNode::textWithStringValue(given).stringValue(), kept);
    EXPECT_EQ(NKXMLNode::commentWithStringValue(given).stringValue(), kept);
    EXPECT_EQ(NKXMLNode::namespaceWithName("p", given).stringValue(), kept);
    EXPECT_EQ(NKXMLElement::withXMLString("<a>" + std::string(given) + "</a>").stringValue(), kept);
  }
  for (const auto text : {"\xC2\x80"sv, "\xDF\xBF"sv, "\xE0\xA0\x80"sv, "\xED\x9F\xBF"sv,
                          "\xEE\x80\x80"sv, "\xF0\x90\x80\x80"sv, "\xF4\x8F\xBF\xBF"sv}) {
    EXPECT_EQ(NKXMLNode::textWithStringValue(text).stringValue(), text);
  }
}

TEST(NKXMLNode, IllFormedNamesBecomeReplacementCharactersToo) {
  using namespace std::string_view_literals;
  auto element = NKXMLElement::withName("a\xFF");
  EXPECT_EQ(element.name(), "a\xEF\xBF\xBD");
  element.setName("a\0b"sv);
  EXPECT_EQ(element.name(),
            "a\xEF\xBF\xBD"
            "b");
  // All three are the same name in the end.
  element.addAttributeWithName("x\xFF", "1");
  element.addAttributeWithName("x\xFF", "2");
  element.addAttributeWithName("x\0"sv, "3");
  ASSERT_EQ(element.attributes().size(), 1U);
  EXPECT_EQ(element.attributeForName("x\xEF\xBF\xBD").stringValue(), "3");
  const auto instruction = NKXMLNode::processingInstructionWithName("p\xFF", "x");
  EXPECT_EQ(instruction.name(), "p\xEF\xBF\xBD");
  element.addChild(instruction);
  const auto declaration = NKXMLNode::namespaceWithName("p\xFF", "u");
  EXPECT_EQ(declaration.name(), "p\xEF\xBF\xBD");
  element.addNamespace(declaration);
  EXPECT_THAT(element.XMLString(), IsWellFormedXML());
  EXPECT_EQ(parsed(element.XMLString()).XMLString(), element.XMLString());
}

TEST(NKXMLNode, LongNamesAndTextsAreKeptWhole) {
  const std::string name(200, 'n');
  const std::string text(100'000, 't');
  auto element = NKXMLElement::withName(name, text);
  element.addAttributeWithName(name, text);
  EXPECT_EQ(element.name(), name);
  EXPECT_EQ(element.stringValue(), text);
  EXPECT_EQ(element.attributeForName(name).stringValue(), text);
}

}  // namespace
}  // namespace tarnwell
