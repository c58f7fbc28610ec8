#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWRestriction.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWFindItem.h"
#include "tarnwell/services/TWGetFolder.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::answer;
using test::EqualsXML;
using test::pageMessage;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

class TWFindItemTest : public test::MailboxTest {
 protected:
  std::shared_ptr<TWFieldPath> path(const char* text, const TWFolder& source) {
    return TWFieldPath::fromString(text, source, false);
  }
  std::optional<TWRestriction> restriction(const Q& q) {
    TWError error;
    auto made = TWRestriction::withQ(q, inbox, &error);
    EXPECT_TRUE(made) << error;
    return made;
  }
  static std::string items(std::size_t count) {
    std::string xml;
    for (std::size_t at = 0; at < count; ++at) xml += "<t:Message/>";
    return xml;
  }

  std::shared_ptr<TWFolder> inbox = folder("I", TWInbox::elementClass());
  std::shared_ptr<TWFindItem> service = TWFindItem::withAccount(account, {inbox, folder("J")});
};

constexpr const char* kParents =
    "<m:ParentFolderIds><t:FolderId Id=\"I\" ChangeKey=\"ck-I\"/>"
    "<t:FolderId Id=\"J\" ChangeKey=\"ck-J\"/></m:ParentFolderIds>";

TEST_F(TWFindItemTest, DeclaresItsNames) {
  EXPECT_EQ(TWFindItem::serviceName(), "FindItem");
  EXPECT_EQ(TWFindItem::rootName(), "m:FindItem");
  EXPECT_EQ(TWFindItem::elementContainerName(), "Items");
  EXPECT_EQ(TWFindItem::elementContainerXMLns(),
            "http://schemas.microsoft.com/exchange/services/2006/types");
  EXPECT_EQ(TWFindItem::chunkSize(), 100U);
}

TEST_F(TWFindItemTest, WritesItsPartsInOrder) {
  const auto q = Q::withKeywords({{"subject", "x"}});
  const auto text = Q::withQueryString("report");
  const auto inner = restriction(q)->toXML(nullptr).compactXMLString();
  const auto payload =
      service->getPayload({path("subject", *inbox), path("categories", *inbox)}, restriction(q),
                          {TWFieldOrder::fromString("-subject", *inbox, false),
                           TWFieldOrder::fromString("size", *inbox, false)},
                          "IdOnly", restriction(text), "Shallow", nullptr, 0, 20);
  EXPECT_THAT(payload.compactXMLString(),
              EqualsXML("<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>IdOnly"
                        "</t:BaseShape><t:AdditionalProperties>"
                        "<t:FieldURI FieldURI=\"item:Categories\"/>"
                        "<t:FieldURI FieldURI=\"item:Subject\"/></t:AdditionalProperties>"
                        "</m:ItemShape><m:IndexedPageItemView MaxEntriesReturned=\"0\" "
                        "Offset=\"20\" BasePoint=\"Beginning\"/>" +
                        inner +
                        "<m:SortOrder><t:FieldOrder Order=\"Descending\"><t:FieldURI "
                        "FieldURI=\"item:Subject\"/></t:FieldOrder><t:FieldOrder "
                        "Order=\"Ascending\"><t:FieldURI FieldURI=\"item:Size\"/></t:FieldOrder>"
                        "</m:SortOrder>" +
                        kParents + "<m:QueryString>report</m:QueryString></m:FindItem>"));
}

TEST_F(TWFindItemTest, IndexedFieldsAreAskedForEntryByEntry) {
  const auto contacts = folder("C", TWContacts::elementClass());
  const auto payload =
      TWFindItem::withAccount(account, {contacts})
          ->getPayload({path("physical_addresses__Home__city", *contacts)}, std::nullopt, {},
                       "IdOnly", std::nullopt, "Shallow", nullptr, 1, 0);
  EXPECT_THAT(payload.compactXMLString(),
              HasSubstr("<t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:City\" "
                        "FieldIndex=\"Home\"/>"));
}

