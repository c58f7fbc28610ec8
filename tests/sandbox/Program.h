#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/support/Program.h"

namespace tarnwell::sandbox::test {

/// The sandbox as a program.
class Program : public tarnwell::test::Program {
 public:
  explicit Program(std::vector<std::string> arguments)
      : tarnwell::test::Program(TARNWELL_SANDBOX_PROGRAM, std::move(arguments)) {}
};

}  // namespace tarnwell::sandbox::test
