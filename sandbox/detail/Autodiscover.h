#pragma once

#include <string>

#include "sandbox/SandboxServer.h"
#include "sandbox/detail/Directory.h"

namespace tarnwell::sandbox {

/// The address that an autodiscover request (plain XML) asks for, or why it cannot be answered.
struct AutodiscoverQuestion {
  std::string address;
  /// 0 for a good request, 600 for one that breaks its schema, 601 when it accepts no answer of
  /// ours.
  int errorCode = 0;
};

[[nodiscard]] AutodiscoverQuestion readAutodiscover(const std::string& body);

/// The bodies of the possible answers; the HTTP status is 200 for each.
[[nodiscard]] std::string autodiscoverSettings(const Person& person, const std::string& ewsUrl);
[[nodiscard]] std::string autodiscoverRedirect(const SandboxRedirect& redirect);
/// `newWording`: as Exchange 2013 and later put it.
[[nodiscard]] std::string autodiscoverError(int errorCode, bool newWording);

}  // namespace tarnwell::sandbox
