#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWEWSService.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"

namespace tarnwell::test {

/// Operations as the library declares them: one that reads items, one without results, one that
/// pages.
inline const TWServiceClass kGetItem{.serviceName = "GetItem",
                                     .elementContainerName = "Items",
                                     .elementContainerXMLns = kMessagesNamespace};
inline const TWServiceClass kDeleteItem{.serviceName = "DeleteItem"};
inline const TWServiceClass kFindFolder{.serviceName = "FindFolder",
                                        .elementContainerName = "Folders",
                                        .elementContainerXMLns = kTypesNamespace};

class Service : public TWEWSService {
 public:
  Service(const TWServiceClass& declared, std::shared_ptr<TWServiceContext> context)
      : TWEWSService(declared, std::move(context)) {}
};

/// An account, as far as a service sees one.
class Account : public TWServiceContext {
 public:
  explicit Account(std::shared_ptr<TWBaseProtocol> protocol) : protocol_(std::move(protocol)) {}
  std::shared_ptr<TWBaseProtocol> serviceProtocol() override { return protocol_; }
  std::optional<TWVersion> version() const override { return version_; }
  void setVersion(TWVersion version) override { version_ = std::move(version); }
  std::optional<TWEnvelopeContext> envelopeContext() const override {
    return TWEnvelopeContext{"boss@example.com", "UTC"};
  }
  std::optional<std::string> logName() const override { return "boss@example.com"; }
  std::optional<std::string> accountDescription() const override { return "the boss"; }

 private:
  std::shared_ptr<TWBaseProtocol> protocol_;
  std::optional<TWVersion> version_;
};

inline constexpr std::string_view k2016 =
    R"(MajorVersion="15" MinorVersion="1" Version="Exchange2016")";

class TWEWSServiceTest : public testing::Test {
 protected:
  /// The answer to a call of the operation, with everything that can be said about it.
  std::optional<TWList> call(const TWServiceClass& declared, TWError* error = nullptr) {
    return Service(declared, protocol())
        .getElements(TWUtils::createElement(declared.rootName()), error);
  }
  std::optional<TWList> callAnswered(const TWServiceClass& declared, ScriptedAnswer answer,
                                     TWError* error = nullptr) {
    server.enqueue(std::move(answer));
    return call(declared, error);
  }
  TWError errorOf(ScriptedAnswer answer, const TWServiceClass& declared = kGetItem) {
    TWError error;
    EXPECT_FALSE(callAnswered(declared, std::move(answer), &error));
    EXPECT_TRUE(error);
    return error;
  }
  /// An answer with one response message.
  static ScriptedAnswer message(std::string_view responseClass, std::string_view code,
                                std::string_view content = "",
                                std::string_view operation = "GetItem") {
    return ScriptedAnswer::xml(envelope(
        response(operation, responseMessage(operation, responseClass, code, content)), k2016));
  }
  static ScriptedAnswer body(std::string_view content, int status = 200) {
    return ScriptedAnswer::xml(envelope(content), status);
  }
  static ScriptedAnswer refused() {
    return ScriptedAnswer::xml(faultEnvelope("ErrorInvalidServerVersion", "no"), 500);
  }
  std::shared_ptr<TWProtocol> protocol() {
    if (!protocol_)
      protocol_ = TWProtocol::withServiceEndpoint(
          server.url("/EWS/Exchange.asmx"),
          TWCredentials::credentialsWithUsernamePassword("ann", "pw"),
          TWVersion(TWBuild(15, 1), "Exchange2016"));
    return protocol_;
  }

  ScriptedServer server;

 private:
  std::shared_ptr<TWProtocol> protocol_;
};

}  // namespace tarnwell::test
