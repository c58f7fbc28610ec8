#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWItem;

/// An item and the names of its properties to write.
struct TWItemUpdate {
  std::shared_ptr<TWItem> item;
  std::vector<std::string> fieldNames;
};

/// UpdateItem: writes properties of items that are on the server. One without a value is cleared.
class TWUpdateItem : public TWEWSAccountService, public TWServiceStatics<TWUpdateItem> {
 public:
  explicit TWUpdateItem(std::shared_ptr<TWAccount> account);
  [[nodiscard]] static std::shared_ptr<TWUpdateItem> withAccount(
      std::shared_ptr<TWAccount> account);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// What came of each item, in order: its element with the new change key; `true` where the answer
  /// has none, as for one that was sent; or a caught error.
  ///
  /// Errors, before anything is sent: ErrorValueOutOfRange for an item without an id, a field that
  /// is read-only, and one without a value that must have one; those of `TWField::clean`. Names of
  /// no field are ignored.
  [[nodiscard]] std::optional<TWList> call(const std::vector<TWItemUpdate>& updates,
                                           std::string_view conflictResolution,
                                           std::string_view disposition,
                                           std::string_view sendingMeetingInvitesOrCancels,
                                           bool suppressReadReceipts, TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  std::optional<TWList> call(const std::vector<TWItemUpdate>& updates,
                             std::string_view conflictResolution, std::string_view disposition,
                             std::string_view sendingMeetingInvitesOrCancels,
                             auto suppressReadReceipts, TWError* error = nullptr) = delete;
  /// Whether read receipts are suppressed is said to servers from 2013 on.
  [[nodiscard]] NKXMLElement getPayload(const std::vector<TWItemUpdate>& updates,
                                        std::string_view conflictResolution,
                                        std::string_view disposition,
                                        std::string_view sendingMeetingInvitesOrCancels,
                                        bool suppressReadReceipts, TWError* error = nullptr) const;
  NKXMLElement getPayload(const std::vector<TWItemUpdate>& updates,
                          std::string_view conflictResolution, std::string_view disposition,
                          std::string_view sendingMeetingInvitesOrCancels,
                          auto suppressReadReceipts, TWError* error = nullptr) const = delete;
  /// `t:SetItemField` and `t:DeleteItemField` elements, in the order of the class's fields. A field
  /// that is cleared, and has no entries, gets both: deleted, then set to nothing, deliberately.
  /// Absent with an error.
  [[nodiscard]] std::optional<std::vector<NKXMLElement>> getItemUpdateElems(
      const TWItem& item, const std::vector<std::string>& names, TWError* error = nullptr) const;

 protected:
  /// `true` for a container that is empty.
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
