#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/services/TWCreateFolder.h"
#include "tarnwell/services/TWDeleteFolder.h"
#include "tarnwell/services/TWEmptyFolder.h"
#include "tarnwell/services/TWFindFolder.h"
#include "tarnwell/services/TWGetFolder.h"
#include "tarnwell/services/TWMoveFolder.h"
#include "tarnwell/services/TWSyncFolders.h"
#include "tarnwell/services/TWUpdateFolder.h"

#include "tests/folders/FolderTesting.h"
#include "tests/schema/VersionedField.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::answer;
using test::EqualsXML;
using test::errorAnswer;
using test::foldersMessage;
using test::folderXML;
using test::pageMessage;
using test::responseMessage;
using test::successAnswer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::string_view kMessages =
    "http://schemas.microsoft.com/exchange/services/2006/messages";
constexpr std::string_view kTypes = "http://schemas.microsoft.com/exchange/services/2006/types";

class TWFolderServices : public test::MailboxTest {
 protected:
  using Paths = std::vector<std::shared_ptr<TWFieldPath>>;
  static Paths paths(const std::vector<std::string>& names) {
    Paths made;
    for (const auto& name : names)
      made.push_back(TWFieldPath::withField(TWFolder::getFieldByFieldName(name)));
    return made;
  }
  static std::string id(const std::string& text) {
    return "<t:FolderId Id=\"" + text + "\" ChangeKey=\"ck-" + text + "\"/>";
  }
  std::shared_ptr<TWFindFolder> findAt(std::optional<TWBuild> build,
                                       const char* apiVersion = "Exchange2010") {
    auto at = test::makeAccount(server.url(), TWVersion(build, apiVersion));
    return TWFindFolder::withAccount(at, {folder("A")});
  }

  const TWValue pair = TWValue::list({"P", "ck-P"});
};

TEST_F(TWFolderServices, DeclareTheirNamesAndContainers) {
  EXPECT_EQ(TWSyncFolders::rootName(), "m:SyncFolderHeirarchy");
  const auto expect = [](const TWEWSService& service, std::string_view name,
                         std::optional<std::string_view> container, std::string_view xmlns) {
    const auto& cls = service.serviceClass();
    EXPECT_EQ(cls.serviceName, name);
    EXPECT_EQ(cls.rootName(), "m:" + std::string(name));
    EXPECT_EQ(cls.elementContainerName, container) << name;
    EXPECT_EQ(cls.elementContainerXMLns, xmlns) << name;
    EXPECT_EQ(cls.errorsToCatchInResponse, TWServiceClass::baseErrorsToCatch()) << name;
  };
  expect(*TWFindFolder::withAccount(account, {}), "FindFolder", "Folders", kTypes);
  expect(*TWGetFolder::withAccount(account), "GetFolder", "Folders", kMessages);
  expect(*TWMoveFolder::withAccount(account), "MoveFolder", std::nullopt, kMessages);
  expect(*TWCreateFolder::withAccount(account), "CreateFolder", "Folders", kMessages);
  expect(*TWUpdateFolder::withAccount(account), "UpdateFolder", "Folders", kMessages);
  expect(*TWDeleteFolder::withAccount(account), "DeleteFolder", std::nullopt, "");
  expect(*TWEmptyFolder::withAccount(account), "EmptyFolder", std::nullopt, "");
  expect(*TWSyncFolders::withAccount(account), "SyncFolderHeirarchy", std::nullopt, "");
}

