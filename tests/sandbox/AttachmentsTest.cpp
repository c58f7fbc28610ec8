#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string file(const std::string& name, const std::string& content) {
  return "<t:FileAttachment><t:Name>" + name +
         "</t:Name><t:ContentType>text/plain</t:ContentType>"
         "<t:Content>" +
         content + "</t:Content></t:FileAttachment>";
}

class Attachments : public StoreTest {
 protected:
  Answer attach(const IdPair& parent, const std::string& attachments) {
    return ask("<m:CreateAttachment><m:ParentItemId Id='" + parent.id + "'/><m:Attachments>" +
               attachments + "</m:Attachments></m:CreateAttachment>");
  }
  Answer get(const std::string& id, const std::string& shape = {},
             const std::string& version = "Exchange2016") {
    return ask("<m:GetAttachment>" + shape + "<m:AttachmentIds><t:AttachmentId Id='" + id +
                   "'/></m:AttachmentIds></m:GetAttachment>",
               version);
  }
  Answer remove(const std::string& id) {
    return ask("<m:DeleteAttachment><m:AttachmentIds><t:AttachmentId Id='" + id +
               "'/></m:AttachmentIds></m:DeleteAttachment>");
  }

  const IdPair carrier = makeItem("<t:Message><t:Subject>Carrier</t:Subject></t:Message>");
};

TEST_F(Attachments, AFileComesBackWithItsContent) {
  const Answer created = attach(carrier, file("a.txt", "YWJj"));
  EXPECT_EQ(created.text("//ResponseCode"), "NoError");
  EXPECT_EQ(created.attribute("//AttachmentId", "RootItemId"), carrier.id);
  const Answer got = get(created.attribute("//FileAttachment/AttachmentId", "Id"));
  EXPECT_EQ(got.text("//FileAttachment/Name"), "a.txt");
  EXPECT_EQ(got.text("//FileAttachment/ContentType"), "text/plain");
  EXPECT_EQ(got.text("//FileAttachment/Size"), "3");
  EXPECT_EQ(got.text("//FileAttachment/IsInline"), "false");
  EXPECT_EQ(got.text("//FileAttachment/Content"), "YWJj");
}

TEST_F(Attachments, TheItemHasANewChangeKeyAndListsThem) {
  const Answer created = attach(carrier, file("a.txt", "YWJj") + file("b.txt", "ZGVm"));
  EXPECT_EQ(created.count("//CreateAttachmentResponseMessage"), 2U);
  const Answer answer = getItem(carrier);
  EXPECT_NE(answer.attribute("//ItemId", "ChangeKey"), carrier.changeKey);
  EXPECT_EQ(answer.text("//HasAttachments"), "true");
  EXPECT_THAT(answer.texts("//FileAttachment/Name"), ElementsAre("a.txt", "b.txt"));
  EXPECT_EQ(answer.count("//FileAttachment/Content"), 0U);
}

TEST_F(Attachments, SeveralMegabytesAreNoMatter) {
  const std::string content(std::size_t{8} << 20U, 'Q');
  const Answer created = attach(carrier, file("large.bin", content));
  EXPECT_EQ(get(created.attribute("//AttachmentId", "Id")).text("//Content"), content);
}

TEST_F(Attachments, ANewItemBringsItsAttachments) {
  const Answer created =
      ask("<m:CreateItem MessageDisposition='SaveOnly'><m:Items><t:Message><t:Attachments>" +
          file("a.txt", "YWJj") +
          "<t:ItemAttachment><t:Name>inner</t:Name><t:Message><t:Subject>Inner</t:Subject>"
          "</t:Message></t:ItemAttachment></t:Attachments></t:Message></m:Items></m:CreateItem>");
  EXPECT_EQ(get(created.attribute("//FileAttachment/AttachmentId", "Id")).text("//Content"),
            "YWJj");
  EXPECT_EQ(get(created.attribute("//ItemAttachment/AttachmentId", "Id"))
                .text("//ItemAttachment/Message/Subject"),
            "Inner");
}

