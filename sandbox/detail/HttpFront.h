#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwell::sandbox {

struct HttpRequest {
  using Fields = std::vector<std::pair<std::string, std::string>>;

  std::string method;
  /// As sent, without the query.
  std::string path;
  Fields query;
  Fields headers;
  /// Uncompressed.
  std::string body;

  /// The first field of that name, ignoring case; empty when there is none.
  [[nodiscard]] std::string header(const std::string& name) const;
  /// The first parameter of that name; empty when there is none.
  [[nodiscard]] std::string parameter(const std::string& name) const;
};

struct HttpAnswer {
  int status = 200;
  std::string contentType = {};
  std::string body = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  /// Sends the body instead of `body`: hands pieces to `write`, which sends each at once and
  /// answers false when nobody is there to read. Answering false itself, it leaves the body
  /// incomplete.
  std::function<bool(const std::function<bool(std::string_view)>& write)> stream = {};
  /// Close the connection without a byte instead.
  bool drop = false;
};

/// The listening socket, its connections (a thread each) and HTTP/1.1 on them.
///
/// A body is handed on whole. A request that is larger than allowed, has a method other than GET
/// and POST, a body of unknown length or one in parts is answered here.
class HttpFront {
 public:
  using Handler = std::function<HttpAnswer(const HttpRequest&)>;
  struct Options {
    std::string host;
    int port = 0;
    /// PEM; both empty for plain HTTP.
    std::string certificatePem;
    std::string keyPem;
    std::size_t bodyLimit = 0;
  };

  /// Null, with the reason in `error`, when the socket or the certificate cannot be had.
  [[nodiscard]] static std::unique_ptr<HttpFront> open(const Options& options, Handler handler,
                                                       std::string& error);

  HttpFront(const HttpFront&) = delete;
  HttpFront& operator=(const HttpFront&) = delete;
  /// Ends every connection and waits for the handlers that are running.
  ~HttpFront();

  [[nodiscard]] int port() const noexcept;

 private:
  class Listener;
  explicit HttpFront(std::unique_ptr<Listener> listener);
  std::unique_ptr<Listener> listener_;
};

}  // namespace tarnwell::sandbox
