#include "tarnwell/util/TWObject.h"

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

TWProperties TWObject::declaredProperties() const { return {}; }

std::string TWObject::propertiesDescription() const {
  std::string out = formatMessage("------Properties for [%@]-------\n", {className()});
  for (const auto& [name, value] : declaredProperties())
    out += formatMessage("\t[%@]->[%@]\n", {name, value});
  return out + "----------------------------------";
}

}  // namespace tarnwell
