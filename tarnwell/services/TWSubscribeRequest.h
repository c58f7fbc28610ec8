#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

/// Subscribe, for streaming: from now on the server notes what happens in folders, for
/// `TWGetEvents` to tell. Servers know it from Exchange 2010 SP1 on. A subscription that nobody
/// asks for goes by itself, after half an hour or so.
class TWSubscribeRequest : public TWEWSFolderService, public TWServiceStatics<TWSubscribeRequest> {
 public:
  [[nodiscard]] static std::shared_ptr<TWSubscribeRequest> withAccount(
      std::shared_ptr<TWAccount> account, TWFolders folders);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// The `m:SubscriptionId` element, whose text is the subscription's id.
  /// @param eventTypes  "NewMailEvent" and the like, in the order in which they are sent.
  [[nodiscard]] std::optional<TWList> call(const std::vector<std::string>& eventTypes,
                                           TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const std::vector<std::string>& eventTypes,
                                        TWError* error = nullptr) const;

 protected:
  /// The container itself: there is nothing but text in it.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;

 private:
  TWSubscribeRequest(std::shared_ptr<TWAccount> account, TWFolders folders);
};

}  // namespace tarnwell
