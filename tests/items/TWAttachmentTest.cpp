#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWTask.h"
#include "tarnwell/time/TWDateTime.h"

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
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

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

TEST(TWAttachment, GetsAContentTypeOnAnItem) {
  const auto item = TWItem::withDict();
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}});
  ASSERT_TRUE(file->clean(nullptr));
  EXPECT_TRUE(file->get("content_type").isAbsent());
  file->setParentItem(item);
  ASSERT_TRUE(file->clean(nullptr));
  EXPECT_EQ(file->get<std::string>("content_type"), "application/octet-stream");
  file->set("content_type", "text/plain");
  ASSERT_TRUE(file->clean(nullptr));
  EXPECT_EQ(file->get<std::string>("content_type"), "text/plain");
}

TEST(TWAttachment, TakesItsItemFromADictionaryAndLetsGoOfIt) {
  const auto item = TWItem::withDict();
  const auto file = TWFileAttachment::withDict({{"parent_item", TWValue::weak(item)}});
  EXPECT_EQ(file->parentItem(), item);
  EXPECT_THAT(TWFileAttachment::fieldNames(), Not(Contains("parent_item")));
  file->setParentItem(nullptr);
  EXPECT_EQ(file->parentItem(), nullptr);
  EXPECT_TRUE(file->allKeys().empty());
}

TEST(TWAttachment, DoesNotKeepTheItemThatADictionaryGivesIt) {
  auto item = TWItem::withDict();
  const auto file = TWFileAttachment::withDict({{"parent_item", item}});
  EXPECT_EQ(file->parentItem(), item);
  item.reset();
  EXPECT_EQ(file->parentItem(), nullptr);
}

TEST(TWAttachment, IsWrittenInOrderWithoutItsSizeAndItsItem) {
  const auto item = TWItem::withDict();
  const auto file = TWFileAttachment::withDict(
      {{"attachment_id", TWAttachmentId::withDict({{"id", "i"}})},
       {"name", "a.txt"},
       {"content_id", "c"},
       {"content_location", "http://example.com/a"},
       {"size", 3},
       {"last_modified_time", *TWDateTime::dateTimeFromString("2024-03-01T09:30:00Z")},
       {"is_inline", true},
       {"is_contact_photo", false},
       {"_content", TWData{1, 2, 3}},
       {"parent_item", TWValue::weak(item)}});
  EXPECT_THAT(written(*file),
              EqualsXML("<t:FileAttachment><t:AttachmentId Id='i'/><t:Name>a.txt</t:Name>"
                        "<t:ContentType>application/octet-stream</t:ContentType>"
                        "<t:ContentId>c</t:ContentId>"
                        "<t:ContentLocation>http://example.com/a</t:ContentLocation>"
                        "<t:LastModifiedTime>2024-03-01T09:30:00Z</t:LastModifiedTime>"
                        "<t:IsInline>1</t:IsInline><t:IsContactPhoto>0</t:IsContactPhoto>"
                        "<t:Content>AQID</t:Content></t:FileAttachment>"));
}

TEST(TWAttachment, ContentIsWrittenOnOneLine) {
  const auto file = TWFileAttachment::withDict({{"_content", TWData(1000, 7)}});
  const auto text = file->toXML(nullptr).elementForName("t:Content").stringValue();
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), 1336U);
  EXPECT_EQ(text->find_first_of("\r\n "), std::string::npos);
}

TEST(TWAttachment, OfAnEmptyFileHasAnEmptyContent) {
  const auto file = TWFileAttachment::withDict({{"_content", TWData()}});
  EXPECT_THAT(written(*file), EqualsXML("<t:FileAttachment><t:Content/></t:FileAttachment>"));
  const auto back = read<TWFileAttachment>("<t:FileAttachment><t:Content/></t:FileAttachment>");
  EXPECT_EQ(back->get<TWData>("_content"), TWData());
}

TEST(TWAttachment, KeepsOnlyWhatWasThereToRead) {
  const auto file = read<TWFileAttachment>(
      "<t:FileAttachment><t:Name>a</t:Name><t:Content>AQID</t:Content></t:FileAttachment>");
  EXPECT_THAT(file->allKeys(), ElementsAre("name", "_content"));
  EXPECT_EQ(file->get<TWData>("_content"), (TWData{1, 2, 3}));
}

TEST(TWAttachment, IdentityIsItsId) {
  const auto id = TWAttachmentId::withDict({{"id", "i"}});
  const auto one = TWFileAttachment::withDict({{"attachment_id", id}, {"name", "a"}});
  const auto other = TWFileAttachment::withDict({{"attachment_id", id}, {"name", "b"}});
  EXPECT_EQ(*one, *other);
  EXPECT_EQ(one->hash(), other->hash());
  EXPECT_NE(*one, *TWFileAttachment::withDict({{"name", "a"}}));
}

TEST(TWAttachment, WithoutAnIdGoesByWhatIsKnownOfItButContentAndTime) {
  const auto file = TWFileAttachment::withDict({{"name", "a"}});
  const auto changed = TWFileAttachment::withDict(
      {{"name", "a"}, {"_content", TWData{1}}, {"last_modified_time", TWInstant()}});
  EXPECT_EQ(*file, *changed);
  EXPECT_EQ(file->hash(), changed->hash());
  for (const TWDictionary& dict :
       std::vector<TWDictionary>{{{"name", "b"}},
                                 {{"name", "a"}, {"content_type", "c"}},
                                 {{"name", "a"}, {"content_id", "c"}},
                                 {{"name", "a"}, {"content_location", "c"}},
                                 {{"name", "a"}, {"size", 1}},
                                 {{"name", "a"}, {"is_inline", true}}})
    EXPECT_NE(*file, *TWFileAttachment::withDict(dict)) << dict;
  changed->set("last_modified_name", "Ann");
  EXPECT_NE(*file, *changed);
}

