// Watches the inbox of a mailbox: prints what happens in it, as it happens, until it is interrupted
// (Ctrl-C). When the server goes away it comes back, after waits that grow.
//
//   watch                                       a sandbox of its own, for a few events
//   watch ADDRESS --password-file FILE [--server ENDPOINT] [--ca FILE]
//   watch ADDRESS --token-file FILE [--server ENDPOINT] [--ca FILE]
//
// The secret is read from a file, since arguments are seen by everybody on the machine. Without an
// endpoint the server is looked for by autodiscover.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "tarnwell/tarnwell.h"

#include "examples/support/Secret.h"
#include "sandbox/SandboxServer.h"

using namespace tarnwell;

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

class Watch {
 public:
  /// A wait for events keeps all other requests of its protocol waiting, so a watching account has
  /// one that nobody shares.
  Watch(const TWAccountOptions& who, const TWProtocol& server,
        const TWConnectionOptions& connection, milliseconds firstPause, milliseconds longestPause)
      : firstPause_(firstPause), longestPause_(longestPause) {
    auto options = who;
    options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
        server.serviceEndpoint(), who.credentials, server.version(), connection)};
    account_ = TWAccount::withOptions(options);
  }

  /// Prints events until `stop`.
  void run() {
    auto pause = firstPause_;
    while (!isStopped()) {
      TWError error;
      const auto root = account_->root(&error);
      const auto inbox = root ? root->getDefaultFolder(TWInbox::elementClass(), &error) : nullptr;
      const auto id = inbox ? inbox->subscribe(&error) : std::nullopt;
      if (id) {
        std::cout << "watching" << std::endl;
        count(&Watch::subscriptions_);
        error = listen(*id, pause);
      }
      if (isStopped()) {
        std::cout << "done" << std::endl;
        if (id) account_->unsubscribe(id);
        break;
      }
      std::cout << "lost the server (" << error.message().substr(0, 60) << "), trying again in "
                << pause.count() << " ms" << std::endl;
      rest(pause);
      pause = std::min(pause * 2, longestPause_);
    }
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    changed_.notify_all();
  }

  /// Ends `run`, from any thread, and returns when it has ended.
  void stop() {
    std::unique_lock lock(mutex_);
    isStopped_ = true;
    changed_.notify_all();
    // What is cancelled before it has begun goes on all the same.
    while (!changed_.wait_for(lock, milliseconds(50), [this] { return isOver_; })) {
      if (!isListening_) continue;
      if (const auto connection = account_->protocol()->connection()) connection->cancel();
    }
  }

  /// Blocks until it has subscribed that often, and seen that many events.
  void waitFor(int subscriptions, int events) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return subscriptions_ >= subscriptions && events_ >= events; });
  }

 private:
  /// Prints the events of a subscription until they cannot be had any more; the answer is why. The
  /// pause is the first one again when the server has been of use.
  TWError listen(const std::string& subscription, milliseconds& pause) {
    setListening(true);
    TWError error;
    while (!error && !isStopped()) {
      const auto begin = Clock::now();
      const auto notifications = account_->getEvents({subscription}, &error);
      const bool hasLasted = Clock::now() - begin >= firstPause_;
      for (const auto& notification : notifications.value_or(TWList())) {
        if (const auto failure = notification.asError()) error = failure;
        for (const auto& event : notification.asXML().childElements()) print(event);
      }
      if (notifications || hasLasted) pause = firstPause_;
      // The server ends the wait when nothing has happened for a while. What ends it at once is
      // something else, which asking again at once would not mend.
      if (hasLasted && error.is(TWErrorCode::ErrorTransport)) error = {};
    }
    setListening(false);
    return error;
  }

  void print(const NKXMLElement& event) {
    const auto name = event.localName().value_or("");
    const auto time = event.elementForName("TimeStamp", kTypesNamespace).stringValue();
    if (!time) return;  // the id of the subscription
    const bool isItem = static_cast<bool>(event.elementForName("ItemId", kTypesNamespace));
    std::cout << *time << ' ' << name << (isItem ? " of an item" : " of a folder") << std::endl;
    count(&Watch::events_);
  }

  void rest(milliseconds time) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, time, [this] { return isStopped_; });
  }
  void count(int Watch::*what) {
    const std::lock_guard lock(mutex_);
    ++(this->*what);
    changed_.notify_all();
  }
  void setListening(bool isListening) {
    const std::lock_guard lock(mutex_);
    isListening_ = isListening;
  }
  bool isStopped() {
    const std::lock_guard lock(mutex_);
    return isStopped_;
  }

  const milliseconds firstPause_;
  const milliseconds longestPause_;
  std::shared_ptr<TWAccount> account_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool isListening_ = false;
  bool isStopped_ = false;
  bool isOver_ = false;
  int subscriptions_ = 0;
  int events_ = 0;
};

