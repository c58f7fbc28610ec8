#include <algorithm>
#include <array>
#include <optional>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemShape.h"
#include "sandbox/items/ItemValues.h"
#include "sandbox/operations/References.h"
#include "sandbox/search/Paging.h"
#include "sandbox/search/QueryString.h"
#include "sandbox/search/Restriction.h"
#include "sandbox/search/SortOrder.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kTraversals{"Shallow", "SoftDeleted", "Associated"};
constexpr std::int64_t kLongestView = std::int64_t{2} * 366 * 86400;

struct CalendarView {
  std::int64_t start = 0;
  std::int64_t end = 0;
  std::size_t most = 0;
};

struct Search {
  std::string traversal;
  ItemShape shape;
  PageView page;
  std::optional<CalendarView> calendar;
  std::optional<Restriction> restriction;
  std::optional<Restriction> query;
  std::vector<FieldOrder> orders;
  std::vector<FolderReference> folders;
};

struct Found {
  std::uint64_t number = 0;
  SortKey key;
};

std::int64_t readTimeAttribute(const ElementReader& reader, const char* name) {
  const std::string text = reader.requiredAttribute(name);
  const auto time = readTime(text);
  if (time) return *time;
  throw SoapFault::schemaViolation("The '" + std::string(name) +
                                   "' attribute is invalid - The value '" + text +
                                   "' is invalid according to its datatype "
                                   "'http://www.w3.org/2001/XMLSchema:dateTime'.");
}

CalendarView readCalendarView(pugi::xml_node element) {
  const ElementReader reader(element);
  reader.allowAttributes({"StartDate", "EndDate", "MaxEntriesReturned"});
  reader.end();
  CalendarView view;
  view.start = readTimeAttribute(reader, "StartDate");
  view.end = readTimeAttribute(reader, "EndDate");
  if (reader.attribute("MaxEntriesReturned")) {
    view.most = readCount(element, "MaxEntriesReturned", 1);
  }
  if (view.end < view.start) {
    throw EwsError("ErrorCalendarEndDateIsEarlierThanStartDate",
                   "EndDate is earlier than StartDate");
  }
  if (view.end - view.start > kLongestView) {
    throw EwsError("ErrorCalendarViewRangeTooBig", "The calendar view spans more than two years.");
  }
  return view;
}

Search readSearch(const OperationCall& call) {
  Search search;
  ElementReader reader(call.request);
  reader.allowAttributes({"Traversal"});
  static_cast<void>(reader.requiredAttribute("Traversal"));
  search.traversal = *reader.enumeration("Traversal", "ItemQueryTraversalType", kTraversals);
  search.shape = readItemShape(reader.required(kMessagesNs, "ItemShape"), call.schema);
  if (isPageView(reader.peek(), "Item")) {
    search.page = PageView(reader.next());
  } else if (const pugi::xml_node view = reader.optional(kMessagesNs, "CalendarView")) {
    search.calendar = readCalendarView(view);
  }
  if (const pugi::xml_node element = reader.optional(kMessagesNs, "Restriction")) {
    search.restriction = readRestriction(element, call.schema);
  }
  if (const pugi::xml_node element = reader.optional(kMessagesNs, "SortOrder")) {
    search.orders = readSortOrder(element, call.schema);
  }
  search.folders =
      readFolderReferences(reader.required(kMessagesNs, "ParentFolderIds"), call.schema);
  if (call.schema >= Schema::exchange2010) {
    if (const pugi::xml_node element = reader.optional(kMessagesNs, "QueryString")) {
      search.query = readQueryString(simpleText(element));
    }
  }
  reader.end();
  if (search.query && search.restriction) {
    throw EwsError("ErrorInvalidRestriction",
                   "A restriction and a query string cannot be used together.");
  }
  checkListed(search.shape);
  return search;
}

PropertyPath pathTo(const char* uri) {
  PropertyPath path;
  path.property = findProperty(uri);
  path.uri = uri;
  return path;
}

bool isInView(const CalendarView& view, const Item& item) {
  const auto start = readTime(item.content.childText("Start"));
  const auto end = readTime(item.content.childText("End"));
  return start && end && *start<view.end&& * end> view.start;
}

/// The numbers of what matches, in the order asked for.
Store::Numbers itemsOf(const OperationCall& call, const Search& search, const Folder& folder) {
  // There are no associated items here, and what is deleted softly lies in a folder of its own.
  if (search.traversal != "Shallow") return {};
  std::vector<FieldOrder> orders = search.orders;
  if (search.calendar) orders = {{pathTo("calendar:Start"), false}};
  std::vector<Found> found;
  for (const std::uint64_t number : call.store.itemsIn(folder.number)) {
    const std::shared_ptr<const Item> item = call.store.findItem(number);
    const auto values = [&](const PropertyPath& path) { return valuesOf(*item, path); };
    if ((search.restriction && !search.restriction->matches(values)) ||
        (search.query && !search.query->matches(values)) ||
        (search.calendar && !isInView(*search.calendar, *item))) {
      continue;
    }
    found.push_back({number, sortKeyOf(orders, values)});
  }
  std::ranges::stable_sort(
      found, [&](const Found& a, const Found& b) { return isBefore(orders, a.key, b.key); });
  Store::Numbers numbers;
  for (const Found& entry : found) numbers.push_back(entry.number);
  return numbers;
}

/// True when every item of a folder is an answer, in the order in which the folder has them.
bool findsEverything(const Search& search) {
  return search.traversal == "Shallow" && !search.restriction && !search.query &&
         !search.calendar && search.orders.empty();
}

void answer(const OperationCall& call, const Search& search, const FolderReference& reference,
            pugi::xml_node message) {
  const Folder& folder = resolveFolder(call, reference);
  if (search.calendar && !folder.folderClass.starts_with("IPF.Appointment")) {
    throw EwsError("ErrorCalendarFolderIsInvalidForCalendarView",
                   "A calendar view is for calendar folders only.");
  }
  // Who reads all pages of a large folder must not have all of it looked at for each of them.
  Store::Numbers matching;
  if (!findsEverything(search)) matching = itemsOf(call, search, folder);
  const Store::Numbers& found =
      findsEverything(search) ? call.store.itemsIn(folder.number) : matching;
  PageView::Page page = search.page.pageOf(found.size());
  if (search.calendar && search.calendar->most != 0) {
    page.end = std::min(page.end, search.calendar->most);
    page.isLast = page.end == found.size();
  }
  pugi::xml_node root = message.append_child("m:RootFolder");
  search.page.describe(root, page, found.size());
  pugi::xml_node list = root.append_child("t:Items");
  for (std::size_t i = page.begin; i < page.end; ++i) {
    appendItem(list, *call.store.findItem(found[i]), search.shape, call.schema, true);
  }
}

}  // namespace

void findItem(const OperationCall& call, pugi::xml_node response) {
  const Search search = readSearch(call);
  for (const FolderReference& reference : search.folders) {
    answerPart(response, "FindItem",
               [&](pugi::xml_node message) { answer(call, search, reference, message); });
  }
}

}  // namespace tarnwell::sandbox
