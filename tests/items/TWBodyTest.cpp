#include <gtest/gtest.h>

#include "tarnwell/items/TWBody.h"
#include "tarnwell/util/TWDictionary.h"

namespace tarnwell {
namespace {

TEST(TWBody, KnowsItsTypeAsEWSCallsIt) {
  EXPECT_EQ(TWBody::bodyType(), "Text");
  EXPECT_EQ(TWHTMLBody::bodyType(), "HTML");
}

TEST(TWBody, IsGivenWhereverAValueIs) {
  const TWDictionary properties{{"body", TWHTMLBody("<p>Hello</p>")}, {"note", TWBody("Hello")}};
  EXPECT_EQ(properties["body"].asText(), "<p>Hello</p>");
  EXPECT_EQ(properties["body"].bodyType(), TWBodyType::html);
  EXPECT_EQ(properties["note"].asText(), "Hello");
  EXPECT_EQ(properties["note"].bodyType(), TWBodyType::plain);
}

TEST(TWBody, KeepsItsTypeWhenItIsHandledAsABody) {
  const TWHTMLBody html("<p>");
  const TWBody& body = html;
  EXPECT_EQ(body.stringValue(), "<p>");
  EXPECT_EQ(TWValue(body).bodyType(), TWBodyType::html);
  EXPECT_EQ(TWValue(TWBody(body)).bodyType(), TWBodyType::html);
}

}  // namespace
}  // namespace tarnwell
