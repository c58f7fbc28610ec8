#include "tests/sandbox/HttpClient.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace tarnwell::sandbox::test {
namespace {

constexpr long kPatienceSeconds = 30;

std::size_t takeBody(char* data, std::size_t, std::size_t size, void* reply) {
  static_cast<HttpReply*>(reply)->body.append(data, size);
  return size;
}

std::size_t takeHeader(char* data, std::size_t, std::size_t size, void* reply) {
  std::string_view line(data, size);
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return size;
  std::string name(line.substr(0, colon));
  std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
  line.remove_prefix(colon + 1);
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  line = line.substr(0, line.find_last_not_of("\r\n") + 1);
  static_cast<HttpReply*>(reply)->headers.emplace(std::move(name), line);
  return size;
}

}  // namespace

HttpClient::HttpClient(HttpOptions options)
    : options_(std::move(options)), handle_(curl_easy_init()) {
  if (handle_ == nullptr) throw std::runtime_error("no libcurl handle");
}

HttpClient::~HttpClient() { curl_easy_cleanup(handle_); }

HttpReply HttpClient::get(const std::string& url) {
  curl_easy_reset(handle_);
  return perform(url);
}

HttpReply HttpClient::post(const std::string& url, const std::string& body) {
  curl_easy_reset(handle_);
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDS, body.data());
  return perform(url);
}

HttpReply HttpClient::perform(const std::string& url) {
  HttpReply reply;
  curl_slist* headers = curl_slist_append(nullptr, "Expect:");
  for (const std::string& header : options_.headers) {
    headers = curl_slist_append(headers, header.c_str());
  }
  curl_easy_setopt(handle_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle_, CURLOPT_PROXY, "");
  curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle_, CURLOPT_TIMEOUT, kPatienceSeconds);
  curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, takeBody);
  curl_easy_setopt(handle_, CURLOPT_WRITEDATA, &reply);
  curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, takeHeader);
  curl_easy_setopt(handle_, CURLOPT_HEADERDATA, &reply);
  if (!options_.user.empty()) curl_easy_setopt(handle_, CURLOPT_USERPWD, options_.user.c_str());
  if (!options_.caFile.empty()) {
    curl_easy_setopt(handle_, CURLOPT_CAINFO, options_.caFile.c_str());
  }
  const CURLcode code = curl_easy_perform(handle_);
  curl_slist_free_all(headers);
  if (code != CURLE_OK) {
    reply.problem = curl_easy_strerror(code);
    return reply;
  }
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  reply.status = static_cast<int>(status);
  return reply;
}

OpenConnection::OpenConnection(int port, const std::string& bytes)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval patience{kPatienceSeconds, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("cannot connect");
  }
  // The server may close before it has taken everything: what it said counts.
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) break;
    sent += static_cast<std::size_t>(count);
  }
}

OpenConnection::~OpenConnection() { ::close(socket_); }

void OpenConnection::sayNoMore() { ::shutdown(socket_, SHUT_WR); }

std::string OpenConnection::readUntil(const std::string& text) {
  std::array<char, 4096> buffer{};
  std::size_t found = read_.find(text);
  while (found == std::string::npos) {
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (count <= 0) return std::exchange(read_, {});
    read_.append(buffer.data(), static_cast<std::size_t>(count));
    found = read_.find(text);
  }
  std::string taken = read_.substr(0, found + text.size());
  read_.erase(0, taken.size());
  return taken;
}

std::string OpenConnection::readToEnd() {
  std::string all = std::exchange(read_, {});
  std::array<char, 4096> buffer{};
  for (;;) {
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (count <= 0) return all;
    all.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

std::string exchangeBytes(int port, const std::string& bytes) {
  OpenConnection connection(port, bytes);
  connection.sayNoMore();
  return connection.readToEnd();
}

}  // namespace tarnwell::sandbox::test
