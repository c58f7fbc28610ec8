#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

TEST(XMLNamespaces, XmlnsIsTheDefaultNamespaceOfTheElementItself) {
  auto root = parsed("<a xmlns='u'><b/></a>");
  EXPECT_EQ(root.xmlns(), "u");
  EXPECT_FALSE(root.elementForName("b").xmlns());
  EXPECT_FALSE(parsed("<a xmlns:p='u'/>").xmlns());
}

TEST(XMLNamespaces, ElementWithXmlnsDeclaresItAndIsInIt) {
  auto element = NKXMLElement::elementWithNameXmlns("a", "u");
  EXPECT_EQ(element.XMLString(), R"(<a xmlns="u"></a>)");
  EXPECT_EQ(element.xmlns(), "u");
  EXPECT_EQ(element.URI(), "u");
  auto prefixed = NKXMLElement::elementWithNameXmlns("p:a", "u");
  EXPECT_EQ(prefixed.XMLString(), R"(<p:a xmlns="u"></p:a>)");
  EXPECT_FALSE(prefixed.URI());
}

TEST(XMLNamespaces, SetXmlnsReplacesTheDefaultNamespace) {
  auto element = NKXMLElement::withName("a");
  element.setXmlns("u");
  element.setXmlns("v");
  EXPECT_EQ(element.xmlns(), "v");
  EXPECT_EQ(element.URI(), "v");
  EXPECT_EQ(element.XMLString(), R"(<a xmlns="v"></a>)");
}

TEST(XMLNamespaces, DeclarationsAreListedFoundAddedAndRemoved) {
  auto element = NKXMLElement::withName("a");
  auto p = NKXMLNode::namespaceWithName("p", "u");
  element.addNamespace(p);
  element.addNamespace(NKXMLNode::namespaceWithName("q", "v"));
  EXPECT_EQ(element.XMLString(), R"(<a xmlns:p="u" xmlns:q="v"></a>)");
  ASSERT_EQ(element.namespaces().size(), 2U);
  EXPECT_EQ(element.namespaces()[0], p);
  EXPECT_EQ(element.namespaceForPrefix("q").stringValue(), "v");
  EXPECT_FALSE(element.namespaceForPrefix("r"));
  EXPECT_FALSE(element.namespaceForPrefix(""));
  EXPECT_EQ(p.parent(), element);
  element.removeNamespaceForPrefix("p");
  element.removeNamespaceForPrefix("none");
  EXPECT_EQ(element.XMLString(), R"(<a xmlns:q="v"></a>)");
  EXPECT_FALSE(p.parent());
  EXPECT_EQ(p.stringValue(), "u");
  element.setNamespaces(std::vector{NKXMLNode::namespaceWithName("z", "w"), p});
  EXPECT_EQ(element.XMLString(), R"(<a xmlns:z="w" xmlns:p="u"></a>)");
  element.setNamespaces({});
  EXPECT_EQ(element.XMLString(), "<a></a>");
}

TEST(XMLNamespaces, AParsedDeclarationKnowsItsElement) {
  auto root = parsed("<a xmlns:p='u'><b xmlns:q='v'/></a>");
  auto b = root.elementForName("b");
  EXPECT_EQ(root.namespaces()[0].parent(), root);
  EXPECT_EQ(b.namespaceForPrefix("q").parent(), b);
  EXPECT_EQ(b.resolveNamespaceForName("p:x").parent(), root);
}

TEST(XMLNamespaces, ADeclarationOfTheNamesPrefixTakesTheElementIn) {
  auto element = NKXMLElement::withName("p:a");
  element.addNamespace(NKXMLNode::namespaceWithName("p", "u"));
  EXPECT_EQ(element.URI(), "u");
  EXPECT_EQ(element.localName(), "a");
  EXPECT_EQ(element.name(), "p:a");
  EXPECT_EQ(element.XMLString(), R"(<p:a xmlns:p="u"></p:a>)");
}

TEST(XMLNamespaces, ReplacingADeclarationTakesTheNamesWithIt) {
  auto root = parsed("<p:a xmlns:p='u' p:x='1'><p:b/><p:c xmlns:p='w'><p:d/></p:c></p:a>");
  auto old = root.namespaceForPrefix("p");
  root.addNamespace(NKXMLNode::namespaceWithName("p", "v"));
  EXPECT_EQ(root.URI(), "v");
  EXPECT_EQ(root.attributeForName("p:x").URI(), "v");
  EXPECT_EQ(root.elementForName("p:b").URI(), "v");
  EXPECT_EQ(root.elementForName("p:c").URI(), "w");
  EXPECT_EQ(root.elementForName("p:c").elementForName("p:d").URI(), "w");
  EXPECT_EQ(old.stringValue(), "u");
  EXPECT_FALSE(old.parent());
}

