// What queries are written as for a folder.

#include <chrono>

#include <gtest/gtest.h>

#include "tarnwell/folders/Q.h"
#include "tarnwell/folders/TWRestriction.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWEnumFields.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/time/TWDateTime.h"

#include "tests/schema/VersionedField.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;

class QXMLTest : public testing::Test {
 protected:
  /// The restriction of a search of the inbox.
  [[nodiscard]] std::string xml(const Q& q) const { return xml(q, *inbox); }
  [[nodiscard]] static std::string xml(const Q& q, const TWFolder& folder) {
    TWError error;
    const auto element = q.toXML(folder, nullptr, &error);
    EXPECT_FALSE(error) << error;
    return element.XMLString();
  }
  [[nodiscard]] std::string xml(const TWKeywords& keywords) const {
    return xml(Q::withKeywords(keywords));
  }
  [[nodiscard]] std::string contactsXML(const TWKeywords& keywords) const {
    return xml(Q::withKeywords(keywords), *contacts);
  }
  /// Why the query cannot be sent to the folder.
  static TWError refusal(const TWKeywords& keywords, const TWFolder& folder,
                         const TWVersion* version = nullptr) {
    TWError error;
    EXPECT_FALSE(Q::withKeywords(keywords).toXML(folder, version, &error));
    return error;
  }

  std::shared_ptr<TWFolder> inbox = TWInbox::withDict();
  std::shared_ptr<TWFolder> contacts = TWContacts::withDict();
};

std::string restriction(const std::string& inner) {
  return "<m:Restriction>" + inner + "</m:Restriction>";
}
std::string path(const std::string& uri) { return "<t:FieldURI FieldURI=\"" + uri + "\"/>"; }
std::string constant(const std::string& value) { return "<t:Constant Value=\"" + value + "\"/>"; }
std::string wrapped(const std::string& value) {
  return "<t:FieldURIOrConstant>" + constant(value) + "</t:FieldURIOrConstant>";
}
std::string comparison(const std::string& name, const std::string& uri, const std::string& value) {
  return "<t:" + name + ">" + path(uri) + wrapped(value) + "</t:" + name + ">";
}
std::string contains(const std::string& uri, const std::string& value) {
  return "<t:Contains ContainmentMode=\"Substring\" ContainmentComparison=\"Exact\">" + path(uri) +
         constant(value) + "</t:Contains>";
}

TEST_F(QXMLTest, ComparisonsWrapTheirConstant) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"size", "t:IsEqualTo"},         {"size__not", "t:IsNotEqualTo"},
      {"size__gt", "t:IsGreaterThan"}, {"size__gte", "t:IsGreaterThanOrEqualTo"},
      {"size__lt", "t:IsLessThan"},    {"size__lte", "t:IsLessThanOrEqualTo"},
      {"size__exists", "t:Exists"}};
  for (const auto& [key, element] : rows)
    EXPECT_THAT(xml({{key, 1}}), EqualsXML(restriction("<" + element + ">" + path("item:Size") +
                                                       wrapped("1") + "</" + element + ">")));
}

TEST_F(QXMLTest, TheConstantOfExistsIsNoValueOfTheField) {
  EXPECT_THAT(xml({{"subject__exists", TWValue()}}),
              EqualsXML(restriction(comparison("Exists", "item:Subject", "1"))));
  EXPECT_THAT(xml({{"size__exists", "x"}}),
              EqualsXML(restriction(comparison("Exists", "item:Size", "x"))));
}

TEST_F(QXMLTest, ContainmentHoldsItsConstantItself) {
  const std::vector<std::array<std::string, 3>> rows = {
      {"exact", "FullString", "Exact"},    {"iexact", "FullString", "IgnoreCase"},
      {"contains", "Substring", "Exact"},  {"icontains", "Substring", "IgnoreCase"},
      {"startswith", "Prefixed", "Exact"}, {"istartswith", "Prefixed", "IgnoreCase"}};
  for (const auto& [lookup, mode, comparison] : rows)
    EXPECT_THAT(xml({{"subject__" + lookup, "a"}}),
                EqualsXML(restriction("<t:Contains ContainmentMode=\"" + mode +
                                      "\" ContainmentComparison=\"" + comparison + "\">" +
                                      path("item:Subject") + constant("a") + "</t:Contains>")));
}

