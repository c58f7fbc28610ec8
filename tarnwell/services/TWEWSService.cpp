#include "tarnwell/services/TWEWSService.h"

#include <algorithm>
#include <iterator>

#include "tarnwell/Core/XML/detail/CleanText.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/protocol/detail/RequestText.h"
#include "tarnwell/protocol/detail/StreamedText.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

constexpr std::string_view kErrorsNamespace =
    "http://schemas.microsoft.com/exchange/services/2006/errors";

TWError transportError(std::string_view format, std::initializer_list<TWValue> values) {
  return {TWErrorCode::ErrorTransport, formatMessage(format, values)};
}

TWError missingContainer(std::string_view name, const NKXMLElement& message) {
  return transportError("No %@ elements in ResponseMessage %@", {name, message.XMLString()});
}

std::optional<TWErrorCode> catalogueCode(const std::optional<std::string>& name) {
  const auto code = TWErrors::codeFromString(name.value_or(std::string()));
  return code ? std::optional(static_cast<TWErrorCode>(*code)) : std::nullopt;
}

/// An error whose message may be missing.
TWError errorWithText(TWErrorCode code, const std::optional<std::string>& text) {
  return {code, TWDictionary{{"d", text}}};
}

bool isIn(const TWErrorCodes& codes, const TWError& error) {
  return error.domain() == TWErrorDomain && codes.contains(static_cast<TWErrorCode>(error.code()));
}

/// All API versions with the one in use first, so that the others are tried only when it is
/// refused. Its name is looked at, not copied.
std::vector<std::string_view> candidates(const std::optional<TWVersion>& inUse) {
  const auto& all = TWVersion::apiVersions();
  std::vector<std::string_view> names;
  names.reserve(all.size() + 1);
  const bool known = inUse && inUse->apiVersion();
  if (known) names.emplace_back(*inUse->apiVersion());
  for (const auto& name : all)
    if (!known || name != names.front()) names.emplace_back(name);
  return names;
}

/// Why an answer that is no SOAP document is none.
TWError errorOfRecord(const TWResponse& response) {
  if (response.response && response.response->statusCode == 401)
    return {TWErrorCode::ErrorAccessDenied, "Access denied"};
  if (response.error) return response.error;
  TWValue text = response.xml();
  if (text.isAbsent() && !response.data.empty()) {
    const std::string_view body(reinterpret_cast<const char*>(response.data.data()),
                                response.data.size());
    // Messages are UTF-8, so of anything else they tell the size.
    text = detail::isCleanText(body) ? TWValue(body) : TWValue(response.data);
  }
  return {TWErrorCode::ErrorSOAP, formatMessage("Bad SOAP Response: %@", {text})};
}

/// The roots of the documents in the answer: one at most, unless it is a stream's. The page that
/// comes with a 401 may well be XML (XHTML), but says nothing more than the status.
std::vector<NKXMLElement> envelopesOf(const TWResponse& response, bool isStream) {
  const auto root = response.xmlDoc.rootElement();
  if (!root && isStream) return detail::streamedDocuments(response.data);
  if (!root || (response.response && response.response->statusCode == 401 &&
                !root.elementForName("Body", kSoapNamespace)))
    return {};
  return {root};
}

/// What a service without a protocol is bound to: requests find no connection.
class NoContext : public TWServiceContext {
 public:
  std::shared_ptr<TWBaseProtocol> serviceProtocol() override { return nullptr; }
  std::optional<TWVersion> version() const override { return std::nullopt; }
  void setVersion(TWVersion /*version*/) override {}
  std::optional<TWEnvelopeContext> envelopeContext() const override { return std::nullopt; }
  std::optional<std::string> logName() const override { return std::nullopt; }
  std::optional<std::string> accountDescription() const override { return std::nullopt; }
};

}  // namespace

std::string TWServiceClass::rootName() const { return std::string("m:").append(serviceName); }

const TWErrorCodes& TWServiceClass::baseErrorsToCatch() {
  using enum TWErrorCode;
  static const auto* const kCodes = new TWErrorCodes{ErrorCannotDeleteObject,
                                                     ErrorCannotDeleteTaskOccurrence,
                                                     ErrorInvalidChangeKey,
                                                     ErrorInvalidIdMalformed,
                                                     ErrorItemNotFound,
                                                     ErrorItemSave,
                                                     ErrorMessageSizeExceeded,
                                                     ErrorMimeContentConversionFailed,
                                                     ErrorRecurrenceHasNoOccurrence};
  return *kCodes;
}

TWEWSService::TWEWSService(const TWServiceClass& serviceClass,
                           std::shared_ptr<TWServiceContext> context)
    : class_(serviceClass),
      context_(context ? std::move(context) : std::make_shared<NoContext>()) {}

