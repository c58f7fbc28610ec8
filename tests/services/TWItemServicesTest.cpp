#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBulkCreateResult.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/services/TWCreateAttachment.h"
#include "tarnwell/services/TWCreateItem.h"
#include "tarnwell/services/TWDeleteAttachment.h"
#include "tarnwell/services/TWDeleteItem.h"
#include "tarnwell/services/TWExportItems.h"
#include "tarnwell/services/TWGetAttachment.h"
#include "tarnwell/services/TWGetItem.h"
#include "tarnwell/services/TWMoveItem.h"
#include "tarnwell/services/TWSendItem.h"
#include "tarnwell/services/TWUpdateItem.h"
#include "tarnwell/services/TWUploadItems.h"

#include "tests/folders/FolderTesting.h"
#include "tests/schema/VersionedField.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::responseMessage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::string_view kDeclared =
    "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\" "
    "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\"";

NKXMLElement parse(std::string xml) {
  return NKXMLElement::withXMLString(
      xml.insert(xml.find_first_of(" />"), " " + std::string(kDeclared)));
}

class TWItemServices : public test::MailboxTest {
 protected:
  std::shared_ptr<TWAccount> at(std::optional<TWBuild> build, const char* api = "Exchange2010") {
    return test::makeOfflineAccount(TWVersion(build, api));
  }
  static std::shared_ptr<TWMessage> message(const TWDictionary& values = {}) {
    auto made =
        TWMessage::withDict({{"item_id", "M"}, {"changekey", "ck-M"}, {"culture", "en-US"}});
    for (const auto& [name, value] : values) made->set(name, value);
    return made;
  }
  static std::string inItems(std::string_view operation, std::string_view content) {
    return responseMessage(operation, "Success", "NoError",
                           "<m:Items>" + std::string(content) + "</m:Items>");
  }
  /// The text of the changes that are made of an item's properties.
  std::string changes(const TWItem& item, const std::vector<std::string>& names,
                      TWError* error = nullptr) {
    return changesAt(account, item, names, error);
  }
  static std::string changesAt(const std::shared_ptr<TWAccount>& account, const TWItem& item,
                               const std::vector<std::string>& names, TWError* error = nullptr) {
    std::string text;
    const auto elements =
        TWUpdateItem::withAccount(account)->getItemUpdateElems(item, names, error);
    if (!elements) return "refused";
    for (const auto& element : *elements) text += element.compactXMLString();
    return text;
  }
  static std::string subjectSet(const std::string& subject) {
    return "<t:SetItemField><t:FieldURI FieldURI=\"item:Subject\"/><t:Message><t:Subject>" +
           subject + "</t:Subject></t:Message></t:SetItemField>";
  }

  const TWItemEntries ids{TWIdPair{"A", "ck-A"}, TWIdPair{"B"}};
  const std::string idsXML =
      "<m:ItemIds><t:ItemId Id=\"A\" ChangeKey=\"ck-A\"/><t:ItemId Id=\"B\"/></m:ItemIds>";
};

TEST_F(TWItemServices, DeclareTheirNamesAndContainers) {
  constexpr std::string_view kMessages =
      "http://schemas.microsoft.com/exchange/services/2006/messages";
  const auto caught = TWServiceClass::baseErrorsToCatch();
  auto caughtToo = caught;
  caughtToo.insert(TWErrorCode::ErrorResponseMessage);
  const auto expect = [](const TWEWSService& service, std::string_view name,
                         std::optional<std::string_view> container, std::string_view xmlns,
                         const TWErrorCodes& errors) {
    const auto& cls = service.serviceClass();
    EXPECT_EQ(cls.serviceName, name);
    EXPECT_EQ(cls.rootName(), "m:" + std::string(name));
    EXPECT_EQ(cls.elementContainerName, container) << name;
    EXPECT_EQ(cls.elementContainerXMLns, xmlns) << name;
    EXPECT_EQ(cls.errorsToCatchInResponse, errors) << name;
    EXPECT_EQ(cls.warningsToCatchInResponse, TWErrorCodes{TWErrorCode::ErrorBatchProcessingStopped})
        << name;
    EXPECT_THAT(cls.warningsToIgnoreInResponse, IsEmpty()) << name;
  };
  expect(*TWGetItem::withAccount(account), "GetItem", "Items", kMessages, caught);
  expect(*TWCreateItem::withAccount(account), "CreateItem", "Items", kMessages, caught);
  expect(*TWUpdateItem::withAccount(account), "UpdateItem", "Items", kMessages, caught);
  expect(*TWDeleteItem::withAccount(account), "DeleteItem", std::nullopt, "", caught);
  expect(*TWSendItem::withAccount(account), "SendItem", std::nullopt, "", caught);
  expect(*TWMoveItem::withAccount(account), "MoveItem", "Items", kMessages, caught);
  expect(*TWExportItems::withAccount(account), "ExportItems", "Data", kMessages, caughtToo);
  expect(*TWUploadItems::withAccount(account), "UploadItems", "ItemId", kMessages, caughtToo);
  EXPECT_EQ(TWGetItem::chunkSize(), 100U);
  EXPECT_EQ(TWGetAttachment::rootName(), "m:GetAttachment");
  EXPECT_EQ(TWGetAttachment::elementContainerName(), "Attachments");
  EXPECT_EQ(TWCreateAttachment::rootName(), "m:CreateAttachment");
  EXPECT_EQ(TWCreateAttachment::elementContainerName(), "Attachments");
  EXPECT_EQ(TWDeleteAttachment::rootName(), "m:DeleteAttachment");
  EXPECT_EQ(TWDeleteAttachment::elementContainerName(), "Attachments");
}

