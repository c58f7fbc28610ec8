#include <limits>

#include <gmock/gmock.h>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/folders/detail/ValueOrder.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWFieldOrder.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/QuerySetTesting.h"
#include "tests/support/RecordingLog.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using TWQuerySetTest = QuerySetTest;

TEST_F(TWQuerySetTest, StartsWithoutRestriction) {
  const auto set = inbox->all();
  EXPECT_EQ(set.folder(), inbox);
  EXPECT_TRUE(set.q().isEmpty());
  EXPECT_EQ(set.onlyFields(), std::nullopt);
  EXPECT_EQ(set.orderFields(), std::nullopt);
  EXPECT_EQ(set.returnFormat(), "none");
  EXPECT_EQ(set.calendarView(), nullptr);
  EXPECT_EQ(set.pageSize(), 0);
  EXPECT_EQ(set.maxItems(), 0);
  EXPECT_FALSE(set.isCached());
  EXPECT_EQ(set.itemIdField()->path(), "item_id");
  EXPECT_EQ(set.changeKeyField()->path(), "changekey");
}

TEST_F(TWQuerySetTest, ReadsAsItIsMeantTo) {
  hasMessages();
  std::vector<std::string> ids;
  for (const auto& entry :
       inbox->filter({{"subject__contains", "report"}})->orderBy({"-datetime_received"}))
    ids.push_back(entry.idPair()->id);
  EXPECT_THAT(ids, ElementsAre("1", "2", "3"));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:Restriction><t:Contains "));
  EXPECT_THAT(server.payload(0), HasSubstr("<t:FieldOrder Order=\"Descending\">"));
}

TEST_F(TWQuerySetTest, NothingIsSentBeforeResultsAreAskedFor) {
  const auto set = inbox->filter({{"subject", "x"}}).orderBy({"size"}).only({"subject"}).reverse();
  EXPECT_TRUE(set);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetTest, ChainingLeavesTheQuerySetAlone) {
  const auto set = inbox->all();
  (void)set.filter({{"subject", "x"}});
  (void)set.orderBy({"subject"});
  (void)set.none();
  EXPECT_TRUE(set.q().isEmpty());
  EXPECT_EQ(set.orderFields(), std::nullopt);
}

TEST_F(TWQuerySetTest, CopiesStartWithoutSizesAndCache) {
  hasMessages();
  auto set = inbox->filter({{"subject", "x"}}).only({"subject"});
  set.setPageSize(5);
  set.setMaxItems(7);
  ASSERT_TRUE(set.getItems());
  const auto copy = set.copy();
  EXPECT_EQ(copy.pageSize(), 0);
  EXPECT_EQ(copy.maxItems(), 0);
  EXPECT_FALSE(copy.isCached());
  EXPECT_EQ(copy.q(), set.q());
  EXPECT_EQ(copy.onlyFields()->size(), 1U);
}

TEST_F(TWQuerySetTest, CopiesHaveTheVerySameQueryAndOrders) {
  auto set = inbox->filter({{"subject", "x"}}).orderBy({"subject"}).values({"subject"});
  set.setCalendarView(TWCalendarView::withDict());
  const auto copy = set.copy();
  set.q().setValue("z");
  EXPECT_EQ(copy.q().value(), TWValue("z"));
  EXPECT_EQ(copy.orderFields()->at(0), set.orderFields()->at(0));
  EXPECT_EQ(copy.returnFormat(), "values");
  EXPECT_NE(copy.calendarView(), nullptr);
  EXPECT_EQ(copy.calendarView(), set.calendarView());
}

TEST_F(TWQuerySetTest, PathsAreMadeAnew) {
  const auto set = inbox->all();
  EXPECT_NE(set.itemIdField(), set.itemIdField());
  EXPECT_NE(set.changeKeyField(), set.changeKeyField());
}

TEST_F(TWQuerySetTest, AdditionalFieldsAreTheNamedOnesThatAreNoAttributes) {
  const auto names = [](const TWQuerySet& set) {
    std::vector<std::string> texts;
    for (const auto& path : set.additionalFields()) texts.push_back(path->path());
    return texts;
  };
  EXPECT_THAT(names(inbox->all()), IsEmpty());
  EXPECT_THAT(names(inbox->all().only({"item_id", "subject", "changekey", "body"})),
              ElementsAre("subject", "body"));
  EXPECT_THAT(names(inbox->all().valuesList({"size", "item_id"})), ElementsAre("size"));
}

