#pragma once

#include <cassert>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "tarnwell/util/TWError.h"

namespace tarnwell {

/// One outcome of a bulk call: a `T`, or the error that came in its place.
///
///     const auto sent = account->bulkSend(ids, true, nullptr, &error);
///     if (!sent) return report(error);
///     for (const auto& result : *sent)
///       if (!result) report(result.error());
///
/// The list has a name in this example because C++20 does not keep the temporary alive in
/// `for (... : *account->bulkSend(...))`.
template <class T>
class TWResult {
 public:
  using value_type = T;

  TWResult(T value) : outcome_(std::in_place_index<0>, std::move(value)) {}
  TWResult(TWError error) : outcome_(std::in_place_index<1>, std::move(error)) {}

  /// True when this holds a value.
  [[nodiscard]] bool hasValue() const noexcept { return outcome_.index() == 0; }
  [[nodiscard]] explicit operator bool() const noexcept { return hasValue(); }

  /// The value; asking for it when there is none throws `std::bad_variant_access`.
  [[nodiscard]] const T& value() const& { return std::get<0>(outcome_); }
  [[nodiscard]] T& value() & { return std::get<0>(outcome_); }
  [[nodiscard]] T&& value() && { return std::get<0>(std::move(outcome_)); }
  [[nodiscard]] const T& operator*() const& { return value(); }
  [[nodiscard]] T& operator*() & { return value(); }
  [[nodiscard]] T&& operator*() && { return std::move(*this).value(); }
  [[nodiscard]] const T* operator->() const { return &value(); }
  [[nodiscard]] T* operator->() { return &value(); }
  [[nodiscard]] T valueOr(T fallback) const& { return hasValue() ? value() : std::move(fallback); }

  /// The error; "no error" when this holds a value.
  [[nodiscard]] TWError error() const { return hasValue() ? TWError() : std::get<1>(outcome_); }

  friend bool operator==(const TWResult&, const TWResult&) = default;

 private:
  std::variant<T, TWError> outcome_;
};

/// Outcomes in the order of the inputs, one each.
template <class T>
using TWResults = std::vector<TWResult<T>>;

}  // namespace tarnwell
