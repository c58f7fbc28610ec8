#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/services/TWCreateItem.h"
#include "tarnwell/services/TWDeleteItem.h"
#include "tarnwell/services/TWExportItems.h"
#include "tarnwell/services/TWGetItem.h"
#include "tarnwell/services/TWMoveItem.h"
#include "tarnwell/services/TWSendItem.h"
#include "tarnwell/services/TWUpdateItem.h"
#include "tarnwell/services/TWUploadItems.h"

#include "tests/folders/FolderTesting.h"
#include "tests/schema/VersionedField.h"

// For which version, in which order and over which connection item services ask.

namespace tarnwell {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

class TWItemRequests : public test::MailboxTest {
 protected:
  static std::shared_ptr<TWAccount> at(TWBuild build, const char* api = "Exchange2010") {
    return test::makeOfflineAccount(TWVersion(build, api));
  }
  /// The request for the postal addresses of contacts.
  static std::string addressesShape(const std::shared_ptr<TWAccount>& account) {
    const auto path = TWFieldPath::withField(TWContact::getFieldByFieldName("physical_addresses"));
    return TWGetItem::withAccount(account)
        ->getPayload({TWIdPair{"C"}}, {path}, "IdOnly")
        .compactXMLString();
  }
  /// How many changes writing a contact's postal addresses takes.
  static std::size_t changesOf(const TWContact& contact,
                               const std::shared_ptr<TWAccount>& account) {
    const auto elements =
        TWUpdateItem::withAccount(account)->getItemUpdateElems(contact, {"physical_addresses"});
    return elements ? elements->size() : 0;
  }
  static std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto found = text.find(part); found != std::string::npos;
         found = text.find(part, found + 1))
      ++count;
    return count;
  }
};

TEST_F(TWItemRequests, ItemsAreCreatedForTheVersionOfTheAccount) {
  const auto field =
      test::VersionedField::withProps({.name = "versioned", .fieldURI = "message:Versioned"});
  TWMessage::addField(field, 0);
  const auto written = [](const char* api) {
    const auto item = TWMessage::withDict({{"versioned", "v"}, {"culture", "en-US"}});
    return TWCreateItem::withAccount(at(TWBuild(14, 1), api))
        ->getPayload({item}, nullptr, "SendOnly", "SendToNone")
        .compactXMLString();
  };
  const auto in2010 = written("Exchange2010"), in2013 = written("Exchange2013");
  TWMessage::removeField(*field);
  EXPECT_THAT(in2010, HasSubstr("<t:Versioned>v in Exchange2010</t:Versioned>"));
  EXPECT_THAT(in2013, HasSubstr("<t:Versioned>v in Exchange2013</t:Versioned>"));
}

TEST_F(TWItemRequests, PartsOfEntriesAreThoseThatTheVersionHas) {
  const auto newer = TWNamedSubField::withProps(
      {.name = "dial", .fieldURI = "Dial", .supportedFrom = TWBuild(15, 0)});
  TWPhysicalAddress::addField(newer, 1);
  const auto cleared = TWContact::withDict({{"item_id", "C"}});
  const auto full = TWContact::withDict(
      {{"item_id", "C"},
       {"physical_addresses", TWList{TWPhysicalAddress::withDict({{"label", "Home"},
                                                                  {"street", "1"},
                                                                  {"city", "2"},
                                                                  {"state", "3"},
                                                                  {"country", "4"},
                                                                  {"zipcode", "5"},
                                                                  {"dial", "6"}})}}});
  const auto counts = [&](TWBuild build) {
    const auto of = at(build);
    return std::vector<std::size_t>{countOf(addressesShape(of), "<t:IndexedFieldURI "),
                                    changesOf(*cleared, of), changesOf(*full, of)};
  };
  const auto in2010 = counts(TWBuild(14, 1)), in2013 = counts(TWBuild(15, 0));
  TWPhysicalAddress::removeField(*newer);
  EXPECT_THAT(in2010, ElementsAreArray({15U, 15U, 5U}));
  EXPECT_THAT(in2013, ElementsAreArray({18U, 18U, 6U}));
}

TEST_F(TWItemRequests, PartsOfEntriesAreAskedForInTheOrderOfTheirNames) {
  std::string expected;
  for (const char* label : {"Business", "Home", "Other"})
    for (const char* part : {"City", "CountryOrRegion", "State", "Street", "PostalCode"})
      expected.append("<t:IndexedFieldURI FieldURI=\"contacts:PhysicalAddress:")
          .append(part)
          .append("\" FieldIndex=\"")
          .append(label)
          .append("\"/>");
  EXPECT_THAT(addressesShape(account),
              HasSubstr("<t:AdditionalProperties>" + expected + "</t:AdditionalProperties>"));
}

TEST_F(TWItemRequests, AllButThoseForItemsUseTheOrdinaryConnection) {
  for (const char* operation : {"CreateItem", "UpdateItem", "DeleteItem", "SendItem", "MoveItem",
                                "ExportItems", "UploadItems", "GetItem"})
    server.on(operation, test::answer(operation, test::responseMessage(
                                                     operation, "Success", "NoError",
                                                     "<m:Items><t:Message><t:ItemId Id=\"A\"/>"
                                                     "</t:Message></m:Items><m:ItemId Id=\"A\"/>"
                                                     "<m:Data>QUJD</m:Data>")));
  const TWItemEntries ids{TWIdPair{"A"}};
  const auto message = TWMessage::withDict({{"item_id", "A"}, {"subject", "s"}, {"culture", "en"}});
  const auto to = folder("F");
  EXPECT_TRUE(TWCreateItem::withAccount(account)->call({message}, to, "SaveOnly", "SendToNone"));
  EXPECT_TRUE(TWUpdateItem::withAccount(account)->call({{message, {"subject"}}}, "", "", "", true));
  EXPECT_TRUE(TWDeleteItem::withAccount(account)->call(ids, "", "", "", true));
  EXPECT_TRUE(TWSendItem::withAccount(account)->call(ids, to));
  EXPECT_TRUE(TWMoveItem::withAccount(account)->call(ids, to));
  EXPECT_TRUE(TWExportItems::withAccount(account)->call(ids));
  EXPECT_TRUE(TWUploadItems::withAccount(account)->call({{to, "QUJD"}}));
  EXPECT_TRUE(TWGetItem::withAccount(account)->call(ids, {}, "IdOnly"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 8U);
  for (const auto& request : requests)
    EXPECT_EQ(request.connection == requests.front().connection,
              test::operationOf(request) != "GetItem")
        << test::operationOf(request);
}

}  // namespace
}  // namespace tarnwell