TEST_F(TWFolderServices, AllButFindFolderTellOfTheAccountAndAllUseOneConnection) {
  TWAccountOptions options;
  options.primarySmtpAddress = "ann@example.com";
  options.credentials = TWCredentials::credentialsWithUsernamePassword("service", "pw");
  options.accessType = TWAccessTypeImpersonation;
  options.config = TWConfiguration{TWProtocol::withServiceEndpoint(
      server.url(), options.credentials, TWVersion(TWBuild(15, 1)))};
  const auto as = TWAccount::withOptions(options);
  server.on("FindFolder", answer("FindFolder", pageMessage("FindFolder", "Folders", "")));
  for (const char* operation : {"GetFolder", "CreateFolder", "UpdateFolder"})
    server.on(operation, answer(operation, foldersMessage(operation, folderXML("A", "a"))));
  for (const char* operation : {"MoveFolder", "DeleteFolder", "EmptyFolder"})
    server.on(operation, successAnswer(operation));
  const TWList folders{folder("A")};
  EXPECT_TRUE(TWGetFolder::withAccount(as)->call(folders, {}, "IdOnly"));
  auto pages = TWFindFolder::withAccount(as, {folder("A")})->call({}, "IdOnly", "Deep", 1, 0);
  EXPECT_TRUE(pages.nextPage());
  EXPECT_TRUE(TWCreateFolder::withAccount(as)->call(folder("T"), {folder("A")}));
  EXPECT_TRUE(TWUpdateFolder::withAccount(as)->call({{folder("A"), {"name"}}}));
  EXPECT_TRUE(TWMoveFolder::withAccount(as)->call(folders, folder("T")));
  EXPECT_TRUE(TWEmptyFolder::withAccount(as)->call(folders, "HardDelete", true));
  EXPECT_TRUE(TWDeleteFolder::withAccount(as)->call(folders, "HardDelete"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 7U);
  for (const auto& request : requests) {
    const auto operation = test::operationOf(request);
    const bool tells = operation != "FindFolder";
    for (const char* element : {"<t:ExchangeImpersonation>", "<t:TimeZoneContext>"})
      EXPECT_EQ(request.body.find(element) != std::string::npos, tells) << operation << element;
    EXPECT_EQ(request.connection, requests.front().connection) << operation;
  }
}

TEST_F(TWFolderServices, FindFolderDeclaresTheProtocolsVersionAndWritesForTheAccounts) {
  server.on("FindFolder", answer("FindFolder", pageMessage("FindFolder", "Folders", "")));
  account->setVersion(TWVersion(TWBuild(8, 1), "Exchange2007_SP1"));
  auto pages = TWFindFolder::withAccount(account, {folder("A")})->call({}, "IdOnly", "Deep", 1, 0);
  EXPECT_TRUE(pages.nextPage());
  EXPECT_THAT(server.requests().at(0).body,
              HasSubstr("RequestServerVersion Version=\"Exchange2016\""));
  EXPECT_THAT(server.payload(0), Not(HasSubstr("IndexedPageFolderView")));
}

TEST_F(TWFolderServices, WithoutAnAccountOrAProtocolCallsFailAsForAClosedOne) {
  const auto offline = test::makeOfflineAccount();
  for (const auto& none : {std::shared_ptr<TWAccount>(), offline}) {
    TWError error;
    EXPECT_FALSE(TWDeleteFolder::withAccount(none)->call({folder("A")}, "HardDelete", &error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
    error = {};
    auto pages = TWFindFolder::withAccount(none, {folder("A")})->call({}, "IdOnly", "Deep", 1, 0);
    EXPECT_FALSE(pages.nextPage(&error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorSOAP, "Bad SOAP Response: (null)"));
  }
}

TEST_F(TWFolderServices, FindFolderAsksNothingBeforeItsFirstPage) {
  server.on("FindFolder", [](const std::string& payload) {
    const bool isFirst = payload.find("Offset=\"0\"") != std::string::npos;
    return answer("FindFolder",
                  pageMessage("FindFolder", "Folders", folderXML("1", "x"), !isFirst, 1));
  });
  auto pages = TWFindFolder::withAccount(account, {folder("A"), folder("B")})
                   ->call({}, "Default", "Any text", 5, 0);
  EXPECT_EQ(server.requestCount(), 0U);
  EXPECT_TRUE(pages.nextPage());
  EXPECT_TRUE(pages.nextPage());
  EXPECT_FALSE(pages.nextPage());
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:FindFolder Traversal=\"Any text\"><m:FolderShape><t:BaseShape>Default"
                        "</t:BaseShape></m:FolderShape><m:IndexedPageFolderView "
                        "MaxEntriesReturned=\"5\" Offset=\"0\" BasePoint=\"Beginning\"/>"
                        "<m:ParentFolderIds>" +
                        id("A") + id("B") + "</m:ParentFolderIds></m:FindFolder>"));
  EXPECT_THAT(server.payload(1), HasSubstr("Offset=\"1\""));
}

TEST_F(TWFolderServices, FieldsAreAskedForInTheOrderOfTheirNames) {
  const auto find = TWFindFolder::withAccount(account, {folder("A")});
  const auto expected =
      "<m:FolderShape><t:BaseShape>IdOnly</t:BaseShape><t:AdditionalProperties>"
      "<t:FieldURI FieldURI=\"folder:ChildFolderCount\"/>"
      "<t:FieldURI FieldURI=\"folder:EffectiveRights\"/>"
      "<t:FieldURI FieldURI=\"folder:DisplayName\"/>"
      "<t:FieldURI FieldURI=\"folder:UnreadCount\"/></t:AdditionalProperties></m:FolderShape>";
  const auto fields = paths({"unread_count", "name", "effective_rights", "child_folder_count"});
  EXPECT_THAT(find->getPayload(fields, "IdOnly", "Deep", 1, 0).compactXMLString(),
              HasSubstr(expected));
  EXPECT_THAT(
      TWGetFolder::withAccount(account)->getPayload({}, fields, "IdOnly").compactXMLString(),
      HasSubstr(expected));
}

TEST_F(TWFolderServices, RegisteredPropertiesAreAskedForByTheirOwnUris) {
  struct Registered {
    ~Registered() { TWFolder::unregisterAttr("extern_id"); }
  } registered;
  ASSERT_TRUE(TWFolder::registerAttr("extern_id", TWExternId::elementClass()));
  const auto expectAsked = [](const std::string& payload) {
    const auto at = payload.find("<t:AdditionalProperties><t:ExtendedFieldURI ");
    ASSERT_NE(at, std::string::npos) << payload;
    EXPECT_THAT(payload.substr(at), HasSubstr("/><t:FieldURI FieldURI=\"folder:DisplayName\"/>"
                                              "</t:AdditionalProperties>"));
  };
  const auto fields = paths({"name", "extern_id"});
  server.on("FindFolder", answer("FindFolder", pageMessage("FindFolder", "Folders", "")));
  server.on("GetFolder", answer("GetFolder", foldersMessage("GetFolder", folderXML("A", "a"))));
  auto pages =
      TWFindFolder::withAccount(account, {folder("A")})->call(fields, "IdOnly", "Deep", 1, 0);
  EXPECT_TRUE(pages.nextPage());
  EXPECT_TRUE(TWGetFolder::withAccount(account)->call({folder("A")}, fields, "IdOnly"));
  expectAsked(server.payload(0));
  expectAsked(server.payload(1));
  // Searching for folders asks for it unbidden.
  static_cast<void>(folder("A")->findFolders("IdOnly", "Deep"));
  EXPECT_THAT(server.payload(2), HasSubstr("<t:ExtendedFieldURI PropertySetId="));
}

TEST_F(TWFolderServices, AMissingFieldIsNotLeftOut) {
  TWError error;
  EXPECT_FALSE(TWGetFolder::withAccount(account)->call({folder("A")}, {nullptr}, "IdOnly", &error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorType, "A field to ask for is missing"));
  error = {};
  auto pages =
      TWFindFolder::withAccount(account, {folder("A")})->call({nullptr}, "IdOnly", "Deep", 1, 0);
  EXPECT_FALSE(pages.nextPage(&error));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorType, "A field to ask for is missing"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, PagesOfFoldersCameWithExchange2010) {
  const auto hasPages = [&](std::optional<TWBuild> build, const char* apiVersion = "Exchange2010") {
    return findAt(build, apiVersion)
               ->getPayload({}, "IdOnly", "Deep", 1, 0)
               .compactXMLString()
               .find("IndexedPageFolderView") != std::string::npos;
  };
  EXPECT_TRUE(hasPages(TWBuild(14, 0)));
  EXPECT_TRUE(hasPages(TWBuild(15, 1)));
  // The build decides, not the version that requests declare.
  EXPECT_TRUE(hasPages(TWBuild(14, 0), "Exchange2007_SP1"));
  EXPECT_FALSE(hasPages(TWBuild(8, 3, 999)));
  EXPECT_FALSE(hasPages(TWBuild(8, 0)));
  EXPECT_FALSE(hasPages(std::nullopt));
}

TEST_F(TWFolderServices, APageThatCannotBeWrittenFails) {
  auto pages =
      TWFindFolder::withAccount(account, {TWFolder::withDict()})->call({}, "IdOnly", "Deep", 1, 0);
  TWError error;
  EXPECT_FALSE(pages.nextPage(&error));
  EXPECT_EQ(error.message(), "Folder must have an ID");
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, GetFolderTakesFoldersIdsAndPairsInTheirOrder) {
  const auto payload = TWGetFolder::withAccount(account)->getPayload(
      {pair, folder("A"), TWFolderId::withDict({{"id", "B"}, {"changekey", "ck-B"}}),
       TWDistinguishedFolderId::withDict({{"id", "inbox"}}),
       TWParentFolderId::withDict({{"id", "C"}, {"changekey", "ck-C"}})},
      {}, "AllProperties");
  EXPECT_THAT(payload.compactXMLString(),
              EqualsXML("<m:GetFolder><m:FolderShape><t:BaseShape>AllProperties</t:BaseShape>"
                        "</m:FolderShape><m:FolderIds>" +
                        id("P") + id("A") + id("B") + "<t:DistinguishedFolderId Id=\"inbox\"/>" +
                        id("C") + "</m:FolderIds></m:GetFolder>"));
}

TEST_F(TWFolderServices, WhatIsNoFolderIsRefused) {
  const auto service = TWGetFolder::withAccount(account);
  for (const auto& bad : {TWValue("text"), TWValue(), TWValue::list({"only"}),
                          TWValue(TWItemId::withDict({{"id", "I"}}))}) {
    TWError error;
    EXPECT_FALSE(service->call({bad}, {}, "IdOnly", &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorType)) << error;
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, ANullFolderIsRefusedBeforeAnythingIsSent) {
  const std::shared_ptr<TWFolder> none;
  const auto some = folder("A");
  const auto expectFails = [&](const auto& call) {
    TWError error;
    EXPECT_FALSE(call(&error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorType)) << error;
  };
  expectFails([&](TWError* e) {
    auto pages = TWFindFolder::withAccount(account, {none})->call({}, "IdOnly", "Deep", 10, 0);
    return pages.nextPage(e);
  });
  expectFails([&](TWError* e) {
    return TWGetFolder::withAccount(account)->call({some, none}, {}, "IdOnly", e);
  });
  expectFails([&](TWError* e) {
    return TWDeleteFolder::withAccount(account)->call({some, none}, "HardDelete", e);
  });
  expectFails([&](TWError* e) {
    return TWEmptyFolder::withAccount(account)->call({none}, "HardDelete", true, e);
  });
  expectFails([&](TWError* e) {
    return TWMoveFolder::withAccount(account)->call({some, none}, some, e);
  });
  expectFails(
      [&](TWError* e) { return TWMoveFolder::withAccount(account)->call({some}, none, e); });
  expectFails(
      [&](TWError* e) { return TWCreateFolder::withAccount(account)->call(none, {some}, e); });
  expectFails(
      [&](TWError* e) { return TWCreateFolder::withAccount(account)->call(some, {none}, e); });
  expectFails([&](TWError* e) {
    return TWUpdateFolder::withAccount(account)->call({{some, {"name"}}, {none, {"name"}}}, e);
  });
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, PairsAreTakenByTwoAndLeftOutByTwo) {
  const auto ids = "<m:FolderIds>" + id("P") + id("A") + "</m:FolderIds>";
  const auto without = "<m:FolderIds>" + id("A") + "</m:FolderIds>";
  const TWList folders{pair, folder("A")};
  EXPECT_THAT(TWGetFolder::withAccount(account)->getPayload(folders, {}, "x").compactXMLString(),
              HasSubstr(ids));
  EXPECT_THAT(
      TWEmptyFolder::withAccount(account)->getPayload(folders, "x", true).compactXMLString(),
      HasSubstr(ids));
  EXPECT_THAT(
      TWMoveFolder::withAccount(account)->getPayload(folders, folder("T")).compactXMLString(),
      EqualsXML("<m:MoveFolder><m:ToFolderId>" + id("T") + "</m:ToFolderId>" + without +
                "</m:MoveFolder>"));
  EXPECT_THAT(TWDeleteFolder::withAccount(account)->getPayload(folders, "x").compactXMLString(),
              EqualsXML("<m:DeleteFolder DeleteType=\"x\">" + without + "</m:DeleteFolder>"));
}

TEST_F(TWFolderServices, DeleteFolderOfPairsAloneIsSentAllTheSame) {
  server.on("DeleteFolder", successAnswer("DeleteFolder"));
  EXPECT_TRUE(TWDeleteFolder::withAccount(account)->call({pair}, "HardDelete"));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:DeleteFolder DeleteType=\"HardDelete\"><m:FolderIds/>"
                        "</m:DeleteFolder>"));
}

