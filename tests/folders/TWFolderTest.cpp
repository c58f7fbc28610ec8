#include <cstdint>
#include <limits>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/folders/FolderTesting.h"
#include "tests/support/XMLMatchers.h"

namespace tarnwell {
namespace {

using test::EqualsXML;
using test::localFolder;
using test::namesOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kFolder =
    "<t:Folder xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">"
    "<t:FolderId Id=\"F\" ChangeKey=\"CK\"/><t:ParentFolderId Id=\"P\" ChangeKey=\"PCK\"/>"
    "<t:FolderClass>IPF.Note</t:FolderClass><t:DisplayName>Projects</t:DisplayName>"
    "<t:TotalCount>5</t:TotalCount><t:ChildFolderCount>2</t:ChildFolderCount>"
    "<t:EffectiveRights><t:CreateAssociated>true</t:CreateAssociated><t:Read>true</t:Read>"
    "</t:EffectiveRights><t:UnreadCount>3</t:UnreadCount></t:Folder>";

std::vector<std::string> namesOfFields(const TWFields& fields) {
  std::vector<std::string> names;
  for (const auto& field : fields) names.emplace_back(field->name());
  return names;
}

TEST(TWFolder, HasItsFieldsInOrder) {
  EXPECT_EQ(TWFolder::elementName(), "Folder");
  EXPECT_THAT(TWFolder::fieldNames(),
              ElementsAre("folder_id", "changekey", "parent_folder_id", "folder_class", "name",
                          "total_count", "child_folder_count", "unread_count", "effective_rights"));
  std::vector<std::string> uris, readOnly;
  for (const auto& field : TWFolder::fields()) {
    uris.emplace_back(field->fieldURI());
    if (field->isReadOnly()) readOnly.emplace_back(field->name());
  }
  EXPECT_THAT(uris,
              ElementsAre("Id", "ChangeKey", "folder:ParentFolderId", "folder:FolderClass",
                          "folder:DisplayName", "folder:TotalCount", "folder:ChildFolderCount",
                          "folder:UnreadCount", "folder:EffectiveRights"));
  EXPECT_THAT(readOnly, ElementsAre("parent_folder_id", "total_count", "child_folder_count",
                                    "unread_count", "effective_rights"));
}

TEST(TWFolder, TheIdIsNoneOfItsSupportedFields) {
  EXPECT_THAT(namesOfFields(TWFolder::supportedFields(nullptr)),
              ElementsAre("parent_folder_id", "folder_class", "name", "total_count",
                          "child_folder_count", "unread_count", "effective_rights"));
}

TEST(TWFolder, TakesExtendedPropertiesAfterItsLastField) {
  ASSERT_TRUE(TWInbox::registerAttr("extern_id", TWExternId::elementClass()));
  // Folder classes have no lists of their own.
  EXPECT_EQ(TWFolder::fieldNames().back(), "extern_id");
  const auto folder = TWFolder::withDict({{"name", "x"}, {"extern_id", "abc"}});
  EXPECT_THAT(folder->toXML(nullptr).compactXMLString(),
              HasSubstr("PropertyType=\"String\"/><t:Value>abc</t:Value></t:ExtendedProperty>"));
  const auto copy = TWFolder::withSerializedData(folder->serializedData(), nullptr);
  EXPECT_TRUE(TWFolder::unregisterAttr("extern_id"));
  ASSERT_TRUE(copy);
  EXPECT_FALSE((*copy)["extern_id"].isAbsent());
  EXPECT_EQ(TWFolder::fieldNames().back(), "effective_rights");
}

TEST(TWFolder, IsReadFromItsElement) {
  const auto account = test::makeOfflineAccount();
  const auto folder = TWInbox::fromXML(NKXMLElement::withXMLString(kFolder), account);
  ASSERT_TRUE(folder);
  EXPECT_EQ(&folder->cls(), &TWInbox::elementClass());
  EXPECT_EQ(folder->account(), account);
  EXPECT_EQ((*folder)["folder_id"], TWValue("F"));
  EXPECT_EQ((*folder)["changekey"], TWValue("CK"));
  const auto parent = (*folder)["parent_folder_id"].asObject<TWParentFolderId>();
  ASSERT_TRUE(parent);
  EXPECT_EQ((*parent)["id"], TWValue("P"));
  EXPECT_EQ((*folder)["name"], TWValue("Projects"));
  EXPECT_EQ((*folder)["folder_class"], TWValue("IPF.Note"));
  EXPECT_EQ((*folder)["total_count"], TWValue(5));
  EXPECT_EQ((*folder)["child_folder_count"], TWValue(2));
  EXPECT_EQ((*folder)["unread_count"], TWValue(3));
  const auto rights = (*folder)["effective_rights"].asObject<TWEffectiveRights>();
  ASSERT_TRUE(rights);
  EXPECT_EQ((*rights)["read"], TWValue(true));
  EXPECT_EQ((*rights)["delete"], TWValue(false));
}

TEST(TWFolder, ReadingAnElementWithoutAnIdGivesAFolderWithoutOne) {
  const auto folder = TWFolder::fromXML(NKXMLElement::withXMLString(
      "<t:Folder xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"/>"));
  ASSERT_TRUE(folder);
  EXPECT_THAT(folder->allKeys(), IsEmpty());
}

TEST(TWFolder, AttributesOfItsElementAreNoneOfItsId) {
  const std::string folder =
      "<t:Folder xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\" Id=\"X\" "
      "ChangeKey=\"Y\">";
  EXPECT_THAT(TWFolder::fromXML(NKXMLElement::withXMLString(folder + "</t:Folder>"))->allKeys(),
              IsEmpty());
  const auto withoutKey =
      TWFolder::fromXML(NKXMLElement::withXMLString(folder + "<t:FolderId Id=\"F\"/></t:Folder>"));
  EXPECT_EQ((*withoutKey)["folder_id"], TWValue("F"));
  EXPECT_TRUE((*withoutKey)["changekey"].isAbsent());
}

TEST(TWFolder, IsWrittenAsItIsCreated) {
  const auto folder = TWInbox::fromXML(NKXMLElement::withXMLString(kFolder));
  EXPECT_THAT(folder->toXML(nullptr).XMLString(),
              EqualsXML("<t:Folder><t:FolderClass>IPF.Note</t:FolderClass>"
                        "<t:DisplayName>Projects</t:DisplayName></t:Folder>"));
}

TEST(TWFolder, ItsIdStandsForItInRequests) {
  const auto folder = TWInbox::fromXML(NKXMLElement::withXMLString(kFolder));
  EXPECT_THAT(folder->idElement()->toXML(nullptr).XMLString(),
              EqualsXML("<t:FolderId Id=\"F\" ChangeKey=\"CK\"/>"));
  EXPECT_THAT(TWInbox::withDict()->idElement()->toXML(nullptr).XMLString(),
              EqualsXML("<t:DistinguishedFolderId Id=\"inbox\"/>"));
}

TEST(TWFolder, TheWellKnownNameNamesTheMailboxThatTheUserActsFor) {
  const auto account =
      test::makeAccount("http://127.0.0.1:9/", TWVersion(TWBuild(15, 1)), "bob@example.com");
  const auto inbox = TWFolder::make(TWInbox::elementClass(), {}, account);
  EXPECT_THAT(inbox->idElement()->toXML(nullptr).compactXMLString(),
              HasSubstr("<t:EmailAddress>ann@example.com</t:EmailAddress>"));
}

// Otherwise what is done to a folder that was deleted would hit the well-known one of its class.
TEST(TWFolder, AFolderThatWasDeletedIsNotTakenForTheWellKnownOne) {
  for (const auto& folder :
       {TWFolder::withDict(), std::shared_ptr<TWFolder>(TWInbox::withDict({{"folder_id", ""}}))}) {
    TWError error;
    EXPECT_FALSE(folder->idElement(&error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"));
  }
}

TEST(TWFolder, ANewFolderIsNotTakenForTheWellKnownOneOfItsClass) {
  const auto projects = localFolder("Projects");
  const auto below = TWFolder::make(TWCalendar::elementClass(), {{"name", "Calendar"}}, nullptr);
  below->setParent(projects);
  const auto orphan = TWFolder::make(TWCalendar::elementClass(), {{"name", "Calendar"}}, nullptr);
  orphan->setParent(localFolder("gone at once"));
  ASSERT_EQ(orphan->parent(), nullptr);
  const auto placed = TWFolder::make(
      TWCalendar::elementClass(),
      {{"name", "Calendar"}, {"parent_folder_id", TWParentFolderId::withDict({{"id", "P"}})}},
      nullptr);
  for (const auto& unsaved :
       {TWFolder::make(TWCalendar::elementClass(), {{"name", "Team"}}, nullptr),
        TWFolder::make(TWContacts::elementClass(), {{"name", "Friends"}}, nullptr), below, orphan,
        placed}) {
    TWError error;
    EXPECT_FALSE(unsaved->idElement(&error));
    EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Folder must have an ID"));
  }
  // Its own name does no harm.
  const auto named = TWFolder::make(TWInbox::elementClass(), {{"name", "INBOX"}}, nullptr);
  ASSERT_TRUE(named->idElement());
  EXPECT_EQ(named->idElement()->get("id"), TWValue("inbox"));
  // Nor does a parent that was taken back.
  below->setParent(nullptr);
  EXPECT_TRUE(below->idElement());
}

TEST(TWFolder, AccountAndParentComeWithTheDictionary) {
  const auto account = test::makeOfflineAccount();
  const auto parent = localFolder("P");
  const auto folder =
      TWFolder::withDict({{"account", TWValue::weak(account)}, {"parent", TWValue::weak(parent)}});
  EXPECT_EQ(folder->account(), account);
  EXPECT_EQ(folder->parent(), parent);
  EXPECT_THAT(folder->allKeys(), IsEmpty());
}

TEST(TWFolder, DoesNotKeepTheParentThatADictionaryGivesIt) {
  auto parent = TWFolder::withDict();
  const auto folder = TWFolder::withDict({{"parent", parent}});
  EXPECT_EQ(folder->parent(), parent);
  parent.reset();
  EXPECT_EQ(folder->parent(), nullptr);
}

TEST(TWFolder, DoesNotKeepItsAccountAlive) {
  auto account = test::makeOfflineAccount();
  const auto folder = TWFolder::make(TWFolder::elementClass(), {}, account);
  account.reset();
  EXPECT_FALSE(folder->account());
  EXPECT_FALSE(folder->root());
  EXPECT_THAT(folder->children(), IsEmpty());
}

class TWFolderTree : public testing::Test {
 protected:
  std::shared_ptr<TWFolder> a1 = localFolder("a1"), a2 = localFolder("a2"), b1 = localFolder("b1");
  std::shared_ptr<TWFolder> a = localFolder("a", {a1, a2}), b = localFolder("b", {b1});
  std::shared_ptr<TWFolder> top = localFolder("top", {b, a});
};

TEST_F(TWFolderTree, PartsAndPathRunFromTheTopDown) {
  EXPECT_THAT(namesOf(a1->parts()), ElementsAre("top", "a", "a1"));
  EXPECT_EQ(a1->path(), "/top/a/a1");
  EXPECT_EQ(top->path(), "/top");
}

TEST_F(TWFolderTree, WalkIsDepthFirstWithoutTheFolderItself) {
  EXPECT_THAT(namesOf(top->walk()), ElementsAre("b", "b1", "a", "a1", "a2"));
  EXPECT_THAT(a1->walk(), IsEmpty());
}

TEST_F(TWFolderTree, ANullChildIsNone) {
  const auto parent = localFolder("P", {localFolder("C")});
  parent->setChildren({nullptr, localFolder("D"), nullptr});
  EXPECT_THAT(test::namesOf(parent->children()), ElementsAre("D"));
  EXPECT_EQ(parent->getFolderByName("C"), nullptr);
  EXPECT_THAT(test::namesOf(parent->glob("D")), ElementsAre("D"));
  parent->setParent(nullptr);
  EXPECT_EQ(parent->parent(), nullptr);
}

TEST_F(TWFolderTree, AChildIsFoundByItsVeryName) {
  EXPECT_EQ(top->getFolderByName("a"), a);
  EXPECT_EQ(top->getFolderByName("A"), nullptr);
  EXPECT_EQ(top->getFolderByName("a1"), nullptr);
}

TEST_F(TWFolderTree, NavigateTakesOneStep) {
  EXPECT_EQ(a->navigate(".."), top);
  EXPECT_EQ(a->navigate("."), a);
  EXPECT_EQ(a->navigate("a2"), a2);
  TWError error;
  EXPECT_EQ(top->navigate("..", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorValueOutOfRange, "Already at top"));
  error = {};
  EXPECT_EQ(top->navigate("a/a1", &error), nullptr);
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorFolderNotFound, "No subfolder with name: a/a1"));
}

TEST_F(TWFolderTree, EveryNamePassesAPatternThatIsAnExpression) {
  for (const char* pattern : {"a", "zzz", "Inbox"})
    EXPECT_THAT(namesOf(top->glob(pattern)), ElementsAre("b", "a")) << pattern;
  EXPECT_THAT(top->glob("*"), IsEmpty());
  EXPECT_THAT(top->glob("("), IsEmpty());
}

TEST_F(TWFolderTree, GlobTakesTheStepsOfAPattern) {
  EXPECT_THAT(namesOf(top->glob("x/y")), ElementsAre("b1", "a1", "a2"));
  EXPECT_THAT(namesOf(top->glob("**/x")), ElementsAre("b", "b1", "a", "a1", "a2"));
  EXPECT_THAT(top->glob("**"), IsEmpty());
  EXPECT_THAT(namesOf(a->glob("../x")), ElementsAre("b", "a"));
  EXPECT_THAT(a->glob(".."), IsEmpty());
  EXPECT_THAT(top->glob("../x"), IsEmpty());
  // The last "/" cuts: "x/y" as one name is as good as any.
  EXPECT_THAT(namesOf(top->glob("x/y/z")), ElementsAre("b1", "a1", "a2"));
}

TEST_F(TWFolderTree, AFolderWithoutANamePassesNoPattern) {
  const auto nameless = TWFolder::withDict();
  top->setChildren({nameless, a});
  EXPECT_THAT(top->glob("x"), ElementsAre(a));
}

TEST(TWFolder, TheDrawingOfALeafBelowAFolderHasThreeLines) {
  EXPECT_EQ(localFolder("R", {localFolder("A")})->tree(), "R\n└── A\n└── \n");
}

TEST_F(TWFolderTree, TheDrawingOrdersChildrenByNameAndMarksThemAlike) {
  EXPECT_EQ(top->tree(),
            "top\n├── a\n├── ├── a1\n├── ├── \n├── ├── a2\n├── ├── \n├── \n"
            "├── b\n├── └── b1\n├── └── \n├── \n");
}

TEST(TWFolder, TheDrawingLosesBlanksAtItsEndsOnly) {
  EXPECT_EQ(localFolder(" \tR ")->tree(), "R \n");
}

TEST(TWFolder, CirclesOfFoldersEnd) {
  const auto a = localFolder("a"), b = localFolder("b");
  a->setChildren({b});
  b->setChildren({a});
  a->setParent(b);
  b->setParent(a);
  EXPECT_THAT(namesOf(a->walk()), ElementsAre("b"));
  EXPECT_THAT(namesOf(a->parts()), ElementsAre("b", "a"));
  EXPECT_EQ(a->tree(), "a\n└── b\n└── \n");
  EXPECT_THAT(namesOf(a->glob("**/x")), ElementsAre("b"));
  a->setChildren({});  // else the two keep each other alive
}

TEST(TWFolder, ADeepTreeIsWalkedWithoutRunningOutOfStack) {
  constexpr int kDepth = 20000;
  std::vector<std::shared_ptr<TWFolder>> chain{localFolder("0")};
  for (int at = 1; at < kDepth; ++at) {
    chain.push_back(localFolder("x"));
    chain.back()->setParent(chain[chain.size() - 2]);
    chain[chain.size() - 2]->setChildren({chain.back()});
  }
  EXPECT_EQ(chain.front()->walk().size(), kDepth - 1U);
  EXPECT_EQ(chain.back()->parts().size(), static_cast<std::size_t>(kDepth));
  // Taken apart from the end, since folders hold their children.
  for (auto& folder : chain) folder->setChildren({});
}

TEST(TWFolder, IsDistinguishedByItsNameAlone) {
  EXPECT_TRUE(TWInbox::withDict({{"name", "INBOX"}})->isDistinguished());
  EXPECT_FALSE(TWInbox::withDict({{"name", "Posteingang"}})->isDistinguished());
  EXPECT_FALSE(TWInbox::withDict()->isDistinguished());
  EXPECT_FALSE(TWFolder::withDict({{"name", "inbox"}})->isDistinguished());
}

TEST(TWFolder, AllowsTheFieldsOfItsItems) {
  const auto account = test::makeOfflineAccount();
  const auto contacts = TWFolder::make(TWContacts::elementClass(), {}, account);
  const auto names = namesOfFields(contacts->allowedFields());
  EXPECT_THAT(names, Contains("subject").Times(1));
  EXPECT_THAT(names, Contains("given_name"));
  EXPECT_THAT(names, Not(Contains("item_id")));
  EXPECT_THAT(names, Not(Contains("changekey")));
}

TEST(TWFolder, ComplexFieldsAreThoseThatASearchCannotReturn) {
  const auto inbox = TWFolder::make(TWInbox::elementClass(), {}, test::makeOfflineAccount());
  const auto names = namesOfFields(inbox->complexFields());
  for (const char* name : {"body", "attachments", "to_recipients"})
    EXPECT_THAT(names, Contains(name)) << name;
  for (const char* name : {"subject", "categories"}) {
    EXPECT_THAT(names, Not(Contains(name)));
    EXPECT_THAT(namesOfFields(inbox->allowedFields()), Contains(name));
  }
}

TEST(TWFolder, AllowsOnlyWhatTheServerKnows) {
  const auto fieldsAt = [](TWBuild build) {
    const auto account = test::makeOfflineAccount(TWVersion(build));
    return TWFolder::make(TWInbox::elementClass(), {}, account)->allowedFields().size();
  };
  EXPECT_LT(fieldsAt(TWBuild(8, 0)), fieldsAt(TWBuild(15, 1)));
}

TEST(TWFolder, ValidatesTextsAndPathsOfFields) {
  const auto inbox = TWFolder::make(TWInbox::elementClass(), {}, test::makeOfflineAccount());
  const auto path = TWFieldPath::fromString("size", *inbox, false);
  ASSERT_TRUE(path);
  const auto paths = inbox->validateFields({"subject", path});
  ASSERT_TRUE(paths);
  ASSERT_EQ(paths->size(), 2U);
  EXPECT_EQ(paths->at(0)->path(), "subject");
  EXPECT_EQ(paths->at(1), path);
}

// A search needs to know which of the addresses is meant; to fetch them all nobody does.
TEST(TWFolder, ValidatesAnIndexedFieldWithoutALabel) {
  const auto contacts = TWFolder::make(TWContacts::elementClass(), {}, test::makeOfflineAccount());
  TWError error;
  const auto paths = contacts->validateFields({"email_addresses"}, &error);
  ASSERT_TRUE(paths) << error;
  ASSERT_EQ(paths->size(), 1U);
  EXPECT_EQ(paths->front()->field()->name(), "email_addresses");
  EXPECT_FALSE(TWFieldPath::fromString("email_addresses", *contacts, true));
}

TEST(TWFolder, RefusesFieldsThatAreNotValid) {
  const auto inbox = TWFolder::make(TWInbox::elementClass(), {}, test::makeOfflineAccount());
  const auto refusal = [&](const TWValue& field) {
    TWError error;
    EXPECT_FALSE(inbox->validateFields({field}, &error));
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << error;
    return error.message();
  };
  EXPECT_EQ(refusal(7), "Field 7 must be a string or field path object");
  EXPECT_EQ(refusal("item_id"), "item_id is not a valid field on " + inbox->description());
  EXPECT_EQ(refusal("nothing"), "Unknown fieldname nothing on class TWInbox");
}

TEST(TWFolder, TheArchiveBringsItsPropertiesBack) {
  const auto account = test::makeOfflineAccount();
  auto folder = TWInbox::fromXML(NKXMLElement::withXMLString(kFolder), account);
  folder->set("extra", "num||5");
  const auto copy = TWFolder::withSerializedData(folder->serializedData(), account);
  ASSERT_TRUE(copy);
  EXPECT_EQ(&copy->cls(), &TWInbox::elementClass());
  EXPECT_EQ(copy->account(), account);
  EXPECT_EQ(*copy, *folder);
  const auto rights = (*copy)["effective_rights"].asObject<TWEffectiveRights>();
  ASSERT_TRUE(rights);
  EXPECT_EQ((*rights)["read"], TWValue(true));
  EXPECT_EQ((*rights)["delete"], TWValue(false));
}

TEST(TWFolder, ATextInTheArchiveIsNotTakenForANumber) {
  const auto copy = TWFolder::withSerializedData(
      TWFolder::withDict({{"name", "num||5"}, {"folder_class", "xml||a||b"}})->serializedData(),
      nullptr);
  ASSERT_TRUE(copy);
  EXPECT_EQ((*copy)["name"], TWValue("num||5"));
  EXPECT_EQ((*copy)["folder_class"], TWValue("xml||a||b"));
}

TEST(TWFolder, FractionsDoNotComeBackFromTheArchive) {
  const auto folder = TWFolder::withDict({{"name", "x"}, {"total_count", 2.7}});
  const auto copy = TWFolder::withSerializedData(folder->serializedData(), nullptr);
  ASSERT_TRUE(copy);
  EXPECT_EQ((*copy)["total_count"], TWValue(2));
}

TEST(TWFolder, NumbersWithExponentsComeBackFromTheArchiveWhole) {
  for (const auto& [written, read] :
       std::map<double, std::int64_t>{{5e-8, 0},
                                      {-7.9, -7},
                                      {1e3, 1000},
                                      {1e21, std::numeric_limits<std::int64_t>::max()},
                                      {-1e21, std::numeric_limits<std::int64_t>::min()}}) {
    const auto folder = TWFolder::withDict({{"total_count", written}});
    const auto back = TWFolder::withSerializedData(folder->serializedData(), nullptr);
    ASSERT_TRUE(back) << written;
    EXPECT_EQ((*back)["total_count"], TWValue(read)) << written;
  }
}

TEST(TWFolder, NumbersThatAreNoneAreNotArchived) {
  const auto infinite = std::numeric_limits<double>::infinity();
  const auto folder = TWFolder::withDict({{"name", "x"}, {"total_count", infinite}});
  const auto copy = TWFolder::withSerializedData(folder->serializedData(), nullptr);
  ASSERT_TRUE(copy);
  EXPECT_THAT(copy->allKeys(), ElementsAre("name"));
}

TEST(TWFolder, ExtendedPropertiesComeBackFromTheArchiveWithTheirValues) {
  const auto& labels = TWExtendedPropertyClass::declare({.name = "Labels",
                                                         .distinguishedPropertySetId = "Common",
                                                         .propertyName = "Labels",
                                                         .propertyType = "StringArray"});
  struct Registered {
    std::vector<std::string> names;
    ~Registered() {
      for (const auto& name : names) TWFolder::unregisterAttr(name);
    }
  } const registered{{"extern_id", "flag", "labels"}};
  ASSERT_TRUE(TWFolder::registerAttr("extern_id", TWExternId::elementClass()));
  ASSERT_TRUE(TWFolder::registerAttr("flag", TWFlag::elementClass()));
  ASSERT_TRUE(TWFolder::registerAttr("labels", labels));
  const auto list = TWValue::list({"a", "b"});
  const auto folder =
      TWFolder::withDict({{"extern_id", TWExternId::withDict({{"value", "CORP\\Nina"}})},
                          {"flag", TWFlag::withDict({{"value", 2}})},
                          {"labels", labels.withDict({{"value", list}})}});
  const auto copy = TWFolder::withSerializedData(folder->serializedData(), nullptr);
  ASSERT_TRUE(copy);
  const auto valueOf = [&](const char* name) {
    const auto property = (*copy)[name].asObject<TWExtendedProperty>();
    return property ? property->get("value") : TWValue("none");
  };
  EXPECT_EQ(valueOf("extern_id"), TWValue("CORP\\Nina"));
  EXPECT_EQ(valueOf("flag"), TWValue(2));
  EXPECT_EQ(valueOf("labels"), list);
  EXPECT_TRUE((*copy)["extern_id"].asObject<TWExternId>());
}

TEST(TWFolder, WhatTheArchiveHasNoFormForIsLeftOut) {
  const auto folder = TWFolder::withDict({{"name", "x"}});
  // Without an id it cannot be written.
  folder->set("parent_folder_id", TWParentFolderId::withDict());
  folder->set("when", TWInstant());
  folder->set("tags", TWValue::list({"a"}));
  folder->set("bytes", TWData{1, 2});
  const auto data = folder->serializedData();
  const std::string text(data.begin(), data.end());
  EXPECT_THAT(text, HasSubstr("\"name\""));
  for (const char* name : {"parent_folder_id", "when", "tags", "bytes"}) {
    EXPECT_FALSE((*folder)[name].isAbsent()) << name;
    EXPECT_THAT(text, Not(HasSubstr(name)));
  }
  const auto copy = TWFolder::withSerializedData(data, nullptr);
  ASSERT_TRUE(copy);
  EXPECT_THAT(copy->allKeys(), ElementsAre("name"));
}

TEST(TWFolder, TheArchiveSaysNothingOfTheAccount) {
  const auto account = test::makeAccount("http://127.0.0.1:9/");
  const auto folder = TWFolder::make(TWFolder::elementClass(), {{"name", "x"}}, account);
  const auto data = folder->serializedData();
  const std::string text(data.begin(), data.end());
  EXPECT_EQ(text.find("ann@"), std::string::npos);
  EXPECT_EQ(text.find("account"), std::string::npos);
}

TEST(TWFolder, WhatIsNoArchiveIsRefused) {
  const auto folder = TWInbox::fromXML(NKXMLElement::withXMLString(kFolder));
  const auto data = folder->serializedData();
  const std::string text(data.begin(), data.end());
  const auto altered = [&](const std::string& from, const std::string& to) {
    std::string copy = text;
    const auto at = copy.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) copy.replace(at, from.size(), to);
    return copy;
  };
  for (const auto& bad :
       {std::string(), std::string("{}"), std::string("[]"), text.substr(0, text.size() / 2),
        altered("\"format\":1", "\"format\":2"), altered("TWInbox", "TWItemId"),
        altered("TWInbox", "NSObject"), altered("xml||TWParentFolderId", "xml||NSObject"),
        altered("\"kind\":\"num\"", "\"kind\":\"what\""), altered("num||5", "num||five"),
        altered("num||5", "num||")}) {
    TWError error;
    EXPECT_FALSE(TWFolder::withSerializedData({bad.begin(), bad.end()}, nullptr, &error)) << bad;
    EXPECT_TRUE(error.is(TWErrorCode::ErrorValueOutOfRange)) << bad;
  }
}

}  // namespace
}  // namespace tarnwell
