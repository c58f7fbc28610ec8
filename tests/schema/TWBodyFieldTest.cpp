#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWBody.h"
#include "tarnwell/schema/TWBodyField.h"

#include "tests/schema/FieldTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::cleaned;
using test::EqualsXML;
using test::failure;
using test::IsFailure;
using test::readFrom;
using test::written;

const TWFieldOptions kBody{.name = "body", .fieldURI = "item:Body", .default_ = "none"};

TEST(TWBodyField, IsTextAndComplex) {
  const auto field = TWBodyField::withProps(kBody);
  EXPECT_NE(dynamic_cast<const TWTextField*>(field.get()), nullptr);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::text);
  EXPECT_TRUE(field->isComplex());
  EXPECT_FALSE(field->isList());
}

TEST(TWBodyField, ABodyKeepsItsKind) {
  const auto field = TWBodyField::withProps(kBody);
  EXPECT_EQ(cleaned(*field, TWHTMLBody("<p>")).bodyType(), TWBodyType::html);
  EXPECT_EQ(cleaned(*field, TWBody("a")).bodyType(), TWBodyType::plain);
  EXPECT_EQ(cleaned(*field, "a").bodyType(), TWBodyType::none);
}

TEST(TWBodyField, WhatCanGiveATextBecomesThatText) {
  const auto field = TWBodyField::withProps(kBody);
  EXPECT_EQ(cleaned(*field, 5), TWValue("5"));
  EXPECT_EQ(cleaned(*field, NKXMLElement::withName("note", "written by hand")),
            TWValue("written by hand"));
}

TEST(TWBodyField, AnythingElseIsNoBody) {
  const TWValue date = TWInstant(std::chrono::milliseconds(0));
  EXPECT_THAT(failure(*TWBodyField::withProps(kBody), date),
              IsFailure(TWErrorCode::ErrorType,
                        date.description() + " value is not of type TWBodyField for body"));
}

TEST(TWBodyField, APlainBodyIsReadAsUnescapedHTML) {
  const auto field = TWBodyField::withProps(kBody);
  const auto body = readFrom(*field, R"(<t:Body BodyType="Text">a&lt;b</t:Body>)");
  EXPECT_EQ(body, TWValue(TWHTMLBody("<pre>a<b</pre>")));
  EXPECT_THAT(written(*field, body),
              EqualsXML(R"(<t:Body BodyType="HTML">&lt;pre>a&lt;b&lt;/pre></t:Body>)"));
}

TEST(TWBodyField, AnHTMLBodyIsReadAsItIsAndStaysHTML) {
  const auto field = TWBodyField::withProps(kBody);
  const auto body = readFrom(*field, R"(<t:Body BodyType="HTML">&lt;p>a&amp;amp;b</t:Body>)");
  EXPECT_EQ(body, TWValue(TWHTMLBody("<p>a&amp;b")));
  EXPECT_THAT(written(*field, cleaned(*field, body)),
              EqualsXML(R"(<t:Body BodyType="HTML">&lt;p&gt;a&amp;amp;b</t:Body>)"));
}

TEST(TWBodyField, AnEmptyBodyIsTheEmptyText) {
  const auto field = TWBodyField::withProps(kBody);
  EXPECT_EQ(readFrom(*field, R"(<t:Body BodyType="HTML"/>)"), TWValue(TWHTMLBody("")));
  EXPECT_EQ(readFrom(*field, R"(<t:Body BodyType="Text"/>)"), TWValue(TWHTMLBody("<pre></pre>")));
}

TEST(TWBodyField, ABodyOfAnotherTypeGivesTheDefault) {
  const auto field = TWBodyField::withProps(kBody);
  for (const auto* xml :
       {R"(<t:Body BodyType="Best">a</t:Body>)", R"(<t:Body BodyType="text">a</t:Body>)",
        R"(<t:Body BodyType="html">a</t:Body>)", "<t:Body>a</t:Body>", ""})
    EXPECT_EQ(readFrom(*field, xml), TWValue("none")) << xml;
}

TEST(TWBodyField, WritesTheTypeOfTheBody) {
  const auto field = TWBodyField::withProps(kBody);
  EXPECT_THAT(written(*field, TWHTMLBody("<p>a&b")),
              EqualsXML(R"(<t:Body BodyType="HTML">&lt;p&gt;a&amp;b</t:Body>)"));
  EXPECT_THAT(written(*field, TWBody("a<b")),
              EqualsXML(R"(<t:Body BodyType="Text">a&lt;b</t:Body>)"));
}

TEST(TWBodyField, ATextWithoutATypeIsPlainThoughItHoldsMarkup) {
  EXPECT_THAT(written(*TWBodyField::withProps(kBody), "<p>a</p>"),
              EqualsXML(R"(<t:Body BodyType="Text">&lt;p&gt;a&lt;/p&gt;</t:Body>)"));
}

TEST(TWTextBodyField, IsAnOrdinaryText) {
  const auto field = TWTextBodyField::withProps({.name = "text_body", .fieldURI = "item:TextBody"});
  EXPECT_EQ(field->className(), "TWTextBodyField");
  EXPECT_NE(dynamic_cast<const TWTextField*>(field.get()), nullptr);
  EXPECT_TRUE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_EQ(readFrom(*field, R"(<t:TextBody BodyType="Text">a&lt;b</t:TextBody>)"), TWValue("a<b"));
  EXPECT_THAT(written(*field, "a<b"), EqualsXML("<t:TextBody>a&lt;b</t:TextBody>"));
}

}  // namespace
}  // namespace tarnwell
