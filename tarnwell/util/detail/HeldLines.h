#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tarnwell/util/TWLogger.h"

namespace tarnwell::detail {

/// Keeps the log lines of its thread for as long as it lives, and then hands them over in their
/// order. Made before a lock is taken that the delegate's work may need too. Inside another, it
/// leaves the lines to that one.
class HeldLines {
 public:
  using Sink = void (TWLoggerDelegate::*)(const std::string&);

  HeldLines() noexcept;
  HeldLines(const HeldLines&) = delete;
  HeldLines& operator=(const HeldLines&) = delete;
  ~HeldLines();

  /// Keeps a finished line for later, or hands it to the logger's delegate at once when nobody
  /// holds the lines of this thread.
  static void write(Sink sink, const std::string& line);

 private:
  std::vector<std::pair<Sink, std::string>> lines_;
};

}  // namespace tarnwell::detail
