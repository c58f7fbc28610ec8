// Searches, with the sandbox evaluating what the library writes.

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWMessage.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::Host;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;
using Texts = std::vector<std::string>;

/// Alice's mailbox with two hundred items of the sandbox's, thirty of them appointments in 2026,
/// and five drafts.
class QueriesEndToEnd : public testing::Test {
 protected:
  static sandbox::SandboxOptions options() {
    sandbox::SandboxOptions options;
    options.seedCount = 200;
    return options;
  }
  void SetUp() override {
    ASSERT_TRUE(drafts && inbox);
    const auto draft = [&](const char* subject, std::size_t size, const char* importance) {
      return TWMessage::withDict({{"folder", drafts},
                                  {"subject", subject},
                                  {"body", std::string(size, 'x')},
                                  {"importance", importance}});
    };
    const auto created = account->bulkCreate(
        drafts,
        {draft("Report of May", 10, "High"), draft("Report of June", 5'000, "High"),
         draft("Weekly report", 50'000, "Normal"), draft("Invoice", 100, "Low"),
         draft("Lunch", 20, "Normal")},
        "SaveOnly", "SendToNone", &error);
    ASSERT_TRUE(created) << error;
    for (const auto& each : *created) ASSERT_TRUE(each) << each.error();
    (void)requestsFor("");
  }

  static std::string subjectOf(const TWItemEntry& entry) {
    const auto item = entry.item();
    return item ? item->get("subject").description() : "(no item)";
  }
  static Texts subjectsIn(const TWQuerySet& set) {
    TWError failure;
    const auto entries = set.getItems(&failure);
    EXPECT_TRUE(entries) << failure;
    Texts subjects;
    for (const auto& entry : entries.value_or(TWItemEntries()))
      subjects.push_back(subjectOf(entry));
    return subjects;
  }
  static Texts idsIn(const TWItemEntries& entries) {
    Texts ids;
    for (const auto& entry : entries) ids.push_back(entry.idPair() ? entry.idPair()->id : "-");
    return ids;
  }
  /// How many requests of that operation there have been since the last question.
  std::size_t requestsFor(std::string_view operation) {
    const auto requests = host.server.requests();
    const auto first = requests.begin() + static_cast<std::ptrdiff_t>(seen_);
    seen_ = requests.size();
    return static_cast<std::size_t>(std::count_if(first, requests.end(), [&](const auto& request) {
      return request.operation == operation;
    }));
  }
  static std::shared_ptr<TWCalendarView> theYear(const TWValue& maxItems = {}) {
    constexpr TWInstant kStart(1'767'225'600s);  // the first of January
    const auto view = TWCalendarView::withDict({{"start", kStart}, {"end", kStart + 365 * 24h}});
    view->set("max_items", maxItems);
    return view;
  }

  Host host{"queries.example", Host::Scheme::https, options()};
  std::shared_ptr<TWAccount> account = TWAccount::withPrimarySMTPAddress(
      host.address("alice"), "Alice", TWAccessTypeDefault, false, host.credentials(),
      TWConfiguration{host.protocol(TWVersion(TWBuild(15, 1)))});
  std::shared_ptr<TWFolder> drafts = account->drafts();
  std::shared_ptr<TWFolder> inbox = account->inbox();
  TWError error;

 private:
  std::size_t seen_ = 0;
};

TEST_F(QueriesEndToEnd, FiltersFindWhatTheyDescribe) {
  EXPECT_THAT(subjectsIn(drafts->filter({{"subject__contains", "Report"}})),
              UnorderedElementsAre("Report of May", "Report of June"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"subject__icontains", "REPORT"}})),
              UnorderedElementsAre("Report of May", "Report of June", "Weekly report"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"subject__startswith", "Report of J"}})),
              ElementsAre("Report of June"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"subject", "Lunch"}})), ElementsAre("Lunch"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"size__range", {5'000, 20'000}}})),
              ElementsAre("Report of June"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"importance__in", {"High", "Low"}}})),
              UnorderedElementsAre("Report of May", "Report of June", "Invoice"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"subject", "Breakfast"}})), IsEmpty());
}

