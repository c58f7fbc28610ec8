#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWTextFields.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::responseMessage;
using test::successAnswer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class TWItemOperations : public test::MailboxTest {
 protected:
  static test::ScriptedAnswer items(std::string_view operation, const std::string& inner,
                                    const std::string& id = "N") {
    return answer(operation,
                  responseMessage(operation, "Success", "NoError",
                                  "<m:Items><t:Message><t:ItemId Id=\"" + id +
                                      "\" ChangeKey=\"new\"/>" + inner + "</t:Message></m:Items>"));
  }
  std::shared_ptr<TWMessage> newMessage() {
    return TWMessage::withDict({{"folder", in}, {"subject", "s"}, {"culture", "en-US"}});
  }
  std::shared_ptr<TWMessage> savedMessage() {
    auto message = newMessage();
    message->setIdPair(TWIdPair{"M", "old"});
    return message;
  }
  /// Runs an operation that must fail with that error and leave the item as it was.
  template <class Operation>
  TWError failure(const std::shared_ptr<TWItem>& item, const Operation& operation) {
    const auto before = item->description();
    TWError error;
    EXPECT_FALSE(operation(&error));
    EXPECT_EQ(item->description(), before);
    return error;
  }

  const std::shared_ptr<TWFolder> in = folder("F");
  const TWError noId{TWErrorCode::ErrorValueOutOfRange, "Item must have an id"};
};

TEST_F(TWItemOperations, SavingANewItemGivesItItsIdAndThoseOfItsAttachments) {
  server.on("CreateItem",
            items("CreateItem",
                  "<t:Attachments><t:FileAttachment><t:AttachmentId Id=\"1\"/></t:FileAttachment>"
                  "<t:ItemAttachment><t:AttachmentId Id=\"2\"/></t:ItemAttachment>"
                  "</t:Attachments>"));
  const auto file = TWFileAttachment::withDict({{"name", "a"}});
  EXPECT_TRUE(file->setContent({'A'}));
  const auto inner = TWItemAttachment::withDict({{"_item", TWMessage::withDict()}});
  const auto message = newMessage();
  EXPECT_TRUE(message->attach(file));
  EXPECT_TRUE(message->attach(inner));
  EXPECT_EQ(server.requestCount(), 0U);
  TWError error;
  ASSERT_TRUE(message->save(&error)) << error;
  EXPECT_EQ(message->idPair(), (TWIdPair{"N", "new"}));
  const auto idOf = [](const TWAttachment& attachment) {
    return (*attachment.get<std::shared_ptr<TWAttachmentId>>("attachment_id"))["id"];
  };
  EXPECT_EQ(idOf(*file), TWValue("1"));
  EXPECT_EQ(idOf(*inner), TWValue("2"));
  EXPECT_THAT(server.payload(0), HasSubstr("MessageDisposition=\"SaveOnly\" "
                                           "SendMeetingInvitations=\"SendToNone\""));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:FolderId Id=\"F\""));
}

TEST_F(TWItemOperations, ANewItemCannotBeSavedInPart) {
  const auto message = newMessage();
  EXPECT_EQ(failure(message,
                    [&](TWError* e) {
                      return message->save({"subject"}, "AutoResolve", "SendToNone", e);
                    }),
            TWError(TWErrorCode::ErrorValueOutOfRange, "Update fields is only valid for updates"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemOperations, SavingAnItemThatIsThereTakesTheNewChangeKeyOnly) {
  server.on("UpdateItem", items("UpdateItem", "", "other"));
  const auto message = savedMessage();
  TWError error;
  ASSERT_TRUE(message->save({"subject"}, "AlwaysOverwrite", "SendOnlyToAll", &error)) << error;
  EXPECT_EQ(message->idPair(), (TWIdPair{"M", "new"}));
  EXPECT_THAT(server.payload(0), HasSubstr("ConflictResolution=\"AlwaysOverwrite\""));
  EXPECT_THAT(server.payload(0), HasSubstr("MessageDisposition=\"SaveOnly\""));
  EXPECT_THAT(server.payload(0),
              HasSubstr("SendMeetingInvitationsOrCancellations=\"SendOnlyToAll\""));
  EXPECT_THAT(server.payload(0), HasSubstr("SuppressReadReceipts=\"false\""));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:ItemId Id=\"M\" ChangeKey=\"old\""));
}

