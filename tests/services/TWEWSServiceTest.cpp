#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWEWSService.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/services/ServiceFixture.h"
#include "tests/support/EWSAnswers.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::Account;
using test::k2016;
using test::kDeleteItem;
using test::kFindFolder;
using test::kGetItem;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using test::Service;
using test::TWEWSServiceTest;
using testing::HasSubstr;

TEST_F(TWEWSServiceTest, TheBaseCatchesTheseCodes) {
  std::set<std::int64_t> codes;
  for (const auto code : TWServiceClass::baseErrorsToCatch())
    codes.insert(static_cast<std::int64_t>(code));
  EXPECT_EQ(codes, (std::set<std::int64_t>{61, 62, 128, 151, 235, 237, 256, 260, 326}));
  EXPECT_EQ(kGetItem.errorsToCatchInResponse, TWServiceClass::baseErrorsToCatch());
  EXPECT_EQ(kGetItem.warningsToCatchInResponse,
            TWErrorCodes{TWErrorCode::ErrorBatchProcessingStopped});
  EXPECT_TRUE(kGetItem.warningsToIgnoreInResponse.empty());
  EXPECT_EQ(kGetItem.rootName(), "m:GetItem");
}

TEST_F(TWEWSServiceTest, PostsThePayloadInAnEnvelopeToTheEndpoint) {
  const auto results =
      callAnswered(kGetItem, message("Success", "NoError", "<m:Items><t:Message/></m:Items>"));
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 1U);
  EXPECT_EQ((*results)[0].asXML().localName(), "Message");
  ASSERT_EQ(server.requests().size(), 1U);
  const auto request = server.requests()[0];
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/EWS/Exchange.asmx");
  EXPECT_EQ(request.header("Content-Type"), "text/xml; charset=utf-8");
  EXPECT_EQ(request.header("Accept-Encoding"), "compress, gzip");
  EXPECT_THAT(request.body, test::EqualsXML(test::requestEnvelope("Exchange2016", "<m:GetItem/>")));
}

TEST_F(TWEWSServiceTest, AnAccountsServiceNamesTheAccount) {
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  Service service(kGetItem, std::make_shared<Account>(protocol()));
  EXPECT_TRUE(service.getElements(TWUtils::createElement("m:GetItem")));
  EXPECT_THAT(server.requests()[0].body, HasSubstr("boss@example.com</t:PrimarySMTPAddress>"));
  EXPECT_THAT(server.requests()[0].body, HasSubstr("<t:TimeZoneDefinition Id=\"UTC\">"));
}

TEST_F(TWEWSServiceTest, ResultsOfAllMessagesStandInOneList) {
  const auto results = callAnswered(
      kGetItem, ScriptedAnswer::xml(test::envelope(test::response(
                    "GetItem", test::responseMessage("GetItem", "Success", "NoError",
                                                     "<m:Items><t:A/><t:B/></m:Items>") +
                                   "<m:Foreign/>" +
                                   test::responseMessage("GetItem", "Error", "ErrorItemNotFound") +
                                   test::responseMessage("GetItem", "Success", "NoError",
                                                         "<m:Items><t:C/></m:Items>")))));
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 4U);
  EXPECT_EQ((*results)[0].asXML().localName(), "A");
  EXPECT_EQ((*results)[1].asXML().localName(), "B");
  EXPECT_EQ((*results)[2].asError(),
            TWError(TWErrorCode::ErrorItemNotFound, "Error: ErrorItemNotFound"));
  EXPECT_EQ((*results)[3].asXML().localName(), "C");
}

TEST_F(TWEWSServiceTest, AMessageWithoutResultsIsTrue) {
  const auto results = callAnswered(kDeleteItem, message("Success", "NoError", "", "DeleteItem"));
  ASSERT_TRUE(results);
  EXPECT_EQ(*results, TWList{true});
}

TEST_F(TWEWSServiceTest, NoMessagesAreNoResults) {
  const auto results = callAnswered(kGetItem, body(test::response("GetItem", "")));
  ASSERT_TRUE(results);
  EXPECT_TRUE(results->empty());
}

TEST_F(TWEWSServiceTest, AResponseWithoutAListOfMessagesIsItselfTheMessage) {
  const auto results =
      callAnswered(kDeleteItem, body("<m:DeleteItemResponse "
                                     "ResponseClass=\"Success\"><m:ResponseCode>NoError</"
                                     "m:ResponseCode></m:DeleteItemResponse>"));
  ASSERT_TRUE(results);
  EXPECT_EQ(*results, TWList{true});
}

