#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/support/TestObjects.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::FakeXMLObject;
using Kind = TWValue::Kind;
using Role = TWXMLObject::Role;

constexpr TWInstant kInstant{1594808430000ms};  // 2020-07-15T10:20:30Z

/// The text that an element is filled with from a value.
std::string filled(const TWValue& value) {
  return TWUtils::updateElement(NKXMLElement::withName("a"), value).XMLString();
}

/// Fixes the default zone, in which dates are printed, for the life of a test.
class TWUtilsTest : public testing::Test {
 protected:
  void SetUp() override { TWTimeZone::setDefaultZone(TWTimeZone()); }
  void TearDown() override { TWTimeZone::setDefaultZone(saved_); }

 private:
  TWTimeZone saved_ = TWTimeZone::defaultZone();
};

TEST_F(TWUtilsTest, CreateElementKeepsTheLiteralNameAndWritesTheAttributes) {
  EXPECT_EQ(TWUtils::createElement("m:GetItem").XMLString(), "<m:GetItem></m:GetItem>");
  const auto element =
      TWUtils::createElement("t:ItemId", {{"Id", "a&b"}, {"Count", 3}, {"Flag", true}});
  EXPECT_EQ(element.attributeForName("Id").stringValue(), "a&b");
  EXPECT_EQ(element.attributeForName("Count").stringValue(), "3");
  EXPECT_EQ(element.attributeForName("Flag").stringValue(), "1");
  EXPECT_EQ(element.attributes().size(), 3U);
}

TEST_F(TWUtilsTest, NoAttributeIsLostWhateverItsValue) {
  const auto element =
      TWUtils::createElement("a", {{"x", TWValue::list({1, "b"})}, {"y", TWData{1}}});
  EXPECT_EQ(element.attributeForName("x").stringValue(), "(1, b)");
  EXPECT_EQ(element.attributeForName("y").stringValue(), "<1 bytes>");
}

TEST_F(TWUtilsTest, CreateAndAddFillsTheElementAndAddsItToItsParent) {
  const auto parent = NKXMLElement::withName("t:Parent");
  const auto child = TWUtils::createAndAddElementToParent(parent, "t:Child", "text");
  EXPECT_TRUE(child.parent().isEqual(parent));
  EXPECT_EQ(parent.XMLString(), "<t:Parent><t:Child>text</t:Child></t:Parent>");
}

TEST_F(TWUtilsTest, UpdateElementReturnsTheElementItWasGiven) {
  const auto element = NKXMLElement::withName("a");
  EXPECT_TRUE(TWUtils::updateElement(element, "x").isEqual(element));
}

TEST_F(TWUtilsTest, ATextIsWrittenUnfilteredIntoAnElementButFilteredAsAValue) {
  const auto element = TWUtils::updateElement(NKXMLElement::withName("a"), "x\x01y");
  EXPECT_EQ(element.stringValue(), "x\x01y");
  EXPECT_EQ(TWUtils::xmlFromValue("x\x01y"), "x?y");
}

TEST_F(TWUtilsTest, NumbersAndDatesAreWrittenAsText) {
  EXPECT_EQ(filled(5), "<a>5</a>");
  EXPECT_EQ(filled(1.5), "<a>1.5</a>");
  EXPECT_EQ(filled(true), "<a>1</a>");
  EXPECT_EQ(filled(kInstant), "<a>2020-07-15T10:20:30Z</a>");
}

TEST_F(TWUtilsTest, ObjectsThatWriteThemselvesBecomeChildren) {
  EXPECT_EQ(filled(FakeXMLObject::make(Role::fieldPath, "t:FieldURI")),
            "<a><t:FieldURI></t:FieldURI></a>");
  EXPECT_EQ(filled(FakeXMLObject::make(Role::fieldOrder, "t:FieldOrder")),
            "<a><t:FieldOrder></t:FieldOrder></a>");
  EXPECT_EQ(filled(FakeXMLObject::make(Role::element, "t:Mailbox")),
            "<a><t:Mailbox></t:Mailbox></a>");
}

