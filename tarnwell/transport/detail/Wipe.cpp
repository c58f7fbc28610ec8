#include "tarnwell/transport/detail/Wipe.h"

#include <openssl/crypto.h>

namespace tarnwell::detail {

void wipe(std::string& text) noexcept {
  OPENSSL_cleanse(text.data(), text.size());
  text.clear();
}

}  // namespace tarnwell::detail