TEST_F(QXMLTest, ConnectorsHaveNoAttributes) {
  EXPECT_THAT(Q::connToXML("AND").XMLString(), EqualsXML("<t:And/>"));
  EXPECT_THAT(Q::connToXML("OR").XMLString(), EqualsXML("<t:Or/>"));
  EXPECT_THAT(Q::connToXML("NOT").XMLString(), EqualsXML("<t:Not/>"));
  EXPECT_FALSE(Q::connToXML("XOR"));
  EXPECT_FALSE(Q::opToXML("~"));
}

TEST_F(QXMLTest, ChildrenAreOrderedByTheirPath) {
  EXPECT_THAT(xml({{"subject__contains", "s"}, {"body__contains", "b"}}),
              EqualsXML(restriction("<t:And>" + contains("item:Body", "b") +
                                    contains("item:Subject", "s") + "</t:And>")));
}

TEST_F(QXMLTest, ChildrenWithoutAPathComeFirst) {
  const Q either = Q::withKeywords({{"subject", "x"}, {"size", 1}, {"conn_type", "OR"}});
  EXPECT_THAT(xml(Q::withQueries({Q::withKeywords({{"body__contains", "b"}}), either}, {})),
              EqualsXML(restriction("<t:And><t:Or>" + comparison("IsEqualTo", "item:Size", "1") +
                                    comparison("IsEqualTo", "item:Subject", "x") + "</t:Or>" +
                                    contains("item:Body", "b") + "</t:And>")));
}

TEST_F(QXMLTest, ChildrenOfOnePathStayInTheirOrder) {
  const auto atLeast = comparison("IsGreaterThanOrEqualTo", "item:Size", "1");
  const auto atMost = comparison("IsLessThanOrEqualTo", "item:Size", "9");
  EXPECT_THAT(xml({{"size__range", {1, 9}}}),
              EqualsXML(restriction("<t:And>" + atLeast + atMost + "</t:And>")));
  EXPECT_THAT(xml({{"size__lte", 9}, {"size__gte", 1}}),
              EqualsXML(restriction("<t:And>" + atMost + atLeast + "</t:And>")));
}

TEST_F(QXMLTest, NegationsWrap) {
  EXPECT_THAT(xml(~Q::withKeywords({{"subject__contains", "a"}})),
              EqualsXML(restriction("<t:Not>" + contains("item:Subject", "a") + "</t:Not>")));
  // A leaf's own negation, too.
  EXPECT_THAT(xml({{"subject__contains", "a"}, {"conn_type", "NOT"}}),
              EqualsXML(restriction("<t:Not>" + contains("item:Subject", "a") + "</t:Not>")));
  EXPECT_THAT(xml({{"subject__contains", "a"}, {"body__contains", "b"}, {"conn_type", "NOT"}}),
              EqualsXML(restriction("<t:Not><t:And>" + contains("item:Body", "b") +
                                    contains("item:Subject", "a") + "</t:And></t:Not>")));
}

TEST_F(QXMLTest, ANegatedCompoundIsWrappedAsItIs) {
  const auto both = contains("item:Body", "b") + contains("item:Subject", "a");
  EXPECT_THAT(xml(~Q::withKeywords({{"subject__contains", "a"}, {"body__contains", "b"}})),
              EqualsXML(restriction("<t:Not><t:And>" + both + "</t:And></t:Not>")));
  EXPECT_THAT(xml(~Q::withKeywords(
                  {{"subject__contains", "a"}, {"body__contains", "b"}, {"conn_type", "OR"}})),
              EqualsXML(restriction("<t:Not><t:Or>" + both + "</t:Or></t:Not>")));
}

