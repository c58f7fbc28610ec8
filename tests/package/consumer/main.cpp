// A project that uses the installed library, and nothing else of Tarnwell.
#include <iostream>
#include <string_view>

#include <tarnwell/tarnwell.h>

namespace {

int failures = 0;

void check(bool holds, std::string_view what) {
  if (holds) return;
  std::cerr << "failed: " << what << '\n';
  ++failures;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tarnwell;
  std::cout << "Tarnwell " << TarnwellVersionString << '\n';
  check(argc == 2 && std::string_view(argv[1]) == TarnwellVersionString,
        "headers, library and package files are of one version");

  const TWDictionary options{{"subject", "Report"}, {"size", 12}};
  check(options.get("subject").asText() == "Report", "a dictionary answers what was put in");
  check(TWValue(true) == TWValue(1), "a boolean is a number");

  const TWError none;
  const TWError error(TWHTTPErrorDomain, 28, "Timed out");
  check(!none && error && error.message() == "Timed out", "an error has a message");

  return failures == 0 ? 0 : 1;
}
