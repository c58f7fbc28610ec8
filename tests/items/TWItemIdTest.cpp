#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWItemId.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/items/ElementTesting.h"
#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::read;
using test::tableOf;
using test::written;
using testing::ElementsAre;

const TWDictionary kBoth{{"id", "i"}, {"changekey", "c"}};

TEST(TWItemId, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWItemId::elementClass()),
              ElementsAre("id (Id): TWIdField, isRequired, isSearchable, isAttribute",
                          "changekey (ChangeKey): TWIdField, isSearchable, isAttribute"));
  for (const auto* const cls : {&TWParentItemId::elementClass(), &TWConversationId::elementClass(),
                                &TWParentFolderId::elementClass()})
    EXPECT_EQ(tableOf(*cls), tableOf(TWItemId::elementClass())) << cls->name();
  EXPECT_THAT(tableOf(TWRootItemId::elementClass()),
              ElementsAre("id (RootItemId): TWIdField, isRequired, isSearchable, isAttribute",
                          "changekey (RootItemChangeKey): TWIdField, isSearchable, isAttribute"));
}

TEST(TWItemId, IsNotSearchable) {
  EXPECT_FALSE(TWItemId::getFieldByFieldName("id")->isSearchable());
  EXPECT_FALSE(TWItemId::getFieldByFieldName("changekey")->isSearchable());
}

TEST(TWItemId, NamesItsAttributes) {
  EXPECT_EQ(TWItemId::idAttr(), "Id");
  EXPECT_EQ(TWItemId::changeKeyAttr(), "ChangeKey");
  EXPECT_EQ(TWConversationId::idAttr(), "Id");
  EXPECT_EQ(TWParentItemId::changeKeyAttr(), "ChangeKey");
  EXPECT_EQ(TWParentFolderId::idAttr(), "Id");
  EXPECT_EQ(TWRootItemId::idAttr(), "RootItemId");
  EXPECT_EQ(TWRootItemId::changeKeyAttr(), "RootItemChangeKey");
}

TEST(TWItemId, KindsAreItemIds) {
  for (const auto* const cls :
       {&TWParentItemId::elementClass(), &TWRootItemId::elementClass(),
        &TWConversationId::elementClass(), &TWParentFolderId::elementClass()})
    EXPECT_EQ(cls->base(), &TWItemId::elementClass()) << cls->name();
}

TEST(TWItemId, IsWrittenWithBothAttributes) {
  EXPECT_THAT(written(*TWItemId::withDict(kBoth)),
              EqualsXML(R"(<t:ItemId Id="i" ChangeKey="c"/>)"));
  EXPECT_THAT(written(*TWParentItemId::withDict(kBoth)),
              EqualsXML(R"(<m:ParentItemId Id="i" ChangeKey="c"/>)"));
  EXPECT_THAT(written(*TWRootItemId::withDict(kBoth)),
              EqualsXML(R"(<m:RootItemId RootItemId="i" RootItemChangeKey="c"/>)"));
  EXPECT_THAT(written(*TWConversationId::withDict(kBoth)),
              EqualsXML(R"(<t:ConversationId Id="i" ChangeKey="c"/>)"));
  EXPECT_THAT(written(*TWParentFolderId::withDict(kBoth)),
              EqualsXML(R"(<t:ParentFolderId Id="i" ChangeKey="c"/>)"));
}

TEST(TWItemId, IsReadFromItsAttributes) {
  EXPECT_EQ(*read<TWItemId>(R"(<t:ItemId Id="i" ChangeKey="c"/>)"), *TWItemId::withDict(kBoth));
  EXPECT_EQ(*read<TWRootItemId>(R"(<m:RootItemId RootItemId="i" RootItemChangeKey="c" Id="x"/>)"),
            *TWRootItemId::withDict(kBoth));
}

TEST(TWItemId, MayLackItsChangeKeyButNotItsId) {
  EXPECT_THAT(written(*TWItemId::withDict({{"id", "i"}})), EqualsXML(R"(<t:ItemId Id="i"/>)"));
  EXPECT_THAT(
      failure(*TWItemId::withDict({{"changekey", "c"}})),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "id is a required field with no default"));
  EXPECT_FALSE(TWItemId::withDict()->toXML(nullptr));
  EXPECT_THAT(
      failure(*TWRootItemId::withDict()),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "id is a required field with no default"));
}

// Only a missing id fails: the texts are not looked into here. Requests refuse an empty id.
TEST(TWItemId, EmptyTextsAreWrittenAndReadAsSuch) {
  const auto empty = TWItemId::withDict({{"id", ""}, {"changekey", ""}});
  EXPECT_THAT(written(*empty), EqualsXML(R"(<t:ItemId Id="" ChangeKey=""/>)"));
  EXPECT_EQ(*read<TWItemId>(R"(<t:ItemId Id="" ChangeKey=""/>)"), *empty);
  EXPECT_NE(*read<TWItemId>(R"(<t:ItemId Id=""/>)"), *empty);
  EXPECT_THAT(written(*TWRootItemId::withDict({{"id", "i"}, {"changekey", ""}})),
              EqualsXML(R"(<m:RootItemId RootItemId="i" RootItemChangeKey=""/>)"));
}

TEST(TWItemId, HasAtMost512Characters) {
  const std::string longest(512, 'i');
  EXPECT_TRUE(TWItemId::withDict({{"id", longest}})->clean(nullptr));
  EXPECT_THAT(
      failure(*TWItemId::withDict({{"id", longest + "i"}})),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "id value " + longest + "i exceeds length 512"));
}

TEST(TWItemId, IsWrittenWithTheIdFirst) {
  EXPECT_EQ(TWItemId::withDict({{"changekey", "c"}, {"id", "i"}})->toXML(nullptr).XMLString(),
            R"(<t:ItemId Id="i" ChangeKey="c"></t:ItemId>)");
}

TEST(TWItemId, IsComparedByIdAndChangeKey) {
  const auto id = TWItemId::withDict(kBoth);
  EXPECT_EQ(*id, *TWItemId::withDict(kBoth));
  EXPECT_EQ(id->hash(), TWItemId::withDict(kBoth)->hash());
  EXPECT_FALSE(*id == *TWItemId::withDict({{"id", "i"}, {"changekey", "d"}}));
  EXPECT_FALSE(*id == *TWItemId::withDict({{"id", "i"}}));
  EXPECT_FALSE(*TWItemId::withDict({{"id", "x"}}) == *TWItemId::withDict({{"changekey", "x"}}));
}

TEST(TWItemId, OnlyThatOfAConversationStandsForAConstant) {
  EXPECT_EQ(TWConversationId::withDict(kBoth)->constantText(), "i");
  EXPECT_EQ(TWUtils::xmlFromValue(TWConversationId::withDict(kBoth)), "i");
  EXPECT_FALSE(TWConversationId::withDict()->constantText());
  EXPECT_FALSE(TWItemId::withDict(kBoth)->constantText());
}

}  // namespace
}  // namespace tarnwell
