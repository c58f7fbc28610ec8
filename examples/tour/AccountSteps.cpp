// The endpoint, the account, its folders and what is in them: all of this only reads.
#include <cstdint>
#include <memory>
#include <string>

#include "examples/tour/Steps.h"

using namespace tarnwell;

namespace tour {

void discoverEndpoint(Tour& tour) {
  TWAutodiscoverOptions options;
  options.allowsPlainHTTP = false;  // the password goes over TLS or not at all
  options.connection = tour.connection;
  const auto found = TWAutodiscover::discover(tour.address, tour.credentials, options);
  check(found.has_value(), "no server was found that knows " + tour.address);
  tour.address = found->primarySMTPAddress;
  tour.protocol = found->protocol;
  tell(tour.address + " is at " + tour.protocol->serviceEndpoint());
}

void openAccount(Tour& tour) {
  // Without a discovery somebody must say where the server is.
  const auto config = tour.protocol
                          ? TWConfiguration{tour.protocol}
                          : TWConfiguration::withOptions({.credentials = tour.credentials,
                                                          .serviceEndpoint = tour.endpoint,
                                                          .connection = tour.connection});
  tour.account = TWAccount::withOptions({.primarySmtpAddress = tour.address,
                                         .accessType = TWAccessTypeDelegate,
                                         .credentials = tour.credentials,
                                         .config = config});
  TWError error;
  const auto root = tour.account->root(&error);
  check(root != nullptr, "the mailbox could not be opened", error);
  tell(tour.account->description() + " at " + tour.account->protocol()->serviceEndpoint());
  if (const auto version = tour.account->version()) tell(version->description());
}

void printFolders(Tour& tour) {
  TWError error;
  const auto root = tour.account->root(&error);
  check(root != nullptr && root->updateCache(&error), "the folders could not be read", error);
  const auto top = root->tois();
  for (const auto& folder : top->walk()) {
    const auto depth = folder->parts().size() - top->parts().size() - 1;
    tell(formatMessage("%@%@ (%@)", {std::string(3 * depth, ' '), folder->get("name"),
                                     folder->get("total_count")}));
  }
}

void countInbox(Tour& tour) {
  const auto inbox = tour.account->inbox();
  check(inbox != nullptr, "there is no inbox");
  TWError error;
  const auto unread = inbox->filter({{"is_read", false}})->count(0, &error);
  check(!error, "the unread messages could not be counted", error);
  tell(formatMessage("%@: %@ items, %lu of them unread messages",
                     {inbox->get("name"), inbox->get("total_count"), unread}));
}

void readNewest(Tour& tour) {
  const auto inbox = tour.account->inbox();
  check(inbox != nullptr, "there is no inbox");
  auto newest = inbox->all()->orderBy({"-datetime_received"});
  newest.setPageSize(5);
  newest.setMaxItems(5);
  TWError error;
  const auto entries = newest.getItems(&error);
  check(entries.has_value(), "the inbox could not be searched", error);
  for (const auto& entry : *entries) {
    const auto item = entry.item();
    check(item != nullptr, "an item could not be read", entry.error());
    const auto files = item->get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
    tell(formatMessage("%@  %@ (%@ bytes, %lu attachments)",
                       {item->get("datetime_received"), item->get("subject"), item->get("size"),
                        files ? files->size() : 0}));
  }
  if (entries->empty()) tell("The inbox is empty.");
}

void restoreFolders(Tour& tour) {
  const auto archive = tour.account->exportRootData();
  check(archive.has_value(), "the folder tree could not be archived");
  // An account that knows no server: what it has comes from the archive alone.
  const auto restored = TWAccount::withOptions({.primarySmtpAddress = tour.address});
  check(restored->importRootData(*archive), "the archive could not be read");
  const auto original = tour.account->root();
  const auto copy = restored->root();
  check(original != nullptr && copy != nullptr, "a folder tree is missing");
  check(original->tree() == copy->tree(), "the restored folder tree is another one");
  check(restored->inbox() != nullptr, "the restored folder tree has no inbox");
  tell(formatMessage("%lu folders in %lu bytes, the same ones in the restored account",
                     {copy->walk().size(), archive->size()}));
  tell("Its inbox is " + restored->inbox()->path());
}

}  // namespace tour
