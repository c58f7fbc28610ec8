#include "tests/support/RawServer.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/Gate.h"

namespace tarnwell::test {
namespace {

/// A listener that refuses nobody needs no long queue; one that accepts nobody must be full soon.
constexpr int kQueue = 64;

int checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

/// The server's own writes to a peer that is gone must not end the test program, and must not
/// change what the program does with the signal either, since that is something that tests look at.
void blockPipeSignal() {
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
}

std::size_t contentLength(std::string_view head) {
  std::size_t at = head.find("\r\n");
  while (at != std::string_view::npos) {
    std::string line(head.substr(at + 2, head.find("\r\n", at + 2) - at - 2));
    for (char& c : line) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    constexpr std::string_view kName = "content-length:";
    if (line.starts_with(kName)) return std::strtoull(line.c_str() + kName.size(), nullptr, 10);
    at = head.find("\r\n", at + 2);
  }
  return 0;
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

std::optional<std::string> RawConnection::readRequest() {
  std::string text = std::exchange(ahead_, {});
  std::size_t headEnd = text.find("\r\n\r\n");
  while (headEnd == std::string::npos) {
    const std::string more = read();
    if (more.empty()) return std::nullopt;
    text += more;
    headEnd = text.find("\r\n\r\n");
  }
  const std::size_t whole = headEnd + 4 + contentLength(std::string_view(text).substr(0, headEnd));
  while (text.size() < whole) {
    const std::string more = read();
    if (more.empty()) return std::nullopt;
    text += more;
  }
  ahead_ = text.substr(whole);
  text.resize(whole);
  return text;
}

void RawConnection::waitForClose() {
  while (!read().empty()) {
  }
}

class RawServer::Peer final : public RawConnection {
 public:
  Peer(int socket, int number) : socket_(socket), number_(number) {}
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() override { close(); }

  [[nodiscard]] bool handshake(SSL_CTX* context) {
    tls_.reset(SSL_new(context));
    SSL_set_fd(tls_.get(), socket_);
    return SSL_accept(tls_.get()) == 1;
  }

  [[nodiscard]] int number() const override { return number_; }

  [[nodiscard]] std::string read(std::size_t limit) override {
    std::string bytes(limit, '\0');
    const auto n = tls_ ? SSL_read(tls_.get(), bytes.data(), static_cast<int>(limit))
                        : ::recv(socket_, bytes.data(), limit, 0);
    bytes.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return bytes;
  }

  bool write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const auto n = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                          : ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (n <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
  }

  void reset() override {
    const linger abortive{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
    tls_.reset();
    const std::lock_guard lock(mutex_);
    if (!closed_) ::close(socket_);
    closed_ = true;
  }

  /// Ends blocking calls of the thread that owns this.
  void interrupt() {
    const std::lock_guard lock(mutex_);
    if (!closed_) ::shutdown(socket_, SHUT_RDWR);
  }

  void close() {
    if (tls_ && !closed_) SSL_shutdown(tls_.get());
    tls_.reset();
    const std::lock_guard lock(mutex_);
    if (!closed_) ::close(socket_);
    closed_ = true;
  }

 private:
  struct FreeTLS {
    void operator()(SSL* tls) const { SSL_free(tls); }
  };

  int socket_;
  int number_;
  std::unique_ptr<SSL, FreeTLS> tls_;
  std::mutex mutex_;  // guards the socket's number against reuse while it is being interrupted
  bool closed_ = false;
};

RawServer::RawServer(Handler handler) : RawServer(std::move(handler), Options()) {}

RawServer::RawServer(Handler handler, const Options& options)
    : handler_(std::move(handler)), options_(options) {
  if (options_.certificate) {
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    tlsContext_ =
        std::shared_ptr<void>(context, [](void* c) { SSL_CTX_free(static_cast<SSL_CTX*>(c)); });
    if (SSL_CTX_use_certificate_file(context, options_.certificate->certificateFile.c_str(),
                                     SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, options_.certificate->keyFile.c_str(),
                                    SSL_FILETYPE_PEM) != 1) {
      throw std::runtime_error("cannot use the test certificate");
    }
    if (options_.asksForCertificate) SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  }
  listener_ = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
  const int on = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  checked(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size), "bind");
  checked(::listen(listener_, options_.accepts ? kQueue : 0), "listen");
  checked(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  port_ = ntohs(address.sin_port);
  wakeUp_ = checked(::eventfd(0, EFD_CLOEXEC), "eventfd");
  if (options_.accepts) acceptor_ = std::thread([this] { acceptLoop(); });
}

RawServer::~RawServer() {
  stopping_ = true;
  const std::uint64_t one = 1;
  if (::write(wakeUp_, &one, sizeof one) < 0) std::abort();
  if (acceptor_.joinable()) acceptor_.join();
  std::list<std::thread> threads;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& peer : peers_) peer->interrupt();
    threads.swap(threads_);
  }
  for (std::thread& thread : threads) thread.join();
  for (const int filler : fillers_) ::close(filler);
  ::close(listener_);
  ::close(wakeUp_);
}

std::string RawServer::url(std::string_view path, std::string_view host) const {
  std::string text = options_.certificate ? "https://" : "http://";
  text += host;
  text += ':' + std::to_string(port_);
  text += path;
  return text;
}

bool RawServer::waitForNoConnections() {
  std::unique_lock lock(mutex_);
  return peerGone_.wait_for(lock, kPatience, [this] { return peers_.empty(); });
}

void RawServer::fillQueue() {
  const sockaddr_in address = loopback(port_);
  for (int i = 0; i < 16; ++i) {
    const int filler =
        checked(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket");
    fillers_.push_back(filler);
    const int result =
        ::connect(filler, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    if (result < 0 && errno != EINPROGRESS) checked(result, "connect");
    pollfd writable{filler, POLLOUT, 0};
    // A connection that is not made at once on loopback never will be: the queue is full.
    if (result < 0 && ::poll(&writable, 1, 100) == 0) return;
  }
  throw std::runtime_error("the listener's queue does not fill");
}

void RawServer::acceptLoop() {
  blockPipeSignal();
  while (!stopping_) {
    pollfd events[] = {{listener_, POLLIN, 0}, {wakeUp_, POLLIN, 0}};
    if (::poll(events, 2, -1) < 0 || stopping_) continue;
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) continue;
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    auto peer = std::make_shared<Peer>(socket, ++accepted_);
    const std::lock_guard lock(mutex_);
    peers_.push_back(peer);
    threads_.emplace_back([this, peer = std::move(peer)] { serve(peer); });
  }
}

void RawServer::serve(const std::shared_ptr<Peer>& peer) {
  blockPipeSignal();
  if (!tlsContext_ || peer->handshake(static_cast<SSL_CTX*>(tlsContext_.get()))) handler_(*peer);
  peer->close();
  ERR_clear_error();
  {
    const std::lock_guard lock(mutex_);
    peers_.remove(peer);
  }
  peerGone_.notify_all();
}

}  // namespace tarnwell::test