TEST_F(TWFindItemTest, FieldsAreExpandedAndSortedByTheirPaths) {
  const auto contacts = folder("C", TWContacts::elementClass());
  const auto shapeOf = [&](const TWFindItem::Paths& fields) {
    return TWFindItem::withAccount(account, {contacts})
        ->getPayload(fields, std::nullopt, {}, "IdOnly", std::nullopt, "Shallow", nullptr, 1, 0)
        .compactXMLString();
  };
  const auto subject = path("subject", *contacts), body = path("body", *contacts),
             phones = path("phone_numbers", *contacts);
  std::string expected = "<t:FieldURI FieldURI=\"item:Body\"/>";
  for (const char* label :
       {"AssistantPhone", "BusinessFax", "BusinessPhone", "BusinessPhone2", "Callback", "CarPhone",
        "CompanyMainPhone", "HomeFax", "HomePhone", "HomePhone2", "Isdn", "MobilePhone", "OtherFax",
        "OtherTelephone", "Pager", "PrimaryPhone", "RadioPhone", "Telex", "TtyTddPhone"})
    expected.append("<t:IndexedFieldURI FieldURI=\"contacts:PhoneNumber\" FieldIndex=\"")
        .append(label)
        .append("\"/>");
  expected += "<t:FieldURI FieldURI=\"item:Subject\"/>";
  const auto shape = shapeOf({subject, phones, body});
  EXPECT_THAT(shape, HasSubstr("<t:AdditionalProperties>" + expected));
  EXPECT_EQ(shapeOf({phones, body, subject}), shape);
}

TEST_F(TWFindItemTest, PagesAreAskedForOfEveryServer) {
  const auto old = test::makeAccount(server.url(), TWVersion(TWBuild(8, 0), "Exchange2007"));
  EXPECT_THAT(TWFindItem::withAccount(old, {inbox})
                  ->getPayload({}, std::nullopt, {}, "IdOnly", std::nullopt, "x", nullptr, 9, 0)
                  .compactXMLString(),
              HasSubstr("<m:IndexedPageItemView MaxEntriesReturned=\"9\""));
}

TEST_F(TWFindItemTest, ACalendarViewTakesThePlaceOfPages) {
  const auto view = TWCalendarView::withDict({{"start", TWInstant(0s)}, {"end", TWInstant(60s)}});
  const auto payload =
      service->getPayload({}, std::nullopt, {}, "IdOnly", std::nullopt, "Shallow", view, 5, 0);
  EXPECT_THAT(payload.compactXMLString(),
              EqualsXML("<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>IdOnly"
                        "</t:BaseShape></m:ItemShape>" +
                        view->toXML(nullptr).compactXMLString() + kParents + "</m:FindItem>"));
}

TEST_F(TWFindItemTest, WhatCannotBeWrittenFailsThePageBeforeItIsSent) {
  const auto refusal = [](TWPagedServiceResponse pages) {
    TWError error;
    EXPECT_FALSE(pages.nextPage(&error));
    return error.message();
  };
  const auto view = TWCalendarView::withDict({{"start", TWInstant(60s)}, {"end", TWInstant(0s)}});
  EXPECT_EQ(refusal(service->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "x", view, 1, 0)),
            "end date is lower than start date");
  const auto contacts = folder("C", TWContacts::elementClass());
  const auto order = TWFieldOrder::fromString("phone_numbers", *contacts, false);
  ASSERT_TRUE(order);
  EXPECT_THAT(
      refusal(service->call({}, std::nullopt, {order}, "IdOnly", std::nullopt, "x", nullptr, 1, 0)),
      HasSubstr("is missing label and/or subfield"));
  EXPECT_EQ(refusal(TWFindItem::withAccount(account, {nullptr})
                        ->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "x", nullptr, 1, 0)),
            "(null) must be a folder or the id of one");
  auto q = Q::withKeywords({{"subject", "x"}});
  const auto emptied = restriction(q);
  q.setFieldPath(std::nullopt);
  EXPECT_EQ(refusal(service->call({}, emptied, {}, "IdOnly", std::nullopt, "x", nullptr, 1, 0)),
            "Q object must not be empty");
  const auto size = TWFieldOrder::fromString("size", *inbox, false);
  for (const TWFindItem::Orders& orders :
       {TWFindItem::Orders{nullptr}, {nullptr, size}, {size, {}}}) {
    EXPECT_EQ(refusal(service->call({}, {}, orders, "IdOnly", {}, "x", nullptr, 1, 0)),
              "An order to sort by is missing");
    TWError error;
    EXPECT_TRUE(inbox->findItems(Q(), {.orderFields = orders}, &error).empty());
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorType, "An order to sort by is missing"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFindItemTest, TheErrorsOfACallComeWithItsPages) {
  server.on("FindItem", test::errorAnswer("FindItem", "ErrorAccessDenied"));
  TWError error;
  auto pages = service->call({}, {}, {}, "IdOnly", {}, "Shallow", nullptr, 100, 0, &error);
  EXPECT_FALSE(error);
  EXPECT_FALSE(pages.nextPage(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied)) << error;
}

