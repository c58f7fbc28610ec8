#include "tarnwell/protocol/TWAutodiscover.h"

#include <deque>
#include <map>
#include <set>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/detail/LiteralText.h"
#include "tarnwell/protocol/detail/RequestText.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr std::string_view kRequestNamespace =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/requestschema/2006";
constexpr std::string_view kAnswerNamespace =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/responseschema/2006a";
/// Errors come in a namespace of their own, without the "outlook" segment.
constexpr std::string_view kErrorNamespace =
    "http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006";

TWError failed(std::string_view message) { return {TWErrorCode::ErrorAutodiscoverFailed, message}; }

std::string text(const NKXMLElement& parent, std::string_view name) {
  return parent.elementForName(name, kAnswerNamespace).stringValue().value_or(std::string());
}

bool isSecure(std::string_view url) {
  return TWUtils::parseUrl(url)["ssl"].asBool().value_or(false);
}

std::string urlOf(const TWAutodiscover::Candidate& candidate) {
  return formatMessage("%@://%@/Autodiscover/Autodiscover.xml",
                       {candidate.first ? "https" : "http", candidate.second});
}

/// The candidates of one discovery. A redirect is followed once per target and a limited number of
/// times, so that servers which redirect in a circle cannot keep the caller for ever.
class Candidates {
 public:
  Candidates(std::string_view domain, const TWAutodiscoverOptions& options)
      : redirectsLeft_(options.maxRedirects) {
    for (auto& candidate : TWAutodiscover::hostnamesForHostname(domain))
      if (candidate.first || options.allowsPlainHTTP) queue_.push_back(std::move(candidate));
    if (!queue_.empty()) firstUrl_ = urlOf(queue_.front());
  }

  std::optional<TWAutodiscover::Candidate> next() {
    while (!queue_.empty()) {
      auto candidate = std::move(queue_.front());
      queue_.pop_front();
      if (tried_.insert(key(candidate)).second) return candidate;
    }
    return std::nullopt;
  }

  void follow(const std::string& url, bool allowsPlainHTTP) {
    if (redirectsLeft_ <= 0 || !TWTransport::validateRedirectUrl(url, firstUrl_)) return;
    const auto server = TWUtils::parseUrl(url)["server"].asText();
    if (!server) return;
    TWAutodiscover::Candidate target{isSecure(url), *server};
    if ((!target.first && !allowsPlainHTTP) || tried_.contains(key(target))) return;
    --redirectsLeft_;
    queue_.push_back(std::move(target));
  }

 private:
  static std::string key(const TWAutodiscover::Candidate& candidate) {
    return lowercased(urlOf(candidate));
  }

  std::deque<TWAutodiscover::Candidate> queue_;
  std::set<std::string> tried_;
  std::string firstUrl_;
  int redirectsLeft_;
};

}  // namespace

std::optional<TWAutodiscoverObject> TWAutodiscover::discover(
    std::string_view email, const std::shared_ptr<TWCredentials>& credentials,
    const TWAutodiscoverOptions& options) {
  const auto domain = TWUtils::getDomain(email);
  return tryAutoDiscover(domain.value_or(std::string()), email, credentials, options);
}

std::optional<TWAutodiscoverObject> TWAutodiscover::tryAutoDiscover(
    std::string_view domain, std::string_view email,
    const std::shared_ptr<TWCredentials>& credentials, const TWAutodiscoverOptions& options) {
  Candidates candidates(domain, options);
  while (const auto candidate = candidates.next()) {
    TWError error;
    auto found = autodiscoverHostname(candidate->second, email, credentials, candidate->first,
                                      &error, options);
    if (found && !found->primarySMTPAddress.empty()) return found;
    // Any other failure, a redirect to another address among them, just leaves the next candidate.
    if (error.is(TWErrorCode::ErrorRedirect))
      candidates.follow(error.userInfo()["url"].asText().value_or(std::string()),
                        options.allowsPlainHTTP);
  }
  return std::nullopt;
}

std::vector<TWAutodiscover::Candidate> TWAutodiscover::hostnamesForHostname(
    std::string_view domain) {
  if (domain.empty()) return {};
  const auto prefixed = formatMessage("autodiscover.%@", {domain});
  return {{true, std::string(domain)}, {true, prefixed}, {false, prefixed}};
}

std::optional<TWAutodiscoverObject> TWAutodiscover::autodiscoverHostname(
    std::string_view host, std::string_view email,
    const std::shared_ptr<TWCredentials>& credentials, bool hasSSL, TWError* error,
    const TWAutodiscoverOptions& options) {
  // Before anything is sent: a new host is probed first.
  if (const auto unsendable = detail::errorOfRequest(getAutodiscoverPayload(email))) {
    setError(error, unsendable);
    return std::nullopt;
  }
  const auto url = urlOf({hasSSL, std::string(host)});
  const auto shared = TWAutodiscoverProtocol::protocolForServiceEndpoint(
      url, credentials, std::nullopt, options.connection);
  // A connection that has refused a redirect reports it for ever. The shared protocol, by which a
  // host is probed only once, may have done so while it was probed, and other threads may be about
  // to; so an attempt has a protocol of its own.
  const auto own = TWAutodiscoverProtocol::withServiceEndpoint(
      url, credentials, shared->version().value_or(TWVersion()), options.connection);
  const auto response = getAutodiscoverResponse(*own, email, error);
  if (!response) return std::nullopt;
  const auto params = parseAutodiscoverResponse(response->xmlDoc.rootElement(), error);
  if (!params) return std::nullopt;
  // The endpoint's protocol would be probed at once, with the credentials.
  if (!options.allowsPlainHTTP && !isSecure(params->ewsUrl)) {
    setError(error, failed("The endpoint is not secure"));
    return std::nullopt;
  }
  return TWAutodiscoverObject{params->primarySMTPAddress,
                              TWProtocol::protocolForServiceEndpoint(
                                  params->ewsUrl, credentials, std::nullopt, options.connection)};
}

