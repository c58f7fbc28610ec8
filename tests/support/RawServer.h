#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "tests/support/TestCertificates.h"

namespace tarnwell::test {

/// The server's end of one accepted connection, in the hands of the server's handler.
class RawConnection {
 public:
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;
  virtual ~RawConnection() = default;

  /// Counts from 1 in the order of arrival.
  [[nodiscard]] virtual int number() const = 0;
  /// What has arrived, at most `limit` bytes; blocks for the first one. Empty when the peer is
  /// gone.
  [[nodiscard]] virtual std::string read(std::size_t limit = 65536) = 0;
  /// False when the peer is gone.
  virtual bool write(std::string_view bytes) = 0;
  /// Ends the connection with a reset instead of an orderly close.
  virtual void reset() = 0;

  /// Reads until the blank line after a request's head, then as many bytes of the body as
  /// Content-Length tells. Absent when the peer went away before.
  [[nodiscard]] std::optional<std::string> readRequest();
  /// Blocks until the peer closes, throwing away what it sends.
  void waitForClose();

 protected:
  RawConnection() = default;

 private:
  std::string ahead_;  // bytes that arrived behind the last request
};

/// A loopback server for what no HTTP server library does: it accepts, and a handler does with the
/// bytes what it likes, each connection on a thread of its own.
///
///     RawServer server([](RawConnection& peer) {
///       (void)peer.readRequest();
///       peer.write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\ncut");
///       peer.reset();
///     });
///     connection->get(server.url("/"));
class RawServer {
 public:
  using Handler = std::function<void(RawConnection&)>;
  struct Options {
    /// Speaks TLS with this certificate; the handler starts after the handshake.
    std::optional<TestCertificate> certificate;
    /// With a certificate: asks clients for theirs, and takes those that have none.
    bool asksForCertificate = false;
    /// False: nobody is ever accepted, so that clients stay in the middle of connecting once the
    /// short queue is full (see `fillQueue`).
    bool accepts = true;
  };

  /// Listens on a free port of 127.0.0.1 at once.
  explicit RawServer(Handler handler);
  RawServer(Handler handler, const Options& options);
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;
  /// Closes all connections and waits for the handlers to return.
  ~RawServer();

  [[nodiscard]] int port() const noexcept { return port_; }
  /// "http://127.0.0.1:PORT/path", or https when the server speaks TLS.
  [[nodiscard]] std::string url(std::string_view path, std::string_view host = "127.0.0.1") const;
  /// How many connections were accepted so far.
  [[nodiscard]] int connectionCount() const noexcept { return accepted_; }
  /// True as soon as none of them is open; false when that takes too long.
  [[nodiscard]] bool waitForNoConnections();
  /// Connects to itself until the listener's queue takes no more.
  void fillQueue();

 private:
  class Peer;

  void acceptLoop();
  void serve(const std::shared_ptr<Peer>& peer);

  Handler handler_;
  Options options_;
  std::shared_ptr<void> tlsContext_;
  int listener_ = -1;
  int wakeUp_ = -1;
  int port_ = 0;
  std::atomic<int> accepted_{0};
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;  // guards the three below
  std::condition_variable peerGone_;
  std::list<std::shared_ptr<Peer>> peers_;
  std::list<std::thread> threads_;
  std::list<int> fillers_;
  std::thread acceptor_;
};

}  // namespace tarnwell::test
