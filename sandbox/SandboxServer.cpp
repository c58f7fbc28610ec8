#include "sandbox/SandboxServer.h"

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <shared_mutex>

#include "sandbox/detail/Autodiscover.h"
#include "sandbox/detail/Certificate.h"
#include "sandbox/detail/Directory.h"
#include "sandbox/detail/FaultQueue.h"
#include "sandbox/detail/HttpFront.h"
#include "sandbox/detail/ServerVersion.h"
#include "sandbox/detail/Soap.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/Seed.h"
#include "sandbox/notifications/EventStream.h"
#include "sandbox/operations/Operations.h"
#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {
namespace {

constexpr const char* kEwsPath = "/EWS/Exchange.asmx";
constexpr const char* kXmlType = "text/xml; charset=utf-8";
constexpr const char* kTextType = "text/plain; charset=utf-8";
// What `requests()` keeps in bodies, whatever the number of requests.
constexpr std::size_t kRememberedBytes = std::size_t{64} << 20U;

/// The first mistake in the options; empty when there is none.
std::string problemOf(const SandboxOptions& options) {
  if (findServerVersion(options.version) == nullptr) {
    return "there is no server version " + options.version;
  }
  if (options.port < 0 || options.port > 65535) return "the port is not one";
  if (options.seedCount < 0) return "the number of items to begin with is negative";
  if (options.streamHeartbeat.count() <= 0) return "the time between heartbeats is not positive";
  if (options.certificatePem.empty() != options.keyPem.empty()) {
    return "a certificate needs its key, and a key its certificate";
  }
  std::set<std::string> addresses;
  for (const SandboxMailbox& mailbox : options.mailboxes) {
    if (!isMailAddress(mailbox.address)) return "not a mail address: " + mailbox.address;
    if (!addresses.insert(lowerCase(mailbox.address)).second) {
      return "two mailboxes of the address " + mailbox.address;
    }
  }
  std::set<std::string> tokens;
  for (const SandboxToken& token : options.tokens) {
    if (!addresses.contains(lowerCase(token.address))) {
      return "a token for " + token.address + ", which is no mailbox";
    }
    if (token.token.empty() || !tokens.insert(token.token).second) {
      return "a token for " + token.address + " is empty or given twice";
    }
  }
  return {};
}

/// A few types of the schema; what clients read is the version on the root.
std::string schemaDocument(const ServerVersion& server) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("xs:schema");
  root.append_attribute("xmlns:xs") = "http://www.w3.org/2001/XMLSchema";
  root.append_attribute("xmlns:t") = kTypesNs.data();
  root.append_attribute("targetNamespace") = kTypesNs.data();
  root.append_attribute("elementFormDefault") = "qualified";
  root.append_attribute("Version") = server.key.data();
  root.append_attribute("id") = "types";
  pugi::xml_node type = root.append_child("xs:simpleType");
  type.append_attribute("name") = "ExchangeVersionType";
  pugi::xml_node restriction = type.append_child("xs:restriction");
  restriction.append_attribute("base") = "xs:string";
  for (int i = 0; i <= static_cast<int>(server.schema); ++i) {
    restriction.append_child("xs:enumeration").append_attribute("value") =
        schemaName(static_cast<Schema>(i)).data();
  }
  return serialise(document);
}

HttpAnswer faultAnswer(const SoapFault& fault) {
  return {fault.status, kXmlType, faultText(fault)};
}

bool isXml(const HttpRequest& request) {
  const std::string type = lowerCase(request.header("Content-Type"));
  return type == "text/xml" || type.starts_with("text/xml;") || type.starts_with("text/xml ");
}

}  // namespace

std::vector<std::string> sandboxVersions() {
  std::vector<std::string> keys;
  for (const ServerVersion& version : serverVersions()) keys.emplace_back(version.key);
  return keys;
}

class SandboxServer::Impl {
 public:
  explicit Impl(SandboxOptions options)
      : options_(std::move(options)), directory_(options_.mailboxes, options_.tokens) {}

  bool start(std::string& error) {
    const std::lock_guard lock(mutex_);
    if (front_) {
      error = "it is running already";
      return false;
    }
    error = problemOf(options_);
    if (!error.empty()) return false;
    version_ = findServerVersion(options_.version);
    if (!openStore(error)) return false;
    HttpFront::Options front{options_.host, options_.port, {}, {}, options_.bodyLimit};
    if (options_.tls) {
      if (certificate_.certificatePem.empty() && !takeCertificate(error)) return false;
      front.certificatePem = certificate_.certificatePem;
      front.keyPem = certificate_.keyPem;
    }
    subscriptions_.resume();
    front_ = HttpFront::open(
        front, [this](const HttpRequest& request) { return answer(request); }, error);
    return front_ != nullptr;
  }