TEST_F(QXMLTest, AnEmptyQueryIsNoRestriction) {
  TWError error;
  EXPECT_FALSE(Q().toXML(*inbox, nullptr, &error));
  EXPECT_FALSE(Q().xmlElem(*inbox, nullptr, &error));
  EXPECT_FALSE(Q(nullptr).toXML(*inbox, nullptr, &error));
  EXPECT_FALSE(error);
}

TEST_F(QXMLTest, ANodeOfEmptyNodesAloneIsRefused) {
  const auto none = TWValue::list({});
  for (const auto& keywords :
       {TWKeywords{{"categories__in", none}, {"conn_type", "NOT"}},
        TWKeywords{{"categories__in", none}, {"subject__in", none}},
        TWKeywords{{"categories__in", none}, {"subject__in", none}, {"conn_type", "OR"}}}) {
    const auto error = refusal(keywords, *inbox);
    EXPECT_EQ(error,
              TWError(TWErrorCode::ErrorValueOutOfRange,
                      "Query restricts nothing: " + Q::withKeywords(keywords).description()));
  }
  // Beside one that is not, an empty one does no harm.
  EXPECT_THAT(xml({{"categories__in", none}, {"subject__contains", "a"}}),
              EqualsXML(restriction("<t:And>" + contains("item:Subject", "a") + "</t:And>")));
}

TEST_F(QXMLTest, AQueryStringReplacesTheRestriction) {
  EXPECT_THAT(xml(Q::withQueryString("from:ann <b>")),
              EqualsXML("<m:QueryString>from:ann &lt;b&gt;</m:QueryString>"));
}

TEST_F(QXMLTest, ConstantsAreTheTextsOfTheFieldsValues) {
  EXPECT_THAT(xml({{"is_read", true}}),
              EqualsXML(restriction("<t:IsEqualTo>" + path("message:IsRead") + wrapped("1") +
                                    "</t:IsEqualTo>")));
  EXPECT_THAT(xml({{"to_recipients", "ann@example.com"}}),
              EqualsXML(restriction("<t:IsEqualTo>" + path("message:ToRecipients") +
                                    wrapped("ann@example.com") + "</t:IsEqualTo>")))
      << "a single value of a list field";
  EXPECT_THAT(xml({{"subject", "a\x01z"}}),
              EqualsXML(restriction("<t:IsEqualTo>" + path("item:Subject") + wrapped("a?z") +
                                    "</t:IsEqualTo>")));
}

TEST_F(QXMLTest, DatesAndFalseAreWrittenInTheirOwnForms) {
  const TWInstant instant(std::chrono::hours(24 * 365));
  EXPECT_THAT(xml({{"datetime_received__gte", instant}}),
              EqualsXML(restriction(comparison("IsGreaterThanOrEqualTo", "item:DateTimeReceived",
                                               TWDateTime::iso8601String(instant)))));
  EXPECT_THAT(xml({{"is_read", false}}),
              EqualsXML(restriction(comparison("IsEqualTo", "message:IsRead", "0"))));
}

/// Items with an enumeration, which no item of the server's has.
class RankedItem : public detail::ElementKind<RankedItem, TWItem> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "RankedItem",
         .base = &TWItem::elementClass(),
         .elementName = "Item",
         .fields =
             [] {
               return TWFields{TWEnumField::withProps(
                   {.name = "rank", .fieldURI = "item:Rank", .enum_ = {"Low", "High"}})};
             },
         .make = &detail::makeElement<RankedItem>});
    return kClass;
  }
};

class RankedFolder : public detail::FolderKind<RankedFolder, TWFolder> {
 public:
  static const TWFolderClass& elementClass() {
    static const auto& kClass = *new TWFolderClass(
        {.name = "RankedFolder",
         .base = &TWFolder::elementClass(),
         .supportedItemModels =
             [] { return std::vector<const TWElementClass*>{&RankedItem::elementClass()}; },
         .make = &detail::makeElement<RankedFolder>});
    return kClass;
  }
};

