#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell::sandbox {

/// What an id names. Every object of the store has a number of its own, whatever it is.
enum class IdKind : char {
  item = 'I',
  folder = 'F',
  attachment = 'A',
  changeKey = 'C',
  conversation = 'V',
  subscription = 'S',
};

struct Id {
  IdKind kind = IdKind::item;
  std::uint64_t number = 0;
};

/// The opaque text that clients see.
[[nodiscard]] std::string idText(IdKind kind, std::uint64_t number);
/// Absent when no server like this one made that text.
[[nodiscard]] std::optional<Id> readId(std::string_view text);

}  // namespace tarnwell::sandbox
