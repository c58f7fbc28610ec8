#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestObjects.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::ScriptedAnswer;
using test::ScriptedServer;

constexpr std::string_view k2016 = R"(MajorVersion="15" MinorVersion="1" Version="Exchange2016")";

std::string resolution(std::string_view name, std::string_view address) {
  return "<t:Resolution><t:Mailbox><t:Name>" + std::string(name) + "</t:Name><t:EmailAddress>" +
         std::string(address) +
         "</t:EmailAddress><t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Contact</"
         "t:MailboxType>"
         "</t:Mailbox><t:Contact/></t:Resolution>";
}

class TWResolveNamesTest : public testing::Test {
 protected:
  std::shared_ptr<TWResolveNames> service(std::optional<TWBuild> build = TWBuild(15, 1)) {
    return TWResolveNames::withProtocol(TWProtocol::withServiceEndpoint(
        server.url("/"), TWCredentials::credentialsWithUsernamePassword("ann", "pw"),
        TWVersion(build, "Exchange2016")));
  }
  static ScriptedAnswer message(std::string_view responseClass, std::string_view code,
                                std::string_view content = "") {
    return ScriptedAnswer::xml(test::envelope(
        test::response("ResolveNames",
                       test::responseMessage("ResolveNames", responseClass, code, content)),
        k2016));
  }
  ScriptedServer server;
};

TEST_F(TWResolveNamesTest, DeclaresItsNamesAndCodes) {
  const auto& declared = service()->serviceClass();
  EXPECT_EQ(declared.serviceName, "ResolveNames");
  EXPECT_EQ(declared.elementContainerName, "ResolutionSet");
  EXPECT_EQ(declared.elementContainerXMLns,
            "http://schemas.microsoft.com/exchange/services/2006/messages");
  EXPECT_EQ(declared.errorsToCatchInResponse,
            TWErrorCodes{TWErrorCode::ErrorNameResolutionNoResults});
  EXPECT_EQ(declared.warningsToCatchInResponse,
            TWErrorCodes{TWErrorCode::ErrorBatchProcessingStopped});
  EXPECT_EQ(declared.warningsToIgnoreInResponse,
            TWErrorCodes{TWErrorCode::ErrorNameResolutionMultipleResults});
}

TEST_F(TWResolveNamesTest, TheClassTellsTheSameAsAService) {
  const auto& declared = service()->serviceClass();
  EXPECT_EQ(TWResolveNames::serviceName(), declared.serviceName);
  EXPECT_EQ(TWResolveNames::rootName(), "m:ResolveNames");
  EXPECT_EQ(TWResolveNames::elementContainerName(), declared.elementContainerName);
  EXPECT_EQ(TWResolveNames::elementContainerXMLns(), declared.elementContainerXMLns);
  EXPECT_EQ(TWResolveNames::errorsToCatchInResponse(), declared.errorsToCatchInResponse);
  EXPECT_EQ(TWResolveNames::warningsToCatchInResponse(), declared.warningsToCatchInResponse);
  EXPECT_EQ(TWResolveNames::warningsToIgnoreInResponse(), declared.warningsToIgnoreInResponse);
}

TEST_F(TWResolveNamesTest, AsksForEachNameInOrder) {
  server.enqueue(test::resolveNamesAnswer(k2016));
  EXPECT_TRUE(service()->call({"a&b", "\xC3\xA9", "c"}));
  EXPECT_THAT(server.requests().at(0).body,
              EqualsXML(test::requestEnvelope(
                  "Exchange2016",
                  "<m:ResolveNames "
                  "ReturnFullContactData=\"false\"><m:UnresolvedEntry>a&amp;b</m:UnresolvedEntry>"
                  "<m:UnresolvedEntry>\xC3\xA9</m:UnresolvedEntry><m:UnresolvedEntry>c</"
                  "m:UnresolvedEntry></m:ResolveNames>")));
}

TEST_F(TWResolveNamesTest, PassesScopeShapeAndFoldersOn) {
  server.enqueue(test::resolveNamesAnswer(k2016));
  const TWList folders{TWUtils::createElement("t:DistinguishedFolderId", {{"Id", "contacts"}})};
  EXPECT_TRUE(service()->call({"x"}, folders, true, "Nonsense", "AllProperties"));
  EXPECT_THAT(
      server.requests().at(0).body,
      EqualsXML(test::requestEnvelope(
          "Exchange2016",
          "<m:ResolveNames ReturnFullContactData=\"true\" SearchScope=\"Nonsense\" "
          "ContactDataShape=\"AllProperties\">"
          "<m:ParentFolderIds><t:DistinguishedFolderId Id=\"contacts\"/></m:ParentFolderIds>"
          "<m:UnresolvedEntry>x</m:UnresolvedEntry></m:ResolveNames>")));
}

