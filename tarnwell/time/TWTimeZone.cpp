#include "tarnwell/time/TWTimeZone.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <utility>

#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "tarnwell/time/detail/DateTimeText.h"
#include "tarnwell/time/detail/DefaultZone.h"
#include "tarnwell/time/detail/WindowsZones.h"

namespace tarnwell {
namespace {

using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::sys_seconds;

struct Offsets {
  seconds standard{0};
  seconds daylightSaving{0};

  [[nodiscard]] seconds total() const noexcept { return standard + daylightSaving; }
};

// ICU counts years in 32 bits, an instant does not. Zones have their first offset before the year
// 1000, and rules repeat with the calendar, every 400 years, long before the year 4000.
constexpr std::int64_t kYear1000 = -30610224000;
constexpr std::int64_t kYear4000 = 64060588800;
constexpr std::int64_t kCalendarCycle = 146097LL * 86400;

std::int64_t instantWithTheSameOffset(std::int64_t instant) noexcept {
  if (instant < kYear1000) return kYear1000;
  if (instant >= kYear4000) return kYear4000 + (instant - kYear4000) % kCalendarCycle;
  return instant;
}

Offsets offsetsAt(const icu::TimeZone* zone, sys_seconds instant) {
  if (!zone) return {};
  std::int32_t raw = 0;
  std::int32_t dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  const std::int64_t asked = instantWithTheSameOffset(instant.time_since_epoch().count());
  zone->getOffset(static_cast<UDate>(asked) * 1000, /*local=*/0, raw, dst, status);
  return U_SUCCESS(status) ? Offsets{seconds(raw / 1000), seconds(dst / 1000)} : Offsets{};
}

// ICU also has ids that are not in the IANA data: abbreviations, of which "BST" would be Dhaka's
// time, and some that the data no longer has or never had.
bool isIcusAlone(std::string_view name) {
  using namespace std::string_view_literals;
  constexpr std::array kThreeLetters = {"CET"sv, "EET"sv, "EST"sv, "GMT"sv, "HST"sv,
                                        "MET"sv, "MST"sv, "PRC"sv, "ROC"sv, "ROK"sv,
                                        "UCT"sv, "UTC"sv, "WET"sv};
  if (name.size() == 3) return std::ranges::find(kThreeLetters, name) == kThreeLetters.end();
  return name.starts_with("SystemV/") || name == "US/Pacific-New" ||
         name == "Canada/East-Saskatchewan";
}

// Null unless the zone data has exactly that name: ICU answers unknown names with a stand-in, and
// makes up zones for texts such as "GMT+3".
std::unique_ptr<const icu::TimeZone> makeZone(std::string_view name) {
  if (isIcusAlone(name)) return nullptr;
  if (name.find('\0') != std::string_view::npos) return nullptr;  // where ICU would stop reading
  const icu::UnicodeString id =
      icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<int>(name.size())));
  icu::UnicodeString canonical;
  UBool isSystemID = 0;
  UErrorCode status = U_ZERO_ERROR;
  icu::TimeZone::getCanonicalID(id, canonical, isSystemID, status);
  if (U_FAILURE(status) || !isSystemID) return nullptr;
  return std::unique_ptr<const icu::TimeZone>(icu::TimeZone::createTimeZone(id));
}

struct DefaultZone {
  std::mutex mutex;
  TWTimeZone zone;
};

// Never destroyed: other threads may print a date while the process ends.
DefaultZone& sharedDefaultZone() {
  static DefaultZone& shared = *[] {
    auto* made = new DefaultZone;
    const std::string name = detail::resolveZoneName(detail::deviceZoneSources());
    made->zone = TWTimeZone::fromTimeZone(name).value_or(TWTimeZone());
    return made;
  }();
  return shared;
}

}  // namespace

struct TWTimeZone::Rep {
  std::string name;
  std::unique_ptr<const icu::TimeZone> zone;
};

TWTimeZone::TWTimeZone(std::shared_ptr<const Rep> rep) noexcept : rep_(std::move(rep)) {}

const TWTimeZone::Rep& TWTimeZone::rep() const noexcept {
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the program ends
  static const Rep& utc = *new Rep{"Etc/UTC", nullptr};
  return rep_ ? *rep_ : utc;
}

std::optional<TWTimeZone> TWTimeZone::fromTimeZone(std::string_view name) {
  auto zone = makeZone(name);
  if (!zone) return std::nullopt;
  return TWTimeZone(std::make_shared<const Rep>(Rep{std::string(name), std::move(zone)}));
}

std::optional<TWTimeZone> TWTimeZone::fromMSTimeZone(std::string_view windowsName) {
  const auto& zones = detail::zonesByWindowsName();
  const auto found = zones.find(windowsName);
  return fromTimeZone(found == zones.end() ? windowsName : found->second);
}

TWTimeZone TWTimeZone::defaultZone() {
  DefaultZone& shared = sharedDefaultZone();
  const std::lock_guard lock(shared.mutex);
  return shared.zone;
}

void TWTimeZone::setDefaultZone(const TWTimeZone& zone) {
  DefaultZone& shared = sharedDefaultZone();
  const std::lock_guard lock(shared.mutex);
  shared.zone = zone;
}

const std::string& TWTimeZone::name() const noexcept { return rep().name; }

std::string TWTimeZone::mszone() const {
  const auto& windowsNames = detail::windowsNamesByZone();
  const auto found = windowsNames.find(name());
  return found == windowsNames.end() ? name() : found->second;
}

seconds TWTimeZone::offsetAt(TWInstant instant) const {
  return offsetsAt(rep().zone.get(), floor<seconds>(instant)).total();
}

seconds TWTimeZone::daylightSavingOffsetAt(TWInstant instant) const {
  return offsetsAt(rep().zone.get(), floor<seconds>(instant)).daylightSaving;
}

std::string TWTimeZone::localize(TWInstant instant, bool isDst) const {
  const icu::TimeZone* zone = rep().zone.get();
  sys_seconds printed = floor<seconds>(instant);
  if (isDst) printed += offsetsAt(zone, printed).daylightSaving;
  // The offset is that of the shifted instant, which may lie behind the end of daylight saving.
  const seconds offset = offsetsAt(zone, printed).total();
  return detail::printLocalized(detail::civilTime((printed.time_since_epoch() + offset).count()),
                                static_cast<int>(offset.count()));
}

bool TWTimeZone::isEqual(const TWTimeZone& other) const noexcept { return name() == other.name(); }

std::ostream& operator<<(std::ostream& stream, const TWTimeZone& zone) {
  return stream << zone.name();
}

}  // namespace tarnwell
