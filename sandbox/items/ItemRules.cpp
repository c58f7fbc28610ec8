#include "sandbox/items/ItemRules.h"

#include <algorithm>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Directory.h"
#include "sandbox/items/PropertyPath.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

void setDefault(Node& content, std::string_view name, std::string value) {
  if (content.child(name) == nullptr) content.setChild(name, std::move(value));
}

void setMailbox(Node& content, std::string_view name, const StoreMailbox& owner) {
  content.removeChildren(name);
  content.children.push_back({std::string(name), {}, {}, {mailboxNode(owner.name, owner.address)}});
}

std::string displayNames(const Node& content, std::initializer_list<std::string_view> lists) {
  std::string text;
  for (const std::string_view name : lists) {
    const Node* list = content.child(name);
    if (list == nullptr) continue;
    for (const Node& entry : list->children) {
      const Node* mailbox = entry.name == "Attendee" ? entry.child("Mailbox") : &entry;
      if (!text.empty()) text += "; ";
      const std::string display = mailbox->childText("Name");
      text += display.empty() ? mailbox->childText("EmailAddress") : display;
    }
  }
  return text;
}

/// The subject without the words for answers and forwarded messages.
std::string topicOf(std::string subject) {
  for (;;) {
    const std::string start = lowerCase(subject.substr(0, 4));
    if (start == "re: " || start == "fw: ") {
      subject.erase(0, 4);
    } else if (lowerCase(subject.substr(0, 5)) == "fwd: ") {
      subject.erase(0, 5);
    } else {
      return subject;
    }
  }
}

std::string durationText(std::int64_t seconds) {
  if (seconds <= 0) return "PT0S";
  std::string text = "P";
  if (seconds >= 86400) text += std::to_string(seconds / 86400) + "D";
  const std::int64_t hours = seconds % 86400 / 3600;
  const std::int64_t minutes = seconds % 3600 / 60;
  if (hours != 0 || minutes != 0) text += "T";
  if (hours != 0) text += std::to_string(hours) + "H";
  if (minutes != 0) text += std::to_string(minutes) + "M";
  return text == "P" ? "PT0S" : text;
}

void updateCalendarItem(Node& content) {
  const auto start = readTime(content.childText("Start"));
  const auto end = readTime(content.childText("End"));
  if (start && end) content.setChild("Duration", durationText(*end - *start));
  const bool isMeeting = content.child("RequiredAttendees") != nullptr ||
                         content.child("OptionalAttendees") != nullptr;
  const bool recurs = content.child("Recurrence") != nullptr;
  content.setChild("IsMeeting", isMeeting ? "true" : "false");
  content.setChild("IsRecurring", "false");
  content.setChild("CalendarItemType", recurs ? "RecurringMaster" : "Single");
}

void updateTask(Node& content) {
  const bool complete = content.childText("Status") == "Completed";
  content.setChild("IsComplete", complete ? "true" : "false");
  if (complete) content.setChild("PercentComplete", "100");
}

}  // namespace

Node mailboxNode(const std::string& name, const std::string& address) {
  Node mailbox{"Mailbox"};
  mailbox.setChild("Name", name);
  mailbox.setChild("EmailAddress", address);
  mailbox.setChild("RoutingType", "SMTP");
  mailbox.setChild("MailboxType", "Mailbox");
  return mailbox;
}

