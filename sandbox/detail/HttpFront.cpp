#include "sandbox/detail/HttpFront.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <list>
#include <mutex>
#include <thread>

#include <httplib.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "sandbox/detail/PeerStream.h"

namespace tarnwell::sandbox {
namespace {

constexpr int kIdleSeconds = 120;
constexpr int kStallSeconds = 30;
constexpr int kRequestsPerConnection = 10000;
constexpr std::size_t kMostConnections = 512;
constexpr std::size_t kHeadLimit = 65536;
constexpr std::size_t kPathLimit = 1024;
constexpr int kBacklog = 256;

struct FreeContext {
  void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeContext>;

bool equalIgnoringCase(const std::string& a, const std::string& b) {
  return std::ranges::equal(
      a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

TlsContext makeContext(const std::string& certificatePem, const std::string& keyPem) {
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> certificateText(
      BIO_new_mem_buf(certificatePem.data(), static_cast<int>(certificatePem.size())),
      &BIO_free_all);
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> keyText(
      BIO_new_mem_buf(keyPem.data(), static_cast<int>(keyPem.size())), &BIO_free_all);
  TlsContext context(SSL_CTX_new(TLS_server_method()));
  if (!certificateText || !keyText || !context) return nullptr;

  const auto readCertificate = [&certificateText] {
    return std::unique_ptr<X509, decltype(&X509_free)>(
        PEM_read_bio_X509(certificateText.get(), nullptr, nullptr, nullptr), &X509_free);
  };
  const auto leaf = readCertificate();
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr), &EVP_PKEY_free);
  bool good = leaf && key && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1 &&
              SSL_CTX_use_certificate(context.get(), leaf.get()) == 1 &&
              SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1 &&
              SSL_CTX_check_private_key(context.get()) == 1;
  while (good) {
    const auto intermediate = readCertificate();
    if (!intermediate) break;
    good = SSL_CTX_add1_chain_cert(context.get(), intermediate.get()) == 1;
  }
  ERR_clear_error();  // the end of the file counts as an error
  return good ? std::move(context) : nullptr;
}

}  // namespace

std::string HttpRequest::header(const std::string& name) const {
  for (const auto& [key, value] : headers) {
    if (equalIgnoringCase(key, name)) return value;
  }
  return {};
}

std::string HttpRequest::parameter(const std::string& name) const {
  for (const auto& [key, value] : query) {
    if (key == name) return value;
  }
  return {};
}

/// The HTTP library's own accept loop neither ends idle connections when it stops nor lets a
/// handler close one unanswered; so the loop is ours, and the library reads and writes the
/// messages.
class HttpFront::Listener final : private httplib::Server {
 public:
  Listener(const HttpFront::Options& options, HttpFront::Handler handler)
      : handler_(std::move(handler)),
        bodyLimit_(options.bodyLimit),
        wake_(::eventfd(0, EFD_CLOEXEC)) {
    set_keep_alive_timeout(kIdleSeconds);
    set_keep_alive_max_count(kRequestsPerConnection);
    set_payload_max_length(bodyLimit_);
    // Not SO_REUSEPORT, the library's default: a taken port must be an error.
    set_socket_options([](socket_t socket) {
      const int on = 1;
      ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
      return refuseEarly(request, response);
    });
    Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
      answer(request, {}, response);
    });
    Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                      const httplib::ContentReader& reader) { post(request, response, reader); });
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  ~Listener() override {
    if (acceptor_.joinable()) {
      const std::uint64_t one = 1;
      while (::write(wake_, &one, sizeof one) < 0 && errno == EINTR) {
      }
      acceptor_.join();
    }
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      for (const Connection& connection : connections_) {
        if (connection.socket >= 0) ::shutdown(connection.socket, SHUT_RDWR);
      }
    }
    for (Connection& connection : connections_) connection.thread.join();
    if (svr_sock_ != INVALID_SOCKET) ::close(svr_sock_);
    if (wake_ >= 0) ::close(wake_);
  }

  [[nodiscard]] bool open(const HttpFront::Options& options, std::string& error) {
    if (!options.certificatePem.empty() || !options.keyPem.empty()) {
      context_ = makeContext(options.certificatePem, options.keyPem);
      if (!context_) {
        error = "the certificate and its key cannot be used";
        return false;
      }
    }
    port_ = options.port;
    const bool bound = options.port == 0 ? (port_ = bind_to_any_port(options.host)) > 0
                                         : bind_to_port(options.host, options.port);
    // The library listens with room for five waiting clients; saying it again makes it more.
    if (!bound || wake_ < 0 || ::listen(svr_sock_, kBacklog) != 0) {
      error = "cannot listen on " + options.host + ":" + std::to_string(options.port);
      return false;
    }
    acceptor_ = std::thread([this] { acceptConnections(); });
    return true;
  }

  [[nodiscard]] int port() const noexcept { return port_; }

 private:
  struct Connection {
    int socket = -1;
    bool done = false;
    std::thread thread;
  };

  static HandlerResponse refuse(httplib::Response& response, int status) {
    response.status = status;
    current_->closeAfterAnswer();  // its body stays unread
    return HandlerResponse::Handled;
  }

  static HandlerResponse refuseEarly(const httplib::Request& request, httplib::Response& response) {
    if (request.path.size() > kPathLimit) return refuse(response, 414);
    if (request.method != "GET" && request.method != "POST") return refuse(response, 405);
    return HandlerResponse::Unhandled;
  }

  /// The library would choose Brotli at its slowest level, which no Exchange server speaks.
  static void withoutBrotli(httplib::Request& request) {
    const auto offer = request.headers.find("Accept-Encoding");
    if (offer == request.headers.end() || offer->second.find("br") == std::string::npos) return;
    offer->second = offer->second.find("gzip") == std::string::npos ? "identity" : "gzip";
  }

  void post(const httplib::Request& request, httplib::Response& response,
            const httplib::ContentReader& reader) {
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
      refuse(response, 411);
      return;
    }
    if (request.is_multipart_form_data()) {
      refuse(response, 415);
      return;
    }
    std::string body;
    bool tooLarge = false;
    // The library's own limit counts what arrives, this one what it unpacks to.
    const bool read = reader([&](const char* data, std::size_t size) {
      tooLarge = body.size() + size > bodyLimit_;
      if (!tooLarge) body.append(data, size);
      return !tooLarge;
    });
    if (!read) {
      refuse(response, tooLarge || response.status == 413 ? 413 : 400);
      return;
    }
    answer(request, std::move(body), response);
  }

  void answer(const httplib::Request& request, std::string body, httplib::Response& response) {
    const HttpAnswer answer = handler_({request.method,
                                        request.path,
                                        {request.params.begin(), request.params.end()},
                                        {request.headers.begin(), request.headers.end()},
                                        std::move(body)});
    if (answer.drop) {
      current_->drop();
      return;
    }
    if (answer.stream) {
      sendStream(answer);
      return;
    }
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers) response.headers.emplace(name, value);
    if (!answer.contentType.empty()) response.set_content(answer.body, answer.contentType);
  }

  /// Past the library, which would compress the pieces and keep them back.
  static void sendStream(const HttpAnswer& answer) {
    PeerStream& stream = *current_;
    const auto write = [&stream](std::string_view bytes) {
      std::array<char, 24> size{};
      std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size());
      return bytes.empty() ||
             (stream.isAwaited() && stream.writeAll(size.data() + std::string(bytes) + "\r\n"));
    };
    const bool begun = stream.writeAll("HTTP/1.1 200 OK\r\nContent-Type: " + answer.contentType +
                                       "\r\nTransfer-Encoding: chunked\r\n"
                                       "Connection: close\r\n\r\n");
    if (begun && answer.stream(write)) stream.writeAll("0\r\n\r\n");
    stream.endAnswer();
  }

  void acceptConnections() {
    for (;;) {
      std::array<pollfd, 2> entries{pollfd{svr_sock_, POLLIN, 0}, pollfd{wake_, POLLIN, 0}};
      if (::poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR) return;
      if (entries[1].revents != 0) return;
      if (entries[0].revents == 0) continue;
      const int socket = ::accept4(svr_sock_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) {
        // Out of descriptors the client stays in the queue: look again a little later.
        if (errno == EMFILE || errno == ENFILE) ::poll(nullptr, 0, 10);
        continue;
      }

      const std::lock_guard lock(mutex_);
      std::erase_if(connections_, [](Connection& connection) {
        if (connection.done) connection.thread.join();
        return connection.done;
      });
      if (connections_.size() >= kMostConnections) {
        ::close(socket);
        continue;
      }
      Connection& connection = connections_.emplace_back();
      connection.socket = socket;
      connection.thread = std::thread([this, &connection, socket] {
        serve(socket);
        const std::lock_guard inner(mutex_);
        ::close(socket);
        connection.socket = -1;
        connection.done = true;
      });
    }
  }

  void serve(int socket) {
    // A TLS peer that goes away raises SIGPIPE, which must not reach the program.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);

    PeerStream stream(socket, kStallSeconds);
    if (context_ && !stream.startTls(context_.get())) return;
    current_ = &stream;
    bool closed = false;
    for (int left = kRequestsPerConnection; left > 0 && !closed && !stopping_; --left) {
      if (!stream.beginRequest(kIdleSeconds, bodyLimit_ + kHeadLimit)) return;
      if (!process_request(stream, left == 1, closed, withoutBrotli)) return;
      if (stream.isClosing()) return;
    }
  }

  // The connection that this thread serves.
  static thread_local PeerStream* current_;

  const HttpFront::Handler handler_;
  const std::size_t bodyLimit_;
  const int wake_;
  int port_ = 0;
  TlsContext context_;
  std::thread acceptor_;
  std::atomic<bool> stopping_ = false;
  std::mutex mutex_;  // guards the connections
  std::list<Connection> connections_;
};

thread_local PeerStream* HttpFront::Listener::current_ = nullptr;

std::unique_ptr<HttpFront> HttpFront::open(const Options& options, Handler handler,
                                           std::string& error) {
  auto listener = std::make_unique<Listener>(options, std::move(handler));
  if (!listener->open(options, error)) return nullptr;
  return std::unique_ptr<HttpFront>(new HttpFront(std::move(listener)));
}

HttpFront::HttpFront(std::unique_ptr<Listener> listener) : listener_(std::move(listener)) {}
HttpFront::~HttpFront() = default;
int HttpFront::port() const noexcept { return listener_->port(); }

}  // namespace tarnwell::sandbox
