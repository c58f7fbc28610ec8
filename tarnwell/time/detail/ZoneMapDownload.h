#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/time/detail/WindowsZones.h"

namespace tarnwell::detail {

class HTTPTransfer;

/// The address of the table's current edition.
inline constexpr const char* kZoneMapURL =
    "https://raw.githubusercontent.com/unicode-org/cldr/main/common/supplemental/windowsZones.xml";

/// The table in a document of the kind that `kZoneMapURL` names, IANA to Windows names. Empty when
/// the document lacks the elements.
[[nodiscard]] ZoneMap zoneMapOf(const NKXMLDocument& document);

/// What a download may use up at most.
struct ZoneMapLimits {
  std::chrono::milliseconds idle = std::chrono::seconds(60);
  std::chrono::milliseconds total = std::chrono::minutes(5);
  std::size_t bytes = std::size_t{16} << 20U;  // the document has some 50 KB
};

/// Downloads tables one after the other on a thread of its own, which starts with the first
/// download. Not to be destroyed by a callback.
class ZoneMapDownload {
 public:
  using Callback = std::function<void(std::optional<ZoneMap>)>;

  /// The one of the process. The downloads that are not finished when the process ends are
  /// cancelled.
  [[nodiscard]] static ZoneMapDownload& shared();

  explicit ZoneMapDownload(ZoneMapLimits limits = {});
  ZoneMapDownload(const ZoneMapDownload&) = delete;
  ZoneMapDownload& operator=(const ZoneMapDownload&) = delete;
  ~ZoneMapDownload();

  /// Returns at once. The callback is called exactly once, on the downloading thread; on the
  /// calling thread when there is none, which is after `stop` and when none can be started. A
  /// failure is written to the system log.
  void fetch(std::string url, Callback callback);
  /// The same from the address of the current edition.
  void fetchCurrent(Callback callback);
  /// Replaces `kZoneMapURL` as that address, for tests. Gives the one before.
  std::string setCurrentURL(std::string url);

  /// Cancels all downloads, whose callbacks get the absent table, and waits until they have
  /// returned. Called from a callback, it calls the remaining ones itself, since it cannot wait for
  /// its own thread. Several threads may stop at once.
  void stop() noexcept;

 private:
  struct Job {
    std::string url;
    Callback callback;
  };

  [[nodiscard]] bool startWorker();
  void work();
  [[nodiscard]] std::optional<Job> nextJob();
  void run(const Job& job);
  [[nodiscard]] std::optional<ZoneMap> download(const std::string& url);
  [[nodiscard]] bool isStopping();

  const ZoneMapLimits limits_;
  // Declared only: the transport lies above this layer, which includes nothing of it in a header.
  const std::unique_ptr<HTTPTransfer> transfer_;
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  std::string currentURL_ = kZoneMapURL;
  bool stopping_ = false;
  bool finished_ = true;  // no thread runs that could use the transfer
  std::thread worker_;
};

}  // namespace tarnwell::detail
