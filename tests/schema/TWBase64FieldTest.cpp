#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/schema/TWBase64Field.h"

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

const TWData kBytes = {'A', 'B', 'C'};
const TWFieldOptions kContent{.name = "content", .fieldURI = "item:MimeContent"};

TEST(TWBase64Field, IsDataAndComplex) {
  const auto field = TWBase64Field::withProps(kContent);
  EXPECT_EQ(field->valueClass().kind(), TWValueClass::Kind::data);
  EXPECT_TRUE(field->isComplex());
  EXPECT_FALSE(field->isList());
  EXPECT_EQ(cleaned(*field, kBytes), TWValue(kBytes));
  EXPECT_THAT(
      failure(*field, "QUJD"),
      IsFailure(TWErrorCode::ErrorType, "QUJD value is not of type TWBase64Field for content"));
}

TEST(TWBase64Field, ReadsBytes) {
  const auto field = TWBase64Field::withProps(kContent);
  EXPECT_EQ(readFrom(*field, "<t:MimeContent>QUJD</t:MimeContent>"), TWValue(kBytes));
  EXPECT_EQ(readFrom(*field, "<t:MimeContent/>"), TWValue(TWData()));
}

TEST(TWBase64Field, WhatDoesNotDecodeIsNothingAndNotTheDefault) {
  auto options = kContent;
  options.default_ = TWData{1};
  const auto field = TWBase64Field::withProps(options);
  EXPECT_TRUE(readFrom(*field, "<t:MimeContent>QU\nJD</t:MimeContent>").isAbsent());
  EXPECT_TRUE(readFrom(*field, "<t:MimeContent>QUJ\n</t:MimeContent>").isAbsent());
  EXPECT_TRUE(readFrom(*field, "<t:MimeContent>Q</t:MimeContent>").isAbsent());
  EXPECT_EQ(readFrom(*field, ""), TWValue(TWData{1}));
}

TEST(TWBase64Field, WritesOneLine) {
  const auto field = TWBase64Field::withProps(kContent);
  EXPECT_THAT(written(*field, kBytes), EqualsXML("<t:MimeContent>QUJD</t:MimeContent>"));
  EXPECT_THAT(written(*field, TWData(10'000, 0)),
              EqualsXML("<t:MimeContent>" + std::string(13'334, 'A') + "==</t:MimeContent>"));
}

TEST(TWBase64Field, WhatIsNoDataCannotBeWritten) {
  EXPECT_EQ(written(*TWBase64Field::withProps(kContent), "text"),
            "error: text value is not of type TWBase64Field for content");
}

}  // namespace
}  // namespace tarnwell
