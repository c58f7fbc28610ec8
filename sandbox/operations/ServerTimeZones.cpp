#include "sandbox/operations/ServerTimeZones.h"

#include <array>

namespace tarnwell::sandbox {
namespace {

constexpr SummerRule kNone{};
constexpr SummerRule kAmerica{3, 2, 2, 11, 1, 2};
constexpr SummerRule kGreenwich{3, -1, 1, 10, -1, 2};
constexpr SummerRule kCentralEurope{3, -1, 2, 10, -1, 3};
constexpr SummerRule kEastEurope{3, -1, 3, 10, -1, 4};
constexpr SummerRule kAustralia{10, 1, 2, 4, 1, 3};
constexpr SummerRule kNewZealand{9, -1, 2, 4, 1, 3};

constexpr std::array kZones{
    ServerTimeZone{"Dateline Standard Time", "(UTC-12:00) International Date Line West", -720,
                   kNone},
    ServerTimeZone{"UTC-11", "(UTC-11:00) Coordinated Universal Time-11", -660, kNone},
    ServerTimeZone{"Hawaiian Standard Time", "(UTC-10:00) Hawaii", -600, kNone},
    ServerTimeZone{"Alaskan Standard Time", "(UTC-09:00) Alaska", -540, kAmerica},
    ServerTimeZone{"Pacific Standard Time", "(UTC-08:00) Pacific Time (US & Canada)", -480,
                   kAmerica},
    ServerTimeZone{"US Mountain Standard Time", "(UTC-07:00) Arizona", -420, kNone},
    ServerTimeZone{"Mountain Standard Time", "(UTC-07:00) Mountain Time (US & Canada)", -420,
                   kAmerica},
    ServerTimeZone{"Central America Standard Time", "(UTC-06:00) Central America", -360, kNone},
    ServerTimeZone{"Central Standard Time", "(UTC-06:00) Central Time (US & Canada)", -360,
                   kAmerica},
    ServerTimeZone{"SA Pacific Standard Time", "(UTC-05:00) Bogota, Lima, Quito, Rio Branco", -300,
                   kNone},
    ServerTimeZone{"Eastern Standard Time", "(UTC-05:00) Eastern Time (US & Canada)", -300,
                   kAmerica},
    ServerTimeZone{"Atlantic Standard Time", "(UTC-04:00) Atlantic Time (Canada)", -240, kAmerica},
    ServerTimeZone{"SA Western Standard Time", "(UTC-04:00) Georgetown, La Paz, Manaus, San Juan",
                   -240, kNone},
    ServerTimeZone{"Newfoundland Standard Time", "(UTC-03:30) Newfoundland", -210, kAmerica},
    ServerTimeZone{"E. South America Standard Time", "(UTC-03:00) Brasilia", -180, kNone},
    ServerTimeZone{"Argentina Standard Time", "(UTC-03:00) City of Buenos Aires", -180, kNone},
    ServerTimeZone{"UTC-02", "(UTC-02:00) Coordinated Universal Time-02", -120, kNone},
    ServerTimeZone{"Cape Verde Standard Time", "(UTC-01:00) Cabo Verde Is.", -60, kNone},
    ServerTimeZone{"UTC", "(UTC) Coordinated Universal Time", 0, kNone},
    ServerTimeZone{"GMT Standard Time", "(UTC+00:00) Dublin, Edinburgh, Lisbon, London", 0,
                   kGreenwich},
    ServerTimeZone{"Greenwich Standard Time", "(UTC+00:00) Monrovia, Reykjavik", 0, kNone},
    ServerTimeZone{"W. Europe Standard Time",
                   "(UTC+01:00) Amsterdam, Berlin, Bern, Rome, Stockholm, Vienna", 60,
                   kCentralEurope},
    ServerTimeZone{"Central Europe Standard Time",
                   "(UTC+01:00) Belgrade, Bratislava, Budapest, Ljubljana, Prague", 60,
                   kCentralEurope},
    ServerTimeZone{"Romance Standard Time", "(UTC+01:00) Brussels, Copenhagen, Madrid, Paris", 60,
                   kCentralEurope},
    ServerTimeZone{"Central European Standard Time", "(UTC+01:00) Sarajevo, Skopje, Warsaw, Zagreb",
                   60, kCentralEurope},
    ServerTimeZone{"W. Central Africa Standard Time", "(UTC+01:00) West Central Africa", 60, kNone},
    ServerTimeZone{"GTB Standard Time", "(UTC+02:00) Athens, Bucharest", 120, kEastEurope},
    ServerTimeZone{"South Africa Standard Time", "(UTC+02:00) Harare, Pretoria", 120, kNone},
    ServerTimeZone{"FLE Standard Time", "(UTC+02:00) Helsinki, Kyiv, Riga, Sofia, Tallinn, Vilnius",
                   120, kEastEurope},
    ServerTimeZone{"Turkey Standard Time", "(UTC+03:00) Istanbul", 180, kNone},
    ServerTimeZone{"Arab Standard Time", "(UTC+03:00) Kuwait, Riyadh", 180, kNone},
    ServerTimeZone{"Russian Standard Time", "(UTC+03:00) Moscow, St. Petersburg, Volgograd", 180,
                   kNone},
    ServerTimeZone{"E. Africa Standard Time", "(UTC+03:00) Nairobi", 180, kNone},
    ServerTimeZone{"Arabian Standard Time", "(UTC+04:00) Abu Dhabi, Muscat", 240, kNone},
    ServerTimeZone{"Afghanistan Standard Time", "(UTC+04:30) Kabul", 270, kNone},
    ServerTimeZone{"Pakistan Standard Time", "(UTC+05:00) Islamabad, Karachi", 300, kNone},
    ServerTimeZone{"India Standard Time", "(UTC+05:30) Chennai, Kolkata, Mumbai, New Delhi", 330,
                   kNone},
    ServerTimeZone{"Nepal Standard Time", "(UTC+05:45) Kathmandu", 345, kNone},
    ServerTimeZone{"Bangladesh Standard Time", "(UTC+06:00) Dhaka", 360, kNone},
    ServerTimeZone{"SE Asia Standard Time", "(UTC+07:00) Bangkok, Hanoi, Jakarta", 420, kNone},
    ServerTimeZone{"China Standard Time", "(UTC+08:00) Beijing, Chongqing, Hong Kong, Urumqi", 480,
                   kNone},
    ServerTimeZone{"Singapore Standard Time", "(UTC+08:00) Kuala Lumpur, Singapore", 480, kNone},
    ServerTimeZone{"W. Australia Standard Time", "(UTC+08:00) Perth", 480, kNone},
    ServerTimeZone{"Tokyo Standard Time", "(UTC+09:00) Osaka, Sapporo, Tokyo", 540, kNone},
    ServerTimeZone{"Korea Standard Time", "(UTC+09:00) Seoul", 540, kNone},
    ServerTimeZone{"AUS Central Standard Time", "(UTC+09:30) Darwin", 570, kNone},
    ServerTimeZone{"E. Australia Standard Time", "(UTC+10:00) Brisbane", 600, kNone},
    ServerTimeZone{"AUS Eastern Standard Time", "(UTC+10:00) Canberra, Melbourne, Sydney", 600,
                   kAustralia},
    ServerTimeZone{"New Zealand Standard Time", "(UTC+12:00) Auckland, Wellington", 720,
                   kNewZealand},
    ServerTimeZone{"UTC+12", "(UTC+12:00) Coordinated Universal Time+12", 720, kNone},
};

}  // namespace

std::span<const ServerTimeZone> serverTimeZones() { return kZones; }

}  // namespace tarnwell::sandbox