TEST_F(TWQuerySetTest, TheFieldsNamedLastCount) {
  const auto set = inbox->all().only({"size"}).only({"subject"});
  ASSERT_EQ(set.onlyFields()->size(), 1U);
  EXPECT_EQ(set.onlyFields()->at(0).asObject<TWFieldPath>()->path(), "subject");
}

TEST_F(TWQuerySetTest, ReversingTwiceRestoresTheOrders) {
  const auto set = inbox->all().orderBy({"subject", "-size"}).reverse().reverse();
  EXPECT_FALSE(set.orderFields()->at(0)->reverse());
  EXPECT_TRUE(set.orderFields()->at(1)->reverse());
  EXPECT_EQ(inbox->all().reverse().orderFields(), std::nullopt);
}

TEST_F(TWQuerySetTest, FiltersAreJoinedByAnd) {
  const auto set = inbox->filter({{"subject", "x"}}).filter({{"size__gt", 1}});
  EXPECT_EQ(set.q().description(), "Q([[AND], [Q(size > 1), size], [Q(subject == x), subject]])");
}

TEST_F(TWQuerySetTest, AFilterWithoutArgumentsRestrictsNothing) {
  EXPECT_TRUE(inbox->filter(TWKeywords()).q().isEmpty());
}

TEST_F(TWQuerySetTest, ExcludeNegates) {
  EXPECT_EQ(inbox->exclude({{"size__gt", 5}}).q().op(), "<=");
  const Q contains = Q::withKeywords({{"subject__contains", "a"}});
  EXPECT_EQ(inbox->exclude(contains).q().connType(), "NOT");
  EXPECT_EQ(contains.connType(), "AND");
  const Q size = Q::withKeywords({{"size", 5}});
  EXPECT_EQ(inbox->exclude(size).q().op(), "!=");
  EXPECT_EQ(size.op(), "==") << "the caller's own query";
}

