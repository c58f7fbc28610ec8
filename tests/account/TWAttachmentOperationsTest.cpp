#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::responseMessage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const TWData kABC{'A', 'B', 'C'};

/// What is asked when the content or the item of attachment "1" is read.
constexpr auto kRequest =
    "<m:GetAttachment><m:AttachmentShape/><m:AttachmentIds><t:AttachmentId Id='1'/>"
    "</m:AttachmentIds></m:GetAttachment>";

class TWAttachmentOperations : public test::MailboxTest {
 protected:
  static test::ScriptedAnswer attachments(std::string_view operation, const std::string& inner) {
    return answer(operation, responseMessage(operation, "Success", "NoError",
                                             "<m:Attachments>" + inner + "</m:Attachments>"));
  }
  void creates() {
    server.on("CreateAttachment",
              attachments("CreateAttachment",
                          "<t:FileAttachment><t:AttachmentId Id=\"1\" RootItemId=\"M\" "
                          "RootItemChangeKey=\"rck\"/></t:FileAttachment>"));
  }
  static test::ScriptedAnswer deleted() {
    return answer("DeleteAttachment",
                  responseMessage("DeleteAttachment", "Success", "NoError",
                                  "<m:RootItemId RootItemId=\"M\" RootItemChangeKey=\"rck2\"/>"));
  }
  void deletes() { server.on("DeleteAttachment", deleted()); }
  /// An answer that is the failure of the whole call.
  static test::ScriptedAnswer busy() {
    return test::ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "busy"), 500);
  }
  static std::shared_ptr<TWFileAttachment> newFile() {
    auto file = TWFileAttachment::withDict({{"name", "a"}});
    EXPECT_TRUE(file->setContent(kABC));
    return file;
  }
  template <class Attachment = TWFileAttachment>
  std::shared_ptr<Attachment> onServer(const std::shared_ptr<TWItem>& parent) {
    auto made = Attachment::withDict({{"attachment_id", TWAttachmentId::withDict({{"id", "1"}})}});
    made->setParentItem(parent);
    return made;
  }
  static std::vector<std::shared_ptr<TWAttachment>> held(const TWItem& item) {
    return item.get<std::vector<std::shared_ptr<TWAttachment>>>("attachments")
        .value_or(std::vector<std::shared_ptr<TWAttachment>>());
  }

  const std::shared_ptr<TWMessage> message =
      TWMessage::withDict({{"folder", folder("F")}, {"item_id", "M"}, {"changekey", "ck"}});
};

TEST_F(TWAttachmentOperations, AttachingToAnItemOnTheServerCreatesTheAttachmentThere) {
  creates();
  const auto file = newFile();
  TWError error;
  ASSERT_TRUE(message->attach(file, &error)) << error;
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:CreateAttachment><m:ParentItemId Id='M' ChangeKey='ck'/><m:Attachments>"
                        "<t:FileAttachment><t:Name>a</t:Name>"
                        "<t:ContentType>application/octet-stream</t:ContentType>"
                        "<t:Content>QUJD</t:Content></t:FileAttachment></m:Attachments>"
                        "</m:CreateAttachment>"));
  EXPECT_THAT(held(*message), ElementsAre(file));
  EXPECT_EQ(file->parentItem(), message);
  EXPECT_EQ(message->get("root_changekey"), TWValue("rck"));
  EXPECT_EQ(message->get("changekey"), TWValue("ck"));
  const auto id = file->get<std::shared_ptr<TWAttachmentId>>("attachment_id");
  EXPECT_THAT(id->allKeys(), ElementsAre("id"));
  // A second time changes nothing.
  EXPECT_TRUE(message->attach(file));
  EXPECT_EQ(held(*message).size(), 1U);
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_FALSE(file->attach(&error));
  EXPECT_EQ(error,
            TWError(TWErrorCode::ErrorValueOutOfRange, "This attachment has already been created"));
}

TEST_F(TWAttachmentOperations, TheIdMayStandInTheAnswerByItself) {
  server.on("CreateAttachment", attachments("CreateAttachment", "<t:AttachmentId Id=\"7\"/>"));
  const auto file = newFile();
  ASSERT_TRUE(message->attach(file));
  EXPECT_EQ(file->get<std::shared_ptr<TWAttachmentId>>("attachment_id")->get("id"), TWValue("7"));
}

