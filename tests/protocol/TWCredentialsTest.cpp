#include <sstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/protocol/TWCredentials.h"

namespace tarnwell {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

auto withPassword(std::string_view name, std::string_view password = "pw") {
  return TWCredentials::credentialsWithUsernamePassword(name, password);
}
auto withToken(std::string_view name, std::string_view token = "pw") {
  return TWCredentials::credentialsWithUsernameAccessToken(name, token);
}

TEST(TWCredentials, TypeNumbersAreTheConfiguredOnes) {
  EXPECT_EQ(TWCredentialsTypeEmail, 0);
  EXPECT_EQ(TWCredentialsTypeDomain, 1);
  EXPECT_EQ(TWCredentialsTypeOther, 2);
}

struct NameForm {
  const char* username;
  TWCredentialsType type;
};

class TWCredentialsNameForm : public ::testing::TestWithParam<NameForm> {};

TEST_P(TWCredentialsNameForm, IsToldFromTheSeparators) {
  EXPECT_EQ(withPassword(GetParam().username)->type(), GetParam().type);
  EXPECT_EQ(withToken(GetParam().username)->type(), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(Names, TWCredentialsNameForm,
                         ::testing::Values(NameForm{"ann@example.com", TWCredentialsTypeEmail},
                                           NameForm{"ann@", TWCredentialsTypeEmail},
                                           NameForm{"@", TWCredentialsTypeEmail},
                                           NameForm{"EXAMPLE\\ann", TWCredentialsTypeDomain},
                                           NameForm{"\\", TWCredentialsTypeDomain},
                                           NameForm{"bob", TWCredentialsTypeOther},
                                           NameForm{"", TWCredentialsTypeOther},
                                           NameForm{"a@b@c", TWCredentialsTypeOther},
                                           NameForm{"d\\e\\f", TWCredentialsTypeOther},
                                           // "@" goes first
                                           NameForm{"d\\a@b", TWCredentialsTypeEmail},
                                           NameForm{"d\\e\\a@b", TWCredentialsTypeEmail},
                                           NameForm{"d\\a@b@c", TWCredentialsTypeDomain}));

TEST(TWCredentials, PasswordCredentialsDoNotUseOAuth) {
  const auto credentials = withPassword("ann@example.com", "secret");
  EXPECT_EQ(credentials->username(), "ann@example.com");
  EXPECT_EQ(credentials->password(), "secret");
  EXPECT_FALSE(credentials->useOAuth2());
}

TEST(TWCredentials, AccessTokenIsKeptAsThePassword) {
  const auto credentials = withToken("ann@example.com", "token");
  EXPECT_EQ(credentials->password(), "token");
  EXPECT_TRUE(credentials->useOAuth2());
  EXPECT_EQ(credentials->type(), TWCredentialsTypeEmail);
}

TEST(TWCredentials, UpdatingTheTokenChangesThePasswordOnly) {
  for (const auto& credentials :
       {withToken("EXAMPLE\\ann", "old"), withPassword("EXAMPLE\\ann", "old")}) {
    const bool useOAuth2 = credentials->useOAuth2();
    credentials->updateAccessToken("new");
    EXPECT_EQ(credentials->password(), "new");
    EXPECT_EQ(credentials->username(), "EXAMPLE\\ann");
    EXPECT_EQ(credentials->type(), TWCredentialsTypeDomain);
    EXPECT_EQ(credentials->useOAuth2(), useOAuth2);
  }
}

TEST(TWCredentials, EqualWhenNameAndSecretAre) {
  EXPECT_TRUE(withPassword("ann", "a")->isEqual(*withPassword("ann", "a")));
  EXPECT_FALSE(withPassword("ann", "a")->isEqual(*withPassword("ann", "b")));
  EXPECT_FALSE(withPassword("ann", "a")->isEqual(*withPassword("bob", "a")));
  EXPECT_TRUE(*withPassword("ann", "a") == *withPassword("ann", "a"));
  EXPECT_TRUE(*withPassword("ann", "a") != *withPassword("ann", "b"));
}

TEST(TWCredentials, TokenAndPasswordWithTheSameTextsAreEqual) {
  const auto password = withPassword("ann", "same");
  const auto token = withToken("ann", "same");
  EXPECT_TRUE(password->isEqual(*token));
  EXPECT_TRUE(token->isEqual(*password));
  EXPECT_EQ(password->hash(), token->hash());
}

TEST(TWCredentials, ReceiversClassDecidesEquality) {
  const auto account = TWServiceAccount::credentialsWithUsernamePassword("ann", "a");
  const auto credentials = withPassword("ann", "a");
  EXPECT_TRUE(credentials->isEqual(*account));
  EXPECT_FALSE(account->isEqual(*credentials));
  EXPECT_TRUE(account->isEqual(*TWServiceAccount::credentialsWithUsernamePassword("ann", "a", 1)));
}

TEST(TWCredentials, HashWeighsTheUserNameWithSeventeen) {
  const auto text = [](std::string_view t) {
    return static_cast<std::uint64_t>(std::hash<std::string_view>{}(t));
  };
  const auto credentials = withPassword("ann@example.com", "a secret");
  EXPECT_EQ(credentials->hash(), 17 * text("ann@example.com") + text("a secret") + 289);
  EXPECT_EQ(std::hash<TWCredentials>{}(*credentials), credentials->hash());
  EXPECT_EQ(withPassword("ann", "1")->hash() - withPassword("ann", "2")->hash(),
            withPassword("bob", "1")->hash() - withPassword("bob", "2")->hash());
}

TEST(TWCredentials, DescriptionShowsClassAndNameAndNoSecret) {
  EXPECT_EQ(withPassword("ann", "S3CR3T")->description(), "[TWCredentials] ann");
  EXPECT_EQ(withToken("ann", "S3CR3T")->description(), "[TWCredentials] ann");
  const auto account = TWServiceAccount::credentialsWithUsernamePassword("ann", "S3CR3T");
  EXPECT_EQ(account->description(), "[TWServiceAccount] ann");
  std::ostringstream printed;
  printed << *account;
  EXPECT_EQ(printed.str(), "[TWServiceAccount] ann");
}

TEST(TWCredentials, UpdatedTokenStaysOutOfTheDescription) {
  const auto credentials = withToken("ann", "old");
  credentials->updateAccessToken("S3CR3T");
  EXPECT_EQ(credentials->description(), "[TWCredentials] ann");
}

TEST(TWCredentials, PropertyListHoldsNoSecret) {
  const auto account = TWServiceAccount::credentialsWithUsernamePassword("ann", "S3CR3T", 7.5);
  const std::string listed = account->propertiesDescription();
  EXPECT_THAT(listed, HasSubstr("[username]->[ann]"));
  EXPECT_THAT(listed, HasSubstr("[maxWait]->[7.5]"));
  EXPECT_THAT(listed, Not(HasSubstr("S3CR3T")));
}

TEST(TWCredentials, OnlyServiceAccountsAreWillingToWait) {
  EXPECT_TRUE(withPassword("ann")->failFast());
  const auto account = TWServiceAccount::credentialsWithUsernamePassword("ann", "a");
  EXPECT_FALSE(account->failFast());
  EXPECT_EQ(account->maxWait(), 3600.0);
  EXPECT_EQ(TWServiceAccount::credentialsWithUsernamePassword("ann", "a", 0.5)->maxWait(), 0.5);
}

TEST(TWCredentials, FactoriesOfTheServiceAccountMakeServiceAccounts) {
  const std::shared_ptr<TWCredentials> account =
      TWServiceAccount::credentialsWithUsernameAccessToken("ann", "token");
  EXPECT_FALSE(account->failFast());
  EXPECT_TRUE(account->useOAuth2());
  EXPECT_EQ(account->className(), "TWServiceAccount");
}

TEST(TWCredentials, TokenMayBeReplacedWhileOthersReadIt) {
  const auto credentials = withToken("ann", std::string(64, 'a'));
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c'}) {
    threads.emplace_back([&credentials, letter] {
      for (int i = 0; i < 500; ++i) {
        credentials->updateAccessToken(std::string(64, letter));
        const std::string token = credentials->password();
        // Never a mixture of two.
        ASSERT_EQ(token, std::string(64, token.at(0)));
        (void)credentials->hash();
        (void)credentials->isEqual(*credentials);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tarnwell
