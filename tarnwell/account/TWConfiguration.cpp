#include "tarnwell/account/TWConfiguration.h"

#include <string>

#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

TWConfiguration TWConfiguration::withCredentials(const std::shared_ptr<TWCredentials>& credentials,
                                                 std::string_view server, bool hasSSL,
                                                 std::optional<std::string_view> serviceEndpoint,
                                                 std::optional<TWVersion> version, bool useCached,
                                                 const TWConnectionOptions& options) {
  const std::string endpoint = serviceEndpoint ? std::string(*serviceEndpoint)
                                               : formatMessage("%@://%@/EWS/Exchange.asmx",
                                                               {hasSSL ? "https" : "http", server});
  if (useCached)
    return {
        TWProtocol::protocolForServiceEndpoint(endpoint, credentials, std::move(version), options)};
  return {TWProtocol::withServiceEndpoint(endpoint, credentials, std::move(version), options)};
}

}  // namespace tarnwell
