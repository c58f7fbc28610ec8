#include "tarnwell/transport/detail/ConnectionParts.h"

#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/transport/TWConnection.h"

namespace tarnwell::detail {

HTTPTransferOptions transferOptions(const TWConnectionOptions& options) {
  return {options.caFile, options.proxy, options.connectTo};
}

std::optional<HTTPLogin> passwordLogin(const TWCredentials* credentials) {
  if (credentials == nullptr || credentials->useOAuth2()) return std::nullopt;
  return HTTPLogin{credentials->username(), credentials->password()};
}

}  // namespace tarnwell::detail