TEST_F(QXMLTest, NamesOfAnEnumerationAreComparedByTheirNumber) {
  EXPECT_THAT(xml(Q::withKeywords({{"rank", "High"}}), *RankedFolder::withDict()),
              EqualsXML(restriction(comparison("IsEqualTo", "item:Rank", "2"))));
}

TEST_F(QXMLTest, ValuesAreValidatedByTheirField) {
  const auto error = refusal({{"reminder_minutes_before_start", -1}}, *inbox);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(),
            "value -1 on field reminder_minutes_before_start must be greater than 0");
  EXPECT_TRUE(refusal({{"size", "big"}}, *inbox).is(TWErrorCode::ErrorType));
}

TEST_F(QXMLTest, TheVersionReachesTheFields) {
  const TWVersion old(TWBuild(8, 0));
  EXPECT_TRUE(
      refusal({{"is_associated", true}}, *inbox, &old).is(TWErrorCode::ErrorInvalidServerVersion));
}

TEST_F(QXMLTest, FieldsMustBelongToTheFoldersItems) {
  EXPECT_EQ(refusal({{"nope", 1}}, *inbox).message(), "Unknown fieldname nope on class TWInbox");
  EXPECT_EQ(refusal({{"item_id", "x"}}, *inbox).message(),
            "item_id is not a valid field when filtering on TWInbox");
  EXPECT_EQ(refusal({{"culture", "en"}}, *inbox).message(),
            "EWS does not support filtering on field culture");
  EXPECT_TRUE(refusal({{"nope", 1}}, *inbox).is(TWErrorCode::ErrorValueOutOfRange));
}

TEST_F(QXMLTest, TheFirstChildThatFailsEndsTheWalk) {
  EXPECT_EQ(refusal({{"subject", "x"}, {"a_nope", 1}, {"b_nope", 1}}, *inbox).message(),
            "Unknown fieldname a_nope on class TWInbox");
  // After one that was written.
  EXPECT_EQ(refusal({{"body__contains", "b"}, {"nope", 1}}, *inbox).message(),
            "Unknown fieldname nope on class TWInbox");
}

TEST_F(QXMLTest, EntriesAreNamedByTheirLabel) {
  const auto wanted = restriction(
      "<t:IsEqualTo><t:IndexedFieldURI FieldURI=\"contacts:PhoneNumber\" "
      "FieldIndex=\"BusinessPhone\"/>" +
      wrapped("+49") + "</t:IsEqualTo>");
  EXPECT_THAT(contactsXML({{"phone_numbers__BusinessPhone", "+49"}}), EqualsXML(wanted));
  // Without a label in the path, the one of the value.
  const auto number =
      TWPhoneNumber::withDict({{"label", "BusinessPhone"}, {"phone_number", "+49"}});
  EXPECT_THAT(contactsXML({{"phone_numbers", number}}), EqualsXML(wanted));
}

TEST_F(QXMLTest, PartsOfEntriesAreNamedByLabelAndPart) {
  EXPECT_THAT(contactsXML({{"physical_addresses__Home__city", "Ulm"}}),
              EqualsXML(restriction(
                  "<t:IsEqualTo><t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:City\" "
                  "FieldIndex=\"Home\"/>" +
                  wrapped("Ulm") + "</t:IsEqualTo>")));
  EXPECT_EQ(refusal({{"physical_addresses__Home", "Ulm"}}, *contacts).message(),
            "Field path TWFieldPath__physical_addresses__Home must contain a subfield");
}

