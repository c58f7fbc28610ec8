#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string kSubject = "<t:FieldURI FieldURI='item:Subject'/>";

std::string restriction(const std::string& expression) {
  return "<m:Restriction>" + expression + "</m:Restriction>";
}

std::string compare(const std::string& element, const std::string& uri, const std::string& value) {
  return "<t:" + element + "><t:FieldURI FieldURI='" + uri +
         "'/><t:FieldURIOrConstant><t:Constant Value='" + value +
         "'/></t:FieldURIOrConstant></t:" + element + ">";
}

std::string contains(const std::string& mode, const std::string& comparison,
                     const std::string& value, const std::string& uri = "item:Subject") {
  return "<t:Contains ContainmentMode='" + mode + "' ContainmentComparison='" + comparison +
         "'><t:FieldURI FieldURI='" + uri + "'/><t:Constant Value='" + value + "'/></t:Contains>";
}

std::string sortBy(const std::string& uri, const std::string& direction) {
  return "<t:FieldOrder Order='" + direction + "'><t:FieldURI FieldURI='" + uri +
         "'/></t:FieldOrder>";
}

class FindItem : public StoreTest {
 protected:
  FindItem() : folder(folderId(makeFolder(distinguished("inbox"), "Searched"))) {}

  void put(const std::string& subject, const std::string& afterSubject = {}) {
    static_cast<void>(makeItem(
        "<t:Message><t:Subject>" + subject + "</t:Subject>" + afterSubject + "</t:Message>",
        folder));
  }
  std::vector<std::string> where(const std::string& expression) {
    return subjects(folder, restriction(expression));
  }
  std::vector<std::string> sorted(const std::string& orders) {
    return subjects(folder, "<m:SortOrder>" + orders + "</m:SortOrder>");
  }
  std::vector<std::string> query(const std::string& text) {
    return subjects(folder, {}, "<m:QueryString>" + text + "</m:QueryString>");
  }
  std::string request(const std::string& middle, const std::string& after = {},
                      const std::string& shape = "<t:BaseShape>IdOnly</t:BaseShape>") {
    return "<m:FindItem Traversal='Shallow'><m:ItemShape>" + shape + "</m:ItemShape>" + middle +
           "<m:ParentFolderIds>" + folder + "</m:ParentFolderIds>" + after + "</m:FindItem>";
  }

  const std::string folder;
};

TEST_F(FindItem, WithoutARestrictionItFindsAllInTheOrderInWhichTheyCame) {
  for (const char* subject : {"b", "a", "c"}) put(subject);
  EXPECT_THAT(subjects(folder), ElementsAre("b", "a", "c"));
}

TEST_F(FindItem, IdOnlyIsTheIdOnly) {
  put("a");
  const Answer answer = ask(request(""));
  EXPECT_EQ(answer.count("//RootFolder/Items/Message/ItemId"), 1U);
  EXPECT_EQ(answer.count("//Subject"), 0U);
}

TEST_F(FindItem, PagesFollowEachOther) {
  for (const char* subject : {"a", "b", "c", "d", "e"}) put(subject);
  const auto page = [&](int offset, const char* from) {
    return ask(request("<m:IndexedPageItemView MaxEntriesReturned='2' Offset='" +
                           std::to_string(offset) + "' BasePoint='" + from + "'/>",
                       "",
                       "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>" + kSubject +
                           "</t:AdditionalProperties>"));
  };
  const Answer first = page(0, "Beginning");
  EXPECT_THAT(first.texts("//Subject"), ElementsAre("a", "b"));
  EXPECT_EQ(first.attribute("//RootFolder", "IndexedPagingOffset"), "2");
  EXPECT_EQ(first.attribute("//RootFolder", "TotalItemsInView"), "5");
  EXPECT_EQ(first.attribute("//RootFolder", "IncludesLastItemInRange"), "false");
  const Answer last = page(4, "Beginning");
  EXPECT_THAT(last.texts("//Subject"), ElementsAre("e"));
  EXPECT_EQ(last.attribute("//RootFolder", "IncludesLastItemInRange"), "true");
  EXPECT_THAT(page(9, "Beginning").texts("//Subject"), IsEmpty());
  EXPECT_THAT(page(1, "End").texts("//Subject"), ElementsAre("c", "d"));
}

