#include "tarnwell/transport/detail/HTTPTransfer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <mutex>
#include <string_view>
#include <utility>

#include <curl/curl.h>
#include <openssl/crypto.h>

#include "tarnwell/transport/detail/HTTPText.h"
#include "tarnwell/transport/detail/HTTPURL.h"
#include "tarnwell/transport/detail/PipeSignalGuard.h"
#include "tarnwell/transport/detail/ServerTrust.h"
#include "tarnwell/transport/detail/Unpacker.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell::detail {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

static_assert(TWHTTPErrorUnsupportedURL == CURLE_UNSUPPORTED_PROTOCOL);
static_assert(TWHTTPErrorMalformedURL == CURLE_URL_MALFORMAT);
static_assert(TWHTTPErrorUnknownHost == CURLE_COULDNT_RESOLVE_HOST);
static_assert(TWHTTPErrorCannotConnect == CURLE_COULDNT_CONNECT);
static_assert(TWHTTPErrorCutShort == CURLE_PARTIAL_FILE);
static_assert(TWHTTPErrorTimedOut == CURLE_OPERATION_TIMEDOUT);
static_assert(TWHTTPErrorCancelled == CURLE_ABORTED_BY_CALLBACK);
static_assert(TWHTTPErrorBadRequest == CURLE_BAD_FUNCTION_ARGUMENT);
static_assert(TWHTTPErrorTooManyRedirects == CURLE_TOO_MANY_REDIRECTS);
static_assert(TWHTTPErrorEmptyReply == CURLE_GOT_NOTHING);
static_assert(TWHTTPErrorConnectionLost == CURLE_RECV_ERROR);
static_assert(TWHTTPErrorInsecureCertificate == CURLE_PEER_FAILED_VERIFICATION);
static_assert(TWHTTPErrorTooLarge == CURLE_FILESIZE_EXCEEDED);

/// As many as browsers follow, so that a cycle ends long before the time limit.
constexpr int kMostRedirects = 20;
/// Refusals by one host in a row. NTLM has two before it is let in; a server that finds every
/// Digest login stale would go on for ever.
constexpr int kMostChallenges = 4;
/// How long to sleep when nothing limits it; waking up for nothing once a minute costs nothing.
constexpr milliseconds kLongestPoll{60000};
constexpr std::string_view kLoginInURL = "A URL holds a user name or a password";
/// A body is not believed to be longer than this before it has arrived.
constexpr curl_off_t kMostReserved = 0x1000000;  // 16 MiB

template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* handle) const noexcept {
    Free(handle);
  }
};
/// Header lines may hold a token, so they are wiped.
struct WipeAndFree {
  void operator()(curl_slist* list) const noexcept {
    for (curl_slist* line = list; line != nullptr; line = line->next) {
      OPENSSL_cleanse(line->data, std::strlen(line->data));
    }
    curl_slist_free_all(list);
  }
};
using Easy = std::unique_ptr<CURL, FreeWith<curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, FreeWith<curl_multi_cleanup>>;
using Lines = std::unique_ptr<curl_slist, WipeAndFree>;

/// Once for the process; never undone, since others may use the library, too.
bool initialiseOnce() {
  static const bool done = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return done;
}

bool append(Lines& list, const std::string& line) {
  curl_slist* const longer = curl_slist_append(list.get(), line.c_str());
  if (longer == nullptr) return false;
  (void)list.release();  // part of the longer one now
  list.reset(longer);
  return true;
}

TWError httpError(CURLcode code, std::string_view message) {
  return {TWHTTPErrorDomain, static_cast<std::int64_t>(code), message};
}

TWError httpError(CURLcode code, const std::array<char, CURL_ERROR_SIZE>& detail) {
  return httpError(code, detail[0] != '\0' ? detail.data() : curl_easy_strerror(code));
}

/// Sets options and remembers the first failure.
class OptionSetter {
 public:
  explicit OptionSetter(CURL* easy) : easy_(easy) {}

