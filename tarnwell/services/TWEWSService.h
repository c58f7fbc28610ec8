#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/protocol/TWServiceContext.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWResult.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWPagedServiceResponse;

using TWErrorCodes = std::set<TWErrorCode>;

/// What is fixed for an operation. A concrete service declares one of these and writes its payload.
struct TWServiceClass {
  /// The operation's name: "GetItem" posts `m:GetItem` and reads `m:GetItemResponse`.
  std::string_view serviceName;
  /// The element of each response message that holds the results. Absent: there is none, and a
  /// success is reported as a plain true.
  std::optional<std::string_view> elementContainerName = std::nullopt;
  std::string_view elementContainerXMLns = {};
  /// Codes that do not fail the call: the error takes the place of that message's result.
  TWErrorCodes errorsToCatchInResponse = baseErrorsToCatch();
  TWErrorCodes warningsToCatchInResponse = {TWErrorCode::ErrorBatchProcessingStopped};
  /// Warnings whose message is read like a success.
  TWErrorCodes warningsToIgnoreInResponse = {};
  /// The service makes objects of its results, so that a success that has none is error 2
  /// (ErrorTransport) in its place instead of true.
  bool resultsAreObjects = false;

  /// "m:GetItem".
  [[nodiscard]] std::string rootName() const;
  /// What services catch unless they say otherwise; a service with codes of its own adds or
  /// replaces.
  [[nodiscard]] static const TWErrorCodes& baseErrorsToCatch();
};

/// What is fixed for an operation, asked of its class: `TWResolveNames::serviceName()`. The class
/// has a static `descriptor()`.
template <class Service>
class TWServiceStatics {
 public:
  [[nodiscard]] static std::string_view serviceName() { return Service::descriptor().serviceName; }
  [[nodiscard]] static std::string rootName() { return Service::descriptor().rootName(); }
  [[nodiscard]] static std::optional<std::string_view> elementContainerName() {
    return Service::descriptor().elementContainerName;
  }
  [[nodiscard]] static std::string_view elementContainerXMLns() {
    return Service::descriptor().elementContainerXMLns;
  }
  [[nodiscard]] static const TWErrorCodes& errorsToCatchInResponse() {
    return Service::descriptor().errorsToCatchInResponse;
  }
  [[nodiscard]] static const TWErrorCodes& warningsToCatchInResponse() {
    return Service::descriptor().warningsToCatchInResponse;
  }
  [[nodiscard]] static const TWErrorCodes& warningsToIgnoreInResponse() {
    return Service::descriptor().warningsToIgnoreInResponse;
  }
};

/// Base of every EWS operation: wraps the payload in an envelope, posts it, finds the API version
/// that the server accepts, unwraps the answer and sorts its response messages into results, caught
/// errors and failures.
///
/// Made for one call, used on one thread, and blocks it. A concrete service is a page of code: a
/// `TWServiceClass` and a function that builds the payload.
class TWEWSService : public std::enable_shared_from_this<TWEWSService> {
 public:
  TWEWSService(const TWEWSService&) = delete;
  TWEWSService& operator=(const TWEWSService&) = delete;
  virtual ~TWEWSService() = default;

  [[nodiscard]] const TWServiceClass& serviceClass() const noexcept { return class_; }

  /// Runs the operation. One entry for each result, in the order of the answer: an XML element,
  /// `true` for a message without results, an error that was caught, or a list where the service
  /// makes one. Absent with an error when the call failed.
  ///
  /// Errors: 10 (ErrorAccessDenied) for HTTP 401; 208 (ErrorInvalidSchemaVersionForMailboxVersion)
  /// when the server takes no version; 395 (ErrorSOAP) for faults and what is no SOAP; 2
  /// (ErrorTransport) for answers that lack what they must have; 384 (ErrorValueOutOfRange), before
  /// anything is sent, for texts with a character that XML forbids; the server's own codes;
  /// transport failures in their own domain.
  [[nodiscard]] std::optional<TWList> getElements(const NKXMLElement& payload,
                                                  TWError* error = nullptr);
  /// `stream` leaves the exchange open until the server has something to say; `alternate` uses the
  /// second connection. Of several documents that a stream brings, one that fails stands as an
  /// error among the results of the others.
  [[nodiscard]] std::optional<TWList> getElements(const NKXMLElement& payload,
                                                  std::same_as<bool> auto stream,
                                                  TWError* error = nullptr) {
    return run(payload, {stream, false}, error);
  }
  [[nodiscard]] std::optional<TWList> getElements(const NKXMLElement& payload,
                                                  std::same_as<bool> auto stream,
                                                  std::same_as<bool> auto alternate,
                                                  TWError* error = nullptr) {
    return run(payload, {stream, alternate}, error);
  }

  /// The response messages of the answer, not yet judged.
  using Messages = std::vector<NKXMLElement>;
  [[nodiscard]] std::optional<Messages> getResponseXML(const NKXMLElement& payload,
                                                       TWError* error = nullptr) {
    return request(payload, {}, error);
  }
  [[nodiscard]] std::optional<Messages> getResponseXML(const NKXMLElement& payload,
                                                       std::same_as<bool> auto stream,
                                                       std::same_as<bool> auto alternate,
                                                       TWError* error = nullptr) {
    return request(payload, {stream, alternate}, error);
  }

  /// Learns which version the server runs from an answer that was accepted, and keeps it where the
  /// context does. Nothing happens when that version is in use already and its build is known.
  void updateApiVersion(const std::optional<TWVersion>& inUse, std::string_view apiVersion,
                        const TWResponse& response);

