#include <gtest/gtest.h>

#include "tarnwell/util/TWDictionary.h"

namespace tarnwell {
namespace {

TEST(TWDictionary, KeepsTheOrderInWhichNamesWereSet) {
  TWDictionary dictionary{{"b", 1}, {"a", 2}};
  dictionary.set("c", 3);
  dictionary.set("b", 4);
  EXPECT_EQ(dictionary.allKeys(), (std::vector<std::string>{"b", "a", "c"}));
  EXPECT_EQ(dictionary["b"], TWValue(4));
}

TEST(TWDictionary, AnswersTheAbsentValueForAnUnknownName) {
  const TWDictionary dictionary{{"a", 1}};
  EXPECT_TRUE(dictionary["x"].isAbsent());
  EXPECT_FALSE(dictionary.contains("x"));
  EXPECT_TRUE(dictionary.contains("a"));
}

TEST(TWDictionary, SettingAnAbsentValueLeavesAnExistingEntryUntouched) {
  TWDictionary dictionary{{"a", 1}};
  dictionary.setSafeObject(TWValue(), "a");
  dictionary.setSafeObject(TWValue(), "b");
  EXPECT_EQ(dictionary, (TWDictionary{{"a", 1}}));
}

TEST(TWDictionary, SetSafeObjectStoresAPresentValue) {
  TWDictionary dictionary{{"a", 1}};
  dictionary.setSafeObject("x", "a");
  dictionary.setSafeObject(2, "b");
  EXPECT_EQ(dictionary, (TWDictionary{{"a", "x"}, {"b", 2}}));
}

TEST(TWDictionary, SetSafeObjectIgnoresAMissingKey) {
  TWDictionary dictionary;
  dictionary.setSafeObject(1, std::nullopt);
  EXPECT_TRUE(dictionary.empty());
}

TEST(TWDictionary, RemovesByName) {
  TWDictionary dictionary{{"a", 1}, {"b", 2}};
  dictionary.remove("a");
  dictionary.remove("x");
  EXPECT_EQ(dictionary, (TWDictionary{{"b", 2}}));
  dictionary.clear();
  EXPECT_TRUE(dictionary.empty());
}

TEST(TWDictionary, TheLastOfSeveralEntriesWithOneNameWins) {
  EXPECT_EQ((TWDictionary{{"a", 1}, {"a", 2}}), (TWDictionary{{"a", 2}}));
}

TEST(TWDictionary, PrintsInTheOrderOfTheKeys) {
  EXPECT_EQ((TWDictionary{{"b", 1}, {"a", "x"}}).description(), "{a = x; b = 1}");
  EXPECT_EQ(TWDictionary().description(), "{}");
}

TEST(TWDictionary, OneThatIsNotKeptGivesCopiesOfItsValues) {
  const auto make = [] { return TWDictionary{{"a", "x"}}; };
  const auto& got = make().get("a");
  const auto& indexed = make()["a"];
  EXPECT_EQ(got, TWValue("x"));
  EXPECT_EQ(indexed, TWValue("x"));
  EXPECT_FALSE(std::is_reference_v<decltype(make().get("a"))>);
  EXPECT_FALSE(std::is_reference_v<decltype(make()["a"])>);
}

TEST(TWDictionary, EqualityAndHashIgnoreTheOrder) {
  EXPECT_TRUE((TWDictionary{{"a", 1}, {"b", 2}}.isEqual({{"b", 2}, {"a", 1}})));
  const TWDictionary ab{{"a", 1}, {"b", 2}};
  const TWDictionary ba{{"b", 2}, {"a", 1}};
  EXPECT_EQ(ab, ba);
  EXPECT_EQ(ab.hash(), ba.hash());
  EXPECT_NE(ab, (TWDictionary{{"a", 1}, {"b", 3}}));
  EXPECT_NE(ab, (TWDictionary{{"a", 1}}));
}

}  // namespace
}  // namespace tarnwell
