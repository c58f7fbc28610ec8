#pragma once

#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// Where an application receives the library's log lines. Called from any thread, several at a
/// time; what it throws is dropped. It may log, and replace the logger's delegate, from within. It
/// may make requests too, on the connection that logs as well: a connection writes the lines of a
/// request when that has ended. Such a request has lines of its own.
class TWLoggerDelegate {
 public:
  virtual ~TWLoggerDelegate() = default;
  /// A line for debugging.
  virtual void debug(const std::string& message) = 0;
  /// A line meant to be seen in release builds, which all of the library's are. It begins with the
  /// identity of the account or protocol that logs, in brackets, and never holds a password or a
  /// token.
  virtual void release(const std::string& message) = 0;
};

/// The one logger. Without a delegate, lines go to the standard error stream.
///
///     TWLogger::logger().setDelegate(std::make_shared<MyLog>());
class TWLogger {
 public:
  TWLogger(const TWLogger&) = delete;
  TWLogger& operator=(const TWLogger&) = delete;

  /// The shared instance.
  [[nodiscard]] static TWLogger& logger();

  /// Keeps the delegate alive; null returns to the standard error stream.
  void setDelegate(std::shared_ptr<TWLoggerDelegate> delegate);
  [[nodiscard]] std::shared_ptr<TWLoggerDelegate> delegate() const;

  /// Hands a finished line to the delegate's `debug`. With values, the text is a format
  /// (`formatMessage`); without, it is the line.
  void log(std::string_view format, std::initializer_list<TWValue> values = {});
  /// The same for the delegate's `release`.
  void rlog(std::string_view format, std::initializer_list<TWValue> values = {});

 private:
  TWLogger() = default;
  ~TWLogger() = default;

  using Sink = void (TWLoggerDelegate::*)(const std::string&);
  void write(Sink sink, std::string_view format, std::initializer_list<TWValue> values);

  mutable std::mutex mutex_;
  std::shared_ptr<TWLoggerDelegate> delegate_;
};

}  // namespace tarnwell