  template <class T>
  void operator()(CURLoption option, T value) {
    if (result_ == CURLE_OK) result_ = curl_easy_setopt(easy_, option, value);
  }
  void operator()(CURLoption option, const std::string& text) { (*this)(option, text.c_str()); }
  [[nodiscard]] CURLcode result() const noexcept { return result_; }

 private:
  CURL* easy_;
  CURLcode result_ = CURLE_OK;
};

const char* effectiveURL(CURL* easy) {
  const char* url = nullptr;
  return curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &url) == CURLE_OK && url ? url : "";
}

/// Whether all fields are among those that every SOAP request has.
bool holdsNoSecret(const TWHeaders& headers) {
  return std::ranges::all_of(headers, [](const auto& field) {
    return field.first == "Content-Type" || field.first == "Accept-Encoding";
  });
}

bool usesTLS(std::string_view url) { return equalIgnoringCase(url.substr(0, 6), "https:"); }

/// The milliseconds until then, rounded up so that waking up early does not spin.
milliseconds until(steady_clock::time_point then, steady_clock::time_point now) {
  return std::chrono::ceil<milliseconds>(then - now);
}

TWError refusalOfFields(const std::string& method, const TWHeaders& headers,
                        const std::optional<HTTPLogin>& login) {
  // Nothing of the offending text goes into the message: it may be a token.
  if (!isToken(method)) return httpError(CURLE_BAD_FUNCTION_ARGUMENT, "Bad HTTP method");
  for (const auto& [name, value] : headers) {
    if (!isToken(name)) return httpError(CURLE_BAD_FUNCTION_ARGUMENT, "Bad name of a header field");
    if (!staysOnItsLine(value)) {
      return httpError(CURLE_BAD_FUNCTION_ARGUMENT, "A header field holds a line break or NUL");
    }
  }
  if (login) {
    if (!staysOnItsLine(login->username)) {
      return httpError(CURLE_BAD_FUNCTION_ARGUMENT, "The user name holds a line break or NUL");
    }
    if (login->password.find('\0') != std::string::npos) {
      return httpError(CURLE_BAD_FUNCTION_ARGUMENT, "The password holds a NUL");
    }
  }
  return {};
}

TWError refusalOfURL(const std::string& url) {
  switch (judgeURL(url)) {
    case URLVerdict::good:
      return {};
    case URLVerdict::otherScheme:
      return httpError(CURLE_UNSUPPORTED_PROTOCOL, "Neither http nor https");
    case URLVerdict::login:
      // A password in a URL would end up in logs and errors.
      return httpError(CURLE_LOGIN_DENIED, kLoginInURL);
    case URLVerdict::malformed:
      break;
  }
  return httpError(CURLE_URL_MALFORMAT, "Bad URL");
}

}  // namespace

TWError refusal(const std::string& url, const std::string& method, const TWHeaders& headers,
                const std::optional<HTTPLogin>& login) {
  TWError error = refusalOfFields(method, headers, login);
  return error ? error : refusalOfURL(url);
}

/// The handles, and what the callbacks of the transfer library work on.
struct HTTPTransfer::Engine {
  explicit Engine(HTTPTransferOptions given) : options(std::move(given)) {
    trust.caFile = options.caFile;
    trust.accepts = [this](bool trusted) {
      return request != nullptr && request->acceptsCertificate
                 ? request->acceptsCertificate(trusted)
                 : trusted;
    };
  }

  CURLcode open();
  void drop() noexcept;
  CURLcode prepare(const HTTPRequest& wanted);
  void chooseMethod(OptionSetter& set, const HTTPRequest& wanted) const;
  CURLcode setHeaders(OptionSetter& set, const HTTPRequest& wanted);
  bool writeHeaders(const HTTPRequest& wanted);
  CURLcode run(const HTTPRequest& wanted);
  [[nodiscard]] bool isCancelled();

  bool beginRequest();
  void forgetAnswer() noexcept;
  [[nodiscard]] long redirectCount() const;
  void takeHeaderLine(std::string_view line);
  void endHead();
  CURLcode takeBody(std::span<const std::uint8_t> piece);
  CURLcode takeUnpacked(std::span<const std::uint8_t> piece);
  CURLcode chooseUnpacker();
  void noteScheme(std::string_view head);

