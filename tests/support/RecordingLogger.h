#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tarnwell/util/TWLogger.h"

namespace tarnwell::test {

/// Keeps the lines that it gets, in order.
class RecordingLogger : public TWLoggerDelegate {
 public:
  void debug(const std::string& message) override {
    const std::lock_guard lock(mutex_);
    debugLines_.push_back(message);
  }
  void release(const std::string& message) override {
    const std::lock_guard lock(mutex_);
    releaseLines_.push_back(message);
  }
  [[nodiscard]] std::vector<std::string> debugLines() const {
    const std::lock_guard lock(mutex_);
    return debugLines_;
  }
  [[nodiscard]] std::vector<std::string> releaseLines() const {
    const std::lock_guard lock(mutex_);
    return releaseLines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> debugLines_;
  std::vector<std::string> releaseLines_;
};

/// Sets a recording delegate for the life of a test, and none afterwards.
class LogCapture {
 public:
  LogCapture() { TWLogger::logger().setDelegate(recorder_); }
  ~LogCapture() { TWLogger::logger().setDelegate(nullptr); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::vector<std::string> debugLines() const { return recorder_->debugLines(); }
  [[nodiscard]] std::vector<std::string> releaseLines() const { return recorder_->releaseLines(); }

 private:
  std::shared_ptr<RecordingLogger> recorder_ = std::make_shared<RecordingLogger>();
};

}  // namespace tarnwell::test