TEST_F(FindItem, WhatIsChangedKeepsItsPlaceAndWhatIsMovedLosesIt) {
  std::vector<IdPair> items;
  for (const char* subject : {"a", "b", "c", "d"})
    items.push_back(makeItem(
        "<t:Message><t:Subject>" + std::string(subject) + "</t:Subject></t:Message>", folder));
  EXPECT_EQ(code("<m:UpdateItem ConflictResolution='AlwaysOverwrite' MessageDisposition='SaveOnly'>"
                 "<m:ItemChanges><t:ItemChange>" +
                 itemId(items[1]) +
                 "<t:Updates><t:SetItemField><t:FieldURI FieldURI='item:Subject'/><t:Message>"
                 "<t:Subject>B</t:Subject></t:Message></t:SetItemField></t:Updates>"
                 "</t:ItemChange></m:ItemChanges></m:UpdateItem>"),
            "NoError");
  EXPECT_THAT(subjects(folder), ElementsAre("a", "B", "c", "d"));
  EXPECT_EQ(code("<m:DeleteItem DeleteType='HardDelete'><m:ItemIds>" + itemId(items[2]) +
                 "</m:ItemIds></m:DeleteItem>"),
            "NoError");
  EXPECT_EQ(code("<m:MoveItem><m:ToFolderId>" + folder + "</m:ToFolderId><m:ItemIds>" +
                 itemId(items[0]) + "</m:ItemIds></m:MoveItem>"),
            "NoError");
  EXPECT_THAT(subjects(folder), ElementsAre("B", "d", "a"));
}

TEST_F(FindItem, AFractionOfTheViewCanBeAskedFor) {
  for (const char* subject : {"a", "b", "c", "d"}) put(subject);
  EXPECT_THAT(subjects(folder,
                       "<m:FractionalPageItemView MaxEntriesReturned='1' Numerator='1' "
                       "Denominator='2'/>"),
              ElementsAre("c"));
}

TEST_F(FindItem, TextsAreComparedExactly) {
  for (const char* subject : {"apple", "Apple", "pear"}) put(subject);
  EXPECT_THAT(where(compare("IsEqualTo", "item:Subject", "apple")), ElementsAre("apple"));
  EXPECT_THAT(where(compare("IsNotEqualTo", "item:Subject", "apple")),
              ElementsAre("Apple", "pear"));
}

TEST_F(FindItem, ContainmentHasModesAndComparisons) {
  for (const char* subject : {"apple pie", "Pineapple", "ÄPFEL"}) put(subject);
  EXPECT_THAT(where(contains("Substring", "Exact", "apple")),
              ElementsAre("apple pie", "Pineapple"));
  EXPECT_THAT(where(contains("Substring", "IgnoreCase", "PINE")), ElementsAre("Pineapple"));
  EXPECT_THAT(where(contains("Prefixed", "Exact", "apple")), ElementsAre("apple pie"));
  EXPECT_THAT(where(contains("FullString", "IgnoreCase", "pineapple")), ElementsAre("Pineapple"));
  EXPECT_THAT(where(contains("FullString", "Exact", "pineapple")), IsEmpty());
  EXPECT_THAT(where(contains("FullString", "IgnoreCase", "äpfel")), ElementsAre("ÄPFEL"));
  EXPECT_THAT(where(contains("PrefixOnWords", "Exact", "pi")), ElementsAre("apple pie"));
  EXPECT_THAT(where(contains("ExactPhrase", "Exact", "pie")), ElementsAre("apple pie"));
  EXPECT_THAT(where(contains("ExactPhrase", "Exact", "pi")), IsEmpty());
}

TEST_F(FindItem, AndOrAndNotCombine) {
  for (const char* subject : {"ab", "a", "b", "c"}) put(subject);
  const std::string a = contains("Substring", "Exact", "a");
  const std::string b = contains("Substring", "Exact", "b");
  EXPECT_THAT(where("<t:And>" + a + b + "</t:And>"), ElementsAre("ab"));
  EXPECT_THAT(where("<t:Or>" + a + b + "</t:Or>"), ElementsAre("ab", "a", "b"));
  EXPECT_THAT(where("<t:Not>" + a + "</t:Not>"), ElementsAre("b", "c"));
  EXPECT_THAT(where("<t:Not><t:Or>" + a + b + "</t:Or></t:Not>"), ElementsAre("c"));
}

