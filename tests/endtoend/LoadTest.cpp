#include <cstdlib>
#include <latch>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBulkCreateResult.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/services/TWResolveNames.h"

#include "tests/endtoend/Host.h"

namespace tarnwell {
namespace {

using test::Host;
using Subjects = std::multiset<std::string>;

constexpr int kAccounts = 8;
constexpr int kThreadsOfAccount = 4;

/// TARNWELL_LOAD_ROUNDS sets another number: 60 of them keep two cores busy for about a minute.
int rounds() {
  const char* text =
      std::getenv("TARNWELL_LOAD_ROUNDS");  // NOLINT(concurrency-mt-unsafe): no writer
  return text ? std::atoi(text) : 4;
}

/// Where the items of one mailbox should be, by their subjects.
struct Expected {
  Subjects drafts, inbox, sent, trash;
};

/// Eight mailboxes, each with an account that four threads share.
class Load : public testing::Test {
 protected:
  static std::string mailbox(int account) { return "user" + std::to_string(account); }
  static sandbox::SandboxOptions options(const std::string& storeFile) {
    sandbox::SandboxOptions options;
    for (int i = 0; i < kAccounts; ++i)
      options.mailboxes.push_back({mailbox(i) + "@load.example", "secret", ""});
    options.storeFile = storeFile;
    return options;
  }
  static std::shared_ptr<TWAccount> account(const Host& host, int index) {
    const auto credentials = host.credentials(mailbox(index));
    return TWAccount::withPrimarySMTPAddress(
        host.address(mailbox(index)), {}, TWAccessTypeDefault, false, credentials,
        TWConfiguration{TWProtocol::withServiceEndpoint(
            host.url(), credentials, TWVersion(TWBuild(15, 1)), host.connection())});
  }
  static Subjects subjectsIn(const std::shared_ptr<TWFolder>& folder) {
    Subjects subjects;
    if (!folder) return subjects;
    TWError error;
    const auto entries = folder->all().only({"subject"}).getItems(&error);
    EXPECT_FALSE(error) << error;
    const auto items = folder->account()->fetch(entries.value_or(TWItemEntries()), folder,
                                                TWList{"subject"}, &error);
    EXPECT_FALSE(error) << error;
    for (const auto& entry : items.value_or(TWItemEntries()))
      if (const auto item = entry.item())
        subjects.insert(item->get("subject").asText().value_or(""));
    return subjects;
  }

  /// One pass through all operations; every step has to succeed.
  void work(TWAccount& own, const std::string& recipient, const std::string& subject) const {
    TWError error;
    const auto make = [&](const std::string& suffix) {
      return TWMessage::withDict({{"folder", own.drafts()},
                                  {"subject", subject + suffix},
                                  {"body", "Dear all"},
                                  {"to_recipients", TWValue::list({recipient})}});
    };
    const auto kept = make(" kept");
    ASSERT_TRUE(kept->save(&error)) << error;
    const auto file = TWFileAttachment::withDict({{"name", "file.txt"}});
    ASSERT_TRUE(file->setContent({'A', 'B'}) && kept->attach(file, &error)) << error;
    kept->set("subject", subject + " changed");
    ASSERT_TRUE(kept->save({"subject"}, "AlwaysOverwrite", "SendToNone", &error)) << error;
    ASSERT_TRUE(kept->refresh(&error)) << error;
    EXPECT_EQ(kept->get("subject"), TWValue(subject + " changed"));

    const auto created =
        own.bulkCreate(own.drafts(), {make(" moved"), make(" gone"), make(" sent")}, "SaveOnly",
                       "SendToNone", &error);
    ASSERT_TRUE(created && created->size() == 3) << error;
    TWItemEntries ids;
    for (const auto& each : *created) {
      ASSERT_TRUE(each) << each.error();
      ids.emplace_back(*each.value()->idPair());
    }
    const auto found = own.drafts()->filter({{"subject", subject + " moved"}}).getItems(&error);
    ASSERT_TRUE(found && found->size() == 1) << error;
    const auto moved = own.bulkMove({ids[0]}, own.inbox(), &error);
    ASSERT_TRUE(moved && moved->front()) << error;
    const auto deleted = own.bulkDelete({ids[1]}, "MoveToDeletedItems", "SendToNone",
                                        "AllOccurrences", true, &error);
    ASSERT_TRUE(deleted && deleted->front()) << error;
    const auto sent = own.bulkSend({ids[2]}, true, nullptr, &error);
    ASSERT_TRUE(sent && sent->front()) << error;

    const auto exported = own.exportItems({kept}, &error);
    ASSERT_TRUE(exported && exported->front()) << error;
    const auto uploaded = own.uploadItems({{own.inbox(), exported->front().value()}}, &error);
    ASSERT_TRUE(uploaded && uploaded->front()) << error;
    ASSERT_TRUE(kept->delete_({}, &error)) << error;
    EXPECT_TRUE(TWResolveNames::withProtocol(own.protocol())
                    ->call({"user"}, TWResolveNames::Options(), &error))
        << error;
  }

  /// What the work with that subject leaves behind, at home and with the recipient.
  static void expect(Expected& own, Expected& recipient, const std::string& subject) {
    own.inbox.insert({subject + " moved", subject + " changed"});
    own.trash.insert(subject + " gone");
    own.sent.insert(subject + " sent");
    recipient.inbox.insert(subject + " sent");
  }

  static void compare(const Host& host, const std::vector<Expected>& expected) {
    for (int i = 0; i < kAccounts; ++i) {
      const auto owner = account(host, i);
      const auto& all = expected[static_cast<std::size_t>(i)];
      EXPECT_EQ(subjectsIn(owner->drafts()), all.drafts);
      EXPECT_EQ(subjectsIn(owner->inbox()), all.inbox);
      EXPECT_EQ(subjectsIn(owner->sent()), all.sent);
      EXPECT_EQ(subjectsIn(owner->trash()), all.trash);
    }
  }
};

TEST_F(Load, OfThirtyTwoThreadsOnEightAccountsLosesAndDoublesNothing) {
  const test::TemporaryDirectory directory;
  const auto store = (directory.path() / "mail.sqlite").string();
  std::vector<Expected> expected(kAccounts);
  {
    const Host host("load.example", Host::Scheme::http, options(store));
    std::vector<std::shared_ptr<TWAccount>> accounts;
    for (int i = 0; i < kAccounts; ++i) accounts.push_back(account(host, i));
    std::latch start(std::ptrdiff_t{kAccounts} * kThreadsOfAccount);
    std::vector<std::thread> threads;
    for (int i = 0; i < kAccounts; ++i) {
      const int next = (i + 1) % kAccounts;
      for (int thread = 0; thread < kThreadsOfAccount; ++thread) {
        const auto subject = [thread](int round) {
          return std::to_string(thread) + "." + std::to_string(round);
        };
        for (int round = 0; round < rounds(); ++round)
          expect(expected[static_cast<std::size_t>(i)], expected[static_cast<std::size_t>(next)],
                 mailbox(i) + " " + subject(round));
        threads.emplace_back([&, i, next, subject] {
          start.arrive_and_wait();
          for (int round = 0; round < rounds(); ++round)
            work(*accounts[static_cast<std::size_t>(i)], host.address(mailbox(next)),
                 mailbox(i) + " " + subject(round));
        });
      }
    }
    for (auto& thread : threads) thread.join();
    compare(host, expected);
  }
  // What was acknowledged is in the file too.
  const Host restarted("load.example", Host::Scheme::http, options(store));
  compare(restarted, expected);
}

}  // namespace
}  // namespace tarnwell
