#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

/// Every name of the tree with the namespace that it is in: "{u}p:a", " {}x" for an attribute.
std::string namesIn(const NKXMLElement& top) {
  const auto entry = [](const NKXMLNode& node) {
    return "{" + node.URI().value_or("") + "}" + node.name().value_or("") + "\n";
  };
  std::string names = entry(top);
  for (const auto& attribute : top.attributes()) names += " " + entry(attribute);
  for (const auto& child : top.childElements()) names += namesIn(child);
  return names;
}

/// What the tree says of its names is what a reader of its text finds.
void expectTextAgrees(const NKXMLElement& root) {
  const auto text = root.XMLString();
  const auto read = parsed(text);
  ASSERT_TRUE(read) << text;
  EXPECT_EQ(namesIn(root), namesIn(read)) << text;
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

TEST(XMLNamespaces, ReplacingAllDeclarationsTakesTheNamesWithThem) {
  auto root = parsed(
      "<r xmlns='d' xmlns:p='u' xmlns:q='v' p:x='1'><p:a/><q:b/><c xmlns:p='w'><p:d/></c></r>");
  const auto names = namesIn(root);
  root.setNamespaces(root.namespaces());
  EXPECT_EQ(namesIn(root), names);
  expectTextAgrees(root);
  EXPECT_EQ(root.elementForName("a", "u").name(), "p:a");

  const auto old = root.namespaceForPrefix("p");
  root.setNamespaces(
      std::vector{NKXMLNode::namespaceWithName("", "e"), NKXMLNode::namespaceWithName("p", "u2")});
  EXPECT_EQ(root.URI(), "e");
  EXPECT_EQ(root.attributeForName("p:x").URI(), "u2");
  EXPECT_EQ(root.elementForName("p:a").URI(), "u2");
  EXPECT_FALSE(root.elementForName("q:b").URI()) << "its prefix is declared no more";
  EXPECT_EQ(root.elementForName("c").elementForName("p:d").URI(), "w");
  EXPECT_FALSE(old.parent());
  expectTextAgrees(root);
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
}

TEST(XMLNamespaces, AnEmptyURITakesAnElementOutOfTheDefaultNamespaceAroundIt) {
  auto root = parsed("<r xmlns='u'><a x='1'><b/></a></r>");
  auto a = root.elementForName("a");
  auto b = a.elementForName("b");
  a.setURI("");
  EXPECT_FALSE(a.URI());
  EXPECT_EQ(a.name(), "a");
  EXPECT_EQ(b.URI(), "u") << "only the one name moves";
  EXPECT_EQ(root.XMLString(), R"(<r xmlns="u"><a xmlns="" x="1"><b xmlns="u"></b></a></r>)");
  expectTextAgrees(root);
}

TEST(XMLNamespaces, AnEmptyURITakesAnElementOutOfItsOwnDefaultNamespace) {
  auto root = parsed("<a xmlns='u'><b/><c/></a>");
  root.setURI("");
  EXPECT_EQ(root.XMLString(), R"(<a><b xmlns="u"></b><c xmlns="u"></c></a>)");
  expectTextAgrees(root);
  auto inner = parsed("<r xmlns='o'><a xmlns='u'><b/></a></r>");
  auto a = inner.elementForName("a");
  a.setURI("");
  EXPECT_EQ(inner.XMLString(), R"(<r xmlns="o"><a xmlns=""><b xmlns="u"></b></a></r>)");
  expectTextAgrees(inner);
}

TEST(XMLNamespaces, AnEmptyURIDeclaresNothingWhereNoNamespaceWouldTakeTheNodeIn) {
  auto free = NKXMLElement::withName("a");
  free.setURI("");
  EXPECT_EQ(free.XMLString(), "<a></a>");
  EXPECT_EQ(NKXMLElement::withNameURI("a", "").XMLString(), "<a></a>");
  auto root = parsed("<r xmlns='u'><m xmlns=''><a/></m><b x='1'/></r>");
  const auto text = root.XMLString();
  root.elementForName("m").firstChild().setURI("");
  root.elementForName("b").attributeForName("x").setURI("");
  EXPECT_EQ(root.XMLString(), text);
}

TEST(XMLNamespaces, AnEmptyURITakesADeclaredPrefixFromTheName) {
  auto root = parsed("<p:r xmlns:p='u' xmlns='d'><p:a p:x='1'><p:b/></p:a></p:r>");
  auto a = root.elementForName("p:a");
  a.setURI("");
  EXPECT_FALSE(a.URI());
  EXPECT_EQ(a.name(), "a") << "with the prefix the text would put it into the namespace";
  expectTextAgrees(root);
  auto x = a.attributeForName("p:x");
  x.setURI("");
  EXPECT_FALSE(x.URI());
  EXPECT_EQ(x.name(), "x");
  expectTextAgrees(root);
  root.setURI("");
  EXPECT_EQ(root.firstChild().firstChild().URI(), "u");
  expectTextAgrees(root);
}

TEST(XMLNamespaces, AnEmptyURILeavesAPrefixThatIsDeclaredNowhere) {
  auto element = NKXMLElement::withName("p:a");
  element.setURI("");
  EXPECT_EQ(element.name(), "p:a");
  EXPECT_FALSE(element.URI());
  expectTextAgrees(element);
}

TEST(XMLNamespaces, ALiteralNameOfADeclaredPrefixIsTakenOutToo) {
  auto root = parsed("<r xmlns:p='u' xmlns='d'/>");
  auto prefixed = NKXMLElement::withName("p:a");
  auto plain = NKXMLElement::withName("b");
  root.addChild(prefixed);
  root.addChild(plain);
  prefixed.setURI("");
  plain.setURI("");
  EXPECT_EQ(prefixed.name(), "a");
  EXPECT_EQ(plain.name(), "b");
  expectTextAgrees(root);
}

TEST(XMLNamespaces, AnAttributeTakenOutOfItsNamespaceReplacesItsNamesake) {
  auto root = parsed("<r xmlns:p='u' xmlns:q='u' x='1' p:x='2'/>");
  auto plain = root.attributeForName("x");
  root.attributeForName("p:x").setURI("");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u" xmlns:q="u" x="2"></r>)");
  EXPECT_FALSE(plain.parent());
  EXPECT_EQ(plain.stringValue(), "1");
}

