#pragma once

#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/protocol/TWBuild.h"

namespace tarnwell {

class TWProtocol;

/// What is known of a server: its build, and the name of the API version that requests declare to
/// it ("Exchange2010_SP2"). A value; protocols and accounts replace theirs as a whole.
class TWVersion {
 public:
  /// One row of the table of versions.
  struct Entry {
    std::string_view key;
    /// What is sent; later service packs send an earlier schema's name.
    std::string_view apiVersion;
    std::string_view displayName;
  };

  TWVersion() = default;
  /// A build without an API version takes the build's own.
  explicit TWVersion(std::optional<TWBuild> build,
                     std::optional<std::string> apiVersion = std::nullopt);

  [[nodiscard]] const std::optional<TWBuild>& build() const noexcept { return build_; }
  [[nodiscard]] const std::optional<std::string>& apiVersion() const noexcept {
    return apiVersion_;
  }
  /// The display name of the API version sent, so an SP3 server of 2007 reads "... 2007 SP1".
  /// Absent when that name is no key of the table.
  [[nodiscard]] std::optional<std::string> fullname() const;

  /// All known versions, from the oldest to the newest.
  [[nodiscard]] static const std::vector<Entry>& versions();
  /// The API versions to try, in the order of the table, with its duplicates.
  [[nodiscard]] static const std::vector<std::string>& apiVersions();

  /// True for the tags of internal server versions ("V2_", "V2015_", "V2016_", "V2017_" at the
  /// start), which a server names in answers but must never be sent.
  [[nodiscard]] static bool isInvalidVersionString(std::string_view name);
  /// The version that an answer names in its SOAP header: the build (all zeros without a header),
  /// and the name given there or else the build's own, absent when it has none. An invalid name
  /// (`isInvalidVersionString`) is replaced by the one requested.
  [[nodiscard]] static TWVersion versionFromResponse(std::string_view responseXML,
                                                     std::string_view requestedVersion);
  /// The same from the root element of an answer that is parsed already.
  [[nodiscard]] static TWVersion versionFromResponse(const NKXMLElement& envelope,
                                                     std::string_view requestedVersion);

  /// Finds out the protocol's version and stores it there: from the server's schema document, then,
  /// when the credentials have a user name, by one ResolveNames request whose only use is its
  /// header. Failures leave a default. Blocks for up to two exchanges.
  static void guess(TWProtocol& protocol);
  /// The second half of `guess`: without a hint, starts from the newest API version.
  static void guessVersionFromService(TWProtocol& protocol, const std::optional<std::string>& hint);
  /// The version that the server's schema document ("/EWS/types.xsd") is of; absent when it cannot
  /// be read.
  [[nodiscard]] static std::optional<std::string> getShortnameFromDocs(TWProtocol& protocol);

  friend bool operator==(const TWVersion&, const TWVersion&) = default;
  /// "[TWVersion] NAME (BUILD)".
  [[nodiscard]] std::string description() const;
  friend std::ostream& operator<<(std::ostream& stream, const TWVersion& version);

 private:
  std::optional<TWBuild> build_;
  std::optional<std::string> apiVersion_;
};

}  // namespace tarnwell