TEST(XMLNamespaces, RemovingADeclarationLeavesNamesAsWritten) {
  auto root = parsed("<o xmlns:p='outer'><p:a xmlns:p='u' p:x='1'><p:b/></p:a></o>");
  auto a = root.elementForName("p:a");
  a.removeNamespaceForPrefix("p");
  EXPECT_EQ(a.URI(), "outer");
  root.removeNamespaceForPrefix("p");
  EXPECT_FALSE(a.URI());
  EXPECT_EQ(root.XMLString(), R"(<o><p:a p:x="1"><p:b></p:b></p:a></o>)");
  EXPECT_EQ(a.attributeForName("p:x").stringValue(), "1");
}

TEST(XMLNamespaces, ResolvingWalksUpToTheNearestDeclaration) {
  auto root = parsed("<a xmlns='d' xmlns:p='u' xmlns:q='v'><b xmlns:p='w'><c/></b></a>");
  auto c = root.firstChild().firstChild().asElement();
  EXPECT_EQ(c.resolveNamespaceForName("p:x").stringValue(), "w");
  EXPECT_EQ(c.resolveNamespaceForName("q:x").stringValue(), "v");
  EXPECT_EQ(c.resolveNamespaceForName("x").stringValue(), "d");
  EXPECT_FALSE(c.resolveNamespaceForName("r:x"));
  EXPECT_EQ(root.resolveNamespaceForName("p:x").stringValue(), "u");
  EXPECT_EQ(c.resolvePrefixForNamespaceURI("w"), "p");
  EXPECT_EQ(c.resolvePrefixForNamespaceURI("v"), "q");
  EXPECT_EQ(c.resolvePrefixForNamespaceURI("d"), "");
  EXPECT_FALSE(c.resolvePrefixForNamespaceURI("u")) << "shadowed by the nearer declaration";
  EXPECT_FALSE(c.resolvePrefixForNamespaceURI("none"));
}

TEST(XMLNamespaces, SetURIUsesADeclarationInScope) {
  auto root = parsed("<r xmlns:p='u'><a/></r>");
  auto a = root.elementForName("a");
  a.setName("p:a");
  a.setURI("u");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u"><p:a></p:a></r>)");
  a.setURI("");
  EXPECT_FALSE(a.URI());
  EXPECT_EQ(a.name(), "p:a");
}

TEST(XMLNamespaces, SetURIMovesOnlyTheOneName) {
  auto root = parsed("<p:r xmlns:p='u'><p:a p:x='1'/></p:r>");
  root.setURI("v");
  EXPECT_EQ(root.URI(), "v");
  auto a = root.firstChild().asElement();
  EXPECT_EQ(a.URI(), "u");
  EXPECT_EQ(a.attributeForName("p:x").URI(), "u");
  EXPECT_EQ(root.XMLString(), R"(<p:r xmlns:p="v"><p:a xmlns:p="u" p:x="1"></p:a></p:r>)");
  auto read = parsed(root.XMLString());
  EXPECT_EQ(read.URI(), "v");
  EXPECT_EQ(read.firstChild().URI(), "u");
}

TEST(XMLNamespaces, SetURIOfAnAttribute) {
  auto root = parsed("<r xmlns:p='u' x='1' p:y='2'/>");
  auto x = root.attributeForName("x");
  x.setURI("u");
  EXPECT_EQ(x.name(), "p:x") << "an attribute needs a prefix to be in a namespace";
  x.setURI("v");
  EXPECT_EQ(x.URI(), "v");
  EXPECT_EQ(parsed(root.XMLString()).attributes()[0].URI(), "v");
  EXPECT_EQ(root.attributeForName("p:y").URI(), "u");
  auto alone = NKXMLNode::attributeWithName("q:z", "3");
  alone.setURI("w");
  EXPECT_EQ(alone.URI(), "w");
  EXPECT_EQ(alone.name(), "q:z");
  alone.setURI("");
  EXPECT_FALSE(alone.URI());
  EXPECT_EQ(alone.name(), "q:z");
}

TEST(XMLNamespaces, AnAddedAttributeFindsOrMakesItsDeclaration) {
  auto root = parsed("<r xmlns:p='u'/>");
  root.addAttribute(NKXMLNode::attributeWithName("p:a", "u", "1"));
  EXPECT_EQ(root.namespaces().size(), 1U);
  root.addAttribute(NKXMLNode::attributeWithName("q:b", "v", "2"));
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u" xmlns:q="v" p:a="1" q:b="2"></r>)");
  root.addAttribute(NKXMLNode::attributeWithName("c", "w", "3"));
  EXPECT_EQ(parsed(root.XMLString()).attributes()[2].URI(), "w");
  root.addAttribute(NKXMLNode::attributeWithName("p:d", "other", "4"));
  EXPECT_EQ(parsed(root.XMLString()).attributes()[3].URI(), "other");
  EXPECT_EQ(parsed(root.XMLString()).attributes()[0].URI(), "u");
}