TEST_F(TWAttachmentOperations, NullIsNoAttachment) {
  const auto unsaved = TWMessage::withDict({{"folder", folder("F")}});
  const TWError expected(TWErrorCode::ErrorValueOutOfRange, "Attachment must not be null");
  for (const auto& item : {message, unsaved}) {
    TWError error;
    EXPECT_FALSE(item->attach(nullptr, &error));
    EXPECT_EQ(error, expected);
    error = {};
    EXPECT_FALSE(item->detach(nullptr, &error));
    EXPECT_EQ(error, expected);
    EXPECT_TRUE(item->get("attachments").isAbsent());
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAttachmentOperations, AttachingThatFailsChangesNothing) {
  const auto file = newFile();
  const auto keys = file->allKeys(), keysOfMessage = message->allKeys();
  TWError error;
  const auto expectFails = [&](TWErrorCode code) {
    error = {};
    EXPECT_FALSE(message->attach(file, &error));
    EXPECT_TRUE(error.is(code)) << error;
    EXPECT_EQ(file->allKeys(), keys);
    EXPECT_EQ(message->allKeys(), keysOfMessage);
  };
  server.on("CreateAttachment", errorAnswer("CreateAttachment", "ErrorItemNotFound"));
  expectFails(TWErrorCode::ErrorItemNotFound);
  for (const char* answered :
       {"<t:FileAttachment/>", "<t:FileAttachment><t:AttachmentId Id=\"\"/></t:FileAttachment>"}) {
    server.on("CreateAttachment", attachments("CreateAttachment", answered));
    expectFails(TWErrorCode::ErrorTransport);
    EXPECT_THAT(error.message(),
                StartsWith("No AttachmentId elements in ResponseMessage <t:FileAttachment"));
  }
  server.on("CreateAttachment", attachments("CreateAttachment", ""));
  expectFails(TWErrorCode::ErrorTransport);
  server.on("CreateAttachment", busy());
  expectFails(TWErrorCode::ErrorServerBusy);
}

TEST_F(TWAttachmentOperations, AttachingThatFailsKeepsTheContentTypeAndTheParentThatWereThere) {
  const auto other = TWMessage::withDict();
  const auto file = newFile();
  file->set("content_type", "text/plain");
  file->setParentItem(other);
  server.on("CreateAttachment", errorAnswer("CreateAttachment", "ErrorItemNotFound"));
  EXPECT_FALSE(message->attach(file));
  EXPECT_EQ(file->get("content_type"), TWValue("text/plain"));
  EXPECT_EQ(file->parentItem(), other);
}

TEST_F(TWAttachmentOperations, NeedAnAccountOfTheParent) {
  TWError error;
  EXPECT_FALSE(newFile()->attach(&error));
  EXPECT_EQ(error,
            TWError(TWErrorCode::ErrorValueOutOfRange, "Parent item (null) must have an account"));
  const auto offline = TWMessage::withDict({{"item_id", "M"}});
  const auto file = newFile();
  file->setParentItem(offline);
  const auto mustHaveAccount = [](const std::string& what) {
    return TWError(TWErrorCode::ErrorValueOutOfRange, what + " must have an account");
  };
  EXPECT_FALSE(file->attach(&error));
  EXPECT_EQ(error, mustHaveAccount("Parent item " + offline->description()));
  error = {};
  EXPECT_FALSE(onServer(offline)->detach(&error));
  EXPECT_EQ(error, mustHaveAccount("Parent item " + offline->description()));
  EXPECT_FALSE(onServer(offline)->getContent(&error));
  EXPECT_EQ(error, mustHaveAccount(offline->description()));
  error = {};
  EXPECT_FALSE(onServer<TWItemAttachment>(offline)->getItem(&error));
  EXPECT_EQ(error, mustHaveAccount(offline->description()));
  EXPECT_FALSE(onServer(nullptr)->getContent(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "(null) must have an account"));
  EXPECT_FALSE(onServer<TWItemAttachment>(nullptr)->getItem(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "(null) must have an account"));
  // The id is looked at first.
  EXPECT_FALSE(onServer(nullptr)->attach(&error));
  EXPECT_THAT(error.description(), HasSubstr("already been created"));
}

TEST_F(TWAttachmentOperations, DetachingFromAnItemOnTheServerDeletesTheAttachmentThere) {
  deletes();
  const auto file = onServer(message), other = onServer(message);
  EXPECT_TRUE(message->attach(file));
  EXPECT_TRUE(message->attach(other));
  TWError error;
  ASSERT_TRUE(message->detach(file, &error)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("DeleteAttachment"));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:AttachmentId Id=\"1\"/>"));
  EXPECT_THAT(held(*message), ElementsAre(other));
  EXPECT_EQ(file->parentItem(), nullptr);
  EXPECT_TRUE(file->get("attachment_id").isAbsent());
  EXPECT_EQ(message->get("root_changekey"), TWValue("rck2"));
  EXPECT_FALSE(file->detach(&error));
  EXPECT_EQ(error,
            TWError(TWErrorCode::ErrorValueOutOfRange, "This attachment has not been created"));
}

