#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

#include "tarnwell/transport/TWStreamExchange.h"
#include "tarnwell/transport/detail/HTTPTransfer.h"

namespace tarnwell::detail {

/// The exchange that keeps everything the server sends and is over when the server is done.
class StreamExchange final : public TWStreamExchange {
 public:
  StreamExchange(std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
                 const TWConnectionOptions& options);

  [[nodiscard]] std::optional<TWData> await() override;
  void arm() override { armed_ = true; }
  void cancel() override;
  [[nodiscard]] bool wasCancelled() const override { return wasCancelled_; }
  [[nodiscard]] std::optional<std::string> refusedRedirect() const override {
    return refusedRedirect_;
  }
  void setAllowInsecureCertificate(bool allow) override { allowInsecureCertificate_ = allow; }

 private:
  const std::shared_ptr<TWCredentials> credentials_;
  const TWHTTPRequest request_;
  const std::chrono::milliseconds idleLimit_;
  const std::size_t bodyLimit_;
  HTTPTransfer transfer_;
  std::optional<std::string> refusedRedirect_;
  std::atomic<bool> allowInsecureCertificate_{false};
  std::atomic<bool> armed_{false};
  std::atomic<bool> cancelled_{false};
  bool wasCancelled_ = false;
};

}  // namespace tarnwell::detail
