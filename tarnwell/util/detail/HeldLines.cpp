#include "tarnwell/util/detail/HeldLines.h"

#include "tarnwell/util/detail/SystemLog.h"

namespace tarnwell::detail {

namespace {

/// The outermost of this thread.
thread_local HeldLines* holder = nullptr;

void handOver(HeldLines::Sink sink, const std::string& line) {
  // Called on a copy and outside the lock, so that a delegate may log or replace itself.
  const auto target = TWLogger::logger().delegate();
  if (!target) {
    systemLog(line);
    return;
  }
  try {
    (*target.*sink)(line);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a log must not break the request that logs
  }
}

}  // namespace

HeldLines::HeldLines() noexcept {
  if (holder == nullptr) holder = this;
}

HeldLines::~HeldLines() {
  if (holder != this) return;
  holder = nullptr;  // what a delegate does may log, and hold lines of its own
  for (const auto& [sink, line] : lines_) handOver(sink, line);
}

void HeldLines::write(Sink sink, const std::string& line) {
  if (holder != nullptr)
    holder->lines_.emplace_back(sink, line);
  else
    handOver(sink, line);
}

}  // namespace tarnwell::detail