TEST_F(TWEWSServiceTest, NoErrorOfAnotherClassIsTrueWhateverTheContainer) {
  for (const char* responseClass : {"Warning", "Error", "Other"}) {
    const auto results =
        callAnswered(kGetItem, message(responseClass, "NoError", "<m:Items><t:A/></m:Items>"));
    ASSERT_TRUE(results);
    EXPECT_EQ(*results, TWList{true});
  }
}

TEST_F(TWEWSServiceTest, EveryCaughtCodeTakesThePlaceOfItsResult) {
  for (const auto code : TWServiceClass::baseErrorsToCatch()) {
    const auto name = *TWErrors::stringFromCode(static_cast<std::int64_t>(code));
    TWError error;
    const auto results = callAnswered(kGetItem, message("Error", name), &error);
    ASSERT_TRUE(results) << name;
    EXPECT_FALSE(error) << error;
    EXPECT_TRUE(results->at(0).asError().is(code)) << name;
  }
}

TEST_F(TWEWSServiceTest, AWarningIsCaughtReadOrJudgedAsAnError) {
  TWError none;
  const auto stopped =
      callAnswered(kGetItem, message("Warning", "ErrorBatchProcessingStopped"), &none);
  ASSERT_TRUE(stopped);
  EXPECT_FALSE(none);
  EXPECT_TRUE(stopped->at(0).asError().is(TWErrorCode::ErrorBatchProcessingStopped));
  const auto caught = callAnswered(kGetItem, message("Warning", "ErrorItemNotFound"));
  ASSERT_TRUE(caught);
  EXPECT_TRUE(caught->at(0).asError().is(TWErrorCode::ErrorItemNotFound));
  EXPECT_TRUE(errorOf(message("Warning", "ErrorAccessDenied")).is(TWErrorCode::ErrorAccessDenied));

  TWServiceClass ignoring = kGetItem;
  ignoring.warningsToIgnoreInResponse = {TWErrorCode::ErrorNameResolutionMultipleResults};
  const auto read = callAnswered(ignoring, message("Warning", "ErrorNameResolutionMultipleResults",
                                                   "<m:Items><t:A/></m:Items>"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->at(0).asXML().localName(), "A");
  EXPECT_THAT(errorOf(message("Warning", "ErrorNameResolutionMultipleResults"), ignoring).message(),
              HasSubstr("No Items elements in ResponseMessage <m:GetItemResponseMessage"));
}

TEST_F(TWEWSServiceTest, TheFirstFailureEndsTheCall) {
  const auto error = errorOf(ScriptedAnswer::xml(test::envelope(test::response(
      "GetItem",
      test::responseMessage("GetItem", "Success", "NoError", "<m:Items><t:A/></m:Items>") +
          test::responseMessage("GetItem", "Error", "ErrorAccessDenied") +
          test::responseMessage("GetItem", "Error", "ErrorServerBusy")))));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorAccessDenied, "Error: ErrorAccessDenied"));
}

