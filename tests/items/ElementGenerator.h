#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>

#include "tarnwell/schema/TWEWSElement.h"

namespace tarnwell::test {

/// Makes elements of any class with arbitrary values in their fields. The same seed makes the same
/// elements on every machine.
class ElementGenerator {
 public:
  explicit ElementGenerator(std::uint32_t seed) : random_(seed) {}

  /// An element of that class in which about `share` of a hundred fields are set, and all that are
  /// required, but none that only the server sets.
  [[nodiscard]] std::shared_ptr<TWEWSElement> element(const TWElementClass& cls, unsigned share);
  /// A value that the field takes and that reads as it was written; absent for fields that have
  /// none, such as lists that are written as one text.
  [[nodiscard]] TWValue value(const TWField& field);

 private:
  /// Below `end`.
  [[nodiscard]] std::size_t number(std::size_t end) { return random_() % end; }
  /// Not blank, and without what the writer leaves out.
  [[nodiscard]] std::string text();
  [[nodiscard]] TWList list(const TWElementClass& cls);

  std::mt19937 random_;
};

}  // namespace tarnwell::test