TEST(TWAttachment, IsPrintedWithoutItsContent) {
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}, {"_content", TWData{1}}});
  EXPECT_EQ(file->description(),
            "TWFileAttachment (attachment_id=(null)name=a.txtcontent_type=(null)content_id=(null)"
            "content_location=(null)size=(null)last_modified_time=(null)is_inline=(null)"
            "is_contact_photo=(null))");
}

TEST(TWItemAttachment, IsPrintedWithoutItsItem) {
  const auto attachment =
      TWItemAttachment::withDict({{"name", "n"}, {"_item", TWMessage::withDict()}});
  EXPECT_EQ(attachment->description(),
            "TWItemAttachment (attachment_id=(null)name=ncontent_type=(null)content_id=(null)"
            "content_location=(null)size=(null)last_modified_time=(null)is_inline=(null))");
}

TEST(TWItemAttachment, DeclaresItsFieldsAfterThoseOfAttachments) {
  auto expected = kBaseFields;
  expected.emplace_back("_item (Item): TWItemField");
  EXPECT_THAT(tableOf(TWItemAttachment::elementClass()), ElementsAreArray(expected));
  EXPECT_EQ(TWItemAttachment::elementName(), "ItemAttachment");
}

TEST(TWItemAttachment, ReadsItsItemByTheNameOfItsElement) {
  const auto attachment = read<TWItemAttachment>(
      "<t:ItemAttachment><t:Name>n</t:Name><t:Message><t:Subject>s</t:Subject></t:Message>"
      "</t:ItemAttachment>");
  const auto item = attachment->get<std::shared_ptr<TWItem>>("_item");
  ASSERT_TRUE(item);
  EXPECT_EQ(item->className(), "TWMessage");
  EXPECT_EQ(item->get<std::string>("subject"), "s");
  EXPECT_EQ(attachment->get<std::string>("name"), "n");
  EXPECT_EQ(read<TWItemAttachment>("<t:ItemAttachment><t:CalendarItem/></t:ItemAttachment>")
                ->get<std::shared_ptr<TWItem>>("_item")
                ->className(),
            "TWCalendarItem");
}

TEST(TWItemAttachment, WithoutAnItemHasNone) {
  for (const auto* const xml : {"<t:ItemAttachment><t:Name>n</t:Name></t:ItemAttachment>",
                                "<t:ItemAttachment><m:Message/></t:ItemAttachment>",
                                "<t:ItemAttachment><t:NoSuchItem/></t:ItemAttachment>"})
    EXPECT_TRUE(read<TWItemAttachment>(xml)->get("_item").isAbsent()) << xml;
}

TEST(TWItemAttachment, WritesItsItemLastInAnElementOfItsKind) {
  const auto task = TWTask::withDict({{"subject", "s"}, {"culture", "en-US"}});
  const auto attachment = TWItemAttachment::withDict({{"_item", task}, {"name", "n"}});
  EXPECT_THAT(written(*attachment), EqualsXML("<t:ItemAttachment><t:Name>n</t:Name>" +
                                              written(*task) + "</t:ItemAttachment>"));
  EXPECT_EQ(attachment->get<std::shared_ptr<TWItem>>("_item"), task);
}

TEST(TWItemAttachment, ItsItemMustBeValid) {
  const auto attachment = TWItemAttachment::withDict({{"_item", TWTask::withDict()}});
  const auto needsCulture =
      IsFailure(TWErrorCode::ErrorValueOutOfRange, "culture is a required field with no default");
  EXPECT_THAT(failure(*attachment), needsCulture);
  TWError error;
  EXPECT_FALSE(attachment->toXML(nullptr, &error));
  EXPECT_THAT(error, needsCulture);
}

TEST(TWItemAttachment, AnythingButAnItemIsNoItem) {
  for (const TWValue& value : {TWValue("text"), TWValue(TWAttachmentId::withDict())})
    EXPECT_TRUE(failure(*TWItemAttachment::withDict({{"_item", value}})).is(TWErrorCode::ErrorType))
        << value;
}

TEST(TWItemAttachment, ItsItemKnowsTheItemThatItIsAttachedTo) {
  const auto inner = TWTask::withDict();
  const auto attachment = TWItemAttachment::withDict({{"_item", inner}});
  const auto outer = TWMessage::withDict({{"attachments", TWValue::list({attachment})}});
  EXPECT_EQ(attachment->parentItem(), outer);
  EXPECT_EQ(inner->parentItem(), outer);
}

TEST(TWItemAttachment, AnItemAttachedToItselfIsNotValid) {
  const auto attachment = TWItemAttachment::withDict();
  const auto item =
      TWMessage::withDict({{"attachments", TWValue::list({attachment})}, {"culture", "en-US"}});
  attachment->set("_item", item);
  EXPECT_THAT(failure(*item), IsFailure(TWErrorCode::ErrorValueOutOfRange,
                                        "TWItemAttachment is nested more than 64 levels deep"));
  EXPECT_EQ(attachment->get<std::shared_ptr<TWItem>>("_item"), item);
  attachment->remove("_item");
}

}  // namespace
}  // namespace tarnwell
