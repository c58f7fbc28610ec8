// Reading and printing date-times, with ICU's formatters beside them as the measure.
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/TWTimeZone.h"

namespace {

using tarnwell::TWDateTime;
using tarnwell::TWInstant;
using tarnwell::TWTimeZone;

constexpr const char* kText = "2020-07-15T12:20:30+02:00";
constexpr TWInstant kInstant{std::chrono::seconds(1594808430)};

std::unique_ptr<icu::SimpleDateFormat> makeFormat() {
  UErrorCode status = U_ZERO_ERROR;
  auto format = std::make_unique<icu::SimpleDateFormat>(
      icu::UnicodeString("yyyy-MM-dd'T'HH:mm:ssZZZZZ"), icu::Locale("en_US_POSIX"), status);
  format->adoptTimeZone(icu::TimeZone::createTimeZone("Europe/Berlin"));
  format->setLenient(false);
  return format;
}

void BM_DateTimeFromString(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(TWDateTime::dateTimeFromString(kText));
}
BENCHMARK(BM_DateTimeFromString);

void BM_DateTimeFromStringByKeptIcuFormat(benchmark::State& state) {
  const auto format = makeFormat();
  for ([[maybe_unused]] auto _ : state) {
    icu::ParsePosition position(0);
    benchmark::DoNotOptimize(format->parse(icu::UnicodeString::fromUTF8(kText), position));
  }
}
BENCHMARK(BM_DateTimeFromStringByKeptIcuFormat);

void BM_DateTimeFromStringByNewIcuFormat(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    icu::ParsePosition position(0);
    benchmark::DoNotOptimize(makeFormat()->parse(icu::UnicodeString::fromUTF8(kText), position));
  }
}
BENCHMARK(BM_DateTimeFromStringByNewIcuFormat);

void BM_Iso8601String(benchmark::State& state) {
  TWTimeZone::setDefaultZone(TWTimeZone::fromTimeZone("Europe/Berlin").value());
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(TWDateTime::iso8601String(kInstant));
}
BENCHMARK(BM_Iso8601String);

std::string printed(const icu::SimpleDateFormat& format) {
  icu::UnicodeString target;
  format.format(static_cast<UDate>(kInstant.time_since_epoch().count()), target);
  std::string out;
  return target.toUTF8String(out);
}

void BM_Iso8601StringByKeptIcuFormat(benchmark::State& state) {
  const auto format = makeFormat();
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(printed(*format));
}
BENCHMARK(BM_Iso8601StringByKeptIcuFormat);

void BM_Iso8601StringByNewIcuFormat(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(printed(*makeFormat()));
}
BENCHMARK(BM_Iso8601StringByNewIcuFormat);

void BM_DateFromString(benchmark::State& state) {
  TWTimeZone::setDefaultZone(TWTimeZone::fromTimeZone("Europe/Berlin").value());
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(TWDateTime::dateFromString("2020-07-15"));
}
BENCHMARK(BM_DateFromString);

void BM_ZoneFromWindowsName(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state)
    benchmark::DoNotOptimize(TWTimeZone::fromMSTimeZone("W. Europe Standard Time"));
}
BENCHMARK(BM_ZoneFromWindowsName);

void BM_WindowsNameOfZone(benchmark::State& state) {
  const TWTimeZone zone = TWTimeZone::fromTimeZone("Europe/Berlin").value();
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(zone.mszone());
}
BENCHMARK(BM_WindowsNameOfZone);

}  // namespace
