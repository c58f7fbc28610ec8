#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include <gmock/gmock.h>

#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/transport/TWConnection.h"

#include "tests/support/Gate.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/ScriptedServer.h"

namespace tarnwell::test {

using namespace std::chrono_literals;

/// Stands for every secret: no log line, description or error may hold it.
inline constexpr std::string_view kSecret = "S3CR3T-marked";
/// What cancelling may take on a busy machine; the limits that it must beat are 30 seconds.
inline constexpr std::chrono::milliseconds kAtOnce = 1s;

[[nodiscard]] inline std::shared_ptr<TWCredentials> withPassword(
    std::string_view name = "ann@example.com", std::string_view password = kSecret) {
  return TWCredentials::credentialsWithUsernamePassword(name, password);
}
[[nodiscard]] inline std::shared_ptr<TWCredentials> withToken(std::string_view token = kSecret) {
  return TWCredentials::credentialsWithUsernameAccessToken("ann@example.com", token);
}
[[nodiscard]] inline TWConnectionOptions withLimit(std::chrono::milliseconds limit) {
  TWConnectionOptions options;
  options.requestLimit = limit;
  return options;
}
[[nodiscard]] inline TWData bytes(std::string_view text) { return {text.begin(), text.end()}; }
[[nodiscard]] inline std::string text(const TWData& data) { return {data.begin(), data.end()}; }
[[nodiscard]] inline int status(const TWResponse& record) {
  return record.response ? record.response->statusCode : 0;
}

MATCHER_P(IsHTTPError, code, "") {
  *result_listener << arg;
  return arg.is(TWHTTPErrorDomain, code);
}
MATCHER(IsNoError, "") {
  *result_listener << arg;
  return !arg;
}

/// A request on a thread of its own.
class Running {
 public:
  explicit Running(std::function<TWResponse()> request)
      : record_(std::async(std::launch::async, std::move(request))) {}
  /// The record, and how long it took since `begin` to come.
  [[nodiscard]] TWResponse join() { return record_.get(); }
  [[nodiscard]] bool isReady() const { return record_.wait_for(0s) == std::future_status::ready; }

 private:
  std::future<TWResponse> record_;
};

/// Cancels, joins, and expects both to happen at once and with the error of a cancellation.
inline void expectCancelEndsAtOnce(TWConnection& connection, Running& running) {
  const auto begin = std::chrono::steady_clock::now();
  connection.cancel();
  const TWResponse record = running.join();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce);
  EXPECT_THAT(record.error, IsHTTPError(TWHTTPErrorCancelled));
}

}  // namespace tarnwell::test
