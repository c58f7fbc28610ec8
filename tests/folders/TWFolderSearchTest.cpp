#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::pageMessage;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string itemXML(std::string_view id, std::string_view tag = "Message",
                    std::string_view subject = "s") {
  const std::string name = "t:" + std::string(tag);
  return "<" + name + "><t:ItemId Id=\"" + std::string(id) + "\" ChangeKey=\"ck-" +
         std::string(id) + "\"/><t:Subject>" + std::string(subject) + "</t:Subject></" + name + ">";
}

class TWFolderSearch : public test::MailboxTest {
 protected:
  TWFolderSearch() { finds(itemXML("1") + itemXML("2")); }

  void finds(const std::string& items) {
    server.on("FindItem", answer("FindItem", pageMessage("FindItem", "Items", items)));
  }
  std::shared_ptr<TWFieldPath> path(const char* text) {
    TWError error;
    auto made = TWFieldPath::fromString(text, *inbox, false, &error);
    EXPECT_TRUE(made) << error;
    return made;
  }
  static std::vector<std::string> idsOf(const TWItemEntries& entries) {
    std::vector<std::string> ids;
    for (const auto& entry : entries) ids.push_back(entry.idPair() ? entry.idPair()->id : "error");
    return ids;
  }

  std::shared_ptr<TWFolder> inbox = folder("I", TWInbox::elementClass());
};

TEST_F(TWFolderSearch, SearchingByAQueryAloneAsksForIds) {
  const auto found = inbox->findItems(Q());
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found.at(0).idPair(), (TWIdPair{"1", "ck-1"}));
  EXPECT_FALSE(found.at(0).item());
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>IdOnly"
                        "</t:BaseShape></m:ItemShape><m:IndexedPageItemView "
                        "MaxEntriesReturned=\"100\" Offset=\"0\" BasePoint=\"Beginning\"/>"
                        "<m:ParentFolderIds><t:FolderId Id=\"I\" ChangeKey=\"ck-I\"/>"
                        "</m:ParentFolderIds></m:FindItem>"));
}

TEST_F(TWFolderSearch, AFailedSearchByAQueryAloneGivesWhatCameBefore) {
  server.on("FindItem", [](const std::string& payload) {
    if (payload.find("Offset=\"0\"") == std::string::npos) return test::failedAnswer();
    return answer("FindItem",
                  pageMessage("FindItem", "Items", itemXML("1") + itemXML("2"), false, 2));
  });
  EXPECT_EQ(inbox->findItems(Q()).size(), 2U);
  TWError error;
  EXPECT_EQ(inbox->findItems(Q(), TWFindItemsOptions(), &error).size(), 2U);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
}

TEST_F(TWFolderSearch, TheNullQueryMatchesNothing) {
  TWError error;
  EXPECT_THAT(inbox->findItems(Q(nullptr), TWFindItemsOptions(), &error), IsEmpty());
  EXPECT_FALSE(error);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderSearch, AQueryBecomesARestriction) {
  static_cast<void>(inbox->findItems(Q::withKeywords({{"subject", "x"}})));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:Restriction>"));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("QueryString")));
}

TEST_F(TWFolderSearch, AFreeTextSearchIsAQueryStringAtTheEnd) {
  static_cast<void>(inbox->findItems(Q::withQueryString("from:ann")));
  EXPECT_THAT(server.payload(0), HasSubstr("</m:ParentFolderIds><m:QueryString>from:ann"));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("Restriction")));
}

TEST_F(TWFolderSearch, AQueryThatCannotBeWrittenSendsNothing) {
  TWError error;
  EXPECT_THAT(inbox->findItems(Q::withKeywords({{"nothing", "x"}}), TWFindItemsOptions(), &error),
              IsEmpty());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderSearch, EntriesWithoutAnIdAreLeftOutOfIds) {
  finds("<t:Message/>" + itemXML("1"));
  EXPECT_EQ(idsOf(inbox->findItems(Q())), std::vector<std::string>{"1"});
}

