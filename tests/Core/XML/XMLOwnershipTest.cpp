#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

#include "tests/support/XMLMatchers.h"

// Most of what these show is shown by the address sanitizer: that nothing is freed too early, too
// often or never.

namespace tarnwell {
namespace {

using test::IsWellFormedXML;

NKXMLElement parsed(std::string_view xml) {
  return NKXMLDocument::withXMLString(xml).rootElement();
}

TEST(XMLOwnership, TheTreeLivesAsLongAsAnyHandleIntoIt) {
  auto root = NKXMLElement::withName("r");
  auto child = NKXMLElement::withName("c");
  root.addChild(child);
  root = NKXMLElement();
  EXPECT_EQ(child.parent().name(), "r");
  root = child.parent().asElement();
  child = NKXMLElement();
  EXPECT_EQ(root.XMLString(), "<r><c></c></r>");
}

TEST(XMLOwnership, ANodeOutlivesTheDocumentThatItWasParsedIn) {
  auto text = parsed("<r><a>some text</a></r>").elementForName("a").firstChild();
  EXPECT_EQ(text.stringValue(), "some text");
  text.detach();
  EXPECT_EQ(text.stringValue(), "some text");
}

TEST(XMLOwnership, DetachingTakesTheNodeOutOnBothSides) {
  auto document = NKXMLDocument::withXMLString("<r><a/><b/><c/></r>");
  auto root = document.rootElement();
  auto b = root.elementForName("b");
  b.detach();
  EXPECT_FALSE(b.parent());
  EXPECT_FALSE(b.rootDocument());
  EXPECT_FALSE(b.nextSibling());
  EXPECT_FALSE(b.previousSibling());
  EXPECT_EQ(root.XMLString(), "<r><a></a><c></c></r>");
  EXPECT_EQ(root.lastChild().previousSibling(), root.firstChild());
  b.detach();
  root.firstChild().detach();
  root.lastChild().detach();
  EXPECT_EQ(root.childCount(), 0U);
  EXPECT_FALSE(root.lastChild());
}

TEST(XMLOwnership, FormerContentStaysUsableWhenTheTextIsReplaced) {
  auto root = parsed("<r>short<a>xx</a><!--k--></r>");
  auto text = root.childAtIndex(0);
  auto element = root.childAtIndex(1);
  root.setStringValue("new");
  EXPECT_EQ(root.XMLString(), "<r>new</r>");
  EXPECT_EQ(text.stringValue(), "short");
  EXPECT_EQ(element.XMLString(), "<a>xx</a>");
  EXPECT_FALSE(text.parent());
  root.addChild(element);
  EXPECT_EQ(root.XMLString(), "<r>new<a>xx</a></r>");
}

TEST(XMLOwnership, PartsOfSeveralDocumentsCanBeOneTree) {
  // Names and short texts of a parsed document live in its dictionary, others in the node itself.
  auto target = NKXMLElement::withName("all");
  auto inDocument = parsed("<into/>");
  for (int i = 0; i < 10; ++i) {
    auto part = parsed(
        "<p:part xmlns:p='u' p:a='1' xml:id='x'>ab<long>some longer text</long> <b/></p:part>");
    part.detach();
    (i % 2 == 0 ? target : inDocument).addChild(part);
  }
  target.setName("renamed");
  for (const auto& part : target.elementsForName("p:part")) {
    EXPECT_EQ(part.elementForName("long").stringValue(), "some longer text");
    EXPECT_EQ(part.attributeForName("xml:id").stringValue(), "x");
  }
  inDocument.detach();
  target.addChild(inDocument);
  EXPECT_THAT(target.XMLString(), IsWellFormedXML());
  auto part = inDocument.elementForName("p:part");
  target = NKXMLElement();
  inDocument = NKXMLElement();
  part.detach();
  part.setName("other");
  part.setStringValue("t");
  EXPECT_EQ(part.elementForName("long").stringValue(), std::nullopt);
  EXPECT_EQ(part.stringValue(), "t");
}

TEST(XMLOwnership, AttributesMoveBetweenDocuments) {
  auto from = parsed("<r a='1' b='22'/>");
  auto into = NKXMLElement::withName("o");
  for (auto& attribute : from.attributes()) {
    attribute.detach();
    into.addAttribute(attribute);
  }
  from = NKXMLElement();
  EXPECT_EQ(into.XMLString(), R"(<o a="1" b="22"></o>)");
}

TEST(XMLOwnership, GroupsJoinInAnyOrder) {
  std::vector<NKXMLElement> handles;
  auto inner = NKXMLElement::withName("e");
  handles.push_back(inner);
  for (int i = 0; i < 1000; ++i) {
    auto outer = NKXMLElement::withName("e");
    outer.addChild(inner);
    handles.push_back(outer);
    inner = outer;
  }
  EXPECT_EQ(handles.front().level(), 1000U);
  while (handles.size() > 1) handles.pop_back();
  inner = NKXMLElement();
  EXPECT_EQ(handles.front().level(), 1000U);
}

/// Does random things to a handful of trees, and keeps a model of who is whose parent.
class Stress {
 public:
  explicit Stress(unsigned seed) : random_(seed) {}

