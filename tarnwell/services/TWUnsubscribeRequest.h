#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// Unsubscribe: ends a subscription. A stream of its events then closes.
class TWUnsubscribeRequest : public TWEWSAccountService,
                             public TWServiceStatics<TWUnsubscribeRequest> {
 public:
  explicit TWUnsubscribeRequest(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWUnsubscribeRequest> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// True, once.
  std::optional<TWList> call(std::string_view subscriptionId, TWError* error = nullptr);
  /// Without prefixes, unlike the requests of all other operations, deliberately.
  [[nodiscard]] static NKXMLElement getPayload(std::string_view subscriptionId);
};

}  // namespace tarnwell