TEST_F(TWQuerySetTest, NoneMatchesNothingUntilFilteredAgain) {
  hasMessages();
  const auto none = inbox->none();
  EXPECT_FALSE(none.q());
  TWError error;
  EXPECT_THAT(none.iterator(0, &error), IsEmpty());
  EXPECT_THAT(*none.getItems(&error), IsEmpty());
  EXPECT_EQ(none.count(0, &error), 0U);
  EXPECT_FALSE(none.delete_(0, &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_EQ(none.filter({{"subject", "x"}}).q().fieldPath(), "subject");
}

TEST_F(TWQuerySetTest, ABadFilterGivesNothingAndTellsWhyWhenEvaluated) {
  const auto nothing = inbox->filter({{"size__range", 1}});
  EXPECT_FALSE(nothing);
  EXPECT_FALSE(nothing.filter({{"subject", "x"}}).orderBy({"size"}).only({"size"}).reverse());
  TWError error;
  EXPECT_FALSE(nothing.getItems(&error));
  EXPECT_EQ(error.message(), "Value of lookup size__range must have exactly 2 elements");
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  error = {};
  EXPECT_FALSE(nothing.get({{"subject", "x"}}, &error));
  EXPECT_TRUE(error);
  error = {};
  EXPECT_FALSE(nothing.delete_(0, &error));
  EXPECT_TRUE(error);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetTest, ANullQueryIsNoFilter) {
  const TWError refusal(TWErrorCode::ErrorValueOutOfRange,
                        "Non keyword arg (null) must be a q object");
  for (const auto& nothing : {inbox->filter(Q(nullptr)), inbox->exclude(Q(nullptr))}) {
    EXPECT_FALSE(nothing);
    TWError error;
    EXPECT_FALSE(nothing.getItems(&error));
    EXPECT_EQ(error, refusal);
    error = {};
    EXPECT_FALSE(nothing.delete_(0, &error));
    EXPECT_EQ(error, refusal);
  }
  TWError error;
  EXPECT_FALSE(inbox->all().get(TWQueries{Q(nullptr)}, {}, &error));
  EXPECT_EQ(error, refusal);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetTest, FiltersThatCannotBeJoinedGiveNothing) {
  const auto text = Q::withQueryString("a");
  for (const auto& [nothing, printed] :
       {std::pair(inbox->filter(text).filter({{"subject", "x"}}), "(Q(a), Q(subject == x))"),
        std::pair(inbox->filter({{"subject", "x"}}).filter(text), "(Q(subject == x), Q(a))")}) {
    EXPECT_FALSE(nothing);
    TWError error;
    EXPECT_FALSE(nothing.getItems(&error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                             "A query string cannot be combined with other restrictions: " +
                                 std::string(printed) + ", {}"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWQuerySetTest, AFilterThatRestrictsNothingIsLogged) {
  const RecordingLog log;
  EXPECT_TRUE(inbox->filter({{"categories__in", TWValue::list({})}}));
  EXPECT_THAT(log.lines(), ElementsAre(testing::StartsWith("[ann@example.com] A query restricts "
                                                           "nothing: {categories__in = ")));
}

TEST_F(TWQuerySetTest, NamesThatCannotBeResolvedAreLeftOutAndLogged) {
  const RecordingLog log;
  const auto set = inbox->all().only({"subject", "nope"}).orderBy({"-size", "-nope"});
  EXPECT_EQ(set.onlyFields()->size(), 1U);
  EXPECT_EQ(set.orderFields()->size(), 1U);
  EXPECT_THAT(log.lines(),
              ElementsAre(HasSubstr("Field nope is left out: Unknown fieldname nope"),
                          HasSubstr("Order -nope is left out: Unknown fieldname nope")));
}

TEST_F(TWQuerySetTest, EntriesMayBeNamedWithoutLabelAndPart) {
  const RecordingLog log;
  const auto contacts = folder("C", TWContacts::elementClass());
  const auto set = contacts->all()
                       .only({"phone_numbers", "physical_addresses__Home"})
                       .orderBy({"-phone_numbers"});
  EXPECT_EQ(set.onlyFields()->size(), 2U);
  EXPECT_EQ(set.orderFields()->size(), 1U);
  EXPECT_THAT(log.lines(), IsEmpty());
  TWError error;
  const auto paths = contacts->validateFields({"physical_addresses"}, &error);
  ASSERT_TRUE(paths) << error;
  EXPECT_EQ(paths->size(), 1U);
}

TEST_F(TWQuerySetTest, ReverseTurnsTheSharedOrders) {
  const auto set = inbox->all().orderBy({"subject", "-size"});
  const auto reversed = set.reverse();
  EXPECT_TRUE((*reversed.orderFields())[0]->reverse());
  EXPECT_FALSE((*reversed.orderFields())[1]->reverse());
  EXPECT_TRUE((*set.orderFields())[0]->reverse()) << "of the query set it was made from, too";
}

TEST_F(TWQuerySetTest, ShapesAreRemembered) {
  EXPECT_EQ(inbox->all().values({"subject"}).returnFormat(), "values");
  const TWDictionary flat{{"flat", true}};
  const auto list = inbox->all().valuesList({"subject"}, flat);
  EXPECT_EQ(list.returnFormat(), "flat");
  EXPECT_EQ(flat.size(), 1U);
  EXPECT_EQ(inbox->all().valuesList({"subject"}).returnFormat(), "values_list");
  EXPECT_TRUE((*list.onlyFields())[0].isText()) << "the texts as they were given";
}

TEST_F(TWQuerySetTest, AllFieldsAreFetchedInASecondRequest) {
  hasMessages();
  const auto entries = inbox->all().query();
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem"));
  EXPECT_THAT(idsOf(entries), ElementsAre("1", "2", "3"));
  EXPECT_EQ(entries[1].item()->get<std::string>("subject"), "c");
  EXPECT_THAT(server.payload(0), HasSubstr("<t:BaseShape>IdOnly</t:BaseShape>"));
  EXPECT_THAT(server.payload(0), HasSubstr("Traversal=\"Shallow\""));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"100\""));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("AdditionalProperties")));
  EXPECT_THAT(server.payload(1), HasSubstr("FieldURI=\"item:Subject\""));
}

TEST_F(TWQuerySetTest, NamedFieldsAreNotFetched) {
  hasMessages();
  const auto entries = *inbox->all().only({"subject", "body"}).getItems();
  EXPECT_THAT(server.operations(), ElementsAre("FindItem"));
  EXPECT_EQ(entries[0].item(), nullptr);
  EXPECT_EQ(entries[0].idPair(), (TWIdPair{"1", "ck-1"}));
}

TEST_F(TWQuerySetTest, ResultsAreCached) {
  hasMessages();
  const auto set = inbox->all();
  ASSERT_TRUE(set.getItems());
  ASSERT_TRUE(set.getItems());
  EXPECT_TRUE(set.isCached());
  EXPECT_EQ(server.requestCount(), 2U);
  EXPECT_EQ(set.count(0), 3U);
  EXPECT_EQ(set.iterator(10).size(), 3U);
  EXPECT_EQ(set.get()->idPair()->id, "1");
  EXPECT_EQ(server.requestCount(), 2U);
  EXPECT_EQ(set.pageSize(), 0);
  (void)set.query();
  EXPECT_EQ(server.requestCount(), 4U) << "query always asks the server";
}

TEST_F(TWQuerySetTest, AFailureIsNotCached) {
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  const auto set = inbox->all();
  TWError error;
  EXPECT_FALSE(set.getItems(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorAccessDenied));
  EXPECT_FALSE(set.isCached());
  error = {};
  EXPECT_THAT(set.query(&error), IsEmpty());
  EXPECT_TRUE(error);
  EXPECT_EQ(set.count(0, &error), 0U);
}

TEST_F(TWQuerySetTest, ARangeForEndsAtAFailureWhichIsLogged) {
  server.on("FindItem", errorAnswer("FindItem", "ErrorAccessDenied"));
  const RecordingLog log;
  for (const auto& entry : inbox->all()) FAIL() << entry;
  EXPECT_THAT(log.lines(), testing::Contains(HasSubstr("Query failed: ")));
}

TEST_F(TWQuerySetTest, TheIteratorKeepsItsPageSize) {
  hasMessages();
  const auto set = inbox->all();
  EXPECT_EQ(set.iterator(7).size(), 3U);
  EXPECT_EQ(set.pageSize(), 7);
  EXPECT_FALSE(set.isCached());
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"7\""));
}

