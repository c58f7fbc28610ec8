#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwell::sandbox {

/// A mailbox of the sandbox: somebody who can log in.
struct SandboxMailbox {
  std::string address;
  std::string password;
  /// Empty: made of the address, "alice.smith@example.com" gives "Alice Smith".
  std::string displayName;
};

/// A bearer token and the mailbox that it logs in to.
struct SandboxToken {
  std::string token;
  std::string address;
};

struct SandboxOptions {
  /// The address to listen on.
  std::string host = "127.0.0.1";
  /// 0: any free one; `port()` tells which.
  int port = 0;

  bool tls = false;
  /// PEM texts. Both empty: a self-signed certificate is made at start.
  std::string certificatePem;
  std::string keyPem;
  /// DNS names and addresses that the certificate made at start is good for.
  std::vector<std::string> certificateNames = {"localhost", "127.0.0.1"};

  /// Which server to be, one of `sandboxVersions()`.
  std::string version = "Exchange2016";
  /// The Version attribute of ServerVersionInfo when it shall not be the schema's name, for
  /// instance "V2017_07_11". Servers before Exchange 2010 send none either way.
  std::string versionText;

  std::vector<SandboxMailbox> mailboxes;
  std::vector<SandboxToken> tokens;
  /// An SQLite file that keeps what is in the mailboxes. Empty: it is in memory only.
  std::string storeFile;
  /// How often a stream of events shows that it is alive; more than nothing.
  std::chrono::milliseconds streamHeartbeat{45000};
  /// How long a minute of a stream's ConnectionTimeout takes; tests make it short.
  std::chrono::milliseconds streamMinute{60000};
  /// How many believable items the first mailbox starts with, the same ones every time. A store
  /// file that has the mailbox already is left as it is.
  int seedCount = 0;
  /// The WWW-Authenticate fields of a 401, in order.
  std::vector<std::string> challenges = {"Basic realm=\"tarnwell-sandbox\""};

  /// The EwsUrl that autodiscover hands out. Empty: `url()`.
  std::string externalUrl;

  /// The largest request body, in bytes and uncompressed.
  std::size_t bodyLimit = std::size_t{64} << 20U;
  /// How many requests `requests()` remembers.
  std::size_t requestLimit = 1000;
  /// Lets POST /sandbox/fail queue faults, without a login.
  bool control = false;

  /// Told of every answered request in one line without secrets; called from several threads at
  /// once.
  std::function<void(const std::string& line)> log;
};

/// How a stream of events goes wrong.
enum class SandboxStreamTrouble {
  none,
  /// It comes in small pieces with pauses between them.
  slow,
  /// The first document after the opening one stops in its middle, and so does the connection.
  cut,
  /// The first document after the opening one ends in rubbish; the others are as they should be.
  garbled,
};

/// An answer that goes wrong on purpose. Made by one of the factories; the data may be changed.
struct SandboxFault {
  enum class Kind { soapFault, responseMessage, httpBody, closeConnection, stream, none };

  /// A SOAP fault with that EWS code, HTTP 500.
  [[nodiscard]] static SandboxFault soap(std::string code, std::string message = {});
  /// A well-formed answer whose one response message has the class Error and that code.
  [[nodiscard]] static SandboxFault response(std::string code, std::string message = {});
  /// That status and nothing else.
  [[nodiscard]] static SandboxFault httpStatus(int status);
  /// A page for browsers, as proxies send it.
  [[nodiscard]] static SandboxFault htmlPage(int status = 200);
  /// Status 200 without a body.
  [[nodiscard]] static SandboxFault emptyBody();
  /// Any body.
  [[nodiscard]] static SandboxFault body(int status, std::string contentType, std::string body);
  /// The connection ends without a byte.
  [[nodiscard]] static SandboxFault closedConnection();
  /// The right stream of events, with that trouble.
  [[nodiscard]] static SandboxFault stream(SandboxStreamTrouble trouble);
  /// The right answer, but only after `gate` has returned.
  [[nodiscard]] static SandboxFault delay(std::function<void()> gate);

  Kind kind = Kind::none;
  /// How many requests it hits.
  int times = 1;
  /// Which requests it hits: those of this path (empty: all) ...
  std::string path = "/EWS/Exchange.asmx";
  /// ... and of this operation (empty: all).
  std::string operation;

  int status = 500;
  std::string code;
  std::string message;
  std::string contentType;
  std::string text;
  SandboxStreamTrouble trouble = SandboxStreamTrouble::none;
  /// Called before the answer is sent, on the request's thread; may block. It must come back before
  /// the server can stop.
  std::function<void()> gate;
};

/// How autodiscover sends a client elsewhere.
struct SandboxRedirect {
  enum class Kind {
    /// Action redirectAddr: ask again for the address `target`.
    address,
    /// Action redirectUrl: ask again at `target`.
    url,
    /// HTTP 302 to `target`, before any login.
    http,
  };
  Kind kind = Kind::address;
  std::string target;
};

/// A request as the server saw it.
struct SandboxRequest {
  std::string method;
  std::string path;
  /// In no particular order; without Authorization.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  /// The mailbox that logged in; empty without a valid login.
  std::string user;
  /// The name of the SOAP operation and the version asked for; empty where there was none.
  std::string operation;
  std::string requestedVersion;
  /// What it was answered with; 0 when the connection was closed instead.
  int status = 0;
};

/// The keys of the servers that the sandbox can be, from the oldest to the newest.
[[nodiscard]] std::vector<std::string> sandboxVersions();

/// An Exchange Web Services server for development, inside this process.
///
///     SandboxOptions options;
///     options.mailboxes = {{"alice@example.com", "secret"}};
///     SandboxServer server(options);
///     if (!server.start()) ...
///     client.connect(server.url());
///
/// It serves /EWS/Exchange.asmx (SOAP), /EWS/types.xsd and /Autodiscover/Autodiscover.xml, each
/// request on the thread of its connection. All operations may be called from any thread, `start`
/// and `stop` from one at a time.
class SandboxServer {
 public:
  explicit SandboxServer(SandboxOptions options);
  SandboxServer(const SandboxServer&) = delete;
  SandboxServer& operator=(const SandboxServer&) = delete;
  /// Stops.
  ~SandboxServer();

  /// False, with the reason in `error`, when the options contradict themselves or the port is
  /// taken.
  bool start(std::string* error = nullptr);
  /// Closes the door and all connections; returns when the last request has ended. It can be
  /// started again, with its faults, redirects and remembered requests as they are.
  void stop();

  /// 0 when it is not running.
  [[nodiscard]] int port() const;
  /// The endpoint, "http://127.0.0.1:43210/EWS/Exchange.asmx"; empty when it is not running.
  [[nodiscard]] std::string url() const;
  /// The same server, another path, which begins with a slash.
  [[nodiscard]] std::string url(std::string_view path) const;
  /// The certificate in use, PEM, for a client to trust. Empty without TLS or before `start`.
  [[nodiscard]] std::string certificatePem() const;

  /// Queues a fault. A request takes the first one in the queue that is meant for it, after its
  /// login was accepted.
  void failNext(SandboxFault fault);
  /// Forgets the faults that have not happened yet.
  void clearFaults();
  /// What autodiscover says for an address from now on.
  void redirect(const std::string& address, SandboxRedirect redirect);

  /// The last requests, the oldest first. One that is no proper HTTP, or too large, is not among
  /// them.
  [[nodiscard]] std::vector<SandboxRequest> requests() const;
  void clearRequests();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarnwell::sandbox
