#pragma once

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Program.h"

namespace tarnwell::test {

inline constexpr auto kUser = "alice@example.com";
inline constexpr auto kOther = "bob@example.com";

[[nodiscard]] inline std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// A sandbox with alice, who has some mail, and bob, who has none. Their password is "secret".
class SandboxProgram : public Program {
 public:
  explicit SandboxProgram(std::vector<std::string> more = {})
      : Program(TARNWELL_SANDBOX_PROGRAM, arguments(std::move(more))),
        url_(line().substr(std::string("listening ").size())) {}
  [[nodiscard]] const std::string& url() const { return url_; }

 private:
  static std::vector<std::string> arguments(std::vector<std::string> more) {
    more.insert(more.end(), {"--mailbox", std::string(kUser) + ":secret", "--mailbox",
                             std::string(kOther) + ":secret", "--seed-mailbox", "30"});
    return more;
  }
  std::string url_;
};

}  // namespace tarnwell::test
