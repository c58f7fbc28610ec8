// What an Exchange server is and knows: finds the endpoint of a mailbox, tells the version that was
// negotiated, resolves a name and lists the server's time zones.
//
//   probe                                       against a sandbox of its own
//   probe ADDRESS --password-file FILE [--ca FILE] [--name NAME]
//   probe ADDRESS --token-file FILE [--ca FILE] [--name NAME]
//
// The secret is read from a file, since arguments are seen by everybody on the machine.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/tarnwell.h"

#include "examples/support/EmbeddedServer.h"
#include "examples/support/Secret.h"

using namespace tarnwell;

namespace {

struct Task {
  std::string address;
  std::string name;
  std::shared_ptr<TWCredentials> credentials;
  TWAutodiscoverOptions discovery;
};

/// Runs one step, told with the time it took.
template <class Step>
auto timed(std::string_view what, Step step) {
  const auto start = std::chrono::steady_clock::now();
  auto result = step();
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  std::cout << formatMessage("%@ (%.1f ms)\n", {what, took.count()});
  return result;
}

bool probe(const Task& task) {
  const auto found = timed("autodiscover", [&] {
    return TWAutodiscover::discover(task.address, task.credentials, task.discovery);
  });
  if (!found) {
    std::cerr << "no server knows the mailbox " << task.address << '\n';
    return false;
  }
  const auto& protocol = found->protocol;
  std::cout << "  mailbox   " << found->primarySMTPAddress << "\n  endpoint  "
            << protocol->serviceEndpoint() << '\n';
  if (const auto version = protocol->version()) {
    std::cout << "  version   " << version->fullname().value_or("unknown") << "\n  API       "
              << version->apiVersion().value_or("unknown") << '\n';
    if (version->build()) std::cout << "  build     " << *version->build() << '\n';
  }

  TWError error;
  const auto mailboxes = timed(formatMessage("ResolveNames \"%@\"", {task.name}), [&] {
    return TWResolveNames::withProtocol(protocol)->call({task.name}, {}, false, {}, {}, &error);
  });
  if (!mailboxes) {
    std::cerr << error << '\n';
    return false;
  }
  for (const auto& mailbox : *mailboxes)
    std::cout << "  " << mailbox->get("name") << " <" << mailbox->get("email_address") << ">\n";

  const auto zones = timed("GetServerTimeZones", [&] {
    return TWGetServerTimeZones::withProtocol(protocol)->call(false, &error);
  });
  if (!zones) {
    std::cerr << error << '\n';
    return false;
  }
  for (const auto& zone : *zones) {
    const auto pair = zone.asList();
    std::cout << "  " << pair->at(0) << ": " << pair->at(1) << '\n';
  }
  std::cout << zones->size() << " time zones\n";
  return true;
}

bool probeSandbox() {
  const examples::EmbeddedServer server;
  if (!server.problem().empty()) {
    std::cerr << "the sandbox does not start: " << server.problem() << '\n';
    return false;
  }
  Task task{"alice@example.com",
            "bob",
            TWCredentials::credentialsWithUsernamePassword("alice@example.com", "secret"),
            {}};
  task.discovery.connection = server.connection();
  return probe(task);
}

/// What the arguments ask for; absent when they make no sense.
std::optional<Task> taskOf(int argc, char** argv) {
  Task task{argv[1], argv[1], nullptr, {}};
  std::map<std::string, std::function<bool(const std::string&)>> options = {
      {"--ca",
       [&](const std::string& value) {
         task.discovery.connection.caFile = value;
         return true;
       }},
      {"--name",
       [&](const std::string& value) {
         task.name = value;
         return true;
       }},
      {"--password-file",
       [&](const std::string& value) {
         const auto secret = examples::secretIn(value);
         if (secret)
           task.credentials = TWCredentials::credentialsWithUsernamePassword(task.address, *secret);
         return secret.has_value();
       }},
      {"--token-file", [&](const std::string& value) {
         const auto secret = examples::secretIn(value);
         if (secret)
           task.credentials =
               TWCredentials::credentialsWithUsernameAccessToken(task.address, *secret);
         return secret.has_value();
       }}};
  for (int i = 2; i < argc; i += 2) {
    const auto option = options.find(argv[i]);
    if (option == options.end() || i + 1 == argc || !option->second(argv[i + 1]))
      return std::nullopt;
  }
  if (!task.credentials) return std::nullopt;
  return task;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 1) return probeSandbox() ? EXIT_SUCCESS : EXIT_FAILURE;
  const auto task = taskOf(argc, argv);
  if (!task) {
    std::cerr << "usage: probe [ADDRESS (--password-file FILE | --token-file FILE) [--ca FILE] "
                 "[--name NAME]]\n";
    return 2;
  }
  return probe(*task) ? EXIT_SUCCESS : EXIT_FAILURE;
}
