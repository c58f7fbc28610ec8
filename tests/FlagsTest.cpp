// A pointer turns into a bool by itself: an error argument that lands in the place of a flag,
// because the flag was forgotten, must not compile. Nor must a number.
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
concept ResolvesNames = requires(TWResolveNames& service, Flag flag) {
  service.call({}, TWList(), flag);
};
template <class Flag>
concept WritesEmptying = requires(TWEmptyFolder& service, Flag flag) {
  service.getPayload({}, "HardDelete", flag);
};
template <class Flag>
concept WritesGetting = requires(TWGetAttachment& service, Flag flag) {
  service.getPayload({}, flag);
};
template <class Flag>
concept WritesZones = requires(TWGetServerTimeZones& service, Flag flag) {
  service.getPayload(flag);
};
template <class Flag>
concept WritesUpdates = requires(TWUpdateItem& service, Flag flag) {
  service.getPayload({}, kText, kText, kText, flag);
};
template <class Flag>
concept WritesDeletions = requires(TWDeleteItem& service, Flag flag) {
  service.getPayload({}, kText, kText, kText, flag);
};
template <class Flag>
concept WritesNames = requires(TWResolveNames& service, Flag flag) {
  service.getPayload({}, {}, flag, std::nullopt, std::nullopt);
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
concept Allows = requires(TWConnection& connection, Flag flag) {
  connection.setAllowInsecureCertificate(flag);
};
template <class Flag>
concept AllowsAll = requires(TWProtocol& protocol, Flag flag) {
  protocol.setAllowsInsecureCertificate(flag);
};
template <class Flag>
concept SaysSsl = requires(TWConnection& connection, Flag flag) {
  connection.setSsl(flag);
};
template <class Flag>
concept Localizes = requires(const TWTimeZone& zone, Flag flag) {
  zone.localize(TWInstant(), flag);
};
template <class Flag>
concept Discovers = requires(Credentials credentials, Flag flag) {
  TWAutodiscover::autodiscoverHostname(kText, kText, credentials, flag);
};

template <class Flag>
constexpr int kTakenByOthers =
    Posts<Flag> + Fetches<Flag> + Connects<Flag> + ConnectsWithOptions<Flag> + Discovers<Flag> +
    Allows<Flag> + AllowsAll<Flag> + SaysSsl<Flag> + Localizes<Flag>;
template <class Flag>
constexpr int kTakenByServices =
    EmptiesFolders<Flag> + EmptiesByService<Flag> + GetsAttachments<Flag> + GetsZones<Flag> +
    UpdatesItems<Flag> + DeletesItems<Flag> + ResolvesNames<Flag> + WritesEmptying<Flag> +
    WritesGetting<Flag> + WritesZones<Flag> + WritesUpdates<Flag> + WritesDeletions<Flag> +
    WritesNames<Flag>;

template <class Service>
concept TakesNoErrorWithOptions = requires(Service& service) {
  service.call({}, typename Service::Options(), nullptr);
  service.call({}, {}, nullptr);
};

TEST(Flags, ANullPointerInTheirPlaceIsThatOfTheError) {
  EXPECT_TRUE(TakesNoErrorWithOptions<TWResolveNames>);
}

template <class Flag>
constexpr int kTaken = kTakenByOthers<Flag> + kTakenByServices<Flag>;

TEST(Flags, AreBoolsOnly) {
  EXPECT_EQ(kTaken<bool>, 22);
  EXPECT_EQ(kTaken<TWError*>, 0);
  EXPECT_EQ(kTaken<const char*>, 0);
  EXPECT_EQ(kTaken<int>, 0);
  EXPECT_EQ(kTaken<double>, 0);
  EXPECT_EQ(kTaken<TWErrorCode>, 0);
}

}  // namespace
}  // namespace tarnwell