TEST_F(FindItem, NumbersChoicesAndTimesCompareByTheirMeaning) {
  put("nine",
      "<t:Importance>Low</t:Importance>"
      "<t:ReminderDueBy>2026-01-01T12:00:00Z</t:ReminderDueBy>"
      "<t:ReminderMinutesBeforeStart>9</t:ReminderMinutesBeforeStart>");
  put("ten",
      "<t:Importance>High</t:Importance>"
      "<t:ReminderDueBy>2026-01-02T00:30:00+01:00</t:ReminderDueBy>"
      "<t:ReminderMinutesBeforeStart>10</t:ReminderMinutesBeforeStart>");
  EXPECT_THAT(where(compare("IsGreaterThan", "item:ReminderMinutesBeforeStart", "9")),
              ElementsAre("ten"));
  EXPECT_THAT(where(compare("IsGreaterThan", "item:Importance", "Normal")), ElementsAre("ten"));
  EXPECT_THAT(where(compare("IsLessThan", "item:ReminderDueBy", "2026-01-01T13:00:00+01:00")),
              IsEmpty());
  EXPECT_THAT(
      where(compare("IsLessThanOrEqualTo", "item:ReminderDueBy", "2026-01-01T13:00:00+01:00")),
      ElementsAre("nine"));
  EXPECT_THAT(
      where(compare("IsGreaterThanOrEqualTo", "item:ReminderDueBy", "2026-01-01T23:30:00Z")),
      ElementsAre("ten"));
}

TEST_F(FindItem, BooleansAreWordsOrDigits) {
  put("new", "<t:IsRead>false</t:IsRead>");
  put("old");
  EXPECT_THAT(where(compare("IsEqualTo", "message:IsRead", "0")), ElementsAre("new"));
  EXPECT_THAT(where(compare("IsEqualTo", "message:IsRead", "true")), ElementsAre("old"));
}

TEST_F(FindItem, OneOfSeveralValuesIsEnough) {
  put("both", "<t:Categories><t:String>Red</t:String><t:String>Blue</t:String></t:Categories>");
  put("one", "<t:Categories><t:String>Red</t:String></t:Categories>");
  put("none");
  EXPECT_THAT(where(compare("IsEqualTo", "item:Categories", "Red")), ElementsAre("both", "one"));
  EXPECT_THAT(where(compare("IsNotEqualTo", "item:Categories", "Blue")),
              ElementsAre("one", "none"));
  EXPECT_THAT(where("<t:And>" + compare("IsEqualTo", "item:Categories", "Red") +
                    compare("IsEqualTo", "item:Categories", "Blue") + "</t:And>"),
              ElementsAre("both"));
}

TEST_F(FindItem, ExistsTakesAnOperandForNothing) {
  put("with", "<t:InReplyTo>x</t:InReplyTo>");
  put("without");
  const std::string path = "<t:FieldURI FieldURI='item:InReplyTo'/>";
  EXPECT_THAT(where("<t:Exists>" + path + "</t:Exists>"), ElementsAre("with"));
  EXPECT_THAT(where("<t:Exists>" + path +
                    "<t:FieldURIOrConstant><t:Constant Value='1'/></t:FieldURIOrConstant>"
                    "</t:Exists>"),
              ElementsAre("with"));
}

TEST_F(FindItem, ExcludesLooksAtBits) {
  const auto flagged = [&](const std::string& subject, const std::string& value) {
    put(subject,
        "<t:ExtendedProperty><t:ExtendedFieldURI PropertyTag='0x1090' PropertyType='Integer'/>"
        "<t:Value>" +
            value + "</t:Value></t:ExtendedProperty>");
  };
  flagged("one", "1");
  flagged("six", "6");
  EXPECT_THAT(where("<t:Excludes><t:ExtendedFieldURI PropertyTag='0x1090' PropertyType='Integer'/>"
                    "<t:Bitmask Value='0x2'/></t:Excludes>"),
              ElementsAre("one"));
  EXPECT_THAT(where("<t:Excludes><t:ExtendedFieldURI PropertyTag='0x1090' PropertyType='Integer'/>"
                    "<t:Bitmask Value='1'/></t:Excludes>"),
              ElementsAre("six"));
}

TEST_F(FindItem, TwoPropertiesCanBeCompared) {
  put("same", "<t:InReplyTo>same</t:InReplyTo>");
  put("other", "<t:InReplyTo>x</t:InReplyTo>");
  EXPECT_THAT(where("<t:IsEqualTo>" + kSubject +
                    "<t:FieldURIOrConstant><t:FieldURI FieldURI='item:InReplyTo'/>"
                    "</t:FieldURIOrConstant></t:IsEqualTo>"),
              ElementsAre("same"));
}

TEST_F(FindItem, EntriesAreSearchedByTheirKeys) {
  const auto contact = [&](const std::string& subject, const std::string& key) {
    static_cast<void>(makeItem("<t:Contact><t:Subject>" + subject +
                               "</t:Subject><t:PhoneNumbers><t:Entry Key='" + key +
                               "'>123</t:Entry></t:PhoneNumbers></t:Contact>"));
  };
  contact("home", "HomePhone");
  contact("pager", "Pager");
  EXPECT_THAT(
      subjects(distinguished("contacts"),
               restriction("<t:IsEqualTo><t:IndexedFieldURI FieldURI='contacts:PhoneNumber' "
                           "FieldIndex='Pager'/><t:FieldURIOrConstant><t:Constant Value='123'/>"
                           "</t:FieldURIOrConstant></t:IsEqualTo>")),
      ElementsAre("pager"));
}

