#include "sandbox/detail/ServerVersion.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace tarnwell::sandbox {
namespace {

struct SchemaRow {
  Schema schema;
  std::string_view name;
};

constexpr std::array kSchemas{
    SchemaRow{Schema::exchange2007, "Exchange2007"},
    SchemaRow{Schema::exchange2007Sp1, "Exchange2007_SP1"},
    SchemaRow{Schema::exchange2010, "Exchange2010"},
    SchemaRow{Schema::exchange2010Sp1, "Exchange2010_SP1"},
    SchemaRow{Schema::exchange2010Sp2, "Exchange2010_SP2"},
    SchemaRow{Schema::exchange2013, "Exchange2013"},
    SchemaRow{Schema::exchange2013Sp1, "Exchange2013_SP1"},
    SchemaRow{Schema::exchange2015, "Exchange2015"},
    SchemaRow{Schema::exchange2016, "Exchange2016"},
};

constexpr std::array kServers{
    ServerVersion{"Exchange2007", Schema::exchange2007, 8, 0, 685, 24},
    ServerVersion{"Exchange2007_SP1", Schema::exchange2007Sp1, 8, 1, 240, 5},
    ServerVersion{"Exchange2007_SP2", Schema::exchange2007Sp1, 8, 2, 176, 2},
    ServerVersion{"Exchange2007_SP3", Schema::exchange2007Sp1, 8, 3, 83, 6},
    ServerVersion{"Exchange2010", Schema::exchange2010, 14, 0, 639, 21},
    ServerVersion{"Exchange2010_SP1", Schema::exchange2010Sp1, 14, 1, 218, 15},
    ServerVersion{"Exchange2010_SP2", Schema::exchange2010Sp2, 14, 2, 247, 5},
    ServerVersion{"Exchange2010_SP3", Schema::exchange2010Sp2, 14, 3, 123, 4},
    ServerVersion{"Exchange2013", Schema::exchange2013, 15, 0, 516, 32},
    ServerVersion{"Exchange2013_SP1", Schema::exchange2013Sp1, 15, 0, 847, 32},
    ServerVersion{"Exchange2016", Schema::exchange2016, 15, 1, 225, 42},
};

}  // namespace

std::string_view schemaName(Schema schema) {
  return kSchemas.at(static_cast<std::size_t>(schema)).name;
}

const Schema* findSchema(std::string_view name) {
  const auto* const row = std::ranges::find(kSchemas, name, &SchemaRow::name);
  return row == kSchemas.end() ? nullptr : &row->schema;
}

std::span<const ServerVersion> serverVersions() { return kServers; }

const ServerVersion* findServerVersion(std::string_view key) {
  const auto* const row = std::ranges::find(kServers, key, &ServerVersion::key);
  return row == kServers.end() ? nullptr : row;
}

}  // namespace tarnwell::sandbox
