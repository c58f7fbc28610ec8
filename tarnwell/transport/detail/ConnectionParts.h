#pragma once

#include <optional>

#include "tarnwell/transport/detail/HTTPTransfer.h"

namespace tarnwell {

class TWCredentials;
struct TWConnectionOptions;

namespace detail {

/// What the options of a connection mean for a transfer.
[[nodiscard]] HTTPTransferOptions transferOptions(const TWConnectionOptions& options);

/// What answers a challenge for a password: absent without credentials, and with an access token,
/// which goes in a header of its own.
[[nodiscard]] std::optional<HTTPLogin> passwordLogin(const TWCredentials* credentials);

}  // namespace detail
}  // namespace tarnwell
