#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/services/TWErrors.h"

#include "tests/protocol/AutodiscoverAnswers.h"
#include "tests/support/Gate.h"
#include "tests/support/RecordingLog.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestCertificates.h"

namespace tarnwell {
namespace {

using test::answerWith;
using test::errorAnswer;
using test::kEmail;
using test::protocol;
using test::ScriptedAnswer;
using test::ScriptedRequest;
using test::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kDomain = "https://disc.example";
constexpr const char* kPrefixed = "https://autodiscover.disc.example";
constexpr const char* kPlain = "http://autodiscover.disc.example";
constexpr const char* kTarget = "https://target.disc.example";

ScriptedAnswer found(std::string_view endpoint = "https://mail.disc.example/EWS/Exchange.asmx") {
  return ScriptedAnswer::xml(answerWith(kEmail + protocol("EXPR", endpoint)));
}

bool asksForSettings(const ScriptedRequest& request) {
  return request.method == "POST" && request.target == "/Autodiscover/Autodiscover.xml" &&
         request.body.find("EMailAddress") != std::string::npos;
}

/// Whole discoveries of "ann@disc.example" with all its hosts on this machine: one server for what
/// is asked over https, one for http. The user is named after the test, since protocols are cached.
class TWAutodiscoverCandidatesTest : public testing::Test {
 protected:
  using Handler = std::function<ScriptedAnswer(const ScriptedRequest&)>;

  [[nodiscard]] static std::shared_ptr<TWCredentials> credentials() {
    return TWCredentials::credentialsWithUsernamePassword(
        testing::UnitTest::GetInstance()->current_test_info()->name(), "pass-word");
  }
  [[nodiscard]] TWAutodiscoverOptions options() const {
    TWAutodiscoverOptions all;
    // An empty host stands for every host.
    all.connection.connectTo = {":80:127.0.0.1:" + std::to_string(plain.port()),
                                ":443:127.0.0.1:" + std::to_string(secure.port())};
    all.connection.caFile = test::TestCertificates::shared().authority();
    return all;
  }
  std::optional<TWAutodiscoverObject> discover(const TWAutodiscoverOptions& how) {
    return TWAutodiscover::discover("ann@disc.example", credentials(), how);
  }
  std::optional<TWAutodiscoverObject> discover() { return discover(options()); }

  /// What the host, "https://disc.example" say, answers when it is asked for settings; 404 unless
  /// told. So are all other requests answered, the probes.
  void answer(const std::string& host, Handler handler) { answers_[host] = std::move(handler); }
  void answer(const std::string& host, ScriptedAnswer answer) {
    answers_[host] = [answer = std::move(answer)](const ScriptedRequest&) { return answer; };
  }
  void answerProbes(Handler handler) { answerProbes_ = std::move(handler); }

  /// The hosts that were asked for settings since the last call, in order.
  std::vector<std::string> asked() {
    const std::lock_guard lock(mutex_);
    return std::exchange(asked_, {});
  }

  // Answers are set before the first request; the mutex guards the hosts asked.
  std::map<std::string, Handler> answers_;
  Handler answerProbes_ = [](const ScriptedRequest&) { return ScriptedAnswer::xml("", 404); };
  std::mutex mutex_;
  std::vector<std::string> asked_;

  ScriptedServer secure{
      [this](const ScriptedRequest& request) { return judge("https://", request); },
      {test::TestCertificates::shared().discovery()}};
  ScriptedServer plain{
      [this](const ScriptedRequest& request) { return judge("http://", request); }};