std::string TWAutodiscover::getAutodiscoverPayload(std::string_view email) {
  auto root = TWUtils::createElement("Autodiscover", {{"xmlns", kRequestNamespace}});
  const auto request = TWUtils::createAndAddElementToParent(root, "Request", {});
  TWUtils::createAndAddElementToParent(request, "EMailAddress", email);
  TWUtils::createAndAddElementToParent(request, "AcceptableResponseSchema", kAnswerNamespace);
  return R"(<?xml version="1.0" encoding="utf-8"?>)" + detail::literalXMLString(root);
}

std::optional<TWResponse> TWAutodiscover::getAutodiscoverResponse(TWProtocol& protocol,
                                                                  std::string_view email,
                                                                  TWError* error) {
  const auto body = getAutodiscoverPayload(email);
  if (const auto unsendable = detail::errorOfRequest(body)) {
    setError(error, unsendable);
    return std::nullopt;
  }
  auto response =
      TWTransport::post(&protocol, protocol.serviceEndpoint(), TWTransport::defaultHeaders(),
                        TWData(body.begin(), body.end()));
  const auto failure = errorOfResponse(response);
  if (!failure) return response;
  setError(error, failure);
  return std::nullopt;
}

TWError TWAutodiscover::errorOfResponse(const TWResponse& response) {
  if (response.error.is(TWErrorCode::ErrorRedirect)) return response.error;
  if (response.error.is(TWErrorCode::ErrorTransport) ||
      response.error.is(TWErrorCode::ErrorUnauthorized))
    return {TWErrorCode::ErrorAutodiscoverFailed, TWDictionary{{"e", response.error}}};
  return response.xmlDoc ? TWError() : failed("Response did not contain xml");
}

std::optional<TWAutodiscoverParams> TWAutodiscover::parseAutodiscoverResponse(std::string_view xml,
                                                                              TWError* error) {
  return parseAutodiscoverResponse(NKXMLDocument::withXMLString(xml).rootElement(), error);
}

std::optional<TWAutodiscoverParams> TWAutodiscover::parseAutodiscoverResponse(
    const NKXMLElement& root, TWError* error) {
  const auto fail = [error](TWError failure) {
    setError(error, std::move(failure));
    return std::nullopt;
  };
  if (!root) return fail(failed("Could not parse xml response in autodiscover"));
  const auto response = root.elementForName("Response", kAnswerNamespace);
  if (!response) return fail(parseResponseErrors(root));
  const auto account = response.elementForName("Account", kAnswerNamespace);
  const auto redirectAddress = text(account, "RedirectAddr");
  if (text(account, "Action") == "redirectAddr" && !redirectAddress.empty())
    return fail({TWErrorCode::ErrorRedirectAddress, TWDictionary{{"email", redirectAddress}}});
  if (text(account, "AccountType") != "email")
    return fail(
        {TWErrorCode::ErrorAutodiscoverAccountType, "Invalid account type in autodiscover"});
  const auto address =
      text(response.elementForName("User", kAnswerNamespace), "AutoDiscoverSMTPAddress");
  std::map<std::string, NKXMLElement> protocols;
  for (const auto& protocol : account.elementsForLocalName("Protocol", kAnswerNamespace))
    protocols[text(protocol, "Type")] = protocol;
  // EXPR is what the server offers to clients outside its network.
  const auto used = protocols.contains("EXPR") ? protocols.find("EXPR") : protocols.find("EXCH");
  if (used == protocols.end()) return fail(failed("Invalid protocols in discover response"));
  const auto ewsUrl = text(used->second, "EwsUrl");
  if (ewsUrl.empty() || address.empty()) return fail(failed("Missing ews url or smtp address"));
  return TWAutodiscoverParams{ewsUrl, address};
}

TWError TWAutodiscover::parseResponseErrors(const NKXMLElement& root) {
  const auto response = root.elementForName("Response", kErrorNamespace);
  if (!response) return failed("Unknown parse error");
  const auto element = response.elementForName("Error", kErrorNamespace);
  const auto textOf = [&element](std::string_view name) {
    return element.elementForName(name, kErrorNamespace).stringValue().value_or(std::string());
  };
  const auto message = textOf("Message");
  if (message == "The e-mail address cannot be found." ||
      message == "The email address can't be found.")
    return failed("There is no mailbox for this SMTP address");
  return {TWErrorCode::ErrorAutodiscoverFailed,
          TWDictionary{{"code", textOf("ErrorCode")}, {"msg", message}}};
}

}  // namespace tarnwell
