#pragma once

#include <string>

#include "tarnwell/util/TWLogger.h"

namespace tarnwell::benchmarks {

/// Keeps log lines off the console.
class Silence final : public TWLoggerDelegate {
 public:
  void debug(const std::string&) override {}
  void release(const std::string&) override {}
};

}  // namespace tarnwell::benchmarks