 private:
  ScriptedAnswer judge(const std::string& scheme, const ScriptedRequest& request) {
    if (!asksForSettings(request)) return answerProbes_(request);
    const auto host = scheme + request.header("Host").value_or("");
    {
      const std::lock_guard lock(mutex_);
      asked_.push_back(host);
    }
    const auto handler = answers_.find(host);
    return handler == answers_.end() ? ScriptedAnswer::xml("", 404) : handler->second(request);
  }
};

TEST_F(TWAutodiscoverCandidatesTest, AreAskedInTheirOrderUntilNoneIsLeft) {
  EXPECT_FALSE(discover());
  EXPECT_THAT(asked(), ElementsAre(kDomain, kPrefixed, kPlain));
}

TEST_F(TWAutodiscoverCandidatesTest, AreAskedNoMoreOnceOneKnowsTheMailbox) {
  answer(kDomain, found());
  EXPECT_TRUE(discover());
  EXPECT_THAT(asked(), ElementsAre(kDomain));
}

TEST_F(TWAutodiscoverCandidatesTest, GiveWayToTheNextWhateverTheirFailure) {
  answer(kPrefixed, found());
  const std::string address =
      "<Action>redirectAddr</Action><RedirectAddr>b@disc.example</RedirectAddr>";
  for (const auto& failure :
       {ScriptedAnswer::xml(answerWith(address)),
        ScriptedAnswer::xml(answerWith("<AccountType>x</AccountType>")),
        ScriptedAnswer::xml(answerWith(kEmail)), ScriptedAnswer::xml(errorAnswer("<Error/>")),
        ScriptedAnswer::xml("", 401), ScriptedAnswer::xml("<html><br>", 404),
        ScriptedAnswer::xml("<Autodiscover")}) {
    answer(kDomain, failure);
    EXPECT_TRUE(discover()) << failure.body;
    EXPECT_THAT(asked(), ElementsAre(kDomain, kPrefixed)) << failure.body;
  }
}

TEST_F(TWAutodiscoverCandidatesTest, AreFollowedByTheTargetOfARedirectInItsOwnScheme) {
  // The port of a target plays no part: autodiscover has its own place on every host.
  answer(kDomain, ScriptedAnswer::redirect(302, "https://target.disc.example:8443/elsewhere"));
  answer(kTarget, found());
  EXPECT_TRUE(discover());
  EXPECT_THAT(asked(), ElementsAre(kDomain, kPrefixed, kPlain, kTarget));
}

TEST_F(TWAutodiscoverCandidatesTest, OverHttpAreLeftOutWithTheirRedirects) {
  answer(kDomain, ScriptedAnswer::redirect(302, "http://target.disc.example/"));
  auto how = options();
  how.allowsPlainHTTP = false;
  EXPECT_FALSE(discover(how));
  EXPECT_THAT(asked(), ElementsAre(kDomain, kPrefixed));
  EXPECT_EQ(plain.requestCount(), 0U);
}

TEST_F(TWAutodiscoverCandidatesTest, NamingAnEndpointOverHttpKnowNothingWhereThatIsLeftOut) {
  answer(kDomain, found("http://mail.disc.example/EWS/Exchange.asmx"));
  auto how = options();
  how.allowsPlainHTTP = false;
  TWError error;
  EXPECT_FALSE(TWAutodiscover::autodiscoverHostname("disc.example", "ann@disc.example",
                                                    credentials(), true, &error, how));
  EXPECT_EQ(error, TWError(TWErrorCode::ErrorAutodiscoverFailed, "The endpoint is not secure"));
  answer(kPrefixed, found());
  const auto object = discover(how);
  ASSERT_TRUE(object);
  EXPECT_TRUE(object->protocol->ssl());
  EXPECT_EQ(plain.requestCount(), 0U);
}

TEST_F(TWAutodiscoverCandidatesTest, FollowOnlySoManyRedirectsAsWanted) {
  answer(kDomain, ScriptedAnswer::redirect(302, kTarget));
  answer(kPrefixed, ScriptedAnswer::redirect(302, "https://mail.disc.example"));
  auto how = options();
  how.maxRedirects = 1;
  EXPECT_FALSE(discover(how));
  EXPECT_THAT(asked(), ElementsAre(kDomain, kPrefixed, kPlain, kTarget));
}

TEST_F(TWAutodiscoverCandidatesTest, LeadToAnEndpointThatIsProbed) {
  answer(kDomain, found());
  EXPECT_TRUE(discover());
  std::vector<std::string> probes;
  for (const auto& request : secure.requests())
    if (request.header("Host") == "mail.disc.example")
      probes.push_back(request.method + " " + request.target);
  EXPECT_THAT(probes, ElementsAre("GET /EWS/types.xsd", "POST /EWS/Exchange.asmx"));
}

TEST_F(TWAutodiscoverCandidatesTest, ThatRedirectProbesMayStillKnowTheMailbox) {
  answerProbes([](const ScriptedRequest& request) {
    return ScriptedAnswer::redirect(302, "https://target.disc.example" + request.target);
  });
  answer(kDomain, found());
  EXPECT_TRUE(TWAutodiscover::autodiscoverHostname("disc.example", "ann@disc.example",
                                                   credentials(), true, nullptr, options()));
}

TEST_F(TWAutodiscoverCandidatesTest, GetTheTokenInAHeaderThatIsLoggedNowhere) {
  answer(kDomain, found());
  const test::RecordingLog log;
  TWError error;
  const auto credentials = TWCredentials::credentialsWithUsernameAccessToken("token", "secr-et");
  EXPECT_TRUE(TWAutodiscover::discover("ann@disc.example", credentials, options()));
  EXPECT_FALSE(TWAutodiscover::autodiscoverHostname("target.disc.example", "ann@disc.example",
                                                    credentials, true, &error, options()));
  for (const auto& request : secure.requests())
    EXPECT_EQ(request.header("Authorization"), "Bearer secr-et") << request.head;
  EXPECT_EQ(log.count("secr-et"), 0);
  EXPECT_GT(log.count("Request took"), 0);
  EXPECT_THAT(error.description(), testing::Not(HasSubstr("secr-et")));
}

TEST_F(TWAutodiscoverCandidatesTest, AreAskedByManyThreadsAtATime) {
  constexpr std::size_t kThreads = 8;
  // Nobody is answered before everybody has asked; one is sent away.
  std::atomic<std::size_t> waiting = 0;
  test::Gate everybodyAsked;
  answer(kDomain, [&](const ScriptedRequest& request) {
    if (++waiting == kThreads) everybodyAsked.open();
    EXPECT_TRUE(everybodyAsked.wait());
    return request.body.find("a3@disc.example") != std::string::npos
               ? ScriptedAnswer::redirect(302, kTarget)
               : found();
  });
  answer(kTarget, found());
  std::vector<std::future<std::optional<TWAutodiscoverObject>>> discoveries;
  for (std::size_t i = 0; i < kThreads; ++i)
    discoveries.push_back(std::async(std::launch::async, [this, i, user = credentials()] {
      return TWAutodiscover::discover("a" + std::to_string(i) + "@disc.example", user, options());
    }));
  for (auto& discovery : discoveries) EXPECT_TRUE(discovery.get());
  EXPECT_THAT(asked(),
              testing::UnorderedElementsAre(kDomain, kDomain, kDomain, kDomain, kDomain, kDomain,
                                            kDomain, kDomain, kPrefixed, kPlain, kTarget));
}

}  // namespace
}  // namespace tarnwell