  /// The response messages below the root of an answer; the operation's response element itself
  /// when it holds no list of them.
  [[nodiscard]] static std::optional<Messages> getSoapPayload(const TWServiceClass& service,
                                                              const NKXMLElement& root,
                                                              TWError* error = nullptr);
  /// The error that a fault element stands for.
  [[nodiscard]] static TWError raiseSoapErrors(const TWServiceClass& service,
                                               const NKXMLElement& fault);
  /// The error that a response message stands for: its code, or 2 (ErrorTransport) for one that is
  /// not in the catalogue. What the server says besides is not part of the message, deliberately.
  [[nodiscard]] static TWError raiseErrors(std::string_view responseCode,
                                           const std::optional<std::string>& text,
                                           const NKXMLElement& messageXML);

  /// Judges one response message: its container element, `true`, or an error that was caught;
  /// absent with an error when it fails the call.
  [[nodiscard]] TWValue getElementContainer(const NKXMLElement& message,
                                            std::optional<std::string_view> name,
                                            std::string_view xmlns, TWError* error = nullptr) const;
  /// The results of all messages in one list.
  [[nodiscard]] std::optional<TWList> getElementsInResponse(const Messages& messages,
                                                            TWError* error = nullptr) const;

  /// A page of a paged operation.
  struct Page {
    NKXMLElement rootFolder;                 ///< invalid when the view is empty
    std::optional<std::int64_t> nextOffset;  ///< absent when the last item is included
  };
  /// Reads the first response message as a page.
  [[nodiscard]] std::optional<Page> getPage(const Messages& messages,
                                            TWError* error = nullptr) const;

  /// Builds the request for one page; "offset" among the arguments tells which. An invalid element
  /// and the error when it cannot.
  using PayloadBlock = std::function<NKXMLElement(const TWDictionary& args, TWError* error)>;
  /// Starts a paged call, which sends nothing until the first page is asked for. It holds the
  /// service; one that no shared pointer holds must outlive it.
  /// @param maxItems  stop once that many items have come; 0 or less for no limit. The page that
  ///                  passes the limit is given whole.
  [[nodiscard]] TWPagedServiceResponse pagedCall(PayloadBlock payloadBlock, std::int64_t maxItems,
                                                 TWDictionary args);
  /// See `TWPagedServiceResponse::nextPage`.
  [[nodiscard]] std::optional<std::vector<NKXMLElement>> nextPage(TWPagedServiceResponse& paged,
                                                                  TWError* error = nullptr);

 protected:
  /// `serviceClass` is a constant, which outlives the service; the context is held. Without one
  /// (null) every call fails as on a closed protocol.
  TWEWSService(const TWServiceClass& serviceClass, std::shared_ptr<TWServiceContext> context);
  TWEWSService(const TWServiceClass&& serviceClass,
               std::shared_ptr<TWServiceContext> context) = delete;

  [[nodiscard]] TWServiceContext& context() const noexcept { return *context_; }
  /// The build of the server in use; absent while it is unknown.
  [[nodiscard]] std::optional<TWBuild> build() const;

  /// The element of a response message that holds the results; invalid when there is none.
  [[nodiscard]] virtual NKXMLElement findContainer(const NKXMLElement& message,
                                                   std::string_view name,
                                                   std::string_view xmlns) const;
  /// The results in a container: its child elements, unless a service reads them its own way.
  [[nodiscard]] virtual TWList getElementsInContainer(const NKXMLElement& container) const;

 private:
  struct Exchange {
    bool stream = false;
    bool alternate = false;
  };
  std::optional<TWList> run(const NKXMLElement& payload, Exchange exchange, TWError* error);
  std::optional<Messages> request(const NKXMLElement& payload, Exchange exchange, TWError* error);
  /// The messages of each document of the answer: of one, unless several came in a stream.
  std::optional<TWResults<Messages>> post(NKXMLElement payload, Exchange exchange, TWError* error);
  [[nodiscard]] std::optional<TWList> getElementsInDocuments(const TWResults<Messages>& documents,
                                                             TWError* error) const;
  void learnVersion(const std::optional<TWVersion>& inUse, std::string_view apiVersion,
                    const NKXMLElement& envelope);
  TWResponse send(const NKXMLElement& payload, std::string_view apiVersion, Exchange exchange);

  const TWServiceClass& class_;
  const std::shared_ptr<TWServiceContext> context_;
};

/// A paged call under way (FindFolder, FindItem): asks for one page after the other.
///
///     auto pages = service->pagedCall(payload, 0, {});
///     while (auto page = pages.nextPage(&error)) use(*page);
class TWPagedServiceResponse {
 public:
  /// The items of the next page (none for an empty view); absent without an error when there are no
  /// more pages.
  ///
  /// Error 2 (ErrorTransport): "Mismatch between item count and next offset" when the server's
  /// offset is not the number of items that came, or does not advance.
  [[nodiscard]] std::optional<std::vector<NKXMLElement>> nextPage(TWError* error = nullptr) {
    return service_->nextPage(*this, error);
  }

  [[nodiscard]] std::int64_t itemCount() const noexcept { return itemCount_; }
  [[nodiscard]] std::int64_t maxItems() const noexcept { return maxItems_; }
  [[nodiscard]] std::optional<std::int64_t> nextOffset() const noexcept { return nextOffset_; }

 private:
  friend class TWEWSService;
  TWPagedServiceResponse(std::shared_ptr<TWEWSService> service,
                         TWEWSService::PayloadBlock payloadBlock, std::int64_t maxItems,
                         TWDictionary args);

  std::shared_ptr<TWEWSService> service_;
  TWEWSService::PayloadBlock payloadBlock_;
  TWDictionary args_;
  std::int64_t itemCount_ = 0;
  std::int64_t maxItems_;
  std::optional<std::int64_t> nextOffset_ = 0;
};

}  // namespace tarnwell
