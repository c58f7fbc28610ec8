#include <gtest/gtest.h>

#include "tarnwell/folders/Q.h"
#include "tarnwell/services/TWErrors.h"

namespace tarnwell {
namespace {

Q q(const TWKeywords& keywords) {
  TWError error;
  Q made = Q::withKeywords(keywords, &error);
  EXPECT_TRUE(made) << error;
  EXPECT_FALSE(error);
  return made;
}

/// Why the query cannot be made.
std::string refusal(const TWQueries& queries, const TWKeywords& keywords) {
  TWError error;
  EXPECT_FALSE(Q::withQueries(queries, keywords, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
  return error.message();
}
std::string refusal(const TWKeywords& keywords) { return refusal({}, keywords); }

TEST(Q, OneKeywordWithoutLookupIsALeaf) {
  const Q made = q({{"subject", "x"}});
  EXPECT_TRUE(made.isLeaf());
  EXPECT_FALSE(made.isEmpty());
  EXPECT_EQ(made.fieldPath(), "subject");
  EXPECT_EQ(made.op(), "==");
  EXPECT_EQ(made.value(), TWValue("x"));
  EXPECT_EQ(made.connType(), "AND");
  EXPECT_EQ(made.queryString(), std::nullopt);
}

TEST(Q, ALookupBecomesTheOperatorOfTheLeaf) {
  const Q made = q({{"size__gt", 5}});
  EXPECT_EQ(made.fieldPath(), "size");
  EXPECT_EQ(made.op(), ">");
  EXPECT_TRUE(made.children().empty());
}

TEST(Q, EveryLookupHasItsOperator) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"not", "!="},
      {"gt", ">"},
      {"gte", ">="},
      {"lt", "<"},
      {"lte", "<="},
      {"exact", "exact"},
      {"iexact", "iexact"},
      {"contains", "contains"},
      {"icontains", "icontains"},
      {"startswith", "startswith"},
      {"istartswith", "istartswith"},
      {"exists", "exists"},
  };
  for (const auto& [lookup, op] : rows) {
    EXPECT_EQ(Q::lookupToOp(lookup), op);
    EXPECT_EQ(q({{"subject__" + lookup, "x"}}).op(), op);
  }
  for (const char* none : {"range", "in", "foo", ""}) EXPECT_EQ(Q::lookupToOp(none), std::nullopt);
}

TEST(Q, AnUnknownLookupIsPartOfThePath) {
  const Q made = q({{"subject__foo", "x"}});
  EXPECT_EQ(made.fieldPath(), "subject__foo");
  EXPECT_EQ(made.op(), "==");
}

TEST(Q, ALookupAfterALabelIsPartOfThePath) {
  const Q made = q({{"phone_numbers__BusinessPhone__startswith", "+49"}});
  EXPECT_EQ(made.fieldPath(), "phone_numbers__BusinessPhone__startswith");
  EXPECT_EQ(made.op(), "==");
}

TEST(Q, RangeIsTwoComparisonsJoinedByTheConnector) {
  const Q both = q({{"size__range", {1, 9}}});
  EXPECT_EQ(both.connType(), "AND");
  ASSERT_EQ(both.children().size(), 2U);
  EXPECT_EQ(both.children()[0].description(), "Q(size >= 1)");
  EXPECT_EQ(both.children()[1].description(), "Q(size <= 9)");
  EXPECT_EQ(q({{"size__range", {1, 9}}, {"conn_type", "OR"}}).connType(), "OR");
}

TEST(Q, RangeTakesAListOfExactlyTwo) {
  for (const auto& value : {TWValue::list({1}), TWValue::list({1, 2, 3}), TWValue(1), TWValue()})
    EXPECT_EQ(refusal({{"start__range", value}}),
              "Value of lookup start__range must have exactly 2 elements");
}

TEST(Q, InIsAnOrOfEqualities) {
  const Q made = q({{"categories__in", {"a", "b"}}});
  EXPECT_EQ(made.connType(), "OR");
  ASSERT_EQ(made.children().size(), 2U);
  EXPECT_EQ(made.children()[0].description(), "Q(categories == a)");
  EXPECT_EQ(made.children()[1].description(), "Q(categories == b)");
}

TEST(Q, InOfOneIsALeafAndInOfNoneIsEmpty) {
  EXPECT_EQ(q({{"categories__in", {"a"}}}), q({{"categories", "a"}}));
  EXPECT_TRUE(q({{"categories__in", TWValue::list({})}}).isEmpty());
}

TEST(Q, InTakesAList) {
  EXPECT_EQ(refusal({{"categories__in", "a"}}), "Value of lookup categories__in must be iterable");
}

TEST(Q, ContainsWithAListIsAnAndOfEqualities) {
  const Q made = q({{"categories__contains", {"a", "b"}}});
  EXPECT_EQ(made.connType(), "AND");
  ASSERT_EQ(made.children().size(), 2U);
  EXPECT_EQ(made.children()[0].op(), "==");
  EXPECT_EQ(q({{"subject__contains", "a"}}).op(), "contains");
}

TEST(Q, OtherLookupsTakeSingleValues) {
  EXPECT_EQ(refusal({{"subject__icontains", {"a", "b"}}}),
            "Value for filter on field path subject must be a single value");
}

TEST(Q, ExistsWithoutAValueComparesToOne) {
  const Q made = q({{"subject__exists", TWValue()}});
  EXPECT_EQ(made.fieldPath(), "subject");
  EXPECT_EQ(made.op(), "exists");
  EXPECT_EQ(made.value(), TWValue(1));
  EXPECT_EQ(q({{"subject__exists", "x"}}).value(), TWValue("x"));
}

TEST(Q, AFilterNeedsOneValueThatCanBeWritten) {
  EXPECT_EQ(refusal({{"subject", TWValue()}}),
            "Value for filter on field path subject cannot be None");
  EXPECT_EQ(refusal({{"subject__contains", TWValue()}}),
            "Value for filter on field path subject cannot be None");
  EXPECT_EQ(refusal({{"subject", {"a", "b"}}}),
            "Value for filter on field path subject must be a single value");
  EXPECT_EQ(refusal({{"subject", TWData{1}}}),
            "Value for filter on field path subject is unsupported");
}

TEST(Q, TheFirstKeywordThatIsBadIsTold) {
  const std::string noValue = "Value for filter on field path subject cannot be None";
  const std::string noRange = "Value of lookup size__range must have exactly 2 elements";
  EXPECT_EQ(refusal({{"subject", TWValue()}, {"size__range", 1}}), noValue);
  EXPECT_EQ(refusal({{"size__range", 1}, {"subject", TWValue()}}), noRange);
}

TEST(Q, SeveralKeywordsAreChildrenInTheCallersOrder) {
  const Q made = q({{"subject", "x"}, {"body", "y"}});
  ASSERT_EQ(made.children().size(), 2U);
  EXPECT_EQ(made.children()[0].fieldPath(), "subject");
  EXPECT_EQ(made.children()[1].fieldPath(), "body");
  EXPECT_EQ(made.fieldPath(), std::nullopt);
}

TEST(Q, TheConnectorIsTakenFromTheKeywords) {
  const TWKeywords keywords = {{"conn_type", "OR"}, {"subject", "x"}, {"body", "y"}};
  const Q made = q(keywords);
  EXPECT_EQ(made.connType(), "OR");
  EXPECT_EQ(made.children().size(), 2U);
  EXPECT_EQ(keywords.size(), 3U) << "the caller's keywords stay as they are";
  EXPECT_EQ(refusal({{"conn_type", "XOR"}, {"subject", "x"}}), "Connector XOR is not supported");
}

TEST(Q, ALeafMayBeANegation) {
  Q made = q({{"subject", "x"}, {"conn_type", "NOT"}});
  EXPECT_TRUE(made.isLeaf());
  EXPECT_EQ(made.connType(), "NOT");
  EXPECT_EQ(made.qNot(), made);
  EXPECT_EQ(made.connType(), "AND");
  EXPECT_EQ(made.op(), "==");
}

TEST(Q, ANegationOfSeveralBecomesTheirAnd) {
  Q made = q({{"subject", "x"}, {"body", "y"}, {"conn_type", "NOT"}});
  EXPECT_EQ(made.qNot(), q({{"subject", "x"}, {"body", "y"}}));
  EXPECT_EQ(made.connType(), "AND") << "the node itself";
  EXPECT_EQ(made.children().size(), 2U);
}

TEST(Q, AKeywordExpandsToTheChildrenThatItAdds) {
  Q node;
  const auto expand = [&](std::string_view key, const TWValue& value) {
    TWError error;
    const auto children = node.getChildrenForKey(key, value, false, &error);
    EXPECT_TRUE(children) << error;
    std::vector<std::string> printed;
    for (const auto& child : children.value_or(std::vector<Q>()))
      printed.push_back(child.description());
    return printed;
  };
  using Printed = std::vector<std::string>;
  EXPECT_EQ(expand("size__gt", 5), Printed{"Q(size > 5)"});
  EXPECT_EQ(expand("size__range", TWValue::list({1, 9})),
            (Printed{"Q(size >= 1)", "Q(size <= 9)"}));
  EXPECT_EQ(expand("size__in", TWValue::list({1, 2})),
            Printed{"Q([[OR], [Q(size == 1), size], [Q(size == 2), size]])"});
  EXPECT_TRUE(node.isEmpty()) << "left alone";
}

TEST(Q, ANodeTakesOverAComparisonThatIsItsOnlyArgument) {
  Q node;
  const auto children = node.getChildrenForKey("size__gt", 5, true);
  ASSERT_TRUE(children);
  EXPECT_TRUE(children->empty());
  EXPECT_EQ(node, q({{"size__gt", 5}}));
}

TEST(Q, AKeywordThatCannotBeExpandedGivesNoChildren) {
  Q node, none(nullptr);
  TWError error;
  EXPECT_FALSE(node.getChildrenForKey("size__range", 1, false, &error));
  EXPECT_EQ(error.message(), "Value of lookup size__range must have exactly 2 elements");
  error = {};
  EXPECT_FALSE(node.getChildrenForKey("size__range", TWValue::list({1, TWValue()}), false, &error));
  EXPECT_EQ(error.message(), "Value for filter on field path size cannot be None");
  EXPECT_FALSE(none.getChildrenForKey("size", 1, true));
}

TEST(Q, AQueryThatStandsAloneIsTakenAsItIs) {
  const Q or_ = q({{"subject", "x"}, {"body", "y"}, {"conn_type", "OR"}});
  const Q made = Q::withQueries({or_}, {});
  EXPECT_EQ(made, or_);
  EXPECT_EQ(made.connType(), "OR");
}

TEST(Q, EmptyQueriesAreLeftOut) {
  EXPECT_TRUE(Q().isEmpty());
  EXPECT_TRUE(Q::withQueries({Q(), Q()}, {}).isEmpty());
  const Q leaf = q({{"subject", "x"}});
  EXPECT_EQ(Q::withQueries({Q(), leaf}, {}), leaf);
}

TEST(Q, ATextThatStandsAloneIsAQueryString) {
  const Q made = Q::withQueries({"from:ann"}, {});
  EXPECT_EQ(made.queryString(), "from:ann");
  EXPECT_FALSE(made.isEmpty());
  EXPECT_EQ(Q::withQueries({made}, {}).queryString(), "from:ann");
  EXPECT_EQ(Q::withQueryString("from:ann"), made);
}

TEST(Q, OtherArgumentsMustBeQueries) {
  EXPECT_EQ(refusal({"from:ann"}, {{"subject", "x"}}),
            "Non keyword arg from:ann must be a q object");
  EXPECT_EQ(refusal({Q::withKeywords({{"subject", "x"}}), "b"}, {}),
            "Non keyword arg b must be a q object");
  EXPECT_EQ(refusal({5}, {}), "Non keyword arg 5 must be a q object");
  // A query that could not be made is not left out as one that restricts nothing is.
  const Q leaf = q({{"subject", "x"}});
  for (const TWQueries& queries : {TWQueries{Q(nullptr)}, TWQueries{Q(nullptr), leaf}})
    EXPECT_EQ(refusal(queries, {}), "Non keyword arg (null) must be a q object");
}

TEST(Q, AQueryStringStandsAlone) {
  const Q text = Q::withQueryString("from:ann");
  EXPECT_EQ(refusal({text}, {{"subject", "x"}}),
            "A query string cannot be combined with other restrictions: (Q(from:ann)), "
            "{subject = x}");
  TWError error;
  EXPECT_FALSE(text.qAnd(q({{"subject", "x"}}), &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
}

TEST(Q, CombiningLeavesTheOperandsAlone) {
  const Q a = q({{"subject", "x"}}), b = q({{"body", "y"}});
  const Q both = a.qAnd(b), either = a.qOr(b);
  EXPECT_EQ(both.connType(), "AND");
  EXPECT_EQ(either.connType(), "OR");
  EXPECT_EQ(both.children().size(), 2U);
  EXPECT_EQ(a, q({{"subject", "x"}}));
  EXPECT_EQ(a.qAnd(Q()), a);
  EXPECT_EQ(Q().qOr(b), b);
}

TEST(Q, NegatingAComparisonInvertsItInPlace) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"==", "!="}, {"!=", "=="}, {">", "<="}, {">=", "<"}, {"<", ">="}, {"<=", ">"}};
  for (const auto& [before, after] : rows) {
    Q leaf = q({{"size", 5}});
    leaf.setOp(before);
    EXPECT_EQ(leaf.qNot().op(), after);
    EXPECT_EQ(leaf.op(), after) << "the node itself";
  }
}

