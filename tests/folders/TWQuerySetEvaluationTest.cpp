// What query sets ask the server for, and what they make of its answers.

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/QuerySetTesting.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class TWQuerySetEvaluation : public QuerySetTest {
 protected:
  /// A page of two messages and one of the third.
  void hasPages(bool secondIsLast = true) {
    server.on("FindItem", [secondIsLast](const std::string& payload) {
      const bool isFirst = payload.find("Offset=\"0\"") != std::string::npos;
      return answer(
          "FindItem",
          isFirst ? pageMessage("FindItem", "Items", messageXML("1") + messageXML("2"), false, 2)
                  : pageMessage("FindItem", "Items", messageXML("3"), secondIsLast, 3));
    });
  }
  static std::shared_ptr<TWCalendarView> anHour() {
    return TWCalendarView::withDict(
        {{"start", TWInstant(std::chrono::hours(1))}, {"end", TWInstant(std::chrono::hours(2))}});
  }
  static std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }
};

TEST_F(TWQuerySetEvaluation, ASearchEndsWithThePageThatReachesTheMaximum) {
  hasPages(false);
  auto set = inbox->all().only({"subject"});
  set.setMaxItems(1);
  EXPECT_THAT(idsOf(set.query()), ElementsAre("1", "2")) << "the page is given whole";
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST_F(TWQuerySetEvaluation, CountingTakesNoNoticeOfTheMaximum) {
  hasPages();
  auto set = inbox->all();
  set.setMaxItems(1);
  EXPECT_EQ(set.count(0), 3U);
  EXPECT_EQ(server.requestCount(), 2U);
}

TEST_F(TWQuerySetEvaluation, APageThatFailsLeavesNothingOfThoseBefore) {
  server.on("FindItem", [](const std::string& payload) {
    if (payload.find("Offset=\"0\"") == std::string::npos) return failedAnswer();
    return answer("FindItem", pageMessage("FindItem", "Items", messageXML("1"), false, 1));
  });
  const auto set = inbox->all().only({"subject"});
  TWError error;
  EXPECT_THAT(set.query(&error), IsEmpty());
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  error = {};
  EXPECT_FALSE(set.getItems(&error));
  EXPECT_TRUE(error);
  EXPECT_FALSE(set.isCached());
}

TEST_F(TWQuerySetEvaluation, ItemsThatCannotBeFetchedFailTheSearch) {
  hasMessages();
  server.on("GetItem", failedAnswer());
  const auto set = inbox->all();
  TWError error;
  EXPECT_FALSE(set.getItems(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_FALSE(set.isCached());
}

TEST_F(TWQuerySetEvaluation, AGoodAnswerAfterAFailureIsCached) {
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  const auto set = inbox->all();
  EXPECT_FALSE(set.getItems());
  hasMessages();
  ASSERT_TRUE(set.getItems());
  EXPECT_TRUE(set.isCached());
}

TEST_F(TWQuerySetEvaluation, EveryFieldOfTheFolderIsFetchedForEveryItemFound) {
  hasMessages();
  EXPECT_EQ(inbox->all().query().size(), 3U);
  EXPECT_THAT(server.payload(1),
              HasSubstr("<m:ItemIds>" + idXML("1") + idXML("2") + idXML("3") + "</m:ItemIds>"));
  for (const char* uri : {"item:Body", "item:Size", "message:From", "message:IsRead"})
    EXPECT_THAT(server.payload(1), HasSubstr("FieldURI=\"" + std::string(uri) + "\""));
}

TEST_F(TWQuerySetEvaluation, NamedFieldsAreNotAskedForBySearches) {
  hasMessages();
  EXPECT_TRUE(inbox->all().only({"subject", "size"}).getItems());
  EXPECT_THAT(server.payload(0), Not(HasSubstr("AdditionalProperties")));
}

TEST_F(TWQuerySetEvaluation, WithoutNamedFieldsResultsAreShapedAsTheyAre) {
  const TWItemEntries pairs = {TWIdPair{"1", "ck-1"}};
  const auto items = inbox->all().asItems(pairs);
  EXPECT_EQ(items.at(0).item(), nullptr);
  EXPECT_EQ(items.at(0).idPair(), pairs[0].idPair());
}

TEST_F(TWQuerySetEvaluation, AFilterWithoutArgumentsSendsNoRestriction) {
  hasMessages();
  EXPECT_TRUE(inbox->exclude(TWKeywords()).q().isEmpty());
  EXPECT_EQ(inbox->exclude(TWKeywords()).count(0), 3U);
  EXPECT_EQ(inbox->filter(TWKeywords()).count(0), 3U);
  EXPECT_THAT(server.payload(0), Not(HasSubstr("Restriction")));
  EXPECT_THAT(server.payload(1), Not(HasSubstr("Restriction")));
}

TEST_F(TWQuerySetEvaluation, ExcludingSeveralKeywordsNegatesThemTogether) {
  hasMessages();
  EXPECT_EQ(inbox->exclude({{"subject__contains", "a"}, {"body__contains", "b"}}).count(0), 3U);
  EXPECT_THAT(server.payload(0), HasSubstr("<m:Restriction><t:Not><t:And><t:Contains "));
  EXPECT_THAT(server.payload(0), HasSubstr("</t:Contains></t:And></t:Not></m:Restriction>"));
}

TEST_F(TWQuerySetEvaluation, ExcludingAFreeTextSearchSearchesForItAndIsLogged) {
  hasMessages();
  const RecordingLog log;
  const auto set = inbox->exclude({"report"}, {});
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("A query string is not negated: report")));
  EXPECT_EQ(set.count(0), 3U);
  EXPECT_THAT(server.payload(0), HasSubstr("<m:QueryString>report</m:QueryString>"));
}

TEST_F(TWQuerySetEvaluation, AConnectorThatIsNoneFailsTheSearch) {
  Q q = Q::withKeywords({{"subject", "x"}, {"body", "y"}});
  q.setConnType("or");
  TWError error;
  EXPECT_FALSE(inbox->filter(q).getItems(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Connector or is not supported"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetEvaluation, AWalkOfWhatIsNothingIsLogged) {
  const RecordingLog log;
  for (const auto& entry : inbox->filter({{"size__range", 1}})) FAIL() << entry;
  EXPECT_THAT(log.lines(), Contains(HasSubstr("[(null)] Query failed: ")));
  EXPECT_THAT(log.lines(),
              Contains(HasSubstr("Value of lookup size__range must have exactly 2 elements")));
}

TEST_F(TWQuerySetEvaluation, AQuerySetHoldsItsFolder) {
  hasMessages();
  const auto set = folder("I", TWInbox::elementClass())->all();
  EXPECT_EQ(set.getItems()->size(), 3U);
  EXPECT_THAT(server.payload(0), HasSubstr("<t:FolderId Id=\"I\" ChangeKey=\"ck-I\"/>"));
}

// Getting one.

TEST_F(TWQuerySetEvaluation, GettingFromNoneFindsNothing) {
  hasMessages();
  const auto none = inbox->none();
  TWError error;
  EXPECT_FALSE(none.get(&error));
  EXPECT_FALSE(none.get({{"item_id", "1"}}, &error));
  EXPECT_FALSE(none.get({{"item_id", "1"}, {"changekey", "ck-1"}}, &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(server.requestCount(), 0U);
  ASSERT_TRUE(none.getItems());
  EXPECT_FALSE(none.get(&error)) << "from the cache";
  EXPECT_FALSE(error);
  EXPECT_TRUE(none.get({{"subject", "b"}}, &error)) << "another filter: " << error;
}

TEST_F(TWQuerySetEvaluation, GettingFromACacheWithoutEntriesFindsNothing) {
  finds("");
  const auto set = inbox->all();
  ASSERT_TRUE(set.getItems());
  server.startOver();
  TWError error;
  EXPECT_FALSE(set.get(&error));
  EXPECT_FALSE(error);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetEvaluation, GettingByAnIdWithoutAChangeKeySendsNone) {
  fetches({messageXML("1", "b")});
  const std::optional<std::string> changekey;
  TWError error;
  EXPECT_TRUE(inbox->get({{"item_id", "1"}, {"changekey", changekey}}, &error)) << error;
  EXPECT_THAT(server.payload(0), HasSubstr("<m:ItemIds><t:ItemId Id=\"1\"/></m:ItemIds>"));
}

TEST_F(TWQuerySetEvaluation, GettingByAnIdFetchesTheNamedFields) {
  fetches({messageXML("1", "b")});
  TWError error;
  EXPECT_TRUE(inbox->all().only({"subject"}).get({{"item_id", "1"}}, &error)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("GetItem"));
  EXPECT_THAT(server.payload(0), HasSubstr("FieldURI=\"item:Subject\""));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("FieldURI=\"item:Body\"")));
}

TEST_F(TWQuerySetEvaluation, AnIdThatIsTooLongIsRefusedBeforeAnythingIsSent) {
  const std::string longId(513, 'x');
  TWError error;
  EXPECT_FALSE(inbox->get({{"item_id", longId}}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                           "item_id value " + longId + " exceeds length 512"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetEvaluation, IdsThatAreMissingOrNoTextsAreRefusedBeforeAnythingIsSent) {
  const auto refusal = [&](const TWKeywords& keywords) {
    TWError error;
    EXPECT_FALSE(inbox->get(keywords, &error));
    return error;
  };
  const TWError noId(TWErrorCode::ErrorValueOutOfRange, "Item must have an id");
  EXPECT_EQ(refusal({{"item_id", TWValue()}}), noId);
  EXPECT_EQ(refusal({{"item_id", ""}}), noId);
  EXPECT_TRUE(refusal({{"item_id", 5}}).is(TWErrorCode::ErrorType));
  EXPECT_TRUE(refusal({{"item_id", "1"}, {"changekey", 5}}).is(TWErrorCode::ErrorType));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetEvaluation, GettingByTheChangeKeyFirstIsASearch) {
  TWError error;
  EXPECT_FALSE(inbox->get({{"changekey", "k"}, {"item_id", "1"}}, &error));
  EXPECT_EQ(error.message(), "changekey is not a valid field when filtering on TWInbox");
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetEvaluation, GettingByQueriesAndKeywordsJoinsThem) {
  hasMessages();
  const Q subject = Q::withKeywords({{"subject", "b"}});
  TWError error;
  EXPECT_TRUE(inbox->all().get(TWQueries{subject}, {{"size__gt", 1}}, &error)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem"));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:Restriction><t:And><t:IsGreaterThan>"));
  EXPECT_THAT(server.payload(0), HasSubstr("</t:IsGreaterThan><t:IsEqualTo>"));
}

// Calendar views.

TEST_F(TWQuerySetEvaluation, AnOrderOfACalendarViewIsAPathOfItsOwn) {
  hasMessages();
  auto set = inbox->all().orderBy({"subject"});
  set.setCalendarView(anHour());
  EXPECT_EQ(set.query().size(), 3U);
  // Paths are compared by identity, so that the order's is asked for beside the field's own.
  EXPECT_EQ(countOf(server.payload(1), "FieldURI=\"item:Subject\""), 2U);
}

TEST_F(TWQuerySetEvaluation, WithoutAnOrderACalendarViewIsLeftAsItComes) {
  hasMessages();
  auto set = inbox->all();
  set.setCalendarView(anHour());
  const auto entries = set.query();
  EXPECT_THAT(server.payload(0), HasSubstr("<m:CalendarView "));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("SortOrder")));
  EXPECT_THAT(idsOf(entries), ElementsAre("1", "2", "3"));
  EXPECT_EQ(entries.at(1).item()->get("subject"), TWValue("c"));
}

TEST_F(TWQuerySetEvaluation, WhatIsNoItemComesFirstInACalendarView) {
  finds(messageXML("1") + messageXML("2") + messageXML("3"));
  const auto item = [](const std::string& xml) {
    return responseMessage("GetItem", "Success", "NoError", "<m:Items>" + xml + "</m:Items>");
  };
  server.on("GetItem",
            answer("GetItem", item(messageXML("1", "b")) +
                                  responseMessage("GetItem", "Error", "ErrorItemNotFound") +
                                  item(messageXML("3", "a"))));
  auto set = inbox->all().orderBy({"subject"});
  set.setCalendarView(anHour());
  TWError error;
  const auto entries = set.query(&error);
  EXPECT_FALSE(error) << error;
  EXPECT_THAT(idsOf(entries), ElementsAre("-", "3", "1"));
  EXPECT_TRUE(entries.at(0).error().is(TWErrorCode::ErrorItemNotFound));
}

TEST_F(TWQuerySetEvaluation, NamedFieldsLeaveACalendarViewAsItComes) {
  hasMessages();
  auto set = inbox->all().only({"subject"}).orderBy({"-subject"});
  set.setCalendarView(anHour());
  EXPECT_THAT(idsOf(set.query()), ElementsAre("1", "2", "3"));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem"));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("SortOrder")));
}

TEST_F(TWQuerySetEvaluation, CountingKeepsTheCalendarView) {
  hasMessages();
  auto set = inbox->all();
  set.setCalendarView(anHour());
  EXPECT_EQ(set.count(0), 3U);
  EXPECT_THAT(server.payload(0), HasSubstr("<m:CalendarView "));
}

// Operations on what is found.

TEST_F(TWQuerySetEvaluation, WhatIsFoundIsDeletedAsItWasSeen) {
  hasMessages();
  succeeds("DeleteItem");
  ASSERT_TRUE(inbox->all().delete_(0));
  EXPECT_THAT(server.payload(1),
              HasSubstr("<m:ItemIds>" + idXML("1") + idXML("2") + idXML("3") + "</m:ItemIds>"));
}

TEST_F(TWQuerySetEvaluation, WhatIsCachedIsDeletedLikeWhatIsFound) {
  hasMessages();
  succeeds("DeleteItem");
  const auto set = inbox->all();
  ASSERT_TRUE(set.getItems());
  ASSERT_TRUE(set.delete_(0));
  for (const char* part :
       {"DeleteType=\"HardDelete\"", "SendMeetingCancellations=\"SendToNone\"",
        "AffectedTaskOccurrences=\"AllOccurrences\"", "SuppressReadReceipts=\"true\""})
    EXPECT_THAT(server.payload(2), HasSubstr(part));
  EXPECT_THAT(server.payload(2), HasSubstr("<m:ItemIds>" + idXML("1")));
}

TEST_F(TWQuerySetEvaluation, DeletingNothingAsksForNothing) {
  finds("");
  TWError error;
  EXPECT_FALSE(inbox->all().delete_(0, &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(server.operations(), ElementsAre("FindItem"));
}

TEST_F(TWQuerySetEvaluation, ASearchThatFailsDeletesNothing) {
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  TWError error;
  EXPECT_FALSE(inbox->all().delete_(0, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied)) << error;
  EXPECT_THAT(server.operations(), ElementsAre("FindItem"));
  error = {};
  EXPECT_FALSE(TWInbox::withDict({{"folder_id", "I"}})->all().delete_(0, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an account"));
}

TEST_F(TWQuerySetEvaluation, ADeletionThatFailsDropsTheCache) {
  hasMessages();
  server.on("DeleteItem", failedAnswer());
  const auto set = inbox->all();
  ASSERT_TRUE(set.getItems());
  TWError error;
  EXPECT_FALSE(set.delete_(0, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP)) << error;
  EXPECT_FALSE(set.isCached());
}

TEST_F(TWQuerySetEvaluation, DeletingSearchesInTheOrdinaryPages) {
  hasMessages();
  succeeds("DeleteItem");
  EXPECT_TRUE(inbox->all().delete_(0));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"100\""));
}

TEST_F(TWQuerySetEvaluation, WhatIsFoundIsSent) {
  hasMessages();
  succeeds("SendItem");
  TWError error;
  const auto sent = account->bulkSend(inbox->all().only({"subject"}), false, nullptr, &error);
  ASSERT_TRUE(sent) << error;
  EXPECT_THAT(*sent, ElementsAre(true, true, true));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "SendItem"));
  EXPECT_THAT(server.payload(1), HasSubstr(idXML("1") + idXML("2") + idXML("3")));
}

TEST_F(TWQuerySetEvaluation, WhatIsFoundIsFetched) {
  hasMessages();
  TWError error;
  const auto fetched =
      account->fetch(inbox->all().only({"subject"}), inbox, TWList{"subject"}, &error);
  ASSERT_TRUE(fetched) << error;
  ASSERT_EQ(fetched->size(), 3U);
  EXPECT_EQ(fetched->at(2).item()->get("subject"), TWValue("a"));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem"));
}

// Threads.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
TEST_F(TWQuerySetEvaluation, CachedResultsAreSeenWholeOrNotAtAll) {
  hasMessages();
  succeeds("DeleteItem");
  const auto set = inbox->all().only({"subject"});
  std::atomic<bool> done = false;
  std::vector<std::size_t> sizes;
  std::thread reader([&] {
    std::vector<bool> seen(4);
    while (!done) {
      seen.at(set.count(nullptr)) = true;
      seen.at(set.getItemsInRange(0, 9, nullptr).size()) = true;
      if (set.isCached()) seen.at(set.exists(nullptr) ? 3 : 0) = true;
    }
    for (std::size_t size = 0; size < seen.size(); ++size)
      if (seen[size]) sizes.push_back(size);
  });
  for (int round = 0; round < 50; ++round) {
    EXPECT_TRUE(set.getItems());
    EXPECT_TRUE(set.delete_(0));
  }
  done = true;
  reader.join();
  EXPECT_THAT(sizes, Each(testing::AnyOf(0U, 3U)));
}
#pragma GCC diagnostic pop

}  // namespace
}  // namespace tarnwell::test
