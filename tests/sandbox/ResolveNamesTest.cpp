#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;

class ResolveNames : public SandboxTest {
 protected:
  HttpReply ask(const std::string& operation, const std::string& version = "Exchange2016") {
    return send(envelope(operation, version));
  }
  std::string violation(const std::string& operation, const std::string& version = "Exchange2016") {
    const HttpReply reply = ask(operation, version);
    EXPECT_TRUE(isFault(reply, 500, "ErrorSchemaValidation"));
    return Answer(reply).text("//Violation");
  }
};

TEST_F(ResolveNames, OneMatchIsASuccess) {
  const Answer answer(ask(resolveNamesFor("alice")));
  EXPECT_EQ(answer.attribute("//ResolveNamesResponseMessage", "ResponseClass"), "Success");
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  EXPECT_EQ(answer.count("//MessageText"), 0U);
  EXPECT_EQ(answer.attribute("//ResolutionSet", "TotalItemsInView"), "1");
  EXPECT_EQ(answer.attribute("//ResolutionSet", "IncludesLastItemInRange"), "true");
  EXPECT_EQ(answer.text("//Resolution/Mailbox/Name"), "Alice Liddell");
  EXPECT_EQ(answer.text("//Resolution/Mailbox/EmailAddress"), "alice@example.com");
  EXPECT_EQ(answer.text("//Resolution/Mailbox/RoutingType"), "SMTP");
  EXPECT_EQ(answer.text("//Resolution/Mailbox/MailboxType"), "Mailbox");
  EXPECT_EQ(answer.count("//Contact"), 0U);
}

TEST_F(ResolveNames, NoMatchIsAnError) {
  const HttpReply reply = ask(resolveNamesFor("zebra"));
  const Answer answer(reply);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(answer.attribute("//ResolveNamesResponseMessage", "ResponseClass"), "Error");
  EXPECT_EQ(answer.text("//ResponseCode"), "ErrorNameResolutionNoResults");
  EXPECT_EQ(answer.text("//MessageText"), "No results were found.");
  EXPECT_EQ(answer.text("//DescriptiveLinkKey"), "0");
  EXPECT_EQ(answer.count("//ResolutionSet"), 0U);
}

TEST_F(ResolveNames, SeveralMatchesAreAWarningWithAllOfThem) {
  const Answer answer(ask(resolveNamesFor("ANNA")));
  EXPECT_EQ(answer.attribute("//ResolveNamesResponseMessage", "ResponseClass"), "Warning");
  EXPECT_EQ(answer.text("//ResponseCode"), "ErrorNameResolutionMultipleResults");
  EXPECT_EQ(answer.text("//MessageText"), "Multiple results were found.");
  EXPECT_EQ(answer.attribute("//ResolutionSet", "TotalItemsInView"), "2");
  EXPECT_THAT(answer.texts("//EmailAddress"),
              ElementsAre("anna.bergstrom@people.example", "anna.bergman@people.example"));
}

TEST_F(ResolveNames, AWholeAddressWithItsRoutingTypeIsExact) {
  EXPECT_EQ(Answer(ask(resolveNamesFor("smtp:bob@example.com"))).text("//Name"), "Bob");
  EXPECT_EQ(Answer(ask(resolveNamesFor("smtp:bob"))).text("//ResponseCode"),
            "ErrorNameResolutionNoResults");
}

TEST_F(ResolveNames, SpecialCharactersOfNamesArriveAsTheyAre) {
  EXPECT_EQ(Answer(ask(resolveNamesFor("o'neill &amp;"))).text("//Name"),
            "O'Neill & Söhne <Office>");
  EXPECT_EQ(Answer(ask(resolveNamesFor("山田"))).text("//EmailAddress"),
            "taro.yamada@people.example");
}

TEST_F(ResolveNames, FullContactDataComesOnlyWhenAskedFor) {
  const auto contact = [&](const std::string& attributes) {
    return Answer(ask("<m:ResolveNames " + attributes +
                      "><m:UnresolvedEntry>alice</m:UnresolvedEntry></m:ResolveNames>"));
  };
  const Answer full = contact("ReturnFullContactData='true'");
  EXPECT_EQ(full.text("//Contact/DisplayName"), "Alice Liddell");
  EXPECT_EQ(full.text("//Contact/GivenName"), "Alice");
  EXPECT_EQ(full.text("//Contact/Surname"), "Liddell");
  EXPECT_EQ(full.text("//Contact/EmailAddresses/Entry"), "SMTP:alice@example.com");
  EXPECT_EQ(full.text("//Contact/ContactSource"), "ActiveDirectory");
  EXPECT_EQ(contact("ReturnFullContactData='1' ContactDataShape='IdOnly'").count("//DisplayName"),
            0U);
  EXPECT_EQ(
      contact("ReturnFullContactData='0' ContactDataShape='AllProperties'").count("//Contact"), 0U);
}