TEST_F(TWEWSServiceTest, ASuccessWithoutItsContainerIsATransportError) {
  const auto error = errorOf(message("Success", "NoError"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(
      error.message(),
      testing::StartsWith("No Items elements in ResponseMessage <m:GetItemResponseMessage"));
  // In another namespace is as good as missing.
  EXPECT_TRUE(errorOf(message("Success", "NoError", "<t:Items/>")).is(TWErrorCode::ErrorTransport));
}

TEST_F(TWEWSServiceTest, AnUnknownCodeIsATransportError) {
  EXPECT_EQ(errorOf(message("Error", "ErrorFuture")),
            TWError(TWErrorCode::ErrorTransport, "Error: ErrorFuture"));
}

TEST_F(TWEWSServiceTest, AMessageWithoutACodeSaysSo) {
  const auto error = errorOf(message(
      "Error", "", "<m:MessageText>Oops</m:MessageText><m:MessageXml><t:X/></m:MessageXml>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(),
              testing::StartsWith(
                  "Empty responseCode in responseMessage (MessageText: Oops, XML: <m:MessageXml"));
  const auto bare =
      errorOf(body("<m:GetItemResponse><m:ResponseMessages><m:GetItemResponseMessage/></"
                   "m:ResponseMessages></m:GetItemResponse>"));
  EXPECT_EQ(bare.message(),
            "Empty responseCode in responseMessage (MessageText: (null), XML: (null))");
}

TEST_F(TWEWSServiceTest, WhatTheServerSaysBesidesIsNotInTheMessage) {
  for (const char* field :
       {"FieldURI FieldURI=\"item:Subject\"", "IndexedFieldURI FieldIndex=\"1\"",
        "ExtendedFieldURI PropertyTag=\"1\"", "ExceptionFieldURI"}) {
    const auto error = errorOf(message("Error", "ErrorAccessDenied",
                                       "<m:MessageText>Not you</m:MessageText><m:MessageXml><t:" +
                                           std::string(field) + "/></m:MessageXml>"));
    EXPECT_EQ(error.message(), "Error: ErrorAccessDenied");
    EXPECT_EQ(error.userInfo().allKeys(), std::vector<std::string>{"d"});
  }
}

TEST_F(TWEWSServiceTest, PrefixesDoNotMatterAndNamespacesDo) {
  const auto results = callAnswered(
      kDeleteItem, ScriptedAnswer::xml(
                       "<x:Envelope xmlns:x=\"http://schemas.xmlsoap.org/soap/envelope/\"><x:Body>"
                       "<DeleteItemResponse "
                       "xmlns=\"http://schemas.microsoft.com/exchange/services/2006/messages\">"
                       "<ResponseMessages><DeleteItemResponseMessage "
                       "ResponseClass=\"Success\"><ResponseCode>NoError"
                       "</ResponseCode></DeleteItemResponseMessage></ResponseMessages></"
                       "DeleteItemResponse></x:Body></x:Envelope>"));
  ASSERT_TRUE(results);
  EXPECT_EQ(*results, TWList{true});
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("<Envelope><Body/></Envelope>")),
            TWError(TWErrorCode::ErrorTransport, "No body element in SOAP response"));
}

TEST_F(TWEWSServiceTest, NothingIsReadInAnotherNamespace) {
  for (const char* content :
       {"<t:ResponseCode>NoError</t:ResponseCode>",
        "<t:MessageText>Oops</t:MessageText><t:MessageXml><t:X/></t:MessageXml>"})
    EXPECT_EQ(errorOf(body(test::response(
                  "GetItem", "<m:GetItemResponseMessage ResponseClass=\"Success\">" +
                                 std::string(content) + "</m:GetItemResponseMessage>"))),
              TWError(TWErrorCode::ErrorTransport,
                      "Empty responseCode in responseMessage (MessageText: (null), XML: (null))"));
  for (const char* content : {"<t:GetItemResponse><m:ResponseMessages/></t:GetItemResponse>",
                              "<t:Fault><faultcode>ErrorServerBusy</faultcode></t:Fault>"}) {
    const auto error = errorOf(body(content));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP));
    EXPECT_THAT(error.message(), testing::StartsWith("Unknown SOAP response: <s:Body"));
  }
  const auto results = callAnswered(
      kGetItem,
      body(test::response("GetItem", "<t:GetItemResponseMessage ResponseClass=\"Error\"/>" +
                                         test::responseMessage("GetItem", "Success", "NoError",
                                                               "<m:Items><t:A/></m:Items>"))));
  ASSERT_TRUE(results);
  EXPECT_EQ(results->size(), 1U);
}