TEST(Q, NegatingOtherNodesWrapsThem) {
  for (const char* lookup :
       {"exact", "iexact", "contains", "icontains", "startswith", "istartswith", "exists"}) {
    Q leaf = q({{std::string("subject__") + lookup, "a"}});
    const Q negation = leaf.qNot();
    EXPECT_EQ(negation.connType(), "NOT");
    ASSERT_EQ(negation.children().size(), 1U);
    EXPECT_EQ(negation.children()[0], leaf);
    EXPECT_EQ(leaf.connType(), "AND");
  }
  Q both = q({{"subject", "x"}, {"body", "y"}});
  EXPECT_EQ(both.qNot().children().size(), 1U);
  EXPECT_EQ(both.connType(), "AND");
}

TEST(Q, NegatingTwiceGivesTheNodeBack) {
  Q leaf = q({{"subject__contains", "a"}});
  EXPECT_EQ(leaf.qNot().qNot(), leaf);
  EXPECT_TRUE(leaf.qNot().qNot().isLeaf());
}

TEST(Q, ANegationKeepsItsSingleChild) {
  const Q both = q({{"subject", "x"}, {"body", "y"}});
  const Q negation = Q::withQueries({both}, {{"conn_type", "NOT"}});
  EXPECT_EQ(negation.connType(), "NOT");
  EXPECT_EQ(negation.children().size(), 1U);
}

