#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <httplib.h>
#include <openssl/ssl.h>

namespace tarnwell::sandbox {

/// One accepted connection, with or without TLS, as the HTTP library reads and writes it. Keeps a
/// peer from sending more than the server is ready to take.
class PeerStream final : public httplib::Stream {
 public:
  /// Reads and writes that make no progress for `timeoutSeconds` fail. The socket stays the
  /// caller's.
  PeerStream(int socket, int timeoutSeconds);
  PeerStream(const PeerStream&) = delete;
  PeerStream& operator=(const PeerStream&) = delete;
  ~PeerStream() override;

  /// The server's side of the handshake. False: close the connection.
  [[nodiscard]] bool startTls(SSL_CTX* context);

  /// Waits for a request to begin and allows it `byteLimit` bytes in all. False when there is none.
  [[nodiscard]] bool beginRequest(int idleSeconds, std::size_t byteLimit);

  /// Nothing more is written: the peer sees the connection end.
  void drop() noexcept { dropped_ = true; }
  /// The connection ends after this answer, for instance since the request was not read to its end.
  void closeAfterAnswer() noexcept { closing_ = true; }
  /// The answer is complete: what else is written goes nowhere, and the connection ends.
  void endAnswer() noexcept {
    answered_ = true;
    closing_ = true;
  }
  /// False when not all of it could be sent.
  bool writeAll(const std::string& bytes);
  [[nodiscard]] bool isClosing() const noexcept { return closing_ || dropped_; }

  [[nodiscard]] bool is_readable() const override;
  [[nodiscard]] bool is_writable() const override;
  /// The client has not closed its side, as one does that stops reading a stream.
  [[nodiscard]] bool isAwaited() const;
  ssize_t read(char* data, std::size_t size) override;
  ssize_t write(const char* data, std::size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  [[nodiscard]] socket_t socket() const override { return socket_; }

 private:
  [[nodiscard]] ssize_t receive(char* data, std::size_t size);

  int socket_;
  SSL* ssl_ = nullptr;
  std::size_t allowed_ = 0;
  bool dropped_ = false;
  bool answered_ = false;
  bool closing_ = false;
  // The HTTP library reads heads byte by byte.
  std::array<char, 16384> buffer_{};
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace tarnwell::sandbox