TEST_F(TWFolderServices, EmptyFolderWritesItsFlagAsAWord) {
  const auto service = TWEmptyFolder::withAccount(account);
  EXPECT_THAT(service->getPayload({}, "SoftDelete", true).compactXMLString(),
              EqualsXML("<m:EmptyFolder DeleteType=\"SoftDelete\" DeleteSubFolders=\"true\">"
                        "<m:FolderIds/></m:EmptyFolder>"));
  EXPECT_THAT(service->getPayload({}, "x", false).compactXMLString(),
              HasSubstr("DeleteSubFolders=\"false\""));
}

TEST_F(TWFolderServices, OperationsWithoutResultsAnswerTrueForEachFolder) {
  server.on("MoveFolder",
            answer("MoveFolder", foldersMessage("MoveFolder", folderXML("1", "x")) +
                                     responseMessage("MoveFolder", "Error", "ErrorItemNotFound")));
  TWError error;
  const auto results =
      TWMoveFolder::withAccount(account)->call({folder("1"), folder("2")}, folder("T"), &error);
  ASSERT_TRUE(results);
  ASSERT_EQ(results->size(), 2U);
  EXPECT_EQ(results->at(0), TWValue(true));
  EXPECT_TRUE(results->at(1).asError().is(TWErrorCode::ErrorItemNotFound));
  EXPECT_FALSE(error);
}

