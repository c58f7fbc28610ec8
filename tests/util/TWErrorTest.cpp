#include <sstream>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include <gtest/gtest.h>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {
namespace {

TEST(TWError, DefaultMadeErrorIsNoError) {
  const TWError error;
  EXPECT_FALSE(error);
  EXPECT_EQ(error.domain(), "");
  EXPECT_EQ(error.code(), 0);
  EXPECT_EQ(error.message(), "");
  EXPECT_TRUE(error.userInfo().empty());
  EXPECT_EQ(error.description(), "(null)");
}

TEST(TWError, CarriesItsMessageUnderTheKeyDAndNowhereElse) {
  const TWError error(TWErrorCode::ErrorTransport, "Missing redirect url");
  EXPECT_TRUE(error);
  EXPECT_EQ(error.domain(), "org.tarnwell.ews");
  EXPECT_EQ(error.code(), 2);
  EXPECT_EQ(error.message(), "Missing redirect url");
  EXPECT_EQ(error.userInfo().allKeys(), std::vector<std::string>{"d"});
}

TEST(TWError, PrintsDomainCodeAndMessage) {
  std::ostringstream out;
  out << TWError(TWErrorCode::ErrorTransport, "Missing redirect url");
  EXPECT_EQ(out.str(), "org.tarnwell.ews 2: Missing redirect url");
}

TEST(TWError, PrintsAnAbsentMessageAsNull) {
  const TWError error(TWErrorDomain, 1, TWDictionary{{"url", "http://b/"}});
  EXPECT_EQ(error.description(), "org.tarnwell.ews 1: (null)");
  EXPECT_EQ(error.message(), "");
}

TEST(TWError, CodesAreComparedWithTheirDomain) {
  const TWError ours(TWErrorCode::ErrorRedirect, "x");
  const TWError http(TWHTTPErrorDomain, 1, "x");
  EXPECT_TRUE(ours.is(TWErrorCode::ErrorRedirect));
  EXPECT_FALSE(http.is(TWErrorCode::ErrorRedirect));
  EXPECT_TRUE(http.is(TWHTTPErrorDomain, 1));
  EXPECT_FALSE(TWError().is(TWErrorCode::ErrorNone));
}

enum class Unrelated : std::int64_t { number = 235 };

template <class Code>
concept TakenForACode = requires(const TWError& error, Code code) {
  error.is(code);
};

TEST(TWError, OnlyTheCataloguesOwnCodesAreTakenForCodes) {
  EXPECT_TRUE(TakenForACode<TWErrorCode>);
  EXPECT_FALSE(TakenForACode<Unrelated>);
  EXPECT_FALSE(TakenForACode<int>);
  EXPECT_FALSE((std::is_constructible_v<TWError, Unrelated, const char*>));
  EXPECT_FALSE((std::is_constructible_v<TWError, int, const char*>));
}

TEST(TWError, TakesDetailsInPlaceOfAMessage) {
  const TWError error(TWErrorCode::ErrorRedirect, TWDictionary{{"url", "http://b/"}});
  EXPECT_TRUE(error.is(TWErrorCode::ErrorRedirect));
  EXPECT_EQ(error.userInfo(), (TWDictionary{{"url", "http://b/"}}));
}

template <class Error>
concept HasADomain = requires(Error&& error) {
  std::forward<Error>(error).domain();
};

TEST(TWError, OneThatIsNotKeptGivesNoViewsOfItself) {
  const auto make = [] { return TWError(TWErrorCode::ErrorRedirect, TWDictionary{{"url", "b"}}); };
  const auto& details = make().userInfo();
  EXPECT_EQ(details, (TWDictionary{{"url", "b"}}));
  EXPECT_FALSE(std::is_reference_v<decltype(make().userInfo())>);
  EXPECT_TRUE(HasADomain<const TWError&>);
  EXPECT_FALSE(HasADomain<TWError>);
  EXPECT_FALSE(HasADomain<const TWError>);
}

TEST(TWError, HoldsAnErrorThatCausedIt) {
  const TWError cause(TWHTTPErrorDomain, 28, "Timeout was reached");
  const TWError error(TWErrorDomain, 5, TWDictionary{{"e", cause}});
  EXPECT_EQ(error.userInfo()["e"].asError(), cause);
}

TEST(TWError, EqualErrorsHaveEqualDomainCodeAndUserInfo) {
  const TWError error(TWErrorDomain, 5, "x");
  EXPECT_EQ(error, TWError(TWErrorDomain, 5, "x"));
  EXPECT_NE(error, TWError(TWErrorDomain, 6, "x"));
  EXPECT_NE(error, TWError(TWErrorDomain, 5, "y"));
  EXPECT_NE(error, TWError(TWHTTPErrorDomain, 5, "x"));
  EXPECT_NE(error, TWError());
  EXPECT_EQ(TWError(), TWError());
}

TEST(TWError, EqualErrorsHaveEqualHashes) {
  const TWError error(TWErrorDomain, 5, "x");
  EXPECT_TRUE(error.isEqual(TWError(TWErrorDomain, 5, "x")));
  EXPECT_FALSE(error.isEqual(TWError()));
  EXPECT_EQ(error.hash(), TWError(TWErrorDomain, 5, "x").hash());
  EXPECT_NE(error.hash(), TWError(TWErrorDomain, 6, "x").hash());
  const std::unordered_set<TWError> set{error, error, TWError()};
  EXPECT_EQ(set.size(), 2U);
}

TEST(TWError, EmptyBracesMeanNoDetails) {
  EXPECT_EQ(TWError(TWErrorDomain, 5, {}), TWError(TWErrorDomain, 5));
  EXPECT_EQ(TWError(TWErrorCode::ErrorItemNotFound, {}).code(),
            static_cast<std::int64_t>(TWErrorCode::ErrorItemNotFound));
  EXPECT_EQ(TWError(TWErrorDomain, 5, {{"d", "x"}}).message(), "x");
}

TEST(TWError, SettingAnErrorNeedsNoOutParameter) {
  setError(nullptr, TWError(TWErrorDomain, 5, "x"));
  TWError error;
  setError(&error, TWError(TWErrorDomain, 5, "x"));
  EXPECT_EQ(error.code(), 5);
}

}  // namespace
}  // namespace tarnwell
