#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "sandbox/SandboxServer.h"
#include "sandbox/notifications/Subscriptions.h"

namespace tarnwell::sandbox {

/// What GetStreamingEvents asked for.
struct StreamRequest {
  /// The subscriptions' numbers; all were there when it was asked.
  std::vector<std::uint64_t> subscriptions;
  int minutes = 0;
};

/// A stream of answers on one connection: the status first, then notifications as they happen,
/// heartbeats in between, and at last the closing status.
class EventStream {
 public:
  struct Settings {
    std::chrono::milliseconds heartbeat;
    std::chrono::milliseconds minute;
    SandboxStreamTrouble trouble = SandboxStreamTrouble::none;
  };
  /// A document with an empty m:GetStreamingEventsResponse, which it answers.
  using MakeAnswer = std::function<pugi::xml_node(pugi::xml_document& document)>;
  /// Sends bytes at once; false when nobody is there to read them.
  using Write = std::function<bool(std::string_view bytes)>;

  EventStream(Subscriptions& subscriptions, StreamRequest request, Settings settings,
              MakeAnswer makeAnswer)
      : subscriptions_(subscriptions),
        request_(std::move(request)),
        settings_(settings),
        makeAnswer_(std::move(makeAnswer)) {}

  /// Runs to the end of the stream. False when it broke off on purpose and must not look complete.
  [[nodiscard]] bool run(const Write& write);

 private:
  [[nodiscard]] std::string statusDocument(const char* status) const;
  [[nodiscard]] std::string notificationDocument(
      const std::vector<Subscriptions::Batch>& batches) const;
  bool send(const Write& write, const std::string& document);

  Subscriptions& subscriptions_;
  const StreamRequest request_;
  Settings settings_;
  const MakeAnswer makeAnswer_;
};

}  // namespace tarnwell::sandbox
