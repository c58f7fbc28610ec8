#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "sandbox/SandboxServer.h"
#include "sandbox/detail/HttpFront.h"

namespace tarnwell::sandbox {

/// The faults that have not happened yet. Thread-safe.
class FaultQueue {
 public:
  void add(SandboxFault fault);
  void clear();
  /// The first one meant for such a request, used up by one time.
  [[nodiscard]] std::optional<SandboxFault> take(const std::string& path,
                                                 const std::string& operation);

 private:
  std::mutex mutex_;
  std::deque<SandboxFault> faults_;
};

/// The fault that the parameters of a POST to /sandbox/fail describe; absent, with the reason in
/// `error`, when they describe none:
///
///     code=ErrorServerBusy    a SOAP fault; response=ErrorAccessDenied a response message
///     status=503              that status; html=1 a page; empty=1 nothing; close=1 not even that
///     stream=cut              a stream of events that breaks off; or slow, or garbled
///     times=3                 how many requests; message=... the text beside the code
///     operation=ResolveNames  only those; path=/EWS/types.xsd that path
[[nodiscard]] std::optional<SandboxFault> faultFromQuery(const HttpRequest& request,
                                                         std::string& error);

}  // namespace tarnwell::sandbox
