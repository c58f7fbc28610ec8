#include "examples/support/Secret.h"

#include <fstream>

namespace examples {

std::optional<std::string> secretIn(const std::string& file) {
  std::ifstream stream(file);
  std::string line;
  if (!std::getline(stream, line)) return std::nullopt;
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

}  // namespace examples
