#include "sandbox/detail/Base64.h"

#include <limits>

#include <openssl/evp.h>

namespace tarnwell::sandbox {

std::string encodeBase64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                   reinterpret_cast<const unsigned char*>(bytes.data()),
                                   static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
  std::string letters;
  letters.reserve(text.size());
  for (const char c : text) {
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') letters += c;
  }
  if (letters.size() % 4 != 0 || letters.size() > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  std::string bytes(letters.size() / 4 * 3, '\0');
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                   reinterpret_cast<const unsigned char*>(letters.data()),
                                   static_cast<int>(letters.size()));
  if (size < 0) return std::nullopt;
  // It decodes the padding as zero bytes.
  const std::size_t padding = letters.ends_with("==") ? 2 : letters.ends_with('=') ? 1 : 0;
  bytes.resize(static_cast<std::size_t>(size) - padding);
  return bytes;
}

}  // namespace tarnwell::sandbox
