#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"

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
using testing::ElementsAreArray;

const std::vector<std::string> kBaseFields = {
    "attachment_id (): TWEWSElementField, valueCls TWAttachmentId",
    "name (Name): TWTextField",
    "content_type (ContentType): TWTextField",
    "content_id (ContentId): TWTextField",
    "content_location (ContentLocation): TWURIField",
    "size (Size): TWIntegerField, isReadOnly",
    "last_modified_time (LastModifiedTime): TWDateTimeField",
    "is_inline (IsInline): TWBooleanField",
};

TEST(TWAttachmentId, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWAttachmentId::elementClass()),
              ElementsAre("id (Id): TWIdField, isRequired, isSearchable, isAttribute",
                          "root_id (RootItemId): TWIdField, isSearchable, isAttribute",
                          "changekey (RootItemChangeKey): TWIdField, isSearchable, isAttribute"));
  EXPECT_EQ(TWAttachmentId::idAttr(), "Id");
  EXPECT_EQ(TWAttachmentId::rootIdAttr(), "RootItemId");
  EXPECT_EQ(TWAttachmentId::rootChangekeyAttr(), "RootItemChangeKey");
}

TEST(TWAttachmentId, ReadsWhatItWrites) {
  const std::string xml = R"(<t:AttachmentId Id="a" RootItemId="r" RootItemChangeKey="c"/>)";
  const auto id = read<TWAttachmentId>(xml);
  EXPECT_EQ(id->get<std::string>("id"), "a");
  EXPECT_EQ(id->get<std::string>("root_id"), "r");
  EXPECT_EQ(id->get<std::string>("changekey"), "c");
  EXPECT_THAT(written(*id), EqualsXML(xml));
  EXPECT_THAT(
      failure(*TWAttachmentId::withDict()),
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "id is a required field with no default"));
}

TEST(TWAttachment, DeclaresItsFields) {
  EXPECT_THAT(tableOf(TWAttachment::elementClass()), ElementsAreArray(kBaseFields));
  EXPECT_FALSE(TWAttachment::elementClass().elementName());
}

TEST(TWFileAttachment, DeclaresItsFieldsAfterThoseOfAttachments) {
  auto fields = kBaseFields;
  fields.emplace_back("is_contact_photo (IsContactPhoto): TWBooleanField");
  fields.emplace_back("_content (Content): TWBase64Field");
  EXPECT_THAT(tableOf(TWFileAttachment::elementClass()), ElementsAreArray(fields));
  EXPECT_EQ(TWFileAttachment::elementClass().base(), &TWAttachment::elementClass());
}

TEST(TWFileAttachment, IsReadWithItsContent) {
  const auto file = read<TWFileAttachment>(
      R"(<t:FileAttachment><t:AttachmentId Id="a"/><t:Name>one.txt</t:Name><t:Size>3</t:Size>
      <t:IsInline>true</t:IsInline><t:Content>QUJD</t:Content></t:FileAttachment>)");
  EXPECT_EQ(file->get("attachment_id"), TWValue(TWAttachmentId::withDict({{"id", "a"}})));
  EXPECT_EQ(file->get<std::string>("name"), "one.txt");
  EXPECT_EQ(file->get<int>("size"), 3);
  EXPECT_EQ(file->get<bool>("is_inline"), true);
  EXPECT_EQ(file->get<TWData>("_content"), (TWData{'A', 'B', 'C'}));
}

}  // namespace
}  // namespace tarnwell
