#include "sandbox/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace tarnwell::sandbox {
namespace {

constexpr std::string_view kUsage = R"(usage: tarnwell-sandbox [option...]

An Exchange Web Services server for development. It listens on 127.0.0.1 only and keeps
everything in memory unless it is given a file.

  --port N                  the port; 0, the default, takes any free one
  --mailbox ADDRESS:PASSWORD  a mailbox; may be repeated. Without one there is
                            user@example.com with the password "password"
  --token ADDRESS:TOKEN     a bearer token for a mailbox; may be repeated
  --store FILE              keeps the mailboxes in this SQLite database
  --seed-mailbox N          fills the first mailbox with N messages, contacts, appointments
                            and tasks, the same every time
  --heartbeat SECONDS       how often a stream of events shows that it is alive; 45 when
                            not given
  --server-version KEY      Exchange2007 to Exchange2016, with _SP1 and so on;
                            Exchange2016 when not given
  --external-url URL        the endpoint that autodiscover hands out
  --tls                     HTTPS, with a certificate made at start
  --host NAME               a name for that certificate; may be repeated
  --cert FILE --key FILE    this certificate and key instead (PEM); implies --tls
  --write-cert FILE         writes the certificate in use, for clients to trust
  --control                 POST /sandbox/fail makes requests fail on purpose
  --verbose                 a line on standard error for every request
  --help                    this text

The first line on standard output is "listening" and the endpoint. It ends on SIGINT and
SIGTERM.
)";

constexpr int kMostPorts = 65535;
constexpr int kMostSeeds = 100000;
constexpr int kMostHeartbeat = 3600;

struct Mistake {
  std::string text;
};

std::string contentsOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream contents;
  contents << stream.rdbuf();
  if (!stream || contents.str().empty()) throw Mistake{"cannot read " + file};
  return contents.str();
}

int numberIn(const std::string& option, const std::string& text, int most) {
  int number = -1;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (problem != std::errc() || end != text.data() + text.size() || number < 0 || number > most) {
    throw Mistake{option + " takes a number from 0 to " + std::to_string(most) + ", not " + text};
  }
  return number;
}

/// "a@example.com:rest"; the rest may hold colons of its own.
std::pair<std::string, std::string> pairIn(const std::string& option, const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
    // Without the text: it may be a secret.
    throw Mistake{option + " takes an address and a secret with a colon between them"};
  }
  return {text.substr(0, colon), text.substr(colon + 1)};
}

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  CommandLine parse() {
    for (; at_ < arguments_.size(); ++at_) take(arguments_[at_]);
    if (result_.server.mailboxes.empty()) {
      result_.server.mailboxes.push_back({"user@example.com", "password", {}});
    }
    if (!hosts_.empty()) result_.server.certificateNames = hosts_;
    if (result_.server.certificatePem.empty() != result_.server.keyPem.empty()) {
      throw Mistake{"--cert and --key go together"};
    }
    const bool certificateGiven = !result_.server.certificatePem.empty();
    if (certificateGiven) result_.server.tls = true;
    if (!hosts_.empty() && certificateGiven) throw Mistake{"--host is for a certificate made here"};
    if (!result_.server.tls && (!hosts_.empty() || !result_.writeCertificateFile.empty())) {
      throw Mistake{"--host and --write-cert need --tls"};
    }
    return std::move(result_);
  }

 private:
  void take(const std::string& option) {
    SandboxOptions& server = result_.server;
    if (option == "--help") {
      result_.help = true;
    } else if (option == "--verbose") {
      result_.verbose = true;
    } else if (option == "--tls") {
      server.tls = true;
    } else if (option == "--control") {
      server.control = true;
    } else if (option == "--port") {
      server.port = numberIn(option, value(option), kMostPorts);
    } else if (option == "--server-version") {
      server.version = versionIn(value(option));
    } else if (option == "--store") {
      server.storeFile = value(option);
    } else if (option == "--seed-mailbox") {
      server.seedCount = numberIn(option, value(option), kMostSeeds);
    } else if (option == "--heartbeat") {
      const int seconds = numberIn(option, value(option), kMostHeartbeat);
      if (seconds == 0) throw Mistake{"--heartbeat takes at least one second"};
      server.streamHeartbeat = std::chrono::seconds(seconds);
    } else if (option == "--external-url") {
      server.externalUrl = value(option);
    } else if (option == "--host") {
      hosts_.push_back(value(option));
    } else if (option == "--cert") {
      server.certificatePem = contentsOf(value(option));
    } else if (option == "--key") {
      server.keyPem = contentsOf(value(option));
    } else if (option == "--write-cert") {
      result_.writeCertificateFile = value(option);
    } else if (option == "--mailbox") {
      auto [address, password] = pairIn(option, value(option));
      server.mailboxes.push_back({std::move(address), std::move(password), {}});
    } else if (option == "--token") {
      auto [address, token] = pairIn(option, value(option));
      server.tokens.push_back({std::move(token), std::move(address)});
    } else {
      throw Mistake{"unknown option " + option};
    }
  }

  const std::string& value(const std::string& option) {
    if (++at_ == arguments_.size()) throw Mistake{option + " takes a value"};
    return arguments_[at_];
  }

  static std::string versionIn(const std::string& text) {
    const std::vector<std::string> known = sandboxVersions();
    if (std::ranges::find(known, text) != known.end()) return text;
    std::string message = "--server-version takes one of";
    for (const std::string& key : known) message += " " + key;
    throw Mistake{message};
  }

  const std::vector<std::string>& arguments_;
  std::size_t at_ = 0;
  CommandLine result_;
  std::vector<std::string> hosts_;
};

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                            std::string& error) {
  try {
    return Parser(arguments).parse();
  } catch (const Mistake& mistake) {
    error = mistake.text;
    return std::nullopt;
  }
}

std::string_view usage() noexcept { return kUsage; }

}  // namespace tarnwell::sandbox
