#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWFieldOptions.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::Pair;

std::vector<std::pair<std::string, bool>> flags(const TWFieldOptions& options) {
  std::vector<std::pair<std::string, bool>> out;
  for (const auto& [name, value] : options.all()) out.emplace_back(name, value.asBool().value());
  return out;
}

TEST(TWFieldOptions, StartWithSixFlagsAndNothingElse) {
  EXPECT_THAT(flags(TWFieldOptions()),
              ElementsAre(Pair("isRequired", false), Pair("isRequiredAfterSave", false),
                          Pair("isReadOnly", false), Pair("isReadOnlyAfterSend", false),
                          Pair("isSearchable", true), Pair("isAttribute", false)));
}

TEST(TWFieldOptions, EachOptionReadsUnderItsName) {
  const TWFieldOptions options{.name = "importance",
                               .fieldURI = "item:Importance",
                               .fieldURIPostfix = "Importance",
                               .valueCls = &TWEWSElement::elementClass(),
                               .default_ = "Normal",
                               .supportedFrom = TWBuild(14, 0),
                               .deprecatedFrom = TWBuild(15, 0),
                               .min = 1,
                               .max = 2.5,
                               .enum_ = {"Low", "Normal"},
                               .maxLength = 6,
                               .choices = {"Low", {"High", TWBuild(15, 1)}},
                               .isRequired = true};
  EXPECT_EQ(options.get("name"), TWValue("importance"));
  EXPECT_EQ(options.get("fieldURI"), TWValue("item:Importance"));
  EXPECT_EQ(options.get("fieldURIPostfix"), TWValue("Importance"));
  EXPECT_EQ(options.get("valueCls"), TWValue("TWEWSElement"));
  EXPECT_EQ(options.get("default"), TWValue("Normal"));
  EXPECT_EQ(options.get("supportedFrom"), TWValue("TWBuild: (14, 0, 0, 0)"));
  EXPECT_EQ(options.get("deprecatedFrom"), TWValue("TWBuild: (15, 0, 0, 0)"));
  EXPECT_EQ(options.get("min"), TWValue(1));
  EXPECT_EQ(options.get("max"), TWValue(2.5));
  EXPECT_EQ(options.get("enum"), TWValue::list({"Low", "Normal"}));
  EXPECT_EQ(options.get("maxLength"), TWValue(6));
  EXPECT_EQ(options.get("choices"), TWValue::list({"Low", "High"}));
  EXPECT_EQ(options.get("isRequired"), TWValue(true));
  EXPECT_EQ(options.all().size(), 18U);
}

TEST(TWFieldOptions, AnUnknownOrEmptyNameReadsAsNothing) {
  const TWFieldOptions options{.name = "subject"};
  EXPECT_TRUE(options.get("").isAbsent());
  EXPECT_TRUE(options.get("Name").isAbsent());
  EXPECT_TRUE(options.get("min").isAbsent());
}

TEST(TWFieldOptions, AreSetByName) {
  TWFieldOptions options;
  EXPECT_TRUE(options.set("name", "size"));
  EXPECT_TRUE(options.set("isSearchable", false));
  EXPECT_TRUE(options.set("isReadOnly", 1));
  EXPECT_TRUE(options.set("default", TWInstant()));
  EXPECT_TRUE(options.set("min", 0));
  EXPECT_TRUE(options.set("max", 99.5));
  EXPECT_TRUE(options.set("maxLength", 12));
  EXPECT_TRUE(options.set("enum", TWValue::list({"a", "b"})));
  EXPECT_EQ(options.name, "size");
  EXPECT_EQ(options.isSearchable, false);
  EXPECT_EQ(options.isReadOnly, true);
  EXPECT_EQ(options.default_, TWValue(TWInstant()));
  EXPECT_EQ(options.min, 0.0);
  EXPECT_EQ(options.max, 99.5);
  EXPECT_EQ(options.maxLength, 12U);
  EXPECT_THAT(options.enum_, ElementsAre("a", "b"));
}

TEST(TWFieldOptions, SettingWithoutNameOrValueChangesNothing) {
  TWFieldOptions options{.name = "size", .min = 3};
  EXPECT_FALSE(options.set("min", TWValue()));
  EXPECT_FALSE(options.set("", 5));
  EXPECT_FALSE(options.set("minimum", 5));
  EXPECT_EQ(options.get("min"), TWValue(3));
  EXPECT_EQ(options.all().size(), 8U);
}

TEST(TWFieldOptions, ValuesOfAnotherKindAreNotTaken) {
  TWFieldOptions options{.name = "size",
                         .valueCls = &TWEWSElement::elementClass(),
                         .supportedFrom = TWBuild(14, 0),
                         .min = 3,
                         .enum_ = {"a"},
                         .maxLength = 7,
                         .choices = {"b"}};
  const auto before = options.all();
  EXPECT_FALSE(options.set("name", 5));
  EXPECT_FALSE(options.set("isRequired", "true"));
  EXPECT_FALSE(options.set("min", "3"));
  EXPECT_FALSE(options.set("enum", TWValue::list({"x", 2})));
  EXPECT_FALSE(options.set("enum", "x"));
  EXPECT_FALSE(options.set("maxLength", -1));
  EXPECT_FALSE(options.set("maxLength", 1.5));
  EXPECT_FALSE(options.set("supportedFrom", "15.0"));
  EXPECT_FALSE(options.set("valueCls", "TWMailbox"));
  EXPECT_FALSE(options.set("choices", TWValue::list({"c"})));
  EXPECT_EQ(options.all(), before);
}

TEST(TWFieldOptions, AreRemovedByName) {
  TWFieldOptions options{.name = "size",
                         .fieldURI = "item:Size",
                         .fieldURIPostfix = "Size",
                         .valueCls = &TWEWSElement::elementClass(),
                         .default_ = 1,
                         .supportedFrom = TWBuild(14, 0),
                         .deprecatedFrom = TWBuild(15, 0),
                         .min = 1,
                         .max = 2,
                         .enum_ = {"a"},
                         .maxLength = 7,
                         .choices = {"b"}};
  options.remove("");
  options.remove("nope");
  EXPECT_EQ(options.all().size(), 18U);
  for (const auto& [name, value] : TWFieldOptions(options).all()) options.remove(name);
  EXPECT_TRUE(options.all().empty());
}

}  // namespace
}  // namespace tarnwell
