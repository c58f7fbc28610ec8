#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWStreamExchange.h"

namespace tarnwell {

namespace detail {
class HTTPTransfer;
class StreamedText;
}  // namespace detail

/// The exchange of GetStreamingEvents: collects the documents that a server sends one after the
/// other until one of them is more than a heartbeat.
///
/// Made by the connection for one streaming request, which it serves on sockets of its own. The
/// thread in `await` does all the work; `cancel` and the setters may come from any other.
class TWConnectionStream final : public TWStreamExchange {
 public:
  /// Sends nothing yet. The credentials may be null. Of the options those count that tell how to
  /// reach a server, and `streamIdleLimit` and `streamTextLimit`.
  [[nodiscard]] static std::shared_ptr<TWConnectionStream> withCredentials(
      std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
      const TWConnectionOptions& options = {});
  ~TWConnectionStream() override;

  /// Once, by one thread. Over when a document is no heartbeat, when the server ends the answer or
  /// falls silent, when nothing can be sent or received any more, when more text is kept than may
  /// be, and after `cancel`. Answers all that was collected since a heartbeat was last dropped.
  [[nodiscard]] std::optional<TWData> await() override;
  void cancel() override;
  void arm() override { isArmed_ = true; }
  [[nodiscard]] bool wasCancelled() const override { return wasCancelled_; }
  [[nodiscard]] std::optional<std::string> refusedRedirect() const override {
    return refusedRedirect_;
  }
  [[nodiscard]] bool allowInsecureCertificate() const noexcept { return allowInsecureCertificate_; }
  void setAllowInsecureCertificate(bool allow) override { allowInsecureCertificate_ = allow; }

  /// Adds what has arrived to `fetched` and judges all of that: true when one of its documents,
  /// which stand between every two blanks, is more than a heartbeat. Heartbeats alone are dropped,
  /// up to the beginning of the next document.
  ///
  /// A single byte is no arrival, deliberately: servers send one to keep the line open, and false
  /// is answered. (`await` takes single bytes all the same where they belong to a document.)
  bool validateData(std::span<const std::uint8_t> data);
  /// The bytes kept; absent when there are none. Not while another thread is in `await`.
  [[nodiscard]] std::optional<TWData> fetched() const;

 private:
  TWConnectionStream(std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
                     const TWConnectionOptions& options);
  bool receive(std::span<const std::uint8_t> arrived);

  const std::shared_ptr<TWCredentials> credentials_;
  TWHTTPRequest request_;
  const std::chrono::milliseconds idleLimit_;
  const std::size_t textLimit_;
  const std::unique_ptr<detail::HTTPTransfer> transfer_;
  const std::unique_ptr<detail::StreamedText> text_;
  std::optional<std::string> refusedRedirect_;
  std::atomic<bool> allowInsecureCertificate_{false};
  std::atomic<bool> isArmed_{false};
  std::atomic<bool> isCancelled_{false};
  bool wasCancelled_ = false;
};

}  // namespace tarnwell