std::optional<TWBuild> TWEWSService::build() const {
  const auto version = context_->version();
  return version ? version->build() : std::nullopt;
}

std::optional<TWList> TWEWSService::getElements(const NKXMLElement& payload, TWError* error) {
  return run(payload, {}, error);
}

std::optional<TWList> TWEWSService::run(const NKXMLElement& payload, Exchange exchange,
                                        TWError* error) {
  TWError failure;
  std::optional<TWList> elements;
  if (const auto documents = post(payload, exchange, &failure))
    elements = getElementsInDocuments(*documents, &failure);
  if (!elements) {
    const auto protocol = context_->serviceProtocol();
    TWLogger::logger().rlog("[%@] Get elements failed with error: %@",
                            {protocol ? protocol->logName() : std::nullopt, failure});
    setError(error, failure);
  }
  return elements;
}

std::optional<TWList> TWEWSService::getElementsInDocuments(const TWResults<Messages>& documents,
                                                           TWError* error) const {
  TWList results;
  TWError first;
  bool hasResults = false;
  for (const auto& messages : documents) {
    TWError failure = messages.error();
    auto elements = messages ? getElementsInResponse(*messages, &failure) : std::nullopt;
    if (elements) {
      hasResults = true;
      std::ranges::move(*elements, std::back_inserter(results));
      continue;
    }
    if (!first) first = failure;
    results.emplace_back(failure);
  }
  if (hasResults) return results;
  setError(error, first);
  return std::nullopt;
}

std::optional<TWEWSService::Messages> TWEWSService::request(const NKXMLElement& payload,
                                                            Exchange exchange, TWError* error) {
  const auto documents = post(payload, exchange, error);
  if (!documents) return std::nullopt;
  Messages all;
  bool hasMessages = false;
  for (const auto& messages : *documents) {
    if (!messages) continue;
    hasMessages = true;
    std::ranges::copy(*messages, std::back_inserter(all));
  }
  if (hasMessages) return all;
  setError(error, documents->front().error());
  return std::nullopt;
}

TWResponse TWEWSService::send(const NKXMLElement& payload, std::string_view apiVersion,
                              Exchange exchange) {
  const auto account = context_->envelopeContext();
  const auto envelope = TWTransport::wrap(payload, apiVersion, account ? &*account : nullptr);
  TWResponse refused;
  refused.error = detail::errorOfRequest(envelope);
  if (refused.error) return refused;
  const auto protocol = context_->serviceProtocol();
  if (!protocol) return {};
  const auto connection = exchange.alternate ? protocol->downloader() : protocol->connection();
  if (!connection) return {};
  return connection->post(protocol->serviceEndpoint(), std::nullopt, envelope, exchange.stream);
}

std::optional<TWResults<TWEWSService::Messages>> TWEWSService::post(NKXMLElement payload,
                                                                    Exchange exchange,
                                                                    TWError* error) {
  const auto inUse = context_->version();
  const auto apiVersions = candidates(inUse);
  for (const auto& apiVersion : apiVersions) {
    payload.detach();
    const auto response = send(payload, apiVersion, exchange);
    const auto envelopes = envelopesOf(response, exchange.stream);
    if (envelopes.empty()) {
      setError(error, errorOfRecord(response));
      return std::nullopt;
    }
    TWResults<Messages> documents;
    for (const auto& envelope : envelopes) {
      TWError failure;
      auto messages = getSoapPayload(class_, envelope, &failure);
      documents.push_back(messages ? TWResult(*std::move(messages)) : TWResult<Messages>(failure));
    }
    const TWError failure = documents.front().error();
    if (failure.is(TWErrorCode::ErrorInvalidSchemaVersionForMailboxVersion) ||
        failure.is(TWErrorCode::ErrorInvalidServerVersion))
      continue;
    if (!failure || failure.is(TWErrorCode::ErrorResponseMessage))
      learnVersion(inUse, apiVersion, envelopes.front());
    return documents;
  }
  TWList tried;
  for (const auto& apiVersion : apiVersions) tried.emplace_back(apiVersion);
  setError(error, {TWErrorCode::ErrorInvalidSchemaVersionForMailboxVersion,
                   formatMessage("Tried versions: %@ but were invalid for account: %@",
                                 {tried, context_->accountDescription()})});
  return std::nullopt;
}

void TWEWSService::updateApiVersion(const std::optional<TWVersion>& inUse,
                                    std::string_view apiVersion, const TWResponse& response) {
  learnVersion(inUse, apiVersion, response.xmlDoc.rootElement());
}

