#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// GetStreamingEvents: waits until something happens for subscriptions. The server ends the wait
/// after a quarter of an hour if nothing does.
///
/// The call has no time limit of its own, and holds the ordinary connection of the account's
/// protocol as long as it lasts, so that other requests on it wait: whoever does more than to watch
/// gives the watching account a protocol of its own (`TWProtocol::withServiceEndpoint`). Another
/// thread ends it at once by `cancel` of that connection.
class TWGetEvents : public TWEWSAccountService, public TWServiceStatics<TWGetEvents> {
 public:
  explicit TWGetEvents(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWGetEvents> withAccount(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// The `m:Notification` elements, in order: in each the id of its subscription and its events. An
  /// error that came together with notifications stands among them, in order.
  ///
  /// Errors, besides those of `TWEWSService`: 2 (ErrorTransport) when the server has ended the wait
  /// before anything happened; 395 (ErrorSOAP) when the answer broke off or never began;
  /// `TWHTTPErrorCancelled`.
  [[nodiscard]] std::optional<TWList> call(const std::vector<std::string>& subscriptionIds,
                                           TWError* error = nullptr);
  [[nodiscard]] static NKXMLElement getPayload(const std::vector<std::string>& subscriptionIds);
};

}  // namespace tarnwell
