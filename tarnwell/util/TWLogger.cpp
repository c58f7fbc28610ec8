#include "tarnwell/util/TWLogger.h"

#include <utility>

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/detail/HeldLines.h"

namespace tarnwell {

TWLogger& TWLogger::logger() {
  // Never destroyed, so that a thread may log while the process ends.
  static auto* const kLogger = new TWLogger();
  return *kLogger;
}

void TWLogger::setDelegate(std::shared_ptr<TWLoggerDelegate> delegate) {
  {
    const std::lock_guard lock(mutex_);
    delegate_.swap(delegate);
  }
  // The old delegate goes here, outside the lock: its destructor may log.
}

std::shared_ptr<TWLoggerDelegate> TWLogger::delegate() const {
  const std::lock_guard lock(mutex_);
  return delegate_;
}

void TWLogger::log(std::string_view format, std::initializer_list<TWValue> values) {
  write(&TWLoggerDelegate::debug, format, values);
}

void TWLogger::rlog(std::string_view format, std::initializer_list<TWValue> values) {
  write(&TWLoggerDelegate::release, format, values);
}

void TWLogger::write(Sink sink, std::string_view format, std::initializer_list<TWValue> values) {
  const std::string message =
      values.size() == 0 ? std::string(format) : formatMessage(format, values);
  detail::HeldLines::write(sink, message);
}

}  // namespace tarnwell
