#include "tarnwell/account/TWConfiguration.h"

#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

TWConfiguration TWConfiguration::withOptions(const TWConfigurationOptions& options) {
  const std::string endpoint =
      options.serviceEndpoint ? *options.serviceEndpoint
                              : formatMessage("%@://%@/EWS/Exchange.asmx",
                                              {options.hasSSL ? "https" : "http", options.server});
  if (options.useCached)
    return {TWProtocol::protocolForServiceEndpoint(endpoint, options.credentials, options.version,
                                                   options.connection)};
  return {TWProtocol::withServiceEndpoint(endpoint, options.credentials, options.version,
                                          options.connection)};
}

}  // namespace tarnwell
