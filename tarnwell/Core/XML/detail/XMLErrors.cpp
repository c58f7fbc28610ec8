#include "tarnwell/Core/XML/detail/XMLErrors.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <libxml/globals.h>

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/Core/XML/detail/XMLText.h"

namespace tarnwell::detail {

namespace {

struct Record {
  int code = XML_ERR_OK;
  std::string message;
};
thread_local Record record;

}  // namespace

void keepXMLError(int code, const char* message) noexcept {
  record.code = code;
  record.message = trimmed(message == nullptr ? std::string_view() : message);
}

void keepXMLError(void* /*context*/, xmlError* error) noexcept {
  if (error == nullptr) return forgetXMLError();
  keepXMLError(error->code, error->message);
}

void forgetXMLError() noexcept {
  record.code = XML_ERR_OK;
  record.message.clear();
}

TWError lastXMLError() {
  if (record.code == XML_ERR_OK) return {};
  return {NKXMLErrorDomain, record.code, record.message};
}

#ifndef NDEBUG
void programmingError(const char* where, const char* message) noexcept {
  static_cast<void>(std::fprintf(stderr, "%s: %s\n", where, message));
  std::abort();
}
#endif

}  // namespace tarnwell::detail