TEST_F(TWEWSServiceTest, TheResponseOfAnotherOperationIsUnknown) {
  const auto error = errorOf(body("<m:FindItemResponse/>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP));
  EXPECT_THAT(error.message(), testing::StartsWith("Unknown SOAP response: <s:Body"));
}

// Faults.

ScriptedAnswer fault(std::string_view content) {
  return ScriptedAnswer::xml(test::envelope("<s:Fault>" + std::string(content) + "</s:Fault>"),
                             500);
}

TEST_F(TWEWSServiceTest, AFaultWhoseDetailNamesACodeIsThatError) {
  EXPECT_EQ(errorOf(ScriptedAnswer::xml(test::faultEnvelope("ErrorSchemaValidation",
                                                            "The request failed schema validation"),
                                        500)),
            TWError(TWErrorCode::ErrorSchemaValidation, "The request failed schema validation"));
}

TEST_F(TWEWSServiceTest, AFaultCodeOfTheCatalogueIsThatError) {
  EXPECT_EQ(
      errorOf(fault("<faultcode>ErrorServerBusy</faultcode><faultstring>Later</faultstring>")),
      TWError(TWErrorCode::ErrorServerBusy, "Later"));
}

TEST_F(TWEWSServiceTest, AnyOtherFaultTellsItsParts) {
  EXPECT_EQ(errorOf(fault("<faultcode>a:ErrorServerBusy</faultcode><faultstring>Later</"
                          "faultstring><faultactor>x</faultactor>")),
            TWError(TWErrorCode::ErrorSOAP,
                    "SOAP error code: a:ErrorServerBusy string: Later actor: x detail: (null)"));
  const auto error =
      errorOf(fault("<faultcode>c</faultcode><detail><e:ResponseCode "
                    "xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\">"
                    "ErrorFuture</e:ResponseCode></detail>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorSOAP));
  EXPECT_THAT(
      error.message(),
      testing::StartsWith("SOAP error code: c string: (null) actor: (null) detail: GetItem: "
                          "code: ErrorFuture msg: (null) (<detail"));
}

TEST_F(TWEWSServiceTest, ADetailMayNameACodeWithoutAMessage) {
  const auto error =
      errorOf(fault("<detail><e:ResponseCode "
                    "xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\">"
                    "ErrorServerBusy</e:ResponseCode></detail>"));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorServerBusy));
  EXPECT_TRUE(error.userInfo()["d"].isAbsent());
}

TEST_F(TWEWSServiceTest, ADetailInAnotherNamespaceIsNotRead) {
  EXPECT_TRUE(errorOf(fault("<detail><ResponseCode>ErrorServerBusy</ResponseCode></detail>"))
                  .is(TWErrorCode::ErrorSOAP));
}

TEST_F(TWEWSServiceTest, TheDetailOfAFaultGoesBeforeItsCode) {
  const auto faultWithDetail = [](const std::string& code) {
    return fault(
        "<faultcode>ErrorServerBusy</faultcode><faultstring>s</faultstring><detail "
        "xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\"><e:ResponseCode>" +
        code + "</e:ResponseCode><e:Message>m</e:Message></detail>");
  };
  EXPECT_EQ(errorOf(faultWithDetail("ErrorAccessDenied")),
            TWError(TWErrorCode::ErrorAccessDenied, "m"));
  EXPECT_EQ(errorOf(faultWithDetail("ErrorFuture")), TWError(TWErrorCode::ErrorServerBusy, "s"))
      << "a code that is unknown gives way";
}

TEST_F(TWEWSServiceTest, ThePartsOfAFaultHaveNoPrefix) {
  EXPECT_EQ(errorOf(fault("<s:faultcode>ErrorServerBusy</s:faultcode>")),
            TWError(TWErrorCode::ErrorSOAP,
                    "SOAP error code: (null) string: (null) actor: (null) detail: (null)"));
}

// Answers that are no SOAP.

TEST_F(TWEWSServiceTest, AnUnauthorizedAnswerWithoutSOAPIsAccessDenied) {
  const TWError denied(TWErrorCode::ErrorAccessDenied, "Access denied");
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("", 401)), denied);
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("<html><body>No</body></html>", 401)), denied);
}

TEST_F(TWEWSServiceTest, AnUnauthorizedAnswerWithAFaultIsThatFault) {
  EXPECT_EQ(errorOf(ScriptedAnswer::xml(test::faultEnvelope("ErrorAccountDisabled", "gone"), 401)),
            TWError(TWErrorCode::ErrorAccountDisabled, "gone"));
}

TEST_F(TWEWSServiceTest, WhatIsNoXMLIsABadResponse) {
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("hello")),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: hello"));
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("<html><br>", 500)),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: <html><br>"));
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("", 500)),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
}

