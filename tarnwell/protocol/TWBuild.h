#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/util/TWDictionary.h"

namespace tarnwell {

/// The build of an Exchange server, such as 15.1.225.42, as it names it in `t:ServerVersionInfo`.
/// Builds order field by field; every version gate compares them.
class TWBuild final {
 public:
  std::int64_t major_version = 0;  ///< 8 for Exchange 2007, 14 for 2010, 15 for 2013 and later
  std::int64_t minor_version = 0;  ///< the service pack within the major version
  std::int64_t major_build = 0;
  std::int64_t minor_build = 0;

  constexpr TWBuild() noexcept = default;
  constexpr TWBuild(std::int64_t major, std::int64_t minor, std::int64_t majorBuild = 0,
                    std::int64_t minorBuild = 0) noexcept
      : major_version(major),
        minor_version(minor),
        major_build(majorBuild),
        minor_build(minorBuild) {}

  [[nodiscard]] static constexpr TWBuild buildWithMajorVer(std::int64_t major,
                                                           std::int64_t minorVer,
                                                           std::int64_t majorBuild = 0,
                                                           std::int64_t minorBuild = 0) noexcept {
    return {major, minorVer, majorBuild, minorBuild};
  }
  /// From a dictionary with the names of the fields above; numbers (without their fraction) or
  /// texts, a missing one is 0.
  [[nodiscard]] static TWBuild withDict(const TWDictionary& dict);
  /// From a `t:ServerVersionInfo` element; an attribute that is missing or no number counts as 0.
  [[nodiscard]] static TWBuild fromXML(const NKXMLElement& serverVersionInfo);

  /// -1, 0 or 1.
  [[nodiscard]] int compare(const TWBuild& other) const noexcept;
  /// An absent build is neither less nor greater: all four answer false.
  [[nodiscard]] bool isLessThan(const std::optional<TWBuild>& other) const noexcept;
  [[nodiscard]] bool isLessThanOrEqualTo(const std::optional<TWBuild>& other) const noexcept;
  [[nodiscard]] bool isGreaterThan(const std::optional<TWBuild>& other) const noexcept;
  [[nodiscard]] bool isGreaterThanOrEqualTo(const std::optional<TWBuild>& other) const noexcept;
  [[nodiscard]] bool isEqual(const TWBuild& other) const noexcept { return *this == other; }
  // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the comparison's own zero for a pointer
  friend constexpr auto operator<=>(const TWBuild&, const TWBuild&) noexcept = default;
  [[nodiscard]] std::size_t hash() const noexcept;

  /// The API version that such a server speaks; absent for a build that is not in the table (no
  /// nearest match is sought).
  [[nodiscard]] std::optional<std::string> apiVersion() const;

  /// "TWBuild: (15, 1, 225, 42)".
  [[nodiscard]] std::string description() const;
  friend std::ostream& operator<<(std::ostream& stream, const TWBuild& build);
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::TWBuild> {
  std::size_t operator()(const tarnwell::TWBuild& build) const noexcept { return build.hash(); }
};
