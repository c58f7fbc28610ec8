#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include "tests/support/RawServer.h"

/// The two ends that a request is measured between: a server on loopback, and a bare handle of the
/// transfer library as the measure.
namespace tarnwell::benchmarks {

/// Answers every request with the same document.
inline test::RawServer::Handler answering(const std::string& body) {
  return [answer = "HTTP/1.1 200 OK\r\nContent-Type: text/xml; charset=utf-8\r\nContent-Length: " +
                   std::to_string(body.size()) + "\r\n\r\n" + body](test::RawConnection& peer) {
    while (peer.readRequest()) {
      if (!peer.write(answer)) return;
    }
  };
}

/// Posts the same body again and again, with the options of a connection.
class BareClient {
 public:
  /// @param fields  header lines besides those of every SOAP request.
  BareClient(const std::string& url, std::string body, const std::vector<std::string>& fields = {})
      : body_(std::move(body)), easy_(curl_easy_init(), curl_easy_cleanup) {
    for (const char* line : {"Content-Type: text/xml; charset=utf-8", "Accept:", "Expect:"})
      headers_ = curl_slist_append(headers_, line);
    for (const auto& line : fields) headers_ = curl_slist_append(headers_, line.c_str());
    CURL* const easy = easy_.get();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_POST, 1L);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body_.size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body_.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "compress, gzip");
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, take);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer_);
  }
  BareClient(const BareClient&) = delete;
  BareClient& operator=(const BareClient&) = delete;
  ~BareClient() { curl_slist_free_all(headers_); }

  [[nodiscard]] bool post() {
    answer_.clear();
    return curl_easy_perform(easy_.get()) == CURLE_OK;
  }
  /// The body that came last.
  [[nodiscard]] const std::string& answer() const noexcept { return answer_; }

 private:
  static std::size_t take(char* data, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
  }

  std::string body_;
  std::string answer_;
  curl_slist* headers_ = nullptr;
  std::unique_ptr<CURL, void (*)(CURL*)> easy_;
};

}  // namespace tarnwell::benchmarks
