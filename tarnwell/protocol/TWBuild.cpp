#include "tarnwell/protocol/TWBuild.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <string_view>

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

struct Field {
  std::string_view name;
  std::string_view attribute;
  std::int64_t TWBuild::*member;
};

constexpr std::array<Field, 4> kFields = {{
    {"major_version", "MajorVersion", &TWBuild::major_version},
    {"minor_version", "MinorVersion", &TWBuild::minor_version},
    {"major_build", "MajorBuildNumber", &TWBuild::major_build},
    {"minor_build", "MinorBuildNumber", &TWBuild::minor_build},
}};

struct APIVersion {
  std::int64_t major;
  std::int64_t minor;
  std::string_view name;
};

constexpr std::array<APIVersion, 11> kAPIVersions = {{
    {8, 0, "Exchange2007"},
    {8, 1, "Exchange2007_SP1"},
    {8, 2, "Exchange2007_SP1"},
    {8, 3, "Exchange2007_SP1"},
    {14, 0, "Exchange2010"},
    {14, 1, "Exchange2010_SP1"},
    {14, 2, "Exchange2010_SP2"},
    {14, 3, "Exchange2010_SP2"},
    {15, 0, "Exchange2013"},
    {15, 1, "Exchange2016"},
    {15, 20, "Exchange2016"},
}};

/// Without its fraction, and the nearest that there is; 0 for what is no number.
std::int64_t truncated(double number) {
  using Limits = std::numeric_limits<std::int64_t>;
  constexpr double kEnd = 0x1p63;
  if (std::isnan(number)) return 0;
  if (number < -kEnd) return Limits::min();
  return number < kEnd ? static_cast<std::int64_t>(number) : Limits::max();
}

std::int64_t integerOf(const TWValue& value) {
  if (const auto whole = value.asInteger()) return *whole;
  if (const auto number = value.asDouble()) return truncated(*number);
  return leadingInteger(value.textView());
}

}  // namespace

TWBuild TWBuild::withDict(const TWDictionary& dict) {
  TWBuild build;
  for (const Field& field : kFields) build.*field.member = integerOf(dict[field.name]);
  return build;
}

TWBuild TWBuild::fromXML(const NKXMLElement& serverVersionInfo) {
  TWBuild build;
  for (const Field& field : kFields)
    build.*field.member = leadingInteger(
        serverVersionInfo.attributeForName(field.attribute).stringValue().value_or(""));
  return build;
}

int TWBuild::compare(const TWBuild& other) const noexcept {
  const auto order = *this <=> other;
  return std::is_lt(order) ? -1 : std::is_gt(order) ? 1 : 0;
}

bool TWBuild::isLessThan(const std::optional<TWBuild>& other) const noexcept {
  return other && compare(*other) < 0;
}

bool TWBuild::isLessThanOrEqualTo(const std::optional<TWBuild>& other) const noexcept {
  return other && compare(*other) <= 0;
}

bool TWBuild::isGreaterThan(const std::optional<TWBuild>& other) const noexcept {
  return other && compare(*other) > 0;
}

bool TWBuild::isGreaterThanOrEqualTo(const std::optional<TWBuild>& other) const noexcept {
  return other && compare(*other) >= 0;
}

std::size_t TWBuild::hash() const noexcept {
  std::uint64_t hash = 1;
  for (const Field& field : kFields)
    hash = hash * 17 + static_cast<std::uint64_t>(this->*field.member);
  return hash * 17;
}

std::optional<std::string> TWBuild::apiVersion() const {
  // 2013 SP1 kept the minor version of 2013 and is told by its build number.
  if (major_version == 15 && minor_version == 0 && major_build > 846) return "Exchange2013_SP1";
  const auto* const found = std::ranges::find_if(kAPIVersions, [this](const APIVersion& row) {
    return row.major == major_version && row.minor == minor_version;
  });
  if (found == kAPIVersions.end()) return std::nullopt;
  return std::string(found->name);
}

std::string TWBuild::description() const {
  // Printed as unsigned numbers, which no real build tells from signed ones.
  const auto text = [](std::int64_t number) {
    return std::to_string(static_cast<std::uint64_t>(number));
  };
  return formatMessage("%@: (%@, %@, %@, %@)", {"TWBuild", text(major_version), text(minor_version),
                                                text(major_build), text(minor_build)});
}

std::ostream& operator<<(std::ostream& stream, const TWBuild& build) {
  return stream << build.description();
}

}  // namespace tarnwell