TEST_F(QXMLTest, PathsAreTestedFieldFirstThenPart) {
  const auto field = contacts->folderClass().getItemFieldByFieldName("physical_addresses");
  ASSERT_TRUE(field);
  const auto part = TWSubField::withProps({.name = "x", .isSearchable = false});
  const auto refusalOf = [](const std::shared_ptr<TWFieldPath>& path, const TWFolder& folder) {
    TWError error;
    EXPECT_FALSE(Q::validateFieldPath(*path, folder, &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
    return error.message();
  };
  EXPECT_EQ(refusalOf(TWFieldPath::withField(field, "Home", part), *contacts),
            "EWS does not support filtering on subfield x");
  EXPECT_EQ(refusalOf(TWFieldPath::withField(field, "Home"), *contacts),
            "Field path TWFieldPath__physical_addresses__Home must contain a subfield");
  EXPECT_EQ(refusalOf(TWFieldPath::withField(field, "Home", part), *inbox),
            "physical_addresses is not a valid field when filtering on TWInbox");
  const auto culture = contacts->folderClass().getItemFieldByFieldName("culture");
  EXPECT_EQ(refusalOf(TWFieldPath::withField(culture, "Home", part), *contacts),
            "EWS does not support filtering on field culture");
}

TEST_F(QXMLTest, ExtendedPropertiesAreComparedToPlainValues) {
  TWError error;
  ASSERT_TRUE(TWMessage::registerAttr("external_id", TWExternId::elementClass(), &error)) << error;
  const auto written = xml({{"external_id", "a&b"}});
  EXPECT_TRUE(TWMessage::unregisterAttr("external_id", &error)) << error;
  EXPECT_THAT(written,
              EqualsXML(restriction("<t:IsEqualTo><t:ExtendedFieldURI "
                                    "PropertySetId=\"c11ff724-aa03-4555-9952-8fa248a11c3f\" "
                                    "PropertyName=\"External ID\" PropertyType=\"String\"/>" +
                                    wrapped("a&amp;b") + "</t:IsEqualTo>")));
}

TEST_F(QXMLTest, ConstantsAreWrittenForTheVersion) {
  const auto field =
      test::VersionedField::withProps({.name = "versioned", .fieldURI = "message:Versioned"});
  TWMessage::addField(field, 0);
  const TWVersion version(TWBuild(14, 1), "Exchange2010");
  TWError error;
  const auto written = Q::withKeywords({{"versioned", "v"}}).toXML(*inbox, &version, &error);
  TWMessage::removeField(*field);
  EXPECT_THAT(written.XMLString(),
              EqualsXML(restriction("<t:IsEqualTo>" + path("message:Versioned") +
                                    wrapped("v for Exchange2010") + "</t:IsEqualTo>")))
      << error;
}

TEST_F(QXMLTest, SettersAreHonoured) {
  Q q = Q::withKeywords({{"size", 1}});
  q.setOp(">=");
  q.setValue(2);
  EXPECT_THAT(xml(q), EqualsXML(restriction("<t:IsGreaterThanOrEqualTo>" + path("item:Size") +
                                            wrapped("2") + "</t:IsGreaterThanOrEqualTo>")));
  q.setOp("~");
  TWError error;
  EXPECT_FALSE(q.toXML(*inbox, nullptr, &error));
  EXPECT_EQ(error.message(), "Operator ~ is not supported");

  Q leaf = Q::withKeywords({{"subject", "a"}});
  leaf.setFieldPath("body");
  EXPECT_THAT(xml(leaf), EqualsXML(restriction(comparison("IsEqualTo", "item:Body", "a"))));
  Q both;
  ASSERT_TRUE(both.setChildren({Q::withKeywords({{"subject__contains", "s"}}), leaf}));
  EXPECT_THAT(xml(both),
              EqualsXML(restriction("<t:And>" + comparison("IsEqualTo", "item:Body", "a") +
                                    contains("item:Subject", "s") + "</t:And>")));
  for (Q each : {leaf.copy(), both}) {
    each.setQueryString("from:ann");
    EXPECT_THAT(xml(each), EqualsXML("<m:QueryString>from:ann</m:QueryString>"));
  }
}

TEST_F(QXMLTest, AQueryStringBelowAnotherNodeIsRefused) {
  const auto refusalOf = [&](const NKXMLElement& element, const TWError& error) {
    EXPECT_FALSE(element);
    EXPECT_EQ(error,
              TWError(TWErrorCode::ErrorValueOutOfRange,
                      "A query string cannot be combined with other restrictions: (Q(a)), {}"));
  };
  TWError error;
  const Q both = Q::withKeywords({{"subject", "x"}, {"body", "y"}});
  both.children()[0].setQueryString("a");
  refusalOf(both.toXML(*inbox, nullptr, &error), error);
  error = {};
  Q around;
  ASSERT_TRUE(around.addChild(Q::withQueryString("a")));
  refusalOf(around.toXML(*inbox, nullptr, &error), error);
  error = {};
  refusalOf(Q::withQueryString("a").xmlElem(*inbox, nullptr, &error), error);
}

TEST_F(QXMLTest, ConnectorsThatAreSetAreHonouredAndOthersRefused) {
  const auto body = contains("item:Body", "b"), subject = contains("item:Subject", "a");
  Q both = Q::withKeywords({{"subject__contains", "a"}, {"body__contains", "b"}});
  both.setConnType("OR");
  EXPECT_THAT(xml(both), EqualsXML(restriction("<t:Or>" + body + subject + "</t:Or>")));
  Q leaf = Q::withKeywords({{"subject__contains", "a"}});
  leaf.setConnType("NOT");
  EXPECT_THAT(xml(leaf), EqualsXML(restriction("<t:Not>" + subject + "</t:Not>")));
  for (Q q : {both, leaf}) {
    q.setConnType("or");
    TWError error;
    EXPECT_FALSE(q.toXML(*inbox, nullptr, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Connector or is not supported"));
  }
}

TEST_F(QXMLTest, AThousandLevelsAreWrittenAndMoreAreRefused) {
  Q deep = Q::withKeywords({{"subject", "x"}});
  for (int level = 1; level < 1000; ++level) deep = deep.qAnd(Q::withKeywords({{"size", level}}));
  EXPECT_GT(xml(deep).size(), 100'000U);
  for (int level = 0; level < 100; ++level) deep = deep.qAnd(Q::withKeywords({{"size", level}}));
  TWError error;
  EXPECT_FALSE(deep.toXML(*inbox, nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(), "Query is nested 1100 levels deep, at most 1024 are allowed");
}

TEST_F(QXMLTest, ARestrictionNeedsAQueryThatRestricts) {
  TWError error;
  EXPECT_FALSE(TWRestriction::withQ(Q(), inbox, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_EQ(error.message(), "Q object must not be empty");
  EXPECT_FALSE(TWRestriction::withQ(Q::withQueryString("a"), nullptr, &error));
  EXPECT_EQ(error.message(), "Restriction must have a folder");
}

TEST_F(QXMLTest, ARestrictionWhoseQueryHasBecomeEmptyIsRefused) {
  Q q = Q::withKeywords({{"subject", "a"}});
  const auto made = TWRestriction::withQ(q, inbox);
  ASSERT_TRUE(made);
  q.setFieldPath(std::nullopt);
  TWError error;
  EXPECT_FALSE(made->toXML(nullptr, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Q object must not be empty"));
}

TEST_F(QXMLTest, ARestrictionPrintsItsXML) {
  const auto made = TWRestriction::withQ(Q::withKeywords({{"subject__contains", "a"}}), inbox);
  ASSERT_TRUE(made);
  EXPECT_THAT(made->toXML(nullptr).XMLString(),
              EqualsXML(restriction(contains("item:Subject", "a"))));
  EXPECT_THAT(made->description(), EqualsXML(restriction(contains("item:Subject", "a"))));
  EXPECT_NE(made->description().find("\n  <t:Contains"), std::string::npos);
}

}  // namespace
}  // namespace tarnwell