TEST_F(TWFolderSearch, MoreThanIdsGivesItemsOfTheFolder) {
  finds(itemXML("1", "Message", "Hello"));
  const auto found = inbox->findItems(Q(), {.additionalFields = {path("subject")}});
  ASSERT_EQ(found.size(), 1U);
  const auto item = found.at(0).item();
  ASSERT_TRUE(item);
  EXPECT_EQ(item->className(), "TWMessage");
  EXPECT_EQ((*item)["subject"], TWValue("Hello"));
  EXPECT_EQ(item->folder(), inbox);
  EXPECT_EQ(item->account(), account);
  EXPECT_EQ(found.at(0).idPair(), (TWIdPair{"1", "ck-1"}));
  EXPECT_THAT(server.payload(0),
              HasSubstr("<t:AdditionalProperties><t:FieldURI FieldURI=\"item:Subject\"/>"
                        "</t:AdditionalProperties>"));
}

TEST_F(TWFolderSearch, AShapeBesidesIdsGivesItemsToo) {
  const auto found = inbox->findItems(Q(), {.shape = "AllProperties"});
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(found.at(0).item());
}

TEST_F(TWFolderSearch, AnItemThatTheFolderCannotHoldStopsTheSearch) {
  finds(itemXML("1") + itemXML("2", "Task") + itemXML("3"));
  TWError error;
  const auto found = inbox->findItems(Q(), {.shape = "AllProperties"}, &error);
  EXPECT_EQ(idsOf(found), std::vector<std::string>{"1"});
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "Item type Task was unexpected in a TWInbox folder"));
}

TEST_F(TWFolderSearch, AFieldThatASearchCannotReturnIsRefused) {
  TWError error;
  EXPECT_THAT(inbox->findItems(Q(), {.additionalFields = {path("body")}}, &error), IsEmpty());
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "findItems does not support field body. Use fetch() instead"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderSearch, AFieldThatTheItemsDoNotHaveIsRefused) {
  const auto contacts = folder("C", TWContacts::elementClass());
  const auto foreign = TWFieldPath::fromString("given_name", *contacts, false);
  ASSERT_TRUE(foreign);
  TWError error;
  EXPECT_THAT(inbox->findItems(Q(), {.additionalFields = {foreign}}, &error), IsEmpty());
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "given_name is not a valid field on (TWMessage, TWMeetingRequest, "
                           "TWMeetingResponse, TWMeetingCancellation)"));
  EXPECT_EQ(server.requestCount(), 0U);
}

// It could not be returned by a search either, but that is not what is wrong with it here.
TEST_F(TWFolderSearch, AFieldThatTheItemsDoNotHaveIsRefusedAsSuchFirst) {
  const auto foreign = path("conversation_index");
  ASSERT_TRUE(foreign && foreign->field()->isComplex());
  TWError error;
  EXPECT_THAT(
      folder("K", TWTasks::elementClass())->findItems(Q(), {.additionalFields = {foreign}}, &error),
      IsEmpty());
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "conversation_index is not a valid field on (TWTask)"));
}

TEST_F(TWFolderSearch, ItemsAreFetchedAndCreatedInTheFolder) {
  server.on("GetItem",
            answer("GetItem", test::responseMessage("GetItem", "Success", "NoError",
                                                    "<m:Items>" + itemXML("1") + "</m:Items>")));
  server.on("CreateItem",
            answer("CreateItem", test::responseMessage("CreateItem", "Success", "NoError",
                                                       "<m:Items>" + itemXML("9") + "</m:Items>")));
  TWError error;
  const auto fetched = inbox->fetch({TWIdPair{"1", "ck-1"}}, TWList{"subject"}, &error);
  ASSERT_TRUE(fetched && fetched->size() == 1) << error;
  const auto item = fetched->front().item();
  ASSERT_TRUE(item);
  EXPECT_EQ((*item)["subject"], TWValue("s"));
  EXPECT_EQ(item->folder(), inbox);
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:GetItem><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
                        "<t:AdditionalProperties><t:FieldURI FieldURI=\"item:Subject\"/>"
                        "</t:AdditionalProperties></m:ItemShape><m:ItemIds><t:ItemId Id=\"1\" "
                        "ChangeKey=\"ck-1\"/></m:ItemIds></m:GetItem>"));

  const auto created = inbox->bulkCreateItems({TWMessage::withDict({{"subject", "s"}})},
                                              "SendAndSaveCopy", "SendOnlyToAll", &error);
  ASSERT_TRUE(created && created->size() == 1) << error;
  EXPECT_EQ(created->front().value()->idPair(), (TWIdPair{"9", "ck-9"}));
  EXPECT_THAT(server.operations(), ::testing::ElementsAre("GetItem", "CreateItem"));
  EXPECT_THAT(server.payload(1), HasSubstr("MessageDisposition=\"SendAndSaveCopy\""));
  EXPECT_THAT(server.payload(1), HasSubstr("SendMeetingInvitations=\"SendOnlyToAll\""));
  EXPECT_THAT(server.payload(1), HasSubstr("<m:SavedItemFolderId><t:FolderId Id=\"I\" "
                                           "ChangeKey=\"ck-I\"/></m:SavedItemFolderId>"));
}