TEST(Q, NegatingAQueryStringKeepsIt) {
  Q text = Q::withQueryString("from:ann");
  EXPECT_EQ(text.qNot().queryString(), "from:ann");
}

TEST(Q, OperatorsWorkOnCopies) {
  const Q a = q({{"subject", "x"}}), b = q({{"body", "y"}});
  const Q both = a & b;
  Q changed = a;
  changed.setValue("z");
  EXPECT_EQ(a.value(), TWValue("z")) << "a handle means the same node";
  EXPECT_EQ(both.children()[0].value(), TWValue("x"));
  EXPECT_EQ((~a).op(), "!=");
  EXPECT_EQ(a.op(), "==");
  EXPECT_EQ((a | b).connType(), "OR");
}

TEST(Q, TheNullQueryStaysNull) {
  Q none(nullptr);
  EXPECT_FALSE(none);
  EXPECT_FALSE(none & Q());
  EXPECT_FALSE(Q() | none);
  EXPECT_FALSE(~none);
  EXPECT_TRUE(!none);
  EXPECT_FALSE(none.isEmpty());
  EXPECT_FALSE(none.isLeaf());
  EXPECT_FALSE(none.copy());
  EXPECT_EQ(none.fieldPath(), std::nullopt);
  EXPECT_EQ(none.expr(), std::nullopt);
  EXPECT_EQ(none.description(), "(null)");
  TWError error;
  EXPECT_FALSE(none.qAnd(Q(), &error));
  EXPECT_FALSE(none.qNot(&error));
  EXPECT_FALSE(error) << error;
  none.setFieldPath("subject");
  none.promote();
  EXPECT_FALSE(none);
  EXPECT_FALSE(none.addChild(Q()));
}