TEST_F(TWItemOperations, SavingAnItemThatIsThereWritesAllThatHasAValueAndTellsNobody) {
  server.on("UpdateItem", items("UpdateItem", ""));
  const auto message = savedMessage();
  message->set("sender", "ann@example.com");
  message->set("is_draft", false);
  TWError error;
  ASSERT_TRUE(message->save(&error)) << error;
  const auto set = [](const std::string& path, const std::string& element) {
    return "<t:SetItemField><t:FieldURI FieldURI='" + path + "'/><t:Message>" + element +
           "</t:Message></t:SetItemField>";
  };
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:UpdateItem ConflictResolution='AutoResolve' "
                        "MessageDisposition='SaveOnly' "
                        "SendMeetingInvitationsOrCancellations='SendToNone' "
                        "SuppressReadReceipts='false'><m:ItemChanges><t:ItemChange>"
                        "<t:ItemId Id='M' ChangeKey='old'/><t:Updates>" +
                        set("item:Subject", "<t:Subject>s</t:Subject>") +
                        set("item:Culture", "<t:Culture>en-US</t:Culture>") +
                        "</t:Updates></t:ItemChange></m:ItemChanges></m:UpdateItem>"));
}

TEST_F(TWItemOperations, AnUpdateWithoutNamesWritesWhatHasAValueAndMayBeWritten) {
  const auto message = savedMessage();
  message->set("size", 7);
  message->set("to_recipients", TWList());
  message->set("attachments", TWList{TWFileAttachment::withDict()});
  message->set("sender", "ann@example.com");
  EXPECT_THAT(message->fieldNamesToUpdate(), ElementsAre("subject", "culture", "sender"));
  message->set("is_draft", true);
  EXPECT_THAT(message->fieldNamesToUpdate(), ElementsAre("subject", "culture", "sender"));
  message->set("is_draft", false);
  EXPECT_THAT(message->fieldNamesToUpdate(), ElementsAre("subject", "culture"));
}

TEST_F(TWItemOperations, AnUpdateWithoutNamesLeavesOutWhatTheServerDoesNotKnow) {
  const auto newer = TWCharField::withProps(
      {.name = "newer", .fieldURI = "message:Newer", .supportedFrom = TWBuild(15, 0)});
  TWMessage::addField(newer, 0);
  const auto message = savedMessage();
  message->set("newer", "n");
  account->setVersion(TWVersion(TWBuild(14, 1)));
  const auto in2010 = message->fieldNamesToUpdate();
  account->setVersion(TWVersion(TWBuild(15, 0)));
  const auto in2013 = message->fieldNamesToUpdate();
  TWMessage::removeField(*newer);
  EXPECT_THAT(in2010, ElementsAre("subject", "culture"));
  EXPECT_THAT(in2013, ElementsAre("newer", "subject", "culture"));
}

TEST_F(TWItemOperations, AnItemWithCategoriesIsSavedByTheNamesOfOtherProperties) {
  server.on("UpdateItem", items("UpdateItem", ""));
  const auto message = savedMessage();
  message->set("categories", TWList{"Red", "Blue"});
  EXPECT_TRUE(
      failure(message, [&](TWError* e) { return message->save(e); }).is(TWErrorCode::ErrorType));
  EXPECT_EQ(server.requestCount(), 0U);
  TWError error;
  EXPECT_TRUE(message->save({"subject"}, "AutoResolve", "SendToNone", &error)) << error;
}

