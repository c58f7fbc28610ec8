#include "tarnwell/services/TWGetServerTimeZones.h"

#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

const TWServiceClass& TWGetServerTimeZones::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "GetServerTimeZones",
      .elementContainerName = "TimeZoneDefinitions",
      .elementContainerXMLns = kMessagesNamespace,
      .resultsAreObjects = true,
  };
  return *kClass;
}

TWGetServerTimeZones::TWGetServerTimeZones(std::shared_ptr<TWBaseProtocol> protocol)
    : TWEWSService(descriptor(), std::move(protocol)) {}

std::shared_ptr<TWGetServerTimeZones> TWGetServerTimeZones::withProtocol(
    std::shared_ptr<TWBaseProtocol> protocol) {
  return std::make_shared<TWGetServerTimeZones>(std::move(protocol));
}

NKXMLElement TWGetServerTimeZones::getPayload(bool returnFullTimeZoneData) const {
  return TWUtils::createElement(
      rootName(), {{"ReturnFullTimeZoneData", returnFullTimeZoneData ? "true" : "false"}});
}

std::optional<TWList> TWGetServerTimeZones::call(bool returnFullTimeZoneData, TWError* error) {
  // Refused only where the build is known to be older; a server that has not told its build yet is
  // asked.
  if (const auto server = build(); server && server->isLessThan(kExchange2010)) {
    setError(error,
             {TWErrorCode::ErrorMissingArgument,
              formatMessage("%@ is only supported for Exchange 2010 and later", {serviceName()})});
    return std::nullopt;
  }
  return getElements(getPayload(returnFullTimeZoneData), error);
}

TWList TWGetServerTimeZones::getElementsInContainer(const NKXMLElement& container) const {
  TWList zones;
  for (const auto& definition : container.childElements()) {
    const auto id = definition.attributeForName("Id").stringValue();
    const auto name = definition.attributeForName("Name").stringValue();
    if (id && name) zones.push_back(TWValue::list({*id, *name}));
  }
  return zones;
}

}  // namespace tarnwell