TEST_F(TWEWSServiceTest, ABadResponseThatIsNoTextIsToldByItsSize) {
  using namespace std::string_literals;
  for (const auto& body : {"\xFF\xFE"s, "\xFC\0"s})
    EXPECT_EQ(errorOf(ScriptedAnswer::xml(body)),
              TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: <2 bytes>"));
  EXPECT_EQ(errorOf(ScriptedAnswer::xml("f\xC3\xBCr", 403)),
            TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: f\xC3\xBCr"));
}

TEST_F(TWEWSServiceTest, AFailureOfTheTransportIsPassedOnUnchanged) {
  const auto nobody = TWProtocol::withServiceEndpoint("http://127.0.0.1:1/", nullptr, TWVersion());
  TWError error;
  EXPECT_FALSE(Service(kGetItem, nobody).getElements(TWUtils::createElement("m:GetItem"), &error));
  EXPECT_TRUE(error.is(TWHTTPErrorDomain, TWHTTPErrorCannotConnect));
}

TEST_F(TWEWSServiceTest, ARefusedRedirectIsCodeOneWithItsTarget) {
  const auto base = TWBaseProtocol::withServiceEndpoint(server.url("/"), nullptr);
  server.enqueue(ScriptedAnswer::redirect(302, "http://b.example/"));
  TWError error;
  EXPECT_FALSE(Service(kGetItem, base).getElements(TWUtils::createElement("m:GetItem"), &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorRedirect));
  EXPECT_EQ(error.userInfo()["url"], TWValue("http://b.example/"));
  // A later document is read although its record still carries the error.
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  EXPECT_TRUE(Service(kGetItem, base).getElements(TWUtils::createElement("m:GetItem")));
}

// Logging, connections, threads.

TEST_F(TWEWSServiceTest, AnAccountsServiceLogsItsFailuresUnderTheUser) {
  server.enqueue(message("Error", "ErrorAccessDenied"));
  const test::RecordingLog log;
  EXPECT_FALSE(Service(kGetItem, std::make_shared<Account>(protocol()))
                   .getElements(TWUtils::createElement("m:GetItem")));
  EXPECT_EQ(log.lines().back(),
            "[ann] Get elements failed with error: org.tarnwell.ews 10: Error: ErrorAccessDenied");
}

TEST_F(TWEWSServiceTest, LogsItsStepsInOrder) {
  protocol()->setVersion(TWVersion(std::nullopt, "Exchange2016"));
  const test::RecordingLog log;
  (void)errorOf(message("Error", "ErrorAccessDenied"));
  const auto lines = log.lines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_THAT(lines[0], testing::StartsWith("[ann][Connection] Request took: "));
  EXPECT_EQ(lines[1], "[ann] Setting API version: Exchange2016");
  EXPECT_EQ(lines[2], "[ann] Setting Build: TWBuild: (15, 1, 0, 0)");
  EXPECT_EQ(lines[3],
            "[ann] Get elements failed with error: org.tarnwell.ews 10: Error: ErrorAccessDenied");
  EXPECT_TRUE(log.debugLines().empty());
}

TEST_F(TWEWSServiceTest, FailuresNeedNoErrorPointer) {
  EXPECT_FALSE(callAnswered(kGetItem, ScriptedAnswer::xml("hello")));
  EXPECT_FALSE(callAnswered(kGetItem, message("Error", "ErrorAccessDenied")));
  EXPECT_FALSE(callAnswered(kGetItem,
                            ScriptedAnswer::xml(test::faultEnvelope("ErrorServerBusy", "x"), 500)));
}

TEST_F(TWEWSServiceTest, TheAlternateConnectionIsTheDownloader) {
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  server.enqueue(message("Success", "NoError", "<m:Items/>"));
  Service service(kGetItem, protocol());
  EXPECT_TRUE(service.getElements(TWUtils::createElement("m:GetItem"), false, true));
  EXPECT_TRUE(service.getElements(TWUtils::createElement("m:GetItem"), false));
  EXPECT_NE(server.requests()[0].connection, server.requests()[1].connection);
}

TEST_F(TWEWSServiceTest, TheMessagesMayBeHadUnjudgedOverEitherConnection) {
  Service service(kGetItem, protocol());
  for (const bool alternate : {false, true}) {
    server.enqueue(message("Error", "ErrorAccessDenied"));
    const auto messages =
        service.getResponseXML(TWUtils::createElement("m:GetItem"), false, alternate);
    ASSERT_TRUE(messages);
    ASSERT_EQ(messages->size(), 1U);
    EXPECT_EQ(messages->at(0).localName(), "GetItemResponseMessage");
  }
  EXPECT_NE(server.requests()[0].connection, server.requests()[1].connection);
}

/// Has its answer ready.
class ReadyExchange : public TWStreamExchange {
 public:
  explicit ReadyExchange(std::string_view answer) : answer_(answer.begin(), answer.end()) {}
  std::optional<TWData> await() override { return answer_; }
  void cancel() override {}
  void arm() override {}
  [[nodiscard]] bool wasCancelled() const override { return false; }
  void setAllowInsecureCertificate(bool /*allow*/) override {}

 private:
  TWData answer_;
};

TEST_F(TWEWSServiceTest, StreamingRequestsGoOverAnExchangeOfTheirOwn) {
  std::vector<std::string> streamed;
  TWConnectionOptions options;
  options.makeStream = [&streamed](std::shared_ptr<TWCredentials>, TWHTTPRequest request,
                                   const TWConnectionOptions&) {
    const TWData body = request.body.value_or(TWData());
    streamed.emplace_back(body.begin(), body.end());
    return std::make_shared<ReadyExchange>(
        message("Success", "NoError", "<m:Items><t:Streamed/></m:Items>").body);
  };
  const auto streaming =
      TWProtocol::withServiceEndpoint(server.url("/"), nullptr, TWVersion(TWBuild(15, 1)), options);
  Service service(kGetItem, streaming);
  const auto results = service.getElements(TWUtils::createElement("m:GetItem"), true);
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 1U);
  EXPECT_EQ(results->at(0).asXML().localName(), "Streamed");
  EXPECT_TRUE(service.getResponseXML(TWUtils::createElement("m:GetItem"), true, true));
  ASSERT_EQ(streamed.size(), 2U);
  EXPECT_THAT(streamed[0], test::EqualsXML(test::requestEnvelope("Exchange2016", "<m:GetItem/>")));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWEWSServiceTest, WithoutAProtocolOrOnAClosedOneACallFails) {
  protocol()->close();
  for (const std::shared_ptr<TWServiceContext>& context :
       {std::shared_ptr<TWServiceContext>(), std::shared_ptr<TWServiceContext>(protocol()),
        std::shared_ptr<TWServiceContext>(std::make_shared<Account>(nullptr))}) {
    for (const bool alternate : {false, true}) {
      TWError error;
      EXPECT_FALSE(Service(kGetItem, context)
                       .getElements(TWUtils::createElement("m:GetItem"), false, alternate, &error));
      EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
    }
  }
}

TEST_F(TWEWSServiceTest, ThreadsMayRenegotiateAtTheSameTime) {
  ScriptedServer answering(
      [](const ScriptedRequest&) { return message("Success", "NoError", "<m:Items/>"); });
  const auto shared = TWProtocol::withServiceEndpoint(answering.url("/"), nullptr, TWVersion());
  std::vector<std::thread> threads;
  std::atomic<int> successes = 0;
  for (int i = 0; i < 16; ++i)
    threads.emplace_back([&] {
      const auto own = TWProtocol::withServiceEndpoint(answering.url("/"), nullptr, TWVersion());
      for (const auto& used : {shared, own})
        if (Service(kGetItem, used).getElements(TWUtils::createElement("m:GetItem"))) ++successes;
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(successes, 32);
  EXPECT_EQ(shared->version(), TWVersion(TWBuild(15, 1), "Exchange2016"));
}

// Paging.

class TWPagedServiceResponseTest : public TWEWSServiceTest {
 protected:
  static ScriptedAnswer page(std::string_view attributes, std::string_view folders) {
    return message("Success", "NoError",
                   "<m:RootFolder " + std::string(attributes) + "><t:Folders>" +
                       std::string(folders) + "</t:Folders></m:RootFolder>",
                   "FindFolder");
  }
  TWPagedServiceResponse pages(std::int64_t maxItems = 0) {
    return std::make_shared<Service>(kFindFolder, protocol())
        ->pagedCall(
            [](const TWDictionary& args, TWError*) {
              return TWUtils::createElement("m:FindFolder",
                                            {{"Offset", args["offset"]}, {"Shape", args["shape"]}});
            },
            maxItems, TWDictionary{{"shape", "IdOnly"}});
  }
};

TEST_F(TWPagedServiceResponseTest, AsksForOnePageAfterTheOther) {
  server.enqueue(
      page(R"(IndexedPagingOffset="2" TotalItemsInView="3" IncludesLastItemInRange="false")",
           "<t:Folder/><t:Folder/>"));
  server.enqueue(page(R"(TotalItemsInView="3" IncludesLastItemInRange="true")", "<t:Folder/>"));
  auto paged = pages();
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_EQ(paged.nextPage()->size(), 2U);
  EXPECT_EQ(paged.nextPage()->size(), 1U);
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_FALSE(error);
  EXPECT_EQ(paged.itemCount(), 3);
  ASSERT_EQ(server.requests().size(), 2U);
  EXPECT_THAT(server.requests()[0].body, HasSubstr("Offset=\"0\""));
  EXPECT_THAT(server.requests()[1].body, HasSubstr("Offset=\"2\""));
  EXPECT_THAT(server.requests()[1].body, HasSubstr("Shape=\"IdOnly\""));
}

TEST_F(TWPagedServiceResponseTest, ALimitBelowZeroIsNone) {
  server.enqueue(page(R"(IndexedPagingOffset="1" IncludesLastItemInRange="false")", "<t:Folder/>"));
  server.enqueue(page(R"(IncludesLastItemInRange="true")", "<t:Folder/>"));
  auto paged = pages(-1);
  EXPECT_TRUE(paged.nextPage());
  EXPECT_TRUE(paged.nextPage());
  EXPECT_FALSE(paged.nextPage());
  EXPECT_EQ(paged.itemCount(), 2);
}

TEST_F(TWPagedServiceResponseTest, OnlyTheFirstMessageIsThePage) {
  server.enqueue(ScriptedAnswer::xml(test::envelope(test::response(
      "FindFolder",
      test::responseMessage("FindFolder", "Success", "NoError",
                            "<m:RootFolder IncludesLastItemInRange=\"true\"><t:Folders>"
                            "<t:Folder/></t:Folders></m:RootFolder>") +
          test::responseMessage("FindFolder", "Error", "ErrorAccessDenied")))));
  auto paged = pages();
  TWError error;
  const auto first = paged.nextPage(&error);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->size(), 1U);
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_FALSE(error) << error;
}

TEST_F(TWPagedServiceResponseTest, StopsAtTheLimitButGivesThePageWhole) {
  server.enqueue(page(R"(IndexedPagingOffset="3" IncludesLastItemInRange="false")",
                      "<t:Folder/><t:Folder/><t:Folder/>"));
  auto paged = pages(2);
  EXPECT_EQ(paged.nextPage()->size(), 3U);
  EXPECT_FALSE(paged.nextPage());
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST_F(TWPagedServiceResponseTest, TrueAndZeroMeanTheLastItemAndOneDoesNot) {
  for (const auto& [text, last] :
       {std::pair("TRUE", true), {"0", true}, {"1", false}, {"false", false}}) {
    server.enqueue(page("IncludesLastItemInRange=\"" + std::string(text) + "\"", "<t:Folder/>"));
    auto paged = pages();
    EXPECT_EQ(paged.nextPage()->size(), 1U);
    EXPECT_EQ(paged.nextOffset().has_value(), !last) << text;
  }
}

TEST_F(TWPagedServiceResponseTest, AMissingOffsetCountsAsOne) {
  const TWError mismatch(TWErrorCode::ErrorTransport,
                         "Mismatch between item count and next offset");
  server.enqueue(page(R"(IncludesLastItemInRange="false")", "<t:Folder/><t:Folder/>"));
  auto paged = pages();
  EXPECT_EQ(paged.nextPage()->size(), 2U);
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_EQ(error, mismatch);
  EXPECT_EQ(server.requestCount(), 1U);
}

TEST_F(TWPagedServiceResponseTest, AMissingOffsetIsRightAfterOneItem) {
  server.enqueue(page(R"(IncludesLastItemInRange="false")", "<t:Folder/>"));
  server.enqueue(page(R"(IncludesLastItemInRange="true")", "<t:Folder/>"));
  auto paged = pages();
  EXPECT_TRUE(paged.nextPage());
  EXPECT_TRUE(paged.nextPage());
  EXPECT_THAT(server.requests().at(1).body, HasSubstr("Offset=\"1\""));
}

TEST_F(TWPagedServiceResponseTest, APageThatDoesNotSayThatItIsTheLastIsNot) {
  server.enqueue(page(R"(IndexedPagingOffset="1")", "<t:Folder/>"));
  auto paged = pages();
  EXPECT_TRUE(paged.nextPage());
  EXPECT_EQ(paged.nextOffset(), 1);
}

TEST_F(TWPagedServiceResponseTest, StartsAtTheBeginningWhateverOffsetIsGiven) {
  server.enqueue(page(R"(IncludesLastItemInRange="true")", "<t:Folder/>"));
  auto paged =
      std::make_shared<Service>(kFindFolder, protocol())
          ->pagedCall(
              [](const TWDictionary& args, TWError*) {
                return TWUtils::createElement("m:FindFolder", {{"Offset", args["offset"]}});
              },
              0, TWDictionary{{"offset", 7}});
  EXPECT_TRUE(paged.nextPage());
  EXPECT_THAT(server.requests().at(0).body, HasSubstr("Offset=\"0\""));
}

TEST_F(TWPagedServiceResponseTest, FailuresNeedNoErrorPointer) {
  for (const auto& answer : {message("Error", "ErrorItemNotFound", "", "FindFolder"),
                             body(test::response("FindFolder", "")), ScriptedAnswer::xml("hello"),
                             page("IndexedPagingOffset=\"0\"", "")}) {
    server.enqueue(answer);
    EXPECT_FALSE(pages().nextPage());
  }
  server.enqueue(page(R"(IndexedPagingOffset="5")", "<t:Folder/>"));
  auto paged = pages();
  EXPECT_TRUE(paged.nextPage());
  EXPECT_FALSE(paged.nextPage());
}

TEST_F(TWPagedServiceResponseTest, AnEmptyViewIsOneEmptyPage) {
  server.enqueue(message("Success", "NoError",
                         R"(<m:RootFolder TotalItemsInView="0" IncludesLastItemInRange="true"/>)",
                         "FindFolder"));
  auto paged = pages();
  const auto first = paged.nextPage();
  ASSERT_TRUE(first);
  EXPECT_TRUE(first->empty());
  EXPECT_FALSE(paged.nextPage());
}

TEST_F(TWPagedServiceResponseTest, AnEmptyPageThatDoesNotMoveEndsWithAnError) {
  ScriptedServer stuck([](const ScriptedRequest&) {
    return page(R"(IndexedPagingOffset="0" TotalItemsInView="5" IncludesLastItemInRange="false")",
                "");
  });
  auto paged =
      std::make_shared<Service>(
          kFindFolder, TWProtocol::withServiceEndpoint(stuck.url("/"), nullptr, TWVersion()))
          ->pagedCall(
              [](const TWDictionary&, TWError*) { return TWUtils::createElement("m:FindFolder"); },
              0, {});
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_EQ(error.message(), "Mismatch between item count and next offset");
  EXPECT_EQ(stuck.requestCount(), 1U);
}

TEST_F(TWPagedServiceResponseTest, AnOffsetThatStaysGoesBackOrLeapsEndsWithAnError) {
  for (const std::string offset : {"0", "1", "-2", "3", "99999999999999999999", "two"}) {
    const auto before = server.requestCount();
    server.enqueue(page("IndexedPagingOffset=\"" + offset +
                            R"(" TotalItemsInView="5" IncludesLastItemInRange="false")",
                        "<t:Folder/><t:Folder/>"));
    auto paged = pages();
    EXPECT_EQ(paged.nextPage()->size(), 2U);
    for (int attempt = 0; attempt < 2; ++attempt) {
      TWError error;
      EXPECT_FALSE(paged.nextPage(&error));
      EXPECT_EQ(error,
                TWError(TWErrorCode::ErrorTransport, "Mismatch between item count and next offset"))
          << offset;
    }
    EXPECT_EQ(server.requestCount(), before + 1);
  }
}

TEST_F(TWPagedServiceResponseTest, TheServiceReadsThePagesOfItsCall) {
  server.enqueue(page(R"(IndexedPagingOffset="1" IncludesLastItemInRange="false")", "<t:Folder/>"));
  server.enqueue(page(R"(IncludesLastItemInRange="true")", "<t:Folder/>"));
  // Held by nothing but this block.
  Service service(kFindFolder, protocol());
  auto paged = service.pagedCall(
      [](const TWDictionary&, TWError*) { return TWUtils::createElement("m:FindFolder"); }, 0, {});
  EXPECT_EQ(service.nextPage(paged)->size(), 1U);
  EXPECT_EQ(paged.nextPage()->size(), 1U);
  EXPECT_EQ(paged.itemCount(), 2);
  TWError error;
  EXPECT_FALSE(service.nextPage(paged, &error));
  EXPECT_FALSE(error) << error;
}

TEST_F(TWPagedServiceResponseTest, APageWithoutItsContainerIsAnError) {
  server.enqueue(
      message("Success", "NoError", R"(<m:RootFolder TotalItemsInView="5"/>)", "FindFolder"));
  auto paged = pages();
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_THAT(error.message(),
              testing::StartsWith("No Folders elements in ResponseMessage <m:RootFolder"));
}

TEST_F(TWPagedServiceResponseTest, APageWithoutItsRootFolderIsAnError) {
  for (const auto& answer :
       {message("Success", "NoError", "", "FindFolder"),
        message("Warning", "NoError", "", "FindFolder"), body(test::response("FindFolder", ""))}) {
    server.enqueue(answer);
    auto paged = pages();
    TWError error;
    EXPECT_FALSE(paged.nextPage(&error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
    EXPECT_THAT(error.message(), testing::StartsWith("No RootFolder elements in ResponseMessage"));
  }
}

TEST_F(TWPagedServiceResponseTest, ACaughtErrorIsTheErrorOfThePage) {
  server.enqueue(message("Error", "ErrorItemNotFound", "", "FindFolder"));
  auto paged = pages();
  TWError error;
  const test::RecordingLog log;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorItemNotFound));
  EXPECT_THAT(log.lines(), testing::Not(testing::Contains(HasSubstr("Get elements failed"))));
}

TEST_F(TWPagedServiceResponseTest, ARequestThatCannotBeBuiltIsNotSent) {
  auto paged =
      std::make_shared<Service>(kFindFolder, protocol())
          ->pagedCall(
              [](const TWDictionary&, TWError* error) {
                setError(error, TWError(TWErrorCode::ErrorValueOutOfRange, "no restriction"));
                return NKXMLElement();
              },
              0, {});
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_EQ(error.message(), "no restriction");
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWPagedServiceResponseTest, ARequestThatIsNoneIsNotTheEndOfThePages) {
  auto paged = std::make_shared<Service>(kFindFolder, protocol())
                   ->pagedCall([](const TWDictionary&, TWError*) { return NKXMLElement(); }, 0, {});
  TWError error;
  EXPECT_FALSE(paged.nextPage(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Request cannot be written"));
  EXPECT_EQ(server.requestCount(), 0U);
}

}  // namespace
}  // namespace tarnwell