TEST_F(TWQuerySetTest, CountingAsksForIdsOnlyInPagesOfAThousand) {
  hasMessages();
  const auto set = inbox->all().orderBy({"subject"});
  EXPECT_EQ(set.count(0), 3U);
  EXPECT_THAT(server.operations(), ElementsAre("FindItem"));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"1000\""));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("SortOrder")));
  EXPECT_FALSE(set.isCached());
  EXPECT_EQ(set.count(20), 3U);
  EXPECT_THAT(server.payload(1), HasSubstr("MaxEntriesReturned=\"20\""));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
TEST_F(TWQuerySetTest, QuestionsToTheCacheNeverReachTheServer) {
  hasMessages();
  const auto set = inbox->all();
  TWError error;
  EXPECT_EQ(set.count(&error), 0U);
  EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange));
  EXPECT_THAT(error.message(), HasSubstr("count(pageSize, error)"));
  EXPECT_FALSE(set.exists(nullptr));
  EXPECT_EQ(set.length(nullptr), 0U);
  EXPECT_FALSE(set.getItemAtIndex(0, nullptr));
  EXPECT_THAT(set.getItemsInRange(0, 9, nullptr), IsEmpty());
  EXPECT_EQ(server.requestCount(), 0U);

  ASSERT_TRUE(set.getItems());
  error = {};
  EXPECT_EQ(set.count(&error), 3U);
  EXPECT_TRUE(set.exists(&error));
  EXPECT_EQ(set.length(&error), 3U);
  EXPECT_EQ(set.getItemAtIndex(2, &error)->idPair()->id, "3");
  EXPECT_FALSE(set.getItemAtIndex(3, &error));
  EXPECT_THAT(idsOf(set.getItemsInRange(1, 9, &error)), ElementsAre("2", "3"));
  EXPECT_THAT(set.getItemsInRange(9, 1, &error), IsEmpty());
  EXPECT_FALSE(error);
}

