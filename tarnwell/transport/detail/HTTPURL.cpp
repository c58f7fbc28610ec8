#include "tarnwell/transport/detail/HTTPURL.h"

#include <cstring>
#include <memory>

#include <curl/curl.h>

#include "tarnwell/transport/detail/HTTPText.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell::detail {
namespace {

struct FreeURL {
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
struct FreePart {
  void operator()(char* part) const noexcept { curl_free(part); }
};
using URL = std::unique_ptr<CURLU, FreeURL>;
using URLPart = std::unique_ptr<char, FreePart>;

bool holdsLogin(CURLU* url) {
  for (const CURLUPart which : {CURLUPART_USER, CURLUPART_PASSWORD}) {
    char* part = nullptr;
    if (curl_url_get(url, which, &part, 0) != CURLUE_OK) continue;
    curl_free(part);
    return true;
  }
  return false;
}

}  // namespace

URLVerdict judgeURL(const std::string& url) {
  if (!staysOnItsLine(url)) return URLVerdict::malformed;
  const URL parsed(curl_url());
  if (!parsed) return URLVerdict::malformed;
  // Without this check "not a url" would be taken for the name of a host.
  switch (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0)) {
    case CURLUE_OK:
      break;
    case CURLUE_UNSUPPORTED_SCHEME:
      return URLVerdict::otherScheme;
    default:
      return URLVerdict::malformed;
  }
  if (holdsLogin(parsed.get())) return URLVerdict::login;
  char* part = nullptr;
  if (curl_url_get(parsed.get(), CURLUPART_SCHEME, &part, 0) != CURLUE_OK)
    return URLVerdict::malformed;
  const URLPart scheme(part);
  return equalIgnoringCase(part, "http") || equalIgnoringCase(part, "https")
             ? URLVerdict::good
             : URLVerdict::otherScheme;
}

std::string hostOf(const char* address) {
  const URL url(curl_url());
  if (!url || curl_url_set(url.get(), CURLUPART_URL, address, 0) != CURLUE_OK) return {};
#ifdef CURLU_PUNYCODE
  constexpr unsigned kForm = CURLU_PUNYCODE;
#else
  constexpr unsigned kForm = 0;
#endif
  char* part = nullptr;
  if (curl_url_get(url.get(), CURLUPART_HOST, &part, kForm) != CURLUE_OK) return {};
  const URLPart owned(part);
  std::string host(part);
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  if (host.ends_with('.')) host.pop_back();
  return host;
}

bool holdsLogin(const std::string& address) {
  const URL url(curl_url());
  return url &&
         curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_NON_SUPPORT_SCHEME) ==
             CURLUE_OK &&
         holdsLogin(url.get());
}

std::string withoutLogin(const char* address) {
  // Taking a URL apart costs as much as the rest of what is done here for a small answer.
  if (std::strchr(address, '@') == nullptr) return address;
  const URL url(curl_url());
  char* part = nullptr;
  if (!url || curl_url_set(url.get(), CURLUPART_URL, address, 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_USER, nullptr, 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_PASSWORD, nullptr, 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_URL, &part, 0) != CURLUE_OK) {
    return {};
  }
  const URLPart owned(part);
  return part;
}

std::string resolve(const std::string& base, const std::string& location) {
  constexpr unsigned kLenient = CURLU_NON_SUPPORT_SCHEME | CURLU_ALLOW_SPACE | CURLU_URLENCODE;
  const URL url(curl_url());
  char* part = nullptr;
  if (!url || curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_URL, location.c_str(), kLenient) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_URL, &part, CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    return location;
  }
  const URLPart owned(part);
  return part;
}

}  // namespace tarnwell::detail
