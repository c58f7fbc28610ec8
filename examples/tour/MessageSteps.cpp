// A message goes from one mailbox to another, where it is found, read, changed, moved, counted,
// copied and deleted.
#include <memory>
#include <string>

#include "examples/tour/Steps.h"

using namespace tarnwell;

namespace tour {
namespace {

constexpr auto kSubject = "Figures for the tour";
constexpr auto kText = "Here they are.";
constexpr auto kTicket = "T-4711";
/// What the extended property `TWFlag` says of an item that is flagged for follow-up.
constexpr int kFlagged = 2;

/// The message as the server has it now.
std::shared_ptr<TWItem> readAgain(const Tour& tour, const std::shared_ptr<TWItem>& item) {
  TWError error;
  const auto read = tour.colleague->fetch({item}, item->folder(), std::nullopt, &error);
  check(read.has_value() && read->size() == 1, "the message could not be read", error);
  check(read->front().item() != nullptr, "the message could not be read", read->front().error());
  return read->front().item();
}

std::size_t countIn(const std::shared_ptr<TWFolder>& folder) {
  TWError error;
  const auto count = folder->all().count(0, &error);
  check(!error, "the items could not be counted", error);
  return count;
}

}  // namespace

void openColleague(Tour& tour) {
  // The account finds its endpoint itself.
  TWAccountOptions options;
  options.primarySmtpAddress = tour.colleagueAddress;
  options.credentials = tour.colleagueCredentials;
  options.autodiscover = true;
  options.discovery.allowsPlainHTTP = false;
  options.discovery.connection = tour.connection;
  tour.colleague = TWAccount::withOptions(options);
  TWError error;
  check(tour.colleague->root(&error) != nullptr, "the mailbox could not be opened", error);
  check(tour.colleague->inbox() != nullptr, "there is no inbox");
  tell(tour.colleague->description());
}

void sendMessage(Tour& tour) {
  const auto message = TWMessage::withDict({
      {"folder", tour.account->sent()},  // where the copy goes
      {"subject", kSubject},
      {"body", kText},
      {"to_recipients", TWValue::list({tour.colleagueAddress})},
  });
  TWError error;
  // When a message is sent, the server tells nothing of it but whether that worked.
  (void)message->create("SendAndSaveCopy", "SendToNone", &error);
  check(!error, "the message was not sent", error);
  tell(formatMessage("\"%@\" to %@", {kSubject, tour.colleagueAddress}));
}

void findMessage(Tour& tour) {
  const auto search = tour.colleague->inbox()
                          ->filter({{"subject__startswith", "Figures"}, {"is_read", false}})
                          ->orderBy({"-datetime_received"})
                          ->only({"subject"});  // the search by itself, without reading the items
  TWError error;
  const auto found = search.getItems(&error);
  check(found.has_value(), "the inbox could not be searched", error);
  check(found->size() == 1, "the message was not found, or not alone");
  tour.found = *found;
  tell("1 unread message whose subject begins with \"Figures\"");
}

void readMessage(Tour& tour) {
  TWError error;
  const auto read = tour.colleague->inbox()->fetch(tour.found, std::nullopt, &error);
  check(read.has_value() && read->size() == 1, "the message could not be read", error);
  tour.message = read->front().item();
  check(tour.message != nullptr, "the message could not be read", read->front().error());

  const auto from = tour.message->get<std::shared_ptr<TWMailbox>>("from");
  check(from != nullptr, "the message has no sender");
  check(from->get("email_address") == tour.address, "the message has another sender");
  check(tour.message->get("subject") == TWValue(kSubject), "the message has another subject");
  check(tour.message->get("text_body") == TWValue(kText), "the message has another text");
  tell(formatMessage("From: %@ <%@>", {from->get("name"), from->get("email_address")}));
  tell(formatMessage("Date: %@", {tour.message->get("datetime_received")}));
  tell(formatMessage("Subject: %@", {tour.message->get("subject")}));
  tell(formatMessage("\n%@", {tour.message->get("text_body")}));
}

void updateMessage(Tour& tour) {
  // The flag is an extended property that the library brings along. As any of them it must be
  // registered before it can be used, once for the whole program.
  TWError error;
  check(TWMessage::registerAttr("flag", TWFlag::elementClass(), &error),
        "the flag was not registered", error);
  tour.message->set("flag", kFlagged);
  tour.message->set("is_read", true);
  tour.message->set("importance", "High");
  check(tour.message->save({"flag", "is_read", "importance"}, "AutoResolve", "SendToNone", &error),
        "the message was not changed", error);

  const auto now = readAgain(tour, tour.message);
  const auto flag = now->get<std::shared_ptr<TWExtendedProperty>>("flag");
  check(flag && flag->get<int>("value") == kFlagged, "the message is not flagged");
  check(now->get<bool>("is_read") == true, "the message is not marked as read");
  check(now->get("importance") == TWValue("High"), "the message has another importance");
  tell("flagged for follow-up, marked as read, of high importance");
}

void setOwnProperty(Tour& tour) {
  // Declared and registered once for the whole program.
  const auto& ticketNumber = TWExtendedPropertyClass::declare({
      .name = "TicketNumber",
      .distinguishedPropertySetId = "PublicStrings",
      .propertyName = "TicketNumber",
      .propertyType = "String",
  });
  TWError error;
  check(TWMessage::registerAttr("ticket", ticketNumber, &error), "the property was not registered",
        error);
  tour.message->set("ticket", kTicket);
  check(tour.message->save({"ticket"}, "AutoResolve", "SendToNone", &error),
        "the property was not set", error);

  const auto found =
      tour.colleague->inbox()->filter({{"ticket", kTicket}})->only({"ticket"})->getItems(&error);
  check(found.has_value(), "the inbox could not be searched", error);
  check(found->size() == 1, "the message was not found by its property, or not alone");
  check(found->front().idPair()->id == tour.message->idPair()->id, "another message was found");
  tell(formatMessage("found by its ticket %@", {kTicket}));
}

void moveMessage(Tour& tour) {
  tour.folder = TWFolder::make(TWFolder::elementClass(),
                               {{"name", "Tour"}, {"folder_class", "IPF.Note"}}, tour.colleague);
  tour.folder->setParent(tour.colleague->inbox());
  TWError error;
  check(tour.folder->save({}, &error), "the folder was not created", error);
  const auto before = tour.message->idPair();
  check(tour.message->move(tour.folder, &error), "the message was not moved", error);
  check(tour.message->idPair() && tour.message->idPair()->id != before->id,
        "a message that was moved has a new id, and this one has not");
  tell("now in " + tour.folder->path());
}

void countMessages(Tour& tour) {
  const auto left = countIn(tour.colleague->inbox());
  const auto moved = countIn(tour.folder);
  check(moved == 1 && left == 0, "the message is not where it was moved to");
  TWError error;
  check(tour.folder->refresh(&error), "the folder could not be read", error);
  check(tour.folder->get<int>("total_count") == 1, "the folder tells another number");
  tell(formatMessage("Inbox: %lu, Tour: %lu", {left, moved}));
}

void exportAndUpload(Tour& tour) {
  TWError error;
  const auto exported = tour.colleague->exportItems({tour.message}, &error);
  check(exported.has_value() && exported->size() == 1, "the message was not exported", error);
  check(exported->front().hasValue(), "the message was not exported", exported->front().error());
  const std::string& data = exported->front().value();

  const auto uploaded = tour.colleague->uploadItems({{tour.folder, data}}, &error);
  check(uploaded.has_value() && uploaded->size() == 1, "the message was not uploaded", error);
  check(uploaded->front().hasValue(), "the message was not uploaded", uploaded->front().error());

  const auto copy = tour.folder->get({{"item_id", uploaded->front()->id}}, &error);
  check(copy.has_value() && copy->item(), "the copy could not be read", error);
  const auto ticket = copy->item()->get<std::shared_ptr<TWExtendedProperty>>("ticket");
  check(copy->item()->get("subject") == TWValue(kSubject), "the copy has another subject");
  check(ticket && ticket->get("value") == TWValue(kTicket), "the copy has another ticket");
  check(countIn(tour.folder) == 2, "the message and its copy are not both there");
  tell(formatMessage("%lu characters of Base64 became a second message, ticket included",
                     {data.size()}));
}

void deleteMessages(Tour& tour) {
  TWError error;
  check(tour.message->moveToTrash({}, &error), "the message was not deleted", error);
  check(countIn(tour.colleague->trash()) == 1, "the message is not in the trash");
  check(countIn(tour.folder) == 1, "the copy is not alone in the folder");
  // A folder goes for good, with what is in it.
  check(tour.folder->deleteWithError(&error), "the folder was not deleted", error);
  tell("the message is in the trash, the folder with its copy is gone");
}

}  // namespace tour
