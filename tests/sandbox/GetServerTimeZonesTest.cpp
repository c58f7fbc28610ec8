#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "sandbox/operations/ServerTimeZones.h"
#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {
namespace {

class GetServerTimeZones : public SandboxTest {
 protected:
  HttpReply ask(const std::string& attributes, const std::string& ids = {}) {
    return send(
        envelope("<m:GetServerTimeZones " + attributes + ">" + ids + "</m:GetServerTimeZones>"));
  }
};

TEST(ServerTimeZones, TheTableHasEachZoneOnceWithItsOffsetInItsName) {
  std::set<std::string_view> ids;
  for (const ServerTimeZone& zone : serverTimeZones()) {
    EXPECT_TRUE(ids.insert(zone.id).second) << zone.id;
    std::string offset = "(UTC";
    if (zone.offsetMinutes != 0 || zone.name.starts_with("(UTC+")) {
      const int minutes = std::abs(zone.offsetMinutes);
      const auto two = [](int n) { return (n < 10 ? "0" : "") + std::to_string(n); };
      offset += (zone.offsetMinutes < 0 ? "-" : "+") + two(minutes / 60) + ":" + two(minutes % 60);
    }
    EXPECT_TRUE(zone.name.starts_with(offset + ") ")) << zone.name;
  }
  EXPECT_GE(ids.size(), 40U);
  EXPECT_TRUE(std::ranges::is_sorted(serverTimeZones(), {}, &ServerTimeZone::offsetMinutes));
}

TEST_F(GetServerTimeZones, AllZonesAreListedWithIdAndName) {
  const HttpReply reply = ask("ReturnFullTimeZoneData='false'");
  const Answer answer(reply);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(answer.attribute("//GetServerTimeZonesResponseMessage", "ResponseClass"), "Success");
  EXPECT_EQ(answer.count("//TimeZoneDefinitions/TimeZoneDefinition"), serverTimeZones().size());
  EXPECT_EQ(answer.attribute("//TimeZoneDefinition", "Id"), "Dateline Standard Time");
  EXPECT_EQ(answer.attribute("//TimeZoneDefinition", "Name"),
            "(UTC-12:00) International Date Line West");
  EXPECT_EQ(answer.count("//Periods"), 0U);
}

TEST_F(GetServerTimeZones, IdsChooseAndUnknownOnesAreLeftOut) {
  const Answer answer(ask("", "<m:Ids><t:Id>UTC</t:Id><t:Id>No Such Time</t:Id></m:Ids>"));
  EXPECT_EQ(answer.count("//TimeZoneDefinition"), 1U);
  EXPECT_EQ(answer.attribute("//TimeZoneDefinition", "Id"), "UTC");
}

TEST_F(GetServerTimeZones, FullDataHasPeriodsAndTransitionsOfAZoneWithSummer) {
  const Answer answer(
      ask("ReturnFullTimeZoneData='true'", "<m:Ids><t:Id>Pacific Standard Time</t:Id></m:Ids>"));
  EXPECT_EQ(answer.count("//Periods/Period"), 2U);
  EXPECT_EQ(answer.attribute("//Periods/Period", "Bias"), "PT8H");
  EXPECT_EQ(answer.attribute("//Periods/Period", "Name"), "Standard");
  EXPECT_EQ(answer.attribute("//TransitionsGroup", "Id"), "0");
  EXPECT_EQ(answer.count("//RecurringDayTransition"), 2U);
  EXPECT_EQ(answer.text("//RecurringDayTransition/TimeOffset"), "PT2H");
  EXPECT_EQ(answer.text("//RecurringDayTransition/Month"), "3");
  EXPECT_EQ(answer.text("//RecurringDayTransition/DayOfWeek"), "Sunday");
  EXPECT_EQ(answer.text("//RecurringDayTransition/Occurrence"), "2");
  EXPECT_EQ(answer.attribute("//Transitions/Transition/To", "Kind"), "Group");
}

TEST_F(GetServerTimeZones, FullDataOfAZoneWithoutSummerHasOnePeriod) {
  const Answer answer(
      ask("ReturnFullTimeZoneData='true'", "<m:Ids><t:Id>Nepal Standard Time</t:Id></m:Ids>"));
  EXPECT_EQ(answer.count("//Periods/Period"), 1U);
  EXPECT_EQ(answer.attribute("//Periods/Period", "Bias"), "-PT5H45M");
  EXPECT_EQ(answer.attribute("//TransitionsGroup/Transition/To", "Kind"), "Period");
}

TEST_F(GetServerTimeZones, TransitionsNameTheirPeriods) {
  const Answer answer(ask("ReturnFullTimeZoneData='1'"));
  for (const std::string& to : answer.texts("//RecurringDayTransition/To")) {
    EXPECT_TRUE(to.starts_with("trule:Microsoft/Registry/")) << to;
  }
  EXPECT_EQ(answer.count("//TransitionsGroup"), serverTimeZones().size());
}

TEST_F(GetServerTimeZones, RequestsThatBreakTheSchemaAreRefused) {
  const auto refused = [&](const std::string& attributes, const std::string& ids) {
    return isFault(ask(attributes, ids), 500, "ErrorSchemaValidation");
  };
  EXPECT_TRUE(refused("ReturnFullTimeZoneData='maybe'", ""));
  EXPECT_TRUE(refused("Other='1'", ""));
  EXPECT_TRUE(refused("", "<m:Ids/>"));
  EXPECT_TRUE(refused("", "<m:Ids><m:Id>UTC</m:Id></m:Ids>"));
  EXPECT_TRUE(refused("", "<m:Ids><t:Id>UTC</t:Id></m:Ids><m:Ids><t:Id>UTC</t:Id></m:Ids>"));
  EXPECT_TRUE(refused("", "<m:Zones/>"));
}

}  // namespace
}  // namespace tarnwell::sandbox::test
