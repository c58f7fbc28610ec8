#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWTask.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::folderXML;
using test::pageMessage;
using test::responseMessage;
using test::successAnswer;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class TWAccountItems : public test::MailboxTest {
 protected:
  static std::string done(std::string_view operation, std::string_view content = "") {
    return responseMessage(operation, "Success", "NoError", content);
  }
  static std::string failed(std::string_view operation, std::string_view code) {
    return responseMessage(operation, "Error", code);
  }
  static std::string item(std::string_view operation, const std::string& id,
                          const std::string& kind = "Message") {
    return done(operation, "<m:Items><t:" + kind + "><t:ItemId Id=\"" + id + "\" ChangeKey=\"ck-" +
                               id + "\"/></t:" + kind + "></m:Items>");
  }
  static std::shared_ptr<TWMessage> message(const char* id = nullptr) {
    auto made = TWMessage::withDict({{"subject", "s"}});
    if (id != nullptr) made->setIdPair(TWIdPair{id, std::string("ck-") + id});
    return made;
  }
  /// A query set that finds a message of that id.
  TWQuerySet finding(const std::string& id) {
    server.on("FindItem",
              answer("FindItem", pageMessage("FindItem", "Items",
                                             id.empty() ? std::string()
                                                        : "<t:Message><t:ItemId Id=\"" + id +
                                                              "\"/></t:Message>")));
    server.on("GetItem", answer("GetItem", item("GetItem", id)));
    return folder("F", TWInbox::elementClass())->all();
  }
  void expectRefused(const TWError& error, const char* text) {
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, text));
    EXPECT_EQ(server.requestCount(), 0U);
  }

  const TWItemEntries ids{TWIdPair{"A", "ck-A"}, TWIdPair{"B", "ck-B"}};
  const TWItemEntries withError{TWIdPair{"A", "ck-A"},
                                TWError(TWErrorCode::ErrorItemNotFound, "gone"),
                                TWIdPair{"B", "ck-B"}};
  const std::string idsXML =
      "<m:ItemIds><t:ItemId Id=\"A\" ChangeKey=\"ck-A\"/><t:ItemId Id=\"B\" ChangeKey=\"ck-B\"/>"
      "</m:ItemIds>";
};

TEST_F(TWAccountItems, ANullItemFailsTheCallBeforeAnythingIsSent) {
  const auto to = folder("F");
  const auto query = folder("F", TWInbox::elementClass());
  const TWItemEntries entries{TWIdPair{"A"}, std::shared_ptr<TWMessage>()};
  const auto expectFails = [&](const char* text, const auto& call) {
    TWError error;
    EXPECT_FALSE(call(&error));
    expectRefused(error, text);
  };
  expectFails("Item must not be null", [&](TWError* e) {
    return account->bulkCreate(to, {message(), nullptr}, "SaveOnly", "SendToNone", e);
  });
  expectFails("Item must not be null", [&](TWError* e) {
    return account->bulkUpdate({{message("A"), {"subject"}}, {nullptr, {"subject"}}}, "AutoResolve",
                               "SaveOnly", "SendToNone", false, e);
  });
  constexpr auto kNoId = "Item must have an id";
  expectFails(kNoId, [&](TWError* e) {
    return account->bulkDelete(entries, "HardDelete", "SendToNone", "AllOccurrences", false, e);
  });
  expectFails(kNoId, [&](TWError* e) { return account->bulkSend(entries, true, to, e); });
  expectFails(kNoId, [&](TWError* e) { return account->bulkMove(entries, to, e); });
  expectFails(kNoId, [&](TWError* e) { return account->fetch(entries, query, std::nullopt, e); });
  expectFails(kNoId, [&](TWError* e) { return account->exportItems(entries, e); });
  expectFails("Folder must be supplied",
              [&](TWError* e) { return account->bulkMove(ids, nullptr, e); });
  const auto saved = message("A");
  saved->setAccount(account);
  expectFails("Folder must be supplied", [&](TWError* e) { return saved->move(nullptr, e); });
}

TEST_F(TWAccountItems, CreatingAnswersForEachItem) {
  server.on("CreateItem",
            answer("CreateItem", item("CreateItem", "1") + failed("CreateItem", "ErrorItemSave") +
                                     item("CreateItem", "3")));
  TWError error;
  const auto created = account->bulkCreate(folder("F"), {message(), message(), message()},
                                           "SaveOnly", "SendToNone", &error);
  ASSERT_TRUE(created) << error;
  ASSERT_EQ(created->size(), 3U);
  EXPECT_EQ((*created)[0].value()->idPair(), (TWIdPair{"1", "ck-1"}));
  EXPECT_TRUE((*created)[1].error().is(TWErrorCode::ErrorItemSave));
  EXPECT_EQ((*created)[2].value()->idPair(), (TWIdPair{"3", "ck-3"}));
}