TEST(Q, JoiningANullQueryIsRefused) {
  const TWError refusal(TWErrorCode::ErrorValueOutOfRange,
                        "Non keyword arg (null) must be a q object");
  for (const Q& each : {Q(), q({{"subject", "x"}})}) {
    TWError error;
    EXPECT_FALSE(each.qAnd(nullptr, &error));
    EXPECT_EQ(error, refusal);
    error = {};
    EXPECT_FALSE(each.qOr(nullptr, &error));
    EXPECT_EQ(error, refusal);
  }
}

TEST(Q, ANodeCannotComeToLieBelowItself) {
  Q top = q({{"subject", "x"}, {"body", "y"}});
  Q middle;
  ASSERT_TRUE(middle.addChild(top));
  EXPECT_FALSE(top.addChild(middle));
  EXPECT_FALSE(top.addChild(top));
  EXPECT_FALSE(top.addChild(nullptr));
  EXPECT_EQ(top.children().size(), 2U);
}

TEST(Q, ExpressionsAreMadeOfTheChildrensDescriptions) {
  EXPECT_EQ(Q().expr(), std::nullopt);
  EXPECT_EQ(Q::withQueryString("from:ann").expr(), "from:ann");
  EXPECT_EQ(q({{"subject__contains", "a b"}}).expr(), "subject contains a b");
  const Q both = q({{"subject", "x"}, {"body", "y"}});
  EXPECT_EQ(both.expr(), "Q(body == y) AND Q(subject == x)");
  EXPECT_EQ(q({{"subject", "x"}, {"body", "y"}, {"conn_type", "OR"}}).expr(),
            "Q(body == y) OR Q(subject == x)");
  EXPECT_EQ(q({{"subject", "x"}, {"body", "y"}, {"conn_type", "NOT"}}).expr(),
            "NOT (Q(body == y) AND Q(subject == x))");
  EXPECT_EQ((~q({{"subject__contains", "a"}})).expr(), "NOT Q(subject contains a)");
  EXPECT_EQ(q({{"subject", "x"}, {"conn_type", "NOT"}}).expr(), "NOT subject == x");
}