TEST_F(TWUtilsTest, ObjectsAreWrittenForTheGivenVersion) {
  const auto object = FakeXMLObject::make();
  const auto* const version = reinterpret_cast<const TWVersion*>(&kInstant);
  TWUtils::updateElement(NKXMLElement::withName("a"), object, version);
  EXPECT_EQ(object->lastVersion, version);
  TWUtils::updateElement(NKXMLElement::withName("a"), TWValue::list({object}), nullptr);
  EXPECT_EQ(object->lastVersion, nullptr);
  TWUtils::updateElement(NKXMLElement::withName("a"), TWValue::list({"x", object}), version);
  EXPECT_EQ(object->lastVersion, version);
}

TEST_F(TWUtilsTest, AnObjectThatCannotBeWrittenAddsNothingAndTellsWhy) {
  for (const auto role : {Role::element, Role::fieldPath, Role::fieldOrder}) {
    const auto object = FakeXMLObject::make(role);
    object->failure = TWError(TWErrorDomain, 384, "no address");
    for (const auto& value : {TWValue(object), TWValue::list({object})}) {
      TWError error;
      const auto element =
          TWUtils::updateElement(NKXMLElement::withName("a"), value, nullptr, &error);
      EXPECT_EQ(element.XMLString(), "<a></a>");
      EXPECT_EQ(error, object->failure);
    }
  }
}

TEST_F(TWUtilsTest, TheFirstFailureOfACollectionIsToldAndTheOthersAreWritten) {
  const auto first = FakeXMLObject::make();
  first->failure = TWError(TWErrorDomain, 384, "first");
  const auto second = FakeXMLObject::make();
  second->failure = TWError(TWErrorDomain, 384, "second");
  TWError error;
  const auto element = TWUtils::updateElement(NKXMLElement::withName("a"),
                                              TWValue::list({first, FakeXMLObject::make(), second}),
                                              nullptr, &error);
  EXPECT_EQ(element.XMLString(), "<a><t:Fake></t:Fake></a>");
  EXPECT_EQ(error.message(), "first");
}

TEST_F(TWUtilsTest, SuccessLeavesTheErrorUntouched) {
  TWError error(TWErrorDomain, 5, "earlier");
  TWUtils::updateElement(NKXMLElement::withName("a"), TWValue::list({"x"}), nullptr, &error);
  EXPECT_EQ(error.message(), "earlier");
}

TEST_F(TWUtilsTest, AnXMLElementIsMovedIn) {
  const auto child = NKXMLElement::withName("b");
  const auto element = TWUtils::updateElement(NKXMLElement::withName("a"), child);
  EXPECT_TRUE(child.parent().isEqual(element));
}

TEST_F(TWUtilsTest, ACollectionAddsItsMembersInOrderAndSkipsOtherKinds) {
  EXPECT_EQ(filled(TWValue::list({"a", FakeXMLObject::make(), NKXMLElement::withName("x"), "b"})),
            "<a><t:String>a</t:String><t:Fake></t:Fake><x></x><t:String>b</t:String></a>");
  EXPECT_EQ(filled(TWValue::list({FakeXMLObject::make(Role::fieldPath, "t:FieldURI"),
                                  FakeXMLObject::make(Role::fieldOrder, "t:FieldOrder")})),
            "<a><t:FieldURI></t:FieldURI><t:FieldOrder></t:FieldOrder></a>");
  EXPECT_EQ(filled(TWValue::list({1, kInstant, TWData{1}, TWValue::list({"z"}), TWValue(), "a"})),
            "<a><t:String>a</t:String></a>");
  EXPECT_EQ(filled(TWValue::list({})), "<a></a>");
}

TEST_F(TWUtilsTest, ADictionaryIsACollectionOfItsKeys) {
  EXPECT_EQ(filled(TWDictionary{{"k", 1}}), "<a><t:String>k</t:String></a>");
}

TEST_F(TWUtilsTest, AnyOtherValueLeavesTheElementEmpty) {
  for (const TWValue& value :
       {TWValue(), TWValue(TWData{1}), TWValue(TWTimeZone()), TWValue(TWError(TWErrorDomain, 1))})
    EXPECT_EQ(filled(value), "<a></a>") << value;
}

