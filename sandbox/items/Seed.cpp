#include "sandbox/items/Seed.h"

#include <array>
#include <random>
#include <string_view>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Directory.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::int64_t kNewYear = 1767225600;  // 2026-01-01T00:00:00Z
constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kHour = 3600;
constexpr unsigned kDays = 330;

using Texts = std::string_view;

constexpr std::array<Texts, 16> kGivenNames{
    "Agnes", "Boris",   "Carmen", "Dmitri", "Elif",  "Fatima", "Gustav", "Hana",
    "Igor",  "Jolanda", "Kenji",  "Léa",    "Mateo", "Nadia",  "Oskar",  "Pilar"};
constexpr std::array<Texts, 16> kSurnames{
    "Abara",  "Brandt", "Castillo", "Dupont",    "Eriksen", "Fischer", "Grønvold", "Haddad",
    "Ivanov", "Jansen", "Kowalski", "Lindqvist", "Müller",  "Novak",   "Okafor",   "Petrov"};
constexpr std::array<Texts, 6> kCompanies{"Fernhill Paper",  "Northlight Optics",
                                          "Quarry & Sons",   "Blue Harbour Freight",
                                          "Oakfield Clinic", "Lumen Printing"};
constexpr std::array<Texts, 6> kTitles{"Accountant",    "Engineer",   "Buyer",
                                       "Head of Sales", "Translator", "Warehouse Manager"};
constexpr std::array<Texts, 6> kCities{"Leeds", "Gdańsk", "Lyon", "Porto", "Malmö", "Utrecht"};
constexpr std::array<Texts, 12> kTopics{
    "Quarterly figures",    "Offer for the new printers", "Invoice 2026-0417",
    "Minutes of Monday",    "Travel plans for Lyon",      "Question about the contract",
    "Lunch on Thursday?",   "Delivery is late",           "Photos of the stand",
    "Your parcel has left", "Server maintenance tonight", "Draft of the press release"};
constexpr std::array<Texts, 8> kSentences{
    "Please have a look at the attached numbers before Friday.",
    "I have spoken to the supplier, and they can deliver a week earlier.",
    "Could you let me know whether the date still suits you?",
    "The second page needs another pair of eyes.",
    "We agreed on the smaller version, which saves about a third.",
    "Nothing urgent, but I would like to settle it this month.",
    "The customer was pleased and asked for two more.",
    "Thank you for your help with this."};
constexpr std::array<Texts, 5> kCategories{"Red category", "Blue category", "Finance", "Travel",
                                           "Waiting"};
constexpr std::array<Texts, 6> kMeetings{"Weekly planning", "Call with Northlight Optics",
                                         "Budget review",   "Dentist",
                                         "Interview",       "Project retrospective"};
constexpr std::array<Texts, 4> kRooms{"Room Oak", "Room Yew", "Online", "Cafeteria"};
constexpr std::array<Texts, 6> kTasks{
    "Send the reminder",  "Renew the certificate",   "Order toner",
    "Prepare the slides", "Book a hotel in Utrecht", "Check the travel expenses"};
constexpr std::array<Texts, 4> kStatuses{"NotStarted", "InProgress", "Completed",
                                         "WaitingOnOthers"};

struct Somebody {
  std::string name;
  std::string address;
};

class Seeder {
 public:
  Seeder(Store& store, const std::string& address)
      : store_(store), address_(address), owner_(*store.mailbox(address)) {
    Folder projects;
    projects.parent = folder("inbox");
    projects.mailbox = lowerCase(address);
    projects.name = "Projects";
    projects.folderClass = "IPF.Note";
    projects_ = store.createFolder(std::move(projects));
  }

  void add(int number) {
    // Of twenty, twelve are messages, three contacts, three appointments and two tasks.
    const int kind = number % 20;
    if (kind < 12) {
      addMessage();
    } else if (kind < 15) {
      addContact();
    } else if (kind < 18) {
      addAppointment(number);
    } else {
      addTask();
    }
  }

