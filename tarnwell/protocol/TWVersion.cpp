#include "tarnwell/protocol/TWVersion.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <utility>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

TWVersion::TWVersion(std::optional<TWBuild> build, std::optional<std::string> apiVersion)
    : build_(build), apiVersion_(std::move(apiVersion)) {
  if (build_ && !apiVersion_) apiVersion_ = build_->apiVersion();
}

std::optional<std::string> TWVersion::fullname() const {
  const auto found = std::ranges::find_if(
      versions(), [this](const Entry& entry) { return apiVersion_ == entry.key; });
  if (found == versions().end()) return std::nullopt;
  return std::string(found->displayName);
}

const std::vector<TWVersion::Entry>& TWVersion::versions() {
  static const auto* const kVersions = new std::vector<Entry>{
      {"Exchange2007", "Exchange2007", "Microsoft Exchange Server 2007"},
      {"Exchange2007_SP1", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP1"},
      {"Exchange2007_SP2", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP2"},
      {"Exchange2007_SP3", "Exchange2007_SP1", "Microsoft Exchange Server 2007 SP3"},
      {"Exchange2010", "Exchange2010", "Microsoft Exchange Server 2010"},
      {"Exchange2010_SP1", "Exchange2010_SP1", "Microsoft Exchange Server 2010 SP1"},
      {"Exchange2010_SP2", "Exchange2010_SP2", "Microsoft Exchange Server 2010 SP2"},
      {"Exchange2010_SP3", "Exchange2010_SP2", "Microsoft Exchange Server 2010 SP3"},
      {"Exchange2013", "Exchange2013", "Microsoft Exchange Server 2013"},
      {"Exchange2013_SP1", "Exchange2013_SP1", "Microsoft Exchange Server 2013 SP1"},
      {"Exchange2015", "Exchange2015", "Microsoft Exchange Server 2015"},
      {"Exchange2015_SP1", "Exchange2015_SP1", "Microsoft Exchange Server 2015 SP1"},
      {"Exchange2016", "Exchange2016", "Microsoft Exchange Server 2016"},
  };
  return *kVersions;
}

const std::vector<std::string>& TWVersion::apiVersions() {
  static const auto* const kNames = [] {
    auto* names = new std::vector<std::string>();
    for (const Entry& entry : versions()) names->emplace_back(entry.apiVersion);
    return names;
  }();
  return *kNames;
}

bool TWVersion::isInvalidVersionString(std::string_view name) {
  constexpr std::array<std::string_view, 4> kPrefixes = {"V2_", "V2015_", "V2016_", "V2017_"};
  return std::ranges::any_of(kPrefixes,
                             [name](std::string_view prefix) { return name.starts_with(prefix); });
}

TWVersion TWVersion::versionFromResponse(std::string_view responseXML,
                                         std::string_view requestedVersion) {
  return versionFromResponse(NKXMLDocument::withXMLString(responseXML).rootElement(),
                             requestedVersion);
}

TWVersion TWVersion::versionFromResponse(const NKXMLElement& envelope,
                                         std::string_view requestedVersion) {
  const auto info = envelope.elementForName("Header", kSoapNamespace)
                        .elementForName("ServerVersionInfo", kTypesNamespace);
  const auto build = TWBuild::fromXML(info);
  auto apiVersion = info.attributeForName("Version").stringValue();
  // An empty name would be sent from now on, and no server takes it.
  if (!apiVersion || apiVersion->empty()) apiVersion = build.apiVersion();
  if (apiVersion && isInvalidVersionString(*apiVersion)) apiVersion = requestedVersion;
  return TWVersion(build, std::move(apiVersion));
}

void TWVersion::guess(TWProtocol& protocol) {
  const auto shortname = getShortnameFromDocs(protocol);
  const auto found =
      std::ranges::find_if(versions(), [&](const Entry& entry) { return shortname == entry.key; });
  guessVersionFromService(protocol, found == versions().end()
                                        ? std::nullopt
                                        : std::optional<std::string>(found->apiVersion));
}

void TWVersion::guessVersionFromService(TWProtocol& protocol,
                                        const std::optional<std::string>& hint) {
  protocol.setVersion(TWVersion(std::nullopt, hint.value_or(apiVersions().back())));
  const auto credentials = protocol.credentials();
  if (!credentials || credentials->username().empty()) return;
  // Neither the names found nor a failure matter: reading the answer's header stores the version.
  (void)TWResolveNames(protocol.shared_from_this()).call({credentials->username()});
}

std::optional<std::string> TWVersion::getShortnameFromDocs(TWProtocol& protocol) {
  const auto connection = protocol.connection();
  if (!connection) return std::nullopt;
  return connection->get(protocol.typesURL())
      .xmlDoc.rootElement()
      .attributeForName("Version")
      .stringValue();
}

std::string TWVersion::description() const {
  return formatMessage("[%@] %@ (%@)", {"TWVersion", apiVersion_,
                                        build_ ? TWValue(build_->description()) : TWValue()});
}

std::ostream& operator<<(std::ostream& stream, const TWVersion& version) {
  return stream << version.description();
}

}  // namespace tarnwell
