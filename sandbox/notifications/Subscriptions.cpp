#include "sandbox/notifications/Subscriptions.h"

#include <algorithm>
#include <iterator>

namespace tarnwell::sandbox {
namespace {

bool wants(const Subscription& subscription, const StoreEvent& event) {
  if (!subscription.kinds.contains(event.kind)) return false;
  if (subscription.folders.empty()) return subscription.mailbox == event.mailbox;
  return subscription.folders.contains(event.parent) ||
         subscription.folders.contains(event.oldParent) ||
         (event.isFolder && subscription.folders.contains(event.number));
}

}  // namespace

std::uint64_t Subscriptions::add(Subscription subscription) {
  const std::lock_guard lock(mutex_);
  const std::uint64_t number = next_++;
  entries_[number].subscription = std::move(subscription);
  return number;
}

bool Subscriptions::remove(std::uint64_t number) {
  const std::lock_guard lock(mutex_);
  const bool found = entries_.erase(number) > 0;
  changed_.notify_all();
  return found;
}

bool Subscriptions::contains(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  return entries_.contains(number);
}

void Subscriptions::publish(const std::vector<StoreEvent>& events) {
  const std::lock_guard lock(mutex_);
  for (auto& [number, entry] : entries_) {
    for (const StoreEvent& event : events) {
      if (wants(entry.subscription, event)) entry.events.push_back(event);
    }
  }
  changed_.notify_all();
}

Subscriptions::Wake Subscriptions::wait(const std::vector<std::uint64_t>& numbers,
                                        Clock::time_point deadline, std::vector<Batch>& batches) {
  std::unique_lock lock(mutex_);
  Wake wake = Wake::timeout;
  const auto isDone = [&] {
    batches.clear();
    wake = stopped_ ? Wake::stopped : Wake::gone;
    if (stopped_) return true;
    for (const std::uint64_t number : numbers) {
      const auto found = entries_.find(number);
      if (found == entries_.end()) continue;
      if (wake == Wake::gone) wake = Wake::timeout;
      if (found->second.events.empty()) continue;
      batches.push_back({number, std::move(found->second.events)});
      found->second.events.clear();
      wake = Wake::events;
    }
    return wake != Wake::timeout;
  };
  changed_.wait_until(lock, deadline, isDone);
  return wake;
}

void Subscriptions::giveBack(std::vector<Batch> batches) {
  const std::lock_guard lock(mutex_);
  for (Batch& batch : batches) {
    const auto found = entries_.find(batch.subscription);
    if (found == entries_.end()) continue;
    auto& events = found->second.events;
    events.insert(events.begin(), std::make_move_iterator(batch.events.begin()),
                  std::make_move_iterator(batch.events.end()));
  }
  changed_.notify_all();
}

void Subscriptions::pause(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, time, [this] { return stopped_; });
}

void Subscriptions::stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void Subscriptions::resume() {
  const std::lock_guard lock(mutex_);
  stopped_ = false;
}

}  // namespace tarnwell::sandbox