TEST_F(FindItem, BadRestrictionsAreRefused) {
  EXPECT_THAT(violation(request(restriction(""))), HasSubstr("incomplete content"));
  EXPECT_THAT(violation(request(restriction("<t:And/>"))), HasSubstr("incomplete content"));
  EXPECT_THAT(violation(request(restriction("<t:Like/>"))), HasSubstr("'Like'"));
  EXPECT_THAT(violation(request(restriction("<t:IsEqualTo>" + kSubject +
                                            "<t:Constant Value='1'/></t:IsEqualTo>"))),
              HasSubstr("'Constant'"));
  EXPECT_THAT(violation(request(restriction(contains("Anywhere", "Exact", "a")))),
              HasSubstr("ContainmentModeType"));
  EXPECT_TRUE(isFault(
      send(envelope(request(restriction(compare("IsEqualTo", "item:DateTimeReceived", "monday"))))),
      500, "ErrorInvalidValueForProperty"));
  EXPECT_TRUE(
      isFault(send(envelope(request(restriction(compare("IsEqualTo", "item:MimeContent", "a"))))),
              500, "ErrorUnsupportedPathForQuery"));
}

TEST_F(FindItem, TheOrderOfARequestsPartsCounts) {
  const std::string view =
      "<m:IndexedPageItemView MaxEntriesReturned='1' Offset='0' "
      "BasePoint='Beginning'/>";
  const std::string sort = "<m:SortOrder>" + sortBy("item:Subject", "Ascending") + "</m:SortOrder>";
  EXPECT_EQ(code(request(view + restriction(contains("Prefixed", "Exact", "a")) + sort)),
            "NoError");
  EXPECT_THAT(violation(request(sort + view)), HasSubstr("'IndexedPageItemView'"));
  EXPECT_THAT(violation(request("<m:QueryString>a</m:QueryString>")), HasSubstr("'QueryString'"));
  EXPECT_THAT(violation(request("", "<m:QueryString>a</m:QueryString>"), "Exchange2007_SP1"),
              HasSubstr("'QueryString'"));
}

TEST_F(FindItem, SortsByOneFieldAfterTheOther) {
  put("b", "<t:Importance>Low</t:Importance>");
  put("A", "<t:Importance>High</t:Importance>");
  put("c", "<t:Importance>High</t:Importance>");
  EXPECT_THAT(sorted(sortBy("item:Subject", "Ascending")), ElementsAre("A", "b", "c"));
  EXPECT_THAT(sorted(sortBy("item:Subject", "Descending")), ElementsAre("c", "b", "A"));
  EXPECT_THAT(sorted(sortBy("item:Importance", "Ascending") + sortBy("item:Subject", "Descending")),
              ElementsAre("b", "c", "A"));
}

TEST_F(FindItem, AbsentValuesComeFirst) {
  put("with", "<t:InReplyTo>x</t:InReplyTo>");
  put("without");
  EXPECT_THAT(sorted(sortBy("item:InReplyTo", "Ascending")), ElementsAre("without", "with"));
  EXPECT_THAT(sorted(sortBy("item:InReplyTo", "Descending")), ElementsAre("with", "without"));
}

TEST_F(FindItem, LargePropertiesCanNeitherBeListedNorSortedBy) {
  const std::string shape =
      "<t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
      "<t:FieldURI FieldURI='item:Body'/></t:AdditionalProperties>";
  EXPECT_TRUE(isFault(send(envelope(request("", "", shape))), 500, "ErrorInvalidPropertyRequest"));
  EXPECT_TRUE(isFault(send(envelope(request("<m:SortOrder>" + sortBy("item:Body", "Ascending") +
                                            "</m:SortOrder>"))),
                      500, "ErrorUnsupportedPathForSortGroup"));
  put("a", "<t:Body BodyType='Text'>b</t:Body>");
  const Answer all = ask(request("", "", "<t:BaseShape>AllProperties</t:BaseShape>"));
  EXPECT_EQ(all.text("//Subject"), "a");
  EXPECT_EQ(all.count("//Message/Body"), 0U);
}