TEST_F(TWQuerySetTest, QuestionsToTheCacheOfNothingTellWhyItIsNothing) {
  const auto nothing = inbox->filter({{"size__range", 1}});
  const auto failure = [](const auto& ask) {
    TWError error;
    ask(&error);
    return error.message();
  };
  const std::string why = "Value of lookup size__range must have exactly 2 elements";
  EXPECT_EQ(failure([&](TWError* e) { EXPECT_EQ(nothing.count(e), 0U); }), why);
  EXPECT_EQ(failure([&](TWError* e) { EXPECT_FALSE(nothing.exists(e)); }), why);
  EXPECT_EQ(failure([&](TWError* e) { EXPECT_EQ(nothing.length(e), 0U); }), why);
  EXPECT_EQ(failure([&](TWError* e) { EXPECT_FALSE(nothing.getItemAtIndex(0, e)); }), why);
  EXPECT_EQ(failure([&](TWError* e) { EXPECT_THAT(nothing.getItemsInRange(0, 1, e), IsEmpty()); }),
            why);
}
#pragma GCC diagnostic pop

TEST_F(TWQuerySetTest, GettingByIdFetchesWithoutASearch) {
  fetches({messageXML("1", "b")});
  TWError error;
  const auto entry = inbox->get({{"item_id", "1"}}, &error);
  ASSERT_TRUE(entry) << error;
  EXPECT_EQ(entry->item()->get<std::string>("subject"), "b");
  (void)inbox->get({{"item_id", "1"}, {"changekey", "ck-1"}});
  EXPECT_THAT(server.operations(), ElementsAre("GetItem", "GetItem"));
  EXPECT_THAT(server.payload(1), HasSubstr("<t:ItemId Id=\"1\" ChangeKey=\"ck-1\""));
}

TEST_F(TWQuerySetTest, GettingByOtherNamesSearches) {
  hasMessages();
  EXPECT_EQ(inbox->get({{"subject", "b"}})->idPair()->id, "1") << "the first of several";
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem"));
  TWError error;
  // A field beside the id makes it a search, which the id cannot be used in.
  EXPECT_FALSE(inbox->get({{"item_id", "1"}, {"subject", "b"}}, &error));
  EXPECT_EQ(error.message(), "item_id is not a valid field when filtering on TWInbox");
}

TEST_F(TWQuerySetTest, GettingWhatIsNotThereIsNoError) {
  finds("");
  TWError error;
  EXPECT_FALSE(inbox->get({{"subject", "b"}}, &error));
  EXPECT_FALSE(error);
}

TEST_F(TWQuerySetTest, AnErrorInThePlaceOfTheItemIsReported) {
  server.on("GetItem", errorAnswer("GetItem", "ErrorItemNotFound"));
  TWError error;
  EXPECT_FALSE(inbox->get({{"item_id", "1"}}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound));
}

TEST_F(TWQuerySetTest, CalendarViewsAreOrderedHere) {
  hasMessages();
  const auto calendar = folder("I", TWMessages::elementClass());
  auto set = calendar->all().orderBy({"-subject"});
  set.setCalendarView(TWCalendarView::withDict(
      {{"start", TWInstant(std::chrono::hours(1))}, {"end", TWInstant(std::chrono::hours(2))}}));
  TWError error;
  const auto entries = set.query(&error);
  EXPECT_FALSE(error) << error;
  EXPECT_THAT(idsOf(entries), ElementsAre("2", "1", "3"));
  EXPECT_THAT(server.payload(0), HasSubstr("<m:CalendarView "));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("SortOrder")));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("IndexedPageItemView")));
  for (const auto& entry : entries)
    EXPECT_TRUE(entry.item()->get("subject").isAbsent()) << "what it was sorted by is taken away";
}

TEST_F(TWQuerySetTest, TheLastOrderOfACalendarViewDecidesFirst) {
  finds(messageXML("1") + messageXML("2") + messageXML("3"));
  const auto sized = [](const std::string& id, const std::string& subject, int size) {
    return "<t:Message>" + idXML(id) + "<t:Subject>" + subject + "</t:Subject><t:Size>" +
           std::to_string(size) + "</t:Size></t:Message>";
  };
  fetches({sized("1", "b", 1), sized("2", "a", 2), sized("3", "a", 1)});
  auto set = inbox->all().orderBy({"subject", "size"});
  set.setCalendarView(TWCalendarView::withDict(
      {{"start", TWInstant(std::chrono::hours(1))}, {"end", TWInstant(std::chrono::hours(2))}}));
  EXPECT_THAT(idsOf(set.query()), ElementsAre("3", "1", "2"));
}