TEST_F(TWAttachmentOperations, DetachingThatFailsChangesNothing) {
  const auto file = onServer(message);
  EXPECT_TRUE(message->attach(file));
  const auto keys = file->allKeys(), keysOfMessage = message->allKeys();
  TWError error;
  const auto expectFails = [&](const test::ScriptedAnswer& answer, TWErrorCode code) {
    server.on("DeleteAttachment", answer);
    error = {};
    EXPECT_FALSE(message->detach(file, &error));
    EXPECT_TRUE(error.is(code)) << error;
    EXPECT_THAT(held(*message), ElementsAre(file));
    EXPECT_EQ(file->parentItem(), message);
    EXPECT_EQ(file->allKeys(), keys);
    EXPECT_EQ(message->allKeys(), keysOfMessage);
  };
  expectFails(errorAnswer("DeleteAttachment", "ErrorItemNotFound"), TWErrorCode::ErrorItemNotFound);
  expectFails(busy(), TWErrorCode::ErrorServerBusy);
  expectFails(answer("DeleteAttachment", responseMessage("DeleteAttachment", "Success", "NoError")),
              TWErrorCode::ErrorTransport);
  expectFails(attachments("DeleteAttachment", "<t:X/>"), TWErrorCode::ErrorTransport);
  EXPECT_THAT(error.message(), StartsWith("No RootItemId elements in ResponseMessage <t:X"));
}

TEST_F(TWAttachmentOperations, AnItemMayGoWhileItsAttachmentIsDetached) {
  auto parent = TWMessage::withDict({{"folder", folder("F")}, {"item_id", "M"}});
  const auto file = onServer(parent);
  server.on("DeleteAttachment", [&parent](const std::string&) {
    parent.reset();
    return deleted();
  });
  TWError error;
  EXPECT_TRUE(file->detach(&error)) << error;
  EXPECT_TRUE(file->get("attachment_id").isAbsent());
  EXPECT_EQ(file->parentItem(), nullptr);
}

TEST_F(TWAttachmentOperations, WhatIsNoListOfAttachmentsIsNotOverwritten) {
  creates();
  deletes();
  const auto expectRefused = [&](const TWValue& wrong) {
    message->set("attachments", wrong);
    const TWError expected(TWErrorCode::ErrorType,
                           wrong.description() + " must be a list of attachments");
    const auto fresh = newFile(), old = onServer(message);
    TWError error;
    EXPECT_FALSE(message->attach(fresh, &error));
    EXPECT_EQ(error, expected);
    EXPECT_EQ(fresh->parentItem(), nullptr);
    error = {};
    EXPECT_FALSE(message->detach(old, &error));
    EXPECT_EQ(error, expected);
    EXPECT_FALSE(old->get("attachment_id").isAbsent());
    EXPECT_EQ(message->get("attachments"), wrong);
  };
  expectRefused(newFile());
  expectRefused(TWList{newFile(), "b"});
  EXPECT_EQ(server.requestCount(), 0U);
  // None at all is no such thing, and detaching from it leaves it so.
  message->remove("attachments");
  EXPECT_TRUE(message->detach(onServer(message)));
  EXPECT_TRUE(message->get("attachments").isAbsent());
}

