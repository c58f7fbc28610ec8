#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/transport/TWTransport.h"

namespace tarnwell {

class TWBaseProtocol;

/// What a service is bound to: the protocol itself, or an account on it. Tells the service where to
/// post, which version is in use and where a newly learnt one is kept, and who asks.
class TWServiceContext {
 public:
  virtual ~TWServiceContext() = default;

  /// Whose connections carry the requests; null once an account has lost its protocol.
  [[nodiscard]] virtual std::shared_ptr<TWBaseProtocol> serviceProtocol() = 0;
  [[nodiscard]] virtual std::optional<TWVersion> version() const = 0;
  virtual void setVersion(TWVersion version) = 0;
  /// What the envelope's header says of the account; absent for requests that no account is bound
  /// to.
  [[nodiscard]] virtual std::optional<TWEnvelopeContext> envelopeContext() const = 0;
  /// Who asks, for log lines and messages: the user name of a protocol, the address of an account.
  [[nodiscard]] virtual std::optional<std::string> logName() const = 0;
  /// The account in messages about it; absent for a protocol.
  [[nodiscard]] virtual std::optional<std::string> accountDescription() const = 0;
};

}  // namespace tarnwell
