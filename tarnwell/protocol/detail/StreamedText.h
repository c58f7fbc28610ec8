#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/protocol/detail/MarkupScanner.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell::detail {

/// Tells of a text that arrives piece by piece whether it is UTF-8 so far.
class UTF8Check {
 public:
  void take(std::span<const std::uint8_t> bytes) noexcept;
  /// False for what is ill-formed, for good, and while the last character is not all there.
  [[nodiscard]] bool isWhole() const noexcept { return isGood_ && missing_ == 0; }

 private:
  void takeByte(std::uint8_t byte) noexcept;

  bool isGood_ = true;
  int missing_ = 0;  // bytes of the character that has begun, the next of them within these two
  std::uint8_t least_ = 0;
  std::uint8_t most_ = 0;
};

/// The text of a stream, from which heartbeats are dropped, and whether it has said something.
///
/// Documents stand between every two blanks, with white space before them or without. They are
/// judged at each arrival as if all of the text had to be read again, but each piece is parsed
/// once, when it can be whole; so the time is in proportion to the bytes.
///
/// A document that is indented is cut into pieces. These are no documents: they are not
/// well-formed, or the prefix of their element is declared nowhere.
class StreamedText {
 public:
  /// True when one of the documents is no heartbeat: a notification, an error, the end of the
  /// stream, or anything else. Nothing is dropped then. False: more has to come, and heartbeats
  /// have been dropped, with all that stood before them.
  ///
  /// Text that is not UTF-8 decides nothing.
  bool take(std::span<const std::uint8_t> bytes);
  [[nodiscard]] const TWData& bytes() const noexcept { return bytes_; }

 private:
  enum class Verdict { undecided, heartbeat, decided };

  [[nodiscard]] std::string_view text() const noexcept;
  bool judge();
  Verdict judgePiece(std::string_view piece);
  void beginPiece(std::size_t start) noexcept;
  void drop(std::size_t count);

  TWData bytes_;
  UTF8Check encoding_;
  std::size_t searched_ = 0;  // no separator of the last piece begins before it
  // Of the last piece.
  std::size_t start_ = 0;
  MarkupScanner markup_;
  bool isBroken_ = false;  // it was whole but no document
};

/// The roots of the documents in what a stream has collected, in order, without heartbeats and
/// without what is no document. One that only closes the stream is among them only when there is
/// nothing else.
[[nodiscard]] std::vector<NKXMLElement> streamedDocuments(const TWData& bytes);

}  // namespace tarnwell::detail
