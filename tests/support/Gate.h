#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tarnwell::test {

/// How long a test waits for something that must happen before it gives up. Never reached by a test
/// that passes.
inline constexpr std::chrono::seconds kPatience{20};

/// How long a test looks on to see that something does not happen.
inline constexpr std::chrono::milliseconds kAWhile{300};

/// A door between threads: `wait` blocks until somebody opens it. Once open it stays open.
class Gate {
 public:
  void open() {
    {
      const std::lock_guard lock(mutex_);
      open_ = true;
    }
    opened_.notify_all();
  }
  /// False when nobody opened the door within `patience`, so that a broken test ends.
  [[nodiscard]] bool wait(std::chrono::milliseconds patience = kPatience) {
    std::unique_lock lock(mutex_);
    return opened_.wait_for(lock, patience, [this] { return open_; });
  }
  [[nodiscard]] bool isOpen() {
    const std::lock_guard lock(mutex_);
    return open_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  bool open_ = false;
};

}  // namespace tarnwell::test
