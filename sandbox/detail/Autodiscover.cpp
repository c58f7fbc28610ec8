#include "sandbox/detail/Autodiscover.h"

#include <array>
#include <ctime>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::string_view kRequestNs =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/requestschema/2006";
constexpr std::string_view kAnswerNs =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/responseschema/2006a";
// Errors stand in the outer namespace, which has no "outlook" in it.
constexpr const char* kOuterNs =
    "http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006";

constexpr int kNotFound = 500;
constexpr int kInvalidRequest = 600;
constexpr int kNoProvider = 601;

pugi::xml_node makeAnswer(pugi::xml_document& document) {
  pugi::xml_node root = document.append_child("Autodiscover");
  root.append_attribute("xmlns") = kOuterNs;
  return root.append_child("Response");
}

pugi::xml_node makeOutlookAnswer(pugi::xml_document& document) {
  pugi::xml_node response = makeAnswer(document);
  response.append_attribute("xmlns") = kAnswerNs.data();
  return response;
}

void appendProtocol(pugi::xml_node account, const char* type, const std::string& ewsUrl) {
  pugi::xml_node protocol = account.append_child("Protocol");
  append(protocol, "Type", type);
  append(protocol, "ASUrl", ewsUrl);
  append(protocol, "EwsUrl", ewsUrl);
}

std::string timeOfDay() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S.0000000", &parts)};
}

AutodiscoverQuestion readDocument(pugi::xml_node root) {
  if (!isElement(root, kRequestNs, "Autodiscover")) return {{}, kInvalidRequest};
  ElementReader autodiscover(root);
  ElementReader request(autodiscover.required(kRequestNs, "Request"));
  autodiscover.end();
  // The schema says "all": in any order, each at most once.
  AutodiscoverQuestion question;
  std::string accepted;
  while (const pugi::xml_node child = request.next()) {
    const bool isAddress = isElement(child, kRequestNs, "EMailAddress");
    const bool isSchema = isElement(child, kRequestNs, "AcceptableResponseSchema");
    if (!isAddress && !isSchema && !isElement(child, kRequestNs, "LegacyDN")) request.refuse(child);
    std::string& value = isAddress ? question.address : accepted;
    if (isAddress || isSchema) {
      if (!value.empty()) request.refuse(child);
      value = simpleText(child);
    }
  }
  if (question.address.empty() || accepted.empty()) {
    question.errorCode = kInvalidRequest;
  } else if (accepted != kAnswerNs) {
    question.errorCode = kNoProvider;
  }
  return question;
}

}  // namespace

AutodiscoverQuestion readAutodiscover(const std::string& body) {
  pugi::xml_document document;
  std::string error;
  if (!parseXml(body, document, error)) return {{}, kInvalidRequest};
  try {
    return readDocument(document.document_element());
  } catch (const SoapFault&) {
    return {{}, kInvalidRequest};
  }
}

std::string autodiscoverSettings(const Person& person, const std::string& ewsUrl) {
  pugi::xml_document document;
  pugi::xml_node response = makeOutlookAnswer(document);
  pugi::xml_node user = response.append_child("User");
  append(user, "DisplayName", person.name);
  append(user, "AutoDiscoverSMTPAddress", person.address);
  pugi::xml_node account = response.append_child("Account");
  append(account, "AccountType", "email");
  append(account, "Action", "settings");
  appendProtocol(account, "EXCH", ewsUrl);
  appendProtocol(account, "EXPR", ewsUrl);
  return serialise(document);
}

std::string autodiscoverRedirect(const SandboxRedirect& redirect) {
  pugi::xml_document document;
  pugi::xml_node account = makeOutlookAnswer(document).append_child("Account");
  append(account, "AccountType", "email");
  const bool toAddress = redirect.kind == SandboxRedirect::Kind::address;
  append(account, "Action", toAddress ? "redirectAddr" : "redirectUrl");
  append(account, toAddress ? "RedirectAddr" : "RedirectUrl", redirect.target);
  return serialise(document);
}

std::string autodiscoverError(int errorCode, bool newWording) {
  pugi::xml_document document;
  pugi::xml_node error = makeAnswer(document).append_child("Error");
  error.append_attribute("Time") = timeOfDay().c_str();
  error.append_attribute("Id") = "1054081577";
  append(error, "ErrorCode", std::to_string(errorCode));
  const char* message = "Invalid Request";
  if (errorCode == kNotFound) {
    message =
        newWording ? "The email address can't be found." : "The e-mail address cannot be found.";
  } else if (errorCode == kNoProvider) {
    message = "Provider is not available";
  }
  append(error, "Message", message);
  error.append_child("DebugData");
  return serialise(document);
}

}  // namespace tarnwell::sandbox