TEST_F(QueriesEndToEnd, FieldsWithSeveralValuesAreFoundByAnyOfThem) {
  const auto everything = inbox->all().getItems(&error);
  ASSERT_TRUE(everything) << error;
  Texts wanted, others;
  for (const auto& entry : *everything) {
    const auto categories = entry.item()->get<Texts>("categories").value_or(Texts());
    const bool fits = std::ranges::any_of(
        categories, [](const auto& each) { return each == "Finance" || each == "Travel"; });
    (fits ? wanted : others).push_back(entry.idPair()->id);
  }
  ASSERT_THAT(wanted, Not(IsEmpty()));
  ASSERT_THAT(others, Not(IsEmpty()));
  const TWKeywords either = {{"categories__in", {"Finance", "Travel"}}};
  EXPECT_THAT(idsIn(inbox->filter(either).only({}).query(&error)),
              UnorderedElementsAreArray(wanted));
  EXPECT_THAT(idsIn(inbox->exclude(either).only({}).query(&error)),
              UnorderedElementsAreArray(others));
  EXPECT_EQ(inbox->filter({{"categories__contains", {"Finance", "Travel"}}}).count(0, &error), 0U);
  EXPECT_FALSE(error) << error;
}

TEST_F(QueriesEndToEnd, QueriesAreJoinedAndNegated) {
  const Q report = Q::withKeywords({{"subject__icontains", "report"}});
  const Q large = Q::withKeywords({{"size__gt", 4'000}});
  EXPECT_THAT(subjectsIn(drafts->filter(report & ~large)), ElementsAre("Report of May"));
  EXPECT_THAT(subjectsIn(drafts->filter(~(report | large))),
              UnorderedElementsAre("Invoice", "Lunch"));
  EXPECT_THAT(subjectsIn(drafts->exclude(report)), UnorderedElementsAre("Invoice", "Lunch"));
  EXPECT_THAT(subjectsIn(drafts->filter(report).exclude({{"subject__contains", "May"}})),
              UnorderedElementsAre("Report of June", "Weekly report"));
  EXPECT_THAT(subjectsIn(drafts->exclude({{"subject__contains", "May"}, {"size__lt", 4'000}})),
              UnorderedElementsAre("Report of June", "Weekly report", "Invoice", "Lunch"));
}

TEST_F(QueriesEndToEnd, AQueryStringIsSearchedByTheServer) {
  EXPECT_THAT(subjectsIn(drafts->filter(Q::withQueryString("subject:report -subject:weekly"))),
              UnorderedElementsAre("Report of May", "Report of June"));
  EXPECT_THAT(subjectsIn(drafts->filter({"lunch"}, {})), ElementsAre("Lunch"));
}

TEST_F(QueriesEndToEnd, AQueryThatIsRefusedSendsNothing) {
  EXPECT_FALSE(drafts->filter({{"nothing", 1}}).getItems(&error));
  EXPECT_EQ(error.message(), "Unknown fieldname nothing on class TWDrafts");
  EXPECT_EQ(requestsFor("FindItem"), 0U);
}

TEST_F(QueriesEndToEnd, ResultsComeInTheOrderAskedFor) {
  const auto set = drafts->all().orderBy({"-subject"});
  EXPECT_THAT(subjectsIn(set),
              ElementsAre("Weekly report", "Report of May", "Report of June", "Lunch", "Invoice"));
  EXPECT_THAT(subjectsIn(set.reverse()),
              ElementsAre("Invoice", "Lunch", "Report of June", "Report of May", "Weekly report"));
  EXPECT_THAT(subjectsIn(drafts->filter({{"importance__in", {"High", "Low"}}}).orderBy({"-size"})),
              ElementsAre("Report of June", "Invoice", "Report of May"));
}

TEST_F(QueriesEndToEnd, NamedFieldsGiveIdsInTheOrderAskedFor) {
  const auto whole = drafts->all().orderBy({"-subject"}).getItems(&error);
  ASSERT_TRUE(whole) << error;
  const auto set = drafts->all().orderBy({"-subject"}).only({"subject"});
  (void)requestsFor("");
  const auto pairs = set.getItems(&error);
  ASSERT_TRUE(pairs) << error;
  EXPECT_EQ(idsIn(*pairs), idsIn(*whole));
  EXPECT_EQ(pairs->front().item(), nullptr);
  EXPECT_EQ(requestsFor("GetItem"), 0U);
  // What was fetched elsewhere takes the shape that is asked for.
  EXPECT_EQ(set.values({"subject", "importance"}).asValues(*whole).at(2),
            (TWDictionary{{"subject", "Report of June"}, {"importance", "High"}}));
  EXPECT_EQ(set.valuesList({"subject"}, {{"flat", true}}).asFlatValuesList(*whole),
            (TWList{"Weekly report", "Report of May", "Report of June", "Lunch", "Invoice"}));
  EXPECT_EQ(set.values({"item_id"}).asValues(*pairs).at(0),
            (TWDictionary{{"item_id", whole->front().idPair()->id}}));
}

TEST_F(QueriesEndToEnd, SearchesReadPageAfterPage) {
  EXPECT_EQ(drafts->all().count(2, &error), 5U) << error;
  EXPECT_EQ(requestsFor("FindItem"), 3U);
  auto set = drafts->all().only({"subject"});
  set.setPageSize(2);
  set.setMaxItems(3);
  EXPECT_EQ(set.query(&error).size(), 4U) << "whole pages: " << error;
  EXPECT_EQ(requestsFor("FindItem"), 2U);

  const auto everything = inbox->all().iterator(7, &error);
  EXPECT_FALSE(error) << error;
  EXPECT_GT(everything.size(), 14U);
  EXPECT_EQ(requestsFor("FindItem"), (everything.size() + 6) / 7);
  EXPECT_EQ(inbox->all().count(0, &error), everything.size());
  EXPECT_EQ(requestsFor("FindItem"), 1U);
  auto ids = idsIn(everything);
  std::ranges::sort(ids);
  EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end()) << "nothing comes twice";
}

TEST_F(QueriesEndToEnd, OneItemIsGotByItsFieldsOrItsId) {
  const auto invoice = drafts->get({{"subject", "Invoice"}}, &error);
  ASSERT_TRUE(invoice) << error;
  EXPECT_EQ(subjectOf(*invoice), "Invoice");
  const auto id = invoice->idPair().value();
  (void)requestsFor("");
  for (const auto& again : {drafts->get({{"item_id", id.id}}, &error),
                            drafts->get({{"item_id", id.id}, {"changekey", id.changekey}})}) {
    ASSERT_TRUE(again) << error;
    EXPECT_EQ(subjectOf(*again), "Invoice");
  }
  EXPECT_EQ(requestsFor("FindItem"), 0U);
  EXPECT_FALSE(drafts->get({{"subject", "Breakfast"}}, &error));
  EXPECT_FALSE(error);
  EXPECT_FALSE(drafts->none().get(&error));
  EXPECT_FALSE(error);
  EXPECT_FALSE(drafts->get({{"item_id", "no such id"}}, &error));
  EXPECT_TRUE(error);
}

TEST_F(QueriesEndToEnd, ACalendarViewGivesTheRangeInOrderOfTime) {
  const auto calendar = account->calendar();
  ASSERT_TRUE(calendar);
  auto set = calendar->all();
  set.setCalendarView(theYear());
  const auto byTime = set.getItems(&error);
  ASSERT_TRUE(byTime) << error;
  ASSERT_EQ(byTime->size(), 30U);
  for (const auto& entry : *byTime) EXPECT_FALSE(entry.item()->get("subject").isAbsent()) << entry;

  // Ordered here, which takes away what it was ordered by.
  auto inOrder = *byTime;
  std::ranges::stable_sort(inOrder, {}, subjectOf);
  auto ordered = calendar->all().orderBy({"subject"});
  ordered.setCalendarView(theYear());
  const auto bySubject = ordered.getItems(&error);
  ASSERT_TRUE(bySubject) << error;
  EXPECT_EQ(idsIn(*bySubject), idsIn(inOrder));
  EXPECT_NE(idsIn(*bySubject), idsIn(*byTime));
  for (const auto& entry : *bySubject)
    EXPECT_TRUE(entry.item()->get("subject").isAbsent()) << entry;

  // The first ones only: the server says that there is more, but such a search has no next page.
  (void)requestsFor("");
  for (const int most : {1, 2, 29}) {
    auto first = calendar->all().only({"subject"});
    first.setCalendarView(theYear(most));
    const auto few = first.getItems(&error);
    ASSERT_TRUE(few) << error;
    auto expected = idsIn(*byTime);
    expected.resize(static_cast<std::size_t>(most));
    EXPECT_EQ(idsIn(*few), expected);
    EXPECT_EQ(requestsFor("FindItem"), 1U);
  }
}

TEST_F(QueriesEndToEnd, WhatIsFoundIsDeletedAndNothingElse) {
  EXPECT_FALSE(drafts->none().delete_(0, &error));
  EXPECT_FALSE(drafts->filter({{"subject", "Breakfast"}}).delete_(0, &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(drafts->all().count(0), 5U);
  const auto deleted = drafts->filter({{"importance", "High"}}).delete_(1, &error);
  ASSERT_TRUE(deleted) << error;
  EXPECT_THAT(*deleted, ElementsAre(true, true));
  EXPECT_THAT(subjectsIn(drafts->all()), UnorderedElementsAre("Weekly report", "Invoice", "Lunch"));

  const auto set = drafts->exclude({{"subject", "Lunch"}});
  ASSERT_TRUE(set.getItems(&error)) << error;
  ASSERT_TRUE(set.delete_(0, &error)) << error;
  EXPECT_FALSE(set.isCached());
  EXPECT_THAT(subjectsIn(drafts->all()), ElementsAre("Lunch"));
  EXPECT_THAT(subjectsIn(set), IsEmpty());
}

}  // namespace
}  // namespace tarnwell
