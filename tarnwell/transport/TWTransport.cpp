#include "tarnwell/transport/TWTransport.h"

#include <array>
#include <utility>

#include "tarnwell/Core/XML/detail/LiteralText.h"
#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

/// The start of every envelope. The prefixes in the trees below it are plain parts of names, so no
/// element has to look its namespace up.
const std::string& envelopeTag() {
  static const auto* const kTag =
      new std::string(formatMessage(R"(<s:Envelope xmlns:s="%@" xmlns:t="%@" xmlns:m="%@">)",
                                    {kSoapNamespace, kTypesNamespace, kMessagesNamespace}));
  return *kTag;
}

/// The header of an envelope, its children in the order that the server's schema wants.
NKXMLElement header(std::string_view version, const TWEnvelopeContext* account) {
  auto header = NKXMLElement::withName("s:Header");
  auto requested = NKXMLElement::withName("t:RequestServerVersion");
  requested.addAttributeWithName("Version", version);
  header.addChild(requested);
  if (account == nullptr) return header;
  if (account->impersonatedAddress) {
    const auto impersonation =
        TWUtils::createAndAddElementToParent(header, "t:ExchangeImpersonation", {});
    const auto sid = TWUtils::createAndAddElementToParent(impersonation, "t:ConnectingSID", {});
    TWUtils::createAndAddElementToParent(sid, "t:PrimarySMTPAddress",
                                         *account->impersonatedAddress);
  }
  auto context = TWUtils::createAndAddElementToParent(header, "t:TimeZoneContext", {});
  context.addChild(TWUtils::createElement("t:TimeZoneDefinition", {{"Id", account->timeZoneId}}));
  return header;
}

TWAuthType authTypeOfChallenge(std::string_view challenge) {
  const auto tokens = TWTransport::tokenize(challenge);
  constexpr std::array<std::pair<const char*, TWAuthType>, 3> kByPreference = {
      {{"digest", TWAuthType::digest}, {"ntlm", TWAuthType::ntlm}, {"basic", TWAuthType::basic}}};
  for (const auto& [token, type] : kByPreference)
    if (tokens.contains(token)) return type;
  return TWAuthType::none;
}

}  // namespace

const TWHeaders& TWTransport::defaultHeaders() {
  static const auto* const kHeaders = new TWHeaders{{"Content-Type", "text/xml; charset=utf-8"},
                                                    {"Accept-Encoding", "compress, gzip"}};
  return *kHeaders;
}

std::string TWTransport::wrap(const NKXMLElement& payload, std::string_view version,
                              const TWEnvelopeContext* account) {
  auto body = NKXMLElement::withName("s:Body");
  body.addChild(payload);
  return envelopeTag() + detail::literalXMLString(header(version, account)) +
         detail::literalXMLString(body) + "</s:Envelope>";
}

TWAuthType TWTransport::authTypeFromResponse(const TWResponse& response, TWError* error) {
  const auto fail = [error](TWError failure) {
    setError(error, std::move(failure));
    return TWAuthType::none;
  };
  if (response.error) return fail(response.error);
  const long status = response.response ? response.response->statusCode : 0;
  if (status == 200) return TWAuthType::none;
  if (status == 301 || status == 302)
    return fail({TWErrorCode::ErrorTransport, "Missing redirect url"});
  if (status != 401)
    return fail({TWErrorCode::ErrorTransport, "Autodiscover response did not 401"});
  for (const auto& [name, value] : response.response->headers) {
    if (!equalIgnoringCase(name, "www-authenticate")) continue;
    if (const auto type = authTypeOfChallenge(value); type != TWAuthType::none) return type;
  }
  return fail({TWErrorCode::ErrorUnauthorized, "No auth type in autodiscover response headers"});
}

std::set<std::string> TWTransport::tokenize(std::string_view value) {
  std::set<std::string> tokens;
  const std::string lower = lowercased(value);
  for (std::size_t begin = 0; begin <= lower.size();) {
    const std::size_t end = std::min(lower.find_first_of(" ,", begin), lower.size());
    if (end > begin) tokens.insert(lower.substr(begin, end - begin));
    begin = end + 1;
  }
  return tokens;
}

std::optional<TWAuthInstance> TWTransport::getAuthInstance(
    const std::shared_ptr<const TWCredentials>& credentials, TWAuthType authType) {
  if (credentials == nullptr || authType == TWAuthType::none) return std::nullopt;
  TWAuthInstance instance{credentials->username(), credentials->password()};
  // The backslash makes the domain empty; without it a server may take the address's domain for
  // one. Basic and Digest want the address as it is.
  if (authType == TWAuthType::ntlm && credentials->type() == TWCredentialsTypeEmail)
    instance.username.insert(0, "\\");
  return instance;
}

bool TWTransport::validateRedirectUrl(std::optional<std::string_view> newUrl,
                                      std::string_view withOriginalUrl, TWError* error) {
  if (!newUrl || newUrl->empty()) {
    setError(error, {TWErrorCode::ErrorTransport, "Missing redirect url"});
    return false;
  }
  if (*newUrl == withOriginalUrl) {
    setError(error, {TWErrorCode::ErrorTransport, "Already redirected to this url"});
    return false;
  }
  return true;
}

TWResponse TWTransport::post(TWConnectionSource* protocol, std::string_view url,
                             const std::optional<TWHeaders>& headers, const TWData& body,
                             TWError* error) {
  const auto connection = protocol != nullptr ? protocol->connection() : nullptr;
  if (!connection) return {};
  TWResponse response = connection->post(url, headers, body);
  if (response.error) setError(error, response.error);
  return response;
}

}  // namespace tarnwell