/// A server whose first stream breaks off, and which then is away for a while.
bool watchSandbox() {
  using sandbox::SandboxFault;
  sandbox::SandboxOptions options;
  options.mailboxes = {{"alice@example.com", "secret", "Alice"},
                       {"bob@example.com", "secret", "Bob"}};
  options.streamHeartbeat = milliseconds(20);
  sandbox::SandboxServer server(options);
  std::string reason;
  if (!server.start(&reason)) {
    std::cerr << "the sandbox does not start: " << reason << '\n';
    return false;
  }
  server.failNext(SandboxFault::stream(sandbox::SandboxStreamTrouble::cut));
  auto away = SandboxFault::closedConnection();
  away.operation = "Subscribe";
  away.times = 2;

  const auto accountOf = [](const char* address) {
    TWAccountOptions account;
    account.primarySmtpAddress = address;
    account.credentials = TWCredentials::credentialsWithUsernamePassword(address, "secret");
    return account;
  };
  const auto alice = accountOf("alice@example.com");
  const auto endpoint = TWProtocol::withServiceEndpoint(server.url(), alice.credentials);
  Watch watch(alice, *endpoint, {}, milliseconds(10), milliseconds(1000));
  std::thread watching([&] { watch.run(); });
  watch.waitFor(1, 0);
  server.failNext(away);
  watch.waitFor(2, 0);

  auto sender = accountOf("bob@example.com");
  sender.config =
      TWConfiguration{TWProtocol::withServiceEndpoint(server.url(), sender.credentials)};
  const auto bob = TWAccount::withOptions(sender);
  const auto message =
      TWMessage::withDict({{"subject", "Lunch?"},
                           {"body", "At noon"},
                           {"to_recipients", TWValue::list({"alice@example.com"})}});
  TWError error;
  const bool isSent =
      bob->bulkCreate(nullptr, {message}, "SendOnly", "SendToNone", &error).has_value();
  // It is created, and it is new mail.
  if (isSent)
    watch.waitFor(2, 2);
  else
    std::cerr << error << '\n';
  watch.stop();
  watching.join();
  return isSent;
}

bool watchMailbox(const std::string& address, const std::shared_ptr<TWCredentials>& credentials,
                  const std::string& endpoint, const TWConnectionOptions& connection,
                  const sigset_t& interrupts) {
  TWAccountOptions account;
  account.primarySmtpAddress = address;
  account.credentials = credentials;
  std::shared_ptr<TWProtocol> server;
  if (!endpoint.empty()) {
    server = TWProtocol::withServiceEndpoint(endpoint, credentials, {}, connection);
  } else {
    TWAutodiscoverOptions discovery;
    discovery.connection = connection;
    const auto found = TWAutodiscover::discover(address, credentials, discovery);
    if (!found) {
      std::cerr << "no server knows the mailbox " << address << '\n';
      return false;
    }
    account.primarySmtpAddress = found->primarySMTPAddress;
    server = found->protocol;
  }
  Watch watch(account, *server, connection, milliseconds(1000), milliseconds(60000));
  std::thread watching([&] { watch.run(); });
  int signal = 0;
  sigwait(&interrupts, &signal);
  watch.stop();
  watching.join();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  // Before there are threads, which take this over: the signals wait until they are asked for.
  sigset_t interrupts;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  sigaddset(&interrupts, SIGTERM);
  if (argc == 1) return watchSandbox() ? EXIT_SUCCESS : EXIT_FAILURE;
  pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);

  const std::string address = argv[1];
  std::shared_ptr<TWCredentials> credentials;
  TWConnectionOptions connection;
  std::string endpoint;
  for (int i = 2; i + 1 < argc; i += 2) {
    const std::string_view option = argv[i];
    const std::string value = argv[i + 1];
    if (option == "--ca") {
      connection.caFile = value;
    } else if (option == "--server") {
      endpoint = value;
    } else if (option == "--password-file") {
      if (const auto secret = examples::secretIn(value))
        credentials = TWCredentials::credentialsWithUsernamePassword(address, *secret);
    } else if (option == "--token-file") {
      if (const auto secret = examples::secretIn(value))
        credentials = TWCredentials::credentialsWithUsernameAccessToken(address, *secret);
    }
  }
  if (!credentials) {
    std::cerr << "usage: watch [ADDRESS (--password-file FILE | --token-file FILE) "
                 "[--server ENDPOINT] [--ca FILE]]\n";
    return 2;
  }
  return watchMailbox(address, credentials, endpoint, connection, interrupts) ? EXIT_SUCCESS
                                                                              : EXIT_FAILURE;
}