TEST_F(TWFolderServices, CreateFolderAnswersFoldersAndCaughtErrors) {
  server.on("CreateFolder",
            answer("CreateFolder", foldersMessage("CreateFolder", folderXML("1", "x")) +
                                       responseMessage("CreateFolder", "Error", "ErrorItemSave")));
  TWError error;
  const auto created = TWCreateFolder::withAccount(account)->call(
      folder("T"), {TWFolder::withDict({{"name", "x"}}), TWTasks::withDict({{"name", "y"}})},
      &error);
  ASSERT_TRUE(created) << error;
  ASSERT_EQ(created->size(), 2U);
  const auto& first = *created->at(0).value();
  EXPECT_EQ(first["folder_id"], TWValue("1"));
  EXPECT_EQ(first["changekey"], TWValue("ck-1"));
  EXPECT_EQ(first.account(), account);
  EXPECT_TRUE(created->at(1).error().is(TWErrorCode::ErrorItemSave));
  EXPECT_THAT(server.payload(0),
              EqualsXML("<m:CreateFolder><m:ParentFolderId>" + id("T") +
                        "</m:ParentFolderId><m:Folders><t:Folder><t:DisplayName>x"
                        "</t:DisplayName></t:Folder><t:Folder><t:DisplayName>y</t:DisplayName>"
                        "</t:Folder></m:Folders></m:CreateFolder>"));
}