 private:
  /// The engine's numbers are the same everywhere; those of the library's distributions are not.
  unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  bool oneIn(unsigned bound) { return below(bound) == 0; }
  template <std::size_t Size>
  std::string oneOf(const std::array<Texts, Size>& texts) {
    return std::string(texts.at(below(Size)));
  }
  std::int64_t workingTime() {
    // One statement for each number: compilers differ in the order within one.
    const std::int64_t day = below(kDays);
    const std::int64_t hour = 7 + below(11);
    const std::int64_t minute = below(60);
    return kNewYear + day * kDay + hour * kHour + minute * 60;
  }
  [[nodiscard]] std::uint64_t folder(std::string_view id) const {
    return store_.distinguished(address_, id);
  }

  Somebody somebody() {
    const unsigned given = below(kGivenNames.size());
    const unsigned surname = below(kSurnames.size());
    return {std::string(kGivenNames.at(given)) + " " + std::string(kSurnames.at(surname)),
            "contact" + std::to_string(given * kSurnames.size() + surname) + "@people.example"};
  }

  std::string bodyText() {
    std::string text = oneOf(kSentences);
    for (unsigned more = below(4); more > 0; --more) text += " " + oneOf(kSentences);
    return text;
  }

  static Node boxed(const char* name, const Somebody& who) {
    return {name, {}, {}, {mailboxNode(who.name, who.address)}};
  }

  void store(Item item, std::uint64_t target, std::int64_t time) {
    item.folder = target;
    fillNewItem(item, owner_, timeText(time));
    store_.createItem(std::move(item));
  }

  void addMessage() {
    const std::int64_t time = workingTime();
    const bool sent = oneIn(5);
    const Somebody other = somebody();
    const Somebody me{owner_.name, owner_.address};
    Item item;
    Node& content = item.content;
    const bool isInvitation = !sent && oneIn(15);
    content.name = isInvitation ? "MeetingRequest" : "Message";
    const std::string prefix = oneIn(3) ? "RE: " : "";
    content.setChild("Subject", prefix + oneOf(kTopics));
    const bool isHtml = oneIn(2);
    const std::string text = bodyText();
    content.children.push_back({"Body",
                                {{"BodyType", isHtml ? "HTML" : "Text"}},
                                isHtml ? "<html><body><p>" + text + "</p></body></html>" : text});
    if (oneIn(6)) {
      content.children.push_back({"Categories", {}, {}, {{"String", {}, oneOf(kCategories)}}});
    }
    if (oneIn(9)) content.setChild("Importance", "High");
    content.children.push_back(boxed("From", sent ? me : other));
    content.children.push_back(boxed("Sender", sent ? me : other));
    content.children.push_back(boxed("ToRecipients", sent ? other : me));
    content.setChild("InternetMessageId",
                     "<" + std::to_string(messages_++) + ".seed@people.example>");
    content.setChild("IsDraft", "false");
    content.setChild("IsFromMe", sent ? "true" : "false");
    content.setChild("IsRead", sent || !oneIn(4) ? "true" : "false");
    if (isInvitation) {
      const std::int64_t start = (time / kDay + 7) * kDay + 9 * kHour;
      content.setChild("Subject", oneOf(kMeetings));
      content.setChild("MeetingRequestType", "NewMeetingRequest");
      content.setChild("IntendedFreeBusyStatus", "Busy");
      content.setChild("Start", timeText(start));
      content.setChild("End", timeText(start + kHour));
      content.setChild("Location", oneOf(kRooms));
    }
    if (oneIn(8)) attach(item, timeText(time));
    const std::uint64_t target = sent        ? folder("sentitems")
                                 : oneIn(5)  ? projects_
                                 : oneIn(12) ? folder("deleteditems")
                                             : folder("inbox");
    store(std::move(item), target, time);
  }

  void attach(Item& item, const std::string& time) {
    Attachment attachment;
    attachment.number = store_.newNumber();
    const std::string text = "Figures\n" + bodyText() + "\n";
    attachment.content = encodeBase64(text);
    attachment.description.name = "FileAttachment";
    attachment.description.setChild("Name", "figures.txt");
    attachment.description.setChild("ContentType", "text/plain");
    attachment.description.setChild("Size", std::to_string(text.size()));
    attachment.description.setChild("LastModifiedTime", time);
    attachment.description.setChild("IsInline", "false");
    item.attachments.push_back(std::make_shared<const Attachment>(std::move(attachment)));
  }

