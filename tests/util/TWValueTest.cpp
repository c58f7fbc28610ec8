#include <limits>
#include <memory>
#include <sstream>
#include <type_traits>

#include <gtest/gtest.h>

#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWValue.h"

#include "tests/support/TestObjects.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::FakeXMLObject;
using Kind = TWValue::Kind;

TEST(TWValue, DefaultMadeValueIsAbsent) {
  const TWValue value;
  EXPECT_TRUE(value.isAbsent());
  EXPECT_EQ(value.kind(), Kind::absent);
  EXPECT_FALSE(value.asBool() || value.asInteger() || value.asDouble() || value.asText() ||
               value.asDate());
  EXPECT_FALSE(value.asTimeZone() || value.asData() || value.asList() || value.asDictionary());
  EXPECT_FALSE(value.asObject() || value.asXML() || value.asError() || value.asReference());
  EXPECT_EQ(value.textView(), "");
}

TEST(TWValue, KnowsTheKindOfWhatItWasMadeFrom) {
  const auto object = FakeXMLObject::make();
  EXPECT_EQ(TWValue(true).kind(), Kind::boolean);
  EXPECT_EQ(TWValue(1).kind(), Kind::integer);
  EXPECT_EQ(TWValue(1.0).kind(), Kind::real);
  EXPECT_EQ(TWValue("x").kind(), Kind::text);
  EXPECT_EQ(TWValue(TWData{1}).kind(), Kind::data);
  EXPECT_EQ(TWValue(TWInstant(1ms)).kind(), Kind::date);
  EXPECT_EQ(TWValue(TWTimeZone()).kind(), Kind::timeZone);
  EXPECT_EQ(TWValue(TWList{1, 2}).kind(), Kind::list);
  EXPECT_EQ(TWValue(TWDictionary{{"a", 1}}).kind(), Kind::dictionary);
  EXPECT_EQ(TWValue(object).kind(), Kind::element);
  EXPECT_EQ(TWValue(FakeXMLObject::make(TWXMLObject::Role::fieldPath)).kind(), Kind::fieldPath);
  EXPECT_EQ(TWValue(FakeXMLObject::make(TWXMLObject::Role::fieldOrder)).kind(), Kind::fieldOrder);
  EXPECT_EQ(TWValue(NKXMLElement::withName("a")).kind(), Kind::xml);
  EXPECT_EQ(TWValue(TWError(TWErrorDomain, 5)).kind(), Kind::error);
  EXPECT_EQ(TWValue::weak(object).kind(), Kind::reference);
}

TEST(TWValue, WhatIsAbsentMakesTheAbsentValue) {
  EXPECT_TRUE(TWValue(nullptr).isAbsent());
  EXPECT_TRUE(TWValue(static_cast<const char*>(nullptr)).isAbsent());
  EXPECT_TRUE(TWValue(std::shared_ptr<FakeXMLObject>()).isAbsent());
  EXPECT_TRUE(TWValue(NKXMLElement()).isAbsent());
  EXPECT_TRUE(TWValue(TWError()).isAbsent());
  EXPECT_TRUE(TWValue(std::optional<int>()).isAbsent());
  EXPECT_TRUE(TWValue::weak(nullptr).isAbsent());
}

TEST(TWValue, AnEmptyTextIsPresent) {
  const TWValue value("");
  EXPECT_FALSE(value.isAbsent());
  EXPECT_EQ(value.asText(), "");
}

// Short texts lie in the value, longer ones elsewhere.
TEST(TWValue, TextsOfAllLengthsAreAlike) {
  for (const std::size_t length : {0U, 1U, 15U, 29U, 30U, 31U, 32U, 1000U}) {
    const std::string text(length, 'x');
    const TWValue value(text);
    const auto copy = value;
    EXPECT_EQ(value.asText(), text);
    EXPECT_EQ(value.textView(), text);
    EXPECT_EQ(value.kind(), Kind::text);
    EXPECT_EQ(value.description(), text);
    EXPECT_EQ(copy, value);
    EXPECT_EQ(copy.hash(), value.hash());
    EXPECT_NE(value, TWValue(text + "x"));
    const auto body = TWValue::body(text, TWBodyType::html);
    EXPECT_EQ(body.bodyType(), TWBodyType::html);
    EXPECT_EQ(body.textView(), text);
    EXPECT_NE(body, value);
  }
  const std::string_view withNul("a\0b", 3);
  EXPECT_EQ(TWValue(withNul).asText(), withNul);
}

TEST(TWValue, TakesWhatAnOptionalHolds) {
  EXPECT_EQ(TWValue(std::optional<std::string>("x")), TWValue("x"));
  EXPECT_EQ(TWValue(std::optional<bool>(false)).kind(), Kind::boolean);
}

