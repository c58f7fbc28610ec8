#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/time/detail/DefaultZone.h"

#include "tests/time/DefaultZoneScope.h"

namespace tarnwell::detail {
namespace {

namespace fs = std::filesystem;
using std::chrono::hours;
using std::chrono::seconds;
using std::chrono::sys_seconds;

constexpr sys_seconds kNow{seconds(1594808430)};  // 15 July 2020

// A device of our own: a zone database, a zone file and, when a test wants it, a file with the
// name.
class DefaultZone : public testing::Test {
 protected:
  DefaultZone() {
    std::string pattern = testing::TempDir() + "zonesXXXXXX";
    root_ = mkdtemp(pattern.data());
    write("share/zoneinfo/Europe/Berlin");
    write("share/zoneinfo/Asia/Kolkata");
    write("share/zoneinfo/posix/Asia/Tokyo");
    write("share/zoneinfo/posixrules");
    link("share/zoneinfo/Asia/Calcutta", "Kolkata");
    link("etc/localtime", "../share/zoneinfo/Europe/Berlin");
  }
  ~DefaultZone() override {
    std::error_code ignored;  // what is left lies in the directory for temporary files
    fs::remove_all(root_, ignored);
  }

  [[nodiscard]] fs::path path(const fs::path& relative) const { return root_ / relative; }
  void write(const fs::path& relative, std::string_view text = "TZif") const {
    fs::create_directories(path(relative).parent_path());
    std::ofstream(path(relative)) << text;
  }
  void link(const fs::path& relative, const fs::path& target) const {
    fs::create_directories(path(relative).parent_path());
    fs::remove(path(relative));
    fs::create_symlink(target, path(relative));
  }

  [[nodiscard]] ZoneSources sources(std::optional<std::string> tz = {}) const {
    return {.tz = std::move(tz),
            .localtime = path("etc/localtime"),
            .timezone = path("etc/timezone"),
            .offsetAt = {},
            .now = kNow};
  }
  // With a C library that uses the offsets of that zone.
  [[nodiscard]] ZoneSources sourcesLike(std::string_view zone,
                                        std::optional<std::string> tz) const {
    ZoneSources made = sources(std::move(tz));
    made.offsetAt = [zone = test::zoneNamed(zone)](sys_seconds at) { return zone.offsetAt(at); };
    return made;
  }

