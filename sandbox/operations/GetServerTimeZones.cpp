#include <cstdlib>
#include <set>
#include <string>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/Operations.h"
#include "sandbox/operations/ServerTimeZones.h"

namespace tarnwell::sandbox {
namespace {

/// As an XML Schema duration; 90 gives "PT1H30M".
std::string duration(int minutes) {
  std::string text = minutes < 0 ? "-PT" : "PT";
  const int hours = std::abs(minutes) / 60;
  const int rest = std::abs(minutes) % 60;
  if (hours != 0 || rest == 0) text += std::to_string(hours) + "H";
  if (rest != 0) text += std::to_string(rest) + "M";
  return text;
}

std::string periodId(const ServerTimeZone& zone, const char* period) {
  return "trule:Microsoft/Registry/" + std::string(zone.id) + "/2010-" + period;
}

void appendPeriod(pugi::xml_node periods, const ServerTimeZone& zone, const char* period,
                  int offsetMinutes) {
  pugi::xml_node element = periods.append_child("t:Period");
  // The bias is what is added to local time to get UTC.
  element.append_attribute("Bias") = duration(-offsetMinutes).c_str();
  element.append_attribute("Name") = period;
  element.append_attribute("Id") = periodId(zone, period).c_str();
}

void appendTransition(pugi::xml_node group, const std::string& period, int month, int week,
                      int hour) {
  pugi::xml_node transition = group.append_child("t:RecurringDayTransition");
  append(transition, "t:To", period).append_attribute("Kind") = "Period";
  append(transition, "t:TimeOffset", duration(hour * 60));
  append(transition, "t:Month", std::to_string(month));
  append(transition, "t:DayOfWeek", "Sunday");
  append(transition, "t:Occurrence", std::to_string(week));
}

void appendRules(pugi::xml_node definition, const ServerTimeZone& zone) {
  const SummerRule& rule = zone.summer;
  const bool hasSummer = rule.beginMonth != 0;
  pugi::xml_node periods = definition.append_child("t:Periods");
  appendPeriod(periods, zone, "Standard", zone.offsetMinutes);
  if (hasSummer) appendPeriod(periods, zone, "Daylight", zone.offsetMinutes + 60);

  pugi::xml_node group =
      definition.append_child("t:TransitionsGroups").append_child("t:TransitionsGroup");
  group.append_attribute("Id") = "0";
  if (hasSummer) {
    appendTransition(group, periodId(zone, "Daylight"), rule.beginMonth, rule.beginWeek,
                     rule.beginHour);
    appendTransition(group, periodId(zone, "Standard"), rule.endMonth, rule.endWeek, rule.endHour);
  } else {
    append(group.append_child("t:Transition"), "t:To", periodId(zone, "Standard"))
        .append_attribute("Kind") = "Period";
  }
  append(definition.append_child("t:Transitions").append_child("t:Transition"), "t:To", "0")
      .append_attribute("Kind") = "Group";
}

}  // namespace

void getServerTimeZones(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({"ReturnFullTimeZoneData"});
  const bool full = reader.boolean("ReturnFullTimeZoneData").value_or(false);
  const pugi::xml_node ids = reader.optional(kMessagesNs, "Ids");
  reader.end();

  std::set<std::string, std::less<>> wanted;
  if (ids) {
    ElementReader list(ids);
    do {
      wanted.insert(list.requiredText(kTypesNs, "Id"));
    } while (list.hasNext());
  }

  pugi::xml_node definitions =
      addResponseMessage(response, "GetServerTimeZones", {}).append_child("m:TimeZoneDefinitions");
  for (const ServerTimeZone& zone : serverTimeZones()) {
    if (ids && !wanted.contains(zone.id)) continue;
    pugi::xml_node definition = definitions.append_child("t:TimeZoneDefinition");
    definition.append_attribute("Id") = std::string(zone.id).c_str();
    definition.append_attribute("Name") = std::string(zone.name).c_str();
    if (full) appendRules(definition, zone);
  }
}

}  // namespace tarnwell::sandbox