  static int onSocket(void* self, curl_socket_t socket, curlsocktype purpose) noexcept;
  static int onRequest(void* self, char* peer, char* own, int peerPort, int ownPort) noexcept;
  static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self) noexcept;
  static int onDebug(CURL*, curl_infotype type, char* data, std::size_t size, void* self) noexcept;
  static CURLcode onTLSContext(CURL* easy, void* context, void* self) noexcept;

  HTTPTransferOptions options;
  ServerTrust trust;  // before the handles: kept connections point to it
  Lines connectTo;
  Easy easy;
  Multi multi;
  std::array<char, CURL_ERROR_SIZE> message{};
  std::string goodURL;  // of the last request; most requests of a transfer go to the same one
  // Most requests have the same fields, too. Those that may hold a secret are not kept.
  Lines headers;
  TWHeaders headersOf;
  bool unpacks = false;  // what these headers ask for
  // Remembered: a connection that is logged in by NTLM sends none any more.
  TWAuthType scheme = TWAuthType::none;

  std::mutex
      mutex;  // guards the two below, and `multi` against being replaced while `cancel` uses it
  bool running = false;
  bool cancelled = false;

  // Of the request in flight.
  const HTTPRequest* request = nullptr;
  HTTPResult* result = nullptr;
  bool sent = false;
  bool headComplete = false;
  bool bodyBegun = false;
  std::unique_ptr<Unpacker> unpacker;
  long redirectsAtHead = 0;
  CURLcode ownFailure = CURLE_OK;  // why a callback ended the transfer
  bool receiverDone = false;
  bool gaveUp = false;  // the last challenge is the answer
  int redirects = 0;
  int challenges = 0;  // since the last redirect
  steady_clock::time_point lastByte;
};

CURLcode HTTPTransfer::Engine::open() {
  if (easy && multi) return CURLE_OK;
  if (!initialiseOnce()) return CURLE_FAILED_INIT;
  Easy newEasy(curl_easy_init());
  Multi newMulti(curl_multi_init());
  if (!newEasy || !newMulti) return CURLE_OUT_OF_MEMORY;
  connectTo.reset();
  for (const std::string& entry : options.connectTo) {
    if (!append(connectTo, entry)) return CURLE_OUT_OF_MEMORY;
  }
  if (usesTLS(options.proxy))
    return CURLE_UNSUPPORTED_PROTOCOL;  // its certificate has no judge here

  OptionSetter set(newEasy.get());
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // cancelling does not wait for a name look-up to give up
  set(CURLOPT_ERRORBUFFER, message.data());
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  // A wide net: the transfer library counts logins, too.
  set(CURLOPT_MAXREDIRS, (kMostRedirects + 1L) * kMostChallenges);
  set(CURLOPT_POSTREDIR, 0L);  // 301, 302 and 303 turn POST into GET
  set(CURLOPT_UNRESTRICTED_AUTH, 0L);
  set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  set(CURLOPT_PROXY, options.proxy);  // the empty text also hides the environment's proxy
  set(CURLOPT_NOPROXY, "");
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  set(CURLOPT_COOKIEFILE,
      "");  // cookies in memory: load balancers tie a mailbox to a server by them
  set(CURLOPT_CONNECT_TO, connectTo.get());
  // The verify callback judges everything, the name included, and with all of it known at once.
  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 0L);
  set(CURLOPT_SSL_SESSIONID_CACHE, 0L);  // a resumed session would skip the callback
  set(CURLOPT_SSL_CTX_FUNCTION, &Engine::onTLSContext);
  set(CURLOPT_SSL_CTX_DATA, this);
  set(CURLOPT_SOCKOPTFUNCTION, &Engine::onSocket);
  set(CURLOPT_SOCKOPTDATA, this);
  set(CURLOPT_PREREQFUNCTION, &Engine::onRequest);
  set(CURLOPT_PREREQDATA, this);
  set(CURLOPT_HEADERFUNCTION, &Engine::onHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_WRITEFUNCTION, &Engine::onBody);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_DEBUGFUNCTION, &Engine::onDebug);
  set(CURLOPT_DEBUGDATA, this);
  if (set.result() != CURLE_OK) return set.result();

  const std::lock_guard lock(mutex);
  easy = std::move(newEasy);
  multi = std::move(newMulti);
  return CURLE_OK;
}

