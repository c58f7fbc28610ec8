#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

/// What field paths are resolved against: a folder, by the classes of the items in it.
class TWFieldSource {
 public:
  TWFieldSource() = default;
  TWFieldSource(const TWFieldSource&) = delete;
  TWFieldSource& operator=(const TWFieldSource&) = delete;
  virtual ~TWFieldSource() = default;

  /// The field of that name of the first item class that has one. Null with an error
  /// (ErrorValueOutOfRange) when none has.
  [[nodiscard]] virtual std::shared_ptr<const TWField> getItemFieldByFieldName(
      std::string_view name, TWError* error) const = 0;
  /// The version of the account's server; absent when it is not known, which allows everything.
  [[nodiscard]] virtual std::optional<TWVersion> serverVersion() const = 0;
};

}  // namespace tarnwell