TEST_F(TWFolderServices, AFolderThatCannotBeWrittenIsNotLeftOut) {
  const auto service = TWCreateFolder::withAccount(account);
  TWError error;
  EXPECT_FALSE(service->call(folder("T"), {TWFolder::withDict({{"name", 7}})}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorType)) << error;
  error = {};
  EXPECT_FALSE(service->call(folder("T"), {nullptr}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorType)) << error;
  error = {};
  EXPECT_FALSE(service->call(nullptr, {}, &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorType)) << error;
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, AMessageWithoutItsFolderIsAnErrorInItsPlace) {
  server.on("CreateFolder",
            answer("CreateFolder", responseMessage("CreateFolder", "Warning", "NoError")));
  const auto created = TWCreateFolder::withAccount(account)->call(folder("T"), {});
  ASSERT_TRUE(created);
  ASSERT_EQ(created->size(), 1U);
  EXPECT_TRUE(created->at(0).error().is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(created->at(0).error().message(),
              HasSubstr("No Folders elements in ResponseMessage <"));
}

TEST_F(TWFolderServices, UpdateFolderWritesChangesInTheOrderOfTheFields) {
  const auto changed = folder("A");
  changed->set("folder_class", "IPF.Note");
  const auto payload = TWUpdateFolder::withAccount(account)->getPayload(
      {{changed, {"name", "bogus", "folder_class", "name"}}, {folder("B"), {"folder_class"}}});
  EXPECT_THAT(payload.compactXMLString(),
              EqualsXML("<m:UpdateFolder><m:FolderChanges><t:FolderChange>" + id("A") +
                        "<t:Updates><t:SetFolderField><t:FieldURI FieldURI=\"folder:FolderClass\"/>"
                        "<t:Folder><t:FolderClass>IPF.Note</t:FolderClass></t:Folder>"
                        "</t:SetFolderField><t:SetFolderField><t:FieldURI "
                        "FieldURI=\"folder:DisplayName\"/><t:Folder><t:DisplayName>A"
                        "</t:DisplayName></t:Folder></t:SetFolderField></t:Updates>"
                        "</t:FolderChange><t:FolderChange>" +
                        id("B") +
                        "<t:Updates><t:DeleteFolderField><t:FieldURI "
                        "FieldURI=\"folder:FolderClass\"/></t:DeleteFolderField></t:Updates>"
                        "</t:FolderChange></m:FolderChanges></m:UpdateFolder>"));
}

TEST_F(TWFolderServices, RegisteredPropertiesOfFoldersAreSetAndCleared) {
  struct Registered {
    ~Registered() { TWFolder::unregisterAttr("flag"); }
  } registered;
  ASSERT_TRUE(TWFolder::registerAttr("flag", TWFlag::elementClass()));
  const std::string uri = "<t:ExtendedFieldURI PropertyTag=\"0x1090\" PropertyType=\"Integer\"/>";
  const auto changed = folder("A");
  changed->set("flag", 2);
  const auto payload = TWUpdateFolder::withAccount(account)->getPayload(
      {{changed, {"flag"}}, {folder("B"), {"flag"}}});
  EXPECT_THAT(
      payload.compactXMLString(),
      EqualsXML("<m:UpdateFolder><m:FolderChanges><t:FolderChange>" + id("A") +
                "<t:Updates><t:SetFolderField>" + uri + "<t:Folder><t:ExtendedProperty>" + uri +
                "<t:Value>2</t:Value></t:ExtendedProperty></t:Folder></t:SetFolderField>"
                "</t:Updates></t:FolderChange><t:FolderChange>" +
                id("B") + "<t:Updates><t:DeleteFolderField>" + uri +
                "</t:DeleteFolderField></t:Updates></t:FolderChange></m:FolderChanges>"
                "</m:UpdateFolder>"));
}

TEST_F(TWFolderServices, ChangesAreWrittenForTheVersionOfTheAccount) {
  const auto field =
      test::VersionedField::withProps({.name = "versioned", .fieldURI = "folder:Versioned"});
  TWFolder::addField(field, 0);
  const auto changed = folder("A");
  changed->set("versioned", "v");
  const auto payload = TWUpdateFolder::withAccount(
                           test::makeOfflineAccount(TWVersion(TWBuild(14, 1), "Exchange2010")))
                           ->getPayload({{changed, {"versioned"}}});
  TWFolder::removeField(*field);
  EXPECT_THAT(payload.compactXMLString(), HasSubstr(">v for Exchange2010 in Exchange2010<"));
}

TEST_F(TWFolderServices, UpdateFolderChecksBeforeItSends) {
  const auto refusal = [&](const TWDictionary& values, const std::string& name) {
    const auto changed = folder("A");
    for (const auto& [key, value] : values) changed->set(key, value);
    TWError error;
    EXPECT_FALSE(TWUpdateFolder::withAccount(account)->call({{changed, {name}}}, &error));
    return error;
  };
  EXPECT_EQ(refusal({}, "unread_count"),
            TWError(TWErrorCode::ErrorValueOutOfRange, "unread_count is a read-only field"));
  EXPECT_EQ(refusal({{"unread_count", "many"}}, "unread_count").message(),
            "unread_count is a read-only field");
  EXPECT_EQ(refusal({{"name", 7}}, "name"),
            TWError(TWErrorCode::ErrorType, "7 value is not of type TWTextField for name"));
  const auto limited =
      TWIntegerField::withProps({.name = "limited", .fieldURI = "folder:Limited", .max = 5});
  TWFolder::addField(limited, TWFolder::fieldNames().size());
  TWError ofCleaning;
  static_cast<void>(limited->clean(6, nullptr, &ofCleaning));
  EXPECT_TRUE(ofCleaning.is(TWErrorCode::ErrorValueOutOfRange)) << ofCleaning;
  EXPECT_EQ(refusal({{"limited", 6}}, "limited"), ofCleaning);
  TWFolder::removeField(*limited);
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, AFieldThatTheServerDoesNotKnowYetIsNotUpdated) {
  const auto old = test::makeAccount(server.url(), TWVersion(TWBuild(14, 0)));
  const auto expectRefused = [&](bool isRequired, const TWValue& value) {
    const auto late = TWCharField::withProps({.name = "late",
                                              .fieldURI = "folder:Late",
                                              .supportedFrom = TWBuild(15, 0),
                                              .isRequired = isRequired});
    TWFolder::addField(late, TWFolder::fieldNames().size());
    const auto changed = folder("A");
    changed->set("late", value);
    TWError error;
    EXPECT_FALSE(TWUpdateFolder::withAccount(old)->call({{changed, {"late"}}}, &error));
    TWFolder::removeField(*late);
    EXPECT_TRUE(error.is(TWErrorCode::ErrorInvalidServerVersion)) << error;
    EXPECT_THAT(error.message(), HasSubstr("Field late does not support EWS builds prior to"));
  };
  expectRefused(false, "x");
  expectRefused(true, TWValue());
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, AFieldThatMustHaveAValueIsNotCleared) {
  for (const bool isRequired : {true, false}) {
    const auto required = TWCharField::withProps({.name = "must",
                                                  .fieldURI = "folder:Must",
                                                  .isRequired = isRequired,
                                                  .isRequiredAfterSave = !isRequired});
    TWFolder::addField(required, TWFolder::fieldNames().size());
    TWError error;
    EXPECT_FALSE(TWUpdateFolder::withAccount(account)->call({{folder("A"), {"must"}}}, &error));
    TWFolder::removeField(*required);
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange,
                             "must is a requried field and may not be deleted"));
  }
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWFolderServices, UpdateFolderAnswersFoldersAndCaughtErrors) {
  server.on("UpdateFolder",
            answer("UpdateFolder",
                   foldersMessage("UpdateFolder", folderXML("A", "x")) +
                       responseMessage("UpdateFolder", "Error", "ErrorInvalidChangeKey")));
  const auto updated = TWUpdateFolder::withAccount(account)->call(
      {{folder("A"), {"name"}}, {folder("B"), {"name"}}});
  ASSERT_TRUE(updated);
  ASSERT_EQ(updated->size(), 2U);
  EXPECT_EQ(updated->at(0).value()->account(), account);
  EXPECT_TRUE(updated->at(1).error().is(TWErrorCode::ErrorInvalidChangeKey));
}