void HTTPTransfer::Engine::drop() noexcept {
  const PipeSignalGuard guard;
  const std::lock_guard lock(mutex);
  // The multi handle's farewell to its connections uses the easy handle's settings.
  multi.reset();
  easy.reset();
  scheme = TWAuthType::none;
}

CURLcode HTTPTransfer::Engine::prepare(const HTTPRequest& wanted) {
  OptionSetter set(easy.get());
  set(CURLOPT_URL, wanted.url);
  chooseMethod(set, wanted);
  set(CURLOPT_FOLLOWLOCATION, wanted.followsRedirects ? 1L : 0L);
  set(CURLOPT_REDIR_PROTOCOLS_STR, usesTLS(wanted.url) ? "https" : "http,https");
  // A login of the caller's own answers no challenge: the field would be sent beside ours.
  const bool answersChallenges =
      wanted.login && std::ranges::none_of(wanted.headers, [](const auto& field) {
        return equalIgnoringCase(field.first, "Authorization");
      });
  if (answersChallenges) {
    // Without Negotiate: when it is allowed but no ticket is at hand, nothing else is tried.
    set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM));
    set(CURLOPT_USERNAME, wanted.login->username);
    set(CURLOPT_PASSWORD, wanted.login->password);
  } else {
    set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NONE));
    set(CURLOPT_USERNAME, nullptr);
    set(CURLOPT_PASSWORD, nullptr);
  }
  // For `onDebug`, which sees the headers sent.
  set(CURLOPT_VERBOSE, answersChallenges ? 1L : 0L);
  const CURLcode headerResult = setHeaders(set, wanted);
  return headerResult != CURLE_OK ? headerResult : set.result();
}

void HTTPTransfer::Engine::chooseMethod(OptionSetter& set, const HTTPRequest& wanted) const {
  set(CURLOPT_CUSTOMREQUEST, nullptr);
  set(CURLOPT_NOBODY, 0L);
  set(CURLOPT_HTTPGET, 1L);
  const bool isPost = wanted.method == "POST";
  if (wanted.method == "HEAD") {
    set(CURLOPT_NOBODY, 1L);
    return;
  }
  if (wanted.method != "GET" && !isPost) {
    set(CURLOPT_CUSTOMREQUEST, wanted.method);
  }
  if (!wanted.body && !isPost) return;
  const std::span<const std::uint8_t> bytes = wanted.body.value_or(std::span<const std::uint8_t>());
  if (isPost) set(CURLOPT_POST, 1L);
  // A body with a method that usually has none goes out all the same, under its method. Only HEAD
  // never has one.
  if (wanted.method == "GET") set(CURLOPT_CUSTOMREQUEST, wanted.method);
  set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bytes.size()));
  set(CURLOPT_POSTFIELDS, bytes.empty() ? "" : reinterpret_cast<const char*>(bytes.data()));
}

CURLcode HTTPTransfer::Engine::setHeaders(OptionSetter& set, const HTTPRequest& wanted) {
  if (!headers || wanted.headers != headersOf) {
    if (!writeHeaders(wanted)) return CURLE_OUT_OF_MEMORY;
  }
  set(CURLOPT_HTTPHEADER, headers.get());
  return set.result();
}