TEST_F(TWResolveNamesTest, OptionsSayTheSameAsArguments) {
  server.enqueue(test::resolveNamesAnswer(k2016));
  server.enqueue(test::resolveNamesAnswer(k2016));
  const TWList folders{TWUtils::createElement("t:FolderId", {{"Id", "A"}})};
  EXPECT_TRUE(service()->call({"x"}, folders, true, "ActiveDirectory", "Default"));
  EXPECT_TRUE(service()->call({"x"}, {.parentFolders = folders,
                                      .returnFullContactData = true,
                                      .searchScope = "ActiveDirectory",
                                      .contactDataShape = "Default"}));
  EXPECT_EQ(server.requests().at(0).body, server.requests().at(1).body);
}

TEST_F(TWResolveNamesTest, FoldersMayBeUsedAgainAndMayStandInAnotherTree) {
  const auto answer = NKXMLElement::withXMLString(
      "<t:Folder xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">"
      "<t:FolderId Id=\"B\" ChangeKey=\"C\"/></t:Folder>");
  const TWList folders{TWUtils::createElement("t:FolderId", {{"Id", "A"}}),
                       answer.firstChild().asElement()};
  for (int call = 0; call < 2; ++call) {
    server.enqueue(test::resolveNamesAnswer(k2016));
    EXPECT_TRUE(service()->call({"x"}, folders));
    EXPECT_THAT(server.requests().back().body,
                EqualsXML(test::requestEnvelope(
                    "Exchange2016",
                    "<m:ResolveNames ReturnFullContactData=\"false\"><m:ParentFolderIds>"
                    "<t:FolderId Id=\"A\"/><t:FolderId "
                    "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\" "
                    "Id=\"B\" ChangeKey=\"C\"/>"
                    "</m:ParentFolderIds><m:UnresolvedEntry>x</m:UnresolvedEntry>"
                    "</m:ResolveNames>")));
  }
  EXPECT_EQ(answer.childCount(), 1U);
}

TEST_F(TWResolveNamesTest, FoldersAreNamedByTheirIds) {
  server.enqueue(test::resolveNamesAnswer(k2016));
  const TWList folders{TWFolder::withDict({{"folder_id", "I"}, {"changekey", "ck"}}),
                       TWInbox::withDict()};
  EXPECT_TRUE(service()->call({"x"}, folders));
  EXPECT_THAT(server.requests().at(0).body,
              EqualsXML(test::requestEnvelope(
                  "Exchange2016",
                  "<m:ResolveNames ReturnFullContactData=\"false\"><m:ParentFolderIds>"
                  "<t:FolderId Id=\"I\" ChangeKey=\"ck\"/><t:DistinguishedFolderId Id=\"inbox\"/>"
                  "</m:ParentFolderIds><m:UnresolvedEntry>x</m:UnresolvedEntry>"
                  "</m:ResolveNames>")));
}

