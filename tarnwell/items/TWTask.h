#pragma once

#include <string_view>

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// A task (`t:Task`). It has the fields of every item, in a list of its own.
class TWTask : public detail::ElementKind<TWTask, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
  /// Values of a task's status as EWS spells them.
  [[nodiscard]] static constexpr std::string_view notStarted() noexcept { return "NotStarted"; }
  [[nodiscard]] static constexpr std::string_view completed() noexcept { return "Completed"; }
};

}  // namespace tarnwell
