#include "tarnwell/transport/detail/Unpacker.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include <zlib.h>

namespace tarnwell::detail {
namespace {

/// The largest window, and the header tells which of the two forms it is.
constexpr int kWindowAndBothForms = MAX_WBITS + 32;

}  // namespace

struct Unpacker::Stream {
  z_stream z{};
  std::array<std::uint8_t, 65536> out{};
};

Unpacker::Unpacker() : stream_(std::make_unique<Stream>()) {
  if (inflateInit2(&stream_->z, kWindowAndBothForms) != Z_OK) throw std::bad_alloc();
}

Unpacker::~Unpacker() { inflateEnd(&stream_->z); }

bool Unpacker::unpack(std::span<const std::uint8_t> piece, const Taker& take) {
  z_stream& z = stream_->z;
  auto& out = stream_->out;
  while (!piece.empty()) {
    // Data behind an end begins another member of the same body.
    if (complete_ && z.total_in > 0 && inflateReset(&z) != Z_OK) return false;
    complete_ = false;
    const auto given = std::min<std::size_t>(piece.size(), std::numeric_limits<uInt>::max());
    z.next_in = const_cast<Bytef*>(piece.data());  // it only reads
    z.avail_in = static_cast<uInt>(given);
    do {
      z.next_out = out.data();
      z.avail_out = static_cast<uInt>(out.size());
      const int result = inflate(&z, Z_NO_FLUSH);
      if (result == Z_MEM_ERROR) throw std::bad_alloc();
      // That nothing more could be done is no error: the piece was used up exactly.
      if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return false;
      complete_ = result == Z_STREAM_END;
      const std::size_t got = out.size() - z.avail_out;
      if (got > 0 && !take({out.data(), got})) return false;
    } while (!complete_ && z.avail_out == 0);
    piece = piece.subspan(given - z.avail_in);
  }
  return true;
}

}  // namespace tarnwell::detail