TEST_F(TWResolveNamesTest, AFolderThatCannotBeNamedIsNotLeftOutInSilence) {
  const TWError noId(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID");
  const auto fake = test::FakeXMLObject::make();
  for (const TWValue& folder : {TWValue("inbox"), TWValue(1), TWValue::list({"id", "key"}),
                                TWValue(fake), TWValue(TWFolder::withDict({{"name", "new"}})),
                                TWValue(TWUtils::createElement("t:FolderId")),
                                TWValue(TWUtils::createElement("t:FolderId", {{"Id", ""}}))}) {
    TWError error;
    EXPECT_FALSE(service()->call({"x"}, {folder}, false, {}, {}, &error)) << folder;
    EXPECT_EQ(error, noId) << folder;
  }
  fake->failure = TWError(TWErrorCode::ErrorItemSave, "not valid");
  TWError error;
  EXPECT_FALSE(service()->call({"x"}, {TWValue(fake)}, false, {}, {}, &error));
  EXPECT_EQ(error, fake->failure);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWResolveNamesTest, ANameWithABackslashArrivesWhole) {
  server.enqueue(test::resolveNamesAnswer(k2016));
  EXPECT_TRUE(service()->call({"CORP\\Nina"}));
  EXPECT_THAT(server.requests().at(0).body,
              testing::HasSubstr("<m:UnresolvedEntry>CORP\\Nina</m:UnresolvedEntry>"));
}

TEST_F(TWResolveNamesTest, AContactDataShapeNeedsExchange2010SP2) {
  for (const auto& build : {std::optional(TWBuild(14, 1, 999)), std::optional(TWBuild(8, 1)),
                            std::optional<TWBuild>()}) {
    TWError error;
    EXPECT_FALSE(service(build)->call({"x"}, {}, false, std::nullopt, "IdOnly", &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                             "Contact data shape is not supported below 2010_SP2"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
  server.enqueue(test::resolveNamesAnswer(k2016));
  EXPECT_TRUE(service(TWBuild(14, 2))->call({"x"}, {}, false, std::nullopt, "IdOnly"));
}

TEST_F(TWResolveNamesTest, WithoutAShapeAnyBuildWillDo) {
  for (const auto& build : {std::optional(TWBuild(8, 0)), std::optional<TWBuild>()}) {
    server.enqueue(test::resolveNamesAnswer(k2016));
    EXPECT_TRUE(service(build)->call({"x"}, {}, false, "ActiveDirectory"));
  }
}

TEST_F(TWResolveNamesTest, ReadsTheMailboxesInTheServersOrder) {
  server.enqueue(test::resolveNamesAnswer(k2016, resolution("Ann", "ann@example.com") +
                                                     "<t:Resolution/>" +
                                                     resolution("Anne", "anne@example.com")));
  const auto mailboxes = service()->call({"an"});
  ASSERT_TRUE(mailboxes);
  ASSERT_EQ(mailboxes->size(), 2U);
  EXPECT_EQ(mailboxes->at(0)->get("name"), TWValue("Ann"));
  EXPECT_EQ(mailboxes->at(0)->get("email_address"), TWValue("ann@example.com"));
  EXPECT_EQ(mailboxes->at(0)->get("mailbox_type"), TWValue("Contact"));
  EXPECT_EQ(mailboxes->at(1)->get("email_address"), TWValue("anne@example.com"));
}

TEST_F(TWResolveNamesTest, SeveralMatchesAreASuccess) {
  server.enqueue(message("Warning", "ErrorNameResolutionMultipleResults",
                         "<m:ResolutionSet>" + resolution("A", "a@x") + resolution("B", "b@x") +
                             "</m:ResolutionSet>"));
  const auto mailboxes = service()->call({"x"});
  ASSERT_TRUE(mailboxes);
  EXPECT_EQ(mailboxes->size(), 2U);
}

TEST_F(TWResolveNamesTest, ANameThatNobodyHasGivesAnEmptyList) {
  server.enqueue(message("Error", "ErrorNameResolutionNoResults"));
  TWError error;
  const auto mailboxes = service()->call({"x"}, {}, false, {}, {}, &error);
  ASSERT_TRUE(mailboxes);
  EXPECT_TRUE(mailboxes->empty());
  EXPECT_FALSE(error);
}

TEST_F(TWResolveNamesTest, NamesFoundStandBesideNamesThatNobodyHas) {
  server.enqueue(ScriptedAnswer::xml(test::envelope(
      test::response(
          "ResolveNames",
          test::responseMessage("ResolveNames", "Error", "ErrorNameResolutionNoResults") +
              test::responseMessage(
                  "ResolveNames", "Success", "NoError",
                  "<m:ResolutionSet>" + resolution("A", "a@x") + "</m:ResolutionSet>")),
      k2016)));
  const auto mailboxes = service()->call({"nobody", "a"});
  ASSERT_TRUE(mailboxes);
  ASSERT_EQ(mailboxes->size(), 1U);
  EXPECT_EQ(mailboxes->at(0)->get("email_address"), TWValue("a@x"));
}

TEST_F(TWResolveNamesTest, OnlyMailboxesInTheirNamespaceAreRead) {
  server.enqueue(test::resolveNamesAnswer(
      k2016,
      "<t:Resolution><m:Mailbox><t:EmailAddress>a@x</t:EmailAddress></m:Mailbox></t:Resolution>"));
  const auto mailboxes = service()->call({"a"});
  ASSERT_TRUE(mailboxes);
  EXPECT_TRUE(mailboxes->empty());
}

TEST_F(TWResolveNamesTest, ASuccessThatHoldsNoResultsEndsTheCall) {
  server.enqueue(message("Warning", "NoError",
                         "<m:ResolutionSet>" + resolution("A", "a@x") + "</m:ResolutionSet>"));
  TWError error;
  EXPECT_FALSE(service()->call({"x"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(), testing::StartsWith("No ResolutionSet elements in ResponseMessage "
                                                   "<m:ResolveNamesResponseMessage"));
}

TEST_F(TWResolveNamesTest, WithoutAProtocolACallFailsAsOnAClosedOne) {
  TWError error;
  EXPECT_FALSE(TWResolveNames::withProtocol(nullptr)->call({"x"}, {}, false, {}, {}, &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
}

TEST_F(TWResolveNamesTest, AnyOtherErrorEndsTheCall) {
  for (const char* code : {"ErrorItemNotFound", "ErrorAccessDenied"}) {
    server.enqueue(message("Error", code));
    TWError error;
    EXPECT_FALSE(service()->call({"x"}, {}, false, {}, {}, &error));
    EXPECT_EQ(error.message(), std::string("Error: ") + code);
  }
  server.enqueue(message("Warning", "ErrorBatchProcessingStopped"));
  TWError error;
  EXPECT_FALSE(service()->call({"x"}, {}, false, {}, {}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorBatchProcessingStopped));
}

}  // namespace
}  // namespace tarnwell