TEST_F(TWQuerySetTest, DeletingSearchesForIdsAndDeletesThemForGood) {
  hasMessages();
  server.on("DeleteItem",
            answer("DeleteItem", responseMessage("DeleteItem", "Success", "NoError") +
                                     responseMessage("DeleteItem", "Error", "ErrorItemNotFound") +
                                     responseMessage("DeleteItem", "Success", "NoError")));
  TWError error;
  const auto results = inbox->all().orderBy({"subject"}).delete_(50, &error);
  ASSERT_TRUE(results) << error;
  ASSERT_EQ(results->size(), 3U);
  EXPECT_TRUE((*results)[0]);
  EXPECT_TRUE((*results)[1].error().is(TWErrorCode::ErrorItemNotFound));
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "DeleteItem"));
  EXPECT_THAT(server.payload(0), HasSubstr("MaxEntriesReturned=\"50\""));
  for (const char* part :
       {"DeleteType=\"HardDelete\"", "SendMeetingCancellations=\"SendToNone\"",
        "AffectedTaskOccurrences=\"AllOccurrences\"", "SuppressReadReceipts=\"true\""})
    EXPECT_THAT(server.payload(1), HasSubstr(part));
}

TEST_F(TWQuerySetTest, DeletingWhatIsCachedDropsTheCache) {
  hasMessages();
  server.on("DeleteItem", successAnswer("DeleteItem"));
  const auto set = inbox->all();
  ASSERT_TRUE(set.getItems());
  (void)set.delete_(0);
  EXPECT_THAT(server.operations(), ElementsAre("FindItem", "GetItem", "DeleteItem"));
  EXPECT_FALSE(set.isCached());
}

TEST_F(TWQuerySetTest, ResultsOfAttributesAloneAreShapedToTheId) {
  const TWItemEntries pairs = {TWIdPair{"1", "ck-1"}};
  for (const auto& fields :
       {std::vector<std::string>{"item_id"}, std::vector<std::string>{"item_id", "changekey"},
        std::vector<std::string>{"changekey"}}) {
    const auto set = inbox->all().only(fields);
    const auto items = set.asItems(pairs);
    EXPECT_EQ(items[0].item()->get<std::string>("item_id"), "1");
    EXPECT_TRUE(items[0].item()->get("changekey").isAbsent());
    EXPECT_EQ(set.asValues(pairs)[0], (TWDictionary{{"item_id", "1"}}));
    EXPECT_EQ(set.asValuesList(pairs)[0], (TWList{"1"}));
    EXPECT_EQ(set.asFlatValuesList(pairs), (TWList{TWValue()}));
  }
}

TEST_F(TWQuerySetTest, ResultsAreShapedByTheNamedFields) {
  const TWItemEntries entries = {TWMessage::withDict({{"subject", "a"}, {"size", 1}}),
                                 TWMessage::withDict({{"size", 2}}), TWIdPair{"3"},
                                 TWError(TWErrorCode::ErrorItemNotFound, "gone")};
  const auto set = inbox->all().values({"subject", "size"});
  const auto items = set.asItems(entries);
  ASSERT_EQ(items.size(), 4U);
  EXPECT_EQ(items[0].item(), entries[0].item());
  EXPECT_EQ(items[1].item(), entries[1].item());
  EXPECT_EQ(items[2].idPair(), entries[2].idPair());
  EXPECT_EQ(items[3].error(), entries[3].error());
  const auto values = set.asValues(entries);
  EXPECT_EQ(values[0], (TWDictionary{{"subject", "a"}, {"size", 1}}));
  EXPECT_EQ(values[1], (TWDictionary{{"size", 2}}));
  EXPECT_TRUE(values[2].empty());
  EXPECT_TRUE(values[3].empty());
  EXPECT_EQ(set.asValuesList(entries)[1], (TWList{TWValue(), 2}));
  const auto flat = inbox->all().valuesList({"size", "subject"}, {{"flat", true}});
  EXPECT_EQ(flat.asFlatValuesList(entries), (TWList{1, 2, TWValue(), TWValue()}));
  EXPECT_THAT(inbox->all().asFlatValuesList(entries), IsEmpty());
}