TEST(Q, DescriptionsListTheConnectorAndTheChildrenByPath) {
  EXPECT_EQ(Q::withQueryString("from:ann").description(), "Q(from:ann)");
  EXPECT_EQ(q({{"subject", "x"}, {"body", "y"}}).description(),
            "Q([[AND], [Q(body == y), body], [Q(subject == x), subject]])");
  EXPECT_EQ((~q({{"subject__contains", "a"}})).description(),
            "Q([[NOT], [Q(subject contains a), subject]])");
  EXPECT_EQ(Q().description(), "Q((null) (null) (null))");
  Q around;
  ASSERT_TRUE(around.addChild(q({{"subject", "x"}})));
  EXPECT_EQ(around.description(), "Q([[Q(subject == x), subject]])");
  const Q either = q({{"subject", "x"}, {"size", 1}, {"conn_type", "OR"}});
  EXPECT_EQ(Q::withQueries({q({{"body", "y"}}), either}, {}).description(),
            "Q([[AND], [Q([[OR], [Q(size == 1), size], [Q(subject == x), subject]]), ], "
            "[Q(body == y), body]])");
}

TEST(Q, QueriesThatPrintAlikeAreEqual) {
  const Q a = q({{"subject", "x"}, {"body", "y"}}), b = q({{"body", "y"}, {"subject", "x"}});
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_NE(a, q({{"subject", "x"}, {"body", "z"}}));
  // A leaf's own negation is not printed, deliberately.
  EXPECT_EQ(q({{"subject", "x"}, {"conn_type", "NOT"}}), q({{"subject", "x"}}));
}

TEST(Q, AThousandLevelsArePrintedAndCopied) {
  Q deep = q({{"subject", "x"}});
  for (int level = 1; level < 1000; ++level) deep = deep.qAnd(q({{"body", "y"}}));
  EXPECT_EQ(deep.copy(), deep);
  EXPECT_GT(deep.description().size(), 10'000U);
}

TEST(Q, LongChainsNeitherPrintNorOverflowTheStack) {
  Q deep = q({{"subject", "x"}});
  for (int level = 1; level < 100'000; ++level) deep = deep.qAnd(q({{"body", "y"}}));
  EXPECT_EQ(deep.description(), "Q(nested 100000 levels deep)");
  EXPECT_FALSE(deep.copy().isLeaf());
}

TEST(Q, UnknownFieldsAreNoticedOnlyWhenTheQueryIsSent) {
  EXPECT_TRUE(Q::withKeywords({{"nope", 1}}));
}

}  // namespace
}  // namespace tarnwell