void TWEWSService::learnVersion(const std::optional<TWVersion>& inUse, std::string_view apiVersion,
                                const NKXMLElement& envelope) {
  if (inUse && inUse->apiVersion() == apiVersion && inUse->build()) return;
  auto version = TWVersion::versionFromResponse(envelope, apiVersion);
  // An answer that does not say which version it is in was an answer to this one all the same.
  if (!version.apiVersion()) version = TWVersion(version.build(), std::string(apiVersion));
  context_->setVersion(version);
  const auto name = context_->logName();
  TWLogger::logger().rlog("[%@] Setting API version: %@", {name, version.apiVersion()});
  TWLogger::logger().rlog(
      "[%@] Setting Build: %@",
      {name, version.build() ? TWValue(version.build()->description()) : TWValue()});
}

std::optional<TWEWSService::Messages> TWEWSService::getSoapPayload(const TWServiceClass& service,
                                                                   const NKXMLElement& root,
                                                                   TWError* error) {
  const auto body = root.elementForName("Body", kSoapNamespace);
  if (!body) {
    setError(error, {TWErrorCode::ErrorTransport, "No body element in SOAP response"});
    return std::nullopt;
  }
  const auto responseName = std::string(service.serviceName).append("Response");
  const auto response = body.elementForName(responseName, kMessagesNamespace);
  if (!response) {
    const auto fault = body.elementForName("Fault", kSoapNamespace);
    setError(error, fault
                        ? raiseSoapErrors(service, fault)
                        : TWError(TWErrorCode::ErrorSOAP,
                                  formatMessage("Unknown SOAP response: %@", {body.XMLString()})));
    return std::nullopt;
  }
  const auto messages = response.elementForName("ResponseMessages", kMessagesNamespace);
  if (!messages) return Messages{response};
  return messages.elementsForLocalName(responseName + "Message", kMessagesNamespace);
}

TWError TWEWSService::raiseSoapErrors(const TWServiceClass& service, const NKXMLElement& fault) {
  const auto text = [&fault](std::string_view name) {
    return fault.elementForName(name).stringValue();
  };
  TWValue detailText;
  if (const auto detail = fault.elementForName("detail")) {
    const auto code = detail.elementForName("ResponseCode", kErrorsNamespace).stringValue();
    const auto message = detail.elementForName("Message", kErrorsNamespace).stringValue();
    if (const auto known = catalogueCode(code)) return errorWithText(*known, message);
    detailText = formatMessage("%@: code: %@ msg: %@ (%@)",
                               {service.serviceName, code, message, detail.XMLString()});
  }
  const auto faultcode = text("faultcode");
  const auto faultstring = text("faultstring");
  if (const auto known = catalogueCode(faultcode)) return errorWithText(*known, faultstring);
  return {TWErrorCode::ErrorSOAP,
          formatMessage("SOAP error code: %@ string: %@ actor: %@ detail: %@",
                        {faultcode, faultstring, text("faultactor"), detailText})};
}

TWError TWEWSService::raiseErrors(std::string_view responseCode,
                                  const std::optional<std::string>& text,
                                  const NKXMLElement& messageXML) {
  if (responseCode.empty())
    return transportError("Empty responseCode in responseMessage (MessageText: %@, XML: %@)",
                          {text, messageXML ? TWValue(messageXML.XMLString()) : TWValue()});
  const auto known = catalogueCode(std::string(responseCode));
  return {known.value_or(TWErrorCode::ErrorTransport), formatMessage("Error: %@", {responseCode})};
}

TWValue TWEWSService::getElementContainer(const NKXMLElement& message,
                                          std::optional<std::string_view> name,
                                          std::string_view xmlns, TWError* error) const {
  const auto container = [&]() -> TWValue {
    if (!name) return true;
    const auto found = findContainer(message, *name, xmlns);
    if (!found) setError(error, missingContainer(*name, message));
    return found;
  };
  const auto responseClass = message.attributeForName("ResponseClass").stringValue();
  const auto code = message.elementForName("ResponseCode", kMessagesNamespace)
                        .stringValue()
                        .value_or(std::string());
  if (code == "NoError") {
    // A success of any other class has nothing to read, whatever container the service expects.
    return responseClass == "Success" ? container() : TWValue(true);
  }
  auto failure =
      raiseErrors(code, message.elementForName("MessageText", kMessagesNamespace).stringValue(),
                  message.elementForName("MessageXml", kMessagesNamespace));
  if (responseClass == "Warning") {
    if (isIn(class_.warningsToCatchInResponse, failure)) return failure;
    if (isIn(class_.warningsToIgnoreInResponse, failure)) return container();
  }
  if (isIn(class_.errorsToCatchInResponse, failure)) return failure;
  setError(error, std::move(failure));
  return {};
}

