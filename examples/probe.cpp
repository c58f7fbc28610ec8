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
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/tarnwell.h"

#include "sandbox/SandboxServer.h"

using namespace tarnwell;

namespace {

struct Task {
  std::string address;
  std::string name;
  std::shared_ptr<TWCredentials> credentials;
  TWAutodiscoverOptions discovery;
};

std::optional<std::string> contentsOf(const std::string& path) {
  std::ifstream file(path);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

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

/// A server for example.com in this process, reached over TLS under its real name.
bool probeSandbox() {
  sandbox::SandboxOptions options;
  options.tls = true;
  options.certificateNames = {"example.com"};
  options.externalUrl = "https://example.com/EWS/Exchange.asmx";
  options.mailboxes = {{"alice@example.com", "secret", "Alice Example"},
                       {"bob@example.com", "secret", "Bob Example"}};
  sandbox::SandboxServer server(options);
  std::string reason;
  if (!server.start(&reason)) {
    std::cerr << "the sandbox does not start: " << reason << '\n';
    return false;
  }
  const auto folder =
      std::filesystem::temp_directory_path() / ("tarnwell-probe-" + std::to_string(server.port()));
  std::filesystem::create_directories(folder);
  const auto certificate = folder / "certificate.pem";
  std::ofstream(certificate) << server.certificatePem();

  Task task{"alice@example.com",
            "bob",
            TWCredentials::credentialsWithUsernamePassword("alice@example.com", "secret"),
            {}};
  task.discovery.connection.caFile = certificate.string();
  task.discovery.connection.connectTo = {"example.com:443:127.0.0.1:" +
                                         std::to_string(server.port())};
  const bool done = probe(task);
  std::filesystem::remove_all(folder);
  return done;
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
         const auto secret = contentsOf(value);
         if (secret)
           task.credentials = TWCredentials::credentialsWithUsernamePassword(
               task.address, stringByTrimming(*secret));
         return secret.has_value();
       }},
      {"--token-file", [&](const std::string& value) {
         const auto secret = contentsOf(value);
         if (secret)
           task.credentials = TWCredentials::credentialsWithUsernameAccessToken(
               task.address, stringByTrimming(*secret));
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