bool HTTPTransfer::Engine::writeHeaders(const HTTPRequest& wanted) {
  headers.reset();
  headersOf.clear();
  unpacks = false;
  // A name without a value takes back what the transfer library would add by itself.
  std::vector<std::string_view> unwanted{"Accept", "Expect", "User-Agent", "Content-Type"};
  for (const auto& field : wanted.headers) {
    const std::string& name = field.first;
    if (equalIgnoringCase(name, "Content-Length") || equalIgnoringCase(name, "Transfer-Encoding")) {
      continue;
    }
    std::erase_if(unwanted, [&](std::string_view other) { return equalIgnoringCase(other, name); });
    const std::string_view content = trimmed(field.second);
    if (equalIgnoringCase(name, "Accept-Encoding") && !content.empty()) {
      unpacks = true;
    }
    std::string line = name;
    line += content.empty() ? ";" : ": ";
    line += content;
    const bool appended = append(headers, line);
    OPENSSL_cleanse(line.data(), line.size());
    if (!appended) return false;
  }
  for (const std::string_view name : unwanted) {
    if (!append(headers, std::string(name) + ":")) return false;
  }
  if (holdsNoSecret(wanted.headers)) headersOf = wanted.headers;
  return true;
}

bool HTTPTransfer::Engine::isCancelled() {
  const std::lock_guard lock(mutex);
  return cancelled || (request->cancelled && *request->cancelled);
}

CURLcode HTTPTransfer::Engine::run(const HTTPRequest& wanted) {
  lastByte = steady_clock::now();
  for (;;) {
    const auto now = steady_clock::now();
    if (isCancelled()) return CURLE_ABORTED_BY_CALLBACK;
    milliseconds wait = kLongestPoll;
    if (wanted.deadline) wait = std::min(wait, until(*wanted.deadline, now));
    if (wanted.idleLimit)
      wait = std::min(wait, until(lastByte + countable(*wanted.idleLimit), now));
    if (wait <= milliseconds::zero()) return CURLE_OPERATION_TIMEDOUT;

    int stillRunning = 0;
    if (curl_multi_perform(multi.get(), &stillRunning) != CURLM_OK) return CURLE_FAILED_INIT;
    int left = 0;
    while (const CURLMsg* note = curl_multi_info_read(multi.get(), &left)) {
      if (note->msg != CURLMSG_DONE) continue;
      if (receiverDone || gaveUp) return CURLE_OK;
      if (ownFailure != CURLE_OK) return ownFailure;
      const bool whole = !unpacker || unpacker->isComplete();
      return note->data.result == CURLE_OK && !whole ? CURLE_PARTIAL_FILE : note->data.result;
    }
    // Data may have taken a while: what is left of the wait only shrinks the sleep, never the
    // limits.
    if (curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(wait.count()), nullptr) !=
        CURLM_OK) {
      return CURLE_FAILED_INIT;
    }
  }
}

long HTTPTransfer::Engine::redirectCount() const {
  long count = 0;
  return curl_easy_getinfo(easy.get(), CURLINFO_REDIRECT_COUNT, &count) == CURLE_OK ? count : 0;
}

void HTTPTransfer::Engine::forgetAnswer() noexcept {
  result->response.reset();
  result->body.clear();
  bodyBegun = false;
  unpacker.reset();
}

/// False for a request that goes out again though the server has not answered it. The transfer
/// library does so when a kept connection closes without a word; but the server may have acted on
/// the request, and a message must not be sent twice.
bool HTTPTransfer::Engine::beginRequest() {
  if (sent && !headComplete) return false;
  sent = true;
  headComplete = false;
  forgetAnswer();
  return true;
}

