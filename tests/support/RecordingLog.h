#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/util/TWLogger.h"

namespace tarnwell::test {

/// A delegate that keeps the lines it gets, in order.
class RecordingLogger : public TWLoggerDelegate {
 public:
  void debug(const std::string& message) override { add(debugLines_, message); }
  void release(const std::string& message) override { add(lines_, message); }

  /// The lines meant for release builds.
  [[nodiscard]] std::vector<std::string> lines() const { return copyOf(lines_); }
  [[nodiscard]] std::vector<std::string> debugLines() const { return copyOf(debugLines_); }

 private:
  void add(std::vector<std::string>& lines, const std::string& message) {
    const std::lock_guard lock(mutex_);
    lines.push_back(message);
  }
  [[nodiscard]] std::vector<std::string> copyOf(const std::vector<std::string>& lines) const {
    const std::lock_guard lock(mutex_);
    return lines;
  }

  mutable std::mutex mutex_;  // guards both
  std::vector<std::string> lines_;
  std::vector<std::string> debugLines_;
};

/// Takes the library's log lines for as long as it lives.
///
///     const RecordingLog log;
///     connection->get(url);
///     EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took")));
class RecordingLog {
 public:
  RecordingLog() { TWLogger::logger().setDelegate(recorder_); }
  RecordingLog(const RecordingLog&) = delete;
  RecordingLog& operator=(const RecordingLog&) = delete;
  ~RecordingLog() { TWLogger::logger().setDelegate(nullptr); }

  [[nodiscard]] std::vector<std::string> lines() const { return recorder_->lines(); }
  [[nodiscard]] std::vector<std::string> debugLines() const { return recorder_->debugLines(); }
  /// How many release lines hold that text.
  [[nodiscard]] std::ptrdiff_t count(std::string_view text) const {
    return std::ranges::count_if(
        lines(), [text](const std::string& line) { return line.find(text) != std::string::npos; });
  }

 private:
  const std::shared_ptr<RecordingLogger> recorder_ = std::make_shared<RecordingLogger>();
};

}  // namespace tarnwell::test
