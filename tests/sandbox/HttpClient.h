#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tarnwell::sandbox::test {

struct HttpReply {
  /// 0 when no answer came.
  int status = 0;
  std::string body;
  /// Names in lower case.
  std::multimap<std::string, std::string> headers;
  /// libcurl's word for what went wrong; empty when an answer came.
  std::string problem;
};

/// What a request is sent with.
struct HttpOptions {
  std::string user = "alice@example.com:secret";
  std::vector<std::string> headers = {"Content-Type: text/xml; charset=utf-8"};
  std::string caFile;
};

/// One kept connection, with another HTTP library than the server's.
class HttpClient {
 public:
  explicit HttpClient(HttpOptions options = {});
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;
  ~HttpClient();

  HttpReply get(const std::string& url);
  HttpReply post(const std::string& url, const std::string& body);

 private:
  HttpReply perform(const std::string& url);

  const HttpOptions options_;
  void* handle_;
};

/// Sends the bytes to that port of this machine, says that no more will come, and reads to the end.
[[nodiscard]] std::string exchangeBytes(int port, const std::string& bytes);
/// A connection that sends the bytes and stays open until the end of its life.
class OpenConnection {
 public:
  OpenConnection(int port, const std::string& bytes);
  OpenConnection(const OpenConnection&) = delete;
  OpenConnection& operator=(const OpenConnection&) = delete;
  ~OpenConnection();
  /// What comes up to that text and with it; all there is when the connection ends before.
  [[nodiscard]] std::string readUntil(const std::string& text);
  /// Everything up to the end of the connection.
  [[nodiscard]] std::string readToEnd();
  void sayNoMore();

 private:
  int socket_;
  std::string read_;
};

}  // namespace tarnwell::sandbox::test
