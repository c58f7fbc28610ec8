#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/util/TWLogger.h"

namespace tarnwell::test {

/// Takes the library's log lines for as long as it lives.
///
///     const RecordingLog log;
///     connection->get(url);
///     EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Request took")));
class RecordingLog {
 public:
  RecordingLog() : sink_(std::make_shared<Sink>()) { TWLogger::logger().setDelegate(sink_); }
  RecordingLog(const RecordingLog&) = delete;
  RecordingLog& operator=(const RecordingLog&) = delete;
  ~RecordingLog() { TWLogger::logger().setDelegate(nullptr); }

  /// The lines meant for release builds, in order.
  [[nodiscard]] std::vector<std::string> lines() const { return sink_->copy(&Sink::released); }
  [[nodiscard]] std::vector<std::string> debugLines() const { return sink_->copy(&Sink::debugged); }
  /// How many release lines hold that text.
  [[nodiscard]] std::ptrdiff_t count(std::string_view text) const {
    const std::vector<std::string> all = lines();
    return std::count_if(all.begin(), all.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  }

 private:
  struct Sink final : TWLoggerDelegate {
    void debug(const std::string& message) override { add(debugged, message); }
    void release(const std::string& message) override { add(released, message); }
    void add(std::vector<std::string>& lines, const std::string& message) {
      const std::lock_guard lock(mutex);
      lines.push_back(message);
    }
    std::vector<std::string> copy(std::vector<std::string> Sink::*lines) {
      const std::lock_guard lock(mutex);
      return this->*lines;
    }
    std::mutex mutex;
    std::vector<std::string> debugged;
    std::vector<std::string> released;
  };

  std::shared_ptr<Sink> sink_;
};

}  // namespace tarnwell::test