TEST_F(TWQuerySetTest, AttributesBesideOtherFieldsAreShapedLikeThem) {
  const TWItemEntries entries = {TWMessage::withDict({{"item_id", "1"}, {"subject", "a"}}),
                                 TWIdPair{"1"}};
  const auto set = inbox->all().values({"item_id", "subject"});
  EXPECT_EQ(set.asItems(entries).at(0).item(), entries[0].item());
  EXPECT_EQ(set.asItems(entries).at(1).item(), nullptr);
  const auto values = set.asValues(entries);
  EXPECT_EQ(values.at(0), (TWDictionary{{"item_id", "1"}, {"subject", "a"}}));
  EXPECT_TRUE(values.at(1).empty());
  EXPECT_EQ(set.asValuesList(entries).at(0), (TWList{"1", "a"}));
  EXPECT_EQ(set.asValuesList(entries).at(1), (TWList{TWValue(), TWValue()}));
}

TEST_F(TWQuerySetTest, NamesThatCannotBeResolvedHaveAnAbsentValueInLists) {
  const TWItemEntries entries = {TWMessage::withDict({{"item_id", "1"}, {"size", 7}}),
                                 TWIdPair{"2"}};
  const auto flat = inbox->all().valuesList({"nope", "size"}, {{"flat", true}});
  EXPECT_EQ(flat.asFlatValuesList(entries), (TWList{TWValue(), TWValue()}));
  const auto list = inbox->all().valuesList({"nope", "size"});
  EXPECT_EQ(list.asValuesList(entries).at(0), (TWList{TWValue(), 7}));
  EXPECT_EQ(list.asValues(entries).at(0), (TWDictionary{{"size", 7}}));
  EXPECT_EQ(list.additionalFields().size(), 1U);
  const auto none = inbox->all().valuesList({"nope"});
  EXPECT_EQ(none.asValuesList(entries).at(1), TWList{TWValue()}) << "which is no id";
  EXPECT_EQ(none.asItems(entries).at(1).item(), nullptr);
  const auto ids = inbox->all().valuesList({"nope", "item_id", "changekey", "none"});
  EXPECT_EQ(ids.asValuesList(entries).at(1), (TWList{TWValue(), "2", TWValue()}));
  EXPECT_EQ(ids.asValues(entries).at(1), (TWDictionary{{"item_id", "2"}}));
  ASSERT_NE(ids.asItems(entries).at(1).item(), nullptr);
  EXPECT_EQ(ids.asItems(entries).at(1).item()->get("item_id"), TWValue("2"));
}

TEST_F(TWQuerySetTest, QuerySetsWithoutAFolderAreNothing) {
  const auto nothing = TWQuerySet::withFolder(nullptr);
  EXPECT_FALSE(nothing);
  TWError error;
  EXPECT_THAT(nothing.query(&error), IsEmpty());
  EXPECT_EQ(error.message(), "Query set must have a folder");
  EXPECT_EQ(nothing.folder(), nullptr);
  EXPECT_EQ(nothing.itemIdField(), nullptr);
  EXPECT_EQ(nothing.returnFormat(), "");
}

TEST(ValueOrder, AbsentComesFirstThenKindsThenValues) {
  using detail::isBefore;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<TWValue> ordered = {TWValue(),
                                        false,
                                        1,
                                        1.5,
                                        TWValue(std::int64_t{9'007'199'254'740'993}),
                                        nan,
                                        "Z",
                                        "a",
                                        TWInstant(std::chrono::hours(1)),
                                        TWInstant(std::chrono::hours(2))};
  for (std::size_t a = 0; a < ordered.size(); ++a)
    for (std::size_t b = 0; b < ordered.size(); ++b)
      EXPECT_EQ(isBefore(ordered[a], ordered[b]), a < b) << ordered[a] << " and " << ordered[b];
  EXPECT_TRUE(isBefore(TWValue(std::int64_t{9'007'199'254'740'992}),
                       TWValue(std::int64_t{9'007'199'254'740'993})));
  EXPECT_TRUE(isBefore(TWValue::list({1, 2}), TWValue::list({1, 3})));
  EXPECT_TRUE(isBefore(TWValue(TWData{1}), TWValue(TWData{2})));
}

}  // namespace
}  // namespace tarnwell::test
