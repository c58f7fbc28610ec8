#include "tarnwell/util/detail/SystemLog.h"

#include <cstdio>
#include <new>
#include <string>

namespace tarnwell::detail {

void systemLog(std::string_view line) noexcept {
  try {
    const std::string whole = std::string(line) + '\n';
    // There is nobody to tell that the log cannot be written.
    (void)std::fwrite(whole.data(), 1, whole.size(), stderr);
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace tarnwell::detail