TEST_F(TWItemOperations, WithNothingToWriteNothingIsSent) {
  const auto message = TWMessage::withDict({{"folder", in}, {"item_id", "M"}});
  EXPECT_TRUE(message->save());
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemOperations, AnItemWithoutAnIdIsNotUpdatedEvenWithNothingToWrite) {
  const auto fresh = TWMessage::withDict({{"folder", in}});
  const auto update = [&](TWError* e) {
    return fresh->update({}, "SaveOnly", "AutoResolve", "SendToNone", e).has_value();
  };
  EXPECT_EQ(failure(fresh, update), noId);
  const auto emptyId = TWMessage::withDict({{"folder", in}, {"item_id", ""}});
  EXPECT_EQ(failure(emptyId, [&](TWError* e) { return emptyId->save(e); }), noId);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemOperations, WhatIsOnlySentGoesIntoNoFolder) {
  server.on("CreateItem", answer("CreateItem", responseMessage("CreateItem", "Success", "NoError",
                                                               "<m:Items/>")));
  const auto message = TWMessage::withDict({{"account", TWValue::weak(account)}});
  TWError error;
  EXPECT_EQ(message->create("SendOnly", "SendToNone", &error), nullptr);
  EXPECT_FALSE(error) << error;
  EXPECT_THAT(server.payload(0), HasSubstr("MessageDisposition=\"SendOnly\""));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("SavedItemFolderId")));
}

TEST_F(TWItemOperations, WhatIsSentHasNoResult) {
  server.on("CreateItem", items("CreateItem", ""));
  server.on("UpdateItem", items("UpdateItem", ""));
  TWError error;
  const auto message = newMessage();
  EXPECT_EQ(message->create("SendAndSaveCopy", "SendToNone", &error), nullptr);
  EXPECT_FALSE(error) << error;
  EXPECT_FALSE(
      savedMessage()->update({"subject"}, "SendAndSaveCopy", "AutoResolve", "SendToNone", &error));
  EXPECT_FALSE(error) << error;
  EXPECT_TRUE(savedMessage()->update({"subject"}, "SaveOnly", "AutoResolve", "SendToNone"));
  EXPECT_TRUE(newMessage()->create("SaveOnly", "SendToNone"));
  EXPECT_TRUE(newMessage()->create("Bogus", "SendToNone")) << "the server's to judge";
  server.on("CreateItem", errorAnswer("CreateItem", "ErrorItemNotFound"));
  EXPECT_EQ(message->create("SendAndSaveCopy", "SendToNone", &error), nullptr);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
}

TEST_F(TWItemOperations, WhatIsNotKnownToBeSentMustHaveAResult) {
  server.on("CreateItem", answer("CreateItem", responseMessage("CreateItem", "Success", "NoError",
                                                               "<m:Items/>")));
  TWError error;
  EXPECT_EQ(newMessage()->create("Bogus", "SendToNone", &error), nullptr);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
}

