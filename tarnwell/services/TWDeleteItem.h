#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItemEntry;
using TWItemEntries = std::vector<TWItemEntry>;

/// DeleteItem: removes items.
class TWDeleteItem : public TWEWSAccountService, public TWServiceStatics<TWDeleteItem> {
 public:
  explicit TWDeleteItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWDeleteItem> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// `true`, or a caught error, for each id, in order.
  [[nodiscard]] std::optional<TWList> call(const TWItemEntries& ids, std::string_view deleteType,
                                           std::string_view sendMeetingCancellations,
                                           std::string_view affectedOccurrences,
                                           bool suppressReadReceipts, TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  std::optional<TWList> call(const TWItemEntries& ids, std::string_view deleteType,
                             std::string_view sendMeetingCancellations,
                             std::string_view affectedOccurrences, auto suppressReadReceipts,
                             TWError* error = nullptr) = delete;
  /// Whether read receipts are suppressed is said to servers from 2013 on.
  [[nodiscard]] NKXMLElement getPayload(const TWItemEntries& ids, std::string_view deleteType,
                                        std::string_view sendMeetingCancellations,
                                        std::string_view affectedOccurrences,
                                        bool suppressReadReceipts, TWError* error = nullptr) const;
  NKXMLElement getPayload(const TWItemEntries& ids, std::string_view deleteType,
                          std::string_view sendMeetingCancellations,
                          std::string_view affectedOccurrences, auto suppressReadReceipts,
                          TWError* error = nullptr) const = delete;
};

}  // namespace tarnwell