  void stop() {
    std::unique_ptr<HttpFront> front;
    {
      const std::lock_guard lock(mutex_);
      front = std::move(front_);
    }
    subscriptions_.stop();
    front.reset();  // without the lock: the handlers that it waits for may ask for the port
  }

  [[nodiscard]] int port() const {
    const std::lock_guard lock(mutex_);
    return front_ ? front_->port() : 0;
  }

  [[nodiscard]] std::string url(std::string_view path) const {
    const int port = this->port();
    if (port == 0) return {};
    std::string host = options_.host;
    if (host == "0.0.0.0") host = "127.0.0.1";
    if (host.find(':') != std::string::npos) host = "[" + host + "]";
    return (options_.tls ? "https://" : "http://") + host + ":" + std::to_string(port) +
           std::string(path);
  }

  [[nodiscard]] std::string certificatePem() const {
    const std::lock_guard lock(mutex_);
    return certificate_.certificatePem;
  }

  void redirect(const std::string& address, SandboxRedirect redirect) {
    const std::lock_guard lock(mutex_);
    redirects_[lowerCase(address)] = std::move(redirect);
  }

  [[nodiscard]] std::vector<SandboxRequest> requests() const {
    const std::lock_guard lock(mutex_);
    return {requests_.begin(), requests_.end()};
  }

