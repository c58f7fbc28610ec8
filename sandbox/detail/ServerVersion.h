#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tarnwell::sandbox {

/// The schemas that requests can ask for, from the oldest to the newest.
enum class Schema {
  exchange2007,
  exchange2007Sp1,
  exchange2010,
  exchange2010Sp1,
  exchange2010Sp2,
  exchange2013,
  exchange2013Sp1,
  exchange2015,
  exchange2016,
};

/// The name that RequestServerVersion has for it.
[[nodiscard]] std::string_view schemaName(Schema schema);
/// Null when no schema has that name.
[[nodiscard]] const Schema* findSchema(std::string_view name);

/// A server that the sandbox can be.
struct ServerVersion {
  std::string_view key;
  /// The newest schema that it knows. Later service packs brought none of their own.
  Schema schema;
  int majorVersion;
  int minorVersion;
  int majorBuild;
  int minorBuild;

  /// Exchange 2007 names its build only.
  [[nodiscard]] bool sendsVersionText() const noexcept { return schema >= Schema::exchange2010; }
};

/// From the oldest to the newest.
[[nodiscard]] std::span<const ServerVersion> serverVersions();
/// Null when there is none of that key.
[[nodiscard]] const ServerVersion* findServerVersion(std::string_view key);

}  // namespace tarnwell::sandbox
