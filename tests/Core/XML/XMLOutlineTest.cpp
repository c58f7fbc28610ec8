// Documents of which only the upper part is kept.

#include <string>

#include <gtest/gtest.h>

#include "tarnwell/Core/XML/detail/XMLOutline.h"

namespace tarnwell::detail {
namespace {

std::string outlineOf(std::string_view xml, int depth) {
  return readOutline(xml, depth).rootElement().XMLString();
}

TEST(XMLOutline, HasNothingThatIsNestedDeeper) {
  const std::string text =
      "<a><b><c k=\"v\">1<d>2<e/><![CDATA[<3>]]><!--4--><?five?>&amp;</d>6</c><c/></b><b>7</b></a>";
  EXPECT_EQ(outlineOf(text, 1), "<a></a>");
  EXPECT_EQ(outlineOf(text, 2), "<a><b></b><b>7</b></a>");
  EXPECT_EQ(outlineOf(text, 3), "<a><b><c k=\"v\">16</c><c></c></b><b>7</b></a>");
  EXPECT_EQ(outlineOf(text, 5), NKXMLElement::withXMLString(text).XMLString());
}

TEST(XMLOutline, KeepsAllKindsOfNodesThatAreNotDeeper) {
  const std::string text = "<!--0--><a>1<![CDATA[<2>]]><!--3--><?four 4?>&amp;</a>";
  EXPECT_EQ(readOutline(text, 1).XMLString(), NKXMLDocument::withXMLString(text).XMLString());
}

TEST(XMLOutline, KnowsTheNamespaces) {
  const auto root = readOutline("<a xmlns:p=\"u\"><p:b><p:c/></p:b></a>", 2).rootElement();
  EXPECT_TRUE(root.elementForName("b", "u"));
  EXPECT_FALSE(root.elementForName("b", "u").elementForName("c", "u"));
}

TEST(XMLOutline, CanBeHadExactlyOfWhatParses) {
  std::string tooDeep;
  for (int i = 0; i < 257; ++i) tooDeep.insert(0, "<a>").append("</a>");
  const auto deepest = tooDeep.substr(3, tooDeep.size() - 7);
  for (const std::string& text :
       {std::string("<a><b><c/></b></a>"), std::string("<a><b><c></b></a>"),
        std::string("<a><b><c></d></b></a>"), std::string("<a><b><c d='1' d='2'/></b></a>"),
        std::string("<a><b><c>&nothing;</c></b></a>"), std::string("<a><b><c>\x01</c></b></a>"),
        std::string("<a><b><c>]]></c></b></a>"), std::string("<a><b><c/></b></a><d/>"), tooDeep,
        deepest, std::string()}) {
    for (const int depth : {1, 2, 3}) {
      TWError error;
      TWError ofAll;
      EXPECT_EQ(static_cast<bool>(readOutline(text, depth, &error)),
                static_cast<bool>(NKXMLDocument::withXMLString(text, 0, &ofAll)))
          << text;
      EXPECT_EQ(error, ofAll) << text;
    }
  }
  EXPECT_TRUE(readOutline(deepest, 1));
  EXPECT_FALSE(readOutline(tooDeep, 1));
}

}  // namespace
}  // namespace tarnwell::detail