 private:
  fs::path root_;
};

TEST_F(DefaultZone, IsTheNameInTZ) {
  EXPECT_EQ(resolveZoneName(sources("Asia/Tokyo")), "Asia/Tokyo");
  EXPECT_EQ(resolveZoneName(sources(":Asia/Tokyo")), "Asia/Tokyo");
  EXPECT_EQ(resolveZoneName(sources("UTC")), "UTC");
  EXPECT_EQ(resolveZoneName(sources("EST5EDT")), "EST5EDT");
  EXPECT_EQ(resolveZoneName(sources("Asia/Calcutta")), "Asia/Calcutta");
}

TEST_F(DefaultZone, IsUtcWhenTZIsEmpty) {
  EXPECT_EQ(resolveZoneName(sources("")), "Etc/UTC");
  EXPECT_EQ(resolveZoneName(sources(":")), "Etc/UTC");
}

TEST_F(DefaultZone, IsTheZoneOfAPathInTZ) {
  for (const char* tz :
       {"/usr/share/zoneinfo/Asia/Tokyo", ":/usr/share/zoneinfo/Asia/Tokyo",
        "/usr/share/zoneinfo/posix/Asia/Tokyo", "/usr/share/zoneinfo/right/Asia/Tokyo",
        "/var/db/timezone/zoneinfo.default/Asia/Tokyo", "posix/Asia/Tokyo"})
    EXPECT_EQ(resolveZoneName(sources(tz)), "Asia/Tokyo") << tz;
  EXPECT_EQ(resolveZoneName(sources(path("share/zoneinfo/posix/Asia/Tokyo"))), "Asia/Tokyo");
}

TEST_F(DefaultZone, FollowsALinkInTZ) {
  link("elsewhere/mine", path("share/zoneinfo/Asia/Kolkata"));
  EXPECT_EQ(resolveZoneName(sources(":" + path("elsewhere/mine").native())), "Asia/Kolkata");
  EXPECT_EQ(resolveZoneName(sources(":" + path("etc/localtime").native())), "Europe/Berlin");
}

TEST_F(DefaultZone, KeepsTheAliasThatALinkNames) {
  link("etc/localtime", "../share/zoneinfo/Asia/Calcutta");
  EXPECT_EQ(resolveZoneName(sources()), "Asia/Calcutta");
}

TEST_F(DefaultZone, FollowsSeveralLinksAndLinkedDirectories) {
  link("etc/second", "../share/zoneinfo/Asia/Kolkata");
  link("etc/localtime", "second");
  EXPECT_EQ(resolveZoneName(sources()), "Asia/Kolkata");
  link("data", "share/zoneinfo");
  link("etc/localtime", "../data/Asia/Kolkata");
  EXPECT_EQ(resolveZoneName(sources()), "Asia/Kolkata");
}

TEST_F(DefaultZone, IsTheSystemsSettingWithoutTZ) {
  EXPECT_EQ(resolveZoneName(sources()), "Europe/Berlin");
}

TEST_F(DefaultZone, IsUtcWhenTZSaysNothing) {
  for (const char* tz :
       {"Foo/Bar", "Etc/Unknown", "/no/such/file", "/usr/share/zoneinfo", "../../etc/passwd", "BST",
        "IST", "SystemV/EST5EDT", "europe/berlin", "Europe/Berlin ", "CET-1CEST", ":CET-1CEST"}) {
    EXPECT_EQ(resolveZoneName(sources(tz)), "Etc/UTC") << tz;
    // Such is what the C library makes of it.
    EXPECT_EQ(resolveZoneName(sourcesLike("Etc/UTC", tz)), "Etc/UTC") << tz;
  }
}

TEST_F(DefaultZone, HasTheOffsetsOfAFileInTZWithoutAName) {
  write("elsewhere/mine");
  const std::string file = path("elsewhere/mine");
  EXPECT_EQ(resolveZoneName(sourcesLike("America/New_York", file)), "America/New_York");
}

TEST_F(DefaultZone, IsAZoneWithTheOffsetsOfARuleInTZ) {
  EXPECT_EQ(resolveZoneName(sourcesLike("Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3")),
            "Europe/Budapest");
  EXPECT_EQ(resolveZoneName(sourcesLike("America/New_York", "EST5EDT4,M3.2.0,M11.1.0")),
            "America/New_York");
  EXPECT_EQ(resolveZoneName(sourcesLike("Asia/Kolkata", "<+0530>-5:30")), "Asia/Calcutta");
  // The sign is the one that POSIX has, west positive, as the C library knows.
  EXPECT_EQ(resolveZoneName(sourcesLike("Etc/GMT+3", "GMT+3")), "Etc/GMT+3");
  EXPECT_EQ(resolveZoneName(sourcesLike("Etc/UTC", "UTC0")), "Etc/UTC");
}

// Central Europe's offsets on the American dates, which is what the C library makes of "CET-1CEST".
seconds ruleWithoutDates(sys_seconds at) {
  using namespace std::chrono;
  const bool summer = (at >= sys_days(2020y / March / 8) && at < sys_days(2020y / November / 1)) ||
                      (at >= sys_days(2021y / March / 14) && at < sys_days(2021y / November / 7));
  return hours(summer ? 2 : 1);
}

TEST_F(DefaultZone, HasThePresentOffsetAndMostOthersWhenNoZoneHasAllOfTheRule) {
  ZoneSources rule = sources("CET-1CEST");
  rule.offsetAt = ruleWithoutDates;
  EXPECT_EQ(resolveZoneName(rule), "Europe/Budapest");
  // When the one is in summer and the other is not, the present counts for more.
  using namespace std::chrono;
  rule.now = sys_days(2020y / October / 29);
  const std::string between = resolveZoneName(rule);
  EXPECT_EQ(test::zoneNamed(between).offsetAt(rule.now), hours(2)) << between;
}

TEST_F(DefaultZone, IsUtcWhenNoZoneHasTheOffsetOfTheRule) {
  ZoneSources odd = sources("XXX-1:23");
  odd.offsetAt = [](sys_seconds) { return seconds(4980); };
  EXPECT_EQ(resolveZoneName(odd), "Etc/UTC");
}

TEST_F(DefaultZone, IsNamedByItsFileWhenTheZoneFileIsACopy) {
  fs::remove(path("etc/localtime"));
  write("etc/localtime");
  write("etc/timezone", "Asia/Tokyo\n");
  EXPECT_EQ(resolveZoneName(sources()), "Asia/Tokyo");
  write("etc/timezone", "No/Such\n");
  EXPECT_EQ(resolveZoneName(sources()), "Etc/UTC");
}

TEST_F(DefaultZone, HasTheOffsetsOfACopyWithoutAName) {
  fs::remove(path("etc/localtime"));
  write("etc/localtime");
  const auto zone = TWTimeZone::fromTimeZone(resolveZoneName(sourcesLike("Asia/Tokyo", {})));
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->offsetAt(kNow), hours(9));
}

seconds offsetOf(const std::string& zone) { return test::zoneNamed(zone).offsetAt(kNow); }

TEST_F(DefaultZone, HasTheOffsetsOfACopyBesideTheNameOfAnotherZone) {
  fs::remove(path("etc/localtime"));
  write("etc/localtime");
  write("etc/timezone", "Etc/UTC\n");
  EXPECT_EQ(offsetOf(resolveZoneName(sourcesLike("Europe/Berlin", {}))), hours(2));
  EXPECT_EQ(resolveZoneName(sourcesLike("Etc/UTC", {})), "Etc/UTC");
}

TEST_F(DefaultZone, HasTheOffsetsOfTheFileThatStandsInForTheOneLinkedTo) {
  write("share/zoneinfo/Etc/UTC");
  link("etc/localtime", "../share/zoneinfo/Etc/UTC");
  for (const auto& tz : {std::optional<std::string>(),
                         std::optional<std::string>(":" + path("etc/localtime").native()),
                         std::optional<std::string>(path("etc/localtime").native())})
    EXPECT_EQ(offsetOf(resolveZoneName(sourcesLike("Europe/Berlin", tz))), hours(2));
  // The other name may still be right.
  write("etc/timezone", "Europe/Berlin\n");
  EXPECT_EQ(resolveZoneName(sourcesLike("Europe/Berlin", {})), "Europe/Berlin");
}

TEST_F(DefaultZone, IsThatOfTheCLibraryWhenTheZoneFileIsGone) {
  fs::remove(path("etc/localtime"));
  write("etc/timezone", "Europe/Berlin\n");
  EXPECT_EQ(resolveZoneName(sourcesLike("Etc/UTC", {})), "Etc/UTC");
}

TEST_F(DefaultZone, IsNoFixedZoneThatHasOneOfTheOffsetsOnly) {
  write("share/zoneinfo/Etc/UTC");
  link("etc/localtime", "../share/zoneinfo/Etc/UTC");
  auto london = sourcesLike("Europe/London", {});
  EXPECT_EQ(offsetOf(resolveZoneName(london)), hours(1));
  london.now += hours(183 * 24);
  const auto zone = test::zoneNamed(resolveZoneName(london));
  EXPECT_EQ(zone.offsetAt(kNow + hours(366 * 24)), hours(1)) << zone;
}

// The system's zones are of a later edition than ICU's, and the country has given summer time up.
TEST_F(DefaultZone, KeepsANameWhoseRulesHaveChangedSince) {
  write("share/zoneinfo/Europe/Berlin");
  link("etc/localtime", "../share/zoneinfo/Europe/Berlin");
  for (const auto offset : {hours(1), hours(2)}) {
    ZoneSources later = sources();
    later.offsetAt = [offset](sys_seconds) { return seconds(offset); };
    EXPECT_EQ(resolveZoneName(later), "Europe/Berlin");
    later.now += hours(183 * 24);
    EXPECT_EQ(resolveZoneName(later), "Europe/Berlin");
  }
}

TEST_F(DefaultZone, IsUtcWhenNothingTellsIt) {
  fs::remove(path("etc/localtime"));
  EXPECT_EQ(resolveZoneName(sources()), "Etc/UTC");
  EXPECT_EQ(resolveZoneName(sources("Foo/Bar")), "Etc/UTC");
  EXPECT_EQ(resolveZoneName({}), "Etc/UTC");
  link("etc/localtime", "localtime");  // a link to itself
  EXPECT_EQ(resolveZoneName(sources()), "Etc/UTC");
}

// The program's environment as a whole, each time in a process of its own.

// This month and that many in all.
bool defaultZoneAgreesWithTheCLibrary(int months) {
  const std::string name = TWTimeZone::defaultZone().name();
  const std::string msName = TWTimeZone::defaultZone().mszone();
  if (name == "Etc/Unknown" || msName == "Etc/Unknown" || name.starts_with('/')) return false;
  const auto now = std::chrono::floor<seconds>(std::chrono::system_clock::now());
  for (int month = 0; month < months; ++month) {
    const sys_seconds at = now + hours(24 * 30 * month);
    const std::time_t time = at.time_since_epoch().count();
    std::tm local{};
    localtime_r(&time, &local);
    if (TWTimeZone::defaultZone().offsetAt(at) != seconds(local.tm_gmtoff)) return false;
  }
  return true;
}

// Whether a process with that TZ passes the check.
void expectDefault(const char* tz, const std::function<bool()>& check) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // NOLINTBEGIN(concurrency-mt-unsafe): the child process has one thread
        if (tz)
          setenv("TZ", tz, 1);
        else
          unsetenv("TZ");
        tzset();
        std::exit(check() ? 0 : 1);
        // NOLINTEND(concurrency-mt-unsafe)
      },
      testing::ExitedWithCode(0), "")
      << (tz ? tz : "(not set)");
}