TEST_F(TWUtilsTest, ValuesHaveTheirElementTexts) {
  EXPECT_EQ(TWUtils::xmlFromValue(7), "7");
  EXPECT_EQ(TWUtils::xmlFromValue(-3), "-3");
  EXPECT_EQ(TWUtils::xmlFromValue(2.5), "2.5");
  EXPECT_EQ(TWUtils::xmlFromValue(true), "1");
  EXPECT_EQ(TWUtils::xmlFromValue(false), "0");
  EXPECT_EQ(TWUtils::xmlFromValue(3.0), "3");
  EXPECT_EQ(TWUtils::xmlFromValue(0.1F), "0.1");
  EXPECT_EQ(TWUtils::xmlFromValue(1e15), "1000000000000000");
  EXPECT_EQ(TWUtils::xmlFromValue(kInstant), "2020-07-15T10:20:30Z");
  EXPECT_EQ(TWUtils::xmlFromValue(*TWTimeZone::fromTimeZone("Europe/Berlin")),
            "W. Europe Standard Time");
}

TEST_F(TWUtilsTest, AnObjectGivesItsConstantTextOrNone) {
  const auto object = FakeXMLObject::make();
  EXPECT_EQ(TWUtils::xmlFromValue(object), std::nullopt);
  object->constant = "ann@example.com";
  EXPECT_EQ(TWUtils::xmlFromValue(object), "ann@example.com");
}

TEST_F(TWUtilsTest, OtherKindsHaveNoElementText) {
  for (const TWValue& value : {TWValue(), TWValue::list({"a"}), TWValue(TWDictionary{{"a", 1}}),
                               TWValue(TWData{1}), TWValue(NKXMLElement::withName("a"))})
    EXPECT_EQ(TWUtils::xmlFromValue(value), std::nullopt) << value;
}

TEST_F(TWUtilsTest, NumbersAreTheSameInEveryLocale) {
#ifndef TEST_LOCALES
  GTEST_SKIP() << "no locale could be made in which 2.5 is written 2,5";
#else
  // NOLINTBEGIN(concurrency-mt-unsafe): this test has one thread
  ASSERT_EQ(setenv("LOCPATH", TEST_LOCALES, 1), 0);
  const std::string saved = std::setlocale(LC_ALL, nullptr);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
  std::array<char, 8> text{};
  (void)std::snprintf(text.data(), text.size(), "%.1f", 2.5);
  EXPECT_STREQ(text.data(), "2,5") << "the locale is no trap";
  EXPECT_EQ(TWUtils::xmlFromValue(2.5), "2.5");
  EXPECT_EQ(TWUtils::valueFromXML("1.5", Kind::real), TWValue(1.5));
  EXPECT_EQ(formatMessage("%.2fs", {0.25}), "0.25s");
  (void)std::setlocale(LC_ALL, saved.c_str());
  // NOLINTEND(concurrency-mt-unsafe)
#endif
}

TEST_F(TWUtilsTest, ReadsNumbersFromText) {
  EXPECT_EQ(TWUtils::valueFromXML("42", Kind::integer), TWValue(42));
  EXPECT_EQ(TWUtils::valueFromXML("42", Kind::integer).kind(), Kind::integer);
  EXPECT_EQ(TWUtils::valueFromXML("-1.5", Kind::integer), TWValue(-1.5));
  EXPECT_EQ(TWUtils::valueFromXML("9223372036854775807", Kind::integer), TWValue(INT64_MAX));
  EXPECT_EQ(TWUtils::valueFromXML("99999999999999999999", Kind::integer), TWValue(1e20));
  for (const auto* text : {"x", "", "true", " 1"}) {
    EXPECT_TRUE(TWUtils::valueFromXML(text, Kind::integer).isAbsent()) << text;
    EXPECT_TRUE(TWUtils::valueFromXML(text, Kind::boolean).isAbsent()) << text;
  }
}

TEST_F(TWUtilsTest, ReadsDateTimesAndTextsFromText) {
  EXPECT_EQ(TWUtils::valueFromXML("2020-07-15T10:20:30Z", Kind::date), TWValue(kInstant));
  EXPECT_TRUE(TWUtils::valueFromXML("2020-07-15", Kind::date).isAbsent());
  EXPECT_EQ(TWUtils::valueFromXML(" x ", Kind::text), TWValue(" x "));
  EXPECT_TRUE(TWUtils::valueFromXML("x", Kind::data).isAbsent());
  EXPECT_TRUE(TWUtils::valueFromXML("x", Kind::list).isAbsent());
}