TEST_F(TWAttachmentOperations, RequestsTellOfTheMailboxAndItsZone) {
  TWAccountOptions options;
  options.primarySmtpAddress = "boss@example.com";
  options.accessType = TWAccessTypeImpersonation;
  options.credentials = TWCredentials::credentialsWithUsernamePassword("ann@example.com", "pw");
  options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
      server.url(), options.credentials, TWVersion(TWBuild(15, 1)))};
  const auto boss = TWAccount::withOptions(options);
  const auto parent = TWMessage::withDict({{"account", TWValue::weak(boss)}, {"item_id", "M"}});
  creates();
  deletes();
  server.on("GetAttachment",
            attachments("GetAttachment",
                        "<t:FileAttachment><t:Content>QUJD</t:Content></t:FileAttachment>"));
  TWError error;
  EXPECT_TRUE(parent->attach(newFile(), &error)) << error;
  const auto file = onServer(parent);
  EXPECT_EQ(file->getContent(&error), kABC) << error;
  EXPECT_TRUE(file->detach(&error)) << error;
  EXPECT_THAT(server.operations(),
              ElementsAre("CreateAttachment", "GetAttachment", "DeleteAttachment"));
  for (const auto& request : server.requests()) {
    EXPECT_THAT(request.body, HasSubstr("<t:TimeZoneContext"));
    EXPECT_THAT(request.body,
                HasSubstr("<t:PrimarySMTPAddress>boss@example.com</t:PrimarySMTPAddress>"));
  }
}

TEST_F(TWAttachmentOperations, OfANewItemAskNobody) {
  const auto fresh = TWMessage::withDict({{"folder", folder("F")}});
  const auto file = newFile();
  EXPECT_TRUE(fresh->attach(file));
  EXPECT_TRUE(fresh->attach(file));
  EXPECT_THAT(held(*fresh), ElementsAre(file));
  EXPECT_TRUE(fresh->detach(file));
  EXPECT_TRUE(held(*fresh).empty());
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAttachmentOperations, TheContentIsReadOnceAndWhenItIsNotKnown) {
  server.on("GetAttachment",
            attachments("GetAttachment",
                        "<t:FileAttachment><t:Content>QUJD</t:Content></t:FileAttachment>"));
  const auto file = onServer(message);
  TWError error;
  EXPECT_EQ(file->getContent(&error), kABC) << error;
  EXPECT_EQ(file->getContent(), kABC);
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_THAT(server.payload(0), EqualsXML(kRequest));
  EXPECT_EQ(newFile()->getContent(), kABC);
  const auto empty = onServer(message);
  EXPECT_TRUE(empty->setContent({}));
  EXPECT_EQ(empty->getContent(), TWData());
  EXPECT_THAT(empty->toXML(nullptr).compactXMLString(), HasSubstr("<t:Content"));
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST_F(TWAttachmentOperations, TheContentIsReadOverTheOrdinaryConnection) {
  creates();
  server.on("GetAttachment",
            attachments("GetAttachment",
                        "<t:FileAttachment><t:Content>QUJD</t:Content></t:FileAttachment>"));
  server.on(
      "GetItem",
      answer("GetItem",
             responseMessage("GetItem", "Success", "NoError",
                             "<m:Items><t:Message><t:ItemId Id=\"M\"/></t:Message></m:Items>")));
  EXPECT_TRUE(message->attach(newFile()));
  EXPECT_EQ(onServer(message)->getContent(), kABC);
  EXPECT_TRUE(message->refresh());
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 3U);
  EXPECT_EQ(requests[1].connection, requests[0].connection);
  EXPECT_NE(requests[1].connection, requests[2].connection);
}

TEST_F(TWAttachmentOperations, ReadingThatFailsChangesNothing) {
  const auto file = onServer(message);
  const auto inner = onServer<TWItemAttachment>(message);
  const auto keys = file->allKeys(), keysOfInner = inner->allKeys();
  const auto expectFails = [&](const test::ScriptedAnswer& answer, TWErrorCode code) {
    server.on("GetAttachment", answer);
    TWError error;
    EXPECT_FALSE(file->getContent(&error));
    EXPECT_TRUE(error.is(code)) << error;
    error = {};
    EXPECT_FALSE(inner->getItem(&error));
    EXPECT_TRUE(error.is(code)) << error;
    EXPECT_EQ(file->allKeys(), keys);
    EXPECT_EQ(inner->allKeys(), keysOfInner);
  };
  expectFails(errorAnswer("GetAttachment", "ErrorItemNotFound"), TWErrorCode::ErrorItemNotFound);
  expectFails(busy(), TWErrorCode::ErrorServerBusy);
}