std::optional<TWList> TWEWSService::getElementsInResponse(const Messages& messages,
                                                          TWError* error) const {
  TWList results;
  for (const auto& message : messages) {
    auto entry = getElementContainer(message, class_.elementContainerName,
                                     class_.elementContainerXMLns, error);
    if (entry.isAbsent()) return std::nullopt;
    if (const auto container = entry.asXML()) {
      auto elements = getElementsInContainer(container);
      if (results.empty())
        results = std::move(elements);
      else
        std::ranges::move(elements, std::back_inserter(results));
    } else if (class_.resultsAreObjects && !entry.asError()) {
      results.emplace_back(
          missingContainer(class_.elementContainerName.value_or(std::string_view()), message));
    } else {
      results.push_back(std::move(entry));
    }
  }
  return results;
}

NKXMLElement TWEWSService::findContainer(const NKXMLElement& message, std::string_view name,
                                         std::string_view xmlns) const {
  return message.elementForName(name, xmlns);
}

TWList TWEWSService::getElementsInContainer(const NKXMLElement& container) const {
  TWList elements;
  elements.reserve(container.childCount());
  for (const auto& element : container.childElements()) elements.emplace_back(element);
  return elements;
}

std::optional<TWEWSService::Page> TWEWSService::getPage(const Messages& messages,
                                                        TWError* error) const {
  constexpr std::string_view kRootFolder = "RootFolder";
  if (messages.empty()) {
    setError(error, missingContainer(kRootFolder, {}));
    return std::nullopt;
  }
  const auto found = getElementContainer(messages.front(), kRootFolder, kMessagesNamespace, error);
  const auto rootFolder = found.asXML();
  if (!rootFolder) {
    if (const auto caught = found.asError())
      setError(error, caught);
    else if (!found.isAbsent())
      setError(error, missingContainer(kRootFolder, messages.front()));
    return std::nullopt;
  }
  const auto attribute = [&rootFolder](std::string_view name) {
    return rootFolder.attributeForName(name).stringValue();
  };
  Page page;
  // "0" counts as true on purpose.
  const auto last = lowercased(attribute("IncludesLastItemInRange").value_or(std::string()));
  if (last != "true" && last != "0")
    page.nextOffset = leadingInteger(attribute("IndexedPagingOffset").value_or("1"));
  const auto total = attribute("TotalItemsInView");
  if (!total || leadingInteger(*total) != 0) page.rootFolder = rootFolder;
  return page;
}

TWPagedServiceResponse::TWPagedServiceResponse(std::shared_ptr<TWEWSService> service,
                                               TWEWSService::PayloadBlock payloadBlock,
                                               std::int64_t maxItems, TWDictionary args)
    : service_(std::move(service)),
      payloadBlock_(std::move(payloadBlock)),
      args_(std::move(args)),
      maxItems_(maxItems) {
  args_.set("offset", 0);
}

TWPagedServiceResponse TWEWSService::pagedCall(PayloadBlock payloadBlock, std::int64_t maxItems,
                                               TWDictionary args) {
  auto self = weak_from_this().lock();
  if (!self) self = std::shared_ptr<TWEWSService>(std::shared_ptr<void>(), this);
  return {std::move(self), std::move(payloadBlock), maxItems, std::move(args)};
}

std::optional<std::vector<NKXMLElement>> TWEWSService::nextPage(TWPagedServiceResponse& paged,
                                                                TWError* error) {
  const auto fail = [&](TWError failure) {
    setError(error, std::move(failure));
    return std::nullopt;
  };
  if (paged.maxItems_ >= 1 && paged.itemCount_ >= paged.maxItems_) return std::nullopt;
  if (!paged.nextOffset_) return std::nullopt;
  const TWError mismatch(TWErrorCode::ErrorTransport,
                         "Mismatch between item count and next offset");
  if (*paged.nextOffset_ != paged.itemCount_) return fail(mismatch);

  TWError failure;
  const auto payload = paged.payloadBlock_(paged.args_, &failure);
  if (!payload && !failure)  // Without an error it would look like the end of the pages.
    failure = {TWErrorCode::ErrorValueOutOfRange, "Request cannot be written"};
  if (!payload) return fail(failure);
  const auto messages = getResponseXML(payload, &failure);
  if (!messages) return fail(failure);
  const auto page = getPage(*messages, &failure);
  if (!page) return fail(failure);

  std::vector<NKXMLElement> items;
  if (page->rootFolder) {
    const auto name = class_.elementContainerName.value_or(std::string_view());
    const auto container = page->rootFolder.elementForName(name, class_.elementContainerXMLns);
    if (!container) return fail(missingContainer(name, page->rootFolder));
    for (const auto& item : container.childElements()) items.push_back(item);
  }
  paged.itemCount_ += static_cast<std::int64_t>(items.size());
  // A page that is empty, not the last and stays where it is would be asked for again for ever.
  if (items.empty() && page->nextOffset == paged.nextOffset_) return fail(mismatch);
  paged.nextOffset_ = page->nextOffset;
  if (paged.nextOffset_) paged.args_.set("offset", *paged.nextOffset_);
  return items;
}

}  // namespace tarnwell