TEST_F(TWUtilsTest, ReplacesEveryForbiddenCharacterAndNoOther) {
  for (int c = 0; c < 0x80; ++c) {
    const std::string text(1, static_cast<char>(c));
    const bool forbidden = c < 0x20 && c != '\t' && c != '\n' && c != '\r';
    EXPECT_EQ(TWUtils::xmlFromUnsafeXML(text), forbidden ? "?" : text) << c;
    EXPECT_EQ(TWUtils::findUnsafeXML("é\t" + text), forbidden ? 3 : std::string_view::npos) << c;
  }
  EXPECT_EQ(TWUtils::findUnsafeXML("\xEF\xBF\xBD\xEF\xBF\xBF\x01"), 3U);
  EXPECT_EQ(TWUtils::findUnsafeXML(""), std::string_view::npos);
  EXPECT_EQ(TWUtils::xmlFromUnsafeXML("\x01\t"), "?\t");
  EXPECT_EQ(TWUtils::xmlFromUnsafeXML("a\xEF\xBF\xBE"
                                      "b\xEF\xBF\xBF"
                                      "c"),
            "a?b?c");
  EXPECT_EQ(TWUtils::xmlFromUnsafeXML("\xEF\xBF\xBD\xEF\xBE\xBE"), "\xEF\xBF\xBD\xEF\xBE\xBE");
  EXPECT_EQ(TWUtils::xmlFromUnsafeXML("\xF0\x9F\x98\x80 \xC3\xA9"), "\xF0\x9F\x98\x80 \xC3\xA9");
  EXPECT_EQ(TWUtils::xmlFromUnsafeXML(std::string_view("a\0b", 3)), "a?b");
}

TEST_F(TWUtilsTest, CollectionsAreIterableAndTextsAreNot) {
  EXPECT_TRUE(TWUtils::isIterable(TWValue::list({})));
  EXPECT_TRUE(TWUtils::isIterable(TWDictionary()));
  EXPECT_FALSE(TWUtils::isIterable("abc"));
  EXPECT_FALSE(TWUtils::isIterable(5));
}

TEST_F(TWUtilsTest, ChunksHoldTheGivenNumberAndTheLastTheRemainder) {
  const std::vector<int> seven{1, 2, 3, 4, 5, 6, 7};
  EXPECT_EQ(TWUtils::chunkify(seven, 3),
            (std::vector<std::vector<int>>{{1, 2, 3}, {4, 5, 6}, {7}}));
  EXPECT_EQ(TWUtils::chunkify(std::vector<int>{1, 2, 3, 4, 5, 6}, 3),
            (std::vector<std::vector<int>>{{1, 2, 3}, {4, 5, 6}}));
  EXPECT_TRUE(TWUtils::chunkify(std::vector<int>(), 3).empty());
  EXPECT_EQ(TWUtils::chunkify(seven, SIZE_MAX).size(), 1U);
}

TEST_F(TWUtilsTest, AChunkLengthOfZeroMeansNoLimit) {
  EXPECT_EQ(TWUtils::chunkify(std::vector<int>{1, 2}, 0), (std::vector<std::vector<int>>{{1, 2}}));
  EXPECT_TRUE(TWUtils::chunkify(std::vector<int>(), 0).empty());
}

TEST_F(TWUtilsTest, ValuesAreChunkedWhenTheyAreCollections) {
  EXPECT_EQ(TWUtils::chunkify(TWValue::list({1, 2, 3}), 2),
            TWValue::list({TWValue::list({1, 2}), TWValue::list({3})}));
  EXPECT_EQ(TWUtils::chunkify(TWValue::list({}), 2), TWValue::list({}));
  EXPECT_EQ(TWUtils::chunkify(TWDictionary{{"a", 1}, {"b", 2}}, 1),
            TWValue::list({TWValue::list({"a"}), TWValue::list({"b"})}));
  EXPECT_EQ(TWUtils::chunkify(TWValue(7), 2), TWValue(7));
  EXPECT_EQ(TWUtils::chunkify(TWValue("abc"), 2), TWValue("abc"));
}