TEST_F(TWAttachmentOperations, WritingReadsTheContentAndFailsWithoutIt) {
  server.on("GetAttachment",
            attachments("GetAttachment",
                        "<t:FileAttachment><t:Content>QUJD</t:Content></t:FileAttachment>"));
  EXPECT_THAT(onServer(message)->toXML(nullptr).compactXMLString(),
              HasSubstr("<t:Content>QUJD</t:Content>"));
  server.on("GetAttachment", errorAnswer("GetAttachment", "ErrorItemNotFound"));
  TWError error;
  EXPECT_FALSE(onServer(message)->toXML(nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
  error = {};
  EXPECT_FALSE(onServer<TWItemAttachment>(message)->toXML(nullptr, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
  server.on("GetAttachment", attachments("GetAttachment", "<t:FileAttachment/>"));
  error = {};
  EXPECT_FALSE(onServer(message)->toXML(nullptr, &error));
  EXPECT_THAT(error.description(), HasSubstr("has no content"));
  // One that nobody gave any content is written as it is.
  EXPECT_TRUE(TWFileAttachment::withDict({{"name", "a"}})->toXML(nullptr));
}

TEST_F(TWAttachmentOperations, AnItemOfAnUnknownKindIsNotLeftOutOfWhatIsWritten) {
  for (const char* content : {"", "<t:Name>n</t:Name><t:MeetingMessage/>"}) {
    server.on("GetAttachment",
              attachments("GetAttachment",
                          "<t:ItemAttachment>" + std::string(content) + "</t:ItemAttachment>"));
    const auto fresh = TWMessage::withDict({{"folder", folder("F")}});
    const auto attachment = onServer<TWItemAttachment>(fresh);
    EXPECT_TRUE(fresh->attach(attachment));
    server.startOver();
    TWError error;
    EXPECT_FALSE(fresh->save(&error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                             attachment->description() + " has no item"));
    EXPECT_THAT(server.operations(), ElementsAre("GetAttachment"));
  }
  // One that nobody gave an item is written as it is.
  EXPECT_TRUE(TWItemAttachment::withDict({{"name", "a"}})->toXML(nullptr));
}

TEST_F(TWAttachmentOperations, TheItemIsReadOnceAndWhenItIsNotKnown) {
  server.on("GetAttachment", attachments("GetAttachment",
                                         "<t:ItemAttachment><t:Message><t:Subject>in</t:Subject>"
                                         "<t:Culture>en-US</t:Culture></t:Message>"
                                         "</t:ItemAttachment>"));
  const auto attachment = onServer<TWItemAttachment>(message);
  TWError error;
  const auto inner = attachment->getItem(&error);
  ASSERT_TRUE(inner) << error;
  EXPECT_EQ(inner->className(), "TWMessage");
  EXPECT_EQ(inner->get("subject"), TWValue("in"));
  EXPECT_EQ(inner->parentItem(), message);
  EXPECT_EQ(inner->account(), account);
  EXPECT_EQ(attachment->getItem(), inner);
  EXPECT_EQ(server.requestCount(), 1U);
  EXPECT_THAT(server.payload(0), EqualsXML(kRequest));
  const auto own = TWItemAttachment::withDict();
  EXPECT_EQ(own->getItem(&error), nullptr);
  const auto item = TWMessage::withDict();
  EXPECT_TRUE(own->setItem(item));
  EXPECT_EQ(own->getItem(), item);
  EXPECT_EQ(server.requestCount(), 1U);
  // Writing reads it too.
  const auto written = onServer<TWItemAttachment>(message)->toXML(nullptr, &error);
  ASSERT_TRUE(written) << error;
  EXPECT_EQ(written.elementForName("t:Message").elementForName("t:Subject").stringValue(), "in");
  EXPECT_EQ(server.requestCount(), 2U);
}

}  // namespace
}  // namespace tarnwell
