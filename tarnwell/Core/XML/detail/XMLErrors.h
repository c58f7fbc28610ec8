#pragma once

#include <libxml/xmlerror.h>

#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

/// Receives errors of libxml2 and keeps the last one of each thread; null forgets it.
void keepXMLError(void* context, xmlError* error) noexcept;
void keepXMLError(int code, const char* message) noexcept;
[[nodiscard]] TWError lastXMLError();

/// Keeps errors that libxml2 raises without a context (failed conversions, for instance), and what
/// it prints besides, away from stderr while it is alive. libxml2 has one handler for either on
/// each thread; the handlers of the program around us are put back afterwards.
class XMLErrorScope {
 public:
  XMLErrorScope() noexcept;
  ~XMLErrorScope();
  XMLErrorScope(const XMLErrorScope&) = delete;
  XMLErrorScope& operator=(const XMLErrorScope&) = delete;

 private:
  xmlStructuredErrorFunc handler_;
  void* context_;
  xmlGenericErrorFunc printer_;
  void* printerContext_;
};

/// A mistake of the caller's: stops a debug build with "<where>: <message>", is ignored by a
/// release build. `where` is the unit without its suffix, as "Core/XML/NKXMLElement".
#ifdef NDEBUG
inline void programmingError(const char*, const char*) noexcept {}
#else
[[noreturn]] void programmingError(const char* where, const char* message) noexcept;
#endif

}  // namespace tarnwell::detail
