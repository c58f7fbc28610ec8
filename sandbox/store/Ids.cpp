#include "sandbox/store/Ids.h"

#include <charconv>

#include "sandbox/detail/Base64.h"

namespace tarnwell::sandbox {
namespace {

// Eighteen bytes with the kind in front: 24 letters of base64 without padding.
constexpr std::size_t kDigits = 17;
constexpr std::size_t kIdLimit = 512;

}  // namespace

std::string idText(IdKind kind, std::uint64_t number) {
  const std::string digits = std::to_string(number);
  return encodeBase64(static_cast<char>(kind) + std::string(kDigits - digits.size(), '0') + digits);
}

std::optional<Id> readId(std::string_view text) {
  if (text.size() > kIdLimit) return std::nullopt;
  const std::optional<std::string> raw = decodeBase64(text);
  if (!raw || raw->size() != kDigits + 1) return std::nullopt;
  Id id;
  id.kind = static_cast<IdKind>(raw->front());
  switch (id.kind) {
    case IdKind::item:
    case IdKind::folder:
    case IdKind::attachment:
    case IdKind::changeKey:
    case IdKind::conversation:
    case IdKind::subscription:
      break;
    default:
      return std::nullopt;
  }
  const char* const end = raw->data() + raw->size();
  const auto [stopped, problem] = std::from_chars(raw->data() + 1, end, id.number);
  if (problem != std::errc() || stopped != end) return std::nullopt;
  return id;
}

}  // namespace tarnwell::sandbox
