#include "tarnwell/Core/XML/detail/XMLErrors.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <libxml/globals.h>

#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell::detail {

namespace {

struct Record {
  int code = XML_ERR_OK;
  std::string message;
};
thread_local Record record;

void printNothing(void* /*context*/, const char* /*format*/, ...) noexcept {}

}  // namespace

void keepXMLError(int code, const char* message) noexcept {
  record.code = code;
  record.message = trimmed(message == nullptr ? std::string_view() : message);
}

void keepXMLError(void* /*context*/, xmlError* error) noexcept {
  if (error == nullptr) return keepXMLError(XML_ERR_OK, nullptr);
  keepXMLError(error->code, error->message);
}

TWError lastXMLError() {
  if (record.code == XML_ERR_OK) return {};
  return {NKXMLErrorDomain, record.code, record.message};
}

XMLErrorScope::XMLErrorScope() noexcept
    : handler_(xmlStructuredError),
      context_(xmlStructuredErrorContext),
      printer_(xmlGenericError),
      printerContext_(xmlGenericErrorContext) {
  xmlSetStructuredErrorFunc(nullptr, keepXMLError);
  xmlSetGenericErrorFunc(nullptr, printNothing);
}

XMLErrorScope::~XMLErrorScope() {
  xmlSetStructuredErrorFunc(context_, handler_);
  xmlSetGenericErrorFunc(printerContext_, printer_);
}

#ifndef NDEBUG
void programmingError(const char* where, const char* message) noexcept {
  static_cast<void>(std::fprintf(stderr, "%s: %s\n", where, message));
  std::abort();
}
#endif

}  // namespace tarnwell::detail