  void run(int steps) {
    for (int i = 0; i < steps; ++i) step();
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  NKXMLNode& any() { return nodes_[below(nodes_.size())]; }
  std::string word() { return std::string(1 + below(20), static_cast<char>('a' + below(26))); }

  static bool isInside(const NKXMLNode& node, const NKXMLNode& top) {
    for (auto up = node; up; up = up.parent()) {
      if (up == top) return true;
    }
    return false;
  }

  void step() {
    if (nodes_.size() > 60) nodes_.erase(nodes_.begin() + static_cast<long>(below(nodes_.size())));
    if (nodes_.size() < 3) return make();
    switch (below(10)) {
      case 0:
        return make();
      case 1:
      case 2:
        return attach();
      case 3:
        return any().detach();
      case 4:
        return static_cast<void>(
            nodes_.erase(nodes_.begin() + static_cast<long>(below(nodes_.size()))));
      case 5:
        return walk();
      case 6:
        return change();
      case 7:
        nodes_.push_back(any().copy());
        return;
      case 8:
        return query();
      default: {
        const auto node = any();
        if (node.kind() == NKXMLElementKind) {
          EXPECT_THAT("<x>" + node.XMLString() + "</x>", IsWellFormedXML());
        }
        return;
      }
    }
  }

  void make() {
    switch (below(5)) {
      case 0:
        nodes_.emplace_back(
            parsed("<p:r xmlns:p='u' xmlns='d' p:x='1'><a>ab<b xml:id='i'/></a>"
                   "<!--k--><![CDATA[s]]><?q z?><p:c y='2'>longer text</p:c></p:r>"));
        return;
      case 1:
        nodes_.emplace_back(NKXMLNode::textWithStringValue(word()));
        return;
      case 2:
        nodes_.emplace_back(NKXMLNode::attributeWithName("q:" + word(), word(), word()));
        return;
      case 3:
        nodes_.emplace_back(NKXMLNode::namespaceWithName(below(2) == 0 ? "p" : "", word()));
        return;
      default:
        nodes_.emplace_back(NKXMLElement::withNameURI("p:" + word(), word()));
        return;
    }
  }

  void attach() {
    auto parent = any().asElement();
    auto child = any();
    if (!parent || !child || child.parent() || isInside(parent, child)) return;
    switch (child.kind()) {
      case NKXMLAttributeKind:
        return parent.addAttribute(child);
      case NKXMLNamespaceKind:
        return parent.addNamespace(child);
      case NKXMLDocumentKind:
      case NKXMLDTDKind:
        return;
      default:
        parent.insertChild(child, below(3));
        EXPECT_EQ(child.parent(), parent);
    }
  }

  void walk() {
    auto node = any();
    for (int i = 0; i < 5 && node; ++i) {
      switch (below(4)) {
        case 0:
          node = node.firstChild();
          break;
        case 1:
          node = node.parent();
          break;
        case 2: {
          const auto attributes = node.asElement().attributes();
          if (!attributes.empty()) node = attributes[below(attributes.size())];
          break;
        }
        default:
          node = node.nextNode();
          break;
      }
      if (node) nodes_.push_back(node);
    }
  }

  void change() {
    auto node = any();
    auto element = node.asElement();
    switch (below(6)) {
      case 0:
        if (node.kind() != NKXMLCommentKind && node.kind() != NKXMLNamespaceKind)
          node.setStringValue(word());
        return;
      case 1:
        if (node.kind() == NKXMLElementKind) node.setName(below(2) == 0 ? word() : "p:" + word());
        return;
      case 2:
        return element.addAttributeWithName("same", word());
      case 3:
        return element.setXmlns(word());
      case 4:
        return element.removeNamespaceForPrefix(below(2) == 0 ? "p" : "");
      default:
        return element.removeAttributeForName("same");
    }
  }

  void query() {
    const auto node = any();
    static_cast<void>(node.stringValue());
    static_cast<void>(node.URI());
    static_cast<void>(node.index() + node.level());
    EXPECT_TRUE(node.nodesForXPath("descendant-or-self::node()/@*"));
    if (node.parent() && node.kind() != NKXMLAttributeKind && node.kind() != NKXMLNamespaceKind) {
      EXPECT_EQ(node.parent().childAtIndex(node.index()), node);
    }
  }

  std::mt19937 random_;
  std::vector<NKXMLNode> nodes_;
};

TEST(XMLOwnership, AnyOrderOfAttachingDetachingAndReleasingIsSafe) {
  for (unsigned seed = 1; seed <= 40; ++seed) Stress(seed).run(1500);
}

}  // namespace
}  // namespace tarnwell