void HTTPTransfer::Engine::takeHeaderLine(std::string_view line) {
  lastByte = steady_clock::now();
  if (line.starts_with("HTTP/")) {
    // Of several answers (challenges, redirects, 100) the last one counts.
    forgetAnswer();
    result->response.emplace();
    headComplete = false;
    redirectsAtHead = redirectCount();
    long status = 0;
    if (curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK) {
      result->response->statusCode = static_cast<int>(status);
    }
    // Once over TLS, always over TLS, whatever the first URL was. A failure ends the next redirect.
    if (usesTLS(effectiveURL(easy.get()))) {
      (void)curl_easy_setopt(easy.get(), CURLOPT_REDIR_PROTOCOLS_STR, "https");
    }
    return;
  }
  if (!result->response || headComplete) return;  // trailing fields of a chunked body
  const bool continues = line.starts_with(' ') || line.starts_with('\t');
  const std::string_view text = trimmed(line);
  TWHeaders& fields = result->response->headers;
  if (text.empty()) {
    headComplete = result->response->statusCode >= 200;  // the others only announce an answer
    endHead();
  } else if (continues && !fields.empty()) {
    fields.back().second.append(" ").append(text);
  } else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    fields.emplace_back(trimmed(text.substr(0, colon)), trimmed(text.substr(colon + 1)));
  }
}

/// Looks at what the transfer library is about to do next, and keeps it from what must not be.
void HTTPTransfer::Engine::endHead() {
  const int status = result->response->statusCode;
  if (status == 401) {
    // The answer is given without its body: the transfer library skips that of an answer after
    // which it means to log in once more. That of a refusal it accepts is delivered.
    gaveUp = ++challenges == kMostChallenges;
    return;
  }
  const std::string location = result->response->header("Location").value_or("");
  if (status / 100 != 3 || location.empty() || !request->followsRedirects) return;
  challenges = 0;
  if (++redirects > kMostRedirects) {
    ownFailure = CURLE_TOO_MANY_REDIRECTS;
  } else if (holdsLogin(resolve(withoutLogin(effectiveURL(easy.get())), location))) {
    ownFailure = CURLE_LOGIN_DENIED;
  }
}

/// Unpacked here, and not by the transfer library, which takes half a packed body for a whole one.
CURLcode HTTPTransfer::Engine::chooseUnpacker() {
  if (!result->response) return CURLE_OK;
  const std::string encoding = result->response->header("Content-Encoding").value_or("");
  if (encoding.empty() || equalIgnoringCase(encoding, "identity")) return CURLE_OK;
  for (const std::string_view known : {"gzip", "x-gzip", "deflate"}) {
    if (!equalIgnoringCase(encoding, known)) continue;
    unpacker = std::make_unique<Unpacker>();
    return CURLE_OK;
  }
  // What nobody asked for may be known to the caller.
  return unpacks ? CURLE_BAD_CONTENT_ENCODING : CURLE_OK;
}

CURLcode HTTPTransfer::Engine::takeBody(std::span<const std::uint8_t> piece) {
  lastByte = steady_clock::now();
  if (!bodyBegun) {
    if (const CURLcode chosen = chooseUnpacker(); chosen != CURLE_OK) return chosen;
  }
  bodyBegun = true;
  if (!unpacker) return takeUnpacked(piece);
  CURLcode taken = CURLE_OK;
  const bool good = unpacker->unpack(piece, [&](std::span<const std::uint8_t> unpacked) {
    taken = takeUnpacked(unpacked);
    return taken == CURLE_OK;
  });
  if (taken != CURLE_OK) return taken;
  return good ? CURLE_OK : CURLE_BAD_CONTENT_ENCODING;
}

CURLcode HTTPTransfer::Engine::takeUnpacked(std::span<const std::uint8_t> piece) {
  if (request->receive) {
    receiverDone = !request->receive(piece);
    return receiverDone ? CURLE_WRITE_ERROR : CURLE_OK;
  }
  Bytes& body = result->body;
  if (piece.size() > request->bodyLimit - body.size()) return CURLE_FILESIZE_EXCEEDED;
  if (body.empty()) {
    curl_off_t length = 0;
    if (curl_easy_getinfo(easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length) == CURLE_OK &&
        length > 0) {
      body.reserve(static_cast<std::size_t>(std::min(length, kMostReserved)));
    }
  }
  body.insert(body.end(), piece.begin(), piece.end());
  return CURLE_OK;
}