TEST_F(TWFolderServices, OtherCodesFailTheCall) {
  const TWList folders{folder("A")};
  for (const char* operation : {"FindFolder", "GetFolder", "CreateFolder", "UpdateFolder",
                                "MoveFolder", "DeleteFolder", "EmptyFolder"})
    server.on(operation, errorAnswer(operation, "ErrorFolderNotFound"));
  const TWError expected(TWErrorCode::ErrorFolderNotFound, "Error: ErrorFolderNotFound");
  const auto expectFails = [&](const auto& call) {
    TWError error;
    EXPECT_FALSE(call(&error));
    EXPECT_EQ(error, expected);
  };
  auto pages = TWFindFolder::withAccount(account, {folder("A")})->call({}, "IdOnly", "Deep", 1, 0);
  expectFails([&](TWError* e) { return pages.nextPage(e); });
  expectFails([&](TWError* e) {
    return TWGetFolder::withAccount(account)->call(folders, {}, "IdOnly", e);
  });
  expectFails([&](TWError* e) {
    return TWCreateFolder::withAccount(account)->call(folder("T"), {folder("A")}, e);
  });
  expectFails([&](TWError* e) {
    return TWUpdateFolder::withAccount(account)->call({{folder("A"), {"name"}}}, e);
  });
  expectFails([&](TWError* e) {
    return TWMoveFolder::withAccount(account)->call(folders, folder("T"), e);
  });
  expectFails([&](TWError* e) {
    return TWDeleteFolder::withAccount(account)->call(folders, "HardDelete", e);
  });
  expectFails([&](TWError* e) {
    return TWEmptyFolder::withAccount(account)->call(folders, "HardDelete", true, e);
  });
  EXPECT_EQ(server.requestCount(), 7U);
}

TEST_F(TWFolderServices, AContainerInTheWrongNamespaceIsNoResult) {
  server.on("GetFolder", answer("GetFolder", responseMessage("GetFolder", "Success", "NoError",
                                                             "<t:Folders/>")));
  TWError error;
  EXPECT_FALSE(TWGetFolder::withAccount(account)->call({folder("A")}, {}, "IdOnly", &error));
  EXPECT_TRUE(error.is(TWErrorCode::ErrorTransport));
  EXPECT_THAT(error.message(), HasSubstr("No Folders elements in ResponseMessage <"));
}

}  // namespace
}  // namespace tarnwell
