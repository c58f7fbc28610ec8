#include "tarnwell/protocol/detail/StreamedText.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/detail/XMLOutline.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell::detail {
namespace {

constexpr std::string_view kSeparator = "  ";
constexpr std::string_view kWhite = " \t\r\n";

/// That of the response code, the status and the notifications. The events, which may be many, are
/// deeper: a tree of them would take far longer than to check them does.
constexpr int kJudgedDepth = 6;
/// Beyond what a document can have.
constexpr int kWholeDepth = std::numeric_limits<int>::max();

/// What a document of a stream is. What is none of the others ends the wait, too, but has no name.
enum class Kind { heartbeat, closing, other };

Kind kindOf(const NKXMLElement& root) {
  const auto message = root.elementForName("Body", kSoapNamespace)
                           .elementForName("GetStreamingEventsResponse", kMessagesNamespace)
                           .elementForName("ResponseMessages", kMessagesNamespace)
                           .elementForName("GetStreamingEventsResponseMessage", kMessagesNamespace);
  // An error counts whatever the status beside it says.
  const auto code = message.elementForName("ResponseCode", kMessagesNamespace);
  if (code && code.stringValue() != "NoError") return Kind::other;
  const auto status = message.elementForName("ConnectionStatus", kMessagesNamespace);
  if (!status) return Kind::other;
  if (status.stringValue() == "OK") return Kind::heartbeat;
  // The stream may close with the last events.
  return message.elementForName("Notifications", kMessagesNamespace) ? Kind::other : Kind::closing;
}

std::string_view textOf(const TWData& bytes) noexcept {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The document that a piece is, down to that depth; invalid when it is none.
NKXMLDocument documentIn(std::string_view piece, int depth) {
  // What keeps the line open may stand before a document, but not before its declaration.
  piece.remove_prefix(std::min(piece.find_first_not_of(kWhite), piece.size()));
  auto document = readOutline(piece, depth);
  // Where a document is indented, an element on a line of its own is a piece, and parses. The
  // document has declared its prefix, the piece has not.
  const auto root = document.rootElement();
  const bool isPart =
      root && !root.URI() && root.name().value_or("").find(':') != std::string::npos;
  return isPart ? NKXMLDocument() : document;
}

}  // namespace

void UTF8Check::take(std::span<const std::uint8_t> bytes) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word = 0;
  for (std::size_t at = 0; at < bytes.size() && isGood_;) {
    if (missing_ == 0 && bytes.size() - at >= sizeof word) {
      std::memcpy(&word, bytes.data() + at, sizeof word);
      if ((word & kHighBits) == 0) {
        at += sizeof word;
        continue;
      }
    }
    takeByte(bytes[at++]);
  }
}

void UTF8Check::takeByte(std::uint8_t byte) noexcept {
  if (missing_ > 0) {
    isGood_ = byte >= least_ && byte <= most_;
    --missing_;
  } else if (byte >= 0x80) {
    isGood_ = byte >= 0xC2 && byte <= 0xF4;
    missing_ = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
  }
  // Neither longer than need be, nor surrogates, nor beyond the last character.
  least_ = byte == 0xE0 ? 0xA0 : byte == 0xF0 ? 0x90 : 0x80;
  most_ = byte == 0xED ? 0x9F : byte == 0xF4 ? 0x8F : 0xBF;
}

bool StreamedText::take(std::span<const std::uint8_t> bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  encoding_.take(bytes);
  return encoding_.isWhole() && judge();
}

std::string_view StreamedText::text() const noexcept { return textOf(bytes_); }

bool StreamedText::judge() {
  std::size_t heard = 0;  // the end of the last heartbeat
  for (;;) {
    const auto end = text().find(kSeparator, searched_);
    const auto verdict = judgePiece(text().substr(start_, end - start_));
    if (verdict == Verdict::decided) return true;
    const bool isLast = end == std::string_view::npos;
    const auto next = isLast ? bytes_.size() : end + kSeparator.size();
    if (verdict == Verdict::heartbeat) heard = next;
    if (isLast) break;
    beginPiece(next);
  }
  // The last byte may be the first half of a separator.
  searched_ = std::max(start_, bytes_.size() - std::min<std::size_t>(bytes_.size(), 1));
  if (heard != 0) drop(heard);
  return false;
}

StreamedText::Verdict StreamedText::judgePiece(std::string_view piece) {
  if (isBroken_) return Verdict::undecided;
  markup_.advance(piece);
  if (!markup_.isWhole()) return Verdict::undecided;
  const auto document = documentIn(piece, kJudgedDepth);
  isBroken_ = !document;
  if (isBroken_) return Verdict::undecided;
  return kindOf(document.rootElement()) == Kind::heartbeat ? Verdict::heartbeat : Verdict::decided;
}

void StreamedText::beginPiece(std::size_t start) noexcept {
  start_ = start;
  searched_ = start;
  markup_ = {};
  isBroken_ = false;
}

void StreamedText::drop(std::size_t count) {
  // What stands behind the last heartbeat is the beginning of the next document, or white space.
  const bool holdsMore = text().find_first_not_of(kWhite, count) != std::string_view::npos;
  if (!holdsMore) {
    bytes_.clear();
    beginPiece(0);
    return;
  }
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(count));
  start_ -= count;
  searched_ -= count;
}

std::vector<NKXMLElement> streamedDocuments(const TWData& bytes) {
  std::vector<NKXMLElement> told;
  NKXMLElement closing;
  const auto text = textOf(bytes);
  for (std::size_t start = 0; start < text.size();) {
    const auto end = std::min(text.find(kSeparator, start), text.size());
    const auto piece = text.substr(start, end - start);
    start = end + kSeparator.size();
    MarkupScanner markup;
    markup.advance(piece);
    if (!markup.isWhole()) continue;
    const auto document = documentIn(piece, kWholeDepth);
    if (!document) continue;
    const auto kind = kindOf(document.rootElement());
    if (kind == Kind::other) told.push_back(document.rootElement());
    if (kind == Kind::closing) closing = document.rootElement();
  }
  if (told.empty() && closing) told.push_back(closing);
  return told;
}

}  // namespace tarnwell::detail
