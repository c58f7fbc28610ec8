#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace tarnwell::detail {

/// Unpacks a body in gzip or zlib form that arrives piece by piece, and knows whether it arrived
/// whole, which the transfer library does not tell.
class Unpacker {
 public:
  using Taker = std::function<bool(std::span<const std::uint8_t>)>;

  Unpacker();
  Unpacker(const Unpacker&) = delete;
  Unpacker& operator=(const Unpacker&) = delete;
  ~Unpacker();

  /// Hands out what the next piece holds, as far as it can be unpacked by now. False when the piece
  /// is damaged, and as soon as the taker answers false.
  [[nodiscard]] bool unpack(std::span<const std::uint8_t> piece, const Taker& take);
  /// Whether all that was begun has come to its end, checksums included. True before the first
  /// byte: answers to HEAD name an encoding, too.
  [[nodiscard]] bool isComplete() const noexcept { return complete_; }

 private:
  struct Stream;
  std::unique_ptr<Stream> stream_;
  bool complete_ = true;
};

}  // namespace tarnwell::detail