TEST(DefaultZoneDeathTest, AgreesWithTheCLibraryWhateverTZSays) {
  for (const char* tz :
       {"", ":", ":/etc/localtime", "/etc/localtime", "Europe/Berlin", ":Asia/Kolkata",
        "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT", "EST5", "<+0330>-3:30", "UTC0", "GMT+3",
        "/usr/share/zoneinfo/Asia/Tokyo", "Foo/Bar", "Etc/Unknown", "/no/such/file", "BST", "IST"})
    expectDefault(tz, [] { return defaultZoneAgreesWithTheCLibrary(12); });
  expectDefault(nullptr, [] { return defaultZoneAgreesWithTheCLibrary(12); });
}

TEST(DefaultZoneDeathTest, AgreesWithTheCLibraryNowWhenTZHasARuleWithoutDates) {
  for (const char* tz : {"CET-1CEST", ":CET-1CEST", "EET-2EEST", "NZST-12NZDT", "AEST-10AEDT",
                         "NST3:30NDT", "EST5EDT4"})
    expectDefault(tz, [] { return defaultZoneAgreesWithTheCLibrary(1); });
}

TEST(DefaultZoneDeathTest, IsUtcWhenTZHasAnOffsetOfNoZone) {
  expectDefault("XXX-1:23", [] { return TWTimeZone::defaultZone().name() == "Etc/UTC"; });
}

}  // namespace
}  // namespace tarnwell::detail
