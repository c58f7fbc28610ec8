#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace tarnwell::test {

/// A running program with its standard output and error on one pipe. Whatever is left of it at the
/// end is killed.
class Program {
 public:
  Program(const std::string& file, std::vector<std::string> arguments);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  /// The next line, without its end.
  [[nodiscard]] std::string line() const;
  /// Everything to the end.
  [[nodiscard]] std::string rest() const;
  void signal(int number) const;
  /// -1 when it did not end by itself.
  [[nodiscard]] int exitCode();

 private:
  pid_t pid_ = 0;
  int output_ = -1;
};

}  // namespace tarnwell::test
