#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWMessageHeader.h"

#include "tests/items/ElementTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::read;
using test::tableOf;
using test::written;
using testing::ElementsAre;

TEST(TWMessageHeader, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWMessageHeader::elementClass()),
              ElementsAre("name (HeaderName): TWTextField, isAttribute", "value (): TWSubField"));
}

TEST(TWMessageHeader, ReadsWhatItWrites) {
  const std::string xml =
      R"(<t:InternetMessageHeader HeaderName="X-Mailer">a&lt;b</t:InternetMessageHeader>)";
  const auto header = read<TWMessageHeader>(xml);
  EXPECT_EQ(header->get<std::string>("name"), "X-Mailer");
  EXPECT_EQ(header->get<std::string>("value"), "a<b");
  EXPECT_THAT(written(*header), EqualsXML(xml));
}

}  // namespace
}  // namespace tarnwell