void HTTPTransfer::Engine::noteScheme(std::string_view head) {
  constexpr std::string_view kName = "Authorization:";
  while (!head.empty()) {
    const std::string_view line = head.substr(0, head.find("\r\n"));
    head.remove_prefix(std::min(line.size() + 2, head.size()));
    if (!equalIgnoringCase(line.substr(0, kName.size()), kName)) continue;
    std::string_view value = trimmed(line.substr(kName.size()));
    value = value.substr(0, value.find(' '));
    if (equalIgnoringCase(value, "Basic")) {
      scheme = TWAuthType::basic;
    } else if (equalIgnoringCase(value, "NTLM")) {
      scheme = TWAuthType::ntlm;
    } else if (equalIgnoringCase(value, "Digest")) {
      scheme = TWAuthType::digest;
    } else {
      return;
    }
    if (result->schemes.empty() || result->schemes.back() != scheme)
      result->schemes.push_back(scheme);
    return;
  }
}

int HTTPTransfer::Engine::onSocket(void* self, curl_socket_t, curlsocktype) noexcept {
  // A socket after an answer is one for the next request: the answer was a challenge or a redirect.
  auto& engine = *static_cast<Engine*>(self);
  if (engine.result != nullptr) engine.forgetAnswer();
  return CURL_SOCKOPT_OK;
}

int HTTPTransfer::Engine::onRequest(void* self, char*, char*, int, int) noexcept {
  auto& engine = *static_cast<Engine*>(self);
  if (engine.beginRequest()) return CURL_PREREQFUNC_OK;
  engine.ownFailure = CURLE_GOT_NOTHING;
  return CURL_PREREQFUNC_ABORT;
}

// Any other number than that of the bytes given ends the transfer. Memory is what an answer can use
// up; other exceptions do not come up here.

std::size_t HTTPTransfer::Engine::onHeader(char* data, std::size_t size, std::size_t count,
                                           void* self) noexcept {
  auto& engine = *static_cast<Engine*>(self);
  try {
    engine.takeHeaderLine({data, size * count});
    return engine.ownFailure == CURLE_OK && !engine.gaveUp ? size * count : CURL_WRITEFUNC_ERROR;
  } catch (const std::exception&) {
    engine.ownFailure = CURLE_OUT_OF_MEMORY;
    return CURL_WRITEFUNC_ERROR;
  }
}

std::size_t HTTPTransfer::Engine::onBody(char* data, std::size_t size, std::size_t count,
                                         void* self) noexcept {
  auto& engine = *static_cast<Engine*>(self);
  try {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(data);
    engine.ownFailure = engine.takeBody({bytes, size * count});
  } catch (const std::exception&) {
    engine.ownFailure = CURLE_OUT_OF_MEMORY;
  }
  return engine.ownFailure == CURLE_OK ? size * count : CURL_WRITEFUNC_ERROR;
}

int HTTPTransfer::Engine::onDebug(CURL*, curl_infotype type, char* data, std::size_t size,
                                  void* self) noexcept {
  // The headers hold the credentials: they are looked at here and shown to nobody.
  if (type == CURLINFO_HEADER_OUT) static_cast<Engine*>(self)->noteScheme({data, size});
  return 0;
}

CURLcode HTTPTransfer::Engine::onTLSContext(CURL* easy, void* context, void* self) noexcept {
  // After a redirect this is another host than the request's.
  const std::string host = hostOf(effectiveURL(easy));
  if (host.empty()) return CURLE_PEER_FAILED_VERIFICATION;
  return installServerTrust(context, host, static_cast<Engine*>(self)->trust)
             ? CURLE_OK
             : CURLE_SSL_CACERT_BADFILE;
}

HTTPTransfer::HTTPTransfer(HTTPTransferOptions options)
    : engine_(std::make_unique<Engine>(std::move(options))) {
  // The TLS library cleans up when the process ends. That it is set up here, and not in the first
  // request, lets whoever makes the transfer stop its thread before; a failure shows in `perform`.
  (void)initialiseOnce();
}

HTTPTransfer::~HTTPTransfer() { engine_->drop(); }

void HTTPTransfer::dropConnections() noexcept { engine_->drop(); }