TEST_F(TWAccountItems, CreatingRefusesFoldersThatDoNotFit) {
  const auto create = [&](const std::shared_ptr<TWFolder>& in, const TWItems& items,
                          const char* disposition) {
    TWError error;
    EXPECT_FALSE(account->bulkCreate(in, items, disposition, "SendToNone", &error));
    return error;
  };
  const auto foreign =
      TWFolder::make(TWFolder::elementClass(), {{"folder_id", "X"}}, test::makeOfflineAccount());
  // The account of the folder is looked at before the disposition, and that before the items.
  expectRefused(create(foreign, {message()}, "SendOnly"), "Folder must belong to this account");
  expectRefused(create(nullptr, {}, "SaveOnly"), "Folder must be supplied when in save-only mode");
  expectRefused(create(folder("F"), {}, "SendOnly"), "Folder must b nil in send-only mode");
  EXPECT_FALSE(create(folder("F"), {}, "SaveOnly"));
  EXPECT_FALSE(create(nullptr, {}, "SendAndSaveCopy"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAccountItems, CreatingLeavesTheChoicesToTheServer) {
  server.on("CreateItem", errorAnswer("CreateItem", "ErrorInvalidRequest"));
  TWError error;
  EXPECT_FALSE(account->bulkCreate(folder("F"), {message()}, "Bogus", "Odd", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidRequest)) << error;
  EXPECT_THAT(server.payload(0), HasSubstr("MessageDisposition=\"Bogus\""));
  EXPECT_THAT(server.payload(0), HasSubstr("SendMeetingInvitations=\"Odd\""));
  EXPECT_THAT(TWAccount::messageDispositionChoices(),
              ElementsAre("SaveOnly", "SendOnly", "SendAndSaveCopy"));
  EXPECT_THAT(TWAccount::sendMeetingInvitationsChoices(),
              ElementsAre("SendToNone", "SendOnlyToAll", "SendToAllAndSaveCopy"));
  EXPECT_THAT(TWAccount::conflictResolutionChoices(),
              ElementsAre("NeverOverwrite", "AutoResolve", "AlwaysOverwrite"));
  EXPECT_THAT(TWAccount::sendMeetingInvitationsOrCancellationsChoices(),
              ElementsAre("SendToNone", "SendOnlyToAll", "SendOnlyToChanged",
                          "SendToAllAndSaveCopy", "SendToChangedAndSaveCopy"));
}

TEST_F(TWAccountItems, WhatIsSentAndSavedGoesToSentItemsWithoutAFolder) {
  hasWellKnownFolders();
  server.on("CreateItem", answer("CreateItem", done("CreateItem", "<m:Items/>")));
  const auto created = account->bulkCreate(nullptr, {message()}, "SendAndSaveCopy", "SendToNone");
  ASSERT_TRUE(created);
  EXPECT_EQ((*created)[0].value()->idPair(), std::nullopt);
  EXPECT_THAT(server.operations(), ElementsAre("GetFolder", "CreateItem"));
  EXPECT_THAT(server.payload(1), HasSubstr("<m:SavedItemFolderId><t:FolderId Id=\"sentitems\" "));
}

TEST_F(TWAccountItems, AnItemThatWasToBeSavedAndHasNoIdIsAnError) {
  server.on("CreateItem",
            answer("CreateItem", done("CreateItem", "<m:Items/>") +
                                     done("CreateItem", "<m:Items><t:Message/></m:Items>") +
                                     item("CreateItem", "3")));
  const auto created = account->bulkCreate(
      folder("F"), {message(), message(), message(), message()}, "SaveOnly", "SendToNone");
  ASSERT_TRUE(created);
  ASSERT_EQ(created->size(), 4U);
  for (std::size_t at : {0U, 1U}) {
    const auto error = (*created)[at].error();
    EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
    EXPECT_THAT(error.message(),
                HasSubstr("No Items elements in ResponseMessage <m:CreateItemResponseMessage "));
  }
  EXPECT_EQ((*created)[2].value()->idPair(), (TWIdPair{"3", "ck-3"}));
  // Of the fourth there is no message at all.
  EXPECT_EQ((*created)[3].error(),
            TWError(TWErrorCode::ErrorTransport, "No Items elements in ResponseMessage (null)"));
}

TEST_F(TWAccountItems, SavingAnItemOfWhichNoIdIsToldFails) {
  server.on("CreateItem",
            answer("CreateItem", done("CreateItem", "<m:Items><t:Message/></m:Items>")));
  const auto made = TWMessage::withDict({{"subject", "s"}, {"folder", folder("F")}});
  TWError error;
  EXPECT_FALSE(made->save(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
  EXPECT_EQ(made->idPair(), std::nullopt);
}

TEST_F(TWAccountItems, AnItemThatIsAttachedToItselfIsRefusedBeforeAnythingIsSent) {
  const auto made = message();
  const auto first = TWItemAttachment::withDict({{"name", "1"}});
  const auto second = TWItemAttachment::withDict({{"name", "2"}});
  const auto create = [&](const TWList& attachments) {
    made->set("attachments", attachments);
    TWError error;
    EXPECT_FALSE(account->bulkCreate(folder("F"), {made}, "SaveOnly", "SendToNone", &error));
    EXPECT_THAT(error.message(), HasSubstr("nested more than 64 levels deep"));
  };
  ASSERT_TRUE(first->setItem(made) && second->setItem(made));
  create({first});
  create({first, second});
  EXPECT_EQ(server.requestCount(), 0U);
  first->remove("_item");
  second->remove("_item");
}

TEST_F(TWAccountItems, WithoutSentItemsNothingIsSentThatIsToBeKeptThere) {
  const auto expectNothingSent = [&](TWAccount& of, TWErrorCode code) {
    TWError error;
    EXPECT_FALSE(of.bulkSend(ids, true, nullptr, &error));
    EXPECT_TRUE(error.is(code)) << error;
    error = {};
    EXPECT_FALSE(of.bulkCreate(nullptr, {message()}, "SendAndSaveCopy", "SendToNone", &error));
    EXPECT_TRUE(error.is(code)) << error;
    EXPECT_THAT(server.operations(), Not(AnyOf(Contains("SendItem"), Contains("CreateItem"))));
  };
  server.on("GetFolder", errorAnswer("GetFolder", "ErrorInternalServerError"));
  expectNothingSent(*account, TWErrorCode::ErrorInternalServerError);
  // Here the root cannot be had either.
  expectNothingSent(*test::makeAccount(server.url()), TWErrorCode::ErrorInternalServerError);
  server.on("GetFolder", answer("GetFolder", test::foldersMessage("GetFolder", "")));
  expectNothingSent(*account, TWErrorCode::ErrorFolderNotFound);
}

TEST_F(TWAccountItems, OfADeniedRootTheSentItemsMayBeThereWithoutAnError) {
  server.on("GetFolder", [](const std::string& payload) {
    if (payload.find("\"root\"") != std::string::npos)
      return errorAnswer("GetFolder", "ErrorAccessDenied");
    return answer("GetFolder",
                  test::foldersMessage("GetFolder", folderXML("S", "Sent Items", "", "")));
  });
  server.on("SendItem", successAnswer("SendItem"));
  TWError error;
  EXPECT_TRUE(test::makeAccount(server.url())->bulkSend({ids[0]}, true, nullptr, &error));
  EXPECT_FALSE(error) << error;
  EXPECT_THAT(test::payloadOf(server.requests().back()), HasSubstr("<t:FolderId Id=\"S\""));
}

TEST_F(TWAccountItems, OptionsSayTheSameAsPositions) {
  const auto payloads = [&](const auto& first, const auto& second) {
    server.startOver();
    (void)first();
    (void)second();
    EXPECT_EQ(server.requestCount(), 2U);
    EXPECT_EQ(server.payload(0), server.payload(1));
  };
  const auto to = folder("F");
  const auto changed = message("A");
  const TWItemUpdate update{changed, {"subject"}};
  payloads([&] { return account->bulkCreate(to, {message()}, TWBulkCreateOptions()); },
           [&] { return account->bulkCreate(to, {message()}, "SaveOnly", "SendToNone"); });
  payloads(
      [&] {
        return account->bulkCreate(
            to, {message()},
            {.messageDisposition = "SendAndSaveCopy", .sendMeetingInvitiations = "SendOnlyToAll"});
      },
      [&] { return account->bulkCreate(to, {message()}, "SendAndSaveCopy", "SendOnlyToAll"); });
  payloads([&] { return account->bulkUpdate({update}, TWBulkUpdateOptions()); },
           [&] {
             return account->bulkUpdate({update}, "AutoResolve", "SaveOnly", "SendToNone", false);
           });
  payloads(
      [&] {
        return account->bulkUpdate({update},
                                   {.conflictResolution = "AlwaysOverwrite",
                                    .messageDisposition = "SendAndSaveCopy",
                                    .sendMeetingInvitationsOrCancellations = "SendOnlyToChanged",
                                    .supressReadReceipts = true});
      },
      [&] {
        return account->bulkUpdate({update}, "AlwaysOverwrite", "SendAndSaveCopy",
                                   "SendOnlyToChanged", true);
      });
  payloads([&] { return account->bulkDelete(ids, TWBulkDeleteOptions()); },
           [&] {
             return account->bulkDelete(ids, "MoveToDeletedItems", "SendToNone", "AllOccurrences",
                                        false);
           });
  payloads(
      [&] {
        return account->bulkDelete(ids, {.deleteType = "SoftDelete",
                                         .sendMeetingCancellations = "SendOnlyToAll",
                                         .affectedTaskOccurunces = "SpecifiedOccurrenceOnly",
                                         .supressReadReceipts = true});
      },
      [&] {
        return account->bulkDelete(ids, "SoftDelete", "SendOnlyToAll", "SpecifiedOccurrenceOnly",
                                   true);
      });
}

template <class Flag>
concept IsFlag = requires(TWAccount& account, Flag flag, TWItemEntries ids, TWQuerySet set,
                          std::vector<TWItemUpdate> updates) {
  account.bulkSend(ids, flag, nullptr);
  account.bulkSend(set, flag, nullptr);
  account.bulkDelete(ids, "", "", "", flag);
  account.bulkDelete(set, "", "", "", flag);
  account.bulkUpdate(updates, "", "", "", flag);
  account.bulkUpdate(set, "", "", "", flag);
  TWAccount::withPrimarySMTPAddress("", {}, TWAccessTypeDefault, flag, nullptr);
  TWConfiguration::withCredentials(nullptr, "", flag);
  TWConfiguration::withCredentials(nullptr, "", true, {}, {}, flag);
};
template <class Flag>
concept IsAnyFlag = requires(TWAccount& account, Flag flag, TWItemEntries ids) {
  account.bulkSend(ids, flag, nullptr);
}
|| requires(TWAccount& account, Flag flag, TWItemEntries ids) {
  account.bulkDelete(ids, "", "", "", flag);
}
|| requires(TWAccount& account, Flag flag, std::vector<TWItemUpdate> updates) {
  account.bulkUpdate(updates, "", "", "", flag);
}
|| requires(Flag flag) {
  TWAccount::withPrimarySMTPAddress("", {}, TWAccessTypeDefault, flag, nullptr);
}
|| requires(Flag flag) { TWConfiguration::withCredentials(nullptr, "", flag); }
|| requires(Flag flag) { TWConfiguration::withCredentials(nullptr, "", true, {}, {}, flag); };
static_assert(IsFlag<bool>);
static_assert(!IsAnyFlag<const char*> && !IsAnyFlag<int> && !IsAnyFlag<std::shared_ptr<TWFolder>>);

TEST_F(TWAccountItems, NewItemsGetTheCultureOfTheAccount) {
  server.on("CreateItem",
            [](const std::string&) { return answer("CreateItem", item("CreateItem", "1")); });
  const auto culture = [&](std::optional<std::string> locale) {
    const auto in = test::makeAccount(server.url(), TWVersion(TWBuild(15, 1)), "ann@example.com",
                                      std::move(locale));
    const auto made = message(), inner = message(), own = message();
    own->set("culture", "fr-FR");
    made->set("attachments", TWList{TWItemAttachment::withDict({{"_item", inner}})});
    const auto folder = TWFolder::make(TWFolder::elementClass(), {{"folder_id", "F"}}, in);
    TWError error;
    EXPECT_TRUE(in->bulkCreate(folder, {made, own}, "SaveOnly", "SendToNone", &error)) << error;
    EXPECT_EQ(inner->get("culture"), made->get("culture"));
    EXPECT_EQ(own->get("culture"), TWValue("fr-FR"));
    return made->get("culture").description();
  };
  EXPECT_EQ(culture("de_DE.UTF-8"), "de-DE");
  EXPECT_EQ(culture("de_AT@euro"), "de-AT");
  EXPECT_EQ(culture("fr"), "fr");
  EXPECT_EQ(culture(""), "en-US");
  EXPECT_EQ(culture(std::nullopt), "en-US");
}

TEST_F(TWAccountItems, UpdatingAnswersForEachItem) {
  server.on("UpdateItem", answer("UpdateItem", item("UpdateItem", "1") +
                                                   failed("UpdateItem", "ErrorItemNotFound") +
                                                   done("UpdateItem", "<m:Items/>")));
  TWError error;
  const auto updated = account->bulkUpdate(
      {{message("1"), {"subject"}}, {message("2"), {"subject"}}, {message("3"), {"subject"}}},
      "AutoResolve", "SaveOnly", "SendToNone", true, &error);
  ASSERT_TRUE(updated) << error;
  ASSERT_EQ(updated->size(), 3U);
  EXPECT_EQ((*updated)[0].value(), (TWIdPair{"1", "ck-1"}));
  EXPECT_TRUE((*updated)[1].error().is(TWErrorCode::ErrorItemNotFound));
  EXPECT_EQ((*updated)[2].value(), (TWIdPair{"3"}));
  EXPECT_THAT(server.payload(0), HasSubstr("SuppressReadReceipts=\"true\""));
}

TEST_F(TWAccountItems, UpdatingRefusesSendingFirstAndQuerySetsThen) {
  const std::vector<TWItemUpdate> none;
  TWError error;
  EXPECT_FALSE(account->bulkUpdate(none, "", "SendOnly", "", false, &error));
  expectRefused(error, "Cannot send-only existing objects. Use SendItem instead");
  const auto all = folder("F")->all();
  error = {};
  EXPECT_FALSE(account->bulkUpdate(all, "", "SendOnly", "", false, &error));
  expectRefused(error, "Cannot send-only existing objects. Use SendItem instead");
  EXPECT_FALSE(account->bulkUpdate(all, "", "SaveOnly", "", false, &error));
  expectRefused(error,
                "You shouldn't bulk update query sets. How do you expect to modify stuff inside "
                "one?");
  error = {};
  EXPECT_FALSE(account->bulkUpdate(none, "", "SaveOnly", "", false, &error));
  EXPECT_FALSE(error);
}

TEST_F(TWAccountItems, EntriesThatAreErrorsGoBackInTheirPlacesAndAreNotSent) {
  hasWellKnownFolders();
  const auto both = [](std::string_view operation) {
    return answer(operation, done(operation) + failed(operation, "ErrorItemSave"));
  };
  const auto expectOutcomes = [&](const auto& outcomes) {
    ASSERT_TRUE(outcomes);
    ASSERT_EQ(outcomes->size(), 3U);
    EXPECT_TRUE((*outcomes)[0]);
    EXPECT_EQ((*outcomes)[1].error(), TWError(TWErrorCode::ErrorItemNotFound, "gone"));
    EXPECT_TRUE((*outcomes)[2].error().is(TWErrorCode::ErrorItemSave));
    EXPECT_THAT(test::payloadOf(server.requests().back()), HasSubstr(idsXML));
  };
  server.on("DeleteItem", both("DeleteItem"));
  expectOutcomes(
      account->bulkDelete(withError, "SoftDelete", "SendToNone", "AllOccurrences", false));
  server.on("SendItem", both("SendItem"));
  expectOutcomes(account->bulkSend(withError, true, nullptr));
  server.on("MoveItem",
            answer("MoveItem", item("MoveItem", "1") + failed("MoveItem", "ErrorItemSave")));
  expectOutcomes(account->bulkMove(withError, folder("T")));
  server.on("GetItem",
            answer("GetItem", item("GetItem", "1") + failed("GetItem", "ErrorItemSave")));
  expectOutcomes(account->fetch(withError, nullptr, TWList{"subject"}));
  server.on("ExportItems", answer("ExportItems", done("ExportItems", "<m:Data>QUJD</m:Data>") +
                                                     failed("ExportItems", "ErrorItemSave")));
  expectOutcomes(account->exportItems(withError));
}

TEST_F(TWAccountItems, NothingButErrorsAsksNobody) {
  const auto outcomes = account->bulkDelete({withError[1]}, "x", "y", "z", false);
  ASSERT_TRUE(outcomes);
  EXPECT_THAT(*outcomes, ElementsAre(TWError(TWErrorCode::ErrorItemNotFound, "gone")));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAccountItems, NothingGivesNothingWithoutAnError) {
  TWError error;
  const TWItemEntries none;
  EXPECT_FALSE(account->bulkDelete(none, "x", "y", "z", false, &error));
  EXPECT_FALSE(account->bulkSend(none, true, nullptr, &error));
  EXPECT_FALSE(account->bulkMove(none, folder("F"), &error));
  EXPECT_FALSE(account->fetch(none, nullptr, std::nullopt, &error));
  EXPECT_FALSE(account->exportItems(none, &error));
  EXPECT_FALSE(account->uploadItems({}, &error));
  EXPECT_FALSE(account->getAttachment(std::nullopt, &error));
  EXPECT_FALSE(error) << error;
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWAccountItems, AnAnswerWithTooFewResultsLeavesErrorsForTheRest) {
  server.on("DeleteItem", answer("DeleteItem", done("DeleteItem")));
  const auto outcomes = account->bulkDelete(ids, "x", "y", "z", false);
  ASSERT_TRUE(outcomes);
  ASSERT_EQ(outcomes->size(), 2U);
  EXPECT_TRUE((*outcomes)[0]);
  EXPECT_TRUE((*outcomes)[1].error().is(TWErrorCode::ErrorTransport));
}

TEST_F(TWAccountItems, DeletingWhatAQuerySetFindsFetchesItWhole) {
  server.on("DeleteItem", successAnswer("DeleteItem"));
  TWError error;
  const auto outcomes = account->bulkDelete(finding("A"), "SoftDelete", "a", "b", false, &error);
  ASSERT_TRUE(outcomes) << error;
  EXPECT_THAT(*outcomes, ElementsAre(TWResult<bool>(true)));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem", "DeleteItem"));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"100\""));
  EXPECT_THAT(server.payload(1), HasSubstr("item:Body"));
}

TEST_F(TWAccountItems, SendingAndFetchingWhatAQuerySetFindsNamesItsItems) {
  server.on("SendItem", successAnswer("SendItem"));
  const std::string idA = "<m:ItemIds><t:ItemId Id=\"A\" ChangeKey=\"ck-A\"/></m:ItemIds>";
  TWError error;
  const auto sent = account->bulkSend(finding("A"), false, nullptr, &error);
  ASSERT_TRUE(sent) << error;
  EXPECT_THAT(*sent, ElementsAre(TWResult<bool>(true)));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem", "SendItem"));
  EXPECT_THAT(server.payload(2), HasSubstr(idA));
  server.startOver();
  const auto fetched = account->fetch(finding("A"), nullptr, TWList{"subject"}, &error);
  ASSERT_TRUE(fetched) << error;
  ASSERT_EQ(fetched->size(), 1U);
  EXPECT_EQ((*fetched)[0].idPair(), (TWIdPair{"A", "ck-A"}));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem", "GetItem"));
  EXPECT_THAT(server.payload(2), HasSubstr("item:Subject\"/></t:AdditionalProperties>"));
  EXPECT_THAT(server.payload(2), HasSubstr(idA));
}

TEST_F(TWAccountItems, MovingAQuerySetNowhereIsRefusedBeforeItIsEvaluated) {
  TWError error;
  EXPECT_FALSE(account->bulkMove(folder("F")->all(), nullptr, &error));
  expectRefused(error, "Folder must be supplied");
}

TEST_F(TWAccountItems, AQuerySetThatFindsNothingOrFailsSendsNothing) {
  const auto nothing = finding("");
  TWError error;
  EXPECT_FALSE(account->bulkDelete(nothing, "x", "y", "z", false, &error));
  EXPECT_FALSE(account->bulkSend(nothing, false, nullptr, &error));
  EXPECT_FALSE(account->bulkMove(nothing, folder("T"), &error));
  EXPECT_FALSE(account->fetch(nothing, nullptr, std::nullopt, &error));
  EXPECT_FALSE(error) << error;
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  EXPECT_FALSE(account->bulkDelete(folder("F")->all(), "x", "y", "z", false, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied)) << error;
  for (const auto& operation : server.operations()) EXPECT_EQ(operation, "FindItem");
}

TEST_F(TWAccountItems, SendingKeepsCopiesWhereItIsTold) {
  hasWellKnownFolders();
  server.on("SendItem", successAnswer("SendItem"));
  const TWItemEntries one{message("A")};
  TWError error;
  EXPECT_FALSE(account->bulkSend(one, false, folder("F"), &error));
  expectRefused(error, "savecopy must be true when folder is set");
  EXPECT_FALSE(account->bulkSend(folder("F")->all(), false, folder("F"), &error));
  expectRefused(error, "savecopy must be true when folder is set");
  const auto sent = [&](bool saveCopy, const std::shared_ptr<TWFolder>& to) {
    EXPECT_TRUE(account->bulkSend(one, saveCopy, to));
    return test::payloadOf(server.requests().back());
  };
  EXPECT_THAT(sent(true, folder("F")), HasSubstr("<t:FolderId Id=\"F\""));
  EXPECT_THAT(sent(true, nullptr), HasSubstr("<t:FolderId Id=\"sentitems\""));
  EXPECT_THAT(sent(false, nullptr), HasSubstr("SaveItemToFolder=\"false\"><m:ItemIds><t:ItemId "
                                              "Id=\"A\" ChangeKey=\"ck-A\""));
}

TEST_F(TWAccountItems, MovingTellsTheNewIdsWhereTheServerDoes) {
  server.on("MoveItem", answer("MoveItem", item("MoveItem", "1") + done("MoveItem", "<m:Items/>")));
  const auto moved = account->bulkMove(ids, folder("T"));
  ASSERT_TRUE(moved);
  EXPECT_EQ((*moved)[0].value(), (TWIdPair{"1", "ck-1"}));
  EXPECT_EQ((*moved)[1].value(), std::nullopt);
  TWError error;
  EXPECT_FALSE(account->bulkMove(ids, nullptr, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must be supplied"));
}

TEST_F(TWAccountItems, FetchingMakesItemsOfTheKindsOfTheirElements) {
  server.on("GetItem", answer("GetItem", item("GetItem", "A", "Task") + item("GetItem", "B")));
  TWError error;
  const auto items = account->fetch(ids, nullptr, std::nullopt, &error);
  ASSERT_TRUE(items) << error;
  EXPECT_EQ((*items)[0].item()->className(), "TWTask");
  EXPECT_EQ((*items)[1].item()->className(), "TWMessage");
  EXPECT_EQ((*items)[1].item()->account(), account);
  EXPECT_EQ((*items)[1].item()->folder(), nullptr);
  // Without a folder every field of every kind is asked for.
  EXPECT_THAT(server.payload(0), HasSubstr("<t:BaseShape>IdOnly</t:BaseShape>"));
  EXPECT_THAT(server.payload(0), HasSubstr("contacts:Surname"));
  EXPECT_THAT(server.payload(0), HasSubstr("message:ToRecipients"));
}

TEST_F(TWAccountItems, FetchingFromAFolderAsksForTheFieldsOfItsItems) {
  server.on("GetItem", answer("GetItem", item("GetItem", "A") + item("GetItem", "B")));
  const auto inbox = folder("F", TWInbox::elementClass());
  const auto items = account->fetch(ids, inbox);
  ASSERT_TRUE(items);
  EXPECT_EQ((*items)[0].item()->folder(), inbox);
  EXPECT_THAT(server.payload(0), Not(HasSubstr("contacts:Surname")));
  EXPECT_THAT(server.payload(0), HasSubstr("item:TextBody"));
  account->setVersion(TWVersion(TWBuild(8, 1), "Exchange2007_SP1"));
  ASSERT_TRUE(account->fetch(ids, inbox));
  EXPECT_THAT(server.payload(1), Not(HasSubstr("item:TextBody")));
  ASSERT_TRUE(account->fetch(ids, inbox, TWList{"subject"}));
  EXPECT_THAT(server.payload(2),
              HasSubstr("<t:AdditionalProperties><t:FieldURI FieldURI=\"item:Subject\"/>"
                        "</t:AdditionalProperties>"));
}

TEST_F(TWAccountItems, FetchingFailsForFieldsAndKindsThatTheFolderDoesNotKnow) {
  const auto inbox = folder("F", TWInbox::elementClass());
  TWError error;
  EXPECT_FALSE(account->fetch(ids, inbox, TWList{"nope"}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
  EXPECT_EQ(server.requestCount(), 0U);
  const TWError unexpected(TWErrorCode::ErrorValueOutOfRange,
                           "Item type Task was unexpected in a TWInbox folder");
  server.on("GetItem", answer("GetItem", item("GetItem", "A") + item("GetItem", "B", "Task")));
  EXPECT_FALSE(account->fetch(ids, inbox, std::nullopt, &error));
  EXPECT_EQ(error, unexpected);
  // Of several the first.
  server.on("GetItem",
            answer("GetItem", item("GetItem", "A", "Task") + item("GetItem", "B", "Contact")));
  error = {};
  EXPECT_FALSE(account->fetch(ids, inbox, std::nullopt, &error));
  EXPECT_EQ(error, unexpected);
}

TEST_F(TWAccountItems, AFetchThatFailsHalfwayTellsWhyAndNotWhatItHadReadBefore) {
  server.on("GetItem", [](const std::string& payload) {
    if (payload.find("\"100\"") != std::string::npos)
      return errorAnswer("GetItem", "ErrorServerBusy");
    std::string messages;
    for (int i = 0; i < 100; ++i) messages += item("GetItem", "A", "Task");
    return answer("GetItem", messages);
  });
  TWItemEntries many;
  for (int i = 0; i < 150; ++i) many.emplace_back(TWIdPair{std::to_string(i)});
  TWError error;
  EXPECT_FALSE(account->fetch(many, folder("F", TWInbox::elementClass()), std::nullopt, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorServerBusy)) << error;
}

TEST_F(TWAccountItems, ExportedItemsCanBeUploaded) {
  server.on("ExportItems", answer("ExportItems", done("ExportItems", "<m:Data>QUJD</m:Data>")));
  const auto exported = account->exportItems({ids[0]});
  ASSERT_TRUE(exported);
  EXPECT_THAT(*exported, ElementsAre(TWResult<std::string>("QUJD")));
  server.on("UploadItems",
            answer("UploadItems", done("UploadItems", "<m:ItemId Id=\"1\" ChangeKey=\"k\"/>") +
                                      failed("UploadItems", "ErrorResponseMessage")));
  const auto uploaded =
      account->uploadItems({{folder("F"), (*exported)[0].value()}, {folder("F"), "broken"}});
  ASSERT_TRUE(uploaded);
  ASSERT_EQ(uploaded->size(), 2U);
  EXPECT_EQ((*uploaded)[0].value(), (TWIdPair{"1", "k"}));
  EXPECT_TRUE((*uploaded)[1].error().is(TWErrorCode::ErrorResponseMessage));
}

TEST_F(TWAccountItems, TheContentOfAnAttachmentIsDecoded) {
  const auto content = [&](const std::string& message) {
    server.on("GetAttachment", answer("GetAttachment", message));
    TWError error;
    auto data = account->getAttachment("X", &error);
    return std::pair(std::move(data), error);
  };
  const auto file = [](const std::string& inner) {
    return done("GetAttachment", "<m:Attachments><t:FileAttachment>" + inner +
                                     "</t:FileAttachment></m:Attachments>");
  };
  EXPECT_EQ(content(file("<t:Content>QUJD</t:Content>")).first, (TWData{'A', 'B', 'C'}));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:GetAttachment><m:AttachmentShape/><m:AttachmentIds>"
                        "<t:AttachmentId Id='X'/></m:AttachmentIds></m:GetAttachment>"));
  EXPECT_EQ(content(file("")), std::pair(std::optional<TWData>(), TWError()));
  EXPECT_EQ(content(done("GetAttachment", "<m:Attachments/>")),
            std::pair(std::optional<TWData>(),
                      TWError(TWErrorCode::ErrorTransport,
                              "No Attachments elements in ResponseMessage (null)")));
  const auto [data, error] = content(failed("GetAttachment", "ErrorItemNotFound"));
  EXPECT_FALSE(data);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound)) << error;
}

TEST_F(TWAccountItems, ErrorsOfTheServiceComeThroughUnchanged) {
  server.on("DeleteItem",
            test::ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "Later"), 500));
  TWError error;
  EXPECT_FALSE(account->bulkDelete(ids, "x", "y", "z", false, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorServerBusy, "Later"));
}

TEST_F(TWAccountItems, OneAccountServesManyThreads) {
  server.on("DeleteItem", successAnswer("DeleteItem"));
  server.on("GetItem", answer("GetItem", item("GetItem", "A")));
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([this] {
      EXPECT_TRUE(account->bulkDelete({ids[0]}, "x", "y", "z", false));
      const auto fetched = account->fetch({ids[0]});
      ASSERT_TRUE(fetched);
      EXPECT_EQ((*fetched)[0].idPair(), (TWIdPair{"A", "ck-A"}));
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(server.requestCount(), 16U);
}

}  // namespace
}  // namespace tarnwell
