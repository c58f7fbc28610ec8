#include "examples/tour/Tour.h"

#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

using namespace tarnwell;

namespace tour {
namespace {

class StepFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

double millisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

/// "FindItem, GetItem x2": requests of one name in a row are told once.
std::string summary(const std::vector<std::string>& requests) {
  std::ostringstream text;
  for (std::size_t at = 0; at < requests.size();) {
    std::size_t next = at;
    while (next < requests.size() && requests[next] == requests[at]) ++next;
    text << (at == 0 ? "" : ", ") << requests[at];
    if (next - at > 1) text << " x" << next - at;
    at = next;
  }
  return requests.empty() ? "nothing" : text.str();
}

}  // namespace

void check(bool condition, std::string_view what, const TWError& error) {
  if (condition) return;
  std::string reason(what);
  if (error) reason += ": " + error.description();
  throw StepFailed(reason);
}

void tell(std::string_view text) {
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) std::cout << "      " << line << '\n';
}

void Recorder::noteRequest(std::string_view method, std::string_view url, std::string_view body) {
  // The operation is the first element in the body of the SOAP envelope.
  const auto envelope = NKXMLElement::withXMLString(body);
  const auto content = envelope.elementForName("Body", kSoapNamespace).children();
  const auto operation = content.empty() ? std::nullopt : content.front().localName();
  const auto file = url.substr(url.rfind('/') + 1);
  const std::lock_guard lock(mutex_);
  requests_.push_back(operation.value_or(std::string(method) + " " + std::string(file)));
}

void Recorder::release(const std::string& message) {
  const std::lock_guard lock(mutex_);
  log_.push_back(message);
}

std::vector<std::string> Recorder::takeRequests() {
  const std::lock_guard lock(mutex_);
  return std::exchange(requests_, {});
}

std::vector<std::string> Recorder::takeLog() {
  const std::lock_guard lock(mutex_);
  return std::exchange(log_, {});
}

bool run(const std::vector<Step>& steps, Tour& tour, Recorder& recorder) {
  const auto start = std::chrono::steady_clock::now();
  std::size_t number = 0;
  std::size_t requestCount = 0;
  for (const auto& step : steps) {
    std::cout << '\n' << ++number << ". " << step.title << '\n';
    const auto stepStart = std::chrono::steady_clock::now();
    std::string failure;
    try {
      step.run(tour);
    } catch (const StepFailed& reason) {
      failure = reason.what();
    }
    const double took = millisecondsSince(stepStart);
    const auto requests = recorder.takeRequests();
    const auto log = recorder.takeLog();
    requestCount += requests.size();
    std::cout << formatMessage("   sent: %@ (%.1f ms)\n", {summary(requests), took});
    if (!failure.empty()) {
      std::cout.flush();
      for (const auto& line : log) std::cerr << "   log: " << line << '\n';
      std::cerr << "The tour failed in step " << number << " (" << step.title << "): " << failure
                << '\n';
      return false;
    }
  }
  std::cout << formatMessage("\nThe tour is done: %lu steps, %lu requests, %.0f ms.\n",
                             {number, requestCount, millisecondsSince(start)});
  return true;
}

}  // namespace tour
