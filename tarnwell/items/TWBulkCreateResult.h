#pragma once

#include <memory>
#include <optional>

#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell {

/// What the server says of an item that it has created: "item_id", "changekey" and "attachments",
/// of which the ids are told. All are missing for an item that was sent without being saved.
class TWBulkCreateResult : public detail::ElementKind<TWBulkCreateResult, TWEWSElement> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();

  /// "item_id" and "changekey"; absent for an item that was not saved.
  [[nodiscard]] std::optional<TWIdPair> idPair() const;

 protected:
  void initFromXML(const NKXMLElement& xml, const std::shared_ptr<TWAccount>& account) override;
};

}  // namespace tarnwell