TEST_F(Attachments, AnItemInsideHasNoIdOfItsOwn) {
  const Answer created =
      attach(carrier,
             "<t:ItemAttachment><t:Name>inner</t:Name><t:Message><t:Subject>Inner</t:Subject>"
             "<t:Body BodyType='HTML'>&lt;i&gt;x&lt;/i&gt;</t:Body></t:Message>"
             "</t:ItemAttachment>");
  const std::string id = created.attribute("//ItemAttachment/AttachmentId", "Id");
  const Answer got = get(id,
                         "<m:AttachmentShape><t:IncludeMimeContent>true</t:IncludeMimeContent>"
                         "<t:BodyType>Text</t:BodyType></m:AttachmentShape>");
  EXPECT_EQ(got.text("//ItemAttachment/Message/Body"), "x");
  EXPECT_EQ(got.count("//MimeContent"), 1U);
  EXPECT_EQ(got.count("//ItemId"), 0U);
  EXPECT_EQ(get(id).count("//MimeContent"), 0U);
}

TEST_F(Attachments, ADeletedAttachmentIsGone) {
  const std::string id = attach(carrier, file("a.txt", "YWJj")).attribute("//AttachmentId", "Id");
  const Answer removed = remove(id);
  EXPECT_EQ(removed.attribute("//RootItemId", "RootItemId"), carrier.id);
  EXPECT_EQ(removed.attribute("//RootItemId", "RootItemChangeKey"),
            getItem(carrier).attribute("//ItemId", "ChangeKey"));
  EXPECT_EQ(get(id).text("//ResponseCode"), "ErrorItemNotFound");
  EXPECT_EQ(remove(id).text("//ResponseCode"), "ErrorItemNotFound");
  EXPECT_EQ(getItem(carrier).text("//HasAttachments"), "false");
}

TEST_F(Attachments, AttachmentsMoveWithTheirItem) {
  const std::string id = attach(carrier, file("a.txt", "YWJj")).attribute("//AttachmentId", "Id");
  static_cast<void>(ask("<m:MoveItem><m:ToFolderId>" + distinguished("inbox") +
                        "</m:ToFolderId><m:ItemIds>" + itemId({carrier.id, ""}) +
                        "</m:ItemIds></m:MoveItem>"));
  EXPECT_EQ(get(id).text("//Content"), "YWJj");
}

TEST_F(Attachments, InlineFilesDoNotCount) {
  static_cast<void>(
      attach(carrier,
             "<t:FileAttachment><t:Name>logo</t:Name><t:ContentId>logo@1</t:ContentId>"
             "<t:IsInline>true</t:IsInline><t:Content>YWJj</t:Content></t:FileAttachment>"));
  EXPECT_EQ(getItem(carrier).text("//HasAttachments"), "false");
  EXPECT_EQ(getItem(carrier).text("//FileAttachment/ContentId"), "logo@1");
}

TEST_F(Attachments, OldSchemasKnowLessOfThem) {
  const std::string id = attach(carrier, file("a.txt", "YWJj")).attribute("//AttachmentId", "Id");
  EXPECT_EQ(get(id, "", "Exchange2007_SP1").count("//Size"), 0U);
  EXPECT_EQ(get(id, "", "Exchange2007_SP1").text("//Content"), "YWJj");
}

TEST_F(Attachments, BadRequestsAreRefused) {
  EXPECT_EQ(get("bm90aGluZw==").text("//ResponseCode"), "ErrorInvalidIdMalformed");
  EXPECT_EQ(get(carrier.id).text("//ResponseCode"), "ErrorInvalidAttachmentId");
  EXPECT_EQ(attach({"", ""}, file("a", "YQ==")).text("//ResponseCode"), "ErrorInvalidIdEmpty");
  const auto refused = [&](const std::string& attachment) {
    return violation("<m:CreateAttachment><m:ParentItemId Id='x'/><m:Attachments>" + attachment +
                     "</m:Attachments></m:CreateAttachment>");
  };
  EXPECT_THAT(refused("<t:FileAttachment><t:Name>a</t:Name></t:FileAttachment>"),
              HasSubstr("incomplete content"));
  EXPECT_THAT(refused(file("a", "!")), HasSubstr("base64Binary"));
  EXPECT_THAT(refused("<t:FileAttachment><t:Content>YQ==</t:Content><t:Name>a</t:Name>"
                      "</t:FileAttachment>"),
              HasSubstr("'Name'"));
  EXPECT_THAT(refused("<t:Message/>"), HasSubstr("'Message'"));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