void HTTPTransfer::cancel() noexcept {
  const std::lock_guard lock(engine_->mutex);
  if (!engine_->running) return;
  engine_->cancelled = true;
  // Nothing but a full address space makes this fail; the flag is seen at the next event then.
  (void)curl_multi_wakeup(engine_->multi.get());
}

HTTPResult HTTPTransfer::perform(const HTTPRequest& request) {
  HTTPResult result;
  result.url = request.url;
  Engine& engine = *engine_;
  result.error = refusalOfFields(request.method, request.headers, request.login);
  if (!result.error && request.url != engine.goodURL) result.error = refusalOfURL(request.url);
  if (result.error) return result;
  engine.goodURL = request.url;

  const PipeSignalGuard guard;
  engine.message[0] = '\0';
  engine.request = &request;
  engine.result = &result;
  engine.sent = false;
  engine.headComplete = false;
  engine.bodyBegun = false;
  engine.unpacker.reset();
  engine.ownFailure = CURLE_OK;
  engine.receiverDone = false;
  engine.gaveUp = false;
  engine.redirects = 0;
  engine.challenges = 0;

  CURLcode code = engine.open();
  if (code == CURLE_OK) code = engine.prepare(request);
  if (code == CURLE_OK) {
    {
      const std::lock_guard lock(engine.mutex);
      engine.running = true;
      engine.cancelled = false;
    }
    if (curl_multi_add_handle(engine.multi.get(), engine.easy.get()) == CURLM_OK) {
      code = engine.run(request);
      // Removing ends what is still going on. It fails only for a handle that is not there.
      (void)curl_multi_remove_handle(engine.multi.get(), engine.easy.get());
    } else {
      code = CURLE_FAILED_INIT;
    }
    {
      const std::lock_guard lock(engine.mutex);
      engine.running = false;
    }
    // The answer to an earlier request of the exchange, which led to the one that failed, tells
    // nothing about that one.
    if (code != CURLE_OK &&
        (!engine.headComplete || engine.redirectsAtHead != engine.redirectCount())) {
      engine.forgetAnswer();
    }
    std::string answered = withoutLogin(effectiveURL(engine.easy.get()));
    if (!answered.empty()) result.url = std::move(answered);
    if (!request.followsRedirects && result.response && result.response->statusCode / 100 == 3) {
      const std::string location = result.response->header("Location").value_or("");
      if (!location.empty()) result.redirectTarget = resolve(result.url, location);
    }
  }
  engine.request = nullptr;
  engine.result = nullptr;
  if (engine.headersOf.empty()) engine.headers.reset();

  if (code == CURLE_ABORTED_BY_CALLBACK) {
    result.error = httpError(code, "The request was cancelled");
  } else if (code == CURLE_OPERATION_TIMEDOUT) {
    result.error = httpError(code, "The request timed out");
  } else if (code == CURLE_BAD_CONTENT_ENCODING) {
    result.error = httpError(code, "The body of the answer cannot be unpacked");
  } else if (code == CURLE_PARTIAL_FILE) {
    result.error = httpError(code, "The body of the answer is not whole");
  } else if (code == CURLE_GOT_NOTHING) {
    result.error = httpError(code, "The server closed the connection without an answer");
  } else if (code == CURLE_FILESIZE_EXCEEDED) {
    result.error = httpError(code, "The body of the answer is too large");
  } else if (code == CURLE_TOO_MANY_REDIRECTS) {
    result.error = httpError(code, "Too many redirects");
  } else if (code == CURLE_LOGIN_DENIED) {
    result.error = httpError(code, kLoginInURL);
  } else if (code == CURLE_OUT_OF_MEMORY) {
    result.error = httpError(code, curl_easy_strerror(code));
  } else if (code != CURLE_OK) {
    result.error = httpError(code, engine.message);
  }
  // A server keeps refusing on a connection that once refused an NTLM login, and the connection
  // would be chosen again.
  if (engine.scheme == TWAuthType::ntlm && result.response && result.response->statusCode == 401) {
    engine.drop();
  }
  return result;
}

}  // namespace tarnwell::detail
