#include "tarnwell/time/detail/ZoneMapDownload.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

#include "tarnwell/transport/detail/HTTPTransfer.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/detail/SystemLog.h"

namespace tarnwell::detail {
namespace {

constexpr std::string_view kFetchFailed = "[ERROR] Couldnt fetch tz map: %@";
constexpr std::string_view kParseFailed = "[ERROR] Couldnt parse tz xml map: %@";
constexpr std::int64_t kTooLong = 63;  // the transfer library's number for it

// To the platform's log, not the application's logger: no account stands behind a download.
void logFailure(std::string_view format, const TWError& error) {
  systemLog(formatMessage(format, {error}));
}

TWError cancelled() {
  return {TWHTTPErrorDomain, TWHTTPErrorCancelled, "The request was cancelled"};
}

}  // namespace

ZoneMap zoneMapOf(const NKXMLDocument& document) {
  ZoneMap map;
  const NKXMLElement zones =
      document.rootElement().elementForName("windowsZones").elementForName("mapTimezones");
  for (const NKXMLElement& entry : zones.elementsForName("mapZone")) {
    const std::string windowsName = entry.attributeForName("other").stringValue().value_or("");
    if (windowsName.empty()) continue;
    const std::string type = entry.attributeForName("type").stringValue().value_or("");
    for (std::string_view rest = type; !rest.empty();) {
      const std::string_view zone = rest.substr(0, rest.find(' '));
      if (!zone.empty()) map.insert_or_assign(std::string(zone), windowsName);
      rest.remove_prefix(std::min(zone.size() + 1, rest.size()));
    }
  }
  return map;
}

ZoneMapDownload& ZoneMapDownload::shared() {
  // Not destroyed, so that a late call finds it; only stopped, before what was made earlier goes.
  // That includes the TLS library, which the transfer has set up by then.
  static ZoneMapDownload& downloads = *new ZoneMapDownload;
  struct Stopper {
    ~Stopper() { downloads.stop(); }
  };
  static const Stopper stopper;
  return downloads;
}

ZoneMapDownload::ZoneMapDownload(ZoneMapLimits limits)
    : limits_(limits), transfer_(std::make_unique<HTTPTransfer>()) {}

ZoneMapDownload::~ZoneMapDownload() { stop(); }

void ZoneMapDownload::fetch(std::string url, Callback callback) {
  Job job{std::move(url), std::move(callback)};
  {
    const std::lock_guard lock(mutex_);
    if (!stopping_ && (worker_.joinable() || startWorker())) {
      jobs_.push_back(std::move(job));
      changed_.notify_all();
      return;
    }
  }
  logFailure(kFetchFailed, cancelled());
  if (job.callback) job.callback(std::nullopt);
}

void ZoneMapDownload::fetchCurrent(Callback callback) {
  std::unique_lock lock(mutex_);
  std::string url = currentURL_;
  lock.unlock();
  fetch(std::move(url), std::move(callback));
}

std::string ZoneMapDownload::setCurrentURL(std::string url) {
  const std::lock_guard lock(mutex_);
  return std::exchange(currentURL_, std::move(url));
}

bool ZoneMapDownload::startWorker() {
  try {
    worker_ = std::thread([this] { work(); });
  } catch (const std::system_error&) {  // there are too many threads
    return false;
  }
  finished_ = false;
  return true;
}

void ZoneMapDownload::stop() noexcept {
  std::unique_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
  if (!worker_.joinable()) return;
  if (worker_.get_id() == std::this_thread::get_id()) {
    // In a callback, perhaps one that ends the process. Whoever stops on another thread, be it now
    // or later, waits for this one.
    lock.unlock();
    while (const std::optional<Job> job = nextJob()) run(*job);
    return;
  }
  // A request may be about to begin, and to cancel does not touch the next one: hence again and
  // again.
  while (!finished_) {
    transfer_->cancel();
    changed_.wait_for(lock, std::chrono::milliseconds(10));
  }
  std::thread worker = std::move(worker_);
  lock.unlock();
  if (worker.joinable()) worker.join();  // else another thread that stops has taken it
}

void ZoneMapDownload::work() {
  while (const std::optional<Job> job = nextJob()) run(*job);
  const std::lock_guard lock(mutex_);
  finished_ = true;
  changed_.notify_all();
}

// Waits for a job; absent when there is none and there will be none.
std::optional<ZoneMapDownload::Job> ZoneMapDownload::nextJob() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
  if (jobs_.empty()) return std::nullopt;
  Job job = std::move(jobs_.front());
  jobs_.pop_front();
  return job;
}

void ZoneMapDownload::run(const Job& job) {
  std::optional<ZoneMap> map = download(job.url);
  if (job.callback) job.callback(std::move(map));
}

std::optional<ZoneMap> ZoneMapDownload::download(const std::string& url) {
  if (isStopping()) {
    logFailure(kFetchFailed, cancelled());
    return std::nullopt;
  }

  std::string text;
  bool tooLong = false;
  HTTPRequest request;
  request.url = url;
  request.idleLimit = limits_.idle;
  request.deadline = std::chrono::steady_clock::now() + limits_.total;
  request.receive = [&](std::span<const std::uint8_t> piece) {
    tooLong = piece.size() > limits_.bytes - text.size();
    if (!tooLong) text.append(piece.begin(), piece.end());
    return !tooLong;
  };
  const HTTPResult result = transfer_->perform(request);
  TWError error = result.error;
  if (tooLong) error = TWError(TWHTTPErrorDomain, kTooLong, "The document is too long");
  if (error) {
    logFailure(kFetchFailed, error);
    return std::nullopt;
  }

  // Any status: what a server says instead of the document does not parse, or, when it is
  // well-formed, lacks the elements and gives the empty table.
  const NKXMLDocument document = NKXMLDocument::withXMLString(text, 0, &error);
  if (!document) {
    // The parser's own reason says more. With nothing to parse it would be that of an earlier text.
    const TWError reason = NKXMLNode::lastError();
    if (!text.empty() && reason) error = reason;
    logFailure(kParseFailed, error);
    return std::nullopt;
  }
  return zoneMapOf(document);
}

bool ZoneMapDownload::isStopping() {
  const std::lock_guard lock(mutex_);
  return stopping_;
}

}  // namespace tarnwell::detail
