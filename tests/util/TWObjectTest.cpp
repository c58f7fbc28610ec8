#include <gtest/gtest.h>

#include "tarnwell/util/TWObject.h"

#include "tests/support/TestObjects.h"

namespace tarnwell {
namespace {

using test::FakeXMLObject;

TEST(TWObject, ListsItsDeclaredProperties) {
  const auto object = FakeXMLObject::make();
  object->properties = {{"username", "ann"}, {"size", 3}, {"parent", TWValue()}};
  EXPECT_EQ(object->propertiesDescription(),
            "------Properties for [FakeXMLObject]-------\n"
            "\t[username]->[ann]\n"
            "\t[size]->[3]\n"
            "\t[parent]->[(null)]\n"
            "----------------------------------");
}

TEST(TWObject, ListsHeadAndFootWithoutProperties) {
  EXPECT_EQ(FakeXMLObject::make()->propertiesDescription(),
            "------Properties for [FakeXMLObject]-------\n----------------------------------");
}

TEST(TWObject, EqualityIsIdentityUnlessAClassSaysOtherwise) {
  const auto a = FakeXMLObject::make();
  const auto b = FakeXMLObject::make();
  EXPECT_TRUE(a->isEqual(*a));
  EXPECT_FALSE(a->isEqual(*b));
  EXPECT_EQ(a->hash(), a->hash());
}

}  // namespace
}  // namespace tarnwell