TEST_F(ResolveNames, ContactsOfOnesOwnAreNoneYet) {
  const auto code = [&](const std::string& scope) {
    return Answer(ask(resolveNamesFor("alice", " SearchScope='" + scope + "'")))
        .text("//ResponseCode");
  };
  EXPECT_EQ(code("ActiveDirectory"), "NoError");
  EXPECT_EQ(code("ActiveDirectoryContacts"), "NoError");
  EXPECT_EQ(code("ContactsActiveDirectory"), "NoError");
  EXPECT_EQ(code("Contacts"), "ErrorNameResolutionNoResults");
}

TEST_F(ResolveNames, AttributesAreChecked) {
  const std::string entry = "<m:UnresolvedEntry>a</m:UnresolvedEntry></m:ResolveNames>";
  EXPECT_EQ(violation("<m:ResolveNames>" + entry),
            "The required attribute 'ReturnFullContactData' is missing.");
  EXPECT_EQ(
      violation("<m:ResolveNames ReturnFullContactData='yes'>" + entry),
      "The 'ReturnFullContactData' attribute is invalid - The value 'yes' is invalid according "
      "to its datatype 'http://www.w3.org/2001/XMLSchema:boolean' - The string 'yes' is not a "
      "valid Boolean value.");
  EXPECT_EQ(
      violation(resolveNamesFor("a", " SearchScope='Everywhere'")),
      "The 'SearchScope' attribute is invalid - The value 'Everywhere' is invalid according to "
      "its datatype 'http://schemas.microsoft.com/exchange/services/2006/types:"
      "ResolveNamesSearchScopeType' - The Enumeration constraint failed.");
  EXPECT_NE(violation(resolveNamesFor("a", " ContactDataShape='Most'")), "");
  EXPECT_EQ(violation(resolveNamesFor("a", " Colour='red'")),
            "The 'Colour' attribute is not declared.");
}

TEST_F(ResolveNames, AShapeCameWithExchange2010Sp2) {
  const std::string shaped = resolveNamesFor("alice", " ContactDataShape='Default'");
  for (const char* version :
       {"", "Exchange2007", "Exchange2007_SP1", "Exchange2010", "Exchange2010_SP1"}) {
    EXPECT_EQ(violation(shaped, version), "The 'ContactDataShape' attribute is not declared.");
  }
  for (const char* version : {"Exchange2010_SP2", "Exchange2013", "Exchange2016"}) {
    EXPECT_EQ(ask(shaped, version).status, 200) << version;
  }
}

TEST_F(ResolveNames, ExactlyOneEntryFollowsTheFolders) {
  const std::string start = "<m:ResolveNames ReturnFullContactData='false'>";
  const std::string entry = "<m:UnresolvedEntry>alice</m:UnresolvedEntry>";
  const std::string folders =
      "<m:ParentFolderIds><t:FolderId Id='x' ChangeKey='y'/><t:DistinguishedFolderId Id='contacts'>"
      "<t:Mailbox/></t:DistinguishedFolderId></m:ParentFolderIds>";
  const std::string end = "</m:ResolveNames>";
  EXPECT_EQ(ask(start + folders + entry + end).status, 200);
  EXPECT_NE(violation(start + entry + folders + end), "");
  EXPECT_NE(violation(start + entry + entry + end), "");
  EXPECT_NE(violation(start + end), "");
  EXPECT_NE(violation(start + "<m:UnresolvedEntry/>" + end), "");
  EXPECT_NE(violation(start + "<m:UnresolvedEntry><b/></m:UnresolvedEntry>" + end), "");
  EXPECT_NE(violation(start + "<t:UnresolvedEntry>a</t:UnresolvedEntry>" + end), "");
  EXPECT_NE(violation(start + "alice" + end), "");
  EXPECT_NE(violation(start + "<m:ParentFolderIds/>" + entry + end), "");
  EXPECT_NE(
      violation(start + "<m:ParentFolderIds><t:ItemId Id='x'/></m:ParentFolderIds>" + entry + end),
      "");
  EXPECT_NE(violation(start + "<m:ParentFolderIds><t:FolderId/></m:ParentFolderIds>" + entry + end),
            "");
}

TEST(ResolveNamesLimit, AHundredPeopleAreShownAtMost) {
  SandboxOptions options = standardOptions();
  for (int i = 0; i < 120; ++i) {
    options.mailboxes.push_back({"many" + std::to_string(i) + "@example.com", "p", {}});
  }
  SandboxServer server(options);
  ASSERT_TRUE(server.start());
  HttpClient client;
  const Answer answer(client.post(server.url(), envelope(resolveNamesFor("many"))));
  EXPECT_EQ(answer.count("//Resolution"), 100U);
  EXPECT_EQ(answer.attribute("//ResolutionSet", "TotalItemsInView"), "100");
  EXPECT_EQ(answer.attribute("//ResolutionSet", "IncludesLastItemInRange"), "false");
}

}  // namespace
}  // namespace tarnwell::sandbox::test