TEST(XMLNamespaces, ARenamedAttributeReplacesItsNamesake) {
  auto root = parsed("<r xmlns:p='u' x='1' p:x='2'/>");
  root.attributeForName("p:x").setName("x");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u" x="2"></r>)");
  root.addAttributeWithName("y", "3");
  root.attributeForName("x").setURI("u");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:p="u" p:x="2" y="3"></r>)");
  auto x = root.attributeForName("p:x");
  x.setName("p:x");
  EXPECT_EQ(x.parent(), root);
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

TEST(XMLNamespaces, ARemovedChildKeepsItsDefaultNamespace) {
  const std::vector<std::function<void(NKXMLElement&)>> ways = {
      [](NKXMLElement& root) { root.removeChildAtIndex(0); },
      [](NKXMLElement& root) { root.setChildren({}); },
      [](NKXMLElement& root) { root.setStringValue("x"); }};
  for (const auto& remove : ways) {
    auto root = parsed("<r xmlns='u'><a/></r>");
    auto a = root.elementForName("a");
    remove(root);
    EXPECT_FALSE(a.parent());
    EXPECT_EQ(a.XMLString(), R"(<a xmlns="u"></a>)");
  }
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
  expectTextAgrees(root);
}

/// The namespaces of the names of the tree, without the names.
std::vector<std::string> namespacesIn(const NKXMLElement& top) {
  std::vector<std::string> result{top.URI().value_or("")};
  for (const auto& attribute : top.attributes()) result.push_back(attribute.URI().value_or(""));
  for (const auto& child : top.childElements()) {
    const auto below = namespacesIn(child);
    result.insert(result.end(), below.begin(), below.end());
  }
  return result;
}

