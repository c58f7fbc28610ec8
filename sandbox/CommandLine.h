#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/SandboxServer.h"

namespace tarnwell::sandbox {

/// What the arguments of the program ask for.
struct CommandLine {
  SandboxOptions server;
  std::string writeCertificateFile;
  bool verbose = false;
  bool help = false;
};

/// Reads the arguments, without the program's name, and the files that they name. Absent, with one
/// line for the user in `error`, when they cannot be followed.
[[nodiscard]] std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& arguments,
                                                          std::string& error);

[[nodiscard]] std::string_view usage() noexcept;

}  // namespace tarnwell::sandbox