TEST_F(TWFolderSearch, EveryParameterReachesTheRequest) {
  const auto order = TWFieldOrder::fromString("-subject", *inbox, false);
  ASSERT_TRUE(order);
  static_cast<void>(inbox->findItems(Q(), "IdOnly", "Associated", {}, {order}, nullptr, 7, 0));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:FindItem Traversal=\"Associated\"><m:ItemShape><t:BaseShape>IdOnly"
                        "</t:BaseShape></m:ItemShape><m:IndexedPageItemView "
                        "MaxEntriesReturned=\"7\" Offset=\"0\" BasePoint=\"Beginning\"/>"
                        "<m:SortOrder><t:FieldOrder Order=\"Descending\"><t:FieldURI "
                        "FieldURI=\"item:Subject\"/></t:FieldOrder></m:SortOrder>"
                        "<m:ParentFolderIds><t:FolderId Id=\"I\" ChangeKey=\"ck-I\"/>"
                        "</m:ParentFolderIds></m:FindItem>"));
}

TEST_F(TWFolderSearch, PagesAreReadUpToTheMaximum) {
  server.on("FindItem", [](const std::string& payload) {
    const bool isFirst = payload.find("Offset=\"0\"") != std::string::npos;
    return answer("FindItem", pageMessage("FindItem", "Items",
                                          isFirst ? itemXML("1") + itemXML("2") : itemXML("3"),
                                          false, isFirst ? 2 : 3));
  });
  EXPECT_EQ(idsOf(inbox->findItems(Q(), {.pageSize = 2, .maxItems = 3})),
            (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_EQ(server.requestCount(), 2U);
}

// What may come is neither more nor less: the last page but one leaves one item missing.
TEST_F(TWFolderSearch, ASearchByAQueryAloneEndsAfterAHundredThousand) {
  constexpr int kFirst = 50000, kSecond = 49999;
  const auto page = [](int size, int next) {
    std::string items;
    for (int at = 0; at < size; ++at) items += R"(<t:Message><t:ItemId Id="1"/></t:Message>)";
    return answer("FindItem",
                  pageMessage("FindItem", "Items", items, false, static_cast<std::size_t>(next)));
  };
  server.on("FindItem", [&](const std::string& payload) {
    if (payload.find("Offset=\"0\"") != std::string::npos) return page(kFirst, kFirst);
    if (payload.find("Offset=\"50000\"") != std::string::npos)
      return page(kSecond, kFirst + kSecond);
    return page(1, kFirst + kSecond + 1);
  });
  EXPECT_EQ(inbox->findItems(Q()).size(), 100000U);
  EXPECT_EQ(server.requestCount(), 3U);
}

TEST_F(TWFolderSearch, ACalendarViewTakesThePlaceOfPages) {
  const auto calendar = folder("C", TWCalendar::elementClass());
  const auto view = TWCalendarView::withDict({{"start", TWInstant(0s)}, {"end", TWInstant(3600s)}});
  static_cast<void>(calendar->findItems(Q(), {.calendarView = view}));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:CalendarView StartDate="));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("IndexedPageItemView")));

  view->set("end", TWInstant(-1s));
  TWError error;
  EXPECT_THAT(calendar->findItems(Q(), {.calendarView = view}, &error), IsEmpty());
  EXPECT_EQ(error.message(), "end date is lower than start date");
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST_F(TWFolderSearch, ACalendarViewThatIsCutShortHasNoSecondPage) {
  const auto calendar = folder("C", TWCalendar::elementClass());
  const auto view = TWCalendarView::withDict(
      {{"start", TWInstant(0s)}, {"end", TWInstant(3600s)}, {"max_items", 2}});
  // Servers then say that there is more, but not where.
  for (const auto& items : {itemXML("1"), itemXML("1") + itemXML("2")}) {
    server.startOver();
    server.on("FindItem", answer("FindItem", test::responseMessage(
                                                 "FindItem", "Success", "NoError",
                                                 "<m:RootFolder TotalItemsInView=\"5\" "
                                                 "IncludesLastItemInRange=\"false\"><t:Items>" +
                                                     items + "</t:Items></m:RootFolder>")));
    TWError error;
    const auto found = calendar->findItems(Q(), {.calendarView = view}, &error);
    EXPECT_FALSE(error) << error;
    EXPECT_EQ(found.size(), items == itemXML("1") ? 1U : 2U);
    EXPECT_EQ(server.requestCount(), 1U);
  }
}

TEST_F(TWFolderSearch, NeedsAnAccount) {
  TWError error;
  EXPECT_THAT(TWInbox::withDict({{"folder_id", "I"}})->findItems(Q(), TWFindItemsOptions(), &error),
              IsEmpty());
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an account"));
  error = {};
  EXPECT_FALSE(
      TWInbox::withDict({{"folder_id", "I"}})->fetch({TWIdPair{"1"}}, std::nullopt, &error));
  EXPECT_EQ(error.message(), "Folder must have an account");
  error = {};
  EXPECT_FALSE(TWInbox::withDict()->bulkCreateItems({}, "SaveOnly", "SendToNone", &error));
  EXPECT_EQ(error.message(), "Folder must have an account");
}

TEST_F(TWFolderSearch, QuerySetsStartWithoutARequest) {
  EXPECT_EQ(inbox->all().folder(), inbox);
  EXPECT_TRUE(inbox->all().q().isEmpty());
  EXPECT_FALSE(static_cast<bool>(inbox->none().q()));
  EXPECT_EQ(inbox->filter({{"subject", "x"}}).q().expr(), "subject == x");
  EXPECT_EQ(inbox->exclude({{"subject", "x"}}).q().expr(), "subject != x");
  EXPECT_EQ(inbox->filter(Q::withKeywords({{"subject", "x"}})).q().expr(), "subject == x");
  const TWQueries queries{Q::withKeywords({{"subject", "x"}})};
  for (const auto& [set, connection] : {std::pair{inbox->filter(queries, {{"size", 7}}), "AND"},
                                        std::pair{inbox->exclude(queries, {{"size", 7}}), "NOT"}}) {
    EXPECT_EQ(set.q().connType(), connection);
    const auto expression = set.q().expr().value_or("");
    EXPECT_THAT(expression, HasSubstr("subject == x"));
    EXPECT_THAT(expression, HasSubstr("size == 7"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderSearch, OneItemIsSoughtByQueriesAndKeywords) {
  finds("");
  TWError error;
  EXPECT_FALSE(inbox->get({Q::withKeywords({{"subject", "x"}})}, {{"size", 7}}, &error));
  EXPECT_FALSE(error) << error;
  EXPECT_THAT(server.payload(0), HasSubstr("FieldURI=\"item:Subject\""));
  EXPECT_THAT(server.payload(0), HasSubstr("FieldURI=\"item:Size\""));
}

TEST_F(TWFolderSearch, AccessIsTestedByASearchForOneItem) {
  finds("");
  EXPECT_TRUE(inbox->testAccess());
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"1\""));
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  TWError error;
  EXPECT_FALSE(inbox->testAccess(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied)) << error;
}

}  // namespace
}  // namespace tarnwell
