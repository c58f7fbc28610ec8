// A pointer turns into a bool by itself: an error argument that lands in the place of a flag,
// because the flag was forgotten, must not compile.
#include <memory>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "tarnwell/tarnwell.h"

namespace tarnwell {
namespace {

using Credentials = std::shared_ptr<TWCredentials>;
constexpr std::string_view kText;

template <class Flag>
concept EmptiesFolders = requires(TWFolder& folder, Flag flag) {
  folder.empty("HardDelete", flag);
};
template <class Flag>
concept EmptiesByService = requires(TWEmptyFolder& service, Flag flag) {
  service.call({}, "HardDelete", flag);
};
template <class Flag>
concept GetsAttachments = requires(TWGetAttachment& service, Flag flag) {
  service.call({}, flag);
};
template <class Flag>
concept GetsZones = requires(TWGetServerTimeZones& service, Flag flag) {
  service.call(flag);
};
template <class Flag>
concept UpdatesItems = requires(TWUpdateItem& service, Flag flag) {
  service.call({}, kText, kText, kText, flag);
};
template <class Flag>
concept DeletesItems = requires(TWDeleteItem& service, Flag flag) {
  service.call({}, kText, kText, kText, flag);
};
template <class Flag>
concept Posts = requires(TWConnection& connection, Flag flag) {
  connection.post(kText, std::nullopt, kText, flag);
};
template <class Flag>
concept Fetches = requires(TWConnection& connection, Flag flag) {
  connection.fetch(kText, kText, std::nullopt, std::nullopt, flag);
};
template <class Flag>
concept Connects = requires(Credentials credentials, Flag flag) {
  TWConnection::withCredentials(credentials, flag);
};
template <class Flag>
concept ConnectsWithOptions = requires(Credentials credentials, Flag flag) {
  TWConnection::withCredentials(credentials, flag, TWConnectionOptions());
};
template <class Flag>
concept Discovers = requires(Credentials credentials, Flag flag) {
  TWAutodiscover::autodiscoverHostname(kText, kText, credentials, flag);
};

template <class Flag>
constexpr int kTakenBy =
    EmptiesFolders<Flag> + EmptiesByService<Flag> + GetsAttachments<Flag> + GetsZones<Flag> +
    UpdatesItems<Flag> + DeletesItems<Flag> + Posts<Flag> + Fetches<Flag> + Connects<Flag> +
    ConnectsWithOptions<Flag> + Discovers<Flag>;

TEST(Flags, AreNotMadeOfPointers) {
  EXPECT_EQ(kTakenBy<bool>, 11);
  EXPECT_EQ(kTakenBy<TWError*>, 0);
  EXPECT_EQ(kTakenBy<const char*>, 0);
}

}  // namespace
}  // namespace tarnwell
