#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWFieldPath;
class TWItemEntry;
using TWItemEntries = std::vector<TWItemEntry>;

/// GetItem: items by their ids. Answers come over the protocol's second connection, which ordinary
/// requests need not wait for.
class TWGetItem : public TWEWSAccountService, public TWServiceStatics<TWGetItem> {
 public:
  explicit TWGetItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWGetItem> withAccount(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();
  /// So many ids are put in one request.
  [[nodiscard]] static constexpr std::size_t chunkSize() noexcept { return 100; }

  using Paths = std::vector<std::shared_ptr<TWFieldPath>>;

  /// One XML element, or caught error, for each id, in order; ErrorTransport in the place of one
  /// that the answer does not have. The first request that fails ends the call; no ids are no
  /// request.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntries& ids, const Paths& additionalFields,
                                           std::string_view shape, TWError* error = nullptr);
  /// The same for many items, whose answers take more memory than the items: hands over the results
  /// of each request when they have come. False when a request failed; those before it are handed
  /// over by then.
  using Receiver = std::function<void(const TWList& results)>;
  [[nodiscard]] bool call(const TWItemEntries& ids, const Paths& additionalFields,
                          std::string_view shape, const Receiver& receive,
                          TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntries& ids, const Paths& additionalFields,
                                        std::string_view shape, TWError* error = nullptr) const;

 protected:
  /// An error for a container that is empty.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
