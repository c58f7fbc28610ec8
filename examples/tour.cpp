// What a mail application does, step by step: finds the server, opens the mailbox, reads, sends,
// searches, changes, moves, copies and archives, and is notified of new mail. Each step tells what
// was sent and the time it took.
//
//   tour                                       the whole tour, against a sandbox of its own
//   tour --server URL --user NAME --password-file FILE [--mailbox ADDRESS] [--ca FILE]
//                                              the steps that only read, against a real server
//
// URL is the server or its EWS endpoint. ADDRESS is the mailbox, when that is not NAME itself. FILE
// of --ca has certificates of authorities to trust beside the system's own. The password is the
// first line of a file, since arguments are seen by everybody on the machine.
#include "examples/tour/Tour.h"

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/tarnwell.h"

#include "examples/support/EmbeddedServer.h"
#include "examples/support/Secret.h"
#include "examples/tour/Steps.h"

using namespace tarnwell;
using namespace tour;

namespace {

/// A step more is a function in Steps.h and a line here.
const std::vector<Step> kWholeTour{
    {"Discover the endpoint", discoverEndpoint},
    {"Open the account", openAccount},
    {"Print the folder tree", printFolders},
    {"Count what is in the inbox", countInbox},
    {"Read the newest messages", readNewest},
    {"Open the mailbox of a colleague", openColleague},
    {"Send a message to the colleague", sendMessage},
    {"Find it in the colleague's inbox", findMessage},
    {"Read it", readMessage},
    {"Flag and update it", updateMessage},
    {"Set a property of one's own and search by it", setOwnProperty},
    {"Move it to a new folder", moveMessage},
    {"Count what is in both folders", countMessages},
    {"Export it and upload it again", exportAndUpload},
    {"Send a file", sendFile},
    {"Fetch the file and compare", receiveFile},
    {"Wait for mail while another account sends some", watchInbox},
    {"Delete the message and the folder", deleteMessages},
    {"Archive the folder tree and restore it on a new account", restoreFolders},
};

/// These change nothing.
const std::vector<Step> kReadingTour{
    {"Open the account", openAccount},
    {"Print the folder tree", printFolders},
    {"Count what is in the inbox", countInbox},
    {"Read the newest messages", readNewest},
    {"Archive the folder tree and restore it on a new account", restoreFolders},
};

constexpr int kBadArguments = 2;

int runTour(const std::vector<Step>& steps, Tour& tour) {
  // Shared, since connections may outlive this function.
  const auto recorder = std::make_shared<Recorder>();
  TWLogger::logger().setDelegate(recorder);
  tour.connection.onRequest = [recorder](auto method, auto url, auto body) {
    recorder->noteRequest(method, url, body);
  };
  return run(steps, tour, *recorder) ? EXIT_SUCCESS : EXIT_FAILURE;
}

int tourOfSandbox() {
  const examples::EmbeddedServer server;
  if (!server.problem().empty()) {
    std::cerr << "The sandbox does not start: " << server.problem() << '\n';
    return EXIT_FAILURE;
  }
  Tour tour;
  tour.address = "alice@example.com";
  tour.credentials = TWCredentials::credentialsWithUsernamePassword(tour.address, "secret");
  tour.colleagueAddress = "bob@example.com";
  tour.colleagueCredentials =
      TWCredentials::credentialsWithUsernamePassword(tour.colleagueAddress, "secret");
  tour.connection = server.connection();
  return runTour(kWholeTour, tour);
}

using Options = std::map<std::string, std::string>;

/// Pairs of option and value; absent when the arguments are none.
std::optional<Options> optionsOf(const std::vector<std::string>& arguments) {
  Options options{
      {"--server", ""}, {"--user", ""}, {"--password-file", ""}, {"--mailbox", ""}, {"--ca", ""}};
  if (arguments.size() % 2 != 0) return std::nullopt;
  for (std::size_t at = 0; at < arguments.size(); at += 2) {
    const auto option = options.find(arguments[at]);
    if (option == options.end()) return std::nullopt;
    option->second = arguments[at + 1];
  }
  return options;
}

/// The endpoint at its usual place when the URL names nothing but the server.
std::string endpointOf(const std::string& url) {
  const auto host = url.find("://");
  if (host == std::string::npos) return "https://" + url + "/EWS/Exchange.asmx";
  const auto path = url.find('/', host + 3);
  const bool hasPath = path != std::string::npos && path + 1 < url.size();
  return hasPath ? url : url.substr(0, path) + "/EWS/Exchange.asmx";
}

int tourOfServer(const Options& options) {
  const auto password = examples::secretIn(options.at("--password-file"));
  if (!password) {
    std::cerr << "There is no password in " << options.at("--password-file") << '\n';
    return kBadArguments;
  }
  const std::string& user = options.at("--user");
  Tour tour;
  tour.endpoint = endpointOf(options.at("--server"));
  tour.address = options.at("--mailbox").empty() ? user : options.at("--mailbox");
  tour.credentials = TWCredentials::credentialsWithUsernamePassword(user, *password);
  tour.connection.caFile = options.at("--ca");
  return runTour(kReadingTour, tour);
}

int usage() {
  std::cerr << "usage: tour [--server URL --user NAME --password-file FILE [--mailbox ADDRESS] "
               "[--ca FILE]]\n";
  return kBadArguments;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 1) return tourOfSandbox();
  const auto options = optionsOf({argv + 1, argv + argc});
  if (!options) return usage();
  for (const auto* const required : {"--server", "--user", "--password-file"})
    if (options->at(required).empty()) return usage();
  return tourOfServer(*options);
}
