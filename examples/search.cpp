// A search: the messages of a folder that match, the newest first, page by page.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>

#include "tarnwell/tarnwell.h"

#include "sandbox/SandboxServer.h"

using namespace tarnwell;

namespace {

int failed(std::string_view what, const TWError& error = {}) {
  std::cerr << what << ": " << error << '\n';
  return EXIT_FAILURE;
}

/// How many pages were asked for.
auto pagesSent(const sandbox::SandboxServer& server) {
  return std::ranges::count(server.requests(), "FindItem", &sandbox::SandboxRequest::operation);
}

}  // namespace

int main() {
  // A mailbox with some mail, on a server in this process.
  const std::string address = "alice@example.com";
  const std::string password = "secret";
  sandbox::SandboxOptions options;
  options.mailboxes = {{address, password, "Alice Example"}};
  options.seedCount = 400;
  sandbox::SandboxServer server(options);
  if (std::string reason; !server.start(&reason)) return failed(reason);

  const auto credentials = TWCredentials::credentialsWithUsernamePassword(address, password);
  const auto account =
      TWAccount::withOptions({.primarySmtpAddress = address,
                              .fullName = "Alice",
                              .credentials = credentials,
                              .config = TWConfiguration::withOptions(
                                  {.credentials = credentials, .serviceEndpoint = server.url()})});

  TWError error;
  const auto root = account->root(&error);
  if (!root) return failed("The mailbox could not be opened", error);
  const auto top = root->tois();
  if (!top) return failed("There are no folders");
  for (const auto& folder : top->walk())
    std::cout << folder->path() << ": " << folder->get("total_count") << " items\n";

  const auto inbox = account->inbox();
  if (!inbox) return failed("There is no inbox");
  auto figures = inbox->filter({{"subject__contains", "figures"}})->orderBy({"-datetime_received"});
  figures.setPageSize(5);
  const auto found = figures.getItems(&error);
  if (!found) return failed("The search failed", error);
  for (const auto& entry : *found) {
    const auto message = entry.item();
    if (!message) return failed("A message could not be read", entry.error());
    std::cout << message->get("datetime_received") << "  " << message->get("subject") << '\n';
  }

  std::cout << found->size() << " messages on " << pagesSent(server) << " pages\n";
  return found->size() > 5 && pagesSent(server) > 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