TEST(TWValue, PointersDoNotBecomeFlags) {
  EXPECT_FALSE((std::is_constructible_v<TWValue, int*>));
  EXPECT_FALSE((std::is_constructible_v<TWValue, const void*>));
  EXPECT_TRUE((std::is_constructible_v<TWValue, const char*>));
  EXPECT_TRUE((std::is_constructible_v<TWValue, char*>));
}

TEST(TWValue, IsSmall) { EXPECT_LE(sizeof(TWValue), 40U); }

TEST(TWValue, AskingForAnotherKindConvertsNothing) {
  EXPECT_EQ(TWValue("12").asInteger(), std::nullopt);
  EXPECT_EQ(TWValue(12).asText(), std::nullopt);
  EXPECT_EQ(TWValue(12).asDate(), std::nullopt);
}

TEST(TWValue, NumbersAreReadAsAnyNumberThatHoldsThem) {
  EXPECT_EQ(TWValue(true).asInteger(), 1);
  EXPECT_EQ(TWValue(3.0).asInteger(), 3);
  EXPECT_EQ(TWValue(3.5).asInteger(), std::nullopt);
  EXPECT_EQ(TWValue(1e300).asInteger(), std::nullopt);
  EXPECT_EQ(TWValue(std::numeric_limits<double>::quiet_NaN()).asInteger(), std::nullopt);
  EXPECT_EQ(TWValue(3).asDouble(), 3.0);
  EXPECT_EQ(TWValue(2).asBool(), true);
  EXPECT_EQ(TWValue(0.0).asBool(), false);
}

TEST(TWValue, IntegersAbove64SignedBitsBecomeTheNearestDouble) {
  EXPECT_EQ(TWValue(std::numeric_limits<std::uint64_t>::max()).kind(), Kind::real);
  EXPECT_EQ(TWValue(std::numeric_limits<std::uint64_t>::max()).asDouble(), 18446744073709551616.0);
  EXPECT_EQ(TWValue(std::numeric_limits<std::int64_t>::min()).asInteger(),
            std::numeric_limits<std::int64_t>::min());
}

TEST(TWValue, SinglePrecisionNumbersKeepTheirShortText) {
  EXPECT_EQ(TWValue(0.1F).description(), "0.1");
  EXPECT_EQ(TWValue(0.1F), TWValue(0.1));
}

TEST(TWValue, NumbersCompareByValue) {
  EXPECT_EQ(TWValue(1), TWValue(1.0));
  EXPECT_EQ(TWValue(1), TWValue(true));
  EXPECT_TRUE(TWValue(1).isEqual(1.0));
  EXPECT_FALSE(TWValue(1).isEqual("1"));
  EXPECT_EQ(TWValue(1).hash(), TWValue(1.0).hash());
  EXPECT_EQ(TWValue(1).hash(), TWValue(true).hash());
  EXPECT_NE(TWValue(1), TWValue(1.5));
  EXPECT_NE(TWValue(1), TWValue("1"));
  EXPECT_NE(TWValue(9007199254740993), TWValue(9007199254740992.0));
}

TEST(TWValue, TextsCompareByBytesAndBodyType) {
  EXPECT_EQ(TWValue("a"), TWValue(std::string("a")));
  EXPECT_NE(TWValue("a"), TWValue("b"));
  EXPECT_NE(TWValue("a"), TWValue::body("a", TWBodyType::html));
  EXPECT_EQ(TWValue("a").hash(), TWValue(std::string_view("a")).hash());
}

TEST(TWValue, ABodyKnowsItsType) {
  EXPECT_EQ(TWValue::body("<p>", TWBodyType::html).bodyType(), TWBodyType::html);
  EXPECT_EQ(TWValue::body("<p>", TWBodyType::html).asText(), "<p>");
  EXPECT_EQ(TWValue("x").bodyType(), TWBodyType::none);
  EXPECT_EQ(TWValue(1).bodyType(), TWBodyType::none);
}

TEST(TWValue, TextsKeepNulBytes) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(TWValue(text).asText(), text);
}

TEST(TWValue, CopiesShareTheirText) {
  const TWValue value(std::string(1000, 'x'));
  const TWValue copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
  EXPECT_EQ(copy.textView().data(), value.textView().data());
}

TEST(TWValue, CollectionsCompareByContent) {
  EXPECT_EQ(TWValue::list({1, "a"}), TWValue::list({1.0, "a"}));
  EXPECT_EQ(TWValue::list({1, "a"}).hash(), TWValue::list({1.0, "a"}).hash());
  EXPECT_NE(TWValue::list({1, 2}), TWValue::list({2, 1}));
  EXPECT_EQ(TWValue(TWDictionary{{"a", 1}}), TWValue(TWDictionary{{"a", 1}}));
  EXPECT_EQ(TWValue(TWData{1, 2}), TWValue(TWData{1, 2}));
  EXPECT_NE(TWValue(TWData{1, 2}), TWValue(TWData{1}));
  EXPECT_EQ(TWValue(TWInstant(5ms)), TWValue(TWInstant(5ms)));
  EXPECT_EQ(TWValue(TWError(TWErrorDomain, 5)), TWValue(TWError(TWErrorDomain, 5)));
  EXPECT_EQ(TWValue(), TWValue(nullptr));
}