TEST_F(TWItemServices, GetItemSortsWhatItAsksForByTheTextsOfThePaths) {
  const auto path = [](const char* name) {
    return TWFieldPath::withField(TWContact::getFieldByFieldName(name));
  };
  const auto payload = TWGetItem::withAccount(account)->getPayload(
      ids, {path("subject"), path("email_addresses"), path("body")}, "IdOnly");
  EXPECT_THAT(
      payload.compactXMLString(),
      EqualsXML("<m:GetItem><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
                "<t:AdditionalProperties><t:FieldURI FieldURI='item:Body'/>"
                "<t:IndexedFieldURI FieldURI='contacts:EmailAddress' FieldIndex='EmailAddress1'/>"
                "<t:IndexedFieldURI FieldURI='contacts:EmailAddress' FieldIndex='EmailAddress2'/>"
                "<t:IndexedFieldURI FieldURI='contacts:EmailAddress' FieldIndex='EmailAddress3'/>"
                "<t:FieldURI FieldURI='item:Subject'/></t:AdditionalProperties></m:ItemShape>" +
                idsXML + "</m:GetItem>"));
  EXPECT_THAT(TWGetItem::withAccount(account)->getPayload(ids, {}, "Default").compactXMLString(),
              EqualsXML("<m:GetItem><m:ItemShape><t:BaseShape>Default</t:BaseShape></m:ItemShape>" +
                        idsXML + "</m:GetItem>"));
}

TEST_F(TWItemServices, GetItemAsksForAHundredAtATimeOverTheSecondConnection) {
  server.on("GetItem", [](const std::string& payload) {
    std::string messages;
    for (auto at = payload.find(" Id=\""); at != std::string::npos;
         at = payload.find(" Id=\"", at + 1)) {
      const auto id = payload.substr(at + 5, payload.find('"', at + 5) - at - 5);
      messages += id == "100" || id == "101"
                      ? responseMessage("GetItem", "Error", "ErrorItemNotFound", "<m:Items/>")
                      : inItems("GetItem", "<t:Message><t:ItemId Id=\"" + id + "\"/></t:Message>");
    }
    return answer("GetItem", messages);
  });
  server.on("DeleteItem", test::successAnswer("DeleteItem"));
  TWItemEntries many;
  for (int i = 0; i < 250; ++i) many.emplace_back(TWIdPair{std::to_string(i)});
  ASSERT_TRUE(TWDeleteItem::withAccount(account)->call({many[0]}, "x", "y", "z", false));
  TWError error;
  const auto results = TWGetItem::withAccount(account)->call(many, {}, "IdOnly", &error);
  ASSERT_TRUE(results) << error;
  ASSERT_EQ(results->size(), 250U);
  for (std::size_t i = 0; i < results->size(); ++i) {
    const auto& result = (*results)[i];
    if (i == 100 || i == 101)
      EXPECT_TRUE(result.asError().is(TWErrorCode::ErrorItemNotFound)) << i;
    else
      EXPECT_EQ(TWItem::idFromXML(result.asXML())->id, std::to_string(i));
  }
  EXPECT_THAT(server.operations(), ElementsAre("DeleteItem", "GetItem", "GetItem", "GetItem"));
  const auto requests = server.requests();
  EXPECT_NE(requests[1].connection, requests[0].connection);
  EXPECT_EQ(requests[1].connection, requests[3].connection);
}

TEST_F(TWItemServices, GetItemHandsOverEachAnswerBeforeItAsksForTheNext) {
  server.on("GetItem", [](const std::string& payload) {
    if (payload.find("\"100\"") != std::string::npos)
      return test::errorAnswer("GetItem", "ErrorServerBusy");
    std::string messages;
    for (int i = 0; i < 100; ++i) messages += inItems("GetItem", "<t:Message/>");
    return answer("GetItem", messages);
  });
  TWItemEntries many;
  for (int i = 0; i < 250; ++i) many.emplace_back(TWIdPair{std::to_string(i)});
  std::vector<std::size_t> sizes, requestsBefore;
  const auto receive = [&](const TWList& results) {
    sizes.push_back(results.size());
    requestsBefore.push_back(server.requestCount());
  };
  TWError error;
  EXPECT_FALSE(TWGetItem::withAccount(account)->call(many, {}, "IdOnly", receive, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorServerBusy)) << error;
  EXPECT_THAT(sizes, ElementsAre(100U));
  EXPECT_THAT(requestsBefore, ElementsAre(1U));
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST_F(TWItemServices, GetItemKeepsTheResultsOfEachRequestWithItsIds) {
  const auto first = [](std::size_t count) {
    std::string messages;
    for (std::size_t at = 0; at < count; ++at)
      messages += inItems("GetItem",
                          "<t:Message><t:ItemId Id=\"" + std::to_string(at) + "\"/></t:Message>");
    return messages;
  };
  TWItemEntries many;
  for (int i = 0; i < 101; ++i) many.emplace_back(TWIdPair{std::to_string(i)});
  const auto fetched = [&](std::size_t inFirst) {
    server.on("GetItem", [=](const std::string& payload) {
      return answer("GetItem",
                    payload.find(" Id=\"0\"") != std::string::npos
                        ? first(inFirst)
                        : inItems("GetItem", "<t:Message><t:ItemId Id=\"100\"/></t:Message>"));
    });
    auto results = TWGetItem::withAccount(account)->call(many, {}, "IdOnly");
    EXPECT_TRUE(results);
    return std::move(results).value_or(TWList());
  };
  const auto idOf = [](const TWValue& result) { return TWItem::idFromXML(result.asXML())->id; };
  const auto tooFew = fetched(99);
  ASSERT_EQ(tooFew.size(), 101U);
  EXPECT_EQ(idOf(tooFew[98]), "98");
  EXPECT_EQ(tooFew[99].asError(),
            TWError(TWErrorCode::ErrorTransport, "No Items elements in ResponseMessage (null)"));
  EXPECT_EQ(idOf(tooFew[100]), "100");
  const auto tooMany = fetched(102);
  ASSERT_EQ(tooMany.size(), 101U);
  EXPECT_EQ(idOf(tooMany[99]), "99");
  EXPECT_EQ(idOf(tooMany[100]), "100");
}

TEST_F(TWItemServices, GetItemHasAnErrorInPlaceOfAnItemThatIsNotThere) {
  server.on("GetItem", answer("GetItem", inItems("GetItem", "")));
  const auto results = TWGetItem::withAccount(account)->call({ids[0]}, {}, "IdOnly");
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 1U);
  EXPECT_TRUE((*results)[0].asError().is(TWErrorCode::ErrorTransport));
  EXPECT_THAT((*results)[0].asError().message(),
              HasSubstr("No Items elements in ResponseMessage <m:GetItemResponseMessage "));
}

