#pragma once

#include "tarnwell/transport/TWHeaders.h"

namespace tarnwell::detail {

/// What a SOAP request carries when it is given no headers.
[[nodiscard]] inline const TWHeaders& defaultHeaders() {
  static const auto* const headers = new TWHeaders{{"Content-Type", "text/xml; charset=utf-8"},
                                                   {"Accept-Encoding", "compress, gzip"}};
  return *headers;
}

}  // namespace tarnwell::detail