void fillNewItem(Item& item, const StoreMailbox& owner, const std::string& now) {
  Node& content = item.content;
  const ItemKindRow& kind = *findItemKind(content.name);
  setDefault(content, "ItemClass", std::string(kind.itemClass));
  setDefault(content, "Sensitivity", "Normal");
  setDefault(content, "Importance", "Normal");
  setDefault(content, "ReminderIsSet", "false");
  setDefault(content, "ReminderMinutesBeforeStart", "0");
  setDefault(content, "Culture", "en-US");
  setDefault(content, "DateTimeCreated", now);
  setDefault(content, "DateTimeReceived", now);
  const bool isMessage = (kind.kind & kMessages) != 0;
  setDefault(content, "IsSubmitted", "false");
  setDefault(content, "IsDraft", isMessage ? "true" : "false");
  setDefault(content, "IsFromMe", "false");
  setDefault(content, "IsResend", "false");
  setDefault(content, "IsUnmodified", "true");
  setDefault(content, "DateTimeSent", now);
  if (isMessage) {
    setDefault(content, "IsRead", "true");
    setDefault(content, "IsReadReceiptRequested", "false");
    setDefault(content, "IsDeliveryReceiptRequested", "false");
    setDefault(content, "IsResponseRequested", "false");
  } else if (kind.kind == kPostItem) {
    setDefault(content, "IsRead", "true");
    setDefault(content, "PostedTime", now);
    if (content.child("From") == nullptr) setMailbox(content, "From", owner);
    if (content.child("Sender") == nullptr) setMailbox(content, "Sender", owner);
  } else if (kind.kind == kCalendarItem) {
    setDefault(content, "IsAllDayEvent", "false");
    setDefault(content, "LegacyFreeBusyStatus", "Busy");
    setDefault(content, "IsCancelled", "false");
    setDefault(content, "MeetingRequestWasSent", "false");
    setDefault(content, "MyResponseType", "Organizer");
    if (content.child("Organizer") == nullptr) setMailbox(content, "Organizer", owner);
  } else if (kind.kind == kTask) {
    setDefault(content, "Status", "NotStarted");
    setDefault(content, "PercentComplete", "0");
    setDefault(content, "Owner", owner.name);
    setDefault(content, "ChangeCount", "1");
    setDefault(content, "IsRecurring", "false");
    setDefault(content, "IsTeamTask", "false");
  } else if (kind.kind == kContact) {
    const std::string given = content.childText("GivenName");
    const std::string surname = content.childText("Surname");
    setDefault(content, "DisplayName",
               given.empty() || surname.empty() ? given + surname : given + " " + surname);
    setDefault(content, "Subject", content.childText("DisplayName"));
    setDefault(content, "ContactSource", "Store");
    setDefault(content, "HasPicture", "false");
  }
  updateDerived(item, owner, now);
}

void updateDerived(Item& item, const StoreMailbox& editor, const std::string& now) {
  Node& content = item.content;
  const ItemKind kind = findItemKind(content.name)->kind;
  content.setChild("DisplayTo", displayNames(content, {"ToRecipients", "RequiredAttendees"}));
  content.setChild("DisplayCc", displayNames(content, {"CcRecipients", "OptionalAttendees"}));
  content.setChild("LastModifiedName", editor.name);
  content.setChild("LastModifiedTime", now);
  if ((kind & (kMessages | kPostItem)) != 0) {
    const std::string topic = topicOf(content.childText("Subject"));
    content.setChild("ConversationTopic", topic);
    content.setChild("ConversationIndex", encodeBase64(topic));
  } else if (kind == kCalendarItem) {
    updateCalendarItem(content);
  } else if (kind == kTask) {
    updateTask(content);
  }
  std::size_t size = content.textSize() - content.childText("Size").size();
  for (const auto& attachment : item.attachments) {
    size += attachment->content.size() + attachment->description.textSize();
    if (attachment->item) size += attachment->item->textSize();
  }
  content.setChild("Size", std::to_string(size));
}

void markSent(Item& item, const StoreMailbox& sender, const std::string& now) {
  Node& content = item.content;
  content.setChild("IsDraft", "false");
  content.setChild("IsSubmitted", "false");
  content.setChild("IsFromMe", "true");
  content.setChild("IsRead", "true");
  content.setChild("DateTimeSent", now);
  content.setChild("DateTimeReceived", now);
  if (content.child("From") == nullptr) setMailbox(content, "From", sender);
  setMailbox(content, "Sender", sender);
  if (content.childText("InternetMessageId").empty()) {
    content.setChild("InternetMessageId",
                     "<" + std::to_string(item.number) + "." + now + "@" + sender.address + ">");
  }
  updateDerived(item, sender, now);
}

std::vector<std::string> recipientsOf(const Item& item) {
  std::vector<std::string> all;
  for (const char* name : {"ToRecipients", "CcRecipients", "BccRecipients"}) {
    const Node* list = item.content.child(name);
    if (list == nullptr) continue;
    for (const Node& mailbox : list->children) {
      std::string address = lowerCase(mailbox.childText("EmailAddress"));
      if (std::ranges::find(all, address) == all.end()) all.push_back(std::move(address));
    }
  }
  return all;
}

Item deliveredCopy(const Item& sent, const StoreMailbox& recipient) {
  Item copy = sent;
  copy.changed.clear();
  Node& content = copy.content;
  content.removeChildren("BccRecipients");
  content.setChild("IsFromMe", "false");
  content.setChild("IsRead", "false");
  setMailbox(content, "ReceivedBy", recipient);
  setMailbox(content, "ReceivedRepresenting", recipient);
  return copy;
}

}  // namespace tarnwell::sandbox