TEST_F(TWItemServices, AContainerInTheWrongNamespaceIsNoResult) {
  const auto expectFails = [&](std::string_view operation, const std::string& content,
                               const auto& call) {
    server.on(std::string(operation),
              answer(operation, responseMessage(operation, "Success", "NoError", content)));
    TWError error;
    EXPECT_FALSE(call(&error)) << operation;
    EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << operation << error;
    EXPECT_THAT(error.message(), HasSubstr(" elements in ResponseMessage <"));
  };
  expectFails("GetItem", "<t:Items/>", [&](TWError* error) {
    return TWGetItem::withAccount(account)->call(ids, {}, "IdOnly", error);
  });
  expectFails("CreateItem", "<t:Items/>", [&](TWError* error) {
    return TWCreateItem::withAccount(account)->call({message()}, nullptr, "SendOnly", "SendToNone",
                                                    error);
  });
  expectFails("UpdateItem", "<t:Items/>", [&](TWError* error) {
    return TWUpdateItem::withAccount(account)->call({{message(), {"importance"}}}, "", "", "",
                                                    false, error);
  });
  expectFails("MoveItem", "<t:Items/>", [&](TWError* error) {
    return TWMoveItem::withAccount(account)->call(ids, folder("F"), error);
  });
  expectFails("ExportItems", "<t:Data>QUJD</t:Data>", [&](TWError* error) {
    return TWExportItems::withAccount(account)->call(ids, error);
  });
  expectFails("UploadItems", "<t:ItemId Id='A'/>", [&](TWError* error) {
    return TWUploadItems::withAccount(account)->call({{folder("F"), "QUJD"}}, error);
  });
}