TEST_F(FindItem, AQueryStringFindsWords) {
  put("Budget 2026", "<t:Body BodyType='Text'>numbers</t:Body>");
  put("Party", "<t:Body BodyType='Text'>no budget</t:Body>");
  put("Weather");
  EXPECT_THAT(query("budget"), ElementsAre("Budget 2026", "Party"));
  EXPECT_THAT(query("subject:budget"), ElementsAre("Budget 2026"));
  EXPECT_THAT(query("budget numbers"), ElementsAre("Budget 2026"));
  EXPECT_THAT(query("&quot;no budget&quot;"), ElementsAre("Party"));
  EXPECT_THAT(query("body:&quot;no budget&quot;"), ElementsAre("Party"));
  EXPECT_THAT(query("numbers OR weather"), ElementsAre("Budget 2026", "Weather"));
  EXPECT_THAT(query("budget NOT party"), ElementsAre("Budget 2026"));
  EXPECT_THAT(query("-budget"), ElementsAre("Weather"));
  EXPECT_THAT(query(""), ElementsAre("Budget 2026", "Party", "Weather"));
}

TEST_F(FindItem, AQueryStringAndARestrictionExcludeEachOther) {
  EXPECT_TRUE(isFault(send(envelope(request(restriction(contains("Prefixed", "Exact", "a")),
                                            "<m:QueryString>a</m:QueryString>"))),
                      500, "ErrorInvalidRestriction"));
}

TEST_F(FindItem, ACalendarViewFindsWhatOverlapsIt) {
  const auto appointment = [&](const std::string& subject, const std::string& start,
                               const std::string& end) {
    static_cast<void>(makeItem("<t:CalendarItem><t:Subject>" + subject + "</t:Subject><t:Start>" +
                               start + "</t:Start><t:End>" + end + "</t:End></t:CalendarItem>"));
  };
  appointment("late", "2026-05-02T15:00:00Z", "2026-05-02T16:00:00Z");
  appointment("early", "2026-05-02T08:00:00Z", "2026-05-02T09:00:00Z");
  appointment("across", "2026-05-01T20:00:00Z", "2026-05-02T07:00:00Z");
  appointment("before", "2026-05-01T20:00:00Z", "2026-05-02T00:00:00Z");
  appointment("after", "2026-05-03T00:00:00Z", "2026-05-03T01:00:00Z");
  const std::string day = "StartDate='2026-05-02T00:00:00Z' EndDate='2026-05-03T00:00:00Z'";
  EXPECT_THAT(subjects(distinguished("calendar"), "<m:CalendarView " + day + "/>"),
              ElementsAre("across", "early", "late"));
  EXPECT_THAT(
      subjects(distinguished("calendar"), "<m:CalendarView MaxEntriesReturned='1' " + day + "/>"),
      ElementsAre("across"));
}

TEST_F(FindItem, CalendarViewsHaveTheirRules) {
  const auto view = [&](const std::string& start, const std::string& end) {
    return code(request("<m:CalendarView StartDate='" + start + "' EndDate='" + end + "'/>"));
  };
  EXPECT_EQ(view("2026-05-02T00:00:00Z", "2026-05-01T00:00:00Z"),
            "ErrorCalendarEndDateIsEarlierThanStartDate");
  EXPECT_EQ(view("2020-05-02T00:00:00Z", "2026-05-01T00:00:00Z"), "ErrorCalendarViewRangeTooBig");
  EXPECT_EQ(view("2026-05-01T00:00:00Z", "2026-05-02T00:00:00Z"),
            "ErrorCalendarFolderIsInvalidForCalendarView");
  EXPECT_THAT(violation(request("<m:CalendarView StartDate='a' EndDate='b'/>")),
              HasSubstr("dateTime"));
}

TEST_F(FindItem, EveryFolderHasAnAnswerOfItsOwn) {
  put("a");
  const Answer answer =
      ask("<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
          "</m:ItemShape><m:ParentFolderIds>" +
          folder + "<t:FolderId Id='x'/>" + distinguished("drafts") +
          "</m:ParentFolderIds></m:FindItem>");
  EXPECT_THAT(answer.texts("//ResponseCode"),
              ElementsAre("NoError", "ErrorInvalidIdMalformed", "NoError"));
  EXPECT_EQ(answer.count("//ItemId"), 1U);
}

TEST_F(FindItem, TheTraversalIsOneOfThree) {
  put("a");
  const auto traversed = [&](const std::string& traversal) {
    return "<m:FindItem Traversal='" + traversal +
           "'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape></m:ItemShape><m:ParentFolderIds>" +
           folder + "</m:ParentFolderIds></m:FindItem>";
  };
  EXPECT_EQ(ask(traversed("Associated")).count("//ItemId"), 0U);
  EXPECT_THAT(violation(traversed("Deep")), HasSubstr("ItemQueryTraversalType"));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
