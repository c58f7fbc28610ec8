// A project that uses the installed library, and nothing else of Tarnwell.
#include <chrono>
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
  using namespace std::chrono_literals;
  std::cout << "Tarnwell " << TarnwellVersionString << '\n';
  check(argc == 2 && std::string_view(argv[1]) == TarnwellVersionString,
        "headers, library and package files are of one version");

  const TWDictionary options{{"subject", "Report"}, {"size", 12}};
  check(options.get("subject").asText() == "Report", "a dictionary answers what was put in");
  check(TWValue(true) == TWValue(1), "a boolean is a number");

  const TWError none;
  const TWError error(TWHTTPErrorDomain, 28, "Timed out");
  check(!none && error && error.message() == "Timed out", "an error has a message");

  // Each of these reaches into another of the libraries underneath, so all of them must be linked.
  auto request = NKXMLElement::withName("m:GetFolder");
  request.addChild(NKXMLElement::withName("m:FolderShape"));
  const auto envelope = NKXMLDocument::withXMLString(TWTransport::wrap(request, "Exchange2016"));
  check(envelope.rootElement()
                .elementForName("Body", kSoapNamespace)
                .elementForName("GetFolder", kMessagesNamespace)
                .elementForName("FolderShape", kMessagesNamespace)
                .kind() == NKXMLElementKind,
        "an envelope reads back");

  const auto zone = TWTimeZone::fromTimeZone("Europe/Berlin");
  check(zone && zone->mszone() == "W. Europe Standard Time", "a zone has a Windows name");
  check(TWDateTime::dateTimeFromString("1970-01-01T00:00:01Z") == TWInstant(1000ms),
        "a time is read");
  check(TWErrors::codeFromString("ErrorValueOutOfRange") == 384, "the catalogue is there");

  const auto credentials = TWCredentials::credentialsWithUsernamePassword("ann", "secret");
  const auto connection = TWConnection::withCredentials(credentials, false);
  const TWResponse record = connection->get("no-such-scheme://localhost/");
  check(record.error.domain() == TWHTTPErrorDomain, "a URL that is none is refused");

  return failures == 0 ? 0 : 1;
}