TEST_F(TWItemServices, AReferenceIsAPairADictionaryOrAnId) {
  const auto idsOf = [&](const TWItemEntries& entries) {
    return TWExportItems::withAccount(account)->getPayload(entries).compactXMLString();
  };
  const auto expected = EqualsXML(
      "<m:ExportItems><m:ItemIds><t:ItemId Id='A' ChangeKey='ck-A'/></m:ItemIds>"
      "</m:ExportItems>");
  EXPECT_THAT(idsOf({TWIdPair{"A", "ck-A"}}), expected);
  EXPECT_THAT(idsOf({TWDictionary{{"id", "A"}, {"changekey", "ck-A"}}}), expected);
  EXPECT_THAT(idsOf({TWDictionary{{"item_id", "A"}, {"changekey", "ck-A"}}}), expected);
  EXPECT_THAT(idsOf({TWItemId::withDict({{"id", "A"}, {"changekey", "ck-A"}})}), expected);
  EXPECT_THAT(idsOf({TWRootItemId::withDict({{"id", "A"}, {"changekey", "ck-A"}})}), expected);
  for (const TWItemEntry& bad : {TWItemEntry(TWDictionary()), TWItemEntry(TWItemId::withDict()),
                                 TWItemEntry(std::shared_ptr<TWItemId>())}) {
    TWError error;
    EXPECT_FALSE(TWExportItems::withAccount(account)->call({bad}, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an id"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, GetItemWithoutIdsAsksNobody) {
  const auto results = TWGetItem::withAccount(account)->call({}, {}, "IdOnly");
  ASSERT_TRUE(results);
  EXPECT_THAT(*results, IsEmpty());
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, AnEntryWithoutAnIdFailsTheCallBeforeAnythingIsSent) {
  const TWItemEntries withoutId{TWIdPair{"A"}, TWMessage::withDict()};
  const TWItemEntries withError{TWIdPair{"A"}, TWError(TWErrorCode::ErrorItemNotFound, "gone")};
  const auto expectFails = [&](const auto& call) {
    TWError error;
    EXPECT_FALSE(call(withoutId, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an id"));
    EXPECT_FALSE(call(withError, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorItemNotFound, "gone"));
  };
  expectFails([&](const TWItemEntries& bad, TWError* error) {
    return TWGetItem::withAccount(account)->call(bad, {}, "IdOnly", error);
  });
  expectFails([&](const TWItemEntries& bad, TWError* error) {
    return TWDeleteItem::withAccount(account)->call(bad, "", "", "", true, error);
  });
  expectFails([&](const TWItemEntries& bad, TWError* error) {
    return TWSendItem::withAccount(account)->call(bad, nullptr, error);
  });
  expectFails([&](const TWItemEntries& bad, TWError* error) {
    return TWMoveItem::withAccount(account)->call(bad, folder("F"), error);
  });
  expectFails([&](const TWItemEntries& bad, TWError* error) {
    return TWExportItems::withAccount(account)->call(bad, error);
  });
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, CreateItemWritesTheItemsAfterTheirFolder) {
  const auto payload = TWCreateItem::withAccount(account)->getPayload(
      {TWMessage::withDict({{"subject", "s"}, {"culture", "de-DE"}})}, folder("F"), "Bogus", "Odd");
  EXPECT_THAT(
      payload.compactXMLString(),
      EqualsXML("<m:CreateItem MessageDisposition='Bogus' SendMeetingInvitations='Odd'>"
                "<m:SavedItemFolderId><t:FolderId Id='F' ChangeKey='ck-F'/></m:SavedItemFolderId>"
                "<m:Items><t:Message><t:Subject>s</t:Subject><t:Sensitivity>Normal</t:Sensitivity>"
                "<t:Importance>Normal</t:Importance><t:ReminderIsSet>0</t:ReminderIsSet>"
                "<t:ReminderMinutesBeforeStart>0</t:ReminderMinutesBeforeStart>"
                "<t:Culture>de-DE</t:Culture></t:Message></m:Items></m:CreateItem>"));
  EXPECT_THAT(TWCreateItem::withAccount(account)
                  ->getPayload({message()}, nullptr, "SendOnly", "SendToNone")
                  .compactXMLString(),
              Not(HasSubstr("SavedItemFolderId")));
}

TEST_F(TWItemServices, AnItemThatCannotBeWrittenFailsTheWholeCreation) {
  TWError error;
  EXPECT_FALSE(TWCreateItem::withAccount(account)->call(
      {message(), message({{"subject", std::string(256, 'x')}}), message()}, folder("F"),
      "SaveOnly", "SendToNone", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
  EXPECT_THAT(error.description(), HasSubstr("exceeds length 255"));
  error = {};
  EXPECT_FALSE(TWCreateItem::withAccount(account)->call({message(), nullptr}, folder("F"),
                                                        "SaveOnly", "SendToNone", &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Item must not be null"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, WhatIsSentWithoutBeingSavedHasAResultAllTheSame) {
  server.on("CreateItem", answer("CreateItem", inItems("CreateItem", "") +
                                                   responseMessage("CreateItem", "Error",
                                                                   "ErrorItemSave", "<m:Items/>")));
  const auto results = TWCreateItem::withAccount(account)->call({message(), message()}, nullptr,
                                                                "SendOnly", "SendToNone");
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 2U);
  EXPECT_EQ((*results)[0], TWValue(true));
  EXPECT_TRUE((*results)[1].asError().is(TWErrorCode::ErrorItemSave));
}

TEST_F(TWItemServices, UpdateItemTellsOfReadReceiptsToServersFrom2013On) {
  const auto payload = [&](const std::shared_ptr<TWAccount>& of, bool suppress) {
    return TWUpdateItem::withAccount(of)
        ->getPayload({{message({{"subject", "s"}}), {"subject"}}}, "AutoResolve", "SaveOnly",
                     "SendToNone", suppress)
        .compactXMLString();
  };
  EXPECT_THAT(
      payload(at(TWBuild(15, 0)), true),
      EqualsXML("<m:UpdateItem ConflictResolution='AutoResolve' "
                "MessageDisposition='SaveOnly' "
                "SendMeetingInvitationsOrCancellations='SendToNone' "
                "SuppressReadReceipts='true'><m:ItemChanges><t:ItemChange>"
                "<t:ItemId Id='M' ChangeKey='ck-M'/><t:Updates>" +
                subjectSet("s") + "</t:Updates></t:ItemChange></m:ItemChanges></m:UpdateItem>"));
  EXPECT_THAT(payload(at(TWBuild(15, 1)), false), HasSubstr("SuppressReadReceipts=\"false\""));
  // The build decides, whatever the name of the version.
  EXPECT_THAT(payload(at(TWBuild(14, 3), "Exchange2013"), true), Not(HasSubstr("Suppress")));
  EXPECT_THAT(payload(at(std::nullopt, "Exchange2013"), true), Not(HasSubstr("Suppress")));
}

TEST_F(TWItemServices, ChangesFollowTheOrderOfTheFieldsAndIgnoreOtherNames) {
  const auto item = message({{"subject", "s"}, {"in_reply_to", "r"}});
  EXPECT_EQ(changes(*item, {"in_reply_to", "nope", "subject", "subject"}),
            subjectSet("s") +
                "<t:SetItemField><t:FieldURI FieldURI=\"item:InReplyTo\"/><t:Message>"
                "<t:InReplyTo>r</t:InReplyTo></t:Message></t:SetItemField>");
}

TEST_F(TWItemServices, AChangeIsWrittenInTheKindOfItsItem) {
  const auto item = TWCalendarItem::withDict({{"item_id", "C"}, {"subject", "s"}});
  EXPECT_EQ(changes(*item, {"subject"}),
            "<t:SetItemField><t:FieldURI FieldURI=\"item:Subject\"/><t:Item>"
            "<t:Subject>s</t:Subject></t:Item></t:SetItemField>");
}

TEST_F(TWItemServices, AFieldThatIsClearedIsDeletedAndThenSetToNothing) {
  EXPECT_EQ(changes(*message(), {"in_reply_to"}),
            "<t:DeleteItemField><t:FieldURI FieldURI=\"item:InReplyTo\"/></t:DeleteItemField>"
            "<t:SetItemField><t:FieldURI FieldURI=\"item:InReplyTo\"/><t:Message><t:InReplyTo/>"
            "</t:Message></t:SetItemField>");
}

TEST_F(TWItemServices, ChangesAreWrittenForTheVersionOfTheAccount) {
  const auto field =
      test::VersionedField::withProps({.name = "versioned", .fieldURI = "message:Versioned"});
  TWMessage::addField(field, 0);
  const auto item = message({{"versioned", "v"}});
  const auto written = [&](const char* api) {
    return changesAt(at(TWBuild(14, 1), api), *item, {"versioned"});
  };
  const auto in2010 = written("Exchange2010"), in2013 = written("Exchange2013");
  TWMessage::removeField(*field);
  EXPECT_EQ(in2010,
            "<t:SetItemField><t:FieldURI FieldURI=\"message:Versioned\"/><t:Message>"
            "<t:Versioned>v for Exchange2010 in Exchange2010</t:Versioned></t:Message>"
            "</t:SetItemField>");
  EXPECT_THAT(in2013, HasSubstr(">v for Exchange2013 in Exchange2013<"));
}

TEST_F(TWItemServices, TheValueOfAnEntryIsTheOneThatTheVersionHas) {
  const auto newer = TWNamedSubField::withProps(
      {.name = "dial", .fieldURI = "Dial", .supportedFrom = TWBuild(15, 0)});
  TWPhoneNumber::addField(newer, 1);
  const auto contact = TWContact::withDict(
      {{"item_id", "C"},
       {"phone_numbers",
        TWList{TWPhoneNumber::withDict({{"label", "HomePhone"}, {"phone_number", "1"}})}}});
  const auto in2010 = changesAt(at(TWBuild(14, 1)), *contact, {"phone_numbers"});
  const auto in2013 = changesAt(at(TWBuild(15, 0)), *contact, {"phone_numbers"});
  TWPhoneNumber::removeField(*newer);
  EXPECT_THAT(in2010, HasSubstr("FieldURI=\"contacts:PhoneNumber\" FieldIndex=\"HomePhone\""));
  EXPECT_THAT(in2013, HasSubstr("FieldURI=\"contacts:PhoneNumber:Dial\" FieldIndex=\"HomePhone\""));
}

// Of an integer an empty value is none, so that clearing is all that is written.
TEST_F(TWItemServices, RegisteredPropertiesAreSetAndCleared) {
  struct Registered {
    ~Registered() {
      TWMessage::unregisterAttr("flag");
      TWMessage::unregisterAttr("extern_id");
    }
  } registered;
  ASSERT_TRUE(TWMessage::registerAttr("flag", TWFlag::elementClass()));
  ASSERT_TRUE(TWMessage::registerAttr("extern_id", TWExternId::elementClass()));
  const std::string flag = "<t:ExtendedFieldURI PropertyTag=\"0x1090\" PropertyType=\"Integer\"/>";
  const std::string externId =
      "<t:ExtendedFieldURI PropertySetId=\"c11ff724-aa03-4555-9952-8fa248a11c3f\" "
      "PropertyName=\"External ID\" PropertyType=\"String\"/>";
  const auto set = [](const std::string& uri, const std::string& value) {
    return "<t:SetItemField>" + uri + "<t:Message><t:ExtendedProperty>" + uri + value +
           "</t:ExtendedProperty></t:Message></t:SetItemField>";
  };
  const auto item = message({{"extern_id", "a&b"}, {"flag", TWFlag::withDict({{"value", 2}})}});
  EXPECT_EQ(changes(*item, {"flag", "extern_id"}),
            set(externId, "<t:Value>a&amp;b</t:Value>") + set(flag, "<t:Value>2</t:Value>"));
  item->set("extern_id", "");
  item->remove("flag");
  EXPECT_EQ(changes(*item, {"flag", "extern_id"}),
            set(externId, "<t:Value/>") + "<t:DeleteItemField>" + flag + "</t:DeleteItemField>");
}

TEST_F(TWItemServices, AFieldThatIsRequiredBecomesItsDefaultOrCannotBeCleared) {
  EXPECT_THAT(changes(*message(), {"importance"}),
              HasSubstr("<t:Importance>Normal</t:Importance>"));
  TWError error;
  EXPECT_EQ(changes(*message(), {"reminder_due_by"}, &error), "refused");
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "reminder_due_by is a required field and may not be deleted"));
}

TEST_F(TWItemServices, AReadOnlyFieldOrABadValueFailsTheUpdateBeforeAnythingIsSent) {
  const auto update = [&](const std::shared_ptr<TWItem>& item, const char* name) {
    TWError error;
    EXPECT_FALSE(TWUpdateItem::withAccount(account)->call(
        {{message({{"subject", "s"}}), {"subject"}}, {item, {name}}}, "AutoResolve", "SaveOnly",
        "SendToNone", false, &error));
    return error;
  };
  EXPECT_EQ(update(message(), "datetime_sent"),
            TWError(TWErrorCode::ErrorValueOutOfRange, "datetime_sent is a read-only field"));
  EXPECT_THAT(update(message({{"subject", std::string(256, 'x')}}), "subject").description(),
              HasSubstr("exceeds length 255"));
  EXPECT_EQ(update(TWMessage::withDict({{"subject", "s"}}), "subject"),
            TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an id"));
  EXPECT_EQ(update(nullptr, "subject"),
            TWError(TWErrorCode::ErrorValueOutOfRange, "Item must not be null"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, EachEntryOfAnIndexedFieldIsAChange) {
  const auto contact = TWContact::withDict({{"item_id", "C"}});
  contact->set("phone_numbers",
               TWList{TWPhoneNumber::withDict({{"label", "HomePhone"}, {"phone_number", "1"}}),
                      TWPhoneNumber::withDict({{"label", "MobilePhone"}, {"phone_number", "2"}})});
  const auto set = [](const std::string& label, const std::string& number) {
    return "<t:SetItemField><t:IndexedFieldURI FieldURI=\"contacts:PhoneNumber\" FieldIndex=\"" +
           label + "\"/><t:Contact><t:PhoneNumbers><t:Entry Key=\"" + label + "\">" + number +
           "</t:Entry></t:PhoneNumbers></t:Contact></t:SetItemField>";
  };
  EXPECT_EQ(changes(*contact, {"phone_numbers"}), set("HomePhone", "1") + set("MobilePhone", "2"));
}

TEST_F(TWItemServices, EachPartOfAnAddressIsAChange) {
  const auto contact = TWContact::withDict({{"item_id", "C"}});
  contact->set("physical_addresses", TWList{TWPhysicalAddress::withDict({{"label", "Home"},
                                                                         {"street", "1"},
                                                                         {"city", "2"},
                                                                         {"state", "3"},
                                                                         {"country", "4"},
                                                                         {"zipcode", "5"}})});
  const auto set = [](const std::string& part, const std::string& value) {
    return "<t:SetItemField><t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:" + part +
           "\" FieldIndex=\"Home\"/><t:Contact><t:PhysicalAddresses><t:Entry Key=\"Home\"><" +
           part + ">" + value + "</" + part +
           "></t:Entry></t:PhysicalAddresses></t:Contact></t:SetItemField>";
  };
  EXPECT_EQ(changes(*contact, {"physical_addresses"}),
            set("Street", "1") + set("City", "2") + set("State", "3") +
                set("CountryOrRegion", "4") + set("PostalCode", "5"));
}

TEST_F(TWItemServices, AnIndexedFieldIsClearedEntryByEntryAndNotSet) {
  const auto text = changes(*TWContact::withDict({{"item_id", "C"}}), {"physical_addresses"});
  EXPECT_THAT(text, Not(HasSubstr("SetItemField")));
  EXPECT_TRUE(text.starts_with(
      "<t:DeleteItemField><t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:Street\" "
      "FieldIndex=\"Business\"/></t:DeleteItemField>"
      "<t:DeleteItemField><t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:City\" "
      "FieldIndex=\"Business\"/>"))
      << text;
  std::size_t count = 0;
  for (auto at = text.find("<t:DeleteItemField>"); at != std::string::npos;
       at = text.find("<t:DeleteItemField>", at + 1))
    ++count;
  EXPECT_EQ(count, 15U);
}

TEST_F(TWItemServices, DeleteItemTellsOfReadReceiptsToServersFrom2013On) {
  const auto payload = [&](const std::shared_ptr<TWAccount>& of) {
    return TWDeleteItem::withAccount(of)
        ->getPayload(ids, "SoftDelete", "SendToNone", "AllOccurrences", true)
        .compactXMLString();
  };
  EXPECT_THAT(payload(at(TWBuild(15, 0))),
              EqualsXML("<m:DeleteItem DeleteType='SoftDelete' "
                        "SendMeetingCancellations='SendToNone' "
                        "AffectedTaskOccurrences='AllOccurrences' SuppressReadReceipts='true'>" +
                        idsXML + "</m:DeleteItem>"));
  EXPECT_THAT(payload(at(TWBuild(14, 3))), Not(HasSubstr("Suppress")));
  EXPECT_THAT(payload(at(std::nullopt)), Not(HasSubstr("Suppress")));
}

TEST_F(TWItemServices, SendItemWritesTheFolderAfterTheItems) {
  EXPECT_THAT(TWSendItem::withAccount(account)->getPayload(ids, folder("F")).compactXMLString(),
              EqualsXML("<m:SendItem SaveItemToFolder='true'>" + idsXML +
                        "<m:SavedItemFolderId><t:FolderId Id='F' ChangeKey='ck-F'/>"
                        "</m:SavedItemFolderId></m:SendItem>"));
  EXPECT_THAT(TWSendItem::withAccount(account)->getPayload(ids, nullptr).compactXMLString(),
              EqualsXML("<m:SendItem SaveItemToFolder='false'>" + idsXML + "</m:SendItem>"));
}

TEST_F(TWItemServices, MoveItemWritesTheFolderBeforeTheItems) {
  EXPECT_THAT(TWMoveItem::withAccount(account)->getPayload(ids, folder("F")).compactXMLString(),
              EqualsXML("<m:MoveItem><m:ToFolderId><t:FolderId Id='F' ChangeKey='ck-F'/>"
                        "</m:ToFolderId>" +
                        idsXML + "</m:MoveItem>"));
}

TEST_F(TWItemServices, ExportItemsGivesTheDataAndTheErrorsInTheirPlaces) {
  server.on(
      "ExportItems",
      answer("ExportItems", responseMessage("ExportItems", "Success", "NoError",
                                            "<m:ItemId Id='A'/><m:Data>QUJD</m:Data>") +
                                responseMessage("ExportItems", "Error", "ErrorResponseMessage")));
  TWError error;
  const auto results = TWExportItems::withAccount(account)->call(ids, &error);
  ASSERT_TRUE(results) << error;
  ASSERT_EQ(results->size(), 2U);
  EXPECT_EQ((*results)[0].asXML().stringValue(), "QUJD");
  EXPECT_TRUE((*results)[1].asError().is(TWErrorCode::ErrorResponseMessage));
  EXPECT_THAT(server.payload(0), EqualsXML("<m:ExportItems>" + idsXML + "</m:ExportItems>"));
}

TEST_F(TWItemServices, UploadItemsGivesIdPairs) {
  server.on("UploadItems",
            answer("UploadItems", responseMessage("UploadItems", "Success", "NoError",
                                                  "<m:ItemId Id='A' ChangeKey='k'/>")));
  TWError error;
  const auto results = TWUploadItems::withAccount(account)->call({{folder("F"), "QUJD"}}, &error);
  ASSERT_TRUE(results) << error;
  EXPECT_THAT(*results, ElementsAre(TWValue::list({"A", "k"})));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:UploadItems><m:Items><t:Item CreateAction='CreateNew'>"
                        "<t:ParentFolderId Id='F' ChangeKey='ck-F'/><t:Data>QUJD</t:Data></t:Item>"
                        "</m:Items></m:UploadItems>"));
  EXPECT_FALSE(TWUploadItems::withAccount(account)->call({{TWFolder::withDict(), "QUJD"}}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"));
}

TEST_F(TWItemServices, AMessageErrorFailsTheOperationsThatDoNotCatchIt) {
  const auto expectFails = [&](const char* operation, const auto& call) {
    server.on(operation, test::errorAnswer(operation, "ErrorResponseMessage"));
    TWError error;
    EXPECT_FALSE(call(&error)) << operation;
    EXPECT_TRUE(error.is(TWErrorCode::ErrorResponseMessage)) << operation << error;
  };
  expectFails("GetItem", [&](TWError* error) {
    return TWGetItem::withAccount(account)->call(ids, {}, "IdOnly", error);
  });
  expectFails("CreateItem", [&](TWError* error) {
    return TWCreateItem::withAccount(account)->call({message()}, nullptr, "SendOnly", "SendToNone",
                                                    error);
  });
  expectFails("UpdateItem", [&](TWError* error) {
    return TWUpdateItem::withAccount(account)->call({{message(), {"importance"}}}, "", "", "",
                                                    false, error);
  });
  expectFails("DeleteItem", [&](TWError* error) {
    return TWDeleteItem::withAccount(account)->call(ids, "", "", "", false, error);
  });
  expectFails("SendItem", [&](TWError* error) {
    return TWSendItem::withAccount(account)->call(ids, nullptr, error);
  });
  expectFails("MoveItem", [&](TWError* error) {
    return TWMoveItem::withAccount(account)->call(ids, folder("F"), error);
  });
}

TEST_F(TWItemServices, ChoicesAreTheServersToJudge) {
  server.on("UpdateItem", test::errorAnswer("UpdateItem", "ErrorInvalidRequest"));
  server.on("DeleteItem", test::errorAnswer("DeleteItem", "ErrorInvalidRequest"));
  TWError error;
  EXPECT_FALSE(TWUpdateItem::withAccount(account)->call(
      {{message({{"subject", "s"}}), {"subject"}}}, "Bogus", "Odd", "", false, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidRequest)) << error;
  EXPECT_THAT(
      server.payload(0),
      EqualsXML("<m:UpdateItem ConflictResolution='Bogus' MessageDisposition='Odd' "
                "SendMeetingInvitationsOrCancellations='' SuppressReadReceipts='false'>"
                "<m:ItemChanges><t:ItemChange><t:ItemId Id='M' ChangeKey='ck-M'/>"
                "<t:Updates>" +
                subjectSet("s") + "</t:Updates></t:ItemChange></m:ItemChanges></m:UpdateItem>"));
  EXPECT_FALSE(TWDeleteItem::withAccount(account)->call(ids, "Bogus", "Odd", "", false, &error));
  EXPECT_THAT(server.payload(1),
              EqualsXML("<m:DeleteItem DeleteType='Bogus' SendMeetingCancellations='Odd' "
                        "AffectedTaskOccurrences='' SuppressReadReceipts='false'>" +
                        idsXML + "</m:DeleteItem>"));
}

TEST_F(TWItemServices, AttachmentsAreNamedByTextsAndByIds) {
  const TWList both{"X", TWAttachmentId::withDict({{"id", "Y"}})};
  const std::string idsOf =
      "<m:AttachmentIds><t:AttachmentId Id='X'/><t:AttachmentId Id='Y'/></m:AttachmentIds>";
  EXPECT_THAT(TWGetAttachment::withAccount(account)->getPayload(both, false).compactXMLString(),
              EqualsXML("<m:GetAttachment><m:AttachmentShape/>" + idsOf + "</m:GetAttachment>"));
  EXPECT_THAT(TWGetAttachment::withAccount(account)->getPayload(both, true).compactXMLString(),
              EqualsXML("<m:GetAttachment><m:AttachmentShape><t:IncludeMimeContent>true"
                        "</t:IncludeMimeContent></m:AttachmentShape>" +
                        idsOf + "</m:GetAttachment>"));
  EXPECT_THAT(TWDeleteAttachment::withAccount(account)->getPayload(both).compactXMLString(),
              EqualsXML("<m:DeleteAttachment>" + idsOf + "</m:DeleteAttachment>"));
  TWError error;
  EXPECT_FALSE(TWDeleteAttachment::withAccount(account)->getPayload({3}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorType, "3 must be the id of an attachment"));
  for (const auto& empty : {TWValue(""), TWValue(TWAttachmentId::withDict({{"id", ""}}))}) {
    EXPECT_FALSE(TWGetAttachment::withAccount(account)->getPayload({"X", empty}, false, &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Attachment must have an id"));
  }
}

TEST_F(TWItemServices, EmptyIdsAreRefusedBeforeAnythingIsSent) {
  const auto expectFails = [&](std::string_view what, const auto& call) {
    TWError error;
    EXPECT_FALSE(call(&error));
    EXPECT_EQ(error,
              TWError(TWErrorCode::ErrorValueOutOfRange, std::string(what) + " must have an id"));
  };
  for (const TWItemEntry& empty :
       {TWItemEntry(TWIdPair{""}), TWItemEntry(TWMessage::withDict({{"item_id", ""}}))}) {
    expectFails("Item", [&](TWError* e) {
      return TWGetItem::withAccount(account)->call({empty}, {}, "IdOnly", e);
    });
    expectFails("Item", [&](TWError* e) {
      return TWCreateAttachment::withAccount(account)->call(empty, {}, e);
    });
  }
  expectFails("Attachment",
              [&](TWError* e) { return TWDeleteAttachment::withAccount(account)->call({""}, e); });
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, CreateAttachmentNamesTheItemByItselfOrByItsIdPair) {
  const auto file = TWFileAttachment::withDict({{"name", "a.txt"}});
  EXPECT_TRUE(file->setContent({'A', 'B', 'C'}));
  const std::string expected =
      "<m:CreateAttachment><m:ParentItemId Id='M' ChangeKey='ck-M'/><m:Attachments>"
      "<t:FileAttachment><t:Name>a.txt</t:Name><t:Content>QUJD</t:Content></t:FileAttachment>"
      "</m:Attachments></m:CreateAttachment>";
  for (const TWItemEntry& parent : {TWItemEntry(message()), TWItemEntry(TWIdPair{"M", "ck-M"})})
    EXPECT_THAT(
        TWCreateAttachment::withAccount(account)->getPayload(parent, {file}).compactXMLString(),
        EqualsXML(expected));
  TWError error;
  EXPECT_FALSE(
      TWCreateAttachment::withAccount(account)->call(TWMessage::withDict(), {file}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Item must have an id"));
  EXPECT_FALSE(TWCreateAttachment::withAccount(account)->call(message(), {file, nullptr}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Attachment must not be null"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWItemServices, DeleteAttachmentFindsTheRootIdWithAndWithoutAContainer) {
  const std::string rootId = "<m:RootItemId RootItemId='M' RootItemChangeKey='k'/>";
  for (const auto& content : {rootId, "<m:Attachments>" + rootId + "</m:Attachments>"}) {
    server.on("DeleteAttachment",
              answer("DeleteAttachment",
                     responseMessage("DeleteAttachment", "Success", "NoError", content)));
    const auto results = TWDeleteAttachment::withAccount(account)->call({"X"});
    ASSERT_TRUE(results);
    ASSERT_EQ(results->size(), 1U);
    EXPECT_EQ((*results)[0].asXML().localName(), "RootItemId");
  }
  server.on("DeleteAttachment", test::successAnswer("DeleteAttachment"));
  TWError error;
  EXPECT_FALSE(TWDeleteAttachment::withAccount(account)->call({"X"}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport)) << error;
}

TEST_F(TWItemServices, TheResultOfACreationTellsTheIdsOfItemAndAttachments) {
  EXPECT_THAT(TWBulkCreateResult::elementClass().fieldNames(),
              ElementsAre("item_id", "changekey", "attachments"));
  const auto created = TWBulkCreateResult::fromXML(
      parse("<t:Message><t:ItemId Id='A' ChangeKey='k'/><t:Attachments>"
            "<t:ItemAttachment><t:AttachmentId Id='1'/></t:ItemAttachment>"
            "<t:FileAttachment><t:AttachmentId Id='2'/></t:FileAttachment></t:Attachments>"
            "</t:Message>"));
  EXPECT_EQ(created->idPair(), (TWIdPair{"A", "k"}));
  const auto attachments = created->get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  ASSERT_TRUE(attachments);
  ASSERT_EQ(attachments->size(), 2U);
  EXPECT_EQ((*attachments)[0]->className(), "TWItemAttachment");
  EXPECT_EQ((*attachments)[1]->className(), "TWFileAttachment");
  const auto sent = TWBulkCreateResult::fromXML(parse("<t:Message/>"));
  EXPECT_EQ(sent->idPair(), std::nullopt);
  EXPECT_THAT(sent->allKeys(), IsEmpty());
  EXPECT_THAT(TWBulkCreateResult::fromXML(parse("<t:Message Id='x' ChangeKey='y'/>"))->allKeys(),
              IsEmpty());
}

}  // namespace
}  // namespace tarnwell