TEST_F(TWUtilsTest, TakesAURLApart) {
  EXPECT_EQ(TWUtils::parseUrl("https://h:444/EWS/x"),
            (TWDictionary{{"ssl", true}, {"server", "h"}, {"path", "/EWS/x"}}));
  EXPECT_EQ(TWUtils::parseUrl("http://Mail.Example.com"),
            (TWDictionary{{"ssl", false}, {"server", "Mail.Example.com"}}));
  EXPECT_EQ(TWUtils::parseUrl("https://user:pw@h/?q#f"),
            (TWDictionary{{"ssl", true}, {"server", "h"}, {"path", "/"}}));
  EXPECT_EQ(TWUtils::parseUrl("https://[::1]:8/x"),
            (TWDictionary{{"ssl", true}, {"server", "[::1]"}, {"path", "/x"}}));
}

TEST_F(TWUtilsTest, ASchemeInCapitalsIsNotSSL) {
  EXPECT_EQ(TWUtils::parseUrl("HTTPS://h/")["ssl"], TWValue(false));
  EXPECT_EQ(TWUtils::parseUrl("HTTPS://h/")["server"], TWValue("h"));
}

TEST_F(TWUtilsTest, TheSchemeEndsAtTheFirstColonAndTheHostNeedsTwoSlashes) {
  EXPECT_EQ(TWUtils::parseUrl("https:/EWS/x"), (TWDictionary{{"ssl", true}, {"path", "/EWS/x"}}));
  EXPECT_EQ(TWUtils::parseUrl("https:x"), (TWDictionary{{"ssl", true}, {"path", "x"}}));
  EXPECT_EQ(TWUtils::parseUrl("//h/x"),
            (TWDictionary{{"ssl", false}, {"server", "h"}, {"path", "/x"}}));
  EXPECT_EQ(TWUtils::parseUrl("h/a://b"), (TWDictionary{{"ssl", false}, {"path", "h/a://b"}}));
  EXPECT_EQ(TWUtils::parseUrl("1s://h"), (TWDictionary{{"ssl", false}, {"path", "1s://h"}}));
}

TEST_F(TWUtilsTest, WhatIsNoURLHasNoServer) {
  EXPECT_EQ(TWUtils::parseUrl("h/x"), (TWDictionary{{"ssl", false}, {"path", "h/x"}}));
  EXPECT_EQ(TWUtils::parseUrl(""), (TWDictionary{{"ssl", false}}));
  EXPECT_EQ(TWUtils::parseUrl("not a url"), (TWDictionary{{"ssl", false}}));
  EXPECT_EQ(TWUtils::parseUrl("https:///x"), (TWDictionary{{"ssl", true}, {"path", "/x"}}));
  for (const char* text :
       {"https://[::1", "https://[::1]x/", "https://[]:1x/", "https://a[b]/", "https://h:port/",
        "https://h:1:2/", "https://a<b>/x", "https://a\"b/", "https://h/{x}", "https://h/a|b",
        "https://h/a\\b", "https://h/a^b", "https://h/`"})
    EXPECT_EQ(TWUtils::parseUrl(text), (TWDictionary{{"ssl", false}})) << text;
  // A port may be left empty.
  EXPECT_EQ(TWUtils::parseUrl("https://h:/x"),
            (TWDictionary{{"ssl", true}, {"server", "h"}, {"path", "/x"}}));
}

TEST_F(TWUtilsTest, TheDomainIsWhatFollowsTheFirstAtInLowerCase) {
  EXPECT_EQ(TWUtils::getDomain("A@Example.COM"), "example.com");
  EXPECT_EQ(TWUtils::getDomain("a@M\xC3\x9CNCHEN.DE"), "m\xC3\xBCnchen.de");
  EXPECT_EQ(TWUtils::getDomain("a@b@c"), "b@c");
  EXPECT_EQ(TWUtils::getDomain("a@"), "");
  EXPECT_EQ(TWUtils::getDomain("abc"), std::nullopt);
  EXPECT_EQ(TWUtils::getDomain(""), std::nullopt);
}

TEST_F(TWUtilsTest, TheConsumerMailDomainIsServedByItsHost) {
  EXPECT_EQ(TWUtils::getDomain("ann@Outlook.com"), "outlook.office365.com");
  EXPECT_EQ(TWUtils::getDomain("ann@sub.outlook.com"), "sub.outlook.com");
}

}  // namespace
}  // namespace tarnwell