TEST(XMLNamespaces, TheBuiltInPrefixIsNeverDeclared) {
  auto element = NKXMLElement::withName("a");
  element.addAttribute(
      NKXMLNode::attributeWithName("xml:lang", "http://www.w3.org/XML/1998/namespace", "en"));
  EXPECT_EQ(element.XMLString(), R"(<a xml:lang="en"></a>)");
  auto detached = NKXMLElement::withXMLString("<r><a xml:lang='en'/></r>").firstChild();
  detached.detach();
  EXPECT_EQ(detached.XMLString(), R"(<a xml:lang="en"></a>)");
}

TEST(XMLNamespaces, DetachedNodeDeclaresThePrefixesThatItUsed) {
  auto root = parsed("<r xmlns:p='u' xmlns:q='v' xmlns:o='w'><p:a p:b='1'><q:c/></p:a></r>");
  auto a = root.elementForName("p:a");
  a.detach();
  EXPECT_EQ(a.XMLString(), R"(<p:a xmlns:p="u" xmlns:q="v" p:b="1"><q:c></q:c></p:a>)");
  EXPECT_EQ(a.URI(), "u");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u" xmlns:q="v" xmlns:o="w"></r>)");
}

TEST(XMLNamespaces, DetachedNodeKeepsItsDefaultNamespace) {
  auto root = parsed("<r xmlns='u'><a><b/></a></r>");
  auto a = root.elementForName("a");
  a.detach();
  EXPECT_EQ(a.XMLString(), R"(<a xmlns="u"><b></b></a>)");
  EXPECT_EQ(a.elementForName("b", "u").name(), "b");
  auto other = NKXMLElement::withName("o");
  other.addChild(a);
  EXPECT_EQ(other.XMLString(), R"(<o><a xmlns="u"><b></b></a></o>)");
}

TEST(XMLNamespaces, DetachingAndAttachingAgainAndAgainDeclaresOnce) {
  auto root = parsed("<r xmlns='u' xmlns:p='v'><p:a><b/></p:a></r>");
  auto a = root.elementForName("p:a");
  for (int i = 0; i < 3; ++i) {
    a.detach();
    root.addChild(a);
  }
  EXPECT_EQ(a.XMLString(), R"(<p:a xmlns:p="v" xmlns="u"><b></b></p:a>)");
}

TEST(XMLNamespaces, ADetachedPartWithAPrefixOfTwoMeaningsKeepsBoth) {
  auto root = parsed("<p:r xmlns:p='u'><p:a><p:b xmlns:p='v'><p:c/></p:b></p:a></p:r>");
  auto a = root.firstChild().asElement();
  a.detach();
  EXPECT_EQ(a.XMLString(), R"(<p:a xmlns:p="u"><p:b xmlns:p="v"><p:c></p:c></p:b></p:a>)");
}

TEST(XMLNamespaces, ADetachedAttributeKeepsItsNamespace) {
  auto root = parsed("<r xmlns:p='u' p:a='1'/>");
  auto attribute = root.attributeForName("p:a");
  attribute.detach();
  root = NKXMLElement();
  EXPECT_EQ(attribute.URI(), "u");
  auto other = NKXMLElement::withName("o");
  other.addAttribute(attribute);
  EXPECT_EQ(other.XMLString(), R"(<o xmlns:p="u" p:a="1"></o>)");
}

TEST(XMLNamespaces, ADetachedAttributeIsIndependentOfItsOldElement) {
  auto root = parsed("<r xmlns:p='u' p:a='1' p:b='2' p:c='3'/>");
  auto detached = root.attributeForName("p:a");
  auto replaced = root.attributeForName("p:b");
  auto replacedToo = root.attributeForName("p:c");
  detached.detach();
  root.addAttributeWithName("p:b", "new");
  root.addAttribute(NKXMLNode::attributeWithName("p:c", "u", "new"));
  root.namespaceForPrefix("p").setStringValue("v");
  root.namespaceForPrefix("p").setName("q");
  for (const auto& attribute : {detached, replaced, replacedToo}) {
    EXPECT_FALSE(attribute.parent());
    EXPECT_EQ(attribute.URI(), "u");
    EXPECT_EQ(attribute.prefix(), "p");
  }
}

TEST(XMLNamespaces, ChangingADeclarationChangesWhatItsNamesMean) {
  auto root = parsed("<p:r xmlns:p='u'><p:a/></p:r>");
  root.namespaceForPrefix("p").setStringValue("v");
  root.namespaceForPrefix("p").setName("q");
  EXPECT_EQ(root.firstChild().URI(), "v");
  EXPECT_EQ(root.XMLString(), R"(<q:r xmlns:q="v"><q:a></q:a></q:r>)");
}

}  // namespace
}  // namespace tarnwell
