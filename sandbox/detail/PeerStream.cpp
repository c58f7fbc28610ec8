#include "sandbox/detail/PeerStream.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace tarnwell::sandbox {
namespace {

bool waitFor(int socket, short events, int milliseconds) {
  pollfd entry{socket, events, 0};
  for (;;) {
    const int ready = ::poll(&entry, 1, milliseconds);
    if (ready >= 0) return ready > 0;
    if (errno != EINTR) return false;
  }
}

void describe(const sockaddr_storage& address, std::string& ip, int& port) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (address.ss_family == AF_INET) {
    sockaddr_in four{};
    std::memcpy(&four, &address, sizeof four);
    ::inet_ntop(AF_INET, &four.sin_addr, text.data(), text.size());
    port = ntohs(four.sin_port);
  } else if (address.ss_family == AF_INET6) {
    sockaddr_in6 six{};
    std::memcpy(&six, &address, sizeof six);
    ::inet_ntop(AF_INET6, &six.sin6_addr, text.data(), text.size());
    port = ntohs(six.sin6_port);
  }
  ip = text.data();
}

}  // namespace

PeerStream::PeerStream(int socket, int timeoutSeconds) : socket_(socket) {
  const timeval limit{timeoutSeconds, 0};
  const int on = 1;
  // Should one of these fail, the connection is only slower to give up or to answer.
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

PeerStream::~PeerStream() {
  if (ssl_ == nullptr) return;
  if (!dropped_ && SSL_is_init_finished(ssl_) == 1) SSL_shutdown(ssl_);
  SSL_free(ssl_);
  ERR_clear_error();
}

bool PeerStream::startTls(SSL_CTX* context) {
  ssl_ = SSL_new(context);
  return ssl_ != nullptr && SSL_set_fd(ssl_, socket_) == 1 && SSL_accept(ssl_) == 1;
}

bool PeerStream::beginRequest(int idleSeconds, std::size_t byteLimit) {
  allowed_ = byteLimit;
  if (begin_ < end_ || (ssl_ != nullptr && SSL_pending(ssl_) > 0)) return true;
  return waitFor(socket_, POLLIN, idleSeconds * 1000);
}

bool PeerStream::is_readable() const {
  return begin_ < end_ || (ssl_ != nullptr && SSL_pending(ssl_) > 0) || waitFor(socket_, POLLIN, 0);
}

bool PeerStream::is_writable() const {
  if (dropped_) return false;
  pollfd entry{socket_, POLLOUT, 0};
  return ::poll(&entry, 1, 0) >= 0 && (entry.revents & (POLLERR | POLLHUP)) == 0;
}

bool PeerStream::isAwaited() const {
  pollfd entry{socket_, POLLRDHUP, 0};
  return is_writable() && ::poll(&entry, 1, 0) == 0;
}

ssize_t PeerStream::receive(char* data, std::size_t size) {
  if (ssl_ != nullptr) {
    ERR_clear_error();
    return SSL_read(ssl_, data, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
  }
  for (;;) {
    const ssize_t count = ::recv(socket_, data, size, 0);
    if (count >= 0 || errno != EINTR) return count;
  }
}

ssize_t PeerStream::read(char* data, std::size_t size) {
  if (begin_ == end_) {
    const ssize_t count = receive(buffer_.data(), buffer_.size());
    if (count <= 0) return count;
    begin_ = 0;
    end_ = static_cast<std::size_t>(count);
  }
  const std::size_t count = std::min({size, end_ - begin_, allowed_});
  if (count == 0) {
    closing_ = true;
    return -1;
  }
  std::memcpy(data, buffer_.data() + begin_, count);
  begin_ += count;
  allowed_ -= count;
  return static_cast<ssize_t>(count);
}

bool PeerStream::writeAll(const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = write(bytes.data() + sent, bytes.size() - sent);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

ssize_t PeerStream::write(const char* data, std::size_t size) {
  if (dropped_) return -1;
  if (answered_) return static_cast<ssize_t>(size);
  if (ssl_ != nullptr) {
    ERR_clear_error();
    return SSL_write(ssl_, data, static_cast<int>(std::min<std::size_t>(size, INT_MAX)));
  }
  for (;;) {
    const ssize_t count = ::send(socket_, data, size, MSG_NOSIGNAL);
    if (count >= 0 || errno != EINTR) return count;
  }
}

void PeerStream::get_remote_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (::getpeername(socket_, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    describe(address, ip, port);
  }
}

void PeerStream::get_local_ip_and_port(std::string& ip, int& port) const {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
    describe(address, ip, port);
  }
}

}  // namespace tarnwell::sandbox