TEST_F(TWItemOperations, FailWithoutAnIdOrAnAccount) {
  const auto expectNeedsBoth = [&](const auto& operation) {
    const auto neither = TWMessage::withDict();
    EXPECT_EQ(failure(neither, [&](TWError* e) { return operation(*neither, e); }), noId);
    const auto withoutAccount = TWMessage::withDict({{"item_id", "M"}});
    EXPECT_EQ(failure(withoutAccount, [&](TWError* e) { return operation(*withoutAccount, e); }),
              TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an account"));
  };
  expectNeedsBoth([](TWItem& item, TWError* e) { return item.refresh(e); });
  expectNeedsBoth([&](TWItem& item, TWError* e) { return item.move(in, e); });
  expectNeedsBoth([](TWItem& item, TWError* e) { return item.moveToTrash({}, e); });
  expectNeedsBoth([](TWItem& item, TWError* e) { return item.softDelete({}, e); });
  expectNeedsBoth([](TWItem& item, TWError* e) { return item.delete_({}, e); });
  TWError error;
  EXPECT_FALSE(TWMessage::withDict()->save(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Items must have an account"));
  error = {};
  EXPECT_FALSE(TWMessage::withDict({{"item_id", "M"}})->save(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Items must have an account"));
}

TEST_F(TWItemOperations, LeaveTheItemAsItWasWhenTheServerRefuses) {
  const auto message = savedMessage(), fresh = newMessage();
  const auto refused = [&](const char* name, const std::shared_ptr<TWItem>& item,
                           const auto& operation) {
    server.on(name, errorAnswer(name, "ErrorItemNotFound"));
    EXPECT_TRUE(failure(item, operation).is(TWErrorCode::ErrorItemNotFound)) << name;
  };
  const auto file = TWFileAttachment::withDict({{"name", "a"}, {"content_type", "text/plain"}});
  EXPECT_TRUE(file->setContent({'A'}) && fresh->attach(file));
  fresh->remove("culture");
  // These are mailboxes once they have been validated.
  fresh->set("to_recipients", TWValue::list({"bob@example.com"}));
  fresh->set("sender", "ann@example.com");
  refused("CreateItem", fresh, [&](TWError* e) { return fresh->save(e); });
  EXPECT_EQ(fresh->idPair(), std::nullopt);
  EXPECT_EQ(fresh->folder(), in);
  EXPECT_TRUE(fresh->get("culture").isAbsent());
  EXPECT_TRUE(file->get("attachment_id").isAbsent());
  refused("UpdateItem", message, [&](TWError* e) { return message->save(e); });
  refused("GetItem", message, [&](TWError* e) { return message->refresh(e); });
  refused("MoveItem", message, [&](TWError* e) { return message->move(folder("T"), e); });
  refused("DeleteItem", message, [&](TWError* e) { return message->moveToTrash({}, e); });
  refused("DeleteItem", message, [&](TWError* e) { return message->softDelete({}, e); });
  refused("DeleteItem", message, [&](TWError* e) { return message->delete_({}, e); });
}

TEST_F(TWItemOperations, RefreshingTakesWhatTheServerTells) {
  server.on("GetItem", items("GetItem",
                             "<t:Subject>fresh</t:Subject><t:Attachments><t:FileAttachment>"
                             "<t:AttachmentId Id=\"1\"/></t:FileAttachment></t:Attachments>"));
  const auto message = savedMessage();
  message->set("in_reply_to", "kept");
  TWError error;
  ASSERT_TRUE(message->refresh(&error)) << error;
  EXPECT_EQ(message->get("subject"), TWValue("fresh"));
  EXPECT_EQ(message->get("in_reply_to"), TWValue("kept"));
  EXPECT_EQ(message->idPair(), (TWIdPair{"N", "new"}));
  const auto attachments = message->get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  ASSERT_TRUE(attachments);
  EXPECT_EQ(attachments->front()->parentItem(), message);
}

TEST_F(TWItemOperations, MovingTakesTheIdAndTheFolder) {
  server.on("MoveItem", items("MoveItem", ""));
  const auto message = savedMessage();
  const auto to = folder("T");
  ASSERT_TRUE(message->move(to));
  EXPECT_EQ(message->idPair(), (TWIdPair{"N", "new"}));
  EXPECT_EQ(message->folder(), to);
  EXPECT_THAT(server.payload(0),
              HasSubstr("<m:ItemIds><t:ItemId Id=\"M\" ChangeKey=\"old\"/></m:ItemIds>"));
}

TEST_F(TWItemOperations, AnItemThatWasMovedHasNoIdWhereTheServerTellsNone) {
  server.on("MoveItem",
            answer("MoveItem", responseMessage("MoveItem", "Success", "NoError", "<m:Items/>")));
  const auto message = savedMessage();
  const auto to = folder("T");
  TWError error;
  EXPECT_TRUE(message->move(to, &error)) << error;
  EXPECT_EQ(message->idPair(), std::nullopt);
  EXPECT_TRUE(message->get("changekey").isAbsent());
  EXPECT_EQ(message->folder(), to);
}

TEST_F(TWItemOperations, DeletingTakesTheIdAndLeavesTheFolderThatHoldsTheItemNow) {
  server.on("DeleteItem", successAnswer("DeleteItem"));
  hasWellKnownFolders();
  const auto trashed = savedMessage(), soft = savedMessage(), gone = savedMessage(),
             kept = savedMessage();
  TWError error;
  EXPECT_TRUE(trashed->moveToTrash({}, &error)) << error;
  EXPECT_THAT(server.payload(0),
              HasSubstr("<m:DeleteItem DeleteType=\"MoveToDeletedItems\" "
                        "SendMeetingCancellations=\"SendToNone\" "
                        "AffectedTaskOccurrences=\"AllOccurrences\" "
                        "SuppressReadReceipts=\"false\"><m:ItemIds><t:ItemId Id=\"M\""));
  EXPECT_EQ(trashed->idPair(), std::nullopt);
  EXPECT_TRUE(trashed->get("changekey").isAbsent());
  EXPECT_EQ(trashed->folder()->className(), "TWDeletedItems");
  server.startOver();
  EXPECT_TRUE(soft->softDelete({.sendMeetingCancellations = "SendOnlyToAll",
                                .affectedOccurrencies = "SpecifiedOccurrenceOnly",
                                .suppressReadReceipts = true},
                               &error))
      << error;
  EXPECT_THAT(server.payload(0), HasSubstr("DeleteType=\"SoftDelete\" "
                                           "SendMeetingCancellations=\"SendOnlyToAll\" "
                                           "AffectedTaskOccurrences=\"SpecifiedOccurrenceOnly\" "
                                           "SuppressReadReceipts=\"true\""));
  EXPECT_EQ(soft->idPair(), std::nullopt);
  EXPECT_EQ(soft->folder()->className(), "TWRecoverableItemsDeletions");
  server.startOver();
  EXPECT_TRUE(gone->delete_({}, &error)) << error;
  EXPECT_THAT(server.payload(0), HasSubstr("DeleteType=\"HardDelete\""));
  EXPECT_EQ(gone->idPair(), std::nullopt);
  EXPECT_EQ(gone->folder(), nullptr);
  EXPECT_TRUE(kept->delete_("SoftDelete", {}));
  EXPECT_EQ(kept->idPair(), (TWIdPair{"M", "old"}));
  EXPECT_EQ(kept->folder(), in);
}

TEST_F(TWItemOperations, HowAnItemIsDeletedMayBeToldInARow) {
  server.on("DeleteItem", successAnswer("DeleteItem"));
  hasWellKnownFolders();
  const auto deleted = [&](const auto& operation, const std::string& type) {
    const auto message = savedMessage();
    server.startOver();
    TWError error;
    EXPECT_TRUE(operation(*message, &error)) << error;
    EXPECT_THAT(server.payload(0), HasSubstr("<m:DeleteItem DeleteType=\"" + type +
                                             "\" SendMeetingCancellations=\"SendOnlyToAll\" "
                                             "AffectedTaskOccurrences=\"SpecifiedOccurrenceOnly\" "
                                             "SuppressReadReceipts=\"true\">"));
    return !message->idPair();
  };
  constexpr auto kTo = "SendOnlyToAll", kWhich = "SpecifiedOccurrenceOnly";
  EXPECT_TRUE(
      deleted([&](TWItem& item, TWError* e) { return item.moveToTrash(kTo, kWhich, true, e); },
              "MoveToDeletedItems"));
  EXPECT_TRUE(
      deleted([&](TWItem& item, TWError* e) { return item.softDelete(kTo, kWhich, true, e); },
              "SoftDelete"));
  EXPECT_TRUE(deleted([&](TWItem& item, TWError* e) { return item.delete_(kTo, kWhich, true, e); },
                      "HardDelete"));
  EXPECT_FALSE(
      deleted([&](TWItem& item, TWError*) { return item.delete_("SoftDelete", kTo, kWhich, true); },
              "SoftDelete"));
}

TEST_F(TWItemOperations, AnAccountMayGoWhileAnItemIsDeleted) {
  hasWellKnownFolders();
  const auto deleteMeanwhile = [&](const auto& operation) {
    auto owner = test::makeAccount(server.url());
    const auto message = TWMessage::withDict({{"account", TWValue::weak(owner)}, {"item_id", "M"}});
    server.on("DeleteItem", [&owner](const std::string&) {
      owner.reset();
      return successAnswer("DeleteItem");
    });
    TWError error;
    EXPECT_TRUE(operation(*message, &error)) << error;
    EXPECT_EQ(message->account(), nullptr);
    EXPECT_EQ(message->idPair(), std::nullopt);
    return message->folder();
  };
  const auto trash =
      deleteMeanwhile([](TWItem& item, TWError* e) { return item.moveToTrash({}, e); });
  ASSERT_TRUE(trash);
  EXPECT_EQ(trash->className(), "TWDeletedItems");
  const auto recoverable =
      deleteMeanwhile([](TWItem& item, TWError* e) { return item.softDelete({}, e); });
  ASSERT_TRUE(recoverable);
  EXPECT_EQ(recoverable->className(), "TWRecoverableItemsDeletions");
}

}  // namespace
}  // namespace tarnwell