TEST(TWValue, ObjectsCompareByTheirOwnEquality) {
  const auto a = FakeXMLObject::make();
  EXPECT_EQ(TWValue(a), TWValue(a));
  EXPECT_NE(TWValue(a), TWValue(FakeXMLObject::make()));
  EXPECT_EQ(TWValue(a).asObject<FakeXMLObject>(), a);
  EXPECT_EQ(TWValue(a).hash(), TWValue(a).hash());
}

TEST(TWValue, XMLElementsCompareByNode) {
  const auto element = NKXMLElement::withName("a");
  EXPECT_EQ(TWValue(element), TWValue(element));
  EXPECT_NE(TWValue(element), TWValue(NKXMLElement::withName("a")));
}

TEST(TWValue, AWeakReferenceDoesNotKeepItsObjectAlive) {
  auto object = FakeXMLObject::make();
  const TWValue value = TWValue::weak(object);
  EXPECT_EQ(value.asReference(), object);
  EXPECT_EQ(value.description(), "[FakeXMLObject]");
  object.reset();
  EXPECT_EQ(value.asReference(), nullptr);
  EXPECT_EQ(value.description(), "(null)");
}

TEST(TWValue, WeakReferencesTakeNoPartInEqualityAndHash) {
  const auto a = FakeXMLObject::make();
  const auto b = FakeXMLObject::make();
  EXPECT_EQ(TWValue::weak(a), TWValue::weak(b));
  EXPECT_EQ(TWValue::weak(a).hash(), TWValue::weak(b).hash());
}

TEST(TWValue, PrintsEveryKind) {
  EXPECT_EQ(TWValue().description(), "(null)");
  EXPECT_EQ(TWValue("a\"b").description(), "a\"b");
  EXPECT_EQ(TWValue(true).description(), "1");
  EXPECT_EQ(TWValue(false).description(), "0");
  EXPECT_EQ(TWValue(-12).description(), "-12");
  EXPECT_EQ(TWValue(2.5).description(), "2.5");
  EXPECT_EQ(TWValue(TWData{1, 2, 3}).description(), "<3 bytes>");
  EXPECT_EQ(TWValue(TWTimeZone()).description(), "Etc/UTC");
  EXPECT_EQ(TWValue::list({1, "a", TWValue()}).description(), "(1, a, (null))");
  EXPECT_EQ(TWValue::list({}).description(), "()");
  EXPECT_EQ(TWValue(TWDictionary{{"k", "v"}}).description(), "{k = v}");
  EXPECT_EQ(TWValue(FakeXMLObject::make()).description(), "[FakeXMLObject] t:Fake");
  EXPECT_EQ(TWValue(NKXMLElement::withName("a")).description(), "<a></a>");
  EXPECT_EQ(TWValue(TWError(TWErrorDomain, 5, "x")).description(), "org.tarnwell.ews 5: x");
}

TEST(TWValue, PrintsDatesInUTC) {
  EXPECT_EQ(TWValue(TWInstant(0ms)).description(), "1970-01-01T00:00:00Z");
  EXPECT_EQ(TWValue(TWInstant(-1ms)).description(), "1969-12-31T23:59:59.999Z");
  EXPECT_EQ(TWValue(TWInstant(1594808430000ms)).description(), "2020-07-15T10:20:30Z");
}

TEST(TWValue, PrintsTheFirstAndTheLastInstant) {
  EXPECT_EQ(TWValue(TWInstant::min()).description(), "-292275055-05-16T16:47:04.192Z");
  EXPECT_EQ(TWValue(TWInstant::max()).description(), "292278994-08-17T07:12:55.807Z");
}

TEST(TWValue, StreamsItsDescription) {
  std::ostringstream out;
  out << TWValue(7) << TWDictionary{{"a", 1}};
  EXPECT_EQ(out.str(), "7{a = 1}");
}

TEST(TWValue, OnlyListsAndDictionariesAreIterable) {
  EXPECT_TRUE(TWValue::list({}).isIterable());
  EXPECT_TRUE(TWValue(TWDictionary()).isIterable());
  for (const TWValue& value : {TWValue("abc"), TWValue(1), TWValue(TWData{1}),
                               TWValue(TWInstant(0ms)), TWValue(FakeXMLObject::make()), TWValue()})
    EXPECT_FALSE(value.isIterable()) << value;
}

}  // namespace
}  // namespace tarnwell