TEST_F(TWFindItemTest, ItemsAreLookedForInTheirOwnNamespace) {
  server.on("FindItem", answer("FindItem", test::responseMessage(
                                               "FindItem", "Success", "NoError",
                                               "<m:RootFolder IncludesLastItemInRange=\"true\">"
                                               "<m:Items/></m:RootFolder>")));
  TWError error;
  EXPECT_FALSE(service->call({}, {}, {}, "IdOnly", {}, "Shallow", nullptr, 1, 0).nextPage(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(), HasSubstr("No Items elements in ResponseMessage <m:RootFolder"));
}

TEST_F(TWFindItemTest, ReadsPagesUpToTheMaximum) {
  server.on("FindItem", [](const std::string& payload) {
    const bool isFirst = payload.find("Offset=\"0\"") != std::string::npos;
    return answer("FindItem",
                  pageMessage("FindItem", "Items", items(100), false, isFirst ? 100 : 200));
  });
  auto pages =
      service->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "Shallow", nullptr, 100, 150);
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_EQ(pages.nextPage()->size(), 100U);
  EXPECT_EQ(pages.nextPage()->size(), 100U);
  TWError error;
  EXPECT_FALSE(pages.nextPage(&error));
  EXPECT_FALSE(error);
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST_F(TWFindItemTest, SaysNothingOfTheAccountAndUsesTheOrdinaryConnection) {
  TWAccountOptions options;
  options.primarySmtpAddress = "ann@example.com";
  options.accessType = TWAccessTypeImpersonation;
  options.credentials = TWCredentials::credentialsWithUsernamePassword("service", "pw");
  options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
      server.url(), options.credentials, TWVersion(TWBuild(15, 1)))};
  const auto impersonating = TWAccount::withOptions(options);
  // Requests are written for the account's server, but declare the version of the protocol.
  impersonating->setVersion(TWVersion(TWBuild(8, 1), "Exchange2007_SP1"));
  server.on("FindItem", answer("FindItem", pageMessage("FindItem", "Items", "")));
  server.on("DeleteItem", test::successAnswer("DeleteItem"));
  ASSERT_TRUE(TWFindItem::withAccount(impersonating, {inbox})
                  ->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "x", nullptr, 1, 0)
                  .nextPage());
  ASSERT_TRUE(impersonating->bulkDelete({TWIdPair{"1"}}, "HardDelete", "SendToNone",
                                        "AllOccurrences", true));
  const auto requests = server.requests();
  EXPECT_THAT(requests.at(0).body, Not(HasSubstr("TimeZoneContext")));
  EXPECT_THAT(requests.at(0).body, Not(HasSubstr("ExchangeImpersonation")));
  EXPECT_THAT(requests.at(0).body, HasSubstr("RequestServerVersion Version=\"Exchange2016\""));
  EXPECT_THAT(requests.at(1).body, HasSubstr("ExchangeImpersonation"));
  EXPECT_EQ(requests.at(0).connection, requests.at(1).connection);
}

TEST_F(TWFindItemTest, TheProtocolLearnsTheVersionHereAndTheAccountElsewhere) {
  const TWVersion guessed(std::nullopt, "Exchange2016"), found(TWBuild(15, 1), "Exchange2016");
  const auto learning = test::makeAccount(server.url(), guessed, "service");
  const auto protocol = learning->protocol();
  learning->setVersion(TWVersion(std::nullopt, "Exchange2010"));
  const auto telling = [](std::string_view operation, const std::string& messages,
                          std::string_view version) {
    return test::ScriptedAnswer::xml(test::envelope(
        test::response(operation, messages),
        "MajorVersion=\"15\" MinorVersion=\"1\" Version=\"" + std::string(version) + "\""));
  };
  server.on("FindItem", telling("FindItem", pageMessage("FindItem", "Items", ""), "Exchange2016"));
  server.on("GetFolder",
            telling("GetFolder", test::foldersMessage("GetFolder", test::folderXML("A", "a")),
                    "Exchange2010"));
  {
    const test::RecordingLog log;
    ASSERT_TRUE(TWFindItem::withAccount(learning, {inbox})
                    ->call({}, std::nullopt, {}, "IdOnly", std::nullopt, "x", nullptr, 1, 0)
                    .nextPage());
    EXPECT_THAT(log.lines(), Contains("[service] Setting API version: Exchange2016"));
    EXPECT_THAT(log.lines(), Contains("[service] Setting Build: " + TWBuild(15, 1).description()));
  }
  EXPECT_EQ(protocol->version(), found);
  EXPECT_EQ(learning->version(), TWVersion(std::nullopt, "Exchange2010"));

  protocol->setVersion(guessed);
  const test::RecordingLog log;
  ASSERT_TRUE(TWGetFolder::withAccount(learning)->call({folder("A")}, {}, "IdOnly"));
  EXPECT_THAT(log.lines(), Contains("[ann@example.com] Setting API version: Exchange2010"));
  EXPECT_EQ(learning->version(), TWVersion(TWBuild(15, 1), "Exchange2010"));
  EXPECT_EQ(protocol->version(), guessed);
}

}  // namespace
}  // namespace tarnwell
