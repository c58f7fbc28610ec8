#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sandbox/detail/Directory.h"

namespace tarnwell::sandbox::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Directory makeDirectory() {
  return {{{"alice@example.com", "secret", "Alice Liddell"},
           {"alice@example.com.au", "other", {}},
           {"bob.m_quay-lee@example.com", "pa:ss", {}}},
          {{"tok en", "Bob.m_quay-lee@example.com"}}};
}

std::vector<std::string> found(const Directory& directory, std::string_view text) {
  std::vector<std::string> addresses;
  for (const Person* person : directory.resolve(text)) addresses.push_back(person->address);
  return addresses;
}

TEST(Directory, NamesAreMadeOfAddresses) {
  const Directory directory = makeDirectory();
  EXPECT_EQ(directory.findMailbox("bob.m_quay-lee@example.com")->name, "Bob M Quay Lee");
  EXPECT_EQ(directory.findMailbox("ALICE@example.com")->name, "Alice Liddell");
  EXPECT_EQ(directory.findMailbox("nobody@example.com"), nullptr);
  EXPECT_EQ(directory.findMailbox("office@people.example"), nullptr) << "has no mailbox";
}

TEST(Directory, PeopleAreFoundByTheBeginningOfNameAddressOrAlias) {
  const Directory directory = makeDirectory();
  EXPECT_THAT(found(directory, "bob m"), ElementsAre("bob.m_quay-lee@example.com"));
  EXPECT_THAT(found(directory, "BOB.M_QUAY-LEE@EX"), ElementsAre("bob.m_quay-lee@example.com"));
  EXPECT_THAT(found(directory, "alice"), ElementsAre("alice@example.com", "alice@example.com.au"));
  EXPECT_THAT(found(directory, "anna b"),
              ElementsAre("anna.bergstrom@people.example", "anna.bergman@people.example"));
  EXPECT_THAT(found(directory, "liddell"), IsEmpty());
  EXPECT_THAT(found(directory, "zz"), IsEmpty());
}

TEST(Directory, AWholeAddressMeansOnePerson) {
  const Directory directory = makeDirectory();
  EXPECT_THAT(found(directory, "Alice@Example.Com"), ElementsAre("alice@example.com"));
  EXPECT_THAT(found(directory, "SMTP:alice@example.com"), ElementsAre("alice@example.com"));
  EXPECT_THAT(found(directory, "smtp:alice@example"), IsEmpty());
}

TEST(Directory, BasicLoginsTakeTheAddressInAnyCaseAndThePasswordAsItIs) {
  const Directory directory = makeDirectory();
  // alice@example.com:secret, ALICE@EXAMPLE.COM:secret, alice@example.com:Secret
  EXPECT_NE(directory.login("Basic YWxpY2VAZXhhbXBsZS5jb206c2VjcmV0"), nullptr);
  EXPECT_NE(directory.login("basic QUxJQ0VARVhBTVBMRS5DT006c2VjcmV0"), nullptr);
  EXPECT_EQ(directory.login("Basic YWxpY2VAZXhhbXBsZS5jb206U2VjcmV0"), nullptr);
  // bob.m_quay-lee@example.com:pa:ss
  const Person* bob = directory.login("Basic Ym9iLm1fcXVheS1sZWVAZXhhbXBsZS5jb206cGE6c3M=");
  ASSERT_NE(bob, nullptr);
  EXPECT_EQ(bob->address, "bob.m_quay-lee@example.com");
}

TEST(Directory, TokensLogInTheirMailbox) {
  const Directory directory = makeDirectory();
  const Person* bob = directory.login("Bearer tok en");
  ASSERT_NE(bob, nullptr);
  EXPECT_EQ(bob->alias(), "bob.m_quay-lee");
  EXPECT_EQ(directory.login("Bearer tok"), nullptr);
  EXPECT_EQ(directory.login("Bearer "), nullptr);
}

TEST(Directory, GarbageLogsInNobody) {
  const Directory directory = makeDirectory();
  for (const char* text :
       {"", "Basic", "Basic ", "Basic !!!!", "Basic YWxpY2U=", "Basic YWxpY",
        "Digest YWxpY2VAZXhhbXBsZS5jb206c2VjcmV0", "NTLM TlRMTVNTUAAB", "Basic ===="}) {
    EXPECT_EQ(directory.login(text), nullptr) << text;
  }
}

TEST(Directory, MailAddressesHaveOneAtSign) {
  EXPECT_TRUE(isMailAddress("a@b"));
  for (const char* text : {"", "a", "@b", "a@", "a@b@c", "a b@c", "a:b@c"}) {
    EXPECT_FALSE(isMailAddress(text)) << text;
  }
}

}  // namespace
}  // namespace tarnwell::sandbox::test
