#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include <malloc.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessage.h"

#include "benchmarks/Silence.h"
#include "sandbox/SandboxServer.h"

/// The library at work: an account on a sandbox in this process, over HTTP on loopback.
namespace tarnwell::benchmarks {

inline constexpr const char* kAddress = "ann@example.com";
inline constexpr const char* kSandboxToken = "c3ViamVjdA";

/// Ends the program with the error: what cannot be set up cannot be measured.
inline void require(bool good, const TWError& error) {
  if (good) return;
  std::cerr << error << '\n';
  std::exit(1);  // NOLINT(concurrency-mt-unsafe): nothing else is running yet
}

class SandboxAccount {
 public:
  /// The only one of the program, started when first asked for.
  static SandboxAccount& instance() {
    static SandboxAccount shared;
    return shared;
  }

  [[nodiscard]] const std::shared_ptr<TWAccount>& account() const noexcept { return account_; }

  /// A new folder below the inbox.
  [[nodiscard]] std::shared_ptr<TWFolder> newFolder(const std::string& name) const {
    auto folder = TWFolder::make(TWFolder::elementClass(),
                                 {{"name", name}, {"folder_class", "IPF.Note"}}, account_);
    folder->setParent(account_->inbox());
    TWError error;
    const bool saved = folder->save({}, &error);
    require(saved, error);
    return folder;
  }

  /// Messages as somebody writes them; they are not on the server yet.
  [[nodiscard]] TWItems messages(std::size_t count, const std::shared_ptr<TWFolder>& folder) const {
    TWItems messages;
    messages.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
      messages.push_back(TWMessage::withDict(
          {{"folder", folder},
           {"subject", "Quarterly figures & plans, part " + std::to_string(i)},
           {"body",
            "Dear all,\nplease find the figures of the quarter below, and have a look at those of "
            "your department before Friday.\n"},
           {"to_recipients", TWValue::list({"bob@example.com", "carol@example.com"})}}));
    return messages;
  }

  /// Fills a folder, a thousand messages at a time.
  void fill(const std::shared_ptr<TWFolder>& folder, std::size_t count) const {
    constexpr std::size_t kAtATime = 1000;
    for (std::size_t done = 0; done < count; done += kAtATime) {
      TWError error;
      const auto created =
          account_->bulkCreate(folder, messages(std::min(kAtATime, count - done), folder),
                               "SaveOnly", "SendToNone", &error);
      require(created.has_value(), error);
    }
  }

 private:
  static sandbox::SandboxOptions options() {
    sandbox::SandboxOptions options;
    options.mailboxes = {{kAddress, "secret", "Ann"}};
    options.tokens = {{kSandboxToken, kAddress}};
    options.requestLimit = 0;  // remembers none
    return options;
  }

  SandboxAccount() : server_(options()) {
    TWLogger::logger().setDelegate(std::make_shared<Silence>());
    std::string reason;
    if (!server_.start(&reason)) {
      std::cerr << reason << '\n';
      std::exit(1);  // NOLINT(concurrency-mt-unsafe): nothing else is running yet
    }
    TWAccountOptions options;
    options.primarySmtpAddress = kAddress;
    options.credentials =
        TWCredentials::credentialsWithUsernameAccessToken(kAddress, kSandboxToken);
    options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
        server_.url(), options.credentials, TWVersion(TWBuild(15, 1, 225, 42), "Exchange2016"))};
    account_ = TWAccount::withOptions(options);
  }

  sandbox::SandboxServer server_;
  std::shared_ptr<TWAccount> account_;
};

/// What the program has from the heap, large blocks included.
inline double heapBytes() {
  const auto info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

}  // namespace tarnwell::benchmarks