  void clearRequests() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
    rememberedBytes_ = 0;
  }

  FaultQueue faults;

 private:
  /// Once for all starts: what is in the store outlives a stop.
  bool openStore(std::string& error) {
    if (isStoreOpen_) return true;
    const std::unique_lock lock(store_.mutex());
    if (!options_.storeFile.empty() && !store_.open(options_.storeFile, error)) return false;
    for (const SandboxMailbox& mailbox : options_.mailboxes) {
      const Person& person = *directory_.findMailbox(mailbox.address);
      const bool isNew = store_.addMailbox(person.address, person.name);
      const bool isFirst = &mailbox == &options_.mailboxes.front();
      if (isNew && isFirst) seedMailbox(store_, person.address, options_.seedCount);
    }
    store_.commit();
    store_.setListener(
        [this](const std::vector<StoreEvent>& events) { subscriptions_.publish(events); });
    isStoreOpen_ = true;
    return true;
  }

  bool takeCertificate(std::string& error) {
    if (!options_.certificatePem.empty()) {
      certificate_ = {options_.certificatePem, options_.keyPem};
      return true;
    }
    const std::optional<Certificate> made = makeCertificate(options_.certificateNames);
    if (made) {
      certificate_ = *made;
    } else {
      error = "no certificate can be made for these names";
    }
    return made.has_value();
  }

  HttpAnswer answer(const HttpRequest& request) {
    SandboxRequest record{request.method, request.path, {}, request.body, {}, {}, {}, 0};
    HttpAnswer result;
    try {
      result = route(request, record);
    } catch (const std::exception& problem) {
      result = {500, kTextType, problem.what()};  // a mistake of ours, or no memory
    }
    record.status = result.drop ? 0 : result.status;
    for (const auto& [name, value] : request.headers) {
      const std::string lower = lowerCase(name);
      // The HTTP library adds the addresses of both ends in fields of its own.
      if (lower != "authorization" && !lower.starts_with("remote_") &&
          !lower.starts_with("local_")) {
        record.headers.emplace_back(name, value);
      }
    }
    if (options_.log) {
      std::string line = record.method + " " + record.path;
      if (!record.operation.empty()) line += " " + record.operation;
      if (!record.requestedVersion.empty()) line += " " + record.requestedVersion;
      line += " [" + record.user + "] ";
      line += result.drop ? "closed" : std::to_string(record.status);
      options_.log(line);
    }
    remember(std::move(record));
    return result;
  }

  void remember(SandboxRequest record) {
    const std::lock_guard lock(mutex_);
    rememberedBytes_ += record.body.size();
    requests_.push_back(std::move(record));
    while (!requests_.empty() &&
           (requests_.size() > options_.requestLimit || rememberedBytes_ > kRememberedBytes)) {
      rememberedBytes_ -= requests_.front().body.size();
      requests_.pop_front();
    }
  }

  HttpAnswer route(const HttpRequest& request, SandboxRequest& record) {
    // Paths ignore case, as on the real server.
    const std::string path = lowerCase(request.path);
    const bool isPost = request.method == "POST";
    if (path == "/ews/exchange.asmx") return isPost ? ews(request, record) : HttpAnswer{405};
    if (path == "/ews/types.xsd") return isPost ? HttpAnswer{405} : schema(request, record);
    if (path == "/autodiscover/autodiscover.xml") {
      return isPost ? autodiscover(request, record) : HttpAnswer{405};
    }
    if (path == "/sandbox/fail" && options_.control) {
      return isPost ? control(request) : HttpAnswer{405};
    }
    return {404};
  }

  /// Null without a valid login.
  const Person* login(const HttpRequest& request, SandboxRequest& record) const {
    const Person* person = directory_.login(request.header("Authorization"));
    if (person != nullptr) record.user = person->address;
    return person;
  }

  [[nodiscard]] HttpAnswer challenge() const {
    HttpAnswer answer{401};
    for (const std::string& text : options_.challenges) {
      answer.headers.emplace_back("WWW-Authenticate", text);
    }
    return answer;
  }

  HttpAnswer schema(const HttpRequest& request, SandboxRequest& record) {
    if (login(request, record) == nullptr) return challenge();
    if (auto failure = failOnDemand(record)) return *failure;
    return {200, kXmlType, schemaDocument(*version_)};
  }

  HttpAnswer ews(const HttpRequest& request, SandboxRequest& record) {
    if (login(request, record) == nullptr) return challenge();
    if (!isXml(request)) return {415};

    pugi::xml_document document;
    SoapRequest soap;
    std::optional<SoapFault> fault;
    if (std::string problem; parseXml(request.body, document, problem)) {
      try {
        readEnvelope(document, *version_, soap);
      } catch (const SoapFault& found) {
        fault = found;
      }
    } else {
      fault = SoapFault::schemaViolation(problem);
      fault->status = 400;
    }
    record.operation = soap.operationName;
    record.requestedVersion = soap.requestedVersion;

    SandboxStreamTrouble trouble = SandboxStreamTrouble::none;
    if (auto failure = failOnDemand(record, &trouble)) return *failure;
    if (fault) return faultAnswer(*fault);
    try {
      return operate(soap, record.user, trouble);
    } catch (const SoapFault& found) {
      return faultAnswer(found);
    }
  }

  [[nodiscard]] HttpAnswer operate(const SoapRequest& soap, const std::string& user,
                                   SandboxStreamTrouble trouble) {
    const std::string& address = soap.impersonated.empty() ? user : soap.impersonated;
    if (directory_.findMailbox(address) == nullptr) {
      throw SoapFault("ErrorNonExistentMailbox",
                      "The SMTP address has no mailbox associated with it.");
    }
    const Operation* operation = findOperation(soap.operationName);
    if (operation == nullptr || operation->since > soap.schema) throw SoapFault::invalidRequest();
    pugi::xml_document document;
    const pugi::xml_node response =
        makeAnswer(document, *version_, options_.versionText, soap.operationName);
    std::optional<StreamRequest> stream;
    try {
      run(*operation,
          {soap.operation, soap.schema, directory_, store_, subscriptions_, address, stream},
          response);
    } catch (const EwsError& error) {
      // Found while the request was read, before there were parts to answer.
      throw SoapFault(error.code, error.text);
    }
    if (stream) return streamAnswer(std::move(*stream), trouble);
    return {200, kXmlType, serialise(document)};
  }

  [[nodiscard]] HttpAnswer streamAnswer(StreamRequest request, SandboxStreamTrouble trouble) {
    HttpAnswer answer{200, kXmlType};
    answer.stream = [this, request = std::move(request), trouble](const auto& write) {
      const auto makeOne = [this](pugi::xml_document& document) {
        return makeAnswer(document, *version_, options_.versionText, "GetStreamingEvents");
      };
      EventStream stream(subscriptions_, request,
                         {options_.streamHeartbeat, options_.streamMinute, trouble}, makeOne);
      return stream.run(write);
    };
    return answer;
  }

  /// Holds the store's mutex for as long as the operation wants it.
  void run(const Operation& operation, const OperationCall& call, pugi::xml_node response) {
    if (operation.access == Operation::Access::none) {
      operation.run(call, response);
    } else if (operation.access == Operation::Access::reads) {
      const std::shared_lock lock(store_.mutex());
      operation.run(call, response);
    } else {
      const std::unique_lock lock(store_.mutex());
      operation.run(call, response);
      store_.commit();
    }
  }

  /// The queued fault that this request takes, if any, after its gate.
  /// Trouble with a stream is no failure yet: it is for the stream itself, by `trouble`.
  std::optional<HttpAnswer> failOnDemand(const SandboxRequest& record,
                                         SandboxStreamTrouble* trouble = nullptr) {
    const std::optional<SandboxFault> fault = faults.take(record.path, record.operation);
    if (!fault) return std::nullopt;
    if (fault->gate) fault->gate();
    switch (fault->kind) {
      case SandboxFault::Kind::stream:
        if (trouble != nullptr) *trouble = fault->trouble;
        return std::nullopt;
      case SandboxFault::Kind::none:
        return std::nullopt;
      case SandboxFault::Kind::httpBody:
        return HttpAnswer{fault->status, fault->contentType, fault->text};
      case SandboxFault::Kind::closeConnection: {
        HttpAnswer answer;
        answer.drop = true;
        return answer;
      }
      case SandboxFault::Kind::responseMessage:
        if (!record.operation.empty()) return failedResponse(*fault, record.operation);
        break;
      case SandboxFault::Kind::soapFault:
        break;
    }
    return faultAnswer(SoapFault(fault->code, fault->message));
  }

  [[nodiscard]] HttpAnswer failedResponse(const SandboxFault& fault,
                                          const std::string& operation) const {
    pugi::xml_document document;
    addResponseMessage(makeAnswer(document, *version_, options_.versionText, operation), operation,
                       {"Error", fault.code, fault.message});
    return {200, kXmlType, serialise(document)};
  }

  HttpAnswer autodiscover(const HttpRequest& request, SandboxRequest& record) {
    const AutodiscoverQuestion question = readAutodiscover(request.body);
    const std::optional<SandboxRedirect> redirect = redirectOf(question.address);
    if (redirect && redirect->kind == SandboxRedirect::Kind::http) {
      HttpAnswer answer{302};
      answer.headers.emplace_back("Location", redirect->target);
      return answer;
    }
    if (login(request, record) == nullptr) return challenge();
    if (auto failure = failOnDemand(record)) return *failure;
    return {200, kXmlType, autodiscoverText(question, redirect)};
  }

  [[nodiscard]] std::string autodiscoverText(const AutodiscoverQuestion& question,
                                             const std::optional<SandboxRedirect>& redirect) const {
    const bool newWording = version_->majorVersion >= 15;
    if (question.errorCode != 0) return autodiscoverError(question.errorCode, newWording);
    if (redirect) return autodiscoverRedirect(*redirect);
    const Person* person = directory_.findMailbox(question.address);
    if (person == nullptr) return autodiscoverError(500, newWording);
    return autodiscoverSettings(
        *person, options_.externalUrl.empty() ? url(kEwsPath) : options_.externalUrl);
  }

  [[nodiscard]] std::optional<SandboxRedirect> redirectOf(const std::string& address) const {
    const std::lock_guard lock(mutex_);
    const auto found = redirects_.find(lowerCase(address));
    return found == redirects_.end() ? std::nullopt : std::optional(found->second);
  }

  HttpAnswer control(const HttpRequest& request) {
    std::string problem;
    std::optional<SandboxFault> fault = faultFromQuery(request, problem);
    if (!fault) return {400, kTextType, problem + "\n"};
    faults.add(std::move(*fault));
    return {200, kTextType, "queued\n"};
  }

  const SandboxOptions options_;
  const Directory directory_;
  Store store_;
  Subscriptions subscriptions_;
  bool isStoreOpen_ = false;
  const ServerVersion* version_ = nullptr;

  mutable std::mutex mutex_;  // guards all below
  Certificate certificate_;
  std::map<std::string, SandboxRedirect> redirects_;
  std::deque<SandboxRequest> requests_;
  std::size_t rememberedBytes_ = 0;
  std::unique_ptr<HttpFront> front_;  // last: its threads end before the rest goes
};

SandboxServer::SandboxServer(SandboxOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

SandboxServer::~SandboxServer() { stop(); }

bool SandboxServer::start(std::string* error) {
  std::string problem;
  const bool started = impl_->start(problem);
  if (!started && error != nullptr) *error = problem;
  return started;
}

void SandboxServer::stop() { impl_->stop(); }
int SandboxServer::port() const { return impl_->port(); }
std::string SandboxServer::url() const { return url(kEwsPath); }
std::string SandboxServer::url(std::string_view path) const { return impl_->url(path); }
std::string SandboxServer::certificatePem() const { return impl_->certificatePem(); }
void SandboxServer::failNext(SandboxFault fault) { impl_->faults.add(std::move(fault)); }
void SandboxServer::clearFaults() { impl_->faults.clear(); }
void SandboxServer::redirect(const std::string& address, SandboxRedirect redirect) {
  impl_->redirect(address, std::move(redirect));
}
std::vector<SandboxRequest> SandboxServer::requests() const { return impl_->requests(); }
void SandboxServer::clearRequests() { impl_->clearRequests(); }

}  // namespace tarnwell::sandbox
