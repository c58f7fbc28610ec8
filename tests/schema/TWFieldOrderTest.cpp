#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/schema/FieldTesting.h"
#include "tests/schema/PathContact.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::ContactFolder;
using test::EqualsXML;
using test::IsFailure;
using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::Pair;

std::shared_ptr<TWFieldOrder> orderOf(std::string_view text) {
  TWError error;
  auto order = TWFieldOrder::fromString(text, ContactFolder(), false, &error);
  EXPECT_TRUE(order) << error;
  return order;
}

TWError refusal(const TWValue& text) {
  TWError error;
  EXPECT_THAT(TWFieldOrder::fromString(text, ContactFolder(), false, &error), IsNull());
  return error;
}

TEST(TWFieldOrder, OnlyALeadingDashIsDescending) {
  EXPECT_FALSE(orderOf("subject")->reverse());
  EXPECT_TRUE(orderOf("-subject")->reverse());
  EXPECT_TRUE(orderOf("--subject--")->reverse());
  EXPECT_FALSE(orderOf("subject-")->reverse());
}

TEST(TWFieldOrder, DashesAtBothEndsAreNoPartOfThePath) {
  for (const auto* const text : {"subject", "-subject", "--subject--", "subject-"})
    EXPECT_EQ(orderOf(text)->fieldPath()->path(), "subject") << text;
  EXPECT_EQ(orderOf("-phone_numbers__HomePhone")->fieldPath()->path(), "phone_numbers__HomePhone");
}

TEST(TWFieldOrder, ADashWithinStaysPartOfThePath) {
  EXPECT_THAT(refusal("-a-b"), IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                         "Unknown fieldname a-b on class ContactFolder"));
}

TEST(TWFieldOrder, ADashAloneNamesNothing) {
  EXPECT_THAT(refusal("-"), IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                      "Unknown fieldname  on class ContactFolder"));
}

TEST(TWFieldOrder, ThePathsErrorIsTheOrders) {
  EXPECT_THAT(refusal(5), IsFailure(TWErrorCode::ErrorFieldValue, "Field path 5 must be a string"));
  EXPECT_THAT(refusal("-subject__x"),
              IsFailure(TWErrorCode::ErrorValueOutOfRange,
                        "Field path subject__x must not specify labekl or subfield"));
  TWError error;
  EXPECT_THAT(TWFieldOrder::fromString("-phone_numbers", ContactFolder(), true, &error), IsNull());
  EXPECT_EQ(error.message(), "Indexed field path phone_numbers must specific label");
  EXPECT_THAT(TWFieldOrder::withFieldPath(nullptr, true), IsNull());
}

TEST(TWFieldOrder, IsWrittenWithItsDirectionAroundItsPath) {
  EXPECT_THAT(orderOf("-subject")->toXML(nullptr).XMLString(),
              EqualsXML(R"(<t:FieldOrder Order="Descending">
                             <t:FieldURI FieldURI="item:Subject"/>
                           </t:FieldOrder>)"));
  EXPECT_THAT(orderOf("phone_numbers__Pager")->toXML(nullptr).XMLString(),
              EqualsXML(R"(<t:FieldOrder Order="Ascending">
                             <t:IndexedFieldURI FieldURI="contacts:PhoneNumber"
                                                FieldIndex="Pager"/>
                           </t:FieldOrder>)"));
}

TEST(TWFieldOrder, AnOrderWhosePathCannotBeWrittenIsNotWritten) {
  TWError error;
  EXPECT_FALSE(orderOf("phone_numbers")->toXML(nullptr, &error));
  EXPECT_THAT(error, IsFailure(TWErrorCode::ErrorValueOutOfRange,
                               "Field path for indexed field phone_numbers is missing label and/or "
                               "subfield"));
}

TEST(TWFieldOrder, SeveralAreWrittenInTheirOrder) {
  const auto sort =
      TWUtils::updateElement(TWUtils::createElement("m:SortOrder"),
                             TWValue::list({orderOf("-subject"), orderOf("phone_numbers__Pager")}));
  const auto written = sort.elementsForName("t:FieldOrder");
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(written[0].attributeForName("Order").stringValue(), "Descending");
  EXPECT_EQ(written[1].attributeForName("Order").stringValue(), "Ascending");
}

TEST(TWFieldOrder, TheDirectionCanBeChanged) {
  const auto order = orderOf("subject");
  order->setReverse(true);
  EXPECT_TRUE(order->reverse());
  EXPECT_EQ(order->toXML(nullptr).attributeForName("Order").stringValue(), "Descending");
}

TEST(TWFieldOrder, IsMadeFromAPathToo) {
  const auto path = orderOf("subject")->fieldPath();
  const auto order = TWFieldOrder::withFieldPath(path, true);
  EXPECT_EQ(order->fieldPath(), path);
  EXPECT_TRUE(order->reverse());
}

TEST(TWFieldOrder, OrdersAreEqualOnlyToThemselves) {
  const auto order = orderOf("subject");
  EXPECT_TRUE(order->isEqual(*order));
  EXPECT_FALSE(order->isEqual(*orderOf("subject")));
  EXPECT_EQ(TWValue(order).kind(), TWValue::Kind::fieldOrder);
}

TEST(TWFieldOrder, IsDescribedByItsPathAndDirection) {
  const auto order = orderOf("-subject");
  EXPECT_EQ(order->description(), "TWFieldOrder__-subject");
  EXPECT_EQ(orderOf("subject")->description(), "TWFieldOrder__subject");
  EXPECT_THAT(
      order->declaredProperties(),
      ElementsAre(Pair("fieldPath", TWValue(order->fieldPath())), Pair("reverse", TWValue(true))));
}

}  // namespace
}  // namespace tarnwell
