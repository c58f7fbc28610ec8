#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// What a client wants to be told of.
struct Subscription {
  /// Empty: of all folders of the mailbox.
  std::set<std::uint64_t> folders;
  /// In lower case.
  std::string mailbox;
  std::set<StoreEvent::Kind> kinds;
};

/// The subscriptions and what has happened for them since they were last asked. Thread-safe.
class Subscriptions {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Wake { events, timeout, gone, stopped };
  struct Batch {
    std::uint64_t subscription = 0;
    std::vector<StoreEvent> events;
  };

  [[nodiscard]] std::uint64_t add(Subscription subscription);
  /// False when there is none of that number.
  bool remove(std::uint64_t number);
  [[nodiscard]] bool contains(std::uint64_t number) const;

  /// Queues the events for those who want them.
  void publish(const std::vector<StoreEvent>& events);

  /// Waits until there are events for one of the subscriptions, which then are in `batches` and in
  /// the queue no more; until `deadline`; until none of the subscriptions is left; or until `stop`.
  [[nodiscard]] Wake wait(const std::vector<std::uint64_t>& numbers, Clock::time_point deadline,
                          std::vector<Batch>& batches);
  /// Queues events again that could not be delivered, before all others.
  void giveBack(std::vector<Batch> batches);
  /// Waits, unless it is stopped before.
  void pause(std::chrono::milliseconds time);

  /// Ends all waiting, from now until `resume`.
  void stop();
  void resume();

 private:
  struct Entry {
    Subscription subscription;
    std::vector<StoreEvent> events;
  };

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool stopped_ = false;
  std::uint64_t next_ = 1;
  std::map<std::uint64_t, Entry> entries_;
};

}  // namespace tarnwell::sandbox
