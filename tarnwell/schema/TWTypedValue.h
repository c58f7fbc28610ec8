#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tarnwell/time/TWInstant.h"
#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {
namespace detail {

/// How a value reads as a `T`: by the accessor of `TWValue` for that kind.
template <class T>
struct ValueReader;

template <>
struct ValueReader<bool> {
  static std::optional<bool> read(const TWValue& value) { return value.asBool(); }
};
template <std::integral I>
struct ValueReader<I> {
  /// Absent when the number is out of the type's range.
  static std::optional<I> read(const TWValue& value) {
    const auto number = value.asInteger();
    if (!number || !std::in_range<I>(*number)) return std::nullopt;
    return static_cast<I>(*number);
  }
};
template <>
struct ValueReader<double> {
  static std::optional<double> read(const TWValue& value) { return value.asDouble(); }
};
template <>
struct ValueReader<std::string> {
  static std::optional<std::string> read(const TWValue& value) { return value.asText(); }
};
template <>
struct ValueReader<TWInstant> {
  static std::optional<TWInstant> read(const TWValue& value) { return value.asDate(); }
};
template <>
struct ValueReader<TWTimeZone> {
  static std::optional<TWTimeZone> read(const TWValue& value) { return value.asTimeZone(); }
};
template <>
struct ValueReader<TWData> {
  static std::optional<TWData> read(const TWValue& value) {
    const auto data = value.asData();
    return data ? std::optional(*data) : std::nullopt;
  }
};
template <std::derived_from<TWXMLObject> T>
struct ValueReader<std::shared_ptr<T>> {
  static std::shared_ptr<T> read(const TWValue& value) { return value.asObject<T>(); }
};
template <class T>
struct ValueReader<std::vector<T>> {
  static std::optional<std::vector<T>> read(const TWValue& value) {
    const auto list = value.asList();
    if (!list) return std::nullopt;
    std::vector<T> entries;
    entries.reserve(list->size());
    for (const auto& member : *list) {
      auto entry = ValueReader<T>::read(member);
      if (!entry) return std::nullopt;
      if constexpr (std::same_as<decltype(entry), std::optional<T>>)
        entries.push_back(*std::move(entry));
      else
        entries.push_back(std::move(entry));
    }
    return entries;
  }
};

}  // namespace detail

/// `std::optional<T>`, or a pointer that may be null.
template <class T>
using TWTypedValue = decltype(detail::ValueReader<T>::read(std::declval<const TWValue&>()));

/// The value as a `T`; see `TWEWSElement::get`.
template <class T>
[[nodiscard]] TWTypedValue<T> typedValue(const TWValue& value) {
  return detail::ValueReader<T>::read(value);
}

}  // namespace tarnwell