  void addDistributionList() {
    Item item;
    Node& content = item.content;
    content.name = "DistributionList";
    content.setChild("Subject", oneOf(kCompanies) + " team");
    content.setChild("DisplayName", content.childText("Subject"));
    content.setChild("FileAs", content.childText("Subject"));
    Node& members = content.children.emplace_back(Node{"Members"});
    for (int i = 0; i < 3; ++i) {
      const Somebody who = somebody();
      Node& member = members.children.emplace_back(Node{"Member"});
      member.children.push_back(mailboxNode(who.name, who.address));
      member.setChild("Status", "Normal");
    }
    store(std::move(item), folder("contacts"), workingTime());
  }

  void addContact() {
    if (oneIn(12)) {
      addDistributionList();
      return;
    }
    const Somebody who = somebody();
    const std::size_t blank = who.name.find(' ');
    const std::string given = who.name.substr(0, blank);
    const std::string surname = who.name.substr(blank + 1);
    Item item;
    Node& content = item.content;
    content.name = "Contact";
    content.setChild("Subject", who.name);
    content.setChild("FileAs", surname + ", " + given);
    content.setChild("DisplayName", who.name);
    content.setChild("GivenName", given);
    content.setChild("CompanyName", oneOf(kCompanies));
    content.children.push_back(
        {"EmailAddresses", {}, {}, {{"Entry", {{"Key", "EmailAddress1"}}, who.address}}});
    Node address{"Entry", {{"Key", "Business"}}};
    address.setChild("Street", std::to_string(1 + below(120)) + " Station Road");
    address.setChild("City", oneOf(kCities));
    content.children.push_back({"PhysicalAddresses", {}, {}, {address}});
    content.children.push_back({"PhoneNumbers",
                                {},
                                {},
                                {{"Entry",
                                  {{"Key", "BusinessPhone"}},
                                  "+44 113 496 0" + std::to_string(100 + below(900))}}});
    content.setChild("JobTitle", oneOf(kTitles));
    content.setChild("Surname", surname);
    store(std::move(item), folder("contacts"), workingTime());
  }

  void addAppointment(int number) {
    const std::int64_t start = workingTime() / (kHour / 2) * (kHour / 2);
    Item item;
    Node& content = item.content;
    content.name = "CalendarItem";
    content.setChild("Subject", oneOf(kMeetings));
    content.children.push_back({"Body", {{"BodyType", "Text"}}, bodyText()});
    content.setChild("ReminderIsSet", "true");
    content.setChild("ReminderMinutesBeforeStart", "15");
    content.setChild("ReminderDueBy", timeText(start));
    content.setChild("UID", "seed-" + std::to_string(number));
    content.setChild("Start", timeText(start));
    content.setChild("End", timeText(start + (1 + below(4)) * kHour / 2));
    content.setChild("Location", oneOf(kRooms));
    if (oneIn(2)) {
      Node attendee{"Attendee"};
      const Somebody who = somebody();
      attendee.children.push_back(mailboxNode(who.name, who.address));
      attendee.setChild("ResponseType", "Accept");
      content.children.push_back({"RequiredAttendees", {}, {}, {attendee}});
    }
    store(std::move(item), folder("calendar"), start - 7 * kDay);
  }

  void addTask() {
    const std::int64_t time = workingTime();
    Item item;
    Node& content = item.content;
    content.name = "Task";
    content.setChild("Subject", oneOf(kTasks));
    content.setChild("DueDate", timeText((time / kDay + 1 + below(20)) * kDay));
    content.setChild("Status", oneOf(kStatuses));
    if (content.childText("Status") == "InProgress") content.setChild("PercentComplete", "50");
    store(std::move(item), folder("tasks"), time);
  }

  Store& store_;
  const std::string address_;
  const StoreMailbox& owner_;
  std::uint64_t projects_ = 0;
  int messages_ = 0;
  std::mt19937 random_{2026};
};

}  // namespace

void seedMailbox(Store& store, const std::string& address, int count) {
  if (count == 0) return;
  Seeder seeder(store, address);
  for (int i = 0; i < count; ++i) seeder.add(i);
}

}  // namespace tarnwell::sandbox
