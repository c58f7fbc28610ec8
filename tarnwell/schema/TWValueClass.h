#pragma once

#include <cstdint>

namespace tarnwell {

class TWElementClass;
class TWValue;

/// What a field's value must be an instance of: a plain kind, or an element class.
class TWValueClass {
 public:
  enum class Kind : std::uint8_t { none, number, text, data, date, timeZone, element };

  /// Nothing is an instance of it.
  constexpr TWValueClass() noexcept = default;
  // Implicit: a kind is a class of values
  constexpr TWValueClass(Kind kind) noexcept : kind_(kind) {}
  /// Null gives the class without instances.
  // Implicit: so is a class of elements
  constexpr TWValueClass(const TWElementClass* elements) noexcept
      : kind_(elements == nullptr ? Kind::none : Kind::element), elements_(elements) {}

  [[nodiscard]] constexpr Kind kind() const noexcept { return kind_; }
  /// Null for the plain kinds.
  [[nodiscard]] constexpr const TWElementClass* elementClass() const noexcept { return elements_; }
  /// Booleans are numbers; an element of a derived class is an instance too.
  [[nodiscard]] bool hasInstance(const TWValue& value) const;

 private:
  Kind kind_ = Kind::none;
  const TWElementClass* elements_ = nullptr;
};

}  // namespace tarnwell