TEST(XMLNamespaces, RenamingADeclarationMovesNoNameToAnotherNamespace) {
  struct Row {
    std::string_view xml;  // the declaration is on <D> or <x:D>
    std::string_view from, to;
  };
  for (const auto& [xml, from, to] : {
           // The new prefix hides a declaration above that is used below, and on the element.
           Row{"<r xmlns:q='v'><D xmlns:p='u'><p:a/><q:b q:x='1'><q:c/></q:b></D></r>", "p", "q"},
           Row{"<r xmlns:q='v'><q:D xmlns:p='u' q:x='1' p:y='2'><p:a/></q:D></r>", "p", "q"},
           Row{"<r xmlns='v'><D xmlns:p='u' p:y='2'><p:a/><b/></D></r>", "p", ""},
           // The new prefix means something else further down.
           Row{"<D xmlns:p='u'><a xmlns:q='v' q:x='1' p:y='2'><p:b/><q:c/></a></D>", "p", "q"},
           Row{"<D xmlns:p='u'><p:a xmlns:q='v' q:x='1'><p:b/></p:a></D>", "p", "q"},
           Row{"<p:D xmlns:p='u'><a xmlns='v'><p:b p:x='1'/><c/></a></p:D>", "p", ""},
           // The old prefix means something else above, and further down.
           Row{"<r xmlns:p='o'><p:D xmlns:p='u'><p:a/></p:D><p:b/></r>", "p", "q"},
           Row{"<p:D xmlns:p='u'><p:a xmlns:p='v'><p:b/></p:a></p:D>", "p", "q"},
           // The new prefix is declared on the same element.
           Row{"<p:D xmlns:p='u' xmlns:q='v' p:x='1' q:x='2'><q:a/><p:b/></p:D>", "p", "q"},
           Row{"<q:D xmlns:p='u' xmlns:q='v'><q:a><q:b/></q:a><p:b/></q:D>", "p", "q"},
           Row{"<D xmlns='v' xmlns:p='u' xmlns:q='v'><a/><p:b p:x='1'/></D>", "p", ""},
           // From the default namespace, and to it.
           Row{"<D xmlns='u' x='1'><a/><b xmlns='v'><c/></b></D>", "", "p"},
           Row{"<r xmlns='o'><D xmlns='u' x='1'><a/></D></r>", "", "p"},
           Row{"<p:D xmlns:p='u' p:x='1'><p:a p:y='2'/></p:D>", "p", ""},
       }) {
    SCOPED_TRACE(xml);
    auto root = parsed(xml);
    auto element = root.localName() == "D" ? root : root.firstChild().asElement();
    auto declaration = element.namespaceForPrefix(from);
    ASSERT_TRUE(declaration);
    const auto before = namespacesIn(root);
    declaration.setName(to);
    EXPECT_EQ(namespacesIn(root), before);
    expectTextAgrees(root);
    EXPECT_EQ(element.namespaceForPrefix(to), declaration);
    EXPECT_EQ(declaration.stringValue(), "u");
  }
}

TEST(XMLNamespaces, ARenamedDeclarationReplacesTheOneOfThatPrefix) {
  auto root = parsed("<r xmlns:p='u' xmlns:q='v'><q:a/></r>");
  auto replaced = root.namespaceForPrefix("q");
  root.namespaceForPrefix("p").setName("q");
  EXPECT_FALSE(replaced.parent());
  EXPECT_EQ(replaced.stringValue(), "v");
  EXPECT_EQ(root.XMLString(), R"(<r xmlns:q="u"><q:a xmlns:q="v"></q:a></r>)");
}

TEST(XMLNamespaces, ARenamedDeclarationTakesInTheLiteralNamesOfItsNewPrefix) {
  auto root = parsed("<q:r xmlns:p='u' q:x='1' y='2'><q:a/><s:b xmlns:q='v'><q:c/></s:b></q:r>");
  root.namespaceForPrefix("p").setName("q");
  EXPECT_EQ(root.URI(), "u");
  EXPECT_EQ(root.localName(), "r");
  EXPECT_EQ(root.attributeForName("q:x").URI(), "u");
  EXPECT_FALSE(root.attributeForName("y").URI());
  EXPECT_EQ(root.elementForName("q:a").URI(), "u");
  EXPECT_FALSE(root.elementForName("s:b").URI());
  expectTextAgrees(root);
  auto plain = parsed("<r xmlns:p='u' y='2'><a/></r>");
  plain.namespaceForPrefix("p").setName("");
  EXPECT_EQ(plain.elementForName("a").URI(), "u");
  expectTextAgrees(plain);
}

TEST(XMLNamespaces, ARenamedDeclarationWithoutURIStaysTheDefaultOne) {
  auto root = parsed("<r xmlns='u'><a xmlns=''><b/></a></r>");
  const auto text = root.XMLString();
  root.firstChild().asElement().namespaceForPrefix("").setName("p");
  EXPECT_EQ(root.XMLString(), text);
}

}  // namespace
}  // namespace tarnwell
