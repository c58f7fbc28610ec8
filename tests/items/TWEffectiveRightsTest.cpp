#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWEffectiveRights.h"

#include "tests/items/ElementTesting.h"

namespace tarnwell {
namespace {

using test::read;
using test::tableOf;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

TEST(TWEffectiveRights, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWEffectiveRights::elementClass()),
              ElementsAre("create_associated (CreateAssociated): TWBooleanField, default 0",
                          "create_contents (CreateContents): TWBooleanField, default 0",
                          "create_hierarchy (CreateHierarchy): TWBooleanField, default 0",
                          "delete (Delete): TWBooleanField, default 0",
                          "modify (Modify): TWBooleanField, default 0",
                          "read (Read): TWBooleanField, default 0",
                          "view_private_items (ViewPrivateItems): TWBooleanField, default 0"));
}

TEST(TWEffectiveRights, WhatTheServerDoesNotSayIsFalse) {
  const auto rights = read<TWEffectiveRights>(
      "<t:EffectiveRights><t:Delete>true</t:Delete><t:Modify>false</t:Modify>"
      "<t:ViewPrivateItems>true</t:ViewPrivateItems></t:EffectiveRights>");
  EXPECT_THAT(rights->allKeys(), UnorderedElementsAreArray(TWEffectiveRights::fieldNames()));
  for (const auto& right : rights->allKeys())
    EXPECT_EQ(rights->get<bool>(right), right == "delete" || right == "view_private_items")
        << right;
}

}  // namespace
}  // namespace tarnwell
